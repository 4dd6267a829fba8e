#pragma once

#include "base/LSignalObject.h"

// SIGINT and SIGTERM as a stop request for as long as an object of this class lives (one at a
// time): the first signal sets the flag, keeps its number and makes GetDescriptor readable; the
// work stops at its next look. A second signal, for work that does not stop, removes the
// watched temporaries and ends the process at once. The handlers that were in place before
// come back when the object goes.
class ToolSignals {
public:
    static constexpr int kExitCodeOfSignal = -1;  // a second signal exits as the shell reports a kill
    static constexpr int kMaxWatched = 2;

    // `secondSignalExit`: the exit code after a second signal, or kExitCodeOfSignal.
    explicit ToolSignals(int secondSignalExit = kExitCodeOfSignal);
    ~ToolSignals();
    ToolSignals(const ToolSignals&) = delete;
    ToolSignals& operator=(const ToolSignals&) = delete;

    // A path a second signal removes; false when all slots are taken or the path is too long.
    bool Watch(const char* path);
    bool Caught() const;
    int GetSignal() const;
    // The shell's code for a process ended by the signal caught: 130 for SIGINT, 143 for SIGTERM.
    int ExitCode() const { return kSignalExitBase + GetSignal(); }
    // Readable once a signal came, to wait on together with other descriptors.
    int GetDescriptor() const { return _wake.GetReadDescriptor(); }
    LSignalObjectRef GetWake() const { return _wake.Ref(); }

private:
    static constexpr int kSignalExitBase = 128;

    LSignalObject _wake;
};
