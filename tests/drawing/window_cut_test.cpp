#include <cmath>
#include <vector>

#include <gtest/gtest.h>

#include "drawing/window_cut.h"

namespace {

using kvdrw::native::CutToWindowForFill;
using kvdrw::native::CutToWindowForStroke;
using kvdrw::native::DeviceWindow;
using kvdrw::native::PathGeometry;

const KvMatrix kIdentity = {1, 0, 0, 1, 0, 0, 0};
const DeviceWindow kWindow = {-4, -4, 24, 14};

bool AllInside(const PathGeometry& path, const DeviceWindow& w)
{
    for (const KvPoint& p : path.points()) {
        if (!(p.x >= w.left && p.x <= w.right && p.y >= w.top && p.y <= w.bottom))
            return false;
    }
    return true;
}

// Polygons with points far outside the window, crossing themselves and it:
// every point of the window keeps its winding, under both fill rules.
TEST(WindowCut, FilledPolygonsKeepTheirWindingInsideTheWindow)
{
    const double far = 1e12, beyond = 1e250;
    struct Case {
        const char* name;
        std::vector<std::vector<KvPoint>> figures;
    };
    const Case cases[] = {
        {"half plane through the window", {{{-far, -far + 0.3}, {far, far + 0.3}, {-far, far}}}},
        {"star crossing itself",
         {{{10, -far}, {far, 12}, {-far, 2}, {far, -3}, {3, far}}}},
        {"square with a hole, both far", {{{-far, -far}, {far, -far}, {far, far}, {-far, far}}, {{5, -beyond}, {15, -beyond}, {15, beyond}, {5, beyond}}}},
        {"wound twice around the window", {{{-far, -far}, {far, -far}, {far, far}, {-far, far}, {-far, -far}, {far, -far}, {far, far}, {-far, far}}}},
        {"thin wedge between far points", {{{-beyond, 5.1}, {beyond, 5.6}, {beyond, 6.6}}}},
        {"never reaching the window", {{{-far, -far}, {-100, -far}, {-100, far}}}},
    };
    for (const Case& c : cases) {
        for (int32_t fillMode : {0, 1}) {
            SCOPED_TRACE(std::string(c.name) + (fillMode ? ", winding" : ", even-odd"));
            PathGeometry path;
            path.SetFillMode(fillMode);
            for (const auto& figure : c.figures)
                path.AddPolygon(figure.data(), static_cast<int32_t>(figure.size()));
            const PathGeometry cut = CutToWindowForFill(path, kIdentity, kWindow, 0.1);
            EXPECT_TRUE(AllInside(cut, kWindow));
            EXPECT_EQ(cut.fillMode(), fillMode);
            for (double y = -3.75; y < 14; y += 0.5) {
                for (double x = -3.75; x < 24; x += 0.5)
                    ASSERT_EQ(cut.Contains(x, y), path.Contains(x, y)) << x << ", " << y;
            }
        }
    }
}

// A circle a billion units across under a matrix, its edge through the
// window: the edge stays where the circle is, inside the window the cut
// keeps curves, and a piece of curve that cannot show costs a line.
TEST(WindowCut, FarCurvesAreFollowedOnlyWhereTheyShow)
{
    const double radius = 1e9;
    PathGeometry circle;
    circle.AddEllipse(-radius, -radius, 2 * radius, 2 * radius);
    // Centre at (10, 5 + radius) on the device: the top of the circle is at y = 5.
    const KvMatrix toDevice = {2, 0, 0, 2, 10, 5 + 2 * radius, 0};
    const double deviceRadius = 2 * radius;
    const PathGeometry cut = CutToWindowForFill(circle, toDevice, kWindow, 0.1);
    EXPECT_TRUE(AllInside(cut, kWindow));
    EXPECT_LT(cut.points().size(), 2000u);
    for (double y = -3.75; y < 14; y += 0.5) {
        for (double x = -3.75; x < 24; x += 0.5) {
            const double fromCentre = std::hypot(x - 10, y - 5 - 2 * radius);
            if (std::fabs(fromCentre - deviceRadius) > 0.25)
                EXPECT_EQ(cut.Contains(x, y) != 0, fromCentre < deviceRadius) << x << ", " << y;
        }
    }

    // A small circle inside the window is handed on as it was drawn.
    PathGeometry small;
    small.AddEllipse(5, 2, 8, 8);
    const PathGeometry kept = CutToWindowForFill(small, kIdentity, kWindow, 0.1);
    int curves = 0;
    for (int32_t type : kept.types())
        curves += type == 4 || type == 5 ? 1 : 0;
    EXPECT_EQ(curves, 12);

    // A curve 1e43 across crossing the window: a few hundred pieces at most.
    PathGeometry huge;
    huge.AddBezier({-1e43, 1e43}, {0, -1e43}, {0, -1e43}, {1e43, 1e43});
    const PathGeometry hugeCut = CutToWindowForFill(huge, kIdentity, kWindow, 0.1);
    EXPECT_TRUE(AllInside(hugeCut, kWindow));
    EXPECT_LT(hugeCut.points().size(), 1000u);
}

// Strokes keep only the stretches inside the window; a closed figure cut
// elsewhere keeps the corner at its start as one stretch through it.
TEST(WindowCut, StrokesEndWhereTheyLeaveTheWindowAndKeepTheStartingCorner)
{
    const double far = 1e12;
    PathGeometry square;
    const KvPoint corners[] = {{2, 2}, {far, 2}, {far, far}, {2, far}};
    square.AddPolygon(corners, 4);
    const PathGeometry cut = CutToWindowForStroke(square, kIdentity, kWindow, 0.1);
    EXPECT_TRUE(AllInside(cut, kWindow));
    // One open figure: in from the bottom along x = 2, round the corner at
    // (2, 2), out to the right along y = 2.
    const auto& points = cut.points();
    const auto& types = cut.types();
    ASSERT_EQ(points.size(), 3u);
    EXPECT_EQ(types[0], 6);
    EXPECT_EQ(types[1], 2);
    EXPECT_EQ(types[2], 2);
    EXPECT_DOUBLE_EQ(points[0].x, 2);
    EXPECT_DOUBLE_EQ(points[0].y, kWindow.bottom);
    EXPECT_DOUBLE_EQ(points[1].x, 2);
    EXPECT_DOUBLE_EQ(points[1].y, 2);
    EXPECT_DOUBLE_EQ(points[2].x, kWindow.right);
    EXPECT_DOUBLE_EQ(points[2].y, 2);

    // A closed figure wholly inside stays closed; one wholly outside is gone.
    PathGeometry inside;
    inside.AddRectangle(0, 0, 5, 5);
    inside.AddRectangle(100, 100, 5, 5);
    const PathGeometry kept = CutToWindowForStroke(inside, kIdentity, kWindow, 0.1);
    ASSERT_EQ(kept.points().size(), 4u);
    EXPECT_EQ(kept.types().back(), 3);

    // A line leaving and coming back is two stretches.
    PathGeometry zigzag;
    const KvPoint line[] = {{0, 5}, {far, 5}, {far, 8}, {0, 8}};
    zigzag.AddLines(line, 4);
    const PathGeometry twice = CutToWindowForStroke(zigzag, kIdentity, kWindow, 0.1);
    int figures = 0;
    for (int32_t type : twice.types())
        figures += type == 6 ? 1 : 0;
    EXPECT_EQ(figures, 2);
}

}  // namespace
