#include "drawing/bitmap_engine.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "base/bitmap.h"
#include "base/geometry.h"
#include "base/tracked_memory.h"
#include "drawing/window_cut.h"

namespace kvdrw::native {

namespace {

constexpr int kHatchCell = 10;

cairo_matrix_t ToCairo(const KvMatrix& m)
{
    cairo_matrix_t result;
    cairo_matrix_init(&result, m.m11, m.m12, m.m21, m.m22, m.dx, m.dy);
    return result;
}

cairo_antialias_t Antialias(int32_t quality)
{
    switch (quality) {
    case 0:
        return CAIRO_ANTIALIAS_NONE;
    case 1:
        return CAIRO_ANTIALIAS_FAST;
    default:
        return CAIRO_ANTIALIAS_GOOD;
    }
}

cairo_filter_t ImageFilter(int32_t quality)
{
    switch (quality) {
    case 0:
        return CAIRO_FILTER_NEAREST;
    case 1:
        return CAIRO_FILTER_BILINEAR;
    default:
        return CAIRO_FILTER_GOOD;
    }
}

uint8_t Premultiply(uint8_t channel, uint8_t alpha) { return static_cast<uint8_t>((channel * alpha + 127) / 255); }

uint8_t Unpremultiply(uint8_t channel, uint8_t alpha)
{
    return static_cast<uint8_t>(std::min(255, (channel * 255 + alpha / 2) / alpha));
}

uint32_t PremultipliedPixel(const KvColor& c)
{
    return (uint32_t(c.alpha) << 24) | (uint32_t(Premultiply(c.red, c.alpha)) << 16) |
           (uint32_t(Premultiply(c.green, c.alpha)) << 8) | Premultiply(c.blue, c.alpha);
}

bool IsHatchLine(int32_t style, int x, int y)
{
    const int last = kHatchCell - 1;
    switch (style) {
    case 0:
        return x == kHatchCell / 2 || y == kHatchCell / 2;
    case 1:
        return x == y || x == last - y;
    case 2:
        return x == last - y;
    case 3:
        return x == y;
    case 4:
        return y == last;
    case 5:
        return x == 0;
    default:
        return false;
    }
}

// The path, replayed into a cairo context.
struct CairoSink {
    cairo_t* cr;
    void MoveTo(const KvPoint& p) { cairo_move_to(cr, p.x, p.y); }
    void LineTo(const KvPoint& p) { cairo_line_to(cr, p.x, p.y); }
    void CurveTo(const KvPoint& a, const KvPoint& b, const KvPoint& p) { cairo_curve_to(cr, a.x, a.y, b.x, b.y, p.x, p.y); }
    void Close() { cairo_close_path(cr); }
};

bool AllPointsFinite(const PathGeometry& path)
{
    for (const KvPoint& p : path.points()) {
        if (!std::isfinite(p.x) || !std::isfinite(p.y))
            return false;
    }
    return true;
}

// cairo keeps device coordinates in 24.8 fixed point: a clip reaching past
// about eight million pixels wraps, and its clipper can then read through a
// null pointer. Clips are in device space, so such a clip is cut to the
// canvas and a margin first, which changes nothing that can be seen.
constexpr double kCairoSafeCoordinate = 4194304.0;  // 2^22 pixels, half the fixed-point range
constexpr double kCanvasMargin = 64.0;
// cairo's own tolerance, which it keeps unless told otherwise.
constexpr double kCairoTolerance = 0.1;
constexpr double kMaxPreciseStrokeRadius = 65536.0;

bool CairoHolds(const ClipperLib::Paths& polygons)
{
    constexpr auto kLimit = static_cast<ClipperLib::cInt>(kCairoSafeCoordinate * kClipperUnitsPerPixel);
    for (const ClipperLib::Path& polygon : polygons) {
        for (const ClipperLib::IntPoint& p : polygon) {
            if (p.X < -kLimit || p.X > kLimit || p.Y < -kLimit || p.Y > kLimit)
                return false;
        }
    }
    return true;
}

ClipperLib::Paths WithinCanvas(const ClipperLib::Paths& polygons, bool evenOdd, int32_t width, int32_t height)
{
    auto units = [](double pixels) { return static_cast<ClipperLib::cInt>(pixels * kClipperUnitsPerPixel); };
    const ClipperLib::cInt left = units(-kCanvasMargin), top = units(-kCanvasMargin);
    const ClipperLib::cInt right = units(width + kCanvasMargin), bottom = units(height + kCanvasMargin);
    ClipperLib::Path canvas{{left, top}, {right, top}, {right, bottom}, {left, bottom}};
    ClipperLib::Clipper clipper;
    clipper.AddPaths(polygons, ClipperLib::ptSubject, true);
    clipper.AddPath(canvas, ClipperLib::ptClip, true);
    ClipperLib::Paths within;
    // The part's own fill rule decides what is inside it; what comes out has
    // no overlaps, so either rule draws it the same.
    clipper.Execute(ClipperLib::ctIntersection, within, evenOdd ? ClipperLib::pftEvenOdd : ClipperLib::pftNonZero,
                    ClipperLib::pftNonZero);
    return within;
}

KvRectangle WithinCanvas(const KvRectangle& r, int32_t width, int32_t height)
{
    const double left = std::max(r.x, -kCanvasMargin), top = std::max(r.y, -kCanvasMargin);
    const double right = std::min(r.x + r.width, width + kCanvasMargin);
    const double bottom = std::min(r.y + r.height, height + kCanvasMargin);
    return KvRectangle{left, top, right - left, bottom - top};
}

// cairo walks a dash pattern along the whole path, seen or not: a dashed
// line millions of pixels long, as a zoomed-in map tile draws, costs a dash
// for every period of it, and a coordinate past cairo's fixed-point range
// makes the count arbitrary. Past this many dashes the engine lays the dashes
// itself, only inside the canvas.
constexpr double kMaxCairoDashes = 10000;
// More dashes than this inside the canvas are finer than anyone can see
// (a pattern of a pixel along every edge of a large canvas has fewer): the
// stroke is drawn whole, as light as the pattern's share of ink.
constexpr double kMaxWindowDashes = 20000;

// Lays the pen's dashes along the path as separate figures of the cairo path,
// in the space of cairo's current matrix (`toDashSpace` takes device points
// there), only where they fall inside `window`; nothing between (Laid).
// Cairo when cairo's own dashing costs little enough and the path is not
// `mustLay` (cut to the window, it would start its pattern afresh at every
// cut), or the pattern has no length; Dense when the dashes inside the window are too many to lay, with
// the pattern's share of ink in `ink`. Only Laid changes cairo's path.
DashRoad LayDashesInWindow(cairo_t* cr, const PathGeometry& path, const KvMatrix& toDevice,
                           const cairo_matrix_t& toDashSpace, std::vector<double> dashes, const DeviceWindow& window,
                           bool mustLay, double& ink)
{
    if (dashes.size() % 2 == 1)
        dashes.insert(dashes.end(), dashes.begin(), dashes.end());
    double period = 0, on = 0;
    for (size_t i = 0; i < dashes.size(); ++i) {
        period += dashes[i];
        on += i % 2 == 0 ? dashes[i] : 0;
    }
    if (!(period > 0) || !std::isfinite(period))
        return DashRoad::Cairo;
    ink = on / period;
    // The control polygon is never shorter than the curves it holds, and a
    // figure's closing side no longer than its other sides together: when
    // twice the polygon takes few periods, so does the path, and nothing
    // need be flattened.
    cairo_matrix_t pointToDash;
    const cairo_matrix_t device = ToCairo(toDevice);
    cairo_matrix_multiply(&pointToDash, &device, &toDashSpace);
    double outline = 0;
    KvPoint previous{0, 0};
    for (size_t i = 0; i < path.points().size(); ++i) {
        KvPoint p = path.points()[i];
        cairo_matrix_transform_point(&pointToDash, &p.x, &p.y);
        if (i > 0)
            outline += std::hypot(p.x - previous.x, p.y - previous.y);
        previous = p;
    }
    if (!mustLay && !(2 * outline / period > kMaxCairoDashes))
        return DashRoad::Cairo;
    std::vector<Polyline> lines;
    path.Flatten(&toDevice, 0.25, lines);
    double length = 0;
    for (Polyline& line : lines) {
        for (KvPoint& p : line.points)
            cairo_matrix_transform_point(&toDashSpace, &p.x, &p.y);
        if (line.closed && line.points.size() > 1)
            line.points.push_back(line.points.front());
        for (size_t i = 1; i < line.points.size(); ++i)
            length += std::hypot(line.points[i].x - line.points[i - 1].x, line.points[i].y - line.points[i - 1].y);
    }
    if (!mustLay && !(length / period > kMaxCairoDashes))
        return DashRoad::Cairo;
    double seen = 0;
    for (const Polyline& line : lines) {
        for (size_t i = 1; i < line.points.size(); ++i) {
            double t0 = 0, t1 = 0;
            if (SegmentInWindow(line.points[i - 1], line.points[i], window, t0, t1))
                seen += (t1 - t0) * std::hypot(line.points[i].x - line.points[i - 1].x,
                                               line.points[i].y - line.points[i - 1].y);
        }
    }
    if (!(seen / period <= kMaxWindowDashes))
        return DashRoad::Dense;

    cairo_new_path(cr);
    std::vector<std::vector<KvPoint>> laid;
    for (const Polyline& line : lines) {
        // Every figure starts the pattern afresh, as cairo's dashing does.
        double phase = 0;  // how far into the period
        bool penDown = false, walked = false, firstDashAtStart = false;
        laid.clear();
        for (size_t i = 1; i < line.points.size(); ++i) {
            const KvPoint a = line.points[i - 1], b = line.points[i];
            const double segment = std::hypot(b.x - a.x, b.y - a.y);
            if (!(segment > 0))
                continue;
            double t0 = 0, t1 = 0;
            if (!SegmentInWindow(a, b, window, t0, t1)) {
                phase = std::fmod(phase + segment, period);
                penDown = false;
                walked = true;
                continue;
            }
            if (t0 > 0) {
                phase = std::fmod(phase + t0 * segment, period);
                penDown = false;
            }
            // Find the dash the phase is in, then walk the visible stretch.
            size_t index = 0;
            double into = phase;
            while (index + 1 < dashes.size() && into >= dashes[index]) {
                into -= dashes[index];
                ++index;
            }
            // Walked from where the segment enters the window, so that the
            // distances stay as small as the window however far away the
            // segment starts; every step ends a dash or the stretch.
            const KvPoint entry{a.x + (b.x - a.x) * t0, a.y + (b.y - a.y) * t0};
            const double dx = (b.x - a.x) / segment, dy = (b.y - a.y) / segment;
            const double stretch = (t1 - t0) * segment;
            double at = 0;
            while (at < stretch) {
                const double step = std::max(std::min(dashes[index] - into, stretch - at), 0.0);
                const double next = at + step;
                if (index % 2 == 0 && step > 0) {
                    if (!penDown) {
                        if (laid.empty())
                            firstDashAtStart = !walked && t0 == 0 && at == 0;
                        laid.push_back({{entry.x + dx * at, entry.y + dy * at}});
                    }
                    laid.back().push_back({entry.x + dx * next, entry.y + dy * next});
                    penDown = true;
                } else {
                    penDown = false;
                }
                if (next >= stretch)
                    break;
                into = 0;
                index = (index + 1) % dashes.size();
                at = next;
            }
            phase = std::fmod(phase + stretch, period);
            if (t1 < 1) {
                phase = std::fmod(phase + (1 - t1) * segment, period);
                penDown = false;
            }
            walked = true;
        }
        // A closed figure whose pattern is on both where it ends and where
        // it starts has one dash through its start, with the join there.
        if (line.closed && penDown && firstDashAtStart && laid.size() > 1) {
            laid.back().insert(laid.back().end(), laid.front().begin() + 1, laid.front().end());
            laid.erase(laid.begin());
        }
        for (const std::vector<KvPoint>& dash : laid) {
            cairo_move_to(cr, dash[0].x, dash[0].y);
            for (size_t k = 1; k < dash.size(); ++k)
                cairo_line_to(cr, dash[k].x, dash[k].y);
        }
    }
    return DashRoad::Laid;
}

// A transform that maps a square to a sliver less than a trillionth as wide
// as it is long: whatever it draws has no area anyone can see, and cairo's
// stroker, working through the inverse, loops for minutes on it.
bool SquashesToALine(const KvMatrix& m)
{
    const double longest = std::max(std::hypot(m.m11, m.m12), std::hypot(m.m21, m.m22));
    const double area = std::fabs(m.m11 * m.m22 - m.m12 * m.m21);
    return !(area >= 1e-12 * longest * longest);
}

// A matrix of finite entries whose determinant is a normal number.
bool IsOrdinaryMatrix(const cairo_matrix_t& m)
{
    const double determinant = m.xx * m.yy - m.xy * m.yx;
    return std::isfinite(m.xx) && std::isfinite(m.yx) && std::isfinite(m.xy) && std::isfinite(m.yy) &&
           std::isfinite(m.x0) && std::isfinite(m.y0) && std::isnormal(determinant);
}

}  // namespace

int32_t BitmapEngine::Create(KvBitmap& bitmap, BitmapEngine** engine)
{
    if (!bitmap.data || bitmap.width <= 0 || bitmap.height <= 0)
        return ERROR_INV_PARAMETER;
    if (bitmap.bitsPerPixel != 24 && bitmap.bitsPerPixel != 32)
        return ERROR_NOT_SUPPORTED;
    if (bitmap.viewPerspective > KV_TOP_LEFT && bitmap.viewPerspective != KV_BOTTOM_LEFT)
        return ERROR_NOT_SUPPORTED;
    const uint64_t minimumStride = uint64_t(bitmap.width) * (bitmap.bitsPerPixel / 8);
    if (bitmap.bytesPerLine < minimumStride || uint64_t(bitmap.bytesPerLine) * uint64_t(bitmap.height) > bitmap.dataSize)
        return ERROR_INV_PARAMETER;
    // cairo keeps sizes in 16.16 fixed point beyond this.
    if (bitmap.width > 32767 || bitmap.height > 32767)
        return ERROR_NOT_SUPPORTED;
    BitmapEngine* made = new (std::nothrow) BitmapEngine(bitmap);
    if (!made)
        return ERROR_NO_MEMORY;
    if (int32_t status = made->Start(); status != SUCCESS) {
        delete made;
        return status;
    }
    *engine = made;
    return SUCCESS;
}

int32_t BitmapEngine::Start()
{
    drawsInPlace_ = bitmap_.bitsPerPixel == 32 && bitmap_.order == KV_ORDER_BGR &&
                    bitmap_.viewPerspective != KV_BOTTOM_LEFT && bitmap_.bytesPerLine % 4 == 0;
    if (drawsInPlace_) {
        surface_.reset(cairo_image_surface_create_for_data(bitmap_.data, CAIRO_FORMAT_ARGB32, bitmap_.width,
                                                           bitmap_.height, static_cast<int>(bitmap_.bytesPerLine)));
    } else {
        surface_.reset(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, bitmap_.width, bitmap_.height));
    }
    if (cairo_surface_status(surface_.get()) != CAIRO_STATUS_SUCCESS)
        return ERROR_NO_MEMORY;
    context_.reset(cairo_create(surface_.get()));
    if (cairo_status(context_.get()) != CAIRO_STATUS_SUCCESS)
        return ERROR_NO_MEMORY;
    CopyIn();
    return SUCCESS;
}

