#pragma once

#include "app/LXMLElement.h"

#include <string>

// The settings store. Values are strings of at most 259 characters, addressed by section and
// key; the joined key is "section/key" (no second slash when the section ends in one), at most
// 519 characters. Every call reads or writes the file at once, so a value set anywhere is seen
// by the next read, also in other processes. Safe from any thread, and usable from static
// initialisers: there is no state to set up. `dest` buffers are kLTextBytes long.
//
// A write holds an exclusive lock (a ".lock" file beside the settings) while it reads the file
// again, changes its key and replaces the file through LSafeWrite; writers in other processes
// wait for it, at most 10 seconds, and then fail rather than write without the lock. The
// folder and files are private to the user (LFile::kPrivateFolderMode, kPrivateFileMode).

enum class LSettingUser {
    kCurrentUser,  // LFile::GetUserConfigFolderApp + settings.xml
    kAnyUser,      // LFile::GetSharedConfigFolderApp + settings.xml (never created)
};

// The file that holds a user's settings (from the environment as it is now); "" when its folder
// does not fit a path buffer, and then nothing is read or written.
std::string LSettingsPath(LSettingUser user);

// Copies `def` into `dest`, then the stored value if there is one; true if found. `dest` may
// be the same buffer as `def`.
bool _LSettingGetString(LSettingUser user, const char* section, const char* key, const char* def, char* dest);
bool _LUserSettingGetString(const char* section, const char* key, const char* def, char* dest);
// Set and delete write the file through before returning; false if it could not be written or
// the lock could not be had in time: then nothing was changed.
bool _LSettingSetString(LSettingUser user, const char* section, const char* key, const char* value);
bool LUserSettingSetString(const char* section, const char* key, const char* value);
bool LUserSettingSetInt(const char* section, const char* key, int value);
bool _LSettingDeleteItem(LSettingUser user, const char* section, const char* key);
bool LUserSettingDeleteItem(const char* section, const char* key);

// Numbers and booleans as every caller reads them: an empty or missing value gives `def`; a
// number is parsed by strtol base 10; a boolean is false when it begins with "0".
int LUserSettingGetInt(const char* section, const char* key, int def);
bool LUserSettingGetBool(const char* section, const char* key, bool def);

// The machine-wide, read-only "SharedSettings.xml" in the shared data folder: one element per
// section, one child per key, the value in the attribute `value`.
// "" when the shared folder's path does not fit a path buffer; then nothing is read.
std::string LSharedSettingsPath();
void LSharedSettingsLoad(LXMLDocument& document);
bool _LSharedSettingGetString(const char* section, const char* key, const char* def, char* dest);
