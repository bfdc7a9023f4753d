#include "values/svg_attribute_writer.h"

#include <cstdlib>
#include <new>
#include <string>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values/wide_text.h"

namespace {

// Owner of a tracked text made by a formatter.
struct TextOwner {
    KvChar* text = nullptr;
    ~TextOwner()
    {
        if (text)
            KV_FREE(text);
    }
};

}  // namespace

int32_t SvgAttributeWriter::SetAttribute(const char* name, const KvChar* value, bool trim) const
{
    return SetAttribute(name, WideView(value), trim);
}

int32_t SvgAttributeWriter::SetAttribute(const char* name, std::u16string_view value, bool trim) const
{
    if (!name)
        return ERROR_INV_PARAMETER;
    if (trim)
        value = TrimRuntimeSpace(value);
    pugi::xml_node node = node_;  // a handle: the tree changes, not the writer
    pugi::xml_attribute attribute;
    if (fresh_) {
#ifndef NDEBUG
        if (node.attribute(name))
            std::abort();  // a record's write set or removed this name twice
#endif
    } else {
        attribute = node.attribute(name);
    }
    // Writing "" removes the attribute, so no document ever holds an empty value.
    if (value.empty()) {
        if (!attribute)
            return SUCCESS;
        return node.remove_attribute(attribute) ? SUCCESS : FAILURE;
    }
    // Most values are short ASCII: they go through a stack buffer.
    char shortText[128];
    std::string longText;
    const char* utf8 = shortText;
    bool ascii = value.size() < sizeof shortText;
    for (size_t i = 0; ascii && i < value.size(); ++i) {
        if (value[i] >= 0x80 || value[i] == 0)
            ascii = false;
        else
            shortText[i] = static_cast<char>(value[i]);
    }
    if (ascii) {
        shortText[value.size()] = '\0';
    } else {
        try {
            longText = ToUtf8(value);
        } catch (const std::bad_alloc&) {
            return ERROR_NO_MEMORY;
        }
        utf8 = longText.c_str();
    }
    bool added = false;
    if (!attribute) {
        attribute = node.append_attribute(name);
        if (!attribute)
            return FAILURE;
        added = true;
    }
    if (attribute.set_value(utf8))
        return SUCCESS;
    if (added)
        node.remove_attribute(attribute);  // a refused value must not leave an empty attribute
    return FAILURE;
}

int32_t SvgAttributeWriter::SetNumberAttribute(const char* name, double value) const
{
    if (IsUnsetDouble(value))
        return SetAttribute(name, std::u16string_view(), false);
    KvChar text[kNumberTextCapacity];
    NumberToString(value, text);
    return SetAttribute(name, text, false);
}

int32_t SvgAttributeWriter::SetBooleanAttribute(const char* name, int32_t value) const
{
    if (value == -1)
        return SetAttribute(name, std::u16string_view(), false);
    return SetAttribute(name, value == 0 ? u"false" : u"true", false);
}

int32_t SvgAttributeWriter::SetScalarText(const char* name, int32_t formatStatus, const KvChar* text) const
{
    if (formatStatus == kStatusNoValue)
        return SetAttribute(name, std::u16string_view(), false);
    if (formatStatus != SUCCESS)
        return formatStatus;
    return SetAttribute(name, text, false);
}

int32_t SvgAttributeWriter::SetOwnedText(const char* name, int32_t formatStatus, KvChar* text, bool trim) const
{
    TextOwner owner{text};
    if (formatStatus != SUCCESS)
        return formatStatus;
    return SetAttribute(name, owner.text, trim);
}

int32_t SvgAttributeWriter::SetLengthAttribute(const char* name, const SvgLength* length) const
{
    if (!length)
        return ERROR_INV_PARAMETER;
    KvChar text[kNumberTextCapacity];
    return SetScalarText(name, LengthToString(length, text), text);
}

int32_t SvgAttributeWriter::SetAngleAttribute(const char* name, const SvgAngle* angle) const
{
    if (!angle)
        return ERROR_INV_PARAMETER;
    KvChar text[kNumberTextCapacity];
    return SetScalarText(name, AngleToString(angle, text), text);
}

int32_t SvgAttributeWriter::SetEnumAttribute(const char* name, uint32_t value, const KeywordTable& table) const
{
    if (value == 0)
        return SetAttribute(name, std::u16string_view(), false);
    if (value > table.size())
        return FAILURE;
    return SetAttribute(name, table[value - 1], false);
}

