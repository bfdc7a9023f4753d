// The recording engine driven by a program: each call is one byte that
// picks an engine operation, followed by the bytes of its arguments (object
// picks, small counts, coordinates including NaN, infinities and extremes,
// texts). Objects are made, used, changed and given back in any order a
// caller may; what is still alive at the end goes back to the engine before
// it is destroyed, as the drawing contract asks. Then the document must save,
// what it saved must load again, and the loaded document is drawn.
#include <cstddef>
#include <string>
#include <vector>

#include "fuzz_support.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg_draw_svg.h"

namespace {

using kvfuzz::ByteReader;

// Enough calls and points to reach every path of the engine, few enough that
// one input stays far below a millisecond of drawing per call.
constexpr int kMaxCalls = 160;
constexpr int32_t kMaxPoints = 24;
constexpr int32_t kMaxText = 48;
constexpr size_t kMaxObjectsOfAKind = 8;
// Points of paths and path data one program may draw. A path copied into
// itself a dozen times and drawn again and again only measures how fast a
// long path is written and read back (in linear time, about 20 us a segment
// in the fuzzing build), which finds nothing new past this.
constexpr int64_t kMaxDrawnPathPoints = 16384;

// Families the measuring engine finds, one it substitutes, and odd names.
constexpr const char16_t* kFamilies[] = {u"Liberation Sans", u"Arial", u"serif", u"monospace", u"NoSuchFamily",
                                         u"", u"Liberation Serif,Arial", u"\xD800x"};

struct SavedText {
    void* block = nullptr;
    size_t size = 0;
    ~SavedText() { K_SvgFreeMemory(block); }
};

// The objects a program made and has not given back, by kind.
struct Objects {
    std::vector<kvdrw::Pen*> pens;
    std::vector<kvdrw::Brush*> brushes;
    std::vector<kvdrw::Font*> fonts;
    std::vector<kvdrw::StringFormat*> formats;
    std::vector<kvdrw::GraphicsPath*> paths;
    std::vector<kvdrw::PathData*> pathData;
    std::vector<int32_t> stateTokens;
    int64_t drawnPathPoints = 0;
};

// True when `count` more points stay within the program's drawing budget,
// which they then take.
bool TakeDrawnPoints(Objects& objects, int64_t count)
{
    if (objects.drawnPathPoints + count > kMaxDrawnPathPoints)
        return false;
    objects.drawnPathPoints += count;
    return true;
}

int64_t PointsOf(kvdrw::GraphicsPath* path, kvdrw::Engine& engine)
{
    kvdrw::PathData* data = nullptr;
    if (!path || path->GetPathData(&data) != SUCCESS || !data)
        return 0;
    const int64_t count = data->GetCount();
    engine.DeleteObject(data);
    return count;
}

template <class T>
T* Pick(ByteReader& in, const std::vector<T*>& list)
{
    // One past the end is "none": null arguments are part of the contract.
    size_t index = in.Byte() % (list.size() + 1);
    return index < list.size() ? list[index] : nullptr;
}

template <class T>
void Keep(std::vector<T*>& list, T* object, kvdrw::Engine& engine)
{
    if (!object)
        return;
    if (list.size() >= kMaxObjectsOfAKind) {
        engine.DeleteObject(list.front());
        list.erase(list.begin());
    }
    list.push_back(object);
}

template <class T>
void GiveBack(ByteReader& in, std::vector<T*>& list, kvdrw::Engine& engine)
{
    if (list.empty())
        return;
    size_t index = in.Byte() % list.size();
    if (engine.DeleteObject(list[index]) != SUCCESS)
        kvfuzz::Fail("the engine refused an object it made");
    list.erase(list.begin() + static_cast<std::ptrdiff_t>(index));
}

template <class T>
void GiveBackAll(std::vector<T*>& list, kvdrw::Engine& engine)
{
    for (T* object : list) {
        if (engine.DeleteObject(object) != SUCCESS)
            kvfuzz::Fail("the engine refused an object it made");
    }
    list.clear();
}

KvColor ReadColor(ByteReader& in)
{
    // Opaque black, opaque and transparent colours are the ones that change
    // what is written; the rest come from the bytes.
    switch (in.Byte() % 4) {
    case 0: return {255, 0, 0, 0};
    case 1: return {0, 255, 255, 255};
    default: return {in.Byte(), in.Byte(), in.Byte(), in.Byte()};
    }
}

KvPoint ReadPoint(ByteReader& in)
{
    double x = in.Number();
    return {x, in.Number()};
}

KvRectangle ReadRectangle(ByteReader& in)
{
    double x = in.Number();
    double y = in.Number();
    double width = in.Number();
    return {x, y, width, in.Number()};
}

KvMatrix ReadMatrix(ByteReader& in)
{
    if (in.Byte() % 2 == 0) {
        // A plain scale and move: most real transforms.
        double scale = in.Number();
        double dx = in.Number();
        return {scale, 0, 0, scale, dx, in.Number(), 0};
    }
    KvMatrix matrix{};
    matrix.m11 = in.Number();
    matrix.m12 = in.Number();
    matrix.m21 = in.Number();
    matrix.m22 = in.Number();
    matrix.dx = in.Number();
    matrix.dy = in.Number();
    return matrix;
}

std::vector<KvPoint> ReadPoints(ByteReader& in)
{
    std::vector<KvPoint> points(static_cast<size_t>(in.Between(0, kMaxPoints)));
    for (KvPoint& point : points)
        point = ReadPoint(in);
    return points;
}

// The count handed over with a point list: mostly its length, sometimes
// fewer, none or a negative count.
int32_t CountOf(ByteReader& in, const std::vector<KvPoint>& points)
{
    switch (in.Byte() % 8) {
    case 0: return 0;
    case 1: return -1;
    case 2: return points.empty() ? 0 : static_cast<int32_t>(points.size()) - 1;
    default: return static_cast<int32_t>(points.size());
    }
}

// A text as the engine takes it: zero-terminated, its length given or -1.
struct Text {
    std::u16string wide;
    std::string narrow;
    int32_t length = 0;
};

Text ReadText(ByteReader& in)
{
    Text text;
    text.narrow = std::string(in.Take(in.Between(0, kMaxText)));
    text.wide = kvfuzz::WideFromBytes(text.narrow);
    // Control bytes and '~' become a line break, a tab or a space: those
    // change how text is broken into lines.
    for (char16_t& unit : text.wide) {
        if (unit < 0x20 || unit == u'~')
            unit = unit % 3 == 0 ? u'\n' : unit % 3 == 1 ? u'\t' : u' ';
    }
    text.length = in.Byte() % 4 == 0 ? -1 : static_cast<int32_t>(text.wide.size());
    return text;
}

int32_t NarrowLength(const Text& text)
{
    return text.length < 0 ? -1 : static_cast<int32_t>(text.narrow.size());
}

void MakePen(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    KvColor color = ReadColor(in);
    kvdrw::Pen* pen = nullptr;
    double width = in.Number();
    if (engine.CreatePen(&pen, &color, width, in.Between(-1, 6)) == SUCCESS)
        Keep(objects.pens, pen, engine);
}

void MakeBrush(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    kvdrw::Brush* made = nullptr;
    switch (in.Byte() % 5) {
    case 0: {
        KvColor color = ReadColor(in);
        kvdrw::SolidBrush* brush = nullptr;
        if (engine.CreateSolidBrush(&brush, &color) == SUCCESS)
            made = brush;
        break;
    }
    case 1: {
        KvPoint points[2] = {ReadPoint(in), ReadPoint(in)};
        int32_t count = in.Between(-1, 6);
        KvColor colors[6];
        double offsets[6];
        for (int i = 0; i < 6; ++i) {
            colors[i] = ReadColor(in);
            offsets[i] = in.Number();
        }
        kvdrw::LinearGradientBrush* brush = nullptr;
        if (engine.CreateGradientBrushFromStops(&brush, points, colors, offsets, count) == SUCCESS)
            made = brush;
        break;
    }
    case 2: {
        KvRectangle rect = ReadRectangle(in);
        KvColor from = ReadColor(in);
        KvColor to = ReadColor(in);
        kvdrw::LinearGradientBrush* brush = nullptr;
        if (engine.CreateGradientBrushFromRect(&brush, &rect, &from, &to, in.Number()) == SUCCESS)
            made = brush;
        break;
    }
    case 3: {
        KvPoint p1 = ReadPoint(in);
        KvPoint p2 = ReadPoint(in);
        KvColor from = ReadColor(in);
        KvColor to = ReadColor(in);
        kvdrw::LinearGradientBrush* brush = nullptr;
        if (engine.CreateGradientBrushFromPoints(&brush, &p1, &p2, &from, &to) == SUCCESS)
            made = brush;
        break;
    }
    default: {
        int32_t style = in.Between(-1, 8);
        KvColor foreground = ReadColor(in);
        KvColor background = ReadColor(in);
        kvdrw::HatchBrush* brush = nullptr;
        if (engine.CreateHatchBrush(&brush, style, &foreground, &background) == SUCCESS)
            made = brush;
        break;
    }
    }
    Keep(objects.brushes, made, engine);
}

void MakeFont(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    constexpr int kFamilyCount = sizeof(kFamilies) / sizeof(kFamilies[0]);
    int32_t pick = in.Between(0, kFamilyCount);  // kFamilyCount: null
    const char16_t* family = pick < kFamilyCount ? kFamilies[pick] : nullptr;
    double size = in.Number();
    int32_t style = in.Byte() % 16;
    kvdrw::Font* font = nullptr;
    int32_t status = ERROR_INV_PARAMETER;
    if (in.Byte() % 2 == 0 || !family) {
        status = engine.CreateFont(&font, 0, family, size, style);
    } else {
        std::string narrow;
        for (const char16_t* unit = family; *unit; ++unit)
            narrow.push_back(static_cast<char>(*unit < 0x80 ? *unit : '?'));
        status = engine.CreateFontNarrow(&font, 0, narrow.c_str(), size, style);
    }
    if (status == SUCCESS)
        Keep(objects.fonts, font, engine);
}

void MakeFormat(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    int32_t alignment = in.Between(-1, 4);
    int32_t lineAlignment = in.Between(-1, 4);
    int32_t flags = in.Byte() % 2 == 0 ? 0 : in.Between(0, 127);
    kvdrw::StringFormat* format = nullptr;
    if (engine.CreateStringFormat(&format, alignment, lineAlignment, flags) == SUCCESS)
        Keep(objects.formats, format, engine);
}

void GrowPath(ByteReader& in, kvdrw::Engine& engine, kvdrw::GraphicsPath& path, Objects& objects)
{
    switch (in.Byte() % 16) {
    case 0: path.StartFigure(); break;
    case 1: path.CloseFigure(); break;
    case 2: {
        KvPoint from = ReadPoint(in);
        KvPoint to = ReadPoint(in);
        path.AddLine(from, to);
        break;
    }
    case 3: {
        KvRectangle rect = ReadRectangle(in);
        double start = in.Number();
        path.AddArc(rect, start, in.Number());
        break;
    }
    case 4: {
        KvPoint p[4] = {ReadPoint(in), ReadPoint(in), ReadPoint(in), ReadPoint(in)};
        path.AddBezier(p[0], p[1], p[2], p[3]);
        break;
    }
    case 5: {
        std::vector<KvPoint> points = ReadPoints(in);
        switch (in.Byte() % 3) {
        case 0: path.AddBeziers(points.data(), CountOf(in, points)); break;
        case 1: path.AddLines(points.data(), CountOf(in, points)); break;
        default: path.AddPolygon(points.data(), CountOf(in, points)); break;
        }
        break;
    }
    case 6: path.AddEllipse(ReadRectangle(in)); break;
    case 7: path.AddRectangle(ReadRectangle(in)); break;
    case 8: {
        Text text = ReadText(in);
        kvdrw::Font* font = Pick(in, objects.fonts);
        kvdrw::StringFormat* format = Pick(in, objects.formats);
        if (in.Byte() % 2 == 0)
            path.AddString(&engine, text.wide.c_str(), text.length, font, ReadPoint(in), format);
        else
            path.AddStringNarrow(&engine, text.narrow.c_str(), NarrowLength(text), font, ReadRectangle(in), format);
        break;
    }
    case 9: {
        std::vector<KvPoint> points = ReadPoints(in);
        std::vector<int32_t> types(points.size());
        for (int32_t& type : types)
            type = in.Between(0, 7);
        path.AddPathData(points.data(), types.data(), CountOf(in, points));
        break;
    }
    case 10: path.AddPathData(Pick(in, objects.pathData)); break;
    case 11: {
        kvdrw::PathData* data = nullptr;
        if (path.GetPathData(&data) == SUCCESS)
            Keep(objects.pathData, data, engine);
        break;
    }
    case 12: {
        kvdrw::Pen* pen = Pick(in, objects.pens);
        KvMatrix matrix = ReadMatrix(in);
        // Flatness from a byte: fine curves cost points, so not below 0.05.
        double flatness = 0.05 + in.Byte() / 16.0;
        path.Widen(pen, in.Byte() % 2 ? &matrix : nullptr, flatness);
        break;
    }
    case 13: {
        kvdrw::GraphicsPath* other = Pick(in, objects.paths);
        if (other != &path)
            path.CombineGeometry(&engine, other, in.Between(-1, 6));
        break;
    }
    case 14: {
        KvRectangle bounds{};
        KvMatrix matrix = ReadMatrix(in);
        const KvMatrix* under = in.Byte() % 2 ? &matrix : nullptr;
        path.GetBounds(&bounds, under, Pick(in, objects.pens));
        double x = in.Number();
        path.ContainsPoint(&engine, x, in.Number());
        break;
    }
    default: {
        path.SetFillMode(in.Between(-1, 2));
        KvRectangle rect = ReadRectangle(in);
        double start = in.Number();
        path.AddArcToPath(rect.x, rect.y, rect.width, rect.height, start, in.Number());
        break;
    }
    }
}

void ChangePen(ByteReader& in, kvdrw::Pen& pen)
{
    switch (in.Byte() % 5) {
    case 0: {
        KvColor color = ReadColor(in);
        pen.SetColor(&color);
        break;
    }
    case 1: pen.SetWidth(in.Number()); break;
    case 2: {
        double pattern[8];
        for (double& length : pattern)
            length = in.Number();
        const double* given = in.Byte() % 8 ? pattern : nullptr;
        pen.SetDashPattern(given, in.Between(-1, 8));
        break;
    }
    case 3: pen.SetLineCap(in.Between(-1, 3)); break;
    default: pen.SetLineJoin(in.Between(-1, 3)); break;
    }
    KvColor color{};
    pen.GetColor(&color);
    pen.GetWidth();
    pen.GetDashStyle();
}

// A small bitmap from the bytes at any depth the library holds.
void DrawBitmap(ByteReader& in, kvdrw::Engine& engine)
{
    constexpr uint32_t kDepths[] = {1, 4, 8, 16, 24, 32, 64};
    uint32_t depth = kDepths[in.Byte() % 7];
    int32_t width = in.Between(1, 6);
    int32_t height = in.Between(1, 6);
    KvBitmap image{};
    if (K_BitmapInit(&image, kKvBitmapSize, width, height, depth, in.Byte() % 2) != SUCCESS ||
        K_BitmapAllocate(&image) != SUCCESS)
        kvfuzz::Fail("a small bitmap could not be made", depth);
    // Pixels from one byte: a pattern, so that the arguments after it keep
    // their places whatever the size.
    uint8_t fill = in.Byte();
    for (size_t i = 0; i < image.dataSize; ++i)
        image.data[i] = static_cast<uint8_t>(fill + i * 37);
    KvRectangle destination = ReadRectangle(in);
    KvRectangle source = ReadRectangle(in);
    bool withSource = in.Byte() % 2 == 0;
    // -1.0 is the caller's mark that sends an image to the bottom.
    double opacity = in.Byte() % 3 == 0 ? -1.0 : in.Number();
    engine.DrawImage(&image, &destination, withSource ? &source : nullptr, opacity);
    K_BitmapFree(&image);
}

void DrawText(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    Text text = ReadText(in);
    kvdrw::Font* font = Pick(in, objects.fonts);
    kvdrw::Brush* brush = Pick(in, objects.brushes);
    kvdrw::StringFormat* format = Pick(in, objects.formats);
    KvPoint origin = ReadPoint(in);
    KvRectangle layout = ReadRectangle(in);
    std::u16string link = kvfuzz::WideFromBytes(in.Take(in.Between(0, 12)));
    std::string narrowLink(link.begin(), link.end());
    switch (in.Byte() % 7) {
    case 0: engine.DrawString(text.wide.c_str(), text.length, font, brush, &origin, format); break;
    case 1: engine.DrawStringNarrow(text.narrow.c_str(), NarrowLength(text), font, brush, &origin, format); break;
    case 2: engine.DrawStringInRect(text.wide.c_str(), text.length, font, brush, &layout, format); break;
    case 3:
        engine.DrawStringInRectNarrow(text.narrow.c_str(), NarrowLength(text), font, brush, &layout, format);
        break;
    case 4:
        engine.DrawLinkedStringInRect(text.wide.c_str(), text.length, link.c_str(), font, brush, &layout, format);
        break;
    case 5:
        engine.DrawLinkedStringNarrow(text.narrow.c_str(), NarrowLength(text), narrowLink.c_str(), font, brush,
                                      &layout, format);
        break;
    default:
        engine.DrawLinkedString(text.wide.c_str(), link.c_str(), text.length, font, brush, &origin, format);
        break;
    }
}

void Measure(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    Text text = ReadText(in);
    kvdrw::Font* font = Pick(in, objects.fonts);
    kvdrw::StringFormat* format = Pick(in, objects.formats);
    double width = in.Number();
    kvdrw::Size layout{width, in.Number()};
    kvdrw::Size size{};
    switch (in.Byte() % 4) {
    case 0: engine.MeasureString(text.wide.c_str(), text.length, font, &size); break;
    case 1: engine.MeasureStringNarrow(text.narrow.c_str(), NarrowLength(text), font, &size); break;
    case 2: engine.MeasureStringInSize(text.wide.c_str(), text.length, font, &layout, format, &size); break;
    default: {
        int32_t fitted = 0, lines = 0;
        engine.MeasureStringFitted(text.wide.c_str(), text.length, font, &layout, format, &size, &fitted, &lines);
        break;
    }
    }
    if (font) {
        kvdrw::FontMetrics metrics{};
        font->GetMetrics(&metrics, &engine, in.Number());
        font->GetHeight(in.Number());
        char16_t family[64];
        font->GetFamilyName(family, in.Between(0, 64));
    }
}

void ChangeState(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    switch (in.Byte() % 12) {
    case 0: {
        KvMatrix matrix = ReadMatrix(in);
        engine.SetTransform(in.Byte() % 8 ? &matrix : nullptr);
        break;
    }
    case 1: {
        KvMatrix matrix = ReadMatrix(in);
        engine.AppendTransform(&matrix);
        break;
    }
    case 2: {
        KvMatrix matrix = ReadMatrix(in);
        engine.PrependTransform(&matrix);
        break;
    }
    case 3: engine.ResetTransform(); break;
    case 4: {
        kvdrw::GraphicsPath* path = Pick(in, objects.paths);
        const int32_t mode = in.Between(-1, 6);
        if (TakeDrawnPoints(objects, PointsOf(path, engine)))
            engine.SetClipPath(path, mode);
        break;
    }
    case 5: {
        KvRectangle rect = ReadRectangle(in);
        const KvRectangle* clip = in.Byte() % 8 ? &rect : nullptr;
        engine.SetClipRect(clip, in.Between(-1, 6));
        break;
    }
    case 6: engine.ResetClip(); break;
    case 7: {
        int32_t token = engine.SaveState();
        if (objects.stateTokens.size() < 64)
            objects.stateTokens.push_back(token);
        break;
    }
    case 8: {
        int32_t token = in.Between(-2, 70);
        if (!objects.stateTokens.empty() && in.Byte() % 4)
            token = objects.stateTokens[in.Byte() % objects.stateTokens.size()];
        engine.RestoreState(token);
        break;
    }
    case 9:
        engine.SetQualityA(in.Between(-1, 3));
        engine.SetQualityB(in.Between(-1, 3));
        engine.SetDrawingMode(in.Between(-1, 3));
        break;
    case 10: engine.SetResolution(in.Number()); break;
    default: {
        SvgTextExtraParams params{kSvgTextExtraParamsSize, in.Between(-2, 9), in.Between(-2, 9)};
        K_Draw_SetTextExtraParams(&engine, in.Byte() % 4 ? &params : nullptr);
        break;
    }
    }
    KvMatrix current{};
    engine.GetTransform(&current);
}

void Draw(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    kvdrw::Pen* pen = Pick(in, objects.pens);
    kvdrw::Brush* brush = Pick(in, objects.brushes);
    switch (in.Byte() % 14) {
    case 0: {
        KvPoint from = ReadPoint(in);
        KvPoint to = ReadPoint(in);
        engine.DrawLine(pen, from, to);
        break;
    }
    case 1: {
        kvdrw::GraphicsPath* path = Pick(in, objects.paths);
        if (TakeDrawnPoints(objects, PointsOf(path, engine)))
            engine.DrawPath(pen, brush, path);
        break;
    }
    case 2: engine.DrawRectangle(pen, brush, ReadRectangle(in)); break;
    case 3: {
        KvRectangle rect = ReadRectangle(in);
        double rx = in.Number();
        engine.DrawRoundRectangle(pen, brush, rect, rx, in.Number());
        break;
    }
    case 4: engine.DrawEllipse(pen, brush, ReadRectangle(in)); break;
    case 5: {
        KvRectangle rect = ReadRectangle(in);
        double start = in.Number();
        engine.DrawArc(pen, rect, start, in.Number());
        break;
    }
    case 6: {
        KvRectangle rect = ReadRectangle(in);
        double start = in.Number();
        engine.DrawPie(pen, brush, rect, start, in.Number());
        break;
    }
    case 7: {
        std::vector<KvPoint> points = ReadPoints(in);
        int32_t count = CountOf(in, points);
        engine.DrawPolygon(pen, brush, points.data(), count, in.Byte() % 2);
        break;
    }
    case 8: {
        std::vector<KvPoint> points = ReadPoints(in);
        engine.DrawPolyline(pen, points.data(), CountOf(in, points));
        break;
    }
    case 9: {
        std::vector<KvPoint> points = ReadPoints(in);
        std::vector<int32_t> types(points.size());
        for (int32_t& type : types)
            type = in.Byte() % 4 ? in.Between(2, 6) : in.Between(-1, 254);
        int32_t count = CountOf(in, points);
        engine.DrawPathData(pen, brush, points.data(), types.data(), count, in.Byte() % 2);
        break;
    }
    case 10: {
        kvdrw::PathData* data = Pick(in, objects.pathData);
        const bool evenOdd = in.Byte() % 2;
        if (TakeDrawnPoints(objects, data ? data->GetCount() : 0))
            engine.DrawPathData(pen, brush, data, evenOdd);
        break;
    }
    case 11: {
        KvPoint p[4] = {ReadPoint(in), ReadPoint(in), ReadPoint(in), ReadPoint(in)};
        engine.DrawBezier(pen, p[0], p[1], p[2], p[3]);
        break;
    }
    case 12: {
        std::vector<KvPoint> points = ReadPoints(in);
        engine.DrawBeziers(pen, points.data(), CountOf(in, points));
        break;
    }
    default: {
        KvRectangle rect = ReadRectangle(in);
        int32_t corners[4];
        for (int32_t& value : corners)
            value = in.Between(-100, 100);
        if (in.Byte() % 2)
            engine.DrawArcToPoints(pen, rect.x, rect.y, rect.width, rect.height, corners[0], corners[1], corners[2],
                                   corners[3]);
        else
            engine.DrawPieToPoints(pen, brush, rect.x, rect.y, rect.width, rect.height, corners[0], corners[1],
                                   corners[2], corners[3]);
        break;
    }
    }
}

void RunProgram(ByteReader& in, kvdrw::Engine& engine, Objects& objects)
{
    for (int call = 0; call < kMaxCalls && !in.empty(); ++call) {
        switch (in.Byte() % 16) {
        case 0: MakePen(in, engine, objects); break;
        case 1: MakeBrush(in, engine, objects); break;
        case 2: MakeFont(in, engine, objects); break;
        case 3: MakeFormat(in, engine, objects); break;
        case 4: {
            kvdrw::GraphicsPath* path = nullptr;
            if (engine.CreatePath(&path) == SUCCESS)
                Keep(objects.paths, path, engine);
            break;
        }
        case 5:
            if (kvdrw::GraphicsPath* path = Pick(in, objects.paths))
                GrowPath(in, engine, *path, objects);
            break;
        case 6:
            if (kvdrw::Pen* pen = Pick(in, objects.pens))
                ChangePen(in, *pen);
            break;
        case 7:
            switch (in.Byte() % 6) {
            case 0: GiveBack(in, objects.pens, engine); break;
            case 1: GiveBack(in, objects.brushes, engine); break;
            case 2: GiveBack(in, objects.fonts, engine); break;
            case 3: GiveBack(in, objects.formats, engine); break;
            case 4: GiveBack(in, objects.paths, engine); break;
            default: GiveBack(in, objects.pathData, engine); break;
            }
            break;
        case 8:
        case 9: Draw(in, engine, objects); break;
        case 10: ChangeState(in, engine, objects); break;
        case 11: DrawText(in, engine, objects); break;
        case 12: DrawBitmap(in, engine); break;
        case 13: Measure(in, engine, objects); break;
        case 14: {
            int32_t pageState = 0;
            switch (in.Byte() % 4) {
            case 0: engine.BeginDocument(); break;
            case 1: {
                int32_t width = in.Between(-1, 1000);
                engine.BeginPage(width, in.Between(-1, 1000), &pageState);
                break;
            }
            case 2: engine.EndPage(); break;
            default: engine.EndDocument(); break;
            }
            break;
        }
        default:
            if (kvdrw::SolidBrush* solid = dynamic_cast<kvdrw::SolidBrush*>(Pick(in, objects.brushes))) {
                KvColor color = ReadColor(in);
                solid->SetColor(&color);
            }
            break;
        }
    }
}

// A recorded document is flat as it stands and goes straight to a renderer;
// the engine writes clip paths that clip themselves, which the renderer must
// take as it takes any reference cycle.
void DrawRecording(SvgHandle document)
{
    constexpr int32_t kSide = 32;
    KvBitmap canvas{};
    if (K_BitmapInit(&canvas, kKvBitmapSize, kSide, kSide, 32, KV_ORDER_BGR) != SUCCESS ||
        K_BitmapAllocate(&canvas) != SUCCESS)
        kvfuzz::Fail("no canvas");
    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    options.flags = 1;
    options.backColor = 0x00FFFFFF;
    options.bounds = KvRectangle{0, 0, kSide, kSide};
    options.renderFlags = SVG_RENDER_FULL_PAINT;
    K_SvgRasterizeDocument(&canvas, document, &options);
    K_BitmapFree(&canvas);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    ByteReader in(data, size);

    // The first bytes are the options of K_Draw_ToSvg.
    SvgFileOptions options{};
    options.size = kSvgFileOptionsSize;
    uint8_t shape = in.Byte();
    options.width = shape & 1 ? in.Number() : -1.0;
    options.height = shape & 1 ? in.Number() : -1.0;
    options.dpiX = shape & 2 ? in.Number() : -1.0;
    options.dpiY = shape & 2 ? in.Number() : -1.0;
    uint8_t flags = shape & 4 ? in.Byte() : 0;
    options.flags = (flags & 0x0F) | (flags & 0x10 ? SVG_DRAW_MARK_OCR : 0);
    options.maximumElements = shape & 8 ? in.Between(0, 40) : 0;

    // A caller built against the record before it had flags and a limit
    // hands over the shorter size; some callers hand over no options.
    if (shape & 16)
        options.size = offsetof(SvgFileOptions, flags);
    const SvgFileOptions* given = shape & 32 ? nullptr : &options;

    void* engineHandle = nullptr;
    SvgHandle document = nullptr;
    if (K_Draw_ToSvg(&engineHandle, &document, given) != SUCCESS)
        return 0;
    auto& engine = *static_cast<kvdrw::Engine*>(engineHandle);
    Objects objects;
    RunProgram(in, engine, objects);
    // The contract: every object goes back to its engine before the engine
    // goes; path data first, then what it may have been made from.
    GiveBackAll(objects.pathData, engine);
    GiveBackAll(objects.paths, engine);
    GiveBackAll(objects.formats, engine);
    GiveBackAll(objects.fonts, engine);
    GiveBackAll(objects.brushes, engine);
    GiveBackAll(objects.pens, engine);
    if (K_Draw_DestroySvgEngine(engineHandle) != SUCCESS)
        kvfuzz::Fail("the engine could not be destroyed");

    SavedText saved;
    int32_t status = K_SvgSaveDocumentMemory(document, &saved.block, &saved.size, nullptr);
    K_SvgFreeNode(document);
    if (status != SUCCESS)
        kvfuzz::Fail("a recorded document does not save", status);
    kvfuzz::Document reloaded;
    status = K_SvgLoadDocumentMemory(saved.block, saved.size, reloaded.out(), nullptr);
    if (status != SUCCESS) {
        kvfuzz::Report("saved", kvfuzz::WideFromBytes({static_cast<const char*>(saved.block), saved.size}));
        kvfuzz::Fail("a recorded document does not load again", status);
    }
    DrawRecording(reloaded.get());
    return 0;
}
