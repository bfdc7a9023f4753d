// Rectangle and matrix algebra on the shared value types of kvgeometry.h, and
// the decoding of a bitmap's view perspective. Plain 2-D affine algebra: the
// callers decide what an empty rectangle or a singular matrix means to them.
//
// Matrices use row vectors: a point maps to
//   (x * m11 + y * m21 + dx,  x * m12 + y * m22 + dy).
// Every operation that adds a step (translate, scale, rotate, skew, prepend)
// makes that step act AFTER what the matrix already does. Building a matrix
// from identity by Translate(-c), Scale(s), Translate(c) therefore scales
// about c, and walking a transform list from its last item to its first
// leaves the first item outermost, as the list's text means.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvgeometry.h"

// ---- Rectangles -------------------------------------------------------------

// Width or height not above zero (a NaN counts as not above zero).
bool RectIsEmpty(const KvRectangle& rectangle);
void RectSetEmpty(KvRectangle& rectangle);  // all four numbers zero

// True when the two overlap with a non-empty area. The overlap goes to
// `intersection` when given, an all-zero rectangle when there is none.
// Touching edges do not overlap.
bool RectIntersects(const KvRectangle& a, const KvRectangle& b, KvRectangle* intersection = nullptr);

// The smallest rectangle holding both. An empty rectangle adds nothing; two
// empty ones give an all-zero rectangle.
KvRectangle RectUnion(const KvRectangle& a, const KvRectangle& b);

// Width is right - left and height bottom - top, as given: edges in the wrong
// order make an empty rectangle, not a turned-round one.
KvRectangle RectFromEdges(double left, double top, double right, double bottom);
KvPoint RectTopLeft(const KvRectangle& rectangle);
KvPoint RectBottomRight(const KvRectangle& rectangle);

// The axis-parallel bounds of the four corners under the matrix: exact for
// any matrix, a rotated rectangle grows to its bounding box.
KvRectangle RectTransform(const KvRectangle& rectangle, const KvMatrix& matrix);

// For matrices that keep axes parallel (m12 and m21 near zero): maps the two
// opposite corners with m11, m22, dx and dy only, ignoring m12 and m21, and
// puts the result the right way round, so a mirroring matrix still gives a
// positive width and height. Cheaper than RectTransform and free of the
// rounding a near-zero rotation would add.
KvRectangle RectTransformAxisAligned(const KvRectangle& rectangle, const KvMatrix& matrix);

// ---- Matrices ----------------------------------------------------------------

KvMatrix MatrixIdentity();
KvMatrix MatrixSet(double m11, double m12, double m21, double m22, double dx, double dy);
// Recomputes the kind word from the six numbers, for a matrix filled in by hand.
void MatrixClassify(KvMatrix& matrix);
bool MatrixIsIdentity(const KvMatrix& matrix);  // exact comparison of the six numbers

// The matrix that does `first`, then `second`.
KvMatrix MatrixMultiply(const KvMatrix& first, const KvMatrix& second);
// `matrix` becomes: what it did, then `outer`. The name follows the product
// written with column vectors, where `outer` stands in front: outer x matrix.
void MatrixPrepend(KvMatrix& matrix, const KvMatrix& outer);

void MatrixTranslate(KvMatrix& matrix, double dx, double dy);
void MatrixScale(KvMatrix& matrix, double sx, double sy);
// Degrees; positive turns x towards y, which is clockwise on a y-down page.
void MatrixRotate(KvMatrix& matrix, double angleDegrees);
void MatrixRotateAt(KvMatrix& matrix, double angleDegrees, double cx, double cy);
void MatrixScaleAt(KvMatrix& matrix, double sx, double sy, double cx, double cy);
// Degrees: a skew along x of angle a moves x by y * tan(a); along y of b
// moves y by x * tan(b).
void MatrixSkew(KvMatrix& matrix, double angleXDegrees, double angleYDegrees);

// A matrix is invertible when its determinant is not zero and the inverse
// comes out finite.
bool MatrixIsInvertible(const KvMatrix& matrix);
// False, and the matrix unchanged, when it has no inverse.
bool MatrixInvert(KvMatrix& matrix);
void MatrixTransformPoints(const KvMatrix& matrix, KvPoint* points, size_t count);
// How much the matrix stretches a unit step along x and along y: the lengths
// of the images of (1, 0) and (0, 1), translation ignored.
void MatrixGetScale(const KvMatrix& matrix, double& scaleX, double& scaleY);

// ---- View perspective -----------------------------------------------------------

// A view perspective 1 to 8 tells where a bitmap's first row and column lie
// (1 top-left, 2 top-right, 3 bottom-right, 4 bottom-left, 5 left-top,
// 6 right-top, 7 right-bottom, 8 left-bottom). To show the stored pixels the
// right way up, mirror them top to bottom when `flip` is set, then turn them
// clockwise by `rotationDegrees` (0, 90, 180 or 270).
// False, and the outputs untouched, for any other value.
bool DecodeViewPerspective(uint32_t viewPerspective, int32_t& rotationDegrees, bool& flip);

// ---- Arcs ------------------------------------------------------------------------

// One piece of the unit circle from angle t1 to t2 (radians) as a cubic
// curve whose controls lie along the tangents at `handle` times the radius:
// out[0] and out[1] the controls, out[2] the end. Callers scale, turn and
// place it; the handle length is theirs to choose, which is why the drawing
// engine and the SVG path code can share the piece and still differ there.
void UnitArcPiece(double t1, double t2, double handle, KvPoint out[3]);
