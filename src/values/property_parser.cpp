#include "values/property_parser.h"

#include "values/keyword_table.h"
#include "values/svg_attribute_reader.h"
#include "values/value_parser.h"
#include "values/wide_text.h"

namespace {

// Width of the name and value buffers of a declaration, terminator included.
constexpr size_t kDeclarationCapacity = 256;

// Copies text into a declaration buffer, leaving out white space (all of it,
// or only tabs and line ends where blanks are kept) and cutting what does not
// fit.
std::u16string_view CopyWithoutSpace(std::u16string_view text, char16_t* buffer, bool keepBlanks)
{
    size_t length = 0;
    for (char16_t c : text) {
        if (IsXmlSpace(c) && !(keepBlanks && c == u' '))
            continue;
        if (length + 1 >= kDeclarationCapacity)
            break;
        buffer[length++] = c;
    }
    buffer[length] = 0;
    return {buffer, length};
}

}  // namespace

int32_t ParsePresentationProperty(const SvgAttributeReader& reader, K_SvgStyleProp* style, std::u16string_view name,
                                  std::u16string_view value)
{
    if (!style)
        return ERROR_INV_PARAMETER;
    int32_t index = kPresentationPropertyKeywords.Find(TrimRuntimeSpace(name));
    if (index < 0 || index >= kPresentationPropertyCount)
        return SUCCESS;

    SvgTextAttributes& text = style->text;
    SvgFontAttributes& font = text.font;
    SvgPaintAttributes& paint = style->paint;
    switch (index) {
    case 0: return ParseFontNameValue(value, &font.font);
    case 1: return ReplaceWideField(&font.fontFamily, TrimRuntimeSpace(value));
    case 2: return ParseLength(value, &font.fontSize.length);
    case 3: return ParseFontSizeAdjustValue(value, &font.fontSizeAdjust);
    case 4: return ParseEnumValue(value, kFontStretchKeywords, &font.fontStretch);
    case 5: return ParseEnumValue(value, kFontStyleKeywords, &font.fontStyle);
    case 6: return ParseEnumValue(value, kFontVariantKeywords, &font.fontVariant);
    case 7: return ParseFontWeightValue(value, &font.fontWeight);
    case 8: return ParseEnumValue(value, kDirectionKeywords, &text.direction.direction);
    case 9: return ParseSpacingValue(value, &text.spacing.letterSpacing);
    case 10: return ParseTextDecoration(value, &text.textDecoration);
    case 11: return ParseEnumValue(value, kUnicodeBidiKeywords, &text.direction.unicodeBidi);
    case 12: return ParseSpacingValue(value, &text.spacing.wordSpacing);
    case 15: return ParsePaint(value, &paint.fill.paint);
    case 16: return ParsePaint(value, &paint.stroke.paint);
    case 17: return ParseColorValue(value, &style->stop.stopColor);
    case 21: return ParseEnumValue(value, kDisplayKeywords, &paint.visibility.display);
    case 23: return ParseEnumValue(value, kVisibilityKeywords, &paint.visibility.visibility);
    case 24: return ParseClipPathValue(value, &style->clipPath);
    case 27: return ParseNumberValue(value, &style->opacity);
    case 31: return ParseNumberValue(value, &style->stop.stopOpacity);
    case 33: return ParseEnumValue(value, kColorInterpolationKeywords, &paint.rendering.colorInterpolation);
    case 34:
        if (reader.version() == 1)
            return SUCCESS;  // a 1.0 document has no such property
        return ParseEnumValue(value, kColorInterpolationFiltersKeywords, &paint.rendering.colorInterpolationFilters);
    case 35: return ParseColorProfileValue(value, &style->colorValue.colorProfile);
    case 36: return ParseEnumValue(value, kColorRenderingKeywords, &paint.rendering.colorRendering);
    case 37: return ParseNumberValue(value, &paint.fill.opacity);
    case 38: return ParseEnumValue(value, kFillRuleKeywords, &paint.fill.rule);
    case 39: return ParseEnumValue(value, kImageRenderingKeywords, &paint.rendering.imageRendering);
    case 40: return ParseMarkerValue(value, &paint.markers.marker);
    case 41: return ParseMarkerValue(value, &paint.markers.markerEnd);
    case 42: return ParseMarkerValue(value, &paint.markers.markerMid);
    case 43: return ParseMarkerValue(value, &paint.markers.markerStart);
    case 44: return ParseEnumValue(value, kShapeRenderingKeywords, &paint.rendering.shapeRendering);
    case 45: return ParseDashArrayValue(value, &paint.stroke.dashArray);
    case 46: return ParseLength(value, &paint.stroke.dashOffset);
    case 47: return ParseEnumValue(value, kStrokeLineCapKeywords, &paint.stroke.lineCap);
    case 48: return ParseEnumValue(value, kStrokeLineJoinKeywords, &paint.stroke.lineJoin);
    case 49: return ParseNumberValue(value, &paint.stroke.miterLimit);
    case 50: return ParseNumberValue(value, &paint.stroke.opacity);
    case 51: return ParseLength(value, &paint.stroke.width);
    case 52: return ParseEnumValue(value, kTextRenderingKeywords, &paint.rendering.textRendering);
    case 53: return ParseEnumValue(value, kAlignmentBaselineKeywords, &text.anchor.baseline.alignmentBaseline);
    case 54: return ParseBaselineShiftValue(value, &text.anchor.baseline.baselineShift);
    case 55:
        return ParseDominantBaselineValue(value, reader.version(), reader.flags(),
                                          &text.anchor.baseline.dominantBaseline);
    case 56: return ParseAngle(value, &text.orientation.glyphOrientationHorizontal);
    case 57: return ParseGlyphOrientationVerticalValue(value, &text.orientation.glyphOrientationVertical);
    case 58: return ParseKerningValue(value, &text.spacing.kerning);
    case 59: return ParseEnumValue(value, kTextAnchorKeywords, &text.anchor.textAnchor);
    case 60: return ParseEnumValue(value, kWritingModeKeywords, &text.writingMode);
    case 61: return ParseClipRectValue(value, &style->clipRect.top);
    case 62: return ParseClipRectValue(value, &style->clipRect.right);
    case 63: return ParseClipRectValue(value, &style->clipRect.bottom);
    case 64: return ParseClipRectValue(value, &style->clipRect.left);
    default:
        return SUCCESS;  // known, and without effect in a style attribute
    }
}