BitmapEngine::~BitmapEngine()
{
    if (context_)
        Flush();
}

void BitmapEngine::CopyIn()
{
    cairo_surface_flush(surface_.get());
    if (drawsInPlace_) {
        for (int32_t y = 0; y < bitmap_.height; ++y) {
            uint8_t* row = bitmap_.data + size_t(y) * bitmap_.bytesPerLine;
            for (int32_t x = 0; x < bitmap_.width; ++x) {
                uint8_t* p = row + x * 4;
                if (p[3] != 255) {
                    p[0] = Premultiply(p[0], p[3]);
                    p[1] = Premultiply(p[1], p[3]);
                    p[2] = Premultiply(p[2], p[3]);
                }
            }
        }
    } else {
        uint8_t* target = cairo_image_surface_get_data(surface_.get());
        const int stride = cairo_image_surface_get_stride(surface_.get());
        const bool red = bitmap_.order == KV_ORDER_RGB;
        const int bytes = bitmap_.bitsPerPixel / 8;
        for (int32_t y = 0; y < bitmap_.height; ++y) {
            const uint8_t* in = BitmapRow(bitmap_, y);
            auto* out = reinterpret_cast<uint32_t*>(target + size_t(y) * stride);
            for (int32_t x = 0; x < bitmap_.width; ++x, in += bytes) {
                KvColor c{bytes == 4 ? in[3] : uint8_t(255), red ? in[0] : in[2], in[1], red ? in[2] : in[0]};
                out[x] = PremultipliedPixel(c);
            }
        }
    }
    cairo_surface_mark_dirty(surface_.get());
    pixelsPremultiplied_ = true;
}

