#include "files/FileConversion.h"

#include "base/LProgressDialog.h"
#include "base/LSafeWrite.h"
#include "files/LCmdLineDecodeStream.h"
#include "files/LFilesSettings.h"
#include "files/LGenSource.h"
#include "sound/LCrossMix.h"
#include "sound/LPeakLimit.h"
#include "sound/LSRCConvChannels.h"
#include "sound/LWaveFile.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kBlockFrames = 8192;
constexpr int kBlocksPerRound = 10;
constexpr int kCacheRate = 44100;  // Hz
constexpr unsigned char kCacheChannels = 2;
constexpr unsigned short kCacheBits = 16;
constexpr int kGrowthCheckMs = 20;
constexpr int kDefaultMaxCache = 100;  // files
constexpr const char* kCacheFullTitle = "Cache Full";
constexpr const char* kCacheFullText =
    "Your cache folder is full. It is recommended that you either delete some files from your cache or clear the "
    "cache in Options > Clear Cache";

bool _CachingOn()
{
    return LFilesSettingGetBool(kCacheSettingsGroup, "CacheYesNo", true);
}

// The "CachePath" setting, or "Cache" under the user data folder (made when missing).
bool _CachePathSetting(char* out)
{
    char value[LFile::kPathBytes];
    LFilesSettingGetString(kCacheSettingsGroup, "CachePath", "", value);
    if (value[0])
        return LFile::_MakeFilePath(out, "", value);
    return LFile::GetUserDataFolderAppSubFolder(LFile::kCacheFolder, out);
}

off_t _FileSize(const char* path)
{
    struct stat info {};
    return stat(path, &info) == 0 ? info.st_size : -1;
}

bool _Older(const timespec& a, const timespec& b)
{
    return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

}  // namespace

LProcessResult Process(LProcessInterface& process, LPRSourceToSink& job)
{
    process.SetStatus(job.title, 0);
    process.SetStatus("Please wait...", 1);
    process.SetProgress(0);
    if (process.IsToStop())
        return kProcessStopped;
    if (job.source->GetError() != kErrNone || (job.sink->GetError() & kSinkErrorFlag))
        return kProcessFailed;
    LSoundSource source = job.source;
    LSPConvertSourceRateChannels(job.sink->GetRate(), job.sink->GetChannels(), source);
    source = LSPPeakLimit(kPeakLimit).OpenSource(source);
    const int total = source->GetEndSample() - source->GetPositionSample();
    if (job.hasCrossfade) {
        const int tenthRate = source->GetRate() / 10;
        const int length = tenthRate <= 1 ? 1 : std::min(total / 10, tenthRate);
        source = LSPCrossMix(length, job.crossfade).OpenSource(source);
    }
    const int channels = source->GetChannels();
    std::vector<int> buffer(size_t(kBlockFrames) * kBlocksPerRound * channels);
    // A source that follows an outside decoder waits for it inside Read; a stop ends that wait.
    LStreamingReadScope following(process);
    double progress = 0;
    for (int remaining = total; remaining > 0;) {
        if (process.IsToStop())
            return kProcessStopped;
        const int frames = std::min(remaining, kBlockFrames * kBlocksPerRound);
        source->Read(buffer.data(), frames);
        if (process.IsToStop())
            return kProcessStopped;
        if (following.DecoderFailed())
            return kProcessFailed;
        job.sink->Write(buffer.data(), frames);
        if (job.sink->GetError() & kSinkErrorFlag)
            return kProcessFailed;
        if (job.writebackDescriptor >= 0)
            sync_file_range(job.writebackDescriptor, 0, 0, SYNC_FILE_RANGE_WRITE);
        remaining -= frames;
        progress += double(kBlockFrames * kBlocksPerRound) / total;
        process.SetProgress(std::min(progress, 1.0));
    }
    return kProcessFinished;
}

FileConversion::FileConversion(const char* sourcePath)
{
    std::snprintf(_sourcePath, sizeof _sourcePath, "%s", sourcePath ? sourcePath : "");
    _cachedPathValid = sourcePath && LFile::_FitsPath(sourcePath) && MakeCachedPath(_cachedPath, sourcePath);
}

void FileConversion::ConversionComplete(bool success)
{
    _success = success;
}

LProcessResult FileConversion::PrepareSoundSource(LSoundSource& source)
{
    LProcessInterfaceVoid quietly;
    LGenSourceOpenInterfaceProcess open(quietly);
    return ProcessGenSourceOpenSource(source, _sourcePath, open, true, "");
}

LProcessResult FileConversion::ProcessSourceToSink(LPRSourceToSink& job)
{
    LProcessInterfaceVoid quietly;
    return Process(quietly, job);
}

