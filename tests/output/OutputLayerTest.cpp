#include "output/LSoundPlayerLLCA.h"
#include "output/LSoundPlayDevice.h"

#include "support/TestAllocator.h"
#include "OutputTestSupport.h"
#include "sound/MemorySource.h"
#include "support/TestHome.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <fstream>

#include <tuple>
#include <vector>

namespace {

TEST(OutputLayer, MapChannelsKeepsAStereoPairApartAndMonoOnOneChannel)
{
    // device channels, source channels, left, right -> left, right
    const std::vector<std::tuple<int, int, int, int, int, int>> cases = {
        {8, 2, 0, 0, 0, 1},
        {8, 2, 3, 3, 3, 2},
        {8, 2, 1, 4, 1, 4},
        {8, 1, 2, 5, 2, 2},
        {8, 6, 2, 2, 2, 1},
        {1, 2, 0, 0, 0, 0},  // one channel: nothing to move to
    };
    for (const auto& [device, source, left, right, wantLeft, wantRight] : cases) {
        int l = left, r = right;
        LMapOutputChannels(device, source, l, r);
        EXPECT_EQ(l, wantLeft) << device << " " << source << " " << left << " " << right;
        EXPECT_EQ(r, wantRight) << device << " " << source << " " << left << " " << right;
    }
}

int NullIndex()
{
    return LSoundPlayDevice::GetListDeviceIndex(kNullDeviceName);
}

// A layer open on the null device and never started, so a test drives the callback itself.
struct OpenLayer {
    explicit OpenLayer(LSoundSource source, int left = 0, int right = 1)
    {
        layer.SetDeviceIndex(NullIndex());
        layer.SetOutputChannels(left, right);
        layer.SetSoundSource(source);
        open = layer.OpenAudioUnit();
    }
    LSoundPlayerLLCA layer;
    bool open = false;
};

TEST(OutputLayer, CallbackWithAnEmptyRingLeavesTheBufferAndReportsTheSourcePosition)
{
    LSoundSource source = MakeMemory(Ramp(5000)).handle;
    source->Seek(1234);
    OpenLayer open(source);
    ASSERT_TRUE(open.open) << open.layer.GetOpenError();
    open.layer.GetRenderSignal();
    std::vector<int32_t> out(2 * 64, 0x5a5a5a5a);
    EXPECT_EQ(open.layer.RenderData_(out.data(), 64), 0);
    EXPECT_EQ(out, std::vector<int32_t>(2 * 64, 0x5a5a5a5a));
    EXPECT_EQ(open.layer.GetLastPosition(), 1234);
    EXPECT_TRUE(open.layer.GetRenderSignal().IsSignaled());
}

TEST(OutputLayer, CallbackRoutesTheSourceIntoTheMappedChannels)
{
    struct Case {
        unsigned char sourceChannels;
        int left, right;
        std::vector<int32_t> firstFrame;  // device words of source frame 0 (values 1, -1 / 1)
    };
    const std::vector<Case> cases = {
        {2, 0, 1, {1 << 12, -1 * 4096}},
        {2, 1, 0, {-1 * 4096, 1 << 12}},
        {1, 0, 0, {1 << 12}},  // mono needs one device channel only
        {1, 1, 1, {0, 1 << 12}},
    };
    for (const Case& c : cases) {
        LSoundSource source = MakeMemory(Ramp(100, c.sourceChannels), c.sourceChannels).handle;
        OpenLayer open(source, c.left, c.right);
        ASSERT_TRUE(open.open) << open.layer.GetOpenError();
        open.layer.WriteRing(source, 100);
        const int deviceChannels = open.layer.GetDeviceChannels();
        std::vector<int32_t> out(static_cast<size_t>(deviceChannels) * 100, 0x5a5a5a5a);
        EXPECT_EQ(open.layer.RenderData_(out.data(), 100), 100);
        EXPECT_EQ(std::vector<int32_t>(out.begin(), out.begin() + deviceChannels), c.firstFrame)
            << int(c.sourceChannels) << " channels to " << c.left << "," << c.right;
        EXPECT_EQ(open.layer.GetLastPosition(), 99);
        EXPECT_EQ(open.layer.RenderData_(out.data(), 100), 0) << "the ring is empty now";
    }
}

// Read and write system calls this thread has made so far (the kernel's own count).
struct SystemCalls {
    long reads = 0, writes = 0;
};

SystemCalls CountSystemCalls()
{
    std::ifstream io("/proc/thread-self/io");
    std::string key;
    long value = 0;
    SystemCalls calls;
    while (io >> key >> value) {
        if (key == "syscr:")
            calls.reads = value;
        if (key == "syscw:")
            calls.writes = value;
    }
    return calls;
}

TEST(OutputLayer, CallbackAllocatesNothingAndWritesOnlyItsSignal)
{
    {
        AllocationCount probe;
        auto allocated = std::make_unique<int[]>(4);
        ASSERT_EQ(probe.Count(), 1) << "the counter sees allocations";
    }
    for (int right : {1, 0}) {  // straight copy, then the routed path
        LSoundSource source = MakeMemory(MakeNoise(2, 20000, 100000)).handle;
        OpenLayer open(source, right == 1 ? 0 : 1, right);
        ASSERT_TRUE(open.open);
        open.layer.WriteRing(source, 20000);
        std::vector<int32_t> out(2 * 12000);
        const SystemCalls before = CountSystemCalls();
        const SystemCalls baseline = CountSystemCalls();  // what one count costs
        long allocations = 0;
        {
            AllocationCount count;
            open.layer.RenderData_(out.data(), 12000);  // more than one ring read
            open.layer.RenderData_(out.data(), 12000);  // what is left, then short
            open.layer.RenderData_(out.data(), 512);    // empty
            allocations = count.Count();
        }
        const SystemCalls after = CountSystemCalls();
        EXPECT_EQ(allocations, 0);
        EXPECT_EQ(after.reads - baseline.reads, baseline.reads - before.reads) << "no reads";
        EXPECT_EQ(after.writes - baseline.writes, 3) << "one signal write a call";
        EXPECT_EQ(open.layer.GetLastPosition(), 20000) << "drained: where the source stands";
    }
}

TEST(OutputLayer, DeviceListNamesAndLookups)
{
    char name[kDeviceNameBytes];
    LSoundPlayDevice::GetListDeviceName(0, name);
    EXPECT_STREQ(name, kDefaultDeviceName);
    EXPECT_EQ(LSoundPlayDevice::GetListDeviceIndex("No such device at all"), 0);
    EXPECT_EQ(LSoundPlayDevice::GetListDeviceIndex(kDefaultDeviceName), 0);
    const int null = NullIndex();
    ASSERT_GT(null, 0);
    EXPECT_EQ(LSoundPlayDevice::GetListDeviceIndex("[null OUTPUT]"), null) << "names match without case";
    LSoundPlayDevice::GetListDeviceName(null, name);
    EXPECT_STREQ(name, kNullDeviceName);
    EXPECT_EQ(LSoundPlayDevice::GetListDeviceIDAtIndex(null), kDeviceIdNull);
    EXPECT_EQ(LSoundPlayDevice::GetDeviceIndexById(kDeviceIdNull), null);
    EXPECT_EQ(LSoundPlayDevice::GetListDeviceIDAtIndex(null + 50), kDeviceIdNotFound);
    EXPECT_EQ(LSoundPlayDevice::GetDeviceIndexById(123456), 0);
    LSoundPlayDevice::GetListDeviceName(null + 50, name);
    EXPECT_STREQ(name, "");
    std::vector<std::string> channels;
    LSoundPlayDevice(null).GetOutputChannelList(channels);
    EXPECT_EQ(channels, (std::vector<std::string>{"Left", "Right"}));
    EXPECT_EQ(LSoundPlayDeviceList().GetCount(), null) << "no capture device unless asked for";
    if (null == 1) {
        EXPECT_EQ(LSoundPlayDevice::GetDefaultDeviceID(), kDeviceIdNull) << "no card: the null device plays";
    }
}

TEST(OutputLayer, CaptureDeviceIsListedAndDefaultWhileAskedFor)
{
    TempFolder folder;
    CaptureDevice capture(folder / "c.wav");
    const int index = capture.Index();
    EXPECT_EQ(index, NullIndex() + 1);
    EXPECT_EQ(LSoundPlayDevice::GetDefaultDeviceID(), kDeviceIdCapture);
    EXPECT_EQ(LSoundPlayDevice::GetListDeviceIDAtIndex(0), kDeviceIdCapture);
    struct stat info;
    EXPECT_NE(stat((folder / "c.wav").c_str(), &info), 0) << "listing the device writes nothing";
}

TEST(OutputLayer, DevicesThatCannotOpenMakeOpenAudioUnitFalse)
{
    LSoundSource source = MakeMemory(Ramp(100)).handle;
    LSoundPlayerLLCA missing;
    missing.SetDeviceIndex(NullIndex() + 50);
    missing.SetSoundSource(source);
    EXPECT_FALSE(missing.OpenAudioUnit());
    EXPECT_FALSE(missing.GetOpenError().empty());

    OpenLayer tooManyChannels(source, 4, 5);  // the null device has two
    EXPECT_FALSE(tooManyChannels.open);

    TempFolder folder;
    CaptureDevice capture(folder / "no such folder/c.wav");
    LSoundPlayerLLCA unwritable;
    unwritable.SetDeviceIndex(capture.Index());
    unwritable.SetSoundSource(source);
    EXPECT_FALSE(unwritable.OpenAudioUnit());
    EXPECT_NE(unwritable.GetOpenError().find("no such folder"), std::string::npos) << unwritable.GetOpenError();
    EXPECT_FALSE(unwritable.StartAudioUnit());
}

}  // namespace
