#pragma once
// Shorthand for the field tests: "$" writes the delimiter 31 and "^" the backslash stand-in 20,
// and a check that a statement raises the subscript-out-of-range error.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/support/RaisedError.h"

namespace tesselex::test {

inline std::u16string Text(std::u16string text) {
    std::replace(text.begin(), text.end(), u'$', char16_t{31});
    std::replace(text.begin(), text.end(), u'^', char16_t{20});
    return text;
}

}  // namespace tesselex::test

#define EXPECT_SUBSCRIPT_ERROR(statement)                                         \
    EXPECT_EQ(::tesselex::test::Raised([&] { (void)(statement); }),               \
              ::tesselex::ErrorNumber::SubscriptOutOfRange)                       \
        << #statement
