// The recording engine: a kvdrw::Engine whose drawing calls become elements
// of a live SVG document, inserted through the element records exactly as a
// caller's K_SvgInsertElement would, so every value is validated and
// written by the handlers and the engine never formats XML itself.
//
// What a reader of the output may rely on:
// - Every drawn element is a child of the svg root, in call order; no g
//   element is written, and the transform and clip current at a call are
//   repeated on that element.
// - Paint servers and clip paths stand in one defs element, made when the
//   first is needed (so after whatever was drawn before), with the ids
//   LinearGradientN, PatternN and ClipN; texts, links and images are TextN,
//   AnchorN and ImageN. Counters never go back, also after a failed call.
// - A shape without a brush has fill-opacity="0"; a black brush writes no
//   fill at all. A filled path is even-odd.
// - Images are the whole bitmap as a PNG data URI; images drawn with the
//   opacity -1.0 stand before all other content, in their order.
// - Text is one text element a line, with xml:space="preserve" and a style
//   that starts with "white-space:pre;".
//
// Text is measured on a measuring engine of the drawing library that the
// engine owns; fonts, formats and paths keep an object of it inside them.
// The engine holds its document in an update bracket and must be destroyed
// before the document.
#pragma once

#include <cstdint>

#include "document/svg_element_view.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "writer/writer_object.h"

class SvgDocumentHandler;

namespace kvdrw::svg {

// One entry of the saved-state stack. The transform holds at most one
// matrix item and the clip one reference, both owned by the entry.
struct SvgWriterState {
    SvgTransformList transform;
    SvgReference clip;
    uint32_t textQuality;   // text-rendering: 0 not set, 2 optimizeSpeed, 4 geometricPrecision
    uint32_t shapeQuality;  // the same coding; kept and returned, never written
};

class SvgWriterEngine final : public kvdrw::Engine, public MyDisposable {
public:
    using kvdrw::Engine::DrawArc;
    using kvdrw::Engine::DrawEllipse;
    using kvdrw::Engine::DrawLine;
    using kvdrw::Engine::DrawPathData;
    using kvdrw::Engine::DrawPie;
    using kvdrw::Engine::DrawRectangle;
    using kvdrw::Engine::DrawRoundRectangle;

    static constexpr int32_t kEngineKind = 10;

    // A tracked engine with no document yet.
    static int32_t Create(SvgWriterEngine** engine);
    // Untracks and destroys; null is fine.
    static void Destroy(SvgWriterEngine* engine);
    ~SvgWriterEngine() override;

    // Binds the engine to a document: root found or made, marked flat, held
    // in an update bracket, element limit and resolution from the options.
    // Fields of options count only where options->size covers them.
    int32_t Attach(SvgDocumentHandler& document, const SvgFileOptions* options);
    void SetFlags(uint32_t flags) { flags_ = flags; }
    uint32_t flags() const { return flags_; }
    // Null clears.
    void SetTextExtraParams(const SvgTextExtraParams* params);

    int32_t GetUserValue() override { return MyDisposable::GetUserValue(); }
    void SetUserValue(int32_t value) override { MyDisposable::SetUserValue(value); }

    int32_t GetEngineKind() override { return kEngineKind; }
    int32_t BeginDocument() override;
    int32_t BeginPage(int32_t width, int32_t height, int32_t* pageState) override;
    int32_t EndPage() override;
    int32_t EndDocument() override;
    int32_t GetPageCount() override { return pageCount_ + (pageOpen_ ? 1 : 0); }
    int32_t IsDocumentOpen() override { return documentOpen_ ? 1 : 0; }
    int32_t IsPageOpen() override { return pageOpen_ ? 1 : 0; }
    int32_t DeleteObject(kvdrw::Disposable* object) override;

    int32_t CreatePen(kvdrw::Pen** pen, const KvColor* color, double width, int32_t dashStyle) override;
    int32_t CreateSolidBrush(kvdrw::SolidBrush** brush, const KvColor* color) override;
    int32_t CreateGradientBrushFromStops(kvdrw::LinearGradientBrush** brush, const KvPoint* points,
                                         const KvColor* colors, const double* offsets, int32_t count) override;
    int32_t CreateGradientBrushFromRect(kvdrw::LinearGradientBrush** brush, const KvRectangle* rect,
                                        const KvColor* color1, const KvColor* color2, double angleDegrees) override;
    int32_t CreateGradientBrushFromPoints(kvdrw::LinearGradientBrush** brush, const KvPoint* point1,
                                          const KvPoint* point2, const KvColor* color1,
                                          const KvColor* color2) override;
    int32_t CreateHatchBrush(kvdrw::HatchBrush** brush, int32_t hatchStyle, const KvColor* foreground,
                             const KvColor* background) override;
    int32_t CreatePath(kvdrw::GraphicsPath** path) override;
    double ConvertFontUnits(double value) override { return value; }
    int32_t CreateFontNarrow(kvdrw::Font** font, int32_t reserved, const char* family, double size,
                             int32_t style) override;
    int32_t CreateFont(kvdrw::Font** font, int32_t reserved, const char16_t* family, double size,
                       int32_t style) override;
    int32_t CreateStringFormat(kvdrw::StringFormat** format, int32_t alignment, int32_t lineAlignment,
                               int32_t flags) override;

