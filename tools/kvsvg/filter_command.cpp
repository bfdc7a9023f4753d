// `kvsvg filter-load`: drives the codec plug-in entries exactly as a host's
// codec layer does, so that a person can check what a host would get.
// fltInfo with a cache, fltLoad, fltFreeData; the raster road's rows are
// gathered into a bitmap and saved as PNG. With an .svg output the vector
// road runs instead and fltSave writes the object back as the older SVG
// text (this needs the vector library on the loader's path).
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "commands.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"
#include "kvsvg/kvsvg_filter.h"
#include "tool_support.h"

namespace {

constexpr const char* kUsage =
    "filter-load IN OUT.png|OUT.svg [--width W] [--height H] [--bits 8|24|32] [--rgb]";

// The host's picture: rows copied in as they arrive.
struct Gathered {
    KvBitmap* picture;
    int32_t rows = 0;
};

int32_t GatherRow(const KvBitmap* info, const uint8_t* row, uint32_t flags, int32_t rowIndex, int32_t rowCount,
                  void* userData)
{
    auto& gathered = *static_cast<Gathered*>(userData);
    std::memcpy(gathered.picture->data + static_cast<size_t>(rowIndex) * gathered.picture->bytesPerLine, row,
                info->bytesPerLine);
    gathered.rows += rowCount;
    return SUCCESS;
}

bool WriteFile(const char* path, const void* bytes, size_t size)
{
    std::FILE* file = std::fopen(path, "wb");
    if (!file)
        return false;
    const bool written = std::fwrite(bytes, 1, size, file) == size;
    return std::fclose(file) == 0 && written;
}

// Releases whatever fltInfo kept when the command ends.
struct Cache {
    KvFilterCache record{kKvFilterCacheSize, nullptr};
    ~Cache() { fltFreeData(record.filterData, 0); }
};

// fltInfo keeps the object in the cache, where fltSave can write it and
// fltFreeData releases it through the vector library: the tool never holds
// an object it could not give back.
int RunVectorRoad(const std::u16string& input, const std::u16string& output)
{
    Cache cache;
    KvFilterFileInfo info{};
    info.size = kKvFilterFileInfoSize;
    KvFilterInfoRequest infoRequest{};
    infoRequest.size = kKvFilterInfoRequestSize;
    infoRequest.fileName = input.c_str();
    infoRequest.fileHandle = -1;
    infoRequest.info = &info;
    infoRequest.cache = &cache.record;
    infoRequest.vectorRoute = 1;
    if (int32_t status = fltInfo(&infoRequest); status != SUCCESS)
        return Fail("fltInfo (vector road)", status);
    std::printf("info: %d x %d, drawing width %d\n", info.width, info.height, info.vector.width);
    KvFilterSaveRequest save{kKvFilterSaveRequestSize, output.c_str(), -1, 1, cache.record.filterData->vectorObject};
    if (int32_t status = fltSave(&save); status != SUCCESS)
        return Fail("fltSave", status);
    std::printf("save: written by fltSave\n");
    return 0;
}

}  // namespace

int RunFilterLoad(int argc, char** argv)
{
    if (argc < 2)
        return UsageError(kUsage);
    const char* input = argv[0];
    const char* output = argv[1];
    int32_t width = 0, height = 0;
    uint32_t bits = 24, order = KV_ORDER_BGR;
    for (int i = 2; i < argc; ++i) {
        std::string_view option = argv[i];
        const bool hasValue = i + 1 < argc;
        if (option == "--width" && hasValue)
            width = std::atoi(argv[++i]);
        else if (option == "--height" && hasValue)
            height = std::atoi(argv[++i]);
        else if (option == "--bits" && hasValue)
            bits = static_cast<uint32_t>(std::atoi(argv[++i]));
        else if (option == "--rgb")
            order = KV_ORDER_RGB;
        else
            return UsageError(kUsage);
    }
    const std::u16string inputWide = Wide(input);
    if (EndsWith(output, ".svg"))
        return RunVectorRoad(inputWide, Wide(output));

    Cache cache;
    KvFilterFileInfo info{};
    info.size = kKvFilterFileInfoSize;
    KvFilterInfoRequest infoRequest{};
    infoRequest.size = kKvFilterInfoRequestSize;
    infoRequest.fileName = inputWide.c_str();
    infoRequest.fileHandle = -1;
    infoRequest.info = &info;
    infoRequest.cache = &cache.record;
    if (int32_t status = fltInfo(&infoRequest); status != SUCCESS)
        return Fail("fltInfo", status);
    std::printf("info: format %d, %d x %d at %u bits, %d x %d dpi, drawing width %d\n", info.format, info.width,
                info.height, info.bitsPerPixel, info.xResolution, info.yResolution, info.vector.width);

    // A host that keeps the information's size loads at 640 by the height.
    KvBitmap target{};
    if (int32_t status = K_BitmapInit(&target, kKvBitmapSize, width > 0 ? width : info.width,
                                      height > 0 ? height : info.height, bits, order);
        status != SUCCESS)
        return Fail("K_BitmapInit", status);
    KvBitmap picture = target;
    if (int32_t status = K_BitmapAllocate(&picture); status != SUCCESS)
        return Fail("K_BitmapAllocate", status);
    Gathered gathered{&picture};
    KvFilterLoadRequest load{};
    load.size = kKvFilterLoadRequestSize;
    load.fileName = inputWide.c_str();
    load.fileHandle = -1;
    load.bitmap = &target;
    load.callback = GatherRow;
    load.userData = &gathered;
    load.cache = &cache.record;
    int32_t status = fltLoad(&load);
    if (status != SUCCESS) {
        K_BitmapFree(&picture);
        return Fail("fltLoad", status);
    }
    picture.paletteCount = target.paletteCount;
    std::memcpy(picture.palette, target.palette, sizeof picture.palette);
    void* png = nullptr;
    size_t pngSize = 0;
    status = K_BitmapSavePng(&picture, 0, &png, &pngSize);
    K_BitmapFree(&picture);
    if (status != SUCCESS)
        return Fail("K_BitmapSavePng", status);
    const bool written = WriteFile(output, png, pngSize);
    K_SvgFreeMemory(png);
    if (!written) {
        std::fprintf(stderr, "kvsvg: cannot write %s\n", output);
        return 1;
    }
    std::printf("load: %d rows of %d x %d at %u bits\n", gathered.rows, target.width, target.height, bits);
    return 0;
}
