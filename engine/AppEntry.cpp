#include "engine/AppEntry.h"

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <sys/resource.h>

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

int gargc = 0;
char** gargv = nullptr;
pthread_t idThreadMain{};
pthread_t gdwMainThreadId = pthread_self();

bool gbOptCPUSupportRun = false;
bool gbOptCPUSupportMMX = false;
bool gbOptCPUSupportSSE = false;
bool gbOptCPUSupportSSE2 = false;
bool gbOptCPUSupportSSE3 = false;

namespace {

constexpr rlim_t kOpenFilesWanted = 1024;
constexpr size_t kLocaleChars = 64;
char gszLocale[kLocaleChars] = "";

}  // namespace

void FreeArguments()
{
    if (!gargv)
        return;
    for (int i = 0; gargv[i]; ++i)
        std::free(gargv[i]);
    delete[] gargv;
    gargv = nullptr;
    gargc = 0;
}

void CopyArguments(int argc, char** argv)
{
    FreeArguments();
    gargv = new char*[argc + 1];
    int kept = 0;
    for (int i = 0; i < argc; ++i) {
        if (i == 1 && std::strncmp(argv[i], "-psn", 4) == 0)
            continue;
        gargv[kept++] = strdup(argv[i]);
    }
    gargv[kept] = nullptr;
    gargc = kept;
}

void ProbeCPUFeatures()
{
#if defined(__x86_64__) || defined(__i386__)
    unsigned int eax = 0, ebx = 0, ecx = 0, edx = 0;
    if (__get_cpuid(1, &eax, &ebx, &ecx, &edx)) {
        gbOptCPUSupportMMX = (edx >> 23) & 1;
        gbOptCPUSupportSSE = (edx >> 25) & 1;
        gbOptCPUSupportSSE2 = (edx >> 26) & 1;
        gbOptCPUSupportSSE3 = ecx & 1;
    }
#endif
    gbOptCPUSupportRun = true;
}

void LSetMaximumNumberOfOpenFiles()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    rlim_t wanted = kOpenFilesWanted;
    if (limit.rlim_max != RLIM_INFINITY && wanted > limit.rlim_max)
        wanted = limit.rlim_max;
    if (limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur >= wanted)
        return;
    limit.rlim_cur = wanted;
    setrlimit(RLIMIT_NOFILE, &limit);
}

void LInitLocale()
{
    std::setlocale(LC_ALL, "");
    const char* now = std::setlocale(LC_ALL, nullptr);
    std::strncpy(gszLocale, now ? now : "", kLocaleChars - 1);
    gszLocale[kLocaleChars - 1] = 0;
    // Numbers written to and read from files (library, settings, playlists) keep their point
    // whatever the user's language.
    std::setlocale(LC_NUMERIC, "C");
}

const char* LGetLocale()
{
    return gszLocale;
}
