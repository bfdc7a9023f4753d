// Record throughput: every element of a generated drawing of about 100,000
// elements is read into its record and written back, through the exports a
// caller would use. Loading and selecting stay outside the timed loop.
#include <cstdio>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "kvsvg/kvsvg.h"

namespace {

constexpr unsigned kElementCount = 100000;

// Shapes, groups and text in the proportions of a converted page, each with
// a transform, a style and a few presentation attributes to parse.
std::string Drawing()
{
    std::string svg = "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\" "
                      "width=\"2480\" height=\"3508\" viewBox=\"0 0 2480 3508\">";
    char line[512];
    unsigned made = 1;
    for (unsigned i = 0; made < kElementCount; ++i) {
        unsigned x = i * 37 % 2400, y = i * 91 % 3400;
        if (i % 20 == 0) {
            if (i)
                svg += "</g>";
            std::snprintf(line, sizeof line, "<g id=\"g%u\" transform=\"translate(%u %u)\" opacity=\"0.9\">", i, x, y);
            svg += line;
            ++made;
        }
        switch (i % 5) {
        case 0:
            std::snprintf(line, sizeof line,
                          "<rect id=\"r%u\" x=\"%u.5\" y=\"%u.25\" width=\"%u\" height=\"%u\" rx=\"2\" "
                          "style=\"fill:#%06x;stroke:#000000;stroke-width:0.75\"/>",
                          i, x, y, i % 300 + 1, i % 200 + 1, i * 2654435761u & 0xFFFFFF);
            break;
        case 1:
            std::snprintf(line, sizeof line,
                          "<path d=\"M%u %u L%u %u C1 2 3 4 5 6 Q7 8 9 10 Z\" fill=\"none\" stroke=\"blue\" "
                          "stroke-dasharray=\"4,2\"/>",
                          x, y, x + 40, y + 30);
            break;
        case 2:
            std::snprintf(line, sizeof line,
                          "<text x=\"%u\" y=\"%u\" font-family=\"Serif\" font-size=\"12\" fill=\"#333\">Word %u</text>",
                          x, y, i);
            break;
        case 3:
            std::snprintf(line, sizeof line, "<circle cx=\"%u\" cy=\"%u\" r=\"%u\" fill=\"rgb(10%%,20%%,30%%)\"/>", x, y,
                          i % 50 + 1);
            break;
        default:
            std::snprintf(line, sizeof line,
                          "<polygon points=\"%u,%u %u,%u %u,%u\" transform=\"rotate(%u)\" fill-rule=\"evenodd\"/>", x,
                          y, x + 10, y, x, y + 10, i % 360);
            break;
        }
        svg += line;
        ++made;
    }
    svg += "</g></svg>";
    return svg;
}

uint32_t RecordSize(uint32_t type)
{
    switch (type) {
    case SVG_ELEMENT_SVG: return kSvgSvgElementSize;
    case SVG_ELEMENT_G: return kSvgGElementSize;
    case SVG_ELEMENT_RECT: return kSvgRectElementSize;
    case SVG_ELEMENT_PATH: return kSvgPathElementSize;
    case SVG_ELEMENT_TEXT: return kSvgTextElementSize;
    case SVG_ELEMENT_CIRCLE: return kSvgCircleElementSize;
    case SVG_ELEMENT_POLYGON: return kSvgPolygonElementSize;
    default: return 0;
    }
}

void ReadAndWriteEveryElement(benchmark::State& state)
{
    const std::string text = Drawing();
    SvgHandle document = nullptr;
    if (K_SvgLoadDocumentMemory(text.data(), text.size(), &document, nullptr) != SUCCESS) {
        state.SkipWithError("load failed");
        return;
    }
    SvgNodesIterator nodes{kSvgNodesIteratorSize, 0, nullptr};
    K_SvgSelectNodes(document, u"//*", &nodes);
    std::vector<std::pair<SvgHandle, uint32_t>> elements;
    for (int32_t i = 0; i < nodes.count; ++i) {
        uint32_t type = 0;
        if (nodes.nodes[i] && K_SvgGetElementType(nodes.nodes[i], &type) == SUCCESS && RecordSize(type))
            elements.emplace_back(nodes.nodes[i], type);
    }
    alignas(8) static unsigned char record[4096];
    for (auto _ : state) {
        for (const auto& [element, type] : elements) {
            const uint32_t size = RecordSize(type);
            K_SvgInitElement(record, type, size);
            if (K_SvgGetElement(element, record, size) != SUCCESS || K_SvgSetElement(element, record) != SUCCESS) {
                state.SkipWithError("record failed");
                break;
            }
            K_SvgFreeElement(record, type);
        }
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(elements.size()));
    state.counters["elements"] = static_cast<double>(elements.size());
    K_SvgFreeIterator(&nodes);
    K_SvgFreeNode(document);
}

}  // namespace

BENCHMARK(ReadAndWriteEveryElement)->Unit(benchmark::kMillisecond)->MinTime(2.0);

BENCHMARK_MAIN();
