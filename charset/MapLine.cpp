#include "charset/MapLine.h"

#include <vector>

#include "config/CodePage.h"
#include "config/Strings.h"

namespace tesselex {
namespace {

// The hexadecimal number at the start of digits, blanks skipped, as far as it goes; only the
// low 16 bits are kept, as a code unit can hold no more.
std::uint32_t ReadHex(std::u16string_view digits) noexcept {
    std::uint32_t value = 0;
    for (char16_t ch : digits) {
        if (ch == u' ') {
            continue;
        }
        const int digit = HexDigitValue(ch);
        if (digit < 0) {
            break;
        }
        value = ((value << 4) | static_cast<std::uint32_t>(digit)) & 0xFFFFFu;
    }
    return value & 0xFFFFu;
}

std::u16string ReplaceHexPrefixes(std::u16string_view part) {
    std::u16string out;
    out.reserve(part.size());
    for (std::size_t i = 0; i < part.size(); ++i) {
        if (part[i] == u'0' && i + 1 < part.size() &&
            (part[i + 1] == u'x' || part[i + 1] == u'X')) {
            out += u"&H";
            ++i;
        } else {
            out += part[i];
        }
    }
    return out;
}

std::u16string DecodeCodePoints(std::u16string part) {
    std::vector<std::u16string> tokens;
    std::size_t at = part.find(u"&H");
    while (at != std::u16string::npos) {
        const std::size_t next = part.find(u"&H", at + 2);
        tokens.push_back(
            part.substr(at, next == std::u16string::npos ? std::u16string::npos : next - at));
        at = next;
    }
    // Each token's text is replaced wherever it stands, one token after the other, so text in
    // front of the first token stays literal.
    for (const std::u16string& token : tokens) {
        const auto unit = static_cast<char16_t>(ReadHex(std::u16string_view(token).substr(2)));
        part = ReplaceAll(part, token, std::u16string(1, unit));
    }
    return part;
}

std::u16string DecodeBytePairs(std::u16string_view part) {
    std::u16string out;
    out.reserve(part.size() / 2 + 1);
    for (std::size_t i = 0; i < part.size(); i += 2) {
        const std::uint32_t byte = ReadHex(part.substr(i, 2));
        out += AnsiToChar(static_cast<unsigned char>(byte & 0xFFu));
    }
    return out;
}

}  // namespace

std::u16string DecodeMapPart(std::u16string_view part) {
    std::u16string text = ReplaceHexPrefixes(part);
    if (text.find(u"&H") != std::u16string::npos) {
        return DecodeCodePoints(std::move(text));
    }
    return DecodeBytePairs(text);
}

MapLine ParseMapLine(std::u16string_view rawLine) {
    MapLine result;
    std::u16string line = Trim(rawLine);
    if (!line.empty() && line[0] == u'$') {
        result.kind = MapLine::Kind::Directive;
        result.directive = ToUpper(Trim(std::u16string_view(line).substr(1)));
        return result;
    }
    const std::size_t hash = line.find(u'#');
    if (hash != std::u16string::npos) {
        result.comment = Trim(std::u16string_view(line).substr(hash + 1));
        line = Trim(std::u16string_view(line).substr(0, hash));
    }
    const std::size_t mark = FindNoCase(line, u"/D");
    if (mark != std::u16string::npos) {
        result.isDiacritic = true;
        line.resize(mark);
    }
    const std::size_t equals = line.find(u'=');
    if (equals == std::u16string::npos) {
        return result;
    }
    result.kind = MapLine::Kind::Entry;
    result.left = DecodeMapPart(std::u16string_view(line).substr(0, equals));
    result.right = DecodeMapPart(std::u16string_view(line).substr(equals + 1));
    return result;
}

}  // namespace tesselex
