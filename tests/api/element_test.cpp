#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "api/document_fixture.h"

using kvtest::Handle;
using kvtest::LoadText;
using kvtest::SaveRaw;

namespace {

// Room for any record; records are set up by K_SvgInitElement with their own size.
struct RecordBuffer {
    alignas(8) unsigned char bytes[4096];
    void* get() { return bytes; }
    template <class T>
    T& as() { return *reinterpret_cast<T*>(bytes); }
};

// The first element below the root.
int32_t FirstChild(SvgHandle document, Handle& child)
{
    return K_SvgSelectSingleNode(document, u"/svg/*[1]", child.out());
}

struct KindCase {
    uint32_t type;
    uint32_t size;
    const char* markup;    // one element, placed below the root
    const char* expected;  // the root's content after one read and write
};

// Every kind with the attributes it reads and one it does not (data-keep).
const KindCase kKinds[] = {
    {SVG_ELEMENT_SVG, kSvgSvgElementSize,
     R"~(<svg x="1" y="2" width="30" height="40mm" viewBox="0 0 3 4" preserveAspectRatio="xMinYMax slice" transform="translate(5 6)" contentStyleType="text/css" id="s" data-keep="1"/>)~",
     "<svg x=\"1\" y=\"2\" width=\"30\" height=\"40mm\" viewBox=\"0 0 3 4\" preserveAspectRatio=\"xMinYMax\" transform=\"translate(5 6)\" contentStyleType=\"text/css\" id=\"s\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_G, kSvgGElementSize, R"~(<g transform="scale(2)" id="g" fill="red" data-keep="1"/>)~",
     "<g transform=\"scale(2 2)\" id=\"g\" fill=\"red\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_DEFS, kSvgDefsElementSize, R"~(<defs id="d" requiredFeatures="org.w3c.svg" data-keep="1"/>)~",
     "<defs id=\"d\" requiredFeatures=\"org.w3c.svg\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_DESC, kSvgDescElementSize, R"~(<desc id="d" xml:lang="en" data-keep="1">about</desc>)~",
     "<desc id=\"d\" xml:lang=\"en\" data-keep=\"1\">about</desc>"},
    {SVG_ELEMENT_TITLE, kSvgTitleElementSize, R"~(<title xml:space="preserve" data-keep="1">name</title>)~",
     "<title xml:space=\"preserve\" data-keep=\"1\">name</title>"},
    {SVG_ELEMENT_SYMBOL, kSvgSymbolElementSize,
     R"~(<symbol externalResourcesRequired="true" viewBox="0 0 10 10" preserveAspectRatio="none" transform="rotate(9)" data-keep="1"/>)~",
     "<symbol externalResourcesRequired=\"true\" viewBox=\"0 0 10 10\" preserveAspectRatio=\"none\" transform=\"rotate(9)\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_USE, kSvgUseElementSize,
     R"~(<use xlink:href="#a" x="1" y="2" width="3" height="4" xlink:show="embed" opacity="0.5" data-keep="1"/>)~",
     "<use xlink:href=\"#a\" x=\"1\" y=\"2\" width=\"3\" height=\"4\" xlink:show=\"embed\" opacity=\"0.5\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_IMAGE, kSvgImageElementSize,
     R"~(<image xlink:href="a.png" x="1" width="3in" height="4" preserveAspectRatio="xMidYMid" data-keep="1"/>)~",
     "<image xlink:href=\"a.png\" x=\"1\" width=\"3in\" height=\"4\" preserveAspectRatio=\"xMidYMid\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_SWITCH, kSvgSwitchElementSize,
     R"~(<switch externalResourcesRequired="false" transform="skewX(3)" systemLanguage="en" data-keep="1"/>)~",
     "<switch externalResourcesRequired=\"false\" transform=\"skewX(3)\" systemLanguage=\"en\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_STYLE, kSvgStyleElementSize,
     R"~(<style type="text/css" media="screen" title=" t " id="st" data-keep="1">rect{}</style>)~",
     "<style type=\"text/css\" media=\"screen\" title=\"t\" id=\"st\" data-keep=\"1\">rect{}</style>"},
    {SVG_ELEMENT_PATH, kSvgPathElementSize,
     R"~(<path d="M0 0L10 10h5z" pathLength="100" stroke="blue" stroke-width="2" data-keep="1"/>)~",
     "<path d=\"M0 0 L10 10 h5 z\" pathLength=\"100\" stroke=\"blue\" stroke-width=\"2\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_RECT, kSvgRectElementSize,
     R"~(<rect x="1" y="2" width="10" height="20" rx="3" ry="4" transform="matrix(1 0 0 1 5 6)" style="fill:red" data-keep="1"/>)~",
     "<rect x=\"1\" y=\"2\" width=\"10\" height=\"20\" rx=\"3\" ry=\"4\" transform=\"matrix(1 0 0 1 5 6)\" data-keep=\"1\" fill=\"red\"/>"},
    {SVG_ELEMENT_CIRCLE, kSvgCircleElementSize, R"~(<circle cx="5" cy="6" r="7%" stroke-dasharray="1,2" data-keep="1"/>)~",
     "<circle cx=\"5\" cy=\"6\" r=\"7%\" stroke-dasharray=\"1 2\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_ELLIPSE, kSvgEllipseElementSize, R"~(<ellipse cx="5" cy="6" rx="7" ry="8pt" data-keep="1"/>)~",
     "<ellipse cx=\"5\" cy=\"6\" rx=\"7\" ry=\"8pt\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_LINE, kSvgLineElementSize,
     R"~(<line x1="0" y1="1" x2="2" y2="3" stroke-linecap="round" marker-end="url(#m)" data-keep="1"/>)~",
     "<line x1=\"0\" y1=\"1\" x2=\"2\" y2=\"3\" stroke-linecap=\"round\" marker-end=\"url(#m)\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_POLYLINE, kSvgPolylineElementSize, R"~(<polyline points="1,2 3,4 5,6" fill="none" data-keep="1"/>)~",
     "<polyline points=\"1,2 3,4 5,6\" fill=\"none\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_POLYGON, kSvgPolygonElementSize, R"~(<polygon points="1 2 3 4" fill-rule="evenodd" data-keep="1"/>)~",
     "<polygon points=\"1,2 3,4\" fill-rule=\"evenodd\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_TEXT, kSvgTextElementSize,
     R"~(<text x="1 2" y="3" dx="4" rotate="5" textLength="9" lengthAdjust="spacingAndGlyphs" font-size="12" data-keep="1">Hi</text>)~",
     "<text x=\"1 2\" y=\"3\" dx=\"4\" rotate=\"5\" textLength=\"9\" lengthAdjust=\"spacingAndGlyphs\" font-size=\"12\" data-keep=\"1\">Hi</text>"},
    {SVG_ELEMENT_TSPAN, kSvgTSpanElementSize, R"~(<tspan dy="1" font-weight="bold" data-keep="1">there</tspan>)~",
     "<tspan dy=\"1\" font-weight=\"bold\" data-keep=\"1\">there</tspan>"},
    {SVG_ELEMENT_TREF, kSvgTRefElementSize, R"~(<tref xlink:href="#t" x="1" text-anchor="middle" data-keep="1"/>)~",
     "<tref xlink:href=\"#t\" x=\"1\" text-anchor=\"middle\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_TEXTPATH, kSvgTextPathElementSize,
     R"~(<textPath xlink:href="#p" startOffset="10%" method="stretch" spacing="auto" data-keep="1">on</textPath>)~",
     "<textPath xlink:href=\"#p\" startOffset=\"10%\" method=\"stretch\" spacing=\"auto\" data-keep=\"1\">on</textPath>"},
    {SVG_ELEMENT_ALTGLYPH, kSvgAltGlyphElementSize,
     R"~(<altGlyph xlink:href="#g" glyphRef="gr" format="svg" x="1" data-keep="1"/>)~",
     "<altGlyph xlink:href=\"#g\" glyphRef=\"gr\" format=\"svg\" x=\"1\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_ALTGLYPHDEF, kSvgAltGlyphDefElementSize, R"~(<altGlyphDef id="ad" data-keep="1"/>)~",
     "<altGlyphDef id=\"ad\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_ALTGLYPHITEM, kSvgAltGlyphItemElementSize, R"~(<altGlyphItem id="ai" data-keep="1"/>)~",
     "<altGlyphItem id=\"ai\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_GLYPHREF, kSvgGlyphRefElementSize,
     R"~(<glyphRef xlink:href="#g" glyphRef="a" format="f" x="1" y="2" dx="3" dy="4" data-keep="1"/>)~",
     "<glyphRef xlink:href=\"#g\" glyphRef=\"a\" format=\"f\" x=\"1\" y=\"2\" dx=\"3\" dy=\"4\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_MARKER, kSvgMarkerElementSize,
     R"~(<marker orient="auto" markerUnits="strokeWidth" refX="1" refY="2" markerWidth="3" markerHeight="4" viewBox="0 0 5 5" data-keep="1"/>)~",
     "<marker orient=\"auto\" markerUnits=\"strokeWidth\" refX=\"1\" refY=\"2\" markerWidth=\"3\" markerHeight=\"4\" viewBox=\"0 0 5 5\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_COLOR_PROFILE, kSvgColorProfileElementSize,
     R"~(<color-profile xlink:href="p.icc" name="n" local="l" rendering-intent="perceptual" data-keep="1"/>)~",
     "<color-profile xlink:href=\"p.icc\" name=\"n\" local=\"l\" rendering-intent=\"perceptual\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_LINEARGRADIENT, kSvgLinearGradientElementSize,
     R"~(<linearGradient xlink:href="#b" gradientTransform="rotate(45)" spreadMethod="reflect" gradientUnits="userSpaceOnUse" x1="0" y1="0" x2="1" y2="1" data-keep="1"/>)~",
     "<linearGradient xlink:href=\"#b\" gradientTransform=\"rotate(45)\" spreadMethod=\"reflect\" gradientUnits=\"userSpaceOnUse\" x1=\"0\" y1=\"0\" x2=\"1\" y2=\"1\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_RADIALGRADIENT, kSvgRadialGradientElementSize,
     R"~(<radialGradient cx="50%" cy="50%" fx="1" fy="2" r="3" spreadMethod="repeat" gradientUnits="objectBoundingBox" data-keep="1"/>)~",
     "<radialGradient cx=\"50%\" cy=\"50%\" fx=\"1\" fy=\"2\" r=\"3\" spreadMethod=\"repeat\" gradientUnits=\"objectBoundingBox\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_STOP, kSvgStopElementSize, R"~(<stop offset="0.5" stop-color="#102030" stop-opacity="0.25" data-keep="1"/>)~",
     "<stop offset=\"0.5\" stop-color=\"#102030\" stop-opacity=\"0.25\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_PATTERN, kSvgPatternElementSize,
     R"~(<pattern patternUnits="userSpaceOnUse" patternContentUnits="objectBoundingBox" x="0" y="0" width="10" height="10" viewBox="0 0 1 1" patternTransform="scale(3)" data-keep="1"/>)~",
     "<pattern patternUnits=\"userSpaceOnUse\" patternContentUnits=\"objectBoundingBox\" x=\"0\" y=\"0\" width=\"10\" height=\"10\" viewBox=\"0 0 1 1\" patternTransform=\"scale(3 3)\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_CLIPPATH, kSvgClipPathElementSize,
     R"~(<clipPath clipPathUnits="objectBoundingBox" transform="translate(1)" clip-path="url(#c)" data-keep="1"/>)~",
     "<clipPath clipPathUnits=\"objectBoundingBox\" transform=\"translate(1)\" clip-path=\"url(#c)\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_FONT, kSvgFontElementSize,
     R"~(<font horiz-origin-x="1" horiz-origin-y="2" horiz-adv-x="3" vert-origin-x="4" vert-origin-y="5" vert-adv-y="6" data-keep="1"/>)~",
     "<font horiz-origin-x=\"1\" horiz-origin-y=\"2\" horiz-adv-x=\"3\" vert-origin-x=\"4\" vert-origin-y=\"5\" vert-adv-y=\"6\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_GLYPH, kSvgGlyphElementSize,
     R"~(<glyph unicode=" " glyph-name="space" horiz-adv-x="250" arabic-form="medial" orientation="v" d="M0 0" data-keep="1"/>)~",
     "<glyph unicode=\" \" glyph-name=\"space\" horiz-adv-x=\"250\" arabic-form=\"medial\" orientation=\"v\" d=\"M0 0\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_MISSING_GLYPH, kSvgMissingGlyphElementSize,
     R"~(<missing-glyph horiz-adv-x="500" d="M0 0L1 1" data-keep="1"/>)~",
     "<missing-glyph horiz-adv-x=\"500\" d=\"M0 0 L1 1\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_HKERN, kSvgHKernElementSize, R"~(<hkern u1="A" u2="V" k="40" data-keep="1"/>)~",
     "<hkern u1=\"A\" u2=\"V\" k=\"40\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_VKERN, kSvgVKernElementSize, R"~(<vkern g1="a" g2="b" k="-5" data-keep="1"/>)~",
     "<vkern g1=\"a\" g2=\"b\" k=\"-5\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_FONT_FACE, kSvgFontFaceElementSize,
     R"~(<font-face font-family="Serif" units-per-em="1000" ascent="800" descent="-200" panose-1="2 0 5 3" font-style="italic" data-keep="1"/>)~",
     "<font-face font-family=\"Serif\" units-per-em=\"1000\" ascent=\"800\" descent=\"-200\" panose-1=\"2 0 5 3\" font-style=\"italic\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_FONT_FACE_SRC, kSvgFontFaceSrcElementSize, R"~(<font-face-src id="src" data-keep="1"/>)~",
     "<font-face-src id=\"src\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_FONT_FACE_URI, kSvgFontFaceUriElementSize, R"~(<font-face-uri xlink:href="f.svg#x" data-keep="1"/>)~",
     "<font-face-uri xlink:href=\"f.svg#x\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_FONT_FACE_FORMAT, kSvgFontFaceFormatElementSize, R"~(<font-face-format string="svg" data-keep="1"/>)~",
     "<font-face-format string=\"svg\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_FONT_FACE_NAME, kSvgFontFaceNameElementSize, R"~(<font-face-name name="Serif Bold" data-keep="1"/>)~",
     "<font-face-name name=\"Serif Bold\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_DEFINITION_SRC, kSvgDefinitionSrcElementSize, R"~(<definition-src xlink:href="d.pfr" data-keep="1"/>)~",
     "<definition-src xlink:href=\"d.pfr\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_A, kSvgAnchorElementSize,
     R"~(<a xlink:href="http://x" xlink:title="t" transform="scale(1 2)" data-keep="1"/>)~",
     "<a xlink:href=\"http://x\" xlink:title=\"t\" transform=\"scale(1 2)\" data-keep=\"1\"/>"},
    {SVG_ELEMENT_MASK, kSvgMaskElementSize, R"~(<mask x="-10%" y="0" width="1" height="2" opacity="0.5" data-keep="1"/>)~",
     "<mask x=\"-10%\" y=\"0\" width=\"1\" height=\"2\" opacity=\"0.5\" data-keep=\"1\"/>"},
};

std::string Wrapped(const char* markup)
{
    return std::string(R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink">)~") + markup + "</svg>";
}

// The saved document less the root's start and end tags.
std::string Content(SvgHandle document)
{
    std::string text = SaveRaw(document);
    size_t start = text.find('>') + 1;
    size_t end = text.rfind("</svg>");
    return end == std::string::npos || end < start ? std::string() : text.substr(start, end - start);
}

}  // namespace

TEST(ElementRecord, ReadWriteReadKeepsEveryKind)
{
    for (const KindCase& c : kKinds) {
        SCOPED_TRACE(c.markup);
        Handle document;
        ASSERT_EQ(LoadText(Wrapped(c.markup), document), SUCCESS);
        Handle element;
        ASSERT_EQ(FirstChild(document, element), SUCCESS);
        uint32_t type = 0;
        K_SvgGetElementType(element, &type);
        ASSERT_EQ(type, c.type);

        RecordBuffer first, second;
        ASSERT_EQ(K_SvgInitElement(first.get(), c.type, c.size), SUCCESS);
        ASSERT_EQ(K_SvgGetElement(element, first.get(), c.size), SUCCESS);
        ASSERT_EQ(K_SvgSetElement(element, first.get()), SUCCESS);
        std::string written = Content(document);
        EXPECT_EQ(written, c.expected);
        EXPECT_NE(written.find(R"~(data-keep="1")~"), std::string::npos);

        // What was written reads back as the same record, which writes the same text.
        ASSERT_EQ(K_SvgInitElement(second.get(), c.type, c.size), SUCCESS);
        ASSERT_EQ(K_SvgGetElement(element, second.get(), c.size), SUCCESS);
        ASSERT_EQ(K_SvgSetElement(element, second.get()), SUCCESS);
        EXPECT_EQ(Content(document), written);
        EXPECT_EQ(K_SvgFreeElement(first.get(), c.type), SUCCESS);
        EXPECT_EQ(K_SvgFreeElement(second.get(), c.type), SUCCESS);
    }
}

TEST(ElementRecord, KeepsTheCharacterDataOfTextAndItsPreservedSpaces)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><text xml:space="preserve" style="fill:red">  two  </text></svg>)~", document), SUCCESS);
    Handle text;
    ASSERT_EQ(FirstChild(document, text), SUCCESS);
    RecordBuffer record;
    ASSERT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_TEXT, kSvgTextElementSize), SUCCESS);
    ASSERT_EQ(K_SvgGetElement(text, record.get(), kSvgTextElementSize), SUCCESS);
    SvgTextElement& read = record.as<SvgTextElement>();
    EXPECT_EQ(std::u16string(read.text, read.textCount), u"  two  ");
    EXPECT_EQ(read.core.xmlSpace, 2u);
    EXPECT_EQ(read.style.paint.fill.paint.kind, SVG_PAINT_COLOR);

    // The count decides, not a terminator: a caller may point into a longer line.
    KvChar* own = read.text;
    const KvChar line[] = u"one line of text";
    read.text = const_cast<KvChar*>(line);
    read.textCount = 3;
    ASSERT_EQ(K_SvgSetElement(text, record.get()), SUCCESS);
    read.text = own;
    EXPECT_EQ(Content(document), R"~(<text xml:space="preserve" fill="red" style="white-space:pre;">one</text>)~");
    EXPECT_EQ(K_SvgFreeElement(record.get(), SVG_ELEMENT_TEXT), SUCCESS);
}

