// The path text helpers on arbitrary bytes. The input is split at its first zero byte into a
// folder and a file (each possibly far longer than a path buffer); every helper must stay inside
// its 260-byte buffer, keep the result zero-ended and never touch the disk.
#include "base/LFile.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Checks the contract of every path result: terminated within the buffer.
void _Check(const char* dest)
{
    if (strnlen(dest, LFile::kPathBytes) >= LFile::kPathBytes)
        abort();
}

void _RunOne(const char* path)
{
    using Helper = bool (*)(char*, const char*);
    constexpr Helper kHelpers[] = {LFile::_GetFolderFromPath, LFile::_GetFileFromPath,
                                   LFile::_GetFileNameFromPath, LFile::_GetFileExtensionFromPath,
                                   LFile::EscapeFilePath, LFile::PreprocessName};
    for (Helper helper : kHelpers) {
        char dest[LFile::kPathBytes];
        helper(dest, path);
        _Check(dest);
        // In place on a cut copy, as callers do with their own buffers.
        char inPlace[LFile::kPathBytes];
        LFile::_MakeFilePath(inPlace, "", path);
        helper(inPlace, inPlace);
        _Check(inPlace);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string bytes(reinterpret_cast<const char*>(data), size);
    size_t split = bytes.find('\0');
    std::string folder = bytes.substr(0, split);
    std::string file = split == std::string::npos ? std::string() : bytes.substr(split + 1);
    file = file.substr(0, file.find('\0'));

    char joined[LFile::kPathBytes];
    LFile::_MakeFilePath(joined, folder.c_str(), file.c_str());
    _Check(joined);
    LFile::_MakeFilePath(joined, joined, file.c_str(), folder.c_str());
    _Check(joined);
    LFile::_ApplyNewFileExtension(joined, file.c_str());
    _Check(joined);

    // The name and the extension of a path put back together give its file part (a file that
    // begins with "." keeps its whole name, so it is left out).
    char name[LFile::kPathBytes], extension[LFile::kPathBytes], whole[LFile::kPathBytes];
    LFile::_GetFileNameFromPath(name, joined);
    LFile::_GetFileExtensionFromPath(extension, joined);
    LFile::_GetFileFromPath(whole, joined);
    if (extension[0] && whole[0] != '.' && std::string(name) + extension != whole)
        abort();

    _RunOne(folder.c_str());
    _RunOne(file.c_str());
    return 0;
}
