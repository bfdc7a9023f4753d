#include "base/bitmap.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <limits>
#include <utility>

#include "base/tracked_memory.h"

namespace {

std::atomic<int32_t> g_defaultLoadXResolution{96};
std::atomic<int32_t> g_defaultLoadYResolution{96};

constexpr int32_t kDefaultResolution = 96;

// The record is the caller's to edit, so nothing about it is trusted before
// pixels are touched: depth, sides, stride and block size must agree.
bool HasUsablePixels(const KvBitmap& bitmap)
{
    if (!(bitmap.flags & KV_BITMAP_ALLOCATED) || !bitmap.data)
        return false;
    if (!IsValidBitsPerPixel(bitmap.bitsPerPixel) || bitmap.width <= 0 || bitmap.height <= 0)
        return false;
    uint32_t minimumStride = BytesPerLineFor(bitmap.width, bitmap.bitsPerPixel);
    if (minimumStride == 0 || bitmap.bytesPerLine < minimumStride)
        return false;
    return static_cast<uint64_t>(bitmap.bytesPerLine) * static_cast<uint64_t>(bitmap.height) <= bitmap.dataSize;
}

bool IsGrey16(const KvBitmap& bitmap) { return bitmap.bitsPerPixel == 16 && (bitmap.flags & KV_BITMAP_GREY); }

uint16_t Widen8(uint8_t value) { return static_cast<uint16_t>(value * 257u); }
uint8_t Narrow16(uint16_t value) { return static_cast<uint8_t>((value * 255u + 32767u) / 65535u); }
uint8_t Expand5(uint32_t value) { return static_cast<uint8_t>((value << 3) | (value >> 2)); }
uint8_t Expand6(uint32_t value) { return static_cast<uint8_t>((value << 2) | (value >> 4)); }
uint32_t Reduce5(uint8_t value) { return (value * 31u + 127u) / 255u; }
uint32_t Reduce6(uint8_t value) { return (value * 63u + 127u) / 255u; }
uint16_t ReadWord(const uint8_t* bytes) { return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8)); }
void WriteWord(uint8_t* bytes, uint16_t value)
{
    bytes[0] = static_cast<uint8_t>(value);
    bytes[1] = static_cast<uint8_t>(value >> 8);
}

uint32_t PaletteIndexAt(const uint8_t* row, int32_t x, uint32_t bitsPerPixel)
{
    switch (bitsPerPixel) {
    case 1:
        return (row[x >> 3] >> (7 - (x & 7))) & 1u;
    case 4:
        return (x & 1) ? (row[x >> 1] & 0x0Fu) : (row[x >> 1] >> 4);
    default:
        return row[x];
    }
}

void SetPaletteIndexAt(uint8_t* row, int32_t x, uint32_t bitsPerPixel, uint32_t index)
{
    switch (bitsPerPixel) {
    case 1: {
        uint8_t mask = static_cast<uint8_t>(0x80u >> (x & 7));
        row[x >> 3] = static_cast<uint8_t>(index ? (row[x >> 3] | mask) : (row[x >> 3] & ~mask));
        break;
    }
    case 4:
        if (x & 1)
            row[x >> 1] = static_cast<uint8_t>((row[x >> 1] & 0xF0u) | (index & 0x0Fu));
        else
            row[x >> 1] = static_cast<uint8_t>((row[x >> 1] & 0x0Fu) | ((index & 0x0Fu) << 4));
        break;
    default:
        row[x] = static_cast<uint8_t>(index);
        break;
    }
}

