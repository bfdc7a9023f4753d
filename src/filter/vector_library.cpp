#include "filter/vector_library.h"

#include <dlfcn.h>

#include <mutex>
#include <string>

#include "kvsvg/kvsvg_filter.h"

namespace {

struct LoadedLibrary {
    std::mutex lock;
    std::string name = KV_VECTOR_LIBRARY_NAME;
    void* handle = nullptr;
    VectorCalls calls{};
};

LoadedLibrary& Library()
{
    static LoadedLibrary library;
    return library;
}

template <class Fn>
bool Resolve(void* handle, const char* name, Fn& function)
{
    function = reinterpret_cast<Fn>(dlsym(handle, name));
    return function != nullptr;
}

bool ResolveAll(void* handle, VectorCalls& calls)
{
    return Resolve(handle, "K_VecGetParallelogram", calls.getParallelogram) &&
           Resolve(handle, "K_VecGetUnit", calls.getUnit) && Resolve(handle, "K_VecGetLogPen", calls.getLogPen) &&
           Resolve(handle, "K_VecGetLogBrush", calls.getLogBrush) &&
           Resolve(handle, "K_VecGetObject", calls.getObject) &&
           Resolve(handle, "K_VecFreeObject", calls.freeObject) &&
           Resolve(handle, "K_VecObjectGetPolyPoint", calls.objectGetPolyPoint) &&
           Resolve(handle, "K_VecCreatePolyPoint", calls.createPolyPoint) &&
           Resolve(handle, "K_VecCreate", calls.create) && Resolve(handle, "K_VecFree", calls.free) &&
           Resolve(handle, "K_VecSetParallelogram", calls.setParallelogram) &&
           Resolve(handle, "K_VecSetUnit", calls.setUnit) && Resolve(handle, "K_VecAddPen", calls.addPen) &&
           Resolve(handle, "K_VecAddBrush", calls.addBrush) && Resolve(handle, "K_VecAddObject", calls.addObject);
}

void CloseLocked(LoadedLibrary& library)
{
    if (library.handle)
        dlclose(library.handle);
    library.handle = nullptr;
    library.calls = VectorCalls{};
}

}  // namespace

int32_t GetVectorCalls(const VectorCalls** calls)
{
    *calls = nullptr;
    LoadedLibrary& library = Library();
    std::lock_guard<std::mutex> guard(library.lock);
    if (!library.handle) {
        void* handle = dlopen(library.name.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (!handle)
            return ERROR_NOT_SUPPORTED;
        VectorCalls resolved{};
        if (!ResolveAll(handle, resolved)) {
            dlclose(handle);
            return ERROR_NOT_SUPPORTED;
        }
        library.handle = handle;
        library.calls = resolved;
    }
    *calls = &library.calls;
    return SUCCESS;
}

void SetVectorLibraryName(const char* name)
{
    LoadedLibrary& library = Library();
    std::lock_guard<std::mutex> guard(library.lock);
    CloseLocked(library);
    library.name = name ? name : KV_VECTOR_LIBRARY_NAME;
}
