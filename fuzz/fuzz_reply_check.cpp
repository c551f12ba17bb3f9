// The export server's reply split into records and each record checked. Beyond no crash: the
// pieces put back together are the reply, less empty pieces (a terminator at the start or
// right after another), with a terminator added at its end when it lacked one.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fuzz/FuzzText.h"
#include "marc/RecordReader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string reply = tesselex::fuzz::Bytes8(tesselex::fuzz::View(data, size));
    std::u16string joined;
    for (const tesselex::ReplyRecord& record : tesselex::SplitReply(reply)) {
        joined += record.Bytes;
    }
    std::u16string expected;
    for (const char16_t c : reply) {
        if (c != u'\x1d' || (!expected.empty() && expected.back() != u'\x1d')) {
            expected += c;
        }
    }
    if (!expected.empty() && expected.back() != u'\x1d') {
        expected += u'\x1d';
    }
    if (joined != expected) {
        tesselex::fuzz::Fail();
    }
    return 0;
}
