#pragma once
// UTF-8 for the program's own edges: paths, command lines, terminals and logs. Record data
// never passes through here; the record conversions live in charset/.

#include <filesystem>
#include <string>
#include <string_view>

namespace tesselex {

// Malformed UTF-8 decodes to U+FFFD per bad sequence; unpaired surrogates encode as U+FFFD.
std::u16string Utf8ToText(std::string_view utf8);
std::string TextToUtf8(std::u16string_view text);

std::filesystem::path TextToPath(std::u16string_view text);
std::u16string PathToText(const std::filesystem::path& path);

}  // namespace tesselex
