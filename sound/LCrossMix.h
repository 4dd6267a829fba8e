#pragma once

#include "sound/LSoundSource.h"

#include <memory>
#include <vector>

// Joins a stream to a second one with linear fades, so a stream that loops back on itself has
// no click at the join.
class LSPCrossMix : public LSoundProcessDescription {
public:
    LSPCrossMix(int lengthFrames, const LSoundSource& secondSource) : length(lengthFrames), second(secondSource) {}
    LSoundSource OpenSource(LSoundSource& inner) const override;

    int length;  // frames of each fade
    LSoundSource second;
};

// The first `length` frames fade the first stream in over the second one's current material;
// the last `length` frames fade it out into the second stream's last `length` frames. Between
// the two the first stream passes untouched. Positions, end and Seek are the first stream's.
class LSRCCrossMix : public LSoundProcessBase {
public:
    static constexpr int kWorkFrames = 4096;

    LSRCCrossMix(LSoundSource& first, const LSoundSource& second, int lengthFrames);
    void Read(int* out, int frames) override;
    void Seek(int sample) override;

private:
    int _FadeIn(int* out, int frames);
    int _Straight(int* out, int frames);
    int _FadeOut(int* out, int frames, int j);
    // out = trunc(first * firstGain + second * secondGain) over `frames` frames of both streams.
    void _Mix(int* out, int frames, const float* firstGain, const float* secondGain);
    void _SecondToTail(int j);

    LSoundSource _second;
    int _length;
    std::vector<float> _rise, _fall;
    int _position = 0;
    bool _secondAtTail = false;  // the second stream stands in its last `length` frames
    std::unique_ptr<int[]> _firstWork, _secondWork;
};
