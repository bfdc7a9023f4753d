#include "values/svg_attribute_reader.h"

#include <new>

#include "base/numeric.h"
#include "base/utf.h"
#include "values/property_parser.h"
#include "values/value_parser.h"
#include "values/wide_text.h"

namespace {

// Group readers drop words that their tables do not know.
int32_t Forgiven(int32_t status)
{
    return status == ERROR_UNKNOWN_KEYWORD ? SUCCESS : status;
}

}  // namespace

int32_t SvgAttributeReader::GetText(const char* name, std::u16string* text, bool* present) const
{
    *present = false;
    pugi::xml_attribute attribute = Find(name);
    if (!attribute)
        return SUCCESS;
    try {
        *text = ToUtf16(attribute.value());
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    *present = true;
    return SUCCESS;
}

// Fetches one attribute and hands its text to `parse`; a missing attribute
// is SUCCESS with nothing done.
template <class Parse>
int32_t SvgAttributeReader::ReadWith(const char* name, Parse parse) const
{
    std::u16string text;
    bool present = false;
    if (int32_t status = GetText(name, &text, &present); status != SUCCESS || !present)
        return status;
    return parse(std::u16string_view(text));
}

// ---- Single readers --------------------------------------------------------

int32_t SvgAttributeReader::ReadEnumAttribute(const char* name, uint32_t* field, const KeywordTable& table,
                                              bool addOne) const
{
    if (!field)
        return ERROR_INV_PARAMETER;
    std::u16string text;
    bool present = false;
    if (int32_t status = GetText(name, &text, &present); status != SUCCESS)
        return status;
    if (!present) {
        if (addOne)
            *field = 0;
        return SUCCESS;
    }
    int32_t index = table.Find(TrimRuntimeSpace(text));
    if (index >= 0)
        *field = static_cast<uint32_t>(index) + (addOne ? 1u : 0u);
    return SUCCESS;
}

int32_t SvgAttributeReader::ReadLengthAttribute(const char* name, SvgLength* length) const
{
    if (!length)
        return ERROR_INV_PARAMETER;
    return ReadWith(name, [&](std::u16string_view text) { return ParseLength(text, length); });
}

int32_t SvgAttributeReader::ReadStringAttribute(const char* name, KvChar** field, bool trim) const
{
    if (!field)
        return ERROR_INV_PARAMETER;
    return ReadWith(name, [&](std::u16string_view text) {
        return ReplaceWideField(field, trim ? TrimRuntimeSpace(text) : text);
    });
}

int32_t SvgAttributeReader::ReadNumberAttribute(const char* name, double* field) const
{
    if (!field)
        return ERROR_INV_PARAMETER;
    std::u16string text;
    bool present = false;
    if (int32_t status = GetText(name, &text, &present); status != SUCCESS)
        return status;
    if (!present) {
        *field = UnsetDouble();
        return SUCCESS;
    }
    if (int32_t status = IsNumberText(std::u16string_view(text)); status != SUCCESS)
        return status;
    *field = WideToDouble(text);
    return SUCCESS;
}

int32_t SvgAttributeReader::ReadBooleanAttribute(const char* name, int32_t* field) const
{
    if (!field)
        return ERROR_INV_PARAMETER;
    std::u16string text;
    bool present = false;
    if (int32_t status = GetText(name, &text, &present); status != SUCCESS)
        return status;
    if (!present) {
        *field = -1;
        return SUCCESS;
    }
    int32_t index = kBooleanKeywords.Find(TrimRuntimeSpace(text));
    if (index < 0)
        return ERROR_UNKNOWN_KEYWORD;
    *field = index;  // "FALSE" is 0, "TRUE" is 1
    return SUCCESS;
}

int32_t SvgAttributeReader::ReadAngleAttribute(const char* name, SvgAngle* angle) const
{
    if (!angle)
        return ERROR_INV_PARAMETER;
    return ReadWith(name, [&](std::u16string_view text) { return ParseAngle(text, angle); });
}

int32_t SvgAttributeReader::ReadPercentageAttribute(const char* name, SvgPercentage* percentage) const
{
    if (!percentage)
        return ERROR_INV_PARAMETER;
    return ReadWith(name, [&](std::u16string_view text) { return ParsePercentage(text, percentage); });
}

int32_t SvgAttributeReader::ReadLengthListAttribute(const char* name, SvgLength** values, uint32_t* count) const
{
    if (!values || !count)
        return ERROR_INV_PARAMETER;
    return ReadWith(name, [&](std::u16string_view text) { return ParseLengthList(text, values, count); });
}

int32_t SvgAttributeReader::ReadNumberListAttribute(const char* name, double** values, uint32_t* count) const
{
    if (!values || !count)
        return ERROR_INV_PARAMETER;
    return ReadWith(name, [&](std::u16string_view text) { return ParseNumberList(text, values, count); });
}

int32_t SvgAttributeReader::ReadTransformAttribute(const char* name, SvgTransformList* list) const
{
    if (!list)
        return ERROR_INV_PARAMETER;
    return ReadWith(name, [&](std::u16string_view text) { return ParseTransformList(text, list); });
}

int32_t SvgAttributeReader::ReadPathDataAttribute(SvgPathData* data) const
{
    if (!data)
        return ERROR_INV_PARAMETER;
    return ReadWith("d", [&](std::u16string_view text) { return ParsePathData(text, data); });
}

int32_t SvgAttributeReader::ReadPointsAttribute(SvgPoint** points, uint32_t* count) const
{
    if (!points || !count)
        return ERROR_INV_PARAMETER;
    return ReadWith("points", [&](std::u16string_view text) { return ParsePoints(text, points, count); });
}

int32_t SvgAttributeReader::ReadViewBoxAttribute(SvgViewBox* box) const
{
    if (!box)
        return ERROR_INV_PARAMETER;
    return ReadWith("viewBox", [&](std::u16string_view text) { return ParseViewBox(text, box); });
}

int32_t SvgAttributeReader::ReadPreserveAspectRatioAttribute(SvgPreserveAspectRatio* ratio) const
{
    if (!ratio)
        return ERROR_INV_PARAMETER;
    return Forgiven(ReadWith("preserveAspectRatio",
                             [&](std::u16string_view text) { return ParsePreserveAspectRatio(text, ratio); }));
}

int32_t SvgAttributeReader::ReadOrientAttribute(SvgKeywordAngle* orient) const
{
    if (!orient)
        return ERROR_INV_PARAMETER;
    return Forgiven(ReadWith("orient", [&](std::u16string_view text) { return ParseOrientValue(text, orient); }));
}

int32_t SvgAttributeReader::ReadPathLengthAttribute(SvgPercentage* pathLength) const
{
    return ReadPercentageAttribute("pathLength", pathLength);
}

uint32_t SvgAttributeReader::ReadVersionAttribute() const
{
    uint32_t version = 0;
    ReadWith("version", [&](std::u16string_view text) {
        version = ParseVersion(text);
        return SUCCESS;
    });
    return version;
}

// ---- Group readers ---------------------------------------------------------

int32_t SvgAttributeReader::ReadCoreAttributes(SvgCoreAttributes* core) const
{
    if (!core)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadStringAttribute("id", &core->id);
    if (status == SUCCESS)
        status = ReadStringAttribute("xml:base", &core->xmlBase);
    if (status == SUCCESS)
        status = ReadEnumAttribute("xml:lang", &core->xmlLang, kXmlLangKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("xml:space", &core->xmlSpace, kXmlSpaceKeywords);
    return status;
}

int32_t SvgAttributeReader::ReadConditionalAttributes(SvgConditionalAttributes* conditional) const
{
    if (!conditional)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadWith("requiredFeatures", [&](std::u16string_view text) {
        return ParseFeatures(text, &conditional->requiredFeatures);
    });
    if (status == SUCCESS)
        status = ReadStringAttribute("systemLanguage", &conditional->systemLanguage);
    return status;
}

int32_t SvgAttributeReader::ReadXlinkAttributes(SvgXlinkAttributes* xlink, KvChar** href) const
{
    if (!xlink)
        return ERROR_INV_PARAMETER;
    // 1.1 allows only the simple link, and no link activated on request.
    auto readVersioned = [&](const char* name, const KeywordTable& table, uint32_t* field, auto refused,
                             bool droppable) -> int32_t {
        uint32_t value = *field;
        if (int32_t status = ReadEnumAttribute(name, &value, table); status != SUCCESS)
            return status;
        if (version_ >= 2 && refused(value)) {
            if (!droppable || !(flags_ & kReadDropVersionErrors))
                return ERROR_INV_NUMBER;
            value = 0;
        }
        *field = value;
        return SUCCESS;
    };
    auto readWithFallback = [&](const char* name, const char* fallback, KvChar** field) -> int32_t {
        if (Find(name))
            return ReadStringAttribute(name, field);
        return ReadStringAttribute(fallback, field);
    };

    int32_t status = ReadStringAttribute("xmlns:xlink", &xlink->xmlnsXlink);
    if (status == SUCCESS)
        status = readVersioned("xlink:type", kXlinkTypeKeywords, &xlink->type,
                               [](uint32_t value) { return value > 1; }, true);
    if (status == SUCCESS)
        status = ReadStringAttribute("xlink:role", &xlink->role);
    if (status == SUCCESS)
        status = ReadStringAttribute("xlink:arcrole", &xlink->arcrole);
    if (status == SUCCESS)
        status = readWithFallback("xlink:title", "title", &xlink->title);
    if (status == SUCCESS)
        status = ReadEnumAttribute("xlink:show", &xlink->show, kXlinkShowKeywords);
    if (status == SUCCESS)
        status = readVersioned("xlink:actuate", kXlinkActuateKeywords, &xlink->actuate,
                               [](uint32_t value) { return value == 1; }, false);
    if (status == SUCCESS && href)
        status = readWithFallback("xlink:href", "href", href);
    return status;
}

int32_t SvgAttributeReader::ReadFillAttributes(SvgFill* fill) const
{
    if (!fill)
        return ERROR_INV_PARAMETER;
    int32_t status = Forgiven(ReadWith("fill", [&](std::u16string_view t) { return ParsePaint(t, &fill->paint); }));
    if (status == SUCCESS)
        status = ReadWith("fill-opacity", [&](std::u16string_view t) { return ParseNumberValue(t, &fill->opacity); });
    if (status == SUCCESS)
        status = ReadEnumAttribute("fill-rule", &fill->rule, kFillRuleKeywords);
    return status;
}

int32_t SvgAttributeReader::ReadStrokeAttributes(SvgStroke* stroke) const
{
    if (!stroke)
        return ERROR_INV_PARAMETER;
    int32_t status =
        Forgiven(ReadWith("stroke", [&](std::u16string_view t) { return ParsePaint(t, &stroke->paint); }));
    if (status == SUCCESS)
        status = Forgiven(ReadWith("stroke-dasharray",
                                   [&](std::u16string_view t) { return ParseDashArrayValue(t, &stroke->dashArray); }));
    if (status == SUCCESS)
        status = ReadLengthAttribute("stroke-dashoffset", &stroke->dashOffset);
    if (status == SUCCESS)
        status = ReadEnumAttribute("stroke-linecap", &stroke->lineCap, kStrokeLineCapKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("stroke-linejoin", &stroke->lineJoin, kStrokeLineJoinKeywords);
    if (status == SUCCESS)
        status = ReadWith("stroke-miterlimit",
                          [&](std::u16string_view t) { return ParseNumberValue(t, &stroke->miterLimit); });
    if (status == SUCCESS)
        status = ReadWith("stroke-opacity", [&](std::u16string_view t) { return ParseNumberValue(t, &stroke->opacity); });
    if (status == SUCCESS)
        status = ReadLengthAttribute("stroke-width", &stroke->width);
    return status;
}

int32_t SvgAttributeReader::ReadMarkerAttributes(SvgMarkerAttributes* markers) const
{
    if (!markers)
        return ERROR_INV_PARAMETER;
    const struct {
        const char* name;
        SvgReference* field;
    } order[] = {{"marker-start", &markers->markerStart},
                 {"marker-mid", &markers->markerMid},
                 {"marker-end", &markers->markerEnd},
                 {"marker", &markers->marker}};
    for (const auto& item : order) {
        int32_t status =
            Forgiven(ReadWith(item.name, [&](std::u16string_view t) { return ParseMarkerValue(t, item.field); }));
        if (status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t SvgAttributeReader::ReadColorAttributes(SvgColorAttributes* rendering) const
{
    if (!rendering)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadEnumAttribute("color-interpolation", &rendering->colorInterpolation, kColorInterpolationKeywords);
    if (status == SUCCESS && version_ != 1)
        status = ReadEnumAttribute("color-interpolation-filters", &rendering->colorInterpolationFilters,
                                   kColorInterpolationFiltersKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("color-rendering", &rendering->colorRendering, kColorRenderingKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("image-rendering", &rendering->imageRendering, kImageRenderingKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("shape-rendering", &rendering->shapeRendering, kShapeRenderingKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("text-rendering", &rendering->textRendering, kTextRenderingKeywords);
    return status;
}

int32_t SvgAttributeReader::ReadVisibilityAttributes(SvgVisibilityAttributes* visibility) const
{
    if (!visibility)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadEnumAttribute("visibility", &visibility->visibility, kVisibilityKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("display", &visibility->display, kDisplayKeywords);
    return status;
}

int32_t SvgAttributeReader::ReadStopAttributes(SvgStopAttributes* stop) const
{
    if (!stop)
        return ERROR_INV_PARAMETER;
    int32_t status =
        Forgiven(ReadWith("stop-color", [&](std::u16string_view t) { return ParseColorValue(t, &stop->stopColor); }));
    if (status == SUCCESS)
        status = ReadWith("stop-opacity", [&](std::u16string_view t) { return ParseNumberValue(t, &stop->stopOpacity); });
    return status;
}

int32_t SvgAttributeReader::ReadGlyphOrientationAttributes(SvgGlyphOrientationAttributes* orientation) const
{
    if (!orientation)
        return ERROR_INV_PARAMETER;
    int32_t status = Forgiven(ReadAngleAttribute("glyph-orientation-horizontal", &orientation->glyphOrientationHorizontal));
    if (status == SUCCESS)
        status = Forgiven(ReadWith("glyph-orientation-vertical", [&](std::u16string_view t) {
            return ParseGlyphOrientationVerticalValue(t, &orientation->glyphOrientationVertical);
        }));
    return status;
}

int32_t SvgAttributeReader::ReadSpacingAttributes(SvgSpacingAttributes* spacing) const
{
    if (!spacing)
        return ERROR_INV_PARAMETER;
    int32_t status =
        ReadWith("kerning", [&](std::u16string_view t) { return ParseKerningValue(t, &spacing->kerning); });
    if (status == SUCCESS)
        status = ReadWith("letter-spacing",
                          [&](std::u16string_view t) { return ParseSpacingValue(t, &spacing->letterSpacing); });
    if (status == SUCCESS)
        status = ReadWith("word-spacing",
                          [&](std::u16string_view t) { return ParseSpacingValue(t, &spacing->wordSpacing); });
    return status;
}

int32_t SvgAttributeReader::ReadBaselineAttributes(SvgBaselineAttributes* baseline) const
{
    if (!baseline)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadEnumAttribute("alignment-baseline", &baseline->alignmentBaseline, kAlignmentBaselineKeywords);
    if (status == SUCCESS)
        status = ReadWith("baseline-shift",
                          [&](std::u16string_view t) { return ParseBaselineShiftValue(t, &baseline->baselineShift); });
    if (status == SUCCESS)
        status = ReadWith("dominant-baseline", [&](std::u16string_view t) {
            return ParseDominantBaselineValue(t, version_, flags_, &baseline->dominantBaseline);
        });
    return status;
}

int32_t SvgAttributeReader::ReadFontAttributes(SvgFontAttributes* font) const
{
    if (!font)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadEnumAttribute("font-stretch", &font->fontStretch, kFontStretchKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("font-style", &font->fontStyle, kFontStyleKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("font-variant", &font->fontVariant, kFontVariantKeywords);
    if (status == SUCCESS)
        status = Forgiven(
            ReadWith("font-weight", [&](std::u16string_view t) { return ParseFontWeightValue(t, &font->fontWeight); }));
    if (status == SUCCESS)
        status = ReadWith("font", [&](std::u16string_view t) { return ParseFontNameValue(t, &font->font); });
    if (status == SUCCESS)
        status = ReadStringAttribute("font-family", &font->fontFamily);
    if (status == SUCCESS)
        status = ReadLengthAttribute("font-size", &font->fontSize.length);
    if (status == SUCCESS)
        status = ReadWith("font-size-adjust",
                          [&](std::u16string_view t) { return ParseFontSizeAdjustValue(t, &font->fontSizeAdjust); });
    return status;
}

int32_t SvgAttributeReader::ReadDirectionAttributes(SvgDirectionAttributes* direction) const
{
    if (!direction)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadEnumAttribute("direction", &direction->direction, kDirectionKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("unicode-bidi", &direction->unicodeBidi, kUnicodeBidiKeywords);
    return status;
}

int32_t SvgAttributeReader::ReadTextAttributes(SvgTextAttributes* text) const
{
    if (!text)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadWith("text-decoration",
                              [&](std::u16string_view t) { return ParseTextDecoration(t, &text->textDecoration); });
    if (status == SUCCESS)
        status = ReadEnumAttribute("writing-mode", &text->writingMode, kWritingModeKeywords);
    if (status == SUCCESS)
        status = ReadEnumAttribute("text-anchor", &text->anchor.textAnchor, kTextAnchorKeywords);
    if (status == SUCCESS)
        status = ReadBaselineAttributes(&text->anchor.baseline);
    if (status == SUCCESS)
        status = ReadDirectionAttributes(&text->direction);
    if (status == SUCCESS)
        status = ReadFontAttributes(&text->font);
    if (status == SUCCESS)
        status = ReadGlyphOrientationAttributes(&text->orientation);
    if (status == SUCCESS)
        status = ReadSpacingAttributes(&text->spacing);
    return status;
}

int32_t SvgAttributeReader::ReadPaintAttributes(SvgPaintAttributes* paint) const
{
    if (!paint)
        return ERROR_INV_PARAMETER;
    int32_t status = ReadFillAttributes(&paint->fill);
    if (status == SUCCESS)
        status = ReadMarkerAttributes(&paint->markers);
    if (status == SUCCESS)
        status = ReadColorAttributes(&paint->rendering);
    if (status == SUCCESS)
        status = ReadStrokeAttributes(&paint->stroke);
    if (status == SUCCESS)
        status = ReadVisibilityAttributes(&paint->visibility);
    return status;
}

int32_t SvgAttributeReader::ReadClipRectAttributes(SvgClipRectAttributes* clipRect) const
{
    if (!clipRect)
        return ERROR_INV_PARAMETER;
    const struct {
        const char* name;
        SvgKeywordLength* field;
    } order[] = {{"top", &clipRect->top}, {"right", &clipRect->right}, {"bottom", &clipRect->bottom},
                 {"left", &clipRect->left}};
    for (const auto& item : order) {
        int32_t status = ReadWith(item.name, [&](std::u16string_view t) { return ParseClipRectValue(t, item.field); });
        if (status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t SvgAttributeReader::ReadColorValueAttributes(SvgColorValueAttributes* colorValue) const
{
    if (!colorValue)
        return ERROR_INV_PARAMETER;
    int32_t status =
        Forgiven(ReadWith("color", [&](std::u16string_view t) { return ParseColorValue(t, &colorValue->color); }));
    if (status == SUCCESS)
        status = ReadWith("color-profile",
                          [&](std::u16string_view t) { return ParseColorProfileValue(t, &colorValue->colorProfile); });
    return status;
}

int32_t SvgAttributeReader::ReadPresentationAttributes(K_SvgStyleProp* style) const
{
    if (!style)
        return ERROR_INV_PARAMETER;
    int32_t status =
        Forgiven(ReadWith("clip-path", [&](std::u16string_view t) { return ParseClipPathValue(t, &style->clipPath); }));
    if (status == SUCCESS)
        status = ReadColorValueAttributes(&style->colorValue);
    if (status == SUCCESS)
        status = ReadClipRectAttributes(&style->clipRect);
    if (status == SUCCESS)
        status = ReadStopAttributes(&style->stop);
    if (status == SUCCESS)
        status = ReadPaintAttributes(&style->paint);
    if (status == SUCCESS)
        status = ReadTextAttributes(&style->text);
    if (status == SUCCESS)
        status = ReadWith("opacity", [&](std::u16string_view t) { return ParseNumberValue(t, &style->opacity); });
    // The style attribute comes last so that its properties override the
    // presentation attributes of the same element.
    if (status == SUCCESS)
        status = Forgiven(ReadWith("style", [&](std::u16string_view t) { return ParseStyleAttribute(*this, t, style); }));
    return status;
}

int32_t SvgAttributeReader::ReadTextPositionAttributes(SvgTextPositionAttributes* position) const
{
    if (!position)
        return ERROR_INV_PARAMETER;
    int32_t status = SUCCESS;
    if (version_ != 1) {
        status = ReadLengthListAttribute("dx", &position->dx, &position->dxCount);
        if (status == SUCCESS)
            status = ReadLengthListAttribute("dy", &position->dy, &position->dyCount);
        if (status == SUCCESS)
            status = ReadNumberListAttribute("rotate", &position->rotate, &position->rotateCount);
    }
    if (status == SUCCESS)
        status = ReadLengthListAttribute("x", &position->x, &position->xCount);
    if (status == SUCCESS)
        status = ReadLengthListAttribute("y", &position->y, &position->yCount);
    return status;
}
