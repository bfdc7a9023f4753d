// Exports of the drawing engines. The void* of the C boundary is a
// kvdrw::Engine* for C++ callers.
#include "drawing/drawing_engines.h"
#include "kvsvg/kvbase.h"

int32_t K_DrawingCreateBitmapEngine(KvBitmap* bitmap, void** engine)
{
    if (!bitmap || !engine)
        return ERROR_INV_PARAMETER;
    if (bitmap->size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    *engine = nullptr;
    kvdrw::Engine* made = nullptr;
    int32_t status = DrawingCreateBitmapEngine(*bitmap, &made);
    if (status == SUCCESS)
        *engine = made;
    return status;
}

int32_t K_DrawingCreateMeasureEngine(void** engine)
{
    if (!engine)
        return ERROR_INV_PARAMETER;
    *engine = nullptr;
    kvdrw::Engine* made = nullptr;
    int32_t status = DrawingCreateMeasureEngine(&made);
    if (status == SUCCESS)
        *engine = made;
    return status;
}

int32_t K_DrawingDestroyEngine(void* engine)
{
    if (!engine)
        return SUCCESS;
    return DrawingDestroyEngine(static_cast<kvdrw::Engine*>(engine));
}
