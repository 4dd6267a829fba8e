#include "support/TestHome.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {

constexpr const char* kUnset = "\x01";
constexpr const char* kVariables[] = {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME",
                                      "XDG_DATA_DIRS", "XDG_RUNTIME_DIR"};

std::string _MakeTempFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "orvane-test-XXXXXX").string();
    if (!mkdtemp(pattern.data()))
        throw std::runtime_error("mkdtemp failed");
    return pattern;
}

}  // namespace

TestHome::TestHome()
{
    for (const char* name : kVariables) {
        const char* old = std::getenv(name);
        _saved[name] = old ? old : kUnset;
    }
    setenv("HOME", Path().c_str(), 1);
    for (auto [name, below] : {std::pair{"XDG_CONFIG_HOME", ".config"}, {"XDG_DATA_HOME", ".local/share"},
                               {"XDG_CACHE_HOME", ".cache"}, {"XDG_DATA_DIRS", "shared"}, {"XDG_RUNTIME_DIR", "run"}})
        setenv(name, (*this / below).c_str(), 1);
    std::filesystem::create_directories(*this / "run");
}

TestHome::~TestHome()
{
    for (const auto& [name, value] : _saved) {
        if (value == kUnset)
            unsetenv(name.c_str());
        else
            setenv(name.c_str(), value.c_str(), 1);
    }
}

TempFolder::TempFolder() : _path(_MakeTempFolder()) {}

TempFolder::~TempFolder()
{
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
}

std::string ReadWholeFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void WriteWholeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}
