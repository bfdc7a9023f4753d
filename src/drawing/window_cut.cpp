#include "drawing/window_cut.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvdrw::native {

namespace {

// Device coordinates are held below this, so that differences of two stay
// finite; a point this far out is as good as infinitely far.
constexpr double kFarthest = 1e300;
// Halvings of one curve at most: a curve 2^80 times the window's size is
// followed down to pieces the window's size, and no piece comes close to
// the window unless the curve does.
constexpr int kMaxHalvings = 80;

// A stretch of a figure from where the previous one ends: a line, or a
// cubic curve that lies wholly inside the window.
struct Piece {
    KvPoint to;
    bool curve = false;
    KvPoint c1{}, c2{};
};

struct Figure {
    KvPoint start{};
    std::vector<Piece> pieces;
    bool closed = false;
};

double HeldCoordinate(double v)
{
    if (std::isnan(v))
        return kFarthest;
    return std::clamp(v, -kFarthest, kFarthest);
}

KvPoint ToDevice(const KvMatrix& m, const KvPoint& p)
{
    return {HeldCoordinate(p.x * m.m11 + p.y * m.m21 + m.dx), HeldCoordinate(p.x * m.m12 + p.y * m.m22 + m.dy)};
}

KvPoint Halfway(const KvPoint& a, const KvPoint& b)
{
    return {a.x * 0.5 + b.x * 0.5, a.y * 0.5 + b.y * 0.5};
}

bool Inside(const DeviceWindow& w, const KvPoint& p)
{
    return p.x >= w.left && p.x <= w.right && p.y >= w.top && p.y <= w.bottom;
}

// True when every point lies beyond the same side of the window: whatever
// runs among them within their hull neither shows nor winds around any
// point of the window.
bool BeyondOneSide(const DeviceWindow& w, const KvPoint* points, int count)
{
    bool left = true, right = true, above = true, below = true;
    for (int i = 0; i < count; ++i) {
        left = left && points[i].x < w.left;
        right = right && points[i].x > w.right;
        above = above && points[i].y < w.top;
        below = below && points[i].y > w.bottom;
    }
    return left || right || above || below;
}

// The flatness test of the flattener: one line is within `tolerance`.
bool IsFlat(const KvPoint* p, double tolerance)
{
    const double m = std::max(std::hypot(p[0].x - 2 * p[1].x + p[2].x, p[0].y - 2 * p[1].y + p[2].y),
                              std::hypot(p[1].x - 2 * p[2].x + p[3].x, p[1].y - 2 * p[2].y + p[3].y));
    return 6.0 * m <= 8.0 * tolerance;
}

// Appends the curve from p[0]: whole where it lies inside the window, as
// its chord where it cannot show, halved where it crosses the window's edge.
void AddCurve(std::vector<Piece>& pieces, const DeviceWindow& w, double tolerance, const KvPoint (&p)[4], int halvings)
{
    if (Inside(w, p[0]) && Inside(w, p[1]) && Inside(w, p[2]) && Inside(w, p[3])) {
        pieces.push_back({p[3], true, p[1], p[2]});
        return;
    }
    if (BeyondOneSide(w, p, 4) || halvings >= kMaxHalvings || IsFlat(p, tolerance)) {
        pieces.push_back({p[3]});
        return;
    }
    const KvPoint a = Halfway(p[0], p[1]), b = Halfway(p[1], p[2]), c = Halfway(p[2], p[3]);
    const KvPoint ab = Halfway(a, b), bc = Halfway(b, c), middle = Halfway(ab, bc);
    const KvPoint first[4] = {p[0], a, ab, middle};
    const KvPoint second[4] = {middle, bc, c, p[3]};
    AddCurve(pieces, w, tolerance, first, halvings + 1);
    AddCurve(pieces, w, tolerance, second, halvings + 1);
}

// The path's figures in device space, read as the flattener reads them.
std::vector<Figure> DeviceFigures(const PathGeometry& path, const KvMatrix& toDevice, const DeviceWindow& w,
                                  double tolerance)
{
    std::vector<Figure> figures;
    const auto& points = path.points();
    const auto& types = path.types();
    const size_t count = points.size();
    Figure* current = nullptr;
    for (size_t i = 0; i < count; ++i) {
        const int32_t type = types[i];
        if (type == 6 || !current) {
            figures.emplace_back();
            current = &figures.back();
            current->start = ToDevice(toDevice, points[i]);
            if (type == 6)
                continue;
        }
        if (type == 2 || type == 3) {
            current->pieces.push_back({ToDevice(toDevice, points[i])});
        } else if ((type == 4 || type == 5) && i + 2 < count) {
            const KvPoint from = current->pieces.empty() ? current->start : current->pieces.back().to;
            const KvPoint curve[4] = {from, ToDevice(toDevice, points[i]), ToDevice(toDevice, points[i + 1]),
                                      ToDevice(toDevice, points[i + 2])};
            AddCurve(current->pieces, w, tolerance, curve, 0);
            i += 2;
        }
        if (types[i] == 3 || types[i] == 5) {
            current->closed = true;
            current = nullptr;
        }
    }
    return figures;
}

KvPoint End(const Figure& figure)
{
    return figure.pieces.empty() ? figure.start : figure.pieces.back().to;
}

enum class Side { Left, Right, Top, Bottom };

bool Within(Side side, const DeviceWindow& w, const KvPoint& p)
{
    switch (side) {
    case Side::Left:
        return p.x >= w.left;
    case Side::Right:
        return p.x <= w.right;
    case Side::Top:
        return p.y >= w.top;
    case Side::Bottom:
        return p.y <= w.bottom;
    }
    return true;
}

// Where the line from a to b, which crosses the side, meets it.
KvPoint Crossing(Side side, const DeviceWindow& w, const KvPoint& a, const KvPoint& b)
{
    const bool vertical = side == Side::Left || side == Side::Right;
    const double edge = side == Side::Left ? w.left : side == Side::Right ? w.right : side == Side::Top ? w.top : w.bottom;
    if (vertical) {
        const double t = (edge - a.x) / (b.x - a.x);
        return {edge, std::clamp(a.y + t * (b.y - a.y), std::min(a.y, b.y), std::max(a.y, b.y))};
    }
    const double t = (edge - a.y) / (b.y - a.y);
    return {std::clamp(a.x + t * (b.x - a.x), std::min(a.x, b.x), std::max(a.x, b.x)), edge};
}

// One side of the window cut off a closed loop of pieces, each running from
// the end of the one before it (the last one's end is where the loop
// starts). The lines run along the side in its place keep every winding
// number on the window's side of it.
std::vector<Piece> CutLoop(const std::vector<Piece>& loop, Side side, const DeviceWindow& w)
{
    std::vector<Piece> kept;
    const size_t n = loop.size();
    for (size_t i = 0; i < n; ++i) {
        const KvPoint& from = loop[(i + n - 1) % n].to;
        const Piece& piece = loop[i];
        if (piece.curve) {  // inside the window, so on the kept side of every side
            kept.push_back(piece);
            continue;
        }
        const bool fromKept = Within(side, w, from), toKept = Within(side, w, piece.to);
        if (toKept) {
            if (!fromKept)
                kept.push_back({Crossing(side, w, from, piece.to)});
            kept.push_back(piece);
        } else if (fromKept) {
            kept.push_back({Crossing(side, w, from, piece.to)});
        }
    }
    return kept;
}

KvPoint HeldInside(const DeviceWindow& w, const KvPoint& p)
{
    return {std::clamp(p.x, w.left, w.right), std::clamp(p.y, w.top, w.bottom)};
}

void AddPieces(PathGeometry& result, KvPoint from, const std::vector<Piece>& pieces, const DeviceWindow& w)
{
    for (const Piece& piece : pieces) {
        if (piece.curve) {
            result.AddBezier(from, piece.c1, piece.c2, piece.to);
        } else {
            result.AddLine(HeldInside(w, from), HeldInside(w, piece.to));
        }
        from = piece.to;
    }
}

KvPoint Along(const KvPoint& a, const KvPoint& b, double t)
{
    return {a.x + t * (b.x - a.x), a.y + t * (b.y - a.y)};
}

}  // namespace

