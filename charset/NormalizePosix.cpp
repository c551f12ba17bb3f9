// Normalisation and mark classes through ICU.

#include <unicode/uchar.h>
#include <unicode/unorm2.h>

#include <climits>

#include "charset/Fold.h"
#include "charset/Normalize.h"

namespace tesselex {
namespace {

const UNormalizer2* Normalizer(bool decompose) {
    UErrorCode status = U_ZERO_ERROR;
    const UNormalizer2* normalizer =
        decompose ? unorm2_getNFDInstance(&status) : unorm2_getNFCInstance(&status);
    return U_SUCCESS(status) ? normalizer : nullptr;
}

}  // namespace

std::u16string Normalize(std::u16string_view text, bool decompose) {
    const UNormalizer2* normalizer = Normalizer(decompose);
    if (normalizer == nullptr || text.size() > INT32_MAX / 4) {
        return {};
    }
    UErrorCode status = U_ZERO_ERROR;
    const auto length = static_cast<std::int32_t>(text.size());
    // Quick check first: most record text is already in the wanted form.
    std::int32_t span = unorm2_spanQuickCheckYes(normalizer, text.data(), length, &status);
    if (U_SUCCESS(status) && span == length) {
        return std::u16string(text);
    }
    std::u16string out(text.size() + text.size() / 2 + 8, u'\0');
    status = U_ZERO_ERROR;
    std::int32_t needed = unorm2_normalize(normalizer, text.data(), length, out.data(),
                                           static_cast<std::int32_t>(out.size()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        out.assign(static_cast<std::size_t>(needed), u'\0');
        status = U_ZERO_ERROR;
        needed = unorm2_normalize(normalizer, text.data(), length, out.data(),
                                  static_cast<std::int32_t>(out.size()), &status);
    }
    if (U_FAILURE(status)) {
        return {};
    }
    out.resize(static_cast<std::size_t>(needed));
    return out;
}

bool IsCombiningMark(char32_t cp) noexcept {
    const std::int8_t type = u_charType(static_cast<UChar32>(cp));
    return type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK;
}

}  // namespace tesselex
