// Arbitrary bytes opened and played as a WAVE file: any input must give a source (healthy or in
// an error state) that reads, seeks and names its codec without crashing or running away.
#include "fuzz/MemoryFile.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const MemoryFile file("wave", data, size);
    if (!file.IsOpen())
        return 0;
    const char* path = file.Path();

    char codec[260];
    LGetWaveFileCodecName(codec, path);
    LSoundSource source = LWaveFile::OpenSource(path);
    const int blockFrames = 1024;
    std::vector<int> block(static_cast<size_t>(blockFrames) * source->GetChannels());
    const int end = source->GetEndSample();
    source->IsStreaming();
    for (int position : {0, -3, end - 1, end / 2, end + 5}) {
        source->Seek(position);
        source->Read(block.data(), blockFrames);
    }
    source->Seek(0);
    for (int done = 0; done < std::min(end, 1 << 16); done += blockFrames)
        source->Read(block.data(), blockFrames);
    return 0;
}
