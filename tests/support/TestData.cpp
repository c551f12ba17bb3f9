#include "tests/support/TestData.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tesselex::test {

std::filesystem::path SourceDir() {
    return std::filesystem::path(TESSELEX_SOURCE_DIR);
}

std::filesystem::path SharedTestData() {
    const std::filesystem::path dir(TESSELEX_SHARED_TESTDATA);
    std::error_code ec;
    return std::filesystem::is_directory(dir / "marc", ec) ? dir : std::filesystem::path();
}

std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteBytes(const std::filesystem::path& path, const std::string& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!out) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

std::size_t Occurrences(const std::string& text, const std::string& what) {
    std::size_t count = 0;
    for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) {
        ++count;
    }
    return count;
}

}  // namespace tesselex::test
