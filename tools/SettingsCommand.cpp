#include "tools/ToolCommands.h"

#include "app/LSettings.h"

#include <cstdio>

namespace tool {

int SettingsGet(const std::string& section, const std::string& key)
{
    char value[kLTextBytes];
    if (!_LUserSettingGetString(section.c_str(), key.c_str(), "", value)) {
        PrintError("no setting %s/%s", section.c_str(), key.c_str());
        return kExitFailed;
    }
    std::printf("%s\n", value);
    return kExitOk;
}

int SettingsSet(const std::string& section, const std::string& key, const std::string& value)
{
    if (!LUserSettingSetString(section.c_str(), key.c_str(), value.c_str())) {
        const std::string path = LSettingsPath(LSettingUser::kCurrentUser);
        PrintError("cannot write %s", path.empty() ? "the settings: their folder's path is too long" : path.c_str());
        return kExitFailed;
    }
    return SettingsGet(section, key);
}

}  // namespace tool
