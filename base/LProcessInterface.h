#pragma once

#include "base/LSignalObject.h"

#include <optional>

// What a long task answers; the values 0, 1 and 2 are part of the contract.
enum class LProcessResult : int {
    kProcessFinished = 0,
    kProcessStopped = 1,  // stopped on request
    kProcessFailed = 2,   // failed, or a wait reached its limit
};
using enum LProcessResult;

// The one thing a long task sees of whatever runs it: stop requests, waits that a stop cuts
// short, error and progress reports. Reports do nothing unless the runner shows them.
class LProcessInterface {
public:
    virtual ~LProcessInterface() = default;

    virtual bool IsToStop() = 0;
    // Sleeps `ms`; true if a stop cut it short.
    virtual bool ProcessWait(unsigned int ms) = 0;
    // 0 when `s` is signalled, 1 on a stop, 2 at the time limit.
    virtual LProcessResult ProcessWaitSignal(LSignalObjectRef s, unsigned int ms) = 0;
    virtual LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                        unsigned int ms) = 0;
    virtual void SetError(const char* /*message*/) {}
    // Line 0 is the first status line; 1 and above the second.
    virtual void SetStatus(const char* /*text*/, int /*line*/) {}
    // A fraction from 0 to 1; what lies outside (infinities too) counts as the nearer end,
    // and NaN is no report at all (see LProgressFraction).
    virtual void SetProgress(double /*fraction*/) {}
    virtual void SetProgressIndeterminateOn() {}
    virtual void SetProgressIndeterminateOff() {}

    static constexpr int kErrorBufferBytes = 8192;
    // printf-style SetError; longer texts are cut.
    void SetErrorF(const char* format, ...) __attribute__((format(printf, 2, 3)));
};

// A progress report as every runner takes it: clamped to [0, 1]; nothing for NaN, which a
// task gets from 0/0 (an empty file, say) and which must leave the shown progress alone.
std::optional<double> LProgressFraction(double fraction);

// Runs a task with nobody watching: never stops, loses messages.
class LProcessInterfaceVoid : public LProcessInterface {
public:
    bool IsToStop() override { return false; }
    bool ProcessWait(unsigned int ms) override;
    LProcessResult ProcessWaitSignal(LSignalObjectRef s, unsigned int ms) override;
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int ms) override;
};

// Passes stop requests, waits and errors through to an outer task's interface.
class LProcessInterfaceNested : public LProcessInterface {
public:
    explicit LProcessInterfaceNested(LProcessInterface& outer) : _outer(outer) {}

    bool IsToStop() override { return _outer.IsToStop(); }
    bool ProcessWait(unsigned int ms) override { return _outer.ProcessWait(ms); }
    LProcessResult ProcessWaitSignal(LSignalObjectRef s, unsigned int ms) override
    {
        return _outer.ProcessWaitSignal(s, ms);
    }
    LProcessResult ProcessWaitSignalObjectGroup(LSignalObjectGroup& group,
                                                unsigned int ms) override
    {
        return _outer.ProcessWaitSignalObjectGroup(group, ms);
    }
    void SetError(const char* message) override { _outer.SetError(message); }

protected:
    LProcessInterface& _outer;
};

// A sub-task that fills the stretch [offset, offset + scale] of the outer task's progress.
// Its status and indeterminate mode stay its own, so it can't overwrite the outer task's text.
class LProcessInterfaceSubProcess : public LProcessInterfaceNested {
public:
    LProcessInterfaceSubProcess(LProcessInterface& outer, double offset, double scale)
        : LProcessInterfaceNested(outer), _offset(offset), _scale(scale)
    {
    }

    // The sub-task's own range is kept, so it can't move the outer bar out of its stretch.
    void SetProgress(double fraction) override;

private:
    double _offset;
    double _scale;
};
