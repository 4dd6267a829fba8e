#pragma once

#include "base/LFile.h"
#include "base/LLockFile.h"
#include "base/LProcessInterface.h"
#include "sound/LSoundSource.h"

#include <functional>
#include <memory>

// Opening any audio file by its extension, in a fixed order of tries: the formats read in
// place, then outside decoders into a temporary WAVE file, then FFmpeg's media decoder.

// The 23 extensions offered when scanning folders or taking a drop (with the dot, any case).
bool LGenSourceIsSupported(const char* extension);
// Those, and the further ones that open when the user names such a file.
bool LGenSourceCanOpen(const char* extension);
extern const char* const kGenSourceSupportedExtensions[];
extern const int kGenSourceSupportedCount;

// A reader that opens a file in place, by extension. Each of the program's own readers adds
// its row to the table in LGenSource.cpp.
using LGenSourceOpener = LSoundSource (*)(const char* path);
LGenSourceOpener LGenSourceFindInPlaceOpener(const char* extension);
// Puts a reader before the table's row of the same extension (null removes it again), for
// readers linked in from above this layer and for tests. Not for use while files are opened.
void LGenSourceSetInPlaceOpener(const char* extension, LGenSourceOpener open);

// How an opening reports and waits: the background form forwards to a long task's interface;
// the window form (with the windows) shows its own dialogs and runs long steps in a progress
// dialog of the given title.
class LGenSourceOpenInterface : public LProcessInterface {
public:
    // Whether the opening may ask the user a question now.
    virtual bool IsInteractive() = 0;
    // Runs one long decoding step.
    virtual LProcessResult RunLongStep(const char* title, const std::function<LProcessResult(LProcessInterface&)>& step) = 0;
};

class LGenSourceOpenInterfaceProcess : public LGenSourceOpenInterface {
public:
    LGenSourceOpenInterfaceProcess(LProcessInterface& process, bool interactive = false)
        : _process(process), _interactive(interactive)
    {
    }

    bool IsToStop() override { return _process.IsToStop(); }
    bool ProcessWait(unsigned int ms) override { return _process.ProcessWait(ms); }
    LProcessResult ProcessWaitSignal(LSignalObjectRef s, unsigned int ms) override { return _process.ProcessWaitSignal(s, ms); }
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group, unsigned int ms) override
    {
        return _process.ProcessWaitSignalObjectGroup(group, ms);
    }
    void SetError(const char* message) override { _process.SetError(message); }
    void SetStatus(const char* text, int line) override { _process.SetStatus(text, line); }
    void SetProgress(double fraction) override { _process.SetProgress(fraction); }
    void SetProgressIndeterminateOn() override { _process.SetProgressIndeterminateOn(); }
    void SetProgressIndeterminateOff() override { _process.SetProgressIndeterminateOff(); }

    bool IsInteractive() override { return _interactive; }
    LProcessResult RunLongStep(const char*, const std::function<LProcessResult(LProcessInterface&)>& step) override
    {
        return step(*this);
    }

private:
    LProcessInterface& _process;
    bool _interactive;
};

// The temporary WAVE file of one opening: "Temp%d.wav" in the folder of `preferredFolder`
// (when given and present) or /var/tmp, with n the first whose lock this opening gets and that
// is free. The lock (a ".lck" file beside it) is held until the object goes, so concurrent
// openings, also of other processes, never share a path.
class LGenSourceTempFile {
public:
    static constexpr int kMaxTries = 10000;

    bool Choose(const char* preferredFolder);
    const char* GetPath() const { return _path; }
    bool IsChosen() const { return _path[0] != '\0'; }
    // The lock, for a decoder that outlives the opening (a stop abandons it): it keeps the
    // name taken until it has finished and its output is gone.
    std::shared_ptr<LLockFile> GetLock() const { return _lock; }

private:
    std::shared_ptr<LLockFile> _lock = std::make_shared<LLockFile>();
    char _path[LFile::kPathBytes] = "";
};

// 0 open, 1 cancelled, 2 failed. `out` always holds a source, in an error state on failure.
// Unless `quiet`, a failure is reported through SetError with ProcessGenSourceGetError.
LProcessResult _GenSourceOpen(LSoundSource& out, const char* path, LGenSourceOpenInterface& process, bool quiet,
                              const char* preferredFolder);

template <class Interface>
LProcessResult ProcessGenSourceOpenSource(LSoundSource& out, const char* path, Interface& process, bool quiet,
                                          const char* preferredFolder)
{
    return _GenSourceOpen(out, path, process, quiet, preferredFolder);
}

// An interactive opening that reports its failure, as a long task (for a progress dialog).
struct LGenSourceOpening {
    LSoundSource* source;
    const char* path;
};
LProcessResult Process(LProcessInterface& process, LGenSourceOpening& opening);

// The message for a failed opening of `path` (see the table of LGenSource.cpp) into `message`
// (at least kGenSourceMessageBytes).
inline constexpr size_t kGenSourceMessageBytes = 1024;
void LGenSourceGetErrorText(char* message, unsigned char errorState, const char* path, const char* decodedPath);
// Builds that message and hands it to SetError.
void ProcessGenSourceGetError(LProcessInterface& process, LSoundSource& source, const char* path,
                              const char* decodedPath);
