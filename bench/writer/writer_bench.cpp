// The same calls on the recording engine and on the bitmap engine: 10,000
// random paths, each filled and stroked with a pen and brush of its own, and
// 1,000 strings of text. The recording side includes saving the document,
// since a recording is made to be saved. Counters: drawing calls per second
// and bytes of saved SVG per call.
#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

namespace {

constexpr int kSide = 1024;
constexpr int kPaths = 10000;
constexpr int kTexts = 1000;

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

struct RandomText {
    std::u16string text;
    KvPoint at;
};

struct Scene {
    std::vector<RandomPath> paths;
    std::vector<RandomText> texts;
};

// A fixed seed: both engines get the very same calls.
const Scene& TheScene()
{
    static const Scene scene = [] {
        Scene made;
        std::mt19937 random(20240521);
        std::uniform_real_distribution<double> position(0, kSide), offset(-60, 60), width(0.5, 6);
        std::uniform_int_distribution<int> channel(0, 255), count(2, 6), coin(0, 1), letter(0, 25), length(3, 40);
        made.paths.resize(kPaths);
        for (RandomPath& path : made.paths) {
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
        made.texts.resize(kTexts);
        for (RandomText& text : made.texts) {
            const int letters = length(random);
            for (int i = 0; i < letters; ++i)
                text.text += (i % 6 == 5) ? u' ' : static_cast<char16_t>(u'a' + letter(random));
            text.at = {position(random), position(random)};
        }
        return made;
    }();
    return scene;
}

// Draws the scene; false at the first failed call.
bool DrawScene(kvdrw::Engine& e)
{
    const Scene& scene = TheScene();
    bool ok = true;
    for (const RandomPath& p : scene.paths) {
        kvdrw::Pen* pen = nullptr;
        kvdrw::SolidBrush* brush = nullptr;
        kvdrw::GraphicsPath* path = nullptr;
        ok = e.CreatePen(&pen, &p.stroke, p.width, kvdrw::kDashSolid) == SUCCESS &&
             e.CreateSolidBrush(&brush, &p.fill) == SUCCESS && e.CreatePath(&path) == SUCCESS;
        KvPoint at = p.start;
        for (const Segment& s : p.segments) {
            if (!ok)
                break;
            ok = (s.curve ? path->AddBezier(at, s.c1, s.c2, s.end) : path->AddLine(at, s.end)) == SUCCESS;
            at = s.end;
        }
        ok = ok && path->CloseFigure() == SUCCESS && e.DrawPath(pen, brush, path) == SUCCESS;
        for (kvdrw::Disposable* object : {static_cast<kvdrw::Disposable*>(pen), static_cast<kvdrw::Disposable*>(brush),
                                          static_cast<kvdrw::Disposable*>(path)}) {
            if (object)
                e.DeleteObject(object);
        }
        if (!ok)
            return false;
    }
    kvdrw::Font* font = nullptr;
    kvdrw::SolidBrush* ink = nullptr;
    const KvColor black = {255, 0, 0, 0};
    ok = e.CreateFont(&font, 0, u"Arial", 10, 0) == SUCCESS && e.CreateSolidBrush(&ink, &black) == SUCCESS;
    for (const RandomText& t : scene.texts) {
        if (!ok)
            break;
        ok = e.DrawString(t.text.c_str(), static_cast<int32_t>(t.text.size()), font, ink, &t.at, nullptr) == SUCCESS;
    }
    if (ink)
        e.DeleteObject(ink);
    if (font)
        e.DeleteObject(font);
    return ok;
}

void SetCounters(benchmark::State& state, double bytesPerCall)
{
    const double calls = double(kPaths + kTexts);
    state.counters["calls/s"] = benchmark::Counter(calls, benchmark::Counter::kIsIterationInvariantRate);
    if (bytesPerCall > 0)
        state.counters["svg bytes/call"] = bytesPerCall;
}

void RecordAndSave(benchmark::State& state)
{
    TheScene();
    double bytesPerCall = 0;
    for (auto _ : state) {
        void* engine = nullptr;
        SvgHandle document = nullptr;
        if (K_Draw_ToSvg(&engine, &document, nullptr) != SUCCESS) {
            state.SkipWithError("K_Draw_ToSvg failed");
            return;
        }
        const bool drawn = DrawScene(*static_cast<kvdrw::Engine*>(engine));
        K_Draw_DestroySvgEngine(engine);
        void* block = nullptr;
        size_t size = 0;
        const int32_t saved = K_SvgSaveDocumentMemory(document, &block, &size, nullptr);
        benchmark::DoNotOptimize(block);
        K_SvgFreeMemory(block);
        K_SvgFreeNode(document);
        if (!drawn || saved != SUCCESS) {
            state.SkipWithError("recording failed");
            return;
        }
        bytesPerCall = double(size) / double(kPaths + kTexts);
    }
    SetCounters(state, bytesPerCall);
}

void DrawOnBitmap(benchmark::State& state)
{
    TheScene();
    KvBitmap bitmap{};
    K_BitmapInit(&bitmap, kKvBitmapSize, kSide, kSide, 32, KV_ORDER_BGR);
    K_BitmapAllocate(&bitmap);
    for (auto _ : state) {
        void* engine = nullptr;
        if (K_DrawingCreateBitmapEngine(&bitmap, &engine) != SUCCESS) {
            state.SkipWithError("K_DrawingCreateBitmapEngine failed");
            break;
        }
        const bool drawn = DrawScene(*static_cast<kvdrw::Engine*>(engine));
        K_DrawingDestroyEngine(engine);
        if (!drawn) {
            state.SkipWithError("drawing failed");
            break;
        }
    }
    K_BitmapFree(&bitmap);
    SetCounters(state, 0);
}

BENCHMARK(RecordAndSave)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(DrawOnBitmap)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
