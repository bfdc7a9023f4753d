#include <cmath>
#include <numbers>
#include <vector>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"
#include "drawing_test_support.h"

namespace {

using kvtest::EngineObject;
using kvtest::ScopedEngine;

void ExpectRectangle(const KvRectangle& actual, const KvRectangle& expected, double tolerance)
{
    EXPECT_NEAR(actual.x, expected.x, tolerance);
    EXPECT_NEAR(actual.y, expected.y, tolerance);
    EXPECT_NEAR(actual.width, expected.width, tolerance);
    EXPECT_NEAR(actual.height, expected.height, tolerance);
}

// Area of a path's figures, holes counted against it, from its point copy.
double AreaOf(kvdrw::Engine& engine, kvdrw::GraphicsPath& path)
{
    EngineObject<kvdrw::PathData> data(engine);
    EXPECT_EQ(path.GetPathData(data.out()), SUCCESS);
    const KvPoint* points = data->GetPoints();
    const int32_t* types = data->GetTypes();
    double area = 0;
    int32_t start = 0;
    const int32_t count = data->GetCount();
    for (int32_t i = 0; i < count; ++i) {
        EXPECT_TRUE(types[i] == kvdrw::kPathMoveTo || types[i] == kvdrw::kPathLineTo ||
                    types[i] == kvdrw::kPathLineToClose);
        if (types[i] == kvdrw::kPathMoveTo)
            start = i;
        const bool last = i + 1 == count || types[i + 1] == kvdrw::kPathMoveTo;
        const KvPoint& a = points[i];
        const KvPoint& b = last ? points[start] : points[i + 1];
        area += a.x * b.y - b.x * a.y;
    }
    return std::fabs(area / 2);
}

TEST(GraphicsPath, BoundsWithAndWithoutPenUnderAMatrix)
{
    ScopedEngine engine;
    EngineObject<kvdrw::GraphicsPath> path(*engine);
    ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
    ASSERT_EQ(path->AddRectangle(10, 10, 20, 10), SUCCESS);
    EngineObject<kvdrw::Pen> pen(*engine);
    ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueBlack, 4.0, kvdrw::kDashSolid), SUCCESS);
    const KvMatrix doubled = {2, 0, 0, 2, 0, 0, 0};
    const KvMatrix turned = {0, 1, -1, 0, 0, 0, 0};  // a quarter turn
    const KvMatrix stretched = {3, 0, 0, 1, 0, 0, 0};
    const struct {
        const char* name;
        const KvMatrix* matrix;
        bool withPen;
        KvRectangle expected;
    } cases[] = {
        {"plain", nullptr, false, {10, 10, 20, 10}},
        {"pen", nullptr, true, {8, 8, 24, 14}},
        {"doubled", &doubled, false, {20, 20, 40, 20}},
        {"doubled with pen", &doubled, true, {16, 16, 48, 28}},
        {"turned", &turned, false, {-20, 10, 10, 20}},
        {"stretched with pen", &stretched, true, {24, 8, 72, 14}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KvRectangle bounds{};
        ASSERT_EQ(path->GetBounds(&bounds, c.matrix, c.withPen ? pen.get() : nullptr), SUCCESS);
        ExpectRectangle(bounds, c.expected, 1e-9);
    }
    EXPECT_EQ(path->GetBounds(nullptr, nullptr, nullptr), ERROR_INV_PARAMETER);
}

TEST(GraphicsPath, RectangleFormsPassRightAndBottomEdgesAsSize)
{
    ScopedEngine engine;
    const KvRectangle rect = {10, 10, 20, 20};
    for (bool ellipse : {true, false}) {
        SCOPED_TRACE(ellipse ? "ellipse" : "rectangle");
        EngineObject<kvdrw::GraphicsPath> path(*engine);
        ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
        ASSERT_EQ(ellipse ? path->AddEllipse(rect) : path->AddRectangle(rect), SUCCESS);
        KvRectangle bounds{};
        ASSERT_EQ(path->GetBounds(&bounds, nullptr, nullptr), SUCCESS);
        // Width and height are taken as 30: the right and bottom edges.
        ExpectRectangle(bounds, {10, 10, 30, 30}, 1e-6);
    }
}

