#include "fuzz_support.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "base/tracked_memory.h"

namespace kvfuzz {

namespace {

struct TypeRecord {
    uint32_t type;
    uint32_t size;
};

constexpr TypeRecord kRecords[] = {
    {SVG_ELEMENT_SVG, kSvgSvgElementSize}, {SVG_ELEMENT_G, kSvgGElementSize},
    {SVG_ELEMENT_DEFS, kSvgDefsElementSize}, {SVG_ELEMENT_DESC, kSvgDescElementSize},
    {SVG_ELEMENT_TITLE, kSvgTitleElementSize}, {SVG_ELEMENT_SYMBOL, kSvgSymbolElementSize},
    {SVG_ELEMENT_USE, kSvgUseElementSize}, {SVG_ELEMENT_IMAGE, kSvgImageElementSize},
    {SVG_ELEMENT_SWITCH, kSvgSwitchElementSize}, {SVG_ELEMENT_STYLE, kSvgStyleElementSize},
    {SVG_ELEMENT_PATH, kSvgPathElementSize}, {SVG_ELEMENT_RECT, kSvgRectElementSize},
    {SVG_ELEMENT_CIRCLE, kSvgCircleElementSize}, {SVG_ELEMENT_ELLIPSE, kSvgEllipseElementSize},
    {SVG_ELEMENT_LINE, kSvgLineElementSize}, {SVG_ELEMENT_POLYLINE, kSvgPolylineElementSize},
    {SVG_ELEMENT_POLYGON, kSvgPolygonElementSize}, {SVG_ELEMENT_TEXT, kSvgTextElementSize},
    {SVG_ELEMENT_TSPAN, kSvgTSpanElementSize}, {SVG_ELEMENT_TREF, kSvgTRefElementSize},
    {SVG_ELEMENT_TEXTPATH, kSvgTextPathElementSize}, {SVG_ELEMENT_ALTGLYPH, kSvgAltGlyphElementSize},
    {SVG_ELEMENT_ALTGLYPHDEF, kSvgAltGlyphDefElementSize}, {SVG_ELEMENT_ALTGLYPHITEM, kSvgAltGlyphItemElementSize},
    {SVG_ELEMENT_GLYPHREF, kSvgGlyphRefElementSize}, {SVG_ELEMENT_MARKER, kSvgMarkerElementSize},
    {SVG_ELEMENT_COLOR_PROFILE, kSvgColorProfileElementSize},
    {SVG_ELEMENT_LINEARGRADIENT, kSvgLinearGradientElementSize},
    {SVG_ELEMENT_RADIALGRADIENT, kSvgRadialGradientElementSize}, {SVG_ELEMENT_STOP, kSvgStopElementSize},
    {SVG_ELEMENT_PATTERN, kSvgPatternElementSize}, {SVG_ELEMENT_CLIPPATH, kSvgClipPathElementSize},
    {SVG_ELEMENT_FONT, kSvgFontElementSize}, {SVG_ELEMENT_GLYPH, kSvgGlyphElementSize},
    {SVG_ELEMENT_MISSING_GLYPH, kSvgMissingGlyphElementSize}, {SVG_ELEMENT_HKERN, kSvgHKernElementSize},
    {SVG_ELEMENT_VKERN, kSvgVKernElementSize}, {SVG_ELEMENT_FONT_FACE, kSvgFontFaceElementSize},
    {SVG_ELEMENT_FONT_FACE_SRC, kSvgFontFaceSrcElementSize}, {SVG_ELEMENT_FONT_FACE_URI, kSvgFontFaceUriElementSize},
    {SVG_ELEMENT_FONT_FACE_FORMAT, kSvgFontFaceFormatElementSize},
    {SVG_ELEMENT_FONT_FACE_NAME, kSvgFontFaceNameElementSize},
    {SVG_ELEMENT_DEFINITION_SRC, kSvgDefinitionSrcElementSize}, {SVG_ELEMENT_A, kSvgAnchorElementSize},
    {SVG_ELEMENT_MASK, kSvgMaskElementSize},
};

constexpr bool EveryRecordFits()
{
    for (const TypeRecord& record : kRecords) {
        if (record.size > sizeof(RecordBuffer))
            return false;
    }
    return true;
}
static_assert(EveryRecordFits(), "RecordBuffer must hold every element record");

// The walk's callback: everything a caller may do with one element's record.
int32_t RewriteElement(SvgHandle element, void*)
{
    uint32_t type = 0;
    if (K_SvgGetElementType(element, &type) != SUCCESS)
        return SUCCESS;
    for (uint32_t index = 0;; ++index) {
        KvChar* name = nullptr;
        if (K_SvgGetElementAttributeNameAt(element, index, &name) != SUCCESS || !name)
            break;
        KvChar* value = nullptr;
        K_SvgGetElementAttributeValue(element, name, &value);
        K_SvgFreeMemory(value);
        K_SvgFreeMemory(name);
    }
    uint32_t size = RecordSizeOf(type);
    if (size == 0)
        return SUCCESS;
    RecordBuffer record;
    if (K_SvgInitElement(record.bytes, type, size) != SUCCESS)
        Fail("K_SvgInitElement refused a known type", type);
    if (K_SvgGetElement(element, record.bytes, size) == SUCCESS)
        K_SvgSetElement(element, record.bytes);
    K_SvgFreeElement(record.bytes, type);
    return SUCCESS;
}

}  // namespace

LeakCheck::~LeakCheck()
{
    size_t blocks = TrackedLiveBlocks();
    size_t resources = TrackedLiveResources();
    if (blocks == 0 && resources == 0)
        return;
    std::fprintf(stderr, "kvsvg fuzz: the input left %zu tracked blocks and %zu resources\n%s", blocks, resources,
                 DescribeLiveTracked(20).c_str());
    std::abort();
}

void Fail(const char* what, int64_t detail)
{
    std::fprintf(stderr, "kvsvg fuzz: %s (%lld)\n", what, static_cast<long long>(detail));
    std::abort();
}

void Report(const char* label, std::u16string_view text)
{
    std::string utf8;
    for (size_t i = 0; i < text.size(); ++i) {
        uint32_t code = text[i];
        if (code >= 0xD800 && code <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
            code = 0x10000 + ((code - 0xD800) << 10) + (text[++i] - 0xDC00);
        else if (code >= 0xD800 && code <= 0xDFFF)
            code = 0xFFFD;
        if (code < 0x80) {
            utf8.push_back(static_cast<char>(code));
        } else if (code < 0x800) {
            utf8.push_back(static_cast<char>(0xC0 | (code >> 6)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else if (code < 0x10000) {
            utf8.push_back(static_cast<char>(0xE0 | (code >> 12)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else {
            utf8.push_back(static_cast<char>(0xF0 | (code >> 18)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
            utf8.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
    }
    std::fprintf(stderr, "kvsvg fuzz: %s: \"%s\"\n", label, utf8.c_str());
}

std::u16string WideFromBytes(std::string_view bytes)
{
    std::u16string wide;
    wide.reserve(bytes.size());
    size_t at = 0;
    while (at < bytes.size()) {
        auto lead = static_cast<unsigned char>(bytes[at]);
        size_t length = lead < 0x80 ? 1 : (lead >> 5) == 0x6 ? 2 : (lead >> 4) == 0xE ? 3 : (lead >> 3) == 0x1E ? 4 : 0;
        uint32_t code = length == 1 ? lead : length == 2 ? lead & 0x1F : length == 3 ? lead & 0x0F : lead & 0x07;
        bool valid = length != 0 && at + length <= bytes.size();
        for (size_t i = 1; valid && i < length; ++i) {
            auto next = static_cast<unsigned char>(bytes[at + i]);
            valid = (next & 0xC0) == 0x80;
            code = (code << 6) | (next & 0x3F);
        }
        if (!valid) {
            wide.push_back(u'\uFFFD');
            ++at;
            continue;
        }
        at += length;
        // Lone surrogates are kept: hostile text at the boundary has them.
        if (code >= 0x10000 && code <= 0x10FFFF) {
            code -= 0x10000;
            wide.push_back(static_cast<char16_t>(0xD800 + (code >> 10)));
            wide.push_back(static_cast<char16_t>(0xDC00 + (code & 0x3FF)));
        } else if (code < 0x10000) {
            wide.push_back(static_cast<char16_t>(code));
        } else {
            wide.push_back(u'\uFFFD');
        }
    }
    return wide;
}

uint32_t RecordSizeOf(uint32_t type)
{
    for (const TypeRecord& record : kRecords) {
        if (record.type == type)
            return record.size;
    }
    return 0;
}

double ByteReader::Number()
{
    constexpr double kSpecial[] = {0.0,
                                   -0.0,
                                   1.0,
                                   -1.0,
                                   0.5,
                                   100.0,
                                   1e6,
                                   -1e6,
                                   1e300,
                                   -1e300,
                                   std::numeric_limits<double>::max(),
                                   std::numeric_limits<double>::denorm_min(),
                                   std::numeric_limits<double>::infinity(),
                                   -std::numeric_limits<double>::infinity(),
                                   std::numeric_limits<double>::quiet_NaN(),
                                   2147483648.0};
    constexpr int kSpecialCount = sizeof(kSpecial) / sizeof(kSpecial[0]);
    uint8_t selector = Byte();
    if (selector < kSpecialCount)
        return kSpecial[selector];
    if (selector == 0xFF) {
        uint64_t bits = Word();
        bits |= uint64_t(Word()) << 32;
        double raw;
        std::memcpy(&raw, &bits, sizeof raw);
        return raw;
    }
    // Quarter steps from -32 to 32 with a second byte, whole numbers from 0
    // to 126 without: what hand-made drawings hold.
    if (selector < 128)
        return (int32_t(Byte()) - 128) / 4.0;
    return selector - 128.0;
}

void WalkAndRewriteRecords(SvgHandle document)
{
    K_SvgEnumerateElements(document, SVG_ENUM_PREORDER, RewriteElement, nullptr);
}

}  // namespace kvfuzz
