// Turns the values of flat element records into objects of a drawing engine
// and into geometry: colours, brushes, pens, string formats, fonts, paths,
// transforms and element bounds. Holds no state beyond its engine, its
// document and a flag word; the renderer keeps one, and the bounds code
// makes one on a measuring engine. Every operation that fails after it made
// an engine object deletes it and clears the pointer.
#pragma once

#include <cstdint>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

class SvgDocumentHandler;
class SvgElementView;

// Bit 0 of the flag word: hairlines (widths above 0 up to 1.9) are thickened.
constexpr uint32_t kRenderThickenHairlines = 0x1u;
// Bit 1: paint servers in full (all stops, the whole gradientTransform).
constexpr uint32_t kRenderFullPaint = 0x2u;

// Resolves a colour value at an opacity (unset counts as 1.0). An opacity
// outside 0..1, or a name the colour table does not know, leaves `color`
// alone with SUCCESS; a malformed hexadecimal text is FAILURE.
int32_t ResolveColor(const SvgColor& value, double opacity, kvdrw::Color& color);

// 1 when a UTF-16 unit of the text lies in the right-to-left table.
int32_t ContainsRightToLeftText(const char16_t* text, int32_t length);

class SvgRenderingUtils {
public:
    SvgRenderingUtils(kvdrw::Engine* engine, SvgDocumentHandler* document, uint32_t flags)
        : engine_(engine), document_(document), flags_(flags)
    {
    }
    virtual ~SvgRenderingUtils() = default;

    kvdrw::Engine* engine() const { return engine_; }
    SvgDocumentHandler* document() const { return document_; }

    // Null *brush when the element has no fill.
    int32_t PrepareSolidBrush(const K_SvgStyleProp& style, kvdrw::SolidBrush** brush);
    // The linearGradient named by the fill, found in the document; always
    // deletes the old brush first. No gradient, or one without stops: SUCCESS
    // and a null brush.
    int32_t BuildGradientBrush(const K_SvgStyleProp& style, kvdrw::LinearGradientBrush** brush);
    // The brush of a gradient whose stop records are at hand (the
    // render-optimised definitions keep them); always deletes the old brush.
    int32_t BuildGradientBrushFromStops(const SvgLinearGradientElement& gradient, const SvgStopElement* const* stops,
                                        size_t count, kvdrw::LinearGradientBrush** brush);
    // With kRenderFullPaint: a radial gradient as the mean colour of its stops.
    int32_t BuildRadialBrushFromStops(const SvgStopElement* const* stops, size_t count,
                                      kvdrw::LinearGradientBrush** brush);
    bool fullPaint() const { return (flags_ & kRenderFullPaint) != 0; }
    // Null *pen when the element has no stroke.
    int32_t PrepareStrokePen(const K_SvgStyleProp& style, kvdrw::Pen** pen);
    int32_t PrepareStringFormat(const K_SvgStyleProp& style, kvdrw::StringFormat** format);
    int32_t BuildFont(const K_SvgStyleProp& style, kvdrw::Font** font);
    // fillMode: kvdrw::kFillWinding or kvdrw::kFillEvenOdd.
    int32_t BuildPath(const SvgPathData& data, int32_t fillMode, kvdrw::GraphicsPath** path);

    // Bounds of one element under its transform and `view` (null: none),
    // widened by its stroke. An element without geometry gives an empty
    // rectangle and SUCCESS.
    int32_t GetElementBoundsByKind(const SvgElementView& element, const KvMatrix* view, KvRectangle& bounds);
    int32_t GetRecordBounds(uint32_t kind, const void* record, const KvMatrix* view, KvRectangle& bounds);

    // Text measuring shared with the drawing of text.
    int32_t GetAnchorOffset(uint32_t textAnchor, kvdrw::Font* font, const char16_t* text, int32_t length,
                            double& offset);
    int32_t MeasureTextBounds(const SvgTextElement& text, KvRectangle& bounds);

private:
    int32_t PathBounds(kvdrw::GraphicsPath* path, const K_SvgStyleProp& style, const SvgTransformList& transform,
                       const KvMatrix* view, KvRectangle& bounds);

    kvdrw::Engine* engine_;
    SvgDocumentHandler* document_;
    uint32_t flags_;
};

// The transform list folded into one matrix, last item innermost; null or
// empty gives the identity. An unset scale y counts as 0.0, not as x.
KvMatrix BuildTransformMatrix(const SvgTransformList* list);
// The matrix that maps a viewBox onto width x height; identity when any of
// them is unset.
KvMatrix BuildViewBoxMatrix(const SvgLength& width, const SvgLength& height, const SvgViewBox& viewBox,
                            const SvgPreserveAspectRatio& ratio);
// Decodes an image href (a data: URI or a file name) into a new bitmap of 32
// bits; the bitmap's allocated flag stays clear when nothing could be decoded.
int32_t LoadImageReference(const KvChar* href, KvBitmap& bitmap);
