// The fixed conversions of CharacterClass: UTF-8 both ways, Latin-1, the ANSI code page, VRLIN
// and the MARC-8 Swedish letters. They do not touch the map.

#include <climits>

#include "charset/CharacterClass.h"
#include "charset/Fold.h"
#include "charset/VrlinTable.h"
#include "config/CodePage.h"
#include "config/Error.h"
#include "config/Strings.h"
#include "config/Utf.h"

namespace tesselex {
namespace {

// Code units are judged as the signed 16-bit numbers they were stored as: everything from
// 0x8000 up reads as negative.
constexpr std::int32_t Signed(char16_t ch) noexcept {
    return ch < 0x8000 ? std::int32_t{ch} : std::int32_t{ch} - 0x10000;
}

bool IsHighSurrogate(char16_t ch) noexcept {
    return ch >= 0xD800 && ch <= 0xDBFF;
}
bool IsLowSurrogate(char16_t ch) noexcept {
    return ch >= 0xDC00 && ch <= 0xDFFF;
}

// Letters with a stroke or bar have no canonical decomposition, yet their base letter is
// what a reader of a narrowed record expects to see.
char16_t StrokeBase(char16_t ch) noexcept {
    // Đ đ Ħ ħ ı Ł ł Ŧ ŧ ƀ Ɨ Ƶ ƶ Ǥ ǥ ɨ
    constexpr std::u16string_view kLetters =
        u"\u0110\u0111\u0126\u0127\u0131\u0141\u0142\u0166"
        u"\u0167\u0180\u0197\u01B5\u01B6\u01E4\u01E5\u0268";
    constexpr std::u16string_view kBases = u"DdHhiLlTtbIZzGgi";
    const std::size_t at = kLetters.find(ch);
    return at == std::u16string_view::npos ? char16_t{0} : kBases[at];
}

// The characters of the code page that stand for ch (a letter outside it reduced to its base
// letter or its ligature letters), or an empty text when there are none.
std::u16string AnsiEquivalent(char16_t ch) {
    const std::u16string_view letters = LigatureLetters(ch);
    if (!letters.empty()) {
        const std::u16string expanded = FoldString(std::u16string(1, ch), kFoldExpandLigatures);
        bool allAnsi = !expanded.empty();
        for (char16_t letter : expanded) {
            allAnsi = allAnsi && IsAnsiChar(letter);
        }
        if (allAnsi) {
            return expanded;
        }
    }
    const std::u16string decomposed = FoldString(std::u16string(1, ch), kFoldDecompose);
    if (decomposed.size() >= 2 && IsAnsiChar(decomposed[0]) && !IsCombiningMark(decomposed[0])) {
        return std::u16string(1, decomposed[0]);
    }
    if (const char16_t base = StrokeBase(ch); base != 0) {
        return std::u16string(1, base);
    }
    return {};
}

bool IsMarkUnit(char16_t ch) noexcept {
    return !IsHighSurrogate(ch) && !IsLowSurrogate(ch) && IsCombiningMark(ch);
}

}  // namespace

std::u16string CharacterClass::ComposeLatin1(std::u16string_view text) const {
    const std::u16string composed = FoldString(text, kFoldCompose);
    std::u16string out;
    out.reserve(composed.size() + composed.size() / 8);
    for (char16_t ch : composed) {
        const std::int32_t u = Signed(ch);
        if (u < 28) {
            out += u'?';
        } else if (u <= 255) {
            out += ch;
        } else {
            out += FoldString(std::u16string_view(&ch, 1), kFoldDecompose);
        }
    }
    return out;
}

std::u16string CharacterClass::UCS2String(const std::u16string& text) const {
    if (text.empty()) {
        return {};
    }
    return Utf8ToText(TextToAnsi(text));
}

std::u16string CharacterClass::UTF8String(std::u16string& text, std::int32_t normalization) const {
    if (text.empty()) {
        return {};
    }
    if (text.size() > static_cast<std::size_t>(INT32_MAX / 5)) {
        throw Error(ErrorNumber::Overflow);
    }
    switch (normalization) {
        case 0:
            text = ComposeLatin1(text);
            break;
        case 1:
            text = FoldString(text, kFoldCompose);
            break;
        case 2:
            text = FoldString(text, kFoldDecompose);
            break;
        default:
            break;
    }
    // The text is handed over as a zero-terminated string: a NUL ends it.
    std::u16string_view converted = text;
    converted = converted.substr(0, converted.find(u'\0'));
    if (converted.empty()) {
        return {};
    }
    return AnsiToText(TextToUtf8(converted));
}

std::u16string CharacterClass::CleanString(std::u16string_view text, std::u16string_view keep,
                                           std::u16string_view replacement, bool upperCase) const {
    auto kept = [&](char16_t ch) { return keep.find(ch) != std::u16string_view::npos; };
    auto upper = [&](char16_t ch) {
        const char16_t up = ToUpperChar(ch);
        return upperCase && IsAnsiChar(up) ? up : ch;
    };
    const std::u16string composed = FoldString(text, kFoldCompose);
    std::u16string out;
    out.reserve(composed.size());
    for (std::size_t i = 0; i < composed.size(); ++i) {
        const char16_t ch = composed[i];
        if (kept(ch)) {
            out += ch;
        } else if (IsAnsiChar(ch)) {
            out += upper(ch);
        } else if (IsHighSurrogate(ch) && i + 1 < composed.size() &&
                   IsLowSurrogate(composed[i + 1])) {
            // A character beyond the first plane is one character: one replacement.
            if (kept(composed[i + 1])) {
                out += ch;
                out += composed[i + 1];
            } else {
                out += replacement;
            }
            ++i;
        } else if (IsMarkUnit(ch)) {
            // A mark that could not be composed with its letter is dropped.
        } else if (const std::u16string equivalent = AnsiEquivalent(ch); !equivalent.empty()) {
            for (char16_t letter : equivalent) {
                out += upper(letter);
            }
        } else {
            out += replacement;
        }
    }
    return out;
}

std::u16string CharacterClass::NarrowString(std::u16string_view text) const {
    if (text.empty()) {
        return {};
    }
    const std::u16string composed = FoldString(text, kFoldCompose);
    std::u16string out;
    out.reserve(composed.size());
    for (char16_t ch : composed) {
        const std::int32_t u = Signed(ch);
        // ﬀ-ﬆ read as negative too, yet a reader expects their letters, as for Æ or Œ.
        const bool highLigature = ch >= 0xFB00 && ch <= 0xFB06;
        if ((u < 129 && !highLigature) || (u >= 160 && u <= 255)) {
            out += ch;
            continue;
        }
        const std::u16string_view single(&ch, 1);
        const std::u16string expanded = FoldString(single, kFoldExpandLigatures);
        if (expanded.size() > 1) {
            for (char16_t letter : expanded) {
                if (Signed(letter) < 256) {
                    out += letter;
                }
            }
            continue;
        }
        const std::u16string decomposed = FoldString(single, kFoldDecompose);
        if (decomposed.size() >= 2 && Signed(decomposed[0]) < 256) {
            out += decomposed[0];
        }
    }
    return out;
}

std::u16string CharacterClass::VRLINString(std::u16string_view text) const {
    const VrlinTable& table = TheVrlinTable();
    auto code = [](std::uint16_t slot) {
        return AnsiToChar(static_cast<unsigned char>(slot & 0xFFu));
    };
    auto isMark = [&](char16_t ch) { return (table[ch] & 0x100u) != 0 || IsMarkUnit(ch); };
    // A base character on its own: ASCII as it is, a letter of the set as its code.
    auto baseCode = [&](char16_t ch) -> char16_t {
        if (ch < 128) {
            return ch;
        }
        const std::uint16_t slot = table[ch];
        return slot != 0 && (slot & 0x100u) == 0 ? code(slot) : u'?';
    };
    const std::u16string composed = FoldString(text, kFoldCompose);
    std::u16string out;
    out.reserve(composed.size() + composed.size() / 8);
    std::size_t i = 0;
    while (i < composed.size()) {
        const char16_t ch = composed[i++];
        const bool marked = i < composed.size() && isMark(composed[i]);
        if (ch < 128 && !marked) {
            out += ch;
            continue;
        }
        if (IsHighSurrogate(ch) && i < composed.size() && IsLowSurrogate(composed[i])) {
            ++i;
            out += u'?';
            continue;
        }
        if (isMark(ch)) {
            // A mark with no letter in front of it.
            out += table[ch] != 0 ? code(table[ch]) : u'?';
            continue;
        }
        // The letter and every mark that follows it: marks go in front, in their order.
        std::u16string marks;
        char16_t base = ch;
        if (table[ch] == 0) {
            const std::u16string decomposed =
                FoldString(std::u16string_view(&ch, 1), kFoldDecompose);
            if (decomposed.size() >= 2) {
                base = decomposed[0];
                marks = decomposed.substr(1);
            }
        }
        while (i < composed.size() && isMark(composed[i])) {
            marks += composed[i++];
        }
        for (char16_t mark : marks) {
            if ((table[mark] & 0x100u) != 0) {
                out += code(table[mark]);
            }
        }
        out += baseCode(base);
    }
    return out;
}

std::u16string CharacterClass::rplc(std::u16string& text) const {
    const std::u16string ring(1, AnsiToChar(234));
    const std::u16string diaeresis(1, AnsiToChar(232));
    text = ReplaceAll(text, u"\u00C5", ring + u"A");
    text = ReplaceAll(text, u"\u00C4", diaeresis + u"A");
    text = ReplaceAll(text, u"\u00D6", diaeresis + u"O");
    text = ReplaceAll(text, u"\u00E5", ring + u"a");
    text = ReplaceAll(text, u"\u00E4", diaeresis + u"a");
    text = ReplaceAll(text, u"\u00F6", diaeresis + u"o");
    return text;
}

}  // namespace tesselex
