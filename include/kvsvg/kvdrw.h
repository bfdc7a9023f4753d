// kvsvg: the drawing contract. Everything that renders reaches its output
// through kvdrw::Engine and the small objects an engine creates: the recording
// engine that writes SVG, and the bitmap and measuring engines of the drawing
// library, implement the same interface, so a renderer never knows which one
// it has. C++ only; the flat C entries that hand out engines are in kvbase.h.
//
// Rules every implementation keeps:
// - An object is made by one engine, used only with it (or with another
//   engine of the same GetEngineKind), and given back with DeleteObject. No
//   reference counts.
// - An operation that can fail returns a status of kvsvg.h: SUCCESS (1),
//   ERROR_INV_PARAMETER (-13) for a null argument, ERROR_NO_MEMORY (-1).
//   An output pointer is the first argument and is written only on success.
// - Text is UTF-16 (char16_t) with an explicit length in code units; the
//   ...Narrow twins take UTF-8 and widen it.
// - The order of the virtual operations is part of the contract and never
//   changes; reserved slots keep their places.
#ifndef KVSVG_KVDRW_H
#define KVSVG_KVDRW_H

#ifndef __cplusplus
#error "kvdrw.h is a C++ header"
#endif

#include <cstdint>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvgeometry.h"
#include "kvsvg/kvsvg.h"

