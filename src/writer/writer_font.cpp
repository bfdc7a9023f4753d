#include "writer/writer_font.h"

#include <cmath>
#include <cstddef>

#include "values/value_records.h"

namespace kvdrw::svg {

namespace {

constexpr size_t kMaxFamilyLength = 64;

}  // namespace


MyFont::MyFont()
{
    SvgTextAttributes text;
    InitTextAttributes(&text);
    group_ = text.font;
}

MyFont::~MyFont()
{
    FreeTrackedField(reinterpret_cast<void**>(&group_.fontFamily));
    FreeTrackedField(reinterpret_cast<void**>(&group_.font.text));
    if (inner_ && owner())
        owner()->DeleteObject(inner_);
}

int32_t MyFont::Create(kvdrw::Engine& measuring, const char16_t* family, double size, int32_t style,
                       double resolution)
{
    SetOwner(&measuring);
    char16_t name[kMaxFamilyLength + 1] = {};
    const char16_t* chosen = family && family[0] ? family : u"Arial";
    for (size_t i = 0; i < kMaxFamilyLength && chosen[i]; ++i)
        name[i] = chosen[i];

    const double askedSize = size == 0.0 ? 1.0 : size;
    double measuringResolution = measuring.GetResolution();
    if (measuringResolution < 1.0)
        measuringResolution = 96.0;
    const double innerSize = askedSize * resolution / measuringResolution;
    if (int32_t status = measuring.CreateFont(&inner_, 0, name, innerSize, style); status != SUCCESS) {
        inner_ = nullptr;
        return status;
    }
    if (int32_t status = CopyTrackedText(&group_.fontFamily, name); status != SUCCESS)
        return status;
    style_ = style;
    resolution_ = resolution;
    pointSize_ = std::fabs(size);
    sizePx_ = std::fabs(size) * resolution / 72.0;
    InitLength(&group_.fontSize.length);
    group_.fontSize.length.value = sizePx_ != 0.0 ? sizePx_ : 12.0;
    if (style & kvdrw::kFontBold)
        group_.fontWeight = 11;  // "700"
    if (style & kvdrw::kFontItalic)
        group_.fontStyle = 2;
    if (style & kvdrw::kFontUnderline)
        decoration_ |= SVG_TEXT_DECORATION_UNDERLINE;
    if (style & kvdrw::kFontStrikeOut)
        decoration_ |= SVG_TEXT_DECORATION_LINE_THROUGH;
    return SUCCESS;
}

intptr_t MyFont::GetFamily()
{
    return inner_ ? inner_->GetFamily() : 0;
}

int32_t MyFont::GetFamilyNameNarrow(char* buffer, int32_t size)
{
    return inner_ ? inner_->GetFamilyNameNarrow(buffer, size) : ERROR_INV_PARAMETER;
}

int32_t MyFont::GetFamilyName(char16_t* buffer, int32_t size)
{
    return inner_ ? inner_->GetFamilyName(buffer, size) : ERROR_INV_PARAMETER;
}

double MyFont::GetHeight(double resolutionDpi)
{
    if (resolutionDpi < 1.0)
        resolutionDpi = 96.0;
    return pointSize_ * resolutionDpi / 72.0;
}

kvdrw::FontMetrics* MyFont::GetMetrics(kvdrw::FontMetrics* metrics, kvdrw::Engine*, double resolutionDpi)
{
    if (!metrics || !inner_ || !owner())
        return nullptr;
    // The inner font is already sized for the writer's resolution at the
    // measuring engine's, so the question is put in the measuring engine's terms.
    double measuringResolution = owner()->GetResolution();
    if (resolutionDpi >= 1.0 && resolution_ >= 1.0)
        resolutionDpi = resolutionDpi * measuringResolution / resolution_;
    return inner_->GetMetrics(metrics, owner(), resolutionDpi);
}

int32_t MyFont::MeasureGlyphRun(kvdrw::Engine*, const char16_t* text, int32_t length, double* advances)
{
    return inner_ ? inner_->MeasureGlyphRun(owner(), text, length, advances) : ERROR_INV_PARAMETER;
}

int32_t MyFont::MeasureCellWidths(kvdrw::Engine*, uint32_t firstChar, uint32_t lastChar, int32_t* widths,
                                  int32_t capacity)
{
    return inner_ ? inner_->MeasureCellWidths(owner(), firstChar, lastChar, widths, capacity) : ERROR_INV_PARAMETER;
}

int32_t MyFont::MeasureCell(kvdrw::Engine*, char16_t* text, int32_t length)
{
    return inner_ ? inner_->MeasureCell(owner(), text, length) : ERROR_INV_PARAMETER;
}

int32_t MyFont::MeasureGlyphs(kvdrw::Engine*, const char16_t* text, int32_t length, uint32_t* glyphs,
                              int32_t capacity, int32_t* count)
{
    return inner_ ? inner_->MeasureGlyphs(owner(), text, length, glyphs, capacity, count) : ERROR_INV_PARAMETER;
}

int32_t MyFont::MeasureExtents(kvdrw::Engine*, const char16_t* text, int32_t length, KvRectangle* inkBox)
{
    return inner_ ? inner_->MeasureExtents(owner(), text, length, inkBox) : ERROR_INV_PARAMETER;
}

int32_t MyFont::MeasureBox(kvdrw::Engine*, uint32_t character, KvRectangle* inkBox)
{
    return inner_ ? inner_->MeasureBox(owner(), character, inkBox) : ERROR_INV_PARAMETER;
}

int32_t MyFont::MeasureLine(kvdrw::Engine*, double* underlineOffset, double* underlineThickness,
                            double* strikeOutOffset, double* strikeOutThickness)
{
    return inner_ ? inner_->MeasureLine(owner(), underlineOffset, underlineThickness, strikeOutOffset,
                                        strikeOutThickness)
                  : ERROR_INV_PARAMETER;
}

}  // namespace kvdrw::svg
