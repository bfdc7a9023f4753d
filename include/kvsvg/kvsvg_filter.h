/* kvsvg: the codec plug-in interface. An imaging host's codec layer finds
 * the four entries fltInfo, fltLoad, fltSave and fltFreeData by name and
 * drives them when a file in the SVG format is read or written. C11 and C++.
 *
 * A host reads a file in three calls:
 *   1. fltInfo with the open file: the size and depth the file will load at.
 *      With a cache, the parsed file is kept in cache->filterData so that
 *      step 2 parses nothing.
 *   2. fltLoad with a target bitmap record whose width, height, depth and
 *      colour order the host chose: the picture arrives row by row, top row
 *      first, through the row callback, already at that depth and order.
 *   3. fltFreeData(cache->filterData, 0) when the host closes the file, also
 *   after a failed fltLoad.
 *
 * Two roads. The raster road (the default) loads the file as a document,
 * flattens it when it is not flat, and draws it so that it fills the target.
 * The vector road, chosen by vectorRoute 1 or by KV_FILTER_LOAD_VECTOR in
 * the load options, reads the file with the older reader and hands back a
 * vector object of the vector library (kvvec.h). fltSave writes vector
 * objects only. The vector library is loaded by name at run time
 * (KV_VECTOR_LIBRARY_NAME); without it the vector road and fltSave give
 * ERROR_NOT_SUPPORTED, and the raster road is unaffected.
 *
 * The file: the raster road reads fileName when there is one and the open
 * fileHandle otherwise; the vector road reads fileHandle when it is open
 * (from its start) and fileName otherwise.
 *
 * Every request record starts with its size, which must equal the matching
 * k...Size constant: a null request is ERROR_INV_PARAMETER, a wrong size
 * ERROR_RECORD_SIZE. */
#ifndef KVSVG_KVSVG_FILTER_H
#define KVSVG_KVSVG_FILTER_H

#include <stdint.h>

#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The bitmap record of kvbase.h, which includes this header's parent. */
struct KvBitmap;

/* The format number of SVG in the host's list of formats. */
#define KV_FILTER_FORMAT_SVG 247

/* The shared object of the vector library, as dlopen searches for it. */
#define KV_VECTOR_LIBRARY_NAME "libkvvec.so.1"

/* What fltInfo leaves behind for fltLoad and fltFreeData. */
typedef struct KvFilterData {
    uint32_t size;        /* kKvFilterDataSize */
    void* vectorObject;   /* vector road: the object read, released by K_VecFree */
    int32_t vectorOwned;  /* non-zero while vectorObject is still ours to release */
    SvgHandle document;   /* raster road: the document fltInfo loaded, render-optimised */
} KvFilterData;

/* The host's per-file state block. filterData starts null; fltInfo fills it
 * and the host gives it back through fltFreeData. */
typedef struct KvFilterCache {
    uint32_t size;             /* kKvFilterCacheSize */
    KvFilterData* filterData;
} KvFilterCache;

/* KvFilterLoadOptions.flags */
#define KV_FILTER_LOAD_VECTOR 0x8u        /* take the vector road */
#define KV_FILTER_LOAD_FORMAT_KNOWN 0x10u /* format says what the file is: no sniffing */

typedef struct KvFilterLoadOptions {
    uint32_t size;    /* kKvFilterLoadOptionsSize */
    uint32_t flags;   /* KV_FILTER_LOAD_... */
    int32_t format;   /* with KV_FILTER_LOAD_FORMAT_KNOWN: KV_FILTER_FORMAT_SVG */
} KvFilterLoadOptions;

/* The vector block of the file information. */
typedef struct KvFilterVectorInfo {
    int32_t present;          /* 1 */
    int32_t width;            /* the drawing's own width in pixels, 0 when not known */
    double unitWidth;         /* -640.0: the width the host lays the drawing out at, negated */
    double heightOverWidth;   /* the aspect of the information's width and height */
    int32_t parallelValid;    /* 1: the two numbers above hold */
} KvFilterVectorInfo;

typedef struct KvFilterFileInfo {
    uint32_t size;            /* kKvFilterFileInfoSize; written by fltInfo */
    int32_t format;           /* KV_FILTER_FORMAT_SVG */
    int32_t width, height;    /* the size a load gives when the host keeps it */
    uint32_t bitsPerPixel;    /* 24 */
    uint32_t bytesPerLine;    /* of a 24-bit row of the width */
    uint64_t sizeInBytes;     /* bytesPerLine * height */
    int32_t xResolution, yResolution;
    uint32_t viewPerspective; /* KV_TOP_LEFT */
    uint32_t order;           /* KV_ORDER_BGR */
    int32_t codecOrder;       /* 4, the host's own code for that order */
    int32_t planes;           /* 1 */
    int32_t pageCount;        /* -1: one page, count not taken */
    KvFilterVectorInfo vector;
} KvFilterFileInfo;