namespace kvdrw {

using Point = KvPoint;
using Rectangle = KvRectangle;
using Matrix = KvMatrix;  // all zero: no matrix
using Color = KvColor;    // alpha, red, green, blue; alpha 255 is opaque
using Image = KvBitmap;

// Width and height, as MeasureString gives them.
struct Size {
    double width;
    double height;
};

// Font metrics in whole pixels at the resolution asked for. Eight integers;
// callers index them, so the order is fixed.
enum FontMetricIndex : int32_t {
    kMetricHeight = 0,           // ascent + descent: one line of glyphs
    kMetricAscent = 1,           // baseline to the top of the line
    kMetricDescent = 2,          // baseline to the bottom of the line, positive
    kMetricInternalLeading = 3,  // height less the em size
    kMetricTopLeading = 4,       // room a top-aligned line keeps above its ascent
    kMetricEmAscent = 5,         // ascent less the internal leading
    kMetricNegativeDescent = 6,  // -descent, 0 when the font has none
    kMetricMaxAdvance = 7,       // widest advance of the font
    kFontMetricCount = 8
};
struct FontMetrics {
    int32_t values[kFontMetricCount];
};

// Type codes of a path's point array (the GDI path convention).
enum PathPointType : int32_t {
    kPathLineTo = 2,
    kPathLineToClose = 3,
    kPathBezierTo = 4,  // three points: two controls and the end
    kPathBezierToClose = 5,
    kPathMoveTo = 6
};

enum FontStyle : int32_t { kFontBold = 1, kFontItalic = 2, kFontUnderline = 4, kFontStrikeOut = 8 };

enum DashStyle : int32_t {
    kDashSolid = 0,
    kDashDash = 1,
    kDashDot = 2,
    kDashDashDot = 3,
    kDashDashDotDot = 4,
    kDashCustom = 5  // the pattern given to SetDashPattern
};

enum LineCap : int32_t { kCapButt = 0, kCapSquare = 1, kCapRound = 2 };
enum LineJoin : int32_t { kJoinMiter = 0, kJoinBevel = 1, kJoinRound = 2 };

// Text alignment along the line and line alignment across it.
enum Alignment : int32_t {
    kAlignNear = 0,
    kAlignCenter = 1,
    kAlignFar = 2,
    kAlignStored = 4  // a line alignment that is kept and returned, never set by the renderer
};

enum FormatFlags : int32_t {
    kFormatRightToLeft = 1,
    kFormatVertical = 2,
    kFormatEndOfWordMark = 64  // stored and returned only
};

enum CombineMode : int32_t {
    kCombineReplace = 0,
    kCombineIntersect = 1,
    kCombineUnion = 2,
    kCombineXor = 3,
    kCombineExclude = 4,     // what was there, less the new region
    kCombineComplement = 5   // the new region, less what was there
};

enum FillMode : int32_t { kFillEvenOdd = 0, kFillWinding = 1 };

// Hatch styles: the pattern a 10 x 10 cell holds over its background.
enum HatchStyle : int32_t {
    kHatchCross = 0,
    kHatchDiagonalCross = 1,
    kHatchBackwardDiagonal = 2,  // from top right to bottom left
    kHatchForwardDiagonal = 3,   // from top left to bottom right
    kHatchHorizontal = 4,
    kHatchVertical = 5           // above 5: background only
};

class Engine;

class Disposable {
public:
    virtual ~Disposable() = default;
    // A number the owner keeps on the object; the object never reads it.
    virtual int32_t GetUserValue() = 0;
    virtual void SetUserValue(int32_t value) = 0;
};

// Any object that offers a path's points and type codes, such as the result
// of GraphicsPath::GetPathData.
class PathData : public Disposable {
public:
    virtual int32_t GetCount() = 0;
    virtual const Point* GetPoints() = 0;
    virtual const int32_t* GetTypes() = 0;
};

class Pen : public Disposable {
public:
    virtual int32_t GetColor(Color* color) = 0;
    virtual int32_t SetColor(const Color* color) = 0;
    virtual double GetWidth() = 0;  // 1.0 until set
    virtual int32_t SetWidth(double width) = 0;
    virtual int32_t GetDashStyle() = 0;
    virtual int32_t SetDashStyle(int32_t dashStyle) = 0;
    // Dash and gap lengths in multiples of the pen width, used by kDashCustom.
    virtual int32_t SetDashPattern(const double* pattern, int32_t count) = 0;
    virtual int32_t GetLineCap() = 0;
    virtual int32_t SetLineCap(int32_t lineCap) = 0;
    virtual int32_t GetLineJoin() = 0;
    virtual int32_t SetLineJoin(int32_t lineJoin) = 0;
};

class Brush : public Disposable {};

class SolidBrush : public Brush {
public:
    virtual int32_t GetColor(Color* color) = 0;
    virtual int32_t SetColor(const Color* color) = 0;
};

class LinearGradientBrush : public Brush {};
class HatchBrush : public Brush {};

class StringFormat : public Disposable {
public:
    virtual int32_t SetAlignment(int32_t alignment) = 0;
    virtual int32_t GetAlignment() = 0;
    virtual int32_t SetLineAlignment(int32_t lineAlignment) = 0;
    virtual int32_t GetLineAlignment() = 0;
    virtual int32_t SetFormatFlags(int32_t flags) = 0;
    virtual int32_t GetFormatFlags() = 0;
};

class Font : public Disposable {
public:
    // An opaque value naming the typeface really used: two fonts that draw
    // with the same face file give the same value.
    virtual intptr_t GetFamily() = 0;
    // The family really used (after substitution), zero-terminated. A buffer
    // too small gives ERROR_BUFFER_TOO_SMALL and an empty string.
    virtual int32_t GetFamilyNameNarrow(char* buffer, int32_t size) = 0;
    virtual int32_t GetFamilyName(char16_t* buffer, int32_t size) = 0;
    virtual int32_t GetStyle() = 0;  // FontStyle bits
    virtual double GetSize() = 0;    // the em size in points, always positive
    // The em size in pixels at a resolution; below 1.0 counts as 96.
    virtual double GetHeight(double resolutionDpi) = 0;
    // Metrics at a resolution (below 1.0 counts as the engine's). Returns
    // `metrics`, or null when an argument is null.
    virtual FontMetrics* GetMetrics(FontMetrics* metrics, Engine* engine, double resolutionDpi) = 0;

