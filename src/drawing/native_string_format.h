// The string format of the drawing engines: alignment along the line, line
// alignment, and the direction flags. It stores what it is given, the values
// the layout does not use included, and returns it unchanged.
#pragma once

#include "drawing/native_object.h"

namespace kvdrw::native {

class NativeStringFormat final : public NativeBase<kvdrw::StringFormat> {
public:
    NativeStringFormat(int32_t alignment, int32_t lineAlignment, int32_t flags)
        : alignment_(alignment), lineAlignment_(lineAlignment), flags_(flags)
    {
    }
    int32_t SetAlignment(int32_t alignment) override;
    int32_t GetAlignment() override { return alignment_; }
    int32_t SetLineAlignment(int32_t lineAlignment) override;
    int32_t GetLineAlignment() override { return lineAlignment_; }
    int32_t SetFormatFlags(int32_t flags) override
    {
        flags_ = flags;
        return SUCCESS;
    }
    int32_t GetFormatFlags() override { return flags_; }

    static bool IsAlignment(int32_t value) { return value >= 0 && value <= 2; }
    static bool IsLineAlignment(int32_t value) { return IsAlignment(value) || value == 4; }

private:
    int32_t alignment_;
    int32_t lineAlignment_;
    int32_t flags_;
};

}  // namespace kvdrw::native
