#include "config/Strings.h"

#include "config/CodePage.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <stdexcept>
#include <string>

namespace tesselex {

std::vector<std::u16string> Split(std::u16string_view text, std::u16string_view separator) {
    std::vector<std::u16string> pieces;
    if (text.empty()) {
        return pieces;
    }
    if (separator.empty()) {
        pieces.emplace_back(text);
        return pieces;
    }
    std::size_t start = 0;
    while (true) {
        const std::size_t at = text.find(separator, start);
        if (at == std::u16string_view::npos) {
            pieces.emplace_back(text.substr(start));
            return pieces;
        }
        pieces.emplace_back(text.substr(start, at - start));
        start = at + separator.size();
    }
}

std::u16string Join(const std::vector<std::u16string>& pieces, std::u16string_view separator) {
    std::u16string out;
    for (std::size_t i = 0; i < pieces.size(); ++i) {
        if (i > 0) {
            out += separator;
        }
        out += pieces[i];
    }
    return out;
}

std::u16string TrimLeft(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u' ');
    return first == std::u16string_view::npos ? std::u16string()
                                              : std::u16string(text.substr(first));
}

std::u16string TrimRight(std::u16string_view text) {
    const std::size_t last = text.find_last_not_of(u' ');
    return last == std::u16string_view::npos ? std::u16string()
                                             : std::u16string(text.substr(0, last + 1));
}

std::u16string Trim(std::u16string_view text) {
    const std::size_t first = text.find_first_not_of(u' ');
    if (first == std::u16string_view::npos) {
        return {};
    }
    const std::size_t last = text.find_last_not_of(u' ');
    return std::u16string(text.substr(first, last - first + 1));
}

std::u16string ReplaceAll(std::u16string_view text, std::u16string_view what,
                          std::u16string_view with) {
    if (what.empty()) {
        return std::u16string(text);
    }
    std::u16string out;
    out.reserve(text.size());
    std::size_t start = 0;
    while (true) {
        const std::size_t at = text.find(what, start);
        if (at == std::u16string_view::npos) {
            out += text.substr(start);
            return out;
        }
        out += text.substr(start, at - start);
        out += with;
        start = at + what.size();
    }
}

std::u16string NormaliseLineEnds(std::u16string_view text) {
    if (text.find(u"\r\n") != std::u16string_view::npos) {
        return std::u16string(text);
    }
    std::u16string out = ReplaceAll(text, u"\r", u"\r\n");
    return out.find(u"\r\n") == std::u16string::npos ? ReplaceAll(out, u"\n", u"\r\n") : out;
}

char16_t ToLowerChar(char16_t ch) noexcept {
    if (ch < 0x80) {
        return (ch >= u'A' && ch <= u'Z') ? static_cast<char16_t>(ch + 32) : ch;
    }
    if ((ch >= 0xC0 && ch <= 0xDE && ch != 0xD7) || (ch >= 0x391 && ch <= 0x3AB && ch != 0x3A2) ||
        (ch >= 0x410 && ch <= 0x42F)) {
        return static_cast<char16_t>(ch + 32);
    }
    if (ch >= 0x400 && ch <= 0x40F) {
        return static_cast<char16_t>(ch + 80);
    }
    if (ch == 0x178) {
        return 0xFF;
    }
    // Latin Extended-A pairs capital and small letters side by side; the parity of the capital
    // changes at 0x139 and again at 0x179.
    if ((ch >= 0x100 && ch <= 0x137) || (ch >= 0x14A && ch <= 0x177)) {
        return (ch % 2 == 0) ? static_cast<char16_t>(ch + 1) : ch;
    }
    if ((ch >= 0x139 && ch <= 0x148) || (ch >= 0x179 && ch <= 0x17E)) {
        return (ch % 2 == 1) ? static_cast<char16_t>(ch + 1) : ch;
    }
    return ch;
}

