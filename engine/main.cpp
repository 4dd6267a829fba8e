// The process's entry: the static start-up in its fixed order, then main's preparation.
#include "OrvaneVersion.h"
#include "app/LSettingsAdapters.h"
#include "base/LDebugThreads.h"
#include "base/LFile.h"
#include "engine/AppEntry.h"
#include "engine/CmdCounts.h"
#include "engine/LDebug.h"
#include "engine/LInstaller.h"
#include "mainwindow/MainDialog.h"
#include "ui/LGuiApplication.h"

#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <vector>

namespace {

// Crash reports go to "Logs" in the user data folder, made now so a crash needs no mkdir chain.
void _SetLogFolder()
{
    char logs[LFile::kPathBytes];
    LFile::GetUserDataFolderAppSubFolder(LFile::kLogsFolder, logs);
    LDebugSetLogFolder(logs);
}

// Global services that exist before main, built in this order by one object so the order is
// fixed rather than left to the linker.
struct StaticStartup {
    StaticStartup()
    {
        gdwMainThreadId = pthread_self();
        LDebugInstallSignalHandlers();
        _SetLogFolder();
        ProbeCPUFeatures();
        CmdCountsReset();
    }
} gStartup;

void _PrintVersion()
{
    std::printf("%s %s\n", ORVANE_PRODUCT, ORVANE_VERSION);
}

void _PrintHelp()
{
    _PrintVersion();
    std::printf(
        "Usage: orvane [--help | --version]\n"
        "       orvane -installer -username NAME\n"
        "\n"
        "Without arguments the two-deck window opens. The command-line companion,\n"
        "orvane-tool, works without a display: see orvane-tool --help.\n");
}

// Without arguments the program is the windowed application. The window system is checked
// first, so a missing display is a plain message and exit code 1 rather than Qt's abort.
int _RunWindowed(int argc, char** argv)
{
    const char* why = nullptr;
    if (!LGuiApplication::CanStart(&why)) {
        std::fprintf(stderr, "%s\n", why);
        return 1;
    }
    // Qt may take its own options out of the list; it gets a list of its own to edit.
    std::vector<char*> qtArguments(argv, argv + argc + 1);
    LGuiApplication application(argc, qtArguments.data());
    MainDialog mainDialog;
    return mainDialog.RunMainWindow();
}

}  // namespace

int main(int argc, char** argv)
{
    // Files the program creates take their mode as given; every creator gives one that others
    // cannot write (LFile::kFolderMode and its kin).
    umask(0);
    CopyArguments(argc, argv);
    idThreadMain = pthread_self();
    LDebugThreadDataStartThread("MAIN");
    LInitLocale();
    LSetMaximumNumberOfOpenFiles();
    // Decks, the console and the cache read the user's settings from here on.
    LInstallProgramSettings();

    int result = 0;
    if (gargc > 1 && std::strcmp(gargv[1], "-installer") == 0) {
        result = InstallerMain() ? 0 : 1;
    } else if (gargc > 1 && std::strcmp(gargv[1], "--version") == 0) {
        _PrintVersion();
    } else if (gargc > 1 && std::strcmp(gargv[1], "--help") == 0) {
        _PrintHelp();
    } else if (gargc > 1) {
        std::fprintf(stderr, "orvane: unknown argument %s (see orvane --help)\n", gargv[1]);
        result = 2;
    } else {
        result = _RunWindowed(gargc, gargv);
    }
    FreeArguments();
    return result;
}
