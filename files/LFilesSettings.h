#pragma once

// The settings store as the files layer reads it. The store lives in a higher layer; the
// program installs it at start, and without one every read gives its default.
class LFilesSettings {
public:
    virtual ~LFilesSettings() = default;
    // Fills `dest` (260 bytes) with the value or `def`; false when the default was used.
    virtual bool GetString(const char* section, const char* key, const char* def, char* dest) = 0;
    virtual bool SetString(const char* section, const char* key, const char* value) = 0;
};

// Installs the store for the program's life (null: none).
void LSetFilesSettings(LFilesSettings* store);

void LFilesSettingGetString(const char* section, const char* key, const char* def, char* dest);
bool LFilesSettingSetString(const char* section, const char* key, const char* value);
// A number stored as text; empty or not a number gives `def`.
int LFilesSettingGetInt(const char* section, const char* key, int def);
// A flag stored as text: empty gives `def`, a first character "0" false, anything else true.
bool LFilesSettingGetBool(const char* section, const char* key, bool def);

struct OpaqueWindowPtr;

// An alert the files layer raises (the cache is full); the window layer installs how it is
// shown over `owner`. Without one it is a line on standard error.
using LFilesAlertFunction = void (*)(OpaqueWindowPtr* owner, const char* title, const char* text);
void LSetFilesAlert(LFilesAlertFunction alert);
void LFilesAlert(OpaqueWindowPtr* owner, const char* title, const char* text);
