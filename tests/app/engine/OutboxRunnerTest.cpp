// The order and back-off of the waiting exports, and the repair of what a crash left.

#include "app/engine/OutboxRunner.h"

#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <optional>

#include "tests/support/TempDir.h"
#include "config/Strings.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

using test::TempDir;

const Fault kDown{FaultKind::NoConnection, u"Connection refused", 0};
const Fault kMissing{FaultKind::HttpStatus, u"Not Found", 404};
const Fault kServerError{FaultKind::HttpStatus, u"Internal Server Error", 500};

class OutboxRunnerTest : public ::testing::Test {
  protected:
    OutboxRunner MakeRunner() {
        return OutboxRunner(Outbox(dir_ / "Outbox"), dir_ / "Outbox.lock", [this] { return now_; });
    }
    // The options in force at the save name the save, so a test can tell which one an entry
    // keeps.
    void Add(OutboxRunner& runner, const std::u16string& bibId, std::u16string_view save = u"") {
        ExportOptions options;
        options.Subjects = std::u16string(save);
        ASSERT_TRUE(runner.Add(bibId, DateTimeOf(now_), options).Ok());
    }
    // A try noted in tries_; every try fails with kDown while down_, else each bib id fails with
    // its fault in faults_ (none: delivered).
    Attempt Trying() {
        return [this](const OutboxEntry& entry, bool late) -> Done {
            tries_.push_back(entry.BibId + (late ? u" late" : u""));
            if (down_) {
                return kDown;
            }
            const auto fault = faults_.find(entry.BibId);
            return fault == faults_.end() ? Done() : Done(fault->second);
        };
    }
    void RunDue(OutboxRunner& runner) { runner.RunDue(Trying(), {}); }
    // Runs the queue once a second for that long, with a save every `saveEvery` seconds (0:
    // none); answers the seconds between the tries of the bib id (of any entry when none is
    // named, and then each wake-up tries one entry only).
    std::vector<long long> Waits(OutboxRunner& runner, int seconds, std::u16string_view of = u"",
                                 int saveEvery = 0) {
        std::vector<long long> waits;
        long long last = now_;
        for (int second = 0; second < seconds; ++second) {
            ++now_;
            if (saveEvery > 0 && second % saveEvery == 0) {
                Add(runner, u"next" + FromAscii(std::to_string(second)));
            }
            const std::size_t before = tries_.size();
            RunDue(runner);
            if (of.empty() && tries_.size() > before) {
                EXPECT_EQ(tries_.size(), before + 1) << "one try per wake-up at " << second;
            }
            for (std::size_t i = before; i < tries_.size(); ++i) {
                if (of.empty() || tries_[i].starts_with(of)) {
                    waits.push_back(now_ - last);
                    last = now_;
                }
            }
        }
        return waits;
    }
    // The bib id's export fails with the fault; the one saved after it is delivered at once.
    void FailThenDeliverTheNext(OutboxRunner& runner, const std::u16string& bibId,
                                const Fault& fault) {
        faults_[bibId] = fault;
        Add(runner, bibId);
        RunDue(runner);
        Add(runner, u"ok");
        RunDue(runner);
        EXPECT_EQ(tries_, (std::vector<std::u16string>{bibId, u"ok"}));
        ASSERT_EQ(Ids(runner), std::vector<std::u16string>{bibId});
    }
    std::vector<std::u16string> Ids(const OutboxRunner& runner) const {
        std::vector<std::u16string> ids;
        for (const OutboxEntry& entry : runner.Entries()) {
            ids.push_back(entry.BibId);
        }
        return ids;
    }

    TempDir dir_;
    long long now_ = 1'795'516'925;
    bool down_ = false;
    std::map<std::u16string, Fault> faults_;
    std::vector<std::u16string> tries_;
};

