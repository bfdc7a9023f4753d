// What the four plug-in entries do behind their checks: the choice of road,
// the vector road's load through the older reader and the vector library,
// saving through the vector writer, and the release of what a cache kept.
#pragma once

#include <cstdint>

#include "kvsvg/kvsvg_filter.h"

// The vector road is asked for by vectorRoute 1 or the options' flag.
bool WantsVectorRoad(int32_t vectorRoute, const KvFilterLoadOptions* options);

int32_t FilterInfo(KvFilterInfoRequest& request);
int32_t FilterLoad(KvFilterLoadRequest& request);
int32_t FilterSave(KvFilterSaveRequest& request);
void FilterFreeData(KvFilterData& filterData);
