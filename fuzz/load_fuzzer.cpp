// Document load from memory, plain or gzip-compressed (the loader knows
// gzip by its first bytes), once in the library's own syntax and once in
// standard-syntax mode with XML errors tolerated; then what a caller does
// with a loaded document: a walk reading and writing back every element's
// record, a save, and a reload of the saved text. What the library saved it
// must load again, and saving that must give the same text.
#include <cstring>
#include <string_view>

#include "fuzz_support.h"

namespace {

using kvfuzz::Document;

// Saves unformatted UTF-8; the text goes back with K_SvgFreeMemory.
struct SavedText {
    void* block = nullptr;
    size_t size = 0;
    ~SavedText() { K_SvgFreeMemory(block); }
    std::string_view view() const { return {static_cast<const char*>(block), size}; }
};

void SaveReloadAndCompare(SvgHandle document)
{
    SavedText first;
    if (K_SvgSaveDocumentMemory(document, &first.block, &first.size, nullptr) != SUCCESS || !first.block)
        return;
    SvgLoadOptions strict{kSvgLoadOptionsSize, 0, 0};
    Document reloaded;
    int32_t status = K_SvgLoadDocumentMemory(first.block, first.size, reloaded.out(), &strict);
    if (status != SUCCESS)
        kvfuzz::Fail("a saved document does not load again", status);
    SavedText second;
    if (K_SvgSaveDocumentMemory(reloaded.get(), &second.block, &second.size, nullptr) != SUCCESS)
        kvfuzz::Fail("a reloaded document does not save");
    if (first.view() != second.view())
        kvfuzz::Fail("saving a reloaded document changes its text", static_cast<int64_t>(first.size));
}

void LoadAndUse(const uint8_t* data, size_t size, uint32_t flags, bool rewrite)
{
    SvgLoadOptions options{kSvgLoadOptionsSize, flags, 0};
    Document document;
    if (K_SvgLoadDocumentMemory(data, size, document.out(), &options) != SUCCESS)
        return;
    if (rewrite)
        kvfuzz::WalkAndRewriteRecords(document.get());
    SaveReloadAndCompare(document.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    LoadAndUse(data, size, 0, true);
    LoadAndUse(data, size, SVG_LOAD_NORMALIZE | SVG_LOAD_TOLERATE_XML_ERRORS, false);
    return 0;
}
