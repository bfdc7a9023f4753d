// `kvsvg render`, `kvsvg render-batch` and `kvsvg bounds`: the road of one
// file from the command line. Load (the standard-syntax rewrite unless
// --strict), flatten unless the file is flat already, measure, size a bitmap
// from the bounds and the options keeping the aspect ratio, draw, save PNG.
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>
#include <unistd.h>

#include "commands.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"
#include "tool_support.h"

namespace {

struct RenderSettings {
    double width = 0.0;   // 0: from the bounds
    double height = 0.0;
    double zoom = 1.0;
    bool background = false;
    uint32_t backColor = 0xFFFFFF;  // 0x00BBGGRR
    double dpi = 0.0;
    bool strict = false;
    // Image files outside the document's folder are opened too.
    bool allowAnyFile = false;
};

// A failure as a short reason for batch lines: what failed and the status name.
struct Failure {
    std::string what;
    int32_t status = SUCCESS;
};

bool ParseNumber(const char* text, double& value)
{
    char* end = nullptr;
    value = std::strtod(text, &end);
    return end != text && *end == '\0' && std::isfinite(value);
}

// #rgb, #rrggbb, or a few names; "none" turns the background off.
bool ParseColor(std::string_view text, RenderSettings& settings)
{
    if (text == "none") {
        settings.background = false;
        return true;
    }
    uint32_t rgb = 0;
    if (text == "white") {
        rgb = 0xFFFFFF;
    } else if (text == "black") {
        rgb = 0;
    } else if (!text.empty() && text[0] == '#' && (text.size() == 7 || text.size() == 4)) {
        std::string digits(text.substr(1));
        if (digits.size() == 3)
            digits = {digits[0], digits[0], digits[1], digits[1], digits[2], digits[2]};
        char* end = nullptr;
        rgb = static_cast<uint32_t>(std::strtoul(digits.c_str(), &end, 16));
        if (*end != '\0')
            return false;
    } else {
        return false;
    }
    settings.background = true;
    // The options take 0x00BBGGRR.
    settings.backColor = ((rgb & 0xFF) << 16) | (rgb & 0xFF00) | ((rgb >> 16) & 0xFF);
    return true;
}

// Loads a file and gives its flat form: the document itself when it is flat.
int32_t LoadFlat(const char* path, const RenderSettings& settings, Owned& flat, Failure& failure)
{
    Owned document;
    SvgLoadOptions load = ToolLoadOptions(settings.strict);
    if (int32_t status = K_SvgLoadDocument(Wide(path).c_str(), &document.handle, &load); status != SUCCESS) {
        failure = {"load", status};
        return status;
    }
    int32_t isFlat = 0;
    K_SvgIsFlatDocument(document.handle, &isFlat);
    if (isFlat) {
        flat.handle = document.handle;
        document.handle = nullptr;
        return SUCCESS;
    }
    K_SvgFlatOptions options{kSvgFlatOptionsSize, settings.width, settings.height, 0};
    ToolImagePolicy(document.handle, path, settings.allowAnyFile, options);
    // Patterns become tiles clipped to their shapes, which every engine draws.
    if (!settings.strict)
        options.uFlags |= SVG_FLAT_EXPAND_PATTERNS;
    if (int32_t status = K_SvgFlatDocument(document.handle, &flat.handle, &options); status != SUCCESS) {
        failure = {"flatten", status};
        return status;
    }
    K_SvgIsFlatDocument(flat.handle, &isFlat);
    if (!isFlat) {
        failure = {"flatten", ERROR_NO_SVG_ROOT};
        return ERROR_NO_SVG_ROOT;
    }
    return SUCCESS;
}

int32_t RenderFile(const char* in, const char* out, const RenderSettings& settings, Failure& failure)
{
    Owned flat;
    if (int32_t status = LoadFlat(in, settings, flat, failure); status != SUCCESS)
        return status;
    if (int32_t status = K_SvgCalculateBounds(flat.handle, 0); status != SUCCESS) {
        failure = {"bounds", status};
        return status;
    }
    SvgBounds bounds{};
    if (int32_t status = K_SvgGetBounds(flat.handle, &bounds, kSvgBoundsSize); status != SUCCESS) {
        failure = {"bounds", status};
        return status;
    }
    if (!bounds.hasBounds || !(bounds.width > 0.0) || !(bounds.height > 0.0)) {
        failure = {"bounds (the drawing covers nothing)", FAILURE};
        return FAILURE;
    }
    // The bitmap keeps the drawing's aspect ratio: a width alone or a height
    // alone decides the scale, both stretch to exactly that size.
    double scaleX = settings.zoom, scaleY = settings.zoom;
    if (settings.dpi > 0.0)
        scaleX = scaleY = settings.zoom * settings.dpi / 96.0;
    if (settings.width > 0.0 && settings.height > 0.0) {
        scaleX = settings.width / bounds.width;
        scaleY = settings.height / bounds.height;
    } else if (settings.width > 0.0) {
        scaleX = scaleY = settings.width / bounds.width;
    } else if (settings.height > 0.0) {
        scaleX = scaleY = settings.height / bounds.height;
    }
    const double pixelsWide = std::ceil(bounds.width * scaleX - 1e-6);
    const double pixelsHigh = std::ceil(bounds.height * scaleY - 1e-6);
    if (!(pixelsWide >= 1.0 && pixelsHigh >= 1.0 && pixelsWide <= 65535.0 && pixelsHigh <= 65535.0)) {
        failure = {"size (the bitmap would be empty or larger than 65535 pixels a side)", ERROR_INV_PARAMETER};
        return ERROR_INV_PARAMETER;
    }
    KvBitmap bitmap;
    K_BitmapInit(&bitmap, kKvBitmapSize, static_cast<int32_t>(pixelsWide), static_cast<int32_t>(pixelsHigh), 32,
                 KV_ORDER_BGR);
    if (int32_t status = K_BitmapAllocate(&bitmap); status != SUCCESS) {
        failure = {"allocate bitmap", status};
        return status;
    }
    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    options.flags = settings.background ? 1 : 0;
    options.backColor = settings.backColor;
    options.bounds = KvRectangle{bounds.x, bounds.y, bounds.width, bounds.height};
    options.transform = KvMatrix{scaleX, 0.0, 0.0, scaleY, -bounds.x * scaleX, -bounds.y * scaleY, 0};
    // Gradients in full unless the library's own contract was asked for.
    options.renderFlags = settings.strict ? 0 : SVG_RENDER_FULL_PAINT;
    int32_t status = K_SvgRasterizeDocument(&bitmap, flat.handle, &options);
    if (status != SUCCESS) {
        failure = {"rasterise", status};
        K_BitmapFree(&bitmap);
        return status;
    }
    void* png = nullptr;
    size_t pngSize = 0;
    status = K_BitmapSavePng(&bitmap, 32, &png, &pngSize);
    K_BitmapFree(&bitmap);
    if (status != SUCCESS) {
        failure = {"encode PNG", status};
        return status;
    }
    std::ofstream file(out, std::ios::binary);
    file.write(static_cast<const char*>(png), static_cast<std::streamsize>(pngSize));
    file.close();
    K_SvgFreeMemory(png);
    if (!file) {
        failure = {"write " + std::string(out), ERROR_FILE_WRITE};
        return ERROR_FILE_WRITE;
    }
    return SUCCESS;
}

// Options shared by render and render-batch; false for a usage error.
bool ParseRenderOption(int argc, char** argv, int& i, RenderSettings& settings)
{
    std::string_view arg = argv[i];
    const bool hasValue = i + 1 < argc;
    if (arg == "--allow-any-file") {
        settings.allowAnyFile = true;
        return true;
    }
    if (arg == "--strict") {
        settings.strict = true;
        return true;
    }
    if (!hasValue)
        return false;
    const char* value = argv[++i];
    if (arg == "--width")
        return ParseNumber(value, settings.width) && settings.width > 0.0;
    if (arg == "--height")
        return ParseNumber(value, settings.height) && settings.height > 0.0;
    if (arg == "--zoom")
        return ParseNumber(value, settings.zoom) && settings.zoom > 0.0;
    if (arg == "--dpi")
        return ParseNumber(value, settings.dpi) && settings.dpi > 0.0;
    if (arg == "--background")
        return ParseColor(value, settings);
    return false;
}

constexpr const char* kRenderUsage =
    "render IN OUT.png [--width W] [--height H] [--zoom Z] [--background COLOR|none] [--dpi N] [--strict] [--allow-any-file]";
constexpr const char* kBatchUsage =
    "render-batch LIST [--width W] [--height H] [--zoom Z] [--background COLOR|none] [--dpi N] [--strict] [--allow-any-file]";

}  // namespace

