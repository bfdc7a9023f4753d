#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "drawing_test_support.h"

namespace {

using kvtest::EngineObject;
using kvtest::Rgba;
using kvtest::ScopedEngine;
using kvtest::TestBitmap;

struct Layout {
    const char* name;
    uint32_t bitsPerPixel;
    uint32_t order;
    uint32_t perspective;
};

// Every layout the bitmap engine accepts: drawn in place (32-bit, blue
// first, top row first) and through its own surface (all the others).
const Layout kLayouts[] = {
    {"32 BGR top-down", 32, KV_ORDER_BGR, KV_TOP_LEFT},   {"32 RGB top-down", 32, KV_ORDER_RGB, KV_TOP_LEFT},
    {"32 BGR bottom-up", 32, KV_ORDER_BGR, KV_BOTTOM_LEFT}, {"24 BGR top-down", 24, KV_ORDER_BGR, KV_TOP_LEFT},
    {"24 RGB top-down", 24, KV_ORDER_RGB, KV_TOP_LEFT},   {"24 RGB bottom-up", 24, KV_ORDER_RGB, KV_BOTTOM_LEFT},
};

bool Near(const Rgba& actual, const Rgba& expected, int tolerance)
{
    return std::abs(actual.red - expected.red) <= tolerance && std::abs(actual.green - expected.green) <= tolerance &&
           std::abs(actual.blue - expected.blue) <= tolerance && std::abs(actual.alpha - expected.alpha) <= tolerance;
}

void ExpectEveryPixel(const TestBitmap& bitmap, const Rgba& expected)
{
    for (int y = 0; y < bitmap.bitmap.height; ++y) {
        for (int x = 0; x < bitmap.bitmap.width; ++x)
            EXPECT_EQ(bitmap.At(x, y), expected) << x << ", " << y;
    }
}

TEST(BitmapEngine, SolidRectangleFillsExactPixelsInEveryLayout)
{
    // Rows as they must read from the top: R marks the rectangle (2,1)-(5,5).
    const char* expected[] = {
        "........", "..RRR...", "..RRR...", "..RRR...", "..RRR...", "........",
    };
    for (const Layout& layout : kLayouts) {
        SCOPED_TRACE(layout.name);
        TestBitmap target(8, 6, layout.bitsPerPixel, layout.order, layout.perspective);
        {
            ScopedEngine engine(target.bitmap);
            ASSERT_NE(engine.get(), nullptr);
            ASSERT_EQ(engine->SetQualityA(2), SUCCESS);  // antialiasing must not touch whole pixels
            EngineObject<kvdrw::SolidBrush> brush(*engine);
            ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueRed), SUCCESS);
            ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 2, 1, 3, 4), SUCCESS);
        }
        for (int y = 0; y < 6; ++y) {
            for (int x = 0; x < 8; ++x) {
                SCOPED_TRACE(testing::Message() << "pixel " << x << "," << y);
                EXPECT_EQ(target.At(x, y), expected[y][x] == 'R' ? kvtest::kRed : kvtest::kWhite);
            }
        }
    }
}

TEST(BitmapEngine, TransformScalesWhatIsDrawn)
{
    TestBitmap target(8, 8, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueRed), SUCCESS);
        const KvMatrix doubled = {2, 0, 0, 2, 1, 0, 0};
        ASSERT_EQ(engine->SetTransform(&doubled), SUCCESS);
        ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 1, 1, 2, 1), SUCCESS);
    }
    // (1,1)-(3,2) becomes (3,2)-(7,4).
    for (int y = 0; y < 8; ++y) {
        for (int x = 0; x < 8; ++x) {
            SCOPED_TRACE(testing::Message() << "pixel " << x << "," << y);
            const bool inside = x >= 3 && x < 7 && y >= 2 && y < 4;
            EXPECT_EQ(target.At(x, y), inside ? kvtest::kRed : kvtest::kWhite);
        }
    }
}