TEST(ElementRecord, RefusesWrongSizesOuterAndNested)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><rect x="1" id="r"/></svg>)~", document), SUCCESS);
    Handle rect;
    ASSERT_EQ(FirstChild(document, rect), SUCCESS);
    RecordBuffer record;
    EXPECT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_RECT, kSvgRectElementSize - 1), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_RECT, kSvgCircleElementSize), ERROR_RECORD_SIZE);

    // A circle's record read from a rect is refused and left untouched.
    ASSERT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_CIRCLE, kSvgCircleElementSize), SUCCESS);
    EXPECT_EQ(K_SvgGetElement(rect, record.get(), kSvgCircleElementSize), ERROR_RECORD_SIZE);
    EXPECT_EQ(record.as<SvgCircleElement>().core.id, nullptr);
    EXPECT_EQ(K_SvgSetElement(rect, record.get()), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_SvgFreeElement(record.get(), SVG_ELEMENT_RECT), SUCCESS);  // its status is not reported

    const struct {
        const char* what;
        void (*spoil)(SvgRectElement&);
    } nested[] = {
        {"length", [](SvgRectElement& r) { r.ry.size = 19; }},
        {"transform", [](SvgRectElement& r) { r.transform.size = 11; }},
        {"core", [](SvgRectElement& r) { r.core.size = 0; }},
        {"conditional", [](SvgRectElement& r) { r.conditional.size += 1; }},
        {"style", [](SvgRectElement& r) { r.style.size -= 8; }},
        {"fill inside style", [](SvgRectElement& r) { r.style.paint.fill.size = 1; }},
    };
    for (const auto& n : nested) {
        SCOPED_TRACE(n.what);
        ASSERT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_RECT, kSvgRectElementSize), SUCCESS);
        ASSERT_EQ(K_SvgGetElement(rect, record.get(), kSvgRectElementSize), SUCCESS);
        n.spoil(record.as<SvgRectElement>());
        EXPECT_EQ(K_SvgSetElement(rect, record.get()), ERROR_RECORD_SIZE);
        EXPECT_EQ(K_SvgFreeElement(record.get(), SVG_ELEMENT_RECT), SUCCESS);
    }
}

TEST(ElementRecord, ChecksArgumentsBeforeTheKindOfHandle)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><rect/><unknown/></svg>)~", document), SUCCESS);
    Handle unknown;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/unknown", unknown.out()), SUCCESS);
    RecordBuffer record;
    ASSERT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_RECT, kSvgRectElementSize), SUCCESS);
    EXPECT_EQ(K_SvgInitElement(nullptr, SVG_ELEMENT_RECT, 1), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgInitElement(record.get(), SVG_ELEMENT_UNKNOWN, kSvgRectElementSize), FAILURE);
    EXPECT_EQ(K_SvgFreeElement(nullptr, SVG_ELEMENT_RECT), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetElement(nullptr, record.get(), 1), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetElement(document, nullptr, 1), ERROR_INV_PARAMETER);
    // The kind of handle is tested before the record's size.
    EXPECT_EQ(K_SvgGetElement(document, record.get(), 1), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgGetElement(unknown, record.get(), kSvgRectElementSize), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgSetElement(document, record.get()), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_SvgSetElement(unknown, nullptr), ERROR_INV_PARAMETER);
}
