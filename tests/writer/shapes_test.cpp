// Shapes on the recording engine: the element each drawing call writes, the
// pen and brush as attributes, and the calls that write nothing.
#include <array>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "writer/writer_test_support.h"

namespace {

using kvtest::Object;
using kvtest::Recording;
using kvtest::Rgb;

// A navy pen of width 2 and an orange brush, made on the engine under test.
struct Tools {
    explicit Tools(kvdrw::Engine& engine) : pen(engine), brush(engine)
    {
        const KvColor navy = Rgb(20, 40, 120), orange = Rgb(250, 150, 30);
        EXPECT_EQ(engine.CreatePen(pen.out(), &navy, 2.0, kvdrw::kDashSolid), SUCCESS);
        EXPECT_EQ(engine.CreateSolidBrush(brush.out(), &orange), SUCCESS);
    }
    Object<kvdrw::Pen> pen;
    Object<kvdrw::SolidBrush> brush;
};

constexpr const char* kStroke = R"~(stroke="rgb(20,40,120)" stroke-width="2")~";
constexpr const char* kFill = R"~(fill="rgb(250,150,30)")~";

std::string Element(const std::string& head, const std::string& paint)
{
    return "<" + head + " " + paint + "/>";
}

TEST(WriterShapes, EachDrawCallWritesOneElementWithItsGeometry)
{
    using Draw = std::function<int32_t(kvdrw::Engine&, Tools&)>;
    const KvPoint triangle[] = {{0, 0}, {10, 0}, {5, 8}};
    const KvPoint curve[] = {{0, 0}, {1, 5}, {9, 5}, {10, 0}, {11, -5}, {19, -5}, {20, 0}};
    const int32_t squareTypes[] = {kvdrw::kPathMoveTo, kvdrw::kPathLineTo, kvdrw::kPathLineTo, kvdrw::kPathLineToClose};
    const KvPoint square[] = {{0, 0}, {10, 0}, {10, 10}, {0, 10}};
    const std::string both = std::string(kFill) + " " + kStroke;
    const std::string strokeOnly = std::string(R"~(fill-opacity="0" )~") + kStroke;
    const struct {
        const char* name;
        Draw draw;
        std::string expected;
    } cases[] = {
        {"line", [](auto& e, auto& t) { return e.DrawLine(t.pen.get(), 1, 2, 3.5, 4); },
         Element(R"~(line x1="1" y1="2" x2="3.5" y2="4")~", strokeOnly)},
        {"line from points", [](auto& e, auto& t) { return e.DrawLine(t.pen.get(), KvPoint{1, 2}, KvPoint{3, 4}); },
         Element(R"~(line x1="1" y1="2" x2="3" y2="4")~", strokeOnly)},
        {"rectangle", [](auto& e, auto& t) { return e.DrawRectangle(t.pen.get(), t.brush.get(), 1, 2, 30, 40); },
         Element(R"~(rect x="1" y="2" width="30" height="40")~", both)},
        {"rectangle, brush only",
         [](auto& e, auto& t) { return e.DrawRectangle(nullptr, t.brush.get(), KvRectangle{1, 2, 30, 40}); },
         Element(R"~(rect x="1" y="2" width="30" height="40")~", kFill)},
        {"round rectangle",
         [](auto& e, auto& t) { return e.DrawRoundRectangle(t.pen.get(), t.brush.get(), 1, 2, 30, 40, 5, 6); },
         Element(R"~(rect x="1" y="2" width="30" height="40" rx="5" ry="6")~", both)},
        // A negative width runs the box to the left of x.
        {"ellipse", [](auto& e, auto& t) { return e.DrawEllipse(nullptr, t.brush.get(), 10, 20, -8, 6); },
         Element(R"~(ellipse cx="6" cy="23" rx="4" ry="3")~", kFill)},
        {"polygon, even-odd",
         [&](auto& e, auto& t) { return e.DrawPolygon(t.pen.get(), t.brush.get(), triangle, 3, 0); },
         Element(R"~(polygon points="0,0 10,0 5,8")~", std::string(kFill) + R"~( fill-rule="evenodd" )~" + kStroke)},
        {"polygon, winding",
         [&](auto& e, auto& t) { return e.DrawPolygon(t.pen.get(), t.brush.get(), triangle, 3, 1); },
         Element(R"~(polygon points="0,0 10,0 5,8")~", both)},
        {"polyline", [&](auto& e, auto& t) { return e.DrawPolyline(t.pen.get(), triangle, 3); },
         Element(R"~(polyline points="0,0 10,0 5,8")~", strokeOnly)},
        {"bezier",
         [](auto& e, auto& t) { return e.DrawBezier(t.pen.get(), {0, 0}, {1, 5}, {9, 5}, {10, 0}); },
         Element(R"~(path d="M0 0 C1 5 9 5 10 0")~", strokeOnly)},
        // Each curve after the first starts with a line to where the last
        // one ended: a line after a curve is not a repeat the path drops.
        {"beziers", [&](auto& e, auto& t) { return e.DrawBeziers(t.pen.get(), curve, 7); },
         Element(R"~(path d="M0 0 C1 5 9 5 10 0 L10 0 C11 -5 19 -5 20 0")~", strokeOnly)},
        {"path data with a close",
         [&](auto& e, auto& t) { return e.DrawPathData(t.pen.get(), t.brush.get(), square, squareTypes, 4, 1); },
         Element(R"~(path d="M0 0 L10 0 L10 10 L0 10 Z")~",
                 std::string(kFill) + R"~( fill-rule="evenodd" )~" + kStroke)},
        {"arc, a quarter",
         [](auto& e, auto& t) { return e.DrawArc(t.pen.get(), 0, 0, 20, 20, 0, 90); },
         Element(R"~(path d="M20 10 C20.124 15.326 15.326 20.124 10 20")~", strokeOnly)},
        // Backwards: the same curve, run from its other end.
        {"arc, a quarter backwards",
         [](auto& e, auto& t) { return e.DrawArc(t.pen.get(), 0, 0, 20, 20, 90, -90); },
         Element(R"~(path d="M10 20 C15.326 20.124 20.124 15.326 20 10")~", strokeOnly)},
        // On an ellipse the angle is seen from the centre: 45 degrees ends on
        // the diagonal of the box, not at the parameter 45.
        {"arc on an ellipse",
         [](auto& e, auto& t) { return e.DrawArc(t.pen.get(), 0, 0, 40, 20, 0, 45); },
         Element(R"~(path d="M40 10 C40.0695 13.707 35.6066 17.3176 28.9443 18.9443")~", strokeOnly)},
        {"pie, a quarter",
         [](auto& e, auto& t) { return e.DrawPie(t.pen.get(), t.brush.get(), 0, 0, 20, 20, 0, 90); },
         Element(R"~(path d="M20 10 C20.124 15.326 15.326 20.124 10 20 L10 20 L10 10 L20 10")~",
                 std::string(kFill) + R"~( fill-rule="evenodd" )~" + kStroke)},
        // Angles from the centre to the points, 90 and 180 degrees: the arc
        // sweeps their difference, a quarter.
        {"arc to points",
         [](auto& e, auto& t) { return e.DrawArcToPoints(t.pen.get(), 0, 0, 20, 20, 10, 30, -10, 10); },
         Element(R"~(path d="M10 20 C4.67404 20.124 -0.124046 15.326 0 10")~", strokeOnly)},
        // The pie takes the second angle as the sweep itself: half a turn.
        {"pie to points",
         [](auto& e, auto& t) { return e.DrawPieToPoints(t.pen.get(), nullptr, 0, 0, 20, 20, 10, 30, -10, 10); },
         Element(R"~(path d="M10 20 C4.67404 20.124 -0.124046 15.326 0 10 L0 10 C-0.124046 4.67404 4.67404 -0.124046 10 0 L10 0 L10 10 L10 20")~",
                 strokeOnly)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        ASSERT_EQ(recording.status(), SUCCESS);
        Tools tools(recording.engine());
        EXPECT_EQ(c.draw(recording.engine(), tools), SUCCESS);
        EXPECT_EQ(recording.Body(), c.expected);
    }
}

TEST(WriterShapes, CallsWithNothingToDrawWriteNothing)
{
    using Draw = std::function<int32_t(kvdrw::Engine&, Tools&)>;
    const KvPoint points[] = {{0, 0}, {10, 0}, {5, 8}};
    const int32_t badTypes[] = {kvdrw::kPathMoveTo, 9, kvdrw::kPathLineTo};
    const int32_t lineFirst[] = {kvdrw::kPathLineTo, kvdrw::kPathLineTo, kvdrw::kPathLineTo};
    const int32_t shortCurve[] = {kvdrw::kPathMoveTo, kvdrw::kPathBezierTo, kvdrw::kPathBezierTo};
    const struct {
        const char* name;
        Draw draw;
        int32_t status;
    } cases[] = {
        {"line without a pen", [](auto& e, auto&) { return e.DrawLine(nullptr, 0, 0, 1, 1); }, ERROR_INV_PARAMETER},
        {"rectangle without pen or brush", [](auto& e, auto&) { return e.DrawRectangle(nullptr, nullptr, 0, 0, 1, 1); },
         SUCCESS},
        {"ellipse without pen or brush", [](auto& e, auto&) { return e.DrawEllipse(nullptr, nullptr, 0, 0, 1, 1); },
         SUCCESS},
        {"polygon of no points", [&](auto& e, auto& t) { return e.DrawPolygon(t.pen.get(), nullptr, points, 0, 0); },
         SUCCESS},
        {"polygon without points", [](auto& e, auto& t) { return e.DrawPolygon(t.pen.get(), nullptr, nullptr, 3, 0); },
         SUCCESS},
        {"polyline without a pen", [&](auto& e, auto&) { return e.DrawPolyline(nullptr, points, 3); }, SUCCESS},
        {"arc without a pen", [](auto& e, auto&) { return e.DrawArc(nullptr, 0, 0, 9, 9, 0, 90); }, SUCCESS},
        {"pie without pen or brush", [](auto& e, auto&) { return e.DrawPie(nullptr, nullptr, 0, 0, 9, 9, 0, 90); },
         SUCCESS},
        {"two points of beziers", [&](auto& e, auto& t) { return e.DrawBeziers(t.pen.get(), points, 2); }, FAILURE},
        {"path data without pen or brush",
         [&](auto& e, auto&) { return e.DrawPathData(nullptr, nullptr, points, badTypes, 3, 0); },
         ERROR_INV_PARAMETER},
        {"path data of no points",
         [&](auto& e, auto& t) { return e.DrawPathData(t.pen.get(), nullptr, points, badTypes, 0, 0); }, SUCCESS},
        {"path data with an unknown type",
         [&](auto& e, auto& t) { return e.DrawPathData(t.pen.get(), nullptr, points, badTypes, 3, 0); },
         ERROR_INV_PARAMETER},
        {"path data starting with a line",
         [&](auto& e, auto& t) { return e.DrawPathData(t.pen.get(), nullptr, points, lineFirst, 3, 0); },
         ERROR_INV_PARAMETER},
        {"path data with a curve past the end",
         [&](auto& e, auto& t) { return e.DrawPathData(t.pen.get(), nullptr, points, shortCurve, 3, 0); },
         ERROR_INV_PARAMETER},
        {"path of another kind", [](auto& e, auto& t) { return e.DrawPath(t.pen.get(), nullptr, nullptr); },
         ERROR_INV_PARAMETER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        Tools tools(recording.engine());
        EXPECT_EQ(c.draw(recording.engine(), tools), c.status);
        EXPECT_EQ(recording.Body(), "");
    }
}

TEST(WriterShapes, DropShapesFlagWritesNoShapeButStillChecksThePen)
{
    SvgFileOptions options{};
    options.size = kSvgFileOptionsSize;
    options.width = options.height = options.dpiX = options.dpiY = -1.0;
    options.flags = SVG_DRAW_DROP_SHAPES;
    Recording recording(&options);
    ASSERT_EQ(recording.status(), SUCCESS);
    kvdrw::Engine& e = recording.engine();
    Tools t(e);
    const KvPoint points[] = {{0, 0}, {10, 0}, {5, 8}, {7, 7}};
    Object<kvdrw::GraphicsPath> path(e);
    ASSERT_EQ(e.CreatePath(path.out()), SUCCESS);
    ASSERT_EQ(path->AddLine(0, 0, 5, 5), SUCCESS);
    EXPECT_EQ(e.DrawLine(nullptr, 0, 0, 1, 1), ERROR_INV_PARAMETER);
    for (int32_t status : {e.DrawLine(t.pen.get(), 0, 0, 1, 1), e.DrawRectangle(t.pen.get(), nullptr, 0, 0, 1, 1),
                           e.DrawEllipse(t.pen.get(), nullptr, 0, 0, 1, 1), e.DrawPath(t.pen.get(), nullptr, path.get()),
                           e.DrawPolygon(t.pen.get(), nullptr, points, 3, 0), e.DrawPolyline(t.pen.get(), points, 3),
                           e.DrawArc(t.pen.get(), 0, 0, 9, 9, 0, 90), e.DrawPie(t.pen.get(), nullptr, 0, 0, 9, 9, 0, 90),
                           e.DrawBeziers(t.pen.get(), points, 4)})
        EXPECT_EQ(status, SUCCESS);
    EXPECT_EQ(recording.Body(), "");
}

TEST(WriterShapes, PenWritesWidthDashesCapsAndJoinsAsTheDocumentKnowsThem)
{
    using Setup = std::function<void(kvdrw::Pen&)>;
    const struct {
        const char* name;
        double width;
        int32_t dashStyle;
        Setup setup;
        std::string expected;
    } cases[] = {
        // The default width says nothing.
        {"width 1", 1.0, kvdrw::kDashSolid, nullptr, R"~(stroke="rgb(20,40,120)")~"},
        {"width 0.5", 0.5, kvdrw::kDashSolid, nullptr, R"~(stroke="rgb(20,40,120)" stroke-width="0.5")~"},
        // Dashes in user units, whatever the width.
        {"dash", 4.0, kvdrw::kDashDash, nullptr,
         R"~(stroke="rgb(20,40,120)" stroke-dasharray="5 3" stroke-width="4")~"},
        {"dot", 1.0, kvdrw::kDashDot, nullptr, R"~(stroke="rgb(20,40,120)" stroke-dasharray="2 3")~"},
        {"dash dot", 1.0, kvdrw::kDashDashDot, nullptr, R"~(stroke="rgb(20,40,120)" stroke-dasharray="5 3 2 3")~"},
        {"dash dot dot", 1.0, kvdrw::kDashDashDotDot, nullptr,
         R"~(stroke="rgb(20,40,120)" stroke-dasharray="5 3 2 3 2 3")~"},
        // A custom pattern is kept on the pen but never reaches the document.
        {"custom pattern", 1.0, kvdrw::kDashCustom,
         [](kvdrw::Pen& pen) {
             const double pattern[] = {6, 1, 1, 1};
             EXPECT_EQ(pen.SetDashPattern(pattern, 4), SUCCESS);
         },
         R"~(stroke="rgb(20,40,120)")~"},
        {"square cap, bevel join", 1.0, kvdrw::kDashSolid,
         [](kvdrw::Pen& pen) {
             pen.SetLineCap(kvdrw::kCapSquare);
             pen.SetLineJoin(kvdrw::kJoinBevel);
         },
         R"~(stroke="rgb(20,40,120)" stroke-linecap="square" stroke-linejoin="bevel")~"},
        {"round cap and join", 1.0, kvdrw::kDashSolid,
         [](kvdrw::Pen& pen) {
             pen.SetLineCap(kvdrw::kCapRound);
             pen.SetLineJoin(kvdrw::kJoinRound);
         },
         R"~(stroke="rgb(20,40,120)" stroke-linecap="round" stroke-linejoin="round")~"},
        {"translucent", 1.0, kvdrw::kDashSolid,
         [](kvdrw::Pen& pen) {
             const KvColor half = Rgb(20, 40, 120, 128);
             pen.SetColor(&half);
         },
         R"~(stroke="rgb(20,40,120)" stroke-opacity="0.501961")~"},
        // Unlike a brush, a black pen says its colour.
        {"black", 1.0, kvdrw::kDashSolid,
         [](kvdrw::Pen& pen) {
             const KvColor black = Rgb(0, 0, 0);
             pen.SetColor(&black);
         },
         R"~(stroke="rgb(0,0,0)")~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        Object<kvdrw::Pen> pen(recording.engine());
        const KvColor navy = Rgb(20, 40, 120);
        ASSERT_EQ(recording->CreatePen(pen.out(), &navy, c.width, c.dashStyle), SUCCESS);
        if (c.setup)
            c.setup(*pen.get());
        ASSERT_EQ(recording->DrawLine(pen.get(), 0, 0, 1, 0), SUCCESS);
        EXPECT_EQ(recording.Body(), R"~(<line x1="0" y1="0" x2="1" y2="0" fill-opacity="0" )~" + c.expected + "/>");
    }
}

TEST(WriterShapes, PenAndBrushAnswerWhatTheyWereGiven)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Object<kvdrw::Pen> pen(e);
    const KvColor teal = Rgb(0, 128, 128, 200);
    ASSERT_EQ(e.CreatePen(pen.out(), &teal, 1.0, kvdrw::kDashDot), SUCCESS);
    EXPECT_EQ(pen->GetWidth(), 1.0);
    EXPECT_EQ(pen->SetWidth(3.5), SUCCESS);
    EXPECT_EQ(pen->GetWidth(), 3.5);
    EXPECT_EQ(pen->GetDashStyle(), kvdrw::kDashDot);
    KvColor color{};
    ASSERT_EQ(pen->GetColor(&color), SUCCESS);
    EXPECT_EQ((std::array<int, 4>{color.alpha, color.red, color.green, color.blue}),
              (std::array<int, 4>{200, 0, 128, 128}));
    for (int32_t cap : {kvdrw::kCapButt, kvdrw::kCapSquare, kvdrw::kCapRound}) {
        pen->SetLineCap(cap);
        EXPECT_EQ(pen->GetLineCap(), cap);
        pen->SetLineJoin(cap);
        EXPECT_EQ(pen->GetLineJoin(), cap);
    }
    EXPECT_EQ(pen->SetDashPattern(nullptr, 2), ERROR_INV_PARAMETER);

    Object<kvdrw::SolidBrush> brush(e);
    const KvColor black = Rgb(0, 0, 0);
    ASSERT_EQ(e.CreateSolidBrush(brush.out(), &black), SUCCESS);
    ASSERT_EQ(brush->GetColor(&color), SUCCESS);
    EXPECT_EQ((std::array<int, 4>{color.alpha, color.red, color.green, color.blue}), (std::array<int, 4>{255, 0, 0, 0}));
    EXPECT_EQ(e.CreatePen(nullptr, &black, 1, 0), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.CreatePen(pen.out(), nullptr, 1, 0), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.CreateSolidBrush(brush.out(), nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.DeleteObject(nullptr), ERROR_INV_PARAMETER);
}

TEST(WriterShapes, BrushOpacityAndTheUnsaidBlackFill)
{
    const struct {
        KvColor color;
        std::string expected;
    } cases[] = {
        {Rgb(0, 0, 0), R"~(<rect x="0" y="0" width="1" height="1"/>)~"},
        {Rgb(0, 0, 0, 51), R"~(<rect x="0" y="0" width="1" height="1" fill-opacity="0.2"/>)~"},
        {Rgb(1, 0, 0), R"~(<rect x="0" y="0" width="1" height="1" fill="rgb(1,0,0)"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        Recording recording;
        Object<kvdrw::SolidBrush> brush(recording.engine());
        ASSERT_EQ(recording->CreateSolidBrush(brush.out(), &c.color), SUCCESS);
        ASSERT_EQ(recording->DrawRectangle(nullptr, brush.get(), 0, 0, 1, 1), SUCCESS);
        EXPECT_EQ(recording.Body(), c.expected);
    }
}

TEST(WriterShapes, PathsWriteWhatWasAddedAndFillEvenOdd)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Tools t(e);
    using Build = std::function<int32_t(kvdrw::GraphicsPath&)>;
    const KvPoint zigzag[] = {{0, 0}, {5, 5}, {10, 0}};
    const struct {
        const char* name;
        Build build;
        bool withBrush;
        std::string expected;
    } cases[] = {
        // Two lines that meet write the meeting point once.
        {"lines that meet",
         [](auto& p) {
             p.AddLine(0, 0, 10, 0);
             return p.AddLine(10, 0, 10, 10);
         },
         false, R"~(<path d="M0 0 L10 0 L10 10" fill-opacity="0" stroke="rgb(20,40,120)" stroke-width="2"/>)~"},
        {"a new figure",
         [](auto& p) {
             p.AddLine(0, 0, 10, 0);
             p.StartFigure();
             return p.AddLine(0, 5, 10, 5);
         },
         false, R"~(<path d="M0 0 L10 0 M0 5 L10 5" fill-opacity="0" stroke="rgb(20,40,120)" stroke-width="2"/>)~"},
        // The fill mode is asked, and a writer path never answers winding.
        {"filled, winding asked",
         [&](auto& p) {
             p.SetFillMode(kvdrw::kFillWinding);
             return p.AddLines(zigzag, 3);
         },
         true,
         R"~(<path d="M0 0 L5 5 L10 0" fill="rgb(250,150,30)" fill-rule="evenodd" stroke="rgb(20,40,120)" stroke-width="2"/>)~"},
        {"rectangle, its right and bottom as the size, no close",
         [](auto& p) { return p.AddRectangle(KvRectangle{1, 2, 3, 4}); }, false,
         R"~(<path d="M1 2 L5 2 L5 8 L1 8" fill-opacity="0" stroke="rgb(20,40,120)" stroke-width="2"/>)~"},
        // The rectangle form passes right and bottom where width and height go.
        {"ellipse from a rectangle",
         [](auto& p) { return p.AddEllipse(KvRectangle{0, 0, 5, 5}); }, false,
         R"~(<path d="M0 2.5 C0 1.11929 1.11929 0 2.5 0 L2.5 0 C3.88071 0 5 1.11929 5 2.5 L5 2.5 C5 3.88071 3.88071 5 2.5 5 L2.5 5 C1.11929 5 0 3.88071 0 2.5" fill-opacity="0" stroke="rgb(20,40,120)" stroke-width="2"/>)~"},
        {"closed polygon",
         [&](auto& p) {
             p.AddPolygon(zigzag, 3);
             return p.CloseFigure();
         },
         false, R"~(<path d="M0 0 L5 5 L10 0 Z" fill-opacity="0" stroke="rgb(20,40,120)" stroke-width="2"/>)~"},
        // Outlines of text and the results of path algebra reach only the
        // measuring side: the written path stays as it was.
        {"text and algebra leave d alone",
         [&](auto& p) {
             p.AddLine(0, 0, 1, 1);
             Object<kvdrw::Font> font(e);
             e.CreateFont(font.out(), 0, u"Liberation Sans", 12, 0);
             p.AddString(&e, u"abc", 3, font.get(), KvPoint{0, 0}, nullptr);
             Object<kvdrw::GraphicsPath> other(e);
             e.CreatePath(other.out());
             other->AddEllipse(0, 0, 4, 4);
             return p.CombineGeometry(&e, other.get(), kvdrw::kCombineUnion);
         },
         false, R"~(<path d="M0 0 L1 1" fill-opacity="0" stroke="rgb(20,40,120)" stroke-width="2"/>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording one;
        Tools tools(one.engine());
        Object<kvdrw::GraphicsPath> path(one.engine());
        ASSERT_EQ(one->CreatePath(path.out()), SUCCESS);
        EXPECT_EQ(c.build(*path.get()), SUCCESS);
        EXPECT_EQ(one->DrawPath(tools.pen.get(), c.withBrush ? tools.brush.get() : nullptr, path.get()), SUCCESS);
        EXPECT_EQ(one.Body(), c.expected);
    }
    (void)t;
}

TEST(WriterShapes, PathGeometryStaysAvailableThroughTheMeasuringSide)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Object<kvdrw::GraphicsPath> path(e);
    ASSERT_EQ(e.CreatePath(path.out()), SUCCESS);
    ASSERT_EQ(path->AddRectangle(10, 20, 30, 40), SUCCESS);
    KvRectangle bounds{};
    ASSERT_EQ(path->GetBounds(&bounds, nullptr, nullptr), SUCCESS);
    EXPECT_DOUBLE_EQ(bounds.x, 10);
    EXPECT_DOUBLE_EQ(bounds.y, 20);
    EXPECT_DOUBLE_EQ(bounds.width, 30);
    EXPECT_DOUBLE_EQ(bounds.height, 40);
    Object<kvdrw::Pen> pen(e);
    const KvColor black = Rgb(0, 0, 0);
    ASSERT_EQ(e.CreatePen(pen.out(), &black, 4.0, 0), SUCCESS);
    ASSERT_EQ(path->GetBounds(&bounds, nullptr, pen.get()), SUCCESS);
    EXPECT_NEAR(bounds.x, 8, 1e-9);
    EXPECT_NEAR(bounds.width, 34, 1e-9);
    EXPECT_NE(path->ContainsPoint(&e, 25, 40), 0);
    EXPECT_EQ(path->ContainsPoint(&e, 5, 40), 0);
}

}  // namespace

namespace {

// Objects of another engine are the caller's mistake; the recording engine
// refuses them instead of writing what it cannot read, and gives them back
// to the drawing library when asked to delete them.
TEST(WriterShapes, ObjectsOfAnotherEngineAreRefused)
{
    void* handle = nullptr;
    ASSERT_EQ(K_DrawingCreateMeasureEngine(&handle), SUCCESS);
    auto& other = *static_cast<kvdrw::Engine*>(handle);
    kvdrw::Pen* pen = nullptr;
    kvdrw::SolidBrush* brush = nullptr;
    kvdrw::Font* font = nullptr;
    kvdrw::GraphicsPath* path = nullptr;
    const KvColor red = Rgb(255, 0, 0);
    ASSERT_EQ(other.CreatePen(&pen, &red, 1, 0), SUCCESS);
    ASSERT_EQ(other.CreateSolidBrush(&brush, &red), SUCCESS);
    ASSERT_EQ(other.CreateFont(&font, 0, u"Arial", 12, 0), SUCCESS);
    ASSERT_EQ(other.CreatePath(&path), SUCCESS);
    {
        Recording recording;
        kvdrw::Engine& e = recording.engine();
        const KvPoint at = {0, 0};
        EXPECT_EQ(e.DrawLine(pen, 0, 0, 1, 1), ERROR_INV_PARAMETER);
        EXPECT_EQ(e.DrawRectangle(nullptr, brush, 0, 0, 1, 1), ERROR_INV_PARAMETER);
        EXPECT_EQ(e.DrawPath(nullptr, nullptr, path), ERROR_INV_PARAMETER);
        EXPECT_EQ(e.SetClipPath(path, kvdrw::kCombineReplace), ERROR_INV_PARAMETER);
        EXPECT_EQ(e.DrawString(u"a", 1, font, brush, &at, nullptr), ERROR_INV_PARAMETER);
        EXPECT_EQ(recording.Body(), "");
        // A measuring object handed to the recording engine goes back to the
        // drawing library, which made it.
        EXPECT_EQ(e.DeleteObject(path), SUCCESS);
    }
    other.DeleteObject(pen);
    other.DeleteObject(brush);
    other.DeleteObject(font);
    K_DrawingDestroyEngine(handle);
}

}  // namespace
