/* kvsvg: value records shared by element records (lengths, colours, paint,
 * transforms, path data, the style record). Included by kvsvg.h. C11 and C++.
 *
 * Conventions of every record here:
 * - A record starts with its size, the matching k...Size constant below.
 * - A double that carries no value holds the bits 0x7FFFFFFFFFFFFFFF (the
 *   unset double); an enumeration, kind or flag set is unset at 0; a string
 *   is unset at null.
 * - Enumerations hold the position in their keyword list plus one.
 * - Strings (KvChar*, zero-terminated UTF-16) and arrays are owned by the
 *   record and freed by K_SvgFreeElement with the element record.
 */
#ifndef KVSVG_KVSVG_VALUES_H
#define KVSVG_KVSVG_VALUES_H

#include <stdint.h>

#ifdef __cplusplus
#include <cstdint>
#else
#include <uchar.h>
#endif

/* The same typedef as kvsvg.h; repeating it is allowed in C11 and C++. */
typedef char16_t KvChar;

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Units and kinds --------------------------------------------------- */

/* SvgLength.unit. A percentage is unit 0 with percent set to 1. */
#define SVG_UNIT_NONE 0u
#define SVG_UNIT_IN 1u
#define SVG_UNIT_EM 2u
#define SVG_UNIT_EX 3u
#define SVG_UNIT_PX 4u
#define SVG_UNIT_PC 5u /* written back with the suffix "mm" */
#define SVG_UNIT_PT 6u
#define SVG_UNIT_CM 7u
#define SVG_UNIT_MM 8u

/* SvgAngle.unit */
#define SVG_ANGLE_NONE 0u
#define SVG_ANGLE_DEG 1u
#define SVG_ANGLE_GRAD 2u
#define SVG_ANGLE_RAD 3u

/* SvgPercentage.type */
#define SVG_PERCENTAGE_NUMBER 0u
#define SVG_PERCENTAGE_PERCENT 1u

/* SvgColor.kind: 0 or 1 the colour is its text (a name, or "#rgb" for 1),
 * 2 the colour is the three components. */
#define SVG_COLOR_NAME 0u
#define SVG_COLOR_HEX 1u
#define SVG_COLOR_RGB 2u

/* SvgPaint.kind */
#define SVG_PAINT_UNSET 0u
#define SVG_PAINT_NONE 1u
#define SVG_PAINT_CURRENT_COLOR 2u
#define SVG_PAINT_COLOR 3u
#define SVG_PAINT_REFERENCE 4u /* the id stands in color.text */

/* SvgTransform.type */
#define SVG_TRANSFORM_NONE 0u
#define SVG_TRANSFORM_TRANSLATE 1u
#define SVG_TRANSFORM_SCALE 2u
#define SVG_TRANSFORM_ROTATE 3u
#define SVG_TRANSFORM_SKEWX 4u
#define SVG_TRANSFORM_SKEWY 5u
#define SVG_TRANSFORM_MATRIX 6u

/* SvgPathSegment.type */
#define SVG_SEGMENT_MOVE 0u
#define SVG_SEGMENT_CLOSE 1u
#define SVG_SEGMENT_LINE 2u
#define SVG_SEGMENT_CUBIC 3u
#define SVG_SEGMENT_QUADRATIC 4u
#define SVG_SEGMENT_ARC 5u
/* SvgPathSegment.relative: 0 absolute, all ones invalid, anything else relative. */
#define SVG_SEGMENT_INVALID 0xFFFFFFFFu

/* ---- Scalar values ----------------------------------------------------- */

typedef struct SvgLength {
    uint32_t size;    /* kSvgLengthSize */
    double value;
    uint32_t unit;    /* SVG_UNIT_... */
    uint32_t percent; /* 1: a percentage (unit 0) */
} SvgLength;

typedef struct SvgPercentage {
    uint32_t size; /* kSvgPercentageSize */
    double value;
    uint32_t type; /* SVG_PERCENTAGE_... */
} SvgPercentage;

typedef struct SvgAngle {
    uint32_t size; /* kSvgAngleSize */
    double value;
    uint32_t unit; /* SVG_ANGLE_... */
} SvgAngle;

