// Normalisation and mark classes through the Windows string functions: NormalizeString for
// composition and decomposition (FoldStringW's MAP_PRECOMPOSED and MAP_COMPOSITE follow older
// tables and do not recompose across every mark), GetStringTypeW for the mark class.

#include <windows.h>

#include <climits>

#include "charset/Fold.h"
#include "charset/Normalize.h"

namespace tesselex {
namespace {

const wchar_t* Wide(std::u16string_view text) {
    return reinterpret_cast<const wchar_t*>(text.data());
}

// One run of well-formed text through NormalizeString; empty when it fails.
std::u16string NormalizeRun(std::u16string_view text, NORM_FORM form) {
    const int length = static_cast<int>(text.size());
    // The first answer is an estimate; a too-small buffer says so and gives a better one.
    int estimate = NormalizeString(form, Wide(text), length, nullptr, 0);
    for (int attempt = 0; attempt < 4 && estimate > 0; ++attempt) {
        std::u16string out(static_cast<std::size_t>(estimate), u'\0');
        const int written = NormalizeString(form, Wide(text), length,
                                            reinterpret_cast<wchar_t*>(out.data()), estimate);
        if (written > 0) {
            out.resize(static_cast<std::size_t>(written));
            return out;
        }
        if (GetLastError() != ERROR_INSUFFICIENT_BUFFER) {
            return {};
        }
        estimate = -written;
    }
    return {};
}

bool IsHigh(char16_t ch) {
    return ch >= 0xD800 && ch <= 0xDBFF;
}
bool IsLow(char16_t ch) {
    return ch >= 0xDC00 && ch <= 0xDFFF;
}

}  // namespace

std::u16string Normalize(std::u16string_view text, bool decompose) {
    if (text.empty() || text.size() > INT_MAX / 4) {
        return {};
    }
    const NORM_FORM form = decompose ? NormalizationD : NormalizationC;
    // NormalizeString refuses a whole text for one unpaired surrogate, where ICU passes it
    // through: the runs between such units are normalised on their own and the units kept.
    std::u16string out;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        bool lone = false;
        if (i < text.size()) {
            const char16_t ch = text[i];
            if (IsHigh(ch) && i + 1 < text.size() && IsLow(text[i + 1])) {
                ++i;
                continue;
            }
            lone = IsHigh(ch) || IsLow(ch);
            if (!lone) {
                continue;
            }
        }
        if (i > start) {
            const std::u16string run = NormalizeRun(text.substr(start, i - start), form);
            if (run.empty()) {
                return {};
            }
            out += run;
        }
        if (lone) {
            out += text[i];
        }
        start = i + 1;
    }
    return out;
}

bool IsCombiningMark(char32_t cp) noexcept {
    wchar_t units[2] = {};
    int count = 1;
    if (cp > 0xFFFF) {
        const char32_t rest = cp - 0x10000;
        units[0] = static_cast<wchar_t>(0xD800 + (rest >> 10));
        units[1] = static_cast<wchar_t>(0xDC00 + (rest & 0x3FF));
        count = 2;
    } else {
        units[0] = static_cast<wchar_t>(cp);
    }
    WORD types[2] = {};
    if (!GetStringTypeW(CT_CTYPE3, units, count, types)) {
        return false;
    }
    // The system counts a precomposed letter with a diacritic (é) as nonspacing too; only a
    // nonspacing character that is not a letter is a combining mark.
    return (types[0] & C3_NONSPACING) != 0 && (types[0] & C3_ALPHA) == 0;
}

}  // namespace tesselex
