// The pens, brushes, fonts and string formats of the recording engine. Each
// keeps, ready to copy, the value record that the attribute writers turn
// into SVG (a stroke, a fill, a font group, the text layout keywords), so a
// drawing call only copies it into an element record. Fonts and string
// formats also keep an object of the measuring engine, which lays text out.
//
// Every object has two bases: its kvdrw interface first, MyDisposable
// second. The engine recognises its own objects by a dynamic cast to
// MyDisposable; anything else it hands to the measuring engine.
#pragma once

#include <cstdint>

#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

namespace kvdrw::svg {

class MyDisposable : public kvdrw::Disposable {
public:
    ~MyDisposable() override = default;
    int32_t GetUserValue() override { return userValue_; }
    void SetUserValue(int32_t value) override { userValue_ = value; }

    // The engine that gives back the inner objects (the measuring engine).
    kvdrw::Engine* owner() const { return owner_; }
    void SetOwner(kvdrw::Engine* owner) { owner_ = owner; }
    void MarkReleasing() { releasing_ = true; }
    bool releasing() const { return releasing_; }

private:
    kvdrw::Engine* owner_ = nullptr;
    bool releasing_ = false;
    int32_t userValue_ = 0;
};

// Every My object enters the resource tracker when made and leaves it when
// given back; release marks it, gives it the engine that deletes its inner
// objects, and destroys it.
void TrackWriterObject(MyDisposable* object);
void ReleaseWriterObject(MyDisposable* object, kvdrw::Engine* owner);

// Joins a kvdrw interface and the writer's second base; the user value of
// both tables is the same number.
template <class Interface, class Base = MyDisposable>
class MyObject : public Interface, public Base {
public:
    int32_t GetUserValue() override { return Base::GetUserValue(); }
    void SetUserValue(int32_t value) override { Base::SetUserValue(value); }
};

// Colour bytes to a paint of kind colour and an opacity (unset at 255).
void SetPaintColor(SvgPaint& paint, double& opacity, const KvColor& color);
KvColor GetPaintColor(const SvgPaint& paint, double opacity);

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