TEST(BitmapEngine, DashedLineHasGapsWhereThePatternSays)
{
    const double customPattern[] = {2, 1};  // in pen widths: 4 pixels on, 2 off
    const struct {
        const char* name;
        int32_t dashStyle;
        const double* pattern;
        int32_t patternCount;
        const char* row;  // one row of the 2-pixel line, '#' drawn
    } cases[] = {
        {"solid", kvdrw::kDashSolid, nullptr, 0, "########################"},
        {"dash 3-1", kvdrw::kDashDash, nullptr, 0, "######..######..######.."},
        {"dot 1-1", kvdrw::kDashDot, nullptr, 0, "##..##..##..##..##..##.."},
        {"custom 2-1", kvdrw::kDashCustom, customPattern, 2, "####..####..####..####.."},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestBitmap target(24, 4, 24, KV_ORDER_BGR, KV_TOP_LEFT);
        {
            ScopedEngine engine(target.bitmap);
            EngineObject<kvdrw::Pen> pen(*engine);
            ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueBlack, 2.0, c.dashStyle), SUCCESS);
            if (c.pattern) {
                ASSERT_EQ(pen->SetDashPattern(c.pattern, c.patternCount), SUCCESS);
            }
            ASSERT_EQ(pen->SetLineCap(kvdrw::kCapButt), SUCCESS);
            ASSERT_EQ(engine->DrawLine(pen.get(), 0, 2, 24, 2), SUCCESS);
        }
        for (int y = 0; y < 4; ++y) {
            std::string drawn;
            for (int x = 0; x < 24; ++x)
                drawn += target.At(x, y) == Rgba{0, 0, 0, 255} ? '#' : target.At(x, y) == kvtest::kWhite ? '.' : '?';
            SCOPED_TRACE(testing::Message() << "row " << y);
            EXPECT_EQ(drawn, (y == 1 || y == 2) ? std::string(c.row) : std::string(24, '.'));
        }
    }
}

TEST(BitmapEngine, ClipModesLeaveTheRightRegions)
{
    // The first clip is (0,0)-(6,6), the second (4,4)-(10,10); then the whole
    // bitmap is filled. 'A' only in the first, 'B' only in the second, 'C' in both.
    const struct {
        int32_t mode;
        const char* name;
        const char* visibleKinds;  // which of A, B, C, and '.' (neither) get paint
    } cases[] = {
        {kvdrw::kCombineReplace, "replace", "BC"},  {kvdrw::kCombineIntersect, "intersect", "C"},
        {kvdrw::kCombineUnion, "union", "ABC"},      {kvdrw::kCombineXor, "xor", "AB"},
        {kvdrw::kCombineExclude, "exclude", "A"},    {kvdrw::kCombineComplement, "complement", "B"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestBitmap target(10, 10, 32, KV_ORDER_RGB, KV_TOP_LEFT);
        {
            ScopedEngine engine(target.bitmap);
            EngineObject<kvdrw::SolidBrush> brush(*engine);
            ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueRed), SUCCESS);
            const KvRectangle first = {0, 0, 6, 6}, second = {4, 4, 6, 6};
            ASSERT_EQ(engine->SetClipRect(&first, kvdrw::kCombineReplace), SUCCESS);
            ASSERT_EQ(engine->SetClipRect(&second, c.mode), SUCCESS);
            ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 10, 10), SUCCESS);
        }
        for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < 10; ++x) {
                const bool inFirst = x < 6 && y < 6, inSecond = x >= 4 && y >= 4;
                const char kind = inFirst && inSecond ? 'C' : inFirst ? 'A' : inSecond ? 'B' : '.';
                const bool painted = std::string(c.visibleKinds).find(kind) != std::string::npos;
                SCOPED_TRACE(testing::Message() << "pixel " << x << "," << y << " kind " << kind);
                EXPECT_EQ(target.At(x, y), painted ? kvtest::kRed : kvtest::kWhite);
            }
        }
    }
}

TEST(BitmapEngine, EmptyClipRectangleIsNoRegion)
{
    const struct {
        int32_t mode;
        bool painted;
    } cases[] = {{kvdrw::kCombineReplace, false}, {kvdrw::kCombineIntersect, false}, {kvdrw::kCombineUnion, true},
                 {kvdrw::kCombineExclude, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "mode " << c.mode);
        TestBitmap target(4, 4, 24, KV_ORDER_BGR, KV_TOP_LEFT);
        {
            ScopedEngine engine(target.bitmap);
            EngineObject<kvdrw::SolidBrush> brush(*engine);
            ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueRed), SUCCESS);
            const KvRectangle everything = {0, 0, 4, 4}, turnedRound = {4, 0, -4, 4};
            ASSERT_EQ(engine->SetClipRect(&everything, kvdrw::kCombineReplace), SUCCESS);
            ASSERT_EQ(engine->SetClipRect(&turnedRound, c.mode), SUCCESS);
            ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 4, 4), SUCCESS);
        }
        EXPECT_EQ(target.At(1, 2), c.painted ? kvtest::kRed : kvtest::kWhite);
    }
}

