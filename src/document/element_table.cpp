#include "document/element_table.h"

#include <array>
#include <vector>

namespace {

constexpr std::array<std::string_view, 45> kElementNames = {
    "svg", "g", "defs", "desc", "title", "symbol", "use", "image", "switch", "style", "path", "rect",
    "circle", "ellipse", "line", "polyline", "polygon", "text", "tspan", "tref", "textPath", "altGlyph",
    "altGlyphDef", "altGlyphItem", "glyphRef", "marker", "color-profile", "linearGradient",
    "radialGradient", "stop", "pattern", "clipPath", "font", "glyph", "missing-glyph", "hkern", "vkern",
    "font-face", "font-face-src", "font-face-uri", "font-face-format", "font-face-name", "definition-src",
    "a", "mask"};

constexpr std::array<std::u16string_view, 45> kElementNamesWide = {
    u"svg", u"g", u"defs", u"desc", u"title", u"symbol", u"use", u"image", u"switch", u"style", u"path",
    u"rect", u"circle", u"ellipse", u"line", u"polyline", u"polygon", u"text", u"tspan", u"tref",
    u"textPath", u"altGlyph", u"altGlyphDef", u"altGlyphItem", u"glyphRef", u"marker", u"color-profile",
    u"linearGradient", u"radialGradient", u"stop", u"pattern", u"clipPath", u"font", u"glyph",
    u"missing-glyph", u"hkern", u"vkern", u"font-face", u"font-face-src", u"font-face-uri",
    u"font-face-format", u"font-face-name", u"definition-src", u"a", u"mask"};

constexpr uint32_t kBucketCount = 569;

// Buckets built once from the name list; the order inside a bucket does not
// matter because names are compared exactly.
struct ElementBuckets {
    std::array<std::vector<uint8_t>, kBucketCount> buckets;
    ElementBuckets()
    {
        for (size_t i = 0; i < kElementNames.size(); ++i)
            buckets[KeywordHash(kElementNames[i]) % kBucketCount].push_back(static_cast<uint8_t>(i));
    }
};

const ElementBuckets& Buckets()
{
    static const ElementBuckets table;
    return table;
}

}  // namespace

std::string_view SvgElementName(uint32_t type)
{
    if (type < kSvgFirstElementType || type > kSvgLastElementType)
        return {};
    return kElementNames[type - kSvgFirstElementType];
}

std::u16string_view SvgElementNameWide(uint32_t type)
{
    if (type < kSvgFirstElementType || type > kSvgLastElementType)
        return {};
    return kElementNamesWide[type - kSvgFirstElementType];
}

uint32_t LookupElementType(std::string_view name)
{
    // The prefix test looks anywhere in the name but always drops the first
    // four characters, so only a leading "svg:" can still match an element.
    if (name.find("svg:") != std::string_view::npos)
        name.remove_prefix(name.size() < 4 ? name.size() : 4);
    for (uint8_t index : Buckets().buckets[KeywordHash(name) % kBucketCount]) {
        if (kElementNames[index] == name)
            return index + kSvgFirstElementType;
    }
    return kSvgTypeUnknown;
}
