#pragma once
// A server script of the tests run by the system Python (TESSELEX_PYTHON) as a child process:
// on Linux directly, on Windows through Wine, which starts Linux programs for a Windows process
// that asks (there is no Windows Python on the machines that test). The script prints one line
// once it serves (its port, say) and serves until its standard input ends; Stop() and the
// destructor end it, and so does the end of the test process: on Linux already when the thread
// that started it ends, so start it from the test's own thread. The loopback FTP, SFTP and HTTPS
// servers run so.

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tesselex::test {

class LoopbackScript {
  public:
    // Starts the script with its arguments and waits up to 30 seconds for its first line;
    // throws std::runtime_error when it cannot be started or gave no line.
    LoopbackScript(const std::string& script, const std::vector<std::string>& arguments);
    ~LoopbackScript();
    LoopbackScript(const LoopbackScript&) = delete;
    LoopbackScript& operator=(const LoopbackScript&) = delete;

    // The script's first line, without its line end.
    const std::string& FirstLine() const { return firstLine_; }
    // Ends the script now: its connections are closed when this returns.
    void Stop();

    // A file name as the script (a Linux program) sees it: under Wine the Unix name of a Windows
    // file name.
    static std::string ScriptPath(const std::filesystem::path& path);

  private:
    // Keeps the first line read without its line end; a script that gave none is stopped, and
    // the start fails.
    void TakeFirstLine(const std::string& script);

    struct Process;  // the running script, one kind per platform
    std::unique_ptr<Process> process_;
    std::string firstLine_;
};

}  // namespace tesselex::test
