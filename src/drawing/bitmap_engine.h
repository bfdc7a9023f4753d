// The bitmap engine: draws onto a caller's 24- or 32-bit bitmap with cairo.
//
// cairo wants premultiplied 32-bit pixels in blue-green-red-alpha order, top
// row first. A bitmap laid out that way is drawn in place: its straight
// alpha is premultiplied when the engine starts and taken back at Flush.
// Any other layout (24 bits, red first, bottom row first) is copied into a
// surface of the engine's own and converted back at Flush, which runs at
// EndPage, EndDocument and when the engine is destroyed.
//
// Quality A chooses the antialiasing of shapes and clips, quality B that of
// text and the filter of scaled images: 0 none (nearest pixel), 1 fast
// (bilinear), 2 best.
#pragma once

#include "drawing/engine_core.h"
#include "drawing/third_party_handles.h"
#include "drawing/window_cut.h"
#include "kvsvg/kvbase.h"

namespace kvdrw::native {

enum class DashRoad { Cairo, Laid, Dense };

class BitmapEngine final : public EngineCore {
public:
    // ERROR_INV_PARAMETER for a bitmap without pixels or with sizes that do
    // not add up; ERROR_NOT_SUPPORTED for depths other than 24 and 32 and for
    // view perspectives other than top-left and bottom-left.
    static int32_t Create(KvBitmap& bitmap, BitmapEngine** engine);
    ~BitmapEngine() override;

    int32_t IsMeasureOnly() override { return 0; }

protected:
    int32_t Paint(const PathGeometry& path, NativePen* pen, NativeBrush* brush, bool isText) override;
    int32_t PaintImage(const KvBitmap& image, const KvRectangle& destination, const KvRectangle& source,
                       double opacity) override;
    KvRectangle DeviceExtent() const override;
    void Flush() override;

private:
    explicit BitmapEngine(KvBitmap& bitmap) : bitmap_(bitmap) {}
    int32_t Start();
    // Readies the surface for drawing and brings cairo's clip up to date;
    // false when the current transform cannot map anything to the page.
    bool PrepareToDraw();
    bool SetSource(NativeBrush& brush);
    // How a dashed stroke is drawn: by cairo (Cairo); far longer than the
    // canvas, with cairo's path replaced by the dashes that can be seen
    // (Laid); with more of those than anyone can tell apart, whole at the
    // pattern's share of ink (Dense). Laid and Dense are stroked undashed.
    // A path reaching past cairo's range is never left to cairo's dashing.
    DashRoad ChooseDashRoad(const PathGeometry& path, const StrokeShape& shape, const std::vector<double>& dashes,
                            bool reachesPastCairo, double& ink);
    // cairo's path for filling or stroking `path`: the path itself, or,
    // when it reaches past cairo's range, what of it the window shows.
    void BuildPath(const PathGeometry& path, bool reachesPastCairo, const DeviceWindow& window, bool forFill);
    // Both throw std::bad_alloc.
    int32_t Fill(const PathGeometry& path, NativeBrush& brush, bool isText);
    void Stroke(const PathGeometry& path, NativePen& pen);
    int32_t Status() const;
    void CopyIn();
    void CopyOut();

    KvBitmap& bitmap_;
    bool drawsInPlace_ = false;
    bool pixelsPremultiplied_ = false;
    uint64_t appliedClip_ = ~uint64_t(0);
    CairoSurface surface_;
    CairoContext context_;
};

}  // namespace kvdrw::native
