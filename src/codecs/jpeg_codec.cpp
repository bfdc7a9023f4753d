// JPEG through libjpeg(-turbo). Its error manager leaves by a long jump; as
// with PNG, the functions that call into the library hold only plain data.
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include <jpeglib.h>

#include "base/bitmap.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "codecs/image_decoders.h"

namespace {

struct JpegErrorManager {
    jpeg_error_mgr manager;
    jmp_buf jump;
    bool truncated = false;
};

void OnJpegError(j_common_ptr info) { longjmp(reinterpret_cast<JpegErrorManager*>(info->err)->jump, 1); }
// Warnings (stray bytes, a damaged but readable scan) are not reasons to
// refuse a picture, and a library prints nothing.
void OnJpegMessage(j_common_ptr) {}

// A source that, unlike the library's own memory source, calls running out
// of data an error instead of padding the picture with grey.
struct JpegMemorySource {
    jpeg_source_mgr manager;
    JpegErrorManager* errors;
};

void InitSource(j_decompress_ptr) {}
void TermSource(j_decompress_ptr) {}

boolean FillInputBuffer(j_decompress_ptr info)
{
    auto* source = reinterpret_cast<JpegMemorySource*>(info->src);
    source->errors->truncated = true;
    info->err->error_exit(reinterpret_cast<j_common_ptr>(info));
    return FALSE;
}

void SkipInputData(j_decompress_ptr info, long count)
{
    if (count <= 0)
        return;
    jpeg_source_mgr* source = info->src;
    if (static_cast<unsigned long>(count) > source->bytes_in_buffer) {
        FillInputBuffer(info);
        return;
    }
    source->next_input_byte += count;
    source->bytes_in_buffer -= static_cast<size_t>(count);
}

class JpegDecompressor {
public:
    JpegDecompressor()
    {
        std::memset(&info_, 0, sizeof(info_));
        info_.err = jpeg_std_error(&errors_.manager);
        errors_.manager.error_exit = OnJpegError;
        errors_.manager.output_message = OnJpegMessage;
        source_.errors = &errors_;
    }
    // Safe on a half-made object: destroy does nothing until the library
    // has set up its memory manager.
    ~JpegDecompressor() { jpeg_destroy_decompress(&info_); }
    JpegDecompressor(const JpegDecompressor&) = delete;
    JpegDecompressor& operator=(const JpegDecompressor&) = delete;
    jpeg_decompress_struct& info() { return info_; }
    JpegErrorManager& errors() { return errors_; }
    JpegMemorySource& source() { return source_; }

private:
    jpeg_decompress_struct info_;
    JpegErrorManager errors_;
    JpegMemorySource source_{};
};

struct JpegLayout {
    uint32_t width = 0, height = 0;
    uint32_t bitsPerPixel = 0;
    bool cmyk = false;
    bool invertedCmyk = false;
    int32_t xDpi = 0, yDpi = 0;
};

int32_t FailureStatus(JpegDecompressor& decompressor)
{
    return decompressor.errors().truncated ? ERROR_FILE_READ : ERROR_FILE_FORMAT;
}

int32_t StartJpeg(JpegDecompressor& decompressor, const uint8_t* data, size_t size, uint32_t order,
                  JpegLayout& layout)
{
    jpeg_decompress_struct& info = decompressor.info();
    if (setjmp(decompressor.errors().jump))
        return FailureStatus(decompressor);
    jpeg_create_decompress(&info);
    jpeg_source_mgr& source = decompressor.source().manager;
    source.next_input_byte = data;
    source.bytes_in_buffer = size;
    source.init_source = InitSource;
    source.fill_input_buffer = FillInputBuffer;
    source.skip_input_data = SkipInputData;
    source.resync_to_restart = jpeg_resync_to_restart;
    source.term_source = TermSource;
    info.src = &source;
    jpeg_read_header(&info, TRUE);

    layout.width = info.image_width;
    layout.height = info.image_height;
    if (!IsWithinPixelLimit(layout.width, layout.height))
        return ERROR_NO_MEMORY;
    // Decoding starts by sizing whole-image buffers from the header, so a
    // size the data cannot back is refused here.
    if (!CanDataHoldPixels(layout.width, layout.height, size, kvlimits::kMaxJpegPixelsPerByte))
        return ERROR_FILE_READ;
    switch (info.jpeg_color_space) {
    case JCS_GRAYSCALE:
        info.out_color_space = JCS_GRAYSCALE;
        layout.bitsPerPixel = 8;
        break;
    case JCS_CMYK:
    case JCS_YCCK:
        info.out_color_space = JCS_CMYK;
        layout.bitsPerPixel = 24;
        layout.cmyk = true;
        // Files with the Adobe marker store CMYK inverted.
        layout.invertedCmyk = info.saw_Adobe_marker;
        break;
    default:
        info.out_color_space = order == KV_ORDER_RGB ? JCS_EXT_RGB : JCS_EXT_BGR;
        layout.bitsPerPixel = 24;
        break;
    }
    if (info.saw_JFIF_marker && info.X_density && info.Y_density) {
        if (info.density_unit == 1) {
            layout.xDpi = info.X_density;
            layout.yDpi = info.Y_density;
        } else if (info.density_unit == 2) {
            layout.xDpi = static_cast<int32_t>(info.X_density * 2.54 + 0.5);
            layout.yDpi = static_cast<int32_t>(info.Y_density * 2.54 + 0.5);
        }
    }
    jpeg_start_decompress(&info);
    return SUCCESS;
}

void CmykRowToColour(const uint8_t* cmyk, uint8_t* out, uint32_t width, bool inverted, uint32_t order)
{
    for (uint32_t x = 0; x < width; ++x) {
        uint32_t c = cmyk[x * 4], m = cmyk[x * 4 + 1], y = cmyk[x * 4 + 2], k = cmyk[x * 4 + 3];
        if (!inverted) {
            c = 255 - c;
            m = 255 - m;
            y = 255 - y;
            k = 255 - k;
        }
        uint8_t red = static_cast<uint8_t>((c * k + 127) / 255);
        uint8_t green = static_cast<uint8_t>((m * k + 127) / 255);
        uint8_t blue = static_cast<uint8_t>((y * k + 127) / 255);
        out[x * 3] = order == KV_ORDER_RGB ? red : blue;
        out[x * 3 + 1] = green;
        out[x * 3 + 2] = order == KV_ORDER_RGB ? blue : red;
    }
}

// cmykRow is scratch for four bytes a pixel, used for CMYK files only.
int32_t ReadJpegRows(JpegDecompressor& decompressor, KvBitmap& bitmap, const JpegLayout& layout, uint8_t* cmykRow,
                     uint32_t order)
{
    jpeg_decompress_struct& info = decompressor.info();
    if (setjmp(decompressor.errors().jump))
        return FailureStatus(decompressor);
    while (info.output_scanline < info.output_height) {
        int32_t row = static_cast<int32_t>(info.output_scanline);
        JSAMPROW target = layout.cmyk ? cmykRow : BitmapRow(bitmap, row);
        // Our source never suspends, so no rows read means the data is bad.
        if (jpeg_read_scanlines(&info, &target, 1) != 1)
            return ERROR_FILE_FORMAT;
        if (layout.cmyk)
            CmykRowToColour(cmykRow, BitmapRow(bitmap, row), layout.width, layout.invertedCmyk, order);
    }
    jpeg_finish_decompress(&info);
    return SUCCESS;
}

}  // namespace

