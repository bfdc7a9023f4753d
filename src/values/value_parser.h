// Turns attribute text into value records. The parsers are forgiving on
// purpose: many malformed values leave the record as it was and report
// success, so that one odd attribute does not cost the caller the document;
// what each one forgives is part of its contract. Fetching the text from a
// node is SvgAttributeReader's; the style attribute is property_parser's.
//
// Every parser takes the text first and the record second. A null text or
// record gives ERROR_INV_PARAMETER unless said otherwise. Each has a twin that
// takes a std::u16string_view, for callers that hold the text already (the
// readers); the keyword-or-value parsers exist only in that form. Strings and arrays
// stored into records are tracked blocks; a parser frees what a field held
// before it stores a new one.
#pragma once

#include <cstdint>
#include <string_view>

#include "kvsvg/kvsvg.h"
#include "values/keyword_table.h"

// Status of a length that has no value; it never leaves this layer (callers
// that expect it remove the attribute).
constexpr int32_t kStatusNoValue = -100;

// A tracked copy without leading and trailing runtime white space. A null text
// gives a null copy and SUCCESS.
int32_t CopyTrimmed(const KvChar* text, KvChar** copy);

// Trims the text (runtime white space) and looks it up without regard to case;
// ERROR_UNKNOWN_KEYWORD when absent.
int32_t LookupKeyword(const KvChar* text, const KeywordTable& table, int32_t* index);

// SUCCESS when the trimmed text is a number in the format's sense: digits, one
// ".", one leading "-", one exponent with one sign, no leading "+", white
// space only in front of the number. ERROR_INV_NUMBER otherwise.
int32_t IsNumberText(const KvChar* text);

// The number at the start of the text, 0 when there is none (the runtime's atof).
double WideToNumber(const KvChar* text);

int32_t ParseLength(const KvChar* text, SvgLength* length);
int32_t ParsePercentage(const KvChar* text, SvgPercentage* percentage);
int32_t ParseAngle(const KvChar* text, SvgAngle* angle);

// "#rgb"/"#rrggbb" (kind 1), then "rgb(r,g,b)" (kind 2), then any other text as
// an unchecked name (kind 0). An "rgb(" without its ")" sets *incomplete and
// stores nothing.
int32_t ParseColor(const KvChar* text, SvgColor* color, int32_t* incomplete);
int32_t ParseHexColor(const KvChar* text, SvgColor* color);
int32_t ParseRgbColor(const KvChar* text, SvgColor* color, int32_t* incomplete);
int32_t ParseColorName(const KvChar* text, SvgColor* color);
int32_t ParsePaint(const KvChar* text, SvgPaint* paint);
// The bare id of "url(#id)"; the prefix may be missing, the ")" may not.
int32_t ParseReference(const KvChar* text, KvChar** id);

// Lists cut at blanks, tabs, line ends and commas. The old array of the out
// fields is freed; on a failed piece the pieces read so far stay.
int32_t ParseLengthList(const KvChar* text, SvgLength** values, uint32_t* count);
int32_t ParseNumberList(const KvChar* text, double** values, uint32_t* count);
int32_t ParseTransformList(const KvChar* text, SvgTransformList* list);
int32_t ParsePathData(const KvChar* text, SvgPathData* data);
// ERROR_INV_POINTS for an odd count of numbers, with no points left.
int32_t ParsePoints(const KvChar* text, SvgPoint** points, uint32_t* count);
int32_t ParseViewBox(const KvChar* text, SvgViewBox* box);
int32_t ParsePreserveAspectRatio(const KvChar* text, SvgPreserveAspectRatio* ratio);
int32_t ParseTextDecoration(const KvChar* text, uint32_t* decoration);
int32_t ParseFeatures(const KvChar* text, uint32_t* features);
// 1 for exactly 1.0, 2 for exactly 1.1, 0 for anything else (null included).
uint32_t ParseVersion(const KvChar* text);


