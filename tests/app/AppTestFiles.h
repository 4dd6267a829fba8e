#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <vector>

// Bytes of the test files of the library, playlists and tags.
using Bytes = std::vector<uint8_t>;

inline void Append(Bytes& out, const std::string& text)
{
    out.insert(out.end(), text.begin(), text.end());
}

inline void AppendLE32(Bytes& out, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

inline void AppendBE32(Bytes& out, uint32_t value)
{
    for (int i = 3; i >= 0; --i)
        out.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

// A RIFF chunk with its header and its pad byte.
inline Bytes Chunk(const std::string& id, const Bytes& data)
{
    Bytes out;
    Append(out, id);
    AppendLE32(out, static_cast<uint32_t>(data.size()));
    out.insert(out.end(), data.begin(), data.end());
    if (data.size() & 1)
        out.push_back(0);
    return out;
}

inline Bytes TextBytes(const std::string& text, size_t size = 0)
{
    Bytes out(text.begin(), text.end());
    out.resize(size ? size : text.size() + 1, 0);
    return out;
}

// A 16-bit stereo PCM WAVE file at 44,100 Hz of `frames` silent frames, with `extra` chunks
// after the data.
inline Bytes WaveFile(int frames, const std::vector<Bytes>& extra = {})
{
    Bytes format;
    for (uint32_t v : {0x00020001u, 44100u, 44100u * 4, 0x00100004u})
        AppendLE32(format, v);
    Bytes body;
    Append(body, "WAVE");
    for (const Bytes& c : {Chunk("fmt ", format), Chunk("data", Bytes(static_cast<size_t>(frames) * 4, 0))})
        body.insert(body.end(), c.begin(), c.end());
    for (const Bytes& c : extra)
        body.insert(body.end(), c.begin(), c.end());
    Bytes out;
    Append(out, "RIFF");
    AppendLE32(out, static_cast<uint32_t>(body.size()));
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

inline void WriteFile(const std::string& path, const Bytes& bytes)
{
    std::ofstream(path, std::ios::binary).write(reinterpret_cast<const char*>(bytes.data()),
                                                static_cast<std::streamsize>(bytes.size()));
}

inline void WriteText(const std::string& path, const std::string& text)
{
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string ReadText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}