int32_t SvgAttributeWriter::SetLengthListAttribute(const char* name, uint32_t count, const SvgLength* values) const
{
    KvChar* text = nullptr;
    int32_t status = LengthListToString(count, values, &text);
    return SetOwnedText(name, status, text, true);
}

int32_t SvgAttributeWriter::SetNumberListAttribute(const char* name, uint32_t count, const double* values) const
{
    KvChar* text = nullptr;
    int32_t status = NumberListToString(count, values, &text);
    return SetOwnedText(name, status, text, true);
}

int32_t SvgAttributeWriter::SetPointsAttribute(uint32_t count, const SvgPoint* points) const
{
    KvChar* text = nullptr;
    int32_t status = PointsToString(count, points, &text);
    return SetOwnedText("points", status, text, true);
}

int32_t SvgAttributeWriter::SetNodeText(const KvChar* text) const
{
    std::string utf8;
    try {
        utf8 = ToUtf8(WideView(text));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return node_.text().set(utf8.c_str()) ? SUCCESS : FAILURE;
}

int32_t SvgAttributeWriter::RemoveStyleAttribute() const
{
    pugi::xml_node node = node_;
    pugi::xml_attribute style = node.attribute("style");
    if (!style)
        return SUCCESS;
    return node.remove_attribute(style) ? SUCCESS : FAILURE;
}

// ---- Group writers ---------------------------------------------------------

int32_t SvgAttributeWriter::WriteCoreAttributes(const SvgCoreAttributes* core) const
{
    if (!core)
        return ERROR_INV_PARAMETER;
    if (core->size != kSvgCoreAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SetAttribute("id", core->id, true);
    if (status == SUCCESS)
        status = SetAttribute("xml:base", core->xmlBase, true);
    if (status == SUCCESS)
        status = SetEnumAttribute("xml:lang", core->xmlLang, kXmlLangKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("xml:space", core->xmlSpace, kXmlSpaceKeywords);
    return status;
}

int32_t SvgAttributeWriter::WriteConditionalAttributes(const SvgConditionalAttributes* conditional) const
{
    if (!conditional)
        return ERROR_INV_PARAMETER;
    if (conditional->size != kSvgConditionalAttributesSize)
        return ERROR_RECORD_SIZE;
    KvChar* features = nullptr;
    int32_t status = FeaturesToString(conditional->requiredFeatures, &features);
    status = SetOwnedText("requiredFeatures", status, features, true);
    if (status == SUCCESS)
        status = SetAttribute("systemLanguage", conditional->systemLanguage, true);
    return status;
}

int32_t SvgAttributeWriter::WriteXlinkAttributes(const SvgXlinkAttributes* xlink) const
{
    if (!xlink)
        return ERROR_INV_PARAMETER;
    if (xlink->size != kSvgXlinkAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SetAttribute("xmlns:xlink", xlink->xmlnsXlink, true);
    if (status == SUCCESS) {
        // 1.1 knows only the simple link.
        status = version_ >= 2 && xlink->type > 1 ? ERROR_INV_NUMBER
                                                  : SetEnumAttribute("xlink:type", xlink->type, kXlinkTypeKeywords);
    }
    if (status == SUCCESS)
        status = SetAttribute("xlink:role", xlink->role, true);
    if (status == SUCCESS)
        status = SetAttribute("xlink:arcrole", xlink->arcrole, true);
    if (status == SUCCESS)
        status = SetAttribute("xlink:title", xlink->title, true);
    if (status == SUCCESS)
        status = SetEnumAttribute("xlink:show", xlink->show, kXlinkShowKeywords);
    if (status == SUCCESS) {
        status = version_ >= 2 && xlink->actuate == 1
                     ? ERROR_INV_NUMBER
                     : SetEnumAttribute("xlink:actuate", xlink->actuate, kXlinkActuateKeywords);
    }
    return status;
}

int32_t SvgAttributeWriter::WriteFillAttributes(const SvgFill* fill) const
{
    if (!fill)
        return ERROR_INV_PARAMETER;
    if (fill->size != kSvgFillSize)
        return ERROR_RECORD_SIZE;
    KvChar* paint = nullptr;
    int32_t status = PaintToString(&fill->paint, &paint);
    status = SetOwnedText("fill", status, paint, false);
    if (status == SUCCESS)
        status = SetNumberAttribute("fill-opacity", fill->opacity);
    if (status == SUCCESS)
        status = SetEnumAttribute("fill-rule", fill->rule, kFillRuleKeywords);
    return status;
}

int32_t SvgAttributeWriter::WriteStrokeAttributes(const SvgStroke* stroke) const
{
    if (!stroke)
        return ERROR_INV_PARAMETER;
    if (stroke->size != kSvgStrokeSize)
        return ERROR_RECORD_SIZE;
    KvChar* paint = nullptr;
    int32_t status = PaintToString(&stroke->paint, &paint);
    status = SetOwnedText("stroke", status, paint, false);
    if (status == SUCCESS) {
        KvChar* dashes = nullptr;
        status = DashArrayToString(&stroke->dashArray, &dashes);
        status = SetOwnedText("stroke-dasharray", status, dashes, true);
    }
    if (status == SUCCESS)
        status = SetLengthAttribute("stroke-dashoffset", &stroke->dashOffset);
    if (status == SUCCESS)
        status = SetEnumAttribute("stroke-linecap", stroke->lineCap, kStrokeLineCapKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("stroke-linejoin", stroke->lineJoin, kStrokeLineJoinKeywords);
    if (status == SUCCESS)
        status = SetNumberAttribute("stroke-miterlimit", stroke->miterLimit);
    if (status == SUCCESS)
        status = SetNumberAttribute("stroke-opacity", stroke->opacity);
    if (status == SUCCESS)
        status = SetLengthAttribute("stroke-width", &stroke->width);
    return status;
}

int32_t SvgAttributeWriter::WriteMarkerAttributes(const SvgMarkerAttributes* markers) const
{
    if (!markers)
        return ERROR_INV_PARAMETER;
    if (markers->size != kSvgMarkerAttributesSize)
        return ERROR_RECORD_SIZE;
    const struct {
        const char* name;
        const SvgReference* field;
    } order[] = {{"marker-start", &markers->markerStart},
                 {"marker-mid", &markers->markerMid},
                 {"marker-end", &markers->markerEnd},
                 {"marker", &markers->marker}};
    for (const auto& item : order) {
        KvChar* text = nullptr;
        int32_t status = MarkerRefToString(item.field, &text);
        if (status = SetOwnedText(item.name, status, text, false); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t SvgAttributeWriter::WriteColorAttributes(const SvgColorAttributes* rendering) const
{
    if (!rendering)
        return ERROR_INV_PARAMETER;
    if (rendering->size != kSvgColorAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SetEnumAttribute("color-interpolation", rendering->colorInterpolation, kColorInterpolationKeywords);
    if (status == SUCCESS && version_ != 1)
        status = SetEnumAttribute("color-interpolation-filters", rendering->colorInterpolationFilters,
                                  kColorInterpolationFiltersKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("color-rendering", rendering->colorRendering, kColorRenderingKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("image-rendering", rendering->imageRendering, kImageRenderingKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("shape-rendering", rendering->shapeRendering, kShapeRenderingKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("text-rendering", rendering->textRendering, kTextRenderingKeywords);
    return status;
}

int32_t SvgAttributeWriter::WriteVisibilityAttributes(const SvgVisibilityAttributes* visibility) const
{
    if (!visibility)
        return ERROR_INV_PARAMETER;
    if (visibility->size != kSvgVisibilityAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SetEnumAttribute("visibility", visibility->visibility, kVisibilityKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("display", visibility->display, kDisplayKeywords);
    return status;
}

int32_t SvgAttributeWriter::WriteStopAttributes(const SvgStopAttributes* stop) const
{
    if (!stop)
        return ERROR_INV_PARAMETER;
    if (stop->size != kSvgStopAttributesSize)
        return ERROR_RECORD_SIZE;
    KvChar* color = nullptr;
    int32_t status = StopColorToString(&stop->stopColor, &color);
    status = SetOwnedText("stop-color", status, color, false);
    if (status == SUCCESS)
        status = SetNumberAttribute("stop-opacity", stop->stopOpacity);
    return status;
}

int32_t SvgAttributeWriter::WriteGlyphOrientationAttributes(const SvgGlyphOrientationAttributes* orientation) const
{
    if (!orientation)
        return ERROR_INV_PARAMETER;
    if (orientation->size != kSvgGlyphOrientationAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SetAngleAttribute("glyph-orientation-horizontal", &orientation->glyphOrientationHorizontal);
    if (status == SUCCESS)
        return status;
    KvChar text[kNumberTextCapacity];
    return SetScalarText("glyph-orientation-vertical",
                         GlyphOrientationVerticalToString(&orientation->glyphOrientationVertical, text), text);
}

int32_t SvgAttributeWriter::WriteSpacingAttributes(const SvgSpacingAttributes* spacing) const
{
    if (!spacing)
        return ERROR_INV_PARAMETER;
    if (spacing->size != kSvgSpacingAttributesSize)
        return ERROR_RECORD_SIZE;
    KvChar text[kNumberTextCapacity];
    int32_t status = SetScalarText("kerning", LengthOrAutoToString(&spacing->kerning, text), text);
    if (status == SUCCESS)
        status = SetScalarText("letter-spacing", LengthOrNormalToString(&spacing->letterSpacing, text), text);
    if (status == SUCCESS)
        status = SetScalarText("word-spacing", LengthOrNormalToString(&spacing->wordSpacing, text), text);
    return status;
}

int32_t SvgAttributeWriter::WriteBaselineAttributes(const SvgBaselineAttributes* baseline) const
{
    if (!baseline)
        return ERROR_INV_PARAMETER;
    if (baseline->size != kSvgBaselineAttributesSize)
        return ERROR_RECORD_SIZE;
    KvChar text[kNumberTextCapacity];
    int32_t status = SetEnumAttribute("alignment-baseline", baseline->alignmentBaseline, kAlignmentBaselineKeywords);
    if (status == SUCCESS)
        status = SetScalarText("baseline-shift", BaselineShiftToString(&baseline->baselineShift, text), text);
    if (status == SUCCESS)
        status = SetScalarText("dominant-baseline",
                               DominantBaselineToString(baseline->dominantBaseline, version_, text), text);
    return status;
}

int32_t SvgAttributeWriter::WriteFontAttributes(const SvgFontAttributes* font) const
{
    if (!font)
        return ERROR_INV_PARAMETER;
    if (font->size != kSvgFontAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SetEnumAttribute("font-stretch", font->fontStretch, kFontStretchKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("font-style", font->fontStyle, kFontStyleKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("font-variant", font->fontVariant, kFontVariantKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("font-weight", font->fontWeight, kFontWeightKeywords);
    if (status == SUCCESS) {
        KvChar name[kFontNameTextCapacity];
        status = SetScalarText("font", FontNameToString(&font->font, name), name);
    }
    if (status == SUCCESS)
        status = SetAttribute("font-family", font->fontFamily, true);
    if (status == SUCCESS)
        status = SetLengthAttribute("font-size", &font->fontSize.length);
    if (status == SUCCESS) {
        KvChar text[kNumberTextCapacity];
        status = SetScalarText("font-size-adjust", FontSizeAdjustToString(&font->fontSizeAdjust, text), text);
    }
    return status;
}

int32_t SvgAttributeWriter::WriteDirectionAttributes(const SvgDirectionAttributes* direction) const
{
    if (!direction)
        return ERROR_INV_PARAMETER;
    if (direction->size != kSvgDirectionAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SetEnumAttribute("direction", direction->direction, kDirectionKeywords);
    if (status == SUCCESS)
        status = SetEnumAttribute("unicode-bidi", direction->unicodeBidi, kUnicodeBidiKeywords);
    return status;
}

int32_t SvgAttributeWriter::WriteTextAttributes(const SvgTextAttributes* text) const
{
    if (!text)
        return ERROR_INV_PARAMETER;
    if (text->size != kSvgTextAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SUCCESS;
    if (text->textDecoration == 0) {
        status = SetAttribute("text-decoration", std::u16string_view(), false);
    } else {
        KvChar words[64];
        FixedWideText out(words, 64);
        for (uint32_t i = 0; i < kTextDecorationKeywords.size(); ++i) {
            if (!(text->textDecoration & (1u << i)))
                continue;
            if (out.size())
                out.Append(u" ");
            out.Append(kTextDecorationKeywords[i]);
        }
        status = SetAttribute("text-decoration", out.view(), false);
    }
    if (status == SUCCESS)
        status = SetEnumAttribute("writing-mode", text->writingMode, kWritingModeKeywords);
    if (status == SUCCESS && text->anchor.size != kSvgAnchorAttributesSize)
        status = ERROR_RECORD_SIZE;
    if (status == SUCCESS)
        status = SetEnumAttribute("text-anchor", text->anchor.textAnchor, kTextAnchorKeywords);
    if (status == SUCCESS)
        status = WriteBaselineAttributes(&text->anchor.baseline);
    if (status == SUCCESS)
        status = WriteDirectionAttributes(&text->direction);
    if (status == SUCCESS)
        status = WriteFontAttributes(&text->font);
    if (status == SUCCESS)
        status = WriteGlyphOrientationAttributes(&text->orientation);
    if (status == SUCCESS)
        status = WriteSpacingAttributes(&text->spacing);
    return status;
}

int32_t SvgAttributeWriter::WritePaintAttributes(const SvgPaintAttributes* paint) const
{
    if (!paint)
        return ERROR_INV_PARAMETER;
    if (paint->size != kSvgPaintAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = WriteFillAttributes(&paint->fill);
    if (status == SUCCESS)
        status = WriteMarkerAttributes(&paint->markers);
    if (status == SUCCESS)
        status = WriteColorAttributes(&paint->rendering);
    if (status == SUCCESS)
        status = WriteStrokeAttributes(&paint->stroke);
    if (status == SUCCESS)
        status = WriteVisibilityAttributes(&paint->visibility);
    return status;
}

int32_t SvgAttributeWriter::WriteClipRectAttributes(const SvgClipRectAttributes* clipRect) const
{
    if (!clipRect)
        return ERROR_INV_PARAMETER;
    if (clipRect->size != kSvgClipRectAttributesSize)
        return ERROR_RECORD_SIZE;
    const struct {
        const char* name;
        const SvgKeywordLength* field;
    } order[] = {{"top", &clipRect->top}, {"right", &clipRect->right}, {"bottom", &clipRect->bottom},
                 {"left", &clipRect->left}};
    for (const auto& item : order) {
        KvChar text[kNumberTextCapacity];
        if (int32_t status = SetScalarText(item.name, LengthOrAutoToString(item.field, text), text); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t SvgAttributeWriter::WriteColorValueAttributes(const SvgColorValueAttributes* colorValue) const
{
    if (!colorValue)
        return ERROR_INV_PARAMETER;
    if (colorValue->size != kSvgColorValueAttributesSize)
        return ERROR_RECORD_SIZE;
    KvChar* color = nullptr;
    int32_t status = StopColorToString(&colorValue->color, &color);
    status = SetOwnedText("color", status, color, false);
    if (status == SUCCESS) {
        KvChar* profile = nullptr;
        status = ColorProfileToString(&colorValue->colorProfile, &profile);
        status = SetOwnedText("color-profile", status, profile, false);
    }
    return status;
}

int32_t SvgAttributeWriter::WritePresentationAttributes(const K_SvgStyleProp* style) const
{
    if (!style)
        return ERROR_INV_PARAMETER;
    if (style->size != kSvgStylePropSize)
        return ERROR_RECORD_SIZE;
    KvChar* clipPath = nullptr;
    int32_t status = ClipPathRefToString(&style->clipPath, &clipPath);
    status = SetOwnedText("clip-path", status, clipPath, false);
    if (status == SUCCESS)
        status = WriteColorValueAttributes(&style->colorValue);
    if (status == SUCCESS)
        status = WriteClipRectAttributes(&style->clipRect);
    if (status == SUCCESS)
        status = WriteStopAttributes(&style->stop);
    if (status == SUCCESS)
        status = WritePaintAttributes(&style->paint);
    if (status == SUCCESS)
        status = WriteTextAttributes(&style->text);
    if (status == SUCCESS)
        status = SetNumberAttribute("opacity", style->opacity);
    // The record already holds what the style attribute said; left on the
    // node it would override the attributes just written.
    if (status == SUCCESS)
        status = RemoveStyleAttribute();
    return status;
}

int32_t SvgAttributeWriter::WriteTextPositionAttributes(const SvgTextPositionAttributes* position) const
{
    if (!position)
        return ERROR_INV_PARAMETER;
    if (position->size != kSvgTextPositionAttributesSize)
        return ERROR_RECORD_SIZE;
    int32_t status = SUCCESS;
    if (version_ != 1) {
        status = SetLengthListAttribute("dx", position->dxCount, position->dx);
        if (status == SUCCESS)
            status = SetLengthListAttribute("dy", position->dyCount, position->dy);
        if (status == SUCCESS)
            status = SetNumberListAttribute("rotate", position->rotateCount, position->rotate);
    }
    if (status == SUCCESS)
        status = SetLengthListAttribute("x", position->xCount, position->x);
    if (status == SUCCESS)
        status = SetLengthListAttribute("y", position->yCount, position->y);
    return status;
}

// ---- Stand-alone writers ---------------------------------------------------

int32_t SvgAttributeWriter::WriteTransformAttribute(const char* name, const SvgTransformList* list) const
{
    if (!list)
        return ERROR_INV_PARAMETER;
    if (list->size != kSvgTransformListSize)
        return ERROR_RECORD_SIZE;
    KvChar* text = nullptr;
    int32_t status = TransformListToString(list, &text);
    return SetOwnedText(name, status, text, true);
}

int32_t SvgAttributeWriter::WritePathDataAttribute(const SvgPathData* data) const
{
    if (!data)
        return ERROR_INV_PARAMETER;
    if (data->size != kSvgPathDataSize)
        return ERROR_RECORD_SIZE;
    KvChar* text = nullptr;
    int32_t status = PathDataToString(data, &text);
    return SetOwnedText("d", status, text, true);
}

int32_t SvgAttributeWriter::WriteViewBox(const SvgViewBox* box) const
{
    if (!box)
        return ERROR_INV_PARAMETER;
    if (box->size != kSvgViewBoxSize)
        return ERROR_RECORD_SIZE;
    const double numbers[4] = {box->x, box->y, box->width, box->height};
    int unset = 0;
    for (double value : numbers)
        unset += IsUnsetDouble(value) ? 1 : 0;
    if (unset == 4)
        return SetAttribute("viewBox", std::u16string_view(), false);
    if (unset > 0 || box->width < 0 || box->height < 0)
        return ERROR_INV_NUMBER;
    KvChar text[4 * kNumberTextCapacity];
    FixedWideText out(text, std::size(text));
    for (int i = 0; i < 4; ++i) {
        KvChar number[kNumberTextCapacity];
        NumberToString(numbers[i], number);
        if (i)
            out.Append(u" ");
        out.Append(number);
    }
    return SetAttribute("viewBox", out.view(), false);
}

int32_t SvgAttributeWriter::WritePreserveAspectRatio(const SvgPreserveAspectRatio* ratio) const
{
    if (!ratio)
        return ERROR_INV_PARAMETER;
    if (ratio->size != kSvgPreserveAspectRatioSize)
        return ERROR_RECORD_SIZE;
    if (ratio->align == 0)
        return SetAttribute("preserveAspectRatio", std::u16string_view(), false);
    if (ratio->align > 11 || ratio->meetOrSlice > 3)
        return ERROR_INV_NUMBER;
    // Only the align word goes out; "meet" and "slice" never reach the file,
    // and documents written so far read back that way. The eleventh word
    // of the writer's list is "meet".
    std::u16string_view align = ratio->align == 11 ? std::u16string_view(u"meet") : kAlignKeywords[ratio->align - 1];
    return SetAttribute("preserveAspectRatio", align, false);
}

int32_t SvgAttributeWriter::WriteOrientAttribute(const SvgKeywordAngle* orient) const
{
    if (!orient)
        return ERROR_INV_PARAMETER;
    if (orient->size != kSvgKeywordAngleSize)
        return ERROR_RECORD_SIZE;
    switch (orient->kind) {
    case 0: return SetAttribute("orient", std::u16string_view(), false);
    case 1: return SetAttribute("orient", u"auto", false);
    case 2: return SetAngleAttribute("orient", &orient->angle);
    default: return FAILURE;
    }
}

int32_t SvgAttributeWriter::WritePathLengthAttribute(const SvgPercentage* pathLength) const
{
    if (!pathLength)
        return ERROR_INV_PARAMETER;
    if (pathLength->size != kSvgPercentageSize)
        return ERROR_RECORD_SIZE;
    KvChar text[kNumberTextCapacity];
    return SetScalarText("pathLength", PercentageToString(pathLength, text, kNumberTextCapacity), text);
}