// The same parsers on a view of the text.
int32_t IsNumberText(std::u16string_view text);
int32_t ParseLength(std::u16string_view text, SvgLength* length);
int32_t ParsePercentage(std::u16string_view text, SvgPercentage* percentage);
int32_t ParseAngle(std::u16string_view text, SvgAngle* angle);
int32_t ParseColor(std::u16string_view text, SvgColor* color, int32_t* incomplete);
int32_t ParseHexColor(std::u16string_view text, SvgColor* color);
int32_t ParseRgbColor(std::u16string_view text, SvgColor* color, int32_t* incomplete);
int32_t ParseColorName(std::u16string_view text, SvgColor* color);
int32_t ParsePaint(std::u16string_view text, SvgPaint* paint);
int32_t ParseReference(std::u16string_view text, KvChar** id);
int32_t ParseLengthList(std::u16string_view text, SvgLength** values, uint32_t* count);
int32_t ParseNumberList(std::u16string_view text, double** values, uint32_t* count);
int32_t ParseTransformList(std::u16string_view text, SvgTransformList* list);
int32_t ParsePathData(std::u16string_view text, SvgPathData* data);
int32_t ParsePoints(std::u16string_view text, SvgPoint** points, uint32_t* count);
int32_t ParseViewBox(std::u16string_view text, SvgViewBox* box);
int32_t ParsePreserveAspectRatio(std::u16string_view text, SvgPreserveAspectRatio* ratio);
int32_t ParseTextDecoration(std::u16string_view text, uint32_t* decoration);
int32_t ParseFeatures(std::u16string_view text, uint32_t* features);
uint32_t ParseVersion(std::u16string_view text);

// Keyword-or-value properties. Each tries its keyword table (kind 1 up) and
// then a value.
// The field becomes the keyword's index plus one; ERROR_UNKNOWN_KEYWORD leaves it.
int32_t ParseEnumValue(std::u16string_view text, const KeywordTable& table, uint32_t* field);
// A number, or the field left alone with SUCCESS.
int32_t ParseNumberValue(std::u16string_view text, double* field);
int32_t ParseClipPathValue(std::u16string_view text, SvgReference* clipPath);
int32_t ParseMarkerValue(std::u16string_view text, SvgReference* marker);
int32_t ParseColorProfileValue(std::u16string_view text, SvgColorProfile* profile);
// stop-color and color: "currentColor" kind 1, a colour kind 2.
int32_t ParseColorValue(std::u16string_view text, SvgColorValue* color);
int32_t ParseDashArrayValue(std::u16string_view text, SvgDashArray* dashArray);
// top, right, bottom, left: "auto" kind 1, a length kind 2.
int32_t ParseClipRectValue(std::u16string_view text, SvgKeywordLength* side);
int32_t ParseFontNameValue(std::u16string_view text, SvgFontName* font);
int32_t ParseFontSizeAdjustValue(std::u16string_view text, SvgFontSizeAdjust* adjust);
// letter-spacing, word-spacing: "normal" kind 1, a set length kind 2.
int32_t ParseSpacingValue(std::u16string_view text, SvgKeywordLength* spacing);
// "auto" kind 1; a length is stored and the kind left as it was.
int32_t ParseKerningValue(std::u16string_view text, SvgKeywordLength* kerning);
// "auto" kind 1; an angle is stored and the kind left as it was.
int32_t ParseGlyphOrientationVerticalValue(std::u16string_view text, SvgKeywordAngle* orientation);
// orient: "auto" kind 1, an angle kind 2.
int32_t ParseOrientValue(std::u16string_view text, SvgKeywordAngle* orient);
int32_t ParseBaselineShiftValue(std::u16string_view text, SvgBaselineShift* shift);
// Cut at the first ",", then the keyword.
int32_t ParseFontWeightValue(std::u16string_view text, uint32_t* weight);
// Version 1 refuses 11 and above, version 2 and above refuses 2: ERROR_INV_NUMBER,
// or 0 stored when flags bit 0 asks to drop. An unknown word is SUCCESS.
int32_t ParseDominantBaselineValue(std::u16string_view text, uint32_t version, uint32_t flags, uint32_t* baseline);

// Bit 0 of the reader flags: a value that the document version does not allow
// is dropped instead of failing the read.
constexpr uint32_t kReadDropVersionErrors = 0x1;
