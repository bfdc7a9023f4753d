// Named values of the style record's kinds and enumerations that the
// flattener and the renderer test. The records hold a keyword's position in
// its list plus one (0 when unset); these names say which position is meant,
// so that no test of a kind is a bare number.
#pragma once

#include <cstdint>

#include "kvsvg/kvsvg.h"

namespace svgkind {

// SvgPaint.kind (the public header's SVG_PAINT_...).
constexpr uint32_t kPaintUnset = SVG_PAINT_UNSET;
constexpr uint32_t kPaintNone = SVG_PAINT_NONE;
constexpr uint32_t kPaintCurrentColor = SVG_PAINT_CURRENT_COLOR;
constexpr uint32_t kPaintColor = SVG_PAINT_COLOR;
constexpr uint32_t kPaintReference = SVG_PAINT_REFERENCE;

// SvgVisibilityAttributes.display: "none" is the first keyword.
constexpr uint32_t kDisplayNone = 1;
// SvgVisibilityAttributes.visibility.
constexpr uint32_t kVisibilityVisible = 1;
constexpr uint32_t kVisibilityHidden = 2;
constexpr uint32_t kVisibilityCollapse = 3;

// SvgFill.rule, also clip-rule where a record carries it.
constexpr uint32_t kFillRuleNonZero = 1;
constexpr uint32_t kFillRuleEvenOdd = 2;

// SvgReference.kind of clip-path, mask and the marker properties.
constexpr uint32_t kReferenceNone = 1;
constexpr uint32_t kReferenceUrl = 2;

// SvgKeywordLength.kind of kerning, letter- and word-spacing: a length is present.
constexpr uint32_t kKeywordLengthValue = 2;

// ...Units of gradients, patterns and clip paths.
constexpr uint32_t kUnitsUserSpaceOnUse = 1;
constexpr uint32_t kUnitsObjectBoundingBox = 2;

// SvgPreserveAspectRatio.
constexpr uint32_t kAlignNone = 1;
constexpr uint32_t kAlignXMidYMid = 6;
constexpr uint32_t kMeet = 1;
constexpr uint32_t kSlice = 2;

// SvgTextAttributes.writingMode values that lay text out vertically.
constexpr uint32_t kWritingModeTbRl = 3;
constexpr uint32_t kWritingModeTb = 6;

}  // namespace svgkind
