// The raster road of the codec plug-in: the file is loaded as a document,
// flattened when it is not flat, render-optimised, measured and drawn on a
// 24-bit work bitmap of the host's size, which is then converted to the
// host's depth and colour order and handed over row by row, top row first.
// The requests have been checked by the exports; what is checked here is
// what only this road needs.
#pragma once

#include <cstdint>

#include "kvsvg/kvsvg_filter.h"

int32_t RasterInfo(KvFilterInfoRequest& request);
int32_t RasterLoad(KvFilterLoadRequest& request);

// The information of a drawing of the given size in pixels (negative when
// not known): a 640-pixel-wide 24-bit picture of the drawing's height, its
// own width in the vector block.
void FillFilterInfo(KvFilterFileInfo& info, double widthPx, double heightPx, int32_t xDpi, int32_t yDpi);

// The resolution a load starts from: the base library's default, below 1
// taken as 96.
int32_t DefaultFilterXResolution();
int32_t DefaultFilterYResolution();