void WritePixels(KvBitmap& bitmap, int32_t row, const Pixel16* pixels, int32_t count)
{
    uint8_t* out = BitmapRow(bitmap, row);
    bool rgb = bitmap.order == KV_ORDER_RGB;
    for (int32_t x = 0; x < count; ++x) {
        const Pixel16& p = pixels[x];
        uint16_t first = rgb ? p.red : p.blue;
        uint16_t third = rgb ? p.blue : p.red;
        switch (bitmap.bitsPerPixel) {
        case 16:
            WriteWord(out + x * 2, static_cast<uint16_t>(Reduce5(Narrow16(first)) | (Reduce6(Narrow16(p.green)) << 5) |
                                                         (Reduce5(Narrow16(third)) << 11)));
            break;
        case 24:
            out[x * 3] = Narrow16(first);
            out[x * 3 + 1] = Narrow16(p.green);
            out[x * 3 + 2] = Narrow16(third);
            break;
        case 32:
            out[x * 4] = Narrow16(first);
            out[x * 4 + 1] = Narrow16(p.green);
            out[x * 4 + 2] = Narrow16(third);
            out[x * 4 + 3] = Narrow16(p.alpha);
            break;
        case 64:
            WriteWord(out + x * 8, first);
            WriteWord(out + x * 8 + 2, p.green);
            WriteWord(out + x * 8 + 4, third);
            WriteWord(out + x * 8 + 6, p.alpha);
            break;
        default:
            break;
        }
    }
}

// ---- Palettes for depths of 8 and below ------------------------------------

uint32_t PackRgb(uint8_t red, uint8_t green, uint8_t blue) { return (uint32_t(red) << 16) | (green << 8) | blue; }

// A set of at most 256 colours with their palette index, open addressing.
class ColourIndex {
public:
    // Returns the index, adding the colour when there is room; -1 when full.
    int32_t FindOrAdd(uint32_t rgb, uint32_t capacity)
    {
        uint32_t slot = Hash(rgb);
        while (keys_[slot]) {
            if (keys_[slot] == rgb + 1)
                return values_[slot];
            slot = (slot + 1) & (kSlots - 1);
        }
        if (count_ >= capacity)
            return -1;
        keys_[slot] = rgb + 1;
        values_[slot] = static_cast<int32_t>(count_);
        colours_[count_++] = rgb;
        return values_[slot];
    }
    uint32_t count() const { return count_; }
    uint32_t colour(uint32_t index) const { return colours_[index]; }

private:
    static constexpr uint32_t kSlots = 1024;
    static uint32_t Hash(uint32_t rgb) { return (rgb * 2654435761u) >> 22; }
    uint32_t keys_[kSlots] = {};
    int32_t values_[kSlots] = {};
    uint32_t colours_[256] = {};
    uint32_t count_ = 0;
};

enum class PaletteKind { SourcePalette, ExactColours, Fixed };

constexpr uint8_t kStandard16[16][3] = {
    {0, 0, 0},     {128, 0, 0},   {0, 128, 0},   {128, 128, 0}, {0, 0, 128},   {128, 0, 128},
    {0, 128, 128}, {192, 192, 192}, {128, 128, 128}, {255, 0, 0}, {0, 255, 0}, {255, 255, 0},
    {0, 0, 255},   {255, 0, 255}, {0, 255, 255}, {255, 255, 255},
};

void SetEntry(KvPaletteEntry& entry, uint8_t red, uint8_t green, uint8_t blue)
{
    entry.red = red;
    entry.green = green;
    entry.blue = blue;
    entry.reserved = 0;
}

void SetFixedPalette(KvBitmap& bitmap)
{
    if (bitmap.bitsPerPixel == 1) {
        SetEntry(bitmap.palette[0], 0, 0, 0);
        SetEntry(bitmap.palette[1], 255, 255, 255);
        bitmap.paletteCount = 2;
    } else if (bitmap.bitsPerPixel == 4) {
        for (uint32_t i = 0; i < 16; ++i)
            SetEntry(bitmap.palette[i], kStandard16[i][0], kStandard16[i][1], kStandard16[i][2]);
        bitmap.paletteCount = 16;
    } else {
        for (uint32_t i = 0; i < 216; ++i)
            SetEntry(bitmap.palette[i], static_cast<uint8_t>(i / 36 * 51), static_cast<uint8_t>(i / 6 % 6 * 51),
                     static_cast<uint8_t>(i % 6 * 51));
        bitmap.paletteCount = 216;
    }
}

