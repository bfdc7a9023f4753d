// GIF through giflib, which reports by error codes. Only the first frame is
// read, line by line, so that a frame that claims a huge size is refused
// before giflib would allocate a raster for it.
#include <gif_lib.h>

#include <algorithm>
#include <cstring>

#include "base/bitmap.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "codecs/image_decoders.h"

namespace {

struct GifMemorySource {
    const uint8_t* data = nullptr;
    size_t size = 0;
    size_t offset = 0;
    bool truncated = false;
};

int ReadFromMemory(GifFileType* gif, GifByteType* out, int count)
{
    auto* source = static_cast<GifMemorySource*>(gif->UserData);
    if (count <= 0)
        return 0;
    size_t available = source->size - source->offset;
    size_t wanted = static_cast<size_t>(count);
    if (wanted > available) {
        source->truncated = true;
        wanted = available;
    }
    std::memcpy(out, source->data + source->offset, wanted);
    source->offset += wanted;
    return static_cast<int>(wanted);
}

class GifReader {
public:
    explicit GifReader(GifMemorySource& source) { gif_ = DGifOpen(&source, ReadFromMemory, &openError_); }
    ~GifReader()
    {
        if (gif_) {
            int error = 0;
            DGifCloseFile(gif_, &error);
        }
    }
    GifReader(const GifReader&) = delete;
    GifReader& operator=(const GifReader&) = delete;
    GifFileType* get() const { return gif_; }
    int openError() const { return openError_; }

private:
    GifFileType* gif_ = nullptr;
    int openError_ = 0;
};

int32_t StatusOf(int gifError, const GifMemorySource& source)
{
    if (source.truncated || gifError == D_GIF_ERR_EOF_TOO_SOON)
        return ERROR_FILE_READ;
    if (gifError == D_GIF_ERR_NOT_ENOUGH_MEM)
        return ERROR_NO_MEMORY;
    return ERROR_FILE_FORMAT;
}

// Reads extensions up to the first image descriptor, keeping the
// transparent colour of the graphic control block that goes with it.
int32_t FindFirstImage(GifFileType* gif, const GifMemorySource& source, int& transparentIndex)
{
    transparentIndex = NO_TRANSPARENT_COLOR;
    for (;;) {
        GifRecordType type = UNDEFINED_RECORD_TYPE;
        if (DGifGetRecordType(gif, &type) == GIF_ERROR)
            return StatusOf(gif->Error, source);
        if (type == IMAGE_DESC_RECORD_TYPE)
            return DGifGetImageDesc(gif) == GIF_ERROR ? StatusOf(gif->Error, source) : SUCCESS;
        if (type == TERMINATE_RECORD_TYPE)
            return ERROR_FILE_FORMAT;  // a file with no picture in it
        if (type != EXTENSION_RECORD_TYPE)
            return ERROR_FILE_FORMAT;
        int code = 0;
        GifByteType* block = nullptr;
        if (DGifGetExtension(gif, &code, &block) == GIF_ERROR)
            return StatusOf(gif->Error, source);
        if (code == GRAPHICS_EXT_FUNC_CODE && block && block[0] >= 4) {
            GraphicsControlBlock control{};
            if (DGifExtensionToGCB(block[0], block + 1, &control) == GIF_OK)
                transparentIndex = control.TransparentColor;
        }
        while (block) {
            if (DGifGetExtensionNext(gif, &block) == GIF_ERROR)
                return StatusOf(gif->Error, source);
        }
    }
}

}  // namespace

