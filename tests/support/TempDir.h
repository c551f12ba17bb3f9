#pragma once
// A fresh folder under the system temporary folder, removed with everything in it at the end
// of the test.

#include <filesystem>

namespace tesselex::test {

class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    const std::filesystem::path& Path() const { return path_; }
    std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }

  private:
    std::filesystem::path path_;
};

}  // namespace tesselex::test
