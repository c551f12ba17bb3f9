#pragma once
// Walks the text form of a field's subfields: character 31, one code character, the value up
// to the next 31. Text before the first delimiter is ignored, and a delimiter that is the last
// character makes no subfield. The subfield collection parses with it and the field uses it to
// learn what a parse would give without making the subfields.

#include <cstddef>
#include <string_view>

namespace tesselex {

inline constexpr char16_t kSubfieldDelimiter = 31;

// Calls visit(code, rawValue) for each subfield, in order; answers true when the text ended in
// a delimiter that made no subfield.
template <typename Visit>
bool ForEachSubfieldText(std::u16string_view text, Visit&& visit) {
    std::size_t at = text.find(kSubfieldDelimiter);
    while (at != std::u16string_view::npos && at + 1 < text.size()) {
        const char16_t code = text[at + 1];
        const std::size_t next = text.find(kSubfieldDelimiter, at + 2);
        const std::size_t end = next == std::u16string_view::npos ? text.size() : next;
        visit(code, text.substr(at + 2, end - (at + 2)));
        at = next;
    }
    return at != std::u16string_view::npos;
}

}  // namespace tesselex
