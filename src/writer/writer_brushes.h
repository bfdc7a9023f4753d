// The brushes of the recording engine: an SvgFill kept ready to copy, a
// colour for a solid brush, a reference to a paint server of the document
// for a gradient or hatch.
#pragma once

#include <cstdint>

#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "writer/writer_object.h"

namespace kvdrw::svg {

class MyBrush : public MyDisposable {
public:
    MyBrush();
    ~MyBrush() override;
    // A copy of the brush's fill; its strings stay the brush's.
    void GetFill(SvgFill& fill) const { fill = fill_; }

protected:
    SvgFill fill_;
};

class MySolidBrush final : public MyObject<kvdrw::SolidBrush, MyBrush> {
public:
    int32_t GetColor(KvColor* color) override;
    int32_t SetColor(const KvColor* color) override;
};

// A gradient or hatch: the fill refers to a paint server of the document.
// The id is copied; ERROR_NO_MEMORY when that fails.
class MyLinearGradientBrush final : public MyObject<kvdrw::LinearGradientBrush, MyBrush> {
public:
    int32_t SetReference(const char16_t* id);
};

class MyHatchBrush final : public MyObject<kvdrw::HatchBrush, MyBrush> {
public:
    int32_t SetReference(const char16_t* id);
};

}  // namespace kvdrw::svg
