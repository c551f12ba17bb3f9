#pragma once
// One entry of a character map: what is matched, what replaces it, and whether it is a
// combining mark that has to change sides with its base letter.

#include <cstdint>
#include <string>

namespace tesselex {

struct CharacterMapEntry {
    std::u16string From;     // never empty in an entry made by loading
    std::u16string To;       // may be empty: the matched text is deleted
    std::u16string Comment;  // only printed
    bool IsDiacritic = false;
    // Next entry whose From starts with the same first-character byte; 0 ends the chain.
    std::int32_t NextIndex = 0;
};

}  // namespace tesselex
