// The outbox's entries on disk and its retry rules (what a crash leaves of an append: the
// repair in OutboxRunnerTest).

#include "app/engine/Outbox.h"

#include <gtest/gtest.h>

#include "app/engine/DurableFile.h"
#include "app/engine/OutboxRunner.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::TempDir;
using test::WriteBytes;

OutboxEntry Entry(std::u16string bibId, DateTime savedAt) {
    OutboxEntry entry;
    entry.BibId = std::move(bibId);
    entry.SavedAt = savedAt;
    ExportOptions options;
    options.Charset = Characters::Utf8Decomposed;
    options.Change035 = true;
    options.Subjects = u"sao barn";
    options.Destination = u"/ut/å_%YYMMDD%.mrc";
    entry.Options = options;
    return entry;
}

TEST(OutboxTest, EntriesReadBackOldestFirstOneForEachBibId) {
    TempDir dir;
    Outbox box(dir / "Outbox");
    ASSERT_TRUE(box.Read().Ok());
    EXPECT_TRUE(box.Read().Value().Entries.empty());  // no folder yet: nothing waits

    OutboxEntry late = Entry(u"300", {2026, 11, 24, 10, 42, 7});
    OutboxEntry first = Entry(u"100", {2026, 11, 24, 10, 42, 5});
    OutboxEntry second = Entry(u"../2 0", {2026, 11, 24, 10, 42, 5});  // same second, later
    second.Attempts = 3;
    second.NextTry = 1795516985;
    second.Failed = true;
    second.LastReason = u"Post #2 kunde inte hämtas:\r\nHTTP-status 404";
    second.Saved = true;
    second.Append = PendingAppend{dir / "ut å.mrc", 1234, 567, 0xFEDCBA9876543210ULL, true};
    for (OutboxEntry* entry : {&late, &first, &second}) {
        ASSERT_TRUE(box.Put(*entry).Ok());
    }
    late.Attempts = 1;
    ASSERT_TRUE(box.Put(late).Ok());  // saved again while it waits: still one entry

    Outbox reopened(dir / "Outbox");
    const Outcome<OutboxContents> read = reopened.Read();
    ASSERT_TRUE(read.Ok());
    ASSERT_EQ(read.Value().Entries.size(), 3u);
    second.LastReason = u"Post #2 kunde inte hämtas:  HTTP-status 404";  // kept on one line
    EXPECT_EQ(read.Value().Entries[0], first);
    EXPECT_EQ(read.Value().Entries[1], second);
    EXPECT_EQ(read.Value().Entries[2], late);
    EXPECT_TRUE(std::filesystem::exists(dir / "Outbox" / "_002E_002E_002F2_00200.entry"));

    // A new entry is numbered after what was read, so arrival order survives a restart.
    OutboxEntry next = Entry(u"400", {2026, 11, 24, 10, 42, 5});
    ASSERT_TRUE(reopened.Put(next).Ok());
    EXPECT_GT(next.Sequence, late.Sequence);

    ASSERT_TRUE(reopened.Remove(u"100").Ok());
    ASSERT_TRUE(reopened.Remove(u"100").Ok());  // gone already: nothing to do
    EXPECT_EQ(reopened.Read().Value().Entries.size(), 3u);
}

TEST(OutboxTest, LeftoversOfACrashAndForeignFilesAreToldApart) {
    TempDir dir;
    Outbox box(dir / "Outbox");
    OutboxEntry entry = Entry(u"7", {2026, 1, 2, 3, 4, 5});
    ASSERT_TRUE(box.Put(entry).Ok());
    WriteBytes(dir / "Outbox" / "7.entry.part", "bibid=7\nsav");  // a write cut by a crash
    WriteBytes(dir / "Outbox" / "8.entry", "bibid=8\nsaved=2026-01-02 03:0");
    WriteBytes(dir / "Outbox" / "9.entry", "bibid=9\nsaved=yesterday\n");

    const Outcome<OutboxContents> read = box.Read();
    ASSERT_TRUE(read.Ok());
    ASSERT_EQ(read.Value().Entries.size(), 1u);
    EXPECT_EQ(read.Value().Entries[0], entry);
    EXPECT_EQ(read.Value().Unreadable.size(), 2u);
}

TEST(OutboxTest, AWriteThatFailsSaysWhyAndLeavesNothingBeside) {
    TempDir dir;
    WriteBytes(dir / "file", "x");
    Outbox box(dir / "file" / "Outbox");  // a folder under a plain file cannot be made
    OutboxEntry entry = Entry(u"1", {2026, 1, 1, 0, 0, 0});
    const Done put = box.Put(entry);
    ASSERT_FALSE(put.Ok());
    EXPECT_EQ(put.Kind(), FaultKind::FileSystem);
    EXPECT_FALSE(put.Reason().empty());

    const Done write = ReplaceFile(dir / "missing" / "x.txt", "bytes");
    ASSERT_FALSE(write.Ok());
    EXPECT_EQ(write.Failure().Reason, u"No such file or directory");
    EXPECT_FALSE(std::filesystem::exists(dir / "missing"));
}

TEST(OutboxTest, OnlyFailuresALaterTryMayCureAreRetriedAndOnlyTheServersHoldTheQueue) {
    // kind, code, retried, a failure of the server (holds every entry) rather than of one record
    const std::tuple<FaultKind, int, bool, bool> cases[] = {
        {FaultKind::NoConnection, 0, true, true},  {FaultKind::TimedOut, 0, true, true},
        {FaultKind::EmptyReply, 0, true, false},   {FaultKind::Refused, 0, false, true},
        {FaultKind::NoSpace, 28, true, true},      {FaultKind::HttpStatus, 408, true, false},
        {FaultKind::HttpStatus, 429, true, false}, {FaultKind::HttpStatus, 500, true, false},
        {FaultKind::HttpStatus, 503, true, false}, {FaultKind::HttpStatus, 404, false, false},
        {FaultKind::HttpStatus, 400, false, false}, {FaultKind::BadData, 0, false, false},
        {FaultKind::FileSystem, 2, false, true},
    };
    for (const auto& [kind, code, retry, server] : cases) {
        EXPECT_EQ(Retryable(Fault{kind, u"", code}), retry)
            << static_cast<int>(kind) << " " << code;
        EXPECT_EQ(ServerFault(Fault{kind, u"", code}), server)
            << static_cast<int>(kind) << " " << code;
    }
}

TEST(OutboxTest, TimesCountInSecondsAcrossDaysMonthsAndLeapYears) {
    EXPECT_EQ(SecondsOf({1970, 1, 1, 0, 0, 0}), 0);
    EXPECT_EQ(SecondsOf({1969, 12, 31, 23, 59, 59}), -1);
    EXPECT_EQ(SecondsOf({2000, 3, 1, 0, 0, 0}), 951868800);
    EXPECT_EQ(SecondsOf({2026, 11, 24, 10, 42, 5}), 1795516925);
    for (const DateTime at : {DateTime{2026, 11, 24, 10, 42, 5}, DateTime{2024, 2, 29, 23, 59, 59},
                              DateTime{1969, 12, 31, 0, 0, 1}}) {
        EXPECT_EQ(DateTimeOf(SecondsOf(at)), at) << "and back";
    }
}

}  // namespace
}  // namespace tesselex
