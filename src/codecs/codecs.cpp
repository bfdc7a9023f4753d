#include "codecs/codecs.h"

#include <cstring>
#include <limits>
#include <new>
#include <string>

#include "base/base_file.h"
#include "base/bitmap.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "codecs/image_decoders.h"

namespace {

// A file larger than this cannot hold a picture we would accept anyway.
constexpr int64_t kMaxImageFileBytes = int64_t(1) << 31;

class FileDescriptor {
public:
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~FileDescriptor()
    {
        if (descriptor_ >= 0)
            BaseFileClose(descriptor_);
    }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int get() const { return descriptor_; }

private:
    int descriptor_;
};

bool IsKnownOrder(uint32_t order) { return order == KV_ORDER_BGR || order == KV_ORDER_RGB; }

}  // namespace

int32_t DefaultLoadResolution(bool horizontal)
{
    int32_t dpi = horizontal ? GetDefaultLoadXResolution() : GetDefaultLoadYResolution();
    return dpi < 1 ? 96 : dpi;
}

bool IsWithinPixelLimit(uint64_t width, uint64_t height)
{
    return width > 0 && height > 0 && width <= KV_BITMAP_MAX_PIXELS && height <= KV_BITMAP_MAX_PIXELS &&
           width * height <= KV_BITMAP_MAX_PIXELS;
}

bool CanDataHoldPixels(uint64_t width, uint64_t height, size_t size, uint64_t pixelsPerByte)
{
    // Both sides stay far below 2^64: width * height is within the pixel
    // limit by now, and size * pixelsPerByte is checked against overflow.
    constexpr uint64_t kAllowancePixels = 4096;
    uint64_t pixels = width * height;
    if (pixels <= kAllowancePixels)
        return true;
    if (size > (UINT64_MAX - kAllowancePixels) / pixelsPerByte)
        return true;
    return pixels <= static_cast<uint64_t>(size) * pixelsPerByte + kAllowancePixels;
}

int32_t DetectImageFormat(const void* data, size_t size)
{
    static const uint8_t kPng[] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A};
    static const uint8_t kJpeg[] = {0xFF, 0xD8, 0xFF};
    static const uint8_t kGif[] = {'G', 'I', 'F'};
    if (!data)
        return kImageFormatUnknown;
    auto startsWith = [&](const uint8_t* signature, size_t length) {
        return size >= length && std::memcmp(data, signature, length) == 0;
    };
    if (startsWith(kPng, sizeof(kPng)))
        return kImageFormatPng;
    if (startsWith(kJpeg, sizeof(kJpeg)))
        return kImageFormatJpeg;
    if (startsWith(kGif, sizeof(kGif)))
        return kImageFormatGif;
    return kImageFormatUnknown;
}

int32_t CodecLoadMemory(const void* data, size_t size, KvBitmap& bitmap, uint32_t bitsPerPixel, uint32_t order)
{
    if (!data || (bitsPerPixel != 0 && !IsValidBitsPerPixel(bitsPerPixel)) || !IsKnownOrder(order))
        return ERROR_INV_PARAMETER;
    const auto* bytes = static_cast<const uint8_t*>(data);
    KvBitmap decoded{};
    int32_t status = ERROR_FILE_FORMAT;
    switch (DetectImageFormat(data, size)) {
    case kImageFormatPng:
        status = DecodePng(bytes, size, order, decoded);
        break;
    case kImageFormatJpeg:
        status = DecodeJpeg(bytes, size, order, decoded);
        break;
    case kImageFormatGif:
        status = DecodeGif(bytes, size, order, decoded);
        break;
    default:
        return ERROR_FILE_FORMAT;
    }
    if (status != SUCCESS)
        return status;
    BitmapPixelsOwner owner(decoded);
    bool wantsConversion = bitsPerPixel != 0 && bitsPerPixel != decoded.bitsPerPixel;
    if (wantsConversion) {
        if (status = ConvertBitmap(decoded, decoded, bitsPerPixel, order); status != SUCCESS)
            return status;
    }
    decoded.order = order;
    bitmap = decoded;
    owner.Release();
    return SUCCESS;
}

