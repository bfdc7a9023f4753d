// The pen of the recording engine: an SvgStroke kept ready to copy onto
// every element it strokes.
#pragma once

#include <cstdint>

#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "writer/writer_object.h"

namespace kvdrw::svg {

class MyPen final : public MyObject<kvdrw::Pen> {
public:
    MyPen();
    ~MyPen() override;

    int32_t GetColor(KvColor* color) override;
    int32_t SetColor(const KvColor* color) override;
    double GetWidth() override;
    int32_t SetWidth(double width) override;
    int32_t GetDashStyle() override { return dashStyle_; }
    int32_t SetDashStyle(int32_t dashStyle) override;
    int32_t SetDashPattern(const double* pattern, int32_t count) override;
    int32_t GetLineCap() override;
    int32_t SetLineCap(int32_t lineCap) override;
    int32_t GetLineJoin() override;
    int32_t SetLineJoin(int32_t lineJoin) override;

    // The stroke as the element writes it; its arrays stay the pen's.
    const SvgStroke& stroke() const { return stroke_; }

private:
    SvgLength* dashPattern_ = nullptr;  // the custom pattern, kept even where it is not written
    int32_t dashCount_ = 0;
    int32_t dashStyle_ = 0;
    SvgStroke stroke_;
};

}  // namespace kvdrw::svg
