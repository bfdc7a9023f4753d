#include "writer/writer_string_format.h"


namespace kvdrw::svg {

MyStringFormat::~MyStringFormat()
{
    if (inner_ && owner())
        owner()->DeleteObject(inner_);
}

int32_t MyStringFormat::Create(kvdrw::Engine& measuring, int32_t alignment, int32_t lineAlignment, int32_t flags)
{
    SetOwner(&measuring);
    if (int32_t status = measuring.CreateStringFormat(&inner_, alignment, lineAlignment, flags); status != SUCCESS) {
        inner_ = nullptr;
        return status;
    }
    // The inner format already holds the values; the setters would pass
    // them on a second time.
    kvdrw::StringFormat* inner = inner_;
    inner_ = nullptr;
    SetAlignment(alignment);
    SetLineAlignment(lineAlignment);
    SetFormatFlags(flags);
    inner_ = inner;
    return SUCCESS;
}

int32_t MyStringFormat::SetAlignment(int32_t alignment)
{
    switch (alignment) {
    case kvdrw::kAlignNear:
    case kvdrw::kAlignStored: textAnchor_ = 0; break;
    case kvdrw::kAlignCenter: textAnchor_ = 2; break;  // middle
    case kvdrw::kAlignFar: textAnchor_ = 3; break;     // end
    default: break;
    }
    return inner_ ? inner_->SetAlignment(alignment) : SUCCESS;
}

int32_t MyStringFormat::GetAlignment()
{
    return textAnchor_ == 2 ? kvdrw::kAlignCenter : textAnchor_ == 3 ? kvdrw::kAlignFar : kvdrw::kAlignNear;
}

int32_t MyStringFormat::SetLineAlignment(int32_t lineAlignment)
{
    switch (lineAlignment) {
    case kvdrw::kAlignNear: dominantBaseline_ = 0; break;
    case kvdrw::kAlignCenter: dominantBaseline_ = 12; break;  // central
    case kvdrw::kAlignFar: dominantBaseline_ = 14; break;     // text-after-edge
    case kvdrw::kAlignStored: dominantBaseline_ = 1; break;   // auto
    default: break;
    }
    return inner_ ? inner_->SetLineAlignment(lineAlignment) : SUCCESS;
}

int32_t MyStringFormat::GetLineAlignment()
{
    switch (dominantBaseline_) {
    case 12: return kvdrw::kAlignCenter;
    case 14: return kvdrw::kAlignFar;
    case 1: return kvdrw::kAlignStored;
    default: return kvdrw::kAlignNear;
    }
}

int32_t MyStringFormat::SetFormatFlags(int32_t flags)
{
    const bool rightToLeft = (flags & kvdrw::kFormatRightToLeft) != 0;
    const bool vertical = (flags & kvdrw::kFormatVertical) != 0;
    direction_ = rightToLeft ? 2u : 0u;                            // rtl
    writingMode_ = vertical ? (rightToLeft ? 2u : 6u) : rightToLeft ? 5u : 0u;  // rl-tb, tb, rl
    endOfWordMark_ = (flags & kvdrw::kFormatEndOfWordMark) != 0;
    return inner_ ? inner_->SetFormatFlags(flags) : SUCCESS;
}

int32_t MyStringFormat::GetFormatFlags()
{
    return inner_ ? inner_->GetFormatFlags() : 0;
}

}  // namespace kvdrw::svg