    // The measuring operations, all at the engine's resolution, in pixels.
    // Advance of each UTF-16 unit after shaping: a cluster's advance goes to
    // its first unit, the others get 0.
    virtual int32_t MeasureGlyphRun(Engine* engine, const char16_t* text, int32_t length, double* advances) = 0;
    // Three integers per character from firstChar to lastChar: the space
    // before the glyph's ink, the ink width and the space after it; their sum
    // is the rounded advance. `capacity` is the number of triplets `widths`
    // holds; characters beyond it are not measured.
    virtual int32_t MeasureCellWidths(Engine* engine, uint32_t firstChar, uint32_t lastChar, int32_t* widths,
                                      int32_t capacity) = 0;
    // Replaces every character that has a mirrored form (brackets and the
    // like) by that form, in place, for text laid out right to left.
    virtual int32_t MeasureCell(Engine* engine, char16_t* text, int32_t length) = 0;
    // Glyph indices of the shaped text; `count` gets the number of glyphs
    // even when `capacity` is too small (then ERROR_BUFFER_TOO_SMALL).
    virtual int32_t MeasureGlyphs(Engine* engine, const char16_t* text, int32_t length, uint32_t* glyphs,
                                  int32_t capacity, int32_t* count) = 0;
    // Ink box of the text set at the origin on its baseline (y down).
    virtual int32_t MeasureExtents(Engine* engine, const char16_t* text, int32_t length, Rectangle* inkBox) = 0;
    // Ink box of one character set at the origin on its baseline.
    virtual int32_t MeasureBox(Engine* engine, uint32_t character, Rectangle* inkBox) = 0;
    // Offsets below the baseline (negative above) and thicknesses of the
    // underline and the strike-out line.
    virtual int32_t MeasureLine(Engine* engine, double* underlineOffset, double* underlineThickness,
                                double* strikeOutOffset, double* strikeOutThickness) = 0;
};

class GraphicsPath : public Disposable {
public:
    virtual int32_t GetFillMode() = 0;  // kFillWinding or kFillEvenOdd
    virtual int32_t SetFillMode(int32_t fillMode) = 0;
    virtual int32_t StartFigure() = 0;
    virtual int32_t CloseFigure() = 0;
    virtual int32_t AddLine(const Point& from, const Point& to) { return AddLine(from.x, from.y, to.x, to.y); }
    virtual int32_t AddLine(double x1, double y1, double x2, double y2) = 0;
    virtual int32_t AddArc(const Rectangle& rect, double startDegrees, double sweepDegrees)
    {
        return AddArc(rect.x, rect.y, rect.width, rect.height, startDegrees, sweepDegrees);
    }
    virtual int32_t AddArc(double x, double y, double width, double height, double startDegrees,
                           double sweepDegrees) = 0;
    virtual int32_t AddBezier(const Point& p1, const Point& c1, const Point& c2, const Point& p2) = 0;
    virtual int32_t AddBeziers(const Point* points, int32_t count) = 0;
    virtual int32_t AddLines(const Point* points, int32_t count) = 0;
    virtual int32_t AddPolygon(const Point* points, int32_t count) = 0;
    // The rectangle forms pass the right and bottom edges where width and
    // height belong. Callers depend on this: keep it.
    virtual int32_t AddEllipse(const Rectangle& rect)
    {
        return AddEllipse(rect.x, rect.y, rect.x + rect.width, rect.y + rect.height);
    }
    virtual int32_t AddEllipse(double x, double y, double width, double height) = 0;
    virtual int32_t AddRectangle(const Rectangle& rect)
    {
        return AddRectangle(rect.x, rect.y, rect.x + rect.width, rect.y + rect.height);
    }
    virtual int32_t AddRectangle(double x, double y, double width, double height) = 0;
    virtual int32_t AddString(Engine* engine, const char16_t* text, int32_t length, Font* font,
                              const Point& origin, StringFormat* format) = 0;
    virtual int32_t AddString(Engine* engine, const char16_t* text, int32_t length, Font* font,
                              const Rectangle& layout, StringFormat* format) = 0;
    virtual int32_t AddStringNarrow(Engine* engine, const char* text, int32_t length, Font* font,
                                    const Point& origin, StringFormat* format) = 0;
    virtual int32_t AddStringNarrow(Engine* engine, const char* text, int32_t length, Font* font,
                                    const Rectangle& layout, StringFormat* format) = 0;
    virtual int32_t AddPathData(PathData* data)
    {
        if (!data)
            return ERROR_INV_PARAMETER;
        return AddPathData(data->GetPoints(), data->GetTypes(), data->GetCount());
    }
    virtual int32_t AddPathData(const Point* points, const int32_t* types, int32_t count) = 0;
    // A copy of the points and type codes, given back with the engine's
    // DeleteObject.
    virtual int32_t GetPathData(PathData** data) = 0;
    // Bounds under a matrix (null: none), widened by half a pen's width
    // (null: no pen).
    virtual int32_t GetBounds(Rectangle* bounds, const Matrix* matrix, Pen* pen) = 0;
    // Replaces the path by the outline of its stroke with the pen, under the
    // matrix (null: none), curves flattened to `flatness` pixels.
    virtual int32_t Widen(Pen* pen, const Matrix* matrix, double flatness) = 0;
    // Non-zero when the point lies inside the path under its fill mode.
    virtual int32_t ContainsPoint(Engine* engine, double x, double y) = 0;
    // Replaces this path by its combination with another: kCombineUnion,
    // kCombineIntersect, kCombineXor, kCombineExclude or kCombineComplement.
    // The result is winding-filled polygons.
    virtual int32_t CombineGeometry(Engine* engine, GraphicsPath* other, int32_t combineMode) = 0;
    // As AddArc, and the arc starts a figure of its own instead of joining
    // the current point.
    virtual int32_t AddArcToPath(double x, double y, double width, double height, double startDegrees,
                                 double sweepDegrees) = 0;
};

class Engine : public Disposable {
public:
    virtual int32_t GetEngineKind() = 0;
    virtual int32_t BeginDocument() = 0;
    virtual int32_t BeginPage(int32_t width, int32_t height, int32_t* pageState) = 0;
    virtual int32_t EndPage() = 0;
    virtual int32_t EndDocument() = 0;
    virtual int32_t GetPageCount() = 0;
    virtual int32_t IsDocumentOpen() = 0;
    virtual int32_t IsPageOpen() = 0;
    virtual int32_t DeleteObject(Disposable* object) = 0;

