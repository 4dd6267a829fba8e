#include "app/LSettings.h"

#include "app/LLoadText.h"
#include "base/LFile.h"
#include "base/LFileRef.h"
#include "base/LSafeWrite.h"
#include "base/flocktimed.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kRootName = "OrvaneSettings";
constexpr const char* kItemName = "setting";
constexpr const char* kFileName = "settings.xml";
constexpr const char* kLockSuffix = ".lock";
constexpr const char* kDamagedSuffix = ".bad";
constexpr size_t kJoinedKeyMax = 519;  // characters of "section/key"
// An XML token holds 259 characters, so a longer joined key is kept in pieces of that size:
// attribute "key" holds the first, "key2" and "key3" what follows.
constexpr size_t kKeyPieceChars = kLTextBytes - 1;
constexpr const char* kKeyAttribute = "key";
// How long a writer waits for others' writes before it fails; each holds the lock for one
// read-modify-write of a small file.
constexpr unsigned int kWriteLockWaitMs = 10000;

// Serialises this process's writers; the lock file does the same between processes. A
// constant-initialised mutex needs no constructor to run, so calls before main are safe.
constinit std::mutex gSettingsMutex;

std::string _JoinKey(const char* section, const char* key)
{
    std::string joined = section;
    if (joined.empty() || joined.back() != '/')
        joined += '/';
    joined += key;
    if (joined.size() > kJoinedKeyMax)
        joined.resize(kJoinedKeyMax);
    return joined;
}

std::string _KeyPieceName(size_t piece)
{
    return piece == 0 ? kKeyAttribute : kKeyAttribute + std::to_string(piece + 1);
}

std::string _KeyOf(const LXMLElement& item)
{
    std::string key;
    for (size_t piece = 0; piece * kKeyPieceChars < kJoinedKeyMax; ++piece) {
        const char* text = item.Attributes().GetParm(_KeyPieceName(piece).c_str(), nullptr);
        if (!text)
            break;
        key += text;
    }
    return key;
}

void _SetKey(LXMLElement& item, const std::string& key)
{
    for (size_t at = 0, piece = 0; at == 0 || at < key.size(); at += kKeyPieceChars, ++piece)
        item.Attributes().SetParmBottom(_KeyPieceName(piece).c_str(), key.substr(at, kKeyPieceChars).c_str());
}

bool _IsBlankText(const std::string& text)
{
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

bool _ReplaceFile(const std::string& path, const std::string& bytes)
{
    return LSafeWriteFile(path.c_str(), bytes.data(), bytes.size(), LFile::kPrivateFileMode);
}

// One settings file as read from disk: its tree, and whether it may be replaced.
class _SettingsFile {
public:
    explicit _SettingsFile(std::string path) : _path(std::move(path)) { _Load(); }

    const char* Find(const std::string& key) const;
    void Set(const std::string& key, const char* value);
    bool Remove(const std::string& key);
    bool Save();

private:
    void _Load();
    LXMLElement* _FindItem(const std::string& key) const;

    std::string _path;
    std::string _text;           // the file as read
    LXMLDocument _document;
    LXMLElement* _root = nullptr;
    bool _readable = true;       // false: it exists but cannot be read, so must not be replaced
    bool _corrupt = false;       // it did not parse: keep a copy before replacing it
};

void _SettingsFile::_Load()
{
    if (!LLoadText(_path.c_str(), _text)) {
        _readable = access(_path.c_str(), F_OK) != 0 && errno == ENOENT;
        _text.clear();
    }
    _corrupt = !_document.Parse(_text.c_str());
    _root = _document.GetElement(kRootName);
    if (!_root) {
        _corrupt = _corrupt || !_IsBlankText(_text);
        _root = &_document.AddElement(kRootName);
    }
}

LXMLElement* _SettingsFile::_FindItem(const std::string& key) const
{
    NamedElementIterator item(*_root, kItemName);
    while (item.Next())
        if (key == _KeyOf(*item))
            return &*item;
    return nullptr;
}

const char* _SettingsFile::Find(const std::string& key) const
{
    LXMLElement* item = _FindItem(key);
    return item ? item->Attributes().GetParm("value", nullptr) : nullptr;
}

void _SettingsFile::Set(const std::string& key, const char* value)
{
    char cut[kLTextBytes];
    LCopyText(cut, value);
    LXMLElement* item = _FindItem(key);
    if (!item) {
        item = &_root->AddElement(kItemName);
        _SetKey(*item, key);
    }
    item->Attributes().SetParmBottom("value", cut);
}

bool _SettingsFile::Remove(const std::string& key)
{
    return _root->RemoveChild(_FindItem(key));
}

bool _SettingsFile::Save()
{
    if (!_readable)
        return false;
    if (_corrupt && !_ReplaceFile(_path + kDamagedSuffix, _text))
        return false;
    // Only the settings themselves are written back: whatever else a damaged or hand-edited
    // file held is in the .bad copy or was never ours.
    LXMLElement clean(kRootName);
    NamedElementIterator item(*_root, kItemName);
    while (item.Next()) {
        const char* key = item->Attributes().GetParm(kKeyAttribute, nullptr);
        const char* value = item->Attributes().GetParm("value", nullptr);
        if (!key || !value)
            continue;
        LXMLElement& copy = clean.AddElement(kItemName);
        _SetKey(copy, _KeyOf(*item));
        copy.Attributes().SetParmBottom("value", value);
    }
    std::string out;
    clean.SaveToBuffer(out, 0);
    return _ReplaceFile(_path, out);
}

// The cross-process write lock for one read-modify-write of the file. Nothing is written
// without it: a writer that cannot have it in time fails.
class _WriteLock {
public:
    explicit _WriteLock(const std::string& path)
    {
        _fd = open((path + kLockSuffix).c_str(), O_RDWR | O_CREAT | O_CLOEXEC, LFile::kPrivateFileMode);
        if (_fd >= 0 && flockwithin(_fd, LOCK_EX, kWriteLockWaitMs) != 0) {
            close(_fd);
            _fd = -1;
        }
    }
    ~_WriteLock()
    {
        if (_fd >= 0)
            close(_fd);
    }
    _WriteLock(const _WriteLock&) = delete;
    _WriteLock& operator=(const _WriteLock&) = delete;

    bool IsHeld() const { return _fd >= 0; }

private:
    int _fd = -1;
};

// The settings file of `user`, its folder made first for the current user; "" when the folder
// does not fit a path buffer or cannot be made.
std::string _SettingsPathFor(LSettingUser user, bool create)
{
    char folder[LFile::kPathBytes];
    bool usable = false;
    if (user == LSettingUser::kAnyUser)
        usable = LFile::GetSharedConfigFolderApp(folder);
    else if (create)
        usable = LFile::GetUserConfigFolderApp(folder);
    else
        usable = LFile::GetUserConfigFolder(folder) && LFile::_MakeFilePath(folder, folder, LFile::kAppFolder);
    return usable ? std::string(folder) + "/" + kFileName : std::string();
}

// One read-modify-write under both locks; false if the lock or the write failed.
template <typename Change>
bool _Update(LSettingUser user, Change change)
{
    std::lock_guard<std::mutex> guard(gSettingsMutex);
    std::string path = _SettingsPathFor(user, user == LSettingUser::kCurrentUser);
    if (path.empty())
        return false;
    _WriteLock lock(path);
    if (!lock.IsHeld())
        return false;
    _SettingsFile file(path);  // read again under the lock: others' keys are kept
    return change(file);
}

}  // namespace

