#pragma once
// Reading one line of the character-map text format into its parts. Kept apart from the map so
// the format's rules can be read (and tested) on their own.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tesselex {

struct MapLine {
    enum class Kind { Directive, NoEntry, Entry };
    Kind kind = Kind::NoEntry;
    std::u16string directive;  // upper-cased, for a directive line
    std::u16string left;       // decoded left side of "="
    std::u16string right;      // decoded right side of "="
    std::u16string comment;
    bool isDiacritic = false;
};

// Splits and decodes one line (directive, comment, "/D", "=", code-point and byte-pair forms).
// A line with "=" is an Entry even when a side decodes to nothing; the caller decides.
MapLine ParseMapLine(std::u16string_view line);

// One side of "=" decoded: "&H"/"0x" code units when present, else hexadecimal byte pairs
// read through the code page.
std::u16string DecodeMapPart(std::u16string_view part);

}  // namespace tesselex