TEST(BitmapEngine, ClipPathAndRestoredStateAgree)
{
    TestBitmap target(10, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueRed), SUCCESS);
        EngineObject<kvdrw::GraphicsPath> triangle(*engine);
        ASSERT_EQ(engine->CreatePath(triangle.out()), SUCCESS);
        const KvPoint corners[] = {{0, 0}, {10, 0}, {0, 10}};
        ASSERT_EQ(triangle->AddPolygon(corners, 3), SUCCESS);
        const int32_t token = engine->SaveState();
        ASSERT_EQ(engine->SetClipPath(triangle.get(), kvdrw::kCombineReplace), SUCCESS);
        ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 10, 5), SUCCESS);
        ASSERT_EQ(engine->RestoreState(token), SUCCESS);
        // No clip any more: the bottom row is painted in full.
        ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 9, 10, 1), SUCCESS);
    }
    EXPECT_EQ(target.At(1, 1), kvtest::kRed);
    EXPECT_EQ(target.At(8, 3), kvtest::kWhite);  // outside the triangle
    EXPECT_EQ(target.At(9, 9), kvtest::kRed);
}

// A clip reaching billions of pixels out wraps inside cairo's fixed-point
// geometry; the engine cuts it to the canvas first, without moving what shows.
TEST(BitmapEngine, ClipsFarPastTheCanvasClipAsTheyShould)
{
    TestBitmap target(10, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueRed), SUCCESS);
        // The diagonal through (0, 0) and (10, 10), its far ends 2^31 pixels out.
        EngineObject<kvdrw::GraphicsPath> half(*engine);
        ASSERT_EQ(engine->CreatePath(half.out()), SUCCESS);
        const double far = 2147483648.0;
        const KvPoint corners[] = {{-far, -far}, {far, far}, {-far, far}};
        ASSERT_EQ(half->AddPolygon(corners, 3), SUCCESS);
        ASSERT_EQ(engine->SetClipPath(half.get(), kvdrw::kCombineReplace), SUCCESS);
        const KvRectangle wide = {-far, -far, 2 * far, 2 * far};
        ASSERT_EQ(engine->SetClipRect(&wide, kvdrw::kCombineIntersect), SUCCESS);
        EXPECT_EQ(engine->DrawRoundRectangle(nullptr, brush.get(), 0, 0, 10, 10, 1, 1), SUCCESS);
    }
    EXPECT_EQ(target.At(1, 6), kvtest::kRed);    // below the diagonal
    EXPECT_EQ(target.At(6, 1), kvtest::kWhite);  // above it
}

// A dashed stroke far longer than the canvas has its dashes laid by the
// engine inside the canvas only; what shows must be what cairo would draw.
TEST(BitmapEngine, DashesOfAVeryLongStrokeLandWhereShortOnesDo)
{
    struct Case {
        const char* name;
        double width;        // 0: the thinnest pen, dashed in pixels
        double scale;        // of the transform
        double farStart;     // where the long line starts, a whole number of periods back
    };
    const Case cases[] = {
        {"plain", 2, 1, -800000},
        {"thinnest pen", 0, 1, -400000},
        {"scaled down", 200, 0.01, -8000000},
        {"starts billions of pixels out", 2, 1, -8e9},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        TestBitmap near(100, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT), far(100, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
        for (TestBitmap* target : {&near, &far}) {
            ScopedEngine engine(target->bitmap);
            EngineObject<kvdrw::Pen> pen(*engine);
            ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, c.width, kvdrw::kDashDash), SUCCESS);
            const KvMatrix scale = {c.scale, 0, 0, c.scale, 0, 0, 0};
            ASSERT_EQ(engine->SetTransform(&scale), SUCCESS);
            const double start = target == &near ? 0 : c.farStart / c.scale;
            ASSERT_EQ(engine->DrawLine(pen.get(), start, 5 / c.scale, 100 / c.scale, 5 / c.scale), SUCCESS);
        }
        int differing = 0, red = 0;
        for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < 100; ++x) {
                differing += Near(near.At(x, y), far.At(x, y), 8) ? 0 : 1;
                red += near.At(x, y) == kvtest::kRed ? 1 : 0;
            }
        }
        EXPECT_EQ(differing, 0);
        EXPECT_GT(red, 20);  // there are dashes to compare
    }
}

