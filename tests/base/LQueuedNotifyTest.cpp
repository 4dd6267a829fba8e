#include "base/LQueuedNotify.h"
#include "base/LThread.h"
#include "base/LThreadNotifyInterface.h"

#include "RecordingProcess.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>
#include <poll.h>
#include <string>
#include <thread>
#include <vector>

namespace {

// Every delivery, in order, as "name" or "name:code:data".
std::vector<std::string> gLog;

class NamedNotify : public LThreadQueuedNotify {
public:
    explicit NamedNotify(std::string name) : _name(std::move(name)) {}

protected:
    void EvNotify() override { gLog.push_back(_name); }
    std::string _name;
};

class NamedHandler : public LQueuedNotifyDataHandler {
public:
    explicit NamedHandler(std::string name) : _name(std::move(name)) {}

protected:
    void EvQueuedNotifyData(unsigned int code, const void* data, unsigned long size) override
    {
        std::string text = data ? std::string(static_cast<const char*>(data), size) : "-";
        gLog.push_back(_name + ":" + std::to_string(code) + ":" + text);
    }
    std::string _name;
};

bool _IsReadable(int fd)
{
    pollfd p{fd, POLLIN, 0};
    return poll(&p, 1, 0) == 1;
}

LEventQueue& _Queue()
{
    static std::shared_ptr<LEventQueue> queue = LEventQueue::ForCurrentThread();
    return *queue;
}

void _DrainAll()
{
    while (_Queue().DispatchOne()) {}
}

class QueuedNotify : public ::testing::Test {
protected:
    void SetUp() override
    {
        _DrainAll();
        gLog.clear();
    }
};

}  // namespace

TEST_F(QueuedNotify, PostsFromManyThreadsArriveOnceEachInTheirOrder)
{
    // Each of four threads posts numbered records to one of two handlers; every record must
    // arrive once, and each thread's records in the order it posted them.
    NamedHandler a("a");
    NamedHandler b("b");
    constexpr int kPostsEach = 300;
    std::vector<std::thread> posters;
    NamedHandler* targets[] = {&a, &b, &a, &b};
    for (unsigned int thread = 0; thread < 4; ++thread)
        posters.emplace_back([handler = targets[thread], thread] {
            for (int i = 0; i < kPostsEach; ++i) {
                std::string number = std::to_string(i);
                handler->PostQueuedNotifyData(thread, number.data(), number.size());
            }
        });
    for (auto& t : posters)
        t.join();
    EXPECT_TRUE(gLog.empty());  // nothing runs until the owning thread drains
    _DrainAll();
    ASSERT_EQ(gLog.size(), 4u * kPostsEach);
    int next[4] = {};
    for (const std::string& entry : gLog) {
        unsigned int thread = entry[2] - '0';
        ASSERT_LT(thread, 4u);
        EXPECT_EQ(entry[0], thread % 2 == 0 ? 'a' : 'b');
        EXPECT_EQ(entry.substr(4), std::to_string(next[thread]++)) << entry;
    }
}

TEST_F(QueuedNotify, DeliveryKeepsPostingOrderCopiesDataAndSkipsDestroyedReceivers)
{
    NamedNotify a("a");
    NamedHandler h("h");
    auto gone = std::make_unique<NamedNotify>("gone");
    auto goneHandler = std::make_unique<NamedHandler>("goneH");
    std::string data = "xy";
    std::thread([&] {
        gone->PostQueueNotify();
        h.PostQueuedNotifyData(7, data.data(), data.size());
        goneHandler->PostQueuedNotifyData(2, "d", 1);
        a.PostQueueNotify();
        PostQueuedNotifyData(nullptr, 1, "lost", 4);  // no handler: nothing happens
        h.PostQueuedNotifyData(0, nullptr, 5);  // a size without data is delivered as no data
        gone->PostQueueNotify();
    }).join();
    data = "zz";  // the queue holds its own copy
    gone.reset();
    goneHandler.reset();
    EXPECT_EQ(_Queue().GetPendingCount(), 3u);
    _DrainAll();
    EXPECT_EQ(gLog, (std::vector<std::string>{"h:7:xy", "a", "h:0:-"}));
}

