// The basic shapes, taken from their own coordinates to the root's: each
// handler cascades the style into the record, resolves lengths, bakes the
// matrix into the coordinates and sends the record on. A rect, circle or
// ellipse that its matrix would distort becomes a path.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "flatten/paint_and_clip.h"
#include "flatten/shape_geometry.h"
#include "flatten/svg_flattener.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

// This system's handle divisors: a rounded corner's controls lie at the
// radius / 2.19 from the corner, a circle's at the radius / 1.81 from the
// centre-line. They differ on purpose and drawings depend on both.
constexpr double kCornerDivisor = 2.19;
constexpr double kCircleDivisor = 1.81;

// Steps 2 to 7 of every shape: read the record, derive the context, move
// the cascaded style into the record, drop the transform, resolve the
// context's lengths.
template <class Record>
int32_t BeginShape(CSvgContext& parent, ScopedRecord<Record>& record, CSvgContext& context)
{
    if (int32_t status = parent.sourceNode.Read(record); status != SUCCESS)
        return status;
    Record& shape = record.get();
    if (int32_t status = context.Derive(parent, &shape.transform, &shape.style); status != SUCCESS)
        return status;
    context.style.MoveInto(shape.style);
    FreeTransformList(&shape.transform);
    return ResolveContextLengths(context, shape.style);
}

// Steps 11 to 13: paint servers and clip, id dropped, on to the output.
template <class Record>
int32_t FinishShape(CSvgFlattener& flattener, CSvgContext& context, Record& shape, uint32_t type,
                    const CSvgBoundingBox& box)
{
    if (int32_t status = ResolvePaintAndClip(flattener, context, &shape, type, box, nullptr); status != SUCCESS)
        return status;
    FreeTrackedField(reinterpret_cast<void**>(&shape.core.id));
    if (context.mode == FlattenMode::ClipContent && shape.style.clipPath.kind == svgkind::kReferenceUrl)
        return ClipShapeAgainstClip(flattener, context, &shape, type, box);
    return flattener.InsertFlatElement(context, &shape, type, box);
}

// An unset length is 0; the rest resolve along their axis.
double ResolveAxisLength(SvgLength& length, bool vertical, const CSvgContext& context)
{
    if (IsUnsetDouble(length.value)) {
        length = SvgLength{kSvgLengthSize, 0.0, SVG_UNIT_NONE, 0};
        return 0.0;
    }
    ResolveSvgLength(length, vertical, true, context.fontSize, context.viewportWidth, context.viewportHeight);
    return length.value;
}

bool InInstance(const CSvgContext& context)
{
    return context.mode == FlattenMode::InstanceContent;
}

// The points a shape's outline takes, baked or, in instance content, kept
// with the matrix going into the record's transform instead.
class Baker {
public:
    explicit Baker(const CSvgContext& context) : matrix_(context.matrix), bake_(!InInstance(context)) {}
    KvPoint operator()(double x, double y) const { return bake_ ? matrix_.Apply(x, y) : KvPoint{x, y}; }
    KvPoint operator()(KvPoint p) const { return (*this)(p.x, p.y); }

private:
    const SvgMatrix& matrix_;
    bool bake_;
};

// Moves what a path needs from a shape record into a new path record: the
// style, the core and conditional attributes (the id is gone by then).
template <class Record>
void MoveShapeFieldsToPath(Record& shape, SvgPathElement& path)
{
    FreeStyleProp(&path.style);
    std::memcpy(&path.style, &shape.style, sizeof path.style);
    InitStyleProp(&shape.style);
    FreeCoreAttributes(&path.core);
    std::memcpy(&path.core, &shape.core, sizeof path.core);
    InitCoreAttributes(&shape.core);
    FreeConditionalAttributes(&path.conditional);
    std::memcpy(&path.conditional, &shape.conditional, sizeof path.conditional);
    InitConditionalAttributes(&shape.conditional);
}

