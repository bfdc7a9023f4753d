/* kvsvg: element records, the typed copy of one element's attributes that
 * K_SvgGetElement reads and K_SvgSetElement writes. Included by kvsvg.h.
 * C11 and C++.
 *
 * Every record starts with its size, the matching kSvg...ElementSize below;
 * the size tells which element a record belongs to. K_SvgInitElement sets
 * every size, every number and length to the unset double and every boolean
 * to -1; K_SvgFreeElement gives back the strings and lists a record owns.
 *
 * Field order: the element's own fields in the order they are read, then
 * the transform list, then the attribute groups (core, conditional, xlink,
 * view box and aspect ratio, text positions) and the style record last. The
 * svg record keeps an order of its own, given with it.
 *
 * Keyword fields hold the position in their list plus one, 0 when not set:
 *   ...Units (gradients, patterns, clip paths): 1 userSpaceOnUse, 2 objectBoundingBox
 *   spreadMethod: 1 pad, 2 reflect, 3 repeat
 *   lengthAdjust: 1 spacing, 2 spacingAndGlyphs; method: 1 align, 2 stretch;
 *   spacing: 1 auto, 2 exact; markerUnits: 1 strokeWidth, 2 userSpaceOnUse
 *   arabicForm: 1 initial, 2 medial, 3 terminal, 4 isolated; orientation: 1 h, 2 v
 *   renderingIntent: 1 auto, 2 perceptual, 3 relative-colorimetric,
 *     4 saturation, 5 absolue-colorimetric (that spelling is what is read and written)
 *   contentStyleType: 1 text/css; contentScriptType: 1 text/ecmascript
 */
#ifndef KVSVG_KVSVG_ELEMENTS_H
#define KVSVG_KVSVG_ELEMENTS_H

#include <stdint.h>

/* Needs the handles, status codes and value records of kvsvg.h, which in
 * turn includes this header at its end. */
#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* svg (type 2). */
typedef struct SvgSvgElement {
    uint32_t size;                     /* kSvgSvgElementSize */
    int32_t externalResourcesRequired; /* kept but neither read nor written for svg */
    SvgLength x, y, width, height;
    SvgViewBox viewBox;
    uint32_t contentStyleType;
    uint32_t contentScriptType;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
    SvgXlinkAttributes xlink;
    SvgPreserveAspectRatio preserveAspectRatio;
    SvgTransformList transform;
} SvgSvgElement;

