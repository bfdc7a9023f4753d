#include "filter/filter_test_support.h"

#include <dlfcn.h>

#include "base/utf.h"
#include "filter/vector_library.h"
#include "kvsvg/kvsvg_filter.h"

namespace kvtest {

ScratchFile::ScratchFile(std::string_view name, std::string_view bytes)
    : path(ScratchPath(name)), wide(ToUtf16(path))
{
    EXPECT_TRUE(WriteFileBytes(path, bytes));
}

int32_t CollectRow(const KvBitmap* info, const uint8_t* row, uint32_t flags, int32_t rowIndex, int32_t rowCount,
                   void* userData)
{
    Rows& rows = *static_cast<Rows*>(userData);
    rows.info = info;
    rows.bytes.emplace_back(reinterpret_cast<const char*>(row), info->bytesPerLine);
    rows.flags.push_back(flags);
    rows.indices.push_back(rowIndex);
    rows.counts.push_back(rowCount);
    return rowIndex == rows.stopAt ? rows.stopStatus : SUCCESS;
}

KvBitmap Target(int32_t width, int32_t height, uint32_t bitsPerPixel, uint32_t order)
{
    KvBitmap bitmap{};
    EXPECT_EQ(K_BitmapInit(&bitmap, kKvBitmapSize, width, height, bitsPerPixel, order), SUCCESS);
    return bitmap;
}

KvFilterInfoRequest InfoRequest(const std::u16string& fileName, KvFilterFileInfo& info, KvFilterCache* cache)
{
    info = KvFilterFileInfo{};
    info.size = kKvFilterFileInfoSize;
    KvFilterInfoRequest request{};
    request.size = kKvFilterInfoRequestSize;
    request.fileName = fileName.c_str();
    request.fileHandle = -1;
    request.info = &info;
    request.cache = cache;
    return request;
}

KvFilterLoadRequest LoadRequest(const std::u16string& fileName, KvBitmap* bitmap, Rows* rows, KvFilterCache* cache)
{
    KvFilterLoadRequest request{};
    request.size = kKvFilterLoadRequestSize;
    request.fileName = fileName.c_str();
    request.fileHandle = -1;
    request.bitmap = bitmap;
    request.callback = CollectRow;
    request.userData = rows;
    request.cache = cache;
    return request;
}

VectorDouble::VectorDouble()
{
    SetVectorLibraryName(KVSVG_VECTOR_DOUBLE);
    EXPECT_EQ(GetVectorCalls(&calls_), SUCCESS);
    handle_ = dlopen(KVSVG_VECTOR_DOUBLE, RTLD_NOW | RTLD_NOLOAD);
    EXPECT_NE(handle_, nullptr);
}

VectorDouble::~VectorDouble()
{
    EXPECT_EQ(LiveVectors(), 0) << "vector objects not released";
    EXPECT_EQ(LiveReadings(), 0) << "objects read but not freed";
    if (handle_)
        dlclose(handle_);
    SetVectorLibraryName(nullptr);
}

int32_t VectorDouble::LiveVectors() const
{
    auto count = reinterpret_cast<int32_t (*)()>(dlsym(handle_, "KVecDoubleLiveVectors"));
    return count ? count() : -1;
}

int64_t VectorDouble::ObjectsAdded() const
{
    auto count = reinterpret_cast<int64_t (*)()>(dlsym(handle_, "KVecDoubleObjectsAdded"));
    return count ? count() : -1;
}

int32_t VectorDouble::LiveReadings() const
{
    auto count = reinterpret_cast<int32_t (*)()>(dlsym(handle_, "KVecDoubleLiveReadings"));
    return count ? count() : -1;
}

OwnedVectorObject::OwnedVectorObject(const VectorDouble& library) : calls_(library.calls())
{
    EXPECT_EQ(calls_.create(&vector_), SUCCESS);
}

OwnedVectorObject::~OwnedVectorObject()
{
    if (vector_)
        calls_.free(vector_);
}

uint32_t OwnedVectorObject::AddPen(const KVecLogPen& pen)
{
    uint32_t index = KVEC_NONE;
    EXPECT_EQ(calls_.addPen(vector_, &pen, &index), SUCCESS);
    return index;
}

uint32_t OwnedVectorObject::AddBrush(const KVecLogBrush& brush)
{
    uint32_t index = KVEC_NONE;
    EXPECT_EQ(calls_.addBrush(vector_, &brush, &index), SUCCESS);
    return index;
}

void OwnedVectorObject::Add(const KVecObject& object, const std::vector<KvPoint>& points,
                            const std::vector<uint8_t>& types)
{
    KVecPolyPoint poly{kKVecPolyPointSize, static_cast<uint32_t>(points.size()), points.data(),
                       types.empty() ? nullptr : types.data()};
    EXPECT_EQ(calls_.addObject(vector_, &object, points.empty() ? nullptr : &poly), SUCCESS);
}

void OwnedVectorObject::SetFrame(double width, double height, uint32_t unit)
{
    KVecParallelogram frame{kKVecParallelogramSize, {0, 0}, {width, 0}, {0, height}};
    EXPECT_EQ(calls_.setParallelogram(vector_, &frame), SUCCESS);
    EXPECT_EQ(calls_.setUnit(vector_, unit), SUCCESS);
}

KVecObject VectorShape(uint32_t kind, uint32_t pen, uint32_t brush)
{
    KVecObject object{};
    object.size = kKVecObjectSize;
    object.kind = kind;
    object.pen = pen;
    object.brush = brush;
    return object;
}

}  // namespace kvtest