    virtual int32_t CreatePen(Pen** pen, const Color* color, double width, int32_t dashStyle) = 0;
    virtual int32_t CreateSolidBrush(SolidBrush** brush, const Color* color) = 0;
    // points[0] is offset 0.0, points[1] offset 1.0; colors[i] sits at offsets[i].
    virtual int32_t CreateGradientBrushFromStops(LinearGradientBrush** brush, const Point* points,
                                                 const Color* colors, const double* offsets, int32_t count) = 0;
    virtual int32_t CreateGradientBrushFromRect(LinearGradientBrush** brush, const Rectangle* rect,
                                                const Color* color1, const Color* color2, double angleDegrees) = 0;
    virtual int32_t CreateGradientBrushFromPoints(LinearGradientBrush** brush, const Point* point1,
                                                  const Point* point2, const Color* color1,
                                                  const Color* color2) = 0;
    virtual int32_t CreateHatchBrush(HatchBrush** brush, int32_t hatchStyle, const Color* foreground,
                                     const Color* background) = 0;
    virtual int32_t CreatePath(GraphicsPath** path) = 0;
    virtual double ConvertFontUnits(double value) = 0;
    virtual int32_t CreateFontNarrow(Font** font, int32_t reserved, const char* family, double size,
                                     int32_t style) = 0;
    // size is the em size in points; a negative size is the same magnitude
    // (callers use the sign to say it came from a pixel height).
    virtual int32_t CreateFont(Font** font, int32_t reserved, const char16_t* family, double size,
                               int32_t style) = 0;
    virtual int32_t CreateStringFormat(StringFormat** format, int32_t alignment, int32_t lineAlignment,
                                       int32_t flags) = 0;

