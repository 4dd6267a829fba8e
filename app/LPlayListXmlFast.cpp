// A direct reader for list files exactly as SaveToXml writes them, so that a library of 100,000
// entries loads without building its whole tree. It accepts only that shape, and only values
// the tree reader would read the same way; on anything else it gives up and the caller parses
// the text with the tree reader from the start.
#include "app/LPlayList.h"

#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace {

class _Cursor {
public:
    explicit _Cursor(const char* text) : _p(text) {}

    bool Literal(const char* expected)
    {
        const size_t length = strlen(expected);
        if (strncmp(_p, expected, length) != 0)
            return false;
        _p += length;
        return true;
    }
    bool AtEnd() const { return *_p == 0; }
    char Peek() const { return *_p; }

    // A tag name of letters, digits and "_-.:" up to ">".
    bool Name(std::string& name)
    {
        const char* start = _p;
        while ((*_p >= 'a' && *_p <= 'z') || (*_p >= 'A' && *_p <= 'Z') || (*_p >= '0' && *_p <= '9') ||
               *_p == '_' || *_p == '-' || *_p == '.' || *_p == ':')
            ++_p;
        name.assign(start, static_cast<size_t>(_p - start));
        return !name.empty() && name[0] != '!' && name[0] != '?';
    }

    // Text up to "<" with the five named entities decoded; false at anything the tree reader
    // reads otherwise: another entity, a control character (it would trim or join lines), ">".
    bool Value(std::string& value)
    {
        value.clear();
        while (*_p != '<') {
            const char* run = _p;
            while (static_cast<unsigned char>(*_p) >= 32 && *_p != '<' && *_p != '>' && *_p != '&')
                ++_p;
            value.append(run, static_cast<size_t>(_p - run));
            const unsigned char c = static_cast<unsigned char>(*_p);
            if (c == '<')
                break;
            if (c != '&')
                return false;  // the end of the text, a control character or a stray ">"
            static constexpr struct {
                const char* entity;
                char byte;
            } kEntities[] = {{"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}, {"&apos;", '\''}};
            bool known = false;
            for (const auto& e : kEntities) {
                if (Literal(e.entity)) {
                    value += e.byte;
                    known = true;
                    break;
                }
            }
            if (!known)
                return false;
        }
        return true;
    }

private:
    const char* _p;
};

// One "\t\t<name>value</name>\n" line; false at anything else.
bool _Field(_Cursor& in, std::string& name, std::string& value)
{
    std::string closing;
    return in.Literal("\t\t<") && in.Name(name) && in.Literal(">") && in.Value(value) && in.Literal("</") &&
           in.Name(closing) && closing == name && in.Literal(">\n");
}

}  // namespace

bool LPlayListReadWrittenXml(LPlayList& list, const char* text)
{
    _Cursor in(text);
    if (!in.Literal("<playlist>\n\n"))
        return false;
    LPlayList::Items read;
    std::string name, value;
    // One entry's fields, kept between entries so that their text is not allocated again.
    std::vector<std::pair<std::string, std::string>> fields;
    while (in.Literal("\t<playitem>\n")) {
        auto item = std::make_unique<LPlayItem>();
        if (!_Field(in, name, value) || name != "path" || value.size() > LFile::kMaxPathChars)
            return false;
        item->SetPath(value.c_str());
        size_t count = 0;
        while (in.Peek() == '\t' && !in.Literal("\t</playitem>\n\n")) {
            if (count == fields.size())
                fields.emplace_back();
            auto& [fieldName, fieldValue] = fields[count];
            if (!_Field(in, fieldName, fieldValue) || fieldName == "path")
                return false;
            if (!fieldValue.empty())
                ++count;
        }
        LHashTable& parms = item->Parms();
        parms.Reserve(count);
        for (size_t i = 0; i < count; ++i)
            parms.SetParmBottom(fields[i].first.c_str(), fields[i].second.c_str());
        read.push_back(std::move(item));
    }
    if (!in.Literal("</playlist>\n") || !in.AtEnd())
        return false;
    for (auto& item : read)
        list.AddItem(std::move(item));
    return true;
}
