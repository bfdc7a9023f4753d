// Decompresses gzip SVG from a block or a file, and tells SVG text from other
// bytes by its first characters. Only a gzip wrapper is accepted, never a bare
// zlib stream. What the text means is the parser's business: this module only
// refuses what plainly is not SVG, and output too large to be a document.
#pragma once

#include <cstddef>
#include <cstdint>

#include <zlib.h>

#include "base/safety_limits.h"

// Decompressed output beyond the limit is refused with ERROR_FILE_OPEN, the
// status already given to compressed input over 2 GB.
constexpr size_t kMaxDecompressedBytes = kvlimits::kMaxDecompressedBytes;

// Decompresses a gzip block into a new tracked block for the caller (freed
// with K_SvgFreeMemory); *outBlock and *outSize are cleared first. The block
// starts at the input's size and only grows, so *outSize is the larger of the
// input size and the text, and a text shorter than its compressed form is
// followed by zeros. Input over 0x7FFFFFFF bytes and output over the limit
// give ERROR_FILE_OPEN; a corrupt or cut-short stream, or a text whose first
// bytes are not SVG, FAILURE.
int32_t UnzipSvgMemory(const void* block, size_t size, void** outBlock, size_t* outSize);

// The same from file to file. A source or target that will not open, or a
// source whose length cannot be found, gives ERROR_FILE_OPEN; a short read
// ERROR_FILE_READ, a short write ERROR_FILE_WRITE. On failure the target keeps
// whatever was written; deleting it is the caller's.
int32_t UnzipSvgFile(const char* sourcePathUtf8, const char* targetPathUtf8);

// Decides from the first bytes whether a text is SVG: 1 when it is,
// ERROR_FILE_FORMAT when it is not, 0 for a null text. *kind (may be null)
// becomes 3 when the XML declaration follows three leading bytes (the UTF-8
// mark), otherwise 0. A UTF-16 text is thinned to its low bytes, which leaves
// the mark's byte in front, so it never passes: UTF-16 SVG goes uncompressed.
int32_t SniffSvgText(const void* text, size_t length, uint32_t* kind);

// True when the bytes start as a gzip stream that deflates: 0x1F 0x8B 8,
// and at least 4 bytes are there.
bool HasGzipMark(const void* bytes, size_t size);

// Makes zlib take its working memory from the tracked allocator, so that a
// stream left open shows up as a leak and a failed allocation as no memory.
void UseTrackedZlibMemory(z_stream& stream);

namespace svg_zip_internal {
// Replaces the output limit and returns the one before, so a test can prove
// the refusal with a bomb of megabytes instead of gigabytes.
size_t SetMaxDecompressedBytesForTesting(size_t limit);
}  // namespace svg_zip_internal
