#include "filter/raster_road.h"

#include <cmath>
#include <string>

#include "base/bitmap.h"
#include "base/numeric.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/callback_guard.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_view.h"
#include "filter/host_file.h"
#include "flatten/flat_document.h"
#include "kvsvg/kvbase.h"
#include "render/render_document.h"

namespace {

// The information always describes a 640-pixel-wide 24-bit picture: the host
// chooses the real size when it loads, and the drawing's own width travels
// in the vector block.
constexpr int32_t kInfoWidth = 640;
constexpr int32_t kUnknownHeight = 480;
constexpr uint32_t kInfoBitsPerPixel = 24;
constexpr int32_t kCodecOrderBgr = 4;
constexpr uint32_t kWhite = 0xFFFFFF;

// A document made by this road: freed on the way out unless handed to the
// cache's filterData.
class OwnedDocument {
public:
    OwnedDocument() = default;
    ~OwnedDocument() { DestroySvgHandler(document_); }
    OwnedDocument(const OwnedDocument&) = delete;
    OwnedDocument& operator=(const OwnedDocument&) = delete;
    void reset(SvgDocumentHandler* document)
    {
        DestroySvgHandler(document_);
        document_ = document;
    }
    SvgDocumentHandler* get() const { return document_; }
    SvgDocumentHandler* release()
    {
        SvgDocumentHandler* document = document_;
        document_ = nullptr;
        return document;
    }

private:
    SvgDocumentHandler* document_ = nullptr;
};

// The named file, as the document loader reads any file; a host that
// gives only its open descriptor has the file read from that.
int32_t LoadDocument(const KvChar* fileName, int32_t fileHandle, OwnedDocument& document)
{
    if (!fileName && fileHandle < 0)
        return ERROR_INV_PARAMETER;
    std::string path, bytes;
    if (fileName) {
        try {
            path = ToUtf8(fileName);
        } catch (...) {
            return ERROR_NO_MEMORY;
        }
    } else if (int32_t status = ReadHostFile(nullptr, fileHandle, bytes); status != SUCCESS) {
        return status;
    }
    SvgBaseHandler* made = nullptr;
    if (int32_t status = CreateSvgHandler(SVG_ELEMENT_DOCUMENT, &made); status != SUCCESS)
        return status;
    document.reset(static_cast<SvgDocumentHandler*>(made));
    if (fileName)
        return document.get()->LoadFromFile(path.c_str(), nullptr);
    return document.get()->LoadFromMemory(bytes.data(), bytes.size(), nullptr);
}

// Only a document handle counts: the cache never holds a node.
SvgDocumentHandler* KeptDocument(const KvFilterCache* cache)
{
    if (!cache || !cache->filterData || !cache->filterData->document)
        return nullptr;
    SvgBaseHandler* handler = AsHandler(cache->filterData->document);
    return handler->IsDocument() ? static_cast<SvgDocumentHandler*>(handler) : nullptr;
}

// A root length in pixels at dpi; a negative number for a length that is
// unset or a percentage, which nothing here can resolve without a viewport.
double LengthInPixels(const SvgLength& length, double dpi)
{
    if (IsUnsetDouble(length.value) || !std::isfinite(length.value) || length.percent)
        return -1.0;
    const double value = length.value;
    switch (length.unit) {
    case SVG_UNIT_IN: return value * dpi;
    // The root has no font of its own: em is the default 12 points.
    case SVG_UNIT_EM: return value * dpi * 12.0 / 72.0;
    case SVG_UNIT_EX: return value * dpi * 6.0 / 72.0;
    case SVG_UNIT_PC: return value * 12.0 * dpi / 72.0;
    case SVG_UNIT_PT: return value * dpi / 72.0;
    case SVG_UNIT_CM: return value / 2.54 * dpi;
    case SVG_UNIT_MM: return value / 25.4 * dpi;
    default: return value;
    }
}

int32_t TruncatePixels(double value)
{
    if (!(value > -2147483648.0 && value < 2147483648.0))
        return 0;
    return static_cast<int32_t>(value);
}

}  // namespace

void FillFilterInfo(KvFilterFileInfo& info, double widthPx, double heightPx, int32_t xDpi, int32_t yDpi)
{
    const double height = heightPx < 0.0 ? kUnknownHeight : heightPx;
    const double vectorWidth = (widthPx < 0.0 || heightPx <= 0.0) ? 0.0 : widthPx;
    const uint32_t bytesPerLine = ((kInfoBitsPerPixel * kInfoWidth + 31) / 8) & ~3u;

    info = KvFilterFileInfo{};
    info.size = kKvFilterFileInfoSize;
    info.format = KV_FILTER_FORMAT_SVG;
    info.width = kInfoWidth;
    info.height = TruncatePixels(height);
    info.bitsPerPixel = kInfoBitsPerPixel;
    info.bytesPerLine = bytesPerLine;
    info.sizeInBytes = static_cast<uint64_t>(bytesPerLine) * static_cast<uint64_t>(info.height < 0 ? 0 : info.height);
    info.xResolution = xDpi;
    info.yResolution = yDpi;
    info.viewPerspective = KV_TOP_LEFT;
    info.order = KV_ORDER_BGR;
    info.codecOrder = kCodecOrderBgr;
    info.planes = 1;
    info.pageCount = -1;
    info.vector.present = 1;
    info.vector.width = TruncatePixels(vectorWidth);
    info.vector.unitWidth = -static_cast<double>(kInfoWidth);
    info.vector.heightOverWidth = static_cast<double>(info.height) / kInfoWidth;
    info.vector.parallelValid = 1;
}

