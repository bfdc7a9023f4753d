// The geometry behind every path of the drawing engines: figures of points
// with the type codes of kvdrw.h (move, line, cubic, each closable), the
// builders the GraphicsPath operations need, flattening into polylines under
// a matrix, bounds, and polygon algebra through Clipper. Knows nothing of
// cairo or of pens as objects: the engines decide how a path is painted.
//
// Builders may throw std::bad_alloc (the points live in tracked memory); the
// object operations catch it and answer ERROR_NO_MEMORY.
#pragma once

#include <cstdint>
#include <vector>

#include <polyclipping/clipper.hpp>

#include "drawing/tracked_allocator.h"
#include "kvsvg/kvgeometry.h"

namespace kvdrw::native {

// Clipper works in integers: one pixel (or user unit) is this many steps.
constexpr double kClipperUnitsPerPixel = 1024.0;

struct Polyline {
    std::vector<KvPoint> points;
    bool closed = false;
};

// How a stroke is shaped, for bounds and widening.
struct StrokeShape {
    double width = 1.0;
    int32_t lineCap = 0;   // kvdrw::LineCap
    int32_t lineJoin = 0;  // kvdrw::LineJoin
    double miterLimit = 10.0;
};

class PathGeometry {
public:
    PathGeometry() = default;
    PathGeometry(const PathGeometry&) = default;
    PathGeometry& operator=(const PathGeometry&) = default;
    PathGeometry(PathGeometry&&) = default;
    PathGeometry& operator=(PathGeometry&&) = default;

    int32_t fillMode() const { return fillMode_; }  // kvdrw::FillMode
    void SetFillMode(int32_t fillMode) { fillMode_ = fillMode ? 1 : 0; }
    bool empty() const { return points_.empty(); }
    const TrackedVector<KvPoint>& points() const { return points_; }
    const TrackedVector<int32_t>& types() const { return types_; }

    // A place to come back to when an append fails half-way.
    struct Mark {
        size_t size;
        bool startNewFigure;
    };
    Mark mark() const { return {points_.size(), startNewFigure_}; }
    void RollBack(const Mark& mark);

    void StartFigure() { startNewFigure_ = true; }
    void CloseFigure();
    void Clear();

    // Joins the open figure: a line runs from its current point to `from`
    // when they differ. A new figure starts with a move to `from`.
    void AddLine(const KvPoint& from, const KvPoint& to);
    void AddBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2);
    void AddLines(const KvPoint* points, int32_t count);
    // A closed figure of its own.
    void AddPolygon(const KvPoint* points, int32_t count);
    void AddRectangle(double x, double y, double width, double height);
    // Four cubic curves, clockwise from the left point, closed.
    void AddEllipse(double x, double y, double width, double height);
    // The arc of the ellipse inside the rectangle, angles in degrees measured
    // clockwise on a y-down page to the point on the ellipse (not to the
    // ellipse parameter). joinCurrent: run a line from the current point.
    void AddArc(double x, double y, double width, double height, double startDegrees, double sweepDegrees,
                bool joinCurrent);
    // The arc, then lines to the centre and back, closed.
    void AddPie(double x, double y, double width, double height, double startDegrees, double sweepDegrees);
    // The kvdrw type codes; ERROR_INV_PARAMETER stops at the first bad entry
    // and keeps what came before it.
    int32_t AddPathData(const KvPoint* points, const int32_t* types, int32_t count);
    // Appends another path's figures, each point through the matrix (null: as they are).
    void Append(const PathGeometry& other, const KvMatrix* matrix);
    // Replaces the content by closed polygons, filled by winding; on failure
    // the content is as it was.
    void AssignPolygons(const ClipperLib::Paths& polygons, double unitsPerStep);

    // Curves become lines no further than `tolerance` from them, in the space
    // after the matrix (null: the path's own).
    void Flatten(const KvMatrix* matrix, double tolerance, std::vector<Polyline>& out) const;
    // False when the path has no points. With a stroke, the bounds grow by
    // half its width as the matrix stretches it along each axis.
    bool GetBounds(const KvMatrix* matrix, const StrokeShape* stroke, KvRectangle& bounds) const;
    // The flattened figures as Clipper polygons, all implicitly closed.
    ClipperLib::Paths ToClipperPaths(const KvMatrix* matrix, double tolerance) const;
    // Non-zero when (x, y) is inside under the path's own fill mode.
    bool Contains(double x, double y) const;
    // Replaces this path by the outline of its stroke; false, the path as it
    // was, when flattened it has more than `maxVertices` vertices or more
    // than `maxNearbyPairs` pairs of edges within the pen's reach of each
    // other (see NearbyEdgePairs).
    bool Widen(const StrokeShape& stroke, const KvMatrix* matrix, double flatness, size_t maxVertices,
               size_t maxNearbyPairs);

    // Walks the figures: sink.MoveTo(p), LineTo(p), CurveTo(c1, c2, p), Close().
    template <class Sink>
    void Replay(Sink& sink) const;

private:
    void EnsureFigureAt(const KvPoint& point);
    void Push(const KvPoint& point, int32_t type);

    TrackedVector<KvPoint> points_;
    TrackedVector<int32_t> types_;
    int32_t fillMode_ = 0;
    bool startNewFigure_ = true;
};

template <class Sink>
void PathGeometry::Replay(Sink& sink) const
{
    const size_t count = points_.size();
    for (size_t i = 0; i < count; ++i) {
        switch (types_[i]) {
        case 6:
            sink.MoveTo(points_[i]);
            break;
        case 2:
        case 3:
            sink.LineTo(points_[i]);
            if (types_[i] == 3)
                sink.Close();
            break;
        case 4:
        case 5:
            if (i + 2 >= count)
                return;
            sink.CurveTo(points_[i], points_[i + 1], points_[i + 2]);
            i += 2;
            if (types_[i] == 5)
                sink.Close();
            break;
        default:
            break;
        }
    }
}

// Pairs of edges whose boxes, each grown by `reachSteps`, overlap: what the
// polygon clipper's work grows with, since only such edges can cross (and a
// stroke's offset edges only within its reach). Counting stops once past
// `budget`. `closed` says which polygons have an edge back to their start
// (null: all of them).
size_t NearbyEdgePairs(const ClipperLib::Paths& polygons, const std::vector<bool>* closed, double reachSteps,
                       size_t budget);

// Combines two region descriptions: kvdrw::CombineMode 1 to 5 (0 gives the
// second). Throws clipperException or std::bad_alloc.
ClipperLib::Paths CombinePolygons(const ClipperLib::Paths& first, bool firstEvenOdd, const ClipperLib::Paths& second,
                                  bool secondEvenOdd, int32_t combineMode);

}  // namespace kvdrw::native
