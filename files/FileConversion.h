#pragma once

#include "base/LFile.h"
#include "base/LQueuedNotify.h"
#include "base/LThread.h"
#include "sound/LSoundSource.h"
#include "sound/LSoundTime.h"

#include <atomic>
#include <cstdint>

struct OpaqueWindowPtr;

// The copying job of a conversion: the source, converted to the sink's rate and channels and
// peak-limited, written to the sink; with a crossfade partner joined by a crossmix.
struct LPRSourceToSink {
    char title[LFile::kPathBytes] = "";
    LSoundSource source;
    LSoundSink sink;
    LSoundSource crossfade;  // a closed handle: none
    bool hasCrossfade = false;
    // A descriptor of the sink's file, or -1: what each round wrote is handed to the disk at
    // once, so that the sync before the file is put in place has little left to wait for.
    int writebackDescriptor = -1;
};
// 0 done, 1 stopped, 2 the source or sink failed. Progress in rounds of ten 8192-frame blocks.
LProcessResult Process(LProcessInterface& process, LPRSourceToSink& job);

// Cache settings: group "Settings".
inline constexpr const char* kCacheSettingsGroup = "Settings";

// One track decoded into the cache: "<cache folder>/<file name with its extension>.wav",
// 44,100 Hz, 16 bits, stereo.
class FileConversion {
public:
    explicit FileConversion(const char* sourcePath);
    virtual ~FileConversion() = default;
    FileConversion(const FileConversion&) = delete;
    FileConversion& operator=(const FileConversion&) = delete;

    virtual void ConversionComplete(bool success);
    // 0 when `source` is open.
    virtual LProcessResult PrepareSoundSource(LSoundSource& source);
    virtual LProcessResult ProcessSourceToSink(LPRSourceToSink& job);

    // The cached path of `sourcePath`; false when it does not fit (then nothing is cached).
    static bool MakeCachedPath(char* out, const char* sourcePath);
    // The cache folder now in use ("CacheYesNo" off: "Temp" under the user data folder).
    static bool GetCacheFolder(char* out);
    // 1 if the cached file is there (the job is then complete), 0 if a conversion must run.
    // Keeps the cache within "MaxCache" files as the settings ask.
    int CheckCache(OpaqueWindowPtr* owner);
    // Decodes and writes the cached file. 0 when the source did not open, else 1; either way
    // ConversionComplete has been called. A failed or stopped conversion leaves no file.
    int Convert();

    const char* GetSourcePath() const { return _sourcePath; }
    const char* GetCachedPath() const { return _cachedPath; }
    bool IsCachedPathValid() const { return _cachedPathValid; }
    bool GetSuccess() const { return _success; }

protected:
    // The task whose stop ends the job, where it has one of its own.
    virtual LProcessInterface* _GetTask() { return nullptr; }

    char _sourcePath[LFile::kPathBytes] = "";
    char _cachedPath[LFile::kPathBytes] = "";
    bool _cachedPathValid = false;
    bool _success = false;

private:
    void _WaitWhileGrowing() const;
    void _KeepCacheLimit(OpaqueWindowPtr* owner) const;
};

// Queue data codes of a deck job.
enum FileConversionNotifyCode : unsigned int {
    kFileConversionComplete = 1,  // FileConversionRecord
    kFileConversionProgress = 2,  // FileConversionProgress
};

// What the interface gets when a deck job ends (288 bytes).
struct FileConversionRecord {
    bool success = false;
    char path[LFile::kPathBytes] = "";  // the cached path
    int32_t deck = 0;                   // the deck's DJDeckPosition
    int32_t beatFrequency = 0;
    int32_t beatOffset = 0;
    LSoundTime length;
    int32_t row = 0;
    int32_t cueMark = 0;
};
static_assert(sizeof(FileConversionRecord) == 288, "the completion record is 288 bytes");

struct FileConversionProgress {
    int32_t percent = 0;
    int32_t deck = 0;
};
static_assert(sizeof(FileConversionProgress) == 8, "the progress record is 8 bytes");

