// Gradients in the flat form: one copy per painted shape, with the href
// chain merged, lengths resolved and the whole matrix in one transform.
#include <string>

#include <gtest/gtest.h>

#include "flatten/flat_promises.h"

using kvtest::FlatContent;

TEST(PaintServers, EachShapeGetsItsOwnGradientAheadOfIt)
{
    const struct {
        const char* name;
        const char* svg;
        const char* flat;
    } cases[] = {
        {"a gradient used by two shapes gives two copies with their own ids",
         R"~(<svg width="100" height="100"><defs><linearGradient id="g" gradientUnits="userSpaceOnUse" x2="10">)~"
         R"~(<stop offset="0" stop-color="red"/><stop offset="1" stop-color="blue"/></linearGradient></defs>)~"
         R"~(<rect width="10" height="10" fill="url(#g)"/><circle r="5" stroke="url(#g)"/></svg>)~",
         R"~(<linearGradient id="kolv_linearGradient_0" gradientUnits="userSpaceOnUse" x1="0" y1="0" x2="10" y2="0">)~"
         R"~(<stop offset="0" stop-color="red"/><stop offset="1" stop-color="blue"/></linearGradient>)~"
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" fill="url(#kolv_linearGradient_0)"/>)~"
         R"~(<linearGradient id="kolv_linearGradient_1" gradientUnits="userSpaceOnUse" x1="0" y1="0" x2="10" y2="0">)~"
         R"~(<stop offset="0" stop-color="red"/><stop offset="1" stop-color="blue"/></linearGradient>)~"
         R"~(<circle cx="0" cy="0" r="5" stroke="url(#kolv_linearGradient_1)"/>)~"},
        {"bounding-box units become the box's matrix",
         R"~(<svg width="100" height="100"><linearGradient id="g"><stop offset="0" stop-color="red"/></linearGradient>)~"
         R"~(<rect x="10" y="20" width="30" height="40" fill="url(#g)"/></svg>)~",
         R"~(<linearGradient id="kolv_linearGradient_0" gradientTransform="matrix(30 0 0 40 10 20)" gradientUnits="userSpaceOnUse" x1="0" y1="0" x2="1" y2="0">)~"
         R"~(<stop offset="0" stop-color="red"/></linearGradient>)~"
         R"~(<rect x="10" y="20" width="30" height="40" rx="0" ry="0" fill="url(#kolv_linearGradient_0)"/>)~"},
        {"an href chain gives its stops and what the first left unset",
         R"~(<svg width="100" height="100"><linearGradient id="base" x1="5" gradientUnits="userSpaceOnUse">)~"
         R"~(<stop offset="0" stop-color="lime"/></linearGradient>)~"
         R"~(<linearGradient id="g" xlink:href="#base" xmlns:xlink="http://www.w3.org/1999/xlink" x2="50"/>)~"
         R"~(<rect width="10" height="10" fill="url(#g)"/></svg>)~",
         R"~(<linearGradient id="kolv_linearGradient_0" xmlns:xlink="http://www.w3.org/1999/xlink" gradientUnits="userSpaceOnUse" x1="5" y1="0" x2="50" y2="0">)~"
         R"~(<stop offset="0" stop-color="lime"/></linearGradient>)~"
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" fill="url(#kolv_linearGradient_0)"/>)~"},
        {"a radial gradient takes its defaults from the box",
         R"~(<svg width="100" height="100"><radialGradient id="r"><stop offset="0" stop-color="red"/></radialGradient>)~"
         R"~(<rect width="10" height="10" fill="url(#r)"/></svg>)~",
         R"~(<radialGradient id="kolv_radialGradient_0" gradientTransform="matrix(10 0 0 10 0 0)" gradientUnits="userSpaceOnUse" cx="0.5" cy="0.5" fx="0.5" fy="0.5" r="0.5">)~"
         R"~(<stop offset="0" stop-color="red"/></radialGradient>)~"
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" fill="url(#kolv_radialGradient_0)"/>)~"},
        {"a reference to nothing stays as written",
         R"~(<svg width="100" height="100"><rect width="10" height="10" fill="url(#missing)"/></svg>)~",
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" fill="url(#missing)"/>)~"},
        {"a transparent fill is no fill; the stroke keeps the word",
         R"~(<svg width="100" height="100"><rect width="10" height="10" fill="transparent" stroke="transparent"/></svg>)~",
         R"~(<rect x="0" y="0" width="10" height="10" rx="0" ry="0" fill-opacity="0" stroke="transparent"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(FlatContent(c.svg), c.flat);
    }
}

TEST(PaintServers, HrefCyclesEndAsAReferenceToNothingWould)
{
    // Two gradients that name each other, and one that names itself: the
    // chain stops where it comes back, and nothing loops.
    const char* documents[] = {
        R"~(<svg width="10" height="10" xmlns:xlink="http://www.w3.org/1999/xlink">)~"
        R"~(<linearGradient id="a" xlink:href="#b"/><linearGradient id="b" xlink:href="#a"><stop offset="0"/></linearGradient>)~"
        R"~(<rect width="10" height="10" fill="url(#a)"/></svg>)~",
        R"~(<svg width="10" height="10" xmlns:xlink="http://www.w3.org/1999/xlink">)~"
        R"~(<linearGradient id="a" xlink:href="#a"/><rect width="10" height="10" fill="url(#a)"/></svg>)~",
    };
    for (const char* svg : documents) {
        SCOPED_TRACE(svg);
        const std::string flat = FlatContent(svg);
        EXPECT_EQ(flat.find("STATUS"), std::string::npos) << flat;
        EXPECT_NE(flat.find("<rect"), std::string::npos) << flat;
    }
}
