/* kvsvg: the calls of the host's vector library that the codec plug-in
 * uses. The plug-in never links against that library: it opens
 * KV_VECTOR_LIBRARY_NAME (kvsvg_filter.h) at run time and looks each call up
 * by its name, so the prototypes below are the contract an implementation
 * of the library exports with C linkage. C11 and C++.
 *
 * The model, as much of it as the plug-in sees: a vector object (void*) has
 * a frame (its parallelogram, in world units), a unit that says what a
 * world unit measures, tables of pens and brushes, and objects in drawing
 * order. An object read with K_VecGetObject is a description that the
 * library fills in and K_VecFreeObject releases, together with every point
 * list that K_VecObjectGetPolyPoint or K_VecCreatePolyPoint attached to it.
 *
 * Statuses are the family's: SUCCESS 1, negative codes for errors.
 * K_VecGetObject gives FAILURE (0) past the last object. */
#ifndef KVSVG_KVVEC_H
#define KVSVG_KVVEC_H

#include <stdint.h>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvgeometry.h"
#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* What a world unit of a vector object measures. */
#define KVEC_UNIT_PIXEL 0u
#define KVEC_UNIT_INCH 1u
#define KVEC_UNIT_MILLIMETER 2u
#define KVEC_UNIT_CENTIMETER 3u
#define KVEC_UNIT_POINT 4u

/* The frame: origin, the end of the x side and the end of the y side. */
typedef struct KVecParallelogram {
    uint32_t size; /* kKVecParallelogramSize */
    KvPoint origin, xEnd, yEnd;
} KVecParallelogram;

/* A pen or brush index that means "none". */
#define KVEC_NONE 0xFFFFFFFFu

#define KVEC_PEN_SOLID 0u
#define KVEC_PEN_DASH 1u
#define KVEC_PEN_DOT 2u
#define KVEC_PEN_DASHDOT 3u
#define KVEC_PEN_DASHDOTDOT 4u
#define KVEC_PEN_NULL 5u

#define KVEC_CAP_ROUND 0u
#define KVEC_CAP_SQUARE 1u
#define KVEC_CAP_FLAT 2u
#define KVEC_JOIN_ROUND 0u
#define KVEC_JOIN_BEVEL 1u
#define KVEC_JOIN_MITER 2u

typedef struct KVecLogPen {
    uint32_t size;      /* kKVecLogPenSize */
    uint32_t style;     /* KVEC_PEN_... */
    double width;       /* world units; 0 draws one pixel wide */
    KvColor color;      /* alpha 255 is opaque */
    uint32_t cap;       /* KVEC_CAP_... */
    uint32_t join;      /* KVEC_JOIN_... */
    double miterLimit;  /* for KVEC_JOIN_MITER */
} KVecLogPen;

#define KVEC_BRUSH_SOLID 0u
#define KVEC_BRUSH_NULL 1u
#define KVEC_BRUSH_HATCHED 2u

#define KVEC_HATCH_HORIZONTAL 0u
#define KVEC_HATCH_VERTICAL 1u
#define KVEC_HATCH_FDIAGONAL 2u   /* "\" from the top left */
#define KVEC_HATCH_BDIAGONAL 3u   /* "/" */
#define KVEC_HATCH_CROSS 4u
#define KVEC_HATCH_DIAGCROSS 5u

typedef struct KVecLogBrush {
    uint32_t size;   /* kKVecLogBrushSize */
    uint32_t style;  /* KVEC_BRUSH_... */
    KvColor color;
    uint32_t hatch;  /* KVEC_HATCH_..., for KVEC_BRUSH_HATCHED */
} KVecLogBrush;

/* Object kinds and the fields each one uses. */
#define KVEC_OBJECT_LINE 1u      /* start, end */
#define KVEC_OBJECT_RECT 2u      /* bounds */
#define KVEC_OBJECT_ELLIPSE 3u   /* bounds: the ellipse inside it */
#define KVEC_OBJECT_POLYLINE 4u  /* points through K_VecObjectGetPolyPoint */
#define KVEC_OBJECT_POLYGON 5u   /* the same, closed */
#define KVEC_OBJECT_PATH 6u      /* the same, with point types */
#define KVEC_OBJECT_ARC 7u       /* bounds, startAngle, sweepAngle (degrees, clockwise on screen); closed: a pie */
#define KVEC_OBJECT_TEXT 8u      /* start (baseline), text, fontName, fontSize */
#define KVEC_OBJECT_RASTER 9u    /* bounds, raster */

#define KVEC_FILL_ALTERNATE 1u
#define KVEC_FILL_WINDING 2u

