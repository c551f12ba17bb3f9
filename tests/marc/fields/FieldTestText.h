#pragma once
// Shorthand for the field tests: "$" writes the delimiter 31 and "^" the backslash stand-in 20,
// a listing of subfields, and a check that a statement raises the subscript-out-of-range error.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "marc/MarcObjectSubfields.h"
#include "tests/support/RaisedError.h"

namespace tesselex::test {

inline std::u16string Text(std::u16string text) {
    std::replace(text.begin(), text.end(), u'$', char16_t{31});
    std::replace(text.begin(), text.end(), u'^', char16_t{20});
    return text;
}

// The codes and stored values in order, as "a=x b=y".
inline std::u16string Listing(const MarcObjectSubfields& subs) {
    std::u16string out;
    for (const auto& sub : subs) {
        out += (out.empty() ? u"" : u" ") + std::u16string(1, sub->Fieldname) + u"=" +
               sub->StoredValue();
    }
    return out;
}

}  // namespace tesselex::test

#define EXPECT_SUBSCRIPT_ERROR(statement)                           \
    EXPECT_EQ(::tesselex::test::Raised([&] { (void)(statement); }), \
              ::tesselex::ErrorNumber::SubscriptOutOfRange)         \
        << #statement
