#include "app/LHashTable.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr size_t kIndexFromNodes = 16;  // tables this large are searched by index (a track has 10 fields)

}  // namespace

void LCopyText(char* dest, const char* src)
{
    if (dest == src) {
        dest[kLTextBytes - 1] = 0;
        return;
    }
    size_t length = strnlen(src, kLTextBytes - 1);
    std::memmove(dest, src, length);
    dest[length] = 0;
}

LHashTable::LHashTable(const LHashTable& other) : _nodes(other._nodes)
{
    if (!other._index.empty())
        _BuildIndex();
}

LHashTable& LHashTable::operator=(const LHashTable& other)
{
    if (this != &other) {
        LHashTable copy(other);
        *this = std::move(copy);
    }
    return *this;
}

void LHashTable::Clear()
{
    _index.clear();
    _nodes.clear();
}

void LHashTable::_BuildIndex()
{
    _index.clear();
    _index.reserve(_nodes.size() * 2);
    for (auto node = _nodes.begin(); node != _nodes.end(); ++node)
        _index.emplace(node->GetKeyView(), node);
}

LHashTable::_Position LHashTable::_Find(const char* key)
{
    if (!_index.empty()) {
        auto found = _index.find(key);
        return found == _index.end() ? _nodes.end() : found->second;
    }
    for (auto node = _nodes.begin(); node != _nodes.end(); ++node)
        if (std::strcmp(node->GetKey(), key) == 0)
            return node;
    return _nodes.end();
}

void LHashTable::_Insert(_Position before, const char* key, const char* value)
{
    _Position node = _nodes.emplace(before, key, value);
    if (!_index.empty())
        _index.emplace(node->GetKeyView(), node);
    else if (_nodes.size() >= kIndexFromNodes)
        _BuildIndex();
}

const char* LHashTable::GetParm(const char* key, const char* def) const
{
    auto node = const_cast<LHashTable*>(this)->_Find(key);
    return node != _nodes.end() ? node->GetData() : def;
}

void LHashTable::GetString(const char* key, const char* def, char* dest) const
{
    LCopyText(dest, GetParm(key, def));
}

int LHashTable::GetInt(const char* key, int def) const
{
    const char* value = GetParm(key, "");
    if (value[0] == 0)
        return def;
    return static_cast<int>(std::strtol(value, nullptr, 10));
}

void LHashTable::_Set(const char* key, const char* value, bool newAtFront)
{
    auto node = _Find(key);
    if (node != _nodes.end())
        node->SetData(value);
    else
        _Insert(newAtFront ? _nodes.begin() : _nodes.end(), key, value);
}

void LHashTable::SetString(const char* key, const char* value)
{
    _Set(key, value, true);
}

void LHashTable::SetParmBottom(const char* key, const char* value)
{
    _Set(key, value, false);
}

void LHashTable::SetInt(const char* key, int value)
{
    SetString(key, std::to_string(value).c_str());
}

bool LHashTable::Remove(const char* key)
{
    auto node = _Find(key);
    if (node == _nodes.end())
        return false;
    _index.erase(node->GetKeyView());
    _nodes.erase(node);
    return true;
}
