#include "codecs/codecs.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "base/bitmap.h"
#include "base/tracked_memory.h"
#include "common/test_files.h"
#include "test_images.h"

using codectest::MakeGif;
using codectest::MakeJpeg;
using codectest::MakePatternBitmap;
using codectest::OwnedBitmap;
using codectest::PixelBytes;
using Bytes = std::vector<uint8_t>;

namespace {

// A PNG in a tracked block, given back on every path.
struct SavedPng {
    void* block = nullptr;
    size_t size = 0;
    ~SavedPng() { KV_FREE(block); }
    std::string bytes() const { return std::string(static_cast<const char*>(block), size); }
};

void ExpectSamePicture(const KvBitmap& actual, const KvBitmap& expected)
{
    ASSERT_EQ(actual.width, expected.width);
    ASSERT_EQ(actual.height, expected.height);
    ASSERT_EQ(actual.bitsPerPixel, expected.bitsPerPixel);
    for (int32_t y = 0; y < expected.height; ++y) {
        SCOPED_TRACE(testing::Message() << "row " << y);
        ASSERT_EQ(PixelBytes(actual, y), PixelBytes(expected, y));
    }
    if (expected.bitsPerPixel <= 8) {
        ASSERT_EQ(actual.paletteCount, expected.paletteCount);
        EXPECT_EQ(std::memcmp(actual.palette, expected.palette, expected.paletteCount * sizeof(KvPaletteEntry)), 0);
    }
}

}  // namespace

TEST(Codecs, DetectsFormatsByTheirFirstBytes)
{
    const struct { std::string bytes; int32_t format; } cases[] = {
        {"\x89PNG\r\n\x1A\n", kImageFormatPng},
        {"\x89PNG\r\n\r\x05", kImageFormatPng},
        {"\xFF\xD8\xFF\xE0", kImageFormatJpeg},
        {"GIF89a", kImageFormatGif},
        {"GIF", kImageFormatGif},
        {"\x89PN", kImageFormatUnknown},
        {"\xFF\xD8", kImageFormatUnknown},
        {"<svg/>", kImageFormatUnknown},
        {"", kImageFormatUnknown},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        EXPECT_EQ(DetectImageFormat(c.bytes.data(), c.bytes.size()), c.format);
    }
}

TEST(Codecs, PngRoundTripsEveryDepth)
{
    const struct { const char* name; uint32_t bits, order; bool grey16; uint32_t nativeBits; } cases[] = {
        {"1-bit palette", 1, KV_ORDER_BGR, false, 1},
        {"4-bit palette", 4, KV_ORDER_BGR, false, 4},
        {"8-bit palette", 8, KV_ORDER_BGR, false, 8},
        {"16-bit grey", 16, KV_ORDER_BGR, true, 16},
        {"16-bit 5-6-5", 16, KV_ORDER_BGR, false, 24},
        {"16-bit 5-6-5 RGB", 16, KV_ORDER_RGB, false, 24},
        {"24 BGR", 24, KV_ORDER_BGR, false, 24},
        {"24 RGB", 24, KV_ORDER_RGB, false, 24},
        {"32 BGR", 32, KV_ORDER_BGR, false, 32},
        {"32 RGB", 32, KV_ORDER_RGB, false, 32},
        {"64 BGR", 64, KV_ORDER_BGR, false, 64},
        {"64 RGB", 64, KV_ORDER_RGB, false, 64},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        OwnedBitmap original;
        MakePatternBitmap(original.bitmap, 13, 5, c.bits, c.order, c.grey16);
        original.bitmap.xResolution = 300;
        original.bitmap.yResolution = 150;
        SavedPng png;
        ASSERT_EQ(CodecSavePngMemory(original.bitmap, 0, &png.block, &png.size), SUCCESS);

        OwnedBitmap sameDepth;
        ASSERT_EQ(CodecLoadMemory(png.block, png.size, sameDepth.bitmap, c.bits, c.order), SUCCESS);
        ExpectSamePicture(sameDepth.bitmap, original.bitmap);
        EXPECT_EQ(IsGreyBitmap(sameDepth.bitmap), c.grey16);
        EXPECT_EQ(sameDepth.bitmap.xResolution, 300);
        EXPECT_EQ(sameDepth.bitmap.yResolution, 150);
        EXPECT_EQ(sameDepth.bitmap.viewPerspective, KV_TOP_LEFT);

        OwnedBitmap native;
        ASSERT_EQ(CodecLoadMemory(png.block, png.size, native.bitmap, 0, c.order), SUCCESS);
        EXPECT_EQ(native.bitmap.bitsPerPixel, c.nativeBits);
    }
}

