// The growable text buffer: growth in chunks, editing, Find's reporting rules, shrinking.

#include "charset/cStringBuilder.h"

#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "tests/support/RaisedError.h"

namespace tesselex {
namespace {

using test::Raised;

TEST(cStringBuilderTest, GrowsOneChunkAtATime) {
    cStringBuilder sb;
    EXPECT_EQ(sb.Capacity(), 0);
    EXPECT_EQ(sb.ChunkSize(), 8192);
    EXPECT_EQ(sb.ToString(), u"");
    sb.Append(u"ab");
    EXPECT_EQ(sb.Length(), 2);
    EXPECT_EQ(sb.Capacity(), 8192);
    sb.Append(std::u16string(8190, u'x'));
    EXPECT_EQ(sb.Capacity(), 8192);
    sb.AppendByVal(u"c");
    EXPECT_EQ(sb.Capacity(), 16384);
    EXPECT_EQ(sb.ToString(), u"ab" + std::u16string(8190, u'x') + u"c");
    EXPECT_EQ(Raised([&] { sb.SetChunkSize(0); }), ErrorNumber::InvalidArgument);

    sb.SetChunkSize(4);
    sb.SetTheString(u"0123456789");
    EXPECT_EQ(sb.Capacity(), 16384);
    EXPECT_EQ(sb.ToString(), u"0123456789");
    sb.SetTheString(u"");
    EXPECT_EQ(sb.Capacity(), 0);
    sb.SetTheString(u"0123456789");
    EXPECT_EQ(sb.Capacity(), 12);
}

TEST(cStringBuilderTest, InsertAndRemoveCheckTheirRange) {
    cStringBuilder sb;
    sb.SetChunkSize(4);
    sb.Append(u"abef");
    sb.Insert(2, u"cd");
    sb.InsertByVal(0, u">");
    sb.Insert(7, u"<");
    EXPECT_EQ(sb.ToString(), u">abcdef<");
    sb.Remove(1, 2);
    sb.Remove(5, 1);
    EXPECT_EQ(sb.ToString(), u">cdef");
    for (const auto& call : std::vector<std::function<void()>>{
             [&] { sb.Insert(6, u"x"); }, [&] { sb.Insert(-1, u"x"); }, [&] { sb.Remove(4, 2); },
             [&] { sb.Remove(0, -1); }}) {
        EXPECT_EQ(Raised(call), ErrorNumber::SubscriptOutOfRange);
    }
    EXPECT_EQ(sb.ToString(), u">cdef");
}

TEST(cStringBuilderTest, FindReportsOnlyMatchesBeforeTheLastCharacter) {
    cStringBuilder sb;
    sb.Append(u"abcAbc");
    EXPECT_EQ(sb.Find(u"bc", 1, 0), 2);
    EXPECT_EQ(sb.Find(u"bc", 3, 0), 5);
    EXPECT_EQ(sb.Find(u"Ab", 1, 0), 4);
    EXPECT_EQ(sb.Find(u"Ab", 1, 1), 1);
    EXPECT_EQ(sb.Find(u"c", 4, 0), 0);  // the last character of the content
    // The buffer's unused blanks are searched too.
    EXPECT_EQ(sb.Find(u"c  ", 4, 0), 0);
    EXPECT_EQ(sb.Find(u"bc ", 4, 0), 5);

    // Without a start the content is the start and the compare mode's text is searched for.
    sb.SetTheString(u"  2 ");
    EXPECT_EQ(sb.Find(u"x1y1", 0, 1), 2);
    sb.SetTheString(u"2");
    EXPECT_EQ(sb.Find(u"a1b1", 0, 1), 0);  // one character: no position is below its length
    sb.SetTheString(u"abc");
    EXPECT_EQ(Raised([&] { sb.Find(u"a1", 0, 1); }), ErrorNumber::TypeMismatch);
}

TEST(cStringBuilderTest, HeapMinimizeKeepsAtMostOneFreeChunk) {
    cStringBuilder sb;
    sb.SetChunkSize(4);
    sb.SetTheString(std::u16string(20, u'x'));
    sb.Remove(0, 19);
    sb.HeapMinimize();
    EXPECT_EQ(sb.Capacity(), 4);
    EXPECT_EQ(sb.ToString(), u"x");
    sb.Remove(0, 1);
    sb.HeapMinimize();
    EXPECT_EQ(sb.Capacity(), 4);
    sb.Append(u"abcde");
    EXPECT_EQ(sb.ToString(), u"abcde");
}

}  // namespace
}  // namespace tesselex
