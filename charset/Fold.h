#pragma once
// The string folding the conversions are defined in terms of: canonical composition,
// canonical decomposition and the expansion of letter ligatures. The flag values are those the
// conversions were written against, so a flag word reads the same everywhere.

#include <cstdint>
#include <string>
#include <string_view>

namespace tesselex {

inline constexpr std::uint32_t kFoldCompose = 0x20;            // canonical composition (NFC)
inline constexpr std::uint32_t kFoldDecompose = 0x40;          // canonical decomposition (NFD)
inline constexpr std::uint32_t kFoldExpandLigatures = 0x2000;  // Æ -> AE, ﬁ -> fi, ...

// Folds text with the given flags; ligatures are expanded before composing or decomposing.
// Answers an empty text when folding fails (never raises).
std::u16string FoldString(std::u16string_view text, std::uint32_t flags);

// The letters a letter ligature stands for (Æ -> "AE", ﬃ -> "ffi", ǆ -> "dž"), or an empty view
// when the character is not one.
std::u16string_view LigatureLetters(char16_t ch) noexcept;

// True for a nonspacing or enclosing combining mark (whatever its combining class).
bool IsCombiningMark(char32_t cp) noexcept;

}  // namespace tesselex
