#include "config/Utf.h"

namespace tesselex {

std::u16string Utf8ToText(std::string_view utf8) {
    std::u16string out;
    out.reserve(utf8.size());
    std::size_t i = 0;
    const std::size_t n = utf8.size();
    auto byteAt = [&](std::size_t k) { return static_cast<unsigned char>(utf8[k]); };
    while (i < n) {
        const unsigned char b = byteAt(i);
        if (b < 0x80) {
            out += static_cast<char16_t>(b);
            ++i;
            continue;
        }
        int length = 0;
        char32_t cp = 0;
        char32_t minimum = 0;
        if (b >= 0xC2 && b <= 0xDF) {
            length = 2;
            cp = b & 0x1Fu;
            minimum = 0x80;
        } else if (b >= 0xE0 && b <= 0xEF) {
            length = 3;
            cp = b & 0x0Fu;
            minimum = 0x800;
        } else if (b >= 0xF0 && b <= 0xF4) {
            length = 4;
            cp = b & 0x07u;
            minimum = 0x10000;
        }
        // A bad lead byte, or a sequence cut short, is one replacement character; the decoder
        // resumes at the first byte that could not belong to the sequence.
        int taken = 1;
        bool ok = length > 0;
        for (int k = 1; ok && k < length; ++k) {
            if (i + static_cast<std::size_t>(k) >= n ||
                (byteAt(i + static_cast<std::size_t>(k)) & 0xC0) != 0x80) {
                ok = false;
                break;
            }
            cp = (cp << 6) | (byteAt(i + static_cast<std::size_t>(k)) & 0x3Fu);
            ++taken;
        }
        if (ok && (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))) {
            ok = false;
        }
        if (!ok) {
            out += u'\uFFFD';
            i += static_cast<std::size_t>(taken);
            continue;
        }
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp);
        }
        i += static_cast<std::size_t>(length);
    }
    return out;
}

std::string TextToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char32_t cp = text[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00u);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = 0xFFFD;
        }
        if (cp < 0x80) {
            out += static_cast<char>(cp);
        } else if (cp < 0x800) {
            out += static_cast<char>(0xC0 | (cp >> 6));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | (cp >> 12));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (cp >> 18));
            out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    return out;
}

// Windows names are UTF-16 already; the standard library would take narrow text there in the
// ANSI code page and give it back in another encoding, so "Å" in a folder name came back
// garbled. Elsewhere names are bytes, read as UTF-8 (a malformed byte becomes U+FFFD instead
// of an exception).
#ifdef _WIN32
std::filesystem::path TextToPath(std::u16string_view text) {
    return std::filesystem::path(std::wstring(text.begin(), text.end()));
}

std::u16string PathToText(const std::filesystem::path& path) {
    const std::wstring& native = path.native();
    return std::u16string(native.begin(), native.end());
}
#else
std::filesystem::path TextToPath(std::u16string_view text) {
    return std::filesystem::path(TextToUtf8(text));
}

std::u16string PathToText(const std::filesystem::path& path) {
    return Utf8ToText(path.string());
}
#endif

}  // namespace tesselex
