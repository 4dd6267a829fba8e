#include "files/LGenSource.h"

#include "files/LCmdLineDecode.h"
#include "files/LFilesSettings.h"
#include "files/LQTDecode.h"
#include "sound/LWaveFile.h"

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <atomic>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <memory>
#include <strings.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

const char* const kGenSourceSupportedExtensions[] = {
    ".wav", ".mp3", ".aif", ".aiff", ".au", ".gsm", ".vox", ".voc", ".raw", ".dct", ".dart", ".amr",
    ".avi", ".mpg", ".mpeg", ".mid", ".ogg", ".flac", ".aac", ".m4a", ".mpc", ".wma", ".wmv",
};
const int kGenSourceSupportedCount = int(sizeof(kGenSourceSupportedExtensions) / sizeof(kGenSourceSupportedExtensions[0]));

namespace {

const char* const kOpenableExtras[] = {".snd", ".moh", ".mp4", ".act", ".rec", ".rcd", ".shn", ".ape", ".spx"};

struct InPlaceOpener {
    const char* extension;
    LGenSourceOpener open;
};
// Step 1: the formats read in place. The own readers of MP3, AIFF, AU, GSM, VOX, VOC, raw,
// MOH and MIDI add their rows here; until then those files go on to the media decoder.
const InPlaceOpener kInPlaceOpeners[] = {
    {".wav", LWaveFile::OpenSource},
};

// Step 3: decoded by an outside program into the temporary file.
const char* const kOutsideDecoded[] = {".ogg", ".flac", ".wma", ".aac", ".m4a", ".mp4", ".act",
                                       ".rec", ".rcd", ".shn", ".mpc", ".ape", ".spx"};

constexpr unsigned int kOpenPollMs = 100;
constexpr const char* kReadmeFormats = "see \"Supported formats\" in the README";

bool _InList(const char* extension, const char* const* list, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        if (strcasecmp(list[i], extension) == 0)
            return true;
    return false;
}
template <size_t N>
bool _InList(const char* extension, const char* const (&list)[N])
{
    return _InList(extension, list, N);
}

// Keeps an exclusive lock on the temporary file while the source reads it, so that another
// opening sees it taken (LFile::TestFileShareWriteBlocked) and does not reuse its name.
class LTempFileHold : public LSoundProcessBase {
public:
    LTempFileHold(const LSoundSource& inner, const char* path) : LSoundProcessBase(inner)
    {
        _fd = open(path, O_RDONLY | O_CLOEXEC);
        if (_fd >= 0)
            flock(_fd, LOCK_EX | LOCK_NB);
    }
    ~LTempFileHold() override
    {
        source.Close();  // the inner source deletes the file first
        if (_fd >= 0)
            close(_fd);
    }
    void Read(int* buffer, int frames) override { source->Read(buffer, frames); }

private:
    int _fd = -1;
};

// Opens the decoded temporary file; the file goes when the source is closed.
bool _OpenTemporary(LSoundSource& out, const char* tempPath)
{
    LSoundSource opened = LWaveFile::OpenSourceDeletingFileWhenClosed(tempPath);
    if (opened->GetError() != kErrNone) {
        unlink(tempPath);
        return false;
    }
    out = LSoundSource(new LTempFileHold(opened, tempPath));
    return true;
}

// The raw reader takes its layout from the "RawAudio" settings: AMR decodes to 8,000 Hz mono
// 16-bit, set for this one opening and put back after it.
bool _OpenDecodedRaw(LSoundSource& out, LGenSourceOpener raw, const char* tempPath)
{
    static const char* const kKeys[] = {"SampleRate", "Channels", "Codec"};
    static const char* const kAmrLayout[] = {"8000", "1", "3"};
    char saved[3][LFile::kPathBytes];
    for (int i = 0; i < 3; ++i) {
        LFilesSettingGetString("RawAudio", kKeys[i], "", saved[i]);
        LFilesSettingSetString("RawAudio", kKeys[i], kAmrLayout[i]);
    }
    LSoundSource opened = raw(tempPath);
    for (int i = 0; i < 3; ++i)
        LFilesSettingSetString("RawAudio", kKeys[i], saved[i]);
    if (opened->GetError() != kErrNone)
        return false;
    out = LSoundSource(new LTempFileHold(LSoundSource(new LWavSourceDeleteWhenClosed(tempPath, opened)), tempPath));
    return true;
}

// Shared by the caller and the open thread; whichever lets go last frees it.
struct MediaOpen {
    std::string path;
    std::atomic<bool> cancel{false};
    std::atomic<bool> finished{false};
    LSignalObject done;
    LSoundSource source;
};

void _OpenSourceThread(std::shared_ptr<MediaOpen> job)
{
    job->source = LQTDecode::OpenSource(job->path.c_str(), &job->cancel);
    job->finished.store(true, std::memory_order_release);
    job->done.Signal();
}

// Step 4: the media decoder on a thread of its own, which a stop abandons.
LProcessResult _OpenWithMediaDecoder(LSoundSource& out, const char* path, LGenSourceOpenInterface& process)
{
    auto job = std::make_shared<MediaOpen>();
    job->path = path;
    process.SetStatus("Decoding Audio File", 0);
    process.SetStatus("Opening source file...", 1);
    process.SetProgressIndeterminateOn();
    std::thread opener;
    try {
        opener = std::thread(_OpenSourceThread, job);
    } catch (...) {
        process.SetProgressIndeterminateOff();
        out = MakeErrorSource(kErrClosed);
        return kProcessFailed;
    }
    LProcessResult waited = kProcessFailed;
    while ((waited = process.ProcessWaitSignal(job->done.Ref(), kOpenPollMs)) == kProcessFailed &&
           !process.IsToStop()) {
    }
    process.SetProgressIndeterminateOff();
    if (waited == kProcessStopped || !job->finished.load(std::memory_order_acquire)) {
        job->cancel = true;  // FFmpeg's reads see it and end the open soon
        opener.detach();     // it lets go of the job when it ends
        out = MakeErrorSource(kErrClosed);
        return kProcessStopped;
    }
    opener.join();  // it has signalled; nothing of it outlives the opening
    out = job->source;
    job->source = LSoundSource();
    return out->GetError() == kErrNone ? kProcessFinished : kProcessFailed;
}

LProcessResult _Fail(LSoundSource& out, LGenSourceOpenInterface& process, bool quiet, const char* path,
                     const char* decodedPath)
{
    if (!quiet)
        ProcessGenSourceGetError(process, out, path, decodedPath);
    return kProcessFailed;
}

// Step 3. Returns true when it settled the opening (`result` set); false to go on to step 4.
bool _TryOutsideDecoders(LSoundSource& out, const char* path, const char* extension,
                         LGenSourceOpenInterface& process, const LGenSourceTempFile& temp, LProcessResult& result)
{
    if (!temp.IsChosen())
        return false;
    if (_InList(extension, kOutsideDecoded)) {
        LCmdLineConvertToWav job;
        std::snprintf(job.input, sizeof job.input, "%s", path);
        std::snprintf(job.output, sizeof job.output, "%s", temp.GetPath());
        job.outputLock = temp.GetLock();
        unlink(job.output);  // a decoder may refuse to overwrite
        // A decoder that announces the length is read while it writes (a conversion then runs
        // alongside it); any other is waited for.
        LSoundSource stream;
        result = process.RunLongStep("Loading file",
                                     [&](LProcessInterface& p) { return ProcessStreaming(p, job, stream); });
        if (result == kProcessStopped)
            return true;
        if (result == kProcessFinished && stream->GetError() == kErrNone) {
            out = LSoundSource(new LTempFileHold(LSoundSource(new LWavSourceDeleteWhenClosed(temp.GetPath(), stream)),
                                                 temp.GetPath()));
            return true;
        }
        if (result == kProcessFinished && _OpenTemporary(out, temp.GetPath()))
            return true;
        unlink(temp.GetPath());
        return false;
    }
    LGenSourceOpener raw = LGenSourceFindInPlaceOpener(".raw");
    if (strcasecmp(extension, ".amr") == 0 && raw) {
        result = process.RunLongStep("Loading AMR file",
                                     [&](LProcessInterface& p) { return LAMRDecode(p, path, temp.GetPath()); });
        if (result == kProcessFinished && _OpenDecodedRaw(out, raw, temp.GetPath()))
            return true;
        unlink(temp.GetPath());
    }
    return false;
}

bool _MediaDecoderHasWma()
{
    return avcodec_find_decoder(AV_CODEC_ID_WMAV2) != nullptr;
}

}  // namespace