TEST(GraphicsPath, UnionAndIntersectionHaveTheRightArea)
{
    ScopedEngine engine;
    const double r = 10, d = 10;
    // Two circles of radius r whose centres are d apart.
    const double lens = 2 * r * r * std::acos(d / (2 * r)) - d / 2 * std::sqrt(4 * r * r - d * d);
    const double circle = std::numbers::pi * r * r;
    const struct {
        const char* name;
        bool circles;
        int32_t mode;
        double expected;
    } cases[] = {
        {"rectangles united", false, kvdrw::kCombineUnion, 175.0},
        {"rectangles intersected", false, kvdrw::kCombineIntersect, 25.0},
        {"rectangles, one excluded", false, kvdrw::kCombineExclude, 75.0},
        {"rectangles exclusive or", false, kvdrw::kCombineXor, 150.0},
        {"circles united", true, kvdrw::kCombineUnion, 2 * circle - lens},
        {"circles intersected", true, kvdrw::kCombineIntersect, lens},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EngineObject<kvdrw::GraphicsPath> first(*engine), second(*engine);
        ASSERT_EQ(engine->CreatePath(first.out()), SUCCESS);
        ASSERT_EQ(engine->CreatePath(second.out()), SUCCESS);
        if (c.circles) {
            ASSERT_EQ(first->AddEllipse(-r, -r, 2 * r, 2 * r), SUCCESS);
            ASSERT_EQ(second->AddEllipse(d - r, -r, 2 * r, 2 * r), SUCCESS);
        } else {
            ASSERT_EQ(first->AddRectangle(0, 0, 10, 10), SUCCESS);
            ASSERT_EQ(second->AddRectangle(5, 5, 10, 10), SUCCESS);
        }
        ASSERT_EQ(first->CombineGeometry(engine.get(), second.get(), c.mode), SUCCESS);
        EXPECT_EQ(first->GetFillMode(), kvdrw::kFillWinding);
        EXPECT_NEAR(AreaOf(*engine, *first.get()), c.expected, c.expected * 0.005);
    }
}

// The clipper's work grows with the square of crossing edges, so path
// algebra and widening take at most 20,000 vertices; past them the path
// stays as it was.
TEST(GraphicsPath, AlgebraOnTooManyVerticesIsRefusedAndChangesNothing)
{
    ScopedEngine engine;
    for (int count : {19990, 20001}) {
        SCOPED_TRACE(count);
        EngineObject<kvdrw::GraphicsPath> zigzag(*engine), square(*engine);
        ASSERT_EQ(engine->CreatePath(zigzag.out()), SUCCESS);
        ASSERT_EQ(engine->CreatePath(square.out()), SUCCESS);
        std::vector<KvPoint> points;
        for (int i = 0; i < count - 4; ++i)
            points.push_back({i * 0.01, i % 2 ? 0.0 : 10.0});
        ASSERT_EQ(zigzag->AddPolygon(points.data(), static_cast<int32_t>(points.size())), SUCCESS);
        ASSERT_EQ(square->AddRectangle(0, 0, 10, 10), SUCCESS);
        const double before = AreaOf(*engine, *zigzag.get());
        // Widening runs the same clipper and takes the same bound, for the
        // path alone.
        if (count > 20000) {
            EngineObject<kvdrw::GraphicsPath> longer(*engine);
            EngineObject<kvdrw::Pen> pen(*engine);
            ASSERT_EQ(engine->CreatePath(longer.out()), SUCCESS);
            points.push_back({0, 20});
            points.push_back({0, 30});
            points.push_back({0, 40});
            points.push_back({0, 50});
            ASSERT_EQ(longer->AddPolygon(points.data(), static_cast<int32_t>(points.size())), SUCCESS);
            ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 1, kvdrw::kDashSolid), SUCCESS);
            const double area = AreaOf(*engine, *longer.get());
            EXPECT_EQ(longer->Widen(pen.get(), nullptr, 0.25), ERROR_MAX_ELEMENTS);
            EXPECT_DOUBLE_EQ(AreaOf(*engine, *longer.get()), area);
        }
        const int32_t status = zigzag->CombineGeometry(engine.get(), square.get(), kvdrw::kCombineUnion);
        if (count <= 20000) {
            EXPECT_EQ(status, SUCCESS);
        } else {
            EXPECT_EQ(status, ERROR_MAX_ELEMENTS);
            EXPECT_DOUBLE_EQ(AreaOf(*engine, *zigzag.get()), before);
        }
    }
}

