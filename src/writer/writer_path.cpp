#include "writer/writer_path.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "base/tracked_memory.h"
#include "writer/writer_font.h"
#include "writer/writer_pen.h"
#include "writer/writer_string_format.h"

namespace kvdrw::svg {

namespace {

constexpr double kPi = 3.14159265358979323846;
// Angles this close to a quarter turn keep their value on an ellipse: the
// tangent there is infinite or zero and says nothing.
constexpr double kQuarterTolerance = 0.0001;
// Control distance of a quarter ellipse, as a share of the full width or
// height: half of 4/3 (sqrt(2) - 1).
constexpr double kEllipseControl = 0.2761423749154;

double Radians(double degrees)
{
    return degrees * kPi / 180.0;
}

// The parametric angle of the point seen at `degrees` from the centre of an
// ellipse with radii rx and ry, turns kept.
double EllipseAngle(double degrees, double rx, double ry)
{
    const double turns = std::floor(degrees / 360.0);
    const double reduced = degrees - turns * 360.0;
    for (double quarter : {0.0, 90.0, 180.0, 270.0, 360.0}) {
        if (std::fabs(reduced - quarter) < kQuarterTolerance)
            return degrees;
    }
    double angle = std::atan(std::tan(Radians(reduced)) * rx / ry) * 180.0 / kPi;
    if (angle < 0)
        angle += 90.0;
    if (reduced > 270.0)
        angle += 270.0;
    else if (reduced > 180.0)
        angle += 180.0;
    else if (reduced > 90.0)
        angle += 90.0;
    return angle + turns * 360.0;
}

KvPoint OnEllipse(const KvPoint& centre, double rx, double ry, double degrees)
{
    return {centre.x + rx * std::cos(Radians(degrees)), centre.y + ry * std::sin(Radians(degrees))};
}

SvgPathSegment Segment(uint32_t type)
{
    SvgPathSegment segment{};
    segment.size = kSvgPathSegmentSize;
    segment.type = type;
    return segment;
}

kvdrw::Font* InnerFont(kvdrw::Font* font)
{
    auto* mine = dynamic_cast<MyFont*>(font);
    return mine ? mine->inner() : font;
}

kvdrw::StringFormat* InnerFormat(kvdrw::StringFormat* format)
{
    auto* mine = dynamic_cast<MyStringFormat*>(format);
    return mine ? mine->inner() : format;
}

}  // namespace

int32_t ArcToBeziers(const KvPoint& centre, KvPoint* points, double startDegrees, double sweepDegrees, double rx,
                     double ry)
{
    double start = startDegrees;
    double end = startDegrees + sweepDegrees;
    const bool reversed = sweepDegrees <= 0;
    if (reversed)
        std::swap(start, end);
    if (rx != ry) {
        start = EllipseAngle(start, rx, ry);
        end = EllipseAngle(end, rx, ry);
    }
    int32_t count = 0;
    KvPoint previous = OnEllipse(centre, rx, ry, start);
    points[count++] = previous;
    double current = start;
    while (current < end && count < kMaxArcPoints) {
        const double step = std::min(90.0, end - current);
        const double next = current + step;
        const KvPoint e = OnEllipse(centre, rx, ry, next);
        const KvPoint a = OnEllipse(centre, rx, ry, current + step * 0.25);
        const KvPoint b = OnEllipse(centre, rx, ry, current + step * 0.75);
        // The curve passes through the arc at a quarter and three quarters
        // of the step, and through both ends.
        const KvPoint c2 = {(192 * b.x + 24 * previous.x - 80 * e.x - 64 * a.x) / 72,
                            (192 * b.y + 24 * previous.y - 80 * e.y - 64 * a.y) / 72};
        const KvPoint c1 = {(64 * a.x - 27 * previous.x - 9 * c2.x - e.x) / 27,
                            (64 * a.y - 27 * previous.y - 9 * c2.y - e.y) / 27};
        points[count++] = c1;
        points[count++] = c2;
        points[count++] = e;
        previous = e;
        current = next;
    }
    if (reversed)
        std::reverse(points, points + count);
    return count;
}

MyGraphicsPath::~MyGraphicsPath()
{
    if (inner_ && owner())
        owner()->DeleteObject(inner_);
}

int32_t MyGraphicsPath::Create(kvdrw::Engine& measuring)
{
    SetOwner(&measuring);
    if (int32_t status = measuring.CreatePath(&inner_); status != SUCCESS) {
        inner_ = nullptr;
        return status;
    }
    return SUCCESS;
}

SvgPathData MyGraphicsPath::PathData() const
{
    SvgPathData data{};
    data.size = kSvgPathDataSize;
    data.count = static_cast<uint32_t>(segments_.size());
    data.items = const_cast<SvgPathSegment*>(segments_.data());
    return data;
}

int32_t MyGraphicsPath::Append(const SvgPathSegment& segment)
{
    try {
        segments_.push_back(segment);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t MyGraphicsPath::WriteStart(const KvPoint& point)
{
    if (!newFigure_)
        return WriteLine(point);
    SvgPathSegment move = Segment(SVG_SEGMENT_MOVE);
    move.payloadSize = sizeof(SvgPathMove);
    move.payload.move = {point.x, point.y};
    if (int32_t status = Append(move); status != SUCCESS)
        return status;
    newFigure_ = false;
    return SUCCESS;
}

int32_t MyGraphicsPath::WriteLine(const KvPoint& point)
{
    SvgPathSegment line = Segment(SVG_SEGMENT_LINE);
    line.payloadSize = sizeof(SvgPathLine);
    line.payload.line = {0, 0, point.x, point.y};
    return Append(line);
}

int32_t MyGraphicsPath::WriteCubic(const KvPoint& c1, const KvPoint& c2, const KvPoint& end)
{
    SvgPathSegment cubic = Segment(SVG_SEGMENT_CUBIC);
    cubic.payloadSize = sizeof(SvgPathCubic);
    cubic.payload.cubic = {0, end.x, end.y, c1.x, c1.y, c2.x, c2.y};
    return Append(cubic);
}

int32_t MyGraphicsPath::WriteClose()
{
    if (segments_.empty())
        return SUCCESS;
    SvgPathSegment close = Segment(SVG_SEGMENT_CLOSE);
    if (int32_t status = Append(close); status != SUCCESS)
        return status;
    // What follows a closed figure starts a figure of its own, as on the
    // engines that draw.
    newFigure_ = true;
    return SUCCESS;
}

int32_t MyGraphicsPath::WriteBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2)
{
    if (int32_t status = WriteStart(p1); status != SUCCESS)
        return status;
    return WriteCubic(c1, c2, p2);
}

int32_t MyGraphicsPath::WriteArc(double x, double y, double width, double height, double startDegrees,
                                 double sweepDegrees, KvPoint* lastPoint)
{
    KvPoint points[kMaxArcPoints];
    const KvPoint centre = {x + width / 2, y + height / 2};
    const int32_t count = ArcToBeziers(centre, points, startDegrees, sweepDegrees, width / 2, height / 2);
    for (int32_t i = 0; i + 3 < count; i += 3) {
        if (int32_t status = WriteBezier(points[i], points[i + 1], points[i + 2], points[i + 3]); status != SUCCESS)
            return status;
    }
    if (lastPoint)
        *lastPoint = points[count - 1];
    return SUCCESS;
}

int32_t MyGraphicsPath::WritePolygon(const KvPoint* points, int32_t count)
{
    newFigure_ = true;
    if (int32_t status = WriteStart(points[0]); status != SUCCESS)
        return status;
    for (int32_t i = 1; i < count; ++i) {
        if (int32_t status = WriteLine(points[i]); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t MyGraphicsPath::SetFillMode(int32_t fillMode)
{
    fillRule_ = fillMode == kvdrw::kFillEvenOdd ? 2u : 0u;
    return inner_->SetFillMode(fillMode);
}

int32_t MyGraphicsPath::StartFigure()
{
    newFigure_ = true;
    return inner_->StartFigure();
}

int32_t MyGraphicsPath::CloseFigure()
{
    if (int32_t status = WriteClose(); status != SUCCESS)
        return status;
    return inner_->CloseFigure();
}

int32_t MyGraphicsPath::AddLine(double x1, double y1, double x2, double y2)
{
    if (int32_t status = WriteStart({x1, y1}); status != SUCCESS)
        return status;
    if (int32_t status = WriteLine({x2, y2}); status != SUCCESS)
        return status;
    return inner_->AddLine(x1, y1, x2, y2);
}

int32_t MyGraphicsPath::AddArc(double x, double y, double width, double height, double startDegrees,
                               double sweepDegrees)
{
    if (int32_t status = WriteArc(x, y, width, height, startDegrees, sweepDegrees, nullptr); status != SUCCESS)
        return status;
    return inner_->AddArc(x, y, width, height, startDegrees, sweepDegrees);
}

int32_t MyGraphicsPath::AddBezier(const KvPoint& p1, const KvPoint& c1, const KvPoint& c2, const KvPoint& p2)
{
    if (int32_t status = WriteBezier(p1, c1, c2, p2); status != SUCCESS)
        return status;
    return inner_->AddBezier(p1, c1, c2, p2);
}

int32_t MyGraphicsPath::AddBeziers(const KvPoint* points, int32_t count)
{
    if (count == 2)
        return FAILURE;
    if (count == 0)
        return SUCCESS;
    if (!points || count < 0)
        return ERROR_INV_PARAMETER;
    for (int32_t i = 0; i + 3 < count; i += 3) {
        if (int32_t status = AddBezier(points[i], points[i + 1], points[i + 2], points[i + 3]); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t MyGraphicsPath::AddLines(const KvPoint* points, int32_t count)
{
    if (!points || count < 2)
        return ERROR_INV_PARAMETER;
    if (int32_t status = WriteStart(points[0]); status != SUCCESS)
        return status;
    for (int32_t i = 1; i < count; ++i) {
        if (int32_t status = WriteLine(points[i]); status != SUCCESS)
            return status;
    }
    return inner_->AddLines(points, count);
}

int32_t MyGraphicsPath::AddPolygon(const KvPoint* points, int32_t count)
{
    if (!points || count < 1)
        return ERROR_INV_PARAMETER;
    if (int32_t status = WritePolygon(points, count); status != SUCCESS)
        return status;
    return inner_->AddPolygon(points, count);
}

int32_t MyGraphicsPath::AddEllipse(double x, double y, double width, double height)
{
    const double cx = x + width / 2, cy = y + height / 2;
    const double kx = kEllipseControl * width, ky = kEllipseControl * height;
    const KvPoint left = {x, cy}, top = {cx, y}, right = {x + width, cy}, bottom = {cx, y + height};
    const KvPoint quarters[4][4] = {
        {left, {x, cy - ky}, {cx - kx, y}, top},
        {top, {cx + kx, y}, {x + width, cy - ky}, right},
        {right, {x + width, cy + ky}, {cx + kx, y + height}, bottom},
        {bottom, {cx - kx, y + height}, {x, cy + ky}, left},
    };
    for (const auto& q : quarters) {
        if (int32_t status = WriteBezier(q[0], q[1], q[2], q[3]); status != SUCCESS)
            return status;
    }
    return inner_->AddEllipse(x, y, width, height);
}

int32_t MyGraphicsPath::AddRectangle(double x, double y, double width, double height)
{
    const KvPoint corners[] = {{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}};
    if (int32_t status = WritePolygon(corners, 4); status != SUCCESS)
        return status;
    return inner_->AddRectangle(x, y, width, height);
}

int32_t MyGraphicsPath::AddString(kvdrw::Engine*, const char16_t* text, int32_t length, kvdrw::Font* font,
                                  const KvPoint& origin, kvdrw::StringFormat* format)
{
    return inner_->AddString(owner(), text, length, InnerFont(font), origin, InnerFormat(format));
}

int32_t MyGraphicsPath::AddString(kvdrw::Engine*, const char16_t* text, int32_t length, kvdrw::Font* font,
                                  const KvRectangle& layout, kvdrw::StringFormat* format)
{
    return inner_->AddString(owner(), text, length, InnerFont(font), layout, InnerFormat(format));
}

int32_t MyGraphicsPath::AddStringNarrow(kvdrw::Engine*, const char* text, int32_t length, kvdrw::Font* font,
                                        const KvPoint& origin, kvdrw::StringFormat* format)
{
    return inner_->AddStringNarrow(owner(), text, length, InnerFont(font), origin, InnerFormat(format));
}

int32_t MyGraphicsPath::AddStringNarrow(kvdrw::Engine*, const char* text, int32_t length, kvdrw::Font* font,
                                        const KvRectangle& layout, kvdrw::StringFormat* format)
{
    return inner_->AddStringNarrow(owner(), text, length, InnerFont(font), layout, InnerFormat(format));
}

int32_t MyGraphicsPath::AddPathData(const KvPoint* points, const int32_t* types, int32_t count)
{
    if (count == 0)
        return SUCCESS;
    if (!points || !types || count < 0)
        return ERROR_INV_PARAMETER;
    // The whole array is checked before anything is added, so a refused
    // array leaves the path as it was.
    for (int32_t i = 0; i < count; ++i) {
        const int32_t type = types[i];
        if (type < kvdrw::kPathLineTo || type > kvdrw::kPathMoveTo)
            return ERROR_INV_PARAMETER;
        if (i == 0 && type != kvdrw::kPathMoveTo)
            return ERROR_INV_PARAMETER;
        if (type == kvdrw::kPathBezierTo || type == kvdrw::kPathBezierToClose) {
            if (count - i < 3)
                return ERROR_INV_PARAMETER;
            i += 2;
        }
    }
    KvPoint current = points[0];
    KvPoint figureStart = points[0];
    bool closeArmed = false;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t type = types[i];
        int32_t status = SUCCESS;
        switch (type) {
        case kvdrw::kPathMoveTo:
            figureStart = current = points[i];
            newFigure_ = true;
            closeArmed = true;
            continue;
        case kvdrw::kPathLineTo:
        case kvdrw::kPathLineToClose:
            status = WriteStart(current);
            if (status == SUCCESS)
                status = WriteLine(points[i]);
            current = points[i];
            break;
        default:  // a cubic, with or without the close
            status = WriteBezier(current, points[i], points[i + 1], points[i + 2]);
            current = points[i + 2];
            break;
        }
        if (status != SUCCESS)
            return status;
        // A curve's close mark may stand on any of its three points.
        bool closes = type == kvdrw::kPathLineToClose;
        if (type == kvdrw::kPathBezierTo || type == kvdrw::kPathBezierToClose) {
            closes = type == kvdrw::kPathBezierToClose || types[i + 1] == kvdrw::kPathBezierToClose ||
                     types[i + 2] == kvdrw::kPathBezierToClose;
            i += 2;
        }
        if (closes && closeArmed) {
            if (status = WriteClose(); status != SUCCESS)
                return status;
            closeArmed = false;
            current = figureStart;
        }
    }
    return inner_->AddPathData(points, types, count);
}

int32_t MyGraphicsPath::GetPathData(kvdrw::PathData** data)
{
    return inner_->GetPathData(data);
}

int32_t MyGraphicsPath::GetBounds(KvRectangle* bounds, const KvMatrix* matrix, kvdrw::Pen* pen)
{
    // A writer pen has no inner pen: its width and joins come across as a
    // pen of the measuring engine, made for the question.
    auto* writerPen = dynamic_cast<MyPen*>(pen);
    if (!writerPen)
        return inner_->GetBounds(bounds, matrix, pen);
    kvdrw::Pen* measuringPen = nullptr;
    KvColor color{};
    writerPen->GetColor(&color);
    if (int32_t status = owner()->CreatePen(&measuringPen, &color, writerPen->GetWidth(), kvdrw::kDashSolid);
        status != SUCCESS)
        return status;
    measuringPen->SetLineCap(writerPen->GetLineCap());
    measuringPen->SetLineJoin(writerPen->GetLineJoin());
    const int32_t status = inner_->GetBounds(bounds, matrix, measuringPen);
    owner()->DeleteObject(measuringPen);
    return status;
}

int32_t MyGraphicsPath::Widen(kvdrw::Pen* pen, const KvMatrix* matrix, double flatness)
{
    auto* writerPen = dynamic_cast<MyPen*>(pen);
    if (!writerPen)
        return inner_->Widen(pen, matrix, flatness);
    kvdrw::Pen* measuringPen = nullptr;
    KvColor color{};
    writerPen->GetColor(&color);
    if (int32_t status = owner()->CreatePen(&measuringPen, &color, writerPen->GetWidth(), kvdrw::kDashSolid);
        status != SUCCESS)
        return status;
    measuringPen->SetLineCap(writerPen->GetLineCap());
    measuringPen->SetLineJoin(writerPen->GetLineJoin());
    const int32_t status = inner_->Widen(measuringPen, matrix, flatness);
    owner()->DeleteObject(measuringPen);
    return status;
}

int32_t MyGraphicsPath::ContainsPoint(kvdrw::Engine*, double x, double y)
{
    return inner_->ContainsPoint(owner(), x, y);
}

int32_t MyGraphicsPath::CombineGeometry(kvdrw::Engine*, kvdrw::GraphicsPath* other, int32_t combineMode)
{
    auto* writerOther = dynamic_cast<MyGraphicsPath*>(other);
    return inner_->CombineGeometry(owner(), writerOther ? writerOther->inner() : other, combineMode);
}

int32_t MyGraphicsPath::AddArcToPath(double x, double y, double width, double height, double startDegrees,
                                     double sweepDegrees)
{
    KvPoint arcEnd{};
    KvPoint arcStart{};
    {
        KvPoint points[kMaxArcPoints];
        const KvPoint centre = {x + width / 2, y + height / 2};
        ArcToBeziers(centre, points, startDegrees, sweepDegrees, width / 2, height / 2);
        arcStart = points[0];
    }
    if (int32_t status = WriteArc(x, y, width, height, startDegrees, sweepDegrees, &arcEnd); status != SUCCESS)
        return status;
    const KvPoint centre = {x + width / 2, y + height / 2};
    for (const auto& [from, to] : {std::pair{arcEnd, centre}, std::pair{centre, arcStart}}) {
        if (int32_t status = WriteStart(from); status != SUCCESS)
            return status;
        if (int32_t status = WriteLine(to); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

}  // namespace kvdrw::svg
