#include "drawing/native_brushes.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace kvdrw::native {

int32_t NativeSolidBrush::GetColor(KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    *color = color_;
    return SUCCESS;
}

int32_t NativeSolidBrush::SetColor(const KvColor* color)
{
    if (!color)
        return ERROR_INV_PARAMETER;
    color_ = *color;
    cachedPattern().reset();
    return SUCCESS;
}

void NativeGradientBrush::Set(const KvPoint& start, const KvPoint& end, const KvColor* colors, const double* offsets,
                              int32_t count)
{
    start_ = start;
    end_ = end;
    stops_.clear();
    stops_.reserve(count);
    double floor = 0.0;
    for (int32_t i = 0; i < count; ++i) {
        double offset = std::isfinite(offsets[i]) ? std::clamp(offsets[i], 0.0, 1.0) : 0.0;
        // A stop may not come before the one in front of it.
        floor = std::max(floor, offset);
        stops_.push_back({floor, colors[i]});
    }
    cachedPattern().reset();
}

void GradientLineForRectangle(const KvRectangle& rect, double angleDegrees, KvPoint& start, KvPoint& end)
{
    const double radians = angleDegrees * std::numbers::pi / 180.0;
    const double dx = std::cos(radians), dy = std::sin(radians);
    const double cx = rect.x + rect.width / 2, cy = rect.y + rect.height / 2;
    const double reach = std::fabs(rect.width / 2 * dx) + std::fabs(rect.height / 2 * dy);
    start = {cx - dx * reach, cy - dy * reach};
    end = {cx + dx * reach, cy + dy * reach};
}

}  // namespace kvdrw::native
