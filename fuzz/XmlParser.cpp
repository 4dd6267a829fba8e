// Any bytes must parse into a tree with at most one message, and whatever tree comes out must
// save and parse again.
#include "app/LXMLElement.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void _Walk(const LXMLElement& element)
{
    (void)element.GetElementData();
    for (const auto& child : element.GetChildren())
        if (child->GetName())
            (void)element.GetElement(child->GetName());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::string text(reinterpret_cast<const char*>(data), size);  // zero-ended by std::string
    LXMLDocument document;
    std::string error;
    document.Parse(text.c_str(), &error);
    // One message at most, always with its position.
    if (error.size() >= kXMLErrorBytes || (!error.empty() && error.rfind("Ln ", 0) != 0))
        std::abort();
    _Walk(document);

    std::string saved;
    // Indentation makes a deep tree's output grow with the square of its depth, so large
    // inputs are written compact.
    document.SaveToBuffer(saved, size < 65536 ? 0 : -1);
    LXMLDocument again;
    again.Parse(saved.c_str());
    _Walk(again);
    return 0;
}
