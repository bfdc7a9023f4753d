#include "flatten/paint_and_clip.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "document/svg_base_handler.h"
#include "base/utf.h"
#include "flatten/clip_paths.h"
#include "flatten/shape_geometry.h"
#include "kvsvg/kvdrw.h"

#include "flatten/paint_servers.h"
#include "flatten/pattern_paint.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

// The style block of a shape, text or image record; null for other kinds.
K_SvgStyleProp* StyleOf(void* record, uint32_t type)
{
    switch (type) {
    case SVG_ELEMENT_PATH: return &static_cast<SvgPathElement*>(record)->style;
    case SVG_ELEMENT_RECT: return &static_cast<SvgRectElement*>(record)->style;
    case SVG_ELEMENT_CIRCLE: return &static_cast<SvgCircleElement*>(record)->style;
    case SVG_ELEMENT_ELLIPSE: return &static_cast<SvgEllipseElement*>(record)->style;
    case SVG_ELEMENT_LINE: return &static_cast<SvgLineElement*>(record)->style;
    case SVG_ELEMENT_POLYLINE:
    case SVG_ELEMENT_POLYGON: return &static_cast<SvgPolyElement*>(record)->style;
    case SVG_ELEMENT_IMAGE: return &static_cast<SvgImageElement*>(record)->style;
    case SVG_ELEMENT_TEXT: return &static_cast<SvgTextElement*>(record)->style;
    default: return nullptr;
    }
}

// A fill or stroke that names a paint server gets that server's copy for
// this shape. A name that finds nothing, or finds something that is not a
// gradient, leaves the reference as written.
CSvgClipPath* ShapeClip(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                        const CSvgBoundingBox& box);

int32_t ResolvePaintServer(CSvgFlattener& flattener, CSvgContext& context, SvgPaint& paint, bool isFill,
                           void* record, uint32_t type, const CSvgBoundingBox& box)
{
    SvgElementView server = flattener.FindElementById(context, paint.color.text);
    if (!server)
        return SUCCESS;
    if (server.type() == SVG_ELEMENT_LINEARGRADIENT || server.type() == SVG_ELEMENT_RADIALGRADIENT)
        return FlattenGradient(flattener, context, server, paint, box);
    if (server.type() == SVG_ELEMENT_PATTERN)
        return FlattenPattern(flattener, context, server, paint, isFill, record, type, box, ShapeClip);
    return SUCCESS;
}

std::string Utf8(const KvChar* text)
{
    try {
        return text ? ToUtf8(text) : std::string();
    } catch (const std::bad_alloc&) {
        return std::string();
    }
}

std::string TrimmedId(const KvChar* text)
{
    std::string id = Utf8(text);
    const size_t first = id.find_first_not_of(" \t\r\n");
    if (first == std::string::npos)
        return std::string();
    const size_t last = id.find_last_not_of(" \t\r\n");
    id = id.substr(first, last - first + 1);
    if (!id.empty() && id[0] == '#')
        id.erase(0, 1);
    return id;
}

template <class T>
class EngineObject {
public:
    explicit EngineObject(kvdrw::Engine& engine) : engine_(engine) {}
    ~EngineObject()
    {
        if (object_)
            engine_.DeleteObject(object_);
    }
    EngineObject(const EngineObject&) = delete;
    EngineObject& operator=(const EngineObject&) = delete;
    T** out() { return &object_; }
    T* get() const { return object_; }

private:
    kvdrw::Engine& engine_;
    T* object_ = nullptr;
};

double Value(const SvgLength& length)
{
    return IsUnsetDouble(length.value) ? 0.0 : length.value;
}

