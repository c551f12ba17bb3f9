// A character map of arbitrary bytes in both forms (indexed and simple), Map and SimpleMap of
// a fuzzed text, and the fixed conversions of arbitrary text. Part 1 is the map; part 2 the
// text, read both as 8-bit text and as UTF-16 code units (lone surrogates included).
#include <cstddef>
#include <cstdint>
#include <string>

#include "charset/CharacterClass.h"
#include "config/Error.h"
#include "fuzz/FuzzText.h"

namespace {

std::u16string Utf16Units(std::string_view bytes) {
    std::u16string out;
    out.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
        out += static_cast<char16_t>(static_cast<unsigned char>(bytes[i]) |
                                     (static_cast<unsigned char>(bytes[i + 1]) << 8));
    }
    return out;
}

void Convert(const tesselex::CharacterClass& map, const std::u16string& text) {
    static_cast<void>(map.UCS2String(text));
    for (int normalization = 0; normalization <= 3; ++normalization) {
        std::u16string copy = text;
        static_cast<void>(map.UTF8String(copy, normalization));
    }
    static_cast<void>(map.NarrowString(text));
    static_cast<void>(map.VRLINString(text));
    static_cast<void>(map.CleanString(text));
    static_cast<void>(map.CleanString(text, u"\x1f\x1e", u"", true));
    std::u16string swedish = text;
    static_cast<void>(map.rplc(swedish));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto parts = tesselex::fuzz::Parts(tesselex::fuzz::View(data, size), 2);
    const std::u16string mapText = tesselex::fuzz::Bytes8(parts[0]);
    const std::u16string texts[] = {tesselex::fuzz::Bytes8(parts[1]), Utf16Units(parts[1])};
    for (const bool simple : {false, true}) {
        tesselex::CharacterClass map;
        try {
            map.LoadFromString(mapText, simple);
        } catch (const tesselex::Error&) {
            // A From longer than 255 characters raises the overflow error by rule.
            continue;
        }
        for (const std::u16string& text : texts) {
            std::u16string mapped = text;
            if (simple) {
                map.SimpleMap(mapped);
            } else {
                map.Map(mapped);
            }
            Convert(map, text);
        }
    }
    return 0;
}