bool LGenSourceIsSupported(const char* extension)
{
    return extension && _InList(extension, kGenSourceSupportedExtensions);
}

bool LGenSourceCanOpen(const char* extension)
{
    return LGenSourceIsSupported(extension) || (extension && _InList(extension, kOpenableExtras));
}

namespace {
struct AddedOpener {
    char extension[16];
    LGenSourceOpener open;
};
constexpr int kMaxAddedOpeners = 16;
AddedOpener gAddedOpeners[kMaxAddedOpeners] = {};
}  // namespace

void LGenSourceSetInPlaceOpener(const char* extension, LGenSourceOpener open)
{
    AddedOpener* free = nullptr;
    for (AddedOpener& row : gAddedOpeners) {
        if (strcasecmp(row.extension, extension) == 0) {
            row.open = open;
            return;
        }
        if (!free && !row.open)
            free = &row;
    }
    if (free && open && std::strlen(extension) < sizeof free->extension) {
        std::snprintf(free->extension, sizeof free->extension, "%s", extension);
        free->open = open;
    }
}

LGenSourceOpener LGenSourceFindInPlaceOpener(const char* extension)
{
    for (const AddedOpener& row : gAddedOpeners)
        if (row.open && strcasecmp(row.extension, extension) == 0)
            return row.open;
    for (const InPlaceOpener& row : kInPlaceOpeners)
        if (strcasecmp(row.extension, extension) == 0)
            return row.open;
    return nullptr;
}

