// Arbitrary bytes opened by FFmpeg's media decoder: any input must give a source (healthy or
// in an error state) that reads and seeks without crashing, hanging or running away.
#include "files/LQTDecode.h"
#include "fuzz/MemoryFile.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const MemoryFile file("media", data, size);
    if (!file.IsOpen())
        return 0;
    const char* path = file.Path();
    LSoundSource source = LQTDecode::OpenSource(path);
    constexpr int kBlockFrames = 1024;
    std::vector<int> block(size_t(kBlockFrames) * source->GetChannels());
    const int end = source->GetEndSample();
    for (int position : {end / 2, 0, -3, end - 1, end < INT32_MAX - 5 ? end + 5 : end, 1}) {
        source->Seek(position);
        source->Read(block.data(), kBlockFrames);
    }
    source->Seek(0);
    for (int done = 0; done < std::min(end, 1 << 15); done += kBlockFrames)
        source->Read(block.data(), kBlockFrames);
    return 0;
}