namespace {

// Hands a document to the cache: into its filterData, made here when there
// is none. Without a cache the document is simply freed by its owner.
int32_t KeepDocument(KvFilterCache* cache, OwnedDocument& document)
{
    if (!cache)
        return SUCCESS;
    if (!cache->filterData) {
        auto* data = static_cast<KvFilterData*>(KV_ALLOC_ZERO(1, sizeof(KvFilterData)));
        if (!data)
            return ERROR_NO_MEMORY;
        data->size = kKvFilterDataSize;
        cache->filterData = data;
    }
    if (!cache->filterData->document)
        cache->filterData->document = ToHandle(document.release());
    return SUCCESS;
}

struct RowCall {
    KvFilterRowCallback callback;
    const KvBitmap* info;
    const uint8_t* row;
    uint32_t flags;
    int32_t index;
    void* userData;
};

int32_t CallRow(void* context)
{
    const RowCall& call = *static_cast<const RowCall*>(context);
    return call.callback(call.info, call.row, call.flags, call.index, 1, call.userData);
}

// Keeps the bitmap open for direct access for the length of the feed.
class BitmapAccess {
public:
    explicit BitmapAccess(KvBitmap& bitmap) : bitmap_(bitmap), status_(AccessBitmap(bitmap)) {}
    ~BitmapAccess()
    {
        if (status_ == SUCCESS)
            ReleaseBitmap(bitmap_);
    }
    BitmapAccess(const BitmapAccess&) = delete;
    BitmapAccess& operator=(const BitmapAccess&) = delete;
    int32_t status() const { return status_; }

private:
    KvBitmap& bitmap_;
    int32_t status_;
};

int32_t FeedRows(KvBitmap& source, const KvBitmap& target, KvFilterRowCallback callback, void* userData)
{
    TrackedPtr<uint8_t> row(static_cast<uint8_t*>(KV_ALLOC_ZERO(source.bytesPerLine ? source.bytesPerLine : 1, 1)));
    if (!row)
        return ERROR_NO_MEMORY;
    BitmapAccess access(source);
    if (access.status() != SUCCESS)
        return access.status();
    for (int32_t index = 0; index < source.height; ++index) {
        if (int32_t status = GetBitmapRow(source, row.get(), index, source.bytesPerLine); status != SUCCESS)
            return status;
        uint32_t flags = KV_FILTER_ROW_DATA;
        if (index == 0)
            flags |= KV_FILTER_ROW_FIRST;
        if (index == source.height - 1)
            flags |= KV_FILTER_ROW_LAST;
        RowCall call{callback, &target, row.get(), flags, index, userData};
        if (int32_t status = CallGuarded(CallRow, &call); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

// The document's bounds, measured when it has none or only trimmed ones.
int32_t ReadDrawingBounds(SvgDocumentHandler& document, SvgBounds& bounds)
{
    bounds = SvgBounds{};
    bounds.size = kSvgBoundsSize;
    int32_t status = document.GetBounds(bounds);
    if (status == SUCCESS && bounds.hasBounds && !bounds.isTrimmed)
        return SUCCESS;
    if (status = CalculateBounds(document, 0); status != SUCCESS)
        return status;
    if (status = document.GetBounds(bounds); status != SUCCESS)
        return status;
    return bounds.hasBounds ? SUCCESS : FAILURE;
}

// The host's size over the drawing's: the picture always fills the target,
// proportions or not. A side with no extent has nothing to stretch.
KvMatrix FillTargetMatrix(const KvBitmap& target, const SvgBounds& bounds)
{
    const double scaleX = bounds.width > 0.0 ? target.width / bounds.width : 1.0;
    const double scaleY = bounds.height > 0.0 ? target.height / bounds.height : 1.0;
    KvMatrix matrix{};
    matrix.m11 = scaleX;
    matrix.m22 = scaleY;
    matrix.kind = KV_MATRIX_CLASSIFIED | ((scaleX != 1.0 || scaleY != 1.0) ? KV_MATRIX_SCALES : 0);
    return matrix;
}

}  // namespace

int32_t DefaultFilterXResolution()
{
    const int32_t dpi = GetDefaultLoadXResolution();
    return dpi < 1 ? 96 : dpi;
}

int32_t DefaultFilterYResolution()
{
    const int32_t dpi = GetDefaultLoadYResolution();
    return dpi < 1 ? 96 : dpi;
}

int32_t RasterInfo(KvFilterInfoRequest& request)
{
    int32_t xDpi = DefaultFilterXResolution();
    const int32_t yDpi = DefaultFilterYResolution();
    if (request.xResolution != 0)
        xDpi = request.xResolution;

    OwnedDocument loaded;
    SvgDocumentHandler* document = KeptDocument(request.cache);
    if (!document) {
        if (int32_t status = LoadDocument(request.fileName, request.fileHandle, loaded); status != SUCCESS)
            return status;
        document = loaded.get();
    }

    double widthPx = -1.0, heightPx = -1.0;
    if (SvgElementView root = RootView(*document)) {
        ScopedRecord<SvgSvgElement> svg(SVG_ELEMENT_SVG);
        if (int32_t status = root.Read(svg); status != SUCCESS)
            return status;
        widthPx = LengthInPixels(svg->width, xDpi);
        heightPx = LengthInPixels(svg->height, yDpi);
    }
    FillFilterInfo(*request.info, widthPx, heightPx, xDpi, yDpi);
    return loaded.get() ? KeepDocument(request.cache, loaded) : SUCCESS;
}

int32_t RasterLoad(KvFilterLoadRequest& request)
{
    KvBitmap& target = *request.bitmap;
    if (target.width <= 0 || target.height <= 0 || !IsValidBitsPerPixel(target.bitsPerPixel) ||
        (target.order != KV_ORDER_BGR && target.order != KV_ORDER_RGB))
        return ERROR_INV_PARAMETER;
    int32_t xDpi = DefaultFilterXResolution();
    int32_t yDpi = DefaultFilterYResolution();
    if (request.xResolution > 0)
        xDpi = request.xResolution;
    if (request.yResolution > 0)
        yDpi = request.yResolution;

    // The kept document belongs to filterData, including the flat form that
    // replaces it; one loaded here belongs to this call.
    KvFilterData* kept = request.cache ? request.cache->filterData : nullptr;
    OwnedDocument loaded;
    SvgDocumentHandler* document = KeptDocument(request.cache);
    if (!document) {
        if (int32_t status = LoadDocument(request.fileName, request.fileHandle, loaded); status != SUCCESS)
            return status;
        document = loaded.get();
        kept = nullptr;
    }

    int32_t flat = 0;
    if (int32_t status = document->ReadFlat(&flat); status != SUCCESS)
        return status;
    if (flat != 1) {
        // The flat form takes the source's element limit; the host has no
        // way to give one, so the road sets its own.
        if (document->maximumElements() == 0)
            document->SetMaximumElements(kvlimits::kMaxFilterFlatElements);
        document->SetMaximumUseShapes(kvlimits::kMaxFilterUseShapes);
        const K_SvgFlatOptions flatOptions{kSvgFlatOptionsSize, static_cast<double>(target.width),
                                           static_cast<double>(target.height), 0};
        SvgHandle flatHandle = nullptr;
        if (int32_t status = FlattenDocument(*document, &flatOptions, &flatHandle); status != SUCCESS)
            return status;
        SvgDocumentHandler* flatDocument = AsDocument(flatHandle);
        if (kept) {
            DestroySvgHandler(document);
            kept->document = flatHandle;
        } else {
            loaded.reset(flatDocument);
        }
        document = flatDocument;
    }
    if (!IsRenderOptimized(*document)) {
        if (int32_t status = BeginRenderOptimize(*document); status != SUCCESS)
            return status;
    }

    SvgBounds bounds{};
    if (int32_t status = ReadDrawingBounds(*document, bounds); status != SUCCESS)
        return status;
    if (IsUnsetDouble(bounds.width))
        bounds.width = xDpi;
    if (IsUnsetDouble(bounds.height))
        bounds.height = yDpi;

    SvgRenderOptions options{};
    options.structSize = kSvgRenderOptionsSize;
    options.flags = 1;
    options.backColor = kWhite;
    options.bounds = KvRectangle{bounds.x, bounds.y, bounds.width, bounds.height};
    options.transform = FillTargetMatrix(target, bounds);

    KvBitmap work{};
    if (int32_t status = InitBitmap(work, kKvBitmapSize, target.width, target.height, 24, target.order);
        status != SUCCESS)
        return status;
    if (int32_t status = AllocateBitmap(work); status != SUCCESS)
        return status;
    BitmapPixelsOwner workOwner(work);
    if (int32_t status = RasterizeDocument(work, *document, &options); status != SUCCESS)
        return status;

    target.xResolution = xDpi;
    target.yResolution = yDpi;
    KvBitmap converted{};
    BitmapPixelsOwner convertedOwner(converted);
    KvBitmap* feed = &work;
    if (target.bitsPerPixel != work.bitsPerPixel) {
        if (int32_t status = ConvertBitmap(converted, work, target.bitsPerPixel, target.order); status != SUCCESS)
            return status;
        feed = &converted;
        if (target.bitsPerPixel < 9) {
            target.paletteCount = converted.paletteCount;
            for (uint32_t i = 0; i < 256; ++i)
                target.palette[i] = converted.palette[i];
        }
    }
    return FeedRows(*feed, target, request.callback, request.userData);
}
