#include "filter/codec_filter.h"

#include <string>

#include "base/base_file.h"
#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/svg_document_handler.h"
#include "filter/raster_road.h"
#include "filter/vector_library.h"
#include "filter/vector_road.h"
#include "filter/vector_svg_writer.h"

namespace {

// The text goes out whole or not at all: it is made in memory first, so a
// refused object never leaves half a file behind.
int32_t WriteText(const KvFilterSaveRequest& request, const std::string& text)
{
    int file = request.fileHandle;
    bool opened = false;
    if (file < 0) {
        if (!request.fileName)
            return ERROR_INV_PARAMETER;
        std::string path;
        try {
            path = ToUtf8(request.fileName);
        } catch (...) {
            return ERROR_NO_MEMORY;
        }
        file = BaseFileOpen(path.c_str(), BaseFileMode::WriteTruncate);
        if (file < 0)
            return ERROR_FILE_CREATE;
        opened = true;
    }
    const int64_t written = BaseFileWrite(file, text.data(), text.size());
    if (opened)
        BaseFileClose(file);
    return written == static_cast<int64_t>(text.size()) ? SUCCESS : ERROR_FILE_WRITE;
}

}  // namespace

bool WantsVectorRoad(int32_t vectorRoute, const KvFilterLoadOptions* options)
{
    return vectorRoute == 1 || (options && (options->flags & KV_FILTER_LOAD_VECTOR));
}

int32_t FilterInfo(KvFilterInfoRequest& request)
{
    if (WantsVectorRoad(request.vectorRoute, request.options))
        return VectorInfo(request);
    return RasterInfo(request);
}

int32_t FilterLoad(KvFilterLoadRequest& request)
{
    if (WantsVectorRoad(request.vectorRoute, request.options))
        return VectorLoad(request);
    if (!request.bitmap || !request.callback)
        return ERROR_INV_PARAMETER;
    if (request.bitmap->size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    return RasterLoad(request);
}

int32_t FilterSave(KvFilterSaveRequest& request)
{
    if (request.vectorRoute != 1)
        return ERROR_FILE_FORMAT;
    if (!request.vectorObject)
        return ERROR_INV_PARAMETER;
    const VectorCalls* calls = nullptr;
    if (int32_t status = GetVectorCalls(&calls); status != SUCCESS)
        return status;
    std::string text;
    if (int32_t status = WriteVectorAsSvg(*calls, request.vectorObject, text); status != SUCCESS)
        return status;
    return WriteText(request, text);
}

void FilterFreeData(KvFilterData& filterData)
{
    if (filterData.vectorObject && filterData.vectorOwned) {
        const VectorCalls* calls = nullptr;
        if (GetVectorCalls(&calls) == SUCCESS)
            calls->free(filterData.vectorObject);
    }
    if (filterData.document)
        DestroySvgHandler(AsHandler(filterData.document));
    KV_FREE(&filterData);
}