// What the interface side of a deck job hears, on the interface thread.
class FileConverterNotify {
public:
    virtual ~FileConverterNotify() = default;
    virtual void fcntfProgress(int /*percent*/, int /*deck*/) {}
    virtual void fcntfComplete(bool /*success*/, const char* /*path*/, int /*deck*/, int /*beatFrequency*/,
                               int /*beatOffset*/, LSoundTime /*length*/, int /*row*/, int /*cueMark*/)
    {
    }
};

// The queue handler that turns a deck job's records into FileConverterNotify calls; records
// of another size are dropped.
class FileConverterNotifyHandler : public LQueuedNotifyDataHandler {
public:
    explicit FileConverterNotifyHandler(FileConverterNotify& notify) : _notify(notify) {}

protected:
    void EvQueuedNotifyData(unsigned int code, const void* data, unsigned long size) override;

private:
    FileConverterNotify& _notify;
};

// The long-task interface of a deck job: stops with its thread, posts progress by queue.
class ProcessCounter : public LProcessInterface {
public:
    ProcessCounter(LThread& thread, LQueuedNotifyDataHandler& handler, int deck)
        : _thread(thread), _handler(handler), _deck(deck)
    {
    }

    bool IsToStop() override { return _thread.IsToStop(); }
    bool ProcessWait(unsigned int ms) override { return _thread.ProcessWait(ms); }
    LProcessResult ProcessWaitSignal(LSignalObjectRef s, unsigned int ms) override
    {
        return _thread.ProcessWaitSignal(s, ms);
    }
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int ms) override
    {
        return _thread.ProcessWaitSignalObjectGroup(group, ms);
    }
    // Posts trunc(fraction * 100) with the deck.
    void SetProgress(double fraction) override;

private:
    LThread& _thread;
    LQueuedNotifyDataHandler& _handler;
    int _deck;
};

// A job for a deck: runs on the FileConverter's thread and reports by queue. It deletes
// itself on the interface thread once its completion is delivered.
class FileConversionForDeck : public FileConversion, private LThreadQueuedNotify {
public:
    FileConversionForDeck(const char* sourcePath, LThread& thread, LQueuedNotifyDataHandler& handler, int deck,
                          int beatFrequency, int beatOffset, LSoundTime length, int row, int cueMark);

    void ConversionComplete(bool success) override;
    LProcessResult PrepareSoundSource(LSoundSource& source) override;
    LProcessResult ProcessSourceToSink(LPRSourceToSink& job) override;

protected:
    LProcessInterface* _GetTask() override { return &_counter; }

private:
    void EvNotify() override;

    ProcessCounter _counter;
    LQueuedNotifyDataHandler& _handler;
    FileConversionRecord _record;
    std::atomic<bool> _recordPosted{false};  // a failing open posts it at once, and only then
};

// A job on the caller's thread, with progress in a dialog over `owner`.
class FileConversionWithProgressDialog : public FileConversion {
public:
    FileConversionWithProgressDialog(const char* sourcePath, OpaqueWindowPtr* owner)
        : FileConversion(sourcePath), _owner(owner)
    {
    }
    LProcessResult PrepareSoundSource(LSoundSource& source) override;
    LProcessResult ProcessSourceToSink(LPRSourceToSink& job) override;

private:
    OpaqueWindowPtr* _owner;
};

// The conversion thread of one deck: at most one job at a time.
class FileConverter : public LThread {
public:
    ~FileConverter() override;

    // 0 at once if a job is running. Else 1: the cached file is there (completion posted) or
    // its conversion has started on this thread.
    int ConvertFileForDeck(const char* path, OpaqueWindowPtr* owner, LQueuedNotifyDataHandler& handler, int deck,
                           int beatFrequency, int beatOffset, LSoundTime length, int row, int cueMark);
    // On the calling thread: 1 when the cached file is there or was made (its path in
    // `cachedPath`, kPathBytes), else 0.
    static int ConvertWithProgressDialog(OpaqueWindowPtr* owner, const char* path, char* cachedPath);
    bool IsBusy() const { return _current.load() != nullptr; }

protected:
    void ThreadFunction() override;

private:
    std::atomic<FileConversion*> _current{nullptr};
};
