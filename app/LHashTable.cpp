#include "app/LHashTable.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <utility>

namespace {

constexpr size_t kIndexFromNodes = 16;  // tables this large are searched by index (a track has 10 fields)
constexpr size_t kCompactFromBytes = 4096;  // unused text below this is never worth a copy

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

LHashTable::LHashTable(const LHashTable& other)
    : _text(other._text), _front(other._front), _back(other._back), _unusedBytes(other._unusedBytes)
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

LHashTable::LHashTable(LHashTable&& other)
{
    *this = std::move(other);
}

LHashTable& LHashTable::operator=(LHashTable&& other)
{
    if (this == &other)
        return *this;
    const char* before = other._text.data();
    _text = std::move(other._text);
    _front = std::move(other._front);
    _back = std::move(other._back);
    _unusedBytes = std::exchange(other._unusedBytes, 0);
    _index = std::move(other._index);
    other.Clear();
    if (_index && _text.data() != before)
        _BuildIndex();  // a short text lives inside the string and moved with it
    return *this;
}

void LHashTable::Clear()
{
    _index.reset();
    _text.clear();
    _front.clear();
    _back.clear();
    _unusedBytes = 0;
}

void LHashTable::Reserve(size_t count, size_t textBytes)
{
    _back.reserve(_back.size() + count);
    if (!_index)  // an index views the text, which must then move only when it grows by itself
        _text.reserve(_text.size() + textBytes);
}

void LHashTable::_BuildIndex()
{
    if (!_index)
        _index = std::make_unique<_Index>();
    _index->clear();
    _index->reserve(Count() * 2);
    for (size_t i = 0; i < _back.size(); ++i)
        _index->emplace(_Node(_back[i]).GetKeyView(), static_cast<_Slot>(i));
    for (size_t i = 0; i < _front.size(); ++i)
        _index->emplace(_Node(_front[i]).GetKeyView(), -static_cast<_Slot>(i) - 1);
}

LHashTable::_Slot LHashTable::_Find(const char* key)
{
    if (_index) {
        auto found = _index->find(key);
        return found == _index->end() ? kNoSlot : found->second;
    }
    const std::string_view wanted(key);
    for (size_t i = 0; i < _back.size(); ++i)
        if (_Node(_back[i]).GetKeyView() == wanted)
            return static_cast<_Slot>(i);
    for (size_t i = 0; i < _front.size(); ++i)
        if (_Node(_front[i]).GetKeyView() == wanted)
            return -static_cast<_Slot>(i) - 1;
    return kNoSlot;
}

LHashTable::_Entry LHashTable::_AppendText(std::string_view key, const char* value)
{
    // A key or value taken from this table's own text would move under the append.
    const std::less<const char*> less;
    auto inside = [&](const char* p) { return !less(p, _text.data()) && less(p, _text.data() + _text.size() + 1); };
    if (inside(key.data()) || inside(value)) {
        const std::string keyCopy(key), valueCopy(value);
        return _AppendText(keyCopy, valueCopy.c_str());
    }
    const _Entry entry{_text.size(), key.size()};
    const char* before = _text.data();
    _text.append(key).push_back(0);
    _text.append(value).push_back(0);
    if (_index && _text.data() != before)
        _BuildIndex();  // the index's key views moved with the text
    return entry;
}

void LHashTable::_Insert(bool atFront, const char* key, const char* value)
{
    const _Entry entry = _AppendText(key, value);
    std::vector<_Entry>& entries = atFront ? _front : _back;
    entries.push_back(entry);
    if (_index) {
        const _Slot slot = static_cast<_Slot>(entries.size() - 1);
        _index->emplace(_Node(entry).GetKeyView(), atFront ? -slot - 1 : slot);
    } else if (Count() >= kIndexFromNodes) {
        _BuildIndex();
    }
}

void LHashTable::_Replace(_Slot slot, const char* value)
{
    _Entry& entry = _EntryAt(slot);
    char* old = _text.data() + entry.offset + entry.keyBytes + 1;
    const size_t oldBytes = std::strlen(old), newBytes = std::strlen(value);
    if (newBytes <= oldBytes) {
        std::memmove(old, value, newBytes);
        old[newBytes] = 0;
        _unusedBytes += oldBytes - newBytes;
        return;
    }
    // Longer: the pair goes to the end of the text, and the old one is left unused. A copy of
    // the key is taken first, as the append may move the text.
    const std::string key(_text.data() + entry.offset, entry.keyBytes);
    if (_index)
        _index->erase(key);
    _unusedBytes += entry.keyBytes + oldBytes + 2;
    const _Entry moved = _AppendText(key, value);
    _EntryAt(slot) = moved;
    if (_index)
        (*_index)[_Node(moved).GetKeyView()] = slot;
    _CompactIfWasteful();
}

void LHashTable::_CompactIfWasteful()
{
    if (_unusedBytes < kCompactFromBytes || _unusedBytes < _text.size() / 2)
        return;
    std::string text;
    text.reserve(_text.size() - _unusedBytes);
    for (std::vector<_Entry>* entries : {&_front, &_back}) {
        for (_Entry& entry : *entries) {
            const LHashNode node = _Node(entry);
            const size_t offset = text.size();
            text.append(node.GetKeyView()).push_back(0);
            text.append(node.GetData()).push_back(0);
            entry.offset = offset;
        }
    }
    _text = std::move(text);
    _unusedBytes = 0;
    if (_index)
        _BuildIndex();
}

const char* LHashTable::GetParm(const char* key, const char* def) const
{
    LHashTable& self = const_cast<LHashTable&>(*this);  // the search changes nothing
    const _Slot slot = self._Find(key);
    return slot != kNoSlot ? _Node(self._EntryAt(slot)).GetData() : def;
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
    if (slot == kNoSlot)
        _Insert(newAtFront, key, value);
    else
        _Replace(slot, value);
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
    const LHashNode node = _Node(_EntryAt(slot));
    _unusedBytes += node.GetKeyView().size() + std::strlen(node.GetData()) + 2;
    if (slot >= 0)
        _back.erase(_back.begin() + slot);
    else
        _front.erase(_front.begin() + (-slot - 1));
    if (_index)
        _BuildIndex();  // the slots behind it moved
    _CompactIfWasteful();
    return true;
}