// Shapes whose corners lie past cairo's fixed-point range are cut to the
// canvas before cairo sees them: what shows is what the same shapes with
// near corners show, fill, dashes and the miter at the corner they start
// from included, under a matrix or without.
TEST(BitmapEngine, ShapesReachingPastCairosRangeDrawWhatShows)
{
    for (double scale : {1.0, 0.5}) {
        SCOPED_TRACE(scale);
        TestBitmap near(20, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT), far(20, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
        for (TestBitmap* target : {&near, &far}) {
            ScopedEngine engine(target->bitmap);
            EngineObject<kvdrw::Pen> pen(*engine);
            ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 2 / scale, kvdrw::kDashDash), SUCCESS);
            EngineObject<kvdrw::SolidBrush> brush(*engine);
            ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueBlue), SUCCESS);
            const KvMatrix matrix = {scale, 0, 0, scale, 0, 0, 0};
            ASSERT_EQ(engine->SetTransform(&matrix), SUCCESS);
            const double out = (target == &near ? 1000 : 1e12) / scale, corner = 5 / scale;
            const KvPoint square[] = {{corner, corner}, {out, corner}, {out, out}, {corner, out}};
            EXPECT_EQ(engine->DrawPolygon(pen.get(), brush.get(), square, 4, kvdrw::kFillWinding), SUCCESS);
        }
        int differing = 0;
        for (int y = 0; y < 10; ++y) {
            for (int x = 0; x < 20; ++x)
                differing += Near(near.At(x, y), far.At(x, y), 8) ? 0 : 1;
        }
        EXPECT_EQ(differing, 0);
        // The pattern is on where the figure ends and starts: one dash
        // through the corner, with its miter.
        EXPECT_EQ(far.At(4, 4), kvtest::kRed);
        EXPECT_EQ(far.At(8, 8).blue, 255);      // the fill
    }

    // A circle two billion pixels across whose top crosses the canvas.
    TestBitmap circle(20, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(circle.bitmap);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueBlue), SUCCESS);
        const double radius = 1e9;
        EXPECT_EQ(engine->DrawEllipse(nullptr, brush.get(), 10 - radius, 5, 2 * radius, 2 * radius), SUCCESS);
    }
    for (int x = 0; x < 20; ++x) {
        EXPECT_EQ(circle.At(x, 4), kvtest::kWhite) << x;
        EXPECT_EQ(circle.At(x, 5).blue, 255) << x;
        EXPECT_EQ(circle.At(x, 5).red, 0) << x;
    }
}

// A round cap on a pen millions of pixels wide is built coarser than cairo
// would (its polygon from millions of vertices past that): it still covers
// the canvas, and a pen a thousand pixels wide keeps its exact edge.
TEST(BitmapEngine, HugePensCoverWhatTheyShould)
{
    TestBitmap target(20, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::Pen> pen(*engine);
        ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 2, kvdrw::kDashSolid), SUCCESS);
        ASSERT_EQ(pen->SetLineCap(kvdrw::kCapRound), SUCCESS);
        const KvMatrix huge = {3e6, 0, 0, 3e6, 10, 5, 0};
        ASSERT_EQ(engine->SetTransform(&huge), SUCCESS);
        EXPECT_EQ(engine->DrawLine(pen.get(), 0, 0, 0, 0), SUCCESS);
    }
    ExpectEveryPixel(target, kvtest::kRed);
    // A pen 1e300 wide is past what cairo can place; narrowed, it still
    // covers the canvas along its line.
    TestBitmap wide(20, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(wide.bitmap);
        EngineObject<kvdrw::Pen> pen(*engine);
        ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 1e300, kvdrw::kDashSolid), SUCCESS);
        EXPECT_EQ(engine->DrawLine(pen.get(), 0, 5, 20, 5), SUCCESS);
    }
    ExpectEveryPixel(wide, kvtest::kRed);
    TestBitmap edge(20, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(edge.bitmap);
        EngineObject<kvdrw::Pen> pen(*engine);
        ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 1000, kvdrw::kDashSolid), SUCCESS);
        ASSERT_EQ(pen->SetLineCap(kvdrw::kCapRound), SUCCESS);
        EXPECT_EQ(engine->DrawLine(pen.get(), -490, 5, -490, 5), SUCCESS);  // a dot whose edge is at x = 10
    }
    EXPECT_EQ(edge.At(8, 5), kvtest::kRed);
    EXPECT_EQ(edge.At(11, 5), kvtest::kWhite);
}

