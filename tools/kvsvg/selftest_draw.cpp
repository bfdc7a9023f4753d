// `kvsvg selftest-draw OUT`: draws the fixed test scene for a person to look
// at. OUT.png goes through the bitmap engine; OUT.svg and OUT.svgz through
// the recording engine, so the recorded drawing opens in any viewer.
#include "commands.h"

#include <cstdio>
#include <string_view>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "selftest_scene.h"
#include "tool_support.h"

namespace {

constexpr const char* kUsage = "selftest-draw OUT.png|OUT.svg|OUT.svgz";

struct BitmapOwner {
    KvBitmap bitmap{};
    ~BitmapOwner() { K_BitmapFree(&bitmap); }
};

bool WriteFile(const char* path, const void* bytes, size_t size)
{
    FILE* file = std::fopen(path, "wb");
    bool written = file && std::fwrite(bytes, 1, size, file) == size;
    if (file)
        written = (std::fclose(file) == 0) && written;
    if (!written)
        std::fprintf(stderr, "kvsvg: cannot write %s\n", path);
    return written;
}

int DrawToPng(const char* path)
{
    BitmapOwner canvas;
    if (int32_t status = K_BitmapInit(&canvas.bitmap, kKvBitmapSize, kSelftestSceneWidth, kSelftestSceneHeight, 32,
                                      KV_ORDER_BGR);
        status != SUCCESS)
        return Fail("K_BitmapInit", status);
    if (int32_t status = K_BitmapAllocate(&canvas.bitmap); status != SUCCESS)
        return Fail("K_BitmapAllocate", status);
    void* handle = nullptr;
    if (int32_t status = K_DrawingCreateBitmapEngine(&canvas.bitmap, &handle); status != SUCCESS)
        return Fail("K_DrawingCreateBitmapEngine", status);
    const bool drawn = DrawSelftestScene(*static_cast<kvdrw::Engine*>(handle));
    K_DrawingDestroyEngine(handle);
    if (!drawn)
        return 1;
    void* png = nullptr;
    size_t pngSize = 0;
    if (int32_t status = K_BitmapSavePng(&canvas.bitmap, 24, &png, &pngSize); status != SUCCESS)
        return Fail("K_BitmapSavePng", status);
    const bool written = WriteFile(path, png, pngSize);
    K_SvgFreeMemory(png);
    return written ? 0 : 1;
}

int DrawToSvg(const char* path, bool compressed)
{
    SvgFileOptions options{};
    options.size = kSvgFileOptionsSize;
    options.width = kSelftestSceneWidth;
    options.height = kSelftestSceneHeight;
    options.dpiX = options.dpiY = -1.0;
    void* handle = nullptr;
    Owned document;
    if (int32_t status = K_Draw_ToSvg(&handle, &document.handle, &options); status != SUCCESS)
        return Fail("K_Draw_ToSvg", status);
    const bool drawn = DrawSelftestScene(*static_cast<kvdrw::Engine*>(handle));
    // The engine lets go of the document first.
    if (int32_t status = K_Draw_DestroySvgEngine(handle); status != SUCCESS)
        return Fail("K_Draw_DestroySvgEngine", status);
    if (!drawn)
        return 1;
    SvgSaveOptions save{};
    save.size = kSvgSaveOptionsSize;
    save.formatted = 1;
    save.indent[0] = u'\t';
    save.compressed = compressed ? 1 : 0;
    void* block = nullptr;
    size_t size = 0;
    if (int32_t status = K_SvgSaveDocumentMemory(document.handle, &block, &size, &save); status != SUCCESS)
        return Fail("K_SvgSaveDocumentMemory", status);
    const bool written = WriteFile(path, block, size);
    K_SvgFreeMemory(block);
    return written ? 0 : 1;
}

}  // namespace

int RunSelftestDraw(int argc, char** argv)
{
    if (argc < 1 || !argv[0])
        return UsageError(kUsage);
    const std::string_view out = argv[0];
    if (EndsWith(out, ".svgz"))
        return DrawToSvg(argv[0], true);
    if (EndsWith(out, ".svg"))
        return DrawToSvg(argv[0], false);
    return DrawToPng(argv[0]);
}
