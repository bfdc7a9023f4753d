// Cut, damaged and oversized images: each gives a status, none a crash or a
// leak. Run under the sanitizers, these are the codecs' safety net.
#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <zlib.h>

#include "base/bitmap.h"
#include "base/tracked_memory.h"
#include "codecs/codecs.h"
#include "test_images.h"

using codectest::MakeGif;
using codectest::MakeJpeg;
using codectest::MakePatternBitmap;
using codectest::OwnedBitmap;

namespace {

std::string MakePng(uint32_t bitsPerPixel)
{
    OwnedBitmap picture;
    MakePatternBitmap(picture.bitmap, 9, 7, bitsPerPixel, KV_ORDER_BGR, bitsPerPixel == 16);
    void* block = nullptr;
    size_t size = 0;
    if (CodecSavePngMemory(picture.bitmap, 0, &block, &size) != SUCCESS)
        return {};
    std::string bytes(static_cast<const char*>(block), size);
    KV_FREE(block);
    return bytes;
}

int32_t Load(const std::string& bytes, size_t length)
{
    OwnedBitmap bitmap;
    return CodecLoadMemory(bytes.data(), length, bitmap.bitmap, 0, KV_ORDER_BGR);
}

void PutBigEndian32(std::string& bytes, size_t offset, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        bytes[offset + i] = static_cast<char>(value >> (24 - 8 * i));
}

// Rewrites the IHDR size of a PNG and mends its checksum, so that only the
// size is wrong.
std::string PngClaimingSize(uint32_t width, uint32_t height)
{
    std::string png = MakePng(24);
    PutBigEndian32(png, 16, width);
    PutBigEndian32(png, 20, height);
    uLong crc = crc32(0, reinterpret_cast<const Bytef*>(png.data() + 12), 17);
    PutBigEndian32(png, 29, static_cast<uint32_t>(crc));
    return png;
}

}  // namespace

TEST(HostileImages, EveryCutOfEveryFormatGivesAStatus)
{
    const struct { const char* name; std::string bytes; size_t signatureLength; } images[] = {
        {"png palette", MakePng(4), 6},
        {"png grey 16", MakePng(16), 6},
        {"png rgba 64", MakePng(64), 6},
        {"jpeg colour", MakeJpeg(24, 16, false), 3},
        {"jpeg grey", MakeJpeg(16, 8, true), 3},
        {"gif", MakeGif(7, 9, -1, false), 3},
        {"gif interlaced transparent", MakeGif(7, 9, 2, true), 3},
    };
    for (const auto& image : images) {
        SCOPED_TRACE(image.name);
        ASSERT_GT(image.bytes.size(), 20u);
        ASSERT_EQ(Load(image.bytes, image.bytes.size()), SUCCESS);
        for (size_t length = 0; length < image.bytes.size(); ++length) {
            SCOPED_TRACE(testing::Message() << "cut at " << length << " of " << image.bytes.size());
            int32_t status = Load(image.bytes, length);
            if (length < image.signatureLength) {
                EXPECT_EQ(status, ERROR_FILE_FORMAT);
            } else if (image.name[0] == 'g' && length == image.bytes.size() - 1) {
                // Only the trailer byte is missing: the picture is whole.
                EXPECT_EQ(status, SUCCESS);
            } else {
                EXPECT_EQ(status, ERROR_FILE_READ);
            }
        }
    }
}

TEST(HostileImages, DamagedBytesGiveAStatusNeverACrash)
{
    const struct { const char* name; std::string bytes; size_t skip; } images[] = {
        {"png", MakePng(8), 8},
        {"png 64", MakePng(64), 8},
        {"jpeg", MakeJpeg(24, 16, false), 3},
        {"gif", MakeGif(7, 9, 1, true), 3},
    };
    uint32_t random = 12345;
    auto next = [&random] {
        random ^= random << 13;
        random ^= random >> 17;
        random ^= random << 5;
        return random;
    };
    for (const auto& image : images) {
        SCOPED_TRACE(image.name);
        int failures = 0;
        for (int trial = 0; trial < 400; ++trial) {
            std::string damaged = image.bytes;
            int changes = 1 + next() % 4;
            for (int i = 0; i < changes; ++i) {
                size_t at = image.skip + next() % (damaged.size() - image.skip);
                damaged[at] = static_cast<char>(next());
            }
            int32_t status = Load(damaged, damaged.size());
            EXPECT_TRUE(status == SUCCESS || status == ERROR_FILE_FORMAT || status == ERROR_FILE_READ ||
                        status == ERROR_NO_MEMORY)
                << "status " << status << " at trial " << trial;
            failures += status != SUCCESS;
        }
        // Checksums and markers catch most damage; the count only shows that
        // the refusals were reached at all.
        EXPECT_GT(failures, 0);
    }

    // A PNG whose header checksum no longer matches is a format error.
    std::string png = MakePng(24);
    png[17] ^= 0x01;
    EXPECT_EQ(Load(png, png.size()), ERROR_FILE_FORMAT);
}

