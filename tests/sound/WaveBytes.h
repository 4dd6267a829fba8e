#pragma once

// Builds WAVE files byte by byte for reader tests.

#include "sound/LByteOrder.h"

#include <cstdint>
#include <string>

inline std::string Le16(uint32_t v)
{
    uint8_t bytes[2];
    LPutLE16(bytes, v);
    return std::string(reinterpret_cast<const char*>(bytes), 2);
}

inline std::string Le32(uint32_t v)
{
    uint8_t bytes[4];
    LPutLE32(bytes, v);
    return std::string(reinterpret_cast<const char*>(bytes), 4);
}

inline std::string Chunk(const std::string& id, const std::string& body)
{
    std::string chunk = id + Le32(static_cast<uint32_t>(body.size())) + body;
    if (body.size() % 2)
        chunk += '\0';
    return chunk;
}

struct WaveSpec {
    uint16_t tag = 1;
    uint16_t channels = 2;
    uint32_t rate = 44100;
    uint16_t bits = 16;
    std::string formatExtra;  // bytes behind the 16 standard ones (cbSize and beyond)
    std::string beforeRiff;   // outer chunks in front of the RIFF form
    std::string beforeFormat; // chunks inside the form ahead of "fmt "
    std::string beforeData;   // chunks between "fmt " and "data"
    std::string data;
    bool sizeUnknown = false; // data size field 0xffffffff
};

inline std::string MakeWave(const WaveSpec& wave)
{
    const uint32_t frameBytes = static_cast<uint32_t>(wave.channels) * ((wave.bits + 7) / 8);
    std::string format = Le16(wave.tag) + Le16(wave.channels) + Le32(wave.rate) +
                         Le32(wave.rate * frameBytes) + Le16(frameBytes) + Le16(wave.bits) +
                         wave.formatExtra;
    std::string data = "data" + Le32(wave.sizeUnknown ? 0xffffffffu : uint32_t(wave.data.size())) + wave.data;
    std::string form = "WAVE" + wave.beforeFormat + Chunk("fmt ", format) + wave.beforeData + data;
    return wave.beforeRiff + "RIFF" + Le32(static_cast<uint32_t>(form.size())) + form;
}

// Interleaved 16-bit little-endian values.
template <typename Values>
std::string Pcm16(const Values& values)
{
    std::string bytes;
    for (int v : values)
        bytes += Le16(static_cast<uint16_t>(v));
    return bytes;
}
