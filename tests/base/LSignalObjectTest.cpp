#include "base/LProcessInterface.h"
#include "base/LSignalObject.h"

#include <gtest/gtest.h>

#include <climits>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

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
    EXPECT_TRUE(full.AddDescriptor(0));  // already a member
    EXPECT_FALSE(full.AddDescriptor(300));
    EXPECT_FALSE(LSignalObjectGroup().AddDescriptor(-1));  // a failed pipe's descriptor
}

namespace {

// A pipe whose ends are numbered from `lowest` up, the open-files limit raised for it when
// the hard limit allows. Both ends -1 when it can't be had.
struct HighPipe {
    int readFd = -1;
    int writeFd = -1;

    explicit HighPipe(int lowest)
    {
        rlimit limit{};
        if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
            return;
        const rlim_t needed = static_cast<rlim_t>(lowest) + 2;
        if (limit.rlim_cur < needed) {
            if (limit.rlim_max != RLIM_INFINITY && limit.rlim_max < needed)
                return;
            limit.rlim_cur = needed;
            if (setrlimit(RLIMIT_NOFILE, &limit) != 0)
                return;
        }
        int low[2];
        if (pipe2(low, O_NONBLOCK | O_CLOEXEC) != 0)
            return;
        readFd = fcntl(low[0], F_DUPFD_CLOEXEC, lowest);
        writeFd = fcntl(low[1], F_DUPFD_CLOEXEC, lowest);
        close(low[0]);
        close(low[1]);
    }
    ~HighPipe()
    {
        if (readFd >= 0)
            close(readFd);
        if (writeFd >= 0)
            close(writeFd);
    }
    LSignalObjectRef Ref() const { return LSignalObjectRef(readFd, writeFd); }
    void Signal() const { ASSERT_EQ(write(writeFd, "x", 1), 1); }
};

}  // namespace

TEST(LSignalObject, DescriptorsAboveADescriptorSetWaitLikeAnyOther)
{
    constexpr int kBeyondSelect = 4000;  // select() stops at 1023
    HighPipe high(kBeyondSelect);
    if (high.readFd < 0 || high.writeFd < 0)
        GTEST_SKIP() << "the open-files hard limit stops below " << kBeyondSelect;
    ASSERT_GE(high.readFd, kBeyondSelect);
    LSignalObject low;
    LSignalObjectGroup group;
    ASSERT_TRUE(group.Add(low));
    ASSERT_TRUE(group.Add(high.Ref()));
    ASSERT_TRUE(group.AddDescriptor(INT_MAX));  // never open: poll reports it, nothing hangs
    EXPECT_FALSE(group.Select(10));
    EXPECT_EQ(group.GetMemberCount(), 0);

    EXPECT_FALSE(high.Ref().WaitSignal(0));
    high.Signal();
    EXPECT_TRUE(high.Ref().WaitSignal(kWaitForever));
    EXPECT_TRUE(low.WaitSignalDual(high.Ref(), 0));
    group.Add(low);
    group.Add(high.Ref());
    group.AddDescriptor(INT_MAX);
    EXPECT_TRUE(group.Select(kWaitForever));
    EXPECT_TRUE(group.IsMember(high.Ref()));
    EXPECT_FALSE(group.IsMember(low));
    EXPECT_EQ(group.GetMemberCount(), 1);

    // The waits of long tasks take them too.
    LProcessInterfaceVoid plain;
    EXPECT_EQ(plain.ProcessWaitSignal(high.Ref(), kWaitForever), kProcessFinished);
    EXPECT_EQ(plain.ProcessWaitSignal(low, 0), kProcessFailed);
}
