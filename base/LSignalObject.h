#pragma once

#include <poll.h>

// Wait times are in milliseconds; this one means no time limit.
inline constexpr unsigned int kWaitForever = 0xFFFFFFFFu;

// A borrowed view of a signal's two pipe descriptors. Owns nothing and must not outlive the
// LSignalObject it was taken from. Copies need no lock.
class LSignalObjectRef {
public:
    LSignalObjectRef() = default;
    LSignalObjectRef(int readFd, int writeFd) : _readFd(readFd), _writeFd(writeFd) {}

    // True if signalled within `ms`. An interrupted wait also answers true: a caller that
    // needs certainty asks IsSignaled again. Any other failure counts as not signalled.
    bool WaitSignal(unsigned int ms) const;
    // True if this or `other` is signalled within `ms`.
    bool WaitSignalDual(LSignalObjectRef other, unsigned int ms) const;
    bool IsSignaled() const { return WaitSignal(0); }

    int GetReadDescriptor() const { return _readFd; }
    int GetWriteDescriptor() const { return _writeFd; }

protected:
    int _readFd = -1;
    int _writeFd = -1;
};

// A manual-reset event on a non-blocking pipe: signalled while the pipe holds a byte, so any
// number of them can be waited on together with one poll.
class LSignalObject : public LSignalObjectRef {
public:
    LSignalObject();  // a failed pipe() leaves both descriptors at -1
    ~LSignalObject();
    LSignalObject(const LSignalObject&) = delete;
    LSignalObject& operator=(const LSignalObject&) = delete;

    // One write of one byte: safe from signal handlers and callbacks that must not block. A
    // full pipe fails the write and stays signalled.
    void Signal() const;
    // Empties the pipe. Only when no other thread relies on the present state.
    void Reset() const;
    LSignalObjectRef Ref() const { return *this; }
};

// A set of read descriptors to wait on together, of any descriptor number. Select clears
// the members that are not readable, so a group is rebuilt for each wait.
class LSignalObjectGroup {
public:
    static constexpr int kMaxMembers = 255;

    LSignalObjectGroup() = default;
    // False when the group is full or the descriptor is not one (negative). A descriptor
    // already in the group counts once.
    bool Add(LSignalObjectRef signal);
    bool AddDescriptor(int fd);
    bool IsMember(LSignalObjectRef signal) const;
    int GetMemberCount() const { return _count; }
    void Clear() { _count = 0; }

    // True if any member is readable within `ms`; on return only readable members remain.
    // A wait interrupted by a signal goes on for the time left, so it ends only by a member
    // or the time limit.
    bool Select(unsigned int ms);

private:
    void _KeepReadable();

    pollfd _members[kMaxMembers];  // the first _count are in use
    int _count = 0;
};