int32_t DecodeJpeg(const uint8_t* data, size_t size, uint32_t order, KvBitmap& bitmap)
{
    JpegDecompressor decompressor;
    JpegLayout layout;
    if (int32_t status = StartJpeg(decompressor, data, size, order, layout); status != SUCCESS)
        return status;
    jpeg_decompress_struct& info = decompressor.info();
    if (info.output_width != layout.width || info.output_height != layout.height ||
        info.output_components != static_cast<int>(layout.cmyk ? 4 : layout.bitsPerPixel / 8))
        return ERROR_FILE_FORMAT;

    KvBitmap decoded;
    if (int32_t status = InitBitmap(decoded, kKvBitmapSize, static_cast<int32_t>(layout.width),
                                    static_cast<int32_t>(layout.height), layout.bitsPerPixel, order);
        status != SUCCESS)
        return status;
    decoded.xResolution = layout.xDpi > 0 ? layout.xDpi : DefaultLoadResolution(true);
    decoded.yResolution = layout.yDpi > 0 ? layout.yDpi : DefaultLoadResolution(false);
    if (int32_t status = AllocateBitmap(decoded); status != SUCCESS)
        return status;
    BitmapPixelsOwner owner(decoded);
    TrackedPtr<uint8_t> cmykRow;
    if (layout.cmyk) {
        cmykRow.reset(static_cast<uint8_t*>(KV_ALLOC(layout.width, 4)));
        if (!cmykRow)
            return ERROR_NO_MEMORY;
    }
    if (int32_t status = ReadJpegRows(decompressor, decoded, layout, cmykRow.get(), order); status != SUCCESS)
        return status;
    bitmap = decoded;
    owner.Release();
    return SUCCESS;
}
