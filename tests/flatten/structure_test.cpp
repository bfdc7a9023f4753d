// Structure in the flat form: use, symbol and nested svg leave only their
// matrices and style behind; hostile reference graphs end quickly with the
// output a missing reference gives, or with a clear status.
#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "flatten/flat_promises.h"

using kvtest::FlatContent;
using kvtest::FlattenText;

namespace {

size_t Count(const std::string& text, const std::string& piece)
{
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
        ++count;
    return count;
}

}  // namespace

TEST(Structure, UseSymbolAndNestedSvg)
{
    const struct {
        const char* name;
        const char* svg;
        const char* flat;
    } cases[] = {
        {"a use adds its x to the rect's own, after its transform",
         R"~(<svg width="100" height="100"><defs><rect id="r" x="10" width="5" height="5"/></defs>)~"
         R"~(<use xlink:href="#r" x="3" transform="scale(2)"/></svg>)~",
         R"~(<rect x="26" y="0" width="10" height="10" rx="0" ry="0" stroke-width="2"/>)~"},
        {"a use of an element ahead of it finds it by search",
         R"~(<svg width="100" height="100"><use href="#later" y="7"/><circle id="later" r="2"/></svg>)~",
         R"~(<circle cx="0" cy="7" r="2" stroke-width="1"/><circle cx="0" cy="0" r="2"/>)~"},
        {"the use's style cascades into its target",
         R"~(<svg width="100" height="100"><defs><rect id="r" width="5" height="5"/></defs>)~"
         R"~(<use xlink:href="#r" fill="#ff0000"/></svg>)~",
         R"~(<rect x="0" y="0" width="5" height="5" rx="0" ry="0" fill="#ff0000"/>)~"},
        {"a use of a missing id gives nothing",
         R"~(<svg width="100" height="100"><use xlink:href="#nothing"/><rect width="1" height="1"/></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~"},
        {"a symbol alone gives nothing",
         R"~(<svg width="100" height="100"><symbol id="s" viewBox="0 0 10 10"><rect width="10" height="10"/></symbol></svg>)~",
         ""},
        {"a symbol used with a size is scaled by its viewBox",
         R"~(<svg width="100" height="100"><symbol id="s" viewBox="0 0 10 10"><rect width="10" height="10"/></symbol>)~"
         R"~(<use xlink:href="#s" x="5" width="20" height="20"/></svg>)~",
         R"~(<rect x="5" y="0" width="20" height="20" rx="0" ry="0" stroke-width="2"/>)~"},
        {"a symbol used without a size takes the 1000 fallback",
         R"~(<svg width="100" height="100"><symbol id="s" viewBox="0 0 10 10"><rect width="1" height="1"/></symbol>)~"
         R"~(<use xlink:href="#s"/></svg>)~",
         R"~(<rect x="0" y="0" width="100" height="100" rx="0" ry="0" stroke-width="100"/>)~"},
        {"a nested svg maps its viewBox and leaves no svg",
         R"~(<svg width="100" height="100"><svg x="10" y="10" width="50" height="50" viewBox="0 0 5 5">)~"
         R"~(<rect width="5" height="5"/></svg></svg>)~",
         R"~(<rect x="10" y="10" width="50" height="50" rx="0" ry="0" stroke-width="10"/>)~"},
        {"an empty a is kept",
         R"~(<svg width="100" height="100"><a xlink:href="http://example.org/"/></svg>)~",
         R"~(<a xlink:href="http://example.org/"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FlatContent(c.svg), c.flat);
    }
}

TEST(Structure, IdsAreCaseBlindOnceHashed)
{
    // The rect is walked (and hashed) before the use asks for it in capitals.
    EXPECT_EQ(FlatContent(R"~(<svg width="100" height="100"><rect id="box" width="1" height="1"/>)~"
                          R"~(<use href="#BOX" x="5"/></svg>)~"),
              R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~"
              R"~(<rect x="5" y="0" width="1" height="1" rx="0" ry="0" stroke-width="1"/>)~");
    // Ahead of the walk the search compares as written: nothing is found.
    EXPECT_EQ(FlatContent(R"~(<svg width="100" height="100"><use href="#BOX" x="5"/>)~"
                          R"~(<rect id="box" width="1" height="1"/></svg>)~"),
              R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~");
}

TEST(Structure, HostileUseGraphsEndQuickly)
{
    std::string bomb = R"~(<svg width="10" height="10"><defs><rect id="l0" width="1" height="1"/>)~";
    for (int level = 1; level <= 10; ++level) {
        bomb += "<g id=\"l" + std::to_string(level) + "\">";
        for (int i = 0; i < 10; ++i)
            bomb += "<use href=\"#l" + std::to_string(level - 1) + "\"/>";
        bomb += "</g>";
    }
    bomb += R"~(</defs><use href="#l10"/></svg>)~";

    std::string chain = R"~(<svg width="10" height="10"><use href="#u1"/><defs>)~";
    for (int i = 1; i < 10000; ++i)
        chain += "<use id=\"u" + std::to_string(i) + "\" href=\"#u" + std::to_string(i + 1) + "\"/>";
    chain += R"~(<rect id="u10000" width="1" height="1"/></defs></svg>)~";

    std::string selfUses = R"~(<svg width="10" height="10"><g id="g"><rect width="1" height="1"/>)~";
    for (int i = 0; i < 12; ++i)
        selfUses += R"~(<use href="#g"/>)~";
    selfUses += "</g></svg>";
    std::string thirteenRects;  // the group's own, and one copy per use
    for (int i = 0; i < 13; ++i)
        thirteenRects += R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~";

    const struct {
        const char* name;
        std::string svg;
        std::string flat;
    } cases[] = {
        {"a use of itself", R"~(<svg width="10" height="10"><use id="u" href="#u"/></svg>)~", ""},
        {"a use of its own group keeps the group's other content once",
         R"~(<svg width="10" height="10"><g id="g"><rect width="1" height="1"/><use href="#g"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/><rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~"},
        {"two uses of each other",
         R"~(<svg width="10" height="10"><defs><use id="a" href="#b"/><use id="b" href="#a"/></defs>)~"
         R"~(<use href="#a"/></svg>)~",
         ""},
        {"a use bomb is refused before it emits", bomb, "STATUS " + std::to_string(ERROR_MAX_ELEMENTS)},
        {"twelve uses of their own group, which would copy it once for every order of them", selfUses,
         thirteenRects},
        {"a 10,000-long use chain", chain, R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(FlatContent(c.svg), c.flat);
        // Not a timing assertion: a hang would show up as minutes, not a
        // slow machine as a failure.
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(30));
    }
}

TEST(Structure, TheSourcesElementLimitBoundsItsFlatForm)
{
    // Four levels of ten uses: 10,000 rects from a file of 1 KB.
    std::string svg = R"~(<svg width="10" height="10"><defs><rect id="l0" width="1" height="1"/>)~";
    for (int level = 1; level <= 4; ++level) {
        svg += "<g id=\"l" + std::to_string(level) + "\">";
        for (int i = 0; i < 10; ++i)
            svg += "<use href=\"#l" + std::to_string(level - 1) + "\"/>";
        svg += "</g>";
    }
    svg += R"~(</defs><use href="#l4"/></svg>)~";
    auto flatten = [&](uint32_t limit, uint32_t* flatLimit) {
        SvgHandle document = nullptr, flat = nullptr;
        EXPECT_EQ(K_SvgLoadDocumentMemory(svg.data(), svg.size(), &document, nullptr), SUCCESS);
        EXPECT_EQ(K_SvgSetMaximumElements(document, limit), SUCCESS);
        const int32_t status = K_SvgFlatDocument(document, &flat, nullptr);
        if (flat)
            *flatLimit = K_SvgGetMaximumElements(flat);
        K_SvgFreeNode(flat);
        K_SvgFreeNode(document);
        return status;
    };
    uint32_t flatLimit = 0;
    EXPECT_EQ(flatten(0, &flatLimit), SUCCESS);
    EXPECT_EQ(flatLimit, 0u);
    EXPECT_EQ(flatten(500, &flatLimit), ERROR_MAX_ELEMENTS);
    EXPECT_EQ(flatten(20000, &flatLimit), SUCCESS);
    EXPECT_EQ(flatLimit, 20000u);  // later edits of the flat form stay bounded as well
    // The root and 10,000 rects fit exactly; one fewer is refused before
    // any copy is made.
    EXPECT_EQ(flatten(10001, &flatLimit), SUCCESS);
    EXPECT_EQ(flatten(10000, &flatLimit), ERROR_MAX_ELEMENTS);

    // Copies that come out empty never meet the limit, but the uses are
    // bounded by it all the same.
    const size_t leaf = svg.find("<rect");
    svg.replace(leaf, svg.find("/>", leaf) + 2 - leaf, "<unknown/>");
    EXPECT_EQ(flatten(0, &flatLimit), SUCCESS);
    EXPECT_EQ(flatten(1000, &flatLimit), ERROR_MAX_ELEMENTS);
}

TEST(Structure, ManyUsesOfOneSymbolStayWithinTheBudget)
{
    std::string svg = R"~(<svg width="100" height="100"><symbol id="s" viewBox="0 0 1 1">)~"
                      R"~(<rect width="1" height="1"/></symbol>)~";
    for (int i = 0; i < 2000; ++i)
        svg += "<use href=\"#s\" width=\"1\" height=\"1\" x=\"" + std::to_string(i % 100) + "\"/>";
    svg += "</svg>";
    EXPECT_EQ(Count(FlattenText(svg), "<rect "), 2000u);
}

TEST(Patterns, CopiedPerUseOrExpandedIntoTiles)
{
    const char* dots = R"~(<svg width="100" height="100"><defs><pattern id="p" width="10" height="10" )~"
                       R"~(patternUnits="userSpaceOnUse"><circle cx="5" cy="5" r="2" fill="red"/></pattern></defs>)~"
                       R"~(<rect x="0" y="0" width="20" height="10" fill="url(#p)" stroke="black"/></svg>)~";
    {
        SCOPED_TRACE("by default each use gets a copy with a generated id and its content");
        EXPECT_EQ(FlatContent(dots),
                  R"~(<pattern id="kolv_pattern_0" patternUnits="userSpaceOnUse" x="0" y="0" height="10" width="10">)~"
                  R"~(<circle cx="5" cy="5" r="2" fill="red"/></pattern>)~"
                  R"~(<rect x="0" y="0" width="20" height="10" rx="0" ry="0" fill="url(#kolv_pattern_0)" stroke="black"/>)~");
    }
    {
        SCOPED_TRACE("expanded: one circle per covering tile, clipped to the shape, which keeps its stroke");
        K_SvgFlatOptions options{kSvgFlatOptionsSize, 0, 0, SVG_FLAT_EXPAND_PATTERNS};
        EXPECT_EQ(FlatContent(dots, &options),
                  R"~(<clipPath id="kolv_clip_0"><path d="M0 0 L20 0 L20 10 L0 10 Z" fill-rule="nonzero"/></clipPath>)~"
                  R"~(<circle cx="5" cy="5" r="2" clip-path="url(#kolv_clip_0)" fill="red"/>)~"
                  R"~(<circle cx="15" cy="5" r="2" clip-path="url(#kolv_clip_0)" fill="red" stroke-width="1"/>)~"
                  R"~(<rect x="0" y="0" width="20" height="10" rx="0" ry="0" fill="none" stroke="black"/>)~");
    }
    {
        SCOPED_TRACE("a pattern whose content paints with itself stops at the second level");
        K_SvgFlatOptions options{kSvgFlatOptionsSize, 0, 0, SVG_FLAT_EXPAND_PATTERNS};
        const std::string flat = FlatContent(
            R"~(<svg width="100" height="100"><pattern id="p" width="10" height="10" patternUnits="userSpaceOnUse">)~"
            R"~(<rect width="5" height="5" fill="url(#p)"/></pattern><rect width="20" height="20" fill="url(#p)"/></svg>)~",
            &options);
        EXPECT_EQ(Count(flat, "fill=\"url(#p)\""), 4u) << flat;
    }
    {
        SCOPED_TRACE("a fill needing more tiles than the limit is written as a copy");
        K_SvgFlatOptions options{kSvgFlatOptionsSize, 0, 0, SVG_FLAT_EXPAND_PATTERNS};
        const std::string flat = FlatContent(
            R"~(<svg width="100" height="100"><pattern id="p" width="1" height="1" patternUnits="userSpaceOnUse">)~"
            R"~(<rect width="1" height="1"/></pattern><rect width="1000" height="1000" fill="url(#p)"/></svg>)~",
            &options);
        EXPECT_EQ(Count(flat, "<rect"), 2u) << flat.substr(0, 400);
        EXPECT_EQ(Count(flat, "<pattern id=\"kolv_pattern_"), 1u);
    }
    {
        SCOPED_TRACE("a pattern used inside pattern tiles is written as a copy, not tiled again");
        K_SvgFlatOptions options{kSvgFlatOptionsSize, 0, 0, SVG_FLAT_EXPAND_PATTERNS};
        const std::string flat = FlatContent(
            R"~(<svg width="100" height="100"><pattern id="a" width="1" height="1" patternUnits="userSpaceOnUse">)~"
            R"~(<rect width="1" height="1"/></pattern><pattern id="b" width="10" height="10" )~"
            R"~(patternUnits="userSpaceOnUse"><rect width="10" height="10" fill="url(#a)"/></pattern>)~"
            R"~(<rect width="20" height="20" fill="url(#b)"/></svg>)~",
            &options);
        // Four tiles of b, each holding a copy of a with its one rect.
        EXPECT_EQ(Count(flat, "<pattern id=\"kolv_pattern_"), 4u) << flat;
        EXPECT_EQ(Count(flat, "<rect"), 9u) << flat;
    }
}
