// A stand-in for the host's vector library, loaded by the tests exactly as
// the plug-in loads the real one: by path, with dlopen. It keeps a small
// in-memory model (frame, unit, pen and brush tables, objects in order) and
// counts what is alive, so that a test can prove the plug-in frees every
// object it read and every vector it was given.
#include <atomic>
#include <cmath>
#include <cstring>
#include <deque>
#include <new>
#include <string>
#include <vector>

#pragma GCC visibility push(default)
#include "kvsvg/kvvec.h"
#pragma GCC visibility pop

namespace {

struct StoredObject {
    KVecObject description{};
    std::vector<KvPoint> points;
    std::vector<uint8_t> types;
    std::u16string text, fontName;
    KvBitmap raster{};
    std::vector<uint8_t> pixels;
};

struct Vector {
    KVecParallelogram frame{kKVecParallelogramSize, {0, 0}, {0, 0}, {0, 0}};
    uint32_t unit = KVEC_UNIT_PIXEL;
    std::vector<KVecLogPen> pens;
    std::vector<KVecLogBrush> brushes;
    // A deque: an object holds a whole bitmap record, which a growing vector
    // would copy again and again in a drawing of many uses.
    std::deque<StoredObject> objects;
};

// What one K_VecGetObject lent out: which object, and the point lists
// made for it, alive until K_VecFreeObject.
struct Reading {
    uint32_t index = 0;
    std::vector<KvPoint> created;
};

std::atomic<int> liveVectors{0};
std::atomic<int> liveReadings{0};
std::atomic<int64_t> objectsAdded{0};

Vector* AsVector(void* vector) { return static_cast<Vector*>(vector); }

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

int32_t K_VecCreate(void** vector)
{
    if (!vector)
        return ERROR_INV_PARAMETER;
    *vector = new (std::nothrow) Vector;
    if (!*vector)
        return ERROR_NO_MEMORY;
    ++liveVectors;
    return SUCCESS;
}

int32_t K_VecFree(void* vector)
{
    if (!vector)
        return ERROR_INV_PARAMETER;
    delete AsVector(vector);
    --liveVectors;
    return SUCCESS;
}

int32_t K_VecSetParallelogram(void* vector, const KVecParallelogram* frame)
{
    if (!vector || !frame)
        return ERROR_INV_PARAMETER;
    if (frame->size != kKVecParallelogramSize)
        return ERROR_RECORD_SIZE;
    AsVector(vector)->frame = *frame;
    return SUCCESS;
}

int32_t K_VecSetUnit(void* vector, uint32_t unit)
{
    if (!vector || unit > KVEC_UNIT_POINT)
        return ERROR_INV_PARAMETER;
    AsVector(vector)->unit = unit;
    return SUCCESS;
}

int32_t K_VecAddPen(void* vector, const KVecLogPen* pen, uint32_t* index)
{
    if (!vector || !pen || !index)
        return ERROR_INV_PARAMETER;
    if (pen->size != kKVecLogPenSize)
        return ERROR_RECORD_SIZE;
    *index = static_cast<uint32_t>(AsVector(vector)->pens.size());
    AsVector(vector)->pens.push_back(*pen);
    return SUCCESS;
}

int32_t K_VecAddBrush(void* vector, const KVecLogBrush* brush, uint32_t* index)
{
    if (!vector || !brush || !index)
        return ERROR_INV_PARAMETER;
    if (brush->size != kKVecLogBrushSize)
        return ERROR_RECORD_SIZE;
    *index = static_cast<uint32_t>(AsVector(vector)->brushes.size());
    AsVector(vector)->brushes.push_back(*brush);
    return SUCCESS;
}

int32_t K_VecAddObject(void* vector, const KVecObject* object, const KVecPolyPoint* points)
{
    if (!vector || !object)
        return ERROR_INV_PARAMETER;
    if (object->size != kKVecObjectSize || (points && points->size != kKVecPolyPointSize))
        return ERROR_RECORD_SIZE;
    Vector& model = *AsVector(vector);
    ++objectsAdded;
    StoredObject stored;
    stored.description = *object;
    stored.description.reserved = nullptr;
    if (points && points->count) {
        stored.points.assign(points->points, points->points + points->count);
        if (points->types)
            stored.types.assign(points->types, points->types + points->count);
    }
    if (object->text)
        stored.text = object->text;
    if (object->fontName)
        stored.fontName = object->fontName;
    if (object->raster) {
        stored.raster = *object->raster;
        stored.pixels.assign(object->raster->data, object->raster->data + object->raster->dataSize);
    }
    model.objects.push_back(std::move(stored));
    // Pointers into the stored copies are fixed up when an object is read,
    // since the vector may move them as it grows.
    return SUCCESS;
}

int32_t K_VecGetParallelogram(void* vector, KVecParallelogram* frame)
{
    if (!vector || !frame)
        return ERROR_INV_PARAMETER;
    if (frame->size != kKVecParallelogramSize)
        return ERROR_RECORD_SIZE;
    *frame = AsVector(vector)->frame;
    return SUCCESS;
}

int32_t K_VecGetUnit(void* vector, uint32_t* unit)
{
    if (!vector || !unit)
        return ERROR_INV_PARAMETER;
    *unit = AsVector(vector)->unit;
    return SUCCESS;
}

int32_t K_VecGetLogPen(void* vector, uint32_t index, KVecLogPen* pen)
{
    if (!vector || !pen)
        return ERROR_INV_PARAMETER;
    if (pen->size != kKVecLogPenSize)
        return ERROR_RECORD_SIZE;
    if (index >= AsVector(vector)->pens.size())
        return ERROR_INV_PARAMETER;
    *pen = AsVector(vector)->pens[index];
    return SUCCESS;
}

int32_t K_VecGetLogBrush(void* vector, uint32_t index, KVecLogBrush* brush)
{
    if (!vector || !brush)
        return ERROR_INV_PARAMETER;
    if (brush->size != kKVecLogBrushSize)
        return ERROR_RECORD_SIZE;
    if (index >= AsVector(vector)->brushes.size())
        return ERROR_INV_PARAMETER;
    *brush = AsVector(vector)->brushes[index];
    return SUCCESS;
}

int32_t K_VecGetObject(void* vector, uint32_t index, KVecObject* object)
{
    if (!vector || !object)
        return ERROR_INV_PARAMETER;
    if (object->size != kKVecObjectSize)
        return ERROR_RECORD_SIZE;
    Vector& model = *AsVector(vector);
    if (index >= model.objects.size())
        return FAILURE;
    StoredObject& stored = model.objects[index];
    auto* reading = new (std::nothrow) Reading;
    if (!reading)
        return ERROR_NO_MEMORY;
    ++liveReadings;
    *object = stored.description;
    object->text = stored.text.empty() && !stored.description.text ? nullptr : stored.text.c_str();
    object->fontName = stored.fontName.empty() && !stored.description.fontName ? nullptr : stored.fontName.c_str();
    if (stored.description.raster) {
        stored.raster.data = stored.pixels.data();
        object->raster = &stored.raster;
    }
    reading->index = index;
    object->reserved = reading;
    return SUCCESS;
}

int32_t K_VecObjectGetPolyPoint(void* vector, const KVecObject* object, KVecPolyPoint* points)
{
    if (!vector || !object || !object->reserved || !points)
        return ERROR_INV_PARAMETER;
    if (points->size != kKVecPolyPointSize)
        return ERROR_RECORD_SIZE;
    const Reading& reading = *static_cast<const Reading*>(object->reserved);
    const StoredObject& stored = AsVector(vector)->objects[reading.index];
    const uint32_t kind = stored.description.kind;
    if (kind != KVEC_OBJECT_POLYLINE && kind != KVEC_OBJECT_POLYGON && kind != KVEC_OBJECT_PATH)
        return ERROR_VECTOR_OBJECT;
    points->count = static_cast<uint32_t>(stored.points.size());
    points->points = stored.points.data();
    points->types = stored.types.empty() ? nullptr : stored.types.data();
    return SUCCESS;
}

// An arc as eight straight pieces, plus the centre first for a pie.
int32_t K_VecCreatePolyPoint(void* vector, const KVecObject* object, KVecPolyPoint* points)
{
    if (!vector || !object || !object->reserved || !points)
        return ERROR_INV_PARAMETER;
    if (points->size != kKVecPolyPointSize)
        return ERROR_RECORD_SIZE;
    if (object->kind != KVEC_OBJECT_ARC)
        return ERROR_VECTOR_OBJECT;
    Reading& reading = *static_cast<Reading*>(object->reserved);
    const KvRectangle& box = object->bounds;
    const double cx = box.x + box.width / 2, cy = box.y + box.height / 2;
    reading.created.clear();
    if (object->closed)
        reading.created.push_back({cx, cy});
    constexpr int kPieces = 8;
    constexpr double kRadians = 3.14159265358979323846 / 180.0;
    for (int i = 0; i <= kPieces; ++i) {
        const double angle = (object->startAngle + object->sweepAngle * i / kPieces) * kRadians;
        reading.created.push_back({cx + box.width / 2 * std::cos(angle), cy + box.height / 2 * std::sin(angle)});
    }
    points->count = static_cast<uint32_t>(reading.created.size());
    points->points = reading.created.data();
    points->types = nullptr;
    return SUCCESS;
}

// For the tests: what is alive in this library now.
int32_t KVecDoubleLiveVectors() { return liveVectors.load(); }
int32_t KVecDoubleLiveReadings() { return liveReadings.load(); }
// Objects added since the library was loaded, given back or not.
int64_t KVecDoubleObjectsAdded() { return objectsAdded.load(); }

int32_t K_VecFreeObject(void* vector, KVecObject* object)
{
    if (!vector || !object || !object->reserved)
        return ERROR_INV_PARAMETER;
    delete static_cast<Reading*>(object->reserved);
    object->reserved = nullptr;
    --liveReadings;
    return SUCCESS;
}
}
#pragma GCC visibility pop