typedef struct SvgColor {
    uint32_t size;  /* kSvgColorSize */
    KvChar* text;   /* owned; the colour for kinds 0 and 1, a reference id inside a paint of kind 4 */
    SvgPercentage red, green, blue; /* kind 2; a percentage is read as 0 to 255 with type 0 */
    uint32_t kind;  /* SVG_COLOR_... */
} SvgColor;

typedef struct SvgPaint {
    uint32_t size;  /* kSvgPaintSize */
    SvgColor color;
    uint32_t kind;  /* SVG_PAINT_... */
} SvgPaint;

typedef struct SvgViewBox {
    uint32_t size; /* kSvgViewBoxSize */
    double x, y, width, height;
} SvgViewBox;

typedef struct SvgPreserveAspectRatio {
    uint32_t size;        /* kSvgPreserveAspectRatioSize */
    uint32_t align;       /* 1 "none", 2 "xMinYMin" ... 10 "xMaxYMax" */
    uint32_t meetOrSlice; /* 1 "meet", 2 "slice"; read but never written back */
} SvgPreserveAspectRatio;

/* ---- Lists ------------------------------------------------------------- */

typedef struct SvgDashArray {
    uint32_t size;     /* kSvgDashArraySize */
    uint32_t count;
    SvgLength* values; /* owned, count entries */
    uint32_t kind;     /* 0 unset, 1 "none", 2 the list */
} SvgDashArray;

typedef struct SvgTransform {
    uint32_t size;     /* kSvgTransformSize */
    uint32_t type;     /* SVG_TRANSFORM_... */
    uint32_t reserved;
    /* translate: a b; scale: a b; rotate: a (degrees) b c (centre);
     * skewX, skewY: a (degrees); matrix: a to f. Unused numbers are unset. */
    double a, b, c, d, e, f;
} SvgTransform;

typedef struct SvgTransformList {
    uint32_t size;       /* kSvgTransformListSize */
    uint32_t count;
    SvgTransform* items; /* owned, count entries */
} SvgTransformList;

typedef struct SvgPathMove {
    double x, y;
} SvgPathMove;

typedef struct SvgPathLine {
    uint32_t vertical;   /* 1: "V", only y is meaningful */
    uint32_t horizontal; /* 1: "H", only x is meaningful; wins over vertical */
    double x, y;
} SvgPathLine;

typedef struct SvgPathCubic {
    uint32_t smooth; /* 1: "S", the first control point is implied */
    double x, y;     /* end point */
    double x1, y1;   /* first control point */
    double x2, y2;   /* second control point */
} SvgPathCubic;

typedef struct SvgPathQuadratic {
    uint32_t smooth; /* 1: "T", the control point is implied */
    double x, y;     /* end point */
    double x1, y1;   /* control point */
} SvgPathQuadratic;

typedef struct SvgPathArc {
    uint32_t sweep;    /* 1 set; any other value clear */
    uint32_t largeArc; /* 1 set; any other value clear */
    double x, y;       /* end point */
    double rx, ry;
    double rotationDegrees;
} SvgPathArc;

typedef struct SvgPathSegment {
    uint32_t size;        /* kSvgPathSegmentSize */
    uint32_t relative;    /* 0 absolute, SVG_SEGMENT_INVALID, otherwise relative */
    uint32_t type;        /* SVG_SEGMENT_... */
    uint32_t payloadSize; /* bytes of the payload member that type selects */
    union {
        SvgPathMove move;
        SvgPathLine line;
        SvgPathCubic cubic;
        SvgPathQuadratic quadratic;
        SvgPathArc arc;
    } payload;
} SvgPathSegment;

typedef struct SvgPathData {
    uint32_t size;         /* kSvgPathDataSize */
    uint32_t count;
    SvgPathSegment* items; /* owned, count entries */
} SvgPathData;

typedef struct SvgPoint {
    double x, y;
} SvgPoint;

/* ---- Keyword-or-value records ------------------------------------------ */

/* A reference to another element: clip-path (kind 1 "none", 2 reference),
 * marker-start/-mid/-end and marker (the same). */
typedef struct SvgReference {
    uint32_t size; /* kSvgReferenceSize */
    KvChar* id;    /* owned, the bare id of url(#id) */
    uint32_t kind;
} SvgReference;

