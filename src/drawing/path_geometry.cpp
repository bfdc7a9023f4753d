#include "drawing/path_geometry.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "base/geometry.h"
#include "kvsvg/kvsvg.h"

namespace kvdrw::native {

namespace {

constexpr double kDegrees = std::numbers::pi / 180.0;
// Clipper refuses coordinates beyond its range with an exception; no real
// drawing comes near this, so a hostile number is pinned instead.
constexpr double kLargestCoordinate = 1.0e15;

KvPoint Apply(const KvMatrix* matrix, const KvPoint& p)
{
    if (!matrix)
        return p;
    return {p.x * matrix->m11 + p.y * matrix->m21 + matrix->dx, p.x * matrix->m12 + p.y * matrix->m22 + matrix->dy};
}

bool SamePoint(const KvPoint& a, const KvPoint& b) { return a.x == b.x && a.y == b.y; }

// Number of line pieces for a cubic so that none strays further than the
// tolerance: the second difference bounds the curvature.
int CubicSegments(const KvPoint& p0, const KvPoint& p1, const KvPoint& p2, const KvPoint& p3, double tolerance)
{
    double ax = p0.x - 2 * p1.x + p2.x, ay = p0.y - 2 * p1.y + p2.y;
    double bx = p1.x - 2 * p2.x + p3.x, by = p1.y - 2 * p2.y + p3.y;
    double m = std::max(std::hypot(ax, ay), std::hypot(bx, by));
    double n = std::ceil(std::sqrt(6.0 * m / (8.0 * std::max(tolerance, 1e-6))));
    if (!std::isfinite(n) || n < 1)
        return 1;
    return static_cast<int>(std::min(n, 500.0));
}

// The ellipse parameter of the point seen from the centre at `degrees`,
// keeping whole turns so that a sweep stays monotonic.
double EllipseParameterDegrees(double degrees, double rx, double ry)
{
    double turns = std::floor(degrees / 360.0);
    double within = degrees - turns * 360.0;
    if (rx == ry)
        return degrees;
    double t = std::atan2(rx * std::sin(within * kDegrees), ry * std::cos(within * kDegrees)) / kDegrees;
    if (t < 0)
        t += 360.0;
    // atan2 keeps the quadrant, but rounding may push 359.99.. to 0.
    if (within > 270.0 && t < 90.0)
        t += 360.0;
    return t + turns * 360.0;
}

ClipperLib::cInt ToSteps(double value, double unitsPerStep)
{
    double scaled = value * unitsPerStep;
    if (!std::isfinite(scaled))
        scaled = 0.0;
    scaled = std::clamp(scaled, -kLargestCoordinate, kLargestCoordinate);
    return static_cast<ClipperLib::cInt>(std::llround(scaled));
}

ClipperLib::JoinType ClipperJoin(int32_t lineJoin)
{
    switch (lineJoin) {
    case 1:
        return ClipperLib::jtSquare;
    case 2:
        return ClipperLib::jtRound;
    default:
        return ClipperLib::jtMiter;
    }
}

ClipperLib::EndType ClipperEnd(int32_t lineCap)
{
    switch (lineCap) {
    case 1:
        return ClipperLib::etOpenSquare;
    case 2:
        return ClipperLib::etOpenRound;
    default:
        return ClipperLib::etOpenButt;
    }
}

}  // namespace

void PathGeometry::Push(const KvPoint& point, int32_t type)
{
    points_.push_back(point);
    try {
        types_.push_back(type);
    } catch (...) {
        points_.pop_back();
        throw;
    }
}

void PathGeometry::EnsureFigureAt(const KvPoint& point)
{
    if (startNewFigure_ || points_.empty()) {
        Push(point, 6);
        startNewFigure_ = false;
        return;
    }
    if (!SamePoint(points_.back(), point))
        Push(point, 2);
}

void PathGeometry::CloseFigure()
{
    if (points_.empty() || startNewFigure_)
        return;
    int32_t& last = types_.back();
    if (last == 2)
        last = 3;
    else if (last == 4)
        last = 5;
    startNewFigure_ = true;
}

void PathGeometry::RollBack(const Mark& mark)
{
    points_.resize(std::min(mark.size, points_.size()));
    types_.resize(points_.size());
    startNewFigure_ = mark.startNewFigure;
}

void PathGeometry::Clear()
{
    points_.clear();
    types_.clear();
    startNewFigure_ = true;
}

void PathGeometry::AddLine(const KvPoint& from, const KvPoint& to)
{
    EnsureFigureAt(from);
    Push(to, 2);
}

void PathGeometry::AddBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2)
{
    EnsureFigureAt(p1);
    Push(c1, 4);
    Push(c2, 4);
    Push(p2, 4);
}

