// Turns value records back into attribute text. Scalars are written into a
// caller's fixed buffer; lists and references come back in a new tracked
// block that the caller frees with KV_FREE. Nothing here touches a node:
// SvgAttributeWriter stores the text.
//
// A null output pointer gives ERROR_INV_PARAMETER everywhere. kStatusNoValue
// (-100) says that a number has no value; writers turn it into removal of
// the attribute.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvsvg.h"

// Capacities, in characters with the terminator, of the fixed buffers.
constexpr size_t kNumberTextCapacity = 50;     // numbers, lengths, angles, keyword-or-value scalars
constexpr size_t kFontNameTextCapacity = 260;  // FontNameToString

// "%g" and the format's trim: from the first "." on, trailing zeros of the
// whole text are cut, then a trailing "."; the exponent is not spared, so
// 1.5e+10 becomes "1.5e+1". Every number of every attribute goes through here.
void NumberToString(double value, KvChar* buffer);

// While one lives on a thread, NumberToString trims only the digits before
// the exponent, so every number keeps its value. The record writer holds
// one for documents read in the standard-syntax mode and those made from
// them; everything else keeps the format's trim.
class ExactNumberScope {
public:
    explicit ExactNumberScope(bool exact);
    ~ExactNumberScope();
    ExactNumberScope(const ExactNumberScope&) = delete;
    ExactNumberScope& operator=(const ExactNumberScope&) = delete;

private:
    bool previous_;
};

int32_t LengthToString(const SvgLength* length, KvChar* buffer);
int32_t PercentageToString(const SvgPercentage* percentage, KvChar* buffer, size_t capacity);
int32_t AngleToString(const SvgAngle* angle, KvChar* buffer);

// "url(#id)" around the trimmed id, or the trimmed text when it already has
// the prefix. A null id is SUCCESS with a null result.
int32_t UriToString(const KvChar* id, KvChar** text);
int32_t ColorToString(const SvgColor* color, KvChar** text);
int32_t PaintToString(const SvgPaint* paint, KvChar** text);
int32_t StopColorToString(const SvgColorValue* color, KvChar** text);
int32_t MarkerRefToString(const SvgReference* marker, KvChar** text);
int32_t ClipPathRefToString(const SvgReference* clipPath, KvChar** text);
int32_t ColorProfileToString(const SvgColorProfile* profile, KvChar** text);

// Lists end in a blank that trimming removes when the attribute is set. A
// count of 0 is SUCCESS with a null result. The length list skips unset
// lengths but ends with the status of its last piece; on a failure its
// partial text stays with the caller.
int32_t LengthListToString(uint32_t count, const SvgLength* values, KvChar** text);
int32_t NumberListToString(uint32_t count, const double* values, KvChar** text);
int32_t DashArrayToString(const SvgDashArray* dashArray, KvChar** text);
int32_t TransformListToString(const SvgTransformList* list, KvChar** text);
// An absolute line that repeats the previous line's x and y is left out.
int32_t PathDataToString(const SvgPathData* data, KvChar** text);
int32_t FeaturesToString(uint32_t features, KvChar** text);
// "x,y " pairs.
int32_t PointsToString(uint32_t count, const SvgPoint* points, KvChar** text);

// Keyword-or-value scalars into a buffer of kNumberTextCapacity; kind 0 gives
// empty text, an unknown kind FAILURE with nothing written.
int32_t LengthOrAutoToString(const SvgKeywordLength* value, KvChar* buffer);
int32_t LengthOrNormalToString(const SvgKeywordLength* value, KvChar* buffer);
int32_t GlyphOrientationVerticalToString(const SvgKeywordAngle* value, KvChar* buffer);
int32_t FontSizeAdjustToString(const SvgFontSizeAdjust* value, KvChar* buffer);
int32_t BaselineShiftToString(const SvgBaselineShift* value, KvChar* buffer);
// 1.0 has no value 11 and above, 1.1 no "autosense-script" (2): ERROR_INV_NUMBER.
int32_t DominantBaselineToString(uint32_t value, uint32_t version, KvChar* buffer);
// Into a buffer of kFontNameTextCapacity.
int32_t FontNameToString(const SvgFontName* font, KvChar* buffer);
