#include "values/value_records.h"

#include <cstring>

#include "base/numeric.h"
#include "base/tracked_memory.h"

namespace {

template <class T>
void Clear(T* record)
{
    std::memset(record, 0, sizeof(T));
}

template <class T>
void FreeField(T** field)
{
    if (*field)
        KV_FREE(*field);
    *field = nullptr;
}

}  // namespace

void FreeTrackedField(void** field)
{
    FreeField(field);
}

int32_t CopyTrackedText(KvChar** field, const KvChar* text)
{
    FreeField(field);
    if (!text)
        return SUCCESS;
    size_t length = 0;
    while (text[length])
        ++length;
    auto* copy = static_cast<KvChar*>(KV_ALLOC(length + 1, sizeof(KvChar)));
    if (!copy)
        return ERROR_NO_MEMORY;
    std::memcpy(copy, text, (length + 1) * sizeof(KvChar));
    *field = copy;
    return SUCCESS;
}

void InitLength(SvgLength* length)
{
    Clear(length);
    length->size = kSvgLengthSize;
    length->value = UnsetDouble();
}

void InitPercentage(SvgPercentage* percentage)
{
    Clear(percentage);
    percentage->size = kSvgPercentageSize;
    percentage->value = UnsetDouble();
}

void InitAngle(SvgAngle* angle)
{
    Clear(angle);
    angle->size = kSvgAngleSize;
    angle->value = UnsetDouble();
}

void InitColor(SvgColor* color)
{
    Clear(color);
    color->size = kSvgColorSize;
    InitPercentage(&color->red);
    InitPercentage(&color->green);
    InitPercentage(&color->blue);
}

void InitPaint(SvgPaint* paint)
{
    Clear(paint);
    paint->size = kSvgPaintSize;
    InitColor(&paint->color);
}

void InitViewBox(SvgViewBox* box)
{
    box->size = kSvgViewBoxSize;
    box->x = box->y = box->width = box->height = UnsetDouble();
}

void InitPreserveAspectRatio(SvgPreserveAspectRatio* ratio)
{
    Clear(ratio);
    ratio->size = kSvgPreserveAspectRatioSize;
}

void InitDashArray(SvgDashArray* dashArray)
{
    Clear(dashArray);
    dashArray->size = kSvgDashArraySize;
}

void InitTransformList(SvgTransformList* list)
{
    Clear(list);
    list->size = kSvgTransformListSize;
}

void InitPathData(SvgPathData* data)
{
    Clear(data);
    data->size = kSvgPathDataSize;
}

void InitReference(SvgReference* reference)
{
    Clear(reference);
    reference->size = kSvgReferenceSize;
}

void InitKeywordLength(SvgKeywordLength* value)
{
    Clear(value);
    value->size = kSvgKeywordLengthSize;
    InitLength(&value->length);
}

void InitKeywordAngle(SvgKeywordAngle* value)
{
    Clear(value);
    value->size = kSvgKeywordAngleSize;
    InitAngle(&value->angle);
}

void InitCoreAttributes(SvgCoreAttributes* core)
{
    Clear(core);
    core->size = kSvgCoreAttributesSize;
}

void InitConditionalAttributes(SvgConditionalAttributes* conditional)
{
    Clear(conditional);
    conditional->size = kSvgConditionalAttributesSize;
}

void InitXlinkAttributes(SvgXlinkAttributes* xlink)
{
    Clear(xlink);
    xlink->size = kSvgXlinkAttributesSize;
}

void InitFill(SvgFill* fill)
{
    Clear(fill);
    fill->size = kSvgFillSize;
    fill->opacity = UnsetDouble();
    InitPaint(&fill->paint);
}

void InitStroke(SvgStroke* stroke)
{
    Clear(stroke);
    stroke->size = kSvgStrokeSize;
    stroke->opacity = UnsetDouble();
    stroke->miterLimit = UnsetDouble();
    InitPaint(&stroke->paint);
    InitLength(&stroke->width);
    InitLength(&stroke->dashOffset);
    InitDashArray(&stroke->dashArray);
}

void InitTextAttributes(SvgTextAttributes* text)
{
    Clear(text);
    text->size = kSvgTextAttributesSize;
    SvgSpacingAttributes& spacing = text->spacing;
    spacing.size = kSvgSpacingAttributesSize;
    InitKeywordLength(&spacing.kerning);
    InitKeywordLength(&spacing.wordSpacing);
    InitKeywordLength(&spacing.letterSpacing);
    text->direction.size = kSvgDirectionAttributesSize;
    text->anchor.size = kSvgAnchorAttributesSize;
    SvgBaselineAttributes& baseline = text->anchor.baseline;
    baseline.size = kSvgBaselineAttributesSize;
    baseline.baselineShift.size = kSvgBaselineShiftSize;
    InitLength(&baseline.baselineShift.length);
    InitPercentage(&baseline.baselineShift.percentage);
    text->orientation.size = kSvgGlyphOrientationAttributesSize;
    InitKeywordAngle(&text->orientation.glyphOrientationVertical);
    InitAngle(&text->orientation.glyphOrientationHorizontal);
    SvgFontAttributes& font = text->font;
    font.size = kSvgFontAttributesSize;
    font.fontSize.size = kSvgFontSizeSize;
    InitLength(&font.fontSize.length);
    font.font.size = kSvgFontNameSize;
    font.fontSizeAdjust.size = kSvgFontSizeAdjustSize;
    font.fontSizeAdjust.value = UnsetDouble();
}

