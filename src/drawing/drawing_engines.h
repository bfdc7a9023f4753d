// Where engines come from: the bitmap engine over a caller's bitmap and the
// measuring engine, both tracked as library objects while they live.
#pragma once

#include <cstdint>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"

// The bitmap must outlive the engine. See BitmapEngine for what it accepts.
int32_t DrawingCreateBitmapEngine(KvBitmap& bitmap, kvdrw::Engine** engine);
int32_t DrawingCreateMeasureEngine(kvdrw::Engine** engine);
// ERROR_INV_PARAMETER for an engine this library did not make.
int32_t DrawingDestroyEngine(kvdrw::Engine* engine);
