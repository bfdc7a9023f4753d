// Drives the plug-in entries as a host's codec layer does, and reaches the
// stand-in vector library that the suite builds beside itself.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "common/test_files.h"
#include "kvsvg/kvbase.h"
#include "kvsvg/kvsvg.h"
#include "kvsvg/kvvec.h"

struct VectorCalls;

namespace kvtest {

// A file in the scratch folder holding text; the path comes back wide too.
struct ScratchFile {
    ScratchFile(std::string_view name, std::string_view bytes);
    std::string path;
    std::u16string wide;
};

// The rows a load delivered, as the callback saw them.
struct Rows {
    std::vector<std::string> bytes;
    std::vector<uint32_t> flags;
    std::vector<int32_t> indices;
    std::vector<int32_t> counts;
    const KvBitmap* info = nullptr;
    // Row index at which the callback returns stopStatus instead; -1 never.
    int32_t stopAt = -1;
    int32_t stopStatus = SUCCESS;
};
int32_t CollectRow(const KvBitmap* info, const uint8_t* row, uint32_t flags, int32_t rowIndex, int32_t rowCount,
                   void* userData);

// A described target bitmap without pixels, as the host hands it over.
KvBitmap Target(int32_t width, int32_t height, uint32_t bitsPerPixel, uint32_t order);

KvFilterInfoRequest InfoRequest(const std::u16string& fileName, KvFilterFileInfo& info, KvFilterCache* cache);
KvFilterLoadRequest LoadRequest(const std::u16string& fileName, KvBitmap* bitmap, Rows* rows, KvFilterCache* cache);

// Points the plug-in at the stand-in library for the life of the object and
// back at the default name afterwards; fails the test when the library
// holds vectors or readings it was not given back.
class VectorDouble {
public:
    VectorDouble();
    ~VectorDouble();
    VectorDouble(const VectorDouble&) = delete;
    VectorDouble& operator=(const VectorDouble&) = delete;

    const VectorCalls& calls() const { return *calls_; }
    int32_t LiveVectors() const;
    int32_t LiveReadings() const;
    int64_t ObjectsAdded() const;

private:
    const VectorCalls* calls_ = nullptr;
    void* handle_ = nullptr;
};

// A vector object of the stand-in, released with the test.
class OwnedVectorObject {
public:
    explicit OwnedVectorObject(const VectorDouble& library);
    ~OwnedVectorObject();
    OwnedVectorObject(const OwnedVectorObject&) = delete;
    OwnedVectorObject& operator=(const OwnedVectorObject&) = delete;
    void* get() const { return vector_; }
    uint32_t AddPen(const KVecLogPen& pen);
    uint32_t AddBrush(const KVecLogBrush& brush);
    void Add(const KVecObject& object, const std::vector<KvPoint>& points = {}, const std::vector<uint8_t>& types = {});
    void SetFrame(double width, double height, uint32_t unit);

private:
    const VectorCalls& calls_;
    void* vector_ = nullptr;
};

KVecObject VectorShape(uint32_t kind, uint32_t pen, uint32_t brush);

}  // namespace kvtest
