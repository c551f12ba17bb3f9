#include "app/cli/Progress.h"

#ifdef _WIN32
#include <io.h>
#else
#include <unistd.h>
#endif

#include <cstdio>

namespace tesselex::cli {
namespace {

// Progress is drawn only for a person watching, never into a log or a pipe.
bool ErrorsGoToATerminal() {
#ifdef _WIN32
    return _isatty(_fileno(stderr)) != 0;
#else
    return isatty(STDERR_FILENO) == 1;
#endif
}

}  // namespace

Progress::Progress(std::string verb, std::uint64_t totalBytes)
    : verb_(std::move(verb)),
      totalBytes_(totalBytes),
      enabled_(ErrorsGoToATerminal() && (totalBytes == 0 || totalBytes >= Threshold)),
      last_(std::chrono::steady_clock::now()) {}

Progress::~Progress() {
    Finish();
}

void Progress::Update(std::uint64_t bytes, std::uint64_t records) {
    // Looking at the clock for every record would cost more than the work itself.
    if (!enabled_ || (++calls_ & 1023U) != 0) {
        return;
    }
    if (totalBytes_ == 0 && bytes < Threshold) {
        return;
    }
    const auto now = std::chrono::steady_clock::now();
    if (now - last_ < std::chrono::milliseconds(250)) {
        return;
    }
    last_ = now;
    const double megabytes = static_cast<double>(bytes) / 1048576.0;
    if (totalBytes_ > 0) {
        const double percent =
            100.0 * static_cast<double>(bytes) / static_cast<double>(totalBytes_);
        std::fprintf(stderr, "\r%s: %llu records, %.1f MB (%.0f%%)  ", verb_.c_str(),
                     static_cast<unsigned long long>(records), megabytes, percent);
    } else {
        std::fprintf(stderr, "\r%s: %llu records, %.1f MB  ", verb_.c_str(),
                     static_cast<unsigned long long>(records), megabytes);
    }
    std::fflush(stderr);
    shown_ = true;
}

void Progress::Finish() {
    if (shown_) {
        std::fprintf(stderr, "\r\033[K");
        std::fflush(stderr);
        shown_ = false;
    }
}

}  // namespace tesselex::cli
