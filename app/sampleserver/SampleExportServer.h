#pragma once
// A small export server on 127.0.0.1 for the demo and the tests: it serves the request table
// and, by bib id, the bibliographic records of a sample file with their holdings records, and
// records every request it receives.
//
//   GET /config                     the request table, its baseURL pointing at this server
//   GET /export?bibid=N&holdings=P  bib record N (001), then its holdings records (004 = N)
//                                   unless P is "none"; 404 with an empty body for unknown N
//
// Tests replace the reply for a bib id (SetReply) to serve broken or huge replies.

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace httplib {
class Server;
}

namespace tesselex {

class SampleExportServer {
  public:
    // The folder holding ConfigURL.TXT, sample-bib.mrc and sample-holdings.mrc. Throws
    // std::runtime_error when a file is missing.
    explicit SampleExportServer(const std::filesystem::path& dataFolder);
    ~SampleExportServer();
    SampleExportServer(const SampleExportServer&) = delete;
    SampleExportServer& operator=(const SampleExportServer&) = delete;

    // Starts serving from a background thread; port 0 lets the system choose. Throws
    // std::runtime_error when the port cannot be bound.
    void Start(int port = 0);
    // Stops serving; later connections are refused. Safe to call twice.
    void Stop();

    int Port() const { return port_; }
    // "http://127.0.0.1:<port>" followed by the path and query given.
    std::string Address(const std::string& pathAndQuery) const;

    // The request table as served: the sample table with baseURL set to this server's /export.
    std::string RequestTable() const;
    // The records the server sends for a bib id and holdings placement ("" for an unknown id).
    std::string ExportReply(const std::string& bibId, const std::string& holdings) const;
    // Bib ids of the sample records, in file order.
    std::vector<std::string> BibIds() const;

    // Replaces the reply to /export for one bib id.
    void SetReply(const std::string& bibId, std::string body, int status = 200,
                  std::string contentType = "application/marc");
    // Holds every /export reply this long before answering (a slow server).
    void SetExportDelay(std::chrono::milliseconds delay);
    // Every request target received so far (path and query as sent), in order.
    std::vector<std::string> Requests() const;
    // Called with each request target as it arrives (the executable prints them).
    void SetRequestObserver(std::function<void(const std::string&)> observer);

  private:
    struct Override {
        int Status;
        std::string Body;
        std::string ContentType;
    };
    struct SampleRecord {
        std::string Id;    // 001
        std::string Link;  // 004
        std::string Bytes;
    };

    std::string requestTable_;
    std::vector<SampleRecord> bibs_;
    std::vector<SampleRecord> holdings_;
    std::unique_ptr<httplib::Server> server_;
    std::thread thread_;
    int port_ = 0;
    mutable std::mutex mutex_;
    std::map<std::string, Override> overrides_;
    std::chrono::milliseconds exportDelay_{0};
    std::vector<std::string> requests_;
    std::function<void(const std::string&)> observer_;
};

// The value of a control field (001, 004, ...) of one ISO 2709 record, read through its
// directory; "" when the record has no such field or is too broken to tell.
std::string ControlFieldOf(const std::string& record, const std::string& tag);

}  // namespace tesselex
