// The brushes of the drawing engines: a solid colour, a linear gradient of
// any number of stops (padded beyond its ends, as an SVG gradient is), and a
// hatch of a 10 x 10 pixel cell. Each keeps a description; the bitmap engine
// turns it into a cairo source and keeps that on the brush for the next use.
#pragma once

#include <vector>

#include "drawing/native_object.h"
#include "drawing/third_party_handles.h"
#include "drawing/tracked_allocator.h"

namespace kvdrw::native {

struct GradientStop {
    double offset;
    KvColor color;
};

class NativeBrush {
public:
    enum class Kind { Solid, Gradient, Hatch };
    virtual ~NativeBrush() = default;
    virtual Kind kind() const = 0;
    // The cairo source made from this brush, once made.
    CairoPattern& cachedPattern() { return pattern_; }

private:
    CairoPattern pattern_;
};

class NativeSolidBrush final : public NativeBase<kvdrw::SolidBrush>, public NativeBrush {
public:
    explicit NativeSolidBrush(const KvColor& color) : color_(color) {}
    Kind kind() const override { return Kind::Solid; }
    int32_t GetColor(KvColor* color) override;
    int32_t SetColor(const KvColor* color) override;
    const KvColor& color() const { return color_; }

private:
    KvColor color_;
};

class NativeGradientBrush final : public NativeBase<kvdrw::LinearGradientBrush>, public NativeBrush {
public:
    NativeGradientBrush() = default;
    Kind kind() const override { return Kind::Gradient; }
    // Offsets are clamped to 0..1 and kept in ascending order. Throws std::bad_alloc.
    void Set(const KvPoint& start, const KvPoint& end, const KvColor* colors, const double* offsets, int32_t count);
    const KvPoint& start() const { return start_; }
    const KvPoint& end() const { return end_; }
    const TrackedVector<GradientStop>& stops() const { return stops_; }

private:
    KvPoint start_{0, 0}, end_{0, 0};
    TrackedVector<GradientStop> stops_;
};

class NativeHatchBrush final : public NativeBase<kvdrw::HatchBrush>, public NativeBrush {
public:
    NativeHatchBrush(int32_t style, const KvColor& foreground, const KvColor& background)
        : style_(style), foreground_(foreground), background_(background)
    {
    }
    Kind kind() const override { return Kind::Hatch; }
    int32_t style() const { return style_; }
    const KvColor& foreground() const { return foreground_; }
    const KvColor& background() const { return background_; }

private:
    int32_t style_;
    KvColor foreground_, background_;
};

// The two ends of the gradient line across a rectangle at an angle
// (degrees, clockwise on a y-down page): the line runs through the centre,
// and its ends are where the rectangle's outermost corners project onto it.
void GradientLineForRectangle(const KvRectangle& rect, double angleDegrees, KvPoint& start, KvPoint& end);

}  // namespace kvdrw::native
