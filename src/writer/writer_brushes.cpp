#include "writer/writer_brushes.h"

#include "values/value_records.h"

namespace kvdrw::svg {

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

}  // namespace kvdrw::svg
