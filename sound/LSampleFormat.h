#pragma once

#include <cstdint>
#include <cstring>

// Sample formats of files: each type is the file form of one value, byte for byte, so that an
// array of them is the file's bytes. ConvertSamplesIn/Out move `count` values (not frames)
// between that form and the graph's 2^19 scale. ConvertSamplesOut does not clip: integer forms
// keep the low bits of what they are given, so callers stay within kPeakLimit.

struct LSFU8 { uint8_t b[1]; };    // unsigned 8-bit
struct LSFS8 { uint8_t b[1]; };    // signed 8-bit
struct LSF16 { uint8_t b[2]; };    // signed 16-bit little-endian
struct LSFBE16 { uint8_t b[2]; };  // signed 16-bit big-endian
struct LSFLE24 { uint8_t b[3]; };  // signed 24-bit little-endian
struct LSFBE24 { uint8_t b[3]; };  // signed 24-bit big-endian, read only
struct LSF32 { uint8_t b[4]; };    // signed 32-bit little-endian
struct LSFBE32 { uint8_t b[4]; };  // signed 32-bit big-endian, read only
struct LSFF32 { uint8_t b[4]; };   // IEEE float little-endian, 1.0 is full scale
struct LSFFRE32 { uint8_t b[4]; }; // IEEE float byte-reversed

// G.711 A-law byte.
struct LSFALAW {
    uint8_t b[1];
    static int Get(uint8_t code);  // graph scale
    static uint8_t Set(int value); // from graph scale; beyond 16 bits saturates
};

// G.711 mu-law byte.
struct LSFULAW {
    uint8_t b[1];
    static int Get(uint8_t code);
    static uint8_t Set(int value);
};

// The graph values an integer PCM file of `bits` (as the sink picks its form: up to 8, 16, 24,
// above) keeps without wrapping. 16 and 8 bits round, so their ends lie off the step grid.
struct LSampleRange {
    int low;
    int high;
};
constexpr LSampleRange LPCMSampleRange(unsigned bits)
{
    if (bits < 9)
        return {-0x80800, 0x7f7ff};
    if (bits < 17)
        return {-0x80008, 0x7fff7};
    return {-0x80000, 0x7ffff};
}

template <typename F>
void ConvertSamplesIn(int* out, F const* in, int count);
template <typename F>
void ConvertSamplesOut(F* out, int const* in, int count);

// Formats that are only ever read have no ConvertSamplesOut.
template <> void ConvertSamplesOut<LSFBE24>(LSFBE24*, int const*, int) = delete;
template <> void ConvertSamplesOut<LSFBE32>(LSFBE32*, int const*, int) = delete;
