// Every limit that guards the library against hostile input, in one place,
// each with the reason for its number, so the whole safety envelope reads at
// a glance. A limit reached ends the call with the status named beside it
// and leaves the caller's document as it was.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvbase.h"

namespace kvlimits {

// Compressed input: a few kilobytes of gzip can claim gigabytes of text, and
// no real drawing needs more than 1 GiB. ERROR_FILE_OPEN.
constexpr size_t kMaxDecompressedBytes = size_t(1) << 30;

// Bitmaps and decoded images: 256 Mpixels (1 GiB at 32 bits) is far beyond
// any page or photograph a caller renders, and well inside the address
// space. ERROR_NO_MEMORY.
constexpr uint64_t kMaxBitmapPixels = KV_BITMAP_MAX_PIXELS;

// Flattening walks the tree on a heap stack of one context per open level,
// not on the machine stack, so depth costs memory (about 1.2 KB a level)
// rather than a crash. 200,000 levels is four times the deepest nesting the
// loader has been shown to accept and stays near 250 MB. ERROR_MAX_ELEMENTS.
constexpr size_t kMaxFlattenDepth = 200000;

// Links followed from one paint server to the next (gradient href chains):
// real documents chain two or three; a longer chain is cut where it stands,
// as a reference to nothing would be.
constexpr size_t kMaxReferenceChain = 64;

// Style sheets of the standard-syntax rewrite: selectors taken from all the
// sheets of a document, and element matches applied. Hand-written and
// editor sheets hold a few hundred; past these a sheet is hostile, and the
// rest of it is left unapplied.
constexpr size_t kMaxStyleRules = 10000;
constexpr size_t kMaxStyleMatches = 2000000;

// Decoded images: a picture may not claim more pixels than its bytes can
// describe, so that decoding cost follows the size of the input and a tiny
// header cannot make the loader fill a huge bitmap. Deflate turns one byte
// into at most 1032 (PNG rows); LZW turns a 12-bit code into at most 4096
// pixels, under 2731 a byte (GIF frames, and the logical screen they are
// drawn on). JPEG has no hard ceiling (end-of-band runs and arithmetic
// coding describe blank areas almost for free), so 1024 pixels a byte is
// chosen: twice what any Huffman-coded picture with ordinary sampling
// reaches, blank progressive ones included. ERROR_FILE_READ, as for a file
// cut short.
constexpr uint64_t kMaxPngInflateRatio = 1032;
constexpr uint64_t kMaxGifPixelsPerByte = 2731;
constexpr uint64_t kMaxJpegPixelsPerByte = 1024;

}  // namespace kvlimits
