// Where the watch lock lives: per user, and one lock file for every spelling of a workfile.

#include "app/engine/WatchLock.h"

#include <gtest/gtest.h>

#include "tests/support/ScopedEnv.h"
#include "tests/support/TempDir.h"

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

}  // namespace
}  // namespace tesselex
