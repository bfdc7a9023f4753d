/* kvsvg: data URIs, the inline pictures of image elements.
 *
 * Parsing is a pure scan that records where each part lies in the caller's
 * own string; decoding and encoding turn base64 text into bytes and back.
 * The family stands alone and takes no handles. Offsets and lengths count
 * UTF-16 code units. Blocks and texts handed out are freed with
 * K_SvgFreeMemory. C11 and C++.
 */
#ifndef KVSVG_KVSVG_DATAURI_H
#define KVSVG_KVSVG_DATAURI_H

#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Image formats the media table knows (SvgDataUri.imageFormat). */
#define SVG_DATA_URI_FORMAT_UNKNOWN 0u
#define SVG_DATA_URI_FORMAT_GIF 2u
#define SVG_DATA_URI_FORMAT_JPEG 10u
#define SVG_DATA_URI_FORMAT_PNG 75u

typedef struct SvgDataUri {
    uint32_t size;            /* kSvgDataUriSize, written by K_SvgParseDataUri */
    uint32_t isDataUri;       /* 1 if the text begins with "data:" */
    const KvChar* uri;        /* the caller's string; must outlive the record */
    uint32_t mediaOffset;     /* the media type, e.g. "image/png" */
    uint32_t mediaLength;
    uint32_t charsetOffset;   /* the value of "charset=" */
    uint32_t charsetLength;
    uint32_t isBase64;        /* 1 if ";base64" was stated */
    uint32_t valueOffset;     /* the data; all of the trimmed text when not a data URI */
    uint32_t valueLength;
    uint32_t imageFormat;     /* SVG_DATA_URI_FORMAT_..., 0 if the media type is unknown */
    KvChar extension[8];      /* "png", "jpg", "gif" or empty; zero-terminated */
} SvgDataUri;

#define kSvgDataUriSize ((uint32_t)sizeof(SvgDataUri))

/* ---- Exports ------------------------------------------------------------
 * Ordinals:
 *   801 K_SvgParseDataUri
 *   802 K_SvgDecodeDataUriToMemory   803 K_SvgDecodeDataUriToFile
 *   804 K_SvgEncodeDataUriFromMemory 805 K_SvgEncodeDataUriFromFile
 */

/* Fills *dataUri from text, which may be null. size must be kSvgDataUriSize.
 * A text that is not a data URI succeeds with isDataUri 0; a broken data URI
 * gives ERROR_FILE_FORMAT with the parts read so far in the record. */
KVSVG_API int32_t K_SvgParseDataUri(const KvChar* text, SvgDataUri* dataUri, uint32_t size);

/* Decodes the value of a parsed data URI as base64, whatever isBase64 says.
 * Value text that is not base64, or a block that cannot be had, gives
 * SUCCESS with *block null and *size 0: test the size. */
KVSVG_API int32_t K_SvgDecodeDataUriToMemory(const SvgDataUri* dataUri, void** block, size_t* size);

/* Decodes as above and writes the bytes to path (created or truncated); no
 * decoded bytes make an empty file. */
KVSVG_API int32_t K_SvgDecodeDataUriToFile(const SvgDataUri* dataUri, const KvChar* path);

/* Makes "data:<media>;base64,<text>" of a block, the media type from the
 * block's leading bytes (none when unknown). *length, if asked for, counts
 * the terminating zero. */
KVSVG_API int32_t K_SvgEncodeDataUriFromMemory(const void* block, size_t size, KvChar** text, size_t* length);

/* The same of a file's contents. An empty file gives ERROR_FILE_SEEK. */
KVSVG_API int32_t K_SvgEncodeDataUriFromFile(const KvChar* path, KvChar** text, size_t* length);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_DATAURI_H */
