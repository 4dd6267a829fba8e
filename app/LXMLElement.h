#pragma once

#include "app/LHashTable.h"
#include "app/LXMLLoader.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

// One node of an XML tree. An element has a name, attributes and children; a text node has
// no name and holds its text as data. Text between elements is kept as nameless children.
class LXMLElement {
public:
    using Children = std::vector<std::unique_ptr<LXMLElement>>;

    // Parses the rest of a start tag whose name and terminating character were read, then the
    // element's content up to its end tag.
    LXMLElement(const char* name, char terminator, LXMLLoader& loader, bool preserve);
    // An element with no attributes or children, for building a tree.
    explicit LXMLElement(const char* name, bool preserve = false);
    static std::unique_ptr<LXMLElement> MakeText(const char* data);
    virtual ~LXMLElement();
    LXMLElement(const LXMLElement&) = delete;
    LXMLElement& operator=(const LXMLElement&) = delete;

    // Replaces the children by what the loader's text holds up to this element's end tag.
    void LoadData(LXMLLoader& loader);
    // Appends the subtree; depth is the indentation in tabs, negative for a compact subtree
    // with no indentation or line breaks between tags. Returns how many nodes were written,
    // 0 for a whitespace-only text.
    int SaveToBuffer(std::string& out, int depth) const;

    // The first child element with exactly that name, or null.
    LXMLElement* GetElement(const char* name);
    const LXMLElement* GetElement(const char* name) const;
    // The own text, else the first child's text, else "". Never null.
    const char* GetElementData() const;

    const char* GetName() const { return _name ? _name->c_str() : nullptr; }
    const char* GetData() const { return _data ? _data->c_str() : nullptr; }
    bool IsText() const { return !_name && _data; }
    bool GetPreserveSpace() const { return _preserve; }
    LHashTable& Attributes() { return _attributes; }
    const LHashTable& Attributes() const { return _attributes; }
    const Children& GetChildren() const { return _children; }

    LXMLElement& AddChild(std::unique_ptr<LXMLElement> child);
    LXMLElement& AddElement(const char* name) { return AddChild(std::make_unique<LXMLElement>(name, _ChildPreserve())); }
    void AddText(const char* data) { AddChild(MakeText(data)); }
    // Removes and destroys the child; false if it is not a child of this element.
    bool RemoveChild(const LXMLElement* child);
    void ClearChildren();

protected:
    LXMLElement() = default;
    bool _preserve = false;

private:
    struct _ContentFrame;

    // The document's own flag governs only its top-level text; elements inherit theirs.
    bool _ChildPreserve() const { return _name && _preserve; }
    bool _ParseStartTag(int terminator, LXMLLoader& loader);
    void _StoreAttribute(const char* key, char* value, int terminator);
    LXMLElement* _ReadContent(_ContentFrame& frame, LXMLLoader& loader);
    void _ReadEndTag(LXMLLoader& loader);
    void _FlushText(std::string& text);
    int _SaveText(std::string& out) const;
    bool _OpenTag(std::string& out, int depth) const;
    void _CloseTag(std::string& out, int depth) const;
    bool _HasTextChild() const;

    std::optional<std::string> _name;  // none for text nodes and the document
    std::optional<std::string> _data;  // only in text nodes
    LHashTable _attributes;
    Children _children;
};

// The root of a parsed file: no name, its children are the top-level elements.
class LXMLDocument : public LXMLElement {
public:
    LXMLDocument() { _preserve = true; }
    // Parses zero-ended text into the document; false if the parser left a message, which
    // then goes to `error` when given. The tree holds what was read in any case.
    bool Parse(const char* text, std::string* error = nullptr);
};

// Steps through the children of `parent` that have the name `name`:
//   NamedElementIterator it(parent, "playitem"); while (it.Next()) Use(*it);
class NamedElementIterator {
public:
    NamedElementIterator(LXMLElement& parent, const char* name) : _parent(parent), _name(name) {}
    bool Next();
    LXMLElement& operator*() const { return *_current; }
    LXMLElement* operator->() const { return _current; }

private:
    LXMLElement& _parent;
    std::string _name;
    size_t _next = 0;
    LXMLElement* _current = nullptr;
};

// Escapes text for an XML file: & < > and the double quote as entities, CR and LF each as a
// newline, every other byte as it is.
void LHTMLEncodeToWriterSimpleWithEol(std::string& out, const char* text);
