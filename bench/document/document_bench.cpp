// Load and save throughput on a generated drawing of about 10 MB, with a raw
// pugixml parse and save of the same bytes in the same run as the yardstick:
// the streams should cost little beside the parser itself.
#include <cstdio>
#include <string>

#include <benchmark/benchmark.h>
#include <pugixml.hpp>

#include "base/tracked_memory.h"
#include "document/svg_xml_streams.h"
#include "document/svg_zip.h"
#include "kvsvg/kvsvg.h"

namespace {

constexpr unsigned kRawSave = pugi::format_raw | pugi::format_write_bom;

// Shapes, groups, text and paths in the proportions of a converted page:
// attribute-heavy, shallow, with some character data.
const std::string& Drawing()
{
    static const std::string text = [] {
        std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<svg xmlns=\"http://www.w3.org/2000/svg\" version=\"1.1\" width=\"2480\" height=\"3508\" "
                          "viewBox=\"0 0 2480 3508\">\n";
        char line[512];
        for (unsigned i = 0; svg.size() < 10u * 1024 * 1024; ++i) {
            unsigned x = i * 37 % 2400, y = i * 91 % 3400;
            if (i % 50 == 0)
                svg += "<g transform=\"translate(" + std::to_string(x) + " " + std::to_string(y) + ")\">\n";
            switch (i % 4) {
            case 0:
                std::snprintf(line, sizeof line,
                              "<rect id=\"r%u\" x=\"%u.5\" y=\"%u.25\" width=\"%u\" height=\"%u\" "
                              "style=\"fill:#%06x;stroke:#000000;stroke-width:0.75\"/>\n",
                              i, x, y, i % 300 + 1, i % 200 + 1, i * 2654435761u & 0xFFFFFF);
                break;
            case 1:
                std::snprintf(line, sizeof line,
                              "<path d=\"M %u %u L %u %u C %u %u %u %u %u %u Z\" fill=\"none\" stroke=\"#%06x\"/>\n",
                              x, y, x + 40, y + 12, x + 50, y + 60, x + 10, y + 70, x, y + 30,
                              i * 40503u & 0xFFFFFF);
                break;
            case 2:
                std::snprintf(line, sizeof line,
                              "<text x=\"%u\" y=\"%u\" font-family=\"Arial\" font-size=\"12\">Line %u of the "
                              "recognised page &amp; its words</text>\n",
                              x, y, i);
                break;
            default:
                std::snprintf(line, sizeof line, "<circle cx=\"%u\" cy=\"%u\" r=\"%u\" fill=\"#%06x\"/>\n", x, y,
                              i % 40 + 1, i * 7919u & 0xFFFFFF);
                break;
            }
            svg += line;
            if (i % 50 == 49)
                svg += "</g>\n";
        }
        svg += "</g>\n</svg>\n";
        return svg;
    }();
    return text;
}

const pugi::xml_document& ParsedDrawing()
{
    static pugi::xml_document* document = [] {
        auto* parsed = new pugi::xml_document;
        parsed->load_buffer(Drawing().data(), Drawing().size());
        return parsed;
    }();
    return *document;
}

void CountBytes(benchmark::State& state, size_t bytes)
{
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes));
}

// (a) The yardstick: pugixml alone, from the same bytes, copying as the document does.
void RawPugixmlParse(benchmark::State& state)
{
    const std::string& bytes = Drawing();
    for (auto _ : state) {
        pugi::xml_document document;
        pugi::xml_parse_result result = document.load_buffer(bytes.data(), bytes.size());
        benchmark::DoNotOptimize(result.status);
    }
    CountBytes(state, Drawing().size());
}
BENCHMARK(RawPugixmlParse)->Unit(benchmark::kMillisecond);

// (b) The document's road: the reader's private copy, then the parse of it.
void LoadFromMemoryAndParse(benchmark::State& state)
{
    const std::string& bytes = Drawing();
    for (auto _ : state) {
        SvgXmlReaderWriter reader;
        if (reader.LoadFromMemory(bytes.data(), bytes.size()) != SUCCESS)
            state.SkipWithError("LoadFromMemory failed");
        pugi::xml_document document;
        pugi::xml_parse_result result = document.load_buffer(reader.data(), reader.dataSize());
        benchmark::DoNotOptimize(result.status);
    }
    CountBytes(state, Drawing().size());
}
BENCHMARK(LoadFromMemoryAndParse)->Unit(benchmark::kMillisecond);