bool LGenSourceTempFile::Choose(const char* preferredFolder)
{
    char folder[LFile::kPathBytes] = "/var/tmp/";
    char given[LFile::kPathBytes];
    if (preferredFolder && *preferredFolder && LFile::_GetFolderFromPath(given, preferredFolder) &&
        LFile::IsFolder(given))
        std::snprintf(folder, sizeof folder, "%s", given);
    for (int n = 1; n <= kMaxTries; ++n) {
        char name[32], candidate[LFile::kPathBytes];
        std::snprintf(name, sizeof name, "Temp%d.wav", n);
        if (!LFile::_MakeFilePath(candidate, folder, name))
            break;  // a cut path names another file
        if (!_lock->Lock(candidate))
            continue;
        if (!LFile::Exists(candidate) ||
            (!LFile::TestFileShareWriteBlocked(candidate) && unlink(candidate) == 0)) {
            std::snprintf(_path, sizeof _path, "%s", candidate);
            return true;
        }
        _lock->Unlock();
    }
    _path[0] = '\0';
    return false;
}

LProcessResult _GenSourceOpen(LSoundSource& out, const char* path, LGenSourceOpenInterface& process, bool quiet,
                              const char* preferredFolder)
{
    out = MakeErrorSource(kErrMissing);
    if (!path || !LFile::_FitsPath(path))
        return _Fail(out, process, quiet, path ? path : "", "");
    char extension[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path);
    for (char* c = extension; *c; ++c)
        *c = char(std::tolower(static_cast<unsigned char>(*c)));

    // Step 1.
    if (LGenSourceOpener open = LGenSourceFindInPlaceOpener(extension)) {
        out = open(path);
        if (out->GetError() == kErrNone)
            return kProcessFinished;
    }
    if (std::strcmp(extension, ".wav") == 0) {
        // MP3 frames behind a ".wav" name, except where the WAVE tag rules that out.
        LGenSourceOpener mp3 = LGenSourceFindInPlaceOpener(".mp3");
        if (out->GetError() != kErrRefusedCodec && mp3) {
            LSoundSource asMp3 = mp3(path);
            if (asMp3->GetError() == kErrNone) {
                out = asMp3;
                return kProcessFinished;
            }
        }
        return _Fail(out, process, quiet, path, "");
    }

    // Step 2.
    LGenSourceTempFile temp;
    temp.Choose(preferredFolder);

    // Step 3.
    LProcessResult result = kProcessFailed;
    if (_TryOutsideDecoders(out, path, extension, process, temp, result))
        return result;

    // Step 4.
    if (std::strcmp(extension, ".wma") == 0 && !_MediaDecoderHasWma()) {
        out = MakeErrorSource(kErrCodec);
        return _Fail(out, process, quiet, path, temp.GetPath());
    }
    result = _OpenWithMediaDecoder(out, path, process);
    if (result == kProcessFailed)
        return _Fail(out, process, quiet, path, temp.GetPath());
    return result;
}

LProcessResult Process(LProcessInterface& process, LGenSourceOpening& opening)
{
    LGenSourceOpenInterfaceProcess open(process, true);
    return ProcessGenSourceOpenSource(*opening.source, opening.path, open, false, "");
}