char16_t ToUpperChar(char16_t ch) noexcept {
    if (ch < 0x80) {
        return (ch >= u'a' && ch <= u'z') ? static_cast<char16_t>(ch - 32) : ch;
    }
    if ((ch >= 0xE0 && ch <= 0xFE && ch != 0xF7) || (ch >= 0x3B1 && ch <= 0x3CB && ch != 0x3C2) ||
        (ch >= 0x430 && ch <= 0x44F)) {
        return static_cast<char16_t>(ch - 32);
    }
    if (ch >= 0x450 && ch <= 0x45F) {
        return static_cast<char16_t>(ch - 80);
    }
    if (ch == 0xFF) {
        return 0x178;
    }
    if ((ch >= 0x101 && ch <= 0x137) || (ch >= 0x14B && ch <= 0x177)) {
        return (ch % 2 == 1) ? static_cast<char16_t>(ch - 1) : ch;
    }
    if ((ch >= 0x13A && ch <= 0x148) || (ch >= 0x17A && ch <= 0x17E)) {
        return (ch % 2 == 0) ? static_cast<char16_t>(ch - 1) : ch;
    }
    return ch;
}

std::u16string ToLower(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& ch : out) {
        ch = ToLowerChar(ch);
    }
    return out;
}

std::u16string ToUpper(std::u16string_view text) {
    std::u16string out(text);
    for (char16_t& ch : out) {
        ch = ToUpperChar(ch);
    }
    return out;
}

bool EqualsNoCase(std::u16string_view a, std::u16string_view b) noexcept {
    if (a.size() != b.size()) {
        return false;
    }
    for (std::size_t i = 0; i < a.size(); ++i) {
        if (a[i] != b[i] && ToLowerChar(a[i]) != ToLowerChar(b[i])) {
            return false;
        }
    }
    return true;
}

bool StartsWithNoCase(std::u16string_view text, std::u16string_view prefix) noexcept {
    return text.size() >= prefix.size() && EqualsNoCase(text.substr(0, prefix.size()), prefix);
}

std::size_t FindNoCase(std::u16string_view text, std::u16string_view what,
                       std::size_t from) noexcept {
    if (what.empty()) {
        return from <= text.size() ? from : std::u16string_view::npos;
    }
    if (what.size() > text.size()) {
        return std::u16string_view::npos;
    }
    for (std::size_t i = from; i + what.size() <= text.size(); ++i) {
        if (EqualsNoCase(text.substr(i, what.size()), what)) {
            return i;
        }
    }
    return std::u16string_view::npos;
}

namespace {

bool IsBlank(char16_t ch) {
    return ch == u' ' || ch == u'\t' || ch == u'\n' || ch == u'\r';
}
bool IsDigit(char16_t ch) {
    return ch >= u'0' && ch <= u'9';
}

// Reads a number from text[pos...] in the forms the system accepts. Returns the value and sets
// `end` to the position after the last character taken and `digits` to whether any digit came.
double ReadNumber(std::u16string_view text, std::size_t pos, std::size_t& end, bool& digits,
                  bool allowInnerBlanks) {
    auto skipBlanks = [&](std::size_t p) {
        while (allowInnerBlanks && p < text.size() && IsBlank(text[p])) {
            ++p;
        }
        return p;
    };
    digits = false;
    end = pos;
    if (pos + 1 < text.size() && text[pos] == u'&') {
        const char16_t kind = ToUpperChar(text[pos + 1]);
        if (kind == u'H' || kind == u'O') {
            const int base = kind == u'H' ? 16 : 8;
            double value = 0;
            std::size_t p = pos + 2;
            while (p < text.size()) {
                const int d = HexDigitValue(text[p]);
                if (d < 0 || d >= base) {
                    break;
                }
                value = value * base + d;
                digits = true;
                ++p;
            }
            end = p;
            return value;
        }
    }
    bool negative = false;
    std::size_t p = pos;
    if (p < text.size() && (text[p] == u'-' || text[p] == u'+')) {
        negative = text[p] == u'-';
        p = skipBlanks(p + 1);
    }
    std::string number;
    while (p < text.size() && IsDigit(text[p])) {
        number += static_cast<char>(text[p]);
        digits = true;
        p = skipBlanks(p + 1);
    }
    if (p < text.size() && text[p] == u'.') {
        number += '.';
        p = skipBlanks(p + 1);
        while (p < text.size() && IsDigit(text[p])) {
            number += static_cast<char>(text[p]);
            digits = true;
            p = skipBlanks(p + 1);
        }
    }
    if (!digits) {
        end = pos;
        return 0;
    }
    end = p;
    if (p < text.size()) {
        const char16_t e = ToUpperChar(text[p]);
        if (e == u'E' || e == u'D') {
            std::size_t q = skipBlanks(p + 1);
            std::string exponent;
            if (q < text.size() && (text[q] == u'-' || text[q] == u'+')) {
                exponent += static_cast<char>(text[q]);
                q = skipBlanks(q + 1);
            }
            bool expDigits = false;
            while (q < text.size() && IsDigit(text[q])) {
                exponent += static_cast<char>(text[q]);
                expDigits = true;
                q = skipBlanks(q + 1);
            }
            if (expDigits) {
                number += 'e' + exponent;
                end = q;
            }
        }
    }
    double value = 0;
    const auto [rest, failure] = std::from_chars(number.data(), number.data() + number.size(), value);
    (void)rest;
    if (failure == std::errc::result_out_of_range) {
        value = std::numeric_limits<double>::infinity();
    } else if (failure != std::errc()) {
        value = 0;
    }
    return negative ? -value : value;
}

}  // namespace

