// Pictures in the flat form: the image element, the bitmaps behind an href
// (a data URI or a local file, as the run's file policy allows), and the
// PNG data URIs that carry made pictures into the flat document.
#pragma once

#include <cstdint>
#include <string>

#include "flatten/svg_flattener.h"
#include "kvsvg/kvbase.h"

// A decoded picture that frees its pixels.
class FlatBitmap {
public:
    FlatBitmap();
    ~FlatBitmap();
    FlatBitmap(const FlatBitmap&) = delete;
    FlatBitmap& operator=(const FlatBitmap&) = delete;
    KvBitmap& get() { return bitmap_; }
    const KvBitmap& get() const { return bitmap_; }
    bool loaded() const { return (bitmap_.flags & KV_BITMAP_ALLOCATED) != 0; }

private:
    KvBitmap bitmap_;
};

// Loads what `href` names at `bitsPerPixel` (32, or 8 for a mask's grey):
// a data URI's payload, or a local file that the run's policy allows (a
// regular file; inside the base folder when asked; none at all when every
// external file is refused). SUCCESS with a loaded bitmap; FAILURE when
// nothing usable is there, which drops the element; ERROR_NO_MEMORY only
// when memory ran out outside the decoder. *wasFile tells whether a file
// was read (its picture must then be carried as a data URI).
int32_t LoadBitmapFromHref(CSvgFlattener& flattener, const KvChar* href, uint32_t bitsPerPixel, KvBitmap& bitmap,
                           bool* wasFile);

// "data:image/png;base64," and the bitmap saved as PNG at its own depth.
int32_t EncodePngDataUri(const KvBitmap& bitmap, std::u16string& uri);

// Fits the box to the bitmap's proportions, shrinking it on its centre;
// true when the picture must be scaled to the box. Tolerance 0.005.
bool FitImageToBox(double& x, double& y, double& width, double& height, double bitmapWidth, double bitmapHeight);

// The last steps of every flat image: a box under a plain placement is
// baked through `matrix`, any other matrix is kept as the image's
// transform; then paint, clip, and on to the output. The record's href and
// style must be final.
int32_t FinishImage(CSvgFlattener& flattener, CSvgContext& context, SvgImageElement& image, const SvgMatrix& matrix,
                    double x, double y, double width, double height);
