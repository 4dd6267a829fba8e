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

LHashNode::LHashNode(const char* key, const char* value) : _keyBytes(static_cast<uint32_t>(std::strlen(key)))
{
    const size_t valueBytes = std::strlen(value);
    _text.reserve(_keyBytes + 1 + valueBytes);
    _text.append(key, _keyBytes).push_back(0);
    _text.append(value, valueBytes);
}

void LHashNode::SetData(const char* value)
{
    _text.resize(_keyBytes + 1);
    _text.append(value);
}

LHashTable::LHashTable(const LHashTable& other) : _front(other._front), _back(other._back)
{
    if (other._index)
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
    _index.reset();
    _front.clear();
    _back.clear();
}

void LHashTable::_BuildIndex()
{
    if (!_index)
        _index = std::make_unique<_Index>();
    _index->clear();
    _index->reserve(Count() * 2);
    for (size_t i = 0; i < _back.size(); ++i)
        _index->emplace(_back[i].GetKeyView(), static_cast<_Slot>(i));
    for (size_t i = 0; i < _front.size(); ++i)
        _index->emplace(_front[i].GetKeyView(), -static_cast<_Slot>(i) - 1);
}

LHashTable::_Slot LHashTable::_Find(const char* key)
{
    if (_index) {
        auto found = _index->find(key);
        return found == _index->end() ? kNoSlot : found->second;
    }
    const std::string_view wanted(key);
    for (size_t i = 0; i < _back.size(); ++i)
        if (_back[i].GetKeyView() == wanted)
            return static_cast<_Slot>(i);
    for (size_t i = 0; i < _front.size(); ++i)
        if (_front[i].GetKeyView() == wanted)
            return -static_cast<_Slot>(i) - 1;
    return kNoSlot;
}

void LHashTable::_Insert(bool atFront, const char* key, const char* value)
{
    std::vector<LHashNode>& nodes = atFront ? _front : _back;
    const LHashNode* before = nodes.data();
    nodes.emplace_back(key, value);
    if (_index && nodes.data() == before) {
        const _Slot slot = static_cast<_Slot>(nodes.size() - 1);
        _index->emplace(nodes.back().GetKeyView(), atFront ? -slot - 1 : slot);
    } else if (_index || Count() >= kIndexFromNodes) {
        _BuildIndex();  // new table, or the nodes moved and the index's keys with them
    }
}

const char* LHashTable::GetParm(const char* key, const char* def) const
{
    const _Slot slot = const_cast<LHashTable*>(this)->_Find(key);
    return slot != kNoSlot ? const_cast<LHashTable*>(this)->_Node(slot).GetData() : def;
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
    const _Slot slot = _Find(key);
    if (slot == kNoSlot) {
        _Insert(newAtFront, key, value);
        return;
    }
    LHashNode& node = _Node(slot);
    if (!_index) {
        node.SetData(value);
        return;
    }
    // A longer value may move the node's text, and the index's key views it.
    _index->erase(node.GetKeyView());
    node.SetData(value);
    _index->emplace(node.GetKeyView(), slot);
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
    const _Slot slot = _Find(key);
    if (slot == kNoSlot)
        return false;
    if (slot >= 0)
        _back.erase(_back.begin() + slot);
    else
        _front.erase(_front.begin() + (-slot - 1));
    if (_index)
        _BuildIndex();  // the slots behind it moved
    return true;
}
