// The order in which each element reads and writes its attributes, seen
// from outside: where a failing read stops, and the order of the attributes
// that a fresh element receives.
#include <string>

#include <gtest/gtest.h>

#include "api/document_fixture.h"

using kvtest::Handle;
using kvtest::LoadText;
using kvtest::SaveRaw;

namespace {

struct RecordBuffer {
    alignas(8) unsigned char bytes[4096];
    void* get() { return bytes; }
    template <class T>
    T& as() { return *reinterpret_cast<T*>(bytes); }
};

bool IsUnset(double value)
{
    uint64_t bits;
    __builtin_memcpy(&bits, &value, sizeof bits);
    return bits == 0x7FFFFFFFFFFFFFFFull;
}

}  // namespace

TEST(ElementReadOrder, StopsAtTheFirstFailureAndLeavesAFreeableRecord)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><rect id="r" x="5" width="10q" rx="3" fill="red"/></svg>)~", document), SUCCESS);
    Handle rect;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/rect", rect.out()), SUCCESS);
    RecordBuffer record;
    ASSERT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_RECT, kSvgRectElementSize), SUCCESS);
    EXPECT_EQ(K_SvgGetElement(rect, record.get(), kSvgRectElementSize), ERROR_ATTRIBUTE_UNKNOWN);
    const SvgRectElement& read = record.as<SvgRectElement>();
    EXPECT_EQ(read.x.value, 5.0);                               // read before the failure
    EXPECT_TRUE(IsUnset(read.rx.value));                        // never reached
    EXPECT_EQ(read.style.paint.fill.paint.kind, SVG_PAINT_UNSET);  // nor the presentation group
    EXPECT_EQ(read.core.id, nullptr);                           // the failed read emptied the record
    EXPECT_EQ(K_SvgFreeElement(record.get(), SVG_ELEMENT_RECT), SUCCESS);
}

