// Exports that give blocks and handles back to the library.
#include "kvsvg/kvsvg.h"

#include "base/tracked_memory.h"

int32_t K_SvgFreeMemory(void* block)
{
    if (!block)
        return SUCCESS;
    KV_FREE(block);
    return SUCCESS;
}
