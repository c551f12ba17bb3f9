// The locks: held while their holder lives, whatever the file holds; one per workfile and user.

#include "app/engine/WatchLock.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDir.h"
#include "tests/support/TestData.h"

namespace tesselex {
namespace {

TEST(WatchLock, OneLockPerWorkfileInTheUsersOwnFolder) {
    test::TempDir runtime;
    test::TempDir temp;
    {
        const test::ScopedEnv set("XDG_RUNTIME_DIR", runtime.Path().string());
        EXPECT_EQ(WatchLock::LockPath(temp / "hold.wrk").parent_path(), runtime.Path());
        EXPECT_EQ(WatchLock::LockPath(temp / "x" / ".." / "hold.wrk"),
                  WatchLock::LockPath(temp / "hold.wrk"));
        EXPECT_NE(WatchLock::LockPath(temp / "other.wrk"), WatchLock::LockPath(temp / "hold.wrk"));
    }
#ifdef _WIN32
    // Not the profile folder Qt names as the runtime folder there: the user's temporary one.
    const test::ScopedEnv unset("XDG_RUNTIME_DIR", "");
    const test::ScopedEnv tmp(test::kTempFolderVariable, temp.Path().string());
    EXPECT_EQ(UserRuntimeFolder(), temp.Path());
#endif
}

TEST(FileLock, WhatTheFileHoldsNeverKeepsAProgramOutOnlyALiveHolderDoes) {
    test::TempDir dir;
    const std::filesystem::path file = dir / "run" / "x.lock";
    // Nothing yet; empty, as a kill between making and writing it leaves it; torn; foreign.
    for (const char* contents : {static_cast<const char*>(nullptr), "", "12", "TESSELEX 4711\n"}) {
        if (contents != nullptr) {
            test::WriteBytes(file, contents);
        }
        Outcome<FileLock> first = FileLock::TryTake(file);
        ASSERT_TRUE(first.Ok()) << (contents ? contents : "no file");
        EXPECT_EQ(FileLock::Holder(file), ProcessNumber());
        // A second taker, even in the same process, stays out while the first holds it.
        const Outcome<FileLock> second = FileLock::TryTake(file);
        ASSERT_FALSE(second.Ok());
        EXPECT_EQ(second.Kind(), FaultKind::Held);
        EXPECT_EQ(second.Failure().Code, ProcessNumber());
    }
    EXPECT_TRUE(FileLock::TryTake(file).Ok()) << "let go with its holder";
}

#ifndef _WIN32
TEST(FileLock, AKilledHoldersLockIsFreeAtOnce) {
    test::TempDir dir;
    const std::filesystem::path file = dir / "x.lock";
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        Outcome<FileLock> held = FileLock::TryTake(file);
        const char taken = held.Ok() ? 'y' : 'n';
        (void)!::write(ready[1], &taken, 1);
        ::pause();
        ::_exit(0);
    }
    char taken = 0;
    ASSERT_EQ(::read(ready[0], &taken, 1), 1);
    ASSERT_EQ(taken, 'y');
    const Outcome<FileLock> whileAlive = FileLock::TryTake(file);
    ASSERT_FALSE(whileAlive.Ok());
    EXPECT_EQ(whileAlive.Failure().Code, child);
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ::close(ready[0]);
    ::close(ready[1]);
    EXPECT_TRUE(FileLock::TryTake(file).Ok());
}
#endif

}  // namespace
}  // namespace tesselex
