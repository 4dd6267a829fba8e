#pragma once

#include <memory>

// The polyphase FIR table shared by the source-side and sink-side rate converters: the output
// rate is L/M times the input rate, and row p of the table holds the Kaiser-windowed sinc for
// an output frame that falls p/L of an input frame after a tap.
class LConvertRateBase {
public:
    // Rates below 1 are taken as 44100 so that a bad stream still gets a usable table; the
    // stream itself reports the error. Source-side converters use 63 taps, sink-side 15.
    LConvertRateBase(int sourceRate, int targetRate, int taps, bool wideGuard, bool approximate);
    virtual ~LConvertRateBase() = default;
    LConvertRateBase(const LConvertRateBase&) = delete;
    LConvertRateBase& operator=(const LConvertRateBase&) = delete;

    int GetPhases() const { return phases; }
    int GetStep() const { return step; }
    int GetTaps() const { return _taps; }
    // Row `phase` of the table, `GetTaps()` values; unity gain is 65536.
    const int* GetRow(int phase) const { return coefficients.get() + phase * _taps; }

protected:
    int phases;  // L
    int step;    // M, never 0
    std::unique_ptr<int[]> coefficients;

private:
    void _ChooseExact(int sourceRate, int targetRate);
    void _ChooseApproximate(int sourceRate, int targetRate);
    void _BuildTable(int sourceRate, int targetRate, bool wideGuard);

    int _taps;
};