    virtual int32_t DrawLine(Pen* pen, const Point& p1, const Point& p2) { return DrawLine(pen, p1.x, p1.y, p2.x, p2.y); }
    virtual int32_t DrawLine(Pen* pen, double x1, double y1, double x2, double y2) = 0;
    virtual int32_t DrawPath(Pen* pen, Brush* brush, GraphicsPath* path) = 0;
    virtual int32_t DrawRectangle(Pen* pen, Brush* brush, const Rectangle& rect)
    {
        return DrawRectangle(pen, brush, rect.x, rect.y, rect.width, rect.height);
    }
    virtual int32_t DrawRectangle(Pen* pen, Brush* brush, double x, double y, double width, double height) = 0;
    virtual int32_t DrawRoundRectangle(Pen* pen, Brush* brush, const Rectangle& rect, double radiusX, double radiusY)
    {
        return DrawRoundRectangle(pen, brush, rect.x, rect.y, rect.width, rect.height, radiusX, radiusY);
    }
    virtual int32_t DrawRoundRectangle(Pen* pen, Brush* brush, double x, double y, double width, double height,
                                       double radiusX, double radiusY) = 0;
    virtual int32_t DrawEllipse(Pen* pen, Brush* brush, const Rectangle& rect)
    {
        return DrawEllipse(pen, brush, rect.x, rect.y, rect.width, rect.height);
    }
    virtual int32_t DrawEllipse(Pen* pen, Brush* brush, double x, double y, double width, double height) = 0;
    virtual int32_t DrawArc(Pen* pen, const Rectangle& rect, double startDegrees, double sweepDegrees)
    {
        return DrawArc(pen, rect.x, rect.y, rect.width, rect.height, startDegrees, sweepDegrees);
    }
    virtual int32_t DrawArc(Pen* pen, double x, double y, double width, double height, double startDegrees,
                            double sweepDegrees) = 0;
    virtual int32_t DrawPie(Pen* pen, Brush* brush, const Rectangle& rect, double startDegrees, double sweepDegrees)
    {
        return DrawPie(pen, brush, rect.x, rect.y, rect.width, rect.height, startDegrees, sweepDegrees);
    }
    virtual int32_t DrawPie(Pen* pen, Brush* brush, double x, double y, double width, double height,
                            double startDegrees, double sweepDegrees) = 0;
    // fillMode non-zero: winding; zero: even-odd.
    virtual int32_t DrawPolygon(Pen* pen, Brush* brush, const Point* points, int32_t count, int32_t fillMode) = 0;
    virtual int32_t DrawPolyline(Pen* pen, const Point* points, int32_t count) = 0;
    virtual int32_t DrawPathData(Pen* pen, Brush* brush, PathData* data, int32_t fillMode)
    {
        if (!data)
            return ERROR_INV_PARAMETER;
        return DrawPathData(pen, brush, data->GetPoints(), data->GetTypes(), data->GetCount(), fillMode);
    }
    virtual int32_t DrawPathData(Pen* pen, Brush* brush, const Point* points, const int32_t* types, int32_t count,
                                 int32_t fillMode) = 0;
    virtual int32_t DrawBezier(Pen* pen, const Point& p1, const Point& c1, const Point& c2, const Point& p2) = 0;
    virtual int32_t DrawBeziers(Pen* pen, const Point* points, int32_t count) = 0;

    virtual int32_t SetTransform(const Matrix* matrix) = 0;
    // current = current then matrix (the matrix acts in device space)
    virtual int32_t AppendTransform(const Matrix* matrix) = 0;
    // current = matrix then current (the matrix acts in user space)
    virtual int32_t PrependTransform(const Matrix* matrix) = 0;
    virtual int32_t GetTransform(Matrix* matrix) = 0;
    virtual int32_t ResetTransform() = 0;
    virtual int32_t SetClipPath(GraphicsPath* path, int32_t combineMode) = 0;
    virtual int32_t SetClipRect(const Rectangle* rect, int32_t combineMode) = 0;
    virtual int32_t ResetClip() = 0;
    // Saves transform, clip and the two quality settings; the token goes to
    // RestoreState, which also forgets every newer state.
    virtual int32_t SaveState() = 0;
    virtual int32_t RestoreState(int32_t token) = 0;