// The outline of an ellipse as four quarter curves from its left point,
// clockwise on a y-down page.
int32_t EllipseOutline(SvgPathData& data, double cx, double cy, double rx, double ry, const Baker& bake)
{
    const double hx = rx / kCircleDivisor, hy = ry / kCircleDivisor;
    PathBuilder builder;
    if (!builder.Reserve(6))
        return ERROR_NO_MEMORY;
    builder.Move(bake(cx - rx, cy));
    builder.Cubic(bake(cx - rx, cy - hy), bake(cx - hx, cy - ry), bake(cx, cy - ry));
    builder.Cubic(bake(cx + hx, cy - ry), bake(cx + rx, cy - hy), bake(cx + rx, cy));
    builder.Cubic(bake(cx + rx, cy + hy), bake(cx + hx, cy + ry), bake(cx, cy + ry));
    builder.Cubic(bake(cx - hx, cy + ry), bake(cx - rx, cy + hy), bake(cx - rx, cy));
    builder.Close();
    builder.MoveInto(data);
    return SUCCESS;
}

int32_t RectOutline(SvgPathData& data, double x, double y, double w, double h, double rx, double ry,
                    const Baker& bake)
{
    PathBuilder builder;
    if (rx == 0 && ry == 0) {
        if (!builder.Reserve(5))
            return ERROR_NO_MEMORY;
        builder.Move(bake(x, y));
        builder.Line(bake(x + w, y));
        builder.Line(bake(x + w, y + h));
        builder.Line(bake(x, y + h));
        builder.Close();
        builder.MoveInto(data);
        return SUCCESS;
    }
    if (rx == 0)
        rx = ry;
    if (ry == 0)
        ry = rx;
    const double hx = rx / kCornerDivisor, hy = ry / kCornerDivisor;
    const double right = x + w, bottom = y + h;
    if (!builder.Reserve(9))
        return ERROR_NO_MEMORY;
    builder.Move(bake(x, y + ry));
    builder.Cubic(bake(x, y + hy), bake(x + hx, y), bake(x + rx, y));
    builder.Line(bake(right - rx, y));
    builder.Cubic(bake(right - hx, y), bake(right, y + hy), bake(right, y + ry));
    builder.Line(bake(right, bottom - ry));
    builder.Cubic(bake(right, bottom - hy), bake(right - hx, bottom), bake(right - rx, bottom));
    builder.Line(bake(x + rx, bottom));
    builder.Cubic(bake(x + hx, bottom), bake(x, bottom - hy), bake(x, bottom - ry));
    builder.Close();
    builder.MoveInto(data);
    return SUCCESS;
}

// A shape that leaves as a path: outline built, fields moved, on its way.
template <class Record, class Outline>
int32_t FinishAsPath(CSvgFlattener& flattener, CSvgContext& context, Record& shape, const CSvgBoundingBox& box,
                     Outline outline)
{
    ScopedRecord<SvgPathElement> path(SVG_ELEMENT_PATH);
    if (path.status() != SUCCESS)
        return path.status();
    if (int32_t status = outline(path->d); status != SUCCESS)
        return status;
    FreeTrackedField(reinterpret_cast<void**>(&shape.core.id));
    MoveShapeFieldsToPath(shape, path.get());
    if (InInstance(context)) {
        if (int32_t status = SvgMatrixToList(context.matrix, &path->transform); status != SUCCESS)
            return status;
    }
    return FinishShape(flattener, context, path.get(), SVG_ELEMENT_PATH, box);
}

}  // namespace

int32_t FlattenLine(CSvgFlattener& flattener, CSvgContext& parent)
{
    if (flattener.textOnly() && parent.mode == FlattenMode::Normal)
        return SUCCESS;
    ScopedRecord<SvgLineElement> record(SVG_ELEMENT_LINE);
    CSvgContext context;
    if (int32_t status = BeginShape(parent, record, context); status != SUCCESS)
        return status;
    SvgLineElement& line = record.get();
    const double x1 = ResolveAxisLength(line.x1, false, context);
    const double y1 = ResolveAxisLength(line.y1, true, context);
    const double x2 = ResolveAxisLength(line.x2, false, context);
    const double y2 = ResolveAxisLength(line.y2, true, context);
    CSvgBoundingBox box;
    if (InInstance(context)) {
        box.Add(x1, y1);
        box.Add(x2, y2);
        if (int32_t status = SvgMatrixToList(context.matrix, &line.transform); status != SUCCESS)
            return status;
    } else {
        const KvPoint p1 = context.matrix.Apply(x1, y1), p2 = context.matrix.Apply(x2, y2);
        line.x1.value = p1.x;
        line.y1.value = p1.y;
        line.x2.value = p2.x;
        line.y2.value = p2.y;
        ScaleStrokeWidth(context.matrix, line.style);
        box.Add(p1);
        box.Add(p2);
    }
    return FinishShape(flattener, context, line, SVG_ELEMENT_LINE, box);
}