void PathGeometry::AddLines(const KvPoint* points, int32_t count)
{
    if (count < 1)
        return;
    EnsureFigureAt(points[0]);
    for (int32_t i = 1; i < count; ++i)
        Push(points[i], 2);
}

void PathGeometry::AddPolygon(const KvPoint* points, int32_t count)
{
    if (count < 1)
        return;
    StartFigure();
    EnsureFigureAt(points[0]);
    for (int32_t i = 1; i < count; ++i)
        Push(points[i], 2);
    CloseFigure();
}

void PathGeometry::AddRectangle(double x, double y, double width, double height)
{
    const KvPoint corners[4] = {{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}};
    AddPolygon(corners, 4);
}

void PathGeometry::AddEllipse(double x, double y, double width, double height)
{
    // Control points at 0.5523 of each radius put the curve within 0.03% of
    // the circle.
    const double kx = width * 0.2761423749154, ky = height * 0.2761423749154;
    const double cx = x + width / 2, cy = y + height / 2, right = x + width, bottom = y + height;
    StartFigure();
    EnsureFigureAt({x, cy});
    AddBezier({x, cy}, {x, cy - ky}, {cx - kx, y}, {cx, y});
    AddBezier({cx, y}, {cx + kx, y}, {right, cy - ky}, {right, cy});
    AddBezier({right, cy}, {right, cy + ky}, {cx + kx, bottom}, {cx, bottom});
    AddBezier({cx, bottom}, {cx - kx, bottom}, {x, cy + ky}, {x, cy});
    CloseFigure();
}

void PathGeometry::AddArc(double x, double y, double width, double height, double startDegrees, double sweepDegrees,
                          bool joinCurrent)
{
    const double rx = width / 2, ry = height / 2;
    if (!(rx != 0 && ry != 0) || !std::isfinite(startDegrees) || !std::isfinite(sweepDegrees))
        return;
    sweepDegrees = std::clamp(sweepDegrees, -360.0, 360.0);
    const double cx = x + rx, cy = y + ry;
    double t0 = EllipseParameterDegrees(startDegrees, std::fabs(rx), std::fabs(ry));
    double t1 = (std::fabs(sweepDegrees) == 360.0) ? t0 + sweepDegrees
                                                   : EllipseParameterDegrees(startDegrees + sweepDegrees,
                                                                             std::fabs(rx), std::fabs(ry));
    const double span = t1 - t0;
    const int pieces = std::max(1, static_cast<int>(std::ceil(std::fabs(span) / 90.0 - 1e-9)));
    auto pointAt = [&](double t) { return KvPoint{cx + rx * std::cos(t), cy + ry * std::sin(t)}; };
    if (!joinCurrent)
        StartFigure();
    const double step = span / pieces * kDegrees;
    const double alpha = 4.0 / 3.0 * std::tan(step / 4.0);
    double t = t0 * kDegrees;
    EnsureFigureAt(pointAt(t));
    for (int i = 0; i < pieces; ++i) {
        const double next = t + step;
        KvPoint unit[3];
        UnitArcPiece(t, next, alpha, unit);
        for (const KvPoint& point : unit)
            Push({cx + rx * point.x, cy + ry * point.y}, 4);
        t = next;
    }
}

void PathGeometry::AddPie(double x, double y, double width, double height, double startDegrees, double sweepDegrees)
{
    const KvPoint centre = {x + width / 2, y + height / 2};
    StartFigure();
    EnsureFigureAt(centre);
    AddArc(x, y, width, height, startDegrees, sweepDegrees, true);
    CloseFigure();
}

int32_t PathGeometry::AddPathData(const KvPoint* points, const int32_t* types, int32_t count)
{
    // After a close without a move, the next figure starts where the closed
    // one did, as the point convention of the type codes says.
    KvPoint figureStart = {0, 0}, current = {0, 0};
    for (int32_t i = 0; i < count; ++i) {
        const int32_t type = types[i];
        if (type == 6) {
            StartFigure();
            EnsureFigureAt(points[i]);
            figureStart = current = points[i];
            continue;
        }
        if (i == 0 || type < 2 || type > 5)
            return ERROR_INV_PARAMETER;
        if (type == 4 || type == 5) {
            if (i + 2 >= count)
                return ERROR_INV_PARAMETER;
            AddBezier(current, points[i], points[i + 1], points[i + 2]);
            current = points[i + 2];
            const bool closes = type == 5 || types[i + 1] == 5 || types[i + 2] == 5;
            i += 2;
            if (closes) {
                CloseFigure();
                current = figureStart;
            }
            continue;
        }
        AddLine(current, points[i]);
        current = points[i];
        if (type == 3) {
            CloseFigure();
            current = figureStart;
        }
    }
    return SUCCESS;
}

