// Shapes, clips and paint servers of the recording engine: one element per
// drawing call, built on the stack from the objects' records and inserted
// through the record engine.
#include <cmath>
#include <cstdio>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "document/svg_base_handler.h"
#include "document/svg_document_handler.h"
#include "values/value_records.h"
#include "writer/svg_writer_engine.h"
#include "writer/writer_brushes.h"
#include "writer/writer_path.h"
#include "writer/writer_pen.h"

namespace kvdrw::svg {

namespace {

constexpr double kPi = 3.14159265358979323846;

SvgLength Length(double value)
{
    SvgLength length;
    InitLength(&length);
    length.value = value;
    return length;
}

// "Prefix" followed by a number.
struct GeneratedId {
    // Room for the longest prefix and any 32-bit number: a counter past
    // five digits must not cut an id short and so repeat an earlier one.
    char16_t text[32] = {};
    GeneratedId(const char* prefix, int32_t number)
    {
        char narrow[32];
        std::snprintf(narrow, sizeof narrow, "%s%d", prefix, number);
        for (size_t i = 0; i < sizeof narrow && narrow[i]; ++i)
            text[i] = static_cast<char16_t>(narrow[i]);
    }
};

// The element takes the state's and the objects' records for the time of
// the insertion only; this gives them back, whatever happened, so that the
// record frees only what it made itself.
class Borrowed {
public:
    Borrowed(SvgTransformList* transform, K_SvgStyleProp& style) : transform_(transform), style_(style) {}
    ~Borrowed()
    {
        if (transform_)
            InitTransformList(transform_);
        InitReference(&style_.clipPath);
        InitFill(&style_.paint.fill);
        InitStroke(&style_.paint.stroke);
    }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;

private:
    SvgTransformList* transform_;
    K_SvgStyleProp& style_;
};

void SetRgb(SvgColor& color, const KvColor& value)
{
    FreeColor(&color);
    color.kind = SVG_COLOR_RGB;
    for (auto [component, byte] : {std::pair{&color.red, value.red}, std::pair{&color.green, value.green},
                                   std::pair{&color.blue, value.blue}}) {
        InitPercentage(component);
        component->value = byte;
        component->type = SVG_PERCENTAGE_NUMBER;
    }
}

// Takes out an element that a failed call had already inserted.
void RemoveElement(SvgDocumentHandler& document, const SvgElementView& element)
{
    if (!element)
        return;
    SvgBaseHandler* handler = nullptr;
    if (WrapXmlNode(&handler, element.node()) != SUCCESS)
        return;
    SvgHandlerPtr owned(handler);
    AttachOwner(&document, handler);
    handler->remove();
}

}  // namespace

// ---- Shapes ------------------------------------------------------------------------

template <class Record>
int32_t SvgWriterEngine::InsertShape(ScopedRecord<Record>& record, uint32_t type, kvdrw::Pen* pen,
                                     kvdrw::Brush* brush)
{
    if (record.status() != SUCCESS)
        return record.status();
    MyPen* writerPen = nullptr;
    MyBrush* writerBrush = nullptr;
    if (pen && !(writerPen = dynamic_cast<MyPen*>(pen)))
        return ERROR_INV_PARAMETER;
    if (brush && !(writerBrush = dynamic_cast<MyBrush*>(brush)))
        return ERROR_INV_PARAMETER;
    K_SvgStyleProp& style = record->style;
    const uint32_t fillRule = style.paint.fill.rule;
    Borrowed borrowed(&record->transform, style);
    record->transform = current().transform;
    style.clipPath = current().clip;
    if (writerPen)
        style.paint.stroke = writerPen->stroke();
    if (writerBrush) {
        writerBrush->GetFill(style.paint.fill);
        style.paint.fill.rule = fillRule;
    } else {
        // No fill shows, and no "none" is said.
        style.paint.fill.opacity = 0.0;
        style.paint.fill.rule = fillRule;
    }
    return root_.Insert(type, record.data(), kSvgInsertLastChild);
}

int32_t SvgWriterEngine::DrawLine(kvdrw::Pen* pen, double x1, double y1, double x2, double y2)
{
    if (!pen)
        return ERROR_INV_PARAMETER;
    if (DropsShapes())
        return SUCCESS;
    ScopedRecord<SvgLineElement> line(SVG_ELEMENT_LINE);
    line->x1 = Length(x1);
    line->y1 = Length(y1);
    line->x2 = Length(x2);
    line->y2 = Length(y2);
    return InsertShape(line, SVG_ELEMENT_LINE, pen, nullptr);
}

int32_t SvgWriterEngine::DrawPath(kvdrw::Pen* pen, kvdrw::Brush* brush, kvdrw::GraphicsPath* path)
{
    if (DropsShapes())
        return SUCCESS;
    auto* writerPath = dynamic_cast<MyGraphicsPath*>(path);
    if (!writerPath)
        return ERROR_INV_PARAMETER;
    ScopedRecord<SvgPathElement> element(SVG_ELEMENT_PATH);
    if (element.status() != SUCCESS)
        return element.status();
    // A filled path is even-odd whatever its fill mode said, since a writer
    // path never answers winding.
    element->style.paint.fill.rule =
        brush ? (writerPath->GetFillMode() != kvdrw::kFillEvenOdd ? 0u : 2u) : writerPath->fillRule();
    element->d = writerPath->PathData();
    const int32_t status = InsertShape(element, SVG_ELEMENT_PATH, pen, brush);
    InitPathData(&element->d);
    return status;
}

int32_t SvgWriterEngine::DrawRectangle(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                       double height)
{
    if ((!pen && !brush) || DropsShapes())
        return SUCCESS;
    ScopedRecord<SvgRectElement> rect(SVG_ELEMENT_RECT);
    rect->x = Length(x);
    rect->y = Length(y);
    rect->width = Length(width);
    rect->height = Length(height);
    return InsertShape(rect, SVG_ELEMENT_RECT, pen, brush);
}

int32_t SvgWriterEngine::DrawRoundRectangle(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                            double height, double radiusX, double radiusY)
{
    if ((!pen && !brush) || DropsShapes())
        return SUCCESS;
    ScopedRecord<SvgRectElement> rect(SVG_ELEMENT_RECT);
    rect->x = Length(x);
    rect->y = Length(y);
    rect->width = Length(width);
    rect->height = Length(height);
    rect->rx = Length(radiusX);
    rect->ry = Length(radiusY);
    return InsertShape(rect, SVG_ELEMENT_RECT, pen, brush);
}

int32_t SvgWriterEngine::DrawEllipse(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                     double height)
{
    if ((!pen && !brush) || DropsShapes())
        return SUCCESS;
    ScopedRecord<SvgEllipseElement> ellipse(SVG_ELEMENT_ELLIPSE);
    const double rx = std::fabs(width) * 0.5, ry = std::fabs(height) * 0.5;
    ellipse->rx = Length(rx);
    ellipse->ry = Length(ry);
    ellipse->cx = Length(std::fmin(x, x + width) + rx);
    ellipse->cy = Length(std::fmin(y, y + height) + ry);
    return InsertShape(ellipse, SVG_ELEMENT_ELLIPSE, pen, brush);
}

int32_t SvgWriterEngine::DrawPolygon(kvdrw::Pen* pen, kvdrw::Brush* brush, const KvPoint* points, int32_t count,
                                     int32_t fillMode)
{
    if ((!pen && !brush) || count <= 0 || !points || DropsShapes())
        return SUCCESS;
    ScopedRecord<SvgPolygonElement> polygon(SVG_ELEMENT_POLYGON);
    if (polygon.status() != SUCCESS)
        return polygon.status();
    auto* copy = static_cast<SvgPoint*>(KV_ALLOC(static_cast<size_t>(count), sizeof(SvgPoint)));
    if (!copy)
        return ERROR_NO_MEMORY;
    for (int32_t i = 0; i < count; ++i)
        copy[i] = {points[i].x, points[i].y};
    polygon->points = copy;
    polygon->pointCount = static_cast<uint32_t>(count);
    polygon->style.paint.fill.rule = fillMode != 0 ? 0u : 2u;
    return InsertShape(polygon, SVG_ELEMENT_POLYGON, pen, brush);
}

int32_t SvgWriterEngine::DrawPolyline(kvdrw::Pen* pen, const KvPoint* points, int32_t count)
{
    if (!pen || count <= 0 || !points || DropsShapes())
        return SUCCESS;
    ScopedRecord<SvgPolylineElement> polyline(SVG_ELEMENT_POLYLINE);
    if (polyline.status() != SUCCESS)
        return polyline.status();
    auto* copy = static_cast<SvgPoint*>(KV_ALLOC(static_cast<size_t>(count), sizeof(SvgPoint)));
    if (!copy)
        return ERROR_NO_MEMORY;
    for (int32_t i = 0; i < count; ++i)
        copy[i] = {points[i].x, points[i].y};
    polyline->points = copy;
    polyline->pointCount = static_cast<uint32_t>(count);
    return InsertShape(polyline, SVG_ELEMENT_POLYLINE, pen, nullptr);
}

namespace {

// A path of this engine for one drawing call, given back on every road.
class CallPath {
public:
    explicit CallPath(kvdrw::Engine& engine) : engine_(engine) {}
    ~CallPath()
    {
        if (path_)
            engine_.DeleteObject(path_);
    }
    CallPath(const CallPath&) = delete;
    CallPath& operator=(const CallPath&) = delete;
    int32_t Create() { return engine_.CreatePath(&path_); }
    MyGraphicsPath* operator->() const { return static_cast<MyGraphicsPath*>(path_); }
    kvdrw::GraphicsPath* get() const { return path_; }

private:
    kvdrw::Engine& engine_;
    kvdrw::GraphicsPath* path_ = nullptr;
};

}  // namespace

int32_t SvgWriterEngine::DrawArc(kvdrw::Pen* pen, double x, double y, double width, double height,
                                 double startDegrees, double sweepDegrees)
{
    if (!pen || DropsShapes())
        return SUCCESS;
    CallPath path(*this);
    if (int32_t status = path.Create(); status != SUCCESS)
        return status;
    if (int32_t status = path->AddArc(x, y, width, height, startDegrees, sweepDegrees); status != SUCCESS)
        return status;
    return DrawPath(pen, nullptr, path.get());
}

int32_t SvgWriterEngine::DrawPie(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                 double height, double startDegrees, double sweepDegrees)
{
    if ((!pen && !brush) || DropsShapes())
        return SUCCESS;
    CallPath path(*this);
    if (int32_t status = path.Create(); status != SUCCESS)
        return status;
    if (int32_t status = path->AddArcToPath(x, y, width, height, startDegrees, sweepDegrees); status != SUCCESS)
        return status;
    return DrawPath(pen, brush, path.get());
}

int32_t SvgWriterEngine::DrawArcToPoints(kvdrw::Pen* pen, double x, double y, double width, double height,
                                         int32_t x1, int32_t y1, int32_t x2, int32_t y2)
{
    if (!pen || DropsShapes())
        return SUCCESS;
    const double cx = x + width / 2, cy = y + height / 2;
    const double start = std::atan2(y1 - cy, x1 - cx) * 180.0 / kPi;
    const double second = std::atan2(y2 - cy, x2 - cx) * 180.0 / kPi;
    return DrawArc(pen, x, y, width, height, start, second - start);
}

int32_t SvgWriterEngine::DrawPieToPoints(kvdrw::Pen* pen, kvdrw::Brush* brush, double x, double y, double width,
                                         double height, int32_t x1, int32_t y1, int32_t x2, int32_t y2)
{
    if ((!pen && !brush) || DropsShapes())
        return SUCCESS;
    const double cx = x + width / 2, cy = y + height / 2;
    const double start = std::atan2(y1 - cy, x1 - cx) * 180.0 / kPi;
    const double second = std::atan2(y2 - cy, x2 - cx) * 180.0 / kPi;
    // The second angle goes in as the sweep itself, unlike the arc: callers
    // that record pies have always got this.
    return DrawPie(pen, brush, x, y, width, height, start, second);
}

int32_t SvgWriterEngine::DrawPathData(kvdrw::Pen* pen, kvdrw::Brush* brush, const KvPoint* points,
                                      const int32_t* types, int32_t count, int32_t fillMode)
{
    if (!pen && !brush)
        return ERROR_INV_PARAMETER;
    if (count == 0)
        return SUCCESS;
    CallPath path(*this);
    if (int32_t status = path.Create(); status != SUCCESS)
        return status;
    if (int32_t status = path->SetFillMode(fillMode); status != SUCCESS)
        return status;
    if (int32_t status = path->AddPathData(points, types, count); status != SUCCESS)
        return status;
    return DrawPath(pen, brush, path.get());
}

int32_t SvgWriterEngine::DrawBezier(kvdrw::Pen* pen, const KvPoint& p1, const KvPoint& c1, const KvPoint& c2,
                                    const KvPoint& p2)
{
    CallPath path(*this);
    if (int32_t status = path.Create(); status != SUCCESS)
        return status;
    if (int32_t status = path->AddBezier(p1, c1, c2, p2); status != SUCCESS)
        return status;
    return DrawPath(pen, nullptr, path.get());
}

int32_t SvgWriterEngine::DrawBeziers(kvdrw::Pen* pen, const KvPoint* points, int32_t count)
{
    if (DropsShapes())
        return SUCCESS;
    if (count == 2)
        return FAILURE;
    CallPath path(*this);
    if (int32_t status = path.Create(); status != SUCCESS)
        return status;
    if (int32_t status = path->AddBeziers(points, count); status != SUCCESS)
        return status;
    return DrawPath(pen, nullptr, path.get());
}

// ---- Definitions and clips ------------------------------------------------------------

int32_t SvgWriterEngine::EnsureDefs()
{
    if (defs_)
        return SUCCESS;
    ScopedRecord<SvgDefsElement> defs(SVG_ELEMENT_DEFS);
    if (defs.status() != SUCCESS)
        return defs.status();
    return root_.Insert(SVG_ELEMENT_DEFS, defs.data(), kSvgInsertLastChild, &defs_);
}

void SvgWriterEngine::DropDefs()
{
    RemoveElement(*document_, defs_);
    defs_ = {};
}

int32_t SvgWriterEngine::EnsureClip()
{
    if (clipNode_)
        return SUCCESS;
    FreeReference(&current().clip);
    InitReference(&current().clip);
    const GeneratedId id("Clip", ++clipCount_);
    ScopedRecord<SvgClipPathElement> clipPath(SVG_ELEMENT_CLIPPATH);
    if (clipPath.status() != SUCCESS)
        return clipPath.status();
    if (int32_t status = CopyTrackedText(&clipPath->core.id, id.text); status != SUCCESS)
        return status;
    SvgElementView made;
    if (int32_t status = defs_.Insert(SVG_ELEMENT_CLIPPATH, clipPath.data(), kSvgInsertLastChild, &made);
        status != SUCCESS)
        return status;
    if (int32_t status = CopyTrackedText(&current().clip.id, id.text); status != SUCCESS) {
        RemoveElement(*document_, made);
        return status;
    }
    current().clip.kind = 2;
    clipNode_ = made;
    return SUCCESS;
}

int32_t SvgWriterEngine::ResetClip()
{
    FreeReference(&current().clip);
    InitReference(&current().clip);
    clipNode_ = {};
    return SUCCESS;
}

namespace {

enum class ClipStep { kReset, kReplace, kJoin };

// Only replacing and joining can be said with one clipPath per element;
// any other combination drops the clip altogether.
ClipStep ClipStepFor(int32_t combineMode)
{
    switch (combineMode) {
    case kvdrw::kCombineReplace: return ClipStep::kReplace;
    case kvdrw::kCombineIntersect:
    case kvdrw::kCombineXor:
    case kvdrw::kCombineExclude:
    case kvdrw::kCombineComplement: return ClipStep::kReset;
    default: return ClipStep::kJoin;
    }
}

}  // namespace

int32_t SvgWriterEngine::SetClipRect(const KvRectangle* rect, int32_t combineMode)
{
    if (!rect)
        return ERROR_INV_PARAMETER;
    ScopedRecord<SvgRectElement> clipRect(SVG_ELEMENT_RECT);
    if (clipRect.status() == SUCCESS) {
        clipRect->x = Length(rect->x);
        clipRect->y = Length(rect->y);
        clipRect->width = Length(rect->width);
        clipRect->height = Length(rect->height);
    }
    // The rectangle takes the entry's clip, which by then names its own clipPath.
    return AddClipShape(SVG_ELEMENT_RECT, clipRect, combineMode, true);
}

int32_t SvgWriterEngine::SetClipPath(kvdrw::GraphicsPath* path, int32_t combineMode)
{
    auto* writerPath = dynamic_cast<MyGraphicsPath*>(path);
    if (!writerPath)
        return ERROR_INV_PARAMETER;
    ScopedRecord<SvgPathElement> clipPath(SVG_ELEMENT_PATH);
    if (clipPath.status() == SUCCESS) {
        clipPath->d = writerPath->PathData();
        clipPath->style.paint.fill.rule = writerPath->fillRule();
    }
    const int32_t status = AddClipShape(SVG_ELEMENT_PATH, clipPath, combineMode, false);
    InitPathData(&clipPath->d);
    return status;
}

int32_t SvgWriterEngine::AddClipShape(uint32_t type, ScopedAnyRecord& shape, int32_t combineMode, bool selfClip)
{
    const ClipStep step = ClipStepFor(combineMode);
    if (step == ClipStep::kReset)
        return ResetClip();
    if (shape.status() != SUCCESS)
        return shape.status();
    // What this call makes goes again when the shape cannot be added: an
    // empty clipPath would hide everything drawn under it.
    const bool hadDefs = static_cast<bool>(defs_);
    if (int32_t status = EnsureDefs(); status != SUCCESS)
        return status;
    if (step == ClipStep::kReplace)
        ResetClip();
    const bool hadClip = static_cast<bool>(clipNode_);
    int32_t status = EnsureClip();
    if (status == SUCCESS) {
        K_SvgStyleProp& style = type == SVG_ELEMENT_RECT ? shape.as<SvgRectElement>().style
                                                         : shape.as<SvgPathElement>().style;
        Borrowed borrowed(nullptr, style);
        if (selfClip)
            style.clipPath = current().clip;
        status = clipNode_.Insert(type, shape.data(), kSvgInsertLastChild);
    }
    if (status == SUCCESS)
        return SUCCESS;
    if (!hadClip && clipNode_) {
        RemoveElement(*document_, clipNode_);
        ResetClip();
    }
    if (!hadDefs)
        DropDefs();
    return status;
}

// ---- Paint servers -----------------------------------------------------------------------

int32_t SvgWriterEngine::MakeGradient(kvdrw::LinearGradientBrush** brush, const KvPoint& from, const KvPoint& to,
                                      const KvColor* colors, const double* offsets, int32_t count,
                                      double angleDegrees)
{
    auto* made = new (std::nothrow) MyLinearGradientBrush();
    if (!made)
        return ERROR_NO_MEMORY;
    TrackWriterObject(made);
    made->SetOwner(measuring_);
    const GeneratedId id("LinearGradient", ++gradientCount_);
    const bool hadDefs = static_cast<bool>(defs_);
    SvgElementView gradient;
    const int32_t status = [&]() -> int32_t {
        if (int32_t ensured = EnsureDefs(); ensured != SUCCESS)
            return ensured;
        ScopedRecord<SvgLinearGradientElement> record(SVG_ELEMENT_LINEARGRADIENT);
        if (record.status() != SUCCESS)
            return record.status();
        if (int32_t copied = CopyTrackedText(&record->core.id, id.text); copied != SUCCESS)
            return copied;
        // The points are where the caller drew them, not shares of a box.
        record->gradientUnits = 1;
        record->x1 = Length(from.x);
        record->y1 = Length(from.y);
        record->x2 = Length(to.x);
        record->y2 = Length(to.y);
        if (!IsUnsetDouble(angleDegrees)) {
            auto* rotation = static_cast<SvgTransform*>(KV_ALLOC(1, sizeof(SvgTransform)));
            if (!rotation)
                return ERROR_NO_MEMORY;
            *rotation = SvgTransform{kSvgTransformSize, SVG_TRANSFORM_ROTATE, 0, angleDegrees, 0.0, 0.0,
                                     UnsetDouble(), UnsetDouble(), UnsetDouble()};
            record->gradientTransform.items = rotation;
            record->gradientTransform.count = 1;
        }
        if (int32_t inserted = defs_.Insert(SVG_ELEMENT_LINEARGRADIENT, record.data(), kSvgInsertLastChild, &gradient);
            inserted != SUCCESS)
            return inserted;
        for (int32_t i = 0; i < count; ++i) {
            ScopedRecord<SvgStopElement> stop(SVG_ELEMENT_STOP);
            if (stop.status() != SUCCESS)
                return stop.status();
            stop->offset = Length(offsets[i] * 100.0);
            stop->offset.percent = 1;
            stop->style.stop.stopColor.kind = 2;
            SetRgb(stop->style.stop.stopColor.color, colors[i]);
            stop->style.stop.stopOpacity = colors[i].alpha / 255.0;
            if (int32_t inserted = gradient.Insert(SVG_ELEMENT_STOP, stop.data(), kSvgInsertLastChild);
                inserted != SUCCESS)
                return inserted;
        }
        return made->SetReference(id.text);
    }();
    if (status != SUCCESS) {
        // A gradient with only some of its stops would draw wrong: it goes,
        // and so does a defs element made for it.
        RemoveElement(*document_, gradient);
        if (!hadDefs)
            DropDefs();
        ReleaseWriterObject(made, measuring_);
        return status;
    }
    *brush = made;
    return SUCCESS;
}

int32_t SvgWriterEngine::CreateGradientBrushFromStops(kvdrw::LinearGradientBrush** brush, const KvPoint* points,
                                                      const KvColor* colors, const double* offsets, int32_t count)
{
    if (!brush || !points || !colors || !offsets || count < 2)
        return ERROR_INV_PARAMETER;
    if (offsets[0] != 0.0 || offsets[count - 1] != 1.0)
        return ERROR_INV_PARAMETER;
    return MakeGradient(brush, points[0], points[1], colors, offsets, count, UnsetDouble());
}

int32_t SvgWriterEngine::CreateGradientBrushFromRect(kvdrw::LinearGradientBrush** brush, const KvRectangle* rect,
                                                     const KvColor* color1, const KvColor* color2,
                                                     double angleDegrees)
{
    if (!brush || !rect || !color1 || !color2)
        return ERROR_INV_PARAMETER;
    const KvColor colors[] = {*color1, *color2};
    const double offsets[] = {0.0, 1.0};
    return MakeGradient(brush, {rect->x, rect->y}, {rect->x + rect->width, rect->y + rect->height}, colors, offsets,
                        2, angleDegrees);
}

int32_t SvgWriterEngine::CreateGradientBrushFromPoints(kvdrw::LinearGradientBrush** brush, const KvPoint* point1,
                                                       const KvPoint* point2, const KvColor* color1,
                                                       const KvColor* color2)
{
    if (!brush || !point1 || !point2 || !color1 || !color2)
        return ERROR_INV_PARAMETER;
    const KvColor colors[] = {*color1, *color2};
    const double offsets[] = {0.0, 1.0};
    return MakeGradient(brush, *point1, *point2, colors, offsets, 2, UnsetDouble());
}

int32_t SvgWriterEngine::CreateHatchBrush(kvdrw::HatchBrush** brush, int32_t hatchStyle, const KvColor* foreground,
                                          const KvColor* background)
{
    if (!brush || !foreground || !background)
        return ERROR_INV_PARAMETER;
    auto* made = new (std::nothrow) MyHatchBrush();
    if (!made)
        return ERROR_NO_MEMORY;
    TrackWriterObject(made);
    made->SetOwner(measuring_);
    const GeneratedId id("Pattern", ++patternCount_);
    const bool hadDefs = static_cast<bool>(defs_);
    SvgElementView pattern;
    const int32_t status = [&]() -> int32_t {
        if (int32_t ensured = EnsureDefs(); ensured != SUCCESS)
            return ensured;
        ScopedRecord<SvgPatternElement> record(SVG_ELEMENT_PATTERN);
        if (record.status() != SUCCESS)
            return record.status();
        if (int32_t copied = CopyTrackedText(&record->core.id, id.text); copied != SUCCESS)
            return copied;
        // One 10 x 10 cell in the space of the drawing, as the engines tile it.
        record->patternUnits = 1;
        record->x = Length(0);
        record->y = Length(0);
        record->width = Length(10);
        record->height = Length(10);
        if (int32_t inserted = defs_.Insert(SVG_ELEMENT_PATTERN, record.data(), kSvgInsertLastChild, &pattern);
            inserted != SUCCESS)
            return inserted;
        ScopedRecord<SvgRectElement> cell(SVG_ELEMENT_RECT);
        if (cell.status() != SUCCESS)
            return cell.status();
        cell->x = Length(0);
        cell->y = Length(0);
        cell->width = Length(10);
        cell->height = Length(10);
        cell->style.paint.fill.paint.kind = SVG_PAINT_COLOR;
        SetRgb(cell->style.paint.fill.paint.color, *background);
        if (int32_t inserted = pattern.Insert(SVG_ELEMENT_RECT, cell.data(), kSvgInsertLastChild); inserted != SUCCESS)
            return inserted;
        struct Line {
            double x1, y1, x2, y2;
        };
        static const Line kCross[] = {{0, 5, 10, 5}, {5, 0, 5, 10}};
        static const Line kDiagonalCross[] = {{0, 0, 10, 10}, {10, 0, 0, 10}};
        static const Line kBackward[] = {{10, 0, 0, 10}};
        static const Line kForward[] = {{0, 0, 10, 10}};
        static const Line kHorizontal[] = {{0, 10, 10, 10}};
        static const Line kVertical[] = {{0, 0, 0, 10}};
        static const struct {
            const Line* lines;
            int count;
        } kStyles[] = {{kCross, 2}, {kDiagonalCross, 2}, {kBackward, 1}, {kForward, 1}, {kHorizontal, 1},
                       {kVertical, 1}};
        if (hatchStyle < 0 || hatchStyle > 5)
            return made->SetReference(id.text);
        for (int i = 0; i < kStyles[hatchStyle].count; ++i) {
            const Line& l = kStyles[hatchStyle].lines[i];
            ScopedRecord<SvgLineElement> line(SVG_ELEMENT_LINE);
            if (line.status() != SUCCESS)
                return line.status();
            line->x1 = Length(l.x1);
            line->y1 = Length(l.y1);
            line->x2 = Length(l.x2);
            line->y2 = Length(l.y2);
            line->style.paint.stroke.paint.kind = SVG_PAINT_COLOR;
            SetRgb(line->style.paint.stroke.paint.color, *foreground);
            line->style.paint.stroke.width = Length(1);
            if (int32_t inserted = pattern.Insert(SVG_ELEMENT_LINE, line.data(), kSvgInsertLastChild);
                inserted != SUCCESS)
                return inserted;
        }
        return made->SetReference(id.text);
    }();
    if (status != SUCCESS) {
        RemoveElement(*document_, pattern);
        if (!hadDefs)
            DropDefs();
        ReleaseWriterObject(made, measuring_);
        return status;
    }
    *brush = made;
    return SUCCESS;
}

}  // namespace kvdrw::svg
