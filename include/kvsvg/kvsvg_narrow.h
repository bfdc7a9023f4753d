/* kvsvg: the narrow-character twins of the exports that take or give text.
 * Included by kvsvg.h. C11 and C++.
 *
 * Narrow text is UTF-8. Each twin converts its text to UTF-16, calls the
 * wide export of the same name without the "A", converts what comes back
 * and frees what it made, on every path; the wide export's status comes
 * out unchanged. A null text stays null. Bytes that are not UTF-8 read as
 * U+FFFD. Narrow texts handed out are freed with K_SvgFreeMemory.
 *
 * Records. A narrow element record is its wide twin with char* where the
 * wide record has KvChar*: the same fields, layout and size. A record read
 * by K_SvgGetElementA owns its texts and lists and is given back with
 * K_SvgFreeElement, like a wide one. The character count of text, tspan
 * and textPath counts bytes in a narrow record.
 *
 * Kept as the family always had it: K_SvgGetElementNameA gives the
 * element's text value, exactly as K_SvgGetElementValueA does, not its
 * name; a caller that needs the name uses K_SvgGetElementName.
 */
#ifndef KVSVG_KVSVG_NARROW_H
#define KVSVG_KVSVG_NARROW_H

#include <stddef.h>
#include <stdint.h>

#include "kvsvg/kvsvg.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Save options ------------------------------------------------------
 * 26 bytes without padding, as the narrow family has always laid it out. */
#pragma pack(push, 1)
typedef struct SvgSaveOptionsA {
    uint32_t size;       /* kSvgSaveOptionsASize */
    uint32_t formatted;  /* nonzero: indented */
    char indent[10];     /* zero-terminated UTF-8 indentation */
    uint32_t encoding;   /* 1: UTF-16, otherwise UTF-8 */
    uint32_t compressed; /* 1: gzip */
} SvgSaveOptionsA;
#pragma pack(pop)

#define kSvgSaveOptionsASize ((uint32_t)sizeof(SvgSaveOptionsA))

/* ---- Data URIs ---------------------------------------------------------
 * The fields of SvgDataUri; uri is the caller's narrow string, and the
 * offsets and lengths still count UTF-16 code units of its wide form. */
typedef struct SvgDataUriA {
    uint32_t size;        /* kSvgDataUriASize, written by K_SvgParseDataUriA */
    uint32_t isDataUri;
    const char* uri;
    uint32_t mediaOffset;
    uint32_t mediaLength;
    uint32_t charsetOffset;
    uint32_t charsetLength;
    uint32_t isBase64;
    uint32_t valueOffset;
    uint32_t valueLength;
    uint32_t imageFormat;
    char extension[8];    /* "png", "jpg", "gif" or empty; zero-terminated */
} SvgDataUriA;

#define kSvgDataUriASize ((uint32_t)sizeof(SvgDataUriA))

/* ---- Value records and attribute groups that hold text ----------------- */

typedef struct SvgColorA {
    uint32_t size;  /* kSvgColorSize */
    char* text;   /* owned; the colour for kinds 0 and 1, a reference id inside a paint of kind 4 */
    SvgPercentage red, green, blue; /* kind 2; a percentage is read as 0 to 255 with type 0 */
    uint32_t kind;  /* SVG_COLOR_... */
} SvgColorA;

typedef struct SvgPaintA {
    uint32_t size;  /* kSvgPaintSize */
    SvgColorA color;
    uint32_t kind;  /* SVG_PAINT_... */
} SvgPaintA;

typedef struct SvgReferenceA {
    uint32_t size; /* kSvgReferenceSize */
    char* id;    /* owned, the bare id of url(#id) */
    uint32_t kind;
} SvgReferenceA;

typedef struct SvgColorValueA {
    uint32_t size; /* kSvgColorValueSize */
    SvgColorA color;
    uint32_t kind;
} SvgColorValueA;

typedef struct SvgColorProfileA {
    char* text; /* owned */
    uint32_t kind;
} SvgColorProfileA;

typedef struct SvgFontNameA {
    uint32_t size; /* kSvgFontNameSize */
    char* text;  /* owned */
    uint32_t kind;
} SvgFontNameA;