TEST(ElementReadOrder, MaskReadsItsGeometryAfterItsPresentation)
{
    const struct {
        const char* markup;
        uint32_t type;
        uint32_t size;
        size_t fillKindOffset;
        uint32_t fillKind;
    } cases[] = {
        {R"~(<svg><mask x="10q" fill="red"/></svg>)~", SVG_ELEMENT_MASK, kSvgMaskElementSize,
         offsetof(SvgMaskElement, style.paint.fill.paint.kind), SVG_PAINT_COLOR},
        {R"~(<svg><rect x="10q" fill="red"/></svg>)~", SVG_ELEMENT_RECT, kSvgRectElementSize,
         offsetof(SvgRectElement, style.paint.fill.paint.kind), SVG_PAINT_UNSET},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.markup);
        Handle document;
        ASSERT_EQ(LoadText(c.markup, document), SUCCESS);
        Handle element;
        ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/*", element.out()), SUCCESS);
        RecordBuffer record;
        ASSERT_EQ(K_SvgInitElement(record.get(), c.type, c.size), SUCCESS);
        EXPECT_EQ(K_SvgGetElement(element, record.get(), c.size), ERROR_ATTRIBUTE_UNKNOWN);
        uint32_t kind;
        __builtin_memcpy(&kind, record.bytes + c.fillKindOffset, sizeof kind);
        EXPECT_EQ(kind, c.fillKind);
        EXPECT_EQ(K_SvgFreeElement(record.get(), c.type), SUCCESS);
    }
}

TEST(ElementReadOrder, OnlySomeElementsReadExternalResourcesRequired)
{
    // "maybe" is no boolean: an element that reads the attribute fails on it.
    const struct {
        const char* name;
        uint32_t type;
        uint32_t size;
        int32_t status;
    } cases[] = {
        {"rect", SVG_ELEMENT_RECT, kSvgRectElementSize, ERROR_UNKNOWN_KEYWORD},
        {"switch", SVG_ELEMENT_SWITCH, kSvgSwitchElementSize, ERROR_UNKNOWN_KEYWORD},
        {"symbol", SVG_ELEMENT_SYMBOL, kSvgSymbolElementSize, ERROR_UNKNOWN_KEYWORD},
        {"stop", SVG_ELEMENT_STOP, kSvgStopElementSize, SUCCESS},
        {"mask", SVG_ELEMENT_MASK, kSvgMaskElementSize, SUCCESS},
        {"g", SVG_ELEMENT_G, kSvgGElementSize, SUCCESS},
        {"a", SVG_ELEMENT_A, kSvgAnchorElementSize, SUCCESS},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string markup = std::string("<svg><") + c.name + " externalResourcesRequired=\"maybe\"/></svg>";
        Handle document;
        ASSERT_EQ(LoadText(markup, document), SUCCESS);
        Handle element;
        ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/*", element.out()), SUCCESS);
        RecordBuffer record;
        ASSERT_EQ(K_SvgInitElement(record.get(), c.type, c.size), SUCCESS);
        EXPECT_EQ(K_SvgGetElement(element, record.get(), c.size), c.status);
        if (c.status == SUCCESS) {
            // Not read, so not written either: the attribute stays as it was.
            EXPECT_EQ(K_SvgSetElement(element, record.get()), SUCCESS);
            EXPECT_NE(SaveRaw(document).find(R"~(externalResourcesRequired="maybe")~"), std::string::npos);
        }
        EXPECT_EQ(K_SvgFreeElement(record.get(), c.type), SUCCESS);
    }
}

TEST(ElementWriteOrder, AFreshElementGetsItsAttributesInReadOrder)
{
    Handle document;
    ASSERT_EQ(K_SvgCreateDocument(document.out(), 2), SUCCESS);
    RecordBuffer root;
    ASSERT_EQ(K_SvgInitElement(root.get(), SVG_ELEMENT_SVG, kSvgSvgElementSize), SUCCESS);
    root.as<SvgSvgElement>().width = SvgLength{kSvgLengthSize, 10, SVG_UNIT_NONE, 0};
    Handle svg;
    ASSERT_EQ(K_SvgInsertElement(document, root.get(), SVG_ELEMENT_SVG, SVG_INSERT_LAST_CHILD, svg.out()), SUCCESS);

    // The strings below are borrowed, so these records are never freed.
    KvChar id[] = u"e";
    KvChar title[] = u"t";
    KvChar type[] = u"text/css";
    RecordBuffer style;
    ASSERT_EQ(K_SvgInitElement(style.get(), SVG_ELEMENT_STYLE, kSvgStyleElementSize), SUCCESS);
    style.as<SvgStyleElement>().core.id = id;
    style.as<SvgStyleElement>().title = title;
    style.as<SvgStyleElement>().type = type;
    ASSERT_EQ(K_SvgInsertElement(svg, style.get(), SVG_ELEMENT_STYLE, SVG_INSERT_LAST_CHILD, nullptr), SUCCESS);

    RecordBuffer mask;
    ASSERT_EQ(K_SvgInitElement(mask.get(), SVG_ELEMENT_MASK, kSvgMaskElementSize), SUCCESS);
    mask.as<SvgMaskElement>().core.id = id;
    mask.as<SvgMaskElement>().x = SvgLength{kSvgLengthSize, 1, SVG_UNIT_PX, 0};
    mask.as<SvgMaskElement>().style.opacity = 0.5;
    ASSERT_EQ(K_SvgInsertElement(svg, mask.get(), SVG_ELEMENT_MASK, SVG_INSERT_LAST_CHILD, nullptr), SUCCESS);

    RecordBuffer rect;
    ASSERT_EQ(K_SvgInitElement(rect.get(), SVG_ELEMENT_RECT, kSvgRectElementSize), SUCCESS);
    rect.as<SvgRectElement>().core.id = id;
    rect.as<SvgRectElement>().x = SvgLength{kSvgLengthSize, 1, SVG_UNIT_NONE, 0};
    rect.as<SvgRectElement>().height = SvgLength{kSvgLengthSize, 25, SVG_UNIT_NONE, 1};
    rect.as<SvgRectElement>().style.opacity = 0.5;
    rect.as<SvgRectElement>().externalResourcesRequired = 0;
    ASSERT_EQ(K_SvgInsertElement(svg, rect.get(), SVG_ELEMENT_RECT, SVG_INSERT_LAST_CHILD, nullptr), SUCCESS);

    EXPECT_EQ(SaveRaw(document), "<svg version=\"1.1\" width=\"10\">"
                                 "<style title=\"t\" type=\"text/css\" id=\"e\"/>"
                                 "<mask id=\"e\" opacity=\"0.5\" x=\"1px\"/>"
                                 "<rect externalResourcesRequired=\"false\" id=\"e\" x=\"1\" height=\"25%\" opacity=\"0.5\"/>"
                                 "</svg>");
}
