#include "values/svg_geometry.h"

#include <algorithm>
#include <cmath>

#include "base/geometry.h"
#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "values/value_records.h"

namespace {

constexpr double kRadiansPerDegree = 0.017453292519943295;
constexpr double kQuarterTurn = 1.5707963267948966;

double Snap(double value)
{
    return (std::isnan(value) || std::fabs(value) < kSvgMatrixTolerance) ? 0.0 : value;
}

bool Near(double value, double target)
{
    return std::fabs(value - target) < kSvgMatrixTolerance;
}

double OrDefault(double value, double fallback)
{
    return IsUnsetDouble(value) ? fallback : value;
}

// A sine, cosine or tangent that is zero within the base tolerance is zero,
// which keeps rotate(90) free of a 6e-17 residue.
double Clean(double value)
{
    return IsNearZero(value) ? 0.0 : value;
}

// The angle of (ux, uy) to (vx, vy), signed as the standard's arc conversion wants.
double VectorAngle(double ux, double uy, double vx, double vy)
{
    const double dot = ux * vx + uy * vy;
    const double length = std::sqrt((ux * ux + uy * uy) * (vx * vx + vy * vy));
    double angle = std::acos(std::clamp(dot / length, -1.0, 1.0));
    if (ux * vy - uy * vx < 0)
        angle = -angle;
    return angle;
}

double Bernstein(double t, double p0, double p1, double p2, double p3)
{
    const double u = 1 - t;
    return u * u * u * p0 + 3 * u * u * t * p1 + 3 * u * t * t * p2 + t * t * t * p3;
}

// The extremes of one coordinate of a cubic: roots of the derivative
// strictly inside (0, 1).
template <class AddValue>
void CubicExtremes(double p0, double p1, double p2, double p3, AddValue add)
{
    const double a = 9 * p1 - 3 * p0 - 9 * p2 + 3 * p3;
    const double b = 6 * p0 - 12 * p1 + 6 * p2;
    const double c = 3 * p1 - 3 * p0;
    auto take = [&](double t) {
        if (t > 0 && t < 1)
            add(Bernstein(t, p0, p1, p2, p3));
    };
    if (a != 0) {
        const double discriminant = b * b - 4 * a * c;
        if (discriminant >= 0) {
            const double root = std::sqrt(discriminant);
            take((-b + root) / (2 * a));
            take((-b - root) / (2 * a));
        }
    } else if (b != 0) {
        take(-c / b);
    }
}

}  // namespace

// ---- Matrices ----------------------------------------------------------------------

double SvgMatrix::ScaleX() const { return std::sqrt(a * a + c * c); }
double SvgMatrix::ScaleY() const { return std::sqrt(b * b + d * d); }

KvMatrix SvgMatrix::ToKvMatrix() const
{
    return MatrixSet(a, b, c, d, e, f);
}

SvgMatrix MultiplySvgMatrix(const SvgMatrix& l, const SvgMatrix& r)
{
    SvgMatrix product;
    product.a = Snap(l.a * r.a + l.c * r.b);
    product.b = Snap(l.b * r.a + l.d * r.b);
    product.c = Snap(l.a * r.c + l.c * r.d);
    product.d = Snap(l.b * r.c + l.d * r.d);
    product.e = Snap(l.a * r.e + l.c * r.f + l.e);
    product.f = Snap(l.b * r.e + l.d * r.f + l.f);
    return product;
}

bool IsIdentitySvgMatrix(const SvgMatrix& m)
{
    return Near(m.a, 1) && Near(m.b, 0) && Near(m.c, 0) && Near(m.d, 1) && Near(m.e, 0) && Near(m.f, 0);
}

bool SvgMatricesEqual(const SvgMatrix& x, const SvgMatrix& y)
{
    return Near(x.a, y.a) && Near(x.b, y.b) && Near(x.c, y.c) && Near(x.d, y.d) && Near(x.e, y.e) && Near(x.f, y.f);
}

bool IsAxisAlignedSvgMatrix(const SvgMatrix& m)
{
    return Near(m.b, 0) && Near(m.c, 0);
}

bool IsRotationSvgMatrix(const SvgMatrix& m)
{
    return Near(m.b, -m.c) && Near(m.a, m.d);
}

