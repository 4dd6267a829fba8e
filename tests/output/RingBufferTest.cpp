#include "output/LCARingBuffer.h"

#include "sound/MemorySource.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

// Reads `frames` frames at unity gain; the words as a device receives them.
std::vector<int32_t> Take(LCARingBuffer& ring, int frames, int* position = nullptr)
{
    std::vector<int32_t> out(static_cast<size_t>(frames) * ring.GetChannels(), 0x5a5a5a5a);
    unsigned long bytes = 0;
    LdBValue left, right;
    const int p = ring.Read(out.data(), &bytes, frames, 512, left, right);
    EXPECT_EQ(bytes, out.size() * sizeof(int32_t));
    if (position)
        *position = p;
    return out;
}

// Jumps back to `to` when it reaches `at`, as a loop does inside one block.
class JumpingSource : public LSoundSourceBase {
public:
    JumpingSource(int at, int to) : LSoundSourceBase(44100, 1, kPeakLimit), _at(at), _to(to) {}
    void Read(int* buffer, int frames) override
    {
        for (int i = 0; i < frames; ++i) {
            if (_pos == _at)
                _pos = _to;
            buffer[i] = _pos++;
        }
    }
    int GetPositionSample() const override { return _pos; }
    int GetEndSample() const override { return 1 << 30; }
    void Seek(int sample) override { _pos = sample; }

private:
    int _pos = 0;
    int _at, _to;
};

TEST(RingBuffer, HoldsNoMoreThanItsFramesAndCountsAcrossTheWrap)
{
    auto ring = LCARingBuffer::Make(8192, 2);
    ASSERT_TRUE(ring);
    LSoundSource source = MakeMemory(Ramp(30000)).handle;
    EXPECT_EQ(ring->GetFreeFrames(), 8192);
    ring->Write(source, 10000);
    EXPECT_EQ(ring->GetHeldFrames(), 8192);
    EXPECT_EQ(ring->GetFreeFrames(), 0);
    EXPECT_EQ(source->GetPositionSample(), 8192) << "what did not fit stays in the source";

    // Read part, then write past the array's end: counts and order survive the wrap.
    int position = -1;
    Take(*ring, 5000, &position);
    EXPECT_EQ(position, 4999);
    ring->Write(source, 5000);
    EXPECT_EQ(ring->GetHeldFrames(), 8192);
    const std::vector<int32_t> words = Take(*ring, 8000, &position);
    EXPECT_EQ(ring->GetHeldFrames(), 192);
    EXPECT_EQ(ring->GetFreeFrames(), 8000);
    EXPECT_EQ(position, 12999);
    const std::vector<int> expected = Ramp(8000, 2, 5001);
    for (size_t i = 0; i < expected.size(); ++i)
        ASSERT_EQ(words[i], static_cast<int32_t>(static_cast<uint32_t>(expected[i]) << 12)) << "value " << i;
}

TEST(RingBuffer, PositionsGlideOverAJumpAndAreExactAtBlockStarts)
{
    auto ring = LCARingBuffer::Make(8192, 1);
    LSoundSource source(new JumpingSource(1050, 200));
    source->Seek(1000);
    ring->Write(source, 100);  // 1000..1049, then 200..249
    ring->Write(source, 100);  // 250..349

    std::vector<int> positions;
    for (int i = 0; i < 200; ++i) {
        int p = 0;
        Take(*ring, 1, &p);
        positions.push_back(p);
    }
    EXPECT_EQ(positions[0], 1000);
    for (int i = 1; i < 100; ++i)
        EXPECT_LT(positions[i], positions[i - 1]) << "a steady glide down to the jump target, frame " << i;
    EXPECT_EQ(positions[99], 249) << "the block's last frame is exact";
    for (int i = 100; i < 200; ++i)
        EXPECT_EQ(positions[i], 150 + i) << "a block without a jump is exact";
}

TEST(RingBuffer, GainAndLevelsApplyOnTheWayOut)
{
    auto ring = LCARingBuffer::Make(8192, 2);
    std::vector<int> square(2 * 1024);
    for (size_t i = 0; i < square.size(); i += 2) {
        square[i] = (i / 2) % 2 ? -kPeakLimit : kPeakLimit;
        square[i + 1] = 0;
    }
    LSoundSource source = MakeMemory(square).handle;
    ring->Write(source, 1024);
    std::vector<int32_t> out(2 * 1024);
    unsigned long bytes = 0;
    LdBValue left, right;
    ring->Read(out.data(), &bytes, 1024, 256, left, right);
    EXPECT_EQ(out[0], (kPeakLimit / 2) << 12);
    EXPECT_EQ(out[2], (-kPeakLimit / 2) * 4096);
    EXPECT_EQ(left.GetDB(), 9) << "a half-scale square wave";
    EXPECT_TRUE(right.IsSilent());
}

TEST(RingBuffer, KeepSliceLeavesOnlyTheNextSlice)
{
    auto ring = LCARingBuffer::Make(8192, 2);
    ring->SetFramesPerSlice(256);
    LSoundSource source = MakeMemory(Ramp(4000)).handle;
    ring->Write(source, 4000);
    ring->KeepSlice(777);
    EXPECT_EQ(ring->GetHeldFrames(), 256);
    int position = 0;
    Take(*ring, 10, &position);
    EXPECT_EQ(position, 777);
    ring->Clear();
    EXPECT_EQ(ring->GetHeldFrames(), 0);

    // The kept slice runs over the array's end: every kept frame, on both sides of it, answers
    // the new position, and what is written after it carries its own.
    LSoundSource longer = MakeMemory(Ramp(20000)).handle;
    ring->Write(longer, 8000);
    Take(*ring, 8000, &position);
    ring->Write(longer, 1000);  // wraps 183 frames before the array's end
    ring->KeepSlice(4242);
    EXPECT_EQ(ring->GetHeldFrames(), 256);
    for (int f = 0; f < 256; ++f) {
        Take(*ring, 1, &position);
        ASSERT_EQ(position, 4242) << f;
    }
    ring->Write(longer, 50);
    Take(*ring, 50, &position);
    EXPECT_EQ(position, 9049) << "written after the slice: its own positions";
}

}  // namespace