    int32_t DrawLine(kvdrw::Pen* pen, double x1, double y1, double x2, double y2) override;
    int32_t DrawPath(kvdrw::Pen* pen, kvdrw::Brush* brush, kvdrw::GraphicsPath* path) override;
    int32_t DrawRectangle(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                          double height) override;
    int32_t DrawRoundRectangle(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width, double height,
                               double radiusX, double radiusY) override;
    int32_t DrawEllipse(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                        double height) override;
    int32_t DrawArc(kvdrw::Pen* pen, double x, double y, double width, double height, double startDegrees,
                    double sweepDegrees) override;
    int32_t DrawPie(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width, double height,
                    double startDegrees, double sweepDegrees) override;
    int32_t DrawPolygon(kvdrw::Pen* pen, kvdrw::Brush* brush, const KvPoint* points, int32_t count,
                        int32_t fillMode) override;
    int32_t DrawPolyline(kvdrw::Pen* pen, const KvPoint* points, int32_t count) override;
    int32_t DrawPathData(kvdrw::Pen* pen, kvdrw::Brush* brush, const KvPoint* points, const int32_t* types,
                         int32_t count, int32_t fillMode) override;
    int32_t DrawBezier(kvdrw::Pen* pen, const KvPoint& p1, const KvPoint& c1, const KvPoint& c2,
                       const KvPoint& p2) override;
    int32_t DrawBeziers(kvdrw::Pen* pen, const KvPoint* points, int32_t count) override;

    int32_t SetTransform(const KvMatrix* matrix) override;
    int32_t AppendTransform(const KvMatrix* matrix) override;
    int32_t PrependTransform(const KvMatrix* matrix) override;
    int32_t GetTransform(KvMatrix* matrix) override;
    int32_t ResetTransform() override;
    int32_t SetClipPath(kvdrw::GraphicsPath* path, int32_t combineMode) override;
    int32_t SetClipRect(const KvRectangle* rect, int32_t combineMode) override;
    int32_t ResetClip() override;
    int32_t SaveState() override;
    int32_t RestoreState(int32_t token) override;

    int32_t DrawImage(const KvBitmap* image, const KvRectangle* destination, const KvRectangle* source,
                      double opacity) override;
    int32_t DrawStringNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                             const KvPoint* origin, kvdrw::StringFormat* format) override;
    int32_t DrawString(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                       const KvPoint* origin, kvdrw::StringFormat* format) override;
    int32_t DrawStringInRectNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                                   const KvRectangle* layout, kvdrw::StringFormat* format) override;
    int32_t DrawStringInRect(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush,
                             const KvRectangle* layout, kvdrw::StringFormat* format) override;
    int32_t DrawLinkedStringNarrow(const char* text, int32_t length, const char* link, kvdrw::Font* font,
                                   kvdrw::Brush* brush, const KvRectangle* layout,
                                   kvdrw::StringFormat* format) override;
    int32_t DrawLinkedStringInRect(const char16_t* text, int32_t length, const char16_t* link, kvdrw::Font* font,
                                   kvdrw::Brush* brush, const KvRectangle* layout,
                                   kvdrw::StringFormat* format) override;
    double GetResolution() override { return dpiY_; }
    int32_t SetResolution(double dpi) override;
    int32_t SetQualityA(int32_t quality) override;
    int32_t GetQualityA() override;
    int32_t SetQualityB(int32_t quality) override;
    int32_t GetQualityB() override;
    int32_t SetDrawingMode(int32_t mode) override;
    int32_t GetDrawingMode() override;
    int32_t IsMeasureOnly() override { return (flags_ & SVG_DRAW_RECORD_ONLY) ? 1 : 0; }
    int32_t MeasureStringNarrow(const char* text, int32_t length, kvdrw::Font* font, kvdrw::Size* size) override;
    int32_t MeasureString(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Size* size) override;
    int32_t MeasureStringInSize(const char16_t* text, int32_t length, kvdrw::Font* font, const kvdrw::Size* layout,
                                kvdrw::StringFormat* format, kvdrw::Size* size) override;
    int32_t MeasureStringFitted(const char16_t* text, int32_t length, kvdrw::Font* font, const kvdrw::Size* layout,
                                kvdrw::StringFormat* format, kvdrw::Size* size, int32_t* charactersFitted,
                                int32_t* linesFilled) override;
    int32_t Reserved1() override { return 0; }
    int32_t Reserved2(const void*, const void*, const void*, const void*) override { return ERROR_NOT_SUPPORTED; }
    int32_t Reserved3(const void*, const void*, const void*, const void*, const void*) override
    {
        return ERROR_NOT_SUPPORTED;
    }
    int32_t Reserved4(const void*, const void*, const void*, const void*, const void*) override
    {
        return ERROR_NOT_SUPPORTED;
    }
    int32_t Reserved5(const void*, const void*, const void*) override { return 0; }
    int32_t DrawArcToPoints(kvdrw::Pen* pen, double x, double y, double width, double height, int32_t x1, int32_t y1,
                            int32_t x2, int32_t y2) override;
    int32_t DrawPieToPoints(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width, double height,
                            int32_t x1, int32_t y1, int32_t x2, int32_t y2) override;
    int32_t DrawLinkedString(const char16_t* text, const char16_t* link, int32_t length, kvdrw::Font* font,
                             kvdrw::Brush* brush, const KvPoint* origin, kvdrw::StringFormat* format) override;
    int32_t Reserved6() override { return 0; }

