// The common ground of every object the drawing engines hand out: the
// owner's user value, and a second base through which an engine recognises
// its own objects (by dynamic cast) before it destroys one. Objects are
// engine-neutral: any engine of this library may use or delete them, which
// is what a shared GetEngineKind promises.
#pragma once

#include <cstdint>
#include <new>

#include "base/tracked_memory.h"
#include "kvsvg/kvdrw.h"

namespace kvdrw::native {

class NativeObject {
public:
    virtual ~NativeObject() = default;
};

template <class Interface>
class NativeBase : public Interface, public NativeObject {
public:
    int32_t GetUserValue() override { return userValue_; }
    void SetUserValue(int32_t value) override { userValue_ = value; }

private:
    int32_t userValue_ = 0;
};

// Makes an object, enters it in the resource tracker and hands it out
// through the interface pointer; ERROR_NO_MEMORY when it cannot be made.
template <class Concrete, class Interface, class... Args>
int32_t MakeObject(Interface** out, Args&&... args)
{
    Concrete* object = new (std::nothrow) Concrete(static_cast<Args&&>(args)...);
    if (!object)
        return ERROR_NO_MEMORY;
    KV_TRACK(static_cast<NativeObject*>(object));
    *out = object;
    return SUCCESS;
}

// Gives an object back; ERROR_INV_PARAMETER when it is null or not ours.
int32_t DestroyObject(kvdrw::Disposable* object);

// Dots per inch of an engine, 96 without one or below 1.
double ResolutionOf(kvdrw::Engine* engine);

}  // namespace kvdrw::native
