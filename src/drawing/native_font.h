// The font of the drawing engines: a resolved face, an em size in points
// and the style bits. Sizes in pixels follow the resolution of the engine a
// caller passes, so one font measures alike on every engine of this library.
#pragma once

#include <string>

#include "drawing/font_cache.h"
#include "drawing/native_object.h"

namespace kvdrw::native {

class NativeFont final : public NativeBase<kvdrw::Font> {
public:
    NativeFont(const FontFace& face, double sizePoints, int32_t style)
        : face_(face), sizePoints_(sizePoints), style_(style)
    {
    }

    const FontFace& face() const { return face_; }
    double EmPixels(double resolutionDpi) const { return sizePoints_ * resolutionDpi / 72.0; }

    intptr_t GetFamily() override { return reinterpret_cast<intptr_t>(&face_); }
    int32_t GetFamilyNameNarrow(char* buffer, int32_t size) override;
    int32_t GetFamilyName(char16_t* buffer, int32_t size) override;
    int32_t GetStyle() override { return style_; }
    double GetSize() override { return sizePoints_; }
    double GetHeight(double resolutionDpi) override;
    kvdrw::FontMetrics* GetMetrics(kvdrw::FontMetrics* metrics, kvdrw::Engine* engine, double resolutionDpi) override;
    int32_t MeasureGlyphRun(kvdrw::Engine* engine, const char16_t* text, int32_t length, double* advances) override;
    int32_t MeasureCellWidths(kvdrw::Engine* engine, uint32_t firstChar, uint32_t lastChar, int32_t* widths,
                              int32_t capacity) override;
    int32_t MeasureCell(kvdrw::Engine* engine, char16_t* text, int32_t length) override;
    int32_t MeasureGlyphs(kvdrw::Engine* engine, const char16_t* text, int32_t length, uint32_t* glyphs,
                          int32_t capacity, int32_t* count) override;
    int32_t MeasureExtents(kvdrw::Engine* engine, const char16_t* text, int32_t length, KvRectangle* inkBox) override;
    int32_t MeasureBox(kvdrw::Engine* engine, uint32_t character, KvRectangle* inkBox) override;
    int32_t MeasureLine(kvdrw::Engine* engine, double* underlineOffset, double* underlineThickness,
                        double* strikeOutOffset, double* strikeOutThickness) override;

    // The eight metrics at a resolution (dots per inch, at least 1).
    void FillMetrics(kvdrw::FontMetrics& metrics, double resolutionDpi) const;

private:
    const FontFace& face_;
    double sizePoints_;
    int32_t style_;
};

}  // namespace kvdrw::native
