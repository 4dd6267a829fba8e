// Arbitrary bytes opened by type under each extension the program opens (the first byte picks
// it): any input must end in an open source or an error state with its message, never a crash
// or a file left behind. Outside programs are kept out (an empty PATH), so every input that
// passes step 1 reaches FFmpeg.
#include "files/LGenSource.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

const char* const kExtensions[] = {".wav", ".mp3", ".aif", ".aiff", ".au", ".gsm", ".vox", ".voc", ".raw",
                                   ".dct", ".dart", ".amr", ".avi", ".mpg", ".mpeg", ".mid", ".ogg", ".flac",
                                   ".aac", ".m4a", ".mpc", ".wma", ".wmv", ".snd", ".moh", ".mp4", ".act",
                                   ".rec", ".rcd", ".shn", ".ape", ".spx", ".WAV", ""};

class Messages : public LProcessInterfaceVoid {
public:
    void SetError(const char* message) override { last = message; }
    std::string last;
};

const std::string& _Folder()
{
    static const std::string folder = [] {
        char pattern[] = "/tmp/orvane-fuzz-XXXXXX";
        const char* made = mkdtemp(pattern);
        std::string path = made ? made : "/tmp";
        setenv("PATH", "", 1);
        setenv("XDG_DATA_HOME", path.c_str(), 1);
        return path;
    }();
    return folder;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const char* extension = kExtensions[data[0] % (sizeof(kExtensions) / sizeof(kExtensions[0]))];
    const std::string path = _Folder() + "/input" + extension;
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return 0;
    std::fwrite(data + 1, 1, size - 1, file);
    std::fclose(file);

    Messages messages;
    LGenSourceOpenInterfaceProcess open(messages);
    LSoundSource source;
    const LProcessResult result = ProcessGenSourceOpenSource(source, path.c_str(), open, false, (_Folder() + "/x").c_str());
    if ((result == kProcessFinished) != (source->GetError() == kErrNone) ||
        (result == kProcessFailed && messages.last.empty()))
        std::abort();
    std::vector<int> block(size_t(512) * source->GetChannels());
    source->Read(block.data(), 512);
    source->Seek(source->GetEndSample() / 2);
    source->Read(block.data(), 512);
    source.Close();
    unlink(path.c_str());
    return 0;
}
