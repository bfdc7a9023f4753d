/* kvsvg: drawing a flat document on a drawing engine or a bitmap, and the
 * bounds of documents and elements. Included by kvsvg.h. C11 and C++.
 *
 * Everything here works on flat documents (K_SvgFlatDocument) and refuses
 * others with ERROR_NOT_FLAT. An engine is the void* that
 * K_DrawingCreateBitmapEngine or K_DrawingCreateMeasureEngine hands out, or
 * any kvdrw::Engine of the caller's. */
#ifndef KVSVG_KVSVG_RENDER_H
#define KVSVG_KVSVG_RENDER_H

#include <stdint.h>

#include "kvsvg/kvgeometry.h"
#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The bitmap record of kvbase.h, which includes this header's parent. */
struct KvBitmap;

/* Render options. A null pointer means: paint a white background over the
 * document's bounds, no clip, no extra matrix, no flags. */
typedef struct SvgRenderOptions {
    uint32_t structSize;    /* kSvgRenderOptionsSize; any other size draws nothing (status 1) */
    uint32_t flags;         /* not zero: paint the background */
    uint32_t backColor;     /* 0x00BBGGRR */
    KvRectangle bounds;     /* what the background covers */
    KvRectangle clipBounds; /* the visible part; empty means all */
    KvMatrix transform;     /* applied after the root's view matrix; all zero means none */
    uint32_t renderFlags;   /* SVG_RENDER_... */
} SvgRenderOptions;

#define kSvgRenderOptionsSize ((uint32_t)sizeof(SvgRenderOptions))

/* renderFlags: strokes thinner than 2 pixels are drawn at least 2 wide. */
#define SVG_RENDER_THICKEN_HAIRLINES 0x1u
/* renderFlags: paint servers drawn in full: a linear gradient with all its
 * stops under its whole gradientTransform, a radial gradient as the mean of
 * its stops. Without it a linear gradient runs between its own coordinates
 * as they stand with its first two stops, and a radial one paints nothing. */
#define SVG_RENDER_FULL_PAINT 0x2u

/* ---- Exports ------------------------------------------------------------
 * Ordinals, kept for the record of the family's numbering:
 *   1000 K_SvgDrawDocument       1001 K_SvgRasterizeDocument
 *   1100 K_SvgCalculateBounds    1101 K_SvgGetElementBounds
 *   1102 K_SvgRecalculateBounds
 *   1003 K_SvgBeginRenderOptimizeDocument  1004 K_SvgEndRenderOptimizeDocument
 *   1005 K_SvgIsRenderOptimizedDocument
 */

/* Draws the document on an engine. ERROR_NOT_FLAT for a document that was
 * not flattened; the engine's transform, clip and quality come back as they
 * were. */
KVSVG_API int32_t K_SvgDrawDocument(void* engine, SvgHandle document, const SvgRenderOptions* options);
/* Draws on an allocated 24- or 32-bit bitmap of the caller's size. */
KVSVG_API int32_t K_SvgRasterizeDocument(struct KvBitmap* bitmap, SvgHandle document, const SvgRenderOptions* options);

/* Render optimisation, for repeated draws of one document (a viewer that
 * repaints): Begin reads every element once, measures it and decodes its
 * images, and later draws and bounds use what it kept. Begin nests and needs
 * as many End calls; End without Begin is ERROR_INV_PARAMETER. Any change to
 * the tree outside K_SvgBeginUpdateDocument/K_SvgEndUpdateDocument drops the
 * state, and so does any removal. A clipPath without children hides what it
 * clips in an optimised draw, while a plain draw ignores it. */
KVSVG_API int32_t K_SvgBeginRenderOptimizeDocument(SvgHandle document);
KVSVG_API int32_t K_SvgEndRenderOptimizeDocument(SvgHandle document);
/* Not a status: non-zero when the document is flat and optimised; 0 for null or a node. */
KVSVG_API int32_t K_SvgIsRenderOptimizedDocument(SvgHandle document);

/* Measures the document and writes the result to its Bounds attribute (read
 * back with K_SvgGetBounds). trimmed 0: a root with width and height gives
 * (0, 0, width, height); otherwise the union of what the elements cover
 * under the root's view, moved to the origin unless trimmed. */
KVSVG_API int32_t K_SvgCalculateBounds(SvgHandle document, int32_t trimmed);
/* Bounds of one element (a container: of its children) under the root's
 * view, widened by strokes; an empty rectangle when it covers nothing. */
KVSVG_API int32_t K_SvgGetElementBounds(SvgHandle node, KvRectangle* bounds);
/* Re-frames the document on a rectangle of its user space: that rectangle
 * becomes the whole view. resolution (optional) is written as DpiX, DpiY. */
KVSVG_API int32_t K_SvgRecalculateBounds(SvgHandle document, const KvRectangle* rectangle,
                                         const double* resolution);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_RENDER_H */
