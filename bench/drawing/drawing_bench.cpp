// 10,000 random paths, each filled and stroked, onto a 1024 x 1024 32-bit
// bitmap: once through the bitmap engine, once with the same cairo calls
// made by hand. The difference is what the engine itself costs.
#include <cstdint>
#include <random>
#include <vector>

#include <benchmark/benchmark.h>
#include <cairo.h>

#include "base/bitmap.h"
#include "drawing/drawing_engines.h"

namespace {

constexpr int kSide = 1024;
constexpr int kPaths = 10000;

struct Segment {
    bool curve;
    KvPoint c1, c2, end;
};

struct RandomPath {
    KvPoint start;
    std::vector<Segment> segments;
    KvColor fill, stroke;
    double width;
};

// The same scene for both contenders: a fixed seed.
const std::vector<RandomPath>& Scene()
{
    static const std::vector<RandomPath> scene = [] {
        std::mt19937 random(20240521);
        std::uniform_real_distribution<double> position(0, kSide), offset(-60, 60), width(0.5, 6);
        std::uniform_int_distribution<int> channel(0, 255), count(2, 6), coin(0, 1);
        std::vector<RandomPath> paths(kPaths);
        for (RandomPath& path : paths) {
            path.start = {position(random), position(random)};
            KvPoint at = path.start;
            const int segments = count(random);
            for (int i = 0; i < segments; ++i) {
                Segment s;
                s.curve = coin(random) == 1;
                s.c1 = {at.x + offset(random), at.y + offset(random)};
                s.c2 = {at.x + offset(random), at.y + offset(random)};
                s.end = {at.x + offset(random), at.y + offset(random)};
                at = s.end;
                path.segments.push_back(s);
            }
            path.fill = {uint8_t(channel(random)), uint8_t(channel(random)), uint8_t(channel(random)),
                         uint8_t(channel(random))};
            path.stroke = {255, uint8_t(channel(random)), uint8_t(channel(random)), uint8_t(channel(random))};
            path.width = width(random);
        }
        return paths;
    }();
    return scene;
}

struct Canvas {
    KvBitmap bitmap{};
    Canvas()
    {
        InitBitmap(bitmap, kKvBitmapSize, kSide, kSide, 32, KV_ORDER_BGR);
        AllocateBitmap(bitmap);
    }
    ~Canvas() { FreeBitmap(bitmap); }
};

void ThroughEngine(benchmark::State& state)
{
    const auto& scene = Scene();
    Canvas canvas;
    for (auto _ : state) {
        kvdrw::Engine* engine = nullptr;
        if (DrawingCreateBitmapEngine(canvas.bitmap, &engine) != SUCCESS) {
            state.SkipWithError("no engine");
            return;
        }
        engine->SetQualityA(2);
        kvdrw::Pen* pen = nullptr;
        kvdrw::SolidBrush* brush = nullptr;
        const KvColor black = {255, 0, 0, 0};
        engine->CreatePen(&pen, &black, 1.0, kvdrw::kDashSolid);
        engine->CreateSolidBrush(&brush, &black);
        for (const RandomPath& p : scene) {
            kvdrw::GraphicsPath* path = nullptr;
            engine->CreatePath(&path);
            path->SetFillMode(kvdrw::kFillWinding);
            KvPoint at = p.start;
            for (const Segment& s : p.segments) {
                if (s.curve)
                    path->AddBezier(at, s.c1, s.c2, s.end);
                else
                    path->AddLine(at.x, at.y, s.end.x, s.end.y);
                at = s.end;
            }
            path->CloseFigure();
            brush->SetColor(&p.fill);
            pen->SetColor(&p.stroke);
            pen->SetWidth(p.width);
            engine->DrawPath(pen, brush, path);
            engine->DeleteObject(path);
        }
        engine->DeleteObject(pen);
        engine->DeleteObject(brush);
        DrawingDestroyEngine(engine);
    }
    state.counters["paths/s"] = benchmark::Counter(double(kPaths), benchmark::Counter::kIsIterationInvariantRate);
}

void DirectCairo(benchmark::State& state)
{
    const auto& scene = Scene();
    Canvas canvas;
    for (auto _ : state) {
        cairo_surface_t* surface = cairo_image_surface_create_for_data(
            canvas.bitmap.data, CAIRO_FORMAT_ARGB32, kSide, kSide, static_cast<int>(canvas.bitmap.bytesPerLine));
        cairo_t* cr = cairo_create(surface);
        cairo_set_antialias(cr, CAIRO_ANTIALIAS_GOOD);
        cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
        for (const RandomPath& p : scene) {
            cairo_new_path(cr);
            cairo_move_to(cr, p.start.x, p.start.y);
            for (const Segment& s : p.segments) {
                if (s.curve)
                    cairo_curve_to(cr, s.c1.x, s.c1.y, s.c2.x, s.c2.y, s.end.x, s.end.y);
                else
                    cairo_line_to(cr, s.end.x, s.end.y);
            }
            cairo_close_path(cr);
            cairo_set_source_rgba(cr, p.fill.red / 255.0, p.fill.green / 255.0, p.fill.blue / 255.0,
                                  p.fill.alpha / 255.0);
            cairo_fill_preserve(cr);
            cairo_set_source_rgba(cr, p.stroke.red / 255.0, p.stroke.green / 255.0, p.stroke.blue / 255.0,
                                  p.stroke.alpha / 255.0);
            cairo_set_line_width(cr, p.width);
            cairo_stroke(cr);
        }
        cairo_destroy(cr);
        cairo_surface_flush(surface);
        cairo_surface_destroy(surface);
    }
    state.counters["paths/s"] = benchmark::Counter(double(kPaths), benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(DirectCairo)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(ThroughEngine)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
