// The second base of every object of the recording engine. Each object has
// two bases: its kvdrw interface first, MyDisposable second. The engine
// recognises its own objects by a dynamic cast to MyDisposable; anything
// else it hands to the measuring engine. Also the colour coding that pens
// and brushes share.
#pragma once

#include <cstdint>

#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

namespace kvdrw::svg {

class MyDisposable : public kvdrw::Disposable {
public:
    ~MyDisposable() override = default;
    int32_t GetUserValue() override { return userValue_; }
    void SetUserValue(int32_t value) override { userValue_ = value; }

    // The engine that gives back the inner objects (the measuring engine).
    kvdrw::Engine* owner() const { return owner_; }
    void SetOwner(kvdrw::Engine* owner) { owner_ = owner; }
    void MarkReleasing() { releasing_ = true; }
    bool releasing() const { return releasing_; }

private:
    kvdrw::Engine* owner_ = nullptr;
    bool releasing_ = false;
    int32_t userValue_ = 0;
};

// Every My object enters the resource tracker when made and leaves it when
// given back; release marks it, gives it the engine that deletes its inner
// objects, and destroys it.
void TrackWriterObject(MyDisposable* object);
void ReleaseWriterObject(MyDisposable* object, kvdrw::Engine* owner);

// Joins a kvdrw interface and the writer's second base; the user value of
// both tables is the same number.
template <class Interface, class Base = MyDisposable>
class MyObject : public Interface, public Base {
public:
    int32_t GetUserValue() override { return Base::GetUserValue(); }
    void SetUserValue(int32_t value) override { Base::SetUserValue(value); }
};

// Colour bytes to a paint of kind colour and an opacity (unset at 255).
void SetPaintColor(SvgPaint& paint, double& opacity, const KvColor& color);
KvColor GetPaintColor(const SvgPaint& paint, double opacity);

}  // namespace kvdrw::svg
