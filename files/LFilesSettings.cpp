#include "files/LFilesSettings.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace {

std::atomic<LFilesSettings*> gStore{nullptr};
constexpr int kValueBytes = 260;

}  // namespace

void LSetFilesSettings(LFilesSettings* store)
{
    gStore.store(store);
}

void LFilesSettingGetString(const char* section, const char* key, const char* def, char* dest)
{
    LFilesSettings* store = gStore.load();
    if (!store || !store->GetString(section, key, def, dest))
        std::snprintf(dest, kValueBytes, "%s", def);
}

bool LFilesSettingSetString(const char* section, const char* key, const char* value)
{
    LFilesSettings* store = gStore.load();
    return store && store->SetString(section, key, value);
}

int LFilesSettingGetInt(const char* section, const char* key, int def)
{
    char text[kValueBytes];
    LFilesSettingGetString(section, key, "", text);
    char* end = nullptr;
    errno = 0;
    const long value = std::strtol(text, &end, 10);
    if (end == text || errno == ERANGE || value < INT_MIN || value > INT_MAX)
        return def;
    return int(value);
}

bool LFilesSettingGetBool(const char* section, const char* key, bool def)
{
    char text[kValueBytes];
    LFilesSettingGetString(section, key, "", text);
    return text[0] ? text[0] != '0' : def;
}

namespace {
std::atomic<LFilesAlertFunction> gAlert{nullptr};
}  // namespace

void LSetFilesAlert(LFilesAlertFunction alert)
{
    gAlert.store(alert);
}

void LFilesAlert(OpaqueWindowPtr* owner, const char* title, const char* text)
{
    if (LFilesAlertFunction alert = gAlert.load())
        alert(owner, title, text);
    else
        std::fprintf(stderr, "%s: %s\n", title, text);
}