uint32_t NearestFixedIndex(uint32_t bitsPerPixel, uint8_t red, uint8_t green, uint8_t blue)
{
    if (bitsPerPixel == 1)
        return (red * 299u + green * 587u + blue * 114u) >= 128u * 1000u ? 1u : 0u;
    if (bitsPerPixel == 8) {
        auto level = [](uint8_t value) { return (value * 5u + 127u) / 255u; };
        return level(red) * 36u + level(green) * 6u + level(blue);
    }
    uint32_t best = 0;
    int32_t bestDistance = std::numeric_limits<int32_t>::max();
    for (uint32_t i = 0; i < 16; ++i) {
        int32_t dr = red - kStandard16[i][0], dg = green - kStandard16[i][1], db = blue - kStandard16[i][2];
        int32_t distance = dr * dr + dg * dg + db * db;
        if (distance < bestDistance) {
            bestDistance = distance;
            best = i;
        }
    }
    return best;
}

void ConvertToPalette(KvBitmap& target, const KvBitmap& source, Pixel16* rowPixels)
{
    const uint32_t capacity = 1u << target.bitsPerPixel;
    const int32_t width = source.width;
    PaletteKind kind = PaletteKind::Fixed;
    ColourIndex colours;

    if (source.bitsPerPixel <= 8 && source.paletteCount <= capacity) {
        kind = PaletteKind::SourcePalette;
        std::memcpy(target.palette, source.palette, sizeof(target.palette));
        target.paletteCount = source.paletteCount;
    } else {
        kind = PaletteKind::ExactColours;
        for (int32_t y = 0; y < source.height && kind == PaletteKind::ExactColours; ++y) {
            ReadPixels(source, y, rowPixels, width);
            for (int32_t x = 0; x < width; ++x) {
                const Pixel16& p = rowPixels[x];
                if (colours.FindOrAdd(PackRgb(Narrow16(p.red), Narrow16(p.green), Narrow16(p.blue)), capacity) < 0) {
                    kind = PaletteKind::Fixed;
                    break;
                }
            }
        }
        if (kind == PaletteKind::ExactColours) {
            for (uint32_t i = 0; i < colours.count(); ++i) {
                uint32_t rgb = colours.colour(i);
                SetEntry(target.palette[i], static_cast<uint8_t>(rgb >> 16), static_cast<uint8_t>(rgb >> 8),
                         static_cast<uint8_t>(rgb));
            }
            target.paletteCount = colours.count();
        } else {
            SetFixedPalette(target);
        }
    }

    for (int32_t y = 0; y < source.height; ++y) {
        uint8_t* out = BitmapRow(target, y);
        const uint8_t* in = BitmapRow(source, y);
        if (kind == PaletteKind::SourcePalette) {
            for (int32_t x = 0; x < width; ++x) {
                uint32_t index = PaletteIndexAt(in, x, source.bitsPerPixel);
                // An index the target cannot hold lay past the source's
                // palette, which fits: entry 0 stands in for it.
                SetPaletteIndexAt(out, x, target.bitsPerPixel, index < capacity ? index : 0);
            }
            continue;
        }
        ReadPixels(source, y, rowPixels, width);
        for (int32_t x = 0; x < width; ++x) {
            uint8_t red = Narrow16(rowPixels[x].red), green = Narrow16(rowPixels[x].green),
                    blue = Narrow16(rowPixels[x].blue);
            uint32_t index = kind == PaletteKind::ExactColours
                                 ? static_cast<uint32_t>(colours.FindOrAdd(PackRgb(red, green, blue), capacity))
                                 : NearestFixedIndex(target.bitsPerPixel, red, green, blue);
            SetPaletteIndexAt(out, x, target.bitsPerPixel, index);
        }
    }
}

}  // namespace

