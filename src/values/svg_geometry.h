// Geometry of SVG values that the flattener and the renderer share, written
// once: transform lists to matrices and back, lengths to pixels, elliptical
// arcs to cubic curves, and the extents of curves and arcs. Everything here
// is plain arithmetic on value records; nothing touches a tree.
//
// Matrices carry the six numbers of the SVG matrix(a b c d e f): a point
// maps to (a x + c y + e, b x + d y + f). Products snap tiny results to zero
// so that later comparisons treat a rounding residue as none.
#pragma once

#include <cstdint>

#include "kvsvg/kvgeometry.h"
#include "kvsvg/kvsvg.h"

struct SvgMatrix {
    double a = 1, b = 0, c = 0, d = 1, e = 0, f = 0;

    KvPoint Apply(double x, double y) const { return {a * x + c * y + e, b * x + d * y + f}; }
    // Length of the first column, sqrt(a^2 + c^2): how this system scales a
    // horizontal length (and stroke widths) under the matrix.
    double ScaleX() const;
    // sqrt(b^2 + d^2): how a vertical length scales.
    double ScaleY() const;
    KvMatrix ToKvMatrix() const;
};

// Tolerance of matrix and angle comparisons.
constexpr double kSvgMatrixTolerance = 1e-5;

// left x right, each of the six results snapped to exactly 0 when its size
// is below the tolerance or it is not a number.
SvgMatrix MultiplySvgMatrix(const SvgMatrix& left, const SvgMatrix& right);
bool IsIdentitySvgMatrix(const SvgMatrix& matrix);
// The six numbers agree within the tolerance.
bool SvgMatricesEqual(const SvgMatrix& first, const SvgMatrix& second);
// b and c are both near zero: axes stay parallel to themselves.
bool IsAxisAlignedSvgMatrix(const SvgMatrix& matrix);
// b near -c and a near d: a rotation with uniform scale, or none at all.
bool IsRotationSvgMatrix(const SvgMatrix& matrix);

// One transform entry as a matrix. Unset numbers take their defaults;
// rotate and skewX by an unset or zero angle are the identity.
SvgMatrix SvgMatrixFromTransform(const SvgTransform& transform);
// The list folded first to last, each entry multiplied on the right. An
// empty or null list gives the identity.
SvgMatrix SvgMatrixFromList(const SvgTransformList* list);
// Replaces the list: empty for the identity, otherwise one matrix entry.
// ERROR_NO_MEMORY leaves the list empty.
int32_t SvgMatrixToList(const SvgMatrix& matrix, SvgTransformList* list);

// The resolution that physical units (in, cm, mm, pt, pc) are measured
// against. There is no screen to ask on a server, so it is the fixed
// 96 dots per inch of CSS.
int32_t SvgSystemDpi(bool vertical);

// Turns a length into pixels in place; afterwards unit and percent are 0.
// A percentage takes the viewport's height (vertical) or width when useAxis
// is set, otherwise the viewport's diagonal divided by sqrt(2). em takes
// fontSizePx, or dpi * 12 / 72 when that is below 1; ex takes half of
// fontSizePx, unguarded.
void ResolveSvgLength(SvgLength& length, bool vertical, bool useAxis, int32_t fontSizePx, int32_t viewportWidth,
                      int32_t viewportHeight);

// ---- Arcs and curves ---------------------------------------------------------

// One cubic piece: two control points and the end point.
struct SvgCubicPiece {
    KvPoint control1, control2, end;
};

// An arc never sweeps more than a full turn and every piece spans at most
// a quarter, so four pieces always suffice.
constexpr int kMaxArcPieces = 4;

// The arc from `start` as the path command `arc` describes it (absolute end
// point), in cubic pieces. Returns the number of pieces, 1 to 4. Radii too
// small for the end points grow to fit. An arc with a zero radius or with
// its end on its start, which has no ellipse, gives one straight piece to
// the end point.
int SvgArcToCubicPieces(KvPoint start, const SvgPathArc& arc, SvgCubicPiece pieces[kMaxArcPieces]);

// Bounds grown point by point; a new one holds the largest double as
// minimum and the most negative as maximum, so it takes any first point.
struct SvgExtent {
    double xMin = 1.7976931348623157e308;
    double xMax = -1.7976931348623157e308;
    double yMin = 1.7976931348623157e308;
    double yMax = -1.7976931348623157e308;

    void Add(double x, double y);
    void Add(KvPoint point) { Add(point.x, point.y); }
    bool IsEmpty() const { return xMin > xMax || yMin > yMax; }
};

// The end points and the extremes of the curve between them.
void ExpandCubicExtent(SvgExtent& extent, KvPoint p0, KvPoint p1, KvPoint p2, KvPoint p3);
// The same for each cubic piece of the arc from `start`; the arc is not changed.
void ExpandArcExtent(SvgExtent& extent, KvPoint start, const SvgPathArc& arc);
