// The codec plug-in entries. Each checks in the fixed order (null request,
// record sizes, then the records it points to) and makes one call.
#include "filter/codec_filter.h"
#include "kvsvg/kvsvg.h"

namespace {

bool HasWrongSize(const KvFilterCache* cache, const KvFilterLoadOptions* options)
{
    return (cache && cache->size != kKvFilterCacheSize) || (options && options->size != kKvFilterLoadOptionsSize);
}

}  // namespace

int32_t fltInfo(KvFilterInfoRequest* request)
{
    if (!request)
        return ERROR_INV_PARAMETER;
    if (request->size != kKvFilterInfoRequestSize)
        return ERROR_RECORD_SIZE;
    if (!request->info)
        return ERROR_INV_PARAMETER;
    if (request->info->size != kKvFilterFileInfoSize || HasWrongSize(request->cache, request->options))
        return ERROR_RECORD_SIZE;
    return FilterInfo(*request);
}

int32_t fltLoad(KvFilterLoadRequest* request)
{
    if (!request)
        return ERROR_INV_PARAMETER;
    if (request->size != kKvFilterLoadRequestSize || HasWrongSize(request->cache, request->options))
        return ERROR_RECORD_SIZE;
    return FilterLoad(*request);
}

int32_t fltSave(KvFilterSaveRequest* request)
{
    if (!request)
        return ERROR_INV_PARAMETER;
    if (request->size != kKvFilterSaveRequestSize)
        return ERROR_RECORD_SIZE;
    return FilterSave(*request);
}

int32_t fltFreeData(KvFilterData* filterData, int32_t flag)
{
    if (flag == 0 && filterData)
        FilterFreeData(*filterData);
    return SUCCESS;
}
