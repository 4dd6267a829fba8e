// Any bytes as an M3U, a PLS and an XML list: no crash, paths within a path buffer, and the
// direct reader of written lists, whenever it takes a text, reads it as the tree reader does.
#include "app/LPlayList.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void _Check(const LPlayList& list)
{
    int index = 0;
    for (const auto& item : list.GetItems()) {
        if (strlen(item->GetPath()) > LFile::kMaxPathChars || item->GetIndex() != index++)
            std::abort();
        std::string escaped;
        LHTMLEncodeToWriter(escaped, item->GetPath());
        if (escaped.size() > LFile::kMaxPathChars)
            std::abort();
        // Line ends are written as the two tags "<br>" and "<p>"; no other "<" or ">" is.
        for (const char* tag : {"<br>", "<p>"})
            for (size_t at; (at = escaped.find(tag)) != std::string::npos;)
                escaped.erase(at, strlen(tag));
        if (escaped.find_first_of("<>") != std::string::npos)
            std::abort();
    }
}

bool _Same(const LPlayList& a, const LPlayList& b)
{
    if (a.Count() != b.Count())
        return false;
    for (size_t i = 0; i < a.Count(); ++i) {
        const LPlayItem& x = *a.GetItem(i);
        const LPlayItem& y = *b.GetItem(i);
        if (strcmp(x.GetPath(), y.GetPath()) != 0 || x.Parms().Count() != y.Parms().Count())
            return false;
        auto other = y.Parms().begin();
        for (const LHashNode& node : x.Parms()) {
            if (strcmp(node.GetKey(), other->GetKey()) != 0 || strcmp(node.GetData(), other->GetData()) != 0)
                return false;
            ++other;
        }
    }
    return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    LPlayList m3u, pls;
    m3u.LoadM3uText(text.data(), text.size(), "/fuzz/list.m3u");
    pls.LoadPlsText(text.data(), text.size(), "/fuzz/list.pls");
    _Check(m3u);
    _Check(pls);

    LPlayList direct, tree;
    const bool taken = LPlayListReadWrittenXml(direct, text.c_str());
    tree.LoadXmlTree(text.c_str());
    _Check(tree);
    if (taken && !_Same(direct, tree))
        std::abort();
    if (!taken && direct.Count() != 0)
        std::abort();
    // The same text in small pieces, as a file is read: the same answer and entries.
    LPlayListWrittenXmlReader reader;
    const size_t length = strlen(text.c_str()), piece = 1 + (size > 0 ? data[0] % 7 : 0);
    bool fed = true;
    for (size_t at = 0; at < length && fed; at += piece)
        fed = reader.Feed(text.data() + at, std::min(piece, length - at));
    LPlayList pieces;
    if ((fed && reader.Finish(pieces)) != taken || (taken && !_Same(direct, pieces)))
        std::abort();
    (void)tree.FormatXml();
    tree.Sort();
    if (tree.Count() > 1)
        tree.MoveSingleItem(0, static_cast<int>(tree.Count() - 1));
    return 0;
}
