#include "app/LSettingsAdapters.h"

#include "app/LSettings.h"
#include "engine/DJSettingsAccess.h"
#include "files/LFilesSettings.h"

namespace {

class EngineSettings : public DJSettingsAccess {
public:
    std::string GetString(const char* section, const char* key, const char* def) override
    {
        char value[kLTextBytes];
        _LUserSettingGetString(section, key, def, value);
        return value;
    }
    void SetString(const char* section, const char* key, const char* value) override
    {
        LUserSettingSetString(section, key, value);
    }
};

class FilesSettings : public LFilesSettings {
public:
    bool GetString(const char* section, const char* key, const char* def, char* dest) override
    {
        return _LUserSettingGetString(section, key, def, dest);
    }
    bool SetString(const char* section, const char* key, const char* value) override
    {
        return LUserSettingSetString(section, key, value);
    }
};

}  // namespace

void LInstallFilesSettings()
{
    static FilesSettings settings;
    LSetFilesSettings(&settings);
}

void LInstallProgramSettings()
{
    static EngineSettings settings;
    DJSetSettingsAccess(&settings);
    LInstallFilesSettings();
}
