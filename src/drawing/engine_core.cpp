#include "drawing/engine_core.h"

#include <cmath>
#include <numbers>

#include "base/geometry.h"
#include "base/utf.h"
#include "drawing/font_cache.h"
#include "drawing/native_font.h"
#include "drawing/native_path.h"
#include "drawing/native_string_format.h"
#include "drawing/text_request.h"

namespace kvdrw::native {

namespace {

bool AllFinite(std::initializer_list<double> values)
{
    for (double v : values) {
        if (!std::isfinite(v))
            return false;
    }
    return true;
}

bool IsAllZero(const KvMatrix& m)
{
    return m.m11 == 0 && m.m12 == 0 && m.m21 == 0 && m.m22 == 0 && m.dx == 0 && m.dy == 0;
}

// A caller's matrix as this engine keeps it: all zero means none at all.
KvMatrix Normalised(const KvMatrix& matrix)
{
    if (IsAllZero(matrix))
        return MatrixIdentity();
    KvMatrix copy = matrix;
    MatrixClassify(copy);
    return copy;
}

double DegreesTowards(double cx, double cy, double x, double y)
{
    return std::atan2(y - cy, x - cx) * 180.0 / std::numbers::pi;
}

ClipperLib::Paths RectanglePolygon(const KvRectangle& r)
{
    auto step = [](double v) { return static_cast<ClipperLib::cInt>(std::llround(v * kClipperUnitsPerPixel)); };
    ClipperLib::Path path = {{step(r.x), step(r.y)},
                             {step(r.x + r.width), step(r.y)},
                             {step(r.x + r.width), step(r.y + r.height)},
                             {step(r.x), step(r.y + r.height)}};
    return {path};
}

}  // namespace

EngineCore::EngineCore() { state_.transform = MatrixIdentity(); }

// ---- Document and page -------------------------------------------------------

int32_t EngineCore::BeginDocument()
{
    if (documentOpen_)
        return ERROR_INV_PARAMETER;
    documentOpen_ = true;
    pageOpen_ = false;
    pageCount_ = 0;
    return SUCCESS;
}

int32_t EngineCore::BeginPage(int32_t, int32_t, int32_t* pageState)
{
    if (pageState) {
        *pageState = 0;
        pageOpen_ = true;
        return SUCCESS;
    }
    if (!documentOpen_ || pageOpen_)
        return ERROR_INV_PARAMETER;
    pageOpen_ = true;
    return SUCCESS;
}

int32_t EngineCore::EndPage()
{
    if (!documentOpen_ || !pageOpen_)
        return ERROR_INV_PARAMETER;
    pageOpen_ = false;
    ++pageCount_;
    Flush();
    return SUCCESS;
}

int32_t EngineCore::EndDocument()
{
    if (pageOpen_ || !documentOpen_)
        return ERROR_INV_PARAMETER;
    documentOpen_ = false;
    Flush();
    return SUCCESS;
}

int32_t EngineCore::DeleteObject(kvdrw::Disposable* object) { return DestroyObject(object); }

// ---- Objects -----------------------------------------------------------------------

int32_t EngineCore::CreatePen(kvdrw::Pen** pen, const KvColor* color, double width, int32_t dashStyle)
{
    if (!pen || !color)
        return ERROR_INV_PARAMETER;
    return MakeObject<NativePen>(pen, *color, width, dashStyle);
}

int32_t EngineCore::CreateSolidBrush(kvdrw::SolidBrush** brush, const KvColor* color)
{
    if (!brush || !color)
        return ERROR_INV_PARAMETER;
    return MakeObject<NativeSolidBrush>(brush, *color);
}

int32_t EngineCore::CreateGradientBrushFromStops(kvdrw::LinearGradientBrush** brush, const KvPoint* points,
                                                 const KvColor* colors, const double* offsets, int32_t count)
{
    if (!brush || !points || !colors || !offsets || count < 1)
        return ERROR_INV_PARAMETER;
    kvdrw::LinearGradientBrush* made = nullptr;
    if (int32_t status = MakeObject<NativeGradientBrush>(&made); status != SUCCESS)
        return status;
    try {
        static_cast<NativeGradientBrush*>(made)->Set(points[0], points[1], colors, offsets, count);
    } catch (const std::bad_alloc&) {
        DestroyObject(made);
        return ERROR_NO_MEMORY;
    }
    *brush = made;
    return SUCCESS;
}

int32_t EngineCore::CreateGradientBrushFromRect(kvdrw::LinearGradientBrush** brush, const KvRectangle* rect,
                                                const KvColor* color1, const KvColor* color2, double angleDegrees)
{
    if (!brush || !rect || !color1 || !color2)
        return ERROR_INV_PARAMETER;
    KvPoint ends[2];
    GradientLineForRectangle(*rect, std::isfinite(angleDegrees) ? angleDegrees : 0.0, ends[0], ends[1]);
    const KvColor colors[2] = {*color1, *color2};
    const double offsets[2] = {0.0, 1.0};
    return CreateGradientBrushFromStops(brush, ends, colors, offsets, 2);
}

int32_t EngineCore::CreateGradientBrushFromPoints(kvdrw::LinearGradientBrush** brush, const KvPoint* point1,
                                                  const KvPoint* point2, const KvColor* color1, const KvColor* color2)
{
    if (!brush || !point1 || !point2 || !color1 || !color2)
        return ERROR_INV_PARAMETER;
    const KvPoint ends[2] = {*point1, *point2};
    const KvColor colors[2] = {*color1, *color2};
    const double offsets[2] = {0.0, 1.0};
    return CreateGradientBrushFromStops(brush, ends, colors, offsets, 2);
}

int32_t EngineCore::CreateHatchBrush(kvdrw::HatchBrush** brush, int32_t hatchStyle, const KvColor* foreground,
                                     const KvColor* background)
{
    if (!brush || !foreground || !background)
        return ERROR_INV_PARAMETER;
    return MakeObject<NativeHatchBrush>(brush, hatchStyle, *foreground, *background);
}

int32_t EngineCore::CreatePath(kvdrw::GraphicsPath** path)
{
    if (!path)
        return ERROR_INV_PARAMETER;
    return MakeObject<NativeGraphicsPath>(path);
}

int32_t EngineCore::CreateFontNarrow(kvdrw::Font** font, int32_t reserved, const char* family, double size,
                                     int32_t style)
{
    std::u16string wide;
    if (int32_t status = WidenText(family, -1, wide); status != SUCCESS)
        return status;
    return CreateFont(font, reserved, wide.c_str(), size, style);
}

int32_t EngineCore::CreateFont(kvdrw::Font** font, int32_t, const char16_t* family, double size, int32_t style)
{
    if (!font)
        return ERROR_INV_PARAMETER;
    if (!std::isfinite(size))
        return ERROR_INV_PARAMETER;
    double points = std::fabs(size);
    if (points == 0)
        points = 1.0;
    const char16_t* name = family ? family : u"";
    const FontFace* face = FontCache::Instance().Resolve(std::u16string_view(name, WideLength(name)),
                                                         (style & 1) != 0, (style & 2) != 0);
    if (!face)
        return FAILURE;
    return MakeObject<NativeFont>(font, *face, points, style);
}

int32_t EngineCore::CreateStringFormat(kvdrw::StringFormat** format, int32_t alignment, int32_t lineAlignment,
                                       int32_t flags)
{
    if (!format || !NativeStringFormat::IsAlignment(alignment) || !NativeStringFormat::IsLineAlignment(lineAlignment))
        return ERROR_INV_PARAMETER;
    return MakeObject<NativeStringFormat>(format, alignment, lineAlignment, flags);
}

// ---- Drawing -------------------------------------------------------------------------

int32_t EngineCore::ResolvePaint(kvdrw::Pen* pen, kvdrw::Brush* brush, NativePen*& nativePen,
                                 NativeBrush*& nativeBrush)
{
    nativePen = pen ? dynamic_cast<NativePen*>(pen) : nullptr;
    nativeBrush = brush ? dynamic_cast<NativeBrush*>(brush) : nullptr;
    if ((pen && !nativePen) || (brush && !nativeBrush))
        return ERROR_INV_PARAMETER;
    return SUCCESS;
}

template <class Build>
int32_t EngineCore::PaintBuilt(NativePen* pen, NativeBrush* brush, int32_t fillMode, Build&& build)
{
    try {
        PathGeometry path;
        path.SetFillMode(fillMode);
        build(path);
        return Paint(path, pen, brush, false);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

template <class Build>
int32_t EngineCore::PaintShape(kvdrw::Pen* pen, kvdrw::Brush* brush, std::initializer_list<double> numbers,
                               int32_t fillMode, Build&& build)
{
    NativePen* nativePen = nullptr;
    NativeBrush* nativeBrush = nullptr;
    if (int32_t status = ResolvePaint(pen, brush, nativePen, nativeBrush); status != SUCCESS)
        return status;
    if (!AllFinite(numbers))
        return ERROR_INV_PARAMETER;
    return PaintBuilt(nativePen, nativeBrush, fillMode, std::forward<Build>(build));
}

int32_t EngineCore::DrawLine(kvdrw::Pen* pen, double x1, double y1, double x2, double y2)
{
    if (!pen)
        return ERROR_INV_PARAMETER;
    return PaintShape(pen, nullptr, {x1, y1, x2, y2}, 0, [&](PathGeometry& p) { p.AddLine({x1, y1}, {x2, y2}); });
}

int32_t EngineCore::DrawPath(kvdrw::Pen* pen, kvdrw::Brush* brush, kvdrw::GraphicsPath* path)
{
    if (!pen && !brush)
        return SUCCESS;
    auto* nativePath = dynamic_cast<NativeGraphicsPath*>(path);
    if (!nativePath)
        return ERROR_INV_PARAMETER;
    NativePen* nativePen = nullptr;
    NativeBrush* nativeBrush = nullptr;
    if (int32_t status = ResolvePaint(pen, brush, nativePen, nativeBrush); status != SUCCESS)
        return status;
    return Paint(nativePath->geometry(), nativePen, nativeBrush, false);
}

int32_t EngineCore::DrawRectangle(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                  double height)
{
    if (!pen && !brush)
        return SUCCESS;
    return PaintShape(pen, brush, {x, y, width, height}, 1,
                      [&](PathGeometry& p) { p.AddRectangle(x, y, width, height); });
}

int32_t EngineCore::DrawRoundRectangle(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                       double height, double radiusX, double radiusY)
{
    if (!pen && !brush)
        return SUCCESS;
    // Corners never overlap: each radius is at most half its side.
    const double rx = std::min(std::fabs(radiusX), std::fabs(width) / 2);
    const double ry = std::min(std::fabs(radiusY), std::fabs(height) / 2);
    return PaintShape(pen, brush, {x, y, width, height, radiusX, radiusY}, 1, [&](PathGeometry& p) {
        if (rx <= 0 || ry <= 0) {
            p.AddRectangle(x, y, width, height);
            return;
        }
        const double right = x + width, bottom = y + height;
        p.StartFigure();
        p.AddArc(right - 2 * rx, y, 2 * rx, 2 * ry, 270, 90, true);
        p.AddArc(right - 2 * rx, bottom - 2 * ry, 2 * rx, 2 * ry, 0, 90, true);
        p.AddArc(x, bottom - 2 * ry, 2 * rx, 2 * ry, 90, 90, true);
        p.AddArc(x, y, 2 * rx, 2 * ry, 180, 90, true);
        p.CloseFigure();
    });
}

int32_t EngineCore::DrawEllipse(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                double height)
{
    if (!pen && !brush)
        return SUCCESS;
    return PaintShape(pen, brush, {x, y, width, height}, 1,
                      [&](PathGeometry& p) { p.AddEllipse(x, y, width, height); });
}

int32_t EngineCore::DrawArc(kvdrw::Pen* pen, double x, double y, double width, double height, double startDegrees,
                            double sweepDegrees)
{
    if (!pen)
        return ERROR_INV_PARAMETER;
    return PaintShape(pen, nullptr, {x, y, width, height, startDegrees, sweepDegrees}, 0,
                      [&](PathGeometry& p) { p.AddArc(x, y, width, height, startDegrees, sweepDegrees, false); });
}

int32_t EngineCore::DrawPie(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width, double height,
                            double startDegrees, double sweepDegrees)
{
    if (!pen && !brush)
        return SUCCESS;
    return PaintShape(pen, brush, {x, y, width, height, startDegrees, sweepDegrees}, 1,
                      [&](PathGeometry& p) { p.AddPie(x, y, width, height, startDegrees, sweepDegrees); });
}

int32_t EngineCore::DrawPolygon(kvdrw::Pen* pen, kvdrw::Brush* brush, const KvPoint* points, int32_t count,
                                int32_t fillMode)
{
    if (!pen && !brush)
        return SUCCESS;
    if (!points && count > 0)
        return ERROR_INV_PARAMETER;
    NativePen* nativePen = nullptr;
    NativeBrush* nativeBrush = nullptr;
    if (int32_t status = ResolvePaint(pen, brush, nativePen, nativeBrush); status != SUCCESS)
        return status;
    if (count <= 0)
        return SUCCESS;
    return PaintBuilt(nativePen, nativeBrush, fillMode ? 1 : 0,
                      [&](PathGeometry& p) { p.AddPolygon(points, count); });
}

int32_t EngineCore::DrawPolyline(kvdrw::Pen* pen, const KvPoint* points, int32_t count)
{
    if (!pen || count == 0)
        return SUCCESS;
    if (!points || count < 0)
        return ERROR_INV_PARAMETER;
    NativePen* nativePen = nullptr;
    NativeBrush* unused = nullptr;
    if (int32_t status = ResolvePaint(pen, nullptr, nativePen, unused); status != SUCCESS)
        return status;
    return PaintBuilt(nativePen, nullptr, 0, [&](PathGeometry& p) { p.AddLines(points, count); });
}

int32_t EngineCore::DrawPathData(kvdrw::Pen* pen, kvdrw::Brush* brush, const KvPoint* points, const int32_t* types,
                                 int32_t count, int32_t fillMode)
{
    if (count == 0 || (!pen && !brush))
        return SUCCESS;
    if (!points || !types || count < 0)
        return ERROR_INV_PARAMETER;
    NativePen* nativePen = nullptr;
    NativeBrush* nativeBrush = nullptr;
    if (int32_t status = ResolvePaint(pen, brush, nativePen, nativeBrush); status != SUCCESS)
        return status;
    try {
        PathGeometry path;
        path.SetFillMode(fillMode ? 1 : 0);
        if (int32_t status = path.AddPathData(points, types, count); status != SUCCESS)
            return status;
        return Paint(path, nativePen, nativeBrush, false);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t EngineCore::DrawBezier(kvdrw::Pen* pen, const KvPoint& p1, const KvPoint& c1, const KvPoint& c2,
                               const KvPoint& p2)
{
    if (!pen)
        return ERROR_INV_PARAMETER;
    NativePen* nativePen = nullptr;
    NativeBrush* unused = nullptr;
    if (int32_t status = ResolvePaint(pen, nullptr, nativePen, unused); status != SUCCESS)
        return status;
    return PaintBuilt(nativePen, nullptr, 0, [&](PathGeometry& p) { p.AddBezier(p1, c1, c2, p2); });
}

int32_t EngineCore::DrawBeziers(kvdrw::Pen* pen, const KvPoint* points, int32_t count)
{
    if (!pen)
        return ERROR_INV_PARAMETER;
    if (count == 1)
        return SUCCESS;
    if (count < 4 || (count - 1) % 3 != 0)
        return FAILURE;
    if (!points)
        return ERROR_INV_PARAMETER;
    NativePen* nativePen = nullptr;
    NativeBrush* unused = nullptr;
    if (int32_t status = ResolvePaint(pen, nullptr, nativePen, unused); status != SUCCESS)
        return status;
    return PaintBuilt(nativePen, nullptr, 0, [&](PathGeometry& p) {
        for (int32_t i = 0; i + 3 < count; i += 3)
            p.AddBezier(points[i], points[i + 1], points[i + 2], points[i + 3]);
    });
}

int32_t EngineCore::DrawArcToPoints(kvdrw::Pen* pen, double x, double y, double width, double height, int32_t x1,
                                    int32_t y1, int32_t x2, int32_t y2)
{
    const double cx = x + width / 2, cy = y + height / 2;
    const double start = DegreesTowards(cx, cy, x1, y1);
    return DrawArc(pen, x, y, width, height, start, DegreesTowards(cx, cy, x2, y2) - start);
}

int32_t EngineCore::DrawPieToPoints(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                    double height, int32_t x1, int32_t y1, int32_t x2, int32_t y2)
{
    const double cx = x + width / 2, cy = y + height / 2;
    const double start = DegreesTowards(cx, cy, x1, y1);
    return DrawPie(pen, brush, x, y, width, height, start, DegreesTowards(cx, cy, x2, y2) - start);
}

// ---- Transform, clip and state -----------------------------------------------------------

int32_t EngineCore::SetTransform(const KvMatrix* matrix)
{
    if (!matrix)
        return ERROR_INV_PARAMETER;
    state_.transform = Normalised(*matrix);
    return SUCCESS;
}

int32_t EngineCore::AppendTransform(const KvMatrix* matrix)
{
    if (!matrix)
        return ERROR_INV_PARAMETER;
    state_.transform = MatrixMultiply(state_.transform, Normalised(*matrix));
    return SUCCESS;
}

int32_t EngineCore::PrependTransform(const KvMatrix* matrix)
{
    if (!matrix)
        return ERROR_INV_PARAMETER;
    state_.transform = MatrixMultiply(Normalised(*matrix), state_.transform);
    return SUCCESS;
}

int32_t EngineCore::GetTransform(KvMatrix* matrix)
{
    if (!matrix)
        return ERROR_INV_PARAMETER;
    *matrix = state_.transform;
    return SUCCESS;
}

int32_t EngineCore::ResetTransform()
{
    state_.transform = MatrixIdentity();
    return SUCCESS;
}

void EngineCore::SetClip(std::shared_ptr<const ClipRegion> clip)
{
    state_.clip = std::move(clip);
    ++clipGeneration_;
}

int32_t EngineCore::CombineClip(const PathGeometry& userPath, int32_t combineMode, const KvRectangle* exactRectangle)
{
    if (combineMode < 0 || combineMode > 5)
        return ERROR_INV_PARAMETER;
    try {
        ClipRegion::Part part;
        part.polygons = userPath.ToClipperPaths(&state_.transform, 0.05);
        part.evenOdd = userPath.fillMode() == 0;
        if (exactRectangle) {
            part.isRectangle = true;
            part.rectangle = *exactRectangle;
        }
        auto region = std::allocate_shared<ClipRegion>(TrackedAllocator<ClipRegion>());
        if (combineMode == 0 || (combineMode == 1 && !state_.clip)) {
            region->parts.push_back(std::move(part));
        } else if (combineMode == 1) {
            region->parts = state_.clip->parts;
            region->parts.push_back(std::move(part));
        } else {
            // Fold what is visible now into one polygon set, then combine.
            ClipperLib::Paths visible;
            bool visibleEvenOdd = false;
            if (!state_.clip) {
                KvRectangle extent = DeviceExtent();
                visible = RectanglePolygon(extent);
            } else {
                const auto& parts = state_.clip->parts;
                visible = parts[0].polygons;
                visibleEvenOdd = parts[0].evenOdd;
                for (size_t i = 1; i < parts.size(); ++i) {
                    visible = CombinePolygons(visible, visibleEvenOdd, parts[i].polygons, parts[i].evenOdd, 1);
                    visibleEvenOdd = false;
                }
            }
            ClipRegion::Part combined;
            combined.polygons = CombinePolygons(visible, visibleEvenOdd, part.polygons, part.evenOdd, combineMode);
            region->parts.push_back(std::move(combined));
        }
        SetClip(std::move(region));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    } catch (const ClipperLib::clipperException&) {
        return FAILURE;
    }
    return SUCCESS;
}

int32_t EngineCore::SetClipPath(kvdrw::GraphicsPath* path, int32_t combineMode)
{
    auto* nativePath = dynamic_cast<NativeGraphicsPath*>(path);
    if (!nativePath)
        return ERROR_INV_PARAMETER;
    return CombineClip(nativePath->geometry(), combineMode, nullptr);
}

int32_t EngineCore::SetClipRect(const KvRectangle* rect, int32_t combineMode)
{
    if (!rect)
        return ERROR_INV_PARAMETER;
    if (!AllFinite({rect->x, rect->y, rect->width, rect->height}))
        return ERROR_INV_PARAMETER;
    try {
        // An empty rectangle is no region at all, whichever way it is turned.
        PathGeometry outline;
        if (!RectIsEmpty(*rect))
            outline.AddRectangle(rect->x, rect->y, rect->width, rect->height);
        outline.SetFillMode(1);
        const KvMatrix& m = state_.transform;
        // A rectangle that stays one in device space clips exactly, with no
        // rounding to Clipper's steps.
        if (m.m12 == 0 && m.m21 == 0) {
            KvRectangle device = RectIsEmpty(*rect) ? KvRectangle{0, 0, 0, 0} : RectTransformAxisAligned(*rect, m);
            return CombineClip(outline, combineMode, &device);
        }
        return CombineClip(outline, combineMode, nullptr);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t EngineCore::ResetClip()
{
    SetClip(nullptr);
    return SUCCESS;
}

int32_t EngineCore::SaveState()
{
    try {
        saved_.push_back(state_);
    } catch (const std::bad_alloc&) {
        return -1;
    }
    return static_cast<int32_t>(saved_.size() - 1);
}

int32_t EngineCore::RestoreState(int32_t token)
{
    if (token < 0 || static_cast<size_t>(token) >= saved_.size())
        return SUCCESS;
    const bool clipChanges = saved_[token].clip != state_.clip;
    state_ = saved_[token];
    saved_.resize(token);
    if (clipChanges)
        ++clipGeneration_;
    return SUCCESS;
}

int32_t EngineCore::SetResolution(double dpi)
{
    if (!(dpi >= 0))
        return ERROR_INV_PARAMETER;
    resolution_ = dpi < 1.0 || !std::isfinite(dpi) ? 96.0 : dpi;
    return SUCCESS;
}

int32_t EngineCore::SetQualityA(int32_t quality)
{
    if (quality < 0 || quality > 2)
        return ERROR_INV_PARAMETER;
    state_.qualityA = quality;
    return SUCCESS;
}

int32_t EngineCore::SetQualityB(int32_t quality)
{
    if (quality < 0 || quality > 2)
        return ERROR_INV_PARAMETER;
    state_.qualityB = quality;
    return SUCCESS;
}

// ---- Images ------------------------------------------------------------------------

int32_t EngineCore::DrawImage(const KvBitmap* image, const KvRectangle* destination, const KvRectangle* source,
                              double opacity)
{
    if (!image || !destination)
        return ERROR_INV_PARAMETER;
    KvRectangle whole = {0, 0, double(image->width), double(image->height)};
    KvRectangle part = source ? *source : whole;
    if (RectIsEmpty(part))
        return SUCCESS;
    if (!image->data || image->width <= 0 || image->height <= 0)
        return ERROR_INV_PARAMETER;
    if (!AllFinite({destination->x, destination->y, destination->width, destination->height, part.x, part.y}))
        return ERROR_INV_PARAMETER;
    // Only the part of the source inside the image is drawn, into the
    // matching part of the destination.
    KvRectangle inside{};
    if (!RectIntersects(part, whole, &inside))
        return SUCCESS;
    const double sx = destination->width / part.width, sy = destination->height / part.height;
    KvRectangle target = {destination->x + (inside.x - part.x) * sx, destination->y + (inside.y - part.y) * sy,
                          inside.width * sx, inside.height * sy};
    if (!(opacity > 0 && opacity <= 1))
        opacity = (opacity == 0) ? 0 : 1.0;  // -1.0 and other marks draw opaque
    if (opacity == 0 || target.width == 0 || target.height == 0)
        return SUCCESS;
    return PaintImage(*image, target, inside, opacity);
}

// ---- Text -------------------------------------------------------------------------------

int32_t EngineCore::DrawText(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush, double x,
                             double y, double boxWidth, double boxHeight, kvdrw::StringFormat* format)
{
    if (!font || !brush)
        return ERROR_INV_PARAMETER;
    auto* nativeBrush = dynamic_cast<NativeBrush*>(brush);
    if (!nativeBrush)
        return ERROR_INV_PARAMETER;
    if (!text || length == 0)
        return SUCCESS;
    TextPlacement placement;
    placement.x = x;
    placement.y = y;
    placement.boxWidth = boxWidth > 0 ? boxWidth : 0;
    placement.boxHeight = boxHeight > 0 ? boxHeight : 0;
    const bool vertical = format && (format->GetFormatFlags() & 2);
    const double wrapWidth = vertical ? placement.boxHeight : placement.boxWidth;
    try {
        PathGeometry outline;
        outline.SetFillMode(1);
        if (int32_t status =
                AppendTextOutline(outline, resolution_, TextRequest{text, length, font, format}, placement, wrapWidth);
            status != SUCCESS)
            return status;
        if (outline.empty())
            return SUCCESS;
        return Paint(outline, nullptr, nativeBrush, true);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t EngineCore::DrawString(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                               const KvPoint* origin, kvdrw::StringFormat* format)
{
    if (!font || !brush || !origin)
        return ERROR_INV_PARAMETER;
    return DrawText(text, length, font, brush, origin->x, origin->y, 0, 0, format);
}

int32_t EngineCore::DrawStringInRect(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                                     const KvRectangle* layout, kvdrw::StringFormat* format)
{
    if (!font || !brush || !layout)
        return ERROR_INV_PARAMETER;
    return DrawText(text, length, font, brush, layout->x, layout->y, layout->width, layout->height, format);
}

int32_t EngineCore::DrawLinkedStringInRect(const char16_t* text, int32_t length, const char16_t*, kvdrw::Font* font,
                                           kvdrw::Brush* brush, const KvRectangle* layout,
                                           kvdrw::StringFormat* format)
{
    // A bitmap has nowhere to keep a link: the text is drawn as it is.
    return DrawStringInRect(text, length, font, brush, layout, format);
}

int32_t EngineCore::DrawLinkedString(const char16_t* text, const char16_t*, int32_t length, kvdrw::Font* font,
                                     kvdrw::Brush* brush, const KvPoint* origin, kvdrw::StringFormat* format)
{
    return DrawString(text, length, font, brush, origin, format);
}

int32_t EngineCore::DrawStringNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                                     const KvPoint* origin, kvdrw::StringFormat* format)
{
    std::u16string wide;
    if (int32_t status = WidenText(text, length, wide); status != SUCCESS)
        return status;
    return DrawString(wide.data(), static_cast<int32_t>(wide.size()), font, brush, origin, format);
}

int32_t EngineCore::DrawStringInRectNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                                           const KvRectangle* layout, kvdrw::StringFormat* format)
{
    std::u16string wide;
    if (int32_t status = WidenText(text, length, wide); status != SUCCESS)
        return status;
    return DrawStringInRect(wide.data(), static_cast<int32_t>(wide.size()), font, brush, layout, format);
}

int32_t EngineCore::DrawLinkedStringNarrow(const char* text, int32_t length, const char*, kvdrw::Font* font,
                                           kvdrw::Brush* brush, const KvRectangle* layout,
                                           kvdrw::StringFormat* format)
{
    return DrawStringInRectNarrow(text, length, font, brush, layout, format);
}

int32_t EngineCore::MeasureStringNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Size* size)
{
    std::u16string wide;
    if (int32_t status = WidenText(text, length, wide); status != SUCCESS)
        return status;
    return MeasureString(wide.data(), static_cast<int32_t>(wide.size()), font, size);
}

int32_t EngineCore::MeasureString(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Size* size)
{
    if (!font || !size)
        return ERROR_INV_PARAMETER;
    return MeasureText(resolution_, TextRequest{text, text ? length : 0, font, nullptr}, 0, 0, size, nullptr,
                       nullptr);
}

int32_t EngineCore::MeasureStringInSize(const char16_t* text, int32_t length, kvdrw::Font* font,
                                        const kvdrw::Size* layout, kvdrw::StringFormat* format, kvdrw::Size* size)
{
    return MeasureStringFitted(text, length, font, layout, format, size, nullptr, nullptr);
}

int32_t EngineCore::MeasureStringFitted(const char16_t* text, int32_t length, kvdrw::Font* font,
                                        const kvdrw::Size* layout, kvdrw::StringFormat* format, kvdrw::Size* size,
                                        int32_t* charactersFitted, int32_t* linesFilled)
{
    if (!font || !size)
        return ERROR_INV_PARAMETER;
    const bool vertical = format && (format->GetFormatFlags() & 2);
    double along = 0, across = 0;
    if (layout) {
        along = vertical ? layout->height : layout->width;
        across = vertical ? layout->width : layout->height;
    }
    return MeasureText(resolution_, TextRequest{text, text ? length : 0, font, format}, along, across, size,
                       charactersFitted, linesFilled);
}

}  // namespace kvdrw::native
