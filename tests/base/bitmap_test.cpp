#include "base/bitmap.h"

#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "base/tracked_memory.h"

namespace {

// Frees the pixels of a test's bitmap on every path.
struct ScopedBitmap {
    KvBitmap bitmap{};
    ~ScopedBitmap() { FreeBitmap(bitmap); }
};

void MakeBitmap(KvBitmap& bitmap, int32_t width, int32_t height, uint32_t bitsPerPixel, uint32_t order,
                const std::vector<std::vector<uint8_t>>& rows)
{
    ASSERT_EQ(InitBitmap(bitmap, kKvBitmapSize, width, height, bitsPerPixel, order), SUCCESS);
    ASSERT_EQ(AllocateBitmap(bitmap), SUCCESS);
    for (int32_t y = 0; y < height; ++y)
        std::memcpy(BitmapRow(bitmap, y), rows[y].data(), rows[y].size());
}

std::vector<uint8_t> RowBytes(const KvBitmap& bitmap, int32_t row)
{
    const uint8_t* bytes = BitmapRow(bitmap, row);
    if (!bytes)
        return {};
    // The bytes that hold pixels, without the padding to four.
    size_t used = (static_cast<size_t>(bitmap.width) * bitmap.bitsPerPixel + 7) / 8;
    return std::vector<uint8_t>(bytes, bytes + used);
}

std::vector<uint8_t> PaletteRgb(const KvBitmap& bitmap)
{
    std::vector<uint8_t> rgb;
    for (uint32_t i = 0; i < bitmap.paletteCount; ++i)
        rgb.insert(rgb.end(), {bitmap.palette[i].red, bitmap.palette[i].green, bitmap.palette[i].blue});
    return rgb;
}

using Bytes = std::vector<uint8_t>;

}  // namespace

TEST(Bitmap, InitDescribesTheLayout)
{
    const struct { int32_t width; uint32_t bits; uint32_t stride; uint32_t paletteCount; } cases[] = {
        {33, 1, 8, 2},   {3, 4, 4, 16},  {5, 8, 8, 256},  {3, 16, 8, 0},
        {3, 24, 12, 0},  {3, 32, 12, 0}, {3, 64, 24, 0},  {0, 24, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.width << " px at " << c.bits);
        KvBitmap bitmap;
        ASSERT_EQ(InitBitmap(bitmap, kKvBitmapSize, c.width, 2, c.bits, KV_ORDER_RGB), SUCCESS);
        EXPECT_EQ(bitmap.size, kKvBitmapSize);
        EXPECT_EQ(bitmap.flags, 0u);
        EXPECT_EQ(bitmap.bytesPerLine, c.stride);
        EXPECT_EQ(bitmap.paletteCount, c.paletteCount);
        EXPECT_EQ(bitmap.order, KV_ORDER_RGB);
        EXPECT_EQ(bitmap.viewPerspective, KV_TOP_LEFT);
        EXPECT_EQ(bitmap.xResolution, 96);
        EXPECT_EQ(bitmap.yResolution, 96);
        EXPECT_EQ(bitmap.data, nullptr);
        EXPECT_EQ(IsGreyBitmap(bitmap), c.bits <= 8);
    }
}

TEST(Bitmap, InitRefusesBadDescriptionsAndLeavesTheRecord)
{
    const struct { const char* name; uint32_t size; int32_t width, height; uint32_t bits, order; int32_t status; } cases[] = {
        {"record size", kKvBitmapSize - 1, 1, 1, 24, KV_ORDER_BGR, ERROR_RECORD_SIZE},
        {"size before depth", 0, 1, 1, 2, KV_ORDER_BGR, ERROR_RECORD_SIZE},
        {"depth 2", kKvBitmapSize, 1, 1, 2, KV_ORDER_BGR, ERROR_INV_PARAMETER},
        {"depth 0", kKvBitmapSize, 1, 1, 0, KV_ORDER_BGR, ERROR_INV_PARAMETER},
        {"order", kKvBitmapSize, 1, 1, 24, 2, ERROR_INV_PARAMETER},
        {"negative width", kKvBitmapSize, -1, 1, 24, KV_ORDER_BGR, ERROR_INV_PARAMETER},
        {"negative height", kKvBitmapSize, 1, -1, 24, KV_ORDER_BGR, ERROR_INV_PARAMETER},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        KvBitmap bitmap;
        std::memset(&bitmap, 0xAB, sizeof(bitmap));
        EXPECT_EQ(InitBitmap(bitmap, c.size, c.width, c.height, c.bits, c.order), c.status);
        EXPECT_EQ(bitmap.width, static_cast<int32_t>(0xABABABAB));
    }
}