    // Opacity 1.0 draws opaque; -1.0 is a caller's private mark and draws
    // opaque too. An empty source rectangle draws nothing and succeeds.
    virtual int32_t DrawImage(const Image* image, const Rectangle* destination, const Rectangle* source,
                              double opacity) = 0;
    virtual int32_t DrawStringNarrow(const char* text, int32_t length, Font* font, Brush* brush, const Point* origin,
                                     StringFormat* format) = 0;
    virtual int32_t DrawString(const char16_t* text, int32_t length, Font* font, Brush* brush, const Point* origin,
                               StringFormat* format) = 0;
    virtual int32_t DrawStringInRectNarrow(const char* text, int32_t length, Font* font, Brush* brush,
                                           const Rectangle* layout, StringFormat* format) = 0;
    virtual int32_t DrawStringInRect(const char16_t* text, int32_t length, Font* font, Brush* brush,
                                     const Rectangle* layout, StringFormat* format) = 0;
    virtual int32_t DrawLinkedStringNarrow(const char* text, int32_t length, const char* link, Font* font,
                                           Brush* brush, const Rectangle* layout, StringFormat* format) = 0;
    virtual int32_t DrawLinkedStringInRect(const char16_t* text, int32_t length, const char16_t* link, Font* font,
                                           Brush* brush, const Rectangle* layout, StringFormat* format) = 0;
    virtual double GetResolution() = 0;
    virtual int32_t SetResolution(double dpi) = 0;
    // Two quality settings, 0 to 2, part of the saved state.
    virtual int32_t SetQualityA(int32_t quality) = 0;
    virtual int32_t GetQualityA() = 0;
    virtual int32_t SetQualityB(int32_t quality) = 0;
    virtual int32_t GetQualityB() = 0;
    virtual int32_t SetDrawingMode(int32_t mode) = 0;
    virtual int32_t GetDrawingMode() = 0;
    virtual int32_t IsMeasureOnly() = 0;
    virtual int32_t MeasureStringNarrow(const char* text, int32_t length, Font* font, Size* size) = 0;
    virtual int32_t MeasureString(const char16_t* text, int32_t length, Font* font, Size* size) = 0;
    virtual int32_t MeasureStringInSize(const char16_t* text, int32_t length, Font* font, const Size* layout,
                                        StringFormat* format, Size* size) = 0;
    // How much of the text fits the layout: whole lines, wrapped at word
    // boundaries where the width is above zero. charactersFitted counts the
    // UTF-16 units of the lines that fit, linesFilled those lines.
    virtual int32_t MeasureStringFitted(const char16_t* text, int32_t length, Font* font, const Size* layout,
                                        StringFormat* format, Size* size, int32_t* charactersFitted,
                                        int32_t* linesFilled) = 0;
    // Reserved: no part in drawing. The recording engine answers 0, -16,
    // -16, -16 and 0.
    virtual int32_t Reserved1() = 0;
    virtual int32_t Reserved2(const void* a, const void* b, const void* c, const void* d) = 0;
    virtual int32_t Reserved3(const void* a, const void* b, const void* c, const void* d, const void* e) = 0;
    virtual int32_t Reserved4(const void* a, const void* b, const void* c, const void* d, const void* e) = 0;
    virtual int32_t Reserved5(const void* a, const void* b, const void* c) = 0;
    // The angles run from the ellipse's centre to the two points; the sweep
    // is their difference.
    virtual int32_t DrawArcToPoints(Pen* pen, double x, double y, double width, double height, int32_t x1, int32_t y1,
                                    int32_t x2, int32_t y2) = 0;
    virtual int32_t DrawPieToPoints(Pen* pen, Brush* brush, double x, double y, double width, double height,
                                    int32_t x1, int32_t y1, int32_t x2, int32_t y2) = 0;
    virtual int32_t DrawLinkedString(const char16_t* text, const char16_t* link, int32_t length, Font* font,
                                     Brush* brush, const Point* origin, StringFormat* format) = 0;
    virtual int32_t Reserved6() = 0;
};

}  // namespace kvdrw

#endif  // KVSVG_KVDRW_H
