// The font of the recording engine: the font group and text decoration a
// text element writes, and a font of the measuring engine that lays the
// text out and answers every measuring question.
#pragma once

#include <cstdint>

#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "writer/writer_object.h"

namespace kvdrw::svg {

class MyFont final : public MyObject<kvdrw::Font> {
public:
    MyFont();
    ~MyFont() override;
    // family null or empty is "Arial"; size in points, a negative one the
    // same magnitude; resolution of the writer. Makes the inner font.
    int32_t Create(kvdrw::Engine& measuring, const char16_t* family, double size, int32_t style,
                   double resolution);

    intptr_t GetFamily() override;
    int32_t GetFamilyNameNarrow(char* buffer, int32_t size) override;
    int32_t GetFamilyName(char16_t* buffer, int32_t size) override;
    int32_t GetStyle() override { return style_; }
    double GetSize() override { return sizePx_; }
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

    kvdrw::Font* inner() const { return inner_; }
    // The font group and the text-decoration bits as the text element writes them.
    const SvgFontAttributes& group() const { return group_; }
    uint32_t decoration() const { return decoration_; }

private:
    kvdrw::Font* inner_ = nullptr;
    uint32_t decoration_ = 0;
    SvgFontAttributes group_;
    int32_t style_ = 0;
    double resolution_ = 96.0;  // the writer's, when the font was made
    double pointSize_ = 0.0;  // as asked, magnitude only
    double sizePx_ = 0.0;     // at the writer's resolution
};

}  // namespace kvdrw::svg