int32_t FlattenPoly(CSvgFlattener& flattener, CSvgContext& parent)
{
    if (flattener.textOnly() && parent.mode == FlattenMode::Normal)
        return SUCCESS;
    const uint32_t type = parent.sourceNode.type();
    ScopedRecord<SvgPolyElement> record(type);
    CSvgContext context;
    if (int32_t status = BeginShape(parent, record, context); status != SUCCESS)
        return status;
    SvgPolyElement& poly = record.get();
    CSvgBoundingBox box;
    for (uint32_t i = 0; i < poly.pointCount; ++i) {
        const KvPoint baked = context.matrix.Apply(poly.points[i].x, poly.points[i].y);
        poly.points[i] = {baked.x, baked.y};
        box.Add(baked);
    }
    ScaleStrokeWidth(context.matrix, poly.style);
    return FinishShape(flattener, context, poly, type, box);
}

int32_t FlattenRect(CSvgFlattener& flattener, CSvgContext& parent)
{
    if (flattener.textOnly() && parent.mode == FlattenMode::Normal)
        return SUCCESS;
    ScopedRecord<SvgRectElement> record(SVG_ELEMENT_RECT);
    CSvgContext context;
    if (int32_t status = BeginShape(parent, record, context); status != SUCCESS)
        return status;
    if (int32_t status = ReadElementMask(flattener, context); status != SUCCESS)
        return status;
    SvgRectElement& rect = record.get();
    const double x = ResolveAxisLength(rect.x, false, context);
    const double y = ResolveAxisLength(rect.y, true, context);
    const double width = ResolveAxisLength(rect.width, false, context);
    const double height = ResolveAxisLength(rect.height, true, context);
    const double rx = ResolveAxisLength(rect.rx, false, context);
    const double ry = ResolveAxisLength(rect.ry, true, context);
    CSvgBoundingBox box;
    box.Add(x, y);
    box.Add(x + width, y + height);
    if (context.maskId) {
        bool maskUsed = false;
        if (int32_t status = ApplyMaskToRect(flattener, context, rect, context.matrix, &maskUsed); status != SUCCESS || maskUsed)
            return status;
    }
    ScaleStrokeWidth(context.matrix, rect.style);

    const SvgMatrix& m = context.matrix;
    if (IsNearZero(m.b) && IsNearZero(m.c) && m.a >= 0 && m.d >= 0 && !InInstance(context)) {
        const KvPoint corner = m.Apply(x, y);
        rect.x.value = corner.x;
        rect.y.value = corner.y;
        rect.width.value = width * m.ScaleX();
        rect.rx.value = rx * m.ScaleX();
        rect.height.value = height * m.ScaleY();
        rect.ry.value = ry * m.ScaleY();
        return FinishShape(flattener, context, rect, SVG_ELEMENT_RECT, box);
    }
    const Baker bake(context);
    return FinishAsPath(flattener, context, rect, box,
                        [&](SvgPathData& d) { return RectOutline(d, x, y, width, height, rx, ry, bake); });
}

int32_t FlattenCircle(CSvgFlattener& flattener, CSvgContext& parent)
{
    if (flattener.textOnly() && parent.mode == FlattenMode::Normal)
        return SUCCESS;
    ScopedRecord<SvgCircleElement> record(SVG_ELEMENT_CIRCLE);
    CSvgContext context;
    if (int32_t status = BeginShape(parent, record, context); status != SUCCESS)
        return status;
    SvgCircleElement& circle = record.get();
    const double cx = ResolveAxisLength(circle.cx, false, context);
    const double cy = ResolveAxisLength(circle.cy, true, context);
    const double r = ResolveAxisLength(circle.r, false, context);
    CSvgBoundingBox box;
    box.Add(cx - r, cy - r);
    box.Add(cx + r, cy + r);
    if (!InInstance(context))
        ScaleStrokeWidth(context.matrix, circle.style);

    const SvgMatrix& m = context.matrix;
    if (IsRotationSvgMatrix(m) && !InInstance(context)) {
        const KvPoint centre = m.Apply(cx, cy);
        circle.cx.value = centre.x;
        circle.cy.value = centre.y;
        circle.r.value = r * m.ScaleX();
        return FinishShape(flattener, context, circle, SVG_ELEMENT_CIRCLE, box);
    }
    const Baker bake(context);
    return FinishAsPath(flattener, context, circle, box,
                        [&](SvgPathData& d) { return EllipseOutline(d, cx, cy, r, r, bake); });
}

