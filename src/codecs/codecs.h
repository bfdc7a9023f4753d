// Loads PNG, JPEG and GIF images into the base bitmap record, found by their
// first bytes, at a chosen depth; saves a bitmap as PNG into tracked memory.
// Knows nothing of SVG: callers pick depth, colour order and what a failed
// load means to them.
//
// Statuses of every load:
//   ERROR_INV_PARAMETER  null data, unknown depth or colour order
//   ERROR_FILE_OPEN      the file cannot be opened
//   ERROR_FILE_FORMAT    not a PNG, JPEG or GIF, or data that breaks the format
//   ERROR_FILE_READ      the data ends before the image does (a cut file),
//                        or is far too short for the size its header states
//                        (see kvlimits, refused before anything is allocated)
//   ERROR_NO_MEMORY      memory ran out, or the image has more pixels than
//                        KV_BITMAP_MAX_PIXELS (refused before decoding)
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvbase.h"

// Format numbers of the image family.
constexpr int32_t kImageFormatUnknown = 0;
constexpr int32_t kImageFormatGif = 2;
constexpr int32_t kImageFormatJpeg = 10;
constexpr int32_t kImageFormatPng = 75;

int32_t DetectImageFormat(const void* data, size_t size);

// bitsPerPixel 0 keeps the file's own depth:
//   PNG  palette and grey of 1, 4 or 8 bits as they are (2 bits as 8);
//        16-bit grey as 16-bit grey; other 8-bit kinds 24 bits, or 32 with
//        alpha or a transparent colour; 16-bit colour or grey with alpha 64
//   JPEG grey 8 bits, colour (also CMYK) 24 bits
//   GIF  8 bits with its palette, 32 when a colour is transparent
// The first frame of an animation is the picture. The result is top-left,
// allocated in tracked memory, at the file's resolution or else the default
// load resolution. On failure `bitmap` is left as it was; on success it is
// overwritten, so a record that held pixels must be freed first.
int32_t CodecLoadMemory(const void* data, size_t size, KvBitmap& bitmap, uint32_t bitsPerPixel, uint32_t order);
int32_t CodecLoadFile(const char* pathUtf8, KvBitmap& bitmap, uint32_t bitsPerPixel, uint32_t order);
// The same for a zero-terminated UTF-16 path, as the boundary gives it.
int32_t CodecLoadFileWide(const char16_t* path, KvBitmap& bitmap, uint32_t bitsPerPixel, uint32_t order);

// Encodes as PNG at bitsPerPixel (0: the bitmap's own), converting first
// when the depth differs. *block is tracked memory for K_SvgFreeMemory.
// ERROR_INV_PARAMETER for a bitmap without usable pixels or an unknown depth.
int32_t CodecSavePngMemory(const KvBitmap& bitmap, uint32_t bitsPerPixel, void** block, size_t* size);
// The family's general form: only kImageFormatPng is written, anything else
// is ERROR_NOT_SUPPORTED. PNG is lossless, so quality is not used.
int32_t CodecSaveMemory(const KvBitmap& bitmap, int32_t format, uint32_t bitsPerPixel, int32_t quality,
                        void** block, size_t* size);