TEST_F(QueuedNotify, WakeDescriptorIsReadableExactlyWhileEventsWait)
{
    int fd = _Queue().GetWakeDescriptor();
    ASSERT_GE(fd, 0);
    EXPECT_FALSE(_IsReadable(fd));
    auto n = std::make_unique<NamedNotify>("n");
    n->PostQueueNotify();
    n->PostQueueNotify();
    EXPECT_TRUE(_IsReadable(fd));
    EXPECT_TRUE(_Queue().DispatchOne());
    EXPECT_TRUE(_IsReadable(fd));  // one event still waits
    EXPECT_TRUE(_Queue().DispatchOne());
    EXPECT_FALSE(_IsReadable(fd));
    n->PostQueueNotify();
    n.reset();  // flushing the last event clears the wake too
    EXPECT_FALSE(_IsReadable(fd));
}

namespace {

// Posts once more from inside its own delivery, and tries to drain from there.
class ReentrantNotify : public LThreadQueuedNotify {
public:
    int delivered = 0;
    bool nestedClearAnswered = true;

protected:
    void EvNotify() override
    {
        if (++delivered == 1) {
            PostQueueNotify();
            nestedClearAnswered = _Queue().ClearEventQueue();
        }
    }
};

}  // namespace

TEST_F(QueuedNotify, ClearEventQueueRefusesReentryButNestedDispatchWorks)
{
    ReentrantNotify n;
    n.PostQueueNotify();
    EXPECT_TRUE(_Queue().ClearEventQueue());
    EXPECT_FALSE(n.nestedClearAnswered);
    EXPECT_EQ(n.delivered, 2);  // the budget of one extra event takes the re-posted one
    EXPECT_FALSE(_Queue().ClearEventQueue());
}

namespace {

class ReportingWorker : public LThread {
public:
    LProcessInterface* report = nullptr;
    ~ReportingWorker() override { WaitForThreadEnd(); }

protected:
    void ThreadFunction() override
    {
        report->SetProgressIndeterminateOn();
        report->SetStatus("first", 0);
        report->SetStatus(std::string(400, 'x').c_str(), 3);
        report->SetProgress(0.25);
        report->SetError("bad file");
        report->SetProgressIndeterminateOff();
    }
};

}  // namespace

TEST_F(QueuedNotify, ThreadNotifyInterfaceCarriesReportsToTheInterfaceThread)
{
    RecordingProcess target;
    ReportingWorker worker;
    LThreadNotifyInterface adapter(worker, target);
    worker.report = &adapter;
    worker.Start(kThreadPriorityNormal);
    worker.WaitForThreadEnd();
    EXPECT_TRUE(target.calls.empty());  // nothing arrives until this thread drains
    EXPECT_TRUE(_Queue().RunUntil([&target] { return target.calls.size() == 6; }));
    EXPECT_EQ(target.calls, (std::vector<std::string>{
                                "indeterminate on", "status0 first",
                                "status1 " + std::string(259, 'x'), "progress 0.250000",
                                "error bad file", "indeterminate off"}));

    worker.StopThreadSoon();  // stop requests come from the worker
    EXPECT_TRUE(adapter.IsToStop());

    // Progress travels in hundredths: out-of-range values arrive clamped, NaN not at all.
    target.calls.clear();
    const double inf = std::numeric_limits<double>::infinity();
    for (double f : {std::nan(""), -inf, 0.004, 0.006, 1e300, inf})
        adapter.SetProgress(f);
    _DrainAll();
    EXPECT_EQ(target.calls, (std::vector<std::string>{"progress 0.000000", "progress 0.000000",
                                                      "progress 0.010000", "progress 1.000000",
                                                      "progress 1.000000"}));
}
