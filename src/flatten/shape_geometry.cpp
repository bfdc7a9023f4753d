#include "flatten/shape_geometry.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "base/tracked_memory.h"
#include "flatten/svg_context.h"
#include "values/value_records.h"

namespace {

constexpr double kRectangleTolerance = 0.05;

bool Close(double a, double b)
{
    return std::fabs(a - b) < kRectangleTolerance;
}

bool IsRelative(const SvgPathSegment& segment)
{
    return segment.relative != 0 && segment.relative != SVG_SEGMENT_INVALID;
}

KvPoint Plus(KvPoint a, KvPoint b)
{
    return {a.x + b.x, a.y + b.y};
}

KvPoint Reflect(KvPoint current, KvPoint control)
{
    return {2 * current.x - control.x, 2 * current.y - control.y};
}

}  // namespace

// ---- Builder ----------------------------------------------------------------------------

PathBuilder::~PathBuilder()
{
    if (items_)
        KV_FREE(items_);
}

bool PathBuilder::Reserve(uint32_t count)
{
    if (count <= capacity_)
        return true;
    auto* grown = static_cast<SvgPathSegment*>(KV_ALLOC_ZERO(count, sizeof(SvgPathSegment)));
    if (!grown)
        return false;
    if (items_) {
        std::memcpy(grown, items_, count_ * sizeof(SvgPathSegment));
        KV_FREE(items_);
    }
    items_ = grown;
    capacity_ = count;
    return true;
}

SvgPathSegment& PathBuilder::Next(uint32_t type, uint32_t payloadSize)
{
    SvgPathSegment& segment = items_[count_++];
    std::memset(&segment, 0, sizeof segment);
    segment.size = kSvgPathSegmentSize;
    segment.type = type;
    segment.payloadSize = payloadSize;
    return segment;
}

void PathBuilder::Move(KvPoint point)
{
    SvgPathSegment& segment = Next(SVG_SEGMENT_MOVE, sizeof(SvgPathMove));
    segment.payload.move = {point.x, point.y};
}

void PathBuilder::Line(KvPoint point)
{
    SvgPathSegment& segment = Next(SVG_SEGMENT_LINE, sizeof(SvgPathLine));
    segment.payload.line.x = point.x;
    segment.payload.line.y = point.y;
}

void PathBuilder::Cubic(KvPoint control1, KvPoint control2, KvPoint end)
{
    SvgPathSegment& segment = Next(SVG_SEGMENT_CUBIC, sizeof(SvgPathCubic));
    SvgPathCubic& cubic = segment.payload.cubic;
    cubic.x = end.x;
    cubic.y = end.y;
    cubic.x1 = control1.x;
    cubic.y1 = control1.y;
    cubic.x2 = control2.x;
    cubic.y2 = control2.y;
}

void PathBuilder::Close()
{
    Next(SVG_SEGMENT_CLOSE, 0);
}

void PathBuilder::Append(const SvgPathSegment& segment)
{
    items_[count_++] = segment;
}

void PathBuilder::MoveInto(SvgPathData& data)
{
    FreePathData(&data);
    data.items = items_;
    data.count = count_;
    items_ = nullptr;
    count_ = capacity_ = 0;
}

// ---- Baking ------------------------------------------------------------------------------

