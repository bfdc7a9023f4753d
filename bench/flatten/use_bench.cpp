// Flattening through use against the same shapes written out: 10,000 uses
// of one symbol that holds gradient-filled, clipped shapes, and a document
// with the same shapes written out by hand, flattened in the same run.
// Counters give the flat output's size.
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "kvsvg/kvsvg.h"

namespace {

constexpr unsigned kUses = 10000;

const char* kDefs =
    "<defs><linearGradient id=\"g\"><stop offset=\"0\" stop-color=\"#0a0\"/><stop offset=\"1\" "
    "stop-color=\"#00a\"/></linearGradient><clipPath id=\"c\"><circle cx=\"5\" cy=\"5\" r=\"5\"/></clipPath>";
const char* kShapes = "<rect width=\"10\" height=\"10\" fill=\"url(#g)\" clip-path=\"url(#c)\"/>"
                      "<circle cx=\"5\" cy=\"5\" r=\"3\" fill=\"url(#g)\" stroke=\"black\"/>"
                      "<path d=\"M0 0 L10 10\" stroke=\"url(#g)\"/>";

std::string Through(bool use)
{
    std::string text = "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
                       "width=\"1000\" height=\"1000\">";
    text += kDefs;
    if (use)
        text += std::string("<symbol id=\"s\" viewBox=\"0 0 10 10\">") + kShapes + "</symbol>";
    text += "</defs>";
    char line[160];
    for (unsigned i = 0; i < kUses; ++i) {
        const unsigned x = i % 100 * 10, y = i / 100 * 10;
        if (use) {
            std::snprintf(line, sizeof line, "<use xlink:href=\"#s\" x=\"%u\" y=\"%u\" width=\"10\" height=\"10\"/>", x,
                          y);
            text += line;
        } else {
            std::snprintf(line, sizeof line, "<g transform=\"translate(%u %u)\">", x, y);
            text += line;
            text += kShapes;
            text += "</g>";
        }
    }
    return text + "</svg>";
}

void Flatten(benchmark::State& state, bool use)
{
    const std::string text = Through(use);
    SvgHandle document = nullptr;
    if (K_SvgLoadDocumentMemory(text.data(), text.size(), &document, nullptr) != SUCCESS) {
        state.SkipWithError("load failed");
        return;
    }
    size_t bytes = 0;
    for (auto _ : state) {
        SvgHandle flat = nullptr;
        if (K_SvgFlatDocument(document, &flat, nullptr) != SUCCESS) {
            state.SkipWithError("flatten failed");
            break;
        }
        state.PauseTiming();
        void* saved = nullptr;
        size_t length = 0;
        SvgSaveOptions options{kSvgSaveOptionsSize, 0, {0}, 0, 0};
        if (K_SvgSaveDocumentMemory(flat, &saved, &length, &options) == SUCCESS)
            bytes = length;
        K_SvgFreeMemory(saved);
        K_SvgFreeNode(flat);
        state.ResumeTiming();
    }
    K_SvgFreeNode(document);
    state.counters["flat_bytes"] = static_cast<double>(bytes);
    state.counters["source_bytes"] = static_cast<double>(text.size());
}

void FlattenThroughUse(benchmark::State& state) { Flatten(state, true); }
void FlattenWrittenOut(benchmark::State& state) { Flatten(state, false); }

}  // namespace

BENCHMARK(FlattenThroughUse)->Unit(benchmark::kMillisecond);
BENCHMARK(FlattenWrittenOut)->Unit(benchmark::kMillisecond);