bool FileConversion::GetCacheFolder(char* out)
{
    if (_CachingOn())
        return _CachePathSetting(out);
    return LFile::GetUserDataFolderAppSubFolder(LFile::kTempFolder, out);
}

bool FileConversion::MakeCachedPath(char* out, const char* sourcePath)
{
    char folder[LFile::kPathBytes], name[LFile::kPathBytes];
    out[0] = '\0';
    if (!GetCacheFolder(folder) || !folder[0] || !LFile::_GetFileFromPath(name, sourcePath) || !name[0])
        return false;
    if (!LFile::_MakeFilePath(out, folder, name, ".wav")) {
        out[0] = '\0';
        return false;
    }
    return true;
}

void FileConversion::_WaitWhileGrowing() const
{
    // A file another job is still writing is waited for until its size holds for 20 ms.
    off_t before = _FileSize(_cachedPath);
    for (;;) {
        std::this_thread::sleep_for(std::chrono::milliseconds(kGrowthCheckMs));
        const off_t after = _FileSize(_cachedPath);
        if (after == before)
            return;
        before = after;
    }
}

void FileConversion::_KeepCacheLimit(OpaqueWindowPtr* owner) const
{
    const int limit = LFilesSettingGetInt(kCacheSettingsGroup, "MaxCache", kDefaultMaxCache);
    char folder[LFile::kPathBytes];
    int count = 0;
    const bool folderFits = _CachePathSetting(folder);
    if (folderFits) {
        LFile::FolderIterator files(folder, "*.wav");
        while (files.Next())
            ++count;
    }
    if (count < limit)
        return;
    const bool caching = _CachingOn();
    char warn[LFile::kPathBytes];
    LFilesSettingGetString(kCacheSettingsGroup, "DoNothingButWarn", "", warn);
    if (warn[0] && warn[0] != '0' && caching)
        LFilesAlert(owner, kCacheFullTitle, kCacheFullText);
    if (!LFilesSettingGetBool(kCacheSettingsGroup, "DeleteOldest", false) || !caching || !folderFits)
        return;
    // One file goes for each conversion, the one of the oldest status change.
    timespec oldest{};
    clock_gettime(CLOCK_REALTIME, &oldest);
    char victim[LFile::kPathBytes] = "";
    LFile::FolderIterator files(folder, "*.wav");
    while (files.Next()) {
        char path[LFile::kPathBytes];
        if (!files.GetPath(path))
            continue;  // a cut path names another file
        struct stat info {};
        const timespec changed = stat(path, &info) == 0 ? info.st_ctim : timespec{};
        if (_Older(changed, oldest) || !victim[0]) {
            oldest = changed;
            std::snprintf(victim, sizeof victim, "%s", path);
        }
    }
    if (victim[0])
        unlink(victim);
}

int FileConversion::CheckCache(OpaqueWindowPtr* owner)
{
    if (_cachedPathValid && LFile::Exists(_cachedPath)) {
        _WaitWhileGrowing();
        ConversionComplete(true);
        return 1;
    }
    _KeepCacheLimit(owner);
    return 0;
}

int FileConversion::Convert()
{
    // Declared first, so that it outlasts the source: a source that follows an outside decoder
    // and is closed after a stop then abandons the decoder instead of waiting for it.
    std::optional<LStreamingReadScope> following;
    if (LProcessInterface* task = _GetTask())
        following.emplace(*task);
    LSoundSource source;
    if (PrepareSoundSource(source) != kProcessFinished) {
        ConversionComplete(false);
        return 0;
    }
    if (source->GetPeak() != kPeakLimit)
        source = LSPPeakLimit(kPeakLimit).OpenSource(source);
    // The cached file appears only whole: a failed, stopped or killed conversion leaves
    // nothing that a later load could take for a good file.
    LSafeWrite out(_cachedPath);
    if (!_cachedPathValid || !out.Begin()) {
        ConversionComplete(false);
        return 1;
    }
    LPRSourceToSink job;
    LFile::_GetFileFromPath(job.title, _sourcePath);
    job.source = source;
    job.sink = LWaveFile::OpenSinkPCM(out.GetTemporaryPath(), kCacheRate, kCacheChannels, kCacheBits, 0);
    job.writebackDescriptor = out.GetDescriptor();
    const LProcessResult result = ProcessSourceToSink(job);
    const bool sinkFailed = job.sink->GetError() & kSinkErrorFlag;
    job.sink.Close();  // the header is made true on close
    job.source.Close();
    const bool written = result == kProcessFinished && !sinkFailed && out.Commit();
    if (!written)
        out.Abandon();
    ConversionComplete(written);
    return 1;
}