void InitPaintAttributes(SvgPaintAttributes* paint)
{
    Clear(paint);
    paint->size = kSvgPaintAttributesSize;
    InitFill(&paint->fill);
    InitStroke(&paint->stroke);
    paint->markers.size = kSvgMarkerAttributesSize;
    InitReference(&paint->markers.marker);
    InitReference(&paint->markers.markerStart);
    InitReference(&paint->markers.markerMid);
    InitReference(&paint->markers.markerEnd);
    paint->rendering.size = kSvgColorAttributesSize;
    paint->visibility.size = kSvgVisibilityAttributesSize;
}

namespace {

void BuildStyleProp(K_SvgStyleProp* style)
{
    Clear(style);
    style->size = kSvgStylePropSize;
    style->opacity = UnsetDouble();
    InitTextAttributes(&style->text);
    style->colorValue.size = kSvgColorValueAttributesSize;
    style->colorValue.color.size = kSvgColorValueSize;
    InitColor(&style->colorValue.color.color);
    InitReference(&style->clipPath);
    InitPaintAttributes(&style->paint);
    style->stop.size = kSvgStopAttributesSize;
    style->stop.stopOpacity = UnsetDouble();
    style->stop.stopColor.size = kSvgColorValueSize;
    InitColor(&style->stop.stopColor.color);
    style->clipRect.size = kSvgClipRectAttributesSize;
    InitKeywordLength(&style->clipRect.top);
    InitKeywordLength(&style->clipRect.right);
    InitKeywordLength(&style->clipRect.bottom);
    InitKeywordLength(&style->clipRect.left);
}

}  // namespace

// Every record and every level of a flattening sets up a style, so the set-up
// is made once and copied: the record holds nothing that a copy could share.
void InitStyleProp(K_SvgStyleProp* style)
{
    static const K_SvgStyleProp prototype = [] {
        K_SvgStyleProp made;
        BuildStyleProp(&made);
        return made;
    }();
    std::memcpy(style, &prototype, sizeof prototype);
}

void InitTextPositionAttributes(SvgTextPositionAttributes* position)
{
    Clear(position);
    position->size = kSvgTextPositionAttributesSize;
}

void FreeColor(SvgColor* color)
{
    FreeField(&color->text);
}

void FreePaint(SvgPaint* paint)
{
    FreeColor(&paint->color);
}

void FreeDashArray(SvgDashArray* dashArray)
{
    FreeField(&dashArray->values);
    dashArray->count = 0;
}

void FreeTransformList(SvgTransformList* list)
{
    FreeField(&list->items);
    list->count = 0;
}

void FreePathData(SvgPathData* data)
{
    FreeField(&data->items);
    data->count = 0;
}

void FreeReference(SvgReference* reference)
{
    FreeField(&reference->id);
}

void FreeCoreAttributes(SvgCoreAttributes* core)
{
    FreeField(&core->id);
    FreeField(&core->xmlBase);
}

void FreeConditionalAttributes(SvgConditionalAttributes* conditional)
{
    FreeField(&conditional->requiredExtensions);
    FreeField(&conditional->systemLanguage);
}

void FreeXlinkAttributes(SvgXlinkAttributes* xlink)
{
    FreeField(&xlink->xmlnsXlink);
    FreeField(&xlink->role);
    FreeField(&xlink->arcrole);
    FreeField(&xlink->title);
}

void FreeFill(SvgFill* fill)
{
    FreePaint(&fill->paint);
}

void FreeStroke(SvgStroke* stroke)
{
    FreePaint(&stroke->paint);
    FreeDashArray(&stroke->dashArray);
}

void FreeTextAttributes(SvgTextAttributes* text)
{
    FreeField(&text->font.fontFamily);
    FreeField(&text->font.font.text);
}

void FreePaintAttributes(SvgPaintAttributes* paint)
{
    FreeFill(&paint->fill);
    FreeStroke(&paint->stroke);
    FreeReference(&paint->markers.marker);
    FreeReference(&paint->markers.markerStart);
    FreeReference(&paint->markers.markerMid);
    FreeReference(&paint->markers.markerEnd);
}

void FreeStyleProp(K_SvgStyleProp* style)
{
    FreeTextAttributes(&style->text);
    FreeColor(&style->colorValue.color.color);
    FreeField(&style->colorValue.colorProfile.text);
    FreeReference(&style->clipPath);
    FreePaintAttributes(&style->paint);
    FreeColor(&style->stop.stopColor.color);
}

void FreeTextPositionAttributes(SvgTextPositionAttributes* position)
{
    FreeField(&position->dx);
    position->dxCount = 0;
    FreeField(&position->dy);
    position->dyCount = 0;
    FreeField(&position->rotate);
    position->rotateCount = 0;
    FreeField(&position->x);
    position->xCount = 0;
    FreeField(&position->y);
    position->yCount = 0;
}
