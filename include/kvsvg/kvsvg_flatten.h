/* kvsvg: flattening, the step that turns any document into the flat form
 * that drawing, bounds and extraction work on. Included by kvsvg.h. C11 and
 * C++.
 *
 * A flat document is a second document; the source is left as it is (but
 * for the one exception K_SvgFlatDocument states). Its root svg carries
 * IsFlat="true", and below it every shape has its coordinates in the root's
 * user space, a complete style, no transform and no id.
 */
#ifndef KVSVG_KVSVG_FLATTEN_H
#define KVSVG_KVSVG_FLATTEN_H

#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* K_SvgFlatOptions.uFlags: only text survives; shapes and images of the
 * document itself are dropped, while clip paths still clip the text. */
#define SVG_FLAT_TEXT_ONLY 0x1u
/* Image files named by an href must lie in the document's base folder or
 * below it (K_SvgSetBaseFolder; the working folder when none was given);
 * others are dropped as unreadable. Data URIs are not files. */
#define SVG_FLAT_FILES_IN_BASE_FOLDER 0x2u
/* No image file is opened at all; only data URIs give pictures. */
#define SVG_FLAT_NO_EXTERNAL_FILES 0x4u
/* A fill with a pattern is written as the tiles that cover the shape,
 * clipped to it, and the shape keeps its stroke alone: patterns then draw on
 * any engine. Without it the shape gets a copy of the pattern element. */
#define SVG_FLAT_EXPAND_PATTERNS 0x8u

typedef struct K_SvgFlatOptions {
    uint32_t uStructSize; /* kSvgFlatOptionsSize by convention; not checked */
    double dWidth;        /* target width in pixels for a root width that is unset or a percentage; 0 or less for none */
    double dHeight;       /* the same for the height */
    uint32_t uFlags;      /* SVG_FLAT_...; other bits are ignored */
} K_SvgFlatOptions;

#define kSvgFlatOptionsSize ((uint32_t)sizeof(K_SvgFlatOptions))

/* ---- Exports ------------------------------------------------------------
 *   304 K_SvgFlatDocument
 *   305 K_SvgSetBaseFolder
 */

/* Makes the flat form of document in a new document, owned by the caller
 * (*flat is null on failure). options may be null, and is copied whole.
 * A document without an svg root gives SUCCESS and an empty document that
 * is not marked flat. Nesting deeper than the library's depth limit gives
 * ERROR_MAX_ELEMENTS. The flat document takes document's element limit
 * (K_SvgSetMaximumElements) and flattening
 * gives ERROR_MAX_ELEMENTS when the flat form would pass it: a caller that
 * bounds what a file may hold bounds what its uses and patterns expand to. */
KVSVG_API int32_t K_SvgFlatDocument(SvgHandle document, SvgHandle* flat, const K_SvgFlatOptions* options);

/* Sets the folder against which relative image hrefs of document are
 * opened when it is flattened, and to which SVG_FLAT_FILES_IN_BASE_FOLDER
 * confines them. Null or empty goes back to the working folder. Without a
 * call, hrefs are opened as written. ERROR_INV_PARAMETER for a handle that
 * is not a document; ERROR_NO_MEMORY. */
KVSVG_API int32_t K_SvgSetBaseFolder(SvgHandle document, const KvChar* folder);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_FLATTEN_H */