/* stop-color and color: kind 1 "currentColor", 2 the colour. */
typedef struct SvgColorValue {
    uint32_t size; /* kSvgColorValueSize */
    SvgColor color;
    uint32_t kind;
} SvgColorValue;

/* color-profile: kind 1 "auto", 2 "sRGB", 3 a reference (text is the id),
 * 4 a name (text). */
typedef struct SvgColorProfile {
    KvChar* text; /* owned */
    uint32_t kind;
} SvgColorProfile;

/* kerning (kind 1 "auto"), letter-spacing and word-spacing (kind 1
 * "normal"), top/right/bottom/left (kind 1 "auto"); kind 2 the length.
 * A kerning read from text keeps kind 0 even with a length stored. */
typedef struct SvgKeywordLength {
    uint32_t size; /* kSvgKeywordLengthSize */
    SvgLength length;
    uint32_t kind;
} SvgKeywordLength;

/* glyph-orientation-vertical and orient: kind 1 "auto", 2 the angle. The
 * attribute glyph-orientation-vertical read from text keeps kind 0. */
typedef struct SvgKeywordAngle {
    uint32_t size; /* kSvgKeywordAngleSize */
    SvgAngle angle;
    uint32_t kind;
} SvgKeywordAngle;

/* baseline-shift: kind 1 "baseline", 2 "sub", 3 "super", 4 the
 * percentage, 5 the length. */
typedef struct SvgBaselineShift {
    uint32_t size; /* kSvgBaselineShiftSize */
    SvgLength length;
    SvgPercentage percentage;
    uint32_t kind;
} SvgBaselineShift;

/* font shorthand: kind 0 the text, 1 "caption", 2 "icon", 3 "menu",
 * 4 "message-box", 5 "small-caption", 6 "status-bar". */
typedef struct SvgFontName {
    uint32_t size; /* kSvgFontNameSize */
    KvChar* text;  /* owned */
    uint32_t kind;
} SvgFontName;

typedef struct SvgFontSize {
    uint32_t size;    /* kSvgFontSizeSize */
    uint32_t keyword; /* not used by the readers and writers */
    SvgLength length;
} SvgFontSize;

/* font-size-adjust: kind 1 "none", 2 the number. */
typedef struct SvgFontSizeAdjust {
    uint32_t size; /* kSvgFontSizeAdjustSize */
    double value;
    uint32_t kind;
} SvgFontSizeAdjust;

/* ---- Attribute groups --------------------------------------------------- */

typedef struct SvgCoreAttributes {
    uint32_t size;    /* kSvgCoreAttributesSize */
    KvChar* id;
    KvChar* xmlBase;
    uint32_t xmlLang;  /* 1 "en", 2 "en-GB", 3 "en-US" */
    uint32_t xmlSpace; /* 1 "default", 2 "preserve" */
} SvgCoreAttributes;

typedef struct SvgConditionalAttributes {
    uint32_t size;               /* kSvgConditionalAttributesSize */
    KvChar* requiredExtensions;  /* not read or written by the groups */
    uint32_t requiredFeatures;   /* SVG_FEATURE_... bits */
    KvChar* systemLanguage;
} SvgConditionalAttributes;

/* requiredFeatures bits. */
#define SVG_FEATURE_SVG 0x001u
#define SVG_FEATURE_SVG_LANG 0x002u
#define SVG_FEATURE_SVG_STATIC 0x004u
#define SVG_FEATURE_SVG_DYNAMIC 0x008u
#define SVG_FEATURE_SVG_ANIMATION 0x010u
#define SVG_FEATURE_SVG_ALL 0x01Fu
#define SVG_FEATURE_DOM 0x020u
#define SVG_FEATURE_DOM_STATIC 0x040u
#define SVG_FEATURE_DOM_DYNAMIC 0x080u
#define SVG_FEATURE_DOM_ANIMATION 0x100u
#define SVG_FEATURE_DOM_ALL 0x1E0u

/* The link target (xlink:href) is a field of each linking element, not of
 * this group. */
