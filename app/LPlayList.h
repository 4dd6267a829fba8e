#pragma once

#include "app/LHashTable.h"
#include "base/LFile.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

// One entry of a track list: the file's path, its fields (in the library: title, length, beats
// and so on) and its place in the list.
class LPlayItem {
public:
    LPlayItem() = default;
    explicit LPlayItem(const char* path) { SetPath(path); }

    const char* GetPath() const { return _path.c_str(); }
    // Cut at 259 characters.
    void SetPath(const char* path);
    LHashTable& Parms() { return _parms; }
    const LHashTable& Parms() const { return _parms; }
    int GetIndex() const { return _index; }
    void SetIndex(int index) { _index = index; }

private:
    std::string _path;  // at most 259 bytes
    LHashTable _parms;
    int _index = 0;
};

// What a list writer answers: bytes written, or below zero when the file could not be written.
enum LPlayListWriteResult : int { kPlayListWriteFailed = -1 };

// A track list with readers and writers for M3U, PLS and the program's XML, chosen by the
// extension. The library is one of these. Readers append; after every change through the
// members below, items are in index order and indexes run from 0 (MoveSingleItem keeps a
// second item of the moved path where it was, see there).
class LPlayList {
public:
    using Items = std::vector<std::unique_ptr<LPlayItem>>;

    LPlayList() = default;
    LPlayList(const LPlayList&) = delete;
    LPlayList& operator=(const LPlayList&) = delete;

    // ".pls", ".m3u" or ".xml", in any case.
    static bool IsPlayListFile(const char* path);

    // By the extension (any case); other extensions do nothing.
    void Load(const char* path);
    // By the extension (any case); other extensions do nothing and give 0. Below 0 when the
    // file could not be written; then the file is as it was.
    int Save(const char* path, bool extended) const;

    // Each acts only when `path` has its own extension (lower case).
    void LoadM3u(const char* path);
    void LoadPls(const char* path);
    void LoadXml(const char* path);
    // The same readers over text already in memory; `listPath` places relative entries.
    void LoadM3uText(const char* text, size_t bytes, const char* listPath);
    void LoadPlsText(const char* text, size_t bytes, const char* listPath);
    // The file's text; false when it is not a list file as the program writes it (the tree
    // holds what could be read, and that was added).
    bool LoadXmlText(const char* text);
    // The same through the XML tree only, for any text.
    bool LoadXmlTree(const char* text);
    // LoadXmlText of the file at `path`, whatever its extension, read piece by piece when it is
    // in the written form. False also when the file can't be read.
    bool LoadXmlFile(const char* path);

    // The writers replace the file whole (temporary file and rename). Bytes or below 0.
    int SaveToM3u(const char* path, bool extended) const;
    int SaveToPls(const char* path, bool extended) const;
    int SaveToXml(const char* path) const;
    // The bytes SaveToXml writes.
    std::string FormatXml() const;

    void AddSingleTrack(const char* path);
    void AddItem(const LPlayItem& item);
    // Takes the item itself; index = count.
    void AddItem(std::unique_ptr<LPlayItem> item);
    // Removes the item of that index if there is one, then numbers all from 0.
    void RemoveSingleItem(int index);
    // Moves the item at `from` to `to`; the items between shift by one. An item whose path is
    // the moved item's path is not shifted.
    void MoveSingleItem(int from, int to);
    // Stable sort by index: runs of 50 sorted by exchange, then merged pairwise. True if any
    // item moved.
    bool Sort();
    void Clear() { _items.clear(); }

    size_t Count() const { return _items.size(); }
    bool IsEmpty() const { return _items.empty(); }
    const Items& GetItems() const { return _items; }
    LPlayItem* GetItem(size_t position) { return position < _items.size() ? _items[position].get() : nullptr; }
    const LPlayItem* GetItem(size_t position) const { return position < _items.size() ? _items[position].get() : nullptr; }

    // `path` relative to the folder of `listPath` when it lies inside it, else `path`.
    static void MakePathRelative(char* dest, const char* path, const char* listPath);
    // "artist - title" from the tags, else the file name without extension; "" for "".
    static void GetTrackTitle(char* dest, const char* path);
    // The track's length in whole seconds (rounded), 0 when it can't be opened.
    static bool GetTrackTimeSeconds(int& seconds, const char* path);

private:
    void _AddLine(const char* line, const char* listFolder);
    LPlayItem* _FindByIndex(int index);
    void _Renumber();

    Items _items;
};

// Reads text exactly in the form SaveToXml writes, with values the tree reader reads the same
// way, from pieces of any size as they come: only an unfinished entry is held between pieces.
class LPlayListWrittenXmlReader {
public:
    // False once the text so far is not in that form; later pieces are then ignored.
    bool Feed(const char* data, size_t bytes);
    // True if all that was fed is one list in that form; its entries are then appended to `list`.
    // Otherwise nothing is added.
    bool Finish(LPlayList& list);

private:
    // Parses the whole entries at the start of [begin, end); where the unfinished rest begins,
    // or nullptr when the text is not in the form.
    const char* _ParseEntries(const char* begin, const char* end);
    bool _ParseEntry(const char* begin, const char* end);
    const char* _Fail();

    std::string _pending;
    size_t _searchFrom = 0;  // bytes of the pending entry already searched for its end
    bool _headRead = false;
    bool _failed = false;
    LPlayList::Items _read;
    // One entry's names and values, kept from entry to entry so their text is not allocated again.
    std::string _name, _value, _closing;
    std::vector<std::pair<std::string, std::string>> _fields;
};

// Appends the entries of `text` when it is exactly in the form SaveToXml writes, with values
// the tree reader reads the same way; false (and nothing added) otherwise.
bool LPlayListReadWrittenXml(LPlayList& list, const char* text);

// Escapes a path or value as the list files hold it: "<" and ">" are dropped, "&", the double
// quote and line ends become entities, and the result is cut at 259 characters (never inside an
// entity or a UTF-8 sequence).
void LHTMLEncodeToWriter(std::string& out, const char* text);
