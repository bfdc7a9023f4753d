// The fixed test scene of `kvsvg selftest-draw`, drawn through any engine
// of the public interface: shapes, dashes, caps and joins, gradients,
// hatches, clips, text in both directions and upright, glyph outlines, path
// algebra and images. The tool draws it on the bitmap engine and on the
// recording engine; the round-trip tests draw it on both and compare.
#include "selftest_scene.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"

namespace {


// Stops the scene at the first failed call, naming it.
class Steps {
public:
    bool Check(int32_t status, const char* what)
    {
        if (status == SUCCESS || failed_)
            return !failed_;
        std::fprintf(stderr, "selftest-draw: %s failed with status %d\n", what, status);
        failed_ = true;
        return false;
    }
    bool failed() const { return failed_; }

private:
    bool failed_ = false;
};

// Gives an engine object back to its engine on every path.
template <class T>
class EngineObject {
public:
    explicit EngineObject(kvdrw::Engine& engine) : engine_(engine) {}
    ~EngineObject()
    {
        if (object_)
            engine_.DeleteObject(object_);
    }
    EngineObject(const EngineObject&) = delete;
    EngineObject& operator=(const EngineObject&) = delete;
    T** out() { return &object_; }
    T* get() const { return object_; }
    T* operator->() const { return object_; }

private:
    kvdrw::Engine& engine_;
    T* object_ = nullptr;
};

struct BitmapOwner {
    KvBitmap bitmap{};
    ~BitmapOwner() { K_BitmapFree(&bitmap); }
};

KvColor Rgb(int r, int g, int b, int a = 255) { return {uint8_t(a), uint8_t(r), uint8_t(g), uint8_t(b)}; }

void DrawLabel(kvdrw::Engine& e, Steps& steps, kvdrw::Font* font, kvdrw::Brush* brush, double x, double y,
               const char* text)
{
    const KvPoint at = {x, y};
    steps.Check(e.DrawStringNarrow(text, -1, font, brush, &at, nullptr), "label");
}

void DrawShapes(kvdrw::Engine& e, Steps& s, kvdrw::Font* label, kvdrw::Brush* ink)
{
    DrawLabel(e, s, label, ink, 10, 8, "shapes, caps and joins, dashes");
    EngineObject<kvdrw::Pen> pen(e);
    EngineObject<kvdrw::SolidBrush> fill(e);
    const KvColor navy = Rgb(20, 40, 120), orange = Rgb(250, 150, 30);
    s.Check(e.CreatePen(pen.out(), &navy, 3.0, kvdrw::kDashSolid), "CreatePen");
    s.Check(e.CreateSolidBrush(fill.out(), &orange), "CreateSolidBrush");
    s.Check(e.DrawRectangle(pen.get(), fill.get(), 10, 30, 60, 40), "DrawRectangle");
    s.Check(e.DrawRoundRectangle(pen.get(), fill.get(), 80, 30, 60, 40, 12, 12), "DrawRoundRectangle");
    s.Check(e.DrawEllipse(pen.get(), fill.get(), 150, 30, 60, 40), "DrawEllipse");
    s.Check(e.DrawPie(pen.get(), fill.get(), 220, 30, 50, 50, -30, 240), "DrawPie");
    s.Check(e.DrawArc(pen.get(), 280, 30, 50, 50, 180, 270), "DrawArc");
    const KvPoint curve[] = {{340, 70}, {350, 20}, {390, 90}, {400, 35}, {410, 0}, {420, 80}, {430, 40}};
    s.Check(e.DrawBeziers(pen.get(), curve, 7), "DrawBeziers");

    // Two five-pointed stars: even-odd leaves the middle open, winding fills it.
    KvPoint star[5];
    for (int i = 0; i < 5; ++i) {
        double angle = -M_PI / 2 + i * 4 * M_PI / 5;
        star[i] = {465 + 28 * std::cos(angle), 55 + 28 * std::sin(angle)};
    }
    s.Check(e.DrawPolygon(pen.get(), fill.get(), star, 5, 0), "DrawPolygon even-odd");
    for (KvPoint& p : star)
        p.x += 65;
    s.Check(e.DrawPolygon(pen.get(), fill.get(), star, 5, 1), "DrawPolygon winding");

    // Caps and joins on a thick zigzag.
    const char* joinNames[] = {"miter", "bevel", "round"};
    for (int join = 0; join < 3; ++join) {
        EngineObject<kvdrw::Pen> thick(e);
        const KvColor teal = Rgb(0, 128, 128, 200);
        s.Check(e.CreatePen(thick.out(), &teal, 10.0, kvdrw::kDashSolid), "CreatePen thick");
        s.Check(thick->SetLineJoin(join), "SetLineJoin");
        s.Check(thick->SetLineCap(join), "SetLineCap");
        const double x = 600 + join * 65;
        const KvPoint zigzag[] = {{x, 75}, {x + 15, 35}, {x + 30, 75}, {x + 45, 35}};
        s.Check(e.DrawPolyline(thick.get(), zigzag, 4), "DrawPolyline");
        DrawLabel(e, s, label, ink, x, 82, joinNames[join]);
    }

    // Each dash style on a 3-pixel line, then a custom pattern.
    for (int style = 0; style <= 5; ++style) {
        EngineObject<kvdrw::Pen> dashed(e);
        s.Check(e.CreatePen(dashed.out(), &navy, 3.0, style), "CreatePen dashed");
        if (style == kvdrw::kDashCustom) {
            const double pattern[] = {6, 1, 1, 1};
            s.Check(dashed->SetDashPattern(pattern, 4), "SetDashPattern");
        }
        const double y = 112 + style * 10;
        s.Check(e.DrawLine(dashed.get(), 10, y, 300, y), "DrawLine dashed");
    }
}

void DrawPaints(kvdrw::Engine& e, Steps& s, kvdrw::Font* label, kvdrw::Brush* ink)
{
    DrawLabel(e, s, label, ink, 320, 100, "gradients and hatches");
    EngineObject<kvdrw::LinearGradientBrush> rainbow(e);
    const KvPoint ends[] = {{320, 0}, {520, 0}};
    const KvColor colours[] = {Rgb(230, 0, 0), Rgb(255, 200, 0), Rgb(0, 180, 0), Rgb(0, 90, 255), Rgb(140, 0, 200)};
    const double offsets[] = {0, 0.25, 0.5, 0.75, 1};
    s.Check(e.CreateGradientBrushFromStops(rainbow.out(), ends, colours, offsets, 5), "CreateGradientBrushFromStops");
    s.Check(e.DrawRectangle(nullptr, rainbow.get(), 320, 120, 200, 25), "DrawRectangle rainbow");
    EngineObject<kvdrw::LinearGradientBrush> diagonal(e);
    const KvRectangle box = {530, 110, 60, 60};
    const KvColor from = Rgb(255, 255, 255), to = Rgb(20, 40, 120);
    s.Check(e.CreateGradientBrushFromRect(diagonal.out(), &box, &from, &to, 45.0), "CreateGradientBrushFromRect");
    s.Check(e.DrawEllipse(nullptr, diagonal.get(), box), "DrawEllipse diagonal");
    for (int style = 0; style < 6; ++style) {
        EngineObject<kvdrw::HatchBrush> hatch(e);
        const KvColor fore = Rgb(120, 0, 0), back = Rgb(255, 240, 220);
        s.Check(e.CreateHatchBrush(hatch.out(), style, &fore, &back), "CreateHatchBrush");
        s.Check(e.DrawRectangle(nullptr, hatch.get(), 600 + style * 32, 115, 28, 45), "DrawRectangle hatch");
    }
}

void DrawClips(kvdrw::Engine& e, Steps& s, kvdrw::Font* label, kvdrw::Brush* ink)
{
    DrawLabel(e, s, label, ink, 10, 180, "clips: intersect, union, xor, exclude, complement");
    const char* names[] = {"intersect", "union", "xor", "exclude", "complement"};
    EngineObject<kvdrw::SolidBrush> stripes(e);
    const KvColor purple = Rgb(120, 40, 160);
    s.Check(e.CreateSolidBrush(stripes.out(), &purple), "CreateSolidBrush stripes");
    for (int mode = 1; mode <= 5; ++mode) {
        const double x = 10 + (mode - 1) * 110;
        const int32_t token = e.SaveState();
        EngineObject<kvdrw::GraphicsPath> circle(e);
        s.Check(e.CreatePath(circle.out()), "CreatePath circle");
        s.Check(circle->AddEllipse(x, 200, 60, 60), "AddEllipse");
        s.Check(e.SetClipPath(circle.get(), kvdrw::kCombineReplace), "SetClipPath");
        const KvRectangle square = {x + 30, 220, 60, 55};
        s.Check(e.SetClipRect(&square, mode), "SetClipRect");
        for (int i = 0; i < 12; ++i)
            s.Check(e.DrawRectangle(nullptr, stripes.get(), x - 5, 195 + i * 8, 110, 4), "stripe");
        s.Check(e.RestoreState(token), "RestoreState");
        DrawLabel(e, s, label, ink, x + 10, 282, names[mode - 1]);
    }
}

void DrawText(kvdrw::Engine& e, Steps& s, kvdrw::Font* label, kvdrw::Brush* ink)
{
    DrawLabel(e, s, label, ink, 10, 305, "text");
    EngineObject<kvdrw::Font> plain(e), decorated(e), serifItalic(e), bold(e);
    s.Check(e.CreateFont(plain.out(), 0, u"Arial", -13.5, 0), "CreateFont Arial");
    s.Check(e.CreateFont(decorated.out(), 0, u"Arial", -13.5, kvdrw::kFontUnderline | kvdrw::kFontStrikeOut),
            "CreateFont decorated");
    s.Check(e.CreateFont(serifItalic.out(), 0, u"Times New Roman", -15, kvdrw::kFontItalic), "CreateFont serif");
    s.Check(e.CreateFont(bold.out(), 0, u"sans-serif", -18, kvdrw::kFontBold), "CreateFont bold");
    EngineObject<kvdrw::SolidBrush> dark(e);
    const KvColor darkBlue = Rgb(10, 30, 90);
    s.Check(e.CreateSolidBrush(dark.out(), &darkBlue), "CreateSolidBrush text");
    const KvPoint first = {10, 325};
    s.Check(e.DrawString(u"Arial resolves to its stand-in: fjord, AV, Wa", -1, plain.get(), dark.get(), &first,
                         nullptr),
            "DrawString");
    const KvPoint second = {10, 345};
    s.Check(e.DrawString(u"underlined and struck out", -1, decorated.get(), dark.get(), &second, nullptr),
            "DrawString decorated");
    const KvPoint third = {10, 365};
    s.Check(e.DrawString(u"Serif italic, \u00E9\u00E8\u00E7 \u03B1\u03B2\u03B3", -1, serifItalic.get(), dark.get(),
                         &third, nullptr),
            "DrawString serif");
    const KvPoint fourth = {10, 385};
    s.Check(e.DrawString(u"Bold sans", -1, bold.get(), dark.get(), &fourth, nullptr), "DrawString bold");

    // Right to left: the text ends at its origin, marked by a red tick.
    EngineObject<kvdrw::StringFormat> rightToLeft(e);
    s.Check(e.CreateStringFormat(rightToLeft.out(), kvdrw::kAlignNear, kvdrw::kAlignNear, kvdrw::kFormatRightToLeft),
            "CreateStringFormat rtl");
    const KvPoint hebrewAt = {380, 410};
    s.Check(e.DrawString(u"\u05E9\u05DC\u05D5\u05DD \u05E2\u05D5\u05DC\u05DD (1)", -1, bold.get(), dark.get(),
                         &hebrewAt, rightToLeft.get()),
            "DrawString rtl");
    EngineObject<kvdrw::Pen> tick(e);
    const KvColor red = Rgb(220, 0, 0);
    s.Check(e.CreatePen(tick.out(), &red, 1.0, 0), "CreatePen tick");
    s.Check(e.DrawLine(tick.get(), 380, 405, 380, 435), "tick");

    // A paragraph wrapped into a box, centred.
    EngineObject<kvdrw::StringFormat> centred(e);
    s.Check(e.CreateStringFormat(centred.out(), kvdrw::kAlignCenter, kvdrw::kAlignNear, 0), "CreateStringFormat");
    const KvRectangle box = {400, 300, 200, 90};
    s.Check(e.DrawRectangle(tick.get(), nullptr, box), "box");
    s.Check(e.DrawStringInRect(u"A paragraph wrapped at word boundaries and centred in its box, line by line.", -1,
                               plain.get(), dark.get(), &box, centred.get()),
            "DrawStringInRect");

    // Vertical text, and text under a rotation.
    EngineObject<kvdrw::StringFormat> vertical(e);
    s.Check(e.CreateStringFormat(vertical.out(), kvdrw::kAlignNear, kvdrw::kAlignNear, kvdrw::kFormatVertical),
            "CreateStringFormat vertical");
    const KvPoint down = {620, 300};
    s.Check(e.DrawString(u"vertical text", -1, plain.get(), dark.get(), &down, vertical.get()), "DrawString vertical");
    const int32_t token = e.SaveState();
    const double angle = -20 * M_PI / 180;
    const KvMatrix turn = {std::cos(angle), std::sin(angle), -std::sin(angle), std::cos(angle), 660, 400, 0};
    s.Check(e.SetTransform(&turn), "SetTransform");
    const KvPoint origin = {0, 0};
    s.Check(e.DrawString(u"turned 20\u00B0", -1, bold.get(), dark.get(), &origin, nullptr), "DrawString turned");
    s.Check(e.RestoreState(token), "RestoreState");

    // Glyph outlines as a path: a gradient fill and an outline stroke.
    EngineObject<kvdrw::GraphicsPath> outline(e);
    s.Check(e.CreatePath(outline.out()), "CreatePath outline");
    EngineObject<kvdrw::Font> big(e);
    s.Check(e.CreateFont(big.out(), 0, u"Liberation Serif", -36, kvdrw::kFontBold), "CreateFont big");
    s.Check(outline->AddString(&e, u"Outline", -1, big.get(), KvPoint{10, 410}, nullptr), "AddString");
    EngineObject<kvdrw::LinearGradientBrush> sunset(e);
    const KvPoint sunsetFrom = {0, 415}, sunsetTo = {0, 455};
    const KvColor yellow = Rgb(255, 220, 0), crimson = Rgb(200, 0, 60);
    s.Check(e.CreateGradientBrushFromPoints(sunset.out(), &sunsetFrom, &sunsetTo, &yellow, &crimson),
            "CreateGradientBrushFromPoints");
    EngineObject<kvdrw::Pen> edge(e);
    const KvColor black = Rgb(0, 0, 0);
    s.Check(e.CreatePen(edge.out(), &black, 1.0, 0), "CreatePen edge");
    s.Check(e.DrawPath(edge.get(), sunset.get(), outline.get()), "DrawPath outline");
}

void DrawGeometryAndImages(kvdrw::Engine& e, Steps& s, kvdrw::Font* label, kvdrw::Brush* ink)
{
    DrawLabel(e, s, label, ink, 10, 470, "path union and intersection; an image scaled, cut and at half opacity");
    EngineObject<kvdrw::GraphicsPath> a(e), b(e), c(e), d(e);
    for (auto* path : {&a, &b, &c, &d})
        s.Check(e.CreatePath(path->out()), "CreatePath");
    s.Check(a->AddEllipse(10, 495, 60, 60), "AddEllipse a");
    s.Check(b->AddEllipse(45, 495, 60, 60), "AddEllipse b");
    s.Check(c->AddEllipse(130, 495, 60, 60), "AddEllipse c");
    s.Check(d->AddEllipse(165, 495, 60, 60), "AddEllipse d");
    s.Check(a->CombineGeometry(&e, b.get(), kvdrw::kCombineUnion), "CombineGeometry union");
    s.Check(c->CombineGeometry(&e, d.get(), kvdrw::kCombineIntersect), "CombineGeometry intersect");
    EngineObject<kvdrw::SolidBrush> green(e);
    const KvColor leaf = Rgb(40, 160, 60);
    s.Check(e.CreateSolidBrush(green.out(), &leaf), "CreateSolidBrush green");
    EngineObject<kvdrw::Pen> outline(e);
    const KvColor black = Rgb(0, 0, 0);
    s.Check(e.CreatePen(outline.out(), &black, 2.0, kvdrw::kDashDash), "CreatePen outline");
    s.Check(e.DrawPath(outline.get(), green.get(), a.get()), "DrawPath union");
    s.Check(e.DrawPath(outline.get(), green.get(), c.get()), "DrawPath intersection");
    KvRectangle bounds{};
    s.Check(a->GetBounds(&bounds, nullptr, outline.get()), "GetBounds");
    EngineObject<kvdrw::Pen> thin(e);
    const KvColor grey = Rgb(150, 150, 150);
    s.Check(e.CreatePen(thin.out(), &grey, 0.0, 0), "CreatePen hairline");
    s.Check(e.DrawRectangle(thin.get(), nullptr, bounds), "bounds");

    // A 16 x 16 picture: a checkerboard with a colour ramp.
    BitmapOwner picture;
    if (!s.Check(K_BitmapInit(&picture.bitmap, kKvBitmapSize, 16, 16, 24, KV_ORDER_RGB), "K_BitmapInit picture") ||
        !s.Check(K_BitmapAllocate(&picture.bitmap), "K_BitmapAllocate picture"))
        return;
    for (int y = 0; y < 16; ++y) {
        uint8_t* row = picture.bitmap.data + size_t(y) * picture.bitmap.bytesPerLine;
        for (int x = 0; x < 16; ++x) {
            const bool dark = ((x / 4) + (y / 4)) % 2 == 0;
            row[x * 3] = uint8_t(dark ? 16 * x : 255);
            row[x * 3 + 1] = uint8_t(dark ? 40 : 255 - 8 * y);
            row[x * 3 + 2] = uint8_t(dark ? 255 - 16 * y : 120);
        }
    }
    const KvRectangle whole = {0, 0, 16, 16};
    const KvRectangle scaled = {260, 490, 64, 64};
    s.Check(e.DrawImage(&picture.bitmap, &scaled, &whole, 1.0), "DrawImage scaled");
    const KvRectangle corner = {4, 4, 8, 8};
    const KvRectangle cut = {340, 490, 64, 64};
    s.Check(e.DrawImage(&picture.bitmap, &cut, &corner, 1.0), "DrawImage cut");
    s.Check(e.DrawRectangle(nullptr, green.get(), 420, 500, 90, 40), "under the image");
    const KvRectangle over = {430, 490, 64, 64};
    s.Check(e.DrawImage(&picture.bitmap, &over, &whole, 0.5), "DrawImage half");
}

}  // namespace

bool DrawSelftestScene(kvdrw::Engine& e)
{
    Steps steps;
    steps.Check(e.SetQualityA(2), "SetQualityA");
    steps.Check(e.SetQualityB(2), "SetQualityB");
    EngineObject<kvdrw::SolidBrush> paper(e), ink(e);
    const KvColor white = Rgb(255, 255, 255), grey = Rgb(90, 90, 90);
    steps.Check(e.CreateSolidBrush(paper.out(), &white), "CreateSolidBrush paper");
    steps.Check(e.CreateSolidBrush(ink.out(), &grey), "CreateSolidBrush ink");
    steps.Check(e.DrawRectangle(nullptr, paper.get(), 0, 0, kSelftestSceneWidth, kSelftestSceneHeight), "paper");
    EngineObject<kvdrw::Font> label(e);
    steps.Check(e.CreateFont(label.out(), 0, u"Arial", -9, 0), "CreateFont label");
    DrawShapes(e, steps, label.get(), ink.get());
    DrawPaints(e, steps, label.get(), ink.get());
    DrawClips(e, steps, label.get(), ink.get());
    DrawText(e, steps, label.get(), ink.get());
    DrawGeometryAndImages(e, steps, label.get(), ink.get());
    return !steps.failed();
}
