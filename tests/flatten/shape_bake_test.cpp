// Shape baking as a caller sees it: which shapes keep their kind under which
// matrix, the points they take, the divisors of corners and circles, arcs
// kept or turned into cubics, and the stroke-width rules.
#include <string>

#include <gtest/gtest.h>

#include "flatten/flat_promises.h"

using kvtest::FlatContent;

namespace {

struct Case {
    const char* name;
    const char* svg;
    const char* flat;
};

void ExpectCases(const Case* begin, const Case* end, const K_SvgFlatOptions* options = nullptr)
{
    for (const Case* c = begin; c != end; ++c) {
        SCOPED_TRACE(c->name);
        EXPECT_EQ(FlatContent(c->svg, options), c->flat);
    }
}

}  // namespace

TEST(FlattenShapes, RectsStayRectsOnlyUnderUprightNonMirroringMatrices)
{
    const Case cases[] = {
        {"translate moves x and y; an unset ry is written as 0",
         R"~(<svg><rect x="1" y="2" width="30" height="40" rx="3" transform="translate(10,20)"/></svg>)~",
         R"~(<rect x="11" y="22" width="30" height="40" rx="3" ry="0" stroke-width="1"/>)~"},
        {"scale multiplies sizes and radii along their axes",
         R"~(<svg><rect x="1" y="2" width="3" height="4" rx="1" ry="2" transform="scale(2 3)"/></svg>)~",
         R"~(<rect x="2" y="6" width="6" height="12" rx="2" ry="6" stroke-width="2"/>)~"},
        {"rotate(45) gives a path of five commands",
         R"~(<svg><rect x="10" y="20" width="30" height="40" transform="rotate(45)"/></svg>)~",
         R"~(<path d="M-7.07107 21.2132 L14.1421 42.4264 L-14.1421 70.7107 L-35.3553 49.4975 Z" stroke-width="1"/>)~"},
        {"rotate(45) with rx 5 gives nine commands, controls at 5 / 2.19 from each corner",
         R"~(<svg><rect width="30" height="40" rx="5" transform="rotate(45)"/></svg>)~",
         R"~(<path d="M-3.53553 3.53553 C-1.6144 1.6144 1.6144 1.6144 3.53553 3.53553 L17.6777 17.6777 )~"
         R"~(C19.5988 19.5988 19.5988 22.8276 17.6777 24.7487 L-3.53553 45.9619 C-5.45667 47.8831 -8.68547 47.8831 )~"
         R"~(-10.6066 45.9619 L-24.7487 31.8198 C-26.6699 29.8987 -26.6699 26.6699 -24.7487 24.7487 Z" stroke-width="1"/>)~"},
        {"scale(-1, 1) mirrors, so the rect becomes a path",
         R"~(<svg><rect x="10" y="20" width="30" height="40" transform="scale(-1,1)"/></svg>)~",
         R"~(<path d="M-10 20 L-40 20 L-40 60 L-10 60 Z" stroke-width="1"/>)~"},
        {"an unset width and height become 0",
         R"~(<svg><rect x="1"/></svg>)~",
         R"~(<rect x="1" y="0" width="0" height="0" rx="0" ry="0"/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases));
}

TEST(FlattenShapes, CirclesNeedARotationAndEllipsesAnUprightMatrix)
{
    const Case cases[] = {
        {"circle under scale(2, 3) is a path, controls at r / 1.81",
         R"~(<svg><circle cx="10" cy="20" r="5" transform="scale(2,3)"/></svg>)~",
         R"~(<path d="M10 60 C10 51.7127 14.4751 45 20 45 C25.5249 45 30 51.7127 30 60 C30 68.2873 25.5249 75 20 75 )~"
         R"~(C14.4751 75 10 68.2873 10 60 Z" stroke-width="2"/>)~"},
        {"circle under scale(2) doubles its radius",
         R"~(<svg><circle cx="10" cy="20" r="5" transform="scale(2)"/></svg>)~",
         R"~(<circle cx="20" cy="40" r="10" stroke-width="2"/>)~"},
        {"circle under a rotation stays a circle",
         R"~(<svg><circle cx="10" r="5" transform="rotate(90)"/></svg>)~",
         R"~(<circle cx="0" cy="10" r="5" stroke-width="1"/>)~"},
        {"ellipse under scale(2, 3) stays an ellipse",
         R"~(<svg><ellipse cx="10" cy="20" rx="5" ry="4" transform="scale(2,3)"/></svg>)~",
         R"~(<ellipse cx="20" cy="60" rx="10" ry="12" stroke-width="2"/>)~"},
        {"ellipse under scale(2) doubles both radii",
         R"~(<svg><ellipse cx="10" cy="20" rx="5" ry="4" transform="scale(2)"/></svg>)~",
         R"~(<ellipse cx="20" cy="40" rx="10" ry="8" stroke-width="2"/>)~"},
        {"ellipse under rotate(90) is a path",
         R"~(<svg><ellipse cx="10" cy="20" rx="5" ry="4" transform="rotate(90)"/></svg>)~",
         R"~(<path d="M-20 5 C-17.7901 5 -16 7.23757 -16 10 C-16 12.7624 -17.7901 15 -20 15 C-22.2099 15 -24 12.7624 )~"
         R"~(-24 10 C-24 7.23757 -22.2099 5 -20 5 Z" stroke-width="1"/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases));
}

