// The legacy XML reader: throughput on a generated drawing of about 10 MB,
// with a pugixml parse of the same bytes as the yardstick, and the time it
// takes to refuse the entity bombs (which must stay far below a second).
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "kvsvg/kvsvg.h"
#include "legacy/adv_xml_parser.h"

namespace {

const std::string& Drawing()
{
    static const std::string text = [] {
        std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<!DOCTYPE svg PUBLIC \"-//W3C//DTD SVG 1.1//EN\" \"svg11.dtd\" [\n"
                          "  <!ENTITY ns_svg \"http://www.w3.org/2000/svg\">\n]>\n"
                          "<svg xmlns=\"&ns_svg;\" width=\"2480\" height=\"3508\">\n";
        char line[512];
        for (unsigned i = 0; svg.size() < 10u * 1024 * 1024; ++i) {
            unsigned x = i * 37 % 2400, y = i * 91 % 3400;
            if (i % 50 == 0)
                svg += "<g transform=\"translate(" + std::to_string(x) + " " + std::to_string(y) + ")\">\n";
            if (i % 3 == 0)
                std::snprintf(line, sizeof line,
                              "<rect id=\"r%u\" x=\"%u.5\" y=\"%u.25\" width=\"%u\" height=\"%u\" "
                              "style=\"fill:#%06x;stroke:#000000\"/>\n",
                              i, x, y, i % 300 + 1, i % 200 + 1, i * 2654435761u & 0xFFFFFF);
            else if (i % 3 == 1)
                std::snprintf(line, sizeof line, "<text x=\"%u\" y=\"%u\">Line %u &amp; more<tspan>!</tspan></text>\n",
                              x, y, i);
            else
                std::snprintf(line, sizeof line, "<path d=\"M%u %u L%u %u C1 2 3 4 5 6 Z\"/>\n", x, y, y, x);
            svg += line;
            if (i % 50 == 49)
                svg += "</g>\n";
        }
        svg += "</g>\n</svg>\n";
        return svg;
    }();
    return text;
}

std::string BillionLaughs()
{
    std::string laughs = "<!DOCTYPE lolz [<!ENTITY lol0 'lol'>";
    for (int level = 1; level <= 10; ++level) {
        laughs += "<!ENTITY lol" + std::to_string(level) + " '";
        for (int i = 0; i < 10; ++i)
            laughs += "&lol" + std::to_string(level - 1) + ";";
        laughs += "'>";
    }
    return laughs + "]><lolz>&lol10;</lolz>";
}

void LegacyParseDrawing(benchmark::State& state)
{
    const std::string& text = Drawing();
    for (auto _ : state) {
        std::unique_ptr<AdvXMLParser::Document> document;
        if (AdvXMLParser::ParseDocument(text.data(), text.size(), &document) != SUCCESS)
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(document.get());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(LegacyParseDrawing)->Unit(benchmark::kMillisecond);

void PugixmlParseDrawing(benchmark::State& state)
{
    const std::string& text = Drawing();
    for (auto _ : state) {
        pugi::xml_document document;
        if (!document.load_buffer(text.data(), text.size()))
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(document.first_child());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * int64_t(text.size()));
}
BENCHMARK(PugixmlParseDrawing)->Unit(benchmark::kMillisecond);

void LegacyRefuseBillionLaughs(benchmark::State& state)
{
    const std::string text = BillionLaughs();
    for (auto _ : state) {
        std::unique_ptr<AdvXMLParser::Document> document;
        if (AdvXMLParser::ParseDocument(text.data(), text.size(), &document) != ERROR_MAX_ELEMENTS)
            state.SkipWithError("not refused");
    }
}
BENCHMARK(LegacyRefuseBillionLaughs)->Unit(benchmark::kMicrosecond);

void LegacyRefuseQuadraticBlowUp(benchmark::State& state)
{
    std::string text = "<!DOCTYPE q [<!ENTITY big '" + std::string(100000, 'x') + "'>]><q>";
    for (int i = 0; i < 1000; ++i)
        text += "&big;";
    text += "</q>";
    for (auto _ : state) {
        std::unique_ptr<AdvXMLParser::Document> document;
        if (AdvXMLParser::ParseDocument(text.data(), text.size(), &document) != ERROR_MAX_ELEMENTS)
            state.SkipWithError("not refused");
    }
}
BENCHMARK(LegacyRefuseQuadraticBlowUp)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