int32_t CodecLoadFile(const char* pathUtf8, KvBitmap& bitmap, uint32_t bitsPerPixel, uint32_t order)
{
    if (!pathUtf8)
        return ERROR_INV_PARAMETER;
    FileDescriptor file(BaseFileOpen(pathUtf8, BaseFileMode::Read));
    if (file.get() < 0)
        return ERROR_FILE_OPEN;
    int64_t length = BaseFileSeek(file.get(), 0, SEEK_END);
    if (length < 0 || BaseFileSeek(file.get(), 0, SEEK_SET) != 0)
        return ERROR_FILE_SEEK;
    if (length == 0)
        return ERROR_FILE_FORMAT;
    if (length > kMaxImageFileBytes)
        return ERROR_NO_MEMORY;
    TrackedPtr<uint8_t> contents(static_cast<uint8_t*>(KV_ALLOC(static_cast<size_t>(length), 1)));
    if (!contents)
        return ERROR_NO_MEMORY;
    if (BaseFileRead(file.get(), contents.get(), static_cast<size_t>(length)) != length)
        return ERROR_FILE_READ;
    return CodecLoadMemory(contents.get(), static_cast<size_t>(length), bitmap, bitsPerPixel, order);
}

int32_t CodecLoadFileWide(const char16_t* path, KvBitmap& bitmap, uint32_t bitsPerPixel, uint32_t order)
{
    if (!path)
        return ERROR_INV_PARAMETER;
    std::string pathUtf8;
    try {
        pathUtf8 = ToUtf8(std::u16string_view(path, WideLength(path)));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return CodecLoadFile(pathUtf8.c_str(), bitmap, bitsPerPixel, order);
}

int32_t CodecSavePngMemory(const KvBitmap& bitmap, uint32_t bitsPerPixel, void** block, size_t* size)
{
    if (!block || !size)
        return ERROR_INV_PARAMETER;
    *block = nullptr;
    *size = 0;
    if (bitsPerPixel != 0 && !IsValidBitsPerPixel(bitsPerPixel))
        return ERROR_INV_PARAMETER;
    if (!BitmapRow(bitmap, 0))
        return ERROR_INV_PARAMETER;
    uint32_t depth = bitsPerPixel ? bitsPerPixel : bitmap.bitsPerPixel;

    // PNG has no 5-6-5: such pixels go out as 8-bit RGB, from which a load
    // at 16 bits gives the same words back.
    KvBitmap converted{};
    BitmapPixelsOwner owner(converted);
    const KvBitmap* source = &bitmap;
    bool colour16 = depth == 16 && !(depth == bitmap.bitsPerPixel && IsGreyBitmap(bitmap));
    if (colour16) {
        KvBitmap packed{};
        BitmapPixelsOwner packedOwner(packed);
        if (int32_t status = ConvertBitmap(packed, bitmap, 16, bitmap.order); status != SUCCESS)
            return status;
        if (int32_t status = ConvertBitmap(converted, packed, 24, KV_ORDER_BGR); status != SUCCESS)
            return status;
        source = &converted;
    } else if (depth != bitmap.bitsPerPixel) {
        if (int32_t status = ConvertBitmap(converted, bitmap, depth, bitmap.order); status != SUCCESS)
            return status;
        source = &converted;
    }
    return EncodePng(*source, block, size);
}

int32_t CodecSaveMemory(const KvBitmap& bitmap, int32_t format, uint32_t bitsPerPixel, int32_t quality,
                        void** block, size_t* size)
{
    if (!block || !size)
        return ERROR_INV_PARAMETER;
    if (format != kImageFormatPng)
        return ERROR_NOT_SUPPORTED;
    return CodecSavePngMemory(bitmap, bitsPerPixel, block, size);
}