int32_t FlattenEllipse(CSvgFlattener& flattener, CSvgContext& parent)
{
    if (flattener.textOnly() && parent.mode == FlattenMode::Normal)
        return SUCCESS;
    ScopedRecord<SvgEllipseElement> record(SVG_ELEMENT_ELLIPSE);
    CSvgContext context;
    if (int32_t status = BeginShape(parent, record, context); status != SUCCESS)
        return status;
    SvgEllipseElement& ellipse = record.get();
    const double cx = ResolveAxisLength(ellipse.cx, false, context);
    const double cy = ResolveAxisLength(ellipse.cy, true, context);
    const double rx = ResolveAxisLength(ellipse.rx, false, context);
    const double ry = ResolveAxisLength(ellipse.ry, true, context);
    CSvgBoundingBox box;
    box.Add(cx - rx, cy - ry);
    box.Add(cx + rx, cy + ry);
    if (!InInstance(context))
        ScaleStrokeWidth(context.matrix, ellipse.style);

    const SvgMatrix& m = context.matrix;
    if (IsAxisAlignedSvgMatrix(m) && !InInstance(context)) {
        const KvPoint centre = m.Apply(cx, cy);
        ellipse.cx.value = centre.x;
        ellipse.cy.value = centre.y;
        ellipse.rx.value = rx * m.ScaleX();
        ellipse.ry.value = ry * m.ScaleY();
        return FinishShape(flattener, context, ellipse, SVG_ELEMENT_ELLIPSE, box);
    }
    const Baker bake(context);
    return FinishAsPath(flattener, context, ellipse, box,
                        [&](SvgPathData& d) { return EllipseOutline(d, cx, cy, rx, ry, bake); });
}

int32_t FlattenPath(CSvgFlattener& flattener, CSvgContext& parent)
{
    if (flattener.textOnly() && parent.mode == FlattenMode::Normal)
        return SUCCESS;
    ScopedRecord<SvgPathElement> record(SVG_ELEMENT_PATH);
    CSvgContext context;
    if (int32_t status = BeginShape(parent, record, context); status != SUCCESS)
        return status;
    SvgPathElement& path = record.get();

    // An outline of zero width with nothing filled would vanish; this
    // system draws it one pixel wide. Paths only, and only in ordinary content.
    SvgLength& strokeWidth = path.style.paint.stroke.width;
    if (context.mode == FlattenMode::Normal && path.style.paint.fill.paint.kind == svgkind::kPaintNone &&
        !IsUnsetDouble(strokeWidth.value) && strokeWidth.value == 0)
        strokeWidth.value = 1.0;

    CSvgBoundingBox box;
    const bool instance = InInstance(context);
    if (int32_t status = BakePathData(path.d, context.matrix, instance, box); status != SUCCESS)
        return status;
    if (instance) {
        if (int32_t status = SvgMatrixToList(context.matrix, &path.transform); status != SUCCESS)
            return status;
    } else {
        ScaleStrokeWidth(context.matrix, path.style);
    }

    if (context.maskId) {
        // Only a path that is a rectangle can take a mask; any other keeps
        // its outline and loses the mask.
        ScopedRecord<SvgRectElement> rect(SVG_ELEMENT_RECT);
        if (rect.status() != SUCCESS)
            return rect.status();
        if (IsRectanglePath(context.matrix, path.d) && RectFromPath(path, rect.get()) == SUCCESS) {
            bool maskUsed = false;
            if (int32_t status = ApplyMaskToRect(flattener, context, rect.get(), SvgMatrix{}, &maskUsed);
                status != SUCCESS || maskUsed)
                return status;
        }
    }
    return FinishShape(flattener, context, path, SVG_ELEMENT_PATH, box);
}
