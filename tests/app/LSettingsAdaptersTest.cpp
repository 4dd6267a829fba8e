// The program's settings at start: what orvane-tool stores reaches the decks and the cache, and
// what a deck writes back reaches the store.
#include "app/LSettingsAdapters.h"

#include "engine/DJDeck.h"
#include "engine/DJSettingsAccess.h"
#include "files/FileConversion.h"
#include "files/LFilesSettings.h"
#include "support/TestHome.h"
#include "tools/ToolRun.h"

#include <gtest/gtest.h>

namespace {

// The adapters stay for the process's life in the program; a test gives the defaults back.
struct ProgramSettings {
    ProgramSettings() { LInstallProgramSettings(); }
    ~ProgramSettings()
    {
        DJSetSettingsAccess(nullptr);
        LSetFilesSettings(nullptr);
    }
};

TEST(ProgramSettings, WhatTheToolStoresReachesDecksAndCacheAndDecksWriteBack)
{
    TestHome home;
    const std::string cache = home / "my cache";
    ASSERT_EQ(RunTool(home, "settings set Settings CueSnap1 1").exitCode, 0);
    ASSERT_EQ(RunTool(home, "settings set Settings CachePath '" + cache + "'").exitCode, 0);
    {
        // Without the adapters every read is its default.
        DJDeck deck(kDeckRight);
        EXPECT_FALSE(deck.IsCueSnap());
    }
    EXPECT_EQ(RunTool(home, "settings get Settings CueSnap1").out, "1\n");  // nothing written back

    ProgramSettings program;
    char folder[LFile::kPathBytes];
    ASSERT_TRUE(FileConversion::GetCacheFolder(folder));
    EXPECT_EQ(std::string(folder), cache);
    {
        DJDeck right(kDeckRight), left(kDeckLeft);
        EXPECT_TRUE(right.IsCueSnap());
        EXPECT_FALSE(left.IsCueSnap());
        right.SetCueSnap(false);
        left.SetCueSnap(true);
    }
    EXPECT_EQ(RunTool(home, "settings get Settings CueSnap1").out, "0\n");
    EXPECT_EQ(RunTool(home, "settings get Settings CueSnap0").out, "1\n");
}

}  // namespace
