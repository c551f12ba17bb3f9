#pragma once
// Scans over record text four UTF-16 units at a time. Record import and export look at every
// character of every record for a handful of control characters that are almost never there;
// testing a 64-bit word per step keeps that cost small.

#include <cstdint>
#include <cstring>
#include <string_view>

namespace tesselex::textscan {

inline constexpr std::uint64_t LaneOnes = 0x0001000100010001ULL;
inline constexpr std::uint64_t LaneHighs = 0x8000800080008000ULL;

// Non-zero when some 16-bit lane of the word equals the unit.
inline std::uint64_t LaneEquals(std::uint64_t word, char16_t unit) {
    const std::uint64_t x = word ^ (LaneOnes * unit);
    return (x - LaneOnes) & ~x & LaneHighs;
}

inline std::uint64_t LoadLanes(const char16_t* at) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, sizeof word);
    return word;
}

// True when the text holds the unit.
inline bool Contains(std::u16string_view text, char16_t unit) {
    const char16_t* p = text.data();
    const char16_t* const last = p + text.size();
    for (; last - p >= 4; p += 4) {
        if (LaneEquals(LoadLanes(p), unit) != 0) {
            return true;
        }
    }
    for (; p != last; ++p) {
        if (*p == unit) {
            return true;
        }
    }
    return false;
}

// The first position from `first` holding `stop` (or `last`); `seen` tells whether a unit equal
// to `a` or `b` stands before that position.
inline const char16_t* FindNoting(const char16_t* first, const char16_t* last, char16_t stop,
                                  char16_t a, char16_t b, bool& seen) {
    const char16_t* p = first;
    std::uint64_t marks = 0;
    for (; last - p >= 4; p += 4) {
        const std::uint64_t word = LoadLanes(p);
        if (LaneEquals(word, stop) != 0) {
            break;
        }
        marks |= LaneEquals(word, a) | LaneEquals(word, b);
    }
    for (; p != last && *p != stop; ++p) {
        marks |= static_cast<std::uint64_t>((*p == a) | (*p == b));
    }
    seen = marks != 0;
    return p;
}

}  // namespace tesselex::textscan