TEST(Codecs, PngSavesAtAnotherDepthAndKeepsGreyRampsGrey)
{
    // Three pixels, blue-green-red: a colour, mid grey, white.
    OwnedBitmap colour;
    ASSERT_EQ(InitBitmap(colour.bitmap, kKvBitmapSize, 3, 1, 24, KV_ORDER_BGR), SUCCESS);
    ASSERT_EQ(AllocateBitmap(colour.bitmap), SUCCESS);
    std::memcpy(BitmapRow(colour.bitmap, 0), "\x10\x20\x30\x80\x80\x80\xFF\xFF\xFF", 9);

    const struct { uint32_t saveBits; uint32_t loadBits; Bytes pixels; } cases[] = {
        {32, 0, {0x10, 0x20, 0x30, 0xFF, 0x80, 0x80, 0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
        {64, 0, {0x10, 0x10, 0x20, 0x20, 0x30, 0x30, 0xFF, 0xFF, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0xFF, 0xFF,
                 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
        // Three colours fit a 4-bit palette exactly.
        {4, 0, {0x01, 0x20}},
        {8, 24, {0x10, 0x20, 0x30, 0x80, 0x80, 0x80, 0xFF, 0xFF, 0xFF}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "saved at " << c.saveBits);
        SavedPng png;
        ASSERT_EQ(CodecSavePngMemory(colour.bitmap, c.saveBits, &png.block, &png.size), SUCCESS);
        OwnedBitmap loaded;
        ASSERT_EQ(CodecLoadMemory(png.block, png.size, loaded.bitmap, c.loadBits, KV_ORDER_BGR), SUCCESS);
        EXPECT_EQ(PixelBytes(loaded.bitmap, 0), c.pixels);
    }

    // A bitmap with the grey ramp for palette goes out as a grey PNG and
    // comes back with the same ramp.
    OwnedBitmap grey;
    ASSERT_EQ(InitBitmap(grey.bitmap, kKvBitmapSize, 4, 1, 8, KV_ORDER_BGR), SUCCESS);
    ASSERT_EQ(AllocateBitmap(grey.bitmap), SUCCESS);
    std::memcpy(BitmapRow(grey.bitmap, 0), "\x00\x40\x80\xFF", 4);
    SavedPng png;
    ASSERT_EQ(CodecSavePngMemory(grey.bitmap, 0, &png.block, &png.size), SUCCESS);
    EXPECT_EQ(png.bytes()[25], 0);  // IHDR colour type 0: grey
    OwnedBitmap back;
    ASSERT_EQ(CodecLoadMemory(png.block, png.size, back.bitmap, 0, KV_ORDER_BGR), SUCCESS);
    EXPECT_TRUE(IsGreyBitmap(back.bitmap));
    EXPECT_EQ(PixelBytes(back.bitmap, 0), (Bytes{0x00, 0x40, 0x80, 0xFF}));
}

TEST(Codecs, PngWritesTheTopRowFirstWhateverTheStoredOrder)
{
    OwnedBitmap bottomUp;
    ASSERT_EQ(InitBitmap(bottomUp.bitmap, kKvBitmapSize, 1, 2, 24, KV_ORDER_RGB), SUCCESS);
    ASSERT_EQ(AllocateBitmap(bottomUp.bitmap), SUCCESS);
    std::memcpy(bottomUp.bitmap.data, "\x01\x02\x03\x00", 4);                             // stored first
    std::memcpy(bottomUp.bitmap.data + bottomUp.bitmap.bytesPerLine, "\x0A\x0B\x0C", 3);  // stored second
    bottomUp.bitmap.viewPerspective = KV_BOTTOM_LEFT;
    SavedPng png;
    ASSERT_EQ(CodecSavePngMemory(bottomUp.bitmap, 0, &png.block, &png.size), SUCCESS);
    OwnedBitmap loaded;
    ASSERT_EQ(CodecLoadMemory(png.block, png.size, loaded.bitmap, 0, KV_ORDER_RGB), SUCCESS);
    EXPECT_EQ(loaded.bitmap.viewPerspective, KV_TOP_LEFT);
    EXPECT_EQ(PixelBytes(loaded.bitmap, 0), (Bytes{0x0A, 0x0B, 0x0C}));
    EXPECT_EQ(PixelBytes(loaded.bitmap, 1), (Bytes{0x01, 0x02, 0x03}));
}

TEST(Codecs, JpegLoadsColourAndGreyAtTheirDepths)
{
    const struct { const char* name; bool grey; uint32_t nativeBits; Bytes bandCentres; } cases[] = {
        // Pixels 3, 11, 19, 27 of the first row: red, green, blue, white.
        {"colour", false, 24, {0, 0, 255, 0, 255, 0, 255, 0, 0, 255, 255, 255}},
        {"grey", true, 8, {0, 85, 170, 255}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string jpeg = MakeJpeg(32, 16, c.grey);
        OwnedBitmap native;
        ASSERT_EQ(CodecLoadMemory(jpeg.data(), jpeg.size(), native.bitmap, 0, KV_ORDER_BGR), SUCCESS);
        EXPECT_EQ(native.bitmap.bitsPerPixel, c.nativeBits);
        EXPECT_EQ(native.bitmap.width, 32);
        EXPECT_EQ(native.bitmap.height, 16);
        EXPECT_EQ(native.bitmap.xResolution, 72);
        EXPECT_EQ(IsGreyBitmap(native.bitmap), c.grey);
        Bytes row = PixelBytes(native.bitmap, 0);
        size_t channels = c.nativeBits / 8;
        for (size_t band = 0; band < 4; ++band) {
            for (size_t k = 0; k < channels; ++k) {
                SCOPED_TRACE(testing::Message() << "band " << band << " channel " << k);
                EXPECT_NEAR(row[(band * 8 + 3) * channels + k], c.bandCentres[band * channels + k], 6);
            }
        }

        // The same picture at every other depth, through the conversion.
        for (uint32_t bits : {1u, 4u, 8u, 16u, 24u, 32u, 64u}) {
            SCOPED_TRACE(bits);
            OwnedBitmap converted;
            ASSERT_EQ(CodecLoadMemory(jpeg.data(), jpeg.size(), converted.bitmap, bits, KV_ORDER_RGB), SUCCESS);
            EXPECT_EQ(converted.bitmap.bitsPerPixel, bits);
            EXPECT_EQ(converted.bitmap.order, KV_ORDER_RGB);
        }
    }
}

TEST(Codecs, GifLoadsItsPaletteOrItsTransparency)
{
    const struct { const char* name; int transparent; bool interlaced; uint32_t nativeBits; Bytes rows[2]; } cases[] = {
        // Index (x + 2y) % 4 over black, red, green, blue.
        {"plain", -1, false, 8, {{0, 1, 2, 3, 0}, {2, 3, 0, 1, 2}}},
        {"interlaced", -1, true, 8, {{0, 1, 2, 3, 0}, {2, 3, 0, 1, 2}}},
        // Red becomes clear; the rest opaque, red-green-blue order.
        {"transparent red", 1, false, 32,
         {{0, 0, 0, 255, 0, 0, 0, 0, 0, 255, 0, 255, 0, 0, 255, 255, 0, 0, 0, 255},
          {0, 255, 0, 255, 0, 0, 255, 255, 0, 0, 0, 255, 0, 0, 0, 0, 0, 255, 0, 255}}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        std::string gif = MakeGif(5, 11, c.transparent, c.interlaced);
        OwnedBitmap native;
        ASSERT_EQ(CodecLoadMemory(gif.data(), gif.size(), native.bitmap, 0, KV_ORDER_RGB), SUCCESS);
        EXPECT_EQ(native.bitmap.bitsPerPixel, c.nativeBits);
        EXPECT_EQ(native.bitmap.height, 11);
        EXPECT_EQ(PixelBytes(native.bitmap, 0), c.rows[0]);
        EXPECT_EQ(PixelBytes(native.bitmap, 9), c.rows[1]);  // row 9 is sent in the last pass
        if (c.nativeBits == 8) {
            ASSERT_EQ(native.bitmap.paletteCount, 4u);
            EXPECT_EQ(native.bitmap.palette[1].red, 255);
            EXPECT_EQ(native.bitmap.palette[3].blue, 255);
        }
        EXPECT_EQ(native.bitmap.xResolution, 96);
    }

    // A GIF saved again as an 8-bit PNG and loaded keeps indices and palette.
    std::string gif = MakeGif(6, 3, -1, false);
    OwnedBitmap fromGif;
    ASSERT_EQ(CodecLoadMemory(gif.data(), gif.size(), fromGif.bitmap, 0, KV_ORDER_BGR), SUCCESS);
    SavedPng png;
    ASSERT_EQ(CodecSavePngMemory(fromGif.bitmap, 8, &png.block, &png.size), SUCCESS);
    OwnedBitmap back;
    ASSERT_EQ(CodecLoadMemory(png.block, png.size, back.bitmap, 8, KV_ORDER_BGR), SUCCESS);
    ExpectSamePicture(back.bitmap, fromGif.bitmap);
}

TEST(Codecs, LoadsFilesAndReportsMissingOnes)
{
    std::string gif = MakeGif(4, 4, -1, false);
    std::string path = kvtest::ScratchPath("picture.gif");
    ASSERT_TRUE(kvtest::WriteFileBytes(path, gif));
    OwnedBitmap loaded;
    EXPECT_EQ(CodecLoadFile(path.c_str(), loaded.bitmap, 24, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(loaded.bitmap.bitsPerPixel, 24u);

    std::string empty = kvtest::ScratchPath("empty.png");
    ASSERT_TRUE(kvtest::WriteFileBytes(empty, ""));
    const struct { const char* name; const char* path; int32_t status; } cases[] = {
        {"missing", "/nonexistent/folder/picture.png", ERROR_FILE_OPEN},
        {"empty", empty.c_str(), ERROR_FILE_FORMAT},
        {"null", nullptr, ERROR_INV_PARAMETER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KvBitmap untouched{};
        untouched.width = 77;
        EXPECT_EQ(CodecLoadFile(c.path, untouched, 0, KV_ORDER_BGR), c.status);
        EXPECT_EQ(untouched.width, 77);
        EXPECT_EQ(untouched.data, nullptr);
    }
}

TEST(Codecs, RefusesBadArgumentsBeforeWork)
{
    std::string gif = MakeGif(2, 2, -1, false);
    KvBitmap bitmap{};
    const struct { const char* name; const void* data; uint32_t bits, order; int32_t status; } loads[] = {
        {"null data", nullptr, 0, KV_ORDER_BGR, ERROR_INV_PARAMETER},
        {"depth 12", gif.data(), 12, KV_ORDER_BGR, ERROR_INV_PARAMETER},
        {"order 3", gif.data(), 0, 3, ERROR_INV_PARAMETER},
        {"not an image", "<svg xmlns='http://www.w3.org/2000/svg'/>", 0, KV_ORDER_BGR, ERROR_FILE_FORMAT},
    };
    for (const auto& c : loads) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(CodecLoadMemory(c.data, gif.size(), bitmap, c.bits, c.order), c.status);
        EXPECT_EQ(bitmap.data, nullptr);
    }

    OwnedBitmap picture;
    MakePatternBitmap(picture.bitmap, 2, 2, 24, KV_ORDER_BGR);
    KvBitmap unallocated{};
    InitBitmap(unallocated, kKvBitmapSize, 2, 2, 24, KV_ORDER_BGR);
    void* block = reinterpret_cast<void*>(1);
    size_t size = 1;
    EXPECT_EQ(CodecSavePngMemory(unallocated, 0, &block, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(block, nullptr);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(CodecSavePngMemory(picture.bitmap, 2, &block, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(CodecSavePngMemory(picture.bitmap, 0, nullptr, &size), ERROR_INV_PARAMETER);
    EXPECT_EQ(CodecSaveMemory(picture.bitmap, kImageFormatJpeg, 24, 75, &block, &size), ERROR_NOT_SUPPORTED);
    EXPECT_EQ(CodecSaveMemory(picture.bitmap, kImageFormatPng, 24, 75, nullptr, &size), ERROR_INV_PARAMETER);
    SavedPng png;
    EXPECT_EQ(CodecSaveMemory(picture.bitmap, kImageFormatPng, 24, 75, &png.block, &png.size), SUCCESS);
}

TEST(Codecs, UsesTheDefaultLoadResolutionWhenTheFileGivesNone)
{
    std::string gif = MakeGif(2, 2, -1, false);
    const struct { int32_t x, y; int32_t expectedX, expectedY; } cases[] = {
        {96, 96, 96, 96}, {200, 300, 200, 300}, {0, -5, 96, 96},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.x << " x " << c.y);
        SetDefaultLoadResolution(c.x, c.y);
        OwnedBitmap loaded;
        ASSERT_EQ(CodecLoadMemory(gif.data(), gif.size(), loaded.bitmap, 0, KV_ORDER_BGR), SUCCESS);
        EXPECT_EQ(loaded.bitmap.xResolution, c.expectedX);
        EXPECT_EQ(loaded.bitmap.yResolution, c.expectedY);
    }
    SetDefaultLoadResolution(96, 96);
}
