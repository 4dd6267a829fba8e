#include "app/LXMLElement.h"

#include <cstring>
#include <strings.h>

// Parsing state of one open element. The parse keeps these on an explicit stack rather than
// recursing, so that deeply nested input cannot exhaust the thread's stack.
struct LXMLElement::_ContentFrame {
    explicit _ContentFrame(LXMLElement* open) : element(open) {}

    LXMLElement* element;
    std::string text;
    bool inComment = false;
    bool inCdata = false;
    char window[3] = {};  // the last three characters, oldest first

    void _Push(int c)
    {
        window[0] = window[1];
        window[1] = window[2];
        window[2] = static_cast<char>(c);
    }
    bool _WindowIs(const char* three) const { return strncasecmp(window, three, 3) == 0; }
    void _StartSection(bool& flag)
    {
        flag = true;
        std::memset(window, 0, sizeof(window));
    }
};

namespace {

void _Indent(std::string& out, int depth)
{
    if (depth > 0)
        out.append(static_cast<size_t>(depth), '\t');
}

bool _IsBlank(const char* text)
{
    return text[std::strspn(text, " \t\r\n")] == 0;
}

const char* _EmptyTagEnd(const std::string& name)
{
    if (name[0] == '?')
        return "?>";
    if (name == "!--")
        return "-->";
    if (name == "![CDATA[")
        return "]]>";
    if (name[0] == '!')
        return ">";
    return "/>";
}

}  // namespace

LXMLElement::LXMLElement(const char* name, char terminator, LXMLLoader& loader, bool preserve)
    : _preserve(preserve), _name(name)
{
    if (_ParseStartTag(static_cast<unsigned char>(terminator), loader))
        LoadData(loader);
}

LXMLElement::LXMLElement(const char* name, bool preserve) : _preserve(preserve), _name(name) {}

std::unique_ptr<LXMLElement> LXMLElement::MakeText(const char* data)
{
    std::unique_ptr<LXMLElement> node(new LXMLElement());
    node->_data = data;
    return node;
}

LXMLElement::~LXMLElement()
{
    ClearChildren();
}

void LXMLElement::ClearChildren()
{
    // Flattened so that destroying a deep tree does not recurse once per level.
    Children pending = std::move(_children);
    _children.clear();
    while (!pending.empty()) {
        std::unique_ptr<LXMLElement> node = std::move(pending.back());
        pending.pop_back();
        for (auto& child : node->_children)
            pending.push_back(std::move(child));
        node->_children.clear();
    }
}

LXMLElement& LXMLElement::AddChild(std::unique_ptr<LXMLElement> child)
{
    _children.push_back(std::move(child));
    return *_children.back();
}

bool LXMLElement::RemoveChild(const LXMLElement* child)
{
    for (auto it = _children.begin(); it != _children.end(); ++it) {
        if (it->get() == child) {
            std::unique_ptr<LXMLElement> removed = std::move(*it);
            _children.erase(it);
            removed->ClearChildren();
            return true;
        }
    }
    return false;
}

// ---- parsing

bool LXMLElement::_ParseStartTag(int terminator, LXMLLoader& loader)
{
    bool empty = terminator == '/';
    char key[kXMLTokenBytes];
    char value[kXMLTokenBytes];
    bool cdata;
    while (terminator != '>') {
        if (terminator == 0) {
            loader.SetError("Tag <%s> does not have a closing '>'", _name->c_str());
            return false;
        }
        terminator = XMLLoadTag(loader, key, cdata);
        value[0] = 0;
        if (terminator == '=')
            terminator = XMLLoadTag(loader, value, cdata);
        if (terminator == '/')
            empty = true;
        _StoreAttribute(key, value, terminator);
    }
    return !empty && (*_name)[0] != '?' && (*_name)[0] != '!';
}