// (b') The whole export: reader, parse, root, version, file options, the
// handle and its release.
void LoadDocumentExport(benchmark::State& state)
{
    const std::string& bytes = Drawing();
    for (auto _ : state) {
        SvgHandle document = nullptr;
        if (K_SvgLoadDocumentMemory(bytes.data(), bytes.size(), &document, nullptr) != SUCCESS)
            state.SkipWithError("K_SvgLoadDocumentMemory failed");
        K_SvgFreeNode(document);
    }
    CountBytes(state, Drawing().size());
}
BENCHMARK(LoadDocumentExport)->Unit(benchmark::kMillisecond);

// The whole export on the plain road: two passes, one block.
void SaveDocumentExport(benchmark::State& state)
{
    SvgHandle document = nullptr;
    K_SvgLoadDocumentMemory(Drawing().data(), Drawing().size(), &document, nullptr);
    SvgSaveOptions options{kSvgSaveOptionsSize, 0, {0}, 0, 0};
    for (auto _ : state) {
        void* block = nullptr;
        size_t size = 0;
        if (K_SvgSaveDocumentMemory(document, &block, &size, &options) != SUCCESS)
            state.SkipWithError("K_SvgSaveDocumentMemory failed");
        K_SvgFreeMemory(block);
    }
    K_SvgFreeNode(document);
    CountBytes(state, Drawing().size());
}
BENCHMARK(SaveDocumentExport)->Unit(benchmark::kMillisecond);

// The compressed road: unzip to a block, the reader's copy, the parse.
// Throughput is counted in text bytes, to compare with the plain load.
void LoadCompressedAndParse(benchmark::State& state)
{
    void* compressed = nullptr;
    size_t compressedSize = 0;
    {
        SvgZXmlMemoryWriter writer(&compressed, &compressedSize);
        ParsedDrawing().save(writer, "\t", kRawSave);
    }
    for (auto _ : state) {
        void* text = nullptr;
        size_t textSize = 0;
        if (UnzipSvgMemory(compressed, compressedSize, &text, &textSize) != SUCCESS)
            state.SkipWithError("UnzipSvgMemory failed");
        SvgXmlReaderWriter reader;
        reader.LoadFromMemory(text, textSize);
        KV_FREE(text);
        pugi::xml_document document;
        pugi::xml_parse_result result = document.load_buffer(reader.data(), reader.dataSize());
        benchmark::DoNotOptimize(result.status);
    }
    KV_FREE(compressed);
    CountBytes(state, Drawing().size());
}
BENCHMARK(LoadCompressedAndParse)->Unit(benchmark::kMillisecond);

// The yardstick for saving: pugixml's own serialisation into a string.
void RawPugixmlSave(benchmark::State& state)
{
    class StringWriter : public pugi::xml_writer {
    public:
        void write(const void* data, size_t size) override { text.append(static_cast<const char*>(data), size); }
        std::string text;
    };
    for (auto _ : state) {
        StringWriter writer;
        writer.text.reserve(Drawing().size() + 4096);
        ParsedDrawing().save(writer, "\t", kRawSave);
        benchmark::DoNotOptimize(writer.text.data());
    }
    CountBytes(state, Drawing().size());
}
BENCHMARK(RawPugixmlSave)->Unit(benchmark::kMillisecond);

// (c) The document's plain memory save: count, allocate, fill.
void SaveTwoPasses(benchmark::State& state)
{
    for (auto _ : state) {
        size_t count = 0;
        SvgXmlMemoryWriter2 counter(nullptr, &count);
        ParsedDrawing().save(counter, "\t", kRawSave);
        TrackedPtr<uint8_t> block(static_cast<uint8_t*>(KV_ALLOC_ZERO(count + 1, 1)));
        SvgXmlMemoryWriter2 filler(block.get(), &count);
        ParsedDrawing().save(filler, "\t", kRawSave);
        benchmark::DoNotOptimize(block.get());
    }
    CountBytes(state, Drawing().size());
}
BENCHMARK(SaveTwoPasses)->Unit(benchmark::kMillisecond);

// (d) The compressed memory save.
void SaveCompressed(benchmark::State& state)
{
    for (auto _ : state) {
        void* block = nullptr;
        size_t size = 0;
        {
            SvgZXmlMemoryWriter writer(&block, &size);
            ParsedDrawing().save(writer, "\t", kRawSave);
            if (writer.finish() != SUCCESS)
                state.SkipWithError("compressed save failed");
        }
        benchmark::DoNotOptimize(size);
        KV_FREE(block);
    }
    CountBytes(state, Drawing().size());
}
BENCHMARK(SaveCompressed)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
