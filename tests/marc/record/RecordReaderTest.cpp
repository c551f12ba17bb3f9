// The streaming record reader and the record length check.
#include "marc/RecordReader.h"

#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

struct Piece {
    std::string bytes;
    std::uint64_t offset;
    bool operator==(const Piece&) const = default;
};

std::vector<Piece> ReadAll(RecordReader& reader) {
    std::vector<Piece> pieces;
    std::string_view record;
    std::uint64_t offset = 0;
    while (reader.Next(record, offset)) {
        pieces.push_back({std::string(record), offset});
    }
    return pieces;
}

std::vector<Piece> ReadString(const std::string& input, std::size_t block, std::size_t max) {
    std::istringstream in(input);
    RecordReader reader(in, block, max);
    return ReadAll(reader);
}

const std::string Input =
    "00010abcd\x1D"
    "00012abcdef\x1D"
    "\x1D"
    "tail";

TEST(RecordReaderTest, SplitsAtTheTerminatorWhateverTheBlockSize) {
    // An empty record is still a record, and the last one may lack its terminator.
    const std::vector<Piece> expected = {
        {"00010abcd\x1D", 0}, {"00012abcdef\x1D", 10}, {"\x1D", 22}, {"tail", 23}};
    for (const std::size_t block : {std::size_t{1}, std::size_t{3}, std::size_t{1} << 20}) {
        EXPECT_EQ(ReadString(Input, block, 1000), expected) << "block of " << block;
    }
    EXPECT_TRUE(ReadString("", 16, 16).empty());
}

TEST(RecordReaderTest, RunWithoutTerminatorIsHandedOutInBoundedPieces) {
    const std::string run(30, 'x');
    EXPECT_EQ(ReadString(std::string(100, 'x') + "\x1D", 8, 30),
              (std::vector<Piece>{{run, 0}, {run, 30}, {run, 60}, {run.substr(20) + "\x1D", 90}}));
}

TEST(RecordReaderTest, ReadsFilesAndReportsMissingOnesAndReadErrors) {
    test::TempDir dir;
    test::WriteBytes(dir / "two.mrc", Input);
    RecordReader reader(dir / "two.mrc", 5);
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_EQ(ReadAll(reader).size(), 4u);
    EXPECT_EQ(reader.Position(), Input.size());
    EXPECT_FALSE(reader.Failed());

    EXPECT_FALSE(RecordReader(dir / "missing.mrc").IsOpen());
    EXPECT_FALSE(RecordReader(dir.Path()).IsOpen()) << "a folder is not a record file";

    // A read error is told from the end of the records.
    struct BrokenBuffer : std::streambuf {
        int_type underflow() override { throw std::runtime_error("device gone"); }
    } device;
    std::istream in(&device);
    RecordReader broken(in);
    EXPECT_TRUE(ReadAll(broken).empty());
    EXPECT_TRUE(broken.Failed());
}

TEST(RecordReaderTest, LengthCheckComparesTheStatedWithTheRealLength) {
    EXPECT_TRUE(RecordLengthMatches("00010abcd\x1D"));
    EXPECT_FALSE(RecordLengthMatches("00011abcd\x1D"));
    // The terminator of an unterminated last record is counted as if it were there.
    EXPECT_TRUE(RecordLengthMatches("00010abcd"));
    EXPECT_FALSE(RecordLengthMatches("\n"));
    EXPECT_TRUE(RecordLengthMatches("   11abcde\x1D")) << "blanks around the number are read";
}

TEST(RecordReaderTest, ARepliesRecordsAreTheReadersLessEmptyOnesEachChecked) {
    // The reader's pieces of Input, less the lone terminator, the last one terminated.
    const auto records = SplitReply(
        u"\x1D"
        u"00010abcd\x1D"
        u"00012abcdef\x1D"
        u"\x1D"
        u"tail");
    ASSERT_EQ(records.size(), 3u);
    EXPECT_EQ(records[0].Bytes, u"00010abcd\x1D");
    EXPECT_TRUE(records[0].WellFormed);
    EXPECT_TRUE(records[1].WellFormed);
    EXPECT_EQ(records[2].Bytes, u"tail\x1D");
    EXPECT_FALSE(records[2].WellFormed);
    // A stated length of two is no record of two bytes; a long run stays whole.
    EXPECT_FALSE(SplitReply(u"2\x1D")[0].WellFormed);
    const std::u16string run = u"00042" + std::u16string(std::size_t{20} << 20, u'x');
    ASSERT_EQ(SplitReply(run).size(), 1u);
    EXPECT_TRUE(SplitReply(u"").empty());
}

}  // namespace
}  // namespace tesselex