typedef struct SvgXlinkAttributes {
    uint32_t size;       /* kSvgXlinkAttributesSize */
    KvChar* xmlnsXlink;  /* the namespace declaration's value */
    uint32_t type;       /* 1 "simple", 2 "extended", 3 "locator", 4 "arc" */
    KvChar* role;
    KvChar* arcrole;
    KvChar* title;
    uint32_t show;       /* 1 "new", 2 "replace", 3 "embed", 4 "other", 5 "none" */
    uint32_t actuate;    /* 1 "onRequest", 2 "onLoad" */
} SvgXlinkAttributes;

typedef struct SvgFill {
    uint32_t size;  /* kSvgFillSize */
    double opacity; /* fill-opacity */
    SvgPaint paint;
    uint32_t rule;  /* 1 "nonzero", 2 "evenodd" */
} SvgFill;

typedef struct SvgStroke {
    uint32_t size;     /* kSvgStrokeSize */
    double opacity;    /* stroke-opacity */
    double miterLimit; /* stroke-miterlimit */
    SvgPaint paint;
    SvgLength width;
    SvgLength dashOffset;
    uint32_t lineCap;  /* 1 "butt", 2 "round", 3 "square" */
    uint32_t lineJoin; /* 1 "miter", 2 "round", 3 "bevel" */
    SvgDashArray dashArray;
} SvgStroke;

typedef struct SvgMarkerAttributes {
    uint32_t size; /* kSvgMarkerAttributesSize */
    SvgReference marker;
    SvgReference markerStart;
    SvgReference markerMid;
    SvgReference markerEnd;
} SvgMarkerAttributes;

/* Rendering hints. color-interpolation(-filters): 1 "auto", 2 "sRGB",
 * 3 "linearRGB"; color- and image-rendering: 1 "auto", 2 "optimizeSpeed",
 * 3 "optimizeQuality"; shape-rendering: 1 "auto", 2 "optimizeSpeed",
 * 3 "crispEdges", 4 "geometricPrecision"; text-rendering: 1 "auto",
 * 2 "optimizeSpeed", 3 "optimizeLegibility", 4 "geometricPrecision". */
typedef struct SvgColorAttributes {
    uint32_t size; /* kSvgColorAttributesSize */
    uint32_t textRendering;
    uint32_t colorRendering;
    uint32_t shapeRendering;
    uint32_t imageRendering;
    uint32_t colorInterpolation;
    uint32_t colorInterpolationFilters;
} SvgColorAttributes;

typedef struct SvgVisibilityAttributes {
    uint32_t size;       /* kSvgVisibilityAttributesSize */
    uint32_t display;    /* 1 "none", 2 "inline" ... 17 "table-caption" */
    uint32_t visibility; /* 1 "visible", 2 "hidden", 3 "collapse" */
} SvgVisibilityAttributes;

typedef struct SvgStopAttributes {
    uint32_t size; /* kSvgStopAttributesSize */
    double stopOpacity;
    SvgColorValue stopColor;
} SvgStopAttributes;

typedef struct SvgSpacingAttributes {
    uint32_t size; /* kSvgSpacingAttributesSize */
    SvgKeywordLength kerning;
    SvgKeywordLength wordSpacing;
    SvgKeywordLength letterSpacing;
} SvgSpacingAttributes;

typedef struct SvgDirectionAttributes {
    uint32_t size;        /* kSvgDirectionAttributesSize */
    uint32_t direction;   /* 1 "ltr", 2 "rtl" */
    uint32_t unicodeBidi; /* 1 "normal", 2 "embed", 3 "bidi-override" */
} SvgDirectionAttributes;

/* dominant-baseline: 1 "auto", 2 "autosense-script", 3 "text-top",
 * 4 "text-bottom", 5 "no-change", 6 "reset-size", 7 "ideographic",
 * 8 "alphbetic" (that spelling is what is written), 9 "hanging",
 * 10 "mathematical", 11 "use-script", 12 "central", 13 "middle",
 * 14 "text-after-edge", 15 "text-before-edge".
 * alignment-baseline: 1 "auto", 2 "baseline", 3 "before-edge",
 * 4 "text-before-edge", 5 "middle", 6 "after-edge", 7 "text-after-edge",
 * 8 "ideographic", 9 "alphabetic", 10 "hanging", 11 "mathematical". */
typedef struct SvgBaselineAttributes {
    uint32_t size; /* kSvgBaselineAttributesSize */
    SvgBaselineShift baselineShift;
    uint32_t dominantBaseline;
    uint32_t alignmentBaseline;
} SvgBaselineAttributes;