private:
    SvgWriterEngine() = default;

    SvgWriterState& current() { return states_[stateTop_]; }
    bool DropsShapes() const { return (flags_ & SVG_DRAW_DROP_SHAPES) != 0; }
    void ReleaseBinding();

    // Shape elements (svg_writer_shapes.cpp).
    template <class Record>
    int32_t InsertShape(ScopedRecord<Record>& record, uint32_t type, kvdrw::Pen* pen, kvdrw::Brush* brush);
    int32_t EnsureDefs();
    // Takes out a defs element that a failed call made.
    void DropDefs();
    int32_t EnsureClip();
    // Adds a rect or path to the open clipPath by the combine mode; a shape
    // that cannot be added takes the clipPath and defs made for it along.
    int32_t AddClipShape(uint32_t type, ScopedAnyRecord& shape, int32_t combineMode, bool selfClip);
    int32_t InsertPaintServer(uint32_t type, const void* record, SvgElementView* inserted);
    int32_t MakeGradient(kvdrw::LinearGradientBrush** brush, const KvPoint& from, const KvPoint& to,
                         const KvColor* colors, const double* offsets, int32_t count, double angleDegrees);

    // Text (svg_writer_text.cpp).
    int32_t DrawText(const SvgElementView& parent, const char16_t* text, int32_t length, kvdrw::Font* font,
                     kvdrw::Brush* brush, double x, double y, const kvdrw::Size* layout, kvdrw::StringFormat* format);
    int32_t WriteText(const SvgElementView& parent, char16_t* text, int32_t length, kvdrw::Font* font, double x,
                      double y, const kvdrw::Size* layout, kvdrw::StringFormat* format, kvdrw::Brush* brush);
    int32_t BreakLine(const char16_t* start, const char16_t* end, const kvdrw::Size& layout, kvdrw::Font* font,
                      kvdrw::StringFormat* format, int32_t* length);
    int32_t MarkTextLine(const SvgElementView& line, bool endsInWord, kvdrw::StringFormat* format);
    int32_t MakeAnchor(const char16_t* link, SvgElementView* anchor);

    // Images (svg_writer_images.cpp).
    int32_t InsertImage(ScopedRecord<SvgImageElement>& record, bool atBottom);

    int32_t gradientCount_ = 0;
    int32_t clipCount_ = 0;
    int32_t patternCount_ = 0;
    int32_t textCount_ = 0;
    int32_t anchorCount_ = 0;
    int32_t imageCount_ = 0;
    char16_t backgroundImageId_[20] = {};
    SvgTextExtraParams extraParams_{};
    double dpiX_ = 96.0;
    double dpiY_ = 96.0;
    SvgDocumentHandler* document_ = nullptr;
    SvgElementView root_;
    SvgElementView defs_;
    SvgElementView clipNode_;
    SvgWriterState* states_ = nullptr;
    int32_t stateCapacity_ = 0;
    int32_t stateTop_ = 0;
    uint32_t flags_ = 0;
    bool documentOpen_ = false;
    bool pageOpen_ = false;
    int32_t pageCount_ = 0;
    bool holdsUpdate_ = false;
    kvdrw::Engine* measuring_ = nullptr;
};

// What K_Draw_ToSvg does behind its checks: a new document with an svg
// root and an engine on it, both handed out together or neither.
int32_t DrawToSvg(SvgWriterEngine** engine, SvgDocumentHandler** document, const SvgFileOptions* options);
// The engine behind a boundary pointer; null for any other engine.
SvgWriterEngine* AsSvgWriterEngine(void* engine);

// The internal form for the view operations: an engine on a document that
// the caller owns, without flags.
int32_t CreateSvgWriterForDocument(SvgWriterEngine** engine, SvgDocumentHandler& document,
                                   const SvgFileOptions* options);

}  // namespace kvdrw::svg
