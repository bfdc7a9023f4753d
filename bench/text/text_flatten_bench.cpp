// Text layout throughput against loading: one generated page of 10,000
// text elements, each with nested tspans, x and dx lists, a rotate list and
// mixed styles, loaded and flattened in the same run and counted in
// characters laid out.
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>

#include "kvsvg/kvsvg.h"

namespace {

constexpr unsigned kTexts = 10000;

struct Page {
    std::string text;
    unsigned characters = 0;
};

const Page& MakePage()
{
    static const Page page = [] {
        Page p;
        p.text = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"2480\" height=\"3508\" "
                 "font-family=\"Liberation Sans\" font-size=\"11\">\n";
        const char* words[] = {"Invoice", "total", "amount", "due", "Straße", "Ωμέγα", "Привет", "2026-11-22"};
        char line[1024];
        for (unsigned i = 0; i < kTexts; ++i) {
            const unsigned x = i * 37 % 2300, y = i * 53 % 3400 + 20;
            const char* a = words[i % 8];
            const char* b = words[(i + 3) % 8];
            const char* c = words[(i + 5) % 8];
            std::snprintf(line, sizeof line,
                          "<text x=\"%u %u %u\" y=\"%u\" dx=\"0 1 0 1\"%s>%s <tspan font-weight=\"bold\" "
                          "dy=\"2\">%s <tspan fill=\"#%06x\" rotate=\"0 5 0\">%s</tspan></tspan> tail %u</text>\n",
                          x, x + 7, x + 14, y, i % 5 == 0 ? " text-anchor=\"middle\"" : "", a, b,
                          i * 2654435761u & 0xFFFFFF, c, i);
            p.text += line;
            // Characters as UTF-16 units, as the layout counts them.
            std::string plain = std::string(a) + " " + b + " " + c + " tail " + std::to_string(i);
            for (unsigned char ch : plain)
                p.characters += (ch & 0xC0) != 0x80;
        }
        p.text += "</svg>\n";
        return p;
    }();
    return page;
}

void Count(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * MakePage().characters);
    state.counters["characters"] = MakePage().characters;
    state.counters["texts"] = kTexts;
}

void LoadTextPage(benchmark::State& state)
{
    const Page& page = MakePage();
    for (auto _ : state) {
        SvgHandle document = nullptr;
        if (K_SvgLoadDocumentMemory(page.text.data(), page.text.size(), &document, nullptr) != SUCCESS) {
            state.SkipWithError("load failed");
            return;
        }
        K_SvgFreeNode(document);
    }
    Count(state);
}
BENCHMARK(LoadTextPage)->Unit(benchmark::kMillisecond);

void FlattenTextPage(benchmark::State& state)
{
    const Page& page = MakePage();
    SvgHandle document = nullptr;
    if (K_SvgLoadDocumentMemory(page.text.data(), page.text.size(), &document, nullptr) != SUCCESS) {
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
    Count(state);
}
BENCHMARK(FlattenTextPage)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