typedef struct SvgAnchorAttributes {
    uint32_t size;       /* kSvgAnchorAttributesSize */
    uint32_t textAnchor; /* 1 "start", 2 "middle", 3 "end", 4 "normal" */
    SvgBaselineAttributes baseline;
} SvgAnchorAttributes;

typedef struct SvgGlyphOrientationAttributes {
    uint32_t size; /* kSvgGlyphOrientationAttributesSize */
    SvgKeywordAngle glyphOrientationVertical;
    SvgAngle glyphOrientationHorizontal;
} SvgGlyphOrientationAttributes;

/* font-style: 1 "normal", 2 "italic", 3 "oblique". font-weight: 1 "normal",
 * 2 "bold", 3 "bolder", 4 "lighter", 5 to 13 the values 100 to 900.
 * font-variant: 1 "normal", 2 "small-caps". font-stretch: 1 "normal",
 * 2 "wider", 3 "narrower", 4 "ultra-condensed" ... 11 "ultra-expanded". */
typedef struct SvgFontAttributes {
    uint32_t size; /* kSvgFontAttributesSize */
    uint32_t fontStyle;
    uint32_t fontWeight;
    uint32_t fontVariant;
    uint32_t fontStretch;
    KvChar* fontFamily; /* owned, blanks kept */
    SvgFontSize fontSize;
    SvgFontName font;
    SvgFontSizeAdjust fontSizeAdjust;
} SvgFontAttributes;

/* text-decoration bits. */
#define SVG_TEXT_DECORATION_NONE 1u
#define SVG_TEXT_DECORATION_UNDERLINE 2u
#define SVG_TEXT_DECORATION_OVERLINE 4u
#define SVG_TEXT_DECORATION_LINE_THROUGH 8u
#define SVG_TEXT_DECORATION_BLINK 16u

typedef struct SvgTextAttributes {
    uint32_t size;           /* kSvgTextAttributesSize */
    uint32_t textDecoration; /* SVG_TEXT_DECORATION_... bits */
    uint32_t writingMode;    /* 1 "lr-tb", 2 "rl-tb", 3 "tb-rl", 4 "lr", 5 "rl", 6 "tb" */
    SvgSpacingAttributes spacing;
    SvgDirectionAttributes direction;
    SvgAnchorAttributes anchor;
    SvgGlyphOrientationAttributes orientation;
    SvgFontAttributes font;
} SvgTextAttributes;

typedef struct SvgColorValueAttributes {
    uint32_t size; /* kSvgColorValueAttributesSize */
    SvgColorValue color;
    SvgColorProfile colorProfile;
} SvgColorValueAttributes;

typedef struct SvgPaintAttributes {
    uint32_t size; /* kSvgPaintAttributesSize */
    SvgFill fill;
    SvgStroke stroke;
    SvgMarkerAttributes markers;
    SvgColorAttributes rendering;
    SvgVisibilityAttributes visibility;
} SvgPaintAttributes;

typedef struct SvgClipRectAttributes {
    uint32_t size; /* kSvgClipRectAttributesSize */
    SvgKeywordLength top;
    SvgKeywordLength right;
    SvgKeywordLength bottom;
    SvgKeywordLength left;
} SvgClipRectAttributes;

/* The style record of every element: presentation attributes, overridden
 * by the properties of the element's style attribute. */
typedef struct K_SvgStyleProp {
    uint32_t size;  /* kSvgStylePropSize */
    double opacity; /* multiplied down the tree when flattening */
    SvgTextAttributes text;
    SvgColorValueAttributes colorValue;
    SvgReference clipPath; /* kind 1 "none", 2 reference; not inherited */
    SvgPaintAttributes paint;
    SvgStopAttributes stop;
    SvgClipRectAttributes clipRect;
} K_SvgStyleProp;

/* dx, dy, x, y are lengths, rotate plain numbers (degrees). */
typedef struct SvgTextPositionAttributes {
    uint32_t size; /* kSvgTextPositionAttributesSize */
    uint32_t dxCount;
    SvgLength* dx;
    uint32_t dyCount;
    SvgLength* dy;
    uint32_t rotateCount;
    double* rotate;
    uint32_t xCount;
    SvgLength* x;
    uint32_t yCount;
    SvgLength* y;
} SvgTextPositionAttributes;

