#pragma once
// The string module: small text routines every layer shares. Text is UTF-16 throughout.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tesselex {

// The pieces of text between the separators, in order. An empty separator gives the whole text
// as one piece; an empty text gives no pieces.
std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view separator);
// The pieces joined with the separator between them.
std::u16string Join(const std::vector<std::u16string>& pieces, std::u16string_view separator);

// Blanks (character 32 only, as the system trims) removed at both ends, or at one end.
std::u16string Trim(std::u16string_view text);
std::u16string TrimLeft(std::u16string_view text);
std::u16string TrimRight(std::u16string_view text);

// Every occurrence of `what` replaced by `with`, scanning from the start; an empty `what`
// changes nothing.
std::u16string ReplaceAll(std::u16string_view text, std::u16string_view what,
                          std::u16string_view with);

// Line ends made CR LF the way downloaded and in-memory configuration texts always were: a text
// without any CR LF has every CR, and then (still without CR LF) every LF, made CR LF. A text
// holding one CR LF anywhere stays as it is, so lone LFs in a mixed text are not line ends.
std::u16string NormaliseLineEnds(std::u16string_view text);

// Letter case for the Latin, Greek and Cyrillic letters records and settings use. Characters
// without a case pair come back unchanged.
char16_t ToLowerChar(char16_t ch) noexcept;
char16_t ToUpperChar(char16_t ch) noexcept;
std::u16string ToLower(std::u16string_view text);
std::u16string ToUpper(std::u16string_view text);
// Case-insensitive comparison and search, as the system's keyed collections and text
// comparisons do it.
bool EqualsNoCase(std::u16string_view a, std::u16string_view b) noexcept;
bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix) noexcept;
// 0-based position of the first case-insensitive occurrence at or after `from`, or npos.
std::size_t FindNoCase(std::u16string_view text, std::u16string_view what,
                       std::size_t from = 0) noexcept;

// 1-based position of the first case-insensitive occurrence of `what`, or 0. An empty `what` is
// found at 1 in any non-empty text, as the system's text search answers.
int InStrNoCase(std::u16string_view text, std::u16string_view what) noexcept;

// The value of a hexadecimal digit (either case), or -1.
int HexDigitValue(char16_t ch) noexcept;

// The numeric value of the leading number of a text, as the system reads numbers from text:
// leading blanks skipped, blanks inside the number ignored, sign, decimals and exponent, "&H"
// hexadecimal and "&O" octal; a text that does not begin with a number reads as 0.
double Val(std::u16string_view text) noexcept;
// True when the whole text (blanks around it allowed) is a number in the forms Val reads.
bool IsNumeric(std::u16string_view text) noexcept;
// Val rounded to the nearest integer (halves to even) and clamped to the range of long long.
long long ValInteger(std::u16string_view text) noexcept;

// Whole-number formatting with at least `digits` digits, zero-padded ("000" gives 008, 245,
// 1000). Negative numbers keep their sign in front.
std::u16string FormatNumber(long long value, int digits);

// The text with every character removed that is neither a letter or digit of the code page
// (IsAnsiAlphaNumeric, so accented Latin-1 letters stay) nor one of the characters in `keep`.
std::u16string StripChars(std::u16string_view text, std::u16string_view keep);

// Plain ASCII text as UTF-16, for literals and numbers.
std::u16string FromAscii(std::string_view ascii);

}  // namespace tesselex