bool SegmentInWindow(const KvPoint& a, const KvPoint& b, const DeviceWindow& w, double& t0, double& t1)
{
    t0 = 0;
    t1 = 1;
    const double d[2] = {b.x - a.x, b.y - a.y};
    const double from[2] = {a.x, a.y};
    const double low[2] = {w.left, w.top}, high[2] = {w.right, w.bottom};
    for (int axis = 0; axis < 2; ++axis) {
        if (d[axis] == 0) {
            if (from[axis] < low[axis] || from[axis] > high[axis])
                return false;
            continue;
        }
        double enter = (low[axis] - from[axis]) / d[axis], leave = (high[axis] - from[axis]) / d[axis];
        if (enter > leave)
            std::swap(enter, leave);
        t0 = std::max(t0, enter);
        t1 = std::min(t1, leave);
    }
    return t0 <= t1;
}

bool ReachesPast(const PathGeometry& path, const KvMatrix& m, double limit)
{
    for (const KvPoint& p : path.points()) {
        const double x = p.x * m.m11 + p.y * m.m21 + m.dx, y = p.x * m.m12 + p.y * m.m22 + m.dy;
        if (!(std::fabs(x) <= limit && std::fabs(y) <= limit))
            return true;
    }
    return false;
}

PathGeometry CutToWindowForFill(const PathGeometry& path, const KvMatrix& toDevice, const DeviceWindow& window,
                                double tolerance)
{
    PathGeometry result;
    result.SetFillMode(path.fillMode());
    for (Figure& figure : DeviceFigures(path, toDevice, window, tolerance)) {
        if (figure.pieces.empty())
            continue;
        // Filled, every figure is closed.
        if (End(figure).x != figure.start.x || End(figure).y != figure.start.y)
            figure.pieces.push_back({figure.start});
        std::vector<Piece> loop = std::move(figure.pieces);
        for (Side side : {Side::Left, Side::Right, Side::Top, Side::Bottom}) {
            loop = CutLoop(loop, side, window);
            if (loop.empty())
                break;
        }
        if (loop.size() < 2)
            continue;
        result.StartFigure();
        AddPieces(result, loop.back().to, loop, window);
        result.CloseFigure();
    }
    return result;
}

