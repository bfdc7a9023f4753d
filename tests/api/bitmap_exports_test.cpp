#include <string>

#include <gtest/gtest.h>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

namespace {

// Owns the pixels of a bitmap record for the length of a test.
struct OwnedBitmap {
    KvBitmap bitmap{};
    ~OwnedBitmap() { K_BitmapFree(&bitmap); }
};

const uint8_t* PixelAt(const KvBitmap& bitmap, int x, int y)
{
    return bitmap.data + static_cast<size_t>(y) * bitmap.bytesPerLine + static_cast<size_t>(x) * bitmap.bitsPerPixel / 8;
}

}  // namespace

TEST(BitmapExports, ChecksComeInTheirOrder)
{
    KvBitmap bitmap{};
    EXPECT_EQ(K_BitmapInit(nullptr, kKvBitmapSize, 4, 4, 24, KV_ORDER_BGR), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_BitmapInit(&bitmap, kKvBitmapSize - 1, 4, 4, 24, KV_ORDER_BGR), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_BitmapLoadMemory(nullptr, 0, &bitmap, kKvBitmapSize - 1, 0, KV_ORDER_BGR), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_BitmapLoadMemory("x", 1, &bitmap, kKvBitmapSize - 1, 0, KV_ORDER_BGR), ERROR_RECORD_SIZE);
    EXPECT_EQ(K_BitmapLoadMemory("not an image", 12, &bitmap, kKvBitmapSize, 0, KV_ORDER_BGR), ERROR_FILE_FORMAT);
    EXPECT_EQ(K_BitmapLoadFile(u"/no/such/picture.png", &bitmap, kKvBitmapSize, 0, KV_ORDER_BGR), ERROR_FILE_OPEN);
    void* engine = reinterpret_cast<void*>(0x1);
    EXPECT_EQ(K_DrawingCreateBitmapEngine(nullptr, &engine), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_DrawingCreateMeasureEngine(nullptr), ERROR_INV_PARAMETER);
    EXPECT_EQ(K_DrawingDestroyEngine(nullptr), SUCCESS);
}

TEST(BitmapExports, DrawSaveAndLoadThroughTheBoundary)
{
    OwnedBitmap target;
    ASSERT_EQ(K_BitmapInit(&target.bitmap, kKvBitmapSize, 8, 6, 24, KV_ORDER_RGB), SUCCESS);
    ASSERT_EQ(K_BitmapAllocate(&target.bitmap), SUCCESS);

    void* handle = nullptr;
    ASSERT_EQ(K_DrawingCreateBitmapEngine(&target.bitmap, &handle), SUCCESS);
    auto* engine = static_cast<kvdrw::Engine*>(handle);
    kvdrw::Color white{255, 255, 255, 255}, red{255, 200, 10, 20};
    kvdrw::SolidBrush* background = nullptr;
    kvdrw::SolidBrush* brush = nullptr;
    ASSERT_EQ(engine->CreateSolidBrush(&background, &white), SUCCESS);
    ASSERT_EQ(engine->CreateSolidBrush(&brush, &red), SUCCESS);
    EXPECT_EQ(engine->DrawRectangle(nullptr, background, 0, 0, 8, 6), SUCCESS);
    EXPECT_EQ(engine->DrawRectangle(nullptr, brush, 2, 1, 3, 2), SUCCESS);
    engine->DeleteObject(background);
    engine->DeleteObject(brush);
    ASSERT_EQ(K_DrawingDestroyEngine(handle), SUCCESS);  // pixels reach the bitmap at the latest here

    EXPECT_EQ(std::string(reinterpret_cast<const char*>(PixelAt(target.bitmap, 2, 1)), 3), "\xC8\x0A\x14");
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(PixelAt(target.bitmap, 5, 1)), 3), "\xFF\xFF\xFF");

    void* png = nullptr;
    size_t pngSize = 0;
    ASSERT_EQ(K_BitmapSavePng(&target.bitmap, 0, &png, &pngSize), SUCCESS);
    EXPECT_EQ(std::string(static_cast<const char*>(png), 4), "\x89PNG");
    OwnedBitmap loaded;
    ASSERT_EQ(K_BitmapLoadMemory(png, pngSize, &loaded.bitmap, kKvBitmapSize, 32, KV_ORDER_BGR), SUCCESS);
    K_SvgFreeMemory(png);
    EXPECT_EQ(loaded.bitmap.width, 8);
    EXPECT_EQ(loaded.bitmap.bitsPerPixel, 32u);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(PixelAt(loaded.bitmap, 3, 2)), 4), "\x14\x0A\xC8\xFF");

    OwnedBitmap grey;
    ASSERT_EQ(K_BitmapConvert(&grey.bitmap, &loaded.bitmap, 8, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(grey.bitmap.bitsPerPixel, 8u);
}
