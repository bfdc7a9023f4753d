// The path object of the recording engine: path data kept as the segments a
// path element writes (moves, lines, cubics, closes), with a path of the
// measuring engine beside it that receives the same figures, so that
// bounds, widening, hit tests and path algebra stay available. Those
// geometry operations change only the inner path: what is written is what
// was added.
#pragma once

#include <cstdint>

#include "drawing/tracked_allocator.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "writer/writer_object.h"

namespace kvdrw::svg {

// Points of an elliptic arc as cubic curves: the start point, then three
// points a curve, at most four curves (kMaxArcPoints points). Angles in
// degrees, clockwise in a y-down space; on an ellipse the angles are taken
// as seen from the centre. A sweep not above zero runs the other way.
constexpr int32_t kMaxArcPoints = 13;
int32_t ArcToBeziers(const KvPoint& centre, KvPoint* points, double startDegrees, double sweepDegrees, double rx,
                     double ry);

class MyGraphicsPath final : public MyObject<kvdrw::GraphicsPath> {
public:
    using kvdrw::GraphicsPath::AddArc;
    using kvdrw::GraphicsPath::AddEllipse;
    using kvdrw::GraphicsPath::AddLine;
    using kvdrw::GraphicsPath::AddPathData;
    using kvdrw::GraphicsPath::AddRectangle;

    ~MyGraphicsPath() override;
    int32_t Create(kvdrw::Engine& measuring);

    // Answers kFillWinding only for a rule that no setter stores, so in
    // practice even-odd: a filled path is always written even-odd.
    int32_t GetFillMode() override { return fillRule_ == 1 ? kvdrw::kFillWinding : kvdrw::kFillEvenOdd; }
    int32_t SetFillMode(int32_t fillMode) override;
    int32_t StartFigure() override;
    int32_t CloseFigure() override;
    int32_t AddLine(double x1, double y1, double x2, double y2) override;
    int32_t AddArc(double x, double y, double width, double height, double startDegrees,
                   double sweepDegrees) override;
    int32_t AddBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2) override;
    int32_t AddBeziers(const KvPoint* points, int32_t count) override;
    int32_t AddLines(const KvPoint* points, int32_t count) override;
    int32_t AddPolygon(const KvPoint* points, int32_t count) override;
    int32_t AddEllipse(double x, double y, double width, double height) override;
    int32_t AddRectangle(double x, double y, double width, double height) override;
    // Text outlines reach only the inner path.
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
    // The last slot is the writer's pie: the arc, a line to the centre and
    // a line back to the arc's start. It is not passed to the inner path.
    int32_t AddArcToPath(double x, double y, double width, double height, double startDegrees,
                         double sweepDegrees) override;

    kvdrw::GraphicsPath* inner() const { return inner_; }
    // The path data as the element writes it; the segments stay the path's.
    SvgPathData PathData() const;
    // 2 even-odd, 0 not said.
    uint32_t fillRule() const { return fillRule_; }

private:
    // The recorded half of each operation; the public ones add the inner call.
    int32_t WriteStart(const KvPoint& point);
    int32_t WriteLine(const KvPoint& point);
    int32_t WriteCubic(const KvPoint& c1, const KvPoint& c2, const KvPoint& end);
    int32_t WriteClose();
    int32_t WriteBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2);
    int32_t WriteArc(double x, double y, double width, double height, double startDegrees, double sweepDegrees,
                     KvPoint* lastPoint);
    int32_t WritePolygon(const KvPoint* points, int32_t count);
    int32_t Append(const SvgPathSegment& segment);

    kvdrw::native::TrackedVector<SvgPathSegment> segments_;
    uint32_t fillRule_ = 0;
    bool newFigure_ = true;
    kvdrw::GraphicsPath* inner_ = nullptr;
};

}  // namespace kvdrw::svg