// Well under the vertex bound, edges that all cross each other (a star of
// long chords), or small figures under a pen wider than all of them, cost
// the clipper seconds; such work is refused and the path kept. The same
// vertices drawn as a ring, or under a narrow pen, go through.
TEST(GraphicsPath, AlgebraOnEdgesThatAllCrossIsRefusedAndChangesNothing)
{
    ScopedEngine engine;
    const int n = 1001;
    for (bool star : {false, true}) {
        SCOPED_TRACE(star ? "star" : "ring");
        std::vector<KvPoint> points;
        for (int i = 0; i < n; ++i) {
            const double angle = 2 * std::numbers::pi * (star ? (i * 500 % n) : i) / n;
            points.push_back({100 + 100 * std::cos(angle), 100 + 100 * std::sin(angle)});
        }
        EngineObject<kvdrw::GraphicsPath> path(*engine), square(*engine);
        ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
        ASSERT_EQ(engine->CreatePath(square.out()), SUCCESS);
        ASSERT_EQ(path->AddPolygon(points.data(), n), SUCCESS);
        ASSERT_EQ(square->AddRectangle(0, 0, 10, 10), SUCCESS);
        const double before = AreaOf(*engine, *path.get());
        const int32_t status = path->CombineGeometry(engine.get(), square.get(), kvdrw::kCombineUnion);
        if (star) {
            EXPECT_EQ(status, ERROR_MAX_ELEMENTS);
            EXPECT_DOUBLE_EQ(AreaOf(*engine, *path.get()), before);
        } else {
            EXPECT_EQ(status, SUCCESS);
        }
    }

    for (double width : {1.0, 400.0}) {
        SCOPED_TRACE(width);
        EngineObject<kvdrw::GraphicsPath> squares(*engine);
        ASSERT_EQ(engine->CreatePath(squares.out()), SUCCESS);
        for (int i = 0; i < 200; ++i)
            ASSERT_EQ(squares->AddRectangle(i % 20 * 10, i / 20 * 10, 5, 5), SUCCESS);
        EngineObject<kvdrw::Pen> pen(*engine);
        ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, width, kvdrw::kDashSolid), SUCCESS);
        const double before = AreaOf(*engine, *squares.get());
        const int32_t status = squares->Widen(pen.get(), nullptr, 0.25);
        if (width > 1) {
            EXPECT_EQ(status, ERROR_MAX_ELEMENTS);
            EXPECT_DOUBLE_EQ(AreaOf(*engine, *squares.get()), before);
        } else {
            EXPECT_EQ(status, SUCCESS);
        }
    }
}

TEST(GraphicsPath, PathDataRejectsBadTypesAndKeepsWhatCameBefore)
{
    ScopedEngine engine;
    const KvPoint points[] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}, {5, 5}};
    const struct {
        const char* name;
        int32_t types[5];
        int32_t count;
        int32_t status;
        int32_t pointsKept;
    } cases[] = {
        {"lines and a close", {6, 2, 2, 3, 0}, 4, SUCCESS, 4},
        {"a curve", {6, 4, 4, 5, 0}, 4, SUCCESS, 4},
        {"unknown type", {6, 2, 9, 2, 0}, 4, ERROR_INV_PARAMETER, 2},
        {"line first", {2, 2, 2, 2, 0}, 4, ERROR_INV_PARAMETER, 0},
        {"curve past the end", {6, 2, 4, 4, 0}, 4, ERROR_INV_PARAMETER, 2},
        {"nothing", {0, 0, 0, 0, 0}, 0, SUCCESS, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EngineObject<kvdrw::GraphicsPath> path(*engine);
        ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
        EXPECT_EQ(path->AddPathData(points, c.types, c.count), c.status);
        EngineObject<kvdrw::PathData> data(*engine);
        ASSERT_EQ(path->GetPathData(data.out()), SUCCESS);
        EXPECT_EQ(data->GetCount(), c.pointsKept);
    }
}