/* ---- Sizes ------------------------------------------------------------- */

#define kSvgLengthSize ((uint32_t)sizeof(SvgLength))
#define kSvgPercentageSize ((uint32_t)sizeof(SvgPercentage))
#define kSvgAngleSize ((uint32_t)sizeof(SvgAngle))
#define kSvgColorSize ((uint32_t)sizeof(SvgColor))
#define kSvgPaintSize ((uint32_t)sizeof(SvgPaint))
#define kSvgViewBoxSize ((uint32_t)sizeof(SvgViewBox))
#define kSvgPreserveAspectRatioSize ((uint32_t)sizeof(SvgPreserveAspectRatio))
#define kSvgDashArraySize ((uint32_t)sizeof(SvgDashArray))
#define kSvgTransformSize ((uint32_t)sizeof(SvgTransform))
#define kSvgTransformListSize ((uint32_t)sizeof(SvgTransformList))
#define kSvgPathSegmentSize ((uint32_t)sizeof(SvgPathSegment))
#define kSvgPathDataSize ((uint32_t)sizeof(SvgPathData))
#define kSvgReferenceSize ((uint32_t)sizeof(SvgReference))
#define kSvgColorValueSize ((uint32_t)sizeof(SvgColorValue))
#define kSvgKeywordLengthSize ((uint32_t)sizeof(SvgKeywordLength))
#define kSvgKeywordAngleSize ((uint32_t)sizeof(SvgKeywordAngle))
#define kSvgBaselineShiftSize ((uint32_t)sizeof(SvgBaselineShift))
#define kSvgFontNameSize ((uint32_t)sizeof(SvgFontName))
#define kSvgFontSizeSize ((uint32_t)sizeof(SvgFontSize))
#define kSvgFontSizeAdjustSize ((uint32_t)sizeof(SvgFontSizeAdjust))
#define kSvgCoreAttributesSize ((uint32_t)sizeof(SvgCoreAttributes))
#define kSvgConditionalAttributesSize ((uint32_t)sizeof(SvgConditionalAttributes))
#define kSvgXlinkAttributesSize ((uint32_t)sizeof(SvgXlinkAttributes))
#define kSvgFillSize ((uint32_t)sizeof(SvgFill))
#define kSvgStrokeSize ((uint32_t)sizeof(SvgStroke))
#define kSvgMarkerAttributesSize ((uint32_t)sizeof(SvgMarkerAttributes))
#define kSvgColorAttributesSize ((uint32_t)sizeof(SvgColorAttributes))
#define kSvgVisibilityAttributesSize ((uint32_t)sizeof(SvgVisibilityAttributes))
#define kSvgStopAttributesSize ((uint32_t)sizeof(SvgStopAttributes))
#define kSvgSpacingAttributesSize ((uint32_t)sizeof(SvgSpacingAttributes))
#define kSvgDirectionAttributesSize ((uint32_t)sizeof(SvgDirectionAttributes))
#define kSvgBaselineAttributesSize ((uint32_t)sizeof(SvgBaselineAttributes))
#define kSvgAnchorAttributesSize ((uint32_t)sizeof(SvgAnchorAttributes))
#define kSvgGlyphOrientationAttributesSize ((uint32_t)sizeof(SvgGlyphOrientationAttributes))
#define kSvgFontAttributesSize ((uint32_t)sizeof(SvgFontAttributes))
#define kSvgTextAttributesSize ((uint32_t)sizeof(SvgTextAttributes))
#define kSvgColorValueAttributesSize ((uint32_t)sizeof(SvgColorValueAttributes))
#define kSvgPaintAttributesSize ((uint32_t)sizeof(SvgPaintAttributes))
#define kSvgClipRectAttributesSize ((uint32_t)sizeof(SvgClipRectAttributes))
#define kSvgStylePropSize ((uint32_t)sizeof(K_SvgStyleProp))
#define kSvgTextPositionAttributesSize ((uint32_t)sizeof(SvgTextPositionAttributes))

#ifdef __cplusplus
}
#endif

#endif /* KVSVG_KVSVG_VALUES_H */