typedef struct SvgCoreAttributesA {
    uint32_t size;    /* kSvgCoreAttributesSize */
    char* id;
    char* xmlBase;
    uint32_t xmlLang;  /* 1 "en", 2 "en-GB", 3 "en-US" */
    uint32_t xmlSpace; /* 1 "default", 2 "preserve" */
} SvgCoreAttributesA;

typedef struct SvgConditionalAttributesA {
    uint32_t size;               /* kSvgConditionalAttributesSize */
    char* requiredExtensions;  /* not read or written by the groups */
    uint32_t requiredFeatures;   /* SVG_FEATURE_... bits */
    char* systemLanguage;
} SvgConditionalAttributesA;

typedef struct SvgXlinkAttributesA {
    uint32_t size;       /* kSvgXlinkAttributesSize */
    char* xmlnsXlink;  /* the namespace declaration's value */
    uint32_t type;       /* 1 "simple", 2 "extended", 3 "locator", 4 "arc" */
    char* role;
    char* arcrole;
    char* title;
    uint32_t show;       /* 1 "new", 2 "replace", 3 "embed", 4 "other", 5 "none" */
    uint32_t actuate;    /* 1 "onRequest", 2 "onLoad" */
} SvgXlinkAttributesA;

typedef struct SvgFillA {
    uint32_t size;  /* kSvgFillSize */
    double opacity; /* fill-opacity */
    SvgPaintA paint;
    uint32_t rule;  /* 1 "nonzero", 2 "evenodd" */
} SvgFillA;

typedef struct SvgStrokeA {
    uint32_t size;     /* kSvgStrokeSize */
    double opacity;    /* stroke-opacity */
    double miterLimit; /* stroke-miterlimit */
    SvgPaintA paint;
    SvgLength width;
    SvgLength dashOffset;
    uint32_t lineCap;  /* 1 "butt", 2 "round", 3 "square" */
    uint32_t lineJoin; /* 1 "miter", 2 "round", 3 "bevel" */
    SvgDashArray dashArray;
} SvgStrokeA;

typedef struct SvgMarkerAttributesA {
    uint32_t size; /* kSvgMarkerAttributesSize */
    SvgReferenceA marker;
    SvgReferenceA markerStart;
    SvgReferenceA markerMid;
    SvgReferenceA markerEnd;
} SvgMarkerAttributesA;

typedef struct SvgStopAttributesA {
    uint32_t size; /* kSvgStopAttributesSize */
    double stopOpacity;
    SvgColorValueA stopColor;
} SvgStopAttributesA;

typedef struct SvgFontAttributesA {
    uint32_t size; /* kSvgFontAttributesSize */
    uint32_t fontStyle;
    uint32_t fontWeight;
    uint32_t fontVariant;
    uint32_t fontStretch;
    char* fontFamily; /* owned, blanks kept */
    SvgFontSize fontSize;
    SvgFontNameA font;
    SvgFontSizeAdjust fontSizeAdjust;
} SvgFontAttributesA;

typedef struct SvgTextAttributesA {
    uint32_t size;           /* kSvgTextAttributesSize */
    uint32_t textDecoration; /* SVG_TEXT_DECORATION_... bits */
    uint32_t writingMode;    /* 1 "lr-tb", 2 "rl-tb", 3 "tb-rl", 4 "lr", 5 "rl", 6 "tb" */
    SvgSpacingAttributes spacing;
    SvgDirectionAttributes direction;
    SvgAnchorAttributes anchor;
    SvgGlyphOrientationAttributes orientation;
    SvgFontAttributesA font;
} SvgTextAttributesA;

typedef struct SvgColorValueAttributesA {
    uint32_t size; /* kSvgColorValueAttributesSize */
    SvgColorValueA color;
    SvgColorProfileA colorProfile;
} SvgColorValueAttributesA;

typedef struct SvgPaintAttributesA {
    uint32_t size; /* kSvgPaintAttributesSize */
    SvgFillA fill;
    SvgStrokeA stroke;
    SvgMarkerAttributesA markers;
    SvgColorAttributes rendering;
    SvgVisibilityAttributes visibility;
} SvgPaintAttributesA;

