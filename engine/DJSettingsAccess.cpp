#include "engine/DJSettingsAccess.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace {

constexpr char kSection[] = "Settings";
DJSettingsAccess* gAccess = nullptr;

}  // namespace

DJSettingsAccess* DJSetSettingsAccess(DJSettingsAccess* access)
{
    DJSettingsAccess* former = gAccess;
    gAccess = access;
    return former;
}

std::string DJSettingString(const char* key, const char* def)
{
    return gAccess ? gAccess->GetString(kSection, key, def) : std::string(def);
}

int DJSettingInt(const char* key, int def)
{
    const std::string text = DJSettingString(key);
    if (text.empty())
        return def;
    errno = 0;
    char* end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str() || errno == ERANGE || value < INT_MIN || value > INT_MAX)
        return def;
    return static_cast<int>(value);
}

bool DJSettingBool(const char* key, bool def)
{
    const std::string text = DJSettingString(key);
    return text.empty() ? def : text[0] != '0';
}

void DJSettingSet(const char* key, const char* value)
{
    if (gAccess)
        gAccess->SetString(kSection, key, value);
}
