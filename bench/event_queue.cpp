// Cost of the cross-thread primitives: a queued notification from post to delivery, and a
// signal's wake-up of a waiting thread.
#include "base/LQueuedNotify.h"
#include "base/LSignalObject.h"
#include "base/LThread.h"

#include <benchmark/benchmark.h>

#include <thread>

namespace {

class CountingHandler : public LQueuedNotifyDataHandler {
public:
    long delivered = 0;

protected:
    void EvQueuedNotifyData(unsigned int, const void*, unsigned long) override { ++delivered; }
};

// Posts of an 8-byte record (the size of a progress report) drained in batches.
void BM_PostAndDrain(benchmark::State& state)
{
    CountingHandler handler;
    auto queue = LEventQueue::ForCurrentThread();
    const long batch = state.range(0);
    double position = 0.5;
    for (auto _ : state) {
        for (long i = 0; i < batch; ++i)
            handler.PostQueuedNotifyData(2, &position, sizeof position);
        while (queue->DispatchOne()) {
        }
    }
    state.SetItemsProcessed(state.iterations() * batch);
    benchmark::DoNotOptimize(handler.delivered);
}
BENCHMARK(BM_PostAndDrain)->Arg(1)->Arg(64);

// One producer thread posting while this thread drains with the plain loop.
void BM_PostFromWorkerDrainOnOwner(benchmark::State& state)
{
    CountingHandler handler;
    auto queue = LEventQueue::ForCurrentThread();
    const long posts = 10000;
    for (auto _ : state) {
        handler.delivered = 0;
        std::thread producer([&handler] {
            for (long i = 0; i < posts; ++i)
                handler.PostQueuedNotifyData(1, nullptr, 0);
        });
        queue->RunUntil([&handler] { return handler.delivered == posts; });
        producer.join();
    }
    state.SetItemsProcessed(state.iterations() * posts);
}
BENCHMARK(BM_PostFromWorkerDrainOnOwner)->Unit(benchmark::kMillisecond);

// A worker that answers each ping with a pong: the round trip is two signal wake-ups.
class PongThread : public LThread {
public:
    LSignalObject ping;
    LSignalObject pong;
    ~PongThread() override
    {
        StopThreadSoon();
        WaitForThreadEnd();
    }

protected:
    void ThreadFunction() override
    {
        while (ProcessWaitSignal(ping, kWaitForever) == kProcessFinished) {
            ping.Reset();
            pong.Signal();
        }
    }
};

void BM_SignalRoundTrip(benchmark::State& state)
{
    PongThread thread;
    thread.Start(kThreadPriorityNormal);
    for (auto _ : state) {
        thread.ping.Signal();
        thread.pong.WaitSignal(kWaitForever);
        thread.pong.Reset();
    }
}
BENCHMARK(BM_SignalRoundTrip)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