PathGeometry CutToWindowForStroke(const PathGeometry& path, const KvMatrix& toDevice, const DeviceWindow& window,
                                  double tolerance)
{
    struct Run {
        KvPoint start;
        std::vector<Piece> pieces;
    };
    PathGeometry result;
    result.SetFillMode(path.fillMode());
    for (Figure& figure : DeviceFigures(path, toDevice, window, tolerance)) {
        // The side that closes the figure is cut like any other.
        const bool closingSide =
            figure.closed && (End(figure).x != figure.start.x || End(figure).y != figure.start.y);
        if (closingSide)
            figure.pieces.push_back({figure.start});
        std::vector<Run> runs;
        bool drawing = false, cut = false, firstRunAtStart = false;
        KvPoint from = figure.start;
        for (size_t i = 0; i < figure.pieces.size(); ++i) {
            const Piece& piece = figure.pieces[i];
            if (piece.curve) {
                if (!drawing) {
                    runs.push_back({from, {}});
                    firstRunAtStart = firstRunAtStart || i == 0;
                    drawing = true;
                }
                runs.back().pieces.push_back(piece);
                from = piece.to;
                continue;
            }
            double t0 = 0, t1 = 0;
            if (!SegmentInWindow(from, piece.to, window, t0, t1)) {
                drawing = false;
                cut = true;
                from = piece.to;
                continue;
            }
            if (t0 > 0 || !drawing) {
                cut = cut || t0 > 0 || i > 0;
                runs.push_back({t0 > 0 ? Along(from, piece.to, t0) : from, {}});
                firstRunAtStart = firstRunAtStart || (i == 0 && t0 == 0);
                drawing = true;
            }
            runs.back().pieces.push_back({t1 < 1 ? Along(from, piece.to, t1) : piece.to});
            if (t1 < 1) {
                drawing = false;
                cut = true;
            }
            from = piece.to;
        }
        if (runs.empty())
            continue;
        if (figure.closed && !cut && runs.size() == 1) {
            if (closingSide)
                runs[0].pieces.pop_back();
            result.StartFigure();
            AddPieces(result, runs[0].start, runs[0].pieces, window);
            result.CloseFigure();
            continue;
        }
        // The stretch that ends where a closed figure starts goes on into
        // the one that starts there: the corner between them keeps its join.
        if (figure.closed && drawing && firstRunAtStart && runs.size() > 1) {
            runs.back().pieces.insert(runs.back().pieces.end(), runs[0].pieces.begin(), runs[0].pieces.end());
            runs.erase(runs.begin());
        }
        for (const Run& run : runs) {
            if (run.pieces.empty())
                continue;
            result.StartFigure();
            AddPieces(result, run.start, run.pieces, window);
        }
    }
    return result;
}

}  // namespace kvdrw::native