bool IsValidBitsPerPixel(uint32_t bitsPerPixel)
{
    switch (bitsPerPixel) {
    case 1: case 4: case 8: case 16: case 24: case 32: case 64:
        return true;
    default:
        return false;
    }
}

uint32_t BytesPerLineFor(int32_t width, uint32_t bitsPerPixel)
{
    if (width < 0)
        return 0;
    uint64_t bytes = (static_cast<uint64_t>(width) * bitsPerPixel + 31u) / 32u * 4u;
    return bytes > std::numeric_limits<uint32_t>::max() ? 0 : static_cast<uint32_t>(bytes);
}

void SetGreyPalette(KvBitmap& bitmap)
{
    if (bitmap.bitsPerPixel > 8 || !IsValidBitsPerPixel(bitmap.bitsPerPixel)) {
        bitmap.paletteCount = 0;
        return;
    }
    uint32_t count = 1u << bitmap.bitsPerPixel;
    uint32_t step = 255u / (count - 1);
    for (uint32_t i = 0; i < count; ++i) {
        uint8_t level = static_cast<uint8_t>(i * step);
        SetEntry(bitmap.palette[i], level, level, level);
    }
    bitmap.paletteCount = count;
}

bool IsGreyBitmap(const KvBitmap& bitmap)
{
    if (IsGrey16(bitmap))
        return true;
    if (bitmap.bitsPerPixel > 8 || !IsValidBitsPerPixel(bitmap.bitsPerPixel))
        return false;
    uint32_t count = 1u << bitmap.bitsPerPixel;
    if (bitmap.paletteCount != count)
        return false;
    uint32_t step = 255u / (count - 1);
    for (uint32_t i = 0; i < count; ++i) {
        const KvPaletteEntry& entry = bitmap.palette[i];
        if (entry.red != i * step || entry.green != i * step || entry.blue != i * step)
            return false;
    }
    return true;
}

