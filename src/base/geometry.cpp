#include "base/geometry.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

double DegreesToRadians(double degrees) { return degrees * (std::numbers::pi / 180.0); }

// Sine and cosine of a whole multiple of 90 degrees come out exact, so that a
// quarter turn leaves no 6e-17 in m11 for IsNearZero tests to trip over.
void ExactSinCos(double angleDegrees, double& sine, double& cosine)
{
    double turns = angleDegrees / 90.0;
    if (std::isfinite(turns) && turns == std::floor(turns)) {
        long quarter = static_cast<long>(std::fmod(turns, 4.0));
        if (quarter < 0)
            quarter += 4;
        static constexpr double kSine[4] = {0.0, 1.0, 0.0, -1.0};
        static constexpr double kCosine[4] = {1.0, 0.0, -1.0, 0.0};
        sine = kSine[quarter];
        cosine = kCosine[quarter];
        return;
    }
    double radians = DegreesToRadians(angleDegrees);
    sine = std::sin(radians);
    cosine = std::cos(radians);
}

KvPoint Apply(const KvMatrix& m, double x, double y)
{
    return {x * m.m11 + y * m.m21 + m.dx, x * m.m12 + y * m.m22 + m.dy};
}

}  // namespace

// ---- Rectangles ----------------------------------------------------------------

bool RectIsEmpty(const KvRectangle& rectangle)
{
    return !(rectangle.width > 0.0) || !(rectangle.height > 0.0);
}

void RectSetEmpty(KvRectangle& rectangle) { rectangle = KvRectangle{0.0, 0.0, 0.0, 0.0}; }

bool RectIntersects(const KvRectangle& a, const KvRectangle& b, KvRectangle* intersection)
{
    KvRectangle overlap{};
    bool overlaps = false;
    if (!RectIsEmpty(a) && !RectIsEmpty(b)) {
        double left = std::max(a.x, b.x);
        double top = std::max(a.y, b.y);
        double right = std::min(a.x + a.width, b.x + b.width);
        double bottom = std::min(a.y + a.height, b.y + b.height);
        if (right > left && bottom > top) {
            overlap = KvRectangle{left, top, right - left, bottom - top};
            overlaps = true;
        }
    }
    if (intersection)
        *intersection = overlap;
    return overlaps;
}

KvRectangle RectUnion(const KvRectangle& a, const KvRectangle& b)
{
    bool aEmpty = RectIsEmpty(a);
    bool bEmpty = RectIsEmpty(b);
    if (aEmpty && bEmpty)
        return KvRectangle{};
    if (aEmpty)
        return b;
    if (bEmpty)
        return a;
    double left = std::min(a.x, b.x);
    double top = std::min(a.y, b.y);
    double right = std::max(a.x + a.width, b.x + b.width);
    double bottom = std::max(a.y + a.height, b.y + b.height);
    return KvRectangle{left, top, right - left, bottom - top};
}

KvRectangle RectFromEdges(double left, double top, double right, double bottom)
{
    return KvRectangle{left, top, right - left, bottom - top};
}

KvPoint RectTopLeft(const KvRectangle& rectangle) { return {rectangle.x, rectangle.y}; }

KvPoint RectBottomRight(const KvRectangle& rectangle)
{
    return {rectangle.x + rectangle.width, rectangle.y + rectangle.height};
}

KvRectangle RectTransform(const KvRectangle& rectangle, const KvMatrix& matrix)
{
    const KvPoint corners[4] = {
        Apply(matrix, rectangle.x, rectangle.y),
        Apply(matrix, rectangle.x + rectangle.width, rectangle.y),
        Apply(matrix, rectangle.x, rectangle.y + rectangle.height),
        Apply(matrix, rectangle.x + rectangle.width, rectangle.y + rectangle.height),
    };
    double left = corners[0].x, right = corners[0].x, top = corners[0].y, bottom = corners[0].y;
    for (const KvPoint& corner : corners) {
        left = std::min(left, corner.x);
        right = std::max(right, corner.x);
        top = std::min(top, corner.y);
        bottom = std::max(bottom, corner.y);
    }
    return KvRectangle{left, top, right - left, bottom - top};
}

KvRectangle RectTransformAxisAligned(const KvRectangle& rectangle, const KvMatrix& matrix)
{
    double x1 = rectangle.x * matrix.m11 + matrix.dx;
    double x2 = (rectangle.x + rectangle.width) * matrix.m11 + matrix.dx;
    double y1 = rectangle.y * matrix.m22 + matrix.dy;
    double y2 = (rectangle.y + rectangle.height) * matrix.m22 + matrix.dy;
    return KvRectangle{std::min(x1, x2), std::min(y1, y2), std::fabs(x2 - x1), std::fabs(y2 - y1)};
}

// ---- Matrices ----------------------------------------------------------------

void MatrixClassify(KvMatrix& matrix)
{
    uint64_t kind = KV_MATRIX_CLASSIFIED;
    if (matrix.dx != 0.0 || matrix.dy != 0.0)
        kind |= KV_MATRIX_TRANSLATES;
    if (matrix.m11 != 1.0 || matrix.m22 != 1.0)
        kind |= KV_MATRIX_SCALES;
    if (matrix.m12 != 0.0 || matrix.m21 != 0.0)
        kind |= KV_MATRIX_SHEARS;
    matrix.kind = kind;
}

KvMatrix MatrixIdentity() { return MatrixSet(1.0, 0.0, 0.0, 1.0, 0.0, 0.0); }

