// A host's cycle through the codec plug-in (fltInfo, fltLoad, fltFreeData)
// on a generated drawing, against further loads of the document that the
// first fltInfo kept: what a host pays per file, and per extra page size.
#include <cstdio>
#include <random>
#include <string>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"

namespace {

std::string MakeDrawing(int shapes)
{
    std::mt19937 random(11);
    std::uniform_real_distribution<double> at(0, 1000), size(2, 40);
    const char* colours[] = {"#e53e3e", "#3182ce", "#38a169", "#d69e2e", "#805ad5"};
    std::string text = R"(<svg xmlns="http://www.w3.org/2000/svg" width="1000" height="750"><g stroke="#222">)";
    char buffer[256];
    for (int i = 0; i < shapes; ++i) {
        if (i % 2 == 0)
            std::snprintf(buffer, sizeof buffer, R"(<rect x="%.1f" y="%.1f" width="%.1f" height="%.1f" fill="%s"/>)",
                          at(random), at(random) * 0.75, size(random), size(random), colours[i % 5]);
        else
            std::snprintf(buffer, sizeof buffer, R"(<circle cx="%.1f" cy="%.1f" r="%.1f" fill="%s"/>)", at(random),
                          at(random) * 0.75, size(random) / 2, colours[i % 5]);
        text += buffer;
    }
    return text + "</g></svg>";
}

// The drawing on disk once per run, as a host meets it.
const std::u16string& DrawingFile()
{
    static const std::u16string path = [] {
        char name[] = "/tmp/kvsvg_filter_benchXXXXXX";
        const int fd = mkstemp(name);
        const std::string text = MakeDrawing(5000);
        if (fd < 0 || write(fd, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
            std::abort();
        close(fd);
        std::u16string wide(name, name + sizeof name - 1);
        return wide;
    }();
    return path;
}

int32_t CountRow(const KvBitmap*, const uint8_t*, uint32_t, int32_t, int32_t count, void* user)
{
    *static_cast<int64_t*>(user) += count;
    return SUCCESS;
}

KvFilterLoadRequest Load(KvBitmap& target, KvFilterCache* cache, int64_t* rows)
{
    KvFilterLoadRequest load{};
    load.size = kKvFilterLoadRequestSize;
    load.fileName = DrawingFile().c_str();
    load.fileHandle = -1;
    load.bitmap = &target;
    load.callback = CountRow;
    load.userData = rows;
    load.cache = cache;
    return load;
}

int32_t Info(KvFilterCache& cache, KvFilterFileInfo& info)
{
    info = KvFilterFileInfo{};
    info.size = kKvFilterFileInfoSize;
    KvFilterInfoRequest request{};
    request.size = kKvFilterInfoRequestSize;
    request.fileName = DrawingFile().c_str();
    request.fileHandle = -1;
    request.info = &info;
    request.cache = &cache;
    return fltInfo(&request);
}

void HostCycle(benchmark::State& state)
{
    int64_t rows = 0;
    for (auto _ : state) {
        KvFilterCache cache{kKvFilterCacheSize, nullptr};
        KvFilterFileInfo info;
        if (Info(cache, info) != SUCCESS)
            state.SkipWithError("fltInfo failed");
        KvBitmap target{};
        K_BitmapInit(&target, kKvBitmapSize, info.width, info.height, 24, KV_ORDER_BGR);
        KvFilterLoadRequest load = Load(target, &cache, &rows);
        if (fltLoad(&load) != SUCCESS)
            state.SkipWithError("fltLoad failed");
        fltFreeData(cache.filterData, 0);
    }
    state.counters["rows"] = benchmark::Counter(static_cast<double>(rows), benchmark::Counter::kIsRate);
}
BENCHMARK(HostCycle)->Unit(benchmark::kMillisecond);

// Loads at growing sizes from the one document fltInfo kept (flat and
// render-optimised after the first): only drawing and rows are left.
void KeptDocumentLoad(benchmark::State& state)
{
    KvFilterCache cache{kKvFilterCacheSize, nullptr};
    KvFilterFileInfo info;
    if (Info(cache, info) != SUCCESS)
        state.SkipWithError("fltInfo failed");
    const int32_t width = static_cast<int32_t>(state.range(0));
    KvBitmap target{};
    K_BitmapInit(&target, kKvBitmapSize, width, width * 3 / 4, 24, KV_ORDER_BGR);
    int64_t rows = 0;
    KvFilterLoadRequest load = Load(target, &cache, &rows);
    fltLoad(&load);  // the first load flattens
    for (auto _ : state) {
        load = Load(target, &cache, &rows);
        if (fltLoad(&load) != SUCCESS)
            state.SkipWithError("fltLoad failed");
    }
    fltFreeData(cache.filterData, 0);
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(width) * (width * 3 / 4));
}
BENCHMARK(KeptDocumentLoad)->Arg(640)->Arg(1600)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