void LXMLElement::_StoreAttribute(const char* key, char* value, int terminator)
{
    if (key[0] == 0)
        return;
    if (strcasecmp(key, "xml:space") == 0) {
        _preserve = true;
        return;
    }
    if (terminator == '>') {
        // The "?" of a declaration's "?>" ends up on the last token.
        if ((*_name)[0] == '?' && std::strcmp(key, "?") == 0 && value[0] == 0)
            return;
        size_t length = std::strlen(value);
        if (length > 0 && value[length - 1] == '?')
            value[length - 1] = 0;
    }
    _attributes.SetParmBottom(key, value);
}

void LXMLElement::LoadData(LXMLLoader& loader)
{
    ClearChildren();
    std::vector<_ContentFrame> open;
    open.emplace_back(this);
    while (!open.empty()) {
        _ContentFrame& frame = open.back();
        LXMLElement* child = frame.element->_ReadContent(frame, loader);
        if (child)
            open.emplace_back(child);
        else
            open.pop_back();
    }
}

// Reads content until a child opens that has content of its own (returned, to be read next)
// or this element ends (null).
LXMLElement* LXMLElement::_ReadContent(_ContentFrame& frame, LXMLLoader& loader)
{
    for (;;) {
        int c = loader.ReadChar();
        if (c == 0) {
            if (_name)
                loader.SetError("(EOF) Element <%s> should be terminated with </%s>. Check you have terminated your element properly.",
                                _name->c_str(), _name->c_str());
            _FlushText(frame.text);
            return nullptr;
        }
        if (!frame.inComment && !frame.inCdata) {
            if (c == '<') {
                char name[kXMLTokenBytes];
                bool cdata;
                int terminator = XMLLoadTag(loader, name, cdata);
                if (cdata) {
                    frame._StartSection(frame.inCdata);
                    continue;
                }
                if (std::strcmp(name, "!--") == 0) {
                    frame._StartSection(frame.inComment);
                    continue;
                }
                if (name[0] != 0) {
                    _FlushText(frame.text);
                    LXMLElement& child = AddElement(name);
                    if (child._ParseStartTag(terminator, loader))
                        return &child;
                    continue;
                }
                if (terminator == '/')
                    _ReadEndTag(loader);
                else
                    loader.SetError("Misplaced < without name. Use &lt; instead of < if appropriate.");
                _FlushText(frame.text);
                return nullptr;
            }
            if (c == '&')
                c = XMLAmpChar(loader);
        }
        frame._Push(c);
        if (frame.inCdata && frame._WindowIs("]]>")) {
            frame.inCdata = false;
            frame.text.resize(frame.text.size() >= 2 ? frame.text.size() - 2 : 0);
        } else if (frame.inComment) {
            // Comment text is dropped; only its end matters.
            if (frame._WindowIs("-->"))
                frame.inComment = false;
        } else if (c != 0) {
            frame.text.push_back(static_cast<char>(c));
        }
    }
}

void LXMLElement::_ReadEndTag(LXMLLoader& loader)
{
    char name[kXMLTokenBytes];
    bool cdata;
    int terminator = XMLLoadTag(loader, name, cdata);
    if (_name && std::strcmp(_name->c_str(), name) != 0)
        loader.SetError("Element <%s> should be terminated with </%s>, was with %s. Check you have terminated your element properly.",
                        _name->c_str(), _name->c_str(), name);
    else if (!_name)
        loader.SetError("Misplaced </%s> which does not match a <%s>.", name, name);
    while (terminator != '>' && terminator != 0)
        terminator = loader.ReadChar();
}

void LXMLElement::_FlushText(std::string& text)
{
    size_t begin = 0;
    size_t end = text.size();
    if (!_preserve) {
        // Only control characters are trimmed: indentation goes, spaces stay.
        while (begin < end && static_cast<unsigned char>(text[begin]) < 32)
            ++begin;
        while (end > begin && static_cast<unsigned char>(text[end - 1]) < 32)
            --end;
    }
    if (end > begin)
        AddText(text.substr(begin, end - begin).c_str());
    text.clear();
}

