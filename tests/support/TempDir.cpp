#include "tests/support/TempDir.h"

#include <random>
#include <stdexcept>
#include <string>

namespace tesselex::test {

TempDir::TempDir() {
    // create_directory answers false for a folder that exists, so a made name is ours alone.
    const std::filesystem::path base = std::filesystem::temp_directory_path();
    std::random_device seed;
    std::mt19937 random(seed());
    for (int attempt = 0; attempt < 100; ++attempt) {
        const auto candidate = base / ("tesselex-test-" + std::to_string(random()));
        std::error_code ec;
        if (std::filesystem::create_directory(candidate, ec)) {
            path_ = candidate;
            return;
        }
    }
    throw std::runtime_error("cannot create a temporary folder");
}

TempDir::~TempDir() {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
}

}  // namespace tesselex::test
