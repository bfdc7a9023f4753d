// Small images made inside the tests: bitmaps with a known pattern, and JPEG
// and GIF files written with the libraries' own encoders, so that no binary
// sample has to be kept in the tree.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kvsvg/kvbase.h"

namespace codectest {

// Owns a test bitmap's pixels.
struct OwnedBitmap {
    KvBitmap bitmap{};
    OwnedBitmap() = default;
    OwnedBitmap(const OwnedBitmap&) = delete;
    OwnedBitmap& operator=(const OwnedBitmap&) = delete;
    ~OwnedBitmap();
};

// A width x height bitmap whose every byte of pixel data follows a fixed
// pattern; depths of 8 and below get a palette of distinct, non-grey colours
// that covers every index, and 16 bits is grey when `grey16` is set.
void MakePatternBitmap(KvBitmap& bitmap, int32_t width, int32_t height, uint32_t bitsPerPixel, uint32_t order,
                       bool grey16 = false);

// The bytes of image row `row` that hold pixels, padding left out and the
// unused low bits of a last partial byte cleared.
std::vector<uint8_t> PixelBytes(const KvBitmap& bitmap, int32_t row);

// A baseline JPEG of vertical colour bands, 8 pixels wide each:
// red (255, 0, 0), green (0, 255, 0), blue (0, 0, 255), white; or, with
// grey, the levels 0, 85, 170, 255. Quality 100, JFIF density 72 dpi.
std::string MakeJpeg(int width, int height, bool grey);

// A GIF whose pixel (x, y) has colour index (x + 2y) % 4, with the colours
// black, red, green, blue. With `transparentIndex` >= 0 it carries a
// graphic control block; `interlaced` sends the rows in four passes.
std::string MakeGif(int width, int height, int transparentIndex, bool interlaced);

}  // namespace codectest