int32_t InitBitmap(KvBitmap& bitmap, uint32_t size, int32_t width, int32_t height, uint32_t bitsPerPixel,
                   uint32_t order)
{
    if (size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    if (!IsValidBitsPerPixel(bitsPerPixel) || (order != KV_ORDER_BGR && order != KV_ORDER_RGB) || width < 0 ||
        height < 0)
        return ERROR_INV_PARAMETER;
    uint32_t bytesPerLine = BytesPerLineFor(width, bitsPerPixel);
    if (width > 0 && bytesPerLine == 0)
        return ERROR_NO_MEMORY;
    std::memset(&bitmap, 0, sizeof(bitmap));
    bitmap.size = size;
    bitmap.width = width;
    bitmap.height = height;
    bitmap.bitsPerPixel = bitsPerPixel;
    bitmap.bytesPerLine = bytesPerLine;
    bitmap.order = order;
    bitmap.viewPerspective = KV_TOP_LEFT;
    bitmap.xResolution = kDefaultResolution;
    bitmap.yResolution = kDefaultResolution;
    SetGreyPalette(bitmap);
    return SUCCESS;
}

int32_t AllocateBitmap(KvBitmap& bitmap)
{
    if (bitmap.size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    if ((bitmap.flags & KV_BITMAP_ALLOCATED) || !IsValidBitsPerPixel(bitmap.bitsPerPixel) || bitmap.width <= 0 ||
        bitmap.height <= 0)
        return ERROR_INV_PARAMETER;
    if (static_cast<uint64_t>(bitmap.width) * static_cast<uint64_t>(bitmap.height) > KV_BITMAP_MAX_PIXELS)
        return ERROR_NO_MEMORY;
    uint32_t minimumStride = BytesPerLineFor(bitmap.width, bitmap.bitsPerPixel);
    // A caller may ask for a wider stride than needed, never a narrower one.
    if (bitmap.bytesPerLine == 0)
        bitmap.bytesPerLine = minimumStride;
    if (minimumStride == 0 || bitmap.bytesPerLine < minimumStride)
        return ERROR_INV_PARAMETER;
    uint64_t total = static_cast<uint64_t>(bitmap.bytesPerLine) * static_cast<uint64_t>(bitmap.height);
    if (total > std::numeric_limits<size_t>::max())
        return ERROR_NO_MEMORY;
    auto* data = static_cast<uint8_t*>(KV_ALLOC_ZERO(static_cast<size_t>(total), 1));
    if (!data)
        return ERROR_NO_MEMORY;
    bitmap.data = data;
    bitmap.dataSize = static_cast<size_t>(total);
    bitmap.flags |= KV_BITMAP_ALLOCATED;
    bitmap.accessCount = 0;
    return SUCCESS;
}

void FreeBitmap(KvBitmap& bitmap)
{
    if (!(bitmap.flags & KV_BITMAP_ALLOCATED))
        return;
    if (bitmap.data)
        KV_FREE(bitmap.data);
    bitmap.data = nullptr;
    bitmap.dataSize = 0;
    bitmap.accessCount = 0;
    bitmap.flags &= ~KV_BITMAP_ALLOCATED;
}

uint8_t* BitmapRow(KvBitmap& bitmap, int32_t row)
{
    return const_cast<uint8_t*>(BitmapRow(static_cast<const KvBitmap&>(bitmap), row));
}

const uint8_t* BitmapRow(const KvBitmap& bitmap, int32_t row)
{
    if (!HasUsablePixels(bitmap) || row < 0 || row >= bitmap.height)
        return nullptr;
    int32_t stored = bitmap.viewPerspective == KV_BOTTOM_LEFT ? bitmap.height - 1 - row : row;
    return bitmap.data + static_cast<size_t>(stored) * bitmap.bytesPerLine;
}

int32_t GetBitmapRow(const KvBitmap& bitmap, uint8_t* buffer, int32_t row, uint32_t bytes)
{
    const uint8_t* source = BitmapRow(bitmap, row);
    if (!buffer || !source)
        return ERROR_INV_PARAMETER;
    std::memcpy(buffer, source, std::min(bytes, bitmap.bytesPerLine));
    return SUCCESS;
}

int32_t AccessBitmap(KvBitmap& bitmap)
{
    if (!HasUsablePixels(bitmap))
        return ERROR_INV_PARAMETER;
    ++bitmap.accessCount;
    return SUCCESS;
}

int32_t ReleaseBitmap(KvBitmap& bitmap)
{
    if (bitmap.accessCount == 0)
        return ERROR_INV_PARAMETER;
    --bitmap.accessCount;
    return SUCCESS;
}

int32_t GetDefaultLoadXResolution() { return g_defaultLoadXResolution.load(); }
int32_t GetDefaultLoadYResolution() { return g_defaultLoadYResolution.load(); }

void SetDefaultLoadResolution(int32_t xDpi, int32_t yDpi)
{
    g_defaultLoadXResolution.store(xDpi);
    g_defaultLoadYResolution.store(yDpi);
}

void ReadPixels(const KvBitmap& bitmap, int32_t row, Pixel16* out, int32_t count)
{
    const uint8_t* in = BitmapRow(bitmap, row);
    if (!in || !out)
        return;
    count = std::min(count, bitmap.width);
    bool rgb = bitmap.order == KV_ORDER_RGB;
    for (int32_t x = 0; x < count; ++x) {
        Pixel16& p = out[x];
        uint16_t first = 0, third = 0;
        p.alpha = 0xFFFF;
        switch (bitmap.bitsPerPixel) {
        case 1: case 4: case 8: {
            uint32_t index = PaletteIndexAt(in, x, bitmap.bitsPerPixel);
            KvPaletteEntry entry{0, 0, 0, 0};
            if (index < bitmap.paletteCount && index < 256)
                entry = bitmap.palette[index];
            p.red = Widen8(entry.red);
            p.green = Widen8(entry.green);
            p.blue = Widen8(entry.blue);
            continue;
        }
        case 16: {
            uint16_t word = ReadWord(in + x * 2);
            if (IsGrey16(bitmap)) {
                p.red = p.green = p.blue = word;
                continue;
            }
            first = Widen8(Expand5(word & 0x1Fu));
            p.green = Widen8(Expand6((word >> 5) & 0x3Fu));
            third = Widen8(Expand5(word >> 11));
            break;
        }
        case 24:
            first = Widen8(in[x * 3]);
            p.green = Widen8(in[x * 3 + 1]);
            third = Widen8(in[x * 3 + 2]);
            break;
        case 32:
            first = Widen8(in[x * 4]);
            p.green = Widen8(in[x * 4 + 1]);
            third = Widen8(in[x * 4 + 2]);
            p.alpha = Widen8(in[x * 4 + 3]);
            break;
        case 64:
            first = ReadWord(in + x * 8);
            p.green = ReadWord(in + x * 8 + 2);
            third = ReadWord(in + x * 8 + 4);
            p.alpha = ReadWord(in + x * 8 + 6);
            break;
        default:
            break;
        }
        p.red = rgb ? first : third;
        p.blue = rgb ? third : first;
    }
}

int32_t ConvertBitmap(KvBitmap& target, const KvBitmap& source, uint32_t bitsPerPixel, uint32_t order)
{
    if (!HasUsablePixels(source) || !IsValidBitsPerPixel(bitsPerPixel) ||
        (order != KV_ORDER_BGR && order != KV_ORDER_RGB))
        return ERROR_INV_PARAMETER;

    KvBitmap result;
    if (int32_t status = InitBitmap(result, kKvBitmapSize, source.width, source.height, bitsPerPixel, order);
        status != SUCCESS)
        return status;
    result.viewPerspective = source.viewPerspective;
    result.xResolution = source.xResolution;
    result.yResolution = source.yResolution;
    if (bitsPerPixel == 16 && IsGrey16(source))
        result.flags |= KV_BITMAP_GREY;
    if (int32_t status = AllocateBitmap(result); status != SUCCESS)
        return status;
    BitmapPixelsOwner owner(result);

    // Same layout: rows copy as they are (order means nothing to palettes
    // and grey words).
    bool sameLayout = source.bitsPerPixel == bitsPerPixel &&
                      (bitsPerPixel <= 8 || IsGrey16(source) || source.order == order);
    if (sameLayout) {
        if (bitsPerPixel <= 8) {
            std::memcpy(result.palette, source.palette, sizeof(result.palette));
            result.paletteCount = source.paletteCount;
        }
        size_t rowBytes = BytesPerLineFor(source.width, bitsPerPixel);
        for (int32_t y = 0; y < source.height; ++y)
            std::memcpy(BitmapRow(result, y), BitmapRow(source, y), rowBytes);
    } else {
        TrackedPtr<Pixel16> rowPixels(static_cast<Pixel16*>(KV_ALLOC(static_cast<size_t>(source.width),
                                                                     sizeof(Pixel16))));
        if (!rowPixels)
            return ERROR_NO_MEMORY;
        if (bitsPerPixel <= 8) {
            ConvertToPalette(result, source, rowPixels.get());
        } else {
            for (int32_t y = 0; y < source.height; ++y) {
                ReadPixels(source, y, rowPixels.get(), source.width);
                WritePixels(result, y, rowPixels.get(), source.width);
            }
        }
    }

    // A target that is a by-value copy of source shares its block, which
    // stays source's to free.
    if (&target == &source || target.data != source.data)
        FreeBitmap(target);
    target = result;
    owner.Release();
    return SUCCESS;
}
