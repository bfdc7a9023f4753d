// The standard-syntax rewrite at load: what it makes of path data, style
// sheets and style lists, that it leaves the contract's syntax alone
// without the flag, and that hostile sheets end quickly.
#include <chrono>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "base/utf.h"
#include "document/svg_normalizer.h"
#include "kvsvg/kvsvg.h"

namespace {

// Loads with or without the flag and gives the attribute of the first
// element the query selects, or "LOAD n" / "(none)".
std::string AttributeAfterLoad(const std::string& svg, const char16_t* query, const char16_t* name,
                               uint32_t flags = SVG_LOAD_NORMALIZE)
{
    SvgLoadOptions options{kSvgLoadOptionsSize, flags, 0};
    SvgHandle document = nullptr;
    if (int32_t status = K_SvgLoadDocumentMemory(svg.data(), svg.size(), &document, &options); status != SUCCESS)
        return "LOAD " + std::to_string(status);
    SvgHandle node = nullptr;
    std::string result = "(none)";
    if (K_SvgSelectSingleNode(document, query, &node) == SUCCESS && node) {
        KvChar* value = nullptr;
        if (K_SvgGetElementAttributeValue(node, name, &value) == SUCCESS && value)
            result = ToUtf8(value);
        K_SvgFreeMemory(value);
        K_SvgFreeNode(node);
    }
    K_SvgFreeNode(document);
    return result;
}

std::string Svg(const std::string& body)
{
    return R"(<svg xmlns="http://www.w3.org/2000/svg">)" + body + "</svg>";
}

}  // namespace

TEST(StandardSyntax, PathDataByTheFullGrammar)
{
    const struct {
        const char* in;
        const char* out;
    } cases[] = {
        {"M10-20", "M 10 -20"},
        {"m9 3 2-1v11l-2 1z", "m 9 3 l 2 -1 v 11 l -2 1 z"},
        {"M1.277-1.361.5.5", "M 1.277 -1.361 L 0.5 0.5"},
        {"a25,25 0 1125,25", "a 25 25 0 1 1 25 25"},
        {"M0,0C1e-5,2E+1 3 4 5 6", "M 0 0 C 1e-05 20 3 4 5 6"},
        {"M 0 0 L 10 10 Q", "M 0 0 L 10 10"},  // what comes before an error stays
        {"L 10 10", "L 10 10"},
        {"", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.in);
        std::string out;
        RewritePathData(c.in, out, nullptr);
        EXPECT_EQ(out, c.out);
    }
    // Through a load, the path record then reads.
    const std::string svg = Svg(R"(<path d="M10-20l5.5-5"/>)");
    EXPECT_EQ(AttributeAfterLoad(svg, u"//*[local-name()='path']", u"d"), "M 10 -20 l 5.5 -5");
    EXPECT_EQ(AttributeAfterLoad(svg, u"//*[local-name()='path']", u"d", 0), "M10-20l5.5-5");
}

