#pragma once
// A file in the temporary folder, named for this process, that the targets whose code reads
// from files write their fuzzed text into; removed when the target ends.

#include <unistd.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace tesselex::fuzz {

class ScratchFile {
  public:
    explicit ScratchFile(std::string_view name)
        : path_(std::filesystem::temp_directory_path() /
                ("tesselex-fuzz-" + std::to_string(getpid()) + "-" + std::string(name))) {}
    ~ScratchFile() {
        std::error_code ec;
        std::filesystem::remove(path_, ec);
    }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    void Write(std::string_view bytes) const {
        std::ofstream out(path_, std::ios::binary | std::ios::trunc);
        out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    }

  private:
    std::filesystem::path path_;
};

}  // namespace tesselex::fuzz
