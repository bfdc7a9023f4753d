// The three decoders and the PNG encoder behind codecs.h, one per library.
// Each decoder fills `bitmap` at the file's own depth, in `order` where the
// depth has one, and returns the statuses told in codecs.h. Each keeps its
// library's handles in one small owner and runs the library's long jumps in
// a frame that holds nothing to destroy.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvbase.h"

int32_t DecodePng(const uint8_t* data, size_t size, uint32_t order, KvBitmap& bitmap);
int32_t DecodeJpeg(const uint8_t* data, size_t size, uint32_t order, KvBitmap& bitmap);
int32_t DecodeGif(const uint8_t* data, size_t size, uint32_t order, KvBitmap& bitmap);

// Writes a bitmap whose depth PNG stores as it is (1, 4, 8, 16 grey, 24, 32,
// 64) into tracked memory.
int32_t EncodePng(const KvBitmap& bitmap, void** block, size_t* size);

// A resolution to give a loaded image whose file states none.
int32_t DefaultLoadResolution(bool horizontal);
// Pixel count check shared by the decoders, before anything is allocated.
bool IsWithinPixelLimit(uint64_t width, uint64_t height);
// Whether `size` bytes can describe width x height pixels at the given
// number of pixels a byte (a codec's most compact encoding), so that a
// header promising far more than its data holds is refused before anything
// is allocated. A small allowance covers pictures of a few pixels.
bool CanDataHoldPixels(uint64_t width, uint64_t height, size_t size, uint64_t pixelsPerByte);
