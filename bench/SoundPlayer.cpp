// The player and its render callback.
//   BM_RenderCallback: one device block of 512 frames taken from a full ring (time per call).
//   BM_Stop: the stop sequence of a player playing on "[Null Output]" (manual time per stop).
//   BM_ChangeLatency: on the real-time capture device, frames between a new source set with
//     the ring thrown away (as every audible change does) and its first frame in the capture;
//     counter "latency_frames".
#include "base/LEventQueue.h"
#include "output/LSoundPlayer.h"
#include "output/LSoundPlayDevice.h"
#include "output/LVirtualOutputStream.h"
#include "sound/LWaveFile.h"

#include <benchmark/benchmark.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <mutex>
#include <string>
#include <vector>

namespace {

constexpr int kRate = 44100;  // Hz
constexpr int kBlock = LVirtualOutputStream::kLowLatencyFrames;

// Endless stereo of one value, so that the capture tells sources apart.
class Constant : public LSoundSourceBase {
public:
    explicit Constant(int value) : LSoundSourceBase(kRate, 2, kPeakLimit), _value(value) {}
    void Read(int* buffer, int frames) override
    {
        std::fill(buffer, buffer + 2 * frames, _value);
        _position += frames;
    }
    int GetPositionSample() const override { return _position; }
    int GetEndSample() const override { return 0x7fffffff; }
    void Seek(int sample) override { _position = sample; }

private:
    int _value;
    int _position = 0;
};

struct FirstTime : LSoundPlayerNotify {
    void spntfTime(LSoundTime, long) override { seen = true; }
    bool seen = false;
};

void BM_RenderCallback(benchmark::State& state)
{
    LSoundPlayerLLCA layer;
    layer.SetDeviceIndex(LSoundPlayDevice::GetListDeviceIndex(kNullDeviceName));
    LSoundSource source(new Constant(1000));
    layer.SetSoundSource(source);
    layer.OpenAudioUnit();
    std::vector<int32_t> out(2 * kBlock);
    for (auto _ : state) {
        if (layer.GetHeldFrames() < kBlock) {
            state.PauseTiming();
            while (layer.GetFreeFrames() >= 8192)
                layer.WriteRing(source, 8192);
            state.ResumeTiming();
        }
        benchmark::DoNotOptimize(layer.RenderData_(out.data(), kBlock));
    }
}
BENCHMARK(BM_RenderCallback);

void BM_Stop(benchmark::State& state)
{
    const int null = LSoundPlayDevice::GetListDeviceIndex(kNullDeviceName);
    for (auto _ : state) {
        FirstTime first;
        LSoundPlayer player;
        player.SetNotify(&first, 0);
        player.output.SetDeviceIndex(null);
        player.SetSoundSource(LSoundSource(new Constant(1000)));
        player.Play();
        LEventQueue::ForCurrentThread()->RunUntil([&] { return first.seen; });
        const auto start = std::chrono::steady_clock::now();
        player.Stop();
        state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
}
BENCHMARK(BM_Stop)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(20);

long _CapturedFrames(const std::string& path)
{
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? (info.st_size - 46) / 8 : 0;
}

void BM_ChangeLatency(benchmark::State& state)
{
    const std::string path = "/tmp/orvane-bench-capture-" + std::to_string(getpid()) + ".wav";
    setenv("ORVANE_AUDIO_CAPTURE", path.c_str(), 1);  // real-time pace, as a card takes it
    std::vector<double> latencies;
    for (auto _ : state) {
        {
            LSoundPlayer player;
            player.SetSoundSource(LSoundSource(new Constant(1)));
            player.Play();
            usleep(300000);  // the ring has filled
            LSoundSource next(new Constant(2));
            player.Lock();
            player.SetSoundSource(next);
            long switched = 0;
            {
                std::lock_guard lock(player.output.GetRenderLock());
                switched = _CapturedFrames(path);
                player.output.GetRing()->KeepSlice(next->GetPositionSample());
                player.output.WriteRing(player.GetSource(), 8192);
            }
            player.Unlock();
            usleep(200000);
            player.Stop();
            LSoundSource capture = LWaveFile::OpenSource(path.c_str());
            long first = switched;
            while (first < capture->GetEndSample()) {
                capture->Seek(static_cast<int>(first));
                int frame[2];
                capture->Read(frame, 1);
                if (frame[0] == 2)
                    break;
                ++first;
            }
            latencies.push_back(static_cast<double>(first - switched));
        }
    }
    unlink(path.c_str());
    unsetenv("ORVANE_AUDIO_CAPTURE");
    double sum = 0;
    for (double l : latencies)
        sum += l;
    state.counters["latency_frames"] = sum / static_cast<double>(latencies.size());
}
BENCHMARK(BM_ChangeLatency)->Iterations(5)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
