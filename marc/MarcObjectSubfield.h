#pragma once
// One subfield of a data field: a one-character code and its text, plus the small text
// operations local rules and displays apply to a single subfield.
//
// Inside the stored value character 20 stands for a backslash: Value() shows it as a backslash,
// SetValue() does not convert back, and every other operation works on the stored text as it
// is (character 20 included). Positions are 1-based.

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tesselex {

class MarcObjectSubfield {
  public:
    // The subfield code; 0 for a subfield that was never given one (a detached lookup result).
    char16_t Fieldname = 0;
    // Set by the record and display code for subfields its rules must leave alone; the
    // subfield's own operations do not look at it.
    bool ReadOnly = false;

    MarcObjectSubfield() = default;
    // A subfield with its code and value (the value trimmed as SetValue does).
    MarcObjectSubfield(char16_t code, std::u16string_view value);

    // The stored value with every character 20 shown as a backslash.
    std::u16string Value() const;
    // Stores the value with blanks (character 32) removed at both ends.
    void SetValue(std::u16string_view value);
    // The stored text as it is, character 20 included.
    const std::u16string& StoredValue() const noexcept { return value_; }

    // Appends the data. With ifNotExists, an empty text or a value already ending with exactly
    // that text (case-sensitive) changes nothing. Blanks are kept.
    void Append(std::u16string_view appendData, bool ifNotExists = false);
    // Prefixes the data, with the same rule at the beginning of the value.
    void InsertBefore(std::u16string_view insertData, bool ifNotExists = false);

    // 1-based position of the first occurrence of the text, ignoring letter case, or 0.
    int Substring(std::u16string_view whatStr) const;
    // 1-based ordinal of the first text of the list that occurs (ignoring letter case), or
    // nothing when none does.
    std::optional<int> Substring(const std::vector<std::u16string>& whatStr) const;

    // The value with single characters mapped; the stored value is not changed. The map is a
    // list of "source=replacement" entries split at the separator; sources are matched without
    // regard to letter case, the first entry for a source wins, "*" is the default for
    // characters without an entry, and only one-character replacements are applied, so the
    // length never changes. Never raises.
    std::u16string MapCodes(std::u16string_view codeMap, std::u16string_view separator) const;

    // The filing form: a filingPos from 2 to the length gives the value from that position;
    // otherwise the trimmed text behind the first character with code filingChar, or the whole
    // value when that character is absent. A filingChar outside 0..65535 raises
    // Error(InvalidArgument).
    std::u16string FilingValue(int filingChar, int filingPos) const;

    // The first / last `length` characters; a negative length gives an empty text, a length
    // beyond the value the whole value.
    std::u16string LeftString(int length) const;
    std::u16string RightString(int length) const;

    // Which text's last occurrence (case-sensitive) starts further right: 1 for the first, 2 for
    // the second, 0 when neither occurs or both start at the same place. An empty text never
    // occurs.
    int LastInStr(std::u16string_view firstString, std::u16string_view secondString) const;

  private:
    std::u16string value_;
};

}  // namespace tesselex
