#pragma once
// Where test data lives: the project's own data/ and the shared folder of real MARC files
// beside the project, which a user's clone does not have.

#include <filesystem>
#include <string>

namespace tesselex::test {

std::filesystem::path SourceDir();
// ../shared/testdata, or an empty path when the folder is absent.
std::filesystem::path SharedTestData();
// The file's bytes.
std::string ReadBytes(const std::filesystem::path& path);
void WriteBytes(const std::filesystem::path& path, const std::string& bytes);
// How often `what` occurs in the text, overlapping occurrences too.
std::size_t Occurrences(const std::string& text, const std::string& what);

}  // namespace tesselex::test

// Skips the current test cleanly when ../shared/testdata is absent.
#define TESSELEX_REQUIRE_SHARED_TESTDATA()                                          \
    do {                                                                            \
        if (::tesselex::test::SharedTestData().empty()) {                           \
            GTEST_SKIP() << "../shared/testdata is absent; real-data test skipped"; \
        }                                                                           \
    } while (false)