TEST(GraphicsPath, FiguresJoinAndCloseAsTheTypeCodesSay)
{
    ScopedEngine engine;
    EngineObject<kvdrw::GraphicsPath> path(*engine);
    ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
    EXPECT_EQ(path->CloseFigure(), SUCCESS);  // nothing to close
    ASSERT_EQ(path->AddLine(0, 0, 10, 0), SUCCESS);
    ASSERT_EQ(path->AddLine(10, 0, 10, 10), SUCCESS);  // meets the first: no extra point
    ASSERT_EQ(path->AddLine(20, 20, 30, 30), SUCCESS);  // joined by a line
    ASSERT_EQ(path->CloseFigure(), SUCCESS);
    ASSERT_EQ(path->AddArcToPath(0, 0, 10, 10, 0, 90), SUCCESS);  // a figure of its own
    EngineObject<kvdrw::PathData> data(*engine);
    ASSERT_EQ(path->GetPathData(data.out()), SUCCESS);
    const int32_t expected[] = {6, 2, 2, 2, 3, 6, 4, 4, 4};
    ASSERT_EQ(data->GetCount(), 9);
    for (int i = 0; i < 9; ++i)
        EXPECT_EQ(data->GetTypes()[i], expected[i]) << "index " << i;
    // The quarter arc runs from the right point (10,5) to the bottom one (5,10).
    EXPECT_NEAR(data->GetPoints()[5].x, 10, 1e-9);
    EXPECT_NEAR(data->GetPoints()[5].y, 5, 1e-9);
    EXPECT_NEAR(data->GetPoints()[8].x, 5, 1e-9);
    EXPECT_NEAR(data->GetPoints()[8].y, 10, 1e-9);
}

TEST(GraphicsPath, ArcAnglesAreMeasuredOnTheEllipse)
{
    ScopedEngine engine;
    EngineObject<kvdrw::GraphicsPath> path(*engine);
    ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
    // On a flat ellipse the point at 45 degrees lies on the diagonal from
    // the centre, not at the ellipse parameter of 45 degrees.
    ASSERT_EQ(path->AddArc(-20, -10, 40, 20, 0, 45), SUCCESS);
    EngineObject<kvdrw::PathData> data(*engine);
    ASSERT_EQ(path->GetPathData(data.out()), SUCCESS);
    const KvPoint end = data->GetPoints()[data->GetCount() - 1];
    EXPECT_NEAR(end.x, end.y, 1e-9);
    EXPECT_NEAR(end.x * end.x / 400 + end.y * end.y / 100, 1.0, 1e-9);
}

TEST(GraphicsPath, FailedAllocationLeavesThePathAsItWas)
{
    ScopedEngine engine;
    EngineObject<kvdrw::GraphicsPath> path(*engine);
    ASSERT_EQ(engine->CreatePath(path.out()), SUCCESS);
    ASSERT_EQ(path->AddRectangle(0, 0, 1, 1), SUCCESS);
    const KvPoint star[] = {{0, 0}, {5, 9}, {9, 1}, {1, 6}, {9, 6}, {2, 2}, {7, 8}, {3, 3}};
    bool sawFailure = false;
    for (long successes = 0; successes < 20; ++successes) {
        TrackedFailAllocationAfter(successes);
        int32_t status = path->AddPolygon(star, 8);
        TrackedFailAllocationAfter(-1);
        EngineObject<kvdrw::PathData> data(*engine);
        ASSERT_EQ(path->GetPathData(data.out()), SUCCESS);
        if (status == ERROR_NO_MEMORY) {
            sawFailure = true;
            EXPECT_EQ(data->GetCount(), 4) << "after " << successes << " allocations";
            continue;
        }
        ASSERT_EQ(status, SUCCESS);
        EXPECT_EQ(data->GetCount(), 12);
        break;
    }
    EXPECT_TRUE(sawFailure);
}

}  // namespace
