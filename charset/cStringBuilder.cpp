#include "charset/cStringBuilder.h"

#include <algorithm>
#include <climits>

#include "config/Error.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

std::int32_t ByteLength(std::size_t characters) {
    if (characters > static_cast<std::size_t>(INT32_MAX / 2)) {
        throw Error(ErrorNumber::Overflow);
    }
    return static_cast<std::int32_t>(characters * 2);
}

// InStr: 1-based position of what in text from start, or 0.
std::int32_t InStr(std::int64_t start, std::u16string_view text, std::u16string_view what,
                   bool ignoreCase) {
    if (start < 1) {
        throw Error(ErrorNumber::InvalidArgument);
    }
    const auto from = static_cast<std::size_t>(start - 1);
    if (from > text.size()) {
        return 0;
    }
    const std::size_t found = ignoreCase ? FindNoCase(text, what, from) : text.find(what, from);
    return found == std::u16string_view::npos ? 0 : static_cast<std::int32_t>(found + 1);
}

}  // namespace

void cStringBuilder::SetChunkSize(std::int32_t characters) {
    if (characters < 1) {
        throw Error(ErrorNumber::InvalidArgument);
    }
    if (characters > INT32_MAX / 2) {
        throw Error(ErrorNumber::Overflow);
    }
    chunkSize_ = characters * 2;
}

void cStringBuilder::Grow() {
    if (capacity_ > INT32_MAX - chunkSize_) {
        throw Error(ErrorNumber::Overflow);
    }
    buffer_.append(static_cast<std::size_t>(chunkSize_ / 2), u' ');
    capacity_ += chunkSize_;
}

void cStringBuilder::GrowToFit(std::int64_t bytes) {
    if (bytes > INT32_MAX) {
        throw Error(ErrorNumber::Overflow);
    }
    while (capacity_ < bytes) {
        Grow();
    }
}

std::u16string cStringBuilder::ToString() const {
    return used_ == 0 ? std::u16string{} : buffer_.substr(0, static_cast<std::size_t>(used_ / 2));
}

void cStringBuilder::SetTheString(std::u16string_view s) {
    if (s.empty()) {
        buffer_.clear();
        used_ = 0;
        capacity_ = 0;
        return;
    }
    const std::int32_t n = ByteLength(s.size());
    GrowToFit(n);
    std::copy(s.begin(), s.end(), buffer_.begin());
    used_ = n;
}

void cStringBuilder::Append(std::u16string_view s) {
    const std::int32_t n = ByteLength(s.size());
    const std::int64_t needed = std::int64_t{used_} + n;
    if (needed > capacity_) {
        Grow();
        GrowToFit(needed);
    }
    std::copy(s.begin(), s.end(), buffer_.begin() + used_ / 2);
    used_ += n;
}

void cStringBuilder::Insert(std::int32_t index, std::u16string_view s) {
    if (index < 0 || std::int64_t{index} * 2 > used_) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
    const std::int32_t n = ByteLength(s.size());
    const std::int64_t needed = std::int64_t{used_} + n;
    if (needed > capacity_) {
        Grow();
        GrowToFit(needed);
    }
    const auto at = buffer_.begin() + index;
    std::copy_backward(at, buffer_.begin() + used_ / 2, buffer_.begin() + used_ / 2 + n / 2);
    std::copy(s.begin(), s.end(), at);
    used_ += n;
}

void cStringBuilder::Remove(std::int32_t index, std::int32_t length) {
    if (index < 0 || length < 0 || (std::int64_t{index} + length) * 2 > used_) {
        throw Error(ErrorNumber::SubscriptOutOfRange);
    }
    const auto at = buffer_.begin() + index;
    std::copy(at + length, buffer_.begin() + used_ / 2, at);
    used_ -= length * 2;
}

std::int32_t cStringBuilder::Find(std::u16string_view text, std::int32_t start,
                                  std::int32_t compare) const {
    std::int32_t position = 0;
    if (start >= 1) {
        position = InStr(start, buffer_, text, compare == 1);
    } else {
        // The arguments shift by one when no start is given: the content becomes the start
        // and the compare mode the text searched for. Kept, because callers can observe it.
        const std::u16string content = ToString();
        if (!IsNumeric(content)) {
            throw Error(ErrorNumber::TypeMismatch);
        }
        position = InStr(ValInteger(content), text, FormatNumber(compare, 1), false);
    }
    return position < used_ / 2 ? position : 0;
}

void cStringBuilder::HeapMinimize() {
    if (capacity_ - used_ <= chunkSize_) {
        return;
    }
    while (capacity_ - used_ > chunkSize_) {
        capacity_ -= chunkSize_;
    }
    buffer_.resize(static_cast<std::size_t>(capacity_ / 2));
}

}  // namespace tesselex
