#pragma once
// One character map (source text -> replacement text, read from the line-oriented map format)
// plus the fixed conversions between record text and the 8-bit forms records travel in:
// UTF-8, Latin-1, the ANSI code page and VRLIN.
//
// "8-bit strings" hold one character per byte, decoded through Windows-1252
// (config/CodePage.h). A map object is loaded once, then used for any number of conversions.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "charset/CharacterMapEntry.h"

namespace tesselex {

class PageOutput;

class CharacterClass {
  public:
    CharacterClass();

    // --- The map ---------------------------------------------------------------------------

    // Loads an indexed map from a file, or from an address when the first four characters
    // contain "http" (downloaded to a temporary file, deleted afterwards). A missing or empty
    // file leaves an empty map. A From longer than 255 characters raises Error(Overflow).
    void Load(std::u16string_view fileName);
    // Loads a map from text split at CR LF. Simple selects a plain list, slot number = line
    // number (for SimpleMap), instead of the indexed map (for Map).
    void LoadFromString(std::u16string_view charmapStr, bool simple);
    // Converts text in place with the indexed map: longest match, combining marks moved to
    // the other side of their base letter.
    void Map(std::u16string& text) const;
    // Replaces, entry after entry, every occurrence of each non-diacritic From by its To.
    void SimpleMap(std::u16string& text) const;
    // Highest slot number plus one; no value before the first load.
    std::optional<std::int32_t> CharacterCount() const;
    // Prints every slot: From, To and "Comment  From=To", 51 lines a page.
    void PrintCharacterMap(PageOutput& out, std::u16string_view fromCharFontname,
                           std::u16string_view toCharFontname,
                           std::u16string_view commentFontname) const;

    // Read-only view of the map state, for diagnostics and tests.
    const std::vector<CharacterMapEntry>& Entries() const noexcept { return entries_; }
    std::int32_t FirstCharIndex(unsigned char byte) const noexcept { return firstCharIndex_[byte]; }
    std::uint8_t MaxKeyLength() const noexcept { return maxKeyLength_; }
    bool ReverseDiacritics() const noexcept { return reverseDiacritics_; }

    // --- Fixed conversions -----------------------------------------------------------------

    // 8-bit string of UTF-8 bytes -> text. Malformed sequences become U+FFFD.
    std::u16string UCS2String(const std::u16string& text) const;
    // Text -> 8-bit string of UTF-8 bytes. normalization: 0 compose to Latin-1, 1 compose
    // (NFC), 2 decompose (NFD), anything else none. For 0, 1 and 2 text is replaced by its
    // normalised form. Raises Error(Overflow) for text longer than a fifth of the 32-bit range.
    std::u16string UTF8String(std::u16string& text, std::int32_t normalization) const;
    // Text -> 8-bit string in the ANSI code page (Windows-1252). A base letter with combining
    // marks is composed first; a character of the code page stays; a letter the code page
    // lacks becomes its base letter when that is in the code page; an uncomposable mark is
    // dropped; anything else becomes replacement. Characters in keep pass as they are.
    // upperCase upper-cases the result. With the default replacement "?" the result never
    // holds a NUL; an 8-bit string comes back unchanged.
    std::u16string CleanString(std::u16string_view text, std::u16string_view keep = {},
                               std::u16string_view replacement = u"?",
                               bool upperCase = false) const;
    // Text -> Latin-1: composed; ligatures expanded; letters outside Latin-1 reduced to their
    // base letter; other characters from 129 to 32767 without an equivalent dropped. Code
    // units from 0x8000 up (read as negative numbers) pass unchanged (U+FFFD stays), except
    // the letter ligatures U+FB00-U+FB06, which become their letters (U+FB01 -> "fi").
    std::u16string NarrowString(std::u16string_view text) const;
    // Text -> 8-bit VRLIN string. ASCII passes unchanged; characters with a table entry take
    // their code, marks in front of their base letter; anything else becomes "?".
    std::u16string VRLINString(std::u16string_view text) const;
    // The six Swedish letters Å Ä Ö å ä ö -> MARC-8 mark (U+00EA ring, U+00E8 diaeresis)
    // followed by the base letter. Changes text in place and returns it.
    std::u16string rplc(std::u16string& text) const;

  private:
    void ResetEntries();
    // Reads one map line; answers false for a directive line (which does not count as a line).
    bool ParseLine(std::u16string_view line, bool simple, std::int32_t lineNumber,
                   bool& reverseMapping);
    void AddMapping(const std::u16string& from, const std::u16string& to, bool isDiacritic,
                    const std::u16string& comment);
    // Longest entry at the start of span. span, to and isDiacritic are in-out as the map
    // algorithm needs them; answers whether an entry matched.
    bool MatchAt(std::u16string_view& span, std::u16string_view& to, bool& isDiacritic) const;
    // Normalises to NFC, then keeps Latin-1 characters and decomposes the rest.
    std::u16string ComposeLatin1(std::u16string_view text) const;

    std::vector<CharacterMapEntry> entries_;
    bool loaded_ = false;
    std::array<std::int32_t, 256> firstCharIndex_{};
    std::uint8_t maxKeyLength_ = 0;
    bool reverseDiacritics_ = false;
};

}  // namespace tesselex
