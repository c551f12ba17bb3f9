#pragma once
// The platform's Unicode normalisation under FoldString: ICU, or the system's own functions on
// Windows (one implementation file per platform).

#include <string>
#include <string_view>

namespace tesselex {

// The canonical composition (NFC) or decomposition (NFD) of text; empty when it fails.
std::u16string Normalize(std::u16string_view text, bool decompose);

}  // namespace tesselex