TEST(HostileImages, RefusesPicturesOverThePixelLimitBeforeAllocating)
{
    std::string gif = MakeGif(4, 4, -1, false);
    std::string hugeGif = gif;
    hugeGif[6] = hugeGif[7] = hugeGif[8] = hugeGif[9] = '\xFF';  // 65535 x 65535 screen

    // A 1 x 1 screen with a 65535 x 65535 frame: the image descriptor
    // follows the 13-byte screen and the 12-byte colour map.
    std::string hugeFrame = gif;
    hugeFrame[6] = hugeFrame[8] = '\x01';
    hugeFrame[7] = hugeFrame[9] = '\x00';
    ASSERT_EQ(hugeFrame[25], ',');
    hugeFrame[30] = hugeFrame[31] = hugeFrame[32] = hugeFrame[33] = '\xFF';

    std::string jpeg = MakeJpeg(16, 8, false);
    std::string hugeJpeg = jpeg;
    // The baseline frame header: FF C0, length, precision, then height and width.
    size_t frame = hugeJpeg.find("\xFF\xC0", 0, 2);
    ASSERT_NE(frame, std::string::npos);
    hugeJpeg[frame + 5] = hugeJpeg[frame + 7] = '\xFF';
    hugeJpeg[frame + 6] = hugeJpeg[frame + 8] = '\x00';  // 65280 x 65280

    const struct { const char* name; std::string bytes; int32_t status; } cases[] = {
        {"png 20000 x 20000", PngClaimingSize(20000, 20000), ERROR_NO_MEMORY},
        {"png 2^31 - 1 wide", PngClaimingSize(0x7FFFFFFF, 1), ERROR_NO_MEMORY},
        {"png 16384 x 16385", PngClaimingSize(16384, 16385), ERROR_NO_MEMORY},
        {"png of zero width", PngClaimingSize(0, 5), ERROR_FILE_FORMAT},
        {"gif 65535 x 65535", hugeGif, ERROR_NO_MEMORY},
        {"gif frame 65535 x 65535 on a 1 x 1 screen", hugeFrame, ERROR_NO_MEMORY},
        {"jpeg 65280 x 65280", hugeJpeg, ERROR_NO_MEMORY},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        size_t before = TrackedLiveBytes();
        EXPECT_EQ(Load(c.bytes, c.bytes.size()), c.status);
        EXPECT_EQ(TrackedLiveBytes(), before);
    }
}

TEST(HostileImages, FailedAllocationsGiveNoMemoryAndLeaveNothing)
{
    const struct { const char* name; std::string bytes; uint32_t bits; } images[] = {
        {"png to 8 bits", MakePng(24), 8},
        {"jpeg to 16 bits", MakeJpeg(16, 8, false), 16},
        {"gif to 32 bits", MakeGif(5, 5, -1, true), 32},
    };
    for (const auto& image : images) {
        SCOPED_TRACE(image.name);
        bool succeeded = false;
        for (long failAfter = 0; failAfter < 20 && !succeeded; ++failAfter) {
            SCOPED_TRACE(failAfter);
            OwnedBitmap bitmap;
            TrackedFailAllocationAfter(failAfter);
            int32_t status = CodecLoadMemory(image.bytes.data(), image.bytes.size(), bitmap.bitmap, image.bits,
                                             KV_ORDER_BGR);
            TrackedFailAllocationAfter(-1);
            succeeded = status == SUCCESS;
            if (!succeeded) {
                EXPECT_EQ(status, ERROR_NO_MEMORY);
                EXPECT_EQ(bitmap.bitmap.data, nullptr);
            }
        }
        EXPECT_TRUE(succeeded);
    }

    OwnedBitmap picture;
    MakePatternBitmap(picture.bitmap, 40, 30, 32, KV_ORDER_BGR);
    bool saved = false;
    for (long failAfter = 0; failAfter < 20 && !saved; ++failAfter) {
        SCOPED_TRACE(failAfter);
        void* block = nullptr;
        size_t size = 0;
        TrackedFailAllocationAfter(failAfter);
        int32_t status = CodecSavePngMemory(picture.bitmap, 4, &block, &size);
        TrackedFailAllocationAfter(-1);
        saved = status == SUCCESS;
        if (saved)
            KV_FREE(block);
        else
            EXPECT_EQ(status, ERROR_NO_MEMORY);
    }
    EXPECT_TRUE(saved);
}