void BitmapEngine::CopyOut()
{
    cairo_surface_flush(surface_.get());
    if (drawsInPlace_) {
        for (int32_t y = 0; y < bitmap_.height; ++y) {
            uint8_t* row = bitmap_.data + size_t(y) * bitmap_.bytesPerLine;
            for (int32_t x = 0; x < bitmap_.width; ++x) {
                uint8_t* p = row + x * 4;
                if (p[3] != 255 && p[3] != 0) {
                    p[0] = Unpremultiply(p[0], p[3]);
                    p[1] = Unpremultiply(p[1], p[3]);
                    p[2] = Unpremultiply(p[2], p[3]);
                }
            }
        }
        pixelsPremultiplied_ = false;
        return;
    }
    const uint8_t* source = cairo_image_surface_get_data(surface_.get());
    const int stride = cairo_image_surface_get_stride(surface_.get());
    const bool red = bitmap_.order == KV_ORDER_RGB;
    const int bytes = bitmap_.bitsPerPixel / 8;
    for (int32_t y = 0; y < bitmap_.height; ++y) {
        uint8_t* out = BitmapRow(bitmap_, y);
        const auto* in = reinterpret_cast<const uint32_t*>(source + size_t(y) * stride);
        for (int32_t x = 0; x < bitmap_.width; ++x, out += bytes) {
            const uint32_t pixel = in[x];
            uint8_t a = uint8_t(pixel >> 24), r = uint8_t(pixel >> 16), g = uint8_t(pixel >> 8), b = uint8_t(pixel);
            if (a != 255 && a != 0) {
                r = Unpremultiply(r, a);
                g = Unpremultiply(g, a);
                b = Unpremultiply(b, a);
            }
            out[0] = red ? r : b;
            out[1] = g;
            out[2] = red ? b : r;
            if (bytes == 4)
                out[3] = a;
        }
    }
}

