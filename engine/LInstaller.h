#pragma once

// The finishing step of an installation: "orvane -installer -username NAME" copies the files of
// the program's install folder into that user's data folder. No raised rights are taken: what
// the current user cannot write is reported on stderr and left alone.

// Returns true (what could not be copied is reported, not fatal).
bool InstallerMain();

namespace LInstaller {

// Copies every file and folder below `from` into `to` (created if missing, LFile::kFolderMode),
// then lets group and others read everything there and enter its folders, and takes their
// write access away. Returns the number of entries that failed.
int Finalize(const char* from, const char* to);

}  // namespace LInstaller
