#pragma once
// Reads a file or stream of concatenated ISO 2709 records one record at a time, split at the
// record terminator (byte 0x1D), in constant memory whatever the size of the input. The input
// is read in large blocks; each record is handed out as its bytes (terminator included) with
// the byte offset at which it starts.

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <istream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tesselex {

// The export check of one record as the reader hands it out: the number in its first five
// characters equals its length, counting the terminator (put back when the last record of the
// input lacks it).
bool RecordLengthMatches(std::string_view record);

// One record of a reply held in memory (one char16_t per byte), as the reader hands it out.
struct ReplyRecord {
    std::u16string Bytes;     // ends with the terminator, put back when the reply's last lacked it
    bool WellFormed = false;  // RecordLengthMatches
};
// The reply split at the record terminator, by the reader's rules. A terminator at the start or
// right after another ends no record: it is skipped. A run without a terminator stays one record
// whatever its length: the reply is in memory already.
std::vector<ReplyRecord> SplitReply(std::u16string_view reply);

class RecordReader {
  public:
    static constexpr std::size_t DefaultBlockSize = std::size_t{1} << 20;
    // A run of bytes without a terminator longer than this is handed out in pieces of this
    // size, so a file that is not ISO 2709 at all cannot make memory grow.
    static constexpr std::size_t DefaultMaxRecordSize = std::size_t{16} << 20;

    // Reads the stream; it must outlive the reader.
    explicit RecordReader(std::istream& in, std::size_t blockSize = DefaultBlockSize,
                          std::size_t maxRecordSize = DefaultMaxRecordSize);
    // Opens the file; IsOpen() tells whether that worked.
    explicit RecordReader(const std::filesystem::path& file,
                          std::size_t blockSize = DefaultBlockSize,
                          std::size_t maxRecordSize = DefaultMaxRecordSize);

    bool IsOpen() const { return in_ != nullptr; }
    // True when reading stopped on a read error rather than at the end of the input.
    bool Failed() const { return failed_; }

    // The next record: its bytes up to and including the terminator (the last record of the
    // input may lack it) and its 0-based byte offset. The view stays valid until the next call.
    // False at the end of the input.
    bool Next(std::string_view& record, std::uint64_t& offset);

    // Bytes consumed so far (the offset just past the last record handed out).
    std::uint64_t Position() const { return consumed_; }

  private:
    bool Fill();

    std::unique_ptr<std::ifstream> file_;
    std::istream* in_ = nullptr;
    std::string buffer_;
    std::size_t begin_ = 0;  // first byte of buffer_ not yet handed out
    std::size_t end_ = 0;    // bytes of buffer_ holding data
    std::size_t blockSize_;
    std::size_t maxRecordSize_;
    std::uint64_t consumed_ = 0;
    bool eof_ = false;
    bool failed_ = false;
};

}  // namespace tesselex
