#pragma once

#include <cstddef>
#include <list>
#include <string>
#include <string_view>
#include <unordered_map>

// Bytes of the fixed text buffers that hold a value read out of a table or a setting: at most
// 259 characters and the terminating zero. Longer text is cut, not refused.
constexpr size_t kLTextBytes = 260;

// Copies `src` into `dest` (kLTextBytes long), cut at 259 characters. `dest` may be `src`.
void LCopyText(char* dest, const char* src);

class LHashNode {
public:
    LHashNode(const char* key, const char* value) : _key(key), _data(value) {}

    const char* GetKey() const { return _key.c_str(); }
    std::string_view GetKeyView() const { return _key; }
    const char* GetData() const { return _data.c_str(); }
    void SetData(const char* value) { _data = value; }

private:
    std::string _key;
    std::string _data;
};

// An ordered string-to-string list: XML attributes, the fields of a track, the tags of a file.
// Keys are compared with strcmp (case matters); the order of nodes is the order files are
// written in, so it is part of the contract.
class LHashTable {
public:
    using const_iterator = std::list<LHashNode>::const_iterator;

    LHashTable() = default;
    LHashTable(const LHashTable& other);
    LHashTable& operator=(const LHashTable& other);
    LHashTable(LHashTable&&) = default;
    LHashTable& operator=(LHashTable&&) = default;

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

    size_t Count() const { return _nodes.size(); }
    bool IsEmpty() const { return _nodes.empty(); }
    const_iterator begin() const { return _nodes.begin(); }
    const_iterator end() const { return _nodes.end(); }

private:
    using _Position = std::list<LHashNode>::iterator;

    _Position _Find(const char* key);
    void _Insert(_Position before, const char* key, const char* value);
    void _Set(const char* key, const char* value, bool newAtFront);
    void _BuildIndex();

    std::list<LHashNode> _nodes;
    // Key lookup for large tables, so that input with thousands of attributes or fields stays
    // linear; small tables (nearly all) are searched in order and allocate no index.
    std::unordered_map<std::string_view, _Position> _index;
};