SvgMatrix SvgMatrixFromTransform(const SvgTransform& t)
{
    SvgMatrix m;
    switch (t.type) {
    case SVG_TRANSFORM_TRANSLATE:
        m.e = OrDefault(t.a, 0);
        m.f = OrDefault(t.b, 0);
        break;
    case SVG_TRANSFORM_SCALE:
        m.a = OrDefault(t.a, 1);
        m.d = OrDefault(t.b, m.a);
        break;
    case SVG_TRANSFORM_ROTATE: {
        const double angle = OrDefault(t.a, 0);
        if (angle == 0)
            break;
        const double radians = angle * kRadiansPerDegree;
        const double cosine = Clean(std::cos(radians)), sine = Clean(std::sin(radians));
        const SvgMatrix rotation{cosine, sine, -sine, cosine, 0, 0};
        const double cx = OrDefault(t.b, 0), cy = OrDefault(t.c, 0);
        if (cx == 0 && cy == 0)
            return rotation;
        const SvgMatrix there{1, 0, 0, 1, cx, cy}, back{1, 0, 0, 1, -cx, -cy};
        return MultiplySvgMatrix(MultiplySvgMatrix(there, rotation), back);
    }
    case SVG_TRANSFORM_SKEWX: {
        const double angle = OrDefault(t.a, 0);
        if (angle != 0)
            m.c = Clean(std::tan(angle * kRadiansPerDegree));
        break;
    }
    case SVG_TRANSFORM_SKEWY:
        m.b = Clean(std::tan(OrDefault(t.a, 0) * kRadiansPerDegree));
        break;
    case SVG_TRANSFORM_MATRIX: {
        // Unset numbers of a short matrix() count as 0, which is what a
        // reader that stopped early would have left.
        const double values[6] = {t.a, t.b, t.c, t.d, t.e, t.f};
        double* out[6] = {&m.a, &m.b, &m.c, &m.d, &m.e, &m.f};
        for (int i = 0; i < 6; ++i) {
            const double v = OrDefault(values[i], 0);
            *out[i] = std::fabs(v) < kSvgMatrixTolerance ? 0.0 : v;
        }
        break;
    }
    default:
        break;
    }
    return m;
}

SvgMatrix SvgMatrixFromList(const SvgTransformList* list)
{
    SvgMatrix m;
    if (!list || !list->items)
        return m;
    for (uint32_t i = 0; i < list->count; ++i)
        m = MultiplySvgMatrix(m, SvgMatrixFromTransform(list->items[i]));
    return m;
}

int32_t SvgMatrixToList(const SvgMatrix& matrix, SvgTransformList* list)
{
    FreeTrackedField(reinterpret_cast<void**>(&list->items));
    list->count = 0;
    if (IsIdentitySvgMatrix(matrix))
        return SUCCESS;
    auto* item = static_cast<SvgTransform*>(KV_ALLOC_ZERO(1, sizeof(SvgTransform)));
    if (!item)
        return ERROR_NO_MEMORY;
    item->size = kSvgTransformSize;
    item->type = SVG_TRANSFORM_MATRIX;
    item->a = matrix.a;
    item->b = matrix.b;
    item->c = matrix.c;
    item->d = matrix.d;
    item->e = matrix.e;
    item->f = matrix.f;
    list->items = item;
    list->count = 1;
    return SUCCESS;
}

// ---- Lengths ------------------------------------------------------------------------

int32_t SvgSystemDpi(bool)
{
    return 96;
}

void ResolveSvgLength(SvgLength& length, bool vertical, bool useAxis, int32_t fontSizePx, int32_t viewportWidth,
                      int32_t viewportHeight)
{
    int32_t dpi = SvgSystemDpi(vertical);
    if (dpi < 1)
        dpi = 96;
    const double value = length.value;
    double px = value;
    if (length.percent == 1) {
        const double width = viewportWidth, height = viewportHeight;
        if (useAxis)
            px = value * (vertical ? height : width) / 100.0;
        else
            px = value * std::sqrt(width * width + height * height) / 100.0 / std::sqrt(2.0);
    } else {
        switch (length.unit) {
        case SVG_UNIT_IN:
            px = value * dpi;
            break;
        case SVG_UNIT_EM:
            px = value * (fontSizePx < 1 ? double(dpi * 12 / 72) : double(fontSizePx));
            break;
        case SVG_UNIT_EX:
            px = value * fontSizePx * 0.5;
            break;
        case SVG_UNIT_PC:
            px = value * 12.0 * dpi / 72.0;
            break;
        case SVG_UNIT_PT:
            px = value * dpi / 72.0;
            break;
        case SVG_UNIT_CM:
            px = value / 2.54 * dpi;
            break;
        case SVG_UNIT_MM:
            px = value / 25.4 * dpi;
            break;
        default:
            break;
        }
    }
    length.value = px;
    length.unit = SVG_UNIT_NONE;
    length.percent = 0;
}

// ---- Arcs and curves ------------------------------------------------------------------

