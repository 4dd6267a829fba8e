#pragma once

// Fixed-order integer fields of files, read and written byte by byte, so that nothing depends
// on the host's byte order or on alignment. Every file format of the program uses these.

#include <cstdint>

inline uint16_t LGetLE16(const uint8_t* b)
{
    return static_cast<uint16_t>(b[0] | (b[1] << 8));
}

inline uint32_t LGetLE24(const uint8_t* b)
{
    return b[0] | (uint32_t(b[1]) << 8) | (uint32_t(b[2]) << 16);
}

inline uint32_t LGetLE32(const uint8_t* b)
{
    return b[0] | (uint32_t(b[1]) << 8) | (uint32_t(b[2]) << 16) | (uint32_t(b[3]) << 24);
}

inline uint16_t LGetBE16(const uint8_t* b)
{
    return static_cast<uint16_t>(b[1] | (b[0] << 8));
}

inline uint32_t LGetBE24(const uint8_t* b)
{
    return b[2] | (uint32_t(b[1]) << 8) | (uint32_t(b[0]) << 16);
}

inline uint32_t LGetBE32(const uint8_t* b)
{
    return b[3] | (uint32_t(b[2]) << 8) | (uint32_t(b[1]) << 16) | (uint32_t(b[0]) << 24);
}

// The writers keep the low bits of `v` that fit the field.
inline void LPutLE16(uint8_t* b, uint32_t v)
{
    b[0] = uint8_t(v);
    b[1] = uint8_t(v >> 8);
}

inline void LPutLE24(uint8_t* b, uint32_t v)
{
    LPutLE16(b, v);
    b[2] = uint8_t(v >> 16);
}

inline void LPutLE32(uint8_t* b, uint32_t v)
{
    LPutLE16(b, v);
    LPutLE16(b + 2, v >> 16);
}

inline void LPutBE16(uint8_t* b, uint32_t v)
{
    b[1] = uint8_t(v);
    b[0] = uint8_t(v >> 8);
}

inline void LPutBE32(uint8_t* b, uint32_t v)
{
    LPutBE16(b + 2, v);
    LPutBE16(b, v >> 16);
}
