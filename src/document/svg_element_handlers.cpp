#include "document/svg_element_handlers.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>
#include <span>
#include <string>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_view.h"
#include "values/file_option_attributes.h"
#include "values/keyword_table.h"
#include "values/svg_attribute_reader.h"
#include "values/svg_attribute_writer.h"
#include "values/value_records.h"
#include "values/wide_text.h"

namespace {

// ---- Steps ------------------------------------------------------------------

// What one step of a record does: one attribute, one stand-alone value or
// one attribute group, at an offset in the record.
enum class StepKind : uint8_t {
    Boolean,        // int32, -1 when not given
    Length,         // SvgLength
    Number,         // double, unset when not given
    Text,           // owned string, trimmed both ways
    RawText,        // owned string, kept as written
    Keyword,        // uint32, the position in `table` plus one
    PathLength,     // SvgPercentage
    Transform,      // SvgTransformList under the step's name
    PathData,       // SvgPathData of d
    Points,         // SvgPoint array at offset, count at `extra`
    ViewBox,        // SvgViewBox
    AspectRatio,    // SvgPreserveAspectRatio
    Orient,         // SvgKeywordAngle of orient
    Core,           // SvgCoreAttributes
    Conditional,    // SvgConditionalAttributes
    Xlink,          // SvgXlinkAttributes; the link target goes to `extra`
    Presentation,   // K_SvgStyleProp
    TextPosition,   // SvgTextPositionAttributes
    FontProperties, // SvgFontAttributes
    CharacterData,  // owned string at offset, its length at `extra`
    Version,        // the document's version, written on svg only
};

// Which operations a step takes part in. A field that an element keeps in
// its record but does not read (externalResourcesRequired of svg, g, defs)
// is only set up; the version is only written.
enum StepUse : uint8_t {
    kUseInit = 1,
    kUseRead = 2,
    kUseWrite = 4,
    kUseFree = 8,
    kUseAll = kUseInit | kUseRead | kUseWrite | kUseFree,
};

struct RecordStep {
    StepKind kind;
    const char* name;
    uint32_t offset;
    uint32_t extra;
    const KeywordTable* table;
    uint8_t use;
};

constexpr RecordStep Step(StepKind kind, const char* name, uint32_t offset, uint32_t extra = 0,
                          const KeywordTable* table = nullptr)
{
    return {kind, name, offset, extra, table, kUseAll};
}

constexpr RecordStep InitOnly(RecordStep step)
{
    step.use = kUseInit;
    return step;
}

#define AT(Record, member) static_cast<uint32_t>(offsetof(Record, member))

constexpr RecordStep Err(uint32_t offset) { return Step(StepKind::Boolean, "externalResourcesRequired", offset); }
constexpr RecordStep Length(const char* name, uint32_t offset) { return Step(StepKind::Length, name, offset); }
constexpr RecordStep Number(const char* name, uint32_t offset) { return Step(StepKind::Number, name, offset); }
constexpr RecordStep Text(const char* name, uint32_t offset) { return Step(StepKind::Text, name, offset); }
constexpr RecordStep RawText(const char* name, uint32_t offset) { return Step(StepKind::RawText, name, offset); }
constexpr RecordStep Keyword(const char* name, uint32_t offset, const KeywordTable& table)
{
    return Step(StepKind::Keyword, name, offset, 0, &table);
}
constexpr RecordStep Transform(const char* name, uint32_t offset) { return Step(StepKind::Transform, name, offset); }
constexpr RecordStep Core(uint32_t offset) { return Step(StepKind::Core, "", offset); }
constexpr RecordStep Conditional(uint32_t offset) { return Step(StepKind::Conditional, "", offset); }
// hrefOffset 0 means the element keeps no link target (offset 0 is the size).
constexpr RecordStep Xlink(uint32_t offset, uint32_t hrefOffset) { return Step(StepKind::Xlink, "", offset, hrefOffset); }
constexpr RecordStep Presentation(uint32_t offset) { return Step(StepKind::Presentation, "", offset); }
constexpr RecordStep TextPosition(uint32_t offset) { return Step(StepKind::TextPosition, "", offset); }
constexpr RecordStep CharacterData(uint32_t offset, uint32_t countOffset)
{
    return Step(StepKind::CharacterData, "", offset, countOffset);
}

struct ElementLayout {
    uint32_t size;
    std::span<const RecordStep> steps;
    // Text whose record keeps spaces (xml:space="preserve") also gets the
    // style that makes renderers keep them.
    bool prefixPreserveSpace = false;
};

// ---- The steps of every element ---------------------------------------------
//
// Each list is the element's read order. Writing follows the same list, so
// the groups go out in the order they came in.

// The view box belongs with preserveAspectRatio wherever an element has both.
#define FIT_TO_VIEW_BOX(Record)                                      \
    Step(StepKind::ViewBox, "viewBox", AT(Record, viewBox)),         \
        Step(StepKind::AspectRatio, "preserveAspectRatio", AT(Record, preserveAspectRatio))

const RecordStep kSvgSteps[] = {
    Step(StepKind::Version, "version", 0),
    InitOnly(Err(AT(SvgSvgElement, externalResourcesRequired))),
    Core(AT(SvgSvgElement, core)),
    Conditional(AT(SvgSvgElement, conditional)),
    Xlink(AT(SvgSvgElement, xlink), 0),
    FIT_TO_VIEW_BOX(SvgSvgElement),
    Transform("transform", AT(SvgSvgElement, transform)),
    Keyword("contentScriptType", AT(SvgSvgElement, contentScriptType), kContentScriptTypeKeywords),
    Keyword("contentStyleType", AT(SvgSvgElement, contentStyleType), kContentStyleTypeKeywords),
    Length("x", AT(SvgSvgElement, x)),
    Length("y", AT(SvgSvgElement, y)),
    Length("height", AT(SvgSvgElement, height)),
    Length("width", AT(SvgSvgElement, width)),
    Presentation(AT(SvgSvgElement, style)),
};

// g and defs read the same attributes; switch adds externalResourcesRequired.
const RecordStep kGSteps[] = {
    InitOnly(Err(AT(SvgGElement, externalResourcesRequired))),
    Core(AT(SvgGElement, core)),
    Conditional(AT(SvgGElement, conditional)),
    Transform("transform", AT(SvgGElement, transform)),
    Presentation(AT(SvgGElement, style)),
};

const RecordStep kSwitchSteps[] = {
    Err(AT(SvgGElement, externalResourcesRequired)),
    Core(AT(SvgGElement, core)),
    Conditional(AT(SvgGElement, conditional)),
    Transform("transform", AT(SvgGElement, transform)),
    Presentation(AT(SvgGElement, style)),
};

const RecordStep kDescSteps[] = {
    Core(AT(SvgDescElement, core)),
    Presentation(AT(SvgDescElement, style)),
};

// No transform and no conditional group.
const RecordStep kSymbolSteps[] = {
    Err(AT(SvgSymbolElement, externalResourcesRequired)),
    Core(AT(SvgSymbolElement, core)),
    FIT_TO_VIEW_BOX(SvgSymbolElement),
    Presentation(AT(SvgSymbolElement, style)),
};

const RecordStep kUseSteps[] = {
    Err(AT(SvgUseElement, externalResourcesRequired)),
    Core(AT(SvgUseElement, core)),
    Conditional(AT(SvgUseElement, conditional)),
    Xlink(AT(SvgUseElement, xlink), AT(SvgUseElement, href)),
    Transform("transform", AT(SvgUseElement, transform)),
    Length("x", AT(SvgUseElement, x)),
    Length("y", AT(SvgUseElement, y)),
    Length("height", AT(SvgUseElement, height)),
    Length("width", AT(SvgUseElement, width)),
    Presentation(AT(SvgUseElement, style)),
};

// An image has an aspect ratio but no view box of its own.
const RecordStep kImageSteps[] = {
    Err(AT(SvgImageElement, externalResourcesRequired)),
    Core(AT(SvgImageElement, core)),
    Conditional(AT(SvgImageElement, conditional)),
    Xlink(AT(SvgImageElement, xlink), AT(SvgImageElement, href)),
    Transform("transform", AT(SvgImageElement, transform)),
    Step(StepKind::AspectRatio, "preserveAspectRatio", AT(SvgImageElement, preserveAspectRatio)),
    Length("x", AT(SvgImageElement, x)),
    Length("y", AT(SvgImageElement, y)),
    Length("height", AT(SvgImageElement, height)),
    Length("width", AT(SvgImageElement, width)),
    Presentation(AT(SvgImageElement, style)),
};

// The style element reads its own attributes before the core group.
const RecordStep kStyleSteps[] = {
    Text("title", AT(SvgStyleElement, title)),
    Text("media", AT(SvgStyleElement, media)),
    Text("type", AT(SvgStyleElement, type)),
    Core(AT(SvgStyleElement, core)),
};

const RecordStep kPathSteps[] = {
    Err(AT(SvgPathElement, externalResourcesRequired)),
    Core(AT(SvgPathElement, core)),
    Conditional(AT(SvgPathElement, conditional)),
    Transform("transform", AT(SvgPathElement, transform)),
    Step(StepKind::PathData, "d", AT(SvgPathElement, d)),
    Step(StepKind::PathLength, "pathLength", AT(SvgPathElement, pathLength)),
    Presentation(AT(SvgPathElement, style)),
};

const RecordStep kRectSteps[] = {
    Err(AT(SvgRectElement, externalResourcesRequired)),
    Core(AT(SvgRectElement, core)),
    Conditional(AT(SvgRectElement, conditional)),
    Transform("transform", AT(SvgRectElement, transform)),
    Length("x", AT(SvgRectElement, x)),
    Length("y", AT(SvgRectElement, y)),
    Length("width", AT(SvgRectElement, width)),
    Length("height", AT(SvgRectElement, height)),
    Length("rx", AT(SvgRectElement, rx)),
    Length("ry", AT(SvgRectElement, ry)),
    Presentation(AT(SvgRectElement, style)),
};

const RecordStep kCircleSteps[] = {
    Err(AT(SvgCircleElement, externalResourcesRequired)),
    Core(AT(SvgCircleElement, core)),
    Conditional(AT(SvgCircleElement, conditional)),
    Transform("transform", AT(SvgCircleElement, transform)),
    Length("cx", AT(SvgCircleElement, cx)),
    Length("cy", AT(SvgCircleElement, cy)),
    Length("r", AT(SvgCircleElement, r)),
    Presentation(AT(SvgCircleElement, style)),
};

const RecordStep kEllipseSteps[] = {
    Err(AT(SvgEllipseElement, externalResourcesRequired)),
    Core(AT(SvgEllipseElement, core)),
    Conditional(AT(SvgEllipseElement, conditional)),
    Transform("transform", AT(SvgEllipseElement, transform)),
    Length("cx", AT(SvgEllipseElement, cx)),
    Length("cy", AT(SvgEllipseElement, cy)),
    Length("rx", AT(SvgEllipseElement, rx)),
    Length("ry", AT(SvgEllipseElement, ry)),
    Presentation(AT(SvgEllipseElement, style)),
};

const RecordStep kLineSteps[] = {
    Err(AT(SvgLineElement, externalResourcesRequired)),
    Core(AT(SvgLineElement, core)),
    Conditional(AT(SvgLineElement, conditional)),
    Transform("transform", AT(SvgLineElement, transform)),
    Length("x1", AT(SvgLineElement, x1)),
    Length("y1", AT(SvgLineElement, y1)),
    Length("x2", AT(SvgLineElement, x2)),
    Length("y2", AT(SvgLineElement, y2)),
    Presentation(AT(SvgLineElement, style)),
};

const RecordStep kPolySteps[] = {
    Err(AT(SvgPolyElement, externalResourcesRequired)),
    Core(AT(SvgPolyElement, core)),
    Conditional(AT(SvgPolyElement, conditional)),
    Transform("transform", AT(SvgPolyElement, transform)),
    Step(StepKind::Points, "points", AT(SvgPolyElement, points), AT(SvgPolyElement, pointCount)),
    Presentation(AT(SvgPolyElement, style)),
};

// The character data of the text elements comes after their attributes.
const RecordStep kTextSteps[] = {
    Err(AT(SvgTextElement, externalResourcesRequired)),
    Core(AT(SvgTextElement, core)),
    Conditional(AT(SvgTextElement, conditional)),
    Length("textLength", AT(SvgTextElement, textLength)),
    Keyword("lengthAdjust", AT(SvgTextElement, lengthAdjust), kLengthAdjustKeywords),
    Transform("transform", AT(SvgTextElement, transform)),
    TextPosition(AT(SvgTextElement, position)),
    Presentation(AT(SvgTextElement, style)),
    CharacterData(AT(SvgTextElement, text), AT(SvgTextElement, textCount)),
};

const RecordStep kTSpanSteps[] = {
    Err(AT(SvgTSpanElement, externalResourcesRequired)),
    Core(AT(SvgTSpanElement, core)),
    Conditional(AT(SvgTSpanElement, conditional)),
    Length("textLength", AT(SvgTSpanElement, textLength)),
    Keyword("lengthAdjust", AT(SvgTSpanElement, lengthAdjust), kLengthAdjustKeywords),
    TextPosition(AT(SvgTSpanElement, position)),
    Presentation(AT(SvgTSpanElement, style)),
    CharacterData(AT(SvgTSpanElement, text), AT(SvgTSpanElement, textCount)),
};

const RecordStep kTRefSteps[] = {
    Err(AT(SvgTRefElement, externalResourcesRequired)),
    Core(AT(SvgTRefElement, core)),
    Conditional(AT(SvgTRefElement, conditional)),
    Xlink(AT(SvgTRefElement, xlink), AT(SvgTRefElement, href)),
    Length("textLength", AT(SvgTRefElement, textLength)),
    Keyword("lengthAdjust", AT(SvgTRefElement, lengthAdjust), kLengthAdjustKeywords),
    TextPosition(AT(SvgTRefElement, position)),
    Presentation(AT(SvgTRefElement, style)),
};

const RecordStep kTextPathSteps[] = {
    Err(AT(SvgTextPathElement, externalResourcesRequired)),
    Core(AT(SvgTextPathElement, core)),
    Conditional(AT(SvgTextPathElement, conditional)),
    Xlink(AT(SvgTextPathElement, xlink), AT(SvgTextPathElement, href)),
    Length("startOffset", AT(SvgTextPathElement, startOffset)),
    Length("textLength", AT(SvgTextPathElement, textLength)),
    Keyword("lengthAdjust", AT(SvgTextPathElement, lengthAdjust), kLengthAdjustKeywords),
    Keyword("spacing", AT(SvgTextPathElement, spacing), kSpacingKeywords),
    Keyword("method", AT(SvgTextPathElement, method), kMethodKeywords),
    Presentation(AT(SvgTextPathElement, style)),
    CharacterData(AT(SvgTextPathElement, text), AT(SvgTextPathElement, textCount)),
};

const RecordStep kAltGlyphSteps[] = {
    Err(AT(SvgAltGlyphElement, externalResourcesRequired)),
    Core(AT(SvgAltGlyphElement, core)),
    Conditional(AT(SvgAltGlyphElement, conditional)),
    Xlink(AT(SvgAltGlyphElement, xlink), AT(SvgAltGlyphElement, href)),
    Text("glyphRef", AT(SvgAltGlyphElement, glyphRef)),
    Text("format", AT(SvgAltGlyphElement, format)),
    TextPosition(AT(SvgAltGlyphElement, position)),
    Presentation(AT(SvgAltGlyphElement, style)),
};

const RecordStep kAltGlyphDefSteps[] = {
    Core(AT(SvgAltGlyphDefElement, core)),
};

const RecordStep kGlyphRefSteps[] = {
    Core(AT(SvgGlyphRefElement, core)),
    Xlink(AT(SvgGlyphRefElement, xlink), AT(SvgGlyphRefElement, href)),
    Text("glyphRef", AT(SvgGlyphRefElement, glyphRef)),
    Text("format", AT(SvgGlyphRefElement, format)),
    Length("x", AT(SvgGlyphRefElement, x)),
    Length("y", AT(SvgGlyphRefElement, y)),
    Number("dx", AT(SvgGlyphRefElement, dx)),
    Number("dy", AT(SvgGlyphRefElement, dy)),
    Presentation(AT(SvgGlyphRefElement, style)),
};

const RecordStep kMarkerSteps[] = {
    Err(AT(SvgMarkerElement, externalResourcesRequired)),
    Core(AT(SvgMarkerElement, core)),
    FIT_TO_VIEW_BOX(SvgMarkerElement),
    Step(StepKind::Orient, "orient", AT(SvgMarkerElement, orient)),
    Keyword("markerUnits", AT(SvgMarkerElement, markerUnits), kMarkerUnitsKeywords),
    Length("refX", AT(SvgMarkerElement, refX)),
    Length("refY", AT(SvgMarkerElement, refY)),
    Length("markerWidth", AT(SvgMarkerElement, markerWidth)),
    Length("markerHeight", AT(SvgMarkerElement, markerHeight)),
    Presentation(AT(SvgMarkerElement, style)),
};

const RecordStep kColorProfileSteps[] = {
    Core(AT(SvgColorProfileElement, core)),
    Xlink(AT(SvgColorProfileElement, xlink), AT(SvgColorProfileElement, href)),
    Text("name", AT(SvgColorProfileElement, name)),
    Text("local", AT(SvgColorProfileElement, local)),
    Keyword("rendering-intent", AT(SvgColorProfileElement, renderingIntent), kRenderingIntentKeywords),
};

const RecordStep kLinearGradientSteps[] = {
    Err(AT(SvgLinearGradientElement, externalResourcesRequired)),
    Core(AT(SvgLinearGradientElement, core)),
    Xlink(AT(SvgLinearGradientElement, xlink), AT(SvgLinearGradientElement, href)),
    Transform("gradientTransform", AT(SvgLinearGradientElement, gradientTransform)),
    Keyword("spreadMethod", AT(SvgLinearGradientElement, spreadMethod), kSpreadMethodKeywords),
    Keyword("gradientUnits", AT(SvgLinearGradientElement, gradientUnits), kUnitsKeywords),
    Length("x1", AT(SvgLinearGradientElement, x1)),
    Length("y1", AT(SvgLinearGradientElement, y1)),
    Length("x2", AT(SvgLinearGradientElement, x2)),
    Length("y2", AT(SvgLinearGradientElement, y2)),
    Presentation(AT(SvgLinearGradientElement, style)),
};

const RecordStep kRadialGradientSteps[] = {
    Err(AT(SvgRadialGradientElement, externalResourcesRequired)),
    Core(AT(SvgRadialGradientElement, core)),
    Xlink(AT(SvgRadialGradientElement, xlink), AT(SvgRadialGradientElement, href)),
    Transform("gradientTransform", AT(SvgRadialGradientElement, gradientTransform)),
    Keyword("spreadMethod", AT(SvgRadialGradientElement, spreadMethod), kSpreadMethodKeywords),
    Keyword("gradientUnits", AT(SvgRadialGradientElement, gradientUnits), kUnitsKeywords),
    Length("cx", AT(SvgRadialGradientElement, cx)),
    Length("cy", AT(SvgRadialGradientElement, cy)),
    Length("fx", AT(SvgRadialGradientElement, fx)),
    Length("fy", AT(SvgRadialGradientElement, fy)),
    Length("r", AT(SvgRadialGradientElement, r)),
    Presentation(AT(SvgRadialGradientElement, style)),
};

// A stop has no externalResourcesRequired.
const RecordStep kStopSteps[] = {
    Core(AT(SvgStopElement, core)),
    Length("offset", AT(SvgStopElement, offset)),
    Presentation(AT(SvgStopElement, style)),
};

const RecordStep kPatternSteps[] = {
    Err(AT(SvgPatternElement, externalResourcesRequired)),
    Core(AT(SvgPatternElement, core)),
    Conditional(AT(SvgPatternElement, conditional)),
    Xlink(AT(SvgPatternElement, xlink), AT(SvgPatternElement, href)),
    FIT_TO_VIEW_BOX(SvgPatternElement),
    Keyword("patternUnits", AT(SvgPatternElement, patternUnits), kUnitsKeywords),
    Keyword("patternContentUnits", AT(SvgPatternElement, patternContentUnits), kUnitsKeywords),
    Length("x", AT(SvgPatternElement, x)),
    Length("y", AT(SvgPatternElement, y)),
    Length("height", AT(SvgPatternElement, height)),
    Length("width", AT(SvgPatternElement, width)),
    Transform("patternTransform", AT(SvgPatternElement, patternTransform)),
    Presentation(AT(SvgPatternElement, style)),
};

const RecordStep kClipPathSteps[] = {
    Err(AT(SvgClipPathElement, externalResourcesRequired)),
    Core(AT(SvgClipPathElement, core)),
    Conditional(AT(SvgClipPathElement, conditional)),
    Keyword("clipPathUnits", AT(SvgClipPathElement, clipPathUnits), kUnitsKeywords),
    Transform("transform", AT(SvgClipPathElement, transform)),
    Presentation(AT(SvgClipPathElement, style)),
};

// A mask has no externalResourcesRequired, and alone of all elements reads
// its geometry after its presentation attributes.
const RecordStep kMaskSteps[] = {
    Core(AT(SvgMaskElement, core)),
    Conditional(AT(SvgMaskElement, conditional)),
    Presentation(AT(SvgMaskElement, style)),
    Length("x", AT(SvgMaskElement, x)),
    Length("y", AT(SvgMaskElement, y)),
    Length("height", AT(SvgMaskElement, height)),
    Length("width", AT(SvgMaskElement, width)),
};

const RecordStep kFontSteps[] = {
    Err(AT(SvgFontElement, externalResourcesRequired)),
    Core(AT(SvgFontElement, core)),
    Number("horiz-origin-x", AT(SvgFontElement, horizOriginX)),
    Number("horiz-origin-y", AT(SvgFontElement, horizOriginY)),
    Number("horiz-adv-x", AT(SvgFontElement, horizAdvX)),
    Number("vert-origin-x", AT(SvgFontElement, vertOriginX)),
    Number("vert-origin-y", AT(SvgFontElement, vertOriginY)),
    Number("vert-adv-y", AT(SvgFontElement, vertAdvY)),
    Presentation(AT(SvgFontElement, style)),
};

// A glyph's outline comes after its metrics.
const RecordStep kGlyphSteps[] = {
    Core(AT(SvgGlyphElement, core)),
    Text("lang", AT(SvgGlyphElement, lang)),
    RawText("unicode", AT(SvgGlyphElement, unicode)),
    Text("glyph-name", AT(SvgGlyphElement, glyphName)),
    Number("horiz-adv-x", AT(SvgGlyphElement, horizAdvX)),
    Number("vert-origin-x", AT(SvgGlyphElement, vertOriginX)),
    Number("vert-origin-y", AT(SvgGlyphElement, vertOriginY)),
    Number("vert-adv-y", AT(SvgGlyphElement, vertAdvY)),
    Keyword("arabic-form", AT(SvgGlyphElement, arabicForm), kArabicFormKeywords),
    Keyword("orientation", AT(SvgGlyphElement, orientation), kOrientationKeywords),
    Step(StepKind::PathData, "d", AT(SvgGlyphElement, d)),
    Presentation(AT(SvgGlyphElement, style)),
};

const RecordStep kMissingGlyphSteps[] = {
    Core(AT(SvgMissingGlyphElement, core)),
    Number("horiz-adv-x", AT(SvgMissingGlyphElement, horizAdvX)),
    Number("vert-origin-x", AT(SvgMissingGlyphElement, vertOriginX)),
    Number("vert-origin-y", AT(SvgMissingGlyphElement, vertOriginY)),
    Number("vert-adv-y", AT(SvgMissingGlyphElement, vertAdvY)),
    Step(StepKind::PathData, "d", AT(SvgMissingGlyphElement, d)),
    Presentation(AT(SvgMissingGlyphElement, style)),
};

// Unicode ranges of kerning pairs are kept as written: a blank is a character.
const RecordStep kKernSteps[] = {
    Core(AT(SvgKernElement, core)),
    Number("k", AT(SvgKernElement, k)),
    RawText("u1", AT(SvgKernElement, u1)),
    Text("g1", AT(SvgKernElement, g1)),
    RawText("u2", AT(SvgKernElement, u2)),
    Text("g2", AT(SvgKernElement, g2)),
};

const RecordStep kFontFaceSteps[] = {
    Core(AT(SvgFontFaceElement, core)),
    Text("unicode-range", AT(SvgFontFaceElement, unicodeRange)),
    Text("panose-1", AT(SvgFontFaceElement, panose1)),
    Text("widths", AT(SvgFontFaceElement, widths)),
    Text("bbox", AT(SvgFontFaceElement, bbox)),
    Number("stemv", AT(SvgFontFaceElement, stemv)),
    Number("stemh", AT(SvgFontFaceElement, stemh)),
    Number("slope", AT(SvgFontFaceElement, slope)),
    Number("ascent", AT(SvgFontFaceElement, ascent)),
    Number("descent", AT(SvgFontFaceElement, descent)),
    Number("x-height", AT(SvgFontFaceElement, xHeight)),
    Number("hanging", AT(SvgFontFaceElement, hanging)),
    Number("alphabetic", AT(SvgFontFaceElement, alphabetic)),
    Number("cap-height", AT(SvgFontFaceElement, capHeight)),
    Number("units-per-em", AT(SvgFontFaceElement, unitsPerEm)),
    Number("ideographic", AT(SvgFontFaceElement, ideographic)),
    Number("v-hanging", AT(SvgFontFaceElement, vHanging)),
    Number("v-alphabetic", AT(SvgFontFaceElement, vAlphabetic)),
    Number("v-ideographic", AT(SvgFontFaceElement, vIdeographic)),
    Number("v-mathematical", AT(SvgFontFaceElement, vMathematical)),
    Number("accent-height", AT(SvgFontFaceElement, accentHeight)),
    Number("mathematical", AT(SvgFontFaceElement, mathematical)),
    Number("overline-position", AT(SvgFontFaceElement, overlinePosition)),
    Number("overline-thickness", AT(SvgFontFaceElement, overlineThickness)),
    Number("underline-position", AT(SvgFontFaceElement, underlinePosition)),
    Number("underline-thickness", AT(SvgFontFaceElement, underlineThickness)),
    Number("strikethrough-position", AT(SvgFontFaceElement, strikethroughPosition)),
    Number("strikethrough-thickness", AT(SvgFontFaceElement, strikethroughThickness)),
    Step(StepKind::FontProperties, "", AT(SvgFontFaceElement, font)),
};

const RecordStep kFontFaceSrcSteps[] = {
    Core(AT(SvgFontFaceSrcElement, core)),
};

const RecordStep kFontFaceUriSteps[] = {
    Core(AT(SvgFontFaceUriElement, core)),
    Xlink(AT(SvgFontFaceUriElement, xlink), AT(SvgFontFaceUriElement, href)),
};

const RecordStep kFontFaceFormatSteps[] = {
    Core(AT(SvgFontFaceFormatElement, core)),
    Text("string", AT(SvgFontFaceFormatElement, string)),
};

const RecordStep kFontFaceNameSteps[] = {
    Core(AT(SvgFontFaceNameElement, core)),
    Text("name", AT(SvgFontFaceNameElement, name)),
};

const RecordStep kAnchorSteps[] = {
    Core(AT(SvgAnchorElement, core)),
    Conditional(AT(SvgAnchorElement, conditional)),
    Xlink(AT(SvgAnchorElement, xlink), AT(SvgAnchorElement, href)),
    Transform("transform", AT(SvgAnchorElement, transform)),
    Presentation(AT(SvgAnchorElement, style)),
};

#undef FIT_TO_VIEW_BOX
#undef AT

const ElementLayout* LayoutOf(uint32_t type)
{
    static const ElementLayout svg{kSvgSvgElementSize, kSvgSteps};
    static const ElementLayout g{kSvgGElementSize, kGSteps};
    static const ElementLayout sw{kSvgGElementSize, kSwitchSteps};
    static const ElementLayout desc{kSvgDescElementSize, kDescSteps};
    static const ElementLayout symbol{kSvgSymbolElementSize, kSymbolSteps};
    static const ElementLayout use{kSvgUseElementSize, kUseSteps};
    static const ElementLayout image{kSvgImageElementSize, kImageSteps};
    static const ElementLayout style{kSvgStyleElementSize, kStyleSteps};
    static const ElementLayout path{kSvgPathElementSize, kPathSteps};
    static const ElementLayout rect{kSvgRectElementSize, kRectSteps};
    static const ElementLayout circle{kSvgCircleElementSize, kCircleSteps};
    static const ElementLayout ellipse{kSvgEllipseElementSize, kEllipseSteps};
    static const ElementLayout line{kSvgLineElementSize, kLineSteps};
    static const ElementLayout poly{kSvgPolyElementSize, kPolySteps};
    static const ElementLayout text{kSvgTextElementSize, kTextSteps, true};
    static const ElementLayout tspan{kSvgTSpanElementSize, kTSpanSteps, true};
    static const ElementLayout tref{kSvgTRefElementSize, kTRefSteps};
    static const ElementLayout textPath{kSvgTextPathElementSize, kTextPathSteps, true};
    static const ElementLayout altGlyph{kSvgAltGlyphElementSize, kAltGlyphSteps};
    static const ElementLayout altGlyphDef{kSvgAltGlyphDefElementSize, kAltGlyphDefSteps};
    static const ElementLayout glyphRef{kSvgGlyphRefElementSize, kGlyphRefSteps};
    static const ElementLayout marker{kSvgMarkerElementSize, kMarkerSteps};
    static const ElementLayout colorProfile{kSvgColorProfileElementSize, kColorProfileSteps};
    static const ElementLayout linearGradient{kSvgLinearGradientElementSize, kLinearGradientSteps};
    static const ElementLayout radialGradient{kSvgRadialGradientElementSize, kRadialGradientSteps};
    static const ElementLayout stop{kSvgStopElementSize, kStopSteps};
    static const ElementLayout pattern{kSvgPatternElementSize, kPatternSteps};
    static const ElementLayout clipPath{kSvgClipPathElementSize, kClipPathSteps};
    static const ElementLayout font{kSvgFontElementSize, kFontSteps};
    static const ElementLayout glyph{kSvgGlyphElementSize, kGlyphSteps};
    static const ElementLayout missingGlyph{kSvgMissingGlyphElementSize, kMissingGlyphSteps};
    static const ElementLayout kern{kSvgKernElementSize, kKernSteps};
    static const ElementLayout fontFace{kSvgFontFaceElementSize, kFontFaceSteps};
    static const ElementLayout fontFaceSrc{kSvgFontFaceSrcElementSize, kFontFaceSrcSteps};
    static const ElementLayout fontFaceUri{kSvgFontFaceUriElementSize, kFontFaceUriSteps};
    static const ElementLayout fontFaceFormat{kSvgFontFaceFormatElementSize, kFontFaceFormatSteps};
    static const ElementLayout fontFaceName{kSvgFontFaceNameElementSize, kFontFaceNameSteps};
    static const ElementLayout anchor{kSvgAnchorElementSize, kAnchorSteps};
    static const ElementLayout mask{kSvgMaskElementSize, kMaskSteps};

    switch (type) {
    case SVG_ELEMENT_SVG: return &svg;
    case SVG_ELEMENT_G: case SVG_ELEMENT_DEFS: return &g;
    case SVG_ELEMENT_SWITCH: return &sw;
    case SVG_ELEMENT_DESC: case SVG_ELEMENT_TITLE: return &desc;
    case SVG_ELEMENT_SYMBOL: return &symbol;
    case SVG_ELEMENT_USE: return &use;
    case SVG_ELEMENT_IMAGE: return &image;
    case SVG_ELEMENT_STYLE: return &style;
    case SVG_ELEMENT_PATH: return &path;
    case SVG_ELEMENT_RECT: return &rect;
    case SVG_ELEMENT_CIRCLE: return &circle;
    case SVG_ELEMENT_ELLIPSE: return &ellipse;
    case SVG_ELEMENT_LINE: return &line;
    case SVG_ELEMENT_POLYLINE: case SVG_ELEMENT_POLYGON: return &poly;
    case SVG_ELEMENT_TEXT: return &text;
    case SVG_ELEMENT_TSPAN: return &tspan;
    case SVG_ELEMENT_TREF: return &tref;
    case SVG_ELEMENT_TEXTPATH: return &textPath;
    case SVG_ELEMENT_ALTGLYPH: return &altGlyph;
    case SVG_ELEMENT_ALTGLYPHDEF: case SVG_ELEMENT_ALTGLYPHITEM: return &altGlyphDef;
    case SVG_ELEMENT_GLYPHREF: return &glyphRef;
    case SVG_ELEMENT_MARKER: return &marker;
    case SVG_ELEMENT_COLOR_PROFILE: return &colorProfile;
    case SVG_ELEMENT_LINEARGRADIENT: return &linearGradient;
    case SVG_ELEMENT_RADIALGRADIENT: return &radialGradient;
    case SVG_ELEMENT_STOP: return &stop;
    case SVG_ELEMENT_PATTERN: return &pattern;
    case SVG_ELEMENT_CLIPPATH: return &clipPath;
    case SVG_ELEMENT_FONT: return &font;
    case SVG_ELEMENT_GLYPH: return &glyph;
    case SVG_ELEMENT_MISSING_GLYPH: return &missingGlyph;
    case SVG_ELEMENT_HKERN: case SVG_ELEMENT_VKERN: return &kern;
    case SVG_ELEMENT_FONT_FACE: return &fontFace;
    case SVG_ELEMENT_FONT_FACE_SRC: return &fontFaceSrc;
    case SVG_ELEMENT_FONT_FACE_URI: case SVG_ELEMENT_DEFINITION_SRC: return &fontFaceUri;
    case SVG_ELEMENT_FONT_FACE_FORMAT: return &fontFaceFormat;
    case SVG_ELEMENT_FONT_FACE_NAME: return &fontFaceName;
    case SVG_ELEMENT_A: return &anchor;
    case SVG_ELEMENT_MASK: return &mask;
    default: return nullptr;
    }
}

// The largest record, for the local record of a rewrite.
constexpr size_t kLargestRecordSize = std::max({
    sizeof(SvgSvgElement), sizeof(SvgGElement), sizeof(SvgDescElement), sizeof(SvgSymbolElement),
    sizeof(SvgUseElement), sizeof(SvgImageElement), sizeof(SvgStyleElement), sizeof(SvgPathElement),
    sizeof(SvgRectElement), sizeof(SvgCircleElement), sizeof(SvgEllipseElement), sizeof(SvgLineElement),
    sizeof(SvgPolyElement), sizeof(SvgTextElement), sizeof(SvgTSpanElement), sizeof(SvgTRefElement),
    sizeof(SvgTextPathElement), sizeof(SvgAltGlyphElement), sizeof(SvgAltGlyphDefElement),
    sizeof(SvgGlyphRefElement), sizeof(SvgMarkerElement), sizeof(SvgColorProfileElement),
    sizeof(SvgLinearGradientElement), sizeof(SvgRadialGradientElement), sizeof(SvgStopElement),
    sizeof(SvgPatternElement), sizeof(SvgClipPathElement), sizeof(SvgFontElement), sizeof(SvgGlyphElement),
    sizeof(SvgMissingGlyphElement), sizeof(SvgKernElement), sizeof(SvgFontFaceElement),
    sizeof(SvgFontFaceSrcElement), sizeof(SvgFontFaceUriElement), sizeof(SvgFontFaceFormatElement),
    sizeof(SvgFontFaceNameElement), sizeof(SvgAnchorElement), sizeof(SvgMaskElement),
});

// ---- Field access ------------------------------------------------------------

template <class T>
T* FieldAt(void* record, uint32_t offset)
{
    return reinterpret_cast<T*>(static_cast<unsigned char*>(record) + offset);
}

template <class T>
const T* FieldAt(const void* record, uint32_t offset)
{
    return reinterpret_cast<const T*>(static_cast<const unsigned char*>(record) + offset);
}

uint32_t RecordSizeField(const void* record)
{
    uint32_t size;
    std::memcpy(&size, record, sizeof size);
    return size;
}

void InitFontProperties(SvgFontAttributes* font)
{
    std::memset(font, 0, sizeof *font);
    font->size = kSvgFontAttributesSize;
    font->fontSize.size = kSvgFontSizeSize;
    InitLength(&font->fontSize.length);
    font->font.size = kSvgFontNameSize;
    font->fontSizeAdjust.size = kSvgFontSizeAdjustSize;
    font->fontSizeAdjust.value = UnsetDouble();
}

void FreeString(KvChar** field)
{
    FreeTrackedField(reinterpret_cast<void**>(field));
}

// ---- One step, each way ------------------------------------------------------

void InitStep(const RecordStep& step, void* record)
{
    const uint32_t at = step.offset;
    switch (step.kind) {
    case StepKind::Boolean: *FieldAt<int32_t>(record, at) = -1; break;
    case StepKind::Length: InitLength(FieldAt<SvgLength>(record, at)); break;
    case StepKind::Number: *FieldAt<double>(record, at) = UnsetDouble(); break;
    case StepKind::PathLength: InitPercentage(FieldAt<SvgPercentage>(record, at)); break;
    case StepKind::Transform: InitTransformList(FieldAt<SvgTransformList>(record, at)); break;
    case StepKind::PathData: InitPathData(FieldAt<SvgPathData>(record, at)); break;
    case StepKind::ViewBox: InitViewBox(FieldAt<SvgViewBox>(record, at)); break;
    case StepKind::AspectRatio: InitPreserveAspectRatio(FieldAt<SvgPreserveAspectRatio>(record, at)); break;
    case StepKind::Orient: InitKeywordAngle(FieldAt<SvgKeywordAngle>(record, at)); break;
    case StepKind::Core: InitCoreAttributes(FieldAt<SvgCoreAttributes>(record, at)); break;
    case StepKind::Conditional: InitConditionalAttributes(FieldAt<SvgConditionalAttributes>(record, at)); break;
    case StepKind::Xlink: InitXlinkAttributes(FieldAt<SvgXlinkAttributes>(record, at)); break;
    case StepKind::Presentation: InitStyleProp(FieldAt<K_SvgStyleProp>(record, at)); break;
    case StepKind::TextPosition: InitTextPositionAttributes(FieldAt<SvgTextPositionAttributes>(record, at)); break;
    case StepKind::FontProperties: InitFontProperties(FieldAt<SvgFontAttributes>(record, at)); break;
    // Strings, keywords, point lists and character data start cleared.
    case StepKind::Text:
    case StepKind::RawText:
    case StepKind::Keyword:
    case StepKind::Points:
    case StepKind::CharacterData:
    case StepKind::Version:
        break;
    }
}

// Frees what one step owns; the field is left empty and set up.
void FreeStep(const RecordStep& step, void* record)
{
    const uint32_t at = step.offset;
    switch (step.kind) {
    case StepKind::Text:
    case StepKind::RawText: FreeString(FieldAt<KvChar*>(record, at)); break;
    case StepKind::Transform: FreeTransformList(FieldAt<SvgTransformList>(record, at)); break;
    case StepKind::PathData: FreePathData(FieldAt<SvgPathData>(record, at)); break;
    case StepKind::Points:
        FreeTrackedField(reinterpret_cast<void**>(FieldAt<SvgPoint*>(record, at)));
        *FieldAt<uint32_t>(record, step.extra) = 0;
        break;
    case StepKind::CharacterData:
        FreeString(FieldAt<KvChar*>(record, at));
        *FieldAt<uint32_t>(record, step.extra) = 0;
        break;
    case StepKind::Core: FreeCoreAttributes(FieldAt<SvgCoreAttributes>(record, at)); break;
    case StepKind::Conditional: FreeConditionalAttributes(FieldAt<SvgConditionalAttributes>(record, at)); break;
    case StepKind::Xlink:
        if (step.extra)
            FreeString(FieldAt<KvChar*>(record, step.extra));
        FreeXlinkAttributes(FieldAt<SvgXlinkAttributes>(record, at));
        break;
    case StepKind::Presentation: FreeStyleProp(FieldAt<K_SvgStyleProp>(record, at)); break;
    case StepKind::TextPosition: FreeTextPositionAttributes(FieldAt<SvgTextPositionAttributes>(record, at)); break;
    case StepKind::FontProperties: {
        SvgFontAttributes* font = FieldAt<SvgFontAttributes>(record, at);
        FreeString(&font->fontFamily);
        FreeString(&font->font.text);
        break;
    }
    default:
        break;
    }
}

// The first text child of an element, as the text elements keep it.
int32_t ReadCharacterData(pugi::xml_node node, KvChar** text, uint32_t* count)
{
    pugi::xml_node data;
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (child.type() == pugi::node_pcdata || child.type() == pugi::node_cdata) {
            data = child;
            break;
        }
    }
    if (!data)
        return SUCCESS;
    try {
        std::u16string wide = ToUtf16(data.value());
        if (int32_t status = ReplaceWideField(text, wide); status != SUCCESS)
            return status;
        *count = static_cast<uint32_t>(wide.size());
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t WriteCharacterData(const SvgAttributeWriter& writer, const KvChar* text, uint32_t count)
{
    // An element that never had character data gets none from an empty
    // record, so that writing does not grow empty text nodes.
    if ((!text || count == 0) && !writer.node().text())
        return SUCCESS;
    try {
        std::u16string copy = text ? std::u16string(text, count) : std::u16string();
        return writer.SetNodeText(copy.c_str());
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t ReadStep(const RecordStep& step, const SvgAttributeReader& reader, void* record)
{
    const uint32_t at = step.offset;
    switch (step.kind) {
    case StepKind::Boolean: return reader.ReadBooleanAttribute(step.name, FieldAt<int32_t>(record, at));
    case StepKind::Length: return reader.ReadLengthAttribute(step.name, FieldAt<SvgLength>(record, at));
    case StepKind::Number: return reader.ReadNumberAttribute(step.name, FieldAt<double>(record, at));
    case StepKind::Text: return reader.ReadStringAttribute(step.name, FieldAt<KvChar*>(record, at), true);
    case StepKind::RawText: return reader.ReadStringAttribute(step.name, FieldAt<KvChar*>(record, at), false);
    case StepKind::Keyword: return reader.ReadEnumAttribute(step.name, FieldAt<uint32_t>(record, at), *step.table);
    case StepKind::PathLength: return reader.ReadPathLengthAttribute(FieldAt<SvgPercentage>(record, at));
    case StepKind::Transform: return reader.ReadTransformAttribute(step.name, FieldAt<SvgTransformList>(record, at));
    case StepKind::PathData: return reader.ReadPathDataAttribute(FieldAt<SvgPathData>(record, at));
    case StepKind::Points:
        return reader.ReadPointsAttribute(FieldAt<SvgPoint*>(record, at), FieldAt<uint32_t>(record, step.extra));
    case StepKind::ViewBox: return reader.ReadViewBoxAttribute(FieldAt<SvgViewBox>(record, at));
    case StepKind::AspectRatio:
        return reader.ReadPreserveAspectRatioAttribute(FieldAt<SvgPreserveAspectRatio>(record, at));
    case StepKind::Orient: return reader.ReadOrientAttribute(FieldAt<SvgKeywordAngle>(record, at));
    case StepKind::Core: return reader.ReadCoreAttributes(FieldAt<SvgCoreAttributes>(record, at));
    case StepKind::Conditional: return reader.ReadConditionalAttributes(FieldAt<SvgConditionalAttributes>(record, at));
    case StepKind::Xlink:
        return reader.ReadXlinkAttributes(FieldAt<SvgXlinkAttributes>(record, at),
                                          step.extra ? FieldAt<KvChar*>(record, step.extra) : nullptr);
    case StepKind::Presentation: return reader.ReadPresentationAttributes(FieldAt<K_SvgStyleProp>(record, at));
    case StepKind::TextPosition:
        return reader.ReadTextPositionAttributes(FieldAt<SvgTextPositionAttributes>(record, at));
    case StepKind::FontProperties: return reader.ReadFontAttributes(FieldAt<SvgFontAttributes>(record, at));
    case StepKind::CharacterData:
        return ReadCharacterData(reader.node(), FieldAt<KvChar*>(record, at), FieldAt<uint32_t>(record, step.extra));
    case StepKind::Version: return SUCCESS;
    }
    return SUCCESS;
}

int32_t WriteVersion(const SvgAttributeWriter& writer)
{
    switch (writer.version()) {
    case 0: return writer.SetAttribute("version", std::u16string_view(), false);
    case 1: return writer.SetAttribute("version", u"1.0", false);
    case 2: return writer.SetAttribute("version", u"1.1", false);
    default: return FAILURE;
    }
}

int32_t WriteStep(const RecordStep& step, const SvgAttributeWriter& writer, const void* record)
{
    const uint32_t at = step.offset;
    switch (step.kind) {
    case StepKind::Boolean: return writer.SetBooleanAttribute(step.name, *FieldAt<int32_t>(record, at));
    case StepKind::Length: {
        const SvgLength* length = FieldAt<SvgLength>(record, at);
        if (length->size != kSvgLengthSize)
            return ERROR_RECORD_SIZE;
        return writer.SetLengthAttribute(step.name, length);
    }
    case StepKind::Number: return writer.SetNumberAttribute(step.name, *FieldAt<double>(record, at));
    case StepKind::Text: return writer.SetAttribute(step.name, *FieldAt<KvChar*>(record, at), true);
    case StepKind::RawText: return writer.SetAttribute(step.name, *FieldAt<KvChar*>(record, at), false);
    case StepKind::Keyword: return writer.SetEnumAttribute(step.name, *FieldAt<uint32_t>(record, at), *step.table);
    case StepKind::PathLength: return writer.WritePathLengthAttribute(FieldAt<SvgPercentage>(record, at));
    case StepKind::Transform: return writer.WriteTransformAttribute(step.name, FieldAt<SvgTransformList>(record, at));
    case StepKind::PathData: return writer.WritePathDataAttribute(FieldAt<SvgPathData>(record, at));
    case StepKind::Points:
        return writer.SetPointsAttribute(*FieldAt<uint32_t>(record, step.extra), *FieldAt<SvgPoint*>(record, at));
    case StepKind::ViewBox: return writer.WriteViewBox(FieldAt<SvgViewBox>(record, at));
    case StepKind::AspectRatio: return writer.WritePreserveAspectRatio(FieldAt<SvgPreserveAspectRatio>(record, at));
    case StepKind::Orient: return writer.WriteOrientAttribute(FieldAt<SvgKeywordAngle>(record, at));
    case StepKind::Core: return writer.WriteCoreAttributes(FieldAt<SvgCoreAttributes>(record, at));
    case StepKind::Conditional:
        return writer.WriteConditionalAttributes(FieldAt<SvgConditionalAttributes>(record, at));
    case StepKind::Xlink: {
        int32_t status = writer.WriteXlinkAttributes(FieldAt<SvgXlinkAttributes>(record, at));
        if (status == SUCCESS && step.extra)
            status = writer.SetAttribute("xlink:href", *FieldAt<KvChar*>(record, step.extra), true);
        return status;
    }
    case StepKind::Presentation: return writer.WritePresentationAttributes(FieldAt<K_SvgStyleProp>(record, at));
    case StepKind::TextPosition:
        return writer.WriteTextPositionAttributes(FieldAt<SvgTextPositionAttributes>(record, at));
    case StepKind::FontProperties: return writer.WriteFontAttributes(FieldAt<SvgFontAttributes>(record, at));
    case StepKind::CharacterData:
        return WriteCharacterData(writer, *FieldAt<KvChar*>(record, at), *FieldAt<uint32_t>(record, step.extra));
    case StepKind::Version: return WriteVersion(writer);
    }
    return SUCCESS;
}

const SvgCoreAttributes* CoreOf(const ElementLayout& layout, const void* record)
{
    for (const RecordStep& step : layout.steps) {
        if (step.kind == StepKind::Core)
            return FieldAt<SvgCoreAttributes>(record, step.offset);
    }
    return nullptr;
}

}  // namespace

// ---- The engine -------------------------------------------------------------

static_assert(kLargestRecordSize <= ScopedAnyRecord::kCapacity, "a record outgrew the view's storage");

uint32_t ElementRecordSize(uint32_t type)
{
    const ElementLayout* layout = LayoutOf(type);
    return layout ? layout->size : 0;
}

namespace {

#define TEXT_AT(Record, member) static_cast<uint32_t>(offsetof(Record, member))

// The strings inside each attribute group, relative to the group.
constexpr uint32_t kCoreTexts[] = {TEXT_AT(SvgCoreAttributes, id), TEXT_AT(SvgCoreAttributes, xmlBase)};
constexpr uint32_t kConditionalTexts[] = {TEXT_AT(SvgConditionalAttributes, requiredExtensions),
                                          TEXT_AT(SvgConditionalAttributes, systemLanguage)};
constexpr uint32_t kXlinkTexts[] = {TEXT_AT(SvgXlinkAttributes, xmlnsXlink), TEXT_AT(SvgXlinkAttributes, role),
                                    TEXT_AT(SvgXlinkAttributes, arcrole), TEXT_AT(SvgXlinkAttributes, title)};
constexpr uint32_t kFontTexts[] = {TEXT_AT(SvgFontAttributes, fontFamily), TEXT_AT(SvgFontAttributes, font.text)};
constexpr uint32_t kStyleTexts[] = {
    TEXT_AT(K_SvgStyleProp, text.font.fontFamily),
    TEXT_AT(K_SvgStyleProp, text.font.font.text),
    TEXT_AT(K_SvgStyleProp, colorValue.color.color.text),
    TEXT_AT(K_SvgStyleProp, colorValue.colorProfile.text),
    TEXT_AT(K_SvgStyleProp, clipPath.id),
    TEXT_AT(K_SvgStyleProp, paint.fill.paint.color.text),
    TEXT_AT(K_SvgStyleProp, paint.stroke.paint.color.text),
    TEXT_AT(K_SvgStyleProp, paint.markers.marker.id),
    TEXT_AT(K_SvgStyleProp, paint.markers.markerStart.id),
    TEXT_AT(K_SvgStyleProp, paint.markers.markerMid.id),
    TEXT_AT(K_SvgStyleProp, paint.markers.markerEnd.id),
    TEXT_AT(K_SvgStyleProp, stop.stopColor.color.text),
};

#undef TEXT_AT

}  // namespace

size_t RecordTextFields(uint32_t type, RecordTextField (&fields)[kMaxRecordTextFields])
{
    const ElementLayout* layout = LayoutOf(type);
    if (!layout)
        return 0;
    size_t count = 0;
    auto add = [&](uint32_t offset, uint32_t countOffset = 0) {
        if (count < kMaxRecordTextFields)
            fields[count++] = {offset, countOffset};
    };
    auto addGroup = [&](uint32_t groupOffset, std::span<const uint32_t> texts) {
        for (uint32_t text : texts)
            add(groupOffset + text);
    };
    for (const RecordStep& step : layout->steps) {
        switch (step.kind) {
        case StepKind::Text:
        case StepKind::RawText: add(step.offset); break;
        case StepKind::CharacterData: add(step.offset, step.extra); break;
        case StepKind::Core: addGroup(step.offset, kCoreTexts); break;
        case StepKind::Conditional: addGroup(step.offset, kConditionalTexts); break;
        case StepKind::Xlink:
            addGroup(step.offset, kXlinkTexts);
            if (step.extra)
                add(step.extra);
            break;
        case StepKind::Presentation: addGroup(step.offset, kStyleTexts); break;
        case StepKind::FontProperties: addGroup(step.offset, kFontTexts); break;
        default: break;
        }
    }
    return count;
}

int32_t InitElementRecord(uint32_t type, void* record, uint32_t size)
{
    const ElementLayout* layout = LayoutOf(type);
    if (!layout)
        return FAILURE;
    if (!record)
        return ERROR_INV_PARAMETER;
    if (size != layout->size)
        return ERROR_RECORD_SIZE;
    std::memset(record, 0, layout->size);
    *static_cast<uint32_t*>(record) = layout->size;
    for (const RecordStep& step : layout->steps) {
        if (step.use & kUseInit)
            InitStep(step, record);
    }
    return SUCCESS;
}

int32_t FreeElementRecord(uint32_t type, void* record)
{
    const ElementLayout* layout = LayoutOf(type);
    if (!layout)
        return FAILURE;
    if (!record)
        return ERROR_INV_PARAMETER;
    if (RecordSizeField(record) != layout->size)
        return ERROR_RECORD_SIZE;
    // In reverse, as the record was filled.
    for (auto step = layout->steps.rbegin(); step != layout->steps.rend(); ++step) {
        if (step->use & kUseFree)
            FreeStep(*step, record);
    }
    return SUCCESS;
}

int32_t ReadElementRecord(uint32_t type, SvgBaseElementHandler& handler, void* record, uint32_t flags)
{
    return ReadElementRecordAt(type, handler.node(), handler.getVersion(), record, flags);
}

int32_t ReadElementRecordAt(uint32_t type, pugi::xml_node node, uint32_t version, void* record, uint32_t flags)
{
    const ElementLayout* layout = LayoutOf(type);
    if (!layout)
        return FAILURE;
    if (!record)
        return ERROR_INV_PARAMETER;
    if (RecordSizeField(record) != layout->size)
        return ERROR_RECORD_SIZE;
    const SvgAttributeReader reader(node, version, flags);
    for (const RecordStep& step : layout->steps) {
        if (!(step.use & kUseRead))
            continue;
        if (int32_t status = ReadStep(step, reader, record); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t WriteElementRecord(uint32_t type, SvgBaseElementHandler& handler, const void* record)
{
    const ElementLayout* layout = LayoutOf(type);
    if (!layout)
        return FAILURE;
    if (!record)
        return ERROR_INV_PARAMETER;
    if (RecordSizeField(record) != layout->size)
        return ERROR_RECORD_SIZE;
    if (!handler.node())
        return ERROR_NODE_UNBOUND;
    SvgAttributeWriter writer(handler.node(), handler.getVersion());
    // A new element (the common case: every insertion from a record) has
    // nothing to replace or remove, which spares a search per attribute.
    if (!handler.node().first_attribute())
        writer.AssumeNoPriorAttributes();
    for (const RecordStep& step : layout->steps) {
        if (!(step.use & kUseWrite))
            continue;
        if (int32_t status = WriteStep(step, writer, record); status != SUCCESS)
            return status;
    }
    if (layout->prefixPreserveSpace) {
        const SvgCoreAttributes* core = CoreOf(*layout, record);
        if (core && core->xmlSpace == 2)
            return handler.PrefixStylePreserveSpace();
    }
    return SUCCESS;
}

int32_t RewriteElement(uint32_t type, SvgBaseElementHandler& handler, uint32_t flags)
{
    const ElementLayout* layout = LayoutOf(type);
    if (!layout)
        return FAILURE;
    alignas(std::max_align_t) unsigned char record[kLargestRecordSize];
    if (int32_t status = InitElementRecord(type, record, layout->size); status != SUCCESS)
        return status;
    // getElement frees the record itself when the read fails.
    if (int32_t status = handler.getElement(record, layout->size, flags); status != SUCCESS)
        return status;
    int32_t status = handler.setElement(record);
    FreeElementRecord(type, record);
    return status;
}

// ---- What the record exports do -----------------------------------------------

namespace {

// A handler that lives for one call, made by the factory like any other.
class TemporaryHandler {
public:
    int32_t Create(uint32_t type)
    {
        SvgBaseHandler* made = nullptr;
        const int32_t status = CreateSvgHandler(type, &made);
        handler_.reset(made);
        return status;
    }
    SvgBaseHandler* operator->() const { return handler_.get(); }
    SvgBaseHandler* get() const { return handler_.get(); }
    SvgBaseHandler* release() { return handler_.release(); }

private:
    SvgHandlerPtr handler_;
};

}  // namespace

int32_t InitRecordOfType(void* record, uint32_t type, uint32_t size)
{
    TemporaryHandler handler;
    if (int32_t status = handler.Create(type); status != SUCCESS)
        return status;
    return handler->initRecord(record, size);
}

int32_t FreeRecordOfType(void* record, uint32_t type)
{
    TemporaryHandler handler;
    if (int32_t status = handler.Create(type); status != SUCCESS)
        return status;
    // What the free says is not reported: there is nothing a caller could do.
    handler->freeRecord(record);
    return SUCCESS;
}

int32_t InsertElementWithRecord(SvgBaseHandler* parent, const void* record, uint32_t type, uint32_t position,
                                SvgBaseHandler** inserted)
{
    if (inserted)
        *inserted = nullptr;
    TemporaryHandler element;
    if (int32_t status = element.Create(type); status != SUCCESS)
        return status;
    // The parent runs the element limit before the tree changes.
    if (int32_t status = parent->insertTyped(type, position, element.get()); status != SUCCESS)
        return status;
    AttachOwner(parent, element.get());
    if (int32_t status = element->setElement(record); status != SUCCESS) {
        element->remove();
        return status;
    }
    if (inserted)
        *inserted = element.release();
    return SUCCESS;
}

int32_t GetSvgNodeFileOptions(SvgBaseHandler& node, SvgFileOptions& options)
{
    options.size = kSvgFileOptionsSize;
    options.width = options.height = options.dpiX = options.dpiY = -1.0;
    options.flags = 0;
    options.maximumElements = 0;
    SvgSvgElement record;
    if (int32_t status = InitElementRecord(SVG_ELEMENT_SVG, &record, kSvgSvgElementSize); status != SUCCESS)
        return status;
    if (int32_t status = node.getElement(&record, kSvgSvgElementSize, 0); status != SUCCESS)
        return status;
    // Only a plain number says how large the drawing is; a unit or a
    // percentage needs a context that a file option does not have.
    auto isPlainNumber = [](const SvgLength& length) {
        return !IsUnsetDouble(length.value) && length.unit == SVG_UNIT_NONE && length.percent == 0;
    };
    if (isPlainNumber(record.width))
        options.width = record.width.value;
    if (isPlainNumber(record.height))
        options.height = record.height.value;
    FreeElementRecord(SVG_ELEMENT_SVG, &record);

    SvgDocumentHandler* document = node.ResolveDocument();
    if (!document)
        return SUCCESS;
    SvgBounds fileOptions{};
    fileOptions.size = kSvgBoundsSize;
    ReadFileOptionAttributes(document->Root(), &fileOptions);
    // A resolution is a pair: one axis alone is not trusted.
    if (!IsUnsetDouble(fileOptions.dpiX) && !IsUnsetDouble(fileOptions.dpiY)) {
        options.dpiX = fileOptions.dpiX;
        options.dpiY = fileOptions.dpiY;
    }
    return SUCCESS;
}
