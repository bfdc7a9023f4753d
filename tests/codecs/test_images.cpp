#include "test_images.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <gif_lib.h>
#include <jpeglib.h>

#include "base/bitmap.h"

namespace codectest {

OwnedBitmap::~OwnedBitmap() { FreeBitmap(bitmap); }

void MakePatternBitmap(KvBitmap& bitmap, int32_t width, int32_t height, uint32_t bitsPerPixel, uint32_t order,
                       bool grey16)
{
    InitBitmap(bitmap, kKvBitmapSize, width, height, bitsPerPixel, order);
    if (grey16)
        bitmap.flags |= KV_BITMAP_GREY;
    if (bitsPerPixel <= 8) {
        bitmap.paletteCount = 1u << bitsPerPixel;
        for (uint32_t i = 0; i < bitmap.paletteCount; ++i)
            bitmap.palette[i] = KvPaletteEntry{static_cast<uint8_t>(i), static_cast<uint8_t>(255 - i),
                                               static_cast<uint8_t>(i * 7 + 1), 0};
    }
    AllocateBitmap(bitmap);
    size_t used = (static_cast<size_t>(width) * bitsPerPixel + 7) / 8;
    for (int32_t y = 0; y < height; ++y) {
        uint8_t* row = BitmapRow(bitmap, y);
        for (size_t i = 0; i < used; ++i)
            row[i] = static_cast<uint8_t>(i * 37 + y * 101 + 11);
    }
}

std::vector<uint8_t> PixelBytes(const KvBitmap& bitmap, int32_t row)
{
    const uint8_t* bytes = BitmapRow(bitmap, row);
    if (!bytes)
        return {};
    size_t bits = static_cast<size_t>(bitmap.width) * bitmap.bitsPerPixel;
    std::vector<uint8_t> pixels(bytes, bytes + (bits + 7) / 8);
    // Bits past the last pixel of a 1- or 4-bit row belong to no pixel.
    if (bits % 8)
        pixels.back() &= static_cast<uint8_t>(0xFF << (8 - bits % 8));
    return pixels;
}

std::string MakeJpeg(int width, int height, bool grey)
{
    static const uint8_t kBands[4][3] = {{255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {255, 255, 255}};
    static const uint8_t kLevels[4] = {0, 85, 170, 255};
    jpeg_compress_struct info;
    jpeg_error_mgr errors;
    info.err = jpeg_std_error(&errors);
    jpeg_create_compress(&info);
    unsigned char* buffer = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&info, &buffer, &size);
    info.image_width = static_cast<JDIMENSION>(width);
    info.image_height = static_cast<JDIMENSION>(height);
    info.input_components = grey ? 1 : 3;
    info.in_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&info);
    jpeg_set_quality(&info, 100, TRUE);
    info.density_unit = 1;
    info.X_density = 72;
    info.Y_density = 72;
    jpeg_start_compress(&info, TRUE);
    std::vector<uint8_t> row(static_cast<size_t>(width) * 3);
    while (info.next_scanline < info.image_height) {
        for (int x = 0; x < width; ++x) {
            int band = (x / 8) % 4;
            if (grey) {
                row[x] = kLevels[band];
            } else {
                std::memcpy(&row[x * 3], kBands[band], 3);
            }
        }
        JSAMPROW rows[1] = {row.data()};
        jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    std::string bytes(reinterpret_cast<const char*>(buffer), size);
    std::free(buffer);
    return bytes;
}

namespace {

int AppendToString(GifFileType* gif, const GifByteType* bytes, int count)
{
    static_cast<std::string*>(gif->UserData)->append(reinterpret_cast<const char*>(bytes), count);
    return count;
}

}  // namespace

std::string MakeGif(int width, int height, int transparentIndex, bool interlaced)
{
    std::string bytes;
    int error = 0;
    GifFileType* gif = EGifOpen(&bytes, AppendToString, &error);
    GifColorType colours[4] = {{0, 0, 0}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}};
    ColorMapObject* map = GifMakeMapObject(4, colours);
    EGifSetGifVersion(gif, true);
    EGifPutScreenDesc(gif, width, height, 2, 0, map);
    if (transparentIndex >= 0) {
        GraphicsControlBlock control{};
        control.TransparentColor = transparentIndex;
        GifByteType block[4];
        size_t length = EGifGCBToExtension(&control, block);
        EGifPutExtension(gif, GRAPHICS_EXT_FUNC_CODE, static_cast<int>(length), block);
    }
    EGifPutImageDesc(gif, 0, 0, width, height, interlaced, nullptr);
    std::vector<GifPixelType> line(static_cast<size_t>(width));
    auto putRow = [&](int y) {
        for (int x = 0; x < width; ++x)
            line[x] = static_cast<GifPixelType>((x + 2 * y) % 4);
        EGifPutLine(gif, line.data(), width);
    };
    if (interlaced) {
        const int starts[4] = {0, 4, 2, 1}, steps[4] = {8, 8, 4, 2};
        for (int pass = 0; pass < 4; ++pass)
            for (int y = starts[pass]; y < height; y += steps[pass])
                putRow(y);
    } else {
        for (int y = 0; y < height; ++y)
            putRow(y);
    }
    EGifCloseFile(gif, &error);
    GifFreeMapObject(map);
    return bytes;
}

}  // namespace codectest
