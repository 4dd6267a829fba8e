#include "app/LHashTable.h"

#include <cstdlib>
#include <cstring>

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

LHashNode* LHashTable::_Find(const char* key)
{
    for (LHashNode& node : _nodes)
        if (std::strcmp(node.GetKey(), key) == 0)
            return &node;
    return nullptr;
}

const LHashNode* LHashTable::_Find(const char* key) const
{
    return const_cast<LHashTable*>(this)->_Find(key);
}

const char* LHashTable::GetParm(const char* key, const char* def) const
{
    const LHashNode* node = _Find(key);
    return node ? node->GetData() : def;
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

void LHashTable::SetString(const char* key, const char* value)
{
    if (LHashNode* node = _Find(key))
        node->SetData(value);
    else
        _nodes.emplace(_nodes.begin(), key, value);
}

void LHashTable::SetParmBottom(const char* key, const char* value)
{
    if (LHashNode* node = _Find(key))
        node->SetData(value);
    else
        _nodes.emplace_back(key, value);
}

void LHashTable::SetInt(const char* key, int value)
{
    SetString(key, std::to_string(value).c_str());
}

bool LHashTable::Remove(const char* key)
{
    LHashNode* node = _Find(key);
    if (!node)
        return false;
    _nodes.erase(_nodes.begin() + (node - _nodes.data()));
    return true;
}
