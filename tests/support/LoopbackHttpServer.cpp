#include "tests/support/LoopbackHttpServer.h"

#include <thread>

#include "config/Strings.h"

namespace tesselex::test {

std::string LoopbackHttpServer::Request::Query(const std::string& name) const {
    const auto it = Params.find(name);
    return it == Params.end() ? std::string() : it->second;
}

std::string LoopbackHttpServer::Request::Header(const std::string& name) const {
    for (const auto& [key, value] : Headers) {
        if (EqualsNoCase(FromAscii(key), FromAscii(name))) {
            return value;
        }
    }
    return {};
}

LoopbackHttpServer::Reply LoopbackHttpServer::Answer(const Request& request) {
    Handler handler;
    {
        std::lock_guard lock(mutex_);
        requests_.push_back(request);
        if (const auto it = handlers_.find(request.Path); it != handlers_.end()) {
            handler = it->second;
        }
    }
    return handler ? handler(request) : Reply{404, ""};
}

bool LoopbackHttpServer::Pause(std::chrono::milliseconds pause) const {
    // Short naps, so a stopping server is not held up by a long pause.
    for (auto slept = std::chrono::milliseconds(0); slept < pause;
         slept += std::chrono::milliseconds(10)) {
        if (stopping_) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return !stopping_;
}

void LoopbackHttpServer::Get(const std::string& path, Reply reply) {
    Get(path, [reply = std::move(reply)](const Request&) { return reply; });
}

void LoopbackHttpServer::Get(const std::string& path, Handler handler) {
    std::lock_guard lock(mutex_);
    handlers_[path] = std::move(handler);
}

std::string LoopbackHttpServer::Url(const std::string& pathAndQuery) const {
    return "http://127.0.0.1:" + std::to_string(port_) + pathAndQuery;
}

std::u16string LoopbackHttpServer::UrlText(const std::string& pathAndQuery) const {
    return FromAscii(Url(pathAndQuery));
}

std::vector<LoopbackHttpServer::Request> LoopbackHttpServer::Requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

std::size_t LoopbackHttpServer::RequestCount() const {
    std::lock_guard lock(mutex_);
    return requests_.size();
}

}  // namespace tesselex::test