void PathGeometry::Append(const PathGeometry& other, const KvMatrix* matrix)
{
    points_.reserve(points_.size() + other.points_.size());
    types_.reserve(types_.size() + other.types_.size());
    for (size_t i = 0; i < other.points_.size(); ++i)
        Push(Apply(matrix, other.points_[i]), other.types_[i]);
    startNewFigure_ = true;
}

void PathGeometry::AssignPolygons(const ClipperLib::Paths& polygons, double unitsPerStep)
{
    PathGeometry result;
    for (const ClipperLib::Path& polygon : polygons) {
        if (polygon.size() < 3)
            continue;
        result.StartFigure();
        for (size_t i = 0; i < polygon.size(); ++i) {
            KvPoint p = {polygon[i].X / unitsPerStep, polygon[i].Y / unitsPerStep};
            if (i == 0)
                result.EnsureFigureAt(p);
            else
                result.Push(p, 2);
        }
        result.CloseFigure();
    }
    result.fillMode_ = 1;
    *this = std::move(result);
}

void PathGeometry::Flatten(const KvMatrix* matrix, double tolerance, std::vector<Polyline>& out) const
{
    const size_t count = points_.size();
    Polyline* current = nullptr;
    for (size_t i = 0; i < count; ++i) {
        const int32_t type = types_[i];
        if (type == 6 || !current) {
            out.emplace_back();
            current = &out.back();
            current->points.push_back(Apply(matrix, points_[i]));
            if (type == 6)
                continue;
        }
        if (type == 2 || type == 3) {
            current->points.push_back(Apply(matrix, points_[i]));
        } else if ((type == 4 || type == 5) && i + 2 < count) {
            const KvPoint p0 = current->points.back();
            const KvPoint p1 = Apply(matrix, points_[i]);
            const KvPoint p2 = Apply(matrix, points_[i + 1]);
            const KvPoint p3 = Apply(matrix, points_[i + 2]);
            const int pieces = CubicSegments(p0, p1, p2, p3, tolerance);
            for (int k = 1; k <= pieces; ++k) {
                double t = double(k) / pieces, u = 1 - t;
                double a = u * u * u, b = 3 * u * u * t, c = 3 * u * t * t, d = t * t * t;
                current->points.push_back(
                    {a * p0.x + b * p1.x + c * p2.x + d * p3.x, a * p0.y + b * p1.y + c * p2.y + d * p3.y});
            }
            i += 2;
        }
        if (types_[i] == 3 || types_[i] == 5) {
            current->closed = true;
            current = nullptr;
        }
    }
}

bool PathGeometry::GetBounds(const KvMatrix* matrix, const StrokeShape* stroke, KvRectangle& bounds) const
{
    if (points_.empty())
        return false;
    std::vector<Polyline> lines;
    Flatten(matrix, 0.01, lines);
    double left = std::numeric_limits<double>::infinity(), top = left;
    double right = -left, bottom = -left;
    for (const Polyline& line : lines) {
        for (const KvPoint& p : line.points) {
            left = std::min(left, p.x);
            right = std::max(right, p.x);
            top = std::min(top, p.y);
            bottom = std::max(bottom, p.y);
        }
    }
    if (stroke && stroke->width > 0) {
        // A disc of the pen's radius becomes an ellipse under the matrix;
        // its half extents along x and y are the lengths of the matrix columns.
        double half = stroke->width / 2;
        double growX = half, growY = half;
        if (matrix) {
            growX = half * std::hypot(matrix->m11, matrix->m21);
            growY = half * std::hypot(matrix->m12, matrix->m22);
        }
        left -= growX;
        right += growX;
        top -= growY;
        bottom += growY;
    }
    bounds = {left, top, right - left, bottom - top};
    return true;
}