int32_t DecodeGif(const uint8_t* data, size_t size, uint32_t order, KvBitmap& bitmap)
{
    GifMemorySource source;
    source.data = data;
    source.size = size;
    GifReader reader(source);
    GifFileType* gif = reader.get();
    if (!gif)
        return StatusOf(reader.openError(), source);

    int transparentIndex = NO_TRANSPARENT_COLOR;
    if (int32_t status = FindFirstImage(gif, source, transparentIndex); status != SUCCESS)
        return status;
    const GifImageDesc& frame = gif->Image;
    const ColorMapObject* colours = frame.ColorMap ? frame.ColorMap : gif->SColorMap;
    if (!colours || colours->ColorCount < 1 || !colours->Colors)
        return ERROR_FILE_FORMAT;
    if (frame.Width <= 0 || frame.Height <= 0)
        return ERROR_FILE_FORMAT;
    // The frame is decoded whole even where it hangs off the screen, so its
    // own size is bounded too: LZW packs a huge blank frame into few bytes.
    if (!IsWithinPixelLimit(static_cast<uint64_t>(frame.Width), static_cast<uint64_t>(frame.Height)))
        return ERROR_NO_MEMORY;
    // The logical screen is the picture; a file that gives none is the size
    // of its first frame.
    int32_t width = gif->SWidth > 0 ? gif->SWidth : frame.Width;
    int32_t height = gif->SHeight > 0 ? gif->SHeight : frame.Height;
    if (!IsWithinPixelLimit(static_cast<uint64_t>(width), static_cast<uint64_t>(height)))
        return ERROR_NO_MEMORY;
    // Neither the frame nor the screen it is drawn on may be larger than the
    // file's LZW data could paint: a screen of millions of pixels around a
    // frame of two would cost a full bitmap fill for a few bytes of input.
    if (!CanDataHoldPixels(static_cast<uint64_t>(frame.Width), static_cast<uint64_t>(frame.Height), size,
                           kvlimits::kMaxGifPixelsPerByte) ||
        !CanDataHoldPixels(static_cast<uint64_t>(width), static_cast<uint64_t>(height), size,
                           kvlimits::kMaxGifPixelsPerByte))
        return ERROR_FILE_READ;

    int colourCount = std::min(colours->ColorCount, 256);
    bool transparent = transparentIndex >= 0 && transparentIndex < colourCount;
    KvBitmap decoded;
    if (int32_t status = InitBitmap(decoded, kKvBitmapSize, width, height, transparent ? 32 : 8, order);
        status != SUCCESS)
        return status;
    decoded.xResolution = DefaultLoadResolution(true);
    decoded.yResolution = DefaultLoadResolution(false);
    decoded.paletteCount = transparent ? 0 : static_cast<uint32_t>(colourCount);
    for (int i = 0; i < colourCount && !transparent; ++i) {
        const GifColorType& colour = colours->Colors[i];
        decoded.palette[i] = KvPaletteEntry{colour.Blue, colour.Green, colour.Red, 0};
    }
    if (int32_t status = AllocateBitmap(decoded); status != SUCCESS)
        return status;
    BitmapPixelsOwner owner(decoded);

    // Outside the frame: the background colour, or clear with transparency
    // (the zeroed block already is).
    if (!transparent) {
        uint8_t background = static_cast<uint8_t>(gif->SBackGroundColor < colourCount ? gif->SBackGroundColor : 0);
        for (int32_t y = 0; y < height; ++y)
            std::memset(BitmapRow(decoded, y), background, static_cast<size_t>(width));
    }

    TrackedPtr<GifPixelType> line(static_cast<GifPixelType*>(KV_ALLOC(static_cast<size_t>(frame.Width), 1)));
    if (!line)
        return ERROR_NO_MEMORY;
    // Interlaced frames send every 8th row from 0, every 8th from 4, every
    // 4th from 2, then every 2nd from 1.
    static constexpr int kPassStart[4] = {0, 4, 2, 1};
    static constexpr int kPassStep[4] = {8, 8, 4, 2};
    int passes = frame.Interlace ? 4 : 1;
    for (int pass = 0; pass < passes; ++pass) {
        int start = frame.Interlace ? kPassStart[pass] : 0;
        int step = frame.Interlace ? kPassStep[pass] : 1;
        for (int frameRow = start; frameRow < frame.Height; frameRow += step) {
            if (DGifGetLine(gif, line.get(), frame.Width) == GIF_ERROR)
                return StatusOf(gif->Error, source);
            int64_t y = static_cast<int64_t>(frame.Top) + frameRow;
            if (y < 0 || y >= height)
                continue;
            uint8_t* out = BitmapRow(decoded, static_cast<int32_t>(y));
            for (int x = 0; x < frame.Width; ++x) {
                int64_t column = static_cast<int64_t>(frame.Left) + x;
                if (column < 0 || column >= width)
                    continue;
                uint8_t index = line.get()[x];
                if (!transparent) {
                    out[column] = index;
                    continue;
                }
                if (index == transparentIndex)
                    continue;
                uint8_t* pixel = out + column * 4;
                // Indices past the colour map read as black, as in a palette.
                GifColorType colour = index < colourCount ? colours->Colors[index] : GifColorType{0, 0, 0};
                pixel[0] = order == KV_ORDER_RGB ? colour.Red : colour.Blue;
                pixel[1] = colour.Green;
                pixel[2] = order == KV_ORDER_RGB ? colour.Blue : colour.Red;
                pixel[3] = 0xFF;
            }
        }
    }
    bitmap = decoded;
    owner.Release();
    return SUCCESS;
}
