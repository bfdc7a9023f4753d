// Exports around rasterisation: bitmap records and image files.
#include "kvsvg/kvbase.h"

#include "base/bitmap.h"
#include "codecs/codecs.h"

int32_t K_BitmapInit(KvBitmap* bitmap, uint32_t size, int32_t width, int32_t height, uint32_t bitsPerPixel,
                     uint32_t order)
{
    if (!bitmap)
        return ERROR_INV_PARAMETER;
    return InitBitmap(*bitmap, size, width, height, bitsPerPixel, order);
}

int32_t K_BitmapAllocate(KvBitmap* bitmap)
{
    if (!bitmap)
        return ERROR_INV_PARAMETER;
    if (bitmap->size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    return AllocateBitmap(*bitmap);
}

int32_t K_BitmapFree(KvBitmap* bitmap)
{
    if (!bitmap)
        return ERROR_INV_PARAMETER;
    if (bitmap->size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    FreeBitmap(*bitmap);
    return SUCCESS;
}

int32_t K_BitmapConvert(KvBitmap* target, const KvBitmap* source, uint32_t bitsPerPixel, uint32_t order)
{
    if (!target || !source)
        return ERROR_INV_PARAMETER;
    if (source->size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    return ConvertBitmap(*target, *source, bitsPerPixel, order);
}

int32_t K_BitmapLoadFile(const KvChar* path, KvBitmap* bitmap, uint32_t size, uint32_t bitsPerPixel, uint32_t order)
{
    if (!path || !bitmap)
        return ERROR_INV_PARAMETER;
    if (size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    return CodecLoadFileWide(path, *bitmap, bitsPerPixel, order);
}

int32_t K_BitmapLoadMemory(const void* block, size_t blockSize, KvBitmap* bitmap, uint32_t size,
                           uint32_t bitsPerPixel, uint32_t order)
{
    if (!block || !bitmap)
        return ERROR_INV_PARAMETER;
    if (size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    return CodecLoadMemory(block, blockSize, *bitmap, bitsPerPixel, order);
}

int32_t K_BitmapSavePng(const KvBitmap* bitmap, uint32_t bitsPerPixel, void** block, size_t* blockSize)
{
    if (!bitmap || !block || !blockSize)
        return ERROR_INV_PARAMETER;
    if (bitmap->size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    return CodecSavePngMemory(*bitmap, bitsPerPixel, block, blockSize);
}
