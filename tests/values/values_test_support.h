// Shared helpers of the value tests: records that clean up after themselves,
// a node parsed from text, and tracked results turned into strings.
#pragma once

#include <string>
#include <string_view>

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "kvsvg/kvsvg.h"
#include "values/value_records.h"

// A tracked text from a formatter, as a string; the block is freed. A null
// result becomes "<null>" so that it cannot pass for an empty text.
inline std::string TakeText(KvChar* text)
{
    if (!text)
        return "<null>";
    std::string utf8 = ToUtf8(std::u16string_view(text));
    KV_FREE(text);
    return utf8;
}

inline std::string Utf8(const KvChar* text)
{
    return text ? ToUtf8(std::u16string_view(text)) : std::string("<null>");
}

// The style record, initialised and freed with the scope.
struct StyleRecord {
    K_SvgStyleProp style;
    StyleRecord() { InitStyleProp(&style); }
    ~StyleRecord() { FreeStyleProp(&style); }
    StyleRecord(const StyleRecord&) = delete;
    StyleRecord& operator=(const StyleRecord&) = delete;
    K_SvgStyleProp* operator->() { return &style; }
    K_SvgStyleProp* get() { return &style; }
};

// One element parsed from markup, e.g. Element("<rect fill='red'/>").
class Element {
public:
    explicit Element(const char* markup)
    {
        pugi::xml_parse_result result = document_.load_string(markup);
        EXPECT_TRUE(result) << result.description();
    }
    pugi::xml_node node() { return document_.document_element(); }
    // The attribute's text, or "<absent>".
    std::string Attribute(const char* name)
    {
        pugi::xml_attribute attribute = node().attribute(name);
        return attribute ? std::string(attribute.value()) : std::string("<absent>");
    }
    // The element as saved, attributes in their order.
    std::string Markup()
    {
        struct Writer : pugi::xml_writer {
            std::string text;
            void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
        } writer;
        node().print(writer, "", pugi::format_raw);
        return writer.text;
    }

private:
    pugi::xml_document document_;
};
