#include "sound/LByteOrder.h"
#include "sound/LSampleFormat.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <tuple>
#include <vector>

namespace {

template <typename F>
std::vector<int> In(std::vector<F> const& raw)
{
    std::vector<int> out(raw.size());
    ConvertSamplesIn(out.data(), raw.data(), static_cast<int>(raw.size()));
    return out;
}

template <typename F>
std::vector<F> Out(std::vector<int> const& values)
{
    std::vector<F> raw(values.size());
    ConvertSamplesOut(raw.data(), values.data(), static_cast<int>(values.size()));
    return raw;
}

// Graph values of samples given byte by byte.
template <typename F>
std::vector<int> InBytes(std::initializer_list<std::initializer_list<int>> samples)
{
    std::vector<F> raw;
    for (const auto& bytes : samples) {
        F f{};
        int i = 0;
        for (int b : bytes)
            f.b[i++] = static_cast<uint8_t>(b);
        raw.push_back(f);
    }
    return In(raw);
}

// Every graph value `step` apart within [low, high) survives out and back unchanged.
template <typename F>
void ExpectRoundTrip(int low, int high, int step)
{
    std::vector<int> values;
    for (int64_t x = low; x < high; x += step)
        values.push_back(static_cast<int>(x));
    EXPECT_EQ(In(Out<F>(values)), values) << sizeof(F) << "-byte format";
}

LSFF32 FloatBytes(float value)
{
    LSFF32 f;
    std::memcpy(f.b, &value, 4);
    return f;
}

}  // namespace

TEST(SampleFormats, RoundTripsOverTheirResolution)
{
    ExpectRoundTrip<LSFU8>(-0x80000, 0x80000, 0x1000);
    ExpectRoundTrip<LSFS8>(-0x80000, 0x80000, 0x1000);
    ExpectRoundTrip<LSF16>(-0x80000, 0x80000, 16);
    ExpectRoundTrip<LSFBE16>(-0x80000, 0x80000, 16);
    ExpectRoundTrip<LSFLE24>(-0x80000, 0x80000, 1);
    ExpectRoundTrip<LSF32>(-0x80000, 0x80000, 1);
    ExpectRoundTrip<LSFF32>(-0x200000, 0x200000, 1);
    ExpectRoundTrip<LSFFRE32>(-0x80000, 0x80000, 7);
}

TEST(SampleFormats, IntegerExtremesAndRounding)
{
    EXPECT_EQ(InBytes<LSFU8>({{128}, {0}, {255}}), (std::vector<int>{0, -0x80000, 0x7f000}));
    EXPECT_EQ(Out<LSFU8>({0, -0x80000, 0x7f7ff, 0x7f800})[2].b[0], 255);
    EXPECT_EQ(Out<LSFU8>({0})[0].b[0], 128);
    EXPECT_EQ(InBytes<LSFS8>({{0x80}, {0x7f}}), (std::vector<int>{-0x80000, 0x7f000}));
    EXPECT_EQ(InBytes<LSF16>({{0, 0x80}, {0xff, 0x7f}}), (std::vector<int>{-0x80000, 0x7fff0}));
    EXPECT_EQ(InBytes<LSFBE16>({{0x12, 0x34}}), (std::vector<int>{0x12340}));
    // Rounding to 16 bits: halves go up; nothing clips, so full scale wraps.
    EXPECT_EQ(In(Out<LSF16>({7, 8, -8, -9, 0x80000})), (std::vector<int>{0, 16, 0, -16, -0x80000}));
    // 24-bit: the sign comes from the top byte.
    EXPECT_EQ(InBytes<LSFLE24>({{0xff, 0xff, 0xff}, {0, 0, 0x80}, {0xff, 0xff, 0x7f}}),
              (std::vector<int>{-1, -0x80000, 0x7ffff}));
    EXPECT_EQ(InBytes<LSFBE24>({{0x80, 0, 0}, {0, 1, 0}}), (std::vector<int>{-0x80000, 16}));
    // 32-bit: rounding must not overflow at the largest word.
    EXPECT_EQ(InBytes<LSF32>({{0xff, 0xff, 0xff, 0x7f}, {0, 0, 0, 0x80}, {0, 8, 0, 0}}),
              (std::vector<int>{0x80000, -0x80000, 1}));
    EXPECT_EQ(InBytes<LSFBE32>({{0x7f, 0xff, 0xff, 0xff}}), (std::vector<int>{0x80000}));
}

