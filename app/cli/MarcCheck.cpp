// tesselex-cli marc check: the export check of every record of a file.
#include <ostream>

#include "app/cli/MarcTools.h"
#include "app/cli/Progress.h"
#include "marc/RecordReader.h"

namespace tesselex::cli {

int RunCheck(const MarcOptions& options, std::ostream& out) {
    const std::string& name = options.files[0];
    ToolInput input = OpenToolInput(name);
    Progress progress("checking", input.size);
    std::uint64_t good = 0;
    std::uint64_t bad = 0;
    std::string_view record;
    std::uint64_t offset = 0;
    while (input.reader->Next(record, offset)) {
        if (RecordLengthMatches(record)) {
            ++good;
        } else {
            ++bad;
            out << "bad record " << (good + bad) << " at byte " << offset << ", length "
                << record.size() << ": " << Printable(record, 24) << '\n';
        }
        progress.Update(input.reader->Position(), good + bad);
    }
    progress.Finish();
    CheckReadError(input, name);
    out << good << " good, " << bad << " bad\n";
    return bad > 0 ? 1 : 0;
}

}  // namespace tesselex::cli