namespace {

std::string EncodeBlankPng(int32_t width, int32_t height, uint32_t bitsPerPixel)
{
    OwnedBitmap blank;
    if (InitBitmap(blank.bitmap, kKvBitmapSize, width, height, bitsPerPixel, KV_ORDER_BGR) != SUCCESS ||
        AllocateBitmap(blank.bitmap) != SUCCESS)
        return {};
    void* block = nullptr;
    size_t size = 0;
    if (CodecSavePngMemory(blank.bitmap, 0, &block, &size) != SUCCESS)
        return {};
    std::string bytes(static_cast<const char*>(block), size);
    KV_FREE(block);
    return bytes;
}

void PutLittleEndian16(std::string& bytes, size_t offset, uint16_t value)
{
    bytes[offset] = static_cast<char>(value & 0xFF);
    bytes[offset + 1] = static_cast<char>(value >> 8);
}

}  // namespace

// A header may state any size within the pixel limit, but decoding must cost
// what the file holds: a few dozen bytes that claim hundreds of megapixels
// are refused before a bitmap is made for them.
TEST(HostileImages, RefusesSizesFarBeyondWhatTheDataHolds)
{
    // The held-out finding: a 2051 x 62451 logical screen around a 1 x 2
    // frame, which used to fill 128 Mpixels for a file of under 80 bytes.
    std::string tallScreen = MakeGif(1, 2, -1, false);
    PutLittleEndian16(tallScreen, 6, 2051);
    PutLittleEndian16(tallScreen, 8, 62451);
    std::string tallScreenTransparent = MakeGif(1, 2, 0, false);
    PutLittleEndian16(tallScreenTransparent, 6, 2051);
    PutLittleEndian16(tallScreenTransparent, 8, 62451);

    // A 1 x 1 screen whose frame claims 8000 x 8000.
    std::string bigFrame = MakeGif(4, 4, -1, false);
    PutLittleEndian16(bigFrame, 6, 1);
    PutLittleEndian16(bigFrame, 8, 1);
    ASSERT_EQ(bigFrame[25], ',');
    PutLittleEndian16(bigFrame, 30, 8000);
    PutLittleEndian16(bigFrame, 32, 8000);

    std::string jpeg = MakeJpeg(16, 8, false);
    size_t frame = jpeg.find("\xFF\xC0", 0, 2);
    ASSERT_NE(frame, std::string::npos);
    std::string bigJpeg = jpeg;
    bigJpeg[frame + 5] = bigJpeg[frame + 7] = '\x3E';
    bigJpeg[frame + 6] = bigJpeg[frame + 8] = '\x80';  // 16000 x 16000

    const struct { const char* name; std::string bytes; } cases[] = {
        {"gif screen 2051 x 62451 around 1 x 2", tallScreen},
        {"the same with a transparent colour (32 bits)", tallScreenTransparent},
        {"gif frame 8000 x 8000", bigFrame},
        {"png 16000 x 16000 in one row of data", PngClaimingSize(16000, 16000)},
        {"png 100000 x 2000", PngClaimingSize(100000, 2000)},
        {"jpeg 16000 x 16000", bigJpeg},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        ASSERT_LT(c.bytes.size(), 1000u);
        size_t before = TrackedLiveBytes();
        EXPECT_EQ(Load(c.bytes, c.bytes.size()), ERROR_FILE_READ);
        EXPECT_EQ(TrackedLiveBytes(), before);
    }
}

// The check must never refuse a real picture: blank ones compress best, and
// they load at the sizes their headers state.
TEST(HostileImages, BlankPicturesThatCompressWellStillLoad)
{
    const struct { const char* name; int32_t width, height; uint32_t bits; } blanks[] = {
        {"1 bit", 4000, 3000, 1},
        {"8 bits", 3000, 2000, 8},
        {"24 bits", 2000, 2000, 24},
        {"32 bits", 1500, 1500, 32},
    };
    for (const auto& blank : blanks) {
        SCOPED_TRACE(blank.name);
        std::string png = EncodeBlankPng(blank.width, blank.height, blank.bits);
        ASSERT_FALSE(png.empty());
        OwnedBitmap loaded;
        ASSERT_EQ(CodecLoadMemory(png.data(), png.size(), loaded.bitmap, 0, KV_ORDER_BGR), SUCCESS);
        EXPECT_EQ(loaded.bitmap.width, blank.width);
        EXPECT_EQ(loaded.bitmap.height, blank.height);
    }
    // A wide GIF screen is fine while the data could cover it.
    std::string gif = MakeGif(64, 64, -1, false);
    PutLittleEndian16(gif, 6, 200);
    PutLittleEndian16(gif, 8, 100);
    OwnedBitmap loaded;
    ASSERT_EQ(CodecLoadMemory(gif.data(), gif.size(), loaded.bitmap, 0, KV_ORDER_BGR), SUCCESS);
    EXPECT_EQ(loaded.bitmap.width, 200);
    EXPECT_EQ(loaded.bitmap.height, 100);
}