int RunRender(int argc, char** argv)
{
    RenderSettings settings;
    std::vector<const char*> files;
    for (int i = 0; i < argc; ++i) {
        if (argv[i][0] == '-' && argv[i][1] == '-') {
            if (!ParseRenderOption(argc, argv, i, settings))
                return UsageError(kRenderUsage);
        } else {
            files.push_back(argv[i]);
        }
    }
    if (files.size() != 2)
        return UsageError(kRenderUsage);
    Failure failure;
    if (RenderFile(files[0], files[1], settings, failure) != SUCCESS)
        return Fail(failure.what.c_str(), failure.status);
    return 0;
}

int RunRenderBatch(int argc, char** argv)
{
    RenderSettings settings;
    const char* list = nullptr;
    for (int i = 0; i < argc; ++i) {
        if (argv[i][0] == '-' && argv[i][1] == '-') {
            if (!ParseRenderOption(argc, argv, i, settings))
                return UsageError(kBatchUsage);
        } else if (!list) {
            list = argv[i];
        } else {
            return UsageError(kBatchUsage);
        }
    }
    if (!list)
        return UsageError(kBatchUsage);
    std::ifstream input(list);
    if (!input) {
        std::fprintf(stderr, "kvsvg: cannot open the list %s\n", list);
        return 1;
    }
    std::vector<std::pair<std::string, std::string>> jobs;
    for (std::string line; std::getline(input, line);) {
        if (!line.empty() && line.back() == '\r')
            line.pop_back();
        const size_t tab = line.find('\t');
        if (line.empty() || tab == std::string::npos)
            continue;
        jobs.emplace_back(line.substr(0, tab), line.substr(tab + 1));
    }
    const bool progress = isatty(STDERR_FILENO);
    size_t failed = 0;
    for (size_t index = 0; index < jobs.size(); ++index) {
        const auto& [in, out] = jobs[index];
        const auto start = std::chrono::steady_clock::now();
        Failure failure;
        if (RenderFile(in.c_str(), out.c_str(), settings, failure) == SUCCESS) {
            const double ms =
                std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
            std::printf("ok\t%s\t%.1f\n", out.c_str(), ms);
        } else {
            ++failed;
            std::printf("fail\t%s\t%s: %s\n", out.c_str(), failure.what.c_str(), StatusName(failure.status));
        }
        std::fflush(stdout);
        if (progress)
            std::fprintf(stderr, "\r%zu/%zu done, %zu failed", index + 1, jobs.size(), failed);
    }
    if (progress)
        std::fprintf(stderr, "\n");
    return failed ? 1 : 0;
}

