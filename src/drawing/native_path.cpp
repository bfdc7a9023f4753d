#include "drawing/native_path.h"

#include <cmath>
#include <string>

#include "base/safety_limits.h"
#include "base/utf.h"
#include "drawing/native_pen.h"
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

}  // namespace

template <class Change>
int32_t NativeGraphicsPath::Edit(Change&& change)
{
    // Changes append, or build their result aside and assign it at the end,
    // so cutting back to the mark undoes a failure half-way.
    const PathGeometry::Mark mark = geometry_.mark();
    try {
        return change(geometry_);
    } catch (const std::bad_alloc&) {
        geometry_.RollBack(mark);
        return ERROR_NO_MEMORY;
    } catch (const ClipperLib::clipperException&) {
        geometry_.RollBack(mark);
        return FAILURE;
    }
}

int32_t NativeGraphicsPath::SetFillMode(int32_t fillMode)
{
    geometry_.SetFillMode(fillMode);
    return SUCCESS;
}

int32_t NativeGraphicsPath::StartFigure()
{
    geometry_.StartFigure();
    return SUCCESS;
}

int32_t NativeGraphicsPath::CloseFigure()
{
    geometry_.CloseFigure();
    return SUCCESS;
}

int32_t NativeGraphicsPath::AddLine(double x1, double y1, double x2, double y2)
{
    if (!AllFinite({x1, y1, x2, y2}))
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddLine({x1, y1}, {x2, y2});
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddArc(double x, double y, double width, double height, double startDegrees,
                                   double sweepDegrees)
{
    if (!AllFinite({x, y, width, height, startDegrees, sweepDegrees}))
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddArc(x, y, width, height, startDegrees, sweepDegrees, true);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddArcToPath(double x, double y, double width, double height, double startDegrees,
                                         double sweepDegrees)
{
    if (!AllFinite({x, y, width, height, startDegrees, sweepDegrees}))
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddArc(x, y, width, height, startDegrees, sweepDegrees, false);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2)
{
    if (!AllFinite({p1.x, p1.y, c1.x, c1.y, c2.x, c2.y, p2.x, p2.y}))
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddBezier(p1, c1, c2, p2);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddBeziers(const KvPoint* points, int32_t count)
{
    if (!points)
        return ERROR_INV_PARAMETER;
    if (count == 0 || count == 1)
        return SUCCESS;
    if (count < 0 || (count - 1) % 3 != 0)
        return FAILURE;
    return Edit([&](PathGeometry& g) {
        for (int32_t i = 0; i + 3 < count; i += 3)
            g.AddBezier(points[i], points[i + 1], points[i + 2], points[i + 3]);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddLines(const KvPoint* points, int32_t count)
{
    if (!points || count < 2)
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddLines(points, count);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddPolygon(const KvPoint* points, int32_t count)
{
    if (!points || count < 1)
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddPolygon(points, count);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddEllipse(double x, double y, double width, double height)
{
    if (!AllFinite({x, y, width, height}))
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddEllipse(x, y, width, height);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddRectangle(double x, double y, double width, double height)
{
    if (!AllFinite({x, y, width, height}))
        return ERROR_INV_PARAMETER;
    return Edit([&](PathGeometry& g) {
        g.AddRectangle(x, y, width, height);
        return SUCCESS;
    });
}

int32_t NativeGraphicsPath::AddString(kvdrw::Engine* engine, const char16_t* text, int32_t length, kvdrw::Font* font,
                                      const KvPoint& origin, kvdrw::StringFormat* format)
{
    TextRequest request{text, length, font, format};
    TextPlacement placement;
    placement.x = origin.x;
    placement.y = origin.y;
    return Edit([&](PathGeometry& g) { return AppendTextOutline(g, ResolutionOf(engine), request, placement, 0); });
}

int32_t NativeGraphicsPath::AddString(kvdrw::Engine* engine, const char16_t* text, int32_t length, kvdrw::Font* font,
                                      const KvRectangle& layout, kvdrw::StringFormat* format)
{
    TextRequest request{text, length, font, format};
    TextPlacement placement;
    placement.x = layout.x;
    placement.y = layout.y;
    placement.boxWidth = layout.width > 0 ? layout.width : 0;
    placement.boxHeight = layout.height > 0 ? layout.height : 0;
    const bool vertical = format && (format->GetFormatFlags() & 2);
    const double wrapWidth = vertical ? placement.boxHeight : placement.boxWidth;
    return Edit(
        [&](PathGeometry& g) { return AppendTextOutline(g, ResolutionOf(engine), request, placement, wrapWidth); });
}

int32_t NativeGraphicsPath::AddStringNarrow(kvdrw::Engine* engine, const char* text, int32_t length,
                                            kvdrw::Font* font, const KvPoint& origin, kvdrw::StringFormat* format)
{
    std::u16string wide;
    if (int32_t status = WidenText(text, length, wide); status != SUCCESS)
        return status;
    return AddString(engine, wide.data(), static_cast<int32_t>(wide.size()), font, origin, format);
}

int32_t NativeGraphicsPath::AddStringNarrow(kvdrw::Engine* engine, const char* text, int32_t length,
                                            kvdrw::Font* font, const KvRectangle& layout,
                                            kvdrw::StringFormat* format)
{
    std::u16string wide;
    if (int32_t status = WidenText(text, length, wide); status != SUCCESS)
        return status;
    return AddString(engine, wide.data(), static_cast<int32_t>(wide.size()), font, layout, format);
}

int32_t NativeGraphicsPath::AddPathData(const KvPoint* points, const int32_t* types, int32_t count)
{
    if (count == 0)
        return SUCCESS;
    if (!points || !types || count < 0)
        return ERROR_INV_PARAMETER;
    // The contract keeps what came before a bad entry, so no roll-back here
    // beyond a failed allocation.
    try {
        return geometry_.AddPathData(points, types, count);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t NativeGraphicsPath::GetPathData(kvdrw::PathData** data)
{
    if (!data)
        return ERROR_INV_PARAMETER;
    try {
        return MakeObject<NativePathData>(data, geometry_);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t NativeGraphicsPath::GetBounds(KvRectangle* bounds, const KvMatrix* matrix, kvdrw::Pen* pen)
{
    if (!bounds)
        return ERROR_INV_PARAMETER;
    StrokeShape stroke;
    const StrokeShape* strokePtr = nullptr;
    if (pen) {
        auto* nativePen = dynamic_cast<NativePen*>(pen);
        stroke = nativePen ? nativePen->shape() : StrokeShape{pen->GetWidth(), 0, 0, 10.0};
        strokePtr = &stroke;
    }
    try {
        KvRectangle result{0, 0, 0, 0};
        geometry_.GetBounds(matrix, strokePtr, result);
        *bounds = result;
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t NativeGraphicsPath::Widen(kvdrw::Pen* pen, const KvMatrix* matrix, double flatness)
{
    auto* nativePen = dynamic_cast<NativePen*>(pen);
    if (!nativePen)
        return ERROR_INV_PARAMETER;
    // Widening runs the same polygon clipper as path algebra, with the
    // same cost on self-crossing outlines, so it takes the same bound.
    return Edit([&](PathGeometry& g) {
        return g.Widen(nativePen->shape(), matrix, flatness, kvlimits::kMaxPathAlgebraVertices,
                       kvlimits::kMaxPathAlgebraNearbyEdges)
                   ? SUCCESS
                   : ERROR_MAX_ELEMENTS;
    });
}

int32_t NativeGraphicsPath::ContainsPoint(kvdrw::Engine*, double x, double y)
{
    try {
        return geometry_.Contains(x, y) ? 1 : 0;
    } catch (const std::bad_alloc&) {
        return 0;
    }
}

int32_t NativeGraphicsPath::CombineGeometry(kvdrw::Engine*, kvdrw::GraphicsPath* other, int32_t combineMode)
{
    auto* otherPath = dynamic_cast<NativeGraphicsPath*>(other);
    if (!otherPath || combineMode < 0 || combineMode > 5)
        return ERROR_INV_PARAMETER;
    // Curves are flattened finely enough that the area changes by far less
    // than a pixel's worth on any ordinary shape.
    constexpr double kTolerance = 0.01;
    return Edit([&](PathGeometry& g) {
        ClipperLib::Paths mine = g.ToClipperPaths(nullptr, kTolerance);
        ClipperLib::Paths theirs = otherPath->geometry_.ToClipperPaths(nullptr, kTolerance);
        size_t vertices = 0;
        for (const ClipperLib::Paths* paths : {&mine, &theirs}) {
            for (const ClipperLib::Path& polygon : *paths)
                vertices += polygon.size();
        }
        if (vertices > kvlimits::kMaxPathAlgebraVertices)
            return ERROR_MAX_ELEMENTS;
        ClipperLib::Paths both = mine;
        both.insert(both.end(), theirs.begin(), theirs.end());
        if (NearbyEdgePairs(both, nullptr, 0, kvlimits::kMaxPathAlgebraNearbyEdges) >
            kvlimits::kMaxPathAlgebraNearbyEdges)
            return ERROR_MAX_ELEMENTS;
        ClipperLib::Paths result =
            CombinePolygons(mine, g.fillMode() == 0, theirs, otherPath->geometry_.fillMode() == 0, combineMode);
        g.AssignPolygons(result, kClipperUnitsPerPixel);
        return SUCCESS;
    });
}

}  // namespace kvdrw::native
