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
        SCOPED_TRACE(block);
        const auto pieces = ReadString(Input, block, 1000);
        ASSERT_EQ(pieces.size(), expected.size());
        for (std::size_t i = 0; i < pieces.size(); ++i) {
            EXPECT_EQ(pieces[i].bytes, expected[i].bytes);
            EXPECT_EQ(pieces[i].offset, expected[i].offset);
        }
    }
    EXPECT_TRUE(ReadString("", 16, 16).empty());
}

TEST(RecordReaderTest, RunWithoutTerminatorIsHandedOutInBoundedPieces) {
    const auto pieces = ReadString(std::string(100, 'x') + "\x1D", 8, 30);
    ASSERT_EQ(pieces.size(), 4u);
    EXPECT_EQ(pieces[0].bytes.size(), 30u);
    EXPECT_EQ(pieces[2].offset, 60u);
    EXPECT_EQ(pieces[3].bytes, std::string(10, 'x') + "\x1D");
}

TEST(RecordReaderTest, ReadsFilesAndReportsMissingOnes) {
    test::TempDir dir;
    test::WriteBytes(dir / "two.mrc", Input);
    RecordReader reader(dir / "two.mrc", 5);
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_EQ(ReadAll(reader).size(), 4u);
    EXPECT_EQ(reader.Position(), Input.size());
    EXPECT_FALSE(reader.Failed());

    EXPECT_FALSE(RecordReader(dir / "missing.mrc").IsOpen());
    EXPECT_FALSE(RecordReader(dir.Path()).IsOpen()) << "a folder is not a record file";
}

TEST(RecordReaderTest, ReadErrorIsToldFromTheEnd) {
    struct BrokenBuffer : std::streambuf {
        int_type underflow() override { throw std::runtime_error("device gone"); }
    } broken;
    std::istream in(&broken);
    RecordReader reader(in);
    EXPECT_TRUE(ReadAll(reader).empty());
    EXPECT_TRUE(reader.Failed());
}

TEST(RecordReaderTest, LengthCheckComparesTheStatedWithTheRealLength) {
    EXPECT_TRUE(RecordLengthMatches("00010abcd\x1D"));
    EXPECT_FALSE(RecordLengthMatches("00011abcd\x1D"));
    // The terminator of an unterminated last record is counted as if it were there.
    EXPECT_TRUE(RecordLengthMatches("00010abcd"));
    EXPECT_FALSE(RecordLengthMatches("\n"));
    EXPECT_FALSE(RecordLengthMatches("abcde12345\x1D"));
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