int RunBounds(int argc, char** argv)
{
    RenderSettings settings;
    std::vector<const char*> args;
    for (int i = 0; i < argc; ++i) {
        if (std::string_view(argv[i]) == "--strict")
            settings.strict = true;
        else
            args.push_back(argv[i]);
    }
    if (args.empty() || args.size() > 2)
        return UsageError("bounds FILE [XPATH] [--strict]");
    Owned flat;
    Failure failure;
    if (LoadFlat(args[0], settings, flat, failure) != SUCCESS)
        return Fail(failure.what.c_str(), failure.status);
    if (args.size() == 1) {
        if (int32_t status = K_SvgCalculateBounds(flat.handle, 1); status != SUCCESS)
            return Fail("bounds", status);
        SvgBounds bounds{};
        if (int32_t status = K_SvgGetBounds(flat.handle, &bounds, kSvgBoundsSize); status != SUCCESS)
            return Fail("bounds", status);
        std::printf("%g %g %g %g\n", bounds.x, bounds.y, bounds.width, bounds.height);
        return 0;
    }
    // The query runs on the flat form, where every shape has its final geometry.
    SvgNodesIterator matches{kSvgNodesIteratorSize, 0, nullptr};
    if (int32_t status = K_SvgSelectNodes(flat.handle, Wide(args[1]).c_str(), &matches); status != SUCCESS)
        return Fail("select", status);
    for (int32_t i = 0; i < matches.count; ++i) {
        if (!matches.nodes[i])
            continue;
        KvRectangle box{};
        KvChar* name = nullptr;
        K_SvgGetElementName(matches.nodes[i], &name);
        const int32_t status = K_SvgGetElementBounds(matches.nodes[i], &box);
        if (status == SUCCESS)
            std::printf("%s %g %g %g %g\n", Narrow(name).c_str(), box.x, box.y, box.width, box.height);
        else
            std::printf("%s failed: %s\n", Narrow(name).c_str(), StatusName(status));
        K_SvgFreeMemory(name);
    }
    K_SvgFreeIterator(&matches);
    return 0;
}
