// The style cascade, lengths and matrices as a caller sees them in the flat
// output: each row is a source document and the flat content below the root.
#include <string>

#include <gtest/gtest.h>

#include "flatten/flat_promises.h"

using kvtest::FlatContent;
using kvtest::FlattenText;

namespace {

struct Case {
    const char* name;
    const char* svg;
    const char* flat;
};

void ExpectCases(const Case* begin, const Case* end)
{
    for (const Case* c = begin; c != end; ++c) {
        SCOPED_TRACE(c->name);
        EXPECT_EQ(FlatContent(c->svg), c->flat);
    }
}

}  // namespace

TEST(FlattenCascade, StyleComesDownTheTreeByTheMergeRules)
{
    const Case cases[] = {
        {"opacity multiplies while fill-opacity replaces",
         R"~(<svg><g opacity="0.5" fill-opacity="0.5"><rect width="1" height="1" opacity="0.5" fill-opacity="0.8"/>)~"
         R"~(<rect width="1" height="1"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0" fill-opacity="0.8" opacity="0.25"/>)~"
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0" fill-opacity="0.5" opacity="0.5"/>)~"},
        {"opacity multiplies through every level",
         R"~(<svg opacity="0.5"><g opacity="0.5"><g><line x2="1" opacity="0.5"/></g></g></svg>)~",
         R"~(<line x1="0" y1="0" x2="1" y2="0" opacity="0.125"/>)~"},
        {"paint, rules and strings are inherited, the child's own win",
         R"~(<svg><g fill="red" stroke="blue" fill-rule="evenodd" font-family="Serif" stroke-dasharray="1 2">)~"
         R"~(<rect width="1" height="1" fill="green"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0" fill="green" fill-rule="evenodd" stroke="blue" )~"
         R"~(stroke-dasharray="1 2" font-family="Serif"/>)~"},
        {"the style attribute wins over a presentation attribute on the same element",
         R"~(<svg><g fill="red"><rect width="1" height="1" fill="blue" style="fill:yellow"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0" fill="yellow"/>)~"},
        {"clip-path is not inherited; a child's own stays",
         R"~(<svg><g clip-path="url(#c)"><rect width="1" height="1"/>)~"
         R"~(<rect width="1" height="1" clip-path="url(#d)"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~"
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0" clip-path="url(#d)"/>)~"},
        {"display and visibility travel as written; the renderer decides",
         R"~(<svg><g display="none" visibility="hidden"><rect width="1" height="1"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0" visibility="hidden" display="none"/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases));
}

TEST(FlattenCascade, LengthsResolveAgainstFontAndViewport)
{
    const Case cases[] = {
        {"a percentage font-size gives 0, and em below it uses dpi / 6",
         R"~(<svg><g font-size="150%"><rect width="2em" height="1em"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="32" height="16" rx="0" ry="0" font-size="0"/>)~"},
        {"em and ex follow the cascaded font size",
         R"~(<svg><g font-size="10px"><rect width="2em" height="1ex"/></g></svg>)~",
         R"~(<rect x="0" y="0" width="20" height="5" rx="0" ry="0" font-size="10"/>)~"},
        {"ex without any font size goes negative",
         R"~(<svg><rect width="2ex" height="1"/></svg>)~",
         R"~(<rect x="0" y="0" width="-1" height="1" rx="0" ry="0"/>)~"},
        {"physical units at 96 dpi",
         R"~(<svg><rect x="1in" y="72pt" width="2.54cm" height="6pc"/></svg>)~",
         R"~(<rect x="96" y="96" width="96" height="96" rx="0" ry="0"/>)~"},
        {"percentages take the viewBox along their axis",
         R"~(<svg viewBox="0 0 200 100"><rect x="50%" y="50%" width="10%" height="10%"/></svg>)~",
         R"~(<rect x="100" y="50" width="20" height="10" rx="0" ry="0"/>)~"},
        {"a stroke-width percentage takes the normalised diagonal",
         R"~(<svg viewBox="0 0 300 400"><line x2="1" stroke-width="10%"/></svg>)~",
         R"~(<line x1="0" y1="0" x2="1" y2="0" stroke-width="35.3553"/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases));
}

TEST(FlattenCascade, TransformsComposeParentFirstAndSnap)
{
    const Case cases[] = {
        {"rotate(0 50 50) is the identity",
         R"~(<svg><rect width="1" height="1" transform="rotate(0 50 50)"/></svg>)~",
         R"~(<rect x="0" y="0" width="1" height="1" rx="0" ry="0"/>)~"},
        {"the parent's matrix stands on the left",
         R"~(<svg><g transform="translate(10 0)"><g transform="scale(2)"><line x1="1" y1="1" x2="2" y2="3"/></g></g></svg>)~",
         R"~(<line x1="12" y1="2" x2="14" y2="6" stroke-width="2"/>)~"},
        {"rotate(90) leaves no residue in the coordinates",
         R"~(<svg><polyline points="1,0 0,1" transform="rotate(90)"/></svg>)~",
         R"~(<polyline points="0,1 -1,0" stroke-width="1"/>)~"},
        {"a rotation keeps the stroke width, a scale multiplies it by its first column",
         R"~(<svg><line x2="1" stroke-width="3" transform="rotate(30)"/><line x2="1" stroke-width="3" transform="scale(2 5)"/></svg>)~",
         R"~(<line x1="0" y1="0" x2="0.866025" y2="0.5" stroke-width="3"/>)~"
         R"~(<line x1="0" y1="0" x2="2" y2="0" stroke-width="6"/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases));
}

TEST(FlattenCascade, TheRootViewportSettlesInPixels)
{
    const struct {
        const char* name;
        const char* svg;
        double width, height;
        const char* flat;
    } cases[] = {
        {"percent without a target takes the viewBox",
         R"~(<svg width="50%" height="20%" viewBox="0 0 300 400"/>)~", 0, 0,
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" viewBox="0 0 300 400" x="0" y="0" height="400" width="300" IsFlat="true"/>)~"},
        {"percent of the target size",
         R"~(<svg width="50%" height="20%" viewBox="0 0 300 400"/>)~", 1000, 500,
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" viewBox="0 0 300 400" x="0" y="0" height="100" width="500" IsFlat="true"/>)~"},
        {"unset takes the target size",
         R"~(<svg/>)~", 640, 480,
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="480" width="640" IsFlat="true"/>)~"},
        {"percent without a target or viewBox is 1000",
         R"~(<svg width="50%"/>)~", 0, 0,
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="0" y="0" height="1000" width="1000" IsFlat="true"/>)~"},
        {"units resolve; a percentage x or y is 0; an id is dropped",
         R"~(<svg id="top" width="2in" height="10mm" x="5" y="50%"/>)~", 0, 0,
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" x="5" y="0" height="37.7953" width="192" IsFlat="true"/>)~"},
        {"a turned root takes the upright box around it",
         R"~(<svg transform="rotate(90)" width="20" height="10" viewBox="0 0 20 10"/>)~", 0, 0,
         R"~(<svg xmlns:xlink="http://www.w3.org/1999/xlink" viewBox="-10 0 10 20" x="-10" y="0" height="20" width="10" IsFlat="true"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const K_SvgFlatOptions options{kSvgFlatOptionsSize, c.width, c.height, 0};
        EXPECT_EQ(FlattenText(c.svg, &options), c.flat);
    }
}
