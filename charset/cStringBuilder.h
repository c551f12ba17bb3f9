#pragma once
// A growable text buffer for results built piece by piece: it keeps a pre-sized string and
// the part of it in use, and grows in fixed chunks so appending does not copy the whole text
// each time. Sizes are kept in bytes (two per character) and shown in characters.

#include <cstdint>
#include <string>
#include <string_view>

namespace tesselex {

class cStringBuilder {
  public:
    std::int32_t Length() const noexcept { return used_ / 2; }
    std::int32_t Capacity() const noexcept { return capacity_ / 2; }
    std::int32_t ChunkSize() const noexcept { return chunkSize_ / 2; }
    // In characters; raises Error(InvalidArgument) for a size below 1, Error(Overflow) when it
    // does not fit in bytes.
    void SetChunkSize(std::int32_t characters);

    std::u16string ToString() const;
    void SetTheString(std::u16string_view s);

    // Grows by exactly one chunk when the text does not fit in the free space. A text longer
    // than the free space plus one chunk grows the buffer by as many chunks as it needs.
    void Append(std::u16string_view s);
    void AppendByVal(std::u16string s) { Append(s); }
    // 0-based character index, at most Length(); else Error(SubscriptOutOfRange).
    void Insert(std::int32_t index, std::u16string_view s);
    void InsertByVal(std::int32_t index, std::u16string s) { Insert(index, s); }
    // 0-based character index and count within the used part; else Error(SubscriptOutOfRange).
    void Remove(std::int32_t index, std::int32_t length);

    // With start >= 1: the 1-based position of text in the buffer from start (compare 0 exact,
    // 1 ignoring case), reported only when it lies before the last used character, else 0.
    // With start < 1: the buffer's content is the start position (Error(TypeMismatch) when it
    // is not a number) and the decimal text of compare is searched for in text.
    std::int32_t Find(std::u16string_view text, std::int32_t start, std::int32_t compare) const;

    // Gives back whole chunks while more than one chunk is free.
    void HeapMinimize();

  private:
    void Grow();
    void GrowToFit(std::int64_t bytes);

    std::u16string buffer_;
    std::int32_t chunkSize_ = 16384;
    std::int32_t used_ = 0;
    std::int32_t capacity_ = 0;
};

}  // namespace tesselex
