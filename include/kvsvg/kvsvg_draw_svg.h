/* kvsvg: drawing to SVG. K_Draw_ToSvg hands out a recording engine, a
 * kvdrw::Engine whose drawing calls become elements of a new document, and
 * the document it fills. C11 and C++; C++ callers include kvsvg/kvdrw.h and
 * cast the void* engine to kvdrw::Engine*.
 *
 * Life cycle: draw through the engine, destroy the engine with
 * K_Draw_DestroySvgEngine, then save the document and free it with
 * K_SvgFreeNode. The engine holds the document in an update bracket, so the
 * engine goes first; freeing the document while its engine lives is a
 * caller fault.
 *
 * What the engine writes: every drawing call appends one element to the svg
 * root, in call order, with the transform and clip current at the call
 * repeated on it (no groups). Gradients, hatches and clips become
 * linearGradient, pattern and clipPath elements in one defs element, with the
 * ids LinearGradientN, PatternN and ClipN; texts, links and images get the
 * ids TextN, AnchorN and ImageN. Images are embedded whole as PNG data URIs.
 * Text is broken into lines with the measuring engine of the drawing library
 * and written one text element a line.
 */
#ifndef KVSVG_KVSVG_DRAW_SVG_H
#define KVSVG_KVSVG_DRAW_SVG_H

#include <stdint.h>

#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* SvgFileOptions.flags for K_Draw_ToSvg. */
#define SVG_DRAW_RECORD_ONLY 0x001u /* IsMeasureOnly answers non-zero */
#define SVG_DRAW_DROP_SHAPES 0x002u /* line, path, rectangle, ellipse, arc, pie, polygon, polyline, Bezier: nothing written */
#define SVG_DRAW_DROP_IMAGES 0x004u /* DrawImage writes nothing */
#define SVG_DRAW_DROP_TEXT 0x008u   /* DrawString and DrawStringInRect write nothing; linked strings still do */
#define SVG_DRAW_MARK_OCR 0x100u    /* every text element gets kolv_ocr="1" */

/* Values written on every later text element as kolv_zone_index and
 * kolv_char_index, unless either is -1. */
typedef struct SvgTextExtraParams {
    uint32_t size;     /* kSvgTextExtraParamsSize */
    int32_t zoneIndex;
    int32_t charIndex;
} SvgTextExtraParams;

#define kSvgTextExtraParamsSize ((uint32_t)sizeof(SvgTextExtraParams))

/* ---- Exports ------------------------------------------------------------
 *   1000 K_Draw_ToSvg          1001 K_Draw_DestroySvgEngine
 *   1004 K_Draw_SetTextExtraParams
 */

/* A new document with an svg root marked flat, and an engine drawing into
 * it. options may be null; otherwise each field counts only when options->size
 * covers it: width and height (both, not -1.0 and not empty) become the
 * root's size, dpiX and dpiY (both, not -1.0) its resolution, flags the
 * SVG_DRAW_ flags, maximumElements (not 0) the document's element limit.
 * On failure both outs are left as they were and nothing is left behind. */
KVSVG_API int32_t K_Draw_ToSvg(void** engine, SvgHandle* document, const SvgFileOptions* options);
/* Destroys an engine of K_Draw_ToSvg; another engine is ERROR_INV_PARAMETER. */
KVSVG_API int32_t K_Draw_DestroySvgEngine(void* engine);
/* Stores params for the text that follows; null clears them. */
KVSVG_API int32_t K_Draw_SetTextExtraParams(void* engine, const SvgTextExtraParams* params);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_DRAW_SVG_H */
