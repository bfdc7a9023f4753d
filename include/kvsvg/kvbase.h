/* kvsvg: the bitmap record and the services a caller needs around
 * rasterisation (bitmaps, image files, the bitmap and measuring engines).
 * C11 and C++. */
#ifndef KVSVG_KVBASE_H
#define KVSVG_KVBASE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* KvBitmap.flags */
#define KV_BITMAP_ALLOCATED 0x01u   /* data is owned by the record and valid */
#define KV_BITMAP_OPACITY 0x80u     /* drawn with an opacity other than 1.0 */

/* Colour order of 24-, 32- and 64-bit pixels. */
#define KV_ORDER_BGR 0u   /* blue first in memory (the default) */
#define KV_ORDER_RGB 1u

/* View perspective: where row 0 lies. Only the two used here are named; the
 * values 1 to 8 combine a rotation and a flip (see DecodeViewPerspective). */
#define KV_TOP_LEFT 1u
#define KV_BOTTOM_LEFT 4u

typedef struct KvPaletteEntry {
    uint8_t blue, green, red, reserved;
} KvPaletteEntry;

typedef struct KvBitmap {
    uint32_t size;             /* kKvBitmapSize */
    uint32_t flags;            /* KV_BITMAP_... */
    int32_t width, height;     /* pixels */
    uint32_t bitsPerPixel;     /* 1, 4, 8, 16, 24, 32 or 64 */
    uint32_t bytesPerLine;     /* row stride, a multiple of 4 */
    uint32_t order;            /* KV_ORDER_... */
    uint32_t viewPerspective;  /* KV_TOP_LEFT or KV_BOTTOM_LEFT */
    int32_t xResolution, yResolution; /* dots per inch */
    uint32_t paletteCount;     /* entries in palette, depths of 8 and below */
    KvPaletteEntry palette[256];
    uint8_t* data;             /* height * bytesPerLine bytes */
    size_t dataSize;
    uint32_t accessCount;      /* nesting of AccessBitmap / ReleaseBitmap */
} KvBitmap;

#define kKvBitmapSize ((uint32_t)sizeof(KvBitmap))

/* ---- Drawing engines ----------------------------------------------------
 * An engine is a kvdrw::Engine* for C++ callers (include kvsvg/kvdrw.h and
 * cast the void*); C callers only pass it on. Both engines of the drawing
 * library have the same GetEngineKind, so objects made by one may be given
 * back to the other.
 *
 * The bitmap engine draws onto the caller's bitmap, which must stay alive
 * until the engine is destroyed: 24 or 32 bits, either colour order, either
 * row order. On 32 bits the fourth byte is alpha and colours are
 * premultiplied by it, so an opaque bitmap reads as plain colours. Drawing
 * reaches the bitmap at the latest when the engine is destroyed, or at
 * EndPage and EndDocument. Other depths give ERROR_NOT_SUPPORTED.
 *
 * The measuring engine draws nothing, at 96 dots per inch; it measures text
 * and geometry exactly as the bitmap engine draws them. */
#ifndef KVSVG_API
#if defined(KVSVG_BUILDING)
#define KVSVG_API __attribute__((visibility("default")))
#else
#define KVSVG_API
#endif
#endif
KVSVG_API int32_t K_DrawingCreateBitmapEngine(KvBitmap* bitmap, void** engine);
KVSVG_API int32_t K_DrawingCreateMeasureEngine(void** engine);
/* A null engine succeeds and does nothing. */
KVSVG_API int32_t K_DrawingDestroyEngine(void* engine);
/* ---- End of drawing engines -------------------------------------------- */

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVBASE_H */
