// cache FILE: what a deck load does; and the settings and alerts the files layer reads here.
#include "tools/ToolCommands.h"

#include "app/LSettings.h"
#include "files/FileConversion.h"
#include "files/LFilesSettings.h"

#include <cstdio>

namespace tool {

namespace {

class UserSettings : public LFilesSettings {
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

void InstallFilesHooks()
{
    static UserSettings settings;
    LSetFilesSettings(&settings);
    LSetFilesAlert([](OpaqueWindowPtr*, const char* title, const char* text) { PrintError("%s: %s", title, text); });
}

int Cache(const std::string& path)
{
    char cached[LFile::kPathBytes];
    if (!FileConverter::ConvertWithProgressDialog(nullptr, path.c_str(), cached)) {
        if (cached[0])
            PrintError("Can not convert file: %s", path.c_str());
        else
            PrintError("%s: the cached file's path does not fit", path.c_str());
        return kExitFailed;
    }
    std::printf("%s\n", cached);
    return kExitOk;
}

}  // namespace tool
