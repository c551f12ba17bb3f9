#pragma once
// A progress line on stderr for long runs over big inputs, only when stderr is a terminal.

#include <chrono>
#include <cstdint>
#include <string>

namespace tesselex::cli {

class Progress {
  public:
    // Inputs of at least this many bytes (or of unknown size, once this much is read) show it.
    static constexpr std::uint64_t Threshold = std::uint64_t{4} << 20;

    // totalBytes 0: size unknown (a pipe).
    Progress(std::string verb, std::uint64_t totalBytes);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    // Cheap enough to call once per record: the line is redrawn at most a few times a second.
    void Update(std::uint64_t bytes, std::uint64_t records);
    // Removes the line.
    void Finish();

  private:
    std::string verb_;
    std::uint64_t totalBytes_;
    bool enabled_;
    bool shown_ = false;
    std::uint32_t calls_ = 0;
    std::chrono::steady_clock::time_point last_;
};

}  // namespace tesselex::cli
