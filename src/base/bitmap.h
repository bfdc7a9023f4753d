// Services on the public KvBitmap record: describing, allocating in tracked
// memory, converting between depths and colour orders, and reaching rows in
// top-to-bottom order whatever the stored row order. The pixel layouts are
// told in kvsvg/kvbase.h. Decoding and encoding files is the codecs' work.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvbase.h"

// Clears the record and describes a bitmap without pixels: top-left, 96 dpi,
// a grey ramp of 2, 16 or 256 entries for depths of 1, 4 and 8.
// ERROR_RECORD_SIZE unless size is kKvBitmapSize; ERROR_INV_PARAMETER for a
// depth or order we do not know, or a negative side. The record is left as
// it was on failure.
int32_t InitBitmap(KvBitmap& bitmap, uint32_t size, int32_t width, int32_t height, uint32_t bitsPerPixel,
                   uint32_t order);
// Zero-filled pixels. ERROR_INV_PARAMETER when already allocated, not
// initialised or with a side of 0; ERROR_NO_MEMORY past KV_BITMAP_MAX_PIXELS
// or when the allocation fails.
int32_t AllocateBitmap(KvBitmap& bitmap);
// Frees the pixels of an allocated bitmap; the description stays.
void FreeBitmap(KvBitmap& bitmap);

bool IsValidBitsPerPixel(uint32_t bitsPerPixel);
// Row stride for a width and depth, a multiple of four bytes; 0 when it
// would not fit in 32 bits.
uint32_t BytesPerLineFor(int32_t width, uint32_t bitsPerPixel);
// 16-bit grey, or 8 bits and below with the full grey ramp for palette.
bool IsGreyBitmap(const KvBitmap& bitmap);
void SetGreyPalette(KvBitmap& bitmap);  // the full ramp for the bitmap's depth

// See K_BitmapConvert in kvbase.h. ERROR_INV_PARAMETER for an unallocated
// source or an unknown depth or order. On failure target is untouched.
int32_t ConvertBitmap(KvBitmap& target, const KvBitmap& source, uint32_t bitsPerPixel, uint32_t order);

// The start of image row `row` counted from the top, honouring
// KV_BOTTOM_LEFT; null when unallocated or out of range. Other perspectives
// are stored as given, row 0 first.
uint8_t* BitmapRow(KvBitmap& bitmap, int32_t row);
const uint8_t* BitmapRow(const KvBitmap& bitmap, int32_t row);
// Copies image row `row` (from the top) into buffer, at most `bytes` of it
// and never more than bytesPerLine. ERROR_INV_PARAMETER for a null buffer,
// an unallocated bitmap or a row out of range.
int32_t GetBitmapRow(const KvBitmap& bitmap, uint8_t* buffer, int32_t row, uint32_t bytes);

// Brackets direct work on the pixels. Access needs an allocated bitmap;
// a release without an access is ERROR_INV_PARAMETER.
int32_t AccessBitmap(KvBitmap& bitmap);
int32_t ReleaseBitmap(KvBitmap& bitmap);

// The resolution given to a loaded image that states none; 96 unless set.
// Process-wide. Returned as set: callers take a value below 1 as 96.
int32_t GetDefaultLoadXResolution();
int32_t GetDefaultLoadYResolution();
void SetDefaultLoadResolution(int32_t xDpi, int32_t yDpi);

// Frees a bitmap's pixels on every way out unless Release() hands them on:
// the one owner of a bitmap under construction.
class BitmapPixelsOwner {
public:
    explicit BitmapPixelsOwner(KvBitmap& bitmap) : bitmap_(bitmap) {}
    ~BitmapPixelsOwner()
    {
        if (owned_)
            FreeBitmap(bitmap_);
    }
    BitmapPixelsOwner(const BitmapPixelsOwner&) = delete;
    BitmapPixelsOwner& operator=(const BitmapPixelsOwner&) = delete;
    void Release() { owned_ = false; }

private:
    KvBitmap& bitmap_;
    bool owned_ = true;
};

// One pixel with 16 bits a channel, straight alpha: the common ground of
// every conversion.
struct Pixel16 {
    uint16_t red, green, blue, alpha;
};
// Reads `count` pixels of image row `row` from column 0 into out.
void ReadPixels(const KvBitmap& bitmap, int32_t row, Pixel16* out, int32_t count);
