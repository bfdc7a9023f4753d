#include "flatten/flat_images.h"

#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include <sys/stat.h>

#include "base/bitmap.h"
#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "codecs/codecs.h"
#include "document/svg_data_uri.h"
#include "document/svg_document_handler.h"
#include "flatten/paint_and_clip.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

constexpr double kFitTolerance = 0.005;

bool StartsWithNoCase(std::string_view text, std::string_view prefix)
{
    if (text.size() < prefix.size())
        return false;
    for (size_t i = 0; i < prefix.size(); ++i) {
        char c = text[i];
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
        if (c != prefix[i])
            return false;
    }
    return true;
}

// The canonical form of a path that exists; empty when it does not.
std::string RealPath(const std::string& path)
{
    char* resolved = realpath(path.c_str(), nullptr);
    if (!resolved)
        return std::string();
    std::string result(resolved);
    std::free(resolved);
    return result;
}

// The file an href names under the run's policy; empty when it may not be
// opened or is not a regular file (a folder or a device reads as nothing).
std::string AllowedFilePath(CSvgFlattener& flattener, std::string href)
{
    const uint32_t flags = flattener.options().uFlags;
    if (flags & SVG_FLAT_NO_EXTERNAL_FILES)
        return std::string();
    if (StartsWithNoCase(href, "file://"))
        href.erase(0, 7);
    if (href.empty())
        return std::string();
    const std::string& base = flattener.source() ? flattener.source()->baseFolder() : std::string();
    std::string path = href;
    if (href[0] != '/' && !base.empty())
        path = base + "/" + href;
    struct stat info {};
    if (stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode))
        return std::string();
    if (flags & SVG_FLAT_FILES_IN_BASE_FOLDER) {
        std::string folder = RealPath(base.empty() ? std::string(".") : base);
        const std::string file = RealPath(path);
        if (folder.empty() || file.empty())
            return std::string();
        if (folder.back() != '/')
            folder += '/';
        // Links are followed first, so a link inside pointing outside is out.
        if (file.compare(0, folder.size(), folder) != 0)
            return std::string();
    }
    return path;
}

}  // namespace

FlatBitmap::FlatBitmap()
{
    std::memset(&bitmap_, 0, sizeof bitmap_);
    bitmap_.size = kKvBitmapSize;
}

FlatBitmap::~FlatBitmap()
{
    if (loaded())
        FreeBitmap(bitmap_);
}