// Dashes a thousandth of a pixel long, along a line a hundred thousand
// pixels long: more than anyone can tell apart, drawn whole at the
// pattern's share of ink (a quarter here), in a moment.
TEST(BitmapEngine, DashesFinerThanPixelsDrawAsTheirShareOfInk)
{
    TestBitmap target(100, 10, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::Pen> pen(*engine);
        ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 4, kvdrw::kDashCustom), SUCCESS);
        const double pattern[] = {0.00025, 0.00075};  // of the width: 0.001 and 0.003 pixels
        ASSERT_EQ(pen->SetDashPattern(pattern, 2), SUCCESS);
        ASSERT_EQ(engine->DrawLine(pen.get(), -100000, 5, 100, 5), SUCCESS);
    }
    const Rgba middle = target.At(50, 4);
    EXPECT_EQ(middle.red, 255);
    EXPECT_NEAR(middle.green, 191, 3);  // white under a quarter of red
    EXPECT_EQ(target.At(50, 0), kvtest::kWhite);
}

TEST(BitmapEngine, GradientHasItsEndColoursAtItsEnds)
{
    TestBitmap target(101, 2, 24, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::LinearGradientBrush> brush(*engine);
        const KvPoint start = {0, 0}, end = {101, 0};
        const KvColor blue = kvtest::kOpaqueBlue, red = kvtest::kOpaqueRed;
        ASSERT_EQ(engine->CreateGradientBrushFromPoints(brush.out(), &start, &end, &blue, &red), SUCCESS);
        ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 101, 1), SUCCESS);
        // Three stops on the second row: green in the middle.
        EngineObject<kvdrw::LinearGradientBrush> stops(*engine);
        const KvPoint ends[] = {{0, 0}, {101, 0}};
        const KvColor colours[] = {blue, {255, 0, 255, 0}, red};
        const double offsets[] = {0.0, 0.5, 1.0};
        ASSERT_EQ(engine->CreateGradientBrushFromStops(stops.out(), ends, colours, offsets, 3), SUCCESS);
        ASSERT_EQ(engine->DrawRectangle(nullptr, stops.get(), 0, 1, 101, 1), SUCCESS);
    }
    const struct {
        int x, y;
        Rgba expected;
    } samples[] = {
        {0, 0, {1, 0, 254, 255}},   {100, 0, {254, 0, 1, 255}}, {50, 0, {128, 0, 128, 255}},
        {0, 1, {0, 3, 252, 255}},   {50, 1, {0, 255, 0, 255}},  {100, 1, {252, 3, 0, 255}},
    };
    for (const auto& s : samples) {
        SCOPED_TRACE(testing::Message() << "pixel " << s.x << "," << s.y << " is " << target.At(s.x, s.y));
        EXPECT_TRUE(Near(target.At(s.x, s.y), s.expected, 2));
    }
}

TEST(BitmapEngine, HatchFollowsThePixelGrid)
{
    TestBitmap target(20, 20, 24, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::HatchBrush> brush(*engine);
        const KvColor white = {255, 255, 255, 255};
        ASSERT_EQ(engine->CreateHatchBrush(brush.out(), kvdrw::kHatchHorizontal, &kvtest::kOpaqueBlack, &white),
                  SUCCESS);
        ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 20, 20), SUCCESS);
    }
    for (int y = 0; y < 20; ++y) {
        SCOPED_TRACE(testing::Message() << "row " << y);
        const Rgba expected = (y % 10 == 9) ? Rgba{0, 0, 0, 255} : kvtest::kWhite;
        EXPECT_EQ(target.At(3, y), expected);
        EXPECT_EQ(target.At(17, y), expected);
    }
}

