#pragma once

#include <cstdint>

// Gains are fixed point with 24 fractional bits.
constexpr int kGainUnity = 0x1000000;

// Amplitude and power gains for every whole dB from -128 to 127, index dB + kZeroDBIndex.
// Entries for -128 and -127 are 0 (silence); a gain that would reach 2^31 is held at 0x7fffffff.
struct LdBTables {
    static constexpr int kZeroDBIndex = 128;  // the table starts at -128 dB
    static constexpr int kEntries = 256;
    static constexpr int Index(int db) { return db + kZeroDBIndex; }

    int amplitude[kEntries];
    int power[kEntries];
};

// The shared tables, built once on first use.
const LdBTables& LdBGetTables();

// An integer decibel value in steps of 1 dB; -127 is silence.
template <typename T>
class LdB {
public:
    static constexpr int kSilence = -127;

    LdB() = default;
    explicit LdB(int db) : _db(static_cast<T>(db)) {}

    int GetDB() const { return _db; }
    bool IsSilent() const { return _db <= kSilence; }
    // Amplitude gain 10^(dB/20), 24 fractional bits.
    int GetGain() const { return LdBGetTables().amplitude[LdBTables::Index(_db)]; }
    // Power gain 10^(dB/10), 24 fractional bits.
    int GetPowerGain() const { return LdBGetTables().power[LdBTables::Index(_db)]; }

    friend bool operator==(LdB a, LdB b) { return a._db == b._db; }

private:
    T _db = kSilence;
};

using LdBValue = LdB<signed char>;

// Level of each channel: the channel count, then one value a channel.
struct LDBMC {
    unsigned char channels = 0;
    LdBValue level[256];
};

// x * gain, gain with 24 fractional bits: the three cross products of 12-bit halves, the
// low-by-low product dropped. Two gains multiply the same way.
inline int LGainMultiply(int x, int gain)
{
    const int64_t xh = x >> 12, xl = x & 0xfff;
    const int64_t gh = gain >> 12, gl = gain & 0xfff;
    return static_cast<int>(xh * gh + ((gh * xl) >> 12) + ((xh * gl) >> 12));
}

// trunc(20 log10(gain / 2^24)); 0 and anything below -127 dB give -127.
LdBValue LGainToDB(int gain);

// Mean square at which the level meter reads 0 dB.
constexpr uint32_t kMeterZeroDBMeanSquare = 0x800012;  // 8388626

// Level of a mean square on the meter scale: 0 dB at 8388626, a full-scale square wave +15.
// 0 gives -127; the result is held within -127..127.
LdBValue LMeanSquareToDB(uint32_t meanSquare);
