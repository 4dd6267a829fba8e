#pragma once

#include <cstddef>

// Bytes of a parser token buffer: 259 characters and the zero; longer tokens are cut.
constexpr size_t kXMLTokenBytes = 260;
// Bytes of the error message buffer.
constexpr size_t kXMLErrorBytes = 260;

// The cursor of one parse over zero-ended text. Keeps the first error message only; the
// parse always goes on after an error.
class LXMLLoader {
public:
    explicit LXMLLoader(const char* text) : _text(text) {}
    LXMLLoader(const LXMLLoader&) = delete;
    LXMLLoader& operator=(const LXMLLoader&) = delete;

    // The next byte, 0 at the end of the text (the position then stays). CR, LF, CR LF and
    // LF CR each read as one 10 and start a new line.
    int ReadChar();
    // Stores "Ln %d, Col %d: <message>" unless a message is already stored.
    void SetError(const char* format, ...) __attribute__((format(printf, 2, 3)));

    bool HasError() const { return _error[0] != 0; }
    const char* GetError() const { return _error; }
    int GetLine() const { return _line; }
    int GetColumn() const { return _column; }

private:
    const char* _text;
    size_t _position = 0;
    char _error[kXMLErrorBytes] = {};
    int _line = 1;
    int _column = 1;
};

// Called after "&": reads the entity up to ";" and returns the byte it stands for. 0 for a
// malformed entity, "&" for an unknown name.
int XMLAmpChar(LXMLLoader& loader);

// Reads one token of a tag into `name` (kXMLTokenBytes long) and returns the character that
// ended it (0 at the end of the text). `cdata` tells that the token opened a CDATA section.
int XMLLoadTag(LXMLLoader& loader, char* name, bool& cdata);