void BitmapEngine::Flush()
{
    if (pixelsPremultiplied_ || !drawsInPlace_)
        CopyOut();
}

KvRectangle BitmapEngine::DeviceExtent() const
{
    return {-1.0, -1.0, bitmap_.width + 2.0, bitmap_.height + 2.0};
}

int32_t BitmapEngine::Status() const
{
    switch (cairo_status(context_.get())) {
    case CAIRO_STATUS_SUCCESS:
        return SUCCESS;
    case CAIRO_STATUS_NO_MEMORY:
        return ERROR_NO_MEMORY;
    default:
        return FAILURE;
    }
}

bool BitmapEngine::PrepareToDraw()
{
    cairo_t* cr = context_.get();
    if (drawsInPlace_ && !pixelsPremultiplied_)
        CopyIn();
    if (appliedClip_ != clipGeneration()) {
        cairo_identity_matrix(cr);
        cairo_reset_clip(cr);
        if (state().clip) {
            cairo_set_antialias(cr, Antialias(state().qualityA));
            for (const ClipRegion::Part& part : state().clip->parts) {
                cairo_new_path(cr);
                if (part.isRectangle) {
                    KvRectangle r = WithinCanvas(part.rectangle, bitmap_.width, bitmap_.height);
                    if (r.width > 0 && r.height > 0)
                        cairo_rectangle(cr, r.x, r.y, r.width, r.height);
                } else {
                    ClipperLib::Paths held;
                    const ClipperLib::Paths& polygons =
                        CairoHolds(part.polygons) ? part.polygons
                                                  : (held = WithinCanvas(part.polygons, part.evenOdd, bitmap_.width, bitmap_.height));
                    for (const ClipperLib::Path& polygon : polygons) {
                        for (size_t i = 0; i < polygon.size(); ++i) {
                            double x = polygon[i].X / kClipperUnitsPerPixel, y = polygon[i].Y / kClipperUnitsPerPixel;
                            if (i == 0)
                                cairo_move_to(cr, x, y);
                            else
                                cairo_line_to(cr, x, y);
                        }
                        cairo_close_path(cr);
                    }
                }
                cairo_set_fill_rule(cr, part.evenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
                cairo_clip(cr);
            }
        }
        appliedClip_ = clipGeneration();
    }
    if (!MatrixIsInvertible(state().transform) || SquashesToALine(state().transform))
        return false;
    cairo_matrix_t matrix = ToCairo(state().transform);
    cairo_set_matrix(cr, &matrix);
    return true;
}

bool BitmapEngine::SetSource(NativeBrush& brush)
{
    cairo_t* cr = context_.get();
    switch (brush.kind()) {
    case NativeBrush::Kind::Solid: {
        const KvColor& c = static_cast<NativeSolidBrush&>(brush).color();
        cairo_set_source_rgba(cr, c.red / 255.0, c.green / 255.0, c.blue / 255.0, c.alpha / 255.0);
        return true;
    }
    case NativeBrush::Kind::Gradient: {
        auto& gradient = static_cast<NativeGradientBrush&>(brush);
        CairoPattern& pattern = brush.cachedPattern();
        if (!pattern) {
            pattern.reset(cairo_pattern_create_linear(gradient.start().x, gradient.start().y, gradient.end().x,
                                                      gradient.end().y));
            for (const GradientStop& stop : gradient.stops()) {
                cairo_pattern_add_color_stop_rgba(pattern.get(), stop.offset, stop.color.red / 255.0,
                                                  stop.color.green / 255.0, stop.color.blue / 255.0,
                                                  stop.color.alpha / 255.0);
            }
            cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_PAD);
            if (cairo_pattern_status(pattern.get()) != CAIRO_STATUS_SUCCESS) {
                pattern.reset();
                return false;
            }
        }
        cairo_set_source(cr, pattern.get());
        return true;
    }
    case NativeBrush::Kind::Hatch: {
        auto& hatch = static_cast<NativeHatchBrush&>(brush);
        CairoPattern& pattern = brush.cachedPattern();
        if (!pattern) {
            CairoSurface cell(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, kHatchCell, kHatchCell));
            if (cairo_surface_status(cell.get()) != CAIRO_STATUS_SUCCESS)
                return false;
            cairo_surface_flush(cell.get());
            uint8_t* data = cairo_image_surface_get_data(cell.get());
            const int stride = cairo_image_surface_get_stride(cell.get());
            const uint32_t line = PremultipliedPixel(hatch.foreground());
            const uint32_t back = PremultipliedPixel(hatch.background());
            for (int y = 0; y < kHatchCell; ++y) {
                auto* row = reinterpret_cast<uint32_t*>(data + y * stride);
                for (int x = 0; x < kHatchCell; ++x)
                    row[x] = IsHatchLine(hatch.style(), x, y) ? line : back;
            }
            cairo_surface_mark_dirty(cell.get());
            pattern.reset(cairo_pattern_create_for_surface(cell.get()));
            cairo_pattern_set_extend(pattern.get(), CAIRO_EXTEND_REPEAT);
            cairo_pattern_set_filter(pattern.get(), CAIRO_FILTER_NEAREST);
            if (cairo_pattern_status(pattern.get()) != CAIRO_STATUS_SUCCESS) {
                pattern.reset();
                return false;
            }
        }
        // A hatch keeps to the pixel grid whatever the transform: its
        // pattern space is device space.
        cairo_matrix_t userToDevice;
        cairo_get_matrix(cr, &userToDevice);
        cairo_pattern_set_matrix(pattern.get(), &userToDevice);
        cairo_set_source(cr, pattern.get());
        return true;
    }
    }
    return false;
}