int32_t ParseStyleAttribute(const SvgAttributeReader& reader, std::u16string_view text, K_SvgStyleProp* style)
{
    if (!style)
        return ERROR_INV_PARAMETER;
    char16_t nameBuffer[kDeclarationCapacity];
    char16_t valueBuffer[kDeclarationCapacity];
    WideTokenizer declarations(text, [](char16_t c) { return c == u';'; });
    std::u16string_view declaration;
    while (declarations.Next(declaration)) {
        declaration = SkipXmlSpace(declaration);
        size_t colon = declaration.find(u':');
        std::u16string_view name = CopyWithoutSpace(declaration.substr(0, colon), nameBuffer, false);
        std::u16string_view rest;
        if (colon != std::u16string_view::npos)
            rest = SkipXmlSpace(declaration.substr(colon + 1));
        // font-family is the one value whose blanks mean something.
        bool keepBlanks = EqualsIgnoringCase(name, u"font-family");
        std::u16string_view value = CopyWithoutSpace(rest, valueBuffer, keepBlanks);
        // "&#xD;" in raw text is cut in two by its ";": the tail "&#xD" is
        // no declaration.
        if (!name.empty() && name[0] == u'&' && value.empty())
            continue;
        if (int32_t status = ParsePresentationProperty(reader, style, name, value); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t ParseStyleAttribute(const SvgAttributeReader& reader, const KvChar* text, K_SvgStyleProp* style)
{
    if (!text || !*text)
        return style ? SUCCESS : ERROR_INV_PARAMETER;
    return ParseStyleAttribute(reader, WideView(text), style);
}
