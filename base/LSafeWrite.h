#pragma once

#include "base/LFile.h"

#include <cstddef>
#include <string>
#include <sys/types.h>

// Writes a user's file whole or not at all; the one way the program replaces a file it writes
// whole (settings, library, playlists, recordings, converted files, copies).
//
// The content goes to a temporary file beside the target, in the same folder so that the
// rename cannot cross file systems. Commit syncs the temporary, renames it over the target and
// syncs the folder, so after a crash at any point the target is either the old file or the
// new one, whole. Until Commit the target is untouched. A temporary that is not committed is
// removed when a step fails, by Abandon, and by the destructor.
//
// Temporaries are named ".<target's name>.<pid>-<n>.tmp" (hidden, so folder listings of the
// program skip them; a name too long for that is shortened inside the temporary's name only).
// Begin removes the temporaries of the same target whose writer process no longer exists,
// which a killed writer leaves behind; those of live writers are left alone.
//
// The new file gets `mode` (the process runs with umask 0, so that is the mode it has). When
// the target exists already, the new file keeps no more than the target's own permissions, so
// a file the user made private stays private.
//
// Two ways to write the content:
//
//     LSafeWrite out(path);                  // nothing is touched yet
//     if (!out.Begin()) ...fail...           // makes the empty temporary
//     out.Write(data, bytes); ...            // through the object's descriptor
//     if (!out.Commit()) ...fail...          // the target is replaced, or left as it was
//
// or, for a writer that opens a path itself (the WAVE sink): after Begin, let it open and write
// GetTemporaryPath(), close it, then Commit. It must write into the file that is there (open
// with or without truncation), not unlink or replace it.
//
// A link at the target is replaced by the new file, not followed.
// Paths are std::string inside and never cut; the target may be any length the system takes.
// One object serves one write and belongs to one thread. Any number of objects, threads or
// processes may write the same target at once: each has its own temporary, and the last
// Commit wins.
class LSafeWrite {
public:
    explicit LSafeWrite(const char* target, mode_t mode = LFile::kFileMode);
    ~LSafeWrite() { Abandon(); }
    LSafeWrite(const LSafeWrite&) = delete;
    LSafeWrite& operator=(const LSafeWrite&) = delete;

    // Removes stale temporaries of the target, then creates this write's temporary. False if
    // the target has no file name or its folder cannot take a new file.
    bool Begin();
    // The temporary's path after a successful Begin, else "".
    const char* GetTemporaryPath() const { return _temporary.c_str(); }
    // The temporary's descriptor, open for writing, from Begin to Commit; -1 otherwise.
    int GetDescriptor() const { return _fd; }
    // Appends all `bytes`. A failed write fails the Commit that follows.
    bool Write(const void* data, size_t bytes);
    // Syncs the temporary, renames it over the target, syncs the folder. False if any step or
    // any earlier Write failed; then the temporary is gone and the target is as it was.
    bool Commit();
    // Removes the temporary (if any) and leaves the target as it was.
    void Abandon();

private:
    void _RemoveStaleTemporaries() const;
    bool _IsTemporaryOfTarget(const char* name, pid_t& writer) const;
    mode_t _ModeForNewFile() const;

    std::string _target;
    std::string _folder;  // the target's folder, "." for a bare name
    std::string _stem;    // "." + the target's name (shortened if long) + "."
    std::string _temporary;
    mode_t _mode;
    int _fd = -1;
    bool _failed = false;
};

// The whole of `bytes` as the new content of `target`, by LSafeWrite.
bool LSafeWriteFile(const char* target, const void* bytes, size_t count, mode_t mode = LFile::kFileMode);
