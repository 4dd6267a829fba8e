#include "base/flocktimed.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

TEST(FlockTimed, GivesUpAfterTheTimeWhenAnotherDescriptionHoldsTheLock)
{
    TempFolder folder;
    std::string path = folder / "lock";
    int a = open(path.c_str(), O_RDWR | O_CREAT, 0666);
    int b = open(path.c_str(), O_RDWR);
    ASSERT_GE(a, 0);
    ASSERT_GE(b, 0);
    ASSERT_EQ(flocktimed(a, LOCK_EX, 100), 0);
    EXPECT_EQ(flocktimed(b, LOCK_SH, 64), -1);
    EXPECT_EQ(flocktimed(b, LOCK_SH, 0), -1);  // no wait at all
    flock(a, LOCK_UN);
    EXPECT_EQ(flocktimed(b, LOCK_SH, 64), 0);
    EXPECT_EQ(flocktimed(a, LOCK_SH, 64), 0);  // shared locks coexist
    close(a);
    close(b);
}
