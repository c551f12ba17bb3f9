#include "charset/Fold.h"

#include "charset/Normalize.h"

namespace tesselex {
namespace {

struct Ligature {
    char16_t ch;
    std::u16string_view letters;
};

// Sorted by character, for the binary search below.
constexpr Ligature kLigatures[] = {
    {u'\u00C6', u"AE"},      {u'\u00E6', u"ae"},      {u'\u0132', u"IJ"},
    {u'\u0133', u"ij"},      {u'\u0152', u"OE"},      {u'\u0153', u"oe"},
    {u'\u01C4', u"D\u017D"}, {u'\u01C5', u"D\u017E"}, {u'\u01C6', u"d\u017E"},
    {u'\u01C7', u"LJ"},      {u'\u01C8', u"Lj"},      {u'\u01C9', u"lj"},
    {u'\u01CA', u"NJ"},      {u'\u01CB', u"Nj"},      {u'\u01CC', u"nj"},
    {u'\u01E2', u"\u00C6"},  {u'\u01E3', u"\u00E6"},  {u'\u01F1', u"DZ"},
    {u'\u01F2', u"Dz"},      {u'\u01F3', u"dz"},      {u'\u01FC', u"\u00C6"},
    {u'\u01FD', u"\u00E6"},  {u'\uFB00', u"ff"},      {u'\uFB01', u"fi"},
    {u'\uFB02', u"fl"},      {u'\uFB03', u"ffi"},     {u'\uFB04', u"ffl"},
    {u'\uFB05', u"st"},      {u'\uFB06', u"st"},
};

std::u16string ExpandLigatures(std::u16string_view text) {
    std::u16string out;
    out.reserve(text.size());
    for (char16_t ch : text) {
        std::u16string_view letters = LigatureLetters(ch);
        // Ǣ and Ǽ carry a mark on their ligature: expand the ligature and keep the mark.
        if (letters.size() == 1) {
            std::u16string_view inner = LigatureLetters(letters[0]);
            out += inner;
            out += ch == u'\u01E2' || ch == u'\u01E3' ? u'\u0304' : u'\u0301';
        } else if (!letters.empty()) {
            out += letters;
        } else {
            out += ch;
        }
    }
    return out;
}

}  // namespace

std::u16string_view LigatureLetters(char16_t ch) noexcept {
    std::size_t lo = 0;
    std::size_t hi = std::size(kLigatures);
    while (lo < hi) {
        const std::size_t mid = (lo + hi) / 2;
        if (kLigatures[mid].ch < ch) {
            lo = mid + 1;
        } else {
            hi = mid;
        }
    }
    return lo < std::size(kLigatures) && kLigatures[lo].ch == ch ? kLigatures[lo].letters
                                                                 : std::u16string_view{};
}

std::u16string FoldString(std::u16string_view text, std::uint32_t flags) {
    if (text.empty()) {
        return {};
    }
    std::u16string current;
    std::u16string_view source = text;
    if ((flags & kFoldExpandLigatures) != 0) {
        current = ExpandLigatures(text);
        source = current;
    }
    if ((flags & (kFoldCompose | kFoldDecompose)) != 0) {
        return Normalize(source, (flags & kFoldDecompose) != 0);
    }
    return std::u16string(source);
}

}  // namespace tesselex