TEST(SampleFormats, FloatScaleAndSaturation)
{
    EXPECT_EQ(In(std::vector<LSFF32>{FloatBytes(1.0f), FloatBytes(-1.0f), FloatBytes(0.5f), FloatBytes(-0.99999994f),
                                     FloatBytes(2.0f), FloatBytes(NAN), FloatBytes(1e30f), FloatBytes(-1e30f),
                                     FloatBytes(INFINITY)}),
              (std::vector<int>{0x80000, -0x80000, 0x40000, -0x7ffff, 0x100000, 0, INT_MAX, INT_MIN, INT_MAX}));
    const LSFF32 half = Out<LSFF32>({-0x40000})[0];
    EXPECT_EQ(std::memcmp(half.b, FloatBytes(-0.5f).b, 4), 0);
    const LSFFRE32 reversed = Out<LSFFRE32>({0x80000})[0];
    EXPECT_EQ(reversed.b[0], 0x3f);  // 1.0f is 0x3f800000
    EXPECT_EQ(reversed.b[1], 0x80);
}

TEST(SampleFormats, CompandingFollowsG711)
{
    // Known code points: A-law 0xd5 is +8, 0xaa the largest; mu-law 0xff is zero, 0x80 the
    // largest.
    EXPECT_EQ(LSFALAW::Get(0xd5), 8 * 16);
    EXPECT_EQ(LSFALAW::Get(0xaa), 32256 * 16);
    EXPECT_EQ(LSFULAW::Get(0xff), 0);
    EXPECT_EQ(LSFULAW::Get(0x80), 32124 * 16);
    EXPECT_EQ(LSFULAW::Set(0x7fffffff), 0x80);  // beyond 16 bits saturates
    for (int code = 0; code < 256; ++code) {
        EXPECT_EQ(LSFALAW::Set(LSFALAW::Get(uint8_t(code))), code);
        // mu-law's negative zero encodes as positive zero.
        EXPECT_EQ(LSFULAW::Set(LSFULAW::Get(uint8_t(code))), code == 0x7f ? 0xff : code);
    }
    // Each linear value decodes back within half a step of its segment.
    for (int x = -32000; x <= 32000; ++x) {
        const int bound = std::max(16, std::abs(x) / 16) * 16;
        ASSERT_LE(std::abs(LSFALAW::Get(LSFALAW::Set(x * 16)) - x * 16), bound) << x;
        ASSERT_LE(std::abs(LSFULAW::Get(LSFULAW::Set(x * 16)) - x * 16), bound) << x;
    }
    EXPECT_EQ(In(Out<LSFULAW>({0, 32124 * 16})), (std::vector<int>{0, 32124 * 16}));
}

TEST(ByteOrder, FieldsReadAndWriteTheirBytesInOrder)
{
    const uint8_t bytes[4] = {0x12, 0x34, 0x56, 0x87};
    // Reader, writer, width, the value of `bytes` in that order.
    using Get = uint32_t (*)(const uint8_t*);
    using Put = void (*)(uint8_t*, uint32_t);
    const std::tuple<Get, Put, size_t, uint32_t> fields[] = {
        {[](const uint8_t* b) -> uint32_t { return LGetLE16(b); }, LPutLE16, 2, 0x3412},
        {[](const uint8_t* b) -> uint32_t { return LGetBE16(b); }, LPutBE16, 2, 0x1234},
        {LGetLE24, LPutLE24, 3, 0x563412},
        {LGetBE24, nullptr, 3, 0x123456},
        {LGetLE32, LPutLE32, 4, 0x87563412},
        {LGetBE32, LPutBE32, 4, 0x12345687},
    };
    for (const auto& [get, put, width, value] : fields) {
        EXPECT_EQ(get(bytes), value) << width;
        if (!put)
            continue;
        uint8_t written[5] = {0xee, 0xee, 0xee, 0xee, 0xee};
        const uint32_t above = width < 4 ? ~0u << (8 * width) : 0;  // bits the field drops
        put(written, value | above);
        EXPECT_EQ(std::memcmp(written, bytes, width), 0) << width;
        EXPECT_EQ(written[width], 0xee) << width << ": nothing written past the field";
    }
}

// The ends of each integer file's range keep their sign through the file; one unit beyond,
// the value wraps to the other end, which is what a writer's clamp must prevent.
template <typename F>
void ExpectRangeEnds(unsigned bits)
{
    const LSampleRange range = LPCMSampleRange(bits);
    const std::vector<int> back = In(Out<F>({range.high, range.low, range.high + 1, range.low - 1}));
    EXPECT_GE(back[0], 0x7f000) << bits;
    EXPECT_LE(back[1], -0x7f000) << bits;
    EXPECT_LT(back[2], 0) << bits << ": beyond the top wraps";
    EXPECT_GT(back[3], 0) << bits << ": below the bottom wraps";
}

TEST(SampleFormats, IntegerRangesEndWhereTheFileWraps)
{
    ExpectRangeEnds<LSFU8>(8);
    ExpectRangeEnds<LSF16>(16);
    ExpectRangeEnds<LSFLE24>(24);
    ExpectRangeEnds<LSF32>(32);
}
