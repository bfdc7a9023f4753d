#include "drawing/native_string_format.h"

namespace kvdrw::native {

int32_t NativeStringFormat::SetAlignment(int32_t alignment)
{
    if (!IsAlignment(alignment))
        return ERROR_INV_PARAMETER;
    alignment_ = alignment;
    return SUCCESS;
}

int32_t NativeStringFormat::SetLineAlignment(int32_t lineAlignment)
{
    if (!IsLineAlignment(lineAlignment))
        return ERROR_INV_PARAMETER;
    lineAlignment_ = lineAlignment;
    return SUCCESS;
}

}  // namespace kvdrw::native
