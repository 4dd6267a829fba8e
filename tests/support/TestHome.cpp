#include "support/TestHome.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

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

TestHome::TestHome() : _path(_MakeTempFolder())
{
    for (const char* name : kVariables) {
        const char* old = std::getenv(name);
        _saved[name] = old ? old : kUnset;
    }
    setenv("HOME", _path.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (_path + "/.config").c_str(), 1);
    setenv("XDG_DATA_HOME", (_path + "/.local/share").c_str(), 1);
    setenv("XDG_CACHE_HOME", (_path + "/.cache").c_str(), 1);
    setenv("XDG_DATA_DIRS", (_path + "/shared").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", (_path + "/run").c_str(), 1);
    std::filesystem::create_directories(_path + "/run");
}

TestHome::~TestHome()
{
    for (const auto& [name, value] : _saved) {
        if (value == kUnset)
            unsetenv(name.c_str());
        else
            setenv(name.c_str(), value.c_str(), 1);
    }
    std::error_code ignored;
    std::filesystem::remove_all(_path, ignored);
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
