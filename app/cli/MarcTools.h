#pragma once
// The record tools behind "tesselex-cli marc": shared option parsing and the three tools.

#include <cstdint>
#include <iosfwd>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tesselex {
class RecordReader;
}

namespace tesselex::cli {

// A usage or input error: one line on stderr and exit status 2.
class ToolError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

struct MarcOptions {
    std::vector<std::string> files;  // positional arguments, "-" for a standard stream
    bool utf8Source = false;
    std::string charmap;
    std::string display;
    bool html = false;
    int encoding = 2;
    int normalization = -1;  // no normalization
};

// Which options a tool accepts.
enum class MarcTool { Dump, Convert, Check };

// Parses the arguments after the tool's name; raises ToolError for an unknown option, a
// missing option value, a value that is not a number, or the wrong count of files.
MarcOptions ParseMarcOptions(MarcTool tool, const std::vector<std::string>& args);

// An option's file argument as the record object should see it: a file that exists as given
// (relative to the working folder) is made absolute, so the object does not look for it in the
// program folder; anything else is passed on as it stands. Raises ToolError when the file is
// found in neither place.
std::string ResolveToolFile(const std::string& name, const char* what);

// An input file ("-": standard input) opened for reading records; size 0 when unknown.
struct ToolInput {
    std::unique_ptr<RecordReader> reader;
    std::uint64_t size = 0;
    ToolInput();
    ToolInput(ToolInput&&) noexcept;
    ~ToolInput();
};
// Raises ToolError when the file is missing or cannot be opened.
ToolInput OpenToolInput(const std::string& name);
// Raises ToolError when reading stopped on an error.
void CheckReadError(const ToolInput& input, const std::string& name);

// Up to `count` bytes for a one-line message: printable ASCII as it is, the rest as \xNN.
std::string Printable(std::string_view bytes, std::size_t count);

// One stderr line for a record some of whose fields the record model refused (see
// MarcObject::RefusedFields), so that a tool never loses data without a word.
void ReportRefused(std::string_view tool, std::uint64_t number, std::uint64_t offset, int refused);

int RunDump(const MarcOptions& options, std::ostream& out);
int RunConvert(const MarcOptions& options);
int RunCheck(const MarcOptions& options, std::ostream& out);

}  // namespace tesselex::cli
