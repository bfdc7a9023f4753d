#include "drawing/native_pen.h"

#include <cmath>

namespace kvdrw::native {

NativePen::NativePen(const KvColor& color, double width, int32_t dashStyle)
    : color_(color), width_(width >= 0 && std::isfinite(width) ? width : 1.0),
      dashStyle_(dashStyle >= 0 && dashStyle <= 5 ? dashStyle : 0)
{
}

int32_t NativePen::GetColor(KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    *color = color_;
    return SUCCESS;
}

int32_t NativePen::SetColor(const KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    color_ = *color;
    return SUCCESS;
}

int32_t NativePen::SetWidth(double width)
{
    if (!(width >= 0) || !std::isfinite(width))
        return ERROR_INV_PARAMETER;
    width_ = width;
    return SUCCESS;
}

int32_t NativePen::SetDashStyle(int32_t dashStyle)
{
    if (dashStyle < 0 || dashStyle > 5)
        return ERROR_INV_PARAMETER;
    dashStyle_ = dashStyle;
    return SUCCESS;
}

int32_t NativePen::SetDashPattern(const double* pattern, int32_t count)
{
    if (!pattern || count < 1)
        return ERROR_INV_PARAMETER;
    for (int32_t i = 0; i < count; ++i) {
        if (!(pattern[i] > 0) || !std::isfinite(pattern[i]))
            return ERROR_INV_PARAMETER;
    }
    try {
        pattern_.assign(pattern, pattern + count);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    dashStyle_ = 5;
    return SUCCESS;
}

int32_t NativePen::SetLineCap(int32_t lineCap)
{
    if (lineCap < 0 || lineCap > 2)
        return ERROR_INV_PARAMETER;
    lineCap_ = lineCap;
    return SUCCESS;
}

int32_t NativePen::SetLineJoin(int32_t lineJoin)
{
    if (lineJoin < 0 || lineJoin > 2)
        return ERROR_INV_PARAMETER;
    lineJoin_ = lineJoin;
    return SUCCESS;
}

void NativePen::DashLengths(std::vector<double>& lengths) const
{
    static const double kDash[] = {3, 1};
    static const double kDot[] = {1, 1};
    static const double kDashDot[] = {3, 1, 1, 1};
    static const double kDashDotDot[] = {3, 1, 1, 1, 1, 1};
    lengths.clear();
    const double unit = width_ > 0 ? width_ : 1.0;
    auto take = [&](const double* values, size_t count) {
        for (size_t i = 0; i < count; ++i)
            lengths.push_back(values[i] * unit);
    };
    switch (dashStyle_) {
    case 1:
        take(kDash, 2);
        break;
    case 2:
        take(kDot, 2);
        break;
    case 3:
        take(kDashDot, 4);
        break;
    case 4:
        take(kDashDotDot, 6);
        break;
    case 5:
        take(pattern_.data(), pattern_.size());
        break;
    default:
        break;
    }
}

}  // namespace kvdrw::native