int32_t BakePathData(SvgPathData& data, const SvgMatrix& matrix, bool instanceContent, SvgExtent& box)
{
    if (!data.items || data.count == 0)
        return SUCCESS;
    const bool arcsBecomeCubics = instanceContent || !IsAxisAlignedSvgMatrix(matrix);
    uint64_t room = data.count;
    if (arcsBecomeCubics) {
        for (uint32_t i = 0; i < data.count; ++i) {
            if (data.items[i].type == SVG_SEGMENT_ARC)
                room += kMaxArcPieces - 1;
        }
    }
    PathBuilder out;
    if (room > UINT32_MAX || !out.Reserve(static_cast<uint32_t>(room)))
        return ERROR_NO_MEMORY;

    auto bake = [&](KvPoint p) { return instanceContent ? p : matrix.Apply(p.x, p.y); };
    // Current point, sub-path start and last controls, all unbaked. The
    // last controls follow the current point through every command that
    // sets no control, so a smooth curve after one reflects nothing.
    KvPoint current{0, 0}, start{0, 0}, lastCubic{0, 0}, lastQuadratic{0, 0};
    auto cubicTo = [&](KvPoint c1, KvPoint c2, KvPoint end) {
        const KvPoint from = bake(current), b1 = bake(c1), b2 = bake(c2), b3 = bake(end);
        ExpandCubicExtent(box, from, b1, b2, b3);
        out.Cubic(b1, b2, b3);
        lastCubic = c2;
        current = end;
        lastQuadratic = current;
    };

    for (uint32_t i = 0; i < data.count; ++i) {
        SvgPathSegment segment = data.items[i];
        const KvPoint offset = IsRelative(segment) ? current : KvPoint{0, 0};
        if (segment.relative == SVG_SEGMENT_INVALID) {
            out.Append(segment);
            continue;
        }
        switch (segment.type) {
        case SVG_SEGMENT_MOVE: {
            const KvPoint p = Plus({segment.payload.move.x, segment.payload.move.y}, offset);
            current = start = lastCubic = lastQuadratic = p;
            const KvPoint baked = bake(p);
            box.Add(baked);
            out.Move(baked);
            break;
        }
        case SVG_SEGMENT_CLOSE:
            current = lastCubic = lastQuadratic = start;
            out.Close();
            break;
        case SVG_SEGMENT_LINE: {
            const SvgPathLine& line = segment.payload.line;
            KvPoint p;
            if (line.horizontal == 1)
                p = {line.x + offset.x, current.y};
            else if (line.vertical == 1)
                p = {current.x, line.y + offset.y};
            else
                p = Plus({line.x, line.y}, offset);
            current = lastCubic = lastQuadratic = p;
            const KvPoint baked = bake(p);
            box.Add(baked);
            out.Line(baked);
            break;
        }
        case SVG_SEGMENT_CUBIC: {
            const SvgPathCubic& cubic = segment.payload.cubic;
            const KvPoint c1 = cubic.smooth == 1 ? Reflect(current, lastCubic) : Plus({cubic.x1, cubic.y1}, offset);
            cubicTo(c1, Plus({cubic.x2, cubic.y2}, offset), Plus({cubic.x, cubic.y}, offset));
            break;
        }
        case SVG_SEGMENT_QUADRATIC: {
            const SvgPathQuadratic& quadratic = segment.payload.quadratic;
            const KvPoint q = quadratic.smooth == 1 ? Reflect(current, lastQuadratic)
                                                    : Plus({quadratic.x1, quadratic.y1}, offset);
            const KvPoint end = Plus({quadratic.x, quadratic.y}, offset);
            const KvPoint b0 = bake(current), bq = bake(q), b3 = bake(end);
            // Measured as the cubic it equals; written as the quadratic it is.
            const KvPoint b1 = {b0.x + (bq.x - b0.x) * 2 / 3, b0.y + (bq.y - b0.y) * 2 / 3};
            const KvPoint b2 = {b1.x + (b3.x - b0.x) / 3, b1.y + (b3.y - b0.y) / 3};
            ExpandCubicExtent(box, b0, b1, b2, b3);
            SvgPathSegment& written = segment;
            written.relative = 0;
            written.payload.quadratic.smooth = 0;
            written.payload.quadratic.x1 = bq.x;
            written.payload.quadratic.y1 = bq.y;
            written.payload.quadratic.x = b3.x;
            written.payload.quadratic.y = b3.y;
            out.Append(written);
            lastQuadratic = q;
            current = lastCubic = end;
            break;
        }
        case SVG_SEGMENT_ARC: {
            SvgPathArc arc = segment.payload.arc;
            arc.x += offset.x;
            arc.y += offset.y;
            if (arcsBecomeCubics) {
                SvgCubicPiece pieces[kMaxArcPieces];
                const int count = SvgArcToCubicPieces(current, arc, pieces);
                for (int piece = 0; piece < count; ++piece)
                    cubicTo(pieces[piece].control1, pieces[piece].control2, pieces[piece].end);
                break;
            }
            const KvPoint from = bake(current), end = bake({arc.x, arc.y});
            SvgPathArc baked = arc;
            baked.x = end.x;
            baked.y = end.y;
            baked.rx = arc.rx * matrix.ScaleX();
            baked.ry = arc.ry * matrix.ScaleY();
            ExpandArcExtent(box, from, baked);
            segment.relative = 0;
            segment.payload.arc = baked;
            out.Append(segment);
            current = lastCubic = lastQuadratic = {arc.x, arc.y};
            break;
        }
        default:
            out.Append(segment);
            break;
        }
    }
    out.MoveInto(data);
    return SUCCESS;
}

