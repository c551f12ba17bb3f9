#pragma once
// Windows-1252, the system ANSI code page. Every conversion between bytes and text goes through
// here. Decoding is lossless for all 256 bytes: the five bytes Windows-1252 leaves undefined
// (0x81, 0x8D, 0x8F, 0x90, 0x9D) decode to the C1 controls of the same value and encode back,
// so UTF-8 replies that pass through an 8-bit string are never corrupted.

#include <string>
#include <string_view>

namespace tesselex {

// The character a byte stands for.
char16_t AnsiToChar(unsigned char byte) noexcept;
// The byte of a character, or '?' (63) when the code page cannot hold it.
unsigned char CharToAnsi(char16_t ch) noexcept;
// True when the code page holds the character (CharToAnsi does not substitute '?').
bool IsAnsiChar(char16_t ch) noexcept;

// Bytes to an 8-bit string (one character per byte) and back.
std::u16string AnsiToText(std::string_view bytes);
std::string TextToAnsi(std::u16string_view text);

// What IsCharAlphaNumericA answers for the code page: ASCII letters and digits and the code
// page's letters (Š š Œ œ Ž ž Ÿ ƒ ª µ º À-Ö Ø-ö ø-ÿ); not × ÷, symbols or punctuation.
bool IsAnsiAlphaNumeric(unsigned char byte) noexcept;
// The same test for a character, judged by its byte (characters outside the code page are '?').
bool IsAnsiAlphaNumeric(char16_t ch) noexcept;

}  // namespace tesselex
