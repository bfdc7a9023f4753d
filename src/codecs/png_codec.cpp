// PNG through libpng. libpng reports errors by a long jump; the functions
// that call into it hold only plain data, and every owner lives one frame
// further out, so the jump never skips a destructor.
#include <png.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "base/bitmap.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "codecs/image_decoders.h"

namespace {

constexpr double kMetresPerInch = 0.0254;

// ---- Reading -----------------------------------------------------------------

struct PngMemorySource {
    const uint8_t* data = nullptr;
    size_t size = 0;
    size_t offset = 0;
    bool truncated = false;
};

void ReadFromMemory(png_structp png, png_bytep out, size_t count)
{
    auto* source = static_cast<PngMemorySource*>(png_get_io_ptr(png));
    if (count > source->size - source->offset) {
        source->truncated = true;
        png_error(png, "data ends early");
    }
    std::memcpy(out, source->data + source->offset, count);
    source->offset += count;
}

// libpng would print to stderr; a library has no console.
void OnPngError(png_structp png, png_const_charp) { png_longjmp(png, 1); }
void OnPngWarning(png_structp, png_const_charp) {}

class PngReader {
public:
    PngReader()
    {
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, OnPngError, OnPngWarning);
        if (png_)
            info_ = png_create_info_struct(png_);
    }
    ~PngReader() { png_destroy_read_struct(&png_, info_ ? &info_ : nullptr, nullptr); }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;
    bool ok() const { return png_ && info_; }
    png_structp png() const { return png_; }
    png_infop info() const { return info_; }

private:
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

// What the header says and how the rows will come out of libpng.
struct PngLayout {
    uint32_t width = 0, height = 0;
    uint32_t bitsPerPixel = 0;
    bool grey = false;         // 1/4/8 bits: a grey ramp instead of PLTE
    bool grey16 = false;
    int32_t xDpi = 0, yDpi = 0;
    KvPaletteEntry palette[256] = {};
    uint32_t paletteCount = 0;
};

int32_t FailureStatus(const PngMemorySource& source) { return source.truncated ? ERROR_FILE_READ : ERROR_FILE_FORMAT; }

// Reads the header and sets libpng's transformations so that its rows are
// exactly the rows of the bitmap we will allocate.
int32_t ReadPngHeader(PngReader& reader, PngMemorySource& source, uint32_t order, PngLayout& layout)
{
    png_structp png = reader.png();
    png_infop info = reader.info();
    if (setjmp(png_jmpbuf(png)))
        return FailureStatus(source);
    png_set_read_fn(png, &source, ReadFromMemory);
    // Our own pixel limit decides; libpng's default of a million a side
    // would refuse a long thin strip that we can hold.
    png_set_user_limits(png, 0x7FFFFFFF, 0x7FFFFFFF);
    png_read_info(png, info);

    png_uint_32 width = 0, height = 0;
    int bitDepth = 0, colourType = 0, interlace = 0;
    png_get_IHDR(png, info, &width, &height, &bitDepth, &colourType, &interlace, nullptr, nullptr);
    layout.width = width;
    layout.height = height;
    if (!IsWithinPixelLimit(width, height))
        return ERROR_NO_MEMORY;
    // The rows are deflated; the file's own bits of each pixel, inflated at
    // the best ratio deflate has, must fit in the whole file. Counting in
    // pixels a byte keeps one check for every depth and channel count.
    uint64_t fileBitsPerPixel = static_cast<uint64_t>(png_get_channels(png, info)) * static_cast<uint64_t>(bitDepth);
    if (fileBitsPerPixel == 0 ||
        !CanDataHoldPixels(width, height, source.size, kvlimits::kMaxPngInflateRatio * 8 / fileBitsPerPixel))
        return ERROR_FILE_READ;
    bool transparentColour = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    bool paletted = colourType == PNG_COLOR_TYPE_PALETTE;
    bool plainGrey = colourType == PNG_COLOR_TYPE_GRAY;

    if ((paletted || plainGrey) && !transparentColour && bitDepth <= 8) {
        // 2-bit pictures have no bitmap depth of their own: one byte each.
        layout.bitsPerPixel = bitDepth == 2 ? 8 : static_cast<uint32_t>(bitDepth);
        if (paletted) {
            png_colorp entries = nullptr;
            int count = 0;
            if (!png_get_PLTE(png, info, &entries, &count) || count < 1)
                return ERROR_FILE_FORMAT;
            layout.paletteCount = static_cast<uint32_t>(std::min(count, 256));
            for (uint32_t i = 0; i < layout.paletteCount; ++i)
                layout.palette[i] = KvPaletteEntry{entries[i].blue, entries[i].green, entries[i].red, 0};
            if (bitDepth == 2)
                png_set_packing(png);
        } else {
            layout.grey = true;
            if (bitDepth == 2)
                png_set_expand_gray_1_2_4_to_8(png);
        }
    } else if (plainGrey && !transparentColour && bitDepth == 16) {
        layout.bitsPerPixel = 16;
        layout.grey16 = true;
        png_set_swap(png);
    } else {
        bool alpha = (colourType & PNG_COLOR_MASK_ALPHA) || transparentColour;
        png_set_expand(png);
        if (!(colourType & PNG_COLOR_MASK_COLOR))
            png_set_gray_to_rgb(png);
        if (order == KV_ORDER_BGR)
            png_set_bgr(png);
        if (bitDepth == 16) {
            layout.bitsPerPixel = 64;
            png_set_swap(png);
            if (!alpha)
                png_set_filler(png, 0xFFFF, PNG_FILLER_AFTER);
        } else {
            layout.bitsPerPixel = alpha ? 32 : 24;
        }
    }
    png_set_interlace_handling(png);
    png_read_update_info(png, info);

    png_uint_32 xPerMetre = 0, yPerMetre = 0;
    int unit = 0;
    if (png_get_pHYs(png, info, &xPerMetre, &yPerMetre, &unit) && unit == PNG_RESOLUTION_METER && xPerMetre &&
        yPerMetre) {
        layout.xDpi = static_cast<int32_t>(std::lround(std::min(xPerMetre * kMetresPerInch, 1e6)));
        layout.yDpi = static_cast<int32_t>(std::lround(std::min(yPerMetre * kMetresPerInch, 1e6)));
    }
    return SUCCESS;
}

int32_t ReadPngRows(PngReader& reader, PngMemorySource& source, png_bytepp rows)
{
    if (setjmp(png_jmpbuf(reader.png())))
        return FailureStatus(source);
    png_read_image(reader.png(), rows);
    // The end chunk too: a file cut after its pixels is still a cut file.
    png_read_end(reader.png(), nullptr);
    return SUCCESS;
}

// ---- Writing -----------------------------------------------------------------

// The growing output; owns its tracked block until Release().
class PngMemorySink {
public:
    ~PngMemorySink()
    {
        if (data_)
            KV_FREE(data_);
    }
    bool Append(const uint8_t* bytes, size_t count)
    {
        if (count > capacity_ - size_) {
            if (count > std::numeric_limits<size_t>::max() / 2 - size_)
                return false;
            size_t capacity = std::max<size_t>(4096, (size_ + count) * 2);
            auto* grown = static_cast<uint8_t*>(KV_REALLOC(data_, capacity));
            if (!grown)
                return false;
            data_ = grown;
            capacity_ = capacity;
        }
        std::memcpy(data_ + size_, bytes, count);
        size_ += count;
        return true;
    }
    uint8_t* Release()
    {
        uint8_t* data = data_;
        data_ = nullptr;
        return data;
    }
    size_t size() const { return size_; }
    bool outOfMemory = false;

private:
    uint8_t* data_ = nullptr;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

void WriteToMemory(png_structp png, png_bytep bytes, size_t count)
{
    auto* sink = static_cast<PngMemorySink*>(png_get_io_ptr(png));
    if (!sink->Append(bytes, count)) {
        sink->outOfMemory = true;
        png_error(png, "out of memory");
    }
}

void FlushMemory(png_structp) {}

class PngWriter {
public:
    PngWriter()
    {
        png_ = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, OnPngError, OnPngWarning);
        if (png_)
            info_ = png_create_info_struct(png_);
    }
    ~PngWriter() { png_destroy_write_struct(&png_, info_ ? &info_ : nullptr); }
    PngWriter(const PngWriter&) = delete;
    PngWriter& operator=(const PngWriter&) = delete;
    bool ok() const { return png_ && info_; }
    png_structp png() const { return png_; }
    png_infop info() const { return info_; }

private:
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
};

struct PngWriteLayout {
    int colourType = 0;
    int bitDepth = 8;
    bool swap = false;
    bool bgr = false;
    png_color palette[256] = {};
    int paletteCount = 0;
};

int32_t WritePngImage(PngWriter& writer, PngMemorySink& sink, const KvBitmap& bitmap, const PngWriteLayout& layout,
                      png_bytepp rows)
{
    png_structp png = writer.png();
    png_infop info = writer.info();
    if (setjmp(png_jmpbuf(png)))
        return sink.outOfMemory ? ERROR_NO_MEMORY : ERROR_FILE_WRITE;
    png_set_write_fn(png, &sink, WriteToMemory, FlushMemory);
    png_set_IHDR(png, info, static_cast<png_uint_32>(bitmap.width), static_cast<png_uint_32>(bitmap.height),
                 layout.bitDepth, layout.colourType, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (layout.colourType == PNG_COLOR_TYPE_PALETTE)
        png_set_PLTE(png, info, layout.palette, layout.paletteCount);
    if (bitmap.xResolution > 0 && bitmap.yResolution > 0 && bitmap.xResolution < 1000000 &&
        bitmap.yResolution < 1000000)
        png_set_pHYs(png, info, static_cast<png_uint_32>(std::lround(bitmap.xResolution / kMetresPerInch)),
                     static_cast<png_uint_32>(std::lround(bitmap.yResolution / kMetresPerInch)),
                     PNG_RESOLUTION_METER);
    png_write_info(png, info);
    if (layout.swap)
        png_set_swap(png);
    if (layout.bgr)
        png_set_bgr(png);
    png_write_image(png, rows);
    png_write_end(png, nullptr);
    return SUCCESS;
}

// The highest palette index the pixels use, so that PLTE covers every one.
uint32_t HighestIndexUsed(const KvBitmap& bitmap)
{
    uint32_t highest = 0;
    for (int32_t y = 0; y < bitmap.height; ++y) {
        const uint8_t* row = BitmapRow(bitmap, y);
        for (int32_t x = 0; x < bitmap.width; ++x) {
            uint32_t index = bitmap.bitsPerPixel == 8   ? row[x]
                             : bitmap.bitsPerPixel == 4 ? ((x & 1) ? row[x >> 1] & 0x0Fu : row[x >> 1] >> 4)
                                                        : (row[x >> 3] >> (7 - (x & 7))) & 1u;
            highest = std::max(highest, index);
        }
    }
    return highest;
}

}  // namespace

int32_t DecodePng(const uint8_t* data, size_t size, uint32_t order, KvBitmap& bitmap)
{
    PngReader reader;
    if (!reader.ok())
        return ERROR_NO_MEMORY;
    PngMemorySource source;
    source.data = data;
    source.size = size;
    PngLayout layout;
    if (int32_t status = ReadPngHeader(reader, source, order, layout); status != SUCCESS)
        return status;

    KvBitmap decoded;
    if (int32_t status = InitBitmap(decoded, kKvBitmapSize, static_cast<int32_t>(layout.width),
                                    static_cast<int32_t>(layout.height), layout.bitsPerPixel, order);
        status != SUCCESS)
        return status;
    if (!layout.grey) {
        std::memcpy(decoded.palette, layout.palette, sizeof(decoded.palette));
        decoded.paletteCount = layout.paletteCount;
    }
    if (layout.grey16)
        decoded.flags |= KV_BITMAP_GREY;
    decoded.xResolution = layout.xDpi > 0 ? layout.xDpi : DefaultLoadResolution(true);
    decoded.yResolution = layout.yDpi > 0 ? layout.yDpi : DefaultLoadResolution(false);
    if (png_get_rowbytes(reader.png(), reader.info()) > decoded.bytesPerLine)
        return ERROR_FILE_FORMAT;
    if (int32_t status = AllocateBitmap(decoded); status != SUCCESS)
        return status;
    BitmapPixelsOwner owner(decoded);

    TrackedPtr<png_bytep> rows(static_cast<png_bytepp>(KV_ALLOC(layout.height, sizeof(png_bytep))));
    if (!rows)
        return ERROR_NO_MEMORY;
    for (uint32_t y = 0; y < layout.height; ++y)
        rows.get()[y] = BitmapRow(decoded, static_cast<int32_t>(y));
    if (int32_t status = ReadPngRows(reader, source, rows.get()); status != SUCCESS)
        return status;
    bitmap = decoded;
    owner.Release();
    return SUCCESS;
}

int32_t EncodePng(const KvBitmap& bitmap, void** block, size_t* size)
{
    if (!BitmapRow(bitmap, 0))
        return ERROR_INV_PARAMETER;
    PngWriteLayout layout;
    switch (bitmap.bitsPerPixel) {
    case 1: case 4: case 8:
        layout.bitDepth = static_cast<int>(bitmap.bitsPerPixel);
        if (IsGreyBitmap(bitmap)) {
            layout.colourType = PNG_COLOR_TYPE_GRAY;
            break;
        }
        layout.colourType = PNG_COLOR_TYPE_PALETTE;
        // Indices past the palette read as black; PLTE grows to hold them.
        layout.paletteCount = static_cast<int>(
            std::max<uint32_t>(std::min<uint32_t>(bitmap.paletteCount, 256), HighestIndexUsed(bitmap) + 1));
        for (int i = 0; i < layout.paletteCount; ++i) {
            if (static_cast<uint32_t>(i) < bitmap.paletteCount)
                layout.palette[i] = png_color{bitmap.palette[i].red, bitmap.palette[i].green, bitmap.palette[i].blue};
        }
        break;
    case 16:
        if (!IsGreyBitmap(bitmap))
            return ERROR_INV_PARAMETER;
        layout.colourType = PNG_COLOR_TYPE_GRAY;
        layout.bitDepth = 16;
        layout.swap = true;
        break;
    case 24:
    case 32:
    case 64:
        layout.colourType = bitmap.bitsPerPixel == 24 ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_RGB_ALPHA;
        layout.bitDepth = bitmap.bitsPerPixel == 64 ? 16 : 8;
        layout.swap = bitmap.bitsPerPixel == 64;
        layout.bgr = bitmap.order == KV_ORDER_BGR;
        break;
    default:
        return ERROR_INV_PARAMETER;
    }

    PngWriter writer;
    if (!writer.ok())
        return ERROR_NO_MEMORY;
    TrackedPtr<png_bytep> rows(static_cast<png_bytepp>(KV_ALLOC(static_cast<size_t>(bitmap.height), sizeof(png_bytep))));
    if (!rows)
        return ERROR_NO_MEMORY;
    // libpng's row type is not const, but writing only reads the rows.
    for (int32_t y = 0; y < bitmap.height; ++y)
        rows.get()[y] = const_cast<png_bytep>(BitmapRow(bitmap, y));
    PngMemorySink sink;
    if (int32_t status = WritePngImage(writer, sink, bitmap, layout, rows.get()); status != SUCCESS)
        return status;
    *size = sink.size();
    *block = sink.Release();
    return SUCCESS;
}
