// The order and back-off of the waiting exports, and the repair of what a crash left.

#include "app/engine/OutboxRunner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <optional>

#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::TempDir;

const Fault kDown{FaultKind::NoConnection, u"Connection refused", 0};
const Fault kMissing{FaultKind::HttpStatus, u"Not Found", 404};

class OutboxRunnerTest : public ::testing::Test {
  protected:
    OutboxRunner MakeRunner() {
        return OutboxRunner(Outbox(dir_ / "Outbox"), [this] { return now_; });
    }
    void Add(OutboxRunner& runner, const std::u16string& bibId) {
        std::u16string request = u"req ";
        request += bibId;
        ASSERT_TRUE(runner.Add(bibId, DateTimeOf(now_), request).Ok());
    }
    // A try noted in tries_; each bib id fails with its fault in faults_ (none: delivered).
    Attempt Trying() {
        return [this](const OutboxEntry& entry, bool late, const AttemptHooks&) -> Done {
            tries_.push_back(entry.BibId + (late ? u" late" : u""));
            const auto fault = faults_.find(entry.BibId);
            return fault == faults_.end() ? Done() : Done(fault->second);
        };
    }
    void RunDue(OutboxRunner& runner) { runner.RunDue(Trying(), {}); }
    std::vector<std::u16string> Ids(const OutboxRunner& runner) const {
        std::vector<std::u16string> ids;
        for (const OutboxEntry& entry : runner.Entries()) {
            ids.push_back(entry.BibId);
        }
        return ids;
    }

    TempDir dir_;
    long long now_ = 1'795'516'925;
    std::map<std::u16string, Fault> faults_;
    std::vector<std::u16string> tries_;
};

TEST_F(OutboxRunnerTest, TheOldestGoesFirstAndTheRestWaitWhileItBacksOff) {
    OutboxRunner runner = MakeRunner();
    faults_[u"1"] = kDown;
    Add(runner, u"1");
    RunDue(runner);
    EXPECT_EQ(tries_, std::vector<std::u16string>{u"1"}) << "tried at once, on time";
    Add(runner, u"2");
    Add(runner, u"3");
    RunDue(runner);
    EXPECT_EQ(tries_.size(), 1U) << "nothing goes past the oldest while it backs off";

    // The server stays away: each try waits twice as long, up to five minutes.
    std::vector<long long> waits;
    long long last = now_;
    for (int second = 0; second < 1500; ++second) {
        ++now_;
        const std::size_t before = tries_.size();
        RunDue(runner);
        if (tries_.size() > before) {
            waits.push_back(now_ - last);
            last = now_;
        }
    }
    EXPECT_EQ(waits, (std::vector<long long>{15, 30, 60, 120, 240, 300, 300, 300}));
    EXPECT_EQ(runner.Find(u"1")->Attempts, 9);
    EXPECT_EQ(runner.Find(u"1")->LastReason, u"Connection refused");

    // Saved again while it waits: one entry, in its old place, its back-off kept.
    Add(runner, u"1");
    EXPECT_EQ(Ids(runner), (std::vector<std::u16string>{u"1", u"2", u"3"}));
    EXPECT_EQ(runner.Find(u"1")->Request, u"req 1");
    RunDue(runner);
    EXPECT_EQ(tries_.size(), 9U);

    // Back: the next try delivers all three in the order saved, each marked late.
    faults_.clear();
    tries_.clear();
    now_ += 300;
    RunDue(runner);
    EXPECT_EQ(tries_, (std::vector<std::u16string>{u"1 late", u"2 late", u"3 late"}));
    EXPECT_TRUE(runner.Entries().empty());
    EXPECT_TRUE(MakeRunner().Resume().empty());
    EXPECT_TRUE(std::filesystem::is_empty(dir_ / "Outbox")) << "removed from the disk too";
}

