// Everything the bitmap and measuring engines share: the whole kvdrw::Engine
// contract of arguments, statuses, objects, document and page bookkeeping,
// the saved-state stack (transform, clip, the two quality settings), clip
// algebra and text layout. What differs is only how a finished path or image
// reaches pixels, which each engine supplies through Paint and PaintImage.
//
// The clip is kept in device space as a list of regions whose intersection
// is visible: intersecting only appends (an engine clips by each in turn),
// while union, exclusive or, exclude and complement fold the list into one
// polygon set through Clipper.
#pragma once

#include <initializer_list>

#include <memory>
#include <vector>

#include "drawing/native_brushes.h"
#include "drawing/native_pen.h"
#include "drawing/path_geometry.h"
#include "drawing/tracked_allocator.h"
#include "kvsvg/kvdrw.h"

namespace kvdrw::native {

// Both engines of this library report this kind: objects of one are good
// for the other.
constexpr int32_t kNativeEngineKind = 1;

struct ClipRegion {
    struct Part {
        ClipperLib::Paths polygons;  // device space, kClipperUnitsPerPixel steps a pixel
        bool evenOdd = false;
        bool isRectangle = false;  // then `rectangle` says the same, exactly
        KvRectangle rectangle{0, 0, 0, 0};
    };
    std::vector<Part> parts;  // visible: the intersection of all
};

struct DrawState {
    KvMatrix transform;
    std::shared_ptr<const ClipRegion> clip;  // null: no clip
    int32_t qualityA = 0;
    int32_t qualityB = 0;
};

class EngineCore : public kvdrw::Engine {
public:
    using kvdrw::Engine::DrawArc;
    using kvdrw::Engine::DrawEllipse;
    using kvdrw::Engine::DrawLine;
    using kvdrw::Engine::DrawPathData;
    using kvdrw::Engine::DrawPie;
    using kvdrw::Engine::DrawRectangle;
    using kvdrw::Engine::DrawRoundRectangle;

    EngineCore();

    int32_t GetUserValue() override { return userValue_; }
    void SetUserValue(int32_t value) override { userValue_ = value; }

    int32_t GetEngineKind() override { return kNativeEngineKind; }
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
    double GetResolution() override { return resolution_; }
    int32_t SetResolution(double dpi) override;
    int32_t SetQualityA(int32_t quality) override;
    int32_t GetQualityA() override { return state_.qualityA; }
    int32_t SetQualityB(int32_t quality) override;
    int32_t GetQualityB() override { return state_.qualityB; }
    int32_t SetDrawingMode(int32_t mode) override
    {
        drawingMode_ = mode;
        return SUCCESS;
    }
    int32_t GetDrawingMode() override { return drawingMode_; }
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

protected:
    // Paints a path given in user space under the current state: the brush
    // fills by the path's fill mode, then the pen strokes. Either may be
    // null. Text comes as its glyph outlines, with isText set.
    virtual int32_t Paint(const PathGeometry& path, NativePen* pen, NativeBrush* brush, bool isText) = 0;
    // Paints the source part of an image into the destination rectangle of
    // user space. The source lies within the image and is not empty;
    // opacity is in (0, 1].
    virtual int32_t PaintImage(const KvBitmap& image, const KvRectangle& destination, const KvRectangle& source,
                               double opacity) = 0;
    // The device area that "everything" means to an unbounded clip.
    virtual KvRectangle DeviceExtent() const = 0;
    // Brings drawn pixels to their final place, at the end of a page or document.
    virtual void Flush() {}

    const DrawState& state() const { return state_; }
    // Changes whenever the clip does, so an engine can tell when to apply it again.
    uint64_t clipGeneration() const { return clipGeneration_; }

private:
    // Builds a path with `build`, then paints it; catches lack of memory.
    template <class Build>
    int32_t PaintBuilt(NativePen* pen, NativeBrush* brush, int32_t fillMode, Build&& build);
    int32_t ResolvePaint(kvdrw::Pen* pen, kvdrw::Brush* brush, NativePen*& nativePen, NativeBrush*& nativeBrush);
    // The common road of the shape calls: the pen and brush must be this
    // engine's, every number finite, then the built path is painted.
    template <class Build>
    int32_t PaintShape(kvdrw::Pen* pen, kvdrw::Brush* brush, std::initializer_list<double> numbers, int32_t fillMode,
                       Build&& build);
    int32_t CombineClip(const PathGeometry& userPath, int32_t combineMode, const KvRectangle* exactRectangle);
    int32_t DrawText(const char16_t* text, int32_t length, kvdrw::Font* font, kvdrw::Brush* brush, double x, double y,
                     double boxWidth, double boxHeight, kvdrw::StringFormat* format);
    void SetClip(std::shared_ptr<const ClipRegion> clip);

    int32_t userValue_ = 0;
    bool documentOpen_ = false;
    bool pageOpen_ = false;
    int32_t pageCount_ = 0;
    double resolution_ = 96.0;
    int32_t drawingMode_ = 0;
    DrawState state_;
    TrackedVector<DrawState> saved_;
    uint64_t clipGeneration_ = 0;
};

}  // namespace kvdrw::native