int32_t BitmapEngine::Paint(const PathGeometry& path, NativePen* pen, NativeBrush* brush, bool isText)
{
    if (path.empty())
        return SUCCESS;
    if (!AllPointsFinite(path))
        return ERROR_INV_PARAMETER;
    if (!PrepareToDraw())
        return SUCCESS;
    try {
        if (brush) {
            if (int32_t status = Fill(path, *brush, isText); status != SUCCESS)
                return status;
        }
        if (pen)
            Stroke(path, *pen);
    } catch (const std::bad_alloc&) {
        cairo_new_path(context_.get());
        return ERROR_NO_MEMORY;
    }
    cairo_new_path(context_.get());
    return Status();
}

// A path that reaches past cairo's fixed-point range wraps there, and
// rasterising what it wraps into took seconds for a line of text set a
// hundred million billion pixels high. Such a path is cut to the canvas
// first, in device space, and handed to cairo there.
void BitmapEngine::BuildPath(const PathGeometry& path, bool reachesPastCairo, const DeviceWindow& window, bool forFill)
{
    cairo_t* cr = context_.get();
    cairo_new_path(cr);
    if (!reachesPastCairo) {
        CairoSink sink{cr};
        path.Replay(sink);
        return;
    }
    const PathGeometry cut = forFill ? CutToWindowForFill(path, state().transform, window, kCairoTolerance)
                                     : CutToWindowForStroke(path, state().transform, window, kCairoTolerance);
    // cairo holds a path in device space once it is built: the matrix
    // matters again only for the pen that strokes it.
    cairo_identity_matrix(cr);
    CairoSink sink{cr};
    cut.Replay(sink);
    const cairo_matrix_t matrix = ToCairo(state().transform);
    cairo_set_matrix(cr, &matrix);
}

