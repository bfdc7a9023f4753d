// The graphics path of the drawing engines, and the point-and-type copy that
// GetPathData hands out. Every operation keeps the path as it was when it
// fails for want of memory.
#pragma once

#include "drawing/native_object.h"
#include "drawing/path_geometry.h"

namespace kvdrw::native {

class NativePathData final : public NativeBase<kvdrw::PathData> {
public:
    explicit NativePathData(const PathGeometry& path) : points_(path.points()), types_(path.types()) {}
    int32_t GetCount() override { return static_cast<int32_t>(points_.size()); }
    const KvPoint* GetPoints() override { return points_.data(); }
    const int32_t* GetTypes() override { return types_.data(); }

private:
    TrackedVector<KvPoint> points_;
    TrackedVector<int32_t> types_;
};

class NativeGraphicsPath final : public NativeBase<kvdrw::GraphicsPath> {
public:
    using kvdrw::GraphicsPath::AddArc;
    using kvdrw::GraphicsPath::AddEllipse;
    using kvdrw::GraphicsPath::AddLine;
    using kvdrw::GraphicsPath::AddPathData;
    using kvdrw::GraphicsPath::AddRectangle;

    const PathGeometry& geometry() const { return geometry_; }
    PathGeometry& geometry() { return geometry_; }

    int32_t GetFillMode() override { return geometry_.fillMode(); }
    int32_t SetFillMode(int32_t fillMode) override;
    int32_t StartFigure() override;
    int32_t CloseFigure() override;
    int32_t AddLine(double x1, double y1, double x2, double y2) override;
    int32_t AddArc(double x, double y, double width, double height, double startDegrees, double sweepDegrees) override;
    int32_t AddBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2) override;
    int32_t AddBeziers(const KvPoint* points, int32_t count) override;
    int32_t AddLines(const KvPoint* points, int32_t count) override;
    int32_t AddPolygon(const KvPoint* points, int32_t count) override;
    int32_t AddEllipse(double x, double y, double width, double height) override;
    int32_t AddRectangle(double x, double y, double width, double height) override;
    int32_t AddString(kvdrw::Engine* engine, const char16_t* text, int32_t length, kvdrw::Font* font,
                      const KvPoint& origin, kvdrw::StringFormat* format) override;
    int32_t AddString(kvdrw::Engine* engine, const char16_t* text, int32_t length, kvdrw::Font* font,
                      const KvRectangle& layout, kvdrw::StringFormat* format) override;
    int32_t AddStringNarrow(kvdrw::Engine* engine, const char* text, int32_t length, kvdrw::Font* font,
                            const KvPoint& origin, kvdrw::StringFormat* format) override;
    int32_t AddStringNarrow(kvdrw::Engine* engine, const char* text, int32_t length, kvdrw::Font* font,
                            const KvRectangle& layout, kvdrw::StringFormat* format) override;
    int32_t AddPathData(const KvPoint* points, const int32_t* types, int32_t count) override;
    int32_t GetPathData(kvdrw::PathData** data) override;
    int32_t GetBounds(KvRectangle* bounds, const KvMatrix* matrix, kvdrw::Pen* pen) override;
    int32_t Widen(kvdrw::Pen* pen, const KvMatrix* matrix, double flatness) override;
    int32_t ContainsPoint(kvdrw::Engine* engine, double x, double y) override;
    int32_t CombineGeometry(kvdrw::Engine* engine, kvdrw::GraphicsPath* other, int32_t combineMode) override;
    int32_t AddArcToPath(double x, double y, double width, double height, double startDegrees,
                         double sweepDegrees) override;

private:
    // Runs a change on a copy, so a failure leaves the path untouched.
    template <class Change>
    int32_t Edit(Change&& change);

    PathGeometry geometry_;
};

}  // namespace kvdrw::native
