// The string format of the recording engine: the layout keywords a text
// element writes (text-anchor, dominant-baseline, direction, writing-mode,
// the end-of-word mark), and a format of the measuring engine beside them.
#pragma once

#include <cstdint>

#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "writer/writer_object.h"

namespace kvdrw::svg {

class MyStringFormat final : public MyObject<kvdrw::StringFormat> {
public:
    ~MyStringFormat() override;
    int32_t Create(kvdrw::Engine& measuring, int32_t alignment, int32_t lineAlignment, int32_t flags);

    int32_t SetAlignment(int32_t alignment) override;
    int32_t GetAlignment() override;
    int32_t SetLineAlignment(int32_t lineAlignment) override;
    int32_t GetLineAlignment() override;
    int32_t SetFormatFlags(int32_t flags) override;
    int32_t GetFormatFlags() override;

    kvdrw::StringFormat* inner() const { return inner_; }
    uint32_t textAnchor() const { return textAnchor_; }
    uint32_t dominantBaseline() const { return dominantBaseline_; }
    uint32_t alignmentBaseline() const { return alignmentBaseline_; }
    uint32_t direction() const { return direction_; }
    uint32_t writingMode() const { return writingMode_; }
    bool endOfWordMark() const { return endOfWordMark_; }

private:
    kvdrw::StringFormat* inner_ = nullptr;
    uint32_t direction_ = 0;
    uint32_t writingMode_ = 0;
    uint32_t textAnchor_ = 0;
    uint32_t dominantBaseline_ = 0;
    uint32_t alignmentBaseline_ = 0;
    bool endOfWordMark_ = false;
};

}  // namespace kvdrw::svg