ClipperLib::Paths PathGeometry::ToClipperPaths(const KvMatrix* matrix, double tolerance) const
{
    std::vector<Polyline> lines;
    Flatten(matrix, tolerance, lines);
    ClipperLib::Paths paths;
    paths.reserve(lines.size());
    for (const Polyline& line : lines) {
        if (line.points.size() < 3)
            continue;
        ClipperLib::Path path;
        path.reserve(line.points.size());
        for (const KvPoint& p : line.points)
            path.emplace_back(ToSteps(p.x, kClipperUnitsPerPixel), ToSteps(p.y, kClipperUnitsPerPixel));
        paths.push_back(std::move(path));
    }
    return paths;
}

bool PathGeometry::Contains(double x, double y) const
{
    std::vector<Polyline> lines;
    Flatten(nullptr, 0.01, lines);
    int winding = 0, crossings = 0;
    for (const Polyline& line : lines) {
        const size_t n = line.points.size();
        for (size_t i = 0; i < n; ++i) {
            const KvPoint& a = line.points[i];
            const KvPoint& b = line.points[(i + 1) % n];
            if ((a.y <= y) != (b.y <= y)) {
                double crossX = a.x + (y - a.y) * (b.x - a.x) / (b.y - a.y);
                if (crossX > x) {
                    ++crossings;
                    winding += (b.y > a.y) ? 1 : -1;
                }
            }
        }
    }
    return fillMode_ ? winding != 0 : (crossings & 1) != 0;
}

bool PathGeometry::Widen(const StrokeShape& stroke, const KvMatrix* matrix, double flatness, size_t maxVertices,
                         size_t maxNearbyPairs)
{
    std::vector<Polyline> lines;
    Flatten(matrix, flatness > 0 ? flatness : 0.25, lines);
    size_t vertices = 0;
    for (const Polyline& line : lines)
        vertices += line.points.size();
    if (vertices > maxVertices)
        return false;
    // Round joins and caps come out within a quarter pixel of the circle,
    // but never in more than about 200 steps a turn: a stroke a million
    // pixels wide would otherwise put thousands of points in every join
    // and the offset's intersections would take minutes.
    const double halfWidth = stroke.width * (matrix ? std::sqrt(std::fabs(matrix->m11 * matrix->m22 -
                                                                           matrix->m12 * matrix->m21))
                                                    : 1.0) / 2;
    const double arcTolerance = std::max(0.25, std::isfinite(halfWidth) ? halfWidth / 8000 : 0.25);
    ClipperLib::ClipperOffset offset(std::max(stroke.miterLimit, 2.0), arcTolerance * kClipperUnitsPerPixel);
    // Under a stroke far wider than its path's steps every offset edge
    // crosses every other, and the offset's cost grows with the square of
    // the points: a curve flattened into 47,000 points under a stroke three
    // million pixels wide took minutes. Points closer than a thousandth of
    // the half width change nothing one can see in such a stroke.
    const double merge = std::isfinite(halfWidth) ? halfWidth / 1000 : 0.0;
    ClipperLib::Paths paths;
    std::vector<bool> closed;
    for (const Polyline& line : lines) {
        ClipperLib::Path path;
        for (const KvPoint& p : line.points)
            path.emplace_back(ToSteps(p.x, kClipperUnitsPerPixel), ToSteps(p.y, kClipperUnitsPerPixel));
        if (merge > 1.0 && path.size() > 2)
            ClipperLib::CleanPolygon(path, merge * kClipperUnitsPerPixel);
        paths.push_back(std::move(path));
        closed.push_back(line.closed);
    }
    // Even with few vertices, a pen wider than the figures' features makes
    // every offset edge cross every other: 164 small figures of 3,724
    // vertices under a pen 100 wide took over a second.
    const double reach = std::isfinite(halfWidth) ? halfWidth * kClipperUnitsPerPixel : 0.0;
    if (NearbyEdgePairs(paths, &closed, reach, maxNearbyPairs) > maxNearbyPairs)
        return false;
    for (size_t i = 0; i < paths.size(); ++i) {
        offset.AddPath(paths[i], ClipperJoin(stroke.lineJoin),
                       closed[i] ? ClipperLib::etClosedLine : ClipperEnd(stroke.lineCap));
    }
    double scale = 1.0;
    if (matrix) {
        double det = std::fabs(matrix->m11 * matrix->m22 - matrix->m12 * matrix->m21);
        scale = std::sqrt(det);
    }
    ClipperLib::Paths outline;
    offset.Execute(outline, stroke.width * scale / 2 * kClipperUnitsPerPixel);
    AssignPolygons(outline, kClipperUnitsPerPixel);
    return true;
}

