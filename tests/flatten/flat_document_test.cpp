// K_SvgFlatDocument as a whole: arguments, documents with little or odd
// content, what is carried over, deep nesting and failing memory.
#include <string>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "flatten/flat_promises.h"

using kvtest::FlatContent;
using kvtest::FlattenText;
using kvtest::Handle;
using kvtest::LoadText;
using kvtest::SaveRaw;

TEST(FlatDocument, ArgumentsAreCheckedBeforeAnythingIsMade)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><rect width=\"1\" height=\"1\"/></svg>", document), SUCCESS);
    Handle root;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg", root.out()), SUCCESS);
    SvgHandle stale = reinterpret_cast<SvgHandle>(0x1);

    const struct {
        const char* name;
        SvgHandle source;
        SvgHandle* out;
        int32_t status;
        bool outCleared;
    } cases[] = {
        {"null source", nullptr, &stale, ERROR_INV_PARAMETER, false},
        {"null out", document, nullptr, ERROR_INV_PARAMETER, false},
        {"both null", nullptr, nullptr, ERROR_INV_PARAMETER, false},
        {"an element instead of a document", root, &stale, ERROR_INV_PARAMETER, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        stale = reinterpret_cast<SvgHandle>(0x1);
        EXPECT_EQ(K_SvgFlatDocument(c.source, c.out, nullptr), c.status);
        if (c.out)
            EXPECT_EQ(stale, c.outCleared ? nullptr : reinterpret_cast<SvgHandle>(0x1));
    }
}

TEST(FlatDocument, LittleOrOddContent)
{
    const struct {
        const char* name;
        const char* svg;
        const char* flat;
    } cases[] = {
        {"an empty root", R"~(<svg/>)~",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="1000" width="1000" IsFlat="true"/>)~"},
        {"defs alone give nothing",
         R"~(<svg><defs><rect id="r" width="1" height="1"/><linearGradient id="l"/></defs></svg>)~",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="1000" width="1000" IsFlat="true"/>)~"},
        {"a switch and all it holds disappear",
         R"~(<svg><switch><rect width="1" height="1"/><g><circle r="1"/></g></switch></svg>)~",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="1000" width="1000" IsFlat="true"/>)~"},
        {"an unknown element between shapes leaves no trace and the walk goes on",
         R"~(<svg><line x2="1"/><unknown><rect/></unknown><style>rect{fill:red}</style><title>t</title><line x2="2"/></svg>)~",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="1000" width="1000" IsFlat="true">)~"
         R"~(<line x1="0" y1="0" x2="1" y2="0"/><line x1="0" y1="0" x2="2" y2="0"/></svg>)~"},
        {"an existing xlink declaration is kept",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" width="5" height="6"/>)~",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="6" width="5" IsFlat="true"/>)~"},
        {"a nested svg is a matrix, not an element",
         R"~(<svg width="100" height="100"><svg x="10" y="10" width="20" height="20" viewBox="0 0 10 10">)~"
         R"~(<rect width="10" height="10"/></svg></svg>)~",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="100" width="100" IsFlat="true">)~"
         R"~(<rect x="10" y="10" width="20" height="20" rx="0" ry="0" stroke-width="2"/></svg>)~"},
        {"an a survives as a container of flat content",
         R"~(<svg width="1" height="1"><a xlink:href="#x" id="link" transform="translate(1 1)"><rect width="1" height="1"/></a></svg>)~",
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="1" width="1" IsFlat="true">)~"
         R"~(<a xlink:href="#x"><rect x="1" y="1" width="1" height="1" rx="0" ry="0" stroke-width="1"/></a></svg>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FlattenText(c.svg), c.flat);
    }
}

TEST(FlatDocument, NoSvgRootGivesAnEmptyUnmarkedDocument)
{
    Handle source;
    ASSERT_EQ(K_SvgCreateDocument(source.out(), 0), SUCCESS);
    Handle flat;
    ASSERT_EQ(K_SvgFlatDocument(source, flat.out(), nullptr), SUCCESS);
    ASSERT_NE(flat.get(), nullptr);
    int32_t isFlat = -1;
    EXPECT_EQ(K_SvgIsFlatDocument(flat, &isFlat), SUCCESS);
    EXPECT_EQ(isFlat, 0);
    EXPECT_EQ(SaveRaw(flat), "");
}