typedef struct K_SvgStylePropA {
    uint32_t size;  /* kSvgStylePropSize */
    double opacity; /* multiplied down the tree when flattening */
    SvgTextAttributesA text;
    SvgColorValueAttributesA colorValue;
    SvgReferenceA clipPath; /* kind 1 "none", 2 reference; not inherited */
    SvgPaintAttributesA paint;
    SvgStopAttributesA stop;
    SvgClipRectAttributes clipRect;
} K_SvgStylePropA;

/* ---- Element records ---------------------------------------------------- */

typedef struct SvgSvgElementA {
    uint32_t size;                     /* kSvgSvgElementASize */
    int32_t externalResourcesRequired; /* kept but neither read nor written for svg */
    SvgLength x, y, width, height;
    SvgViewBox viewBox;
    uint32_t contentStyleType;
    uint32_t contentScriptType;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
    SvgXlinkAttributesA xlink;
    SvgPreserveAspectRatio preserveAspectRatio;
    SvgTransformList transform;
} SvgSvgElementA;

typedef struct SvgGElementA {
    uint32_t size; /* kSvgGElementASize */
    int32_t externalResourcesRequired;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgGElementA;

typedef SvgGElementA SvgDefsElementA;

typedef SvgGElementA SvgSwitchElementA;

typedef struct SvgDescElementA {
    uint32_t size; /* kSvgDescElementASize */
    SvgCoreAttributesA core;
    K_SvgStylePropA style;
} SvgDescElementA;

typedef SvgDescElementA SvgTitleElementA;

typedef struct SvgSymbolElementA {
    uint32_t size; /* kSvgSymbolElementASize */
    int32_t externalResourcesRequired;
    SvgCoreAttributesA core;
    SvgViewBox viewBox;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStylePropA style;
} SvgSymbolElementA;

typedef struct SvgUseElementA {
    uint32_t size; /* kSvgUseElementASize */
    int32_t externalResourcesRequired;
    char* href; /* xlink:href, or href when that is missing */
    SvgLength x, y, height, width;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgXlinkAttributesA xlink;
    K_SvgStylePropA style;
} SvgUseElementA;

typedef struct SvgImageElementA {
    uint32_t size; /* kSvgImageElementASize */
    int32_t externalResourcesRequired;
    char* href;
    SvgLength x, y, height, width;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgXlinkAttributesA xlink;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStylePropA style;
} SvgImageElementA;

typedef struct SvgStyleElementA {
    uint32_t size; /* kSvgStyleElementASize */
    char* title;
    char* media;
    char* type;
    SvgCoreAttributesA core;
} SvgStyleElementA;

typedef struct SvgPathElementA {
    uint32_t size; /* kSvgPathElementASize */
    int32_t externalResourcesRequired;
    SvgPathData d;
    SvgPercentage pathLength;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgPathElementA;

typedef struct SvgRectElementA {
    uint32_t size; /* kSvgRectElementASize */
    int32_t externalResourcesRequired;
    SvgLength x, y, width, height, rx, ry;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgRectElementA;

typedef struct SvgCircleElementA {
    uint32_t size; /* kSvgCircleElementASize */
    int32_t externalResourcesRequired;
    SvgLength cx, cy, r;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgCircleElementA;

typedef struct SvgEllipseElementA {
    uint32_t size; /* kSvgEllipseElementASize */
    int32_t externalResourcesRequired;
    SvgLength cx, cy, rx, ry;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgEllipseElementA;

typedef struct SvgLineElementA {
    uint32_t size; /* kSvgLineElementASize */
    int32_t externalResourcesRequired;
    SvgLength x1, y1, x2, y2;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgLineElementA;

typedef struct SvgPolyElementA {
    uint32_t size; /* kSvgPolyElementASize */
    int32_t externalResourcesRequired;
    uint32_t pointCount;
    SvgPoint* points; /* owned, pointCount entries */
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgPolyElementA;

typedef SvgPolyElementA SvgPolylineElementA;

typedef SvgPolyElementA SvgPolygonElementA;

typedef struct SvgTextElementA {
    uint32_t size; /* kSvgTextElementASize */
    int32_t externalResourcesRequired;
    char* text; /* owned when read */
    uint32_t textCount; /* bytes of text */
    SvgLength textLength;
    uint32_t lengthAdjust;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgTextPositionAttributes position;
    K_SvgStylePropA style;
} SvgTextElementA;

typedef struct SvgTSpanElementA {
    uint32_t size; /* kSvgTSpanElementASize */
    int32_t externalResourcesRequired;
    char* text;
    uint32_t textCount; /* bytes of text */
    SvgLength textLength;
    uint32_t lengthAdjust;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgTextPositionAttributes position;
    K_SvgStylePropA style;
} SvgTSpanElementA;

typedef struct SvgTRefElementA {
    uint32_t size; /* kSvgTRefElementASize */
    int32_t externalResourcesRequired;
    char* href;
    SvgLength textLength;
    uint32_t lengthAdjust;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgXlinkAttributesA xlink;
    SvgTextPositionAttributes position;
    K_SvgStylePropA style;
} SvgTRefElementA;

typedef struct SvgTextPathElementA {
    uint32_t size; /* kSvgTextPathElementASize */
    int32_t externalResourcesRequired;
    char* text;
    uint32_t textCount; /* bytes of text */
    char* href;
    SvgLength startOffset;
    SvgLength textLength;
    uint32_t lengthAdjust;
    uint32_t spacing;
    uint32_t method;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgXlinkAttributesA xlink;
    K_SvgStylePropA style;
} SvgTextPathElementA;

typedef struct SvgAltGlyphElementA {
    uint32_t size; /* kSvgAltGlyphElementASize */
    int32_t externalResourcesRequired;
    char* href;
    char* glyphRef;
    char* format;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgXlinkAttributesA xlink;
    SvgTextPositionAttributes position;
    K_SvgStylePropA style;
} SvgAltGlyphElementA;

typedef struct SvgAltGlyphDefElementA {
    uint32_t size; /* kSvgAltGlyphDefElementASize */
    SvgCoreAttributesA core;
} SvgAltGlyphDefElementA;

typedef SvgAltGlyphDefElementA SvgAltGlyphItemElementA;

typedef struct SvgGlyphRefElementA {
    uint32_t size; /* kSvgGlyphRefElementASize */
    char* href;
    char* glyphRef;
    char* format;
    SvgLength x, y;
    double dx, dy;
    SvgCoreAttributesA core;
    SvgXlinkAttributesA xlink;
    K_SvgStylePropA style;
} SvgGlyphRefElementA;

typedef struct SvgMarkerElementA {
    uint32_t size; /* kSvgMarkerElementASize */
    int32_t externalResourcesRequired;
    SvgKeywordAngle orient;
    uint32_t markerUnits;
    SvgLength refX, refY, markerWidth, markerHeight;
    SvgCoreAttributesA core;
    SvgViewBox viewBox;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStylePropA style;
} SvgMarkerElementA;

typedef struct SvgColorProfileElementA {
    uint32_t size; /* kSvgColorProfileElementASize */
    char* href;
    char* name;
    char* local;
    uint32_t renderingIntent;
    SvgCoreAttributesA core;
    SvgXlinkAttributesA xlink;
} SvgColorProfileElementA;

typedef struct SvgLinearGradientElementA {
    uint32_t size; /* kSvgLinearGradientElementASize */
    int32_t externalResourcesRequired;
    char* href;
    uint32_t spreadMethod;
    uint32_t gradientUnits;
    SvgLength x1, y1, x2, y2;
    SvgTransformList gradientTransform;
    SvgCoreAttributesA core;
    SvgXlinkAttributesA xlink;
    K_SvgStylePropA style;
} SvgLinearGradientElementA;

typedef struct SvgRadialGradientElementA {
    uint32_t size; /* kSvgRadialGradientElementASize */
    int32_t externalResourcesRequired;
    char* href;
    uint32_t spreadMethod;
    uint32_t gradientUnits;
    SvgLength cx, cy, fx, fy, r;
    SvgTransformList gradientTransform;
    SvgCoreAttributesA core;
    SvgXlinkAttributesA xlink;
    K_SvgStylePropA style;
} SvgRadialGradientElementA;

typedef struct SvgStopElementA {
    uint32_t size; /* kSvgStopElementASize */
    SvgLength offset; /* a number, or a percentage with the percent flag */
    SvgCoreAttributesA core;
    K_SvgStylePropA style;
} SvgStopElementA;

typedef struct SvgPatternElementA {
    uint32_t size; /* kSvgPatternElementASize */
    int32_t externalResourcesRequired;
    char* href;
    uint32_t patternUnits;
    uint32_t patternContentUnits;
    SvgLength x, y, height, width;
    SvgTransformList patternTransform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgXlinkAttributesA xlink;
    SvgViewBox viewBox;
    SvgPreserveAspectRatio preserveAspectRatio;
    K_SvgStylePropA style;
} SvgPatternElementA;

typedef struct SvgClipPathElementA {
    uint32_t size; /* kSvgClipPathElementASize */
    int32_t externalResourcesRequired;
    uint32_t clipPathUnits;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgClipPathElementA;

typedef struct SvgFontElementA {
    uint32_t size; /* kSvgFontElementASize */
    int32_t externalResourcesRequired;
    double horizOriginX, horizOriginY, horizAdvX;
    double vertOriginX, vertOriginY, vertAdvY;
    SvgCoreAttributesA core;
    K_SvgStylePropA style;
} SvgFontElementA;

typedef struct SvgGlyphElementA {
    uint32_t size; /* kSvgGlyphElementASize */
    char* lang;
    char* unicode;   /* kept as written, blanks included */
    char* glyphName;
    double horizAdvX, vertOriginX, vertOriginY, vertAdvY;
    uint32_t arabicForm;
    uint32_t orientation;
    SvgPathData d;
    SvgCoreAttributesA core;
    K_SvgStylePropA style;
} SvgGlyphElementA;

typedef struct SvgMissingGlyphElementA {
    uint32_t size; /* kSvgMissingGlyphElementASize */
    double horizAdvX, vertOriginX, vertOriginY, vertAdvY;
    SvgPathData d;
    SvgCoreAttributesA core;
    K_SvgStylePropA style;
} SvgMissingGlyphElementA;

typedef struct SvgKernElementA {
    uint32_t size; /* kSvgKernElementASize */
    double k;
    char* u1;
    char* g1;
    char* u2;
    char* g2;
    SvgCoreAttributesA core;
} SvgKernElementA;

typedef SvgKernElementA SvgHKernElementA;

typedef SvgKernElementA SvgVKernElementA;

typedef struct SvgFontFaceElementA {
    uint32_t size; /* kSvgFontFaceElementASize */
    char* unicodeRange;
    char* panose1;
    char* widths;
    char* bbox;
    double stemv, stemh, slope, ascent, descent, xHeight, hanging, alphabetic, capHeight, unitsPerEm;
    double ideographic, vHanging, vAlphabetic, vIdeographic, vMathematical, accentHeight, mathematical;
    double overlinePosition, overlineThickness, underlinePosition, underlineThickness;
    double strikethroughPosition, strikethroughThickness;
    SvgCoreAttributesA core;
    SvgFontAttributesA font;
} SvgFontFaceElementA;

typedef struct SvgFontFaceSrcElementA {
    uint32_t size; /* kSvgFontFaceSrcElementASize */
    SvgCoreAttributesA core;
} SvgFontFaceSrcElementA;

typedef struct SvgFontFaceUriElementA {
    uint32_t size; /* kSvgFontFaceUriElementASize */
    char* href;
    SvgCoreAttributesA core;
    SvgXlinkAttributesA xlink;
} SvgFontFaceUriElementA;

typedef SvgFontFaceUriElementA SvgDefinitionSrcElementA;

typedef struct SvgFontFaceFormatElementA {
    uint32_t size; /* kSvgFontFaceFormatElementASize */
    char* string;
    SvgCoreAttributesA core;
} SvgFontFaceFormatElementA;

typedef struct SvgFontFaceNameElementA {
    uint32_t size; /* kSvgFontFaceNameElementASize */
    char* name;
    SvgCoreAttributesA core;
} SvgFontFaceNameElementA;

typedef struct SvgAnchorElementA {
    uint32_t size; /* kSvgAnchorElementASize */
    char* href;
    SvgTransformList transform;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    SvgXlinkAttributesA xlink;
    K_SvgStylePropA style;
} SvgAnchorElementA;

typedef struct SvgMaskElementA {
    uint32_t size; /* kSvgMaskElementASize */
    SvgLength x, y, height, width;
    SvgCoreAttributesA core;
    SvgConditionalAttributesA conditional;
    K_SvgStylePropA style;
} SvgMaskElementA;

/* ---- Sizes: each equals its wide twin's ---------------------------------- */

#define kSvgSvgElementASize ((uint32_t)sizeof(SvgSvgElementA))
#define kSvgGElementASize ((uint32_t)sizeof(SvgGElementA))
#define kSvgDefsElementASize kSvgGElementASize
#define kSvgSwitchElementASize kSvgGElementASize
#define kSvgDescElementASize ((uint32_t)sizeof(SvgDescElementA))
#define kSvgTitleElementASize kSvgDescElementASize
#define kSvgSymbolElementASize ((uint32_t)sizeof(SvgSymbolElementA))
#define kSvgUseElementASize ((uint32_t)sizeof(SvgUseElementA))
#define kSvgImageElementASize ((uint32_t)sizeof(SvgImageElementA))
#define kSvgStyleElementASize ((uint32_t)sizeof(SvgStyleElementA))
#define kSvgPathElementASize ((uint32_t)sizeof(SvgPathElementA))
#define kSvgRectElementASize ((uint32_t)sizeof(SvgRectElementA))
#define kSvgCircleElementASize ((uint32_t)sizeof(SvgCircleElementA))
#define kSvgEllipseElementASize ((uint32_t)sizeof(SvgEllipseElementA))
#define kSvgLineElementASize ((uint32_t)sizeof(SvgLineElementA))
#define kSvgPolyElementASize ((uint32_t)sizeof(SvgPolyElementA))
#define kSvgPolylineElementASize kSvgPolyElementASize
#define kSvgPolygonElementASize kSvgPolyElementASize
#define kSvgTextElementASize ((uint32_t)sizeof(SvgTextElementA))
#define kSvgTSpanElementASize ((uint32_t)sizeof(SvgTSpanElementA))
#define kSvgTRefElementASize ((uint32_t)sizeof(SvgTRefElementA))
#define kSvgTextPathElementASize ((uint32_t)sizeof(SvgTextPathElementA))
#define kSvgAltGlyphElementASize ((uint32_t)sizeof(SvgAltGlyphElementA))
#define kSvgAltGlyphDefElementASize ((uint32_t)sizeof(SvgAltGlyphDefElementA))
#define kSvgAltGlyphItemElementASize kSvgAltGlyphDefElementASize
#define kSvgGlyphRefElementASize ((uint32_t)sizeof(SvgGlyphRefElementA))
#define kSvgMarkerElementASize ((uint32_t)sizeof(SvgMarkerElementA))
#define kSvgColorProfileElementASize ((uint32_t)sizeof(SvgColorProfileElementA))
#define kSvgLinearGradientElementASize ((uint32_t)sizeof(SvgLinearGradientElementA))
#define kSvgRadialGradientElementASize ((uint32_t)sizeof(SvgRadialGradientElementA))
#define kSvgStopElementASize ((uint32_t)sizeof(SvgStopElementA))
#define kSvgPatternElementASize ((uint32_t)sizeof(SvgPatternElementA))
#define kSvgClipPathElementASize ((uint32_t)sizeof(SvgClipPathElementA))
#define kSvgFontElementASize ((uint32_t)sizeof(SvgFontElementA))
#define kSvgGlyphElementASize ((uint32_t)sizeof(SvgGlyphElementA))
#define kSvgMissingGlyphElementASize ((uint32_t)sizeof(SvgMissingGlyphElementA))
#define kSvgKernElementASize ((uint32_t)sizeof(SvgKernElementA))
#define kSvgHKernElementASize kSvgKernElementASize
#define kSvgVKernElementASize kSvgKernElementASize
#define kSvgFontFaceElementASize ((uint32_t)sizeof(SvgFontFaceElementA))
#define kSvgFontFaceSrcElementASize ((uint32_t)sizeof(SvgFontFaceSrcElementA))
#define kSvgFontFaceUriElementASize ((uint32_t)sizeof(SvgFontFaceUriElementA))
#define kSvgDefinitionSrcElementASize kSvgFontFaceUriElementASize
#define kSvgFontFaceFormatElementASize ((uint32_t)sizeof(SvgFontFaceFormatElementA))
#define kSvgFontFaceNameElementASize ((uint32_t)sizeof(SvgFontFaceNameElementA))
#define kSvgAnchorElementASize ((uint32_t)sizeof(SvgAnchorElementA))
#define kSvgMaskElementASize ((uint32_t)sizeof(SvgMaskElementA))

/* ---- Exports ------------------------------------------------------------
 * Ordinals 1200 to 1222 are the narrow twins, in the order below
 * (K_SvgSortElementsA is declared with sorting). */

/* Path or text in. */
KVSVG_API int32_t K_SvgLoadDocumentA(const char* path, SvgHandle* document, const SvgLoadOptions* options);
KVSVG_API int32_t K_SvgInsertUserElementA(SvgHandle parent, const char* name, uint32_t position, SvgHandle* node);
KVSVG_API int32_t K_SvgSelectSingleNodeA(SvgHandle handle, const char* xpath, SvgHandle* node);
KVSVG_API int32_t K_SvgSelectNodesA(SvgHandle handle, const char* xpath, SvgNodesIterator* iterator);
KVSVG_API int32_t K_SvgSetElementValueA(SvgHandle node, const char* value);
KVSVG_API int32_t K_SvgSetElementAttributeValueA(SvgHandle node, const char* name, const char* value);
KVSVG_API int32_t K_SvgRemoveElementAttributeA(SvgHandle node, const char* name);
KVSVG_API int32_t K_SvgDecodeDataUriToFileA(const SvgDataUriA* dataUri, const char* path);

/* Text out: a new UTF-8 block, or null when the wide export gives no text
 * or an empty one. */
KVSVG_API int32_t K_SvgGetElementNameA(SvgHandle node, char** name);
KVSVG_API int32_t K_SvgGetElementValueA(SvgHandle node, char** value);
KVSVG_API int32_t K_SvgGetElementAttributeValueA(SvgHandle node, const char* name, char** value);
/* *length, if asked for, counts the bytes of *text and its terminating zero. */
KVSVG_API int32_t K_SvgEncodeDataUriFromMemoryA(const void* block, size_t size, char** text, size_t* length);
KVSVG_API int32_t K_SvgEncodeDataUriFromFileA(const char* path, char** text, size_t* length);

/* Record conversion. size is the narrow record's, which equals the wide
 * one's. A failed read leaves the record set up and empty. */
KVSVG_API int32_t K_SvgGetElementA(SvgHandle node, void* record, uint32_t size);
KVSVG_API int32_t K_SvgSetElementA(SvgHandle node, const void* record);
KVSVG_API int32_t K_SvgInsertElementA(SvgHandle parent, const void* record, uint32_t type, uint32_t position,
                                      SvgHandle* node);
/* options may be null; a present one must have size kSvgSaveOptionsASize.
 * An indent that is not UTF-8 gives ERROR_NO_TRANSLATION, one that fills
 * all ten bytes ERROR_BUFFER_TOO_SMALL. */
KVSVG_API int32_t K_SvgSaveDocumentA(const char* path, SvgHandle document, const SvgSaveOptionsA* options);
KVSVG_API int32_t K_SvgSaveDocumentMemoryA(SvgHandle document, void** block, size_t* size,
                                           const SvgSaveOptionsA* options);
/* size must be kSvgDataUriASize. */
KVSVG_API int32_t K_SvgParseDataUriA(const char* text, SvgDataUriA* dataUri, uint32_t size);
KVSVG_API int32_t K_SvgDecodeDataUriToMemoryA(const SvgDataUriA* dataUri, void** block, size_t* size);

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_NARROW_H */
