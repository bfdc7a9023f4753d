// A plain main for the fuzz targets, built with the ordinary compiler: it
// feeds every file of the given files and folders to the target's entry
// point, then, with --mutations N, N deterministic variants of each (bytes
// changed, cut, repeated), always the same ones. CTest runs it over the seed
// and regression corpora, so the ordinary sanitized build catches a target
// that crashes or leaks on them without a clang fuzzing build.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "fuzz_support.h"

namespace {

namespace fs = std::filesystem;

std::vector<uint8_t> ReadFile(const fs::path& path)
{
    std::ifstream stream(path, std::ios::binary);
    return std::vector<uint8_t>(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
}

struct XorShift {
    uint32_t state;
    uint32_t Next()
    {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
};

std::vector<uint8_t> Mutate(const std::vector<uint8_t>& seed, XorShift& random)
{
    std::vector<uint8_t> variant = seed;
    switch (random.Next() % 4) {
    case 0:  // change a few bytes
        for (uint32_t i = 0, n = 1 + random.Next() % 4; i < n && !variant.empty(); ++i)
            variant[random.Next() % variant.size()] = static_cast<uint8_t>(random.Next());
        break;
    case 1:  // cut
        variant.resize(variant.empty() ? 0 : random.Next() % variant.size());
        break;
    case 2: {  // repeat a span in place
        if (variant.empty())
            break;
        size_t from = random.Next() % variant.size();
        size_t length = std::min<size_t>(1 + random.Next() % 64, variant.size() - from);
        std::vector<uint8_t> span(variant.begin() + from, variant.begin() + from + length);
        variant.insert(variant.begin() + from, span.begin(), span.end());
        break;
    }
    default:  // drop a span
        if (variant.empty())
            break;
        size_t from = random.Next() % variant.size();
        size_t length = std::min<size_t>(1 + random.Next() % 16, variant.size() - from);
        variant.erase(variant.begin() + from, variant.begin() + from + length);
        break;
    }
    return variant;
}

void Run(const std::vector<uint8_t>& input)
{
    // A fresh block so that reads past the end are the sanitizer's to see.
    std::unique_ptr<uint8_t[]> copy(new uint8_t[input.size() ? input.size() : 1]);
    std::copy(input.begin(), input.end(), copy.get());
    LLVMFuzzerTestOneInput(copy.get(), input.size());
}

}  // namespace

int main(int argc, char** argv)
{
    long mutations = 0;
    std::vector<fs::path> files;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--mutations") == 0 && i + 1 < argc) {
            mutations = std::strtol(argv[++i], nullptr, 10);
            continue;
        }
        fs::path path(argv[i]);
        std::error_code error;
        if (fs::is_directory(path, error)) {
            for (const auto& entry : fs::recursive_directory_iterator(path)) {
                if (entry.is_regular_file())
                    files.push_back(entry.path());
            }
        } else if (fs::is_regular_file(path, error)) {
            files.push_back(path);
        } else {
            std::fprintf(stderr, "no such file or folder: %s\n", argv[i]);
            return 2;
        }
    }
    // Sorted, so that a run is the same on every machine.
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "usage: %s [--mutations N] FILE|FOLDER...\n", argv[0]);
        return 2;
    }
    long runs = 0;
    for (const fs::path& file : files) {
        std::fprintf(stderr, "running %s\n", file.c_str());
        std::vector<uint8_t> seed = ReadFile(file);
        Run(seed);
        ++runs;
        XorShift random{static_cast<uint32_t>(2463534242u ^ seed.size())};
        for (long i = 0; i < mutations; ++i, ++runs)
            Run(Mutate(seed, random));
    }
    std::fprintf(stderr, "%ld inputs from %zu files, no fault\n", runs, files.size());
    return 0;
}
