#pragma once
// Helpers shared by the fuzz targets: fuzzer bytes as the program's 8-bit strings (read in the
// ANSI code page, as files are read) and the split of one input into parts.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "config/CodePage.h"

namespace tesselex::fuzz {

inline std::u16string Bytes8(std::string_view bytes) {
    return AnsiToText(bytes);
}

// One byte per code unit, without the code page (for the code that itself reads 8-bit text).
inline std::u16string Bytes(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    for (const char c : bytes) {
        text.push_back(static_cast<char16_t>(static_cast<unsigned char>(c)));
    }
    return text;
}

// Two bytes per code unit (little-endian): any UTF-16 text, unpaired surrogates included.
inline std::u16string Wide(std::string_view bytes) {
    std::u16string text;
    text.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        const auto lo = static_cast<unsigned char>(bytes[i]);
        const auto hi = static_cast<unsigned char>(bytes[i + 1]);
        text.push_back(static_cast<char16_t>(lo | (hi << 8)));
    }
    return text;
}

inline std::string_view View(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

// Splits at the separator line "\n--\n"; missing parts come back empty.
inline std::vector<std::string_view> Parts(std::string_view input, std::size_t count) {
    constexpr std::string_view Separator = "\n--\n";
    std::vector<std::string_view> parts;
    while (parts.size() + 1 < count) {
        const std::size_t at = input.find(Separator);
        if (at == std::string_view::npos) {
            break;
        }
        parts.push_back(input.substr(0, at));
        input.remove_prefix(at + Separator.size());
    }
    parts.push_back(input);
    parts.resize(count);
    return parts;
}

// Stops the run with the input's name in the fuzzer's report.
[[noreturn]] inline void Fail() {
    __builtin_trap();
}

// The same, saying which promise broke.
[[noreturn]] inline void Fail(const char* what) {
    std::fprintf(stderr, "fuzz check failed: %s\n", what);
    Fail();
}

}  // namespace tesselex::fuzz