typedef struct KvFilterInfoRequest {
    uint32_t size;                      /* kKvFilterInfoRequestSize */
    const KvChar* fileName;             /* the file the host opened, or null */
    int32_t fileHandle;                 /* that file open for reading, or -1 */
    KvFilterFileInfo* info;             /* out */
    KvFilterCache* cache;               /* or null: nothing is kept */
    int32_t vectorRoute;                /* 1: vector road */
    const KvFilterLoadOptions* options; /* or null */
    int32_t xResolution;                /* non-zero: replaces the default x resolution */
} KvFilterInfoRequest;

/* KvFilterRowCallback flags: every row has KV_FILTER_ROW_DATA; the first and
 * the last add their own bits (a one-row picture has both). */
#define KV_FILTER_ROW_DATA 0x3u
#define KV_FILTER_ROW_FIRST 0x4u
#define KV_FILTER_ROW_LAST 0x8u

/* One row, counted from the top: rowCount rows (always 1) of info's
 * bytesPerLine, in info's depth and colour order. info is the target
 * record, with resolution and (8 bits and below) palette filled in. Any
 * status other than SUCCESS stops the load and becomes its status; a fault
 * inside the callback gives ERROR_CALLBACK_FAULT. The row is valid for the
 * call only. */
typedef int32_t (*KvFilterRowCallback)(const struct KvBitmap* info, const uint8_t* row, uint32_t flags, int32_t rowIndex,
                                       int32_t rowCount, void* userData);

typedef struct KvFilterLoadRequest {
    uint32_t size;                      /* kKvFilterLoadRequestSize */
    const KvChar* fileName;             /* or null when fileHandle is given */
    int32_t fileHandle;                 /* open for reading, or -1; see the top  */
    struct KvBitmap* bitmap;            /* raster road: target described by K_BitmapInit, no pixels needed */
    KvFilterRowCallback callback;       /* raster road */
    void* userData;
    int32_t xResolution, yResolution;   /* above 0: replace the default load resolution */
    KvFilterCache* cache;               /* or null */
    int32_t vectorRoute;                /* 1: vector road */
    const KvFilterLoadOptions* options; /* or null */
    void* vectorObject;                 /* out, vector road: the caller's to release with K_VecFree */
} KvFilterLoadRequest;

typedef struct KvFilterSaveRequest {
    uint32_t size;          /* kKvFilterSaveRequestSize */
    const KvChar* fileName; /* created or replaced when fileHandle is -1 */
    int32_t fileHandle;     /* open for writing, or -1 */
    int32_t vectorRoute;    /* must be 1: only vector objects are saved */
    void* vectorObject;     /* the object to write */
} KvFilterSaveRequest;

#define kKvFilterDataSize ((uint32_t)sizeof(KvFilterData))
#define kKvFilterCacheSize ((uint32_t)sizeof(KvFilterCache))
#define kKvFilterLoadOptionsSize ((uint32_t)sizeof(KvFilterLoadOptions))
#define kKvFilterFileInfoSize ((uint32_t)sizeof(KvFilterFileInfo))
#define kKvFilterInfoRequestSize ((uint32_t)sizeof(KvFilterInfoRequest))
#define kKvFilterLoadRequestSize ((uint32_t)sizeof(KvFilterLoadRequest))
#define kKvFilterSaveRequestSize ((uint32_t)sizeof(KvFilterSaveRequest))

/* ---- Exports ------------------------------------------------------------
 * Ordinals, kept for the record of the family's numbering:
 *   1 fltInfo   2 fltLoad   3 fltSave   4 fltFreeData
 */

/* Fills request->info. Raster road: the document's height in pixels at the
 * resolution (480 when not known) over a fixed width of 640; the drawing's
 * own width goes to info->vector.width. Statuses of the load pass out. */
KVSVG_API int32_t fltInfo(KvFilterInfoRequest* request);
/* Raster road: rows to the callback; the vector road: request->vectorObject. */
KVSVG_API int32_t fltLoad(KvFilterLoadRequest* request);
/* Writes request->vectorObject as SVG text. A request with vectorRoute other
 * than 1 is ERROR_FILE_FORMAT; a null object ERROR_INV_PARAMETER. */
KVSVG_API int32_t fltSave(KvFilterSaveRequest* request);
/* With flag 0, releases filterData and what it holds (a vector object still
 * owned, a kept document). Always SUCCESS; null is fine. */
KVSVG_API int32_t fltFreeData(KvFilterData* filterData, int32_t flag);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_FILTER_H */
