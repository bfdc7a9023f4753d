#include "filter/vector_road.h"

#include <cmath>
#include <string>
#include <string_view>

#include "base/base_file.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/svg_zip.h"
#include "filter/host_file.h"
#include "filter/legacy_vector_builder.h"
#include "filter/raster_road.h"
#include "filter/vector_library.h"

namespace {

constexpr size_t kSniffBytes = 256;
// A UTF-16 text is thinned to one byte a character, and so many are enough
// to see the declaration and the doctype.
constexpr size_t kSniffWideCharacters = 140;

bool Contains(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

bool StartsWith(std::string_view text, std::string_view part) { return text.substr(0, part.size()) == part; }

// The file's text from where the sniffer says it starts, expanded once when
// it is compressed.
int32_t ReadVectorText(const KvChar* fileName, int32_t fileHandle, const KvFilterLoadOptions* options,
                       std::string& text)
{
    if (int32_t status = ReadHostFile(fileName, fileHandle, text); status != SUCCESS)
        return status;
    for (int round = 0; round < 2; ++round) {
        size_t offset = 0;
        bool compressed = false;
        const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
        if (int32_t status = SniffVectorFile(bytes, text.size(), options, &offset, &compressed); status != SUCCESS)
            return status;
        if (!compressed) {
            text.erase(0, offset);
            return SUCCESS;
        }
        if (round == 1)
            return ERROR_FILE_FORMAT;
        void* expanded = nullptr;
        size_t expandedSize = 0;
        int32_t status = UnzipSvgMemory(text.data(), text.size(), &expanded, &expandedSize);
        TrackedPtr<char> expandedOwner(static_cast<char*>(expanded));
        if (status != SUCCESS)
            return status == FAILURE ? ERROR_FILE_FORMAT : status;
        try {
            text.assign(expandedOwner.get(), expandedSize);
        } catch (...) {
            return ERROR_NO_MEMORY;
        }
    }
    return ERROR_FILE_FORMAT;
}

// Releases a vector object on every way out unless handed on.
class OwnedVector {
public:
    explicit OwnedVector(const VectorCalls& calls) : calls_(calls) {}
    ~OwnedVector()
    {
        if (vector_)
            calls_.free(vector_);
    }
    OwnedVector(const OwnedVector&) = delete;
    OwnedVector& operator=(const OwnedVector&) = delete;
    void** out() { return &vector_; }
    void* get() const { return vector_; }
    void* release()
    {
        void* vector = vector_;
        vector_ = nullptr;
        return vector;
    }

private:
    const VectorCalls& calls_;
    void* vector_ = nullptr;
};

int32_t ReadVectorObject(const VectorCalls& calls, const KvChar* fileName, int32_t fileHandle,
                         const KvFilterLoadOptions* options, OwnedVector& vector)
{
    std::string text;
    if (int32_t status = ReadVectorText(fileName, fileHandle, options, text); status != SUCCESS)
        return status;
    return BuildVectorFromLegacyText(calls, text, vector.out());
}

double UnitInPixels(uint32_t unit, double dpi)
{
    switch (unit) {
    case KVEC_UNIT_INCH: return dpi;
    case KVEC_UNIT_MILLIMETER: return dpi / 25.4;
    case KVEC_UNIT_CENTIMETER: return dpi / 2.54;
    case KVEC_UNIT_POINT: return dpi / 72.0;
    default: return 1.0;
    }
}

}  // namespace

int32_t SniffVectorFile(const uint8_t* bytes, size_t size, const KvFilterLoadOptions* options, size_t* offset,
                        bool* compressed)
{
    *offset = 0;
    *compressed = false;
    if (options && (options->flags & KV_FILTER_LOAD_FORMAT_KNOWN) && options->format == KV_FILTER_FORMAT_SVG)
        return SUCCESS;
    const size_t length = size < kSniffBytes ? size : kSniffBytes;
    if (length >= 3 && bytes[0] == 0x1F && bytes[1] == 0x8B && bytes[2] == 0x08) {
        *compressed = true;
        return SUCCESS;
    }
    std::string head;
    if (length >= 2 && ((bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF))) {
        const size_t low = bytes[0] == 0xFF ? 0 : 1;
        for (size_t i = 2; i + 1 < length && head.size() < kSniffWideCharacters; i += 2)
            head += static_cast<char>(bytes[i + low]);
    } else {
        head.assign(reinterpret_cast<const char*>(bytes), length);
    }
    std::string_view text(head);
    if (Contains(text, "KOLV XML Annotation File"))
        return ERROR_FILE_FORMAT;
    size_t start = 0;
    if (StartsWith(text, "\xEF\xBB\xBF"))
        start = 3;
    std::string_view body = text.substr(start);
    if (StartsWith(body, "<?xml")) {
        if (Contains(body, "<html>") || Contains(body, "<Annotations>"))
            return ERROR_FILE_FORMAT;
        *offset = start;
        return SUCCESS;
    }
    const size_t first = body.find_first_not_of(" \t\r\n");
    if (first == std::string_view::npos)
        return ERROR_FILE_FORMAT;
    body = body.substr(first);
    if (StartsWith(body, "<!DOCTYPE svg") || StartsWith(body, "<svg") || StartsWith(body, "<!--")) {
        *offset = start;
        return SUCCESS;
    }
    return ERROR_FILE_FORMAT;
}

int32_t VectorInfo(KvFilterInfoRequest& request)
{
    const VectorCalls* calls = nullptr;
    if (int32_t status = GetVectorCalls(&calls); status != SUCCESS)
        return status;
    int32_t xDpi = DefaultFilterXResolution();
    const int32_t yDpi = DefaultFilterYResolution();
    if (request.xResolution != 0)
        xDpi = request.xResolution;

    // An object already handed to the host is the host's and may be gone:
    // only one the cache still owns is used again.
    OwnedVector loaded(*calls);
    KvFilterData* kept = request.cache ? request.cache->filterData : nullptr;
    void* vector = kept && kept->vectorOwned ? kept->vectorObject : nullptr;
    if (!vector) {
        if (int32_t status = ReadVectorObject(*calls, request.fileName, request.fileHandle, request.options, loaded);
            status != SUCCESS)
            return status;
        vector = loaded.get();
    }

    KVecParallelogram frame{};
    frame.size = kKVecParallelogramSize;
    uint32_t unit = KVEC_UNIT_PIXEL;
    double widthPx = -1.0, heightPx = -1.0;
    if (calls->getParallelogram(vector, &frame) == SUCCESS && calls->getUnit(vector, &unit) == SUCCESS) {
        widthPx = std::hypot(frame.xEnd.x - frame.origin.x, frame.xEnd.y - frame.origin.y) * UnitInPixels(unit, xDpi);
        heightPx = std::hypot(frame.yEnd.x - frame.origin.x, frame.yEnd.y - frame.origin.y) * UnitInPixels(unit, yDpi);
    }
    // A drawing without a size has an empty frame: not known, as on the
    // raster road.
    if (!(widthPx > 0.0) || !(heightPx > 0.0))
        widthPx = heightPx = -1.0;
    FillFilterInfo(*request.info, widthPx, heightPx, xDpi, yDpi);

    if (!request.cache || !loaded.get())
        return SUCCESS;
    if (!kept) {
        kept = static_cast<KvFilterData*>(KV_ALLOC_ZERO(1, sizeof(KvFilterData)));
        if (!kept)
            return ERROR_NO_MEMORY;
        kept->size = kKvFilterDataSize;
        request.cache->filterData = kept;
    }
    kept->vectorObject = loaded.release();
    kept->vectorOwned = 1;
    return SUCCESS;
}

int32_t VectorLoad(KvFilterLoadRequest& request)
{
    request.vectorObject = nullptr;
    const VectorCalls* calls = nullptr;
    if (int32_t status = GetVectorCalls(&calls); status != SUCCESS)
        return status;
    // An object that fltInfo kept goes to the host once; after that the
    // cache only remembers it, and a second load reads the file again.
    KvFilterData* kept = request.cache ? request.cache->filterData : nullptr;
    if (kept && kept->vectorObject && kept->vectorOwned) {
        request.vectorObject = kept->vectorObject;
        kept->vectorOwned = 0;
        return SUCCESS;
    }
    OwnedVector loaded(*calls);
    if (int32_t status = ReadVectorObject(*calls, request.fileName, request.fileHandle, request.options, loaded);
        status != SUCCESS)
        return status;
    request.vectorObject = loaded.release();
    return SUCCESS;
}
