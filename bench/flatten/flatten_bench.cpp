// Flattening throughput against loading: one generated drawing of about
// 100,000 shapes of every kind under nested, transformed and styled groups,
// loaded and flattened in the same run, counted in source elements.
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "kvsvg/kvsvg.h"

namespace {

constexpr unsigned kShapes = 100000;
constexpr unsigned kShapesPerGroup = 25;

struct Drawing {
    std::string text;
    unsigned elements = 0;
};

// Groups four deep, each level with a transform of its own kind and some
// style, and the seven shape kinds in turn below them.
const Drawing& MakeDrawing()
{
    static const Drawing drawing = [] {
        Drawing d;
        d.text = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"2480\" height=\"3508\" viewBox=\"0 0 2480 3508\">\n";
        d.elements = 1;
        char line[512];
        const char* transforms[] = {"translate(%u %u)", "rotate(%u %u 40)", "scale(1.%u 0.%u)", "translate(%u) skewX(%u)"};
        unsigned shape = 0;
        for (unsigned group = 0; shape < kShapes; ++group) {
            for (unsigned level = 0; level < 4; ++level) {
                char transform[64];
                std::snprintf(transform, sizeof transform, transforms[(group + level) % 4], group % 90 + 1,
                              level * 7 + 1);
                std::snprintf(line, sizeof line,
                              "<g transform=\"%s\" opacity=\"0.9%u\" stroke=\"#%06x\" stroke-width=\"%u\" "
                              "font-size=\"%upx\">\n",
                              transform, level, group * 2654435761u & 0xFFFFFF, level + 1, 10 + level);
                d.text += line;
                ++d.elements;
            }
            for (unsigned i = 0; i < kShapesPerGroup && shape < kShapes; ++i, ++shape) {
                const unsigned x = shape * 37 % 2400, y = shape * 91 % 3400;
                switch (shape % 7) {
                case 0:
                    std::snprintf(line, sizeof line,
                                  "<rect x=\"%u\" y=\"%u\" width=\"%u\" height=\"%u\" rx=\"2\" "
                                  "style=\"fill:#%06x;fill-opacity:0.5\"/>\n",
                                  x, y, shape % 300 + 1, shape % 200 + 1, shape * 40503u & 0xFFFFFF);
                    break;
                case 1:
                    std::snprintf(line, sizeof line, "<circle cx=\"%u\" cy=\"%u\" r=\"%u\" fill=\"red\"/>\n", x, y,
                                  shape % 40 + 1);
                    break;
                case 2:
                    std::snprintf(line, sizeof line, "<ellipse cx=\"%u\" cy=\"%u\" rx=\"%u\" ry=\"8\"/>\n", x, y,
                                  shape % 30 + 2);
                    break;
                case 3:
                    std::snprintf(line, sizeof line, "<line x1=\"%u\" y1=\"%u\" x2=\"%u\" y2=\"%u\"/>\n", x, y,
                                  x + 30, y + 5);
                    break;
                case 4:
                    std::snprintf(line, sizeof line,
                                  "<polyline points=\"%u,%u %u,%u %u,%u %u,%u\" fill=\"none\"/>\n", x, y, x + 5,
                                  y + 9, x + 10, y, x + 15, y + 9);
                    break;
                case 5:
                    std::snprintf(line, sizeof line, "<polygon points=\"%u,%u %u,%u %u,%u\" fill=\"blue\"/>\n", x,
                                  y, x + 20, y, x + 10, y + 17);
                    break;
                default:
                    std::snprintf(line, sizeof line,
                                  "<path d=\"M %u %u l 40 12 c 10 48 -40 58 -50 18 a 20 10 0 0 1 10 -30 z\" "
                                  "fill=\"none\" stroke-dasharray=\"4 2\"/>\n",
                                  x, y);
                    break;
                }
                d.text += line;
                ++d.elements;
            }
            d.text += "</g></g></g></g>\n";
        }
        d.text += "</svg>\n";
        return d;
    }();
    return drawing;
}

void CountElements(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * MakeDrawing().elements);
    state.counters["elements"] = MakeDrawing().elements;
}

void LoadDrawing(benchmark::State& state)
{
    const Drawing& drawing = MakeDrawing();
    for (auto _ : state) {
        SvgHandle document = nullptr;
        if (K_SvgLoadDocumentMemory(drawing.text.data(), drawing.text.size(), &document, nullptr) != SUCCESS) {
            state.SkipWithError("load failed");
            return;
        }
        K_SvgFreeNode(document);
    }
    CountElements(state);
}
BENCHMARK(LoadDrawing)->Unit(benchmark::kMillisecond);

void FlattenDrawing(benchmark::State& state)
{
    const Drawing& drawing = MakeDrawing();
    SvgHandle document = nullptr;
    if (K_SvgLoadDocumentMemory(drawing.text.data(), drawing.text.size(), &document, nullptr) != SUCCESS) {
        state.SkipWithError("load failed");
        return;
    }
    for (auto _ : state) {
        SvgHandle flat = nullptr;
        if (K_SvgFlatDocument(document, &flat, nullptr) != SUCCESS) {
            state.SkipWithError("flatten failed");
            break;
        }
        K_SvgFreeNode(flat);
    }
    K_SvgFreeNode(document);
    CountElements(state);
}
BENCHMARK(FlattenDrawing)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
