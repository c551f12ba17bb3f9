#pragma once
// Text between the engine's UTF-16 strings and Qt's, in one place.

#include <QString>
#include <filesystem>
#include <string>
#include <string_view>

namespace tesselex {

inline QString ToQString(std::u16string_view text) {
    return QString::fromUtf16(text.data(), static_cast<qsizetype>(text.size()));
}
inline std::u16string ToText(const QString& text) {
    return text.toStdU16String();
}
inline QString ToQString(const std::filesystem::path& path) {
    return QString::fromStdU16String(path.u16string());
}

}  // namespace tesselex
