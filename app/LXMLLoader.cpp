#include "app/LXMLLoader.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <strings.h>
#include <string>

namespace {

constexpr size_t kEntityNameMax = 23;  // characters of an entity name before it is refused

bool _IsTokenEnd(int c)
{
    return c == '\t' || c == '\n' || c == ' ' || c == '/' || c == '=' || c == '>';
}

int _HexValue(const char* digits)
{
    int value = 0;
    for (const char* p = digits; *p; ++p) {
        int c = static_cast<unsigned char>(*p);
        if (c >= '0' && c <= '9')
            value = value * 16 + (c - '0');
        else if (c >= 'a' && c <= 'f')
            value = value * 16 + (c - 'a' + 10);
        else if (c >= 'A' && c <= 'F')
            value = value * 16 + (c - 'A' + 10);
        value &= 0xff;  // only the low byte is kept, so no overflow on long numbers
    }
    return value;
}

int _DecimalValue(const char* digits)
{
    int value = 0;
    for (const char* p = digits; *p >= '0' && *p <= '9'; ++p)
        value = (value * 10 + (*p - '0')) & 0xff;
    return value;
}

int _NamedEntity(LXMLLoader& loader, const char* name)
{
    static const struct {
        const char* name;
        char value;
    } kNames[] = {{"amp", '&'}, {"gt", '>'}, {"lt", '<'}, {"quot", '"'}, {"apos", '\''}};
    for (const auto& entry : kNames)
        if (std::strcmp(name, entry.name) == 0)
            return entry.value;
    if (name[0] == '#' && (name[1] == 'x' || name[1] == 'X'))
        return _HexValue(name + 2);
    if (name[0] == '#')
        return _DecimalValue(name + 1);
    loader.SetError("Invalid escaped ampersand character. Make sure you use &amp; in place of any & characters!");
    return '&';
}

}  // namespace

int LXMLLoader::ReadChar()
{
    int c = static_cast<unsigned char>(_text[_position]);
    if (c == 0)
        return 0;
    ++_position;
    if (c == '\r' || c == '\n') {
        int pair = c == '\r' ? '\n' : '\r';
        if (_text[_position] == pair)
            ++_position;
        ++_line;
        _column = 1;
        return '\n';
    }
    ++_column;
    return c;
}

void LXMLLoader::SetError(const char* format, ...)
{
    if (HasError())
        return;
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    int length = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string message(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(message.data(), message.size() + 1, format, args);
    va_end(args);
    std::snprintf(_error, sizeof(_error), "Ln %d, Col %d: %s", _line, _column, message.c_str());
}

int XMLAmpChar(LXMLLoader& loader)
{
    char name[kEntityNameMax + 1];
    size_t length = 0;
    for (;;) {
        int c = loader.ReadChar();
        if (c == ';')
            break;
        if (c == 0 || c == ' ' || c == '\t' || c == '\n' || length == kEntityNameMax) {
            loader.SetError("Strings starting with an ampersand (&) must end with a semicolon (;). Either replace the '&' with '&amp;' or add a ';' at the end of the control string.");
            return 0;
        }
        name[length++] = static_cast<char>(c);
    }
    name[length] = 0;
    return _NamedEntity(loader, name);
}

int XMLLoadTag(LXMLLoader& loader, char* name, bool& cdata)
{
    cdata = false;
    size_t length = 0;
    int quote = 0;
    int c;
    for (;;) {
        c = loader.ReadChar();
        if (c == 0 || (quote == 0 && _IsTokenEnd(c)))
            break;
        if (quote == 0 && (c == '"' || c == '\'')) {
            quote = c;
            continue;
        }
        if (c == quote) {
            quote = 0;
            continue;
        }
        if (c == '&')
            c = XMLAmpChar(loader);
        if (c == 0 || length == kXMLTokenBytes - 1)
            continue;  // a zero byte cannot be held in a zero-ended token
        name[length++] = static_cast<char>(c);
        name[length] = 0;
        if (length == 3 && strncasecmp(name, "!--", 3) == 0)
            break;
        if (length == 8 && strncasecmp(name, "![CDATA[", 8) == 0) {
            cdata = true;
            break;
        }
    }
    name[length] = 0;
    return c;
}
