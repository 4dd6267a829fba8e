#include "ui/LListViewKeys.h"

#include <QString>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>

namespace {

// At most hours, minutes and seconds.
constexpr int kMaxTimeFields = 3;
constexpr double kSecondsPerField = 60.0;

bool _IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view _Trim(std::string_view text)
{
    const auto isSpace = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!text.empty() && isSpace(text.front())) {
        text.remove_prefix(1);
    }
    while (!text.empty() && isSpace(text.back())) {
        text.remove_suffix(1);
    }
    return text;
}

// Digits only, with one decimal point allowed when `fraction` is.
std::optional<double> _TimeField(std::string_view field, bool fraction)
{
    if (field.empty() || !_IsDigit(field.front())) {
        return std::nullopt;
    }
    double value = 0.0;
    double scale = 0.0;  // 0 before the point, then the weight of the next digit
    for (char c : field) {
        if (c == '.' && fraction && scale == 0.0) {
            scale = 0.1;
        } else if (!_IsDigit(c)) {
            return std::nullopt;
        } else if (scale == 0.0) {
            value = value * 10.0 + (c - '0');
        } else {
            value += (c - '0') * scale;
            scale *= 0.1;
        }
    }
    return value;
}

bool _IsAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

int _HexDigit(char c)
{
    if (_IsDigit(c)) {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    if (c >= 'A' && c <= 'F') {
        return c - 'A' + 10;
    }
    return -1;
}

std::string _PercentDecode(std::string_view text)
{
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && _HexDigit(text[i + 1]) >= 0 &&
            _HexDigit(text[i + 2]) >= 0) {
            out.push_back(static_cast<char>(_HexDigit(text[i + 1]) * 16 + _HexDigit(text[i + 2])));
            i += 2;
        } else {
            out.push_back(text[i]);
        }
    }
    return out;
}

bool _StartsWithNoCase(std::string_view text, std::string_view prefix)
{
    if (text.size() < prefix.size()) {
        return false;
    }
    for (size_t i = 0; i < prefix.size(); ++i) {
        char c = text[i];
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
        if (c != prefix[i]) {
            return false;
        }
    }
    return true;
}

// The local path of one file URL, or nothing.
std::optional<std::string> _LocalPath(std::string_view url)
{
    if (!_StartsWithNoCase(url, "file:")) {
        return std::nullopt;
    }
    url.remove_prefix(5);
    url = url.substr(0, url.find_first_of("?#"));
    if (url.substr(0, 2) == "//") {
        url.remove_prefix(2);
        const size_t slash = url.find('/');
        if (slash == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view host = url.substr(0, slash);
        if (!host.empty() && !(host.size() == 9 && _StartsWithNoCase(host, "localhost"))) {
            return std::nullopt;
        }
        url.remove_prefix(slash);
    }
    if (url.empty() || url.front() != '/') {
        return std::nullopt;
    }
    std::string path = _PercentDecode(url);
    if (path.find('\0') != std::string::npos) {
        return std::nullopt;
    }
    return path;
}

}  // namespace

LListViewValueKey LListViewTimeKey(std::string_view text)
{
    text = _Trim(text);
    // The time formatter writes a sign before negative times.
    const bool negative = !text.empty() && text.front() == '-';
    if (negative) {
        text.remove_prefix(1);
    }
    std::vector<std::string_view> fields;
    size_t start = 0;
    while (fields.size() <= kMaxTimeFields) {
        const size_t colon = text.find(':', start);
        fields.push_back(text.substr(start, colon == std::string_view::npos ? colon : colon - start));
        if (colon == std::string_view::npos) {
            break;
        }
        start = colon + 1;
    }
    if (fields.size() > kMaxTimeFields) {
        return {};
    }
    double seconds = 0.0;
    for (size_t i = 0; i < fields.size(); ++i) {
        const std::optional<double> field = _TimeField(fields[i], i + 1 == fields.size());
        if (!field) {
            return {};
        }
        seconds = seconds * kSecondsPerField + *field;
    }
    return {true, negative ? -seconds : seconds};
}

LListViewValueKey LListViewNumberKey(std::string_view text)
{
    text = _Trim(text);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    double value = 0.0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error == std::errc::result_out_of_range && end != text.data()) {
        // Beyond double's range: still a number, at the far end of the order.
        const bool negative = !text.empty() && text.front() == '-';
        return {true, negative ? -HUGE_VAL : HUGE_VAL};
    }
    if (error != std::errc() || std::isnan(value)) {
        return {};
    }
    return {true, value};
}

