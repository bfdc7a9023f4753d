// Why a load failed, for the person reading the message: the loader gives
// one status to a missing file and to bad XML, so this looks at the bytes a
// second time, the way the loader reads them, and names the cause and the
// place. Used only on the error path; it never touches a document.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvsvg.h"
#include "kvsvg/kvsvg_diagnostics.h"

// Both fill every field of *out but size (left as it is) and answer SUCCESS,
// or ERROR_NO_MEMORY.
int32_t DiagnoseLoadFile(const char* pathUtf8, SvgLoadDiagnosis* out);
int32_t DiagnoseLoadBlock(const void* block, size_t size, SvgLoadDiagnosis* out);
