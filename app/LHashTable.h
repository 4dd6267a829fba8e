#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// Bytes of the fixed text buffers that hold a value read out of a table or a setting: at most
// 259 characters and the terminating zero. Longer text is cut, not refused.
constexpr size_t kLTextBytes = 260;

// Copies `src` into `dest` (kLTextBytes long), cut at 259 characters. `dest` may be `src`.
void LCopyText(char* dest, const char* src);

// One key and its value as a table holds them; valid until the table changes.
class LHashNode {
public:
    LHashNode() = default;
    LHashNode(const char* key, size_t keyBytes, const char* data) : _key(key), _keyBytes(keyBytes), _data(data) {}

    const char* GetKey() const { return _key; }
    std::string_view GetKeyView() const { return {_key, _keyBytes}; }
    const char* GetData() const { return _data; }

private:
    const char* _key = "";
    size_t _keyBytes = 0;
    const char* _data = "";
};

// An ordered string-to-string list: XML attributes, the fields of a track, the tags of a file.
// Keys are compared with strcmp (case matters); the order of nodes is the order files are
// written in, so it is part of the contract.
//
// All keys and values of a table lie in one text, "key\0value\0" after one another, so that a
// track's ten fields take two allocations and a library of 100,000 tracks stays compact.
class LHashTable {
public:
    // Walks the nodes in order: those put at the front (newest first), then those at the end.
    // What it points at is valid until the iterator moves or the table changes.
    class const_iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = LHashNode;
        using difference_type = std::ptrdiff_t;
        using pointer = const LHashNode*;
        using reference = const LHashNode&;

        const_iterator() = default;
        const_iterator(const LHashTable* table, size_t position) : _table(table), _position(position) {}
        reference operator*() const
        {
            _node = _table->_At(_position);
            return _node;
        }
        pointer operator->() const { return &**this; }
        const_iterator& operator++()
        {
            ++_position;
            return *this;
        }
        const_iterator operator++(int)
        {
            const_iterator before = *this;
            ++_position;
            return before;
        }
        bool operator==(const const_iterator& other) const { return _position == other._position; }
        bool operator!=(const const_iterator& other) const { return _position != other._position; }

    private:
        const LHashTable* _table = nullptr;
        size_t _position = 0;
        mutable LHashNode _node;
    };

    LHashTable() = default;
    LHashTable(const LHashTable& other);
    LHashTable& operator=(const LHashTable& other);
    LHashTable(LHashTable&& other);
    LHashTable& operator=(LHashTable&& other);

    // The stored value, or `def` when the key is missing. Valid until the table changes.
    const char* GetParm(const char* key, const char* def) const;
    // GetParm copied into `dest` (kLTextBytes long), cut at 259 characters.
    void GetString(const char* key, const char* def, char* dest) const;
    // The value by strtol base 10; a missing or empty value gives `def`, other text 0.
    int GetInt(const char* key, int def) const;

    // Replace an existing key's value in place; a new key goes to the front.
    void SetString(const char* key, const char* value);
    // Replace an existing key's value in place; a new key goes to the end.
    void SetParmBottom(const char* key, const char* value);
    void SetInt(const char* key, int value);
    // Removes the key; false if it was not there.
    bool Remove(const char* key);
    void Clear();
    // Room for `count` more nodes at the end holding `textBytes` of keys and values, so that a
    // table filled once takes one allocation for each.
    void Reserve(size_t count, size_t textBytes);

    size_t Count() const { return _front.size() + _back.size(); }
    bool IsEmpty() const { return _front.empty() && _back.empty(); }
    const_iterator begin() const { return {this, 0}; }
    const_iterator end() const { return {this, Count()}; }

private:
    // Where a node's key begins in `_text` (its value follows the key's zero byte).
    struct _Entry {
        size_t offset;
        size_t keyBytes;
    };
    // A node's place: 0, 1, ... in `_back`; -1, -2, ... in `_front`.
    using _Slot = std::ptrdiff_t;
    using _Index = std::unordered_map<std::string_view, _Slot>;

    LHashNode _Node(const _Entry& entry) const
    {
        const char* key = _text.data() + entry.offset;
        return {key, entry.keyBytes, key + entry.keyBytes + 1};
    }
    LHashNode _At(size_t position) const
    {
        return _Node(position < _front.size() ? _front[_front.size() - 1 - position] : _back[position - _front.size()]);
    }
    _Entry& _EntryAt(_Slot slot) { return slot >= 0 ? _back[static_cast<size_t>(slot)] : _front[static_cast<size_t>(-slot - 1)]; }
    // The slot of `key`, or kNoSlot.
    _Slot _Find(const char* key);
    // Appends "key\0value\0" to the text; its entry.
    _Entry _AppendText(std::string_view key, const char* value);
    void _Insert(bool atFront, const char* key, const char* value);
    void _Replace(_Slot slot, const char* value);
    void _Set(const char* key, const char* value, bool newAtFront);
    // Drops the text of replaced and removed values when it is most of the text.
    void _CompactIfWasteful();
    void _BuildIndex();

    static constexpr _Slot kNoSlot = PTRDIFF_MIN;

    std::string _text;
    // Nodes put at the front, in the order they came (so the first node of the table is the
    // last of this vector), and nodes put at the end: either way one push_back.
    std::vector<_Entry> _front;
    std::vector<_Entry> _back;
    size_t _unusedBytes = 0;  // text of replaced values and removed nodes
    // Key lookup for large tables, so that input with thousands of attributes or fields stays
    // linear; small tables (nearly all) are searched in order and carry no index. Its keys view
    // `_text`, so it is rebuilt whenever the text moves.
    std::unique_ptr<_Index> _index;
};