std::string LListViewTextKey(std::string_view text)
{
    if (_IsAscii(text)) {
        std::string key(text);
        for (char& c : key) {
            if (c >= 'A' && c <= 'Z') {
                c = static_cast<char>(c - 'A' + 'a');
            }
        }
        return key;
    }
    const QByteArray folded =
        QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())).toCaseFolded().toUtf8();
    return std::string(folded.constData(), static_cast<size_t>(folded.size()));
}

namespace {

const std::string& _Cell(const LListViewRow& row, int column)
{
    static const std::string empty;
    return column >= 0 && static_cast<size_t>(column) < row.cells.size() ? row.cells[column] : empty;
}

template <typename Key, typename Less>
std::vector<int> _OrderBy(const std::vector<Key>& keys, bool ascending, Less less)
{
    std::vector<int> order(keys.size());
    std::iota(order.begin(), order.end(), 0);
    if (ascending) {
        std::stable_sort(order.begin(), order.end(),
                         [&](int a, int b) { return less(keys[a], keys[b]); });
    } else {
        std::stable_sort(order.begin(), order.end(),
                         [&](int a, int b) { return less(keys[b], keys[a]); });
    }
    return order;
}

struct _TextKey {
    std::string folded;
    const std::string* raw;
};

}  // namespace

std::vector<int> LListViewSortOrder(const std::vector<LListViewRow>& rows, int column,
                                    LListViewSortKind kind, bool ascending)
{
    if (kind == LListViewSortKind::kText) {
        std::vector<_TextKey> keys;
        keys.reserve(rows.size());
        for (const LListViewRow& row : rows) {
            keys.push_back({LListViewTextKey(_Cell(row, column)), &_Cell(row, column)});
        }
        // Case-insensitive first; texts equal but for case then by their bytes.
        return _OrderBy(keys, ascending, [](const _TextKey& a, const _TextKey& b) {
            const int order = a.folded.compare(b.folded);
            return order != 0 ? order < 0 : *a.raw < *b.raw;
        });
    }
    std::vector<LListViewValueKey> keys;
    keys.reserve(rows.size());
    for (const LListViewRow& row : rows) {
        keys.push_back(kind == LListViewSortKind::kTime ? LListViewTimeKey(_Cell(row, column))
                                                        : LListViewNumberKey(_Cell(row, column)));
    }
    return _OrderBy(keys, ascending,
                    [](const LListViewValueKey& a, const LListViewValueKey& b) { return a < b; });
}

std::vector<int> LListViewColumnWidths(const std::vector<int>& shares, int width)
{
    std::vector<int> widths(shares.size(), 0);
    if (shares.empty()) {
        return widths;
    }
    width = std::max(width, 0);
    long long sum = 0;
    for (int share : shares) {
        sum += std::max(share, 1);
    }
    int given = 0;
    for (size_t i = 0; i + 1 < shares.size(); ++i) {
        widths[i] = static_cast<int>(static_cast<long long>(width) * std::max(shares[i], 1) / sum);
        given += widths[i];
    }
    widths.back() = width - given;
    return widths;
}

std::optional<int> LListViewParseShare(std::string_view text)
{
    if (text.empty() || text.size() > 6 || !std::all_of(text.begin(), text.end(), _IsDigit)) {
        return std::nullopt;
    }
    int value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    if (value < 1 || value > kLListViewMaxShare) {
        return std::nullopt;
    }
    return value;
}

std::vector<std::string> LListViewParseUriList(std::string_view data)
{
    std::vector<std::string> paths;
    size_t start = 0;
    while (start < data.size()) {
        size_t end = data.find('\n', start);
        if (end == std::string_view::npos) {
            end = data.size();
        }
        const std::string_view line = _Trim(data.substr(start, end - start));
        start = end + 1;
        if (line.empty() || line.front() == '#') {
            continue;
        }
        if (std::optional<std::string> path = _LocalPath(line)) {
            paths.push_back(std::move(*path));
        }
    }
    return paths;
}

int LListViewReorderTarget(int from, int dropRow, int rowCount)
{
    if (from < 0 || from >= rowCount) {
        return -1;
    }
    const int to = dropRow < 0 || dropRow >= rowCount ? rowCount - 1 : dropRow;
    return to == from ? -1 : to;
}
