#include "writer/writer_objects.h"

#include <cmath>
#include <cstring>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "values/value_records.h"

namespace kvdrw::svg {

namespace {

constexpr size_t kMaxFamilyLength = 64;

void SetNumber(SvgPercentage& percentage, double value)
{
    InitPercentage(&percentage);
    percentage.value = value;
    percentage.type = SVG_PERCENTAGE_NUMBER;
}

uint8_t ToByte(const SvgPercentage& percentage)
{
    if (IsUnsetDouble(percentage.value))
        return 0;
    double value = percentage.type == SVG_PERCENTAGE_PERCENT ? percentage.value * 2.55 : percentage.value;
    value = std::fmin(255.0, std::fmax(0.0, std::round(value)));
    return static_cast<uint8_t>(value);
}

// A plain number in user units.
SvgLength UserLength(double value)
{
    SvgLength length;
    InitLength(&length);
    length.value = value;
    return length;
}

}  // namespace

void TrackWriterObject(MyDisposable* object)
{
    KV_TRACK(object);
}

void ReleaseWriterObject(MyDisposable* object, kvdrw::Engine* owner)
{
    if (!object)
        return;
    if (owner)
        object->SetOwner(owner);
    object->MarkReleasing();
    KV_UNTRACK(object);
    delete object;
}

void SetPaintColor(SvgPaint& paint, double& opacity, const KvColor& color)
{
    FreePaint(&paint);
    InitPaint(&paint);
    paint.kind = SVG_PAINT_COLOR;
    paint.color.kind = SVG_COLOR_RGB;
    SetNumber(paint.color.red, color.red);
    SetNumber(paint.color.green, color.green);
    SetNumber(paint.color.blue, color.blue);
    // Single precision, as the stored opacity has always been computed.
    opacity = color.alpha < 255 ? static_cast<double>(static_cast<float>(color.alpha) / 255.0f) : UnsetDouble();
}

KvColor GetPaintColor(const SvgPaint& paint, double opacity)
{
    KvColor color{255, 0, 0, 0};
    if (!IsUnsetDouble(opacity))
        color.alpha = static_cast<uint8_t>(std::lround(std::fmin(1.0, std::fmax(0.0, opacity)) * 255.0));
    if (paint.kind == SVG_PAINT_COLOR && paint.color.kind == SVG_COLOR_RGB) {
        color.red = ToByte(paint.color.red);
        color.green = ToByte(paint.color.green);
        color.blue = ToByte(paint.color.blue);
    }
    return color;
}

// ---- Pen ---------------------------------------------------------------------

MyPen::MyPen()
{
    InitStroke(&stroke_);
}

MyPen::~MyPen()
{
    FreeStroke(&stroke_);
    FreeTrackedField(reinterpret_cast<void**>(&dashPattern_));
}

int32_t MyPen::GetColor(KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    *color = GetPaintColor(stroke_.paint, stroke_.opacity);
    return SUCCESS;
}

int32_t MyPen::SetColor(const KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    SetPaintColor(stroke_.paint, stroke_.opacity, *color);
    return SUCCESS;
}

double MyPen::GetWidth()
{
    return IsUnsetDouble(stroke_.width.value) ? 1.0 : stroke_.width.value;
}

int32_t MyPen::SetWidth(double width)
{
    // The default width writes no attribute.
    InitLength(&stroke_.width);
    if (width != 1.0)
        stroke_.width.value = width;
    return SUCCESS;
}

int32_t MyPen::SetDashStyle(int32_t dashStyle)
{
    FreeDashArray(&stroke_.dashArray);
    InitDashArray(&stroke_.dashArray);
    dashStyle_ = dashStyle;
    // Dash and gap lengths in user units, whatever the width: what a viewer
    // shows for a wide pen is shorter dashes than the engines draw.
    static const double kDash[] = {5, 3};
    static const double kDot[] = {2, 3};
    static const double kDashDot[] = {5, 3, 2, 3};
    static const double kDashDotDot[] = {5, 3, 2, 3, 2, 3};
    const double* list = nullptr;
    uint32_t count = 0;
    switch (dashStyle) {
    case kvdrw::kDashDash: list = kDash; count = 2; break;
    case kvdrw::kDashDot: list = kDot; count = 2; break;
    case kvdrw::kDashDashDot: list = kDashDot; count = 4; break;
    case kvdrw::kDashDashDotDot: list = kDashDotDot; count = 6; break;
    default: return SUCCESS;
    }
    auto* values = static_cast<SvgLength*>(KV_ALLOC(count, sizeof(SvgLength)));
    if (!values)
        return ERROR_NO_MEMORY;
    for (uint32_t i = 0; i < count; ++i)
        values[i] = UserLength(list[i]);
    stroke_.dashArray.values = values;
    stroke_.dashArray.count = count;
    stroke_.dashArray.kind = 2;
    return SUCCESS;
}

int32_t MyPen::SetDashPattern(const double* pattern, int32_t count)
{
    if (!pattern || count < 0)
        return ERROR_INV_PARAMETER;
    SvgLength* values = nullptr;
    if (count > 0) {
        values = static_cast<SvgLength*>(KV_ALLOC(static_cast<size_t>(count), sizeof(SvgLength)));
        if (!values)
            return ERROR_NO_MEMORY;
        for (int32_t i = 0; i < count; ++i)
            values[i] = UserLength(pattern[i]);
    }
    FreeTrackedField(reinterpret_cast<void**>(&dashPattern_));
    dashPattern_ = values;
    dashCount_ = count;
    if (dashStyle_ != kvdrw::kDashCustom || count == 0)
        return SUCCESS;
    // The list reaches the record, but the dash kind stays as the style left
    // it (none for the custom style), so the pattern is never written.
    auto* listCopy = static_cast<SvgLength*>(KV_ALLOC(static_cast<size_t>(count), sizeof(SvgLength)));
    if (!listCopy)
        return ERROR_NO_MEMORY;
    std::memcpy(listCopy, values, sizeof(SvgLength) * static_cast<size_t>(count));
    FreeTrackedField(reinterpret_cast<void**>(&stroke_.dashArray.values));
    stroke_.dashArray.values = listCopy;
    stroke_.dashArray.count = static_cast<uint32_t>(count);
    return SUCCESS;
}

int32_t MyPen::GetLineCap()
{
    switch (stroke_.lineCap) {
    case 3: return kvdrw::kCapSquare;
    case 2: return kvdrw::kCapRound;
    default: return kvdrw::kCapButt;
    }
}

int32_t MyPen::SetLineCap(int32_t lineCap)
{
    stroke_.lineCap = lineCap == kvdrw::kCapSquare ? 3u : lineCap == kvdrw::kCapRound ? 2u : 1u;
    return SUCCESS;
}

int32_t MyPen::GetLineJoin()
{
    switch (stroke_.lineJoin) {
    case 3: return kvdrw::kJoinBevel;
    case 2: return kvdrw::kJoinRound;
    default: return kvdrw::kJoinMiter;
    }
}

int32_t MyPen::SetLineJoin(int32_t lineJoin)
{
    stroke_.lineJoin = lineJoin == kvdrw::kJoinBevel ? 3u : lineJoin == kvdrw::kJoinRound ? 2u : 1u;
    return SUCCESS;
}

// ---- Brushes -------------------------------------------------------------------

MyBrush::MyBrush()
{
    InitFill(&fill_);
}

MyBrush::~MyBrush()
{
    FreeFill(&fill_);
}

int32_t MySolidBrush::GetColor(KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    *color = GetPaintColor(fill_.paint, fill_.opacity);
    return SUCCESS;
}

int32_t MySolidBrush::SetColor(const KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    SetPaintColor(fill_.paint, fill_.opacity, *color);
    // Black is the default fill: it is left unsaid.
    if (color->red == 0 && color->green == 0 && color->blue == 0) {
        FreePaint(&fill_.paint);
        InitPaint(&fill_.paint);
    }
    return SUCCESS;
}

namespace {

int32_t SetFillReference(SvgFill& fill, const char16_t* id)
{
    FreePaint(&fill.paint);
    InitPaint(&fill.paint);
    if (int32_t status = CopyTrackedText(&fill.paint.color.text, id); status != SUCCESS)
        return status;
    fill.paint.kind = SVG_PAINT_REFERENCE;
    return SUCCESS;
}

}  // namespace

int32_t MyLinearGradientBrush::SetReference(const char16_t* id)
{
    return SetFillReference(fill_, id);
}

int32_t MyHatchBrush::SetReference(const char16_t* id)
{
    return SetFillReference(fill_, id);
}

// ---- Font ------------------------------------------------------------------------

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

// ---- String format ---------------------------------------------------------------

MyStringFormat::~MyStringFormat()
{
    if (inner_ && owner())
        owner()->DeleteObject(inner_);
}

int32_t MyStringFormat::Create(kvdrw::Engine& measuring, int32_t alignment, int32_t lineAlignment, int32_t flags)
{
    SetOwner(&measuring);
    if (int32_t status = measuring.CreateStringFormat(&inner_, alignment, lineAlignment, flags); status != SUCCESS) {
        inner_ = nullptr;
        return status;
    }
    // The inner format already holds the values; the setters would pass
    // them on a second time.
    kvdrw::StringFormat* inner = inner_;
    inner_ = nullptr;
    SetAlignment(alignment);
    SetLineAlignment(lineAlignment);
    SetFormatFlags(flags);
    inner_ = inner;
    return SUCCESS;
}

int32_t MyStringFormat::SetAlignment(int32_t alignment)
{
    switch (alignment) {
    case kvdrw::kAlignNear:
    case kvdrw::kAlignStored: textAnchor_ = 0; break;
    case kvdrw::kAlignCenter: textAnchor_ = 2; break;  // middle
    case kvdrw::kAlignFar: textAnchor_ = 3; break;     // end
    default: break;
    }
    return inner_ ? inner_->SetAlignment(alignment) : SUCCESS;
}

int32_t MyStringFormat::GetAlignment()
{
    return textAnchor_ == 2 ? kvdrw::kAlignCenter : textAnchor_ == 3 ? kvdrw::kAlignFar : kvdrw::kAlignNear;
}

int32_t MyStringFormat::SetLineAlignment(int32_t lineAlignment)
{
    switch (lineAlignment) {
    case kvdrw::kAlignNear: dominantBaseline_ = 0; break;
    case kvdrw::kAlignCenter: dominantBaseline_ = 12; break;  // central
    case kvdrw::kAlignFar: dominantBaseline_ = 14; break;     // text-after-edge
    case kvdrw::kAlignStored: dominantBaseline_ = 1; break;   // auto
    default: break;
    }
    return inner_ ? inner_->SetLineAlignment(lineAlignment) : SUCCESS;
}

int32_t MyStringFormat::GetLineAlignment()
{
    switch (dominantBaseline_) {
    case 12: return kvdrw::kAlignCenter;
    case 14: return kvdrw::kAlignFar;
    case 1: return kvdrw::kAlignStored;
    default: return kvdrw::kAlignNear;
    }
}

int32_t MyStringFormat::SetFormatFlags(int32_t flags)
{
    const bool rightToLeft = (flags & kvdrw::kFormatRightToLeft) != 0;
    const bool vertical = (flags & kvdrw::kFormatVertical) != 0;
    direction_ = rightToLeft ? 2u : 0u;                            // rtl
    writingMode_ = vertical ? (rightToLeft ? 2u : 6u) : rightToLeft ? 5u : 0u;  // rl-tb, tb, rl
    endOfWordMark_ = (flags & kvdrw::kFormatEndOfWordMark) != 0;
    return inner_ ? inner_->SetFormatFlags(flags) : SUCCESS;
}

int32_t MyStringFormat::GetFormatFlags()
{
    return inner_ ? inner_->GetFormatFlags() : 0;
}

}  // namespace kvdrw::svg
