#pragma once

#include "engine/DJSettingsAccess.h"

// The engine's view of the user's settings store, installed for the object's life.
class MainSettingsAccess : public DJSettingsAccess {
public:
    MainSettingsAccess() { DJSetSettingsAccess(this); }
    ~MainSettingsAccess() override { DJSetSettingsAccess(nullptr); }
    MainSettingsAccess(const MainSettingsAccess&) = delete;
    MainSettingsAccess& operator=(const MainSettingsAccess&) = delete;

    std::string GetString(const char* section, const char* key, const char* def) override;
    void SetString(const char* section, const char* key, const char* value) override;
};