int32_t BitmapEngine::Fill(const PathGeometry& path, NativeBrush& brush, bool isText)
{
    cairo_t* cr = context_.get();
    if (!SetSource(brush))
        return ERROR_NO_MEMORY;
    const DeviceWindow canvas{-kCanvasMargin, -kCanvasMargin, bitmap_.width + kCanvasMargin,
                              bitmap_.height + kCanvasMargin};
    BuildPath(path, ReachesPast(path, state().transform, kCairoSafeCoordinate), canvas, true);
    cairo_set_antialias(cr, Antialias(isText ? state().qualityB : state().qualityA));
    cairo_set_fill_rule(cr, path.fillMode() ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
    cairo_fill(cr);
    return SUCCESS;
}

void BitmapEngine::Stroke(const PathGeometry& path, NativePen& pen)
{
    cairo_t* cr = context_.get();
    const KvColor& c = pen.color();
    const StrokeShape shape = pen.shape();
    // A pen whose edge lies past cairo's fixed-point range cannot be
    // placed: its outline wraps, and rasterising the wrapped outline
    // took seconds. Such a pen is narrowed to the range, which changes
    // the picture only for a path millions of pixels off the canvas.
    // cairo also rounds joins and caps with a polygon as fine as its
    // tolerance, millions of vertices for a pen millions of pixels
    // wide: past kMaxPreciseStrokeRadius the tolerance grows with the
    // pen, an error of one part in 650,000 of its width.
    const KvMatrix& m = state().transform;
    double radius = shape.width > 0 ? shape.width / 2 * std::sqrt(m.m11 * m.m11 + m.m12 * m.m12 + m.m21 * m.m21 +
                                                                  m.m22 * m.m22)
                                    : 0.5;
    const bool narrowed = shape.width > 0 && radius > kCairoSafeCoordinate;
    const double width = narrowed ? shape.width * (kCairoSafeCoordinate / radius) : shape.width;
    radius = std::min(radius, kCairoSafeCoordinate);

    // Cut, a path keeps what lies within reach of the canvas: a join or cap
    // reaches no further from its point than this.
    const double reach = radius * std::max(shape.miterLimit, 1.5) + 1.0;
    const DeviceWindow window{std::max(-kCanvasMargin - reach, -kCairoSafeCoordinate),
                              std::max(-kCanvasMargin - reach, -kCairoSafeCoordinate),
                              std::min(bitmap_.width + kCanvasMargin + reach, kCairoSafeCoordinate),
                              std::min(bitmap_.height + kCanvasMargin + reach, kCairoSafeCoordinate)};
    const bool reachesPastCairo = ReachesPast(path, m, kCairoSafeCoordinate);
    BuildPath(path, reachesPastCairo, window, false);

    cairo_set_source_rgba(cr, c.red / 255.0, c.green / 255.0, c.blue / 255.0, c.alpha / 255.0);
    cairo_set_antialias(cr, Antialias(state().qualityA));
    static const cairo_line_cap_t kCaps[] = {CAIRO_LINE_CAP_BUTT, CAIRO_LINE_CAP_SQUARE, CAIRO_LINE_CAP_ROUND};
    static const cairo_line_join_t kJoins[] = {CAIRO_LINE_JOIN_MITER, CAIRO_LINE_JOIN_BEVEL, CAIRO_LINE_JOIN_ROUND};
    cairo_set_line_cap(cr, kCaps[std::clamp(shape.lineCap, 0, 2)]);
    cairo_set_line_join(cr, kJoins[std::clamp(shape.lineJoin, 0, 2)]);
    cairo_set_miter_limit(cr, shape.miterLimit);
    if (shape.width > 0) {
        cairo_set_line_width(cr, width);
    } else {
        // A pen of width 0 draws the thinnest line the page can show.
        cairo_identity_matrix(cr);
        cairo_set_line_width(cr, 1.0);
    }
    std::vector<double> dashes;
    pen.DashLengths(dashes);
    double ink = 1;
    switch (dashes.empty() ? DashRoad::Cairo : ChooseDashRoad(path, shape, dashes, reachesPastCairo, ink)) {
    case DashRoad::Cairo:
        cairo_set_dash(cr, dashes.empty() ? nullptr : dashes.data(), static_cast<int>(dashes.size()), 0.0);
        break;
    case DashRoad::Laid:
        cairo_set_dash(cr, nullptr, 0, 0.0);
        break;
    case DashRoad::Dense:
        cairo_set_dash(cr, nullptr, 0, 0.0);
        cairo_set_source_rgba(cr, c.red / 255.0, c.green / 255.0, c.blue / 255.0, c.alpha / 255.0 * ink);
        break;
    }
    const bool coarse = radius > kMaxPreciseStrokeRadius;
    if (coarse)
        cairo_set_tolerance(cr, kCairoTolerance * radius / kMaxPreciseStrokeRadius);
    cairo_stroke(cr);
    if (coarse)
        cairo_set_tolerance(cr, kCairoTolerance);
}

DashRoad BitmapEngine::ChooseDashRoad(const PathGeometry& path, const StrokeShape& shape,
                                      const std::vector<double>& dashes, bool reachesPastCairo, double& ink)
{
    cairo_t* cr = context_.get();
    // Dash lengths are in the space of cairo's matrix at this point: the
    // transform, or device space for the thinnest pen.
    cairo_matrix_t toDashSpace;
    cairo_get_matrix(cr, &toDashSpace);
    if (cairo_matrix_invert(&toDashSpace) != CAIRO_STATUS_SUCCESS)
        return DashRoad::Cairo;
    // The canvas, in dash space, grown by what a join or cap can reach past
    // a dash's end, so a dash cut at the window's edge ends out of sight.
    const double half = shape.width > 0 ? shape.width / 2 : 0.5;
    const double reach = half * std::max(shape.miterLimit, 1.5) + 1.0;
    const double corners[4][2] = {{-kCanvasMargin, -kCanvasMargin},
                                  {bitmap_.width + kCanvasMargin, -kCanvasMargin},
                                  {-kCanvasMargin, bitmap_.height + kCanvasMargin},
                                  {bitmap_.width + kCanvasMargin, bitmap_.height + kCanvasMargin}};
    DeviceWindow window{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity(),
                      -std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};
    for (const auto& corner : corners) {
        double x = corner[0], y = corner[1];
        cairo_matrix_transform_point(&toDashSpace, &x, &y);
        window = {std::min(window.left, x), std::min(window.top, y), std::max(window.right, x),
                  std::max(window.bottom, y)};
    }
    window = {window.left - reach, window.top - reach, window.right + reach, window.bottom + reach};
    return LayDashesInWindow(cr, path, state().transform, toDashSpace, dashes, window, reachesPastCairo, ink);
}

int32_t BitmapEngine::PaintImage(const KvBitmap& image, const KvRectangle& destination, const KvRectangle& source,
                                 double opacity)
{
    const int32_t left = static_cast<int32_t>(std::floor(source.x));
    const int32_t top = static_cast<int32_t>(std::floor(source.y));
    const int32_t right = std::min(image.width, static_cast<int32_t>(std::ceil(source.x + source.width)));
    const int32_t bottom = std::min(image.height, static_cast<int32_t>(std::ceil(source.y + source.height)));
    if (right <= left || bottom <= top)
        return SUCCESS;
    CairoSurface picture(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, right - left, bottom - top));
    if (cairo_surface_status(picture.get()) != CAIRO_STATUS_SUCCESS)
        return ERROR_NO_MEMORY;
    cairo_surface_flush(picture.get());
    uint8_t* data = cairo_image_surface_get_data(picture.get());
    const int stride = cairo_image_surface_get_stride(picture.get());
    Pixel16* row = static_cast<Pixel16*>(KV_ALLOC(size_t(right), sizeof(Pixel16)));
    if (!row)
        return ERROR_NO_MEMORY;
    for (int32_t y = top; y < bottom; ++y) {
        ReadPixels(image, y, row, right);
        auto* out = reinterpret_cast<uint32_t*>(data + size_t(y - top) * stride);
        for (int32_t x = left; x < right; ++x) {
            const Pixel16& p = row[x];
            KvColor c{uint8_t(p.alpha >> 8), uint8_t(p.red >> 8), uint8_t(p.green >> 8), uint8_t(p.blue >> 8)};
            out[x - left] = PremultipliedPixel(c);
        }
    }
    KV_FREE(row);
    cairo_surface_mark_dirty(picture.get());

    // A placement that no matrix can hold (NaN, infinities, a scale that
    // overflows or vanishes) draws nothing: cairo would put the context into
    // an error state halfway through and lose the source pattern it made.
    const double scaleX = destination.width / source.width;
    const double scaleY = destination.height / source.height;
    const double shiftX = left - source.x;
    const double shiftY = top - source.y;
    if (!std::isfinite(destination.x) || !std::isfinite(destination.y) || !std::isnormal(scaleX) ||
        !std::isnormal(scaleY) || !std::isfinite(scaleX * scaleY) || !std::isfinite(shiftX) ||
        !std::isfinite(shiftY))
        return SUCCESS;
    if (!PrepareToDraw())
        return SUCCESS;
    cairo_t* cr = context_.get();
    // The same goes for the placement under the current transform, checked
    // before cairo sees it: a whole whose inverse overflows or vanishes puts
    // the context into an error state that outlives the draw, and loses the
    // pattern cairo makes for the picture.
    cairo_matrix_t whole, placement;
    cairo_get_matrix(cr, &whole);
    cairo_matrix_init(&placement, scaleX, 0, 0, scaleY, destination.x, destination.y);
    cairo_matrix_multiply(&whole, &placement, &whole);
    cairo_matrix_t inverse = whole;
    if (!IsOrdinaryMatrix(whole) || cairo_matrix_invert(&inverse) != CAIRO_STATUS_SUCCESS ||
        !IsOrdinaryMatrix(inverse))
        return SUCCESS;
    cairo_save(cr);
    cairo_translate(cr, destination.x, destination.y);
    cairo_scale(cr, scaleX, scaleY);
    cairo_set_source_surface(cr, picture.get(), shiftX, shiftY);
    cairo_pattern_t* pattern = cairo_get_source(cr);
    cairo_pattern_set_filter(pattern, ImageFilter(state().qualityB));
    cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
    cairo_set_antialias(cr, Antialias(state().qualityA));
    cairo_new_path(cr);
    cairo_rectangle(cr, 0, 0, source.width, source.height);
    cairo_clip(cr);
    cairo_paint_with_alpha(cr, opacity);
    cairo_restore(cr);
    return Status();
}

}  // namespace kvdrw::native
