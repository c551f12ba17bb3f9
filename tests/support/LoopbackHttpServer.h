#pragma once
// An HTTP server on 127.0.0.1 for tests: it binds a free port chosen by the system, serves from
// a background thread and stops in its destructor. Fixed replies (Get(path, Reply)) or computed
// ones (Get(path, Handler)) may be added or replaced at any time, also while requests are
// served; a path without a reply answers 404 with an empty body. Bodies are bytes, sent
// unchanged. Requests() lists every request seen, in order, with path, query parameters and
// headers. Served by cpp-httplib on every platform (LoopbackHttpServerListener.cpp).

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tesselex::test {

class LoopbackHttpServer {
  public:
    struct Reply {
        int Status = 200;
        std::string Body;
        std::string ContentType = "text/plain";
        // Extra reply headers, e.g. {"Location", "/elsewhere"} for a redirect.
        std::multimap<std::string, std::string> Headers = {};
        // When set, the body goes out one byte at a time with this pause before each byte
        // (a slow or stalled server).
        std::chrono::milliseconds DripEvery{0};
    };

    // One request as the server received it.
    struct Request {
        std::string Path;                                 // decoded path, without the query
        std::multimap<std::string, std::string> Params;   // decoded query parameters
        std::multimap<std::string, std::string> Headers;  // names as sent
        // The first parameter or header of that name ("" when absent; header names compare
        // case-insensitively).
        std::string Query(const std::string& name) const;
        std::string Header(const std::string& name) const;
    };

    using Handler = std::function<Reply(const Request&)>;

    // Starts serving; throws std::runtime_error when no port can be bound.
    LoopbackHttpServer();
    ~LoopbackHttpServer();
    LoopbackHttpServer(const LoopbackHttpServer&) = delete;
    LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

    // Serves a fixed reply, or a computed one, to GET requests of exactly this path.
    void Get(const std::string& path, Reply reply);
    void Get(const std::string& path, Handler handler);

    int Port() const { return port_; }
    // "http://127.0.0.1:<port>" followed by the path and query given ("/x?y=1").
    std::string Url(const std::string& pathAndQuery) const;
    std::u16string UrlText(const std::string& pathAndQuery) const;

    // Every request received so far, in order of arrival.
    std::vector<Request> Requests() const;
    std::size_t RequestCount() const;

    // Stops serving (the destructor does it too); later requests are refused.
    void Stop();

  private:
    // Records the request and gives the reply of its path (404 without one).
    Reply Answer(const Request& request);
    // Sleeps in short naps; false as soon as the server is stopping.
    bool Pause(std::chrono::milliseconds pause) const;

    struct Listener;  // the serving machinery, one kind per platform
    std::unique_ptr<Listener> listener_;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    std::map<std::string, Handler> handlers_;
    std::vector<Request> requests_;
};

}  // namespace tesselex::test
