#include "sound/LdB.h"

#include <cmath>
#include <limits>

namespace {

constexpr double kMeterScale = 1.1920903375594525e-7;  // 1 / kMeterZeroDBMeanSquare, as the meter has it

int _ScaledGain(double value)
{
    const double scaled = std::floor(value * kGainUnity + 0.5);
    if (scaled >= 2147483647.0)
        return std::numeric_limits<int>::max();
    return static_cast<int>(scaled);
}

LdBTables _BuildTables()
{
    LdBTables tables{};
    for (int db = -126; db <= 127; ++db) {
        tables.amplitude[LdBTables::Index(db)] = _ScaledGain(std::pow(10.0, db / 20.0));
        tables.power[LdBTables::Index(db)] = _ScaledGain(std::pow(10.0, db / 10.0));
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
    return _ClampDB(std::trunc(20.0 * std::log10(gain / double(kGainUnity))));
}

LdBValue LMeanSquareToDB(uint32_t meanSquare)
{
    if (meanSquare == 0)
        return LdBValue(LdBValue::kSilence);
    double db = 10.0 * std::log10(meanSquare * kMeterScale);
    db += meanSquare >= kMeterZeroDBMeanSquare ? 0.5 : -0.5;
    return _ClampDB(std::trunc(db));
}