TEST(BitmapEngine, ImageWithHalfOpacityBlendsAndSourceRectangleSelects)
{
    // A 4 x 4 picture: blue, with a red pixel at (1,1) and a green one at (2,1).
    TestBitmap picture(4, 4, 24, KV_ORDER_BGR, KV_TOP_LEFT, {0, 0, 255, 255});
    picture.Set(1, 1, {255, 0, 0, 255});
    picture.Set(2, 1, {0, 255, 0, 255});
    TestBitmap target(8, 8, 32, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        const KvRectangle whole = {0, 0, 4, 4}, atTopLeft = {0, 0, 4, 4};
        ASSERT_EQ(engine->DrawImage(&picture.bitmap, &atTopLeft, &whole, 0.5), SUCCESS);
        const KvRectangle middle = {1, 1, 2, 1}, lowerRight = {5, 6, 2, 1};
        ASSERT_EQ(engine->DrawImage(&picture.bitmap, &lowerRight, &middle, 1.0), SUCCESS);
        const KvRectangle empty = {1, 1, 0, 3};
        EXPECT_EQ(engine->DrawImage(&picture.bitmap, &lowerRight, &empty, 1.0), SUCCESS);
    }
    // Blue over white at one half: red and green 255 * 0.5.
    EXPECT_TRUE(Near(target.At(0, 0), {128, 128, 255, 255}, 1)) << target.At(0, 0);
    EXPECT_TRUE(Near(target.At(1, 1), {255, 128, 128, 255}, 1)) << target.At(1, 1);
    EXPECT_EQ(target.At(5, 6), kvtest::kRed);
    EXPECT_EQ(target.At(6, 6), (Rgba{0, 255, 0, 255}));
    EXPECT_EQ(target.At(7, 6), kvtest::kWhite);
    EXPECT_EQ(target.At(4, 4), kvtest::kWhite);
}

TEST(BitmapEngine, ImagePlacementNoMatrixCanHoldDrawsNothingAndLeavesTheEngineWorking)
{
    const double inf = std::numeric_limits<double>::infinity();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const struct {
        const char* name;
        KvRectangle destination;
        KvRectangle source;
        int32_t status;
        double transformScale = 1;
    } cases[] = {
        {"a scale that overflows", {0, 0, 1e300, 1e300}, {0, 0, 4, 4}, SUCCESS},
        {"a scale that vanishes", {0, 0, 1e-320, 4}, {0, 0, 4, 4}, SUCCESS},
        {"a source far smaller than a pixel", {0, 0, 4, 4}, {0, 0, 1e-310, 1e-310}, SUCCESS},
        {"an infinite width", {0, 0, inf, 4}, {0, 0, 4, 4}, ERROR_INV_PARAMETER},
        {"a place that is not a number", {nan, 0, 4, 4}, {0, 0, 4, 4}, ERROR_INV_PARAMETER},
        {"a source that is not a number", {0, 0, 4, 4}, {nan, 0, 4, 4}, ERROR_INV_PARAMETER},
        // Each fine alone; under the transform the whole vanishes or overflows.
        {"a small scale under a small transform", {0, 0, 4e-160, 4e-160}, {0, 0, 4, 4}, SUCCESS, 1e-160},
        {"a large scale under a large transform", {0, 0, 4e160, 4e160}, {0, 0, 4, 4}, SUCCESS, 1e160},
    };
    TestBitmap picture(4, 4, 24, KV_ORDER_BGR, KV_TOP_LEFT, {0, 0, 255, 255});
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        TestBitmap target(4, 4, 32, KV_ORDER_BGR, KV_TOP_LEFT);
        {
            ScopedEngine engine(target.bitmap);
            const KvMatrix transform = {c.transformScale, 0, 0, c.transformScale, 0, 0, 0};
            ASSERT_EQ(engine->SetTransform(&transform), SUCCESS);
            EXPECT_EQ(engine->DrawImage(&picture.bitmap, &c.destination, &c.source, 1.0), c.status);
            EXPECT_EQ(target.At(1, 1), kvtest::kWhite);
            ASSERT_EQ(engine->ResetTransform(), SUCCESS);
            // The engine still draws: the refused image left no error behind.
            EngineObject<kvdrw::SolidBrush> brush(*engine);
            const KvColor red = {255, 255, 0, 0};
            ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &red), SUCCESS);
            EXPECT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 4, 4), SUCCESS);
        }
        EXPECT_EQ(target.At(1, 1), kvtest::kRed);
    }
}

