#include "config/CodePage.h"

#include <array>

namespace tesselex {
namespace {

// 0x80-0x9F of Windows-1252; the undefined bytes keep their own value.
constexpr std::array<char16_t, 32> kHighControls = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

constexpr unsigned char kQuestionMark = 63;

int HighIndexOf(char16_t ch) noexcept {
    for (std::size_t i = 0; i < kHighControls.size(); ++i) {
        if (kHighControls[i] == ch) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

}  // namespace

char16_t AnsiToChar(unsigned char byte) noexcept {
    if (byte >= 0x80 && byte <= 0x9F) {
        return kHighControls[static_cast<std::size_t>(byte - 0x80)];
    }
    return static_cast<char16_t>(byte);
}

unsigned char CharToAnsi(char16_t ch) noexcept {
    if (ch < 0x80 || (ch >= 0xA0 && ch <= 0xFF)) {
        return static_cast<unsigned char>(ch);
    }
    const int index = HighIndexOf(ch);
    return index < 0 ? kQuestionMark : static_cast<unsigned char>(0x80 + index);
}

bool IsAnsiChar(char16_t ch) noexcept {
    return ch == kQuestionMark || CharToAnsi(ch) != kQuestionMark;
}

std::u16string AnsiToText(std::string_view bytes) {
    std::u16string text(bytes.size(), u'\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        text[i] = AnsiToChar(static_cast<unsigned char>(bytes[i]));
    }
    return text;
}

std::string TextToAnsi(std::u16string_view text) {
    std::string bytes(text.size(), '\0');
    for (std::size_t i = 0; i < text.size(); ++i) {
        bytes[i] = static_cast<char>(CharToAnsi(text[i]));
    }
    return bytes;
}

bool IsAnsiAlphaNumeric(unsigned char byte) noexcept {
    if ((byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'Z') ||
        (byte >= 'a' && byte <= 'z')) {
        return true;
    }
    switch (byte) {
        case 0x83:  // ƒ
        case 0x8A:  // Š
        case 0x8C:  // Œ
        case 0x8E:  // Ž
        case 0x9A:  // š
        case 0x9C:  // œ
        case 0x9E:  // ž
        case 0x9F:  // Ÿ
        case 0xAA:  // ª
        case 0xB5:  // µ
        case 0xBA:  // º
            return true;
        default:
            break;
    }
    return byte >= 0xC0 && byte != 0xD7 && byte != 0xF7;
}

bool IsAnsiAlphaNumeric(char16_t ch) noexcept {
    return IsAnsiChar(ch) && ch != kQuestionMark && IsAnsiAlphaNumeric(CharToAnsi(ch));
}

}  // namespace tesselex
