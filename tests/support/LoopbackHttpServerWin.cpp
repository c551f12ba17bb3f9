// The loopback HTTP server on Winsock: a thread accepts, each connection is served on a thread of
// its own, one request per connection ("Connection: close"). Enough HTTP/1.1 for the clients
// under test: a request line and headers in, a reply with Content-Length, or chunked when it
// drips, out.

#include <winsock2.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <thread>

#include "config/Strings.h"
#include "tests/support/LoopbackHttpServer.h"

namespace tesselex::test {
namespace {

// %XX escapes decoded; in a query "+" is a blank too.
std::string Decode(std::string_view text, bool plusIsBlank) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high =
            i + 2 < text.size() ? HexDigitValue(static_cast<unsigned char>(text[i + 1])) : -1;
        const int low = high >= 0 ? HexDigitValue(static_cast<unsigned char>(text[i + 2])) : -1;
        if (text[i] == '%' && low >= 0) {
            out += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            out += plusIsBlank && text[i] == '+' ? ' ' : text[i];
        }
    }
    return out;
}

// The request line and headers (up to the blank line) into a request; false when malformed.
bool Parse(std::string_view head, LoopbackHttpServer::Request& request) {
    std::size_t end = head.find("\r\n");
    const std::string_view line = head.substr(0, end);
    const std::size_t space1 = line.find(' ');
    const std::size_t space2 = line.rfind(' ');
    if (space1 == std::string_view::npos || space2 <= space1) {
        return false;
    }
    request.Method = line.substr(0, space1);
    request.Target = line.substr(space1 + 1, space2 - space1 - 1);
    const std::size_t question = request.Target.find('?');
    request.Path = Decode(std::string_view(request.Target).substr(0, question), false);
    if (question != std::string::npos) {
        std::string_view query = std::string_view(request.Target).substr(question + 1);
        while (!query.empty()) {
            const std::string_view pair = query.substr(0, query.find('&'));
            query.remove_prefix(std::min(query.size(), pair.size() + 1));
            const std::size_t equals = pair.find('=');
            request.Params.emplace(
                Decode(pair.substr(0, equals), true),
                equals == std::string_view::npos ? "" : Decode(pair.substr(equals + 1), true));
        }
    }
    while (end != std::string_view::npos && end + 2 < head.size()) {
        const std::size_t start = end + 2;
        end = head.find("\r\n", start);
        const std::string_view header = head.substr(start, end - start);
        const std::size_t colon = header.find(':');
        if (colon == std::string_view::npos) {
            return false;
        }
        std::string_view value = header.substr(colon + 1);
        while (!value.empty() && (value.front() == ' ' || value.front() == '\t')) {
            value.remove_prefix(1);
        }
        request.Headers.emplace(header.substr(0, colon), value);
    }
    return true;
}

bool SendAll(SOCKET socket, std::string_view bytes) {
    while (!bytes.empty()) {
        const int sent = send(socket, bytes.data(), static_cast<int>(bytes.size()), 0);
        if (sent <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
}

const char* ReasonPhrase(int status) {
    switch (status) {
        case 200:
            return "OK";
        case 301:
            return "Moved Permanently";
        case 302:
            return "Found";
        case 400:
            return "Bad Request";
        case 404:
            return "Not Found";
        case 405:
            return "Method Not Allowed";
        case 500:
            return "Internal Server Error";
        default:
            return "Status";
    }
}

}  // namespace

struct LoopbackHttpServer::Listener {
    SOCKET socket = INVALID_SOCKET;
    std::thread acceptor;
    std::mutex mutex;
    std::vector<SOCKET> connections;  // being served; Stop shuts them down
    std::vector<std::thread> workers;

    void Serve(LoopbackHttpServer& server, SOCKET client);
};

void LoopbackHttpServer::Listener::Serve(LoopbackHttpServer& server, SOCKET client) {
    std::string head;
    char buffer[4096];
    while (head.find("\r\n\r\n") == std::string::npos && head.size() < 65536) {
        const int got = recv(client, buffer, sizeof buffer, 0);
        if (got <= 0) {
            return;
        }
        head.append(buffer, static_cast<std::size_t>(got));
    }
    const std::size_t blank = head.find("\r\n\r\n");
    if (blank == std::string::npos) {
        return;
    }
    head.resize(blank + 2);  // a GET has no body; the last line end stays
    Request request;
    Reply reply{400, ""};
    if (Parse(head, request)) {
        reply = request.Method == "GET" ? server.Answer(request) : Reply{405, ""};
    }
    const bool drip = reply.DripEvery.count() > 0;
    std::string out = "HTTP/1.1 " + std::to_string(reply.Status) + " " +
                      ReasonPhrase(reply.Status) + "\r\nContent-Type: " + reply.ContentType +
                      "\r\nConnection: close\r\n";
    for (const auto& [name, value] : reply.Headers) {
        out += name + ": " + value + "\r\n";
    }
    out += drip ? "Transfer-Encoding: chunked\r\n\r\n"
                : "Content-Length: " + std::to_string(reply.Body.size()) + "\r\n\r\n" + reply.Body;
    if (!SendAll(client, out) || !drip) {
        return;
    }
    for (const char byte : reply.Body) {
        if (!server.Pause(reply.DripEvery) ||
            !SendAll(client, "1\r\n" + std::string(1, byte) + "\r\n")) {
            return;
        }
    }
    if (server.Pause(reply.DripEvery)) {
        SendAll(client, "0\r\n\r\n");
    }
}

LoopbackHttpServer::LoopbackHttpServer() : listener_(std::make_unique<Listener>()) {
    WSADATA data;
    if (WSAStartup(MAKEWORD(2, 2), &data) != 0) {
        throw std::runtime_error("loopback HTTP server: no sockets");
    }
    SOCKET& listening = listener_->socket;
    listening = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    if (listening == INVALID_SOCKET ||
        bind(listening, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listening, SOMAXCONN) != 0 ||
        getsockname(listening, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        Stop();
        throw std::runtime_error("loopback HTTP server: no free port");
    }
    port_ = ntohs(address.sin_port);
    listener_->acceptor = std::thread([this] {
        Listener& self = *listener_;
        for (;;) {
            const SOCKET client = accept(self.socket, nullptr, nullptr);
            if (client == INVALID_SOCKET) {
                return;  // closed by Stop
            }
            std::lock_guard lock(self.mutex);
            if (stopping_) {
                closesocket(client);
                return;
            }
            self.connections.push_back(client);
            self.workers.emplace_back([this, client] {
                listener_->Serve(*this, client);
                // FIN rather than a reset: the client reads the whole reply before it sees the end.
                shutdown(client, SD_SEND);
                std::lock_guard done(listener_->mutex);
                std::erase(listener_->connections, client);
                closesocket(client);
            });
        }
    });
}

LoopbackHttpServer::~LoopbackHttpServer() {
    Stop();
}

void LoopbackHttpServer::Stop() {
    if (stopping_.exchange(true)) {
        return;
    }
    Listener& self = *listener_;
    {
        std::lock_guard lock(self.mutex);
        if (self.socket != INVALID_SOCKET) {
            closesocket(self.socket);  // ends the blocked accept
        }
        for (const SOCKET client : self.connections) {
            shutdown(client, SD_BOTH);  // ends a blocked receive
        }
    }
    if (self.acceptor.joinable()) {
        self.acceptor.join();
    }
    // No new worker starts once the acceptor has ended.
    for (std::thread& worker : self.workers) {
        worker.join();
    }
    WSACleanup();
}

}  // namespace tesselex::test