TEST(Bitmap, AllocatesZeroedPixelsOnceAndWithinTheLimit)
{
    ScopedBitmap owned;
    KvBitmap& bitmap = owned.bitmap;
    ASSERT_EQ(InitBitmap(bitmap, kKvBitmapSize, 3, 2, 24, KV_ORDER_BGR), SUCCESS);
    ASSERT_EQ(AllocateBitmap(bitmap), SUCCESS);
    EXPECT_EQ(bitmap.flags & KV_BITMAP_ALLOCATED, KV_BITMAP_ALLOCATED);
    EXPECT_EQ(bitmap.dataSize, 24u);
    EXPECT_EQ(RowBytes(bitmap, 1), Bytes(9, 0));
    EXPECT_EQ(AllocateBitmap(bitmap), ERROR_INV_PARAMETER);

    const struct { const char* name; int32_t width, height; uint32_t stride; int32_t status; } refusals[] = {
        {"over the pixel limit", 20000, 20000, 0, ERROR_NO_MEMORY},
        {"just over the limit", 16384, 16385, 0, ERROR_NO_MEMORY},
        {"no width", 0, 5, 0, ERROR_INV_PARAMETER},
        {"stride too narrow", 10, 1, 28, ERROR_INV_PARAMETER},
    };
    for (const auto& c : refusals) {
        SCOPED_TRACE(c.name);
        KvBitmap other;
        ASSERT_EQ(InitBitmap(other, kKvBitmapSize, c.width, c.height, 24, KV_ORDER_BGR), SUCCESS);
        if (c.stride)
            other.bytesPerLine = c.stride;
        EXPECT_EQ(AllocateBitmap(other), c.status);
        EXPECT_EQ(other.data, nullptr);
        EXPECT_EQ(other.flags, 0u);
    }

    KvBitmap starved;
    ASSERT_EQ(InitBitmap(starved, kKvBitmapSize, 4, 4, 32, KV_ORDER_BGR), SUCCESS);
    TrackedFailAllocationAfter(0);
    EXPECT_EQ(AllocateBitmap(starved), ERROR_NO_MEMORY);
    EXPECT_EQ(starved.flags, 0u);

    FreeBitmap(bitmap);
    EXPECT_EQ(bitmap.data, nullptr);
    EXPECT_EQ(bitmap.flags, 0u);
    EXPECT_EQ(bitmap.width, 3);
    FreeBitmap(bitmap);  // twice is harmless
}

