#include "base/LSignalObject.h"

#include <gtest/gtest.h>

TEST(LSignalObject, IsAManualResetEventAndAGroupSelectsTheReadyOnesOfAtMost255)
{
    LSignalObject s;
    EXPECT_FALSE(s.IsSignaled());
    for (int i = 0; i < 200000; ++i)  // more than any pipe buffer holds
        s.Signal();
    EXPECT_TRUE(s.IsSignaled());
    EXPECT_TRUE(s.IsSignaled());  // looking does not consume it
    s.Reset();
    EXPECT_FALSE(s.IsSignaled());  // one reset clears any number of signals
    s.Reset();                     // and is harmless on an empty pipe
    EXPECT_FALSE(s.WaitSignal(20));

    // A group's select keeps only the ready members.
    LSignalObject a;
    LSignalObject b;
    LSignalObjectGroup group;
    ASSERT_TRUE(group.Add(a));
    ASSERT_TRUE(group.Add(b));
    EXPECT_FALSE(group.Select(0));
    group.Clear();
    group.Add(a);
    group.Add(b);
    b.Signal();
    EXPECT_TRUE(group.Select(kWaitForever));
    EXPECT_FALSE(group.IsMember(a));
    EXPECT_TRUE(group.IsMember(b));
    EXPECT_EQ(group.GetMemberCount(), 1);

    LSignalObjectGroup full;
    // Members are descriptors; the same one counts once, so use distinct made-up numbers.
    for (int fd = 0; fd < LSignalObjectGroup::kMaxMembers; ++fd)
        ASSERT_TRUE(full.AddDescriptor(fd));
    EXPECT_EQ(full.GetMemberCount(), 255);
    EXPECT_FALSE(full.AddDescriptor(300));
    EXPECT_FALSE(full.AddDescriptor(FD_SETSIZE));
}