TEST_F(OutboxRunnerTest, AnOutageBacksOffTheWholeQueueOnce) {
    OutboxRunner runner = MakeRunner();
    down_ = true;
    Add(runner, u"1", u"first save");
    RunDue(runner);
    Add(runner, u"2");
    Add(runner, u"3");
    RunDue(runner);
    EXPECT_EQ(tries_, std::vector<std::u16string>{u"1"}) << "the server failed: the rest wait";

    // The server stays away: one try for the whole queue, each wait twice as long, at most five
    // minutes.
    EXPECT_EQ(Waits(runner, 1500),
              (std::vector<long long>{15, 30, 60, 120, 240, 300, 300, 300}));
    EXPECT_EQ(runner.Find(u"1")->LastReason, u"Connection refused");
    EXPECT_EQ(runner.Find(u"1")->Attempts, 9) << "the oldest went each time; each try counted";

    // Saved again while it waits: one entry, in its old place, with the options now in force.
    Add(runner, u"1", u"second save");
    EXPECT_EQ(Ids(runner), (std::vector<std::u16string>{u"1", u"2", u"3"}));
    EXPECT_EQ(runner.Find(u"1")->Options->Subjects, u"second save");

    // Back: the next try delivers all three in the order saved, each marked late.
    down_ = false;
    tries_.clear();
    now_ += 300;
    RunDue(runner);
    EXPECT_EQ(tries_, (std::vector<std::u16string>{u"1 late", u"2 late", u"3 late"}));
    EXPECT_TRUE(runner.Entries().empty());
    EXPECT_TRUE(MakeRunner().Resume().empty());
    EXPECT_TRUE(std::filesystem::is_empty(dir_ / "Outbox")) << "removed from the disk too";
}

TEST_F(OutboxRunnerTest, AFailingRecordBacksOffAloneAndTheNextOnesGo) {
    OutboxRunner runner = MakeRunner();
    FailThenDeliverTheNext(runner, u"500", kServerError);
    // It keeps failing: its own back-off, while every later save is delivered at once.
    EXPECT_EQ(Waits(runner, 500, u"500", 100), (std::vector<long long>{15, 30, 60, 120, 240}));
    EXPECT_EQ(Ids(runner), std::vector<std::u16string>{u"500"}) << "the five later ones went";
}

TEST_F(OutboxRunnerTest, AFailureNoRetryCuresStandsAsideUntilTheCataloguerActs) {
    OutboxRunner runner = MakeRunner();
    FailThenDeliverTheNext(runner, u"404", kMissing);
    EXPECT_TRUE(runner.Find(u"404")->Failed);
    EXPECT_EQ(runner.Find(u"404")->Attempts, 1);
    now_ += 3600;
    RunDue(runner);
    EXPECT_EQ(tries_.size(), 2U) << "never retried on its own";

    // Retried by hand it goes at once; a cure clears the mark, a transient fault backs off.
    faults_[u"404"] = kDown;
    EXPECT_EQ(runner.RunNow(u"404", Trying(), {}).Kind(), FaultKind::NoConnection);
    EXPECT_FALSE(runner.Find(u"404")->Failed);
    EXPECT_EQ(runner.Find(u"404")->NextTry, now_ + 30) << "its second try";
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

TEST_F(OutboxRunnerTest, EntriesAnotherProgramHandsOverAreTakenInInTheOrderSaved) {
    OutboxRunner holder = MakeRunner();
    ASSERT_TRUE(holder.Hold().Holder);
    Add(holder, u"2");
    // A second program hands its export over: it writes the entry and repairs nothing.
    OutboxRunner guest = MakeRunner();
    const OutboxRunner::Holding guestHolds = guest.Hold();
    EXPECT_FALSE(guestHolds.Holder);
    EXPECT_EQ(guestHolds.Other, ProcessNumber()) << "the holder named for the message";
    EXPECT_EQ(guest.Entries().size(), 1U) << "it sees what waits";
    --now_;
    Add(guest, u"1");
    ASSERT_TRUE(holder.Hold().Holder);
    EXPECT_EQ(Ids(holder), (std::vector<std::u16string>{u"1", u"2"})) << "in the order saved";
    RunDue(holder);
    EXPECT_EQ(tries_, (std::vector<std::u16string>{u"1 late", u"2 late"}));
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