TEST(FlattenShapes, PathsBecomeAbsoluteAndArcsFollowTheMatrix)
{
    const Case cases[] = {
        {"relative, horizontal, vertical and smooth commands become explicit",
         R"~(<svg><path d="m1 1 h10 v10 l-5 0 c1 1 2 2 3 3 s4 4 5 5 q1 1 2 2 t 3 3 z" transform="translate(100 100)"/></svg>)~",
         R"~(<path d="M101 101 L111 101 L111 111 L106 111 C107 112 108 113 109 114 C110 115 113 118 114 119 )~"
         R"~(Q115 120 116 121 Q117 122 119 124 Z" stroke-width="1"/>)~"},
        {"a smooth curve after a line reflects the current point on itself",
         R"~(<svg><path d="M0 0 L10 0 S20 10 30 0"/></svg>)~",
         R"~(<path d="M0 0 L10 0 C10 0 20 10 30 0"/>)~"},
        {"an arc under rotate(30) reaches the output as cubics",
         R"~(<svg><path d="M10 0 A10 10 0 0 1 0 10" transform="rotate(30)"/></svg>)~",
         R"~(<path d="M8.66025 5 C6.16561 9.32085 -0.679149 11.1549 -5 8.66025" stroke-width="1"/>)~"},
        {"an arc under scale(2) stays an arc with doubled radii",
         R"~(<svg><path d="M10 0 A10 10 0 0 1 0 10" transform="scale(2)"/></svg>)~",
         R"~(<path d="M20 0 A20 20 0 0 1 0 20" stroke-width="2"/>)~"},
        {"a mirror keeps the arc and its sweep flag",
         R"~(<svg><path d="M10 0 A10 10 0 0 1 0 10" transform="scale(-1 1)"/></svg>)~",
         R"~(<path d="M-10 0 A10 10 0 0 1 0 10" stroke-width="1"/>)~"},
        {"a path without commands stays, empty",
         R"~(<svg><path fill="red"/></svg>)~",
         R"~(<path fill="red"/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases));
}

TEST(FlattenShapes, StrokeWidthRules)
{
    const Case cases[] = {
        {"a path with no fill and width 0 is drawn 1 wide",
         R"~(<svg><path d="M0 0 L10 0" fill="none" stroke-width="0"/></svg>)~",
         R"~(<path d="M0 0 L10 0" fill="none" stroke-width="1"/>)~"},
        {"a line with no fill keeps width 0",
         R"~(<svg><line x2="10" fill="none" stroke-width="0"/></svg>)~",
         R"~(<line x1="0" y1="0" x2="10" y2="0" fill="none" stroke-width="0"/>)~"},
        {"a filled path keeps width 0",
         R"~(<svg><path d="M0 0 L10 0" stroke-width="0"/></svg>)~",
         R"~(<path d="M0 0 L10 0" stroke-width="0"/>)~"},
        {"the raised width is scaled like any other",
         R"~(<svg><path d="M0 0 L10 0" fill="none" stroke-width="0" transform="scale(3)"/></svg>)~",
         R"~(<path d="M0 0 L30 0" fill="none" stroke-width="3"/>)~"},
        {"polygon points bake and keep the kind",
         R"~(<svg><polygon points="0,0 10,0 10,10" transform="translate(5 5)" stroke-width="2"/></svg>)~",
         R"~(<polygon points="5,5 15,5 15,15" stroke-width="2"/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases));
}

TEST(FlattenShapes, TextOnlyDropsEveryShape)
{
    const K_SvgFlatOptions textOnly{kSvgFlatOptionsSize, 0, 0, SVG_FLAT_TEXT_ONLY | 0x80u};
    const Case cases[] = {
        {"all seven shapes go",
         R"~(<svg><g><rect width="1" height="1"/><circle r="1"/><ellipse rx="1" ry="1"/><line x2="1"/>)~"
         R"~(<polyline points="0,0 1,1"/><polygon points="0,0 1,1 1,0"/><path d="M0 0 L1 1"/></g></svg>)~",
         ""},
        {"an a stays, empty",
         R"~(<svg><a><rect width="1" height="1"/></a></svg>)~",
         R"~(<a/>)~"},
    };
    ExpectCases(std::begin(cases), std::end(cases), &textOnly);
}
