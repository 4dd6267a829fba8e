// Arbitrary bytes opened and played as a WAVE file: any input must give a source (healthy or in
// an error state) that reads, seeks and names its codec without crashing or running away.
#include "sound/LWaveFile.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const int fd = memfd_create("wave", MFD_CLOEXEC);
    if (fd < 0)
        return 0;
    if (size > 0 && write(fd, data, size) != static_cast<ssize_t>(size)) {
        close(fd);
        return 0;
    }
    char path[64];
    std::snprintf(path, sizeof(path), "/proc/self/fd/%d", fd);

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
    source.Close();
    close(fd);
    return 0;
}