// The outline of one baked shape, for clip geometry. A polyline adds
// nothing: inside a clipPath it counts for nothing, as it always has.
int32_t AddShapeOutline(kvdrw::GraphicsPath& path, const void* record, uint32_t type)
{
    switch (type) {
    case SVG_ELEMENT_PATH: {
        const SvgPathData& data = static_cast<const SvgPathElement*>(record)->d;
        KvPoint cur{0, 0}, start{0, 0};
        for (uint32_t i = 0; i < data.count; ++i) {
            const SvgPathSegment& segment = data.items[i];
            const bool relative = segment.relative != 0 && segment.relative != SVG_SEGMENT_INVALID;
            const auto at = [&](double x, double y) {
                return relative ? KvPoint{cur.x + x, cur.y + y} : KvPoint{x, y};
            };
            int32_t status = SUCCESS;
            switch (segment.type) {
            case SVG_SEGMENT_MOVE:
                status = path.StartFigure();
                cur = start = at(segment.payload.move.x, segment.payload.move.y);
                break;
            case SVG_SEGMENT_CLOSE:
                status = path.CloseFigure();
                cur = start;
                break;
            case SVG_SEGMENT_LINE: {
                const SvgPathLine& line = segment.payload.line;
                KvPoint next = at(line.x, line.y);
                if (line.horizontal == 1)
                    next.y = cur.y;
                else if (line.vertical == 1)
                    next.x = cur.x;
                status = path.AddLine(cur, next);
                cur = next;
                break;
            }
            case SVG_SEGMENT_CUBIC: {
                const SvgPathCubic& c = segment.payload.cubic;
                const KvPoint end = at(c.x, c.y);
                status = path.AddBezier(cur, at(c.x1, c.y1), at(c.x2, c.y2), end);
                cur = end;
                break;
            }
            case SVG_SEGMENT_QUADRATIC: {
                const SvgPathQuadratic& q = segment.payload.quadratic;
                const KvPoint control = at(q.x1, q.y1), end = at(q.x, q.y);
                const KvPoint c1{cur.x + 2 * (control.x - cur.x) / 3, cur.y + 2 * (control.y - cur.y) / 3};
                const KvPoint c2{end.x + 2 * (control.x - end.x) / 3, end.y + 2 * (control.y - end.y) / 3};
                status = path.AddBezier(cur, c1, c2, end);
                cur = end;
                break;
            }
            case SVG_SEGMENT_ARC: {
                SvgPathArc arc = segment.payload.arc;
                const KvPoint end = at(arc.x, arc.y);
                arc.x = end.x;
                arc.y = end.y;
                SvgCubicPiece pieces[kMaxArcPieces];
                const int count = SvgArcToCubicPieces(cur, arc, pieces);
                for (int k = 0; k < count && status == SUCCESS; ++k) {
                    status = path.AddBezier(cur, pieces[k].control1, pieces[k].control2, pieces[k].end);
                    cur = pieces[k].end;
                }
                cur = end;
                break;
            }
            default: break;
            }
            if (status != SUCCESS)
                return status;
        }
        return SUCCESS;
    }
    case SVG_ELEMENT_RECT: {
        const auto& rect = *static_cast<const SvgRectElement*>(record);
        const double x = Value(rect.x), y = Value(rect.y), w = Value(rect.width), h = Value(rect.height);
        double rx = Value(rect.rx), ry = Value(rect.ry);
        if (rx <= 0.0)
            rx = ry;
        if (ry <= 0.0)
            ry = rx;
        rx = std::min(rx, w / 2);
        ry = std::min(ry, h / 2);
        if (!(rx > 0.0 && ry > 0.0))
            return path.AddRectangle(x, y, w, h);
        // Rounded corners: four quarter arcs joined by the straight sides.
        int32_t status = path.StartFigure();
        const struct {
            double x, y, start;
        } corners[] = {{x, y, 180}, {x + w - 2 * rx, y, 270}, {x + w - 2 * rx, y + h - 2 * ry, 0}, {x, y + h - 2 * ry, 90}};
        for (const auto& corner : corners) {
            if (status == SUCCESS)
                status = path.AddArc(corner.x, corner.y, 2 * rx, 2 * ry, corner.start, 90);
        }
        return status == SUCCESS ? path.CloseFigure() : status;
    }
    case SVG_ELEMENT_CIRCLE: {
        const auto& circle = *static_cast<const SvgCircleElement*>(record);
        const double r = Value(circle.r);
        return path.AddEllipse(Value(circle.cx) - r, Value(circle.cy) - r, 2 * r, 2 * r);
    }
    case SVG_ELEMENT_ELLIPSE: {
        const auto& ellipse = *static_cast<const SvgEllipseElement*>(record);
        const double rx = Value(ellipse.rx), ry = Value(ellipse.ry);
        return path.AddEllipse(Value(ellipse.cx) - rx, Value(ellipse.cy) - ry, 2 * rx, 2 * ry);
    }
    case SVG_ELEMENT_LINE: {
        const auto& line = *static_cast<const SvgLineElement*>(record);
        return path.AddLine(Value(line.x1), Value(line.y1), Value(line.x2), Value(line.y2));
    }
    case SVG_ELEMENT_POLYGON: {
        const auto& poly = *static_cast<const SvgPolyElement*>(record);
        if (!poly.points || poly.pointCount == 0)
            return SUCCESS;
        return path.AddPolygon(reinterpret_cast<const kvdrw::Point*>(poly.points),
                               static_cast<int32_t>(std::min<uint32_t>(poly.pointCount, INT32_MAX)));
    }
    default: return SUCCESS;
    }
}

