// Small conveniences for tests that drive documents through the exports.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "kvsvg/kvsvg.h"

namespace kvtest {

// Owns a handle for the length of a test.
class Handle {
public:
    Handle() = default;
    explicit Handle(SvgHandle handle) : handle_(handle) {}
    ~Handle() { K_SvgFreeNode(handle_); }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    SvgHandle* out() { return &handle_; }
    SvgHandle get() const { return handle_; }
    operator SvgHandle() const { return handle_; }

private:
    SvgHandle handle_ = nullptr;
};

inline int32_t LoadText(std::string_view text, Handle& document, const SvgLoadOptions* options = nullptr)
{
    return K_SvgLoadDocumentMemory(text.data(), text.size(), document.out(), options);
}

// The document as one line of UTF-8, without the byte-order mark and declaration.
inline std::string SaveRaw(SvgHandle document)
{
    SvgSaveOptions options{kSvgSaveOptionsSize, 0, {0}, 0, 0};
    void* block = nullptr;
    size_t size = 0;
    EXPECT_EQ(K_SvgSaveDocumentMemory(document, &block, &size, &options), SUCCESS);
    std::string text(static_cast<const char*>(block), size);
    K_SvgFreeMemory(block);
    if (text.rfind("\xEF\xBB\xBF", 0) == 0)
        text.erase(0, 3);
    if (text.rfind("<?xml version=\"1.0\"?>", 0) == 0)
        text.erase(0, 21);
    return text;
}

}  // namespace kvtest
