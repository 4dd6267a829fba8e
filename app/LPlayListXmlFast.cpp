// A direct reader for list files exactly as SaveToXml writes them, so that a library of 100,000
// entries loads without building its whole tree or holding its whole text. It accepts only that
// shape, and only values the tree reader would read the same way; on anything else it gives up
// and the caller parses the text with the tree reader from the start.
#include "app/LPlayList.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr std::string_view kHead = "<playlist>\n\n";
constexpr std::string_view kEntryHead = "\t<playitem>\n";
constexpr std::string_view kEntryEnd = "\t</playitem>\n\n";
constexpr std::string_view kTail = "</playlist>\n";

// Reads forward through [begin, end).
class _Cursor {
public:
    _Cursor(const char* begin, const char* end) : _p(begin), _end(end) {}

    bool Literal(std::string_view expected)
    {
        if (static_cast<size_t>(_end - _p) < expected.size() || std::memcmp(_p, expected.data(), expected.size()) != 0)
            return false;
        _p += expected.size();
        return true;
    }
    bool AtEnd() const { return _p == _end; }

    // A tag name of letters, digits and "_-.:" up to ">".
    bool Name(std::string& name)
    {
        const char* start = _p;
        while (_p < _end && ((*_p >= 'a' && *_p <= 'z') || (*_p >= 'A' && *_p <= 'Z') || (*_p >= '0' && *_p <= '9') ||
                             *_p == '_' || *_p == '-' || *_p == '.' || *_p == ':'))
            ++_p;
        name.assign(start, static_cast<size_t>(_p - start));
        return !name.empty();
    }

    // Text up to "<" with the five named entities decoded; false at anything the tree reader
    // reads otherwise: another entity, a control character (it would trim or join lines), ">",
    // or the end of the text.
    bool Value(std::string& value)
    {
        value.clear();
        for (;;) {
            const char* run = _p;
            while (_p < _end && static_cast<unsigned char>(*_p) >= 32 && *_p != '<' && *_p != '>' && *_p != '&')
                ++_p;
            value.append(run, static_cast<size_t>(_p - run));
            if (_p == _end || *_p != '&')
                return _p < _end && *_p == '<';
            if (!_Entity(value))
                return false;
        }
    }

private:
    bool _Entity(std::string& value)
    {
        static constexpr struct {
            std::string_view entity;
            char byte;
        } kEntities[] = {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
        for (const auto& e : kEntities) {
            if (Literal(e.entity)) {
                value += e.byte;
                return true;
            }
        }
        return false;
    }

    const char* _p;
    const char* _end;
};

// One "\t\t<name>value</name>\n" line; false at anything else.
bool _Field(_Cursor& in, std::string& name, std::string& value, std::string& closing)
{
    return in.Literal("\t\t<") && in.Name(name) && in.Literal(">") && in.Value(value) && in.Literal("</") &&
           in.Name(closing) && closing == name && in.Literal(">\n");
}

}  // namespace

bool LPlayListWrittenXmlReader::Feed(const char* data, size_t bytes)
{
    if (_failed)
        return false;
    if (_pending.empty()) {
        // Straight from the caller's text; only an unfinished entry at its end is kept.
        const char* stop = _ParseEntries(data, data + bytes);
        if (stop)
            _pending.assign(stop, static_cast<size_t>(data + bytes - stop));
    } else {
        _pending.append(data, bytes);
        const char* stop = _ParseEntries(_pending.data(), _pending.data() + _pending.size());
        if (stop)
            _pending.erase(0, static_cast<size_t>(stop - _pending.data()));
    }
    return !_failed;
}

bool LPlayListWrittenXmlReader::Finish(LPlayList& list)
{
    if (_failed || !_headRead || _pending != kTail)
        return false;
    for (auto& item : _read)
        list.AddItem(std::move(item));
    _read.clear();
    _pending.clear();
    return true;
}

const char* LPlayListWrittenXmlReader::_ParseEntries(const char* begin, const char* end)
{
    const char* p = begin;
    if (!_headRead) {
        const size_t have = std::min(static_cast<size_t>(end - p), kHead.size());
        if (std::memcmp(p, kHead.data(), have) != 0)
            return _Fail();
        if (have < kHead.size())
            return p;
        p += kHead.size();
        _headRead = true;
    }
    for (;;) {
        const std::string_view rest(p, static_cast<size_t>(end - p));
        const std::string_view start = rest.substr(0, kEntryHead.size());
        if (start != kEntryHead.substr(0, start.size()))
            return kTail.substr(0, start.size()) == start.substr(0, kTail.size()) ? p : _Fail();  // Finish judges a tail
        const size_t close = rest.find(kEntryEnd, _searchFrom);
        if (close == std::string_view::npos) {
            // Not yet whole: the next search goes on where this one ended.
            _searchFrom = rest.size() >= kEntryEnd.size() ? rest.size() - kEntryEnd.size() + 1 : 0;
            return p;
        }
        const char* next = p + close + kEntryEnd.size();
        if (!_ParseEntry(p, next))
            return _Fail();
        _searchFrom = 0;
        p = next;
    }
}

bool LPlayListWrittenXmlReader::_ParseEntry(const char* begin, const char* end)
{
    _Cursor in(begin, end);
    auto item = std::make_unique<LPlayItem>();
    if (!in.Literal(kEntryHead) || !_Field(in, _name, _value, _closing) || _name != "path" ||
        _value.size() > LFile::kMaxPathChars)
        return false;
    item->SetPath(_value.c_str());
    size_t count = 0;
    while (!in.Literal(kEntryEnd)) {
        if (count == _fields.size())
            _fields.emplace_back();
        auto& [name, value] = _fields[count];
        if (!_Field(in, name, value, _closing) || name == "path")
            return false;
        if (!value.empty())
            ++count;
    }
    if (!in.AtEnd())
        return false;
    size_t textBytes = 0;
    for (size_t i = 0; i < count; ++i)
        textBytes += _fields[i].first.size() + _fields[i].second.size() + 2;
    LHashTable& parms = item->Parms();
    parms.Reserve(count, textBytes);
    for (size_t i = 0; i < count; ++i)
        parms.SetParmBottom(_fields[i].first.c_str(), _fields[i].second.c_str());
    _read.push_back(std::move(item));
    return true;
}

const char* LPlayListWrittenXmlReader::_Fail()
{
    _failed = true;
    _read.clear();
    _pending.clear();
    return nullptr;
}

bool LPlayListReadWrittenXml(LPlayList& list, const char* text)
{
    LPlayListWrittenXmlReader reader;
    return reader.Feed(text, std::strlen(text)) && reader.Finish(list);
}