TEST(Bitmap, ConvertsTrueColourToEveryDepthWithLiteralPixels)
{
    ScopedBitmap source;
    // Two pixels, blue-green-red in memory: (r 0x30, g 0x20, b 0x10) and (r 0x08, g 0x80, b 0xF0).
    MakeBitmap(source.bitmap, 2, 1, 24, KV_ORDER_BGR, {{0x10, 0x20, 0x30, 0xF0, 0x80, 0x08}});

    const struct { uint32_t bits, order; Bytes pixels; Bytes palette; } cases[] = {
        {24, KV_ORDER_RGB, {0x30, 0x20, 0x10, 0x08, 0x80, 0xF0}, {}},
        {32, KV_ORDER_BGR, {0x10, 0x20, 0x30, 0xFF, 0xF0, 0x80, 0x08, 0xFF}, {}},
        {32, KV_ORDER_RGB, {0x30, 0x20, 0x10, 0xFF, 0x08, 0x80, 0xF0, 0xFF}, {}},
        {64, KV_ORDER_RGB, {0x30, 0x30, 0x20, 0x20, 0x10, 0x10, 0xFF, 0xFF,
                            0x08, 0x08, 0x80, 0x80, 0xF0, 0xF0, 0xFF, 0xFF}, {}},
        // 5-6-5 words 0x3102 and 0x0C1D, blue in the low bits.
        {16, KV_ORDER_BGR, {0x02, 0x31, 0x1D, 0x0C}, {}},
        {16, KV_ORDER_RGB, {0x06, 0x11, 0x01, 0xEC}, {}},
        // Two colours fit every palette exactly, in order of first use.
        {8, KV_ORDER_BGR, {0x00, 0x01}, {0x30, 0x20, 0x10, 0x08, 0x80, 0xF0}},
        {4, KV_ORDER_BGR, {0x01}, {0x30, 0x20, 0x10, 0x08, 0x80, 0xF0}},
        {1, KV_ORDER_BGR, {0x40}, {0x30, 0x20, 0x10, 0x08, 0x80, 0xF0}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.bits << " bits, order " << c.order);
        ScopedBitmap target;
        ASSERT_EQ(ConvertBitmap(target.bitmap, source.bitmap, c.bits, c.order), SUCCESS);
        EXPECT_EQ(target.bitmap.bitsPerPixel, c.bits);
        EXPECT_EQ(target.bitmap.order, c.order);
        EXPECT_EQ(RowBytes(target.bitmap, 0), c.pixels);
        EXPECT_EQ(PaletteRgb(target.bitmap), c.palette);

        // And back to 24 bits loses nothing but what 5-6-5 rounds away.
        ScopedBitmap back;
        ASSERT_EQ(ConvertBitmap(back.bitmap, target.bitmap, 24, KV_ORDER_BGR), SUCCESS);
        if (c.bits != 16)
            EXPECT_EQ(RowBytes(back.bitmap, 0), RowBytes(source.bitmap, 0));
        else
            EXPECT_EQ(RowBytes(back.bitmap, 0), (Bytes{0x10, 0x20, 0x31, 0xEF, 0x82, 0x08}));
    }
}

