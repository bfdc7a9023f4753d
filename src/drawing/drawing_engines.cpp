#include "drawing/drawing_engines.h"

#include <new>

#include "base/tracked_memory.h"
#include "drawing/bitmap_engine.h"
#include "drawing/measure_engine.h"

using kvdrw::native::BitmapEngine;
using kvdrw::native::EngineCore;
using kvdrw::native::MeasureEngine;

int32_t DrawingCreateBitmapEngine(KvBitmap& bitmap, kvdrw::Engine** engine)
{
    BitmapEngine* made = nullptr;
    if (int32_t status = BitmapEngine::Create(bitmap, &made); status != SUCCESS)
        return status;
    KV_TRACK(static_cast<kvdrw::Engine*>(made));
    *engine = made;
    return SUCCESS;
}

int32_t DrawingCreateMeasureEngine(kvdrw::Engine** engine)
{
    MeasureEngine* made = new (std::nothrow) MeasureEngine;
    if (!made)
        return ERROR_NO_MEMORY;
    KV_TRACK(static_cast<kvdrw::Engine*>(made));
    *engine = made;
    return SUCCESS;
}

int32_t DrawingDestroyEngine(kvdrw::Engine* engine)
{
    auto* ours = dynamic_cast<EngineCore*>(engine);
    if (!ours)
        return ERROR_INV_PARAMETER;
    KV_UNTRACK(engine);
    delete ours;
    return SUCCESS;
}
