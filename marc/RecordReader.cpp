#include "marc/RecordReader.h"

#include <algorithm>
#include <cstring>

#include "config/CodePage.h"
#include "config/Strings.h"

namespace tesselex {

namespace {

constexpr char RecordTerminator = '\x1D';

// The number is read the way the system reads numbers from text: leading digits, blanks around
// them ignored.
bool StatesLength(std::u16string_view head, std::size_t length) {
    return Val(head) == static_cast<double>(length);
}

}  // namespace

bool RecordLengthMatches(std::string_view record) {
    if (record.size() < 5) {
        return false;
    }
    std::size_t length = record.size();
    if (record.back() != RecordTerminator) {
        ++length;
    }
    return StatesLength(AnsiToText(record.substr(0, 5)), length);
}

std::vector<ReplyRecord> SplitReply(std::u16string_view reply) {
    std::vector<ReplyRecord> records;
    std::size_t start = 0;
    while (start < reply.size()) {
        std::size_t end = reply.find(static_cast<char16_t>(RecordTerminator), start);
        if (end == std::u16string_view::npos) {
            end = reply.size();
        }
        if (end > start) {
            ReplyRecord record;
            record.Bytes.reserve(end - start + 1);
            record.Bytes.append(reply.substr(start, end - start));
            record.Bytes.push_back(static_cast<char16_t>(RecordTerminator));
            record.WellFormed =
                record.Bytes.size() >= 5 &&
                StatesLength(std::u16string_view(record.Bytes).substr(0, 5), record.Bytes.size());
            records.push_back(std::move(record));
        }
        start = end + 1;
    }
    return records;
}

RecordReader::RecordReader(std::istream& in, std::size_t blockSize, std::size_t maxRecordSize)
    : in_(&in),
      blockSize_(std::max<std::size_t>(blockSize, 1)),
      maxRecordSize_(std::max<std::size_t>(maxRecordSize, 1)) {}

RecordReader::RecordReader(const std::filesystem::path& file, std::size_t blockSize,
                           std::size_t maxRecordSize)
    : blockSize_(std::max<std::size_t>(blockSize, 1)),
      maxRecordSize_(std::max<std::size_t>(maxRecordSize, 1)) {
    std::error_code ec;
    if (std::filesystem::is_directory(file, ec)) {
        return;
    }
    file_ = std::make_unique<std::ifstream>(file, std::ios::binary);
    if (file_->is_open()) {
        in_ = file_.get();
    } else {
        file_.reset();
    }
}

bool RecordReader::Fill() {
    if (eof_ || in_ == nullptr) {
        return false;
    }
    // Keep the unfinished record at the front, then read one block behind it.
    if (begin_ > 0) {
        std::memmove(buffer_.data(), buffer_.data() + begin_, end_ - begin_);
        end_ -= begin_;
        begin_ = 0;
    }
    if (buffer_.size() < end_ + blockSize_) {
        buffer_.resize(end_ + blockSize_);
    }
    in_->read(buffer_.data() + end_, static_cast<std::streamsize>(blockSize_));
    const auto got = static_cast<std::size_t>(in_->gcount());
    end_ += got;
    if (!*in_) {
        eof_ = true;
        failed_ = in_->bad();
    }
    return got > 0;
}

bool RecordReader::Next(std::string_view& record, std::uint64_t& offset) {
    std::size_t scanFrom = begin_;
    for (;;) {
        const char* start = buffer_.data() + scanFrom;
        const auto* found =
            static_cast<const char*>(std::memchr(start, RecordTerminator, end_ - scanFrom));
        std::size_t length = 0;
        if (found != nullptr) {
            length = static_cast<std::size_t>(found - (buffer_.data() + begin_)) + 1;
        } else if (end_ - begin_ >= maxRecordSize_) {
            length = maxRecordSize_;
        } else if (eof_ || in_ == nullptr) {
            length = end_ - begin_;
            if (length == 0) {
                return false;
            }
        } else {
            const std::size_t scanned = end_ - begin_;
            Fill();
            scanFrom = begin_ + scanned;
            continue;
        }
        record = std::string_view(buffer_.data() + begin_, length);
        offset = consumed_;
        consumed_ += length;
        begin_ += length;
        return true;
    }
}

}  // namespace tesselex
