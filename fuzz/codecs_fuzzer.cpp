// Image codecs: PNG, JPEG and GIF found by their first bytes and loaded at
// the file's own depth; a picture that loads is converted to the depths the
// renderer and the writer use and saved as PNG, and that PNG must load again
// at the same size.
#include "fuzz_support.h"

#include "kvsvg/kvbase.h"

namespace {

// Frees the pixels of a bitmap record on every path.
struct OwnedBitmap {
    KvBitmap bitmap{};
    ~OwnedBitmap() { K_BitmapFree(&bitmap); }
};

struct Block {
    void* data = nullptr;
    size_t size = 0;
    ~Block() { K_SvgFreeMemory(data); }
};

// A picture may have up to 256 Mpixels, and a 64 KB PNG of one bit a pixel
// can really hold that many; a 32-bit copy of it is a gigabyte the caller
// asked for, not a cost of decoding. The target converts only pictures up
// to 16 Mpixels (64 MB), and quantises (a palette search per pixel) up to
// 1 Mpixel, so that one input stays within the campaign's second and 512 MB.
constexpr int64_t kMaxPixelsToConvert = int64_t(16) << 20;
constexpr int64_t kMaxPixelsToQuantise = int64_t(1) << 20;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    kvfuzz::LeakCheck leakCheck;
    OwnedBitmap loaded;
    // The colour order is the one bit of choice; the last byte gives it so
    // that the picture's own bytes stay a plain image file.
    uint32_t order = size > 0 && (data[size - 1] & 1) ? KV_ORDER_RGB : KV_ORDER_BGR;
    if (K_BitmapLoadMemory(data, size, &loaded.bitmap, kKvBitmapSize, 0, order) != SUCCESS)
        return 0;
    if (loaded.bitmap.width <= 0 || loaded.bitmap.height <= 0 || !loaded.bitmap.data)
        kvfuzz::Fail("a loaded picture has no pixels");

    int64_t pixels = static_cast<int64_t>(loaded.bitmap.width) * loaded.bitmap.height;
    if (pixels > kMaxPixelsToConvert)
        return 0;
    OwnedBitmap colour;
    if (K_BitmapConvert(&colour.bitmap, &loaded.bitmap, 32, KV_ORDER_BGR) != SUCCESS)
        return 0;
    if (pixels <= kMaxPixelsToQuantise) {
        OwnedBitmap palette;
        K_BitmapConvert(&palette.bitmap, &colour.bitmap, 8, KV_ORDER_BGR);
    }

    Block png;
    if (K_BitmapSavePng(&loaded.bitmap, 0, &png.data, &png.size) != SUCCESS)
        return 0;
    OwnedBitmap again;
    int32_t status = K_BitmapLoadMemory(png.data, png.size, &again.bitmap, kKvBitmapSize, 0, KV_ORDER_BGR);
    if (status != SUCCESS)
        kvfuzz::Fail("a saved PNG does not load again", status);
    if (again.bitmap.width != loaded.bitmap.width || again.bitmap.height != loaded.bitmap.height)
        kvfuzz::Fail("a saved PNG loads at another size", again.bitmap.width);
    return 0;
}