// A copy of one of a clip's paths with every point through `matrix`.
int32_t CopyTransformed(kvdrw::Engine& engine, kvdrw::GraphicsPath* from, const SvgMatrix& matrix,
                        kvdrw::GraphicsPath* to)
{
    EngineObject<kvdrw::PathData> data(engine);
    if (int32_t status = from->GetPathData(data.out()); status != SUCCESS)
        return status;
    const int32_t count = data.get()->GetCount();
    if (count == 0)
        return SUCCESS;
    std::vector<KvPoint> points;
    try {
        points.assign(data.get()->GetPoints(), data.get()->GetPoints() + count);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    for (KvPoint& point : points)
        point = matrix.Apply(point.x, point.y);
    return to->AddPathData(points.data(), data.get()->GetTypes(), count);
}

// The variant of `clip` under `matrix`: found among its variants, or made
// once ("<id>Xfm<n>", n counting from 1) and kept in the hash.
CSvgClipPath* VariantUnder(CSvgFlattener& flattener, CSvgClipPath* clip, const SvgMatrix& matrix)
{
    if (!clip || IsIdentitySvgMatrix(matrix))
        return clip;
    for (const auto& [known, id] : clip->transformed) {
        if (SvgMatricesEqual(known, matrix))
            return flattener.clipPaths().Find(id);
    }
    std::unique_ptr<CSvgClipPath> variant(new (std::nothrow) CSvgClipPath(clip->engine()));
    if (!variant || variant->Create() != SUCCESS)
        return nullptr;
    if (CopyTransformed(clip->engine(), clip->evenOddPath, matrix, variant->evenOddPath) != SUCCESS ||
        CopyTransformed(clip->engine(), clip->nonZeroPath, matrix, variant->nonZeroPath) != SUCCESS)
        return nullptr;
    variant->shapeCount = clip->shapeCount;
    const uint32_t number = clip->transformCount + 1;
    variant->id = clip->id + "Xfm" + std::to_string(number);
    CSvgClipPath* kept = variant.get();
    if (!flattener.clipPaths().Add(std::move(variant))) {
        return nullptr;
    }
    try {
        clip->transformed.emplace_back(matrix, kept->id);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    clip->transformCount = number;
    return kept;
}

// The two fill-rule paths of a clip united into one winding outline.
int32_t UnitedOutline(CSvgClipPath& clip, kvdrw::GraphicsPath* out)
{
    const SvgMatrix identity;
    if (int32_t status = CopyTransformed(clip.engine(), clip.nonZeroPath, identity, out); status != SUCCESS)
        return status;
    EngineObject<kvdrw::GraphicsPath> evenOdd(clip.engine());
    if (int32_t status = clip.engine().CreatePath(evenOdd.out()); status != SUCCESS)
        return status;
    evenOdd.get()->SetFillMode(kvdrw::kFillEvenOdd);
    if (int32_t status = CopyTransformed(clip.engine(), clip.evenOddPath, identity, evenOdd.get()); status != SUCCESS)
        return status;
    return out->CombineGeometry(&clip.engine(), evenOdd.get(), kvdrw::kCombineUnion);
}

// What both clips let through: computed once per pair, named
// "Int_<outer><inner>" with the clip already in force first.
CSvgClipPath* IntersectionOf(CSvgFlattener& flattener, CSvgClipPath* outer, CSvgClipPath* inner)
{
    if (!outer)
        return inner;
    if (!inner || outer == inner)
        return outer;
    for (const auto& [other, result] : outer->intersections) {
        if (other == inner->id)
            return flattener.clipPaths().Find(result);
    }
    std::unique_ptr<CSvgClipPath> result(new (std::nothrow) CSvgClipPath(outer->engine()));
    if (!result || result->Create() != SUCCESS)
        return nullptr;
    EngineObject<kvdrw::GraphicsPath> other(outer->engine());
    if (outer->engine().CreatePath(other.out()) != SUCCESS)
        return nullptr;
    if (UnitedOutline(*outer, result->nonZeroPath) != SUCCESS || UnitedOutline(*inner, other.get()) != SUCCESS ||
        result->nonZeroPath->CombineGeometry(&outer->engine(), other.get(), kvdrw::kCombineIntersect) != SUCCESS)
        return nullptr;
    result->derived = true;
    result->shapeCount = 1;
    result->id = "Int_" + outer->id + inner->id;
    CSvgClipPath* kept = nullptr;
    if (flattener.clipPaths().Find(result->id))
        kept = flattener.clipPaths().AddWithFreeId(std::move(result));
    else {
        kept = result.get();
        if (!flattener.clipPaths().Add(std::move(result)))
            return nullptr;
    }
    if (!kept)
        return nullptr;
    try {
        outer->intersections.emplace_back(inner->id, kept->id);
        inner->intersections.emplace_back(outer->id, kept->id);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return kept;
}

// One of a clip's paths as a path record's commands.
int32_t PathDataOf(kvdrw::Engine& engine, kvdrw::GraphicsPath* from, PathBuilder& builder)
{
    EngineObject<kvdrw::PathData> data(engine);
    if (int32_t status = from->GetPathData(data.out()); status != SUCCESS)
        return status;
    const int32_t count = data.get()->GetCount();
    const KvPoint* points = data.get()->GetPoints();
    const int32_t* types = data.get()->GetTypes();
    // Each point makes at most one command and a close.
    if (!builder.Reserve(static_cast<uint32_t>(count) * 2 + 1))
        return ERROR_NO_MEMORY;
    for (int32_t i = 0; i < count; ++i) {
        const int32_t type = types[i];
        if (type == kvdrw::kPathMoveTo) {
            builder.Move(points[i]);
        } else if ((type & ~1) == kvdrw::kPathBezierTo && i + 2 < count) {
            builder.Cubic(points[i], points[i + 1], points[i + 2]);
            i += 2;
            if (types[i] & 1)
                builder.Close();
        } else {
            builder.Line(points[i]);
            if (type & 1)
                builder.Close();
        }
    }
    return SUCCESS;
}

// Writes the clip's clipPath (one path per fill rule that has any) ahead
// of its first user, once.
int32_t EmitClip(CSvgContext& context, CSvgClipPath& clip)
{
    if (clip.emitted)
        return SUCCESS;
    ScopedRecord<SvgClipPathElement> record(SVG_ELEMENT_CLIPPATH);
    std::u16string id;
    try {
        id = ToUtf16(clip.id);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (int32_t status = CopyTrackedText(&record->core.id, id.c_str()); status != SUCCESS)
        return status;
    SvgElementView inserted;
    if (int32_t status = context.outputParent.Insert(SVG_ELEMENT_CLIPPATH, &record.get(), kSvgInsertLastChild, &inserted);
        status != SUCCESS)
        return status;
    const struct {
        kvdrw::GraphicsPath* path;
        uint32_t rule;
    } parts[] = {{clip.evenOddPath, svgkind::kFillRuleEvenOdd}, {clip.nonZeroPath, svgkind::kFillRuleNonZero}};
    for (const auto& part : parts) {
        PathBuilder builder;
        if (int32_t status = PathDataOf(clip.engine(), part.path, builder); status != SUCCESS)
            return status;
        if (builder.count() == 0)
            continue;
        ScopedRecord<SvgPathElement> path(SVG_ELEMENT_PATH);
        builder.MoveInto(path->d);
        path->style.paint.fill.rule = part.rule;
        if (int32_t status = inserted.Insert(SVG_ELEMENT_PATH, &path.get(), kSvgInsertLastChild); status != SUCCESS)
            return status;
    }
    clip.emitted = true;
    return SUCCESS;
}

// The clip an element's own clip-path names, under the matrix it is used
// with; null when it names nothing known.
CSvgClipPath* OwnClip(CSvgFlattener& flattener, const CSvgContext& context, const K_SvgStyleProp& style,
                      const CSvgBoundingBox& box)
{
    if (style.clipPath.kind != svgkind::kReferenceUrl || !style.clipPath.id)
        return nullptr;
    CSvgClipPath* clip = flattener.clipPaths().Find(TrimmedId(style.clipPath.id));
    if (!clip)
        return nullptr;
    SvgMatrix matrix = context.matrix;
    if (clip->clipPathUnits == svgkind::kUnitsObjectBoundingBox && !box.IsEmpty())
        matrix = MultiplySvgMatrix(matrix, SvgMatrix{box.xMax - box.xMin, 0, 0, box.yMax - box.yMin, box.xMin, box.yMin});
    return VariantUnder(flattener, clip, matrix);
}

// The clip of a shape's own outline (it already stands in the flat
// document's coordinates), inside the shape's clip-path and its groups'
// clip: what the tiles of a pattern fill are cut to. Null when it cannot
// be made.
CSvgClipPath* ShapeClip(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                        const CSvgBoundingBox& box)
{
    kvdrw::Engine* engine = flattener.engine();
    K_SvgStyleProp* style = StyleOf(record, type);
    if (!engine || !style)
        return nullptr;
    std::unique_ptr<CSvgClipPath> clip(new (std::nothrow) CSvgClipPath(*engine));
    if (!clip || clip->Create() != SUCCESS)
        return nullptr;
    const bool evenOdd = style->paint.fill.rule == svgkind::kFillRuleEvenOdd;
    EngineObject<kvdrw::GraphicsPath> figure(*engine);
    if (engine->CreatePath(figure.out()) != SUCCESS)
        return nullptr;
    figure.get()->SetFillMode(evenOdd ? kvdrw::kFillEvenOdd : kvdrw::kFillWinding);
    if (AddShapeOutline(*figure.get(), record, type) != SUCCESS || clip->AddGeometry(figure.get(), evenOdd) != SUCCESS)
        return nullptr;
    clip->shapeCount = 1;
    clip->derived = true;
    clip->id = "kolv_clip_" + std::to_string(flattener.NextId());
    CSvgClipPath* made = clip.get();
    if (flattener.clipPaths().Find(clip->id))
        made = flattener.clipPaths().AddWithFreeId(std::move(clip));
    else if (!flattener.clipPaths().Add(std::move(clip)))
        made = nullptr;
    if (!made)
        return nullptr;
    CSvgClipPath* own = OwnClip(flattener, context, *style, box);
    return IntersectionOf(flattener, context.activeClip, IntersectionOf(flattener, own, made));
}

int32_t ClipContentVisitor(CSvgFlattener& flattener, CSvgContext& context)
{
    switch (context.sourceNode.type()) {
    case SVG_ELEMENT_USE:
    case SVG_ELEMENT_PATH:
    case SVG_ELEMENT_RECT:
    case SVG_ELEMENT_CIRCLE:
    case SVG_ELEMENT_ELLIPSE:
    case SVG_ELEMENT_LINE:
    case SVG_ELEMENT_POLYGON:
    case SVG_ELEMENT_TEXT: return flattener.FlattenElement(context);
    default: return SUCCESS;
    }
}

// Every clipPath that stands under the root, under g or defs, or under a
// symbol, in document order: the only places clips are looked for.
void CollectClipPaths(const SvgElementView& start, std::vector<SvgElementView>& found)
{
    std::vector<SvgElementView> pending{start};
    while (!pending.empty()) {
        SvgElementView parent = pending.back();
        pending.pop_back();
        std::vector<SvgElementView> containers;
        for (SvgElementView child = parent.FirstChild(); child; child = child.NextSibling()) {
            const uint32_t type = child.type();
            if (type == SVG_ELEMENT_CLIPPATH)
                found.push_back(child);
            else if (type == SVG_ELEMENT_G || type == SVG_ELEMENT_DEFS || type == SVG_ELEMENT_SYMBOL)
                containers.push_back(child);
        }
        for (auto it = containers.rbegin(); it != containers.rend(); ++it)
            pending.push_back(*it);
    }
}

}  // namespace

int32_t FlattenClipPaths(CSvgFlattener& flattener, CSvgContext& rootContext)
{
    std::vector<SvgElementView> clips;
    try {
        CollectClipPaths(rootContext.sourceNode, clips);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (clips.empty())
        return SUCCESS;
    kvdrw::Engine* engine = flattener.engine();
    if (!engine)
        return ERROR_NO_ENGINE;
    for (const SvgElementView& node : clips)
        flattener.RegisterElementId(node);
    for (const SvgElementView& node : clips) {
        ScopedRecord<SvgClipPathElement> record(SVG_ELEMENT_CLIPPATH);
        if (int32_t status = node.Read(record); status != SUCCESS)
            return status;
        std::unique_ptr<CSvgClipPath> clip(new (std::nothrow) CSvgClipPath(*engine));
        if (!clip)
            return ERROR_NO_MEMORY;
        if (int32_t status = clip->Create(); status != SUCCESS)
            return status;
        clip->id = TrimmedId(record->core.id);
        // Without an id nothing can name the clip, so it is passed over; an
        // id given twice ends the run.
        if (clip->id.empty())
            continue;
        if (flattener.clipPaths().Find(clip->id))
            return FAILURE;
        clip->clipPathUnits = record->clipPathUnits;

        std::unique_ptr<CSvgContext> content = CSvgFlattener::NewContext();
        if (!content)
            return ERROR_NO_MEMORY;
        if (int32_t status = content->Derive(rootContext, nullptr, &record->style); status != SUCCESS)
            return status;
        content->mode = FlattenMode::ClipContent;
        content->activeClip = nullptr;
        content->matrix = SvgMatrixFromList(&record->transform);
        content->sourceNode = node;
        content->collectingClip = clip.get();
        CSvgContext& walk = *content;
        if (int32_t status = flattener.RunWalk(walk, [](CSvgFlattener& f, CSvgContext& c) {
                std::unique_ptr<CSvgContext> children = CSvgFlattener::NewContext();
                if (!children)
                    return ERROR_NO_MEMORY;
                if (int32_t status = children->Derive(c, nullptr, nullptr); status != SUCCESS)
                    return status;
                children->mode = c.mode;
                children->matrix = c.matrix;
                children->sourceNode = c.sourceNode;
                children->collectingClip = c.collectingClip;
                children->activeClip = nullptr;
                return f.FlattenChildren(std::move(children), ClipContentVisitor);
            });
            status != SUCCESS)
            return status;
        // A clip-path on the clipPath itself narrows it.
        if (CSvgClipPath* narrower = OwnClip(flattener, rootContext, record->style, CSvgBoundingBox{})) {
            EngineObject<kvdrw::GraphicsPath> outline(*engine);
            if (engine->CreatePath(outline.out()) == SUCCESS && UnitedOutline(*narrower, outline.get()) == SUCCESS) {
                clip->nonZeroPath->CombineGeometry(engine, outline.get(), kvdrw::kCombineIntersect);
                clip->evenOddPath->CombineGeometry(engine, outline.get(), kvdrw::kCombineIntersect);
            }
        }
        if (!flattener.clipPaths().Add(std::move(clip)))
            return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

int32_t ResolveGroupClip(CSvgFlattener& flattener, CSvgContext& context, const K_SvgStyleProp& groupStyle)
{
    if (flattener.clipPaths().empty())
        return SUCCESS;
    CSvgClipPath* own = OwnClip(flattener, context, groupStyle, CSvgBoundingBox{});
    if (!own)
        return SUCCESS;
    // A clip that cannot be made means no clip: the active one stays.
    if (CSvgClipPath* result = IntersectionOf(flattener, context.activeClip, own))
        context.activeClip = result;
    return SUCCESS;
}

int32_t AddClipGeometry(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                        const CSvgBoundingBox&)
{
    CSvgClipPath* clip = context.collectingClip;
    kvdrw::Engine* engine = flattener.engine();
    if (!clip || !engine)
        return ERROR_NO_ENGINE;
    K_SvgStyleProp* style = StyleOf(record, type);
    const bool evenOdd = style && style->paint.fill.rule == svgkind::kFillRuleEvenOdd;
    EngineObject<kvdrw::GraphicsPath> figure(*engine);
    if (int32_t status = engine->CreatePath(figure.out()); status != SUCCESS)
        return status;
    figure.get()->SetFillMode(evenOdd ? kvdrw::kFillEvenOdd : kvdrw::kFillWinding);
    if (int32_t status = AddShapeOutline(*figure.get(), record, type); status != SUCCESS)
        return status;
    return clip->AddGeometry(figure.get(), evenOdd);
}


int32_t ResolvePaintAndClip(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                            const CSvgBoundingBox& box, const SvgMatrix*)
{
    if (context.mode == FlattenMode::ClipContent || context.mode == FlattenMode::InstanceContent)
        return SUCCESS;
    K_SvgStyleProp* style = StyleOf(record, type);
    if (!style)
        return SUCCESS;
    SvgFill& fill = style->paint.fill;
    // The one place that knows the word: a transparent fill is no fill at
    // all; the stroke keeps it as written.
    if (fill.paint.color.text && std::u16string_view(fill.paint.color.text) == u"transparent") {
        fill.opacity = 0.0;
        FreeTrackedField(reinterpret_cast<void**>(&fill.paint.color.text));
    }
    if (fill.paint.kind == svgkind::kPaintReference) {
        if (int32_t status = ResolvePaintServer(flattener, context, fill.paint, true, record, type, box); status != SUCCESS)
            return status;
    }
    SvgStroke& stroke = style->paint.stroke;
    if (stroke.paint.kind == svgkind::kPaintReference) {
        if (int32_t status = ResolvePaintServer(flattener, context, stroke.paint, false, record, type, box); status != SUCCESS)
            return status;
    }
    if (context.mode != FlattenMode::Normal)
        return SUCCESS;
    const bool ownReference = style->clipPath.kind == svgkind::kReferenceUrl;
    if (!ownReference && !context.activeClip)
        return SUCCESS;
    // The element's own clip under its matrix, inside whatever its groups
    // clip to. A reference to no known clip means no clip of its own.
    CSvgClipPath* clip = IntersectionOf(flattener, context.activeClip, OwnClip(flattener, context, *style, box));
    if (!clip)
        return SUCCESS;  // the reference stays as written, like any that finds nothing
    if (int32_t status = EmitClip(context, *clip); status != SUCCESS)
        return status;
    std::u16string id;
    try {
        id = ToUtf16(clip->id);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    FreeTrackedField(reinterpret_cast<void**>(&style->clipPath.id));
    if (int32_t status = CopyTrackedText(&style->clipPath.id, id.c_str()); status != SUCCESS)
        return status;
    style->clipPath.kind = svgkind::kReferenceUrl;
    return SUCCESS;
}




int32_t ClipShapeAgainstClip(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                             const CSvgBoundingBox& box)
{
    return flattener.InsertFlatElement(context, record, type, box);
}

