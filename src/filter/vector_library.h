// The host's vector library, reached by name at run time: it is opened on
// first use and kept open for the life of the process, because vector
// objects it made outlive the call that made them (a cache holds one from
// fltInfo until fltFreeData). A library that is missing, or that lacks any
// call the plug-in uses, is reported as ERROR_NOT_SUPPORTED and tried again
// on the next use, so installing it later needs no restart.
#pragma once

#include <cstdint>

#include "kvsvg/kvvec.h"

struct VectorCalls {
    KVecGetParallelogramFn getParallelogram;
    KVecGetUnitFn getUnit;
    KVecGetLogPenFn getLogPen;
    KVecGetLogBrushFn getLogBrush;
    KVecGetObjectFn getObject;
    KVecFreeObjectFn freeObject;
    KVecPolyPointFn objectGetPolyPoint;
    KVecPolyPointFn createPolyPoint;
    KVecCreateFn create;
    KVecFreeFn free;
    KVecSetParallelogramFn setParallelogram;
    KVecSetUnitFn setUnit;
    KVecAddPenFn addPen;
    KVecAddBrushFn addBrush;
    KVecAddObjectFn addObject;
};

// *calls points to the resolved table, valid for the life of the process
// (or until the name is replaced). ERROR_NOT_SUPPORTED when the library or
// one of its calls cannot be found.
int32_t GetVectorCalls(const VectorCalls** calls);

// Replaces the name dlopen is given (a path works too) and closes what was
// open. Null restores KV_VECTOR_LIBRARY_NAME. For tests and for tools that
// ship the library beside themselves; not for use while vector objects of
// the old library are alive.
void SetVectorLibraryName(const char* name);
