#pragma once

#include <cstdint>

// Block arithmetic of the audio path on interleaved int blocks: integer only, no allocation and
// no division inside the loops.

// Largest magnitude among frames * channels values (max and negated min); 0 for an empty block.
int GetBufferPeak(int const* buffer, int frames, unsigned char channels);

// Mean of (x >> 5)^2 over frames * channels values; a full-scale block gives 0x10000000, and
// from 4 times full scale up the result holds at 0xffffffff. 0 for an empty block.
uint32_t GetBufferMeanSquare(int const* buffer, int frames, unsigned char channels);

// The same over one channel of an interleaved block. With one channel `channel` is ignored.
uint32_t GetBufferMeanSquareChan(unsigned char channel, int const* buffer, int frames,
                                 unsigned char channels);

// x = (gain * x) >> 9 over `count` values in place; gain has 9 fractional bits, 512 is unity.
void GainAudioBufferQuick(int gain, int* buffer, int count);
