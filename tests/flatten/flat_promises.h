// The promises of a flat document (src/flatten/README.md), checked in one
// place on every flat document the tests make, and the small helpers that
// make and print flat documents.
#pragma once

#include <set>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "api/document_fixture.h"
#include "kvsvg/kvsvg.h"

namespace kvtest {

inline std::string Narrow(const KvChar* text)
{
    std::string out;
    for (const KvChar* c = text; c && *c; ++c)
        out += static_cast<char>(*c);
    return out;
}

inline std::string NameOf(SvgHandle node)
{
    KvChar* name = nullptr;
    EXPECT_EQ(K_SvgGetElementName(node, &name), SUCCESS);
    std::string text = Narrow(name);
    K_SvgFreeMemory(name);
    return text;
}

// The attribute's value, or "(none)".
inline std::string AttributeOf(SvgHandle node, const KvChar* attribute)
{
    KvChar* value = nullptr;
    EXPECT_EQ(K_SvgGetElementAttributeValue(node, attribute, &value), SUCCESS);
    std::string text = value ? Narrow(value) : "(none)";
    K_SvgFreeMemory(value);
    return text;
}

inline uint32_t RecordSizeOf(uint32_t type)
{
    switch (type) {
    case SVG_ELEMENT_SVG: return kSvgSvgElementSize;
    case SVG_ELEMENT_A: return kSvgAnchorElementSize;
    case SVG_ELEMENT_LINE: return kSvgLineElementSize;
    case SVG_ELEMENT_RECT: return kSvgRectElementSize;
    case SVG_ELEMENT_CIRCLE: return kSvgCircleElementSize;
    case SVG_ELEMENT_ELLIPSE: return kSvgEllipseElementSize;
    case SVG_ELEMENT_POLYLINE:
    case SVG_ELEMENT_POLYGON: return kSvgPolyElementSize;
    case SVG_ELEMENT_PATH: return kSvgPathElementSize;
    case SVG_ELEMENT_IMAGE: return kSvgImageElementSize;
    case SVG_ELEMENT_TEXT: return kSvgTextElementSize;
    case SVG_ELEMENT_LINEARGRADIENT: return kSvgLinearGradientElementSize;
    case SVG_ELEMENT_RADIALGRADIENT: return kSvgRadialGradientElementSize;
    case SVG_ELEMENT_STOP: return kSvgStopElementSize;
    case SVG_ELEMENT_PATTERN: return kSvgPatternElementSize;
    case SVG_ELEMENT_CLIPPATH: return kSvgClipPathElementSize;
    default: return 0;
    }
}

inline bool IsPlain(const SvgLength& length)
{
    return length.unit == SVG_UNIT_NONE && length.percent == 0;
}

// Reads the element's record and checks the lengths a shape promises in pixels.
inline void ExpectRecordReads(SvgHandle node, uint32_t type, const std::string& name)
{
    const uint32_t size = RecordSizeOf(type);
    ASSERT_NE(size, 0u) << name << " has no record to read";
    alignas(8) unsigned char record[4096];
    ASSERT_EQ(K_SvgInitElement(record, type, size), SUCCESS) << name;
    EXPECT_EQ(K_SvgGetElement(node, record, size), SUCCESS) << name << " does not read back";
    auto plain = [&](std::initializer_list<const SvgLength*> lengths) {
        for (const SvgLength* length : lengths)
            EXPECT_TRUE(IsPlain(*length)) << name << " keeps a unit or percentage";
    };
    auto strokePlain = [&](const K_SvgStyleProp& style) {
        EXPECT_TRUE(IsPlain(style.paint.stroke.width)) << name << " stroke-width";
    };
    switch (type) {
    case SVG_ELEMENT_SVG: {
        const auto& svg = *reinterpret_cast<SvgSvgElement*>(record);
        plain({&svg.x, &svg.y, &svg.width, &svg.height});
        EXPECT_NE(svg.xlink.xmlnsXlink, nullptr) << "the root declares no xlink namespace";
        break;
    }
    case SVG_ELEMENT_RECT: {
        const auto& r = *reinterpret_cast<SvgRectElement*>(record);
        plain({&r.x, &r.y, &r.width, &r.height, &r.rx, &r.ry});
        strokePlain(r.style);
        break;
    }
    case SVG_ELEMENT_CIRCLE: {
        const auto& c = *reinterpret_cast<SvgCircleElement*>(record);
        plain({&c.cx, &c.cy, &c.r});
        strokePlain(c.style);
        break;
    }
    case SVG_ELEMENT_ELLIPSE: {
        const auto& e = *reinterpret_cast<SvgEllipseElement*>(record);
        plain({&e.cx, &e.cy, &e.rx, &e.ry});
        strokePlain(e.style);
        break;
    }
    case SVG_ELEMENT_LINE: {
        const auto& l = *reinterpret_cast<SvgLineElement*>(record);
        plain({&l.x1, &l.y1, &l.x2, &l.y2});
        strokePlain(l.style);
        break;
    }
    case SVG_ELEMENT_POLYLINE:
    case SVG_ELEMENT_POLYGON:
        strokePlain(reinterpret_cast<SvgPolyElement*>(record)->style);
        break;
    case SVG_ELEMENT_PATH:
        strokePlain(reinterpret_cast<SvgPathElement*>(record)->style);
        break;
    default:
        break;
    }
    EXPECT_EQ(K_SvgFreeElement(record, type), SUCCESS);
}

// Every promise of the flat form, on a flat document made by K_SvgFlatDocument.
inline void ExpectFlatPromises(SvgHandle flat)
{
    // It saves and loads back; the rest is checked on what was loaded.
    const std::string text = SaveRaw(flat);
    Handle reloaded;
    ASSERT_EQ(LoadText(text, reloaded), SUCCESS) << text;
    int32_t isFlat = 0;
    ASSERT_EQ(K_SvgIsFlatDocument(reloaded, &isFlat), SUCCESS);
    EXPECT_EQ(isFlat, 1) << text;

    Handle root;
    ASSERT_EQ(K_SvgSelectSingleNode(reloaded, u"/svg", root.out()), SUCCESS);
    ASSERT_NE(root.get(), nullptr) << "no svg root: " << text;
    EXPECT_EQ(AttributeOf(root, u"IsFlat"), "true");
    EXPECT_EQ(AttributeOf(root, u"id"), "(none)");
    ExpectRecordReads(root, SVG_ELEMENT_SVG, "svg");

    static const std::set<std::string> allowed = {"a", "line", "rect", "circle", "ellipse", "polyline", "polygon",
                                                  "path", "image", "text", "linearGradient", "radialGradient",
                                                  "stop", "pattern", "clipPath"};
    static const std::set<std::string> shapes = {"a", "line", "rect", "circle", "ellipse", "polyline", "polygon",
                                                 "path"};
    SvgNodesIterator below{kSvgNodesIteratorSize, 0, nullptr};
    ASSERT_EQ(K_SvgSelectNodes(root, u".//*", &below), SUCCESS);
    for (int32_t i = 0; i < below.count && below.nodes[i]; ++i) {
        SvgHandle node = below.nodes[i];
        const std::string name = NameOf(node);
        SCOPED_TRACE(name);
        EXPECT_TRUE(allowed.count(name)) << name << " has no place in a flat document: " << text;
        if (shapes.count(name)) {
            EXPECT_EQ(AttributeOf(node, u"transform"), "(none)") << text;
            EXPECT_EQ(AttributeOf(node, u"id"), "(none)") << text;
        }
        uint32_t type = 0;
        ASSERT_EQ(K_SvgGetElementType(node, &type), SUCCESS);
        if (allowed.count(name))
            ExpectRecordReads(node, type, name);
    }
    K_SvgFreeIterator(&below);
}

// Loads `svg`, flattens it with `options` and checks the promises; the
// flat document's text without declaration, or "STATUS n" on failure.
inline std::string FlattenText(std::string_view svg, const K_SvgFlatOptions* options = nullptr)
{
    Handle source;
    if (int32_t status = LoadText(svg, source); status != SUCCESS)
        return "LOAD " + std::to_string(status);
    Handle flat;
    if (int32_t status = K_SvgFlatDocument(source, flat.out(), options); status != SUCCESS)
        return "STATUS " + std::to_string(status);
    ExpectFlatPromises(flat);
    return SaveRaw(flat);
}

// The flat text with the root's start tag and end tag cut away: only what
// stands below the root.
inline std::string FlatContent(std::string_view svg, const K_SvgFlatOptions* options = nullptr)
{
    std::string text = FlattenText(svg, options);
    const size_t open = text.find('>');
    const size_t close = text.rfind("</svg>");
    if (open == std::string::npos || close == std::string::npos || close < open)
        return text.find("/>") != std::string::npos ? "" : text;
    return text.substr(open + 1, close - open - 1);
}

}  // namespace kvtest