int SvgArcToCubicPieces(KvPoint start, const SvgPathArc& arc, SvgCubicPiece pieces[kMaxArcPieces])
{
    const double x2 = arc.x, y2 = arc.y;
    double rx = std::fabs(arc.rx), ry = std::fabs(arc.ry);
    if (!(rx > 0) || !(ry > 0) || (start.x == x2 && start.y == y2) || !std::isfinite(rx) || !std::isfinite(ry)) {
        pieces[0] = {start, {x2, y2}, {x2, y2}};
        return 1;
    }
    const double phi = OrDefault(arc.rotationDegrees, 0) * 6.283185307179586 / 360.0;
    const double cosPhi = std::cos(phi), sinPhi = std::sin(phi);
    const double dx2 = (start.x - x2) / 2, dy2 = (start.y - y2) / 2;
    const double x1p = cosPhi * dx2 + sinPhi * dy2;
    const double y1p = -sinPhi * dx2 + cosPhi * dy2;
    const double lambda = (x1p * x1p) / (rx * rx) + (y1p * y1p) / (ry * ry);
    if (lambda > 1) {
        const double grow = std::sqrt(lambda);
        rx *= grow;
        ry *= grow;
    }
    const double rx2 = rx * rx, ry2 = ry * ry;
    double numerator = rx2 * ry2 - rx2 * y1p * y1p - ry2 * x1p * x1p;
    const double denominator = rx2 * y1p * y1p + ry2 * x1p * x1p;
    if (numerator < 0)
        numerator = 0;
    double coefficient = std::sqrt(numerator / denominator);
    const bool largeArc = arc.largeArc == 1, sweep = arc.sweep == 1;
    if (largeArc == sweep)
        coefficient = -coefficient;
    const double cxp = coefficient * rx * y1p / ry;
    const double cyp = -coefficient * ry * x1p / rx;
    const double cx = cosPhi * cxp - sinPhi * cyp + (start.x + x2) / 2;
    const double cy = sinPhi * cxp + cosPhi * cyp + (start.y + y2) / 2;
    const double ux = (x1p - cxp) / rx, uy = (y1p - cyp) / ry;
    const double vx = (-x1p - cxp) / rx, vy = (-y1p - cyp) / ry;
    const double theta = VectorAngle(1, 0, ux, uy);
    double delta = VectorAngle(ux, uy, vx, vy);
    if (!sweep && delta > 0)
        delta -= 2 * 3.141592653589793;
    else if (sweep && delta < 0)
        delta += 2 * 3.141592653589793;

    int count = static_cast<int>(std::ceil(std::fabs(delta) / kQuarterTurn));
    count = std::clamp(count, 1, kMaxArcPieces);
    const double step = delta / count;
    // The handle length of this system's arcs: an arc tangent where the
    // usual construction has a tangent. At a quarter turn the two differ by
    // under two percent, and paths written before keep their shape.
    const double handle = std::atan(step * 0.25) * 1.3333333333333333;
    auto place = [&](KvPoint unit) {
        const double x = unit.x * rx, y = unit.y * ry;
        return KvPoint{cosPhi * x - sinPhi * y + cx, sinPhi * x + cosPhi * y + cy};
    };
    double t = theta;
    for (int i = 0; i < count; ++i) {
        KvPoint unit[3];
        UnitArcPiece(t, t + step, handle, unit);
        pieces[i] = {place(unit[0]), place(unit[1]), place(unit[2])};
        t += step;
    }
    // The last end point is the command's own, free of rounding.
    pieces[count - 1].end = {x2, y2};
    return count;
}

void SvgExtent::Add(double x, double y)
{
    xMin = std::min(xMin, x);
    xMax = std::max(xMax, x);
    yMin = std::min(yMin, y);
    yMax = std::max(yMax, y);
}

void ExpandCubicExtent(SvgExtent& extent, KvPoint p0, KvPoint p1, KvPoint p2, KvPoint p3)
{
    extent.Add(p0);
    extent.Add(p3);
    CubicExtremes(p0.x, p1.x, p2.x, p3.x, [&](double x) {
        extent.xMin = std::min(extent.xMin, x);
        extent.xMax = std::max(extent.xMax, x);
    });
    CubicExtremes(p0.y, p1.y, p2.y, p3.y, [&](double y) {
        extent.yMin = std::min(extent.yMin, y);
        extent.yMax = std::max(extent.yMax, y);
    });
}

void ExpandArcExtent(SvgExtent& extent, KvPoint start, const SvgPathArc& arc)
{
    SvgCubicPiece pieces[kMaxArcPieces];
    const int count = SvgArcToCubicPieces(start, arc, pieces);
    KvPoint from = start;
    for (int i = 0; i < count; ++i) {
        ExpandCubicExtent(extent, from, pieces[i].control1, pieces[i].control2, pieces[i].end);
        from = pieces[i].end;
    }
}
