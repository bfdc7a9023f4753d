// Which paths count as upright rectangles (the only paths a mask can take),
// and the rect made from one.
#include <string>

#include <gtest/gtest.h>

#include "api/document_fixture.h"
#include "flatten/shape_geometry.h"

using kvtest::Handle;
using kvtest::LoadText;

namespace {

// Reads the path of `d` into `record` through the exports.
void ReadPath(const std::string& d, SvgPathElement& record)
{
    Handle document;
    ASSERT_EQ(LoadText("<svg><path d=\"" + d + "\"/></svg>", document), SUCCESS);
    Handle path;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/path", path.out()), SUCCESS);
    ASSERT_EQ(K_SvgInitElement(&record, SVG_ELEMENT_PATH, kSvgPathElementSize), SUCCESS);
    ASSERT_EQ(K_SvgGetElement(path, &record, kSvgPathElementSize), SUCCESS);
}

}  // namespace

TEST(RectanglePath, OneMoveThenLinesThenAtMostACloseOnAnUprightMatrix)
{
    const SvgMatrix identity;
    const SvgMatrix turned{0, 1, -1, 0, 0, 0};
    const SvgMatrix scaled{2, 0, 0, 3, 5, 5};
    const struct {
        const char* d;
        const SvgMatrix* matrix;
        bool rectangle;
    } cases[] = {
        {"M0 0 L10 0 L10 5 L0 5 Z", &identity, true},
        {"M0 0 L10 0 L10 5 L0 5", &identity, true},
        {"M0 0 L0 5 L10 5 L10 0 Z", &identity, true},        // first edge vertical
        {"M0 0 h10 v5 h-10 z", &identity, true},             // relative, H and V
        {"M0 0 L10 0 L10 5 L0 5 L0.04 0.04 Z", &identity, true},  // fifth point near the first
        {"M0 0 L10 0 L10 5 L0 5 L1 1", &identity, false},    // fifth point elsewhere
        {"M0 0 L10 0 L10 5 L0 5.04", &identity, true},       // within 0.05
        {"M0 0 L10 0 L10 5 L0 6", &identity, false},
        {"M0 0 L10 0 L10 5 Z", &identity, false},            // close as the fourth command
        {"M0 0 L10 0 L10 5", &identity, false},              // too few
        {"M0 0 L10 0 C10 5 10 5 10 5 L0 5 Z", &identity, false},  // a curve
        {"M0 0 L10 0 M10 5 L0 5 Z", &identity, false},       // a second move
        {"M0 0 L10 1 L10 5 L0 5 Z", &identity, false},       // slanted edge
        {"M0 0 L10 0 L10 5 L0 5 Z", &turned, false},         // the matrix turns it
        {"M0 0 L10 0 L10 5 L0 5 Z", &scaled, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.d);
        SvgPathElement path;
        ReadPath(c.d, path);
        EXPECT_EQ(IsRectanglePath(*c.matrix, path.d), c.rectangle);
        K_SvgFreeElement(&path, SVG_ELEMENT_PATH);
    }
}

TEST(RectanglePath, TheRectSpansThePointsWithThePathsStyle)
{
    Handle document;
    ASSERT_EQ(LoadText(R"~(<svg><path d="M10 20 h-8 v-15 h8 z" fill="red" stroke-width="3"/></svg>)~", document),
              SUCCESS);
    Handle node;
    ASSERT_EQ(K_SvgSelectSingleNode(document, u"/svg/path", node.out()), SUCCESS);
    SvgPathElement path;
    ASSERT_EQ(K_SvgInitElement(&path, SVG_ELEMENT_PATH, kSvgPathElementSize), SUCCESS);
    ASSERT_EQ(K_SvgGetElement(node, &path, kSvgPathElementSize), SUCCESS);
    SvgRectElement rect;
    ASSERT_EQ(K_SvgInitElement(&rect, SVG_ELEMENT_RECT, kSvgRectElementSize), SUCCESS);
    ASSERT_EQ(RectFromPath(path, rect), SUCCESS);

    EXPECT_DOUBLE_EQ(rect.x.value, 2);
    EXPECT_DOUBLE_EQ(rect.y.value, 5);
    EXPECT_DOUBLE_EQ(rect.width.value, 8);
    EXPECT_DOUBLE_EQ(rect.height.value, 15);
    EXPECT_EQ(rect.style.paint.fill.paint.kind, SVG_PAINT_COLOR);
    EXPECT_DOUBLE_EQ(rect.style.paint.stroke.width.value, 3);
    K_SvgFreeElement(&rect, SVG_ELEMENT_RECT);
    K_SvgFreeElement(&path, SVG_ELEMENT_PATH);
}
