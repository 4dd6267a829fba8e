#include "support/CommaLocale.h"

#include <cstdlib>
#include <filesystem>

std::string BuildCommaLocale(const std::string& folder)
{
    constexpr const char* kName = "de_DE.UTF-8";
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const std::string command = "localedef -i de_DE -f UTF-8 '" + folder + "/" + kName + "' >/dev/null 2>&1";
    if (std::system(command.c_str()) != 0) {
        return "";
    }
    setenv("LOCPATH", folder.c_str(), 1);
    return kName;
}
