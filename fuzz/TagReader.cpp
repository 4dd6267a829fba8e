// Any bytes as an MP3 (ID3v2 and ID3v1) or a WAVE file (LIST INFO, DISP, bext, cart): the first
// byte picks the type and the kind of read. No crash, and every value within 259 characters.
#include "app/LAudioTagData.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const char* extension = (data[0] & 1) ? ".mp3" : ".wav";
    const int kind = (data[0] >> 1) & 3;
    LAudioTagData tags;
    tags.SetPictureFolder("");  // pictures would go to files
    tags.ReadTagsFromBytes(extension, data + 1, size - 1, kind);
    for (const LHashNode& tag : tags)
        if (strlen(tag.GetData()) >= kLTextBytes)
            std::abort();
    std::string text;
    LAudioTagData::ReadID3String(text, data[0] >> 4, data + 1, size - 1);
    return 0;
}