typedef struct KVecObject {
    uint32_t size;         /* kKVecObjectSize */
    uint32_t kind;         /* KVEC_OBJECT_... */
    uint32_t pen, brush;   /* table indices or KVEC_NONE */
    uint32_t fillMode;     /* KVEC_FILL_..., 0 when the object has none */
    uint32_t closed;       /* arcs: non-zero for a pie */
    KvPoint start, end;
    KvRectangle bounds;
    double startAngle, sweepAngle;
    const KvChar* text;    /* zero-terminated */
    const KvChar* fontName;
    double fontSize;       /* world units */
    const KvBitmap* raster;
    void* reserved;        /* the library's own */
} KVecObject;

/* Point types: the kind in the low bits, KVEC_POINT_CLOSE on the last point
 * of a closed figure. A quadratic curve takes two points, control and end,
 * both of type KVEC_POINT_QUAD. */
#define KVEC_POINT_MOVE 0u
#define KVEC_POINT_LINE 1u
#define KVEC_POINT_QUAD 2u
#define KVEC_POINT_KIND_MASK 0x3u
#define KVEC_POINT_CLOSE 0x80u

typedef struct KVecPolyPoint {
    uint32_t size;          /* kKVecPolyPointSize */
    uint32_t count;
    const KvPoint* points;  /* count points, owned by the object */
    const uint8_t* types;   /* count types, or null for a plain list */
} KVecPolyPoint;

#define kKVecParallelogramSize ((uint32_t)sizeof(KVecParallelogram))
#define kKVecLogPenSize ((uint32_t)sizeof(KVecLogPen))
#define kKVecLogBrushSize ((uint32_t)sizeof(KVecLogBrush))
#define kKVecObjectSize ((uint32_t)sizeof(KVecObject))
#define kKVecPolyPointSize ((uint32_t)sizeof(KVecPolyPoint))

/* ---- Reading ------------------------------------------------------------ */
int32_t K_VecGetParallelogram(void* vector, KVecParallelogram* frame);
int32_t K_VecGetUnit(void* vector, uint32_t* unit);
int32_t K_VecGetLogPen(void* vector, uint32_t index, KVecLogPen* pen);
int32_t K_VecGetLogBrush(void* vector, uint32_t index, KVecLogBrush* brush);
/* The index-th object in drawing order; FAILURE past the last. */
int32_t K_VecGetObject(void* vector, uint32_t index, KVecObject* object);
int32_t K_VecFreeObject(void* vector, KVecObject* object);
/* The points of a polyline, polygon or path object. */
int32_t K_VecObjectGetPolyPoint(void* vector, const KVecObject* object, KVecPolyPoint* points);
/* The outline of any other object as points (an arc as a polyline). */
int32_t K_VecCreatePolyPoint(void* vector, const KVecObject* object, KVecPolyPoint* points);

/* ---- Building and releasing ------------------------------------------- */
int32_t K_VecCreate(void** vector);
int32_t K_VecFree(void* vector);
int32_t K_VecSetParallelogram(void* vector, const KVecParallelogram* frame);
int32_t K_VecSetUnit(void* vector, uint32_t unit);
int32_t K_VecAddPen(void* vector, const KVecLogPen* pen, uint32_t* index);
int32_t K_VecAddBrush(void* vector, const KVecLogBrush* brush, uint32_t* index);
/* Copies the object, its strings, raster and points (null for kinds without). */
int32_t K_VecAddObject(void* vector, const KVecObject* object, const KVecPolyPoint* points);

/* The same calls as pointer types, for a caller that looks them up. */
typedef int32_t (*KVecGetParallelogramFn)(void*, KVecParallelogram*);
typedef int32_t (*KVecGetUnitFn)(void*, uint32_t*);
typedef int32_t (*KVecGetLogPenFn)(void*, uint32_t, KVecLogPen*);
typedef int32_t (*KVecGetLogBrushFn)(void*, uint32_t, KVecLogBrush*);
typedef int32_t (*KVecGetObjectFn)(void*, uint32_t, KVecObject*);
typedef int32_t (*KVecFreeObjectFn)(void*, KVecObject*);
typedef int32_t (*KVecPolyPointFn)(void*, const KVecObject*, KVecPolyPoint*);
typedef int32_t (*KVecCreateFn)(void**);
typedef int32_t (*KVecFreeFn)(void*);
typedef int32_t (*KVecSetParallelogramFn)(void*, const KVecParallelogram*);
typedef int32_t (*KVecSetUnitFn)(void*, uint32_t);
typedef int32_t (*KVecAddPenFn)(void*, const KVecLogPen*, uint32_t*);
typedef int32_t (*KVecAddBrushFn)(void*, const KVecLogBrush*, uint32_t*);
typedef int32_t (*KVecAddObjectFn)(void*, const KVecObject*, const KVecPolyPoint*);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVVEC_H */
