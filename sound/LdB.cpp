#include "sound/LdB.h"

#include <cmath>
#include <limits>

namespace {

int _ScaledGain(double value)
{
    const double scaled = std::floor(value * 16777216.0 + 0.5);
    if (scaled >= 2147483647.0)
        return std::numeric_limits<int>::max();
    return static_cast<int>(scaled);
}

LdBTables _BuildTables()
{
    LdBTables tables{};
    for (int db = -126; db <= 127; ++db) {
        tables.amplitude[db + 128] = _ScaledGain(std::pow(10.0, db / 20.0));
        tables.power[db + 128] = _ScaledGain(std::pow(10.0, db / 10.0));
    }
    return tables;
}

LdBValue _ClampDB(double db)
{
    if (db < LdBValue::kSilence)
        return LdBValue(LdBValue::kSilence);
    if (db > 127)
        return LdBValue(127);
    return LdBValue(static_cast<int>(db));
}

}  // namespace

const LdBTables& LdBGetTables()
{
    static const LdBTables LdB_pTab = _BuildTables();
    return LdB_pTab;
}

LdBValue LGainToDB(int gain)
{
    if (gain <= 0)
        return LdBValue(LdBValue::kSilence);
    return _ClampDB(std::trunc(20.0 * std::log10(gain / 16777216.0)));
}

LdBValue LMeanSquareToDB(uint32_t meanSquare)
{
    if (meanSquare == 0)
        return LdBValue(LdBValue::kSilence);
    double db = 10.0 * std::log10(meanSquare * 1.1920903375594525e-7);
    db += meanSquare >= 0x800012u ? 0.5 : -0.5;
    return _ClampDB(std::trunc(db));
}