int32_t LoadBitmapFromHref(CSvgFlattener& flattener, const KvChar* href, uint32_t bitsPerPixel, KvBitmap& bitmap,
                           bool* wasFile)
{
    if (wasFile)
        *wasFile = false;
    if (!href || !*href)
        return FAILURE;
    std::string text;
    try {
        text = ToUtf8(href);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    const size_t first = text.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return FAILURE;
    text.erase(0, first);
    if (StartsWithNoCase(text, "data:")) {
        SvgDataUri uri{};
        uri.size = kSvgDataUriSize;
        if (ParseDataUri(href, &uri, kSvgDataUriSize) != SUCCESS || !uri.isDataUri)
            return FAILURE;
        void* block = nullptr;
        size_t size = 0;
        if (int32_t status = DecodeDataUriToMemory(&uri, &block, &size); status != SUCCESS)
            return status == ERROR_NO_MEMORY ? status : FAILURE;
        const int32_t status = CodecLoadMemory(block, size, bitmap, bitsPerPixel, KV_ORDER_BGR);
        KV_FREE(block);
        // A picture the decoders refuse, even for its size, is no picture.
        return status == SUCCESS ? SUCCESS : FAILURE;
    }
    std::string path;
    try {
        path = AllowedFilePath(flattener, text);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (path.empty())
        return FAILURE;
    if (CodecLoadFile(path.c_str(), bitmap, bitsPerPixel, KV_ORDER_BGR) != SUCCESS)
        return FAILURE;
    if (wasFile)
        *wasFile = true;
    return SUCCESS;
}

int32_t EncodePngDataUri(const KvBitmap& bitmap, std::u16string& uri)
{
    void* block = nullptr;
    size_t size = 0;
    if (int32_t status = CodecSavePngMemory(bitmap, 0, &block, &size); status != SUCCESS)
        return status;
    std::string base64;
    const bool encoded = EncodeBase64(block, size, base64);
    KV_FREE(block);
    if (!encoded)
        return ERROR_NO_MEMORY;
    try {
        uri = u"data:image/png;base64," + ToUtf16(base64);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

bool FitImageToBox(double& x, double& y, double& width, double& height, double bitmapWidth, double bitmapHeight)
{
    const bool sameWidth = std::fabs(width - bitmapWidth) <= kFitTolerance;
    const bool sameHeight = std::fabs(height - bitmapHeight) <= kFitTolerance;
    if (sameWidth && sameHeight)
        return false;
    const float boxRatio = static_cast<float>(height / width);
    const float bitmapRatio = static_cast<float>(bitmapHeight / bitmapWidth);
    if (std::fabs(boxRatio - bitmapRatio) <= kFitTolerance)
        return true;
    // The box is shrunk on its centre to the picture's proportions: a box
    // too tall keeps its width, one too wide keeps its height.
    if (boxRatio > bitmapRatio) {
        const double fitted = width * bitmapRatio;
        y += (height - fitted) / 2;
        height = fitted;
    } else {
        const double fitted = height / bitmapRatio;
        x += (width - fitted) / 2;
        width = fitted;
    }
    return true;
}

int32_t FinishImage(CSvgFlattener& flattener, CSvgContext& context, SvgImageElement& image, const SvgMatrix& m,
                    double x, double y, double width, double height)
{
    const bool placement = std::fabs(m.b) <= kSvgMatrixTolerance && std::fabs(m.c) <= kSvgMatrixTolerance &&
                           m.a > 0 && m.d > 0;
    SvgMatrix extra;
    if (placement) {
        const KvPoint topLeft = m.Apply(x, y);
        x = topLeft.x;
        y = topLeft.y;
        width *= m.a;
        height *= m.d;
    } else {
        extra = m;
        if (int32_t status = SvgMatrixToList(m, &image.transform); status != SUCCESS)
            return status;
    }
    auto plain = [](double value) { return SvgLength{kSvgLengthSize, value, SVG_UNIT_NONE, 0}; };
    image.x = plain(x);
    image.y = plain(y);
    image.width = plain(width);
    image.height = plain(height);

    CSvgBoundingBox box;
    box.Add(KvPoint{x, y});
    box.Add(KvPoint{x + width, y + height});
    const bool hasExtra = !IsIdentitySvgMatrix(extra);
    if (int32_t status =
            ResolvePaintAndClip(flattener, context, &image, SVG_ELEMENT_IMAGE, box, hasExtra ? &extra : nullptr);
        status != SUCCESS)
        return status;
    FreeTrackedField(reinterpret_cast<void**>(&image.core.id));
    return flattener.InsertFlatElement(context, &image, SVG_ELEMENT_IMAGE, box);
}

int32_t FlattenImage(CSvgFlattener& flattener, CSvgContext& parent)
{
    if (flattener.textOnly() && parent.mode == FlattenMode::Normal)
        return SUCCESS;
    ScopedRecord<SvgImageElement> record(SVG_ELEMENT_IMAGE);
    if (int32_t status = parent.sourceNode.Read(record); status != SUCCESS)
        return status;
    SvgImageElement& image = record.get();
    CSvgContext context;
    if (int32_t status = context.Derive(parent, &image.transform, &image.style); status != SUCCESS)
        return status;
    if (int32_t status = ReadElementMask(flattener, context); status != SUCCESS)
        return status;
    context.style.MoveInto(image.style);
    FreeTransformList(&image.transform);
    ResolveContextLengths(context, image.style);

    const int32_t font = context.fontSize;
    auto resolve = [&](SvgLength& length, bool vertical) {
        ResolveSvgLength(length, vertical, true, font, context.viewportWidth, context.viewportHeight);
        return IsUnsetDouble(length.value) ? 0.0 : length.value;
    };
    double x = resolve(image.x, false), y = resolve(image.y, true);
    double width = resolve(image.width, false), height = resolve(image.height, true);

    FlatBitmap bitmap;
    bool wasFile = false;
    const int32_t loaded = LoadBitmapFromHref(flattener, image.href, 32, bitmap.get(), &wasFile);
    if (loaded == ERROR_NO_MEMORY)
        return loaded;
    if (loaded != SUCCESS)
        return SUCCESS;  // nothing to show: the image is dropped
    const KvBitmap& picture = bitmap.get();
    FitImageToBox(x, y, width, height, picture.width, picture.height);

    std::u16string href;
    if (context.maskId) {
        bool masked = false;
        if (int32_t status = ApplyMaskToImage(flattener, context, bitmap.get(), x, y, width, height, href, &masked);
            status != SUCCESS)
            return status;
        if (!masked)
            return SUCCESS;  // a mask that finds no picture drops the image
    } else if (wasFile) {
        // A file travels inside the flat document, as PNG whatever it was.
        if (int32_t status = EncodePngDataUri(picture, href); status != SUCCESS)
            return status;
    }
    if (!href.empty()) {
        FreeTrackedField(reinterpret_cast<void**>(&image.href));
        if (int32_t status = CopyTrackedText(&image.href, href.c_str()); status != SUCCESS)
            return status;
    }

    return FinishImage(flattener, context, image, context.matrix, x, y, width, height);
}