std::string LSettingsPath(LSettingUser user)
{
    return _SettingsPathFor(user, false);
}

bool _LSettingGetString(LSettingUser user, const char* section, const char* key, const char* def, char* dest)
{
    LCopyText(dest, def);
    std::lock_guard<std::mutex> guard(gSettingsMutex);
    std::string path = LSettingsPath(user);
    if (path.empty())
        return false;
    _SettingsFile file(path);
    const char* value = file.Find(_JoinKey(section, key));
    if (!value)
        return false;
    LCopyText(dest, value);
    return true;
}

bool _LUserSettingGetString(const char* section, const char* key, const char* def, char* dest)
{
    return _LSettingGetString(LSettingUser::kCurrentUser, section, key, def, dest);
}

bool _LSettingSetString(LSettingUser user, const char* section, const char* key, const char* value)
{
    return _Update(user, [&](_SettingsFile& file) {
        file.Set(_JoinKey(section, key), value);
        return file.Save();
    });
}

bool LUserSettingSetString(const char* section, const char* key, const char* value)
{
    return _LSettingSetString(LSettingUser::kCurrentUser, section, key, value);
}

bool LUserSettingSetInt(const char* section, const char* key, int value)
{
    return LUserSettingSetString(section, key, std::to_string(value).c_str());
}

bool _LSettingDeleteItem(LSettingUser user, const char* section, const char* key)
{
    return _Update(user, [&](_SettingsFile& file) {
        return !file.Remove(_JoinKey(section, key)) || file.Save();
    });
}

bool LUserSettingDeleteItem(const char* section, const char* key)
{
    return _LSettingDeleteItem(LSettingUser::kCurrentUser, section, key);
}

int LUserSettingGetInt(const char* section, const char* key, int def)
{
    char value[kLTextBytes];
    _LUserSettingGetString(section, key, "", value);
    return value[0] ? static_cast<int>(std::strtol(value, nullptr, 10)) : def;
}

bool LUserSettingGetBool(const char* section, const char* key, bool def)
{
    char value[kLTextBytes];
    _LUserSettingGetString(section, key, "", value);
    return value[0] ? value[0] != '0' : def;
}

std::string LSharedSettingsPath()
{
    char folder[LFile::kPathBytes];
    if (!LFile::GetSharedDataFolderApp(folder))
        return {};
    return std::string(folder) + "/SharedSettings.xml";
}

void LSharedSettingsLoad(LXMLDocument& document)
{
    document.ClearChildren();
    std::string text;
    std::string path = LSharedSettingsPath();
    if (!path.empty() && LLoadText(path.c_str(), text))
        document.Parse(text.c_str());
}

bool _LSharedSettingGetString(const char* section, const char* key, const char* def, char* dest)
{
    LCopyText(dest, def);
    LXMLDocument document;
    LSharedSettingsLoad(document);
    const LXMLElement* sectionElement = document.GetElement(section);
    const LXMLElement* keyElement = sectionElement ? sectionElement->GetElement(key) : nullptr;
    const char* value = keyElement ? keyElement->Attributes().GetParm("value", nullptr) : nullptr;
    if (!value)
        return false;
    LCopyText(dest, value);
    return true;
}
