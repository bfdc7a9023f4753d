// The pen of the drawing engines: colour, width, dash style or pattern,
// cap and join. Dash lengths are multiples of the width, as a dash should
// grow with the line it cuts.
#pragma once

#include <vector>

#include "drawing/native_object.h"
#include "drawing/path_geometry.h"
#include "drawing/tracked_allocator.h"

namespace kvdrw::native {

class NativePen final : public NativeBase<kvdrw::Pen> {
public:
    NativePen(const KvColor& color, double width, int32_t dashStyle);

    int32_t GetColor(KvColor* color) override;
    int32_t SetColor(const KvColor* color) override;
    double GetWidth() override { return width_; }
    int32_t SetWidth(double width) override;
    int32_t GetDashStyle() override { return dashStyle_; }
    int32_t SetDashStyle(int32_t dashStyle) override;
    int32_t SetDashPattern(const double* pattern, int32_t count) override;
    int32_t GetLineCap() override { return lineCap_; }
    int32_t SetLineCap(int32_t lineCap) override;
    int32_t GetLineJoin() override { return lineJoin_; }
    int32_t SetLineJoin(int32_t lineJoin) override;

    const KvColor& color() const { return color_; }
    StrokeShape shape() const { return {width_, lineCap_, lineJoin_, 10.0}; }
    // On and off lengths in the pen's own units; empty for a solid line.
    void DashLengths(std::vector<double>& lengths) const;

private:
    KvColor color_;
    double width_ = 1.0;
    int32_t dashStyle_ = 0;
    int32_t lineCap_ = 0;
    int32_t lineJoin_ = 0;
    TrackedVector<double> pattern_;
};

}  // namespace kvdrw::native