KvMatrix MatrixSet(double m11, double m12, double m21, double m22, double dx, double dy)
{
    KvMatrix matrix{m11, m12, m21, m22, dx, dy, 0};
    MatrixClassify(matrix);
    return matrix;
}

bool MatrixIsIdentity(const KvMatrix& matrix)
{
    return matrix.m11 == 1.0 && matrix.m12 == 0.0 && matrix.m21 == 0.0 && matrix.m22 == 1.0 && matrix.dx == 0.0 &&
           matrix.dy == 0.0;
}

KvMatrix MatrixMultiply(const KvMatrix& first, const KvMatrix& second)
{
    const KvMatrix& a = first;
    const KvMatrix& b = second;
    return MatrixSet(a.m11 * b.m11 + a.m12 * b.m21, a.m11 * b.m12 + a.m12 * b.m22,
                     a.m21 * b.m11 + a.m22 * b.m21, a.m21 * b.m12 + a.m22 * b.m22,
                     a.dx * b.m11 + a.dy * b.m21 + b.dx, a.dx * b.m12 + a.dy * b.m22 + b.dy);
}

void MatrixPrepend(KvMatrix& matrix, const KvMatrix& outer) { matrix = MatrixMultiply(matrix, outer); }

void MatrixTranslate(KvMatrix& matrix, double dx, double dy)
{
    MatrixPrepend(matrix, MatrixSet(1.0, 0.0, 0.0, 1.0, dx, dy));
}

void MatrixScale(KvMatrix& matrix, double sx, double sy)
{
    MatrixPrepend(matrix, MatrixSet(sx, 0.0, 0.0, sy, 0.0, 0.0));
}

void MatrixRotate(KvMatrix& matrix, double angleDegrees)
{
    double sine = 0.0, cosine = 1.0;
    ExactSinCos(angleDegrees, sine, cosine);
    MatrixPrepend(matrix, MatrixSet(cosine, sine, -sine, cosine, 0.0, 0.0));
}

void MatrixRotateAt(KvMatrix& matrix, double angleDegrees, double cx, double cy)
{
    MatrixTranslate(matrix, -cx, -cy);
    MatrixRotate(matrix, angleDegrees);
    MatrixTranslate(matrix, cx, cy);
}

void MatrixScaleAt(KvMatrix& matrix, double sx, double sy, double cx, double cy)
{
    MatrixTranslate(matrix, -cx, -cy);
    MatrixScale(matrix, sx, sy);
    MatrixTranslate(matrix, cx, cy);
}

void MatrixSkew(KvMatrix& matrix, double angleXDegrees, double angleYDegrees)
{
    double shearX = std::tan(DegreesToRadians(angleXDegrees));
    double shearY = std::tan(DegreesToRadians(angleYDegrees));
    MatrixPrepend(matrix, MatrixSet(1.0, shearY, shearX, 1.0, 0.0, 0.0));
}

namespace {

bool ComputeInverse(const KvMatrix& m, KvMatrix& inverse)
{
    double determinant = m.m11 * m.m22 - m.m12 * m.m21;
    if (determinant == 0.0 || !std::isfinite(determinant))
        return false;
    double m11 = m.m22 / determinant;
    double m12 = -m.m12 / determinant;
    double m21 = -m.m21 / determinant;
    double m22 = m.m11 / determinant;
    double dx = -(m.dx * m11 + m.dy * m21);
    double dy = -(m.dx * m12 + m.dy * m22);
    for (double value : {m11, m12, m21, m22, dx, dy})
        if (!std::isfinite(value))
            return false;
    inverse = MatrixSet(m11, m12, m21, m22, dx, dy);
    return true;
}

}  // namespace

bool MatrixIsInvertible(const KvMatrix& matrix)
{
    KvMatrix inverse{};
    return ComputeInverse(matrix, inverse);
}

bool MatrixInvert(KvMatrix& matrix)
{
    KvMatrix inverse{};
    if (!ComputeInverse(matrix, inverse))
        return false;
    matrix = inverse;
    return true;
}

void MatrixTransformPoints(const KvMatrix& matrix, KvPoint* points, size_t count)
{
    if (!points)
        return;
    for (size_t i = 0; i < count; ++i)
        points[i] = Apply(matrix, points[i].x, points[i].y);
}

void MatrixGetScale(const KvMatrix& matrix, double& scaleX, double& scaleY)
{
    scaleX = std::hypot(matrix.m11, matrix.m12);
    scaleY = std::hypot(matrix.m21, matrix.m22);
}

// ---- View perspective -----------------------------------------------------------

bool DecodeViewPerspective(uint32_t viewPerspective, int32_t& rotationDegrees, bool& flip)
{
    struct Decoded {
        int32_t rotation;
        bool flip;
    };
    // Index 0 is unused: perspectives count from 1.
    static constexpr Decoded kTable[9] = {
        {0, false},   {0, false},  {180, true}, {180, false}, {0, true},
        {90, true},   {90, false}, {270, true}, {270, false},
    };
    if (viewPerspective < 1 || viewPerspective > 8)
        return false;
    rotationDegrees = kTable[viewPerspective].rotation;
    flip = kTable[viewPerspective].flip;
    return true;
}

// ---- Arcs ------------------------------------------------------------------------

void UnitArcPiece(double t1, double t2, double handle, KvPoint out[3])
{
    const double cos1 = std::cos(t1), sin1 = std::sin(t1);
    const double cos2 = std::cos(t2), sin2 = std::sin(t2);
    out[0] = {cos1 - handle * sin1, sin1 + handle * cos1};
    out[1] = {cos2 + handle * sin2, sin2 - handle * cos2};
    out[2] = {cos2, sin2};
}
