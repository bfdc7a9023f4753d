/* kvsvg: the plain value types of geometry and colour shared by the public
 * headers, the base library's rectangle and matrix algebra and the drawing
 * engines. Plain C structs, so that a C caller and the C++ interfaces of the
 * drawing engines pass the very same records. C11 and C++. */
#ifndef KVSVG_KVGEOMETRY_H
#define KVSVG_KVGEOMETRY_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct KvPoint {
    double x, y;
} KvPoint;

/* Empty when width or height is not above zero. */
typedef struct KvRectangle {
    double x, y, width, height;
} KvRectangle;

/* A 2-D affine matrix. A point (x, y) maps to
 *   (x * m11 + y * m21 + dx,  x * m12 + y * m22 + dy).
 * A caller clears the whole record to zero before use; all zero means "no
 * matrix" to the renderer, which is why kind 0 is not the identity.
 *
 * kind is written by every base library operation that makes or changes a
 * matrix, and tells a reader which fast path is safe:
 *   0                      not classified (cleared, or filled in by hand):
 *                          a reader must look at the six numbers
 *   KV_MATRIX_CLASSIFIED   the bits below are up to date; alone, identity
 *   KV_MATRIX_TRANSLATES   dx or dy is not zero
 *   KV_MATRIX_SCALES       m11 or m22 is not one (includes mirroring)
 *   KV_MATRIX_SHEARS       m12 or m21 is not zero (rotation or skew)
 * The six numbers are the truth: no base operation trusts kind on input. */
typedef struct KvMatrix {
    double m11, m12, m21, m22, dx, dy;
    uint64_t kind;
} KvMatrix;

#define KV_MATRIX_CLASSIFIED 0x1u
#define KV_MATRIX_TRANSLATES 0x2u
#define KV_MATRIX_SCALES 0x4u
#define KV_MATRIX_SHEARS 0x8u

/* Alpha 255 is opaque. A document colour 0x00BBGGRR becomes alpha 255 and
 * then red, green, blue. */
typedef struct KvColor {
    uint8_t alpha, red, green, blue;
} KvColor;

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVGEOMETRY_H */
