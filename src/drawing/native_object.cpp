#include "drawing/native_object.h"

namespace kvdrw::native {

int32_t DestroyObject(kvdrw::Disposable* object)
{
    auto* native = dynamic_cast<NativeObject*>(object);
    if (!native)
        return ERROR_INV_PARAMETER;
    KV_UNTRACK(native);
    delete native;
    return SUCCESS;
}

double ResolutionOf(kvdrw::Engine* engine)
{
    double dpi = engine ? engine->GetResolution() : 96.0;
    return dpi >= 1.0 ? dpi : 96.0;
}

}  // namespace kvdrw::native
