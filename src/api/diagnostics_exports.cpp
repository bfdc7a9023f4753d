// Exports that explain a failed load, name the library's version and count
// what the library holds.
#include "kvsvg/kvsvg.h"

#include <new>
#include <string>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/load_diagnosis.h"

#ifndef KVSVG_VERSION_TEXT
#define KVSVG_VERSION_TEXT "0.0.0"
#endif

int32_t K_SvgDiagnoseLoad(const KvChar* path, SvgLoadDiagnosis* diagnosis)
{
    if (!path || !diagnosis)
        return ERROR_INV_PARAMETER;
    if (diagnosis->size != kSvgLoadDiagnosisSize)
        return ERROR_RECORD_SIZE;
    std::string pathUtf8;
    try {
        pathUtf8 = ToUtf8(path);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return DiagnoseLoadFile(pathUtf8.c_str(), diagnosis);
}

int32_t K_SvgDiagnoseLoadMemory(const void* block, size_t size, SvgLoadDiagnosis* diagnosis)
{
    if (!diagnosis)
        return ERROR_INV_PARAMETER;
    if (diagnosis->size != kSvgLoadDiagnosisSize)
        return ERROR_RECORD_SIZE;
    return DiagnoseLoadBlock(block, size, diagnosis);
}

const char* K_SvgGetLibraryVersion(void)
{
    return KVSVG_VERSION_TEXT;
}

int32_t K_SvgGetTrackedCounts(SvgTrackedCounts* counts)
{
    if (!counts)
        return ERROR_INV_PARAMETER;
    if (counts->size != kSvgTrackedCountsSize)
        return ERROR_RECORD_SIZE;
    counts->reserved = 0;
    counts->blocks = TrackedLiveBlocks();
    counts->bytes = TrackedLiveBytes();
    counts->objects = TrackedLiveResources();
    return SUCCESS;
}
