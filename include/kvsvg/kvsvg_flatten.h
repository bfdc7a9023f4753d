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

typedef struct K_SvgFlatOptions {
    uint32_t uStructSize; /* kSvgFlatOptionsSize by convention; not checked */
    double dWidth;        /* target width in pixels for a root width that is unset or a percentage; 0 or less for none */
    double dHeight;       /* the same for the height */
    uint32_t uFlags;      /* SVG_FLAT_...; other bits are ignored */
} K_SvgFlatOptions;

#define kSvgFlatOptionsSize ((uint32_t)sizeof(K_SvgFlatOptions))

/* ---- Exports ------------------------------------------------------------
 *   304 K_SvgFlatDocument
 */

/* Makes the flat form of document in a new document, owned by the caller
 * (*flat is null on failure). options may be null, and is copied whole.
 * A document without an svg root gives SUCCESS and an empty document that
 * is not marked flat. Nesting deeper than the library's depth limit gives
 * ERROR_MAX_ELEMENTS. */
KVSVG_API int32_t K_SvgFlatDocument(SvgHandle document, SvgHandle* flat, const K_SvgFlatOptions* options);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_FLATTEN_H */
