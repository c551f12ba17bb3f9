#include "tests/support/LoopbackHttpServer.h"

#include <httplib.h>

#include <chrono>
#include <stdexcept>

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

LoopbackHttpServer::LoopbackHttpServer() : server_(std::make_unique<httplib::Server>()) {
    // One catch-all route registered before serving starts; the test's own replies live in a
    // guarded map so they can change while the server thread runs.
    server_->Get(".*", [this](const httplib::Request& in, httplib::Response& out) {
        Request request;
        request.Method = in.method;
        request.Path = in.path;
        request.Target = in.target;
        request.Params.insert(in.params.begin(), in.params.end());
        request.Headers.insert(in.headers.begin(), in.headers.end());
        Handler handler;
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(request);
            if (const auto it = handlers_.find(in.path); it != handlers_.end()) {
                handler = it->second;
            }
        }
        if (!handler) {
            out.status = 404;
            return;
        }
        Reply reply = handler(request);
        out.status = reply.Status;
        for (const auto& [name, value] : reply.Headers) {
            out.set_header(name.c_str(), value);
        }
        if (reply.DripEvery.count() == 0) {
            out.set_content(reply.Body, reply.ContentType.c_str());
            return;
        }
        out.set_chunked_content_provider(
            reply.ContentType, [this, reply](std::size_t offset, httplib::DataSink& sink) {
                // Short naps, so a stopping server is not held up by a long pause.
                for (auto slept = std::chrono::milliseconds(0); slept < reply.DripEvery;
                     slept += std::chrono::milliseconds(10)) {
                    if (stopping_) {
                        return false;
                    }
                    std::this_thread::sleep_for(std::chrono::milliseconds(10));
                }
                if (offset >= reply.Body.size()) {
                    sink.done();
                    return true;
                }
                return sink.write(reply.Body.data() + offset, 1);
            });
    });
    port_ = server_->bind_to_any_port("127.0.0.1");
    if (port_ <= 0) {
        throw std::runtime_error("loopback HTTP server: no free port");
    }
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    // stop() only acts on a running server, so wait until the loop runs before handing over.
    for (int i = 0; i < 5000 && !server_->is_running(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

LoopbackHttpServer::~LoopbackHttpServer() {
    Stop();
}

void LoopbackHttpServer::Stop() {
    stopping_ = true;
    if (thread_.joinable()) {
        server_->stop();
        thread_.join();
    }
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
