// Clip paths in the flat form: one clipPath per distinct geometry, variants
// under other matrices, intersections of nested clips, and the hostile
// cases that must not loop or fail the run.
#include <string>

#include <gtest/gtest.h>

#include "flatten/flat_promises.h"

using kvtest::FlatContent;

namespace {

size_t Count(const std::string& text, const std::string& piece)
{
    size_t count = 0;
    for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1))
        ++count;
    return count;
}

}  // namespace

TEST(ClipPaths, SharedVariedAndIntersected)
{
    const struct {
        const char* name;
        const char* svg;
        const char* flat;
    } cases[] = {
        {"two shapes under one clipped group share one clipPath",
         R"~(<svg width="100" height="100"><clipPath id="c"><rect width="50" height="50"/></clipPath>)~"
         R"~(<g clip-path="url(#c)"><rect width="10" height="10"/><circle r="5"/></g></svg>)~",
         R"~(<clipPath id="c"><path d="M0 0 L50 0 L50 50 L0 50 Z" fill-rule="nonzero"/></clipPath>)~"
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" clip-path="url(#c)"/>)~"
         R"~(<circle cx="0" cy="0" r="5" clip-path="url(#c)"/>)~"},
        {"the same clip under a second matrix is a variant numbered from 1",
         R"~(<svg width="100" height="100"><clipPath id="c"><rect width="5" height="5"/></clipPath>)~"
         R"~(<rect width="10" height="10" clip-path="url(#c)"/>)~"
         R"~(<rect width="10" height="10" clip-path="url(#c)" transform="translate(20 0)"/></svg>)~",
         R"~(<clipPath id="c"><path d="M0 0 L5 0 L5 5 L0 5 Z" fill-rule="nonzero"/></clipPath>)~"
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" clip-path="url(#c)"/>)~"
         R"~(<clipPath id="cXfm1"><path d="M20 0 L25 0 L25 5 L20 5 Z" fill-rule="nonzero"/></clipPath>)~"
         R"~(<rect x="20" y="0" width="10" height="10" rx="0" ry="0" clip-path="url(#cXfm1)" stroke-width="1"/>)~"},
        {"a clip inside a clipped group is their intersection, the group's clip named first",
         R"~(<svg width="100" height="100"><clipPath id="a"><rect width="50" height="50"/></clipPath>)~"
         R"~(<clipPath id="b"><rect x="25" y="25" width="50" height="50"/></clipPath>)~"
         R"~(<g clip-path="url(#a)"><rect width="100" height="100" clip-path="url(#b)"/></g></svg>)~",
         R"~(<clipPath id="Int_ab"><path d="M50 50 L25 50 L25 25 L50 25 Z" fill-rule="nonzero"/></clipPath>)~"
         R"~(<rect x="0" y="0" width="100" height="100" rx="0" ry="0" clip-path="url(#Int_ab)"/>)~"},
        {"a reference to no clip stays as written",
         R"~(<svg width="100" height="100"><rect width="10" height="10" clip-path="url(#none)"/></svg>)~",
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" clip-path="url(#none)"/>)~"},
        {"a clipPath without an id is passed over",
         R"~(<svg width="100" height="100"><clipPath><rect width="5" height="5"/></clipPath>)~"
         R"~(<rect width="10" height="10"/></svg>)~",
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FlatContent(c.svg), c.flat);
    }
}

TEST(ClipPaths, PolylineContentClipsEverythingAway)
{
    // A polyline inside a clipPath counts for nothing: the clip has no path.
    const std::string flat = FlatContent(
        R"~(<svg width="100" height="100"><clipPath id="c"><polyline points="0,0 50,0 50,50"/></clipPath>)~"
        R"~(<rect width="10" height="10" clip-path="url(#c)"/></svg>)~");
    EXPECT_NE(flat.find(R"~(<clipPath id="c"/>)~"), std::string::npos) << flat;
}

TEST(ClipPaths, ADuplicateIdEndsTheRunAndCyclesDoNotLoop)
{
    EXPECT_EQ(FlatContent(R"~(<svg><clipPath id="c"><rect width="5" height="5"/></clipPath>)~"
                          R"~(<clipPath id="C"><rect width="5" height="5"/></clipPath></svg>)~"),
              "STATUS 0");
    // A clip clipped by itself, and two clips clipped by each other.
    const char* cycles[] = {
        R"~(<svg width="10" height="10"><clipPath id="c" clip-path="url(#c)"><rect width="5" height="5"/></clipPath>)~"
        R"~(<rect width="10" height="10" clip-path="url(#c)"/></svg>)~",
        R"~(<svg width="10" height="10"><clipPath id="a" clip-path="url(#b)"><rect width="5" height="5"/></clipPath>)~"
        R"~(<clipPath id="b" clip-path="url(#a)"><rect width="4" height="4"/></clipPath>)~"
        R"~(<rect width="10" height="10" clip-path="url(#a)"/></svg>)~",
    };
    for (const char* svg : cycles) {
        SCOPED_TRACE(svg);
        const std::string flat = FlatContent(svg);
        EXPECT_EQ(Count(flat, "<rect"), 1u) << flat;
    }
}