bool LXMLDocument::Parse(const char* text, std::string* error)
{
    LXMLLoader loader(text);
    LoadData(loader);
    if (error)
        *error = loader.GetError();
    return !loader.HasError();
}

// ---- queries

LXMLElement* LXMLElement::GetElement(const char* name)
{
    for (auto& child : _children)
        if (child->_name && std::strcmp(child->_name->c_str(), name) == 0)
            return child.get();
    return nullptr;
}

const LXMLElement* LXMLElement::GetElement(const char* name) const
{
    return const_cast<LXMLElement*>(this)->GetElement(name);
}

const char* LXMLElement::GetElementData() const
{
    if (_data)
        return _data->c_str();
    if (!_children.empty() && _children.front()->_data)
        return _children.front()->_data->c_str();
    return "";
}

bool NamedElementIterator::Next()
{
    const LXMLElement::Children& children = _parent.GetChildren();
    while (_next < children.size()) {
        LXMLElement* child = children[_next++].get();
        const char* name = child->GetName();
        if (name && _name == name) {
            _current = child;
            return true;
        }
    }
    _current = nullptr;
    return false;
}

// ---- writing

void LHTMLEncodeToWriterSimpleWithEol(std::string& out, const char* text)
{
    for (const char* p = text; *p; ++p) {
        switch (*p) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\r':
        case '\n': out += '\n'; break;
        default: out += *p; break;
        }
    }
}

int LXMLElement::_SaveText(std::string& out) const
{
    if (_IsBlank(_data->c_str()))
        return 0;
    LHTMLEncodeToWriterSimpleWithEol(out, _data->c_str());
    return 1;
}

bool LXMLElement::_HasTextChild() const
{
    for (const auto& child : _children)
        if (child->IsText())
            return true;
    return false;
}

// Writes the start tag; true if content follows, false if the tag was closed at once.
bool LXMLElement::_OpenTag(std::string& out, int depth) const
{
    _Indent(out, depth);
    out += '<';
    out += *_name;
    for (const LHashNode& attribute : _attributes) {
        out += ' ';
        out += attribute.GetKey();
        out += "=\"";
        LHTMLEncodeToWriterSimpleWithEol(out, attribute.GetData());
        out += '"';
    }
    bool content = false;
    for (const auto& child : _children)
        content = content || !child->IsText() || !_IsBlank(child->GetData());
    if (!content) {
        out += _EmptyTagEnd(*_name);
        if (depth >= 0)
            out += '\n';
        return false;
    }
    out += '>';
    if (depth >= 0 && !_HasTextChild())
        out += '\n';
    return true;
}

void LXMLElement::_CloseTag(std::string& out, int depth) const
{
    if (depth > 0 && !_HasTextChild())
        _Indent(out, depth);
    out += "</";
    out += *_name;
    out += ">\n";
}

int LXMLElement::SaveToBuffer(std::string& out, int depth) const
{
    if (IsText())
        return _SaveText(out);
    // Depth first with an explicit stack, for the same reason as the parse.
    struct Open {
        const LXMLElement* element;
        int depth;
        size_t next = 0;
    };
    std::vector<Open> open;
    int written = 0;
    auto start = [&](const LXMLElement* element, int at) {
        if (element->IsText()) {
            written += element->_SaveText(out);
            return;
        }
        if (element->_name) {
            ++written;
            if (!element->_OpenTag(out, at))
                return;
        }
        open.push_back(Open{element, at});
    };
    start(this, depth);
    while (!open.empty()) {
        Open& top = open.back();
        if (top.next < top.element->_children.size()) {
            const LXMLElement* child = top.element->_children[top.next++].get();
            // A document's children stand at its own depth; a negative depth stays negative,
            // so the whole subtree is written without indentation.
            start(child, top.element->_name && top.depth >= 0 ? top.depth + 1 : top.depth);
            continue;
        }
        if (top.element->_name)
            top.element->_CloseTag(out, top.depth);
        open.pop_back();
    }
    return written;
}
