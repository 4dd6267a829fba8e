#pragma once

#include <string>

// The settings store as the engine sees it. The store itself lives above the engine (app/), so
// the program installs an adapter at start; without one every read gives its default and
// writes are dropped, which is also what tests want.
class DJSettingsAccess {
public:
    virtual ~DJSettingsAccess() = default;
    // The stored value, or `def` when the key is missing.
    virtual std::string GetString(const char* section, const char* key, const char* def) = 0;
    virtual void SetString(const char* section, const char* key, const char* value) = 0;
};

// Installs the store for the process (null: none) and answers the one it replaces, so that a
// store installed for a while can put the former one back. Not thread-safe: install before use.
DJSettingsAccess* DJSetSettingsAccess(DJSettingsAccess* access);

// Section "Settings" as the engine reads it: empty means the default.
std::string DJSettingString(const char* key, const char* def = "");
int DJSettingInt(const char* key, int def);
// Non-empty and not starting with '0' is on; empty is `def`.
bool DJSettingBool(const char* key, bool def);
void DJSettingSet(const char* key, const char* value);
