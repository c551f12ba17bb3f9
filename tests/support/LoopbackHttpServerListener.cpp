// The loopback HTTP server on cpp-httplib, on every platform.

#include <httplib.h>

#include <chrono>
#include <stdexcept>
#include <thread>

#include "tests/support/LoopbackHttpServer.h"

namespace tesselex::test {

struct LoopbackHttpServer::Listener {
    httplib::Server server;
    std::thread thread;
};

LoopbackHttpServer::LoopbackHttpServer() : listener_(std::make_unique<Listener>()) {
    httplib::Server& server = listener_->server;
    // Stop waits for a client's idle kept-alive connection this long (under Wine in full).
    server.set_keep_alive_timeout(1);
    // One catch-all route registered before serving starts; the test's own replies live in a
    // guarded map so they can change while the server thread runs.
    server.Get(".*", [this](const httplib::Request& in, httplib::Response& out) {
        Request request;
        request.Path = in.path;
        request.Params.insert(in.params.begin(), in.params.end());
        request.Headers.insert(in.headers.begin(), in.headers.end());
        const Reply reply = Answer(request);
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
                if (!Pause(reply.DripEvery)) {
                    return false;
                }
                if (offset >= reply.Body.size()) {
                    sink.done();
                    return true;
                }
                return sink.write(reply.Body.data() + offset, 1);
            });
    });
    port_ = server.bind_to_any_port("127.0.0.1");
    if (port_ <= 0) {
        throw std::runtime_error("loopback HTTP server: no free port");
    }
    listener_->thread = std::thread([&server] { server.listen_after_bind(); });
    // stop() only acts on a running server, so wait until the loop runs before handing over.
    for (int i = 0; i < 5000 && !server.is_running(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

LoopbackHttpServer::~LoopbackHttpServer() {
    Stop();
}

void LoopbackHttpServer::Stop() {
    stopping_ = true;
    if (listener_->thread.joinable()) {
        listener_->server.stop();
        listener_->thread.join();
    }
}

}  // namespace tesselex::test
