#include "filter/legacy_vector_builder.h"

#include "filter/vector_library.h"
#include "kvsvg/kvsvg.h"

int32_t BuildVectorFromLegacyText(const VectorCalls&, std::string_view, void** vector)
{
    *vector = nullptr;
    return ERROR_NOT_SUPPORTED;
}
