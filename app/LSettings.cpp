#include "app/LSettings.h"

#include "app/LLoadText.h"
#include "base/LFile.h"
#include "base/LFileRef.h"
#include "base/flocktimed.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr const char* kRootName = "OrvaneSettings";
constexpr const char* kItemName = "setting";
constexpr size_t kJoinedKeyMax = 259;        // characters; a key is stored as an attribute
constexpr unsigned int kWriteLockWaitMs = 2000;

// Serialises this process's writers; the lock file does the same between processes. A
// constant-initialised mutex needs no constructor to run, so calls before main are safe.
constinit std::mutex gSettingsMutex;

std::string _Environment(const char* name)
{
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::string _HomeFolder()
{
    std::string home = _Environment("HOME");
    if (!home.empty())
        return home;
    passwd entry;
    passwd* found = nullptr;
    char buffer[4096];
    if (getpwuid_r(getuid(), &entry, buffer, sizeof(buffer), &found) == 0 && found)
        return found->pw_dir;
    return "/tmp";
}

// An XDG folder variable: only an absolute path counts, else `fallback`.
std::string _XdgFolder(const char* variable, const std::string& fallback)
{
    std::string value = _Environment(variable);
    return !value.empty() && value[0] == '/' ? value : fallback;
}

// First entry of an XDG search list, or `fallback`.
std::string _XdgFirstOfList(const char* variable, const char* fallback)
{
    std::string list = _Environment(variable);
    std::string first = list.substr(0, list.find(':'));
    return !first.empty() && first[0] == '/' ? first : fallback;
}

std::string _FolderOf(const std::string& path)
{
    return path.substr(0, path.rfind('/'));
}

void _CreateFolders(const std::string& folder)
{
    for (size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
        mkdir(folder.substr(0, slash).c_str(), 0777);
        if (slash == std::string::npos)
            return;
    }
}

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

bool _IsBlankText(const std::string& text)
{
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

// Writes `bytes` to `path` through a temporary file in the same folder, synced before the
// rename, so the file is always either the old or the new whole.
bool _ReplaceFile(const std::string& path, const std::string& bytes)
{
    std::string temporary = path + ".XXXXXX";
    int fd = mkstemp(temporary.data());
    if (fd < 0)
        return false;
    bool ok = LWriteFully(fd, bytes.data(), bytes.size()) == bytes.size() && fsync(fd) == 0;
    ok = close(fd) == 0 && ok;
    if (ok && rename(temporary.c_str(), path.c_str()) == 0) {
        LReadFileRef folder(_FolderOf(path).c_str());
        if (folder.IsOpen())
            fsync(folder.GetDescriptor());
        return true;
    }
    unlink(temporary.c_str());
    return false;
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
        if (key == item->Attributes().GetParm("key", ""))
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
        item->Attributes().SetParmBottom("key", key.c_str());
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
    if (_corrupt && !_ReplaceFile(_path + ".bad", _text))
        return false;
    // Only the settings themselves are written back: whatever else a damaged or hand-edited
    // file held is in the .bad copy or was never ours.
    LXMLElement clean(kRootName);
    NamedElementIterator item(*_root, kItemName);
    while (item.Next()) {
        const char* key = item->Attributes().GetParm("key", nullptr);
        const char* value = item->Attributes().GetParm("value", nullptr);
        if (!key || !value)
            continue;
        LXMLElement& copy = clean.AddElement(kItemName);
        copy.Attributes().SetParmBottom("key", key);
        copy.Attributes().SetParmBottom("value", value);
    }
    std::string out;
    clean.SaveToBuffer(out, 0);
    return _ReplaceFile(_path, out);
}

// Holds the cross-process write lock for one read-modify-write of the file.
class _WriteLock {
public:
    explicit _WriteLock(const std::string& path)
    {
        _CreateFolders(_FolderOf(path));
        _fd = open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
        // After the wait, write anyway: a stuck process must not cost the user a setting.
        if (_fd >= 0)
            flocktimed(_fd, LOCK_EX, kWriteLockWaitMs);
    }
    ~_WriteLock()
    {
        if (_fd >= 0)
            close(_fd);
    }
    _WriteLock(const _WriteLock&) = delete;
    _WriteLock& operator=(const _WriteLock&) = delete;

private:
    int _fd = -1;
};

}  // namespace

std::string LSettingsPath(LSettingUser user)
{
    std::string folder = user == LSettingUser::kCurrentUser
                             ? _XdgFolder("XDG_CONFIG_HOME", _HomeFolder() + "/.config")
                             : _XdgFirstOfList("XDG_CONFIG_DIRS", "/etc/xdg");
    return folder + "/Orvane/settings.xml";
}

bool _LSettingGetString(LSettingUser user, const char* section, const char* key, const char* def, char* dest)
{
    LCopyText(dest, def);
    std::lock_guard<std::mutex> guard(gSettingsMutex);
    _SettingsFile file(LSettingsPath(user));
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
    std::lock_guard<std::mutex> guard(gSettingsMutex);
    std::string path = LSettingsPath(user);
    _WriteLock lock(path);
    _SettingsFile file(path);
    file.Set(_JoinKey(section, key), value);
    return file.Save();
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
    std::lock_guard<std::mutex> guard(gSettingsMutex);
    std::string path = LSettingsPath(user);
    _WriteLock lock(path);
    _SettingsFile file(path);
    return !file.Remove(_JoinKey(section, key)) || file.Save();
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
    LFile::GetSharedDataFolderApp(folder);
    return std::string(folder) + "/SharedSettings.xml";
}

void LSharedSettingsLoad(LXMLDocument& document)
{
    document.ClearChildren();
    std::string text;
    if (LLoadText(LSharedSettingsPath().c_str(), text))
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