TEST(BitmapEngine, TransparentTargetKeepsStraightAlpha)
{
    TestBitmap target(4, 4, 32, KV_ORDER_BGR, KV_TOP_LEFT, {0, 0, 0, 0});
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        const KvColor halfRed = {128, 255, 0, 0};
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &halfRed), SUCCESS);
        ASSERT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 2, 4), SUCCESS);
    }
    EXPECT_EQ(target.At(0, 0), (Rgba{255, 0, 0, 128}));
    EXPECT_EQ(target.At(3, 3), (Rgba{0, 0, 0, 0}));
}

TEST(BitmapEngine, HostileNumbersLeaveTheEngineWorking)
{
    TestBitmap target(4, 4, 24, KV_ORDER_BGR, KV_TOP_LEFT);
    {
        ScopedEngine engine(target.bitmap);
        EngineObject<kvdrw::SolidBrush> brush(*engine);
        EngineObject<kvdrw::Pen> pen(*engine);
        ASSERT_EQ(engine->CreateSolidBrush(brush.out(), &kvtest::kOpaqueRed), SUCCESS);
        ASSERT_EQ(engine->CreatePen(pen.out(), &kvtest::kOpaqueRed, 1e300, kvdrw::kDashDot), SUCCESS);
        const double huge = 1e300, nan = std::nan("");
        EXPECT_EQ(engine->DrawRectangle(pen.get(), brush.get(), -huge, -huge, huge, huge), SUCCESS);
        EXPECT_EQ(engine->DrawRectangle(nullptr, brush.get(), nan, 0, 1, 1), ERROR_INV_PARAMETER);
        // The last squashes a square into a sliver 1e-308 wide: invertible on
        // paper, but cairo's stroker looped for minutes through its inverse.
        const KvMatrix broken = {nan, 0, 0, 1, 0, 0, 0}, flat = {1, 0, 2, 0, 0, 0, 0},
                       sliver = {50, 50, 1.66881e-306, 0, 100, 0, 0};
        EngineObject<kvdrw::Pen> dashed(*engine);
        ASSERT_EQ(engine->CreatePen(dashed.out(), &kvtest::kOpaqueRed, 1, kvdrw::kDashDash), SUCCESS);
        for (const KvMatrix* m : {&broken, &flat, &sliver}) {
            ASSERT_EQ(engine->SetTransform(m), SUCCESS);
            EXPECT_EQ(engine->DrawRectangle(dashed.get(), brush.get(), 0, 0, 1, 1), SUCCESS);
        }
        const KvPoint points[] = {{0, 0}, {huge, nan}, {1, 1}};
        const int32_t types[] = {6, 2, 2};
        ASSERT_EQ(engine->ResetTransform(), SUCCESS);
        EXPECT_EQ(engine->DrawPathData(nullptr, brush.get(), points, types, 3, 1), ERROR_INV_PARAMETER);
        EXPECT_EQ(engine->DrawRectangle(nullptr, brush.get(), 0, 0, 1, 1), SUCCESS);
    }
    EXPECT_EQ(target.At(0, 0), kvtest::kRed);
}

TEST(BitmapEngine, RefusesBitmapsItCannotDrawOn)
{
    TestBitmap eightBit(4, 4, 8, KV_ORDER_BGR, KV_TOP_LEFT);
    kvdrw::Engine* engine = nullptr;
    EXPECT_EQ(DrawingCreateBitmapEngine(eightBit.bitmap, &engine), ERROR_NOT_SUPPORTED);
    KvBitmap noPixels{};
    ASSERT_EQ(InitBitmap(noPixels, kKvBitmapSize, 4, 4, 32, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(DrawingCreateBitmapEngine(noPixels, &engine), ERROR_INV_PARAMETER);
    EXPECT_EQ(engine, nullptr);
}

}  // namespace