/* g (3), defs (4) and switch (10); only switch reads externalResourcesRequired. */
typedef struct SvgGElement {
    uint32_t size; /* kSvgGElementSize */
    int32_t externalResourcesRequired;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgGElement;
typedef SvgGElement SvgDefsElement;
typedef SvgGElement SvgSwitchElement;

/* desc (5) and title (6). */
typedef struct SvgDescElement {
    uint32_t size; /* kSvgDescElementSize */
    SvgCoreAttributes core;
    K_SvgStyleProp style;
} SvgDescElement;
typedef SvgDescElement SvgTitleElement;

/* symbol (7). */
typedef struct SvgSymbolElement {
    uint32_t size; /* kSvgSymbolElementSize */
    int32_t externalResourcesRequired;
    SvgCoreAttributes core;
    SvgViewBox viewBox;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStyleProp style;
} SvgSymbolElement;

/* use (8). */
typedef struct SvgUseElement {
    uint32_t size; /* kSvgUseElementSize */
    int32_t externalResourcesRequired;
    KvChar* href; /* xlink:href, or href when that is missing */
    SvgLength x, y, height, width;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgXlinkAttributes xlink;
    K_SvgStyleProp style;
} SvgUseElement;

/* image (9). */
typedef struct SvgImageElement {
    uint32_t size; /* kSvgImageElementSize */
    int32_t externalResourcesRequired;
    KvChar* href;
    SvgLength x, y, height, width;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgXlinkAttributes xlink;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStyleProp style;
} SvgImageElement;

/* style (11): the element's own attributes come first. */
typedef struct SvgStyleElement {
    uint32_t size; /* kSvgStyleElementSize */
    KvChar* title;
    KvChar* media;
    KvChar* type;
    SvgCoreAttributes core;
} SvgStyleElement;

/* path (12). */
typedef struct SvgPathElement {
    uint32_t size; /* kSvgPathElementSize */
    int32_t externalResourcesRequired;
    SvgPathData d;
    SvgPercentage pathLength;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgPathElement;

/* rect (13). */
typedef struct SvgRectElement {
    uint32_t size; /* kSvgRectElementSize */
    int32_t externalResourcesRequired;
    SvgLength x, y, width, height, rx, ry;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgRectElement;

/* circle (14). */
typedef struct SvgCircleElement {
    uint32_t size; /* kSvgCircleElementSize */
    int32_t externalResourcesRequired;
    SvgLength cx, cy, r;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgCircleElement;

/* ellipse (15). */
typedef struct SvgEllipseElement {
    uint32_t size; /* kSvgEllipseElementSize */
    int32_t externalResourcesRequired;
    SvgLength cx, cy, rx, ry;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgEllipseElement;

/* line (16). */
typedef struct SvgLineElement {
    uint32_t size; /* kSvgLineElementSize */
    int32_t externalResourcesRequired;
    SvgLength x1, y1, x2, y2;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgLineElement;

/* polyline (17) and polygon (18). */
typedef struct SvgPolyElement {
    uint32_t size; /* kSvgPolyElementSize */
    int32_t externalResourcesRequired;
    uint32_t pointCount;
    SvgPoint* points; /* owned, pointCount entries */
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgPolyElement;
typedef SvgPolyElement SvgPolylineElement;
typedef SvgPolyElement SvgPolygonElement;

/* The character data of text, tspan and textPath: textCount characters
 * from text, which need not be zero-terminated when a caller writes. Read,
 * it is the first text child of the element. */

/* text (19). */
typedef struct SvgTextElement {
    uint32_t size; /* kSvgTextElementSize */
    int32_t externalResourcesRequired;
    KvChar* text; /* owned when read */
    uint32_t textCount;
    SvgLength textLength;
    uint32_t lengthAdjust;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgTextPositionAttributes position;
    K_SvgStyleProp style;
} SvgTextElement;

/* tspan (20). */
typedef struct SvgTSpanElement {
    uint32_t size; /* kSvgTSpanElementSize */
    int32_t externalResourcesRequired;
    KvChar* text;
    uint32_t textCount;
    SvgLength textLength;
    uint32_t lengthAdjust;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgTextPositionAttributes position;
    K_SvgStyleProp style;
} SvgTSpanElement;

/* tref (21). */
typedef struct SvgTRefElement {
    uint32_t size; /* kSvgTRefElementSize */
    int32_t externalResourcesRequired;
    KvChar* href;
    SvgLength textLength;
    uint32_t lengthAdjust;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgXlinkAttributes xlink;
    SvgTextPositionAttributes position;
    K_SvgStyleProp style;
} SvgTRefElement;

/* textPath (22). */
typedef struct SvgTextPathElement {
    uint32_t size; /* kSvgTextPathElementSize */
    int32_t externalResourcesRequired;
    KvChar* text;
    uint32_t textCount;
    KvChar* href;
    SvgLength startOffset;
    SvgLength textLength;
    uint32_t lengthAdjust;
    uint32_t spacing;
    uint32_t method;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgXlinkAttributes xlink;
    K_SvgStyleProp style;
} SvgTextPathElement;

/* altGlyph (23). */
typedef struct SvgAltGlyphElement {
    uint32_t size; /* kSvgAltGlyphElementSize */
    int32_t externalResourcesRequired;
    KvChar* href;
    KvChar* glyphRef;
    KvChar* format;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgXlinkAttributes xlink;
    SvgTextPositionAttributes position;
    K_SvgStyleProp style;
} SvgAltGlyphElement;

/* altGlyphDef (24) and altGlyphItem (25). */
typedef struct SvgAltGlyphDefElement {
    uint32_t size; /* kSvgAltGlyphDefElementSize */
    SvgCoreAttributes core;
} SvgAltGlyphDefElement;
typedef SvgAltGlyphDefElement SvgAltGlyphItemElement;

/* glyphRef (26). */
typedef struct SvgGlyphRefElement {
    uint32_t size; /* kSvgGlyphRefElementSize */
    KvChar* href;
    KvChar* glyphRef;
    KvChar* format;
    SvgLength x, y;
    double dx, dy;
    SvgCoreAttributes core;
    SvgXlinkAttributes xlink;
    K_SvgStyleProp style;
} SvgGlyphRefElement;

/* marker (27). */
typedef struct SvgMarkerElement {
    uint32_t size; /* kSvgMarkerElementSize */
    int32_t externalResourcesRequired;
    SvgKeywordAngle orient;
    uint32_t markerUnits;
    SvgLength refX, refY, markerWidth, markerHeight;
    SvgCoreAttributes core;
    SvgViewBox viewBox;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStyleProp style;
} SvgMarkerElement;

/* color-profile (28). */
typedef struct SvgColorProfileElement {
    uint32_t size; /* kSvgColorProfileElementSize */
    KvChar* href;
    KvChar* name;
    KvChar* local;
    uint32_t renderingIntent;
    SvgCoreAttributes core;
    SvgXlinkAttributes xlink;
} SvgColorProfileElement;

/* linearGradient (29). */
typedef struct SvgLinearGradientElement {
    uint32_t size; /* kSvgLinearGradientElementSize */
    int32_t externalResourcesRequired;
    KvChar* href;
    uint32_t spreadMethod;
    uint32_t gradientUnits;
    SvgLength x1, y1, x2, y2;
    SvgTransformList gradientTransform;
    SvgCoreAttributes core;
    SvgXlinkAttributes xlink;
    K_SvgStyleProp style;
} SvgLinearGradientElement;

/* radialGradient (30). */
typedef struct SvgRadialGradientElement {
    uint32_t size; /* kSvgRadialGradientElementSize */
    int32_t externalResourcesRequired;
    KvChar* href;
    uint32_t spreadMethod;
    uint32_t gradientUnits;
    SvgLength cx, cy, fx, fy, r;
    SvgTransformList gradientTransform;
    SvgCoreAttributes core;
    SvgXlinkAttributes xlink;
    K_SvgStyleProp style;
} SvgRadialGradientElement;

/* stop (31): no externalResourcesRequired. */
typedef struct SvgStopElement {
    uint32_t size; /* kSvgStopElementSize */
    SvgLength offset; /* a number, or a percentage with the percent flag */
    SvgCoreAttributes core;
    K_SvgStyleProp style;
} SvgStopElement;

/* pattern (32). */
typedef struct SvgPatternElement {
    uint32_t size; /* kSvgPatternElementSize */
    int32_t externalResourcesRequired;
    KvChar* href;
    uint32_t patternUnits;
    uint32_t patternContentUnits;
    SvgLength x, y, height, width;
    SvgTransformList patternTransform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgXlinkAttributes xlink;
    SvgViewBox viewBox;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStyleProp style;
} SvgPatternElement;

/* clipPath (33). */
typedef struct SvgClipPathElement {
    uint32_t size; /* kSvgClipPathElementSize */
    int32_t externalResourcesRequired;
    uint32_t clipPathUnits;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgClipPathElement;

/* font (34). */
typedef struct SvgFontElement {
    uint32_t size; /* kSvgFontElementSize */
    int32_t externalResourcesRequired;
    double horizOriginX, horizOriginY, horizAdvX;
    double vertOriginX, vertOriginY, vertAdvY;
    SvgCoreAttributes core;
    K_SvgStyleProp style;
} SvgFontElement;

/* glyph (35). */
typedef struct SvgGlyphElement {
    uint32_t size; /* kSvgGlyphElementSize */
    KvChar* lang;
    KvChar* unicode;   /* kept as written, blanks included */
    KvChar* glyphName;
    double horizAdvX, vertOriginX, vertOriginY, vertAdvY;
    uint32_t arabicForm;
    uint32_t orientation;
    SvgPathData d;
    SvgCoreAttributes core;
    K_SvgStyleProp style;
} SvgGlyphElement;

/* missing-glyph (36). */
typedef struct SvgMissingGlyphElement {
    uint32_t size; /* kSvgMissingGlyphElementSize */
    double horizAdvX, vertOriginX, vertOriginY, vertAdvY;
    SvgPathData d;
    SvgCoreAttributes core;
    K_SvgStyleProp style;
} SvgMissingGlyphElement;

/* hkern (37) and vkern (38). */
typedef struct SvgKernElement {
    uint32_t size; /* kSvgKernElementSize */
    double k;
    KvChar* u1;
    KvChar* g1;
    KvChar* u2;
    KvChar* g2;
    SvgCoreAttributes core;
} SvgKernElement;
typedef SvgKernElement SvgHKernElement;
typedef SvgKernElement SvgVKernElement;

/* font-face (39): the font description, then the font properties. */
typedef struct SvgFontFaceElement {
    uint32_t size; /* kSvgFontFaceElementSize */
    KvChar* unicodeRange;
    KvChar* panose1;
    KvChar* widths;
    KvChar* bbox;
    double stemv, stemh, slope, ascent, descent, xHeight, hanging, alphabetic, capHeight, unitsPerEm;
    double ideographic, vHanging, vAlphabetic, vIdeographic, vMathematical, accentHeight, mathematical;
    double overlinePosition, overlineThickness, underlinePosition, underlineThickness;
    double strikethroughPosition, strikethroughThickness;
    SvgCoreAttributes core;
    SvgFontAttributes font;
} SvgFontFaceElement;

/* font-face-src (40). */
typedef struct SvgFontFaceSrcElement {
    uint32_t size; /* kSvgFontFaceSrcElementSize */
    SvgCoreAttributes core;
} SvgFontFaceSrcElement;

/* font-face-uri (41) and definition-src (44). */
typedef struct SvgFontFaceUriElement {
    uint32_t size; /* kSvgFontFaceUriElementSize */
    KvChar* href;
    SvgCoreAttributes core;
    SvgXlinkAttributes xlink;
} SvgFontFaceUriElement;
typedef SvgFontFaceUriElement SvgDefinitionSrcElement;

/* font-face-format (42). */
typedef struct SvgFontFaceFormatElement {
    uint32_t size; /* kSvgFontFaceFormatElementSize */
    KvChar* string;
    SvgCoreAttributes core;
} SvgFontFaceFormatElement;

/* font-face-name (43). */
typedef struct SvgFontFaceNameElement {
    uint32_t size; /* kSvgFontFaceNameElementSize */
    KvChar* name;
    SvgCoreAttributes core;
} SvgFontFaceNameElement;

/* a (45). */
typedef struct SvgAnchorElement {
    uint32_t size; /* kSvgAnchorElementSize */
    KvChar* href;
    SvgTransformList transform;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    SvgXlinkAttributes xlink;
    K_SvgStyleProp style;
} SvgAnchorElement;

/* mask (46): no externalResourcesRequired; the geometry is read after the
 * presentation attributes. */
typedef struct SvgMaskElement {
    uint32_t size; /* kSvgMaskElementSize */
    SvgLength x, y, height, width;
    SvgCoreAttributes core;
    SvgConditionalAttributes conditional;
    K_SvgStyleProp style;
} SvgMaskElement;

/* ---- Sizes ------------------------------------------------------------- */

#define kSvgSvgElementSize ((uint32_t)sizeof(SvgSvgElement))
#define kSvgGElementSize ((uint32_t)sizeof(SvgGElement))
#define kSvgDefsElementSize kSvgGElementSize
#define kSvgSwitchElementSize kSvgGElementSize
#define kSvgDescElementSize ((uint32_t)sizeof(SvgDescElement))
#define kSvgTitleElementSize kSvgDescElementSize
#define kSvgSymbolElementSize ((uint32_t)sizeof(SvgSymbolElement))
#define kSvgUseElementSize ((uint32_t)sizeof(SvgUseElement))
#define kSvgImageElementSize ((uint32_t)sizeof(SvgImageElement))
#define kSvgStyleElementSize ((uint32_t)sizeof(SvgStyleElement))
#define kSvgPathElementSize ((uint32_t)sizeof(SvgPathElement))
#define kSvgRectElementSize ((uint32_t)sizeof(SvgRectElement))
#define kSvgCircleElementSize ((uint32_t)sizeof(SvgCircleElement))
#define kSvgEllipseElementSize ((uint32_t)sizeof(SvgEllipseElement))
#define kSvgLineElementSize ((uint32_t)sizeof(SvgLineElement))
#define kSvgPolyElementSize ((uint32_t)sizeof(SvgPolyElement))
#define kSvgPolylineElementSize kSvgPolyElementSize
#define kSvgPolygonElementSize kSvgPolyElementSize
#define kSvgTextElementSize ((uint32_t)sizeof(SvgTextElement))
#define kSvgTSpanElementSize ((uint32_t)sizeof(SvgTSpanElement))
#define kSvgTRefElementSize ((uint32_t)sizeof(SvgTRefElement))
#define kSvgTextPathElementSize ((uint32_t)sizeof(SvgTextPathElement))
#define kSvgAltGlyphElementSize ((uint32_t)sizeof(SvgAltGlyphElement))
#define kSvgAltGlyphDefElementSize ((uint32_t)sizeof(SvgAltGlyphDefElement))
#define kSvgAltGlyphItemElementSize kSvgAltGlyphDefElementSize
#define kSvgGlyphRefElementSize ((uint32_t)sizeof(SvgGlyphRefElement))
#define kSvgMarkerElementSize ((uint32_t)sizeof(SvgMarkerElement))
#define kSvgColorProfileElementSize ((uint32_t)sizeof(SvgColorProfileElement))
#define kSvgLinearGradientElementSize ((uint32_t)sizeof(SvgLinearGradientElement))
#define kSvgRadialGradientElementSize ((uint32_t)sizeof(SvgRadialGradientElement))
#define kSvgStopElementSize ((uint32_t)sizeof(SvgStopElement))
#define kSvgPatternElementSize ((uint32_t)sizeof(SvgPatternElement))
#define kSvgClipPathElementSize ((uint32_t)sizeof(SvgClipPathElement))
#define kSvgFontElementSize ((uint32_t)sizeof(SvgFontElement))
#define kSvgGlyphElementSize ((uint32_t)sizeof(SvgGlyphElement))
#define kSvgMissingGlyphElementSize ((uint32_t)sizeof(SvgMissingGlyphElement))
#define kSvgKernElementSize ((uint32_t)sizeof(SvgKernElement))
#define kSvgHKernElementSize kSvgKernElementSize
#define kSvgVKernElementSize kSvgKernElementSize
#define kSvgFontFaceElementSize ((uint32_t)sizeof(SvgFontFaceElement))
#define kSvgFontFaceSrcElementSize ((uint32_t)sizeof(SvgFontFaceSrcElement))
#define kSvgFontFaceUriElementSize ((uint32_t)sizeof(SvgFontFaceUriElement))
#define kSvgDefinitionSrcElementSize kSvgFontFaceUriElementSize
#define kSvgFontFaceFormatElementSize ((uint32_t)sizeof(SvgFontFaceFormatElement))
#define kSvgFontFaceNameElementSize ((uint32_t)sizeof(SvgFontFaceNameElement))
#define kSvgAnchorElementSize ((uint32_t)sizeof(SvgAnchorElement))
#define kSvgMaskElementSize ((uint32_t)sizeof(SvgMaskElement))

/* ---- Exports ------------------------------------------------------------
 *   102 K_SvgFreeElement       104 K_SvgInitElement
 *   201 K_SvgGetElement        202 K_SvgSetElement
 *   308 K_SvgSetDocumentVersion 315 K_SvgResizeDocument
 *   501 K_SvgInsertElement
 *   1002 K_SvgGetFileOptions   1003 K_SvgGetSvgNodeFileOptions
 */

/* Sets up a record of the element type; size must be the type's record size. */
KVSVG_API int32_t K_SvgInitElement(void* record, uint32_t type, uint32_t size);
/* Gives back what the record owns; the record stays set up. */
KVSVG_API int32_t K_SvgFreeElement(void* record, uint32_t type);
/* Reads the element's attributes into a record set up by K_SvgInitElement.
 * On failure the record has been emptied (unless the status is
 * ERROR_RECORD_SIZE, when it was never touched). */
KVSVG_API int32_t K_SvgGetElement(SvgHandle node, void* record, uint32_t size);
/* Writes the whole record back as attributes; attributes the record does not
 * cover are left alone. */
KVSVG_API int32_t K_SvgSetElement(SvgHandle node, const void* record);
/* Inserts an element of the type at a position relative to parent and
 * writes the record on it; *node (optional) receives the new element. A
 * failure leaves the tree as it was. */
KVSVG_API int32_t K_SvgInsertElement(SvgHandle parent, const void* record, uint32_t type, uint32_t position,
                                     SvgHandle* node);

/* Stores the version (0 none, 1 "1.0", 2 "1.1") and has every element write
 * itself again for it. */
KVSVG_API int32_t K_SvgSetDocumentVersion(SvgHandle document, uint32_t version);
/* Flat documents only: scales the root's width and height (and the bounds)
 * by factor, keeping the content in place through the viewBox. */
KVSVG_API int32_t K_SvgResizeDocument(SvgHandle document, double factor);
/* Size and resolution of the root; each double is -1.0 when unknown. */
KVSVG_API int32_t K_SvgGetFileOptions(SvgHandle document, SvgFileOptions* options, uint32_t size);
KVSVG_API int32_t K_SvgGetSvgNodeFileOptions(SvgHandle node, SvgFileOptions* options, uint32_t size);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_ELEMENTS_H */
