// State on the recording engine: transforms and clips repeated on every
// element, clip paths by combine mode, the saved-state tokens, and the
// gradients and hatches written as paint servers with generated ids.
#include <array>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "writer/writer_test_support.h"

namespace {

using kvtest::Object;
using kvtest::Recording;
using kvtest::Rgb;

KvMatrix Matrix(double m11, double m12, double m21, double m22, double dx, double dy)
{
    return {m11, m12, m21, m22, dx, dy, 0};
}

std::array<double, 6> Numbers(const KvMatrix& m)
{
    return {m.m11, m.m12, m.m21, m.m22, m.dx, m.dy};
}

// A red brush and a one-unit square drawn with it at x.
struct Painter {
    explicit Painter(kvdrw::Engine& engine) : engine(engine), brush(engine)
    {
        const KvColor red = Rgb(255, 0, 0);
        EXPECT_EQ(engine.CreateSolidBrush(brush.out(), &red), SUCCESS);
    }
    int32_t Square(double x) { return engine.DrawRectangle(nullptr, brush.get(), x, 0, 1, 1); }
    kvdrw::Engine& engine;
    Object<kvdrw::SolidBrush> brush;
};

// The element of Painter::Square: the transform leads, the clip follows the geometry.
std::string Square(int x, const std::string& clip = "", const std::string& transform = "")
{
    return "<rect" + transform + R"~( x=")~" + std::to_string(x) + R"~(" y="0" width="1" height="1")~" + clip +
           R"~( fill="rgb(255,0,0)"/>)~";
}

TEST(WriterState, TransformIsRepeatedOnEveryElementAndNoGroupIsWritten)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Painter p(e);
    const KvMatrix scale = Matrix(2, 0, 0, 2, 10, 20);
    ASSERT_EQ(e.SetTransform(&scale), SUCCESS);
    ASSERT_EQ(p.Square(0), SUCCESS);
    ASSERT_EQ(p.Square(1), SUCCESS);
    ASSERT_EQ(e.SetTransform(nullptr), SUCCESS);
    ASSERT_EQ(p.Square(2), SUCCESS);
    EXPECT_EQ(recording.Body(), Square(0, "", R"~( transform="matrix(2 0 0 2 10 20)")~") +
                                    Square(1, "", R"~( transform="matrix(2 0 0 2 10 20)")~") + Square(2));
}

