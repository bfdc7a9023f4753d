/* kvsvg: the bitmap record and the services a caller needs around
 * rasterisation (bitmaps, image files, the bitmap and measuring engines).
 * C11 and C++.
 *
 * Pixel layout. Rows are bytesPerLine apart; row 0 in memory is the top row
 * for KV_TOP_LEFT and the bottom row for KV_BOTTOM_LEFT.
 *   1 bit    palette index, eight pixels a byte, leftmost in the high bit
 *   4 bits   palette index, two pixels a byte, leftmost in the high nibble
 *   8 bits   palette index
 *   16 bits  little-endian word: 5-6-5 colour, the first colour of the order
 *            in the low five bits (blue for KV_ORDER_BGR); or, with
 *            KV_BITMAP_GREY, one 16-bit grey level
 *   24 bits  three bytes in the colour order
 *   32 bits  three bytes in the colour order, then alpha (not premultiplied)
 *   64 bits  four little-endian 16-bit channels: the colour order, then alpha
 * A palette index at or beyond paletteCount reads as black. */
#ifndef KVSVG_KVBASE_H
#define KVSVG_KVBASE_H

#include <stddef.h>
#include <stdint.h>

#include "kvsvg/kvgeometry.h"
#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* KvBitmap.flags */
#define KV_BITMAP_ALLOCATED 0x01u   /* data is owned by the record and valid */
#define KV_BITMAP_GREY 0x02u        /* 16-bit pixels are grey levels, not 5-6-5 */
#define KV_BITMAP_OPACITY 0x80u     /* drawn with an opacity other than 1.0 */

/* The most pixels a bitmap may have (256 Mpixel). Allocation, conversion
 * and every image loader refuse more with ERROR_NO_MEMORY. */
#define KV_BITMAP_MAX_PIXELS (256u * 1024u * 1024u)

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

/* ---- Exports ------------------------------------------------------------
 * Each takes the record's size where it fills in a record and checks
 * bitmap->size where it reads one; a mismatch is ERROR_RECORD_SIZE, after
 * the null checks (ERROR_INV_PARAMETER). */

/* Clears the record and describes a bitmap with no pixels yet: top-left
 * view perspective, 96 dpi, a grey palette for depths of 8 and below.
 * bitsPerPixel 1, 4, 8, 16, 24, 32 or 64; order KV_ORDER_BGR or _RGB;
 * width and height 0 or more. */
KVSVG_API int32_t K_BitmapInit(KvBitmap* bitmap, uint32_t size, int32_t width, int32_t height,
                               uint32_t bitsPerPixel, uint32_t order);
/* Zero-filled pixels for an initialised bitmap with positive width and
 * height. An already allocated bitmap is ERROR_INV_PARAMETER; more than
 * KV_BITMAP_MAX_PIXELS is ERROR_NO_MEMORY. */
KVSVG_API int32_t K_BitmapAllocate(KvBitmap* bitmap);
/* Gives the pixels back; the description stays. Unallocated is fine. */
KVSVG_API int32_t K_BitmapFree(KvBitmap* bitmap);
/* Makes target an allocated copy of source at another depth and colour
 * order. target is an initialised record or one cleared to zero, and may be
 * source itself; pixels it held are freed, but only once the conversion has
 * succeeded (a by-value copy of source shares source's pixels and does not
 * free them). Depths of 8 and below
 * get a palette: the source's own when it is a palette of no more entries
 * than the depth holds, else the exact colours when they fit, else a fixed
 * palette (6x6x6 cube, the 16 standard colours, or black and white) with
 * the nearest entry. Alpha is dropped for depths below 32, and 16 bits
 * means 5-6-5 unless source is itself a 16-bit grey bitmap. */
KVSVG_API int32_t K_BitmapConvert(KvBitmap* target, const KvBitmap* source, uint32_t bitsPerPixel,
                                  uint32_t order);
/* Loads a PNG, JPEG or GIF (found by its first bytes) into bitmap, a record
 * of the given size that need not be initialised and must not hold pixels.
 * bitsPerPixel 0 keeps the file's own depth; order is the colour order.
 * The result is top-left, at the file's resolution or the default load
 * resolution. Statuses: ERROR_FILE_OPEN (no such file), ERROR_FILE_FORMAT
 * (unknown or corrupt data), ERROR_FILE_READ (data ends too soon),
 * ERROR_NO_MEMORY (also for more than KV_BITMAP_MAX_PIXELS). */
KVSVG_API int32_t K_BitmapLoadFile(const KvChar* path, KvBitmap* bitmap, uint32_t size, uint32_t bitsPerPixel,
                                   uint32_t order);
KVSVG_API int32_t K_BitmapLoadMemory(const void* block, size_t blockSize, KvBitmap* bitmap, uint32_t size,
                                     uint32_t bitsPerPixel, uint32_t order);
/* Encodes bitmap as PNG at bitsPerPixel (0: its own depth) into a block
 * freed with K_SvgFreeMemory. 1, 4 and 8 bits give a palette PNG (a grey
 * one when the palette is the full grey ramp), 16-bit grey a 16-bit grey
 * PNG, 5-6-5 and 24 bits RGB, 32 bits RGBA, 64 bits 16-bit RGBA. */
KVSVG_API int32_t K_BitmapSavePng(const KvBitmap* bitmap, uint32_t bitsPerPixel, void** block,
                                  size_t* blockSize);

/* ---- Drawing engines ----------------------------------------------------
 * An engine is a kvdrw::Engine* for C++ callers (include kvsvg/kvdrw.h and
 * cast the void*); C callers only pass it on. Both engines of the drawing
 * library have the same GetEngineKind, so objects made by one may be given
 * back to the other.
 *
 * The bitmap engine draws onto the caller's bitmap, which must stay alive
 * until the engine is destroyed: 24 or 32 bits, either colour order, either
 * row order; other depths give ERROR_NOT_SUPPORTED. The bitmap holds the
 * drawing, in the pixel layout above, once the engine is destroyed or after
 * EndPage and EndDocument; in between, a 32-bit top-down blue-first bitmap
 * (drawn in place) may hold colours premultiplied by alpha. Where nothing is
 * drawn a 32-bit pixel keeps its alpha, so a cleared bitmap stays
 * transparent around the drawing.
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
