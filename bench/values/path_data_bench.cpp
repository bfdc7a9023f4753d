// Path data at scale: ParsePathData and PathDataToString on about 1 MB of
// mixed commands, and strtod scanning the very same numbers as the floor
// that any parser of this text pays. Rates are bytes of path text per second.
#include <cstdlib>
#include <random>
#include <string>

#include <benchmark/benchmark.h>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "values/value_formatter.h"
#include "values/value_parser.h"
#include "values/value_records.h"

namespace {

// Deterministic path of roughly `bytes` characters using every command.
std::string MakePath(size_t bytes)
{
    std::mt19937 random(7);
    auto number = [&]() {
        char text[32];
        std::snprintf(text, sizeof(text), "%.3f", (static_cast<int>(random() % 200000) - 100000) / 100.0);
        return std::string(text);
    };
    std::string path = "M0 0";
    const char commands[] = "LlHhVvCcSsQqTtAa";
    while (path.size() < bytes) {
        char command = commands[random() % (sizeof(commands) - 1)];
        path += ' ';
        path += command;
        switch (command) {
        case 'H': case 'h': case 'V': case 'v':
            path += number();
            break;
        case 'L': case 'l': case 'T': case 't':
            path += number() + ',' + number();
            break;
        case 'S': case 's': case 'Q': case 'q':
            path += number() + ',' + number() + ' ' + number() + ',' + number();
            break;
        case 'C': case 'c':
            path += number() + ',' + number() + ' ' + number() + ',' + number() + ' ' + number() + ',' + number();
            break;
        default:  // arcs, flags written out with separators
            path += "25,25 -30 " + std::to_string(random() % 2) + ',' + std::to_string(random() % 2) + ' ' +
                    number() + ',' + number();
            break;
        }
        if (random() % 50 == 0)
            path += " Z M" + number() + ' ' + number();
    }
    return path;
}

const std::string& PathText()
{
    static const std::string path = MakePath(1 << 20);
    return path;
}

const std::u16string& WidePathText()
{
    static const std::u16string path = ToUtf16(PathText());
    return path;
}

void BM_ParsePathData(benchmark::State& state)
{
    const std::u16string& text = WidePathText();
    for (auto _ : state) {
        SvgPathData data;
        InitPathData(&data);
        if (ParsePathData(std::u16string_view(text), &data) != SUCCESS)
            state.SkipWithError("parse failed");
        benchmark::DoNotOptimize(data.items);
        FreePathData(&data);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(PathText().size()));
}
BENCHMARK(BM_ParsePathData)->Unit(benchmark::kMillisecond);

void BM_WritePathData(benchmark::State& state)
{
    SvgPathData data;
    InitPathData(&data);
    ParsePathData(std::u16string_view(WidePathText()), &data);
    size_t written = 0;
    for (auto _ : state) {
        KvChar* text = nullptr;
        if (PathDataToString(&data, &text) != SUCCESS)
            state.SkipWithError("write failed");
        written = 0;
        while (text[written])
            ++written;
        KV_FREE(text);
    }
    // Measured against the input text, so that the rates compare directly.
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(PathText().size()));
    state.counters["segments"] = data.count;
    state.counters["written_chars"] = static_cast<double>(written);
    FreePathData(&data);
}
BENCHMARK(BM_WritePathData)->Unit(benchmark::kMillisecond);

// The floor: strtod over the same numbers, skipping whatever is not one.
void BM_StrtodSameNumbers(benchmark::State& state)
{
    const std::string& text = PathText();
    size_t numbers = 0;
    for (auto _ : state) {
        const char* cursor = text.c_str();
        double sum = 0;
        numbers = 0;
        while (*cursor) {
            char c = *cursor;
            if ((c >= '0' && c <= '9') || c == '-' || c == '.') {
                char* end = nullptr;
                sum += std::strtod(cursor, &end);
                cursor = end > cursor ? end : cursor + 1;
                ++numbers;
            } else {
                ++cursor;
            }
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
    state.counters["numbers"] = static_cast<double>(numbers);
}
BENCHMARK(BM_StrtodSameNumbers)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