void FileConverterNotifyHandler::EvQueuedNotifyData(unsigned int code, const void* data, unsigned long size)
{
    if (code == kFileConversionProgress && size == sizeof(FileConversionProgress)) {
        FileConversionProgress p;
        std::memcpy(&p, data, sizeof p);
        _notify.fcntfProgress(p.percent, p.deck);
    } else if (code == kFileConversionComplete && size == sizeof(FileConversionRecord)) {
        FileConversionRecord r;
        std::memcpy(&r, data, sizeof r);
        r.path[sizeof r.path - 1] = '\0';
        _notify.fcntfComplete(r.success, r.path, r.deck, r.beatFrequency, r.beatOffset, r.length, r.row, r.cueMark);
    }
}

void ProcessCounter::SetProgress(double fraction)
{
    FileConversionProgress record;
    record.percent = int32_t(std::clamp(fraction, 0.0, 1.0) * 100);
    record.deck = _deck;
    _handler.PostQueuedNotifyData(kFileConversionProgress, &record, sizeof record);
}

FileConversionForDeck::FileConversionForDeck(const char* sourcePath, LThread& thread, LQueuedNotifyDataHandler& handler,
                                             int deck, int beatFrequency, int beatOffset, LSoundTime length, int row,
                                             int cueMark)
    : FileConversion(sourcePath), _counter(thread, handler, deck), _handler(handler)
{
    std::snprintf(_record.path, sizeof _record.path, "%s", _cachedPath);
    _record.deck = deck;
    _record.beatFrequency = beatFrequency;
    _record.beatOffset = beatOffset;
    _record.length = length;
    _record.row = row;
    _record.cueMark = cueMark;
    _counter.SetProgress(0);
}

LProcessResult FileConversionForDeck::PrepareSoundSource(LSoundSource& source)
{
    LGenSourceOpenInterfaceProcess open(_counter);
    const LProcessResult result = ProcessGenSourceOpenSource(source, _sourcePath, open, true, "");
    if (result != kProcessFinished) {
        _record.success = false;
        _recordPosted = true;
        _handler.PostQueuedNotifyData(kFileConversionComplete, &_record, sizeof _record);
    }
    return result;
}

LProcessResult FileConversionForDeck::ProcessSourceToSink(LPRSourceToSink& job)
{
    return Process(_counter, job);
}

void FileConversionForDeck::ConversionComplete(bool success)
{
    FileConversion::ConversionComplete(success);
    _record.success = success;
    PostQueueNotify();
}

void FileConversionForDeck::EvNotify()
{
    if (!_recordPosted)
        _handler.PostQueuedNotifyData(kFileConversionComplete, &_record, sizeof _record);
    delete this;
}

LProcessResult FileConversionWithProgressDialog::PrepareSoundSource(LSoundSource& source)
{
    LGenSourceOpening opening{&source, _sourcePath};
    return ProcessRunAsDialog(_owner, "Loading file", opening);
}

LProcessResult FileConversionWithProgressDialog::ProcessSourceToSink(LPRSourceToSink& job)
{
    return ProcessRunAsDialog(_owner, "Caching file", job);
}

FileConverter::~FileConverter()
{
    StopThreadSoon();
    WaitForThreadEnd();
}

int FileConverter::ConvertFileForDeck(const char* path, OpaqueWindowPtr* owner, LQueuedNotifyDataHandler& handler,
                                      int deck, int beatFrequency, int beatOffset, LSoundTime length, int row,
                                      int cueMark)
{
    if (_current.load())
        return 0;
    auto* job = new FileConversionForDeck(path, *this, handler, deck, beatFrequency, beatOffset, length, row, cueMark);
    _current = job;
    if (job->CheckCache(owner)) {
        _current = nullptr;  // the job deletes itself when its completion is delivered
        return 1;
    }
    StopThreadSoon();
    WaitForThreadEnd();
    Start(kThreadPriorityBackground);
    return 1;
}

int FileConverter::ConvertWithProgressDialog(OpaqueWindowPtr* owner, const char* path, char* cachedPath)
{
    FileConversionWithProgressDialog job(path, owner);
    std::snprintf(cachedPath, LFile::kPathBytes, "%s", job.GetCachedPath());
    if (job.CheckCache(owner))
        return 1;
    job.Convert();
    return job.GetSuccess() ? 1 : 0;
}

void FileConverter::ThreadFunction()
{
    if (FileConversion* job = _current.load())
        job->Convert();
    _current = nullptr;
}