// ---- Rectangles --------------------------------------------------------------------------

bool IsRectanglePath(const SvgMatrix& matrix, const SvgPathData& data)
{
    const uint32_t count = data.count;
    if (!data.items || count < 4 || count > 6)
        return false;
    if (data.items[0].type != SVG_SEGMENT_MOVE)
        return false;
    KvPoint points[6];
    uint32_t pointCount = 0;
    KvPoint current{0, 0};
    for (uint32_t i = 0; i < count; ++i) {
        const SvgPathSegment& segment = data.items[i];
        const KvPoint offset = IsRelative(segment) ? current : KvPoint{0, 0};
        if (i == 0) {
            current = Plus({segment.payload.move.x, segment.payload.move.y}, offset);
        } else if (segment.type == SVG_SEGMENT_LINE) {
            const SvgPathLine& line = segment.payload.line;
            if (line.horizontal == 1)
                current = {line.x + offset.x, current.y};
            else if (line.vertical == 1)
                current = {current.x, line.y + offset.y};
            else
                current = Plus({line.x, line.y}, offset);
        } else if (segment.type == SVG_SEGMENT_CLOSE && i == count - 1 && i >= 4) {
            break;
        } else {
            return false;
        }
        points[pointCount++] = current;
    }
    if (pointCount < 4)
        return false;
    const KvPoint* p = points;
    if (pointCount >= 5 && !(Close(p[4].x, p[0].x) && Close(p[4].y, p[0].y)))
        return false;
    const bool firstHorizontal =
        Close(p[0].y, p[1].y) && Close(p[1].x, p[2].x) && Close(p[2].y, p[3].y) && Close(p[3].x, p[0].x);
    const bool firstVertical =
        Close(p[0].x, p[1].x) && Close(p[1].y, p[2].y) && Close(p[2].x, p[3].x) && Close(p[3].y, p[0].y);
    if (!firstHorizontal && !firstVertical)
        return false;
    return std::fabs(std::atan2(matrix.b, matrix.a)) < kSvgMatrixTolerance;
}

int32_t RectFromPath(const SvgPathElement& path, SvgRectElement& rect)
{
    SvgExtent extent;
    KvPoint current{0, 0};
    for (uint32_t i = 0; i < path.d.count; ++i) {
        const SvgPathSegment& segment = path.d.items[i];
        const KvPoint offset = IsRelative(segment) ? current : KvPoint{0, 0};
        if (segment.type == SVG_SEGMENT_MOVE) {
            current = Plus({segment.payload.move.x, segment.payload.move.y}, offset);
        } else if (segment.type == SVG_SEGMENT_LINE) {
            const SvgPathLine& line = segment.payload.line;
            if (line.horizontal == 1)
                current = {line.x + offset.x, current.y};
            else if (line.vertical == 1)
                current = {current.x, line.y + offset.y};
            else
                current = Plus({line.x, line.y}, offset);
        } else {
            continue;
        }
        extent.Add(current);
    }
    if (extent.IsEmpty())
        return FAILURE;
    auto plain = [](double value) { return SvgLength{kSvgLengthSize, value, SVG_UNIT_NONE, 0}; };
    rect.x = plain(extent.xMin);
    rect.y = plain(extent.yMin);
    rect.width = plain(std::fabs(extent.xMax - extent.xMin));
    rect.height = plain(std::fabs(extent.yMax - extent.yMin));
    FreeStyleProp(&rect.style);
    InitStyleProp(&rect.style);
    if (int32_t status = MergeStyle(rect.style, path.style, true); status != SUCCESS)
        return status;
    FreeCoreAttributes(&rect.core);
    rect.core = path.core;
    rect.core.id = nullptr;
    rect.core.xmlBase = nullptr;
    if (int32_t status = CopyTrackedText(&rect.core.id, path.core.id); status != SUCCESS)
        return status;
    return CopyTrackedText(&rect.core.xmlBase, path.core.xmlBase);
}