TEST(WriterState, TransformsCombineOnTheirSideAndReadBack)
{
    const KvMatrix scale = Matrix(2, 0, 0, 2, 0, 0);
    const KvMatrix shift = Matrix(1, 0, 0, 1, 10, 0);
    using Step = std::function<int32_t(kvdrw::Engine&)>;
    const struct {
        const char* name;
        Step step;
        std::array<double, 6> expected;
    } cases[] = {
        // Appended: scaled first, then moved in device space.
        {"append", [&](auto& e) { return e.AppendTransform(&shift); }, {2, 0, 0, 2, 10, 0}},
        // Prepended: moved first in user space, then scaled.
        {"prepend", [&](auto& e) { return e.PrependTransform(&shift); }, {2, 0, 0, 2, 20, 0}},
        {"reset", [](auto& e) { return e.ResetTransform(); }, {1, 0, 0, 1, 0, 0}},
        {"set replaces", [&](auto& e) { return e.SetTransform(&shift); }, {1, 0, 0, 1, 10, 0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        ASSERT_EQ(recording->SetTransform(&scale), SUCCESS);
        ASSERT_EQ(c.step(recording.engine()), SUCCESS);
        KvMatrix now{};
        ASSERT_EQ(recording->GetTransform(&now), SUCCESS);
        EXPECT_EQ(Numbers(now), c.expected);
    }
    Recording fresh;
    KvMatrix identity{};
    ASSERT_EQ(fresh->GetTransform(&identity), SUCCESS);
    EXPECT_EQ(Numbers(identity), (std::array<double, 6>{1, 0, 0, 1, 0, 0}));
    EXPECT_EQ(fresh->GetTransform(nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(fresh->AppendTransform(nullptr), ERROR_INV_PARAMETER);
}

TEST(WriterState, ClipPathsFollowTheCombineMode)
{
    using Clip = std::function<int32_t(kvdrw::Engine&)>;
    const KvRectangle a = {0, 0, 5, 5}, b = {5, 5, 5, 5};
    const std::string clipA = R"~(<rect x="0" y="0" width="5" height="5" clip-path="url(#Clip1)"/>)~";
    const struct {
        const char* name;
        Clip clip;
        std::string expected;
    } cases[] = {
        // A clip rectangle refers to its own clipPath: it was made current first.
        {"replace", [&](auto& e) { return e.SetClipRect(&a, kvdrw::kCombineReplace); },
         R"~(<defs><clipPath id="Clip1">)~" + clipA + "</clipPath></defs>" +
             Square(9, R"~( clip-path="url(#Clip1)")~")},
        {"union joins the open clipPath",
         [&](auto& e) {
             e.SetClipRect(&a, kvdrw::kCombineReplace);
             return e.SetClipRect(&b, kvdrw::kCombineUnion);
         },
         R"~(<defs><clipPath id="Clip1">)~" + clipA +
             R"~(<rect x="5" y="5" width="5" height="5" clip-path="url(#Clip1)"/></clipPath></defs>)~" +
             Square(9, R"~( clip-path="url(#Clip1)")~")},
        {"a mode above the list joins too",
         [&](auto& e) {
             e.SetClipRect(&a, kvdrw::kCombineReplace);
             return e.SetClipRect(&b, 9);
         },
         R"~(<defs><clipPath id="Clip1">)~" + clipA +
             R"~(<rect x="5" y="5" width="5" height="5" clip-path="url(#Clip1)"/></clipPath></defs>)~" +
             Square(9, R"~( clip-path="url(#Clip1)")~")},
        {"replace twice makes a second clipPath",
         [&](auto& e) {
             e.SetClipRect(&a, kvdrw::kCombineReplace);
             return e.SetClipRect(&b, kvdrw::kCombineReplace);
         },
         R"~(<defs><clipPath id="Clip1">)~" + clipA +
             R"~(</clipPath><clipPath id="Clip2"><rect x="5" y="5" width="5" height="5" clip-path="url(#Clip2)"/></clipPath></defs>)~" +
             Square(9, R"~( clip-path="url(#Clip2)")~")},
        // Intersections and the rest cannot be said with one clipPath: the
        // clip goes and nothing is added.
        {"intersect", [&](auto& e) { return e.SetClipRect(&a, kvdrw::kCombineIntersect); }, Square(9)},
        {"replace, then exclude",
         [&](auto& e) {
             e.SetClipRect(&a, kvdrw::kCombineReplace);
             return e.SetClipRect(&b, kvdrw::kCombineExclude);
         },
         R"~(<defs><clipPath id="Clip1">)~" + clipA + "</clipPath></defs>" + Square(9)},
        {"xor", [&](auto& e) { return e.SetClipRect(&a, kvdrw::kCombineXor); }, Square(9)},
        {"complement", [&](auto& e) { return e.SetClipRect(&a, kvdrw::kCombineComplement); }, Square(9)},
        // A path clip carries neither clip nor transform, and keeps its rule.
        {"path",
         [](auto& e) {
             const KvMatrix turn = Matrix(0, 1, -1, 0, 0, 0);
             e.SetTransform(&turn);
             Object<kvdrw::GraphicsPath> path(e);
             e.CreatePath(path.out());
             path->SetFillMode(kvdrw::kFillEvenOdd);
             path->AddLine(0, 0, 4, 0);
             path->AddLine(4, 0, 0, 4);
             const int32_t status = e.SetClipPath(path.get(), kvdrw::kCombineReplace);
             e.ResetTransform();
             return status;
         },
         R"~(<defs><clipPath id="Clip1"><path d="M0 0 L4 0 L0 4" fill-rule="evenodd"/></clipPath></defs>)~" +
             Square(9, R"~( clip-path="url(#Clip1)")~")},
        {"reset", [&](auto& e) {
             e.SetClipRect(&a, kvdrw::kCombineReplace);
             return e.ResetClip();
         },
         R"~(<defs><clipPath id="Clip1">)~" + clipA + "</clipPath></defs>" + Square(9)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        Painter p(recording.engine());
        EXPECT_EQ(c.clip(recording.engine()), SUCCESS);
        ASSERT_EQ(p.Square(9), SUCCESS);
        EXPECT_EQ(recording.Body(), c.expected);
    }
    Recording recording;
    EXPECT_EQ(recording->SetClipRect(nullptr, 0), ERROR_INV_PARAMETER);
    EXPECT_EQ(recording->SetClipPath(nullptr, 0), ERROR_INV_PARAMETER);
}

TEST(WriterState, NestedStatesRestoreTransformAndClip)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Painter p(e);
    const KvMatrix outer = Matrix(1, 0, 0, 1, 5, 0);
    const KvMatrix inner = Matrix(2, 0, 0, 2, 0, 0);
    const KvRectangle box = {0, 0, 3, 3};
    ASSERT_EQ(e.SetTransform(&outer), SUCCESS);
    const int32_t first = e.SaveState();
    EXPECT_EQ(first, 1);
    ASSERT_EQ(e.PrependTransform(&inner), SUCCESS);
    ASSERT_EQ(e.SetClipRect(&box, kvdrw::kCombineReplace), SUCCESS);
    const int32_t second = e.SaveState();
    EXPECT_EQ(second, 2);
    ASSERT_EQ(e.ResetClip(), SUCCESS);
    ASSERT_EQ(e.ResetTransform(), SUCCESS);
    ASSERT_EQ(p.Square(1), SUCCESS);  // nothing current
    ASSERT_EQ(e.RestoreState(second), SUCCESS);
    ASSERT_EQ(p.Square(2), SUCCESS);  // inner transform and the clip
    // Tokens that name no saved state change nothing.
    for (int32_t token : {-1, -5, 0, 3, 99})
        EXPECT_EQ(e.RestoreState(token), SUCCESS);
    ASSERT_EQ(p.Square(3), SUCCESS);
    ASSERT_EQ(e.RestoreState(first), SUCCESS);
    ASSERT_EQ(p.Square(4), SUCCESS);  // the outer transform only
    EXPECT_EQ(e.RestoreState(first), SUCCESS);  // forgotten: no change
    ASSERT_EQ(p.Square(5), SUCCESS);
    const std::string innerClip = R"~( clip-path="url(#Clip1)")~";
    const std::string innerTransform = R"~( transform="matrix(2 0 0 2 5 0)")~";
    const std::string outerTransform = R"~( transform="matrix(1 0 0 1 5 0)")~";
    EXPECT_EQ(recording.Body(),
              R"~(<defs><clipPath id="Clip1"><rect x="0" y="0" width="3" height="3" clip-path="url(#Clip1)"/></clipPath></defs>)~" +
                  Square(1) + Square(2, innerClip, innerTransform) + Square(3, innerClip, innerTransform) +
                  Square(4, "", outerTransform) + Square(5, "", outerTransform));
}

TEST(WriterState, ClipRestoredAwayStaysOpenForUnion)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    Painter p(e);
    const KvRectangle a = {0, 0, 5, 5}, b = {5, 5, 5, 5};
    const int32_t token = e.SaveState();
    ASSERT_EQ(e.SetClipRect(&a, kvdrw::kCombineReplace), SUCCESS);
    ASSERT_EQ(e.RestoreState(token), SUCCESS);
    // The rectangle still joins Clip1, though no element refers to it now.
    ASSERT_EQ(e.SetClipRect(&b, kvdrw::kCombineUnion), SUCCESS);
    ASSERT_EQ(p.Square(9), SUCCESS);
    EXPECT_EQ(recording.Body(),
              R"~(<defs><clipPath id="Clip1"><rect x="0" y="0" width="5" height="5" clip-path="url(#Clip1)"/><rect x="5" y="5" width="5" height="5"/></clipPath></defs>)~" +
                  Square(9));
}

TEST(WriterState, QualitySettingsAreSavedAndSayHowTextRenders)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    // The engine starts at 1 for both.
    EXPECT_EQ(e.GetQualityA(), 1);
    EXPECT_EQ(e.GetQualityB(), 1);
    const int32_t token = e.SaveState();
    ASSERT_EQ(e.SetQualityA(2), SUCCESS);
    ASSERT_EQ(e.SetQualityB(0), SUCCESS);
    EXPECT_EQ(e.GetQualityA(), 2);
    EXPECT_EQ(e.GetQualityB(), 0);
    e.SetQualityA(7);  // not a quality: kept as it was
    EXPECT_EQ(e.GetQualityA(), 2);
    ASSERT_EQ(e.RestoreState(token), SUCCESS);
    EXPECT_EQ(e.GetQualityA(), 1);
    EXPECT_EQ(e.GetQualityB(), 1);
}

TEST(WriterState, PagesAndSettingsFollowTheEngineContract)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    EXPECT_EQ(e.GetEngineKind(), 10);
    EXPECT_EQ(e.EndPage(), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.BeginPage(100, 100, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.BeginDocument(), SUCCESS);
    EXPECT_EQ(e.BeginDocument(), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.BeginPage(100, 100, nullptr), SUCCESS);
    EXPECT_EQ(e.GetPageCount(), 1);
    EXPECT_EQ(e.EndDocument(), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.EndPage(), SUCCESS);
    int32_t pageState = 7;
    EXPECT_EQ(e.BeginPage(0, 0, &pageState), SUCCESS);
    EXPECT_EQ(pageState, 0);
    EXPECT_EQ(e.EndPage(), SUCCESS);
    EXPECT_EQ(e.GetPageCount(), 2);
    EXPECT_EQ(e.EndDocument(), SUCCESS);
    EXPECT_EQ(e.IsDocumentOpen(), 0);

    EXPECT_EQ(e.GetResolution(), 96.0);
    EXPECT_EQ(e.SetResolution(-1), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.SetResolution(0.5), SUCCESS);
    EXPECT_EQ(e.GetResolution(), 96.0);
    EXPECT_EQ(e.SetResolution(300), SUCCESS);
    EXPECT_EQ(e.GetResolution(), 300.0);
    EXPECT_EQ(e.ConvertFontUnits(12.5), 12.5);
    EXPECT_EQ(e.IsMeasureOnly(), 0);
    EXPECT_EQ((std::array<int32_t, 6>{e.Reserved1(), e.Reserved2(nullptr, nullptr, nullptr, nullptr),
                                      e.Reserved3(nullptr, nullptr, nullptr, nullptr, nullptr),
                                      e.Reserved4(nullptr, nullptr, nullptr, nullptr, nullptr),
                                      e.Reserved5(nullptr, nullptr, nullptr), e.Reserved6()}),
              (std::array<int32_t, 6>{0, ERROR_NOT_SUPPORTED, ERROR_NOT_SUPPORTED, ERROR_NOT_SUPPORTED, 0, 0}));
    EXPECT_EQ(recording.Body(), "");
}

TEST(WriterPaintServers, GradientsBecomeLinearGradientsWithNumberedIds)
{
    using Make = std::function<int32_t(kvdrw::Engine&, kvdrw::LinearGradientBrush**)>;
    const KvColor red = Rgb(255, 0, 0), blue = Rgb(0, 0, 255, 128);
    const struct {
        const char* name;
        Make make;
        std::string gradient;
    } cases[] = {
        {"from stops",
         [&](auto& e, auto** out) {
             const KvPoint ends[] = {{0, 0}, {100, 0}};
             const KvColor colors[] = {red, Rgb(0, 128, 0), blue};
             const double offsets[] = {0, 0.25, 1};
             return e.CreateGradientBrushFromStops(out, ends, colors, offsets, 3);
         },
         R"~(<linearGradient id="LinearGradient1" gradientUnits="userSpaceOnUse" x1="0" y1="0" x2="100" y2="0">)~"
         R"~(<stop offset="0%" stop-color="rgb(255,0,0)" stop-opacity="1"/>)~"
         R"~(<stop offset="25%" stop-color="rgb(0,128,0)" stop-opacity="1"/>)~"
         R"~(<stop offset="100%" stop-color="rgb(0,0,255)" stop-opacity="0.501961"/></linearGradient>)~"},
        // From the box's corners, turned about the origin.
        {"from a rectangle",
         [&](auto& e, auto** out) {
             const KvRectangle box = {10, 20, 30, 40};
             return e.CreateGradientBrushFromRect(out, &box, &red, &blue, 45);
         },
         R"~(<linearGradient id="LinearGradient1" gradientTransform="rotate(45 0 0)" gradientUnits="userSpaceOnUse" x1="10" y1="20" x2="40" y2="60">)~"
         R"~(<stop offset="0%" stop-color="rgb(255,0,0)" stop-opacity="1"/>)~"
         R"~(<stop offset="100%" stop-color="rgb(0,0,255)" stop-opacity="0.501961"/></linearGradient>)~"},
        {"from points",
         [&](auto& e, auto** out) {
             const KvPoint from = {1, 2}, to = {3, 4};
             return e.CreateGradientBrushFromPoints(out, &from, &to, &red, &blue);
         },
         R"~(<linearGradient id="LinearGradient1" gradientUnits="userSpaceOnUse" x1="1" y1="2" x2="3" y2="4">)~"
         R"~(<stop offset="0%" stop-color="rgb(255,0,0)" stop-opacity="1"/>)~"
         R"~(<stop offset="100%" stop-color="rgb(0,0,255)" stop-opacity="0.501961"/></linearGradient>)~"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        Recording recording;
        kvdrw::Engine& e = recording.engine();
        Painter before(e);
        ASSERT_EQ(before.Square(0), SUCCESS);
        Object<kvdrw::LinearGradientBrush> gradient(e);
        ASSERT_EQ(c.make(e, gradient.out()), SUCCESS);
        ASSERT_EQ(e.DrawRectangle(nullptr, gradient.get(), 0, 0, 100, 10), SUCCESS);
        // defs stands after what was drawn before the first paint server.
        EXPECT_EQ(recording.Body(), Square(0) + "<defs>" + c.gradient + "</defs>" +
                                        R"~(<rect x="0" y="0" width="100" height="10" fill="url(#LinearGradient1)"/>)~");
    }
}

TEST(WriterPaintServers, GradientArgumentsAreCheckedBeforeAnythingIsWritten)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    const KvPoint ends[] = {{0, 0}, {1, 0}};
    const KvColor colors[] = {Rgb(0, 0, 0), Rgb(9, 9, 9), Rgb(255, 255, 255)};
    const struct {
        const char* name;
        const KvPoint* points;
        const KvColor* colors;
        std::array<double, 3> offsets;
        int32_t count;
    } cases[] = {
        {"no points", nullptr, colors, {0, 0.5, 1}, 3},
        {"no colours", ends, nullptr, {0, 0.5, 1}, 3},
        {"one stop", ends, colors, {0, 0.5, 1}, 1},
        {"last offset 0.9", ends, colors, {0, 0.5, 0.9}, 3},
        {"first offset 0.1", ends, colors, {0.1, 0.5, 1}, 3},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        kvdrw::LinearGradientBrush* brush = nullptr;
        EXPECT_EQ(e.CreateGradientBrushFromStops(&brush, c.points, c.colors, c.offsets.data(), c.count),
                  ERROR_INV_PARAMETER);
        EXPECT_EQ(brush, nullptr);
    }
    kvdrw::LinearGradientBrush* brush = nullptr;
    EXPECT_EQ(e.CreateGradientBrushFromStops(&brush, ends, colors, nullptr, 2), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.CreateGradientBrushFromRect(&brush, nullptr, colors, colors, 0), ERROR_INV_PARAMETER);
    EXPECT_EQ(e.CreateGradientBrushFromPoints(&brush, ends, ends, colors, nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(recording.Body(), "");
}

TEST(WriterPaintServers, HatchesBecomePatternsOfOneTenUnitCell)
{
    const std::string lines[] = {
        R"~(<line x1="0" y1="5" x2="10" y2="5" stroke="rgb(120,0,0)" stroke-width="1"/><line x1="5" y1="0" x2="5" y2="10" stroke="rgb(120,0,0)" stroke-width="1"/>)~",
        R"~(<line x1="0" y1="0" x2="10" y2="10" stroke="rgb(120,0,0)" stroke-width="1"/><line x1="10" y1="0" x2="0" y2="10" stroke="rgb(120,0,0)" stroke-width="1"/>)~",
        R"~(<line x1="10" y1="0" x2="0" y2="10" stroke="rgb(120,0,0)" stroke-width="1"/>)~",
        R"~(<line x1="0" y1="0" x2="10" y2="10" stroke="rgb(120,0,0)" stroke-width="1"/>)~",
        R"~(<line x1="0" y1="10" x2="10" y2="10" stroke="rgb(120,0,0)" stroke-width="1"/>)~",
        R"~(<line x1="0" y1="0" x2="0" y2="10" stroke="rgb(120,0,0)" stroke-width="1"/>)~",
        "",  // above the list: the background alone
    };
    for (int32_t style = 0; style <= 6; ++style) {
        SCOPED_TRACE(style);
        Recording recording;
        kvdrw::Engine& e = recording.engine();
        Object<kvdrw::HatchBrush> hatch(e);
        // The background's alpha is not written.
        const KvColor fore = Rgb(120, 0, 0), back = Rgb(255, 240, 220, 10);
        ASSERT_EQ(e.CreateHatchBrush(hatch.out(), style, &fore, &back), SUCCESS);
        ASSERT_EQ(e.DrawRectangle(nullptr, hatch.get(), 0, 0, 30, 30), SUCCESS);
        EXPECT_EQ(recording.Body(),
                  R"~(<defs><pattern id="Pattern1" patternUnits="userSpaceOnUse" x="0" y="0" height="10" width="10">)~"
                  R"~(<rect x="0" y="0" width="10" height="10" fill="rgb(255,240,220)"/>)~" +
                      lines[style] + R"~(</pattern></defs><rect x="0" y="0" width="30" height="30" fill="url(#Pattern1)"/>)~");
    }
}

TEST(WriterPaintServers, EachBrushGetsAFreshServerAndTheCountersRunOn)
{
    Recording recording;
    kvdrw::Engine& e = recording.engine();
    const KvColor black = Rgb(0, 0, 0), white = Rgb(255, 255, 255);
    const KvPoint from = {0, 0}, to = {1, 0};
    for (int i = 0; i < 2; ++i) {
        Object<kvdrw::LinearGradientBrush> gradient(e);
        ASSERT_EQ(e.CreateGradientBrushFromPoints(gradient.out(), &from, &to, &black, &white), SUCCESS);
        Object<kvdrw::HatchBrush> hatch(e);
        ASSERT_EQ(e.CreateHatchBrush(hatch.out(), 9, &black, &white), SUCCESS);
    }
    const std::string body = recording.Body();
    for (const char* id : {R"~(id="LinearGradient1")~", R"~(id="LinearGradient2")~", R"~(id="Pattern1")~",
                           R"~(id="Pattern2")~"})
        EXPECT_NE(body.find(id), std::string::npos) << id;
    EXPECT_EQ(body.find("<defs>"), body.rfind("<defs>"));  // one defs for all
}

}  // namespace