TEST_F(OutboxRunnerTest, AFailureNoRetryCuresStandsAsideUntilTheCataloguerActs) {
    OutboxRunner runner = MakeRunner();
    faults_[u"404"] = kMissing;
    faults_[u"down"] = kDown;
    Add(runner, u"404");
    RunDue(runner);
    Add(runner, u"ok");
    RunDue(runner);
    EXPECT_EQ(tries_, (std::vector<std::u16string>{u"404", u"ok"}));
    ASSERT_EQ(Ids(runner), std::vector<std::u16string>{u"404"});
    EXPECT_TRUE(runner.Find(u"404")->Failed);
    now_ += 3600;
    RunDue(runner);
    EXPECT_EQ(tries_.size(), 2U) << "never retried on its own";

    // Retried by hand it goes at once; a cure clears the mark, a transient fault backs off.
    faults_[u"404"] = kDown;
    EXPECT_EQ(runner.RunNow(u"404", Trying(), {}).Kind(), FaultKind::NoConnection);
    EXPECT_FALSE(runner.Find(u"404")->Failed);
    EXPECT_EQ(runner.Find(u"404")->NextTry, now_ + 15);
    EXPECT_EQ(runner.RunNow(u"none", Trying(), {}).Kind(), FaultKind::BadData);
    ASSERT_TRUE(runner.Drop(u"404").Ok());
    EXPECT_TRUE(runner.Entries().empty());

    // A clock put back by more than the longest wait does not hold an entry for hours.
    faults_[u"down"] = kDown;
    Add(runner, u"down");
    RunDue(runner);
    now_ -= 3600;
    faults_.clear();
    RunDue(runner);
    EXPECT_TRUE(runner.Entries().empty());
}

TEST_F(OutboxRunnerTest, ACrashedTryIsRepairedAtStartUp) {
    const std::filesystem::path file = dir_ / "export.mrc";
    const std::string old = "OLD RECORD\x1D";
    const std::string added = "NEW RECORD\x1D";
    // CheckAppend tells the three states apart; the repair acts on each.
    const struct {
        const char* What;
        std::optional<std::string> Contents;  // the destination as the crash left it
        bool Replaces;                        // the export was to replace the file
        bool Saved;                           // counted as saved: only the upload is due
        std::optional<std::string> After;     // the destination after the repair
    } cases[] = {
        {"no file", std::nullopt, false, false, std::nullopt},
        {"append not begun", old, false, false, old},
        {"append half made", old + added.substr(0, 5), false, false, old},
        {"other bytes of that length", old + "OTHER BYTE\x1D", false, false, old},
        {"append whole", old + added, false, true, old + added},
        {"replacement not yet renamed", old, true, false, old},
        {"replacement in place", added, true, true, added},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.What);
        std::filesystem::remove(file);
        if (c.Contents) {
            test::WriteBytes(file, *c.Contents);
        }
        OutboxEntry entry;
        entry.BibId = std::u16string(u"7");
        entry.SavedAt = DateTimeOf(now_);
        entry.Append =
            PendingAppend{file, old.size(), added.size(), ContentHash(added), c.Replaces};
        ASSERT_TRUE(Outbox(dir_ / "Outbox").Put(entry).Ok());

        OutboxRunner resumed = MakeRunner();
        EXPECT_TRUE(resumed.Resume().empty());
        ASSERT_EQ(resumed.Entries().size(), 1U);
        EXPECT_EQ(resumed.Entries()[0].Saved, c.Saved);
        EXPECT_EQ(resumed.Entries()[0].Append.has_value(), c.Saved) << "kept to name the upload";
        EXPECT_EQ(std::filesystem::exists(file), c.After.has_value());
        if (c.After) {
            EXPECT_EQ(test::ReadBytes(file), *c.After);
        }
        ASSERT_TRUE(resumed.Drop(u"7").Ok());
    }
    std::ofstream(dir_ / "Outbox" / "8.entry") << "not an entry";
    const std::vector<Fault> problems = MakeRunner().Resume();
    ASSERT_EQ(problems.size(), 1U);
    EXPECT_EQ(problems[0].Kind, FaultKind::BadData);
}

}  // namespace
}  // namespace tesselex
