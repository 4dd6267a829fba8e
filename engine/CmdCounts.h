#pragma once

#include <cstdint>

// How often each menu or key command has been used, kept across runs in a file shared by all
// users of the machine.

struct LCmdCount {
    uint32_t id;
    uint32_t count;
};

constexpr int kCmdCountsStart = 64;   // entries at start
constexpr int kCmdCountsMost = 256;   // entries at most

struct LCmdCountTable {
    LCmdCount entries[kCmdCountsMost];
    int size;  // entries in use: 64 at start, at most 256
};

extern LCmdCountTable CmdCounts;

// "/var/tmp/OrvaneCounts.txt"
const char* CmdCountsDefaultPath();

// Back to 64 zeroed entries.
void CmdCountsReset();

// Reads the table under a shared lock (bounded wait of a second): a 32-bit entry count in
// native byte order, then that many 8-byte entries, at most 256. A count above 64 first
// replaces the table with a zeroed one of that size. A file that cannot be opened or locked
// leaves the table unchanged. Returns true when the file was read.
bool CmdCountsRead(const char* path = CmdCountsDefaultPath());

// Writes the whole table under an exclusive lock, mode 0666. Failures are ignored by callers;
// returns false on one.
bool CmdCountsWrite(const char* path = CmdCountsDefaultPath());

// Counts one use of a command: its entry, else the first free one (id 0), else a new entry
// while the table has room.
void CmdCountsIncrement(uint32_t id);