int InStrNoCase(std::u16string_view text, std::u16string_view what) noexcept {
    if (text.empty()) {
        return 0;
    }
    if (what.empty()) {
        return 1;
    }
    const std::size_t at = FindNoCase(text, what);
    return at == std::u16string_view::npos ? 0 : static_cast<int>(at) + 1;
}

int HexDigitValue(char16_t ch) noexcept {
    if (ch >= u'0' && ch <= u'9') {
        return ch - u'0';
    }
    if (ch >= u'a' && ch <= u'f') {
        return ch - u'a' + 10;
    }
    if (ch >= u'A' && ch <= u'F') {
        return ch - u'A' + 10;
    }
    return -1;
}

double Val(std::u16string_view text) noexcept {
    std::size_t pos = 0;
    while (pos < text.size() && IsBlank(text[pos])) {
        ++pos;
    }
    std::size_t end = 0;
    bool digits = false;
    return ReadNumber(text, pos, end, digits, true);
}

bool IsNumeric(std::u16string_view text) noexcept {
    std::size_t pos = 0;
    while (pos < text.size() && IsBlank(text[pos])) {
        ++pos;
    }
    std::size_t end = 0;
    bool digits = false;
    ReadNumber(text, pos, end, digits, false);
    if (!digits) {
        return false;
    }
    while (end < text.size() && IsBlank(text[end])) {
        ++end;
    }
    return end == text.size();
}

long long ValInteger(std::u16string_view text) noexcept {
    const double value = std::nearbyint(Val(text));
    if (std::isnan(value)) {
        return 0;
    }
    constexpr double kMax = 9.2e18;
    if (value >= kMax) {
        return std::numeric_limits<long long>::max();
    }
    if (value <= -kMax) {
        return std::numeric_limits<long long>::min();
    }
    return static_cast<long long>(value);
}

std::u16string FormatNumber(long long value, int digits) {
    const bool negative = value < 0;
    std::string number = std::to_string(value);
    if (negative) {
        number.erase(0, 1);
    }
    if (static_cast<int>(number.size()) < digits) {
        number.insert(0, static_cast<std::size_t>(digits) - number.size(), '0');
    }
    return FromAscii((negative ? "-" : "") + number);
}

std::u16string FromAscii(std::string_view ascii) {
    return std::u16string(ascii.begin(), ascii.end());
}

std::u16string StripChars(std::u16string_view text, std::u16string_view keep) {
    std::u16string kept;
    kept.reserve(text.size());
    for (const char16_t ch : text) {
        if (IsAnsiAlphaNumeric(ch) || keep.find(ch) != std::u16string_view::npos) {
            kept += ch;
        }
    }
    return kept;
}

}  // namespace tesselex
