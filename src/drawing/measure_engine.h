// The measuring engine: the whole engine contract with no output, at 96
// dots per inch unless told otherwise. It keeps state, clip and objects as
// the bitmap engine does and lays text out the same way, so what it
// measures is what the bitmap engine would draw.
#pragma once

#include "drawing/engine_core.h"

namespace kvdrw::native {

class MeasureEngine final : public EngineCore {
public:
    int32_t IsMeasureOnly() override { return 1; }

protected:
    int32_t Paint(const PathGeometry&, NativePen*, NativeBrush*, bool) override { return SUCCESS; }
    int32_t PaintImage(const KvBitmap&, const KvRectangle&, const KvRectangle&, double) override { return SUCCESS; }
    // Large enough for any page, small enough for exact integer clip algebra.
    KvRectangle DeviceExtent() const override { return {-1.0e7, -1.0e7, 2.0e7, 2.0e7}; }
};

}  // namespace kvdrw::native
