// First load + flatten + draw of a large drawing against repeated draws of
// its render-optimised flat form, in one run.
#include <random>
#include <string>

#include <benchmark/benchmark.h>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"

namespace {

std::string MakeDrawing(int shapes)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<double> at(0, 1000), size(2, 40);
    const char* colours[] = {"#e53e3e", "#3182ce", "#38a169", "#d69e2e", "#805ad5"};
    std::string text = R"(<svg xmlns="http://www.w3.org/2000/svg" width="1024" height="1024" viewBox="0 0 1024 1024">)";
    for (int i = 0; i < shapes; ++i) {
        if (i % 100 == 0) {
            if (i)
                text += "</g>";
            text += "<g transform=\"translate(" + std::to_string(i % 7) + " " + std::to_string(i % 5) +
                    ") rotate(" + std::to_string(i % 3) + ")\" stroke=\"#222\" stroke-width=\"0.5\">";
        }
        const std::string colour = colours[i % 5];
        char buffer[256];
        switch (i % 4) {
        case 0:
            std::snprintf(buffer, sizeof buffer, R"(<rect x="%.1f" y="%.1f" width="%.1f" height="%.1f" fill="%s"/>)",
                          at(random), at(random), size(random), size(random), colour.c_str());
            break;
        case 1:
            std::snprintf(buffer, sizeof buffer, R"(<circle cx="%.1f" cy="%.1f" r="%.1f" fill="%s"/>)", at(random),
                          at(random), size(random) / 2, colour.c_str());
            break;
        case 2: {
            // Shapes stay local, as in a real drawing: a glyph-sized path.
            const double x = at(random), y = at(random);
            std::snprintf(buffer, sizeof buffer, R"(<path d="M%.1f %.1f L%.1f %.1f Q%.1f %.1f %.1f %.1f Z" fill="%s"/>)",
                          x, y, x + size(random), y, x + size(random), y + size(random), x, y + size(random),
                          colour.c_str());
            break;
        }
        default: {
            const double x = at(random), y = at(random);
            std::snprintf(buffer, sizeof buffer, R"(<line x1="%.1f" y1="%.1f" x2="%.1f" y2="%.1f" stroke="%s"/>)", x,
                          y, x + size(random), y + size(random), colour.c_str());
            break;
        }
        }
        text += buffer;
    }
    text += "</g></svg>";
    return text;
}

const std::string& Drawing()
{
    static const std::string drawing = MakeDrawing(50000);
    return drawing;
}

struct Bitmap {
    KvBitmap bitmap{};
    Bitmap()
    {
        K_BitmapInit(&bitmap, kKvBitmapSize, 1024, 1024, 32, KV_ORDER_BGR);
        K_BitmapAllocate(&bitmap);
    }
    ~Bitmap() { K_BitmapFree(&bitmap); }
};

void FirstLoadFlattenDraw(benchmark::State& state)
{
    const std::string& text = Drawing();
    Bitmap target;
    for (auto _ : state) {
        SvgHandle document = nullptr, flat = nullptr;
        K_SvgLoadDocumentMemory(text.data(), text.size(), &document, nullptr);
        K_SvgFlatDocument(document, &flat, nullptr);
        if (K_SvgRasterizeDocument(&target.bitmap, flat, nullptr) != SUCCESS)
            state.SkipWithError("draw failed");
        K_SvgFreeNode(flat);
        K_SvgFreeNode(document);
    }
    state.counters["shapes"] = 50000;
}
BENCHMARK(FirstLoadFlattenDraw)->Unit(benchmark::kMillisecond)->Iterations(3);

void RepeatedOptimizedDraw(benchmark::State& state)
{
    const std::string& text = Drawing();
    SvgHandle document = nullptr, flat = nullptr;
    K_SvgLoadDocumentMemory(text.data(), text.size(), &document, nullptr);
    K_SvgFlatDocument(document, &flat, nullptr);
    K_SvgBeginRenderOptimizeDocument(flat);
    Bitmap target;
    for (auto _ : state) {
        if (K_SvgRasterizeDocument(&target.bitmap, flat, nullptr) != SUCCESS)
            state.SkipWithError("draw failed");
    }
    K_SvgEndRenderOptimizeDocument(flat);
    K_SvgFreeNode(flat);
    K_SvgFreeNode(document);
}
BENCHMARK(RepeatedOptimizedDraw)->Unit(benchmark::kMillisecond)->Iterations(5);

void RepeatedPlainDraw(benchmark::State& state)
{
    const std::string& text = Drawing();
    SvgHandle document = nullptr, flat = nullptr;
    K_SvgLoadDocumentMemory(text.data(), text.size(), &document, nullptr);
    K_SvgFlatDocument(document, &flat, nullptr);
    Bitmap target;
    for (auto _ : state) {
        if (K_SvgRasterizeDocument(&target.bitmap, flat, nullptr) != SUCCESS)
            state.SkipWithError("draw failed");
    }
    K_SvgFreeNode(flat);
    K_SvgFreeNode(document);
}
BENCHMARK(RepeatedPlainDraw)->Unit(benchmark::kMillisecond)->Iterations(3);

// A viewer repainting the part of the drawing in view: a 256 x 256 window.
SvgRenderOptions WindowOptions()
{
    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    options.clipBounds = KvRectangle{0, 0, 256, 256};
    return options;
}

void RepeatedOptimizedDrawOfAWindow(benchmark::State& state)
{
    const std::string& text = Drawing();
    SvgHandle document = nullptr, flat = nullptr;
    K_SvgLoadDocumentMemory(text.data(), text.size(), &document, nullptr);
    K_SvgFlatDocument(document, &flat, nullptr);
    K_SvgBeginRenderOptimizeDocument(flat);
    Bitmap target;
    const SvgRenderOptions options = WindowOptions();
    for (auto _ : state) {
        if (K_SvgRasterizeDocument(&target.bitmap, flat, &options) != SUCCESS)
            state.SkipWithError("draw failed");
    }
    K_SvgEndRenderOptimizeDocument(flat);
    K_SvgFreeNode(flat);
    K_SvgFreeNode(document);
}
BENCHMARK(RepeatedOptimizedDrawOfAWindow)->Unit(benchmark::kMillisecond)->Iterations(10);

void RepeatedPlainDrawOfAWindow(benchmark::State& state)
{
    const std::string& text = Drawing();
    SvgHandle document = nullptr, flat = nullptr;
    K_SvgLoadDocumentMemory(text.data(), text.size(), &document, nullptr);
    K_SvgFlatDocument(document, &flat, nullptr);
    Bitmap target;
    const SvgRenderOptions options = WindowOptions();
    for (auto _ : state) {
        if (K_SvgRasterizeDocument(&target.bitmap, flat, &options) != SUCCESS)
            state.SkipWithError("draw failed");
    }
    K_SvgFreeNode(flat);
    K_SvgFreeNode(document);
}
BENCHMARK(RepeatedPlainDrawOfAWindow)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
