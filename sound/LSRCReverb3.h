#pragma once

#include "sound/LSoundSource.h"
#include "sound/LdB.h"

#include <vector>

// The reverb's gains and filter factors for a room, damping and wet and dry gains.
struct LReverbTuning {
    static constexpr float kInputGain = 0.015f;       // both channels summed into the combs
    static constexpr float kAllpassFeedback = 0.5f;
    static constexpr double kRoomScale = 7e-5;        // comb feedback a unit of room
    static constexpr double kRoomFeedbackBase = 0.7;  // comb feedback at room 0
    static constexpr double kDampingScale = 0.004;    // damping low pass a unit of damping
    static constexpr int kWetScale = 3;
    static constexpr int kDryScale = 2;

    float gain = 0, roomFactor = 0, dampingFactor = 0, wet1 = 0, wet2 = 0, dryFactor = 0;
};

// Room within 0..LSRCReverb3::kMaxRoom, damping within 0..LSRCReverb3::kMaxDamping.
LReverbTuning LReverbTuningFor(int room, unsigned char damping, float wet, float dry);

// Stereo reverb: per channel eight parallel low-passed comb filters into four allpasses in
// series, in 32-bit float on the graph's scale. Delays are tuned for 44,100 Hz and scaled to the
// stream's rate. Values that fall to a denormal are turned to exact zero, so a dying tail costs
// no more than sound and ends in silence.
class LSRCReverb3 : public LSoundProcessBase {
public:
    static constexpr int kCombs = 8;      // a side
    static constexpr int kAllpasses = 4;  // a side
    static constexpr int kMaxRoom = 4000;  // above this the combs' feedback nears 1 and the tail stops dying
    static constexpr int kMaxDamping = 250;  // keeps the damping low pass stable
    static constexpr int kWorkFrames = 8192;  // work arrays are made this long, grown only for a larger Read

    // wet and dry become linear gains 10^(dB / 20).
    LSRCReverb3(LSoundSource& inner, int room, unsigned char damping, LdBValue wet, LdBValue dry);

    // Sizes every delay line for `rateHz`, then Update.
    void Init(int room, unsigned char damping, float wet, float dry, int rateHz);
    // Empties every line and sets the filters' coefficients; room within 0..kMaxRoom, damping
    // within 0..kMaxDamping.
    void Update(int room, unsigned char damping, float wet, float dry);
    // Filters `frames` frames and adds the result to the output arrays.
    void ComputeReverb(const float* inLeft, const float* inRight, float* outLeft, float* outRight, int frames);

    // Stereo is reverberated as such; any other channel count runs the first `frames` values
    // through the left side only.
    void Read(int* out, int frames) override;

    // Delay line lengths in samples; side 0 left, 1 right.
    int GetCombSize(int side, int i) const { return _comb[side][i].size; }
    int GetAllpassSize(int side, int i) const { return _allpass[side][i].size; }

private:
    struct Comb {
        float feedback = 0, filterStore = 0, damp1 = 0, damp2 = 0;
        int size = 1, index = 0;
        std::vector<float> buffer;
        float Process(float in);
    };
    struct Allpass {
        float feedback = 0;
        std::vector<float> buffer;
        int size = 1, index = 0;
        float Process(float x);
    };

    void _GrowWork(int frames);
    void _ToFloat(const int* in, int frames);
    void _ToInt(int* out, int frames) const;

    LReverbTuning _tuning;
    Comb _comb[2][kCombs];
    Allpass _allpass[2][kAllpasses];
    std::vector<float> _inLeft, _inRight, _outLeft, _outRight;  // work arrays, kept between Reads
};

class LSPReverb3 : public LSoundProcessDescription {
public:
    LSPReverb3(int roomValue, unsigned char dampingValue, LdBValue wetDB, LdBValue dryDB)
        : room(roomValue), damping(dampingValue), wet(wetDB), dry(dryDB)
    {
    }
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int room;
    unsigned char damping;
    LdBValue wet, dry;
};
