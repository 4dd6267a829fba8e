#include "sound/LSampleFormat.h"

#include "sound/LByteOrder.h"

#include <cmath>
#include <limits>

namespace {

// Values are converted through 32-bit words built from the bytes (LByteOrder.h).
inline int _From16(uint32_t word) { return int(int16_t(uint16_t(word))) * 16; }
inline uint32_t _To16(int x) { return uint32_t((int64_t(x) + 8) >> 4); }
// 32-bit words keep 12 more bits than the graph; rounding must not overflow at 0x7fffffff.
inline int _From32(uint32_t word) { return int((int64_t(int32_t(word)) + 2048) >> 12); }
inline uint32_t _To32(int x) { return uint32_t(x) << 12; }
// The 24 bits form the top of a word, then an arithmetic shift brings them to the graph scale.
inline int _From24(uint32_t top) { return int32_t(top) >> 12; }

inline int _FromFloat(float f)
{
    // Saturate what does not fit an int; NaN is silence.
    const float scaled = f * 524288.0f;
    if (!(scaled == scaled))
        return 0;
    if (scaled >= 2147483647.0f)
        return std::numeric_limits<int>::max();
    if (scaled <= -2147483648.0f)
        return std::numeric_limits<int>::min();
    return int(scaled);
}
inline float _FloatOf(uint32_t word)
{
    float f;
    std::memcpy(&f, &word, 4);
    return f;
}
inline uint32_t _WordOf(float f)
{
    uint32_t word;
    std::memcpy(&word, &f, 4);
    return word;
}
inline uint32_t _ToFloatWord(int x) { return _WordOf(float(x) * (1.0f / 524288.0f)); }

// The 16-bit linear value of a graph value, saturated: the companding laws work on 16 bits.
inline int _Linear16(int x)
{
    const int64_t v = (int64_t(x) + 8) >> 4;
    return v > 32767 ? 32767 : v < -32768 ? -32768 : int(v);
}

// Segment of a magnitude: the index of its highest set bit.
inline int _HighBit(int v)
{
    return 31 - __builtin_clz(static_cast<unsigned>(v));
}

}  // namespace

// A-law: 13-bit sign-magnitude, eight segments of 16 steps, every even bit inverted.
int LSFALAW::Get(uint8_t code)
{
    const int v = code ^ 0x55;
    const int segment = (v >> 4) & 7;
    const int step = v & 0xf;
    const int magnitude =
        segment == 0 ? (step << 4) + 8 : ((step << 4) + 0x108) << (segment - 1);
    return ((v & 0x80) ? magnitude : -magnitude) * 16;
}

uint8_t LSFALAW::Set(int value)
{
    const int linear = _Linear16(value);
    const int sign = linear >= 0 ? 0x80 : 0;
    const int magnitude = (linear >= 0 ? linear : ~linear) >> 3;  // 0..4095
    int segment = 0;
    int step = magnitude >> 1;
    if (magnitude >= 32) {
        segment = _HighBit(magnitude) - 4;
        step = magnitude >> segment;
    }
    return uint8_t((sign | (segment << 4) | (step & 0xf)) ^ 0x55);
}

// mu-law: magnitude plus a bias of 132, eight segments of 16 steps, all bits inverted.
int LSFULAW::Get(uint8_t code)
{
    const int v = ~code & 0xff;
    const int segment = (v >> 4) & 7;
    const int biased = (((v & 0xf) << 3) + 0x84) << segment;
    return ((v & 0x80) ? 0x84 - biased : biased - 0x84) * 16;
}

uint8_t LSFULAW::Set(int value)
{
    const int linear = _Linear16(value);
    const int sign = linear < 0 ? 0x80 : 0;
    int magnitude = linear < 0 ? -linear : linear;
    if (magnitude > 32635)
        magnitude = 32635;
    magnitude += 0x84;
    const int segment = _HighBit(magnitude) - 7;
    const int step = (magnitude >> (segment + 3)) & 0xf;
    return uint8_t(~(sign | (segment << 4) | step));
}

// Each pair below is the conversion table of one format; loops are simple enough for the
// compiler to unroll and vectorise.
#define ORVANE_CONVERT_IN(F, expr)                        \
    template <>                                           \
    void ConvertSamplesIn<F>(int* out, F const* in, int count) \
    {                                                     \
        for (int i = 0; i < count; ++i) {                 \
            const uint8_t* b = in[i].b;                   \
            out[i] = (expr);                              \
        }                                                 \
    }
#define ORVANE_CONVERT_OUT(F, statement)                  \
    template <>                                           \
    void ConvertSamplesOut<F>(F* out, int const* in, int count) \
    {                                                     \
        for (int i = 0; i < count; ++i) {                 \
            uint8_t* b = out[i].b;                        \
            const int x = in[i];                          \
            statement;                                    \
        }                                                 \
    }

ORVANE_CONVERT_IN(LSFU8, (int(b[0]) - 128) * 4096)
ORVANE_CONVERT_OUT(LSFU8, b[0] = uint8_t(((int64_t(x) + 2048) >> 12) - 128))
ORVANE_CONVERT_IN(LSFS8, int(int8_t(b[0])) * 4096)
ORVANE_CONVERT_OUT(LSFS8, b[0] = uint8_t((int64_t(x) + 2048) >> 12))
ORVANE_CONVERT_IN(LSF16, _From16(LGetLE16(b)))
ORVANE_CONVERT_OUT(LSF16, LPutLE16(b, _To16(x)))
ORVANE_CONVERT_IN(LSFBE16, _From16(LGetBE16(b)))
ORVANE_CONVERT_OUT(LSFBE16, LPutBE16(b, _To16(x)))
ORVANE_CONVERT_IN(LSFLE24, _From24(LGetLE24(b) << 8))
ORVANE_CONVERT_OUT(LSFLE24, LPutLE24(b, _To32(x) >> 8))
ORVANE_CONVERT_IN(LSFBE24, _From24(LGetBE24(b) << 8))
ORVANE_CONVERT_IN(LSF32, _From32(LGetLE32(b)))
ORVANE_CONVERT_OUT(LSF32, LPutLE32(b, _To32(x)))
ORVANE_CONVERT_IN(LSFBE32, _From32(LGetBE32(b)))
ORVANE_CONVERT_IN(LSFF32, _FromFloat(_FloatOf(LGetLE32(b))))
ORVANE_CONVERT_OUT(LSFF32, LPutLE32(b, _ToFloatWord(x)))
ORVANE_CONVERT_IN(LSFFRE32, _FromFloat(_FloatOf(LGetBE32(b))))
ORVANE_CONVERT_OUT(LSFFRE32, LPutBE32(b, _ToFloatWord(x)))
ORVANE_CONVERT_IN(LSFALAW, LSFALAW::Get(b[0]))
ORVANE_CONVERT_OUT(LSFALAW, b[0] = LSFALAW::Set(x))
ORVANE_CONVERT_IN(LSFULAW, LSFULAW::Get(b[0]))
ORVANE_CONVERT_OUT(LSFULAW, b[0] = LSFULAW::Set(x))