TEST(StandardSyntax, SheetsCascadeBetweenAttributesAndInlineStyle)
{
    const struct {
        const char* name;
        const char* body;
        const char* style;
    } cases[] = {
        {"a class rule lands in the style attribute",
         R"(<style>.a { fill: #ff0000 }</style><rect class="a" width="1" height="1"/>)", "fill:#ff0000;"},
        {"color leaves the style for an attribute, the inline one winning",
         R"(<style>.t { color:#444444 }</style><rect class="t" color="red" style="fill:currentColor" width="1" height="1"/>)",
         "fill:currentColor;"},
        {"specificity orders rules, the element's own declarations come after",
         R"(<style>#r { fill: blue } rect { fill: green; stroke: black } .a { fill: red }</style>)"
         R"(<rect id="r" class="a" style="opacity:0.5" width="1" height="1"/>)",
         "fill:green;stroke:black;fill:red;fill:blue;opacity:0.5"},
        {"an important rule beats the inline style",
         R"(<style>rect { fill: red !important }</style><rect style="fill:blue" width="1" height="1"/>)",
         "fill:blue;fill:red;"},
        {"descendant, child, attribute and first-child selectors",
         R"(<style>g rect { fill: red } g > rect[width="1"]:first-child { stroke: blue }</style>)"
         R"(<g><rect width="1" height="1"/></g>)",
         "fill:red;stroke:blue;"},
        {"unsupported selectors are skipped, not guessed at",
         R"(<style>rect:hover { fill: red } g + rect { fill: red } rect { stroke: blue }</style><g/><rect width="1" height="1"/>)",
         "stroke:blue;"},
        {"comments and @-blocks are passed over",
         R"(<style>/* rect { fill: red } */ @media print { rect { fill: red } } rect { stroke: blue }</style><rect width="1" height="1"/>)",
         "stroke:blue;"},
        {"lists in style keep their values apart",
         R"(<rect style="stroke-dasharray:3.125 3.125 ;fill:red" width="1" height="1"/>)",
         "stroke-dasharray:3.125,3.125;fill:red;"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(AttributeAfterLoad(Svg(c.body), u"//*[local-name()='rect']", u"style"), c.style);
    }
    EXPECT_EQ(AttributeAfterLoad(Svg(R"(<style>.t { color:#444444 }</style><rect class="t" color="red"/>)"),
                                 u"//*[local-name()='rect']", u"color"),
              "#444444");
    EXPECT_EQ(AttributeAfterLoad(Svg(R"(<style>.t { color:#444444 }</style><rect class="t" style="color:#00ff00"/>)"),
                                 u"//*[local-name()='rect']", u"color"),
              "#00ff00");
    // Without the flag the sheet is not applied.
    EXPECT_EQ(AttributeAfterLoad(Svg(R"(<style>.a { fill: red }</style><rect class="a"/>)"), u"//*[local-name()='rect']",
                                 u"style", 0),
              "(none)");
}

TEST(StandardSyntax, RectCornersAsStandardSvgDrawsThem)
{
    const struct {
        const char* rect;
        const char* rx;
        const char* ry;
    } cases[] = {
        {R"(<rect width="80" height="40" rx="15"/>)", "15", "15"},
        {R"(<rect width="80" height="40" ry="6px"/>)", "6px", "6px"},
        {R"(<rect width="80" height="40" rx="30"/>)", "30", "20"},  // each held to half its side
        {R"(<rect width="80" height="40" rx="50" ry="5"/>)", "40", "5"},
        {R"(<rect width="80" height="40" rx="2mm"/>)", "2mm", "2mm"},  // units are not compared
        {R"(<rect width="50%" height="40" rx="30"/>)", "30", "20"},
        {R"(<rect width="80" height="40" rx="auto" ry="4"/>)", "4", "4"},
        {R"(<rect width="80" height="40"/>)", "(none)", "(none)"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.rect);
        EXPECT_EQ(AttributeAfterLoad(Svg(c.rect), u"//*[local-name()='rect']", u"rx"), c.rx);
        EXPECT_EQ(AttributeAfterLoad(Svg(c.rect), u"//*[local-name()='rect']", u"ry"), c.ry);
    }
    // The library's own syntax keeps the rect as written: an unset radius is 0.
    EXPECT_EQ(AttributeAfterLoad(Svg(R"(<rect width="8" height="4" rx="1"/>)"), u"//*[local-name()='rect']",
                                 u"ry", 0),
              "(none)");
}

TEST(StandardSyntax, SwitchKeepsItsFirstBranchThatPasses)
{
    const struct {
        const char* name;
        const char* svg;
        const char* kept;
    } cases[] = {
        {"an editor's private extension is passed over",
         R"~(<switch transform="scale(2)"><foreignObject requiredExtensions="http://example.com/x"/>)~"
         R"~(<g id="art"/></switch>)~",
         "art"},
        {"the first branch in a language that matches",
         R"~(<switch><text id="de" systemLanguage="de"/><text id="en" systemLanguage="fr, en-GB"/>)~"
         R"~(<text id="any"/></switch>)~",
         "en"},
        {"a branch without tests when no language matches",
         R"~(<switch><text id="de" systemLanguage="de"/><text id="any"/><text id="later"/></switch>)~", "any"},
        {"nothing when no branch passes", R"~(<switch><g id="x" systemLanguage="es"/></switch>)~", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string svg = Svg(c.svg);
        // What the switch holds now, by id.
        std::string kept;
        for (const char* id : {"art", "de", "en", "any", "later", "x"}) {
            const std::u16string query = u"//*[@id='" + std::u16string(id, id + std::strlen(id)) + u"']";
            if (AttributeAfterLoad(svg, query.c_str(), u"id") != "(none)")
                kept += id;
        }
        EXPECT_EQ(kept, c.kept);
    }
    // The switch is a group now, with its own attributes.
    EXPECT_EQ(AttributeAfterLoad(Svg(R"~(<switch transform="scale(2)"><g/></switch>)~"), u"/*/*[local-name()='g']",
                                 u"transform"),
              "scale(2)");
    // Without the flag the switch stays for the library to drop whole.
    EXPECT_EQ(AttributeAfterLoad(Svg(R"~(<switch id="s"><g/></switch>)~"), u"//*[local-name()='switch']", u"id", 0),
              "s");
}

TEST(StandardSyntax, HostileSheetsEndQuickly)
{
    std::string many = "<style>";
    while (many.size() < 1000000)
        many += ".c" + std::to_string(many.size()) + " > g rect[x='1'], ";
    many += "rect { fill: red }</style>";
    std::string nested = "<style>";
    for (int i = 0; i < 10000; ++i)
        nested += "@media screen {";
    nested += "rect { fill: red }</style>";
    std::string everywhere = "<style>* { stroke: blue }</style>";
    for (int i = 0; i < 100000; ++i)
        everywhere += R"(<rect width="1" height="1"/>)";
    const std::string sheets[] = {
        Svg(many + R"(<rect width="1" height="1"/>)"),
        Svg(nested + R"(<rect width="1" height="1"/>)"),
        Svg(R"(<style>rect { fill: "red </style><rect width="1" height="1"/>)"),
        Svg(R"(<style>/* rect { fill: red }</style><rect width="1" height="1"/>)"),
        Svg(everywhere),
    };
    for (const std::string& svg : sheets) {
        const auto start = std::chrono::steady_clock::now();
        const std::string style = AttributeAfterLoad(svg, u"//*[local-name()='rect']", u"style");
        EXPECT_EQ(style.rfind("LOAD", 0), std::string::npos) << style;
        // Not a timing assertion: a hang would show as a test timeout.
        (void)start;
    }
}

TEST(StandardSyntax, NumbersWrittenFromSuchDocumentsKeepTheirExponent)
{
    const std::string svg = Svg(R"(<path d="M0 8.6628138e-10 L1 1.5e10"/><rect x="2.5e-7" width="1" height="1"/>)");
    // Flattened (and copied) documents write numbers through the records.
    auto flatAttribute = [&](uint32_t flags, bool copyFirst, const char16_t* query, const char16_t* name) {
        SvgLoadOptions options{kSvgLoadOptionsSize, flags, 0};
        SvgHandle document = nullptr, copy = nullptr, flat = nullptr, node = nullptr;
        std::string result = "(none)";
        EXPECT_EQ(K_SvgLoadDocumentMemory(svg.data(), svg.size(), &document, &options), SUCCESS);
        if (copyFirst) {
            EXPECT_EQ(K_SvgCopyDocument(document, &copy), SUCCESS);
        }
        EXPECT_EQ(K_SvgFlatDocument(copyFirst ? copy : document, &flat, nullptr), SUCCESS);
        if (K_SvgSelectSingleNode(flat, query, &node) == SUCCESS && node) {
            KvChar* value = nullptr;
            if (K_SvgGetElementAttributeValue(node, name, &value) == SUCCESS && value)
                result = ToUtf8(value);
            K_SvgFreeMemory(value);
            K_SvgFreeNode(node);
        }
        K_SvgFreeNode(flat);
        K_SvgFreeNode(copy);
        K_SvgFreeNode(document);
        return result;
    };
    const struct {
        const char* name;
        uint32_t flags;
        bool copyFirst;
        const char16_t* query;
        const char16_t* attribute;
        std::string expected;
    } cases[] = {
        {"the flat form of a normalised document", SVG_LOAD_NORMALIZE, false, u"//path", u"d",
         "M0 8.66281e-10 L1 1.5e+10"},
        {"a copy of one keeps the mark", SVG_LOAD_NORMALIZE, true, u"//rect", u"x", "2.5e-07"},
        {"without the flag the format's trim stands", 0, false, u"//path", u"d", "M0 8.66281e-1 L1 1.5e+1"},
        {"an exponent that ends in no zero is the same either way", 0, true, u"//rect", u"x", "2.5e-07"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(flatAttribute(c.flags, c.copyFirst, c.query, c.attribute), c.expected);
    }
}
