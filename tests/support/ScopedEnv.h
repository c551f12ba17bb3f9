#pragma once
// Sets an environment variable for the life of the object and puts the old value back (or
// removes the variable) at the end: the temporary folder and TESSELEX_HOME point at a test's own
// folders.

#include <optional>
#include <string>

namespace tesselex::test {

// The variable naming the system's temporary folder (TMP comes first on Windows).
#ifdef _WIN32
inline constexpr const char* kTempFolderVariable = "TMP";
#else
inline constexpr const char* kTempFolderVariable = "TMPDIR";
#endif

class ScopedEnv {
  public:
    ScopedEnv(std::string name, const std::string& value);
    ~ScopedEnv();
    ScopedEnv(const ScopedEnv&) = delete;
    ScopedEnv& operator=(const ScopedEnv&) = delete;

  private:
    std::string name_;
    std::optional<std::string> old_;
};

}  // namespace tesselex::test