TEST(Bitmap, FallsBackToFixedPalettesWhenColoursDoNotFit)
{
    // red, white, light grey, pure blue, and a dark teal.
    ScopedBitmap source;
    MakeBitmap(source.bitmap, 5, 1, 24, KV_ORDER_RGB,
               {{255, 0, 0, 255, 255, 255, 200, 200, 200, 0, 0, 255, 0, 100, 110}});

    const struct { uint32_t bits; uint32_t paletteCount; Bytes pixels; } cases[] = {
        // Black and white by luminance: only white and the light grey are light.
        {1, 2, {0x60}},
        // Four colours would fit 16 entries, so this stays exact.
        {4, 5, {0x01, 0x23, 0x40}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bits);
        ScopedBitmap target;
        ASSERT_EQ(ConvertBitmap(target.bitmap, source.bitmap, c.bits, KV_ORDER_BGR), SUCCESS);
        EXPECT_EQ(target.bitmap.paletteCount, c.paletteCount);
        EXPECT_EQ(RowBytes(target.bitmap, 0), c.pixels);
    }

    // 300 colours do not fit 256: the 6x6x6 cube, nearest level per channel.
    ScopedBitmap many;
    ASSERT_EQ(InitBitmap(many.bitmap, kKvBitmapSize, 300, 1, 24, KV_ORDER_RGB), SUCCESS);
    ASSERT_EQ(AllocateBitmap(many.bitmap), SUCCESS);
    uint8_t* row = BitmapRow(many.bitmap, 0);
    for (int x = 0; x < 300; ++x) {
        row[x * 3] = static_cast<uint8_t>(x);
        row[x * 3 + 1] = static_cast<uint8_t>(x / 256);
        row[x * 3 + 2] = 51;
    }
    ScopedBitmap cube;
    ASSERT_EQ(ConvertBitmap(cube.bitmap, many.bitmap, 8, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(cube.bitmap.paletteCount, 216u);
    const uint8_t* indices = BitmapRow(cube.bitmap, 0);
    EXPECT_EQ(indices[0], 1);      // (0, 0, 51)
    EXPECT_EQ(indices[255], 181);  // (255, 0, 51): levels 5, 0, 1
    EXPECT_EQ(indices[299], 37);   // (43, 1, 51): levels 1, 0, 1
    const KvPaletteEntry& entry = cube.bitmap.palette[181];
    EXPECT_EQ(entry.red, 255);
    EXPECT_EQ(entry.green, 0);
    EXPECT_EQ(entry.blue, 51);
}

TEST(Bitmap, PalettesAndGreyLevelsSurviveConversion)
{
    // A 4-bit picture with a three-colour palette widens to 8 bits unchanged.
    ScopedBitmap nibbles;
    MakeBitmap(nibbles.bitmap, 3, 1, 4, KV_ORDER_BGR, {{0x21, 0xF0}});
    nibbles.bitmap.paletteCount = 3;
    nibbles.bitmap.palette[0] = {1, 2, 3, 0};
    nibbles.bitmap.palette[1] = {4, 5, 6, 0};
    nibbles.bitmap.palette[2] = {7, 8, 9, 0};
    ScopedBitmap bytes;
    ASSERT_EQ(ConvertBitmap(bytes.bitmap, nibbles.bitmap, 8, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(RowBytes(bytes.bitmap, 0), (Bytes{0x02, 0x01, 0x0F}));
    EXPECT_EQ(bytes.bitmap.paletteCount, 3u);

    // Index 15 lies past the palette and reads as black.
    ScopedBitmap colour;
    ASSERT_EQ(ConvertBitmap(colour.bitmap, nibbles.bitmap, 24, KV_ORDER_RGB), SUCCESS);
    EXPECT_EQ(RowBytes(colour.bitmap, 0), (Bytes{9, 8, 7, 6, 5, 4, 0, 0, 0}));

    // 16-bit grey stays grey at 16 bits and spreads over three channels at 24.
    ScopedBitmap grey;
    MakeBitmap(grey.bitmap, 2, 1, 16, KV_ORDER_BGR, {{0x00, 0x80, 0xFF, 0xFF}});
    grey.bitmap.flags |= KV_BITMAP_GREY;
    EXPECT_TRUE(IsGreyBitmap(grey.bitmap));
    ScopedBitmap greyCopy;
    ASSERT_EQ(ConvertBitmap(greyCopy.bitmap, grey.bitmap, 16, KV_ORDER_RGB), SUCCESS);
    EXPECT_TRUE(IsGreyBitmap(greyCopy.bitmap));
    EXPECT_EQ(RowBytes(greyCopy.bitmap, 0), (Bytes{0x00, 0x80, 0xFF, 0xFF}));
    ScopedBitmap spread;
    ASSERT_EQ(ConvertBitmap(spread.bitmap, grey.bitmap, 24, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(RowBytes(spread.bitmap, 0), (Bytes{0x80, 0x80, 0x80, 0xFF, 0xFF, 0xFF}));
}

TEST(Bitmap, ConvertsInPlaceAndLeavesTheTargetOnFailure)
{
    ScopedBitmap owned;
    KvBitmap& bitmap = owned.bitmap;
    MakeBitmap(bitmap, 1, 1, 24, KV_ORDER_BGR, {{1, 2, 3}});
    bitmap.xResolution = 300;
    ASSERT_EQ(ConvertBitmap(bitmap, bitmap, 32, KV_ORDER_RGB), SUCCESS);
    EXPECT_EQ(RowBytes(bitmap, 0), (Bytes{3, 2, 1, 255}));
    EXPECT_EQ(bitmap.xResolution, 300);

    // A by-value copy shares the block; converting into it must not free it.
    KvBitmap copy = bitmap;
    ASSERT_EQ(ConvertBitmap(copy, bitmap, 24, KV_ORDER_RGB), SUCCESS);
    EXPECT_NE(copy.data, bitmap.data);
    EXPECT_EQ(RowBytes(bitmap, 0), (Bytes{3, 2, 1, 255}));
    FreeBitmap(copy);

    KvBitmap before = bitmap;
    TrackedFailAllocationAfter(0);
    EXPECT_EQ(ConvertBitmap(bitmap, bitmap, 8, KV_ORDER_BGR), ERROR_NO_MEMORY);
    EXPECT_EQ(std::memcmp(&before, &bitmap, sizeof(bitmap)), 0);

    const struct { const char* name; uint32_t bits, order; void (*spoil)(KvBitmap&); } refusals[] = {
        {"depth", 12, KV_ORDER_BGR, [](KvBitmap&) {}},
        {"order", 24, 7, [](KvBitmap&) {}},
        {"stride shorter than a row", 24, KV_ORDER_BGR, [](KvBitmap& b) { b.bytesPerLine = 2; }},
        {"block shorter than the rows", 24, KV_ORDER_BGR, [](KvBitmap& b) { b.height = 2; }},
        {"not allocated", 24, KV_ORDER_BGR, [](KvBitmap& b) { b.flags = 0; }},
    };
    for (const auto& c : refusals) {
        SCOPED_TRACE(c.name);
        KvBitmap spoilt = bitmap;
        c.spoil(spoilt);
        KvBitmap target{};
        EXPECT_EQ(ConvertBitmap(target, spoilt, c.bits, c.order), ERROR_INV_PARAMETER);
        EXPECT_EQ(target.data, nullptr);
    }
}

TEST(Bitmap, RowsCountFromTheTopWhateverTheStoredOrder)
{
    ScopedBitmap owned;
    KvBitmap& bitmap = owned.bitmap;
    MakeBitmap(bitmap, 1, 3, 8, KV_ORDER_BGR, {{7}, {8}, {9}});
    uint8_t buffer[4] = {};
    ASSERT_EQ(GetBitmapRow(bitmap, buffer, 0, sizeof(buffer)), SUCCESS);
    EXPECT_EQ(buffer[0], 7);

    bitmap.viewPerspective = KV_BOTTOM_LEFT;
    ASSERT_EQ(GetBitmapRow(bitmap, buffer, 0, sizeof(buffer)), SUCCESS);
    EXPECT_EQ(buffer[0], 9);
    ASSERT_EQ(GetBitmapRow(bitmap, buffer, 2, 1), SUCCESS);
    EXPECT_EQ(buffer[0], 7);

    // Conversion keeps the perspective and so the picture.
    ScopedBitmap converted;
    ASSERT_EQ(ConvertBitmap(converted.bitmap, bitmap, 24, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(converted.bitmap.viewPerspective, KV_BOTTOM_LEFT);
    EXPECT_EQ(RowBytes(converted.bitmap, 0), (Bytes{9, 9, 9}));

    EXPECT_EQ(GetBitmapRow(bitmap, buffer, 3, 4), ERROR_INV_PARAMETER);
    EXPECT_EQ(GetBitmapRow(bitmap, buffer, -1, 4), ERROR_INV_PARAMETER);
    EXPECT_EQ(GetBitmapRow(bitmap, nullptr, 0, 4), ERROR_INV_PARAMETER);
}

TEST(Bitmap, AccessAndReleaseNest)
{
    ScopedBitmap owned;
    KvBitmap& bitmap = owned.bitmap;
    ASSERT_EQ(InitBitmap(bitmap, kKvBitmapSize, 2, 2, 8, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(AccessBitmap(bitmap), ERROR_INV_PARAMETER);  // nothing to reach yet
    ASSERT_EQ(AllocateBitmap(bitmap), SUCCESS);
    EXPECT_EQ(AccessBitmap(bitmap), SUCCESS);
    EXPECT_EQ(AccessBitmap(bitmap), SUCCESS);
    EXPECT_EQ(bitmap.accessCount, 2u);
    EXPECT_EQ(ReleaseBitmap(bitmap), SUCCESS);
    EXPECT_EQ(ReleaseBitmap(bitmap), SUCCESS);
    EXPECT_EQ(ReleaseBitmap(bitmap), ERROR_INV_PARAMETER);
}

TEST(Bitmap, DefaultLoadResolutionIsNinetySixUntilSet)
{
    EXPECT_EQ(GetDefaultLoadXResolution(), 96);
    EXPECT_EQ(GetDefaultLoadYResolution(), 96);
    SetDefaultLoadResolution(0, 150);
    EXPECT_EQ(GetDefaultLoadXResolution(), 0);
    EXPECT_EQ(GetDefaultLoadYResolution(), 150);
    SetDefaultLoadResolution(96, 96);
}
