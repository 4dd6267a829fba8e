#include "OrvaneVersion.h"

#include <cstdio>
#include <cstring>

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("%s %s\n", ORVANE_PRODUCT, ORVANE_VERSION);
        return 0;
    }
    std::printf("%s %s\n", ORVANE_PRODUCT, ORVANE_VERSION);
    return 0;
}
