// The streaming record reader over an arbitrary byte stream, with small blocks and records
// (many refills and split records) and with large ones. Beyond no crash: the
// records handed out are the input, in order, without gap or overlap.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include "fuzz/FuzzText.h"
#include "marc/RecordReader.h"

namespace {

void ReadAll(std::string_view input, std::size_t blockSize, std::size_t maxRecordSize) {
    std::istringstream in{std::string(input)};
    tesselex::RecordReader reader(in, blockSize, maxRecordSize);
    std::string_view record;
    std::uint64_t offset = 0;
    std::uint64_t expected = 0;
    while (reader.Next(record, offset)) {
        if (offset != expected || record.empty() ||
            input.substr(static_cast<std::size_t>(offset), record.size()) != record) {
            // The last record may have had its terminator put back.
            const bool terminatorAdded = offset == expected && record.back() == '\x1d' &&
                                         input.substr(static_cast<std::size_t>(offset)) ==
                                             record.substr(0, record.size() - 1);
            if (!terminatorAdded) {
                tesselex::fuzz::Fail();
            }
        }
        static_cast<void>(tesselex::RecordLengthMatches(record));
        expected = reader.Position();
    }
    if (reader.Failed() || reader.Position() != input.size()) {
        tesselex::fuzz::Fail();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view input = tesselex::fuzz::View(data, size);
    ReadAll(input, 7, 16);
    ReadAll(input, 1, 1);
    // Large blocks: the whole input in one read (a default-sized block per input would make
    // the run too slow to find anything).
    ReadAll(input, 1 << 16, tesselex::RecordReader::DefaultMaxRecordSize);
    return 0;
}
