#pragma once

#include <chrono>
#include <map>
#include <string>

// A fresh empty temporary folder, removed with the object.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::string& Path() const { return _path; }
    // Path of a file or folder below the temporary folder.
    std::string operator/(const std::string& name) const { return _path + "/" + name; }

private:
    std::string _path;
};

// A throw-away home folder for one test: HOME and the XDG variables point into a fresh
// temporary folder for the object's life, and get their earlier values back afterwards.
class TestHome : public TempFolder {
public:
    TestHome();
    ~TestHome();

private:
    std::map<std::string, std::string> _saved;  // variable -> earlier value ("\x01" = unset)
};

// Milliseconds since `start`, for waits that must end promptly.
inline long MsSince(std::chrono::steady_clock::time_point start)
{
    using namespace std::chrono;
    return static_cast<long>(duration_cast<milliseconds>(steady_clock::now() - start).count());
}

// Whole-file helpers for fixtures.
std::string ReadWholeFile(const std::string& path);
void WriteWholeFile(const std::string& path, const std::string& bytes);
