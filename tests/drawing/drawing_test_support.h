// Owners and pixel access shared by the drawing engine tests.
#pragma once

#include <cstdint>
#include <cstring>

#include <gtest/gtest.h>

#include "base/bitmap.h"
#include "drawing/drawing_engines.h"
#include "kvsvg/kvdrw.h"

namespace kvtest {

struct Rgba {
    int red, green, blue, alpha;
    bool operator==(const Rgba&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const Rgba& c)
{
    return out << "(" << c.red << "," << c.green << "," << c.blue << "," << c.alpha << ")";
}

// A bitmap filled with one colour, freed on every path.
class TestBitmap {
public:
    TestBitmap(int32_t width, int32_t height, uint32_t bitsPerPixel, uint32_t order, uint32_t perspective,
               Rgba fill = {255, 255, 255, 255})
    {
        EXPECT_EQ(InitBitmap(bitmap, kKvBitmapSize, width, height, bitsPerPixel, order), SUCCESS);
        bitmap.viewPerspective = perspective;
        EXPECT_EQ(AllocateBitmap(bitmap), SUCCESS);
        if (bitsPerPixel < 24)
            return;  // left zero: only the engine's refusal is of interest
        for (int32_t y = 0; y < height; ++y)
            for (int32_t x = 0; x < width; ++x)
                Set(x, y, fill);
    }
    ~TestBitmap() { FreeBitmap(bitmap); }
    TestBitmap(const TestBitmap&) = delete;
    TestBitmap& operator=(const TestBitmap&) = delete;

    // (x, y) from the top left of the picture, whatever the row order.
    Rgba At(int32_t x, int32_t y) const
    {
        const uint8_t* p = BitmapRow(bitmap, y) + x * (bitmap.bitsPerPixel / 8);
        const bool red = bitmap.order == KV_ORDER_RGB;
        return {red ? p[0] : p[2], p[1], red ? p[2] : p[0], bitmap.bitsPerPixel == 32 ? p[3] : 255};
    }
    void Set(int32_t x, int32_t y, Rgba c)
    {
        uint8_t* p = BitmapRow(bitmap, y) + x * (bitmap.bitsPerPixel / 8);
        const bool red = bitmap.order == KV_ORDER_RGB;
        p[0] = uint8_t(red ? c.red : c.blue);
        p[1] = uint8_t(c.green);
        p[2] = uint8_t(red ? c.blue : c.red);
        if (bitmap.bitsPerPixel == 32)
            p[3] = uint8_t(c.alpha);
    }

    KvBitmap bitmap{};
};

// An engine given back to the library on every path.
class ScopedEngine {
public:
    ScopedEngine() { EXPECT_EQ(DrawingCreateMeasureEngine(&engine_), SUCCESS); }
    explicit ScopedEngine(KvBitmap& bitmap) { EXPECT_EQ(DrawingCreateBitmapEngine(bitmap, &engine_), SUCCESS); }
    ~ScopedEngine() { Release(); }
    ScopedEngine(const ScopedEngine&) = delete;
    ScopedEngine& operator=(const ScopedEngine&) = delete;
    // Ends the engine now, so that its drawing reaches the bitmap.
    void Release()
    {
        if (engine_)
            DrawingDestroyEngine(engine_);
        engine_ = nullptr;
    }
    kvdrw::Engine* operator->() const { return engine_; }
    kvdrw::Engine& operator*() const { return *engine_; }
    kvdrw::Engine* get() const { return engine_; }

private:
    kvdrw::Engine* engine_ = nullptr;
};

// Gives an engine object back to the engine that made it, on every path.
template <class T>
class EngineObject {
public:
    explicit EngineObject(kvdrw::Engine& engine) : engine_(engine) {}
    ~EngineObject()
    {
        if (object_)
            engine_.DeleteObject(object_);
    }
    EngineObject(const EngineObject&) = delete;
    EngineObject& operator=(const EngineObject&) = delete;
    T** out() { return &object_; }
    T* get() const { return object_; }
    T* operator->() const { return object_; }

private:
    kvdrw::Engine& engine_;
    T* object_ = nullptr;
};

constexpr KvColor kOpaqueRed = {255, 255, 0, 0};
constexpr KvColor kOpaqueBlue = {255, 0, 0, 255};
constexpr KvColor kOpaqueBlack = {255, 0, 0, 0};
constexpr Rgba kWhite = {255, 255, 255, 255};
constexpr Rgba kRed = {255, 0, 0, 255};

}  // namespace kvtest