void LGenSourceGetErrorText(char* message, unsigned char state, const char* path, const char* decodedPath)
{
    char extension[LFile::kPathBytes], codec[LFile::kPathBytes], folder[LFile::kPathBytes];
    LFile::_GetFileExtensionFromPath(extension, path);
    for (char* c = extension; *c; ++c)
        *c = char(std::tolower(static_cast<unsigned char>(*c)));
    const size_t bytes = kGenSourceMessageBytes;
    auto is = [&extension](std::initializer_list<const char*> list) {
        for (const char* e : list)
            if (std::strcmp(extension, e) == 0)
                return true;
        return false;
    };
    auto codecText = [&](const char* codecName) {
        std::snprintf(message, bytes,
                      "Cannot open the file \"%s\" because the required codec (\"%s\") is not installed. "
                      "To find out if this codec is supported in this product on Linux, %s.",
                      path, codecName, kReadmeFormats);
    };
    message[0] = '\0';
    if (state == kErrBadFormat)
        std::snprintf(message, bytes, "Cannot open the file \"%s\" because it is corrupt.", path);
    else if (state == kErrMissing)
        std::snprintf(message, bytes, "Cannot open the file \"%s\". Check it exists and you have read access.", path);
    else if (state != kErrNone)
        std::snprintf(message, bytes,
                      "Cannot open the file \"%s\". It is possible the file format is not supported by this "
                      "program. For the formats it opens, %s.",
                      path, kReadmeFormats);

    if (is({".wav"}) && state == kErrCodec) {
        LGetWaveFileCodecName(codec, path);
        if (std::strcmp(codec, "Microsoft Unknown Wave Format") == 0)
            std::snprintf(message, bytes,
                          "Cannot open the file \"%s\" because the required codec (\"%s\") is not installed. "
                          "For more information, %s.",
                          path, codec, kReadmeFormats);
        else
            codecText(codec);
    } else if (is({".mp3"})) {
        std::snprintf(message, bytes,
                      "Cannot open the file \"%s\". It is possibly either corrupt or not a true layer-3 MPEG file.",
                      path);
    } else if (is({".mid"})) {
        std::snprintf(message, bytes, "MIDI decoding is not currently supported in our products on Linux.");
    } else if (is({".dct"}) && state == kErrCodec) {
        LGetWaveFileCodecName(codec, decodedPath);
        codecText(codec);
    } else if (is({".dct"}) && state == kErrEncrypted) {
        std::snprintf(message, bytes, "Cannot open the file \"%s\" because it is encrypted.", path);
    } else if (is({".ogg", ".flac", ".wma", ".act", ".rec", ".rcd", ".shn", ".mpc"}) && state == kErrCodec) {
        LGetWaveFileCodecName(codec, decodedPath);
        codecText(codec);
    } else if (is({".ogg", ".flac", ".act", ".rec", ".rcd", ".shn", ".mpc"})) {
        LFile::_GetFolderFromPath(folder, decodedPath);
        std::snprintf(message, bytes,
                      "The decoder process failed when decompressing the file \"%s\" to wave format. It is "
                      "possible your logon account does not have write access to the folder \"%s\"",
                      path, folder);
    } else if (is({".aac", ".m4a", ".mp4", ".amr"})) {
        std::snprintf(message, bytes,
                      "FFmpeg was unable to decode the file \"%s\". Please load the file into a media player "
                      "and verify it plays correctly.",
                      *decodedPath ? decodedPath : path);
    } else if (is({".dss", ".ram", ".rm", ".ra", ".rmj", ".sri", ".msv", ".dvf"})) {
        std::snprintf(message, bytes, "Cannot open the file \"%s\" because this format is not supported on Linux.",
                      path);
    } else if (is({".wma"})) {
        std::snprintf(message, bytes,
                      "Cannot open file \"%s\". It is possible that the file is protected with Digital Rights "
                      "Management (DRM).",
                      path);
    }
    if (!message[0])
        std::snprintf(message, bytes,
                      "Cannot open the file \"%s\" because it is using an unknown codec or is possibly not a real "
                      "wave file.",
                      path);
}

void ProcessGenSourceGetError(LProcessInterface& process, LSoundSource& source, const char* path,
                              const char* decodedPath)
{
    char message[kGenSourceMessageBytes];
    LGenSourceGetErrorText(message, source->GetError(), path, decodedPath ? decodedPath : "");
    process.SetError(message);
}