TEST(FlatDocument, ResolutionIsCarriedOverAndTheSourceGainsItsTablesCopy)
{
    Handle source;
    ASSERT_EQ(LoadText(R"~(<svg DpiX="300" DpiY="150"><KOLVSUITE_Tables><t/></KOLVSUITE_Tables><rect width="1" height="1"/></svg>)~",
                       source),
              SUCCESS);
    Handle flat;
    ASSERT_EQ(K_SvgFlatDocument(source, flat.out(), nullptr), SUCCESS);
    kvtest::ExpectFlatPromises(flat);
    EXPECT_EQ(SaveRaw(flat),
              R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="1000" width="1000" DpiX="300" DpiY="150" IsFlat="true">)~"
              R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/></svg>)~");
    // The copy goes below the source's own root, never into the flat document.
    EXPECT_EQ(SaveRaw(source),
              R"~(<svg DpiX="300" DpiY="150"><KOLVSUITE_Tables><t/></KOLVSUITE_Tables><rect width="1" height="1"/>)~"
              R"~(<KOLVSUITE_Tables><t/></KOLVSUITE_Tables></svg>)~");
}

TEST(FlatDocument, DeepNestingFlattensWithoutExhaustingTheStack)
{
    constexpr int kDepth = 50000;
    std::string svg = "<svg width=\"10\" height=\"10\">";
    for (int i = 0; i < kDepth; ++i)
        svg += "<g transform=\"translate(1 0)\" opacity=\"0.9999\">";
    svg += "<rect width=\"1\" height=\"1\"/>";
    for (int i = 0; i < kDepth; ++i)
        svg += "</g>";
    svg += "</svg>";
    Handle source;
    ASSERT_EQ(LoadText(svg, source), SUCCESS);
    Handle flat;
    ASSERT_EQ(K_SvgFlatDocument(source, flat.out(), nullptr), SUCCESS);
    const std::string text = SaveRaw(flat);
    EXPECT_NE(text.find("<rect x=\"50000\" y=\"0\" width=\"1\" height=\"1\" rx=\"0\" ry=\"0\" stroke-width=\"1\" "
                        "opacity=\"0.00673"),
              std::string::npos)
        << text;
}

TEST(FlatDocument, EveryFailedAllocationGivesNoMemoryAndLeavesTheSourceAsItWas)
{
    const char* mixed = R"~(<svg width="100" height="80" viewBox="0 0 50 40" DpiX="96" DpiY="96">)~"
                        R"~(<g transform="rotate(30) translate(5 5)" fill="red" stroke="blue" stroke-dasharray="1,2" )~"
                        R"~(font-family="Sans" opacity="0.5"><rect id="a" width="10" height="5" rx="2"/>)~"
                        R"~(<circle r="3" transform="scale(2 1)"/><ellipse rx="2" ry="1"/><line x2="4" clip-path="url(#c)"/>)~"
                        R"~(<polyline points="0,0 1,1 2,0"/><path d="M0 0 a5 5 0 0 1 10 0 q 2 2 4 0 z"/></g>)~"
                        R"~(<a xlink:href="#a"><rect width="1" height="1"/></a><defs><rect id="d"/></defs></svg>)~";
    Handle source;
    ASSERT_EQ(LoadText(mixed, source), SUCCESS);
    const std::string before = SaveRaw(source);
    const size_t blocksBefore = TrackedLiveBlocks();
    bool succeeded = false;
    for (long n = 0; n < 2000 && !succeeded; ++n) {
        SCOPED_TRACE(n);
        SvgHandle flat = reinterpret_cast<SvgHandle>(0x1);
        TrackedFailAllocationAfter(n);
        const int32_t status = K_SvgFlatDocument(source, &flat, nullptr);
        TrackedFailAllocationAfter(-1);
        succeeded = status == SUCCESS;
        if (!succeeded) {
            ASSERT_EQ(status, ERROR_NO_MEMORY);
            EXPECT_EQ(flat, nullptr);
            EXPECT_EQ(TrackedLiveBlocks(), blocksBefore);
        } else {
            kvtest::ExpectFlatPromises(flat);
            K_SvgFreeNode(flat);
        }
        ASSERT_EQ(SaveRaw(source), before);
    }
    EXPECT_TRUE(succeeded);
}

TEST(FlatDocument, NestedViewportsMapTheirViewBoxAsPreserveAspectRatioAsks)
{
    const struct {
        const char* ratio;
        const char* rect;
    } cases[] = {
        {"xMaxYMid", R"~(<rect x="50" y="0" width="50" height="50" rx="0" ry="0" stroke-width="5"/>)~"},
        {"xMinYMin slice", R"~(<rect x="0" y="0" width="100" height="100" rx="0" ry="0" stroke-width="10"/>)~"},
        {"none", R"~(<rect x="0" y="0" width="100" height="50" rx="0" ry="0" stroke-width="10"/>)~"},
        {"", R"~(<rect x="25" y="0" width="50" height="50" rx="0" ry="0" stroke-width="5"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.ratio);
        const std::string svg = std::string("<svg width=\"200\" height=\"200\"><svg width=\"100\" height=\"50\" "
                                            "viewBox=\"0 0 10 10\" preserveAspectRatio=\"") +
                                c.ratio + "\"><rect width=\"10\" height=\"10\"/></svg></svg>";
        EXPECT_EQ(FlatContent(svg), c.rect);
    }
}
