#include "mainwindow/MainSettingsAccess.h"

#include "app/LSettings.h"

std::string MainSettingsAccess::GetString(const char* section, const char* key, const char* def)
{
    char value[kLTextBytes];
    _LUserSettingGetString(section, key, def ? def : "", value);
    return value;
}

void MainSettingsAccess::SetString(const char* section, const char* key, const char* value)
{
    LUserSettingSetString(section, key, value);
}
