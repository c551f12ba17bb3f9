#include "app/sampleserver/SampleExportServer.h"

#include <httplib.h>

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "marc/RecordReader.h"

namespace tesselex {
namespace {

std::string ReadFile(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("sample server: cannot read " + path.string());
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

// Reads a run of ASCII digits; -1 when any is not a digit.
long Digits(const std::string& text, std::size_t from, std::size_t count) {
    if (from + count > text.size()) {
        return -1;
    }
    long value = 0;
    for (std::size_t i = from; i < from + count; ++i) {
        if (text[i] < '0' || text[i] > '9') {
            return -1;
        }
        value = value * 10 + (text[i] - '0');
    }
    return value;
}

std::string TrimBlanks(const std::string& text) {
    const auto first = text.find_first_not_of(' ');
    if (first == std::string::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

}  // namespace

std::string ControlFieldOf(const std::string& record, const std::string& tag) {
    const long base = Digits(record, 12, 5);
    if (base < 25 || static_cast<std::size_t>(base) > record.size()) {
        return {};
    }
    const auto directoryEnd = static_cast<std::size_t>(base) - 1;
    for (std::size_t entry = 24; entry + 12 <= directoryEnd; entry += 12) {
        if (record.compare(entry, 3, tag) != 0) {
            continue;
        }
        const long length = Digits(record, entry + 3, 4);
        const long start = Digits(record, entry + 7, 5);
        if (length < 1 || start < 0) {
            return {};
        }
        const auto from = static_cast<std::size_t>(base + start);
        if (from + static_cast<std::size_t>(length) > record.size()) {
            return {};
        }
        return TrimBlanks(record.substr(from, static_cast<std::size_t>(length) - 1));
    }
    return {};
}

SampleExportServer::SampleExportServer(const std::filesystem::path& dataFolder)
    : requestTable_(ReadFile(dataFolder / "ConfigURL.TXT")) {
    auto load = [](const std::filesystem::path& file, std::vector<SampleRecord>& into) {
        ReadFile(file);  // a clear error for a missing file
        RecordReader reader(file);
        std::string_view bytes;
        std::uint64_t offset = 0;
        while (reader.Next(bytes, offset)) {
            std::string record(bytes);
            into.push_back(
                {ControlFieldOf(record, "001"), ControlFieldOf(record, "004"), std::move(record)});
        }
    };
    load(dataFolder / "sample-bib.mrc", bibs_);
    load(dataFolder / "sample-holdings.mrc", holdings_);
}

SampleExportServer::~SampleExportServer() {
    Stop();
}

void SampleExportServer::Start(int port) {
    server_ = std::make_unique<httplib::Server>();
    // A client's idle kept-alive connection holds its worker this long, and Stop waits for it
    // (under Wine the stop does not cut the wait short).
    server_->set_keep_alive_timeout(1);
    server_->Get("/config", [this](const httplib::Request& request, httplib::Response& response) {
        {
            std::lock_guard lock(mutex_);
            requests_.push_back(request.target);
            if (observer_) {
                observer_(request.target);
            }
        }
        response.set_content(RequestTable(), "text/plain");
    });
    server_->Get("/export", [this](const httplib::Request& request, httplib::Response& response) {
        const std::string bibId = request.get_param_value("bibid");
        std::unique_lock lock(mutex_);
        if (exportDelay_.count() > 0) {
            const auto delay = exportDelay_;
            lock.unlock();
            std::this_thread::sleep_for(delay);
            lock.lock();
        }
        requests_.push_back(request.target);
        if (observer_) {
            observer_(request.target);
        }
        if (const auto found = overrides_.find(bibId); found != overrides_.end()) {
            response.status = found->second.Status;
            response.set_content(found->second.Body, found->second.ContentType);
            return;
        }
        lock.unlock();
        const std::string reply = ExportReply(bibId, request.get_param_value("holdings"));
        response.status = reply.empty() ? 404 : 200;
        response.set_content(reply, "application/marc");
    });
    if (port == 0) {
        port_ = server_->bind_to_any_port("127.0.0.1");
    } else {
        port_ = server_->bind_to_port("127.0.0.1", port) ? port : -1;
    }
    if (port_ <= 0) {
        server_.reset();
        throw std::runtime_error("sample server: cannot bind a port on 127.0.0.1");
    }
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    // stop() only acts on a running loop; wait for it so an early Stop cannot hang the join.
    for (int i = 0; i < 5000 && !server_->is_running(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void SampleExportServer::Stop() {
    if (server_) {
        server_->stop();
    }
    if (thread_.joinable()) {
        thread_.join();
    }
    server_.reset();
}

void SampleExportServer::SetExportDelay(std::chrono::milliseconds delay) {
    std::lock_guard lock(mutex_);
    exportDelay_ = delay;
}

std::string SampleExportServer::Address(const std::string& pathAndQuery) const {
    return "http://127.0.0.1:" + std::to_string(port_) + pathAndQuery;
}

std::string SampleExportServer::RequestTable() const {
    // Only the first line carries the address; the rest of the table is served as it stands.
    std::string table = requestTable_;
    const std::string key = "baseURL=";
    if (table.compare(0, key.size(), key) == 0) {
        const auto end = table.find_first_of("\r\n");
        table.replace(0, end, key + Address("/export?"));
    }
    return table;
}

std::string SampleExportServer::ExportReply(const std::string& bibId,
                                            const std::string& holdings) const {
    std::string reply;
    for (const SampleRecord& bib : bibs_) {
        if (bib.Id.empty() || bib.Id != bibId) {
            continue;
        }
        reply += bib.Bytes;
        if (holdings == "none") {
            continue;
        }
        for (const SampleRecord& holding : holdings_) {
            if (holding.Link == bibId) {
                reply += holding.Bytes;
            }
        }
    }
    return reply;
}

std::vector<std::string> SampleExportServer::BibIds() const {
    std::vector<std::string> ids;
    for (const SampleRecord& bib : bibs_) {
        ids.push_back(bib.Id);
    }
    return ids;
}

void SampleExportServer::SetReply(const std::string& bibId, std::string body, int status,
                                  std::string contentType) {
    std::lock_guard lock(mutex_);
    overrides_[bibId] = {status, std::move(body), std::move(contentType)};
}

std::vector<std::string> SampleExportServer::Requests() const {
    std::lock_guard lock(mutex_);
    return requests_;
}

void SampleExportServer::SetRequestObserver(std::function<void(const std::string&)> observer) {
    std::lock_guard lock(mutex_);
    observer_ = std::move(observer);
}

}  // namespace tesselex