size_t NearbyEdgePairs(const ClipperLib::Paths& polygons, const std::vector<bool>* closed, double reachSteps,
                       size_t budget)
{
    struct Box {
        double left, top, right, bottom;
    };
    std::vector<Box> boxes;
    for (size_t k = 0; k < polygons.size(); ++k) {
        const ClipperLib::Path& polygon = polygons[k];
        const size_t n = polygon.size();
        const size_t edges = n < 2 ? 0 : (!closed || (*closed)[k]) ? n : n - 1;
        for (size_t i = 0; i < edges; ++i) {
            const ClipperLib::IntPoint& a = polygon[i];
            const ClipperLib::IntPoint& b = polygon[(i + 1) % n];
            boxes.push_back({double(std::min(a.X, b.X)) - reachSteps, double(std::min(a.Y, b.Y)) - reachSteps,
                             double(std::max(a.X, b.X)) + reachSteps, double(std::max(a.Y, b.Y)) + reachSteps});
        }
    }
    // Swept from the top, each box meets the boxes still open above it; the
    // tests are counted too, and when boxes overlapping in height alone make
    // them too many (a comb of tall thin teeth), the sweep runs from the
    // left instead. Boxes that overlap on both sweeps' axes are past the budget.
    auto sweep = [&](auto start, auto end, auto low, auto high, size_t& pairs) {
        std::sort(boxes.begin(), boxes.end(), [&](const Box& a, const Box& b) { return start(a) < start(b); });
        std::vector<const Box*> open;
        size_t tests = 0;
        pairs = 0;
        for (const Box& box : boxes) {
            size_t kept = 0;
            for (const Box* other : open) {
                if (end(*other) < start(box))
                    continue;
                open[kept++] = other;
                ++tests;
                if (low(*other) <= high(box) && low(box) <= high(*other))
                    ++pairs;
            }
            open.resize(kept);
            open.push_back(&box);
            if (pairs > budget)
                return true;
            if (tests / 8 > budget)
                return false;
        }
        return true;
    };
    size_t pairs = 0;
    if (sweep([](const Box& b) { return b.top; }, [](const Box& b) { return b.bottom; },
              [](const Box& b) { return b.left; }, [](const Box& b) { return b.right; }, pairs) ||
        sweep([](const Box& b) { return b.left; }, [](const Box& b) { return b.right; },
              [](const Box& b) { return b.top; }, [](const Box& b) { return b.bottom; }, pairs))
        return std::min(pairs, budget + 1);
    return budget + 1;
}

ClipperLib::Paths CombinePolygons(const ClipperLib::Paths& first, bool firstEvenOdd, const ClipperLib::Paths& second,
                                  bool secondEvenOdd, int32_t combineMode)
{
    ClipperLib::Paths result;
    const ClipperLib::Paths* subject = &first;
    const ClipperLib::Paths* clip = &second;
    bool subjectEvenOdd = firstEvenOdd, clipEvenOdd = secondEvenOdd;
    ClipperLib::ClipType type = ClipperLib::ctIntersection;
    switch (combineMode) {
    case 1:
        type = ClipperLib::ctIntersection;
        break;
    case 2:
        type = ClipperLib::ctUnion;
        break;
    case 3:
        type = ClipperLib::ctXor;
        break;
    case 4:
        type = ClipperLib::ctDifference;
        break;
    case 5:
        type = ClipperLib::ctDifference;
        std::swap(subject, clip);
        std::swap(subjectEvenOdd, clipEvenOdd);
        break;
    default: {
        // Replace: the second region alone, normalised to winding polygons.
        ClipperLib::Clipper clipper;
        clipper.AddPaths(second, ClipperLib::ptSubject, true);
        clipper.Execute(ClipperLib::ctUnion, result, secondEvenOdd ? ClipperLib::pftEvenOdd : ClipperLib::pftNonZero,
                        secondEvenOdd ? ClipperLib::pftEvenOdd : ClipperLib::pftNonZero);
        return result;
    }
    }
    ClipperLib::Clipper clipper;
    clipper.AddPaths(*subject, ClipperLib::ptSubject, true);
    clipper.AddPaths(*clip, ClipperLib::ptClip, true);
    clipper.Execute(type, result, subjectEvenOdd ? ClipperLib::pftEvenOdd : ClipperLib::pftNonZero,
                    clipEvenOdd ? ClipperLib::pftEvenOdd : ClipperLib::pftNonZero);
    return result;
}

}  // namespace kvdrw::native
