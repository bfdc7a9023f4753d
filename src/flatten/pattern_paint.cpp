#include "flatten/pattern_paint.h"

#include <cmath>
#include <cstdio>
#include <new>
#include <string>
#include <unordered_set>

#include "base/numeric.h"
#include "base/safety_limits.h"
#include "base/tracked_memory.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

bool IsUnset(const SvgLength& length) { return IsUnsetDouble(length.value); }

bool HasElementChild(const SvgElementView& pattern) { return static_cast<bool>(pattern.FirstChild()); }

void CopyLength(SvgLength& destination, const SvgLength& source)
{
    if (IsUnset(destination) && !IsUnset(source))
        destination = source;
}

// Merges the href chain into `record` (holding the first pattern): each
// next pattern fills only what is still unset. The first pattern with any
// element child owns the content. A chain that comes back to a pattern it
// passed stops there.
int32_t ResolvePatternChain(CSvgFlattener& flattener, const CSvgContext& context, const SvgElementView& first,
                            SvgPatternElement& record, SvgElementView& contentOwner)
{
    contentOwner = HasElementChild(first) ? first : SvgElementView();
    try {
        std::unordered_set<const void*> visited{first.node().internal_object()};
        for (size_t hops = 0; record.href && hops < kvlimits::kMaxReferenceChain; ++hops) {
            const SvgElementView linked = flattener.FindElementById(context, record.href);
            if (!linked || linked.type() != SVG_ELEMENT_PATTERN || !visited.insert(linked.node().internal_object()).second)
                break;
            ScopedRecord<SvgPatternElement> other(SVG_ELEMENT_PATTERN);
            if (int32_t status = linked.Read(other); status != SUCCESS)
                return status;
            SvgPatternElement& from = other.get();
            CopyLength(record.x, from.x);
            CopyLength(record.y, from.y);
            CopyLength(record.width, from.width);
            CopyLength(record.height, from.height);
            if (IsUnsetDouble(record.viewBox.x) && !IsUnsetDouble(from.viewBox.x)) {
                record.viewBox = from.viewBox;
                record.preserveAspectRatio = from.preserveAspectRatio;
            }
            if (record.patternUnits == 0)
                record.patternUnits = from.patternUnits;
            if (record.patternContentUnits == 0)
                record.patternContentUnits = from.patternContentUnits;
            if (record.patternTransform.count == 0 && from.patternTransform.count != 0)
                std::swap(record.patternTransform, from.patternTransform);
            if (int32_t status = MergeStyle(record.style, from.style, false); status != SUCCESS)
                return status;
            if (!contentOwner && HasElementChild(linked))
                contentOwner = linked;
            std::swap(record.href, from.href);
        }
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}

bool Invert(const SvgMatrix& m, SvgMatrix& inverse)
{
    const double det = m.a * m.d - m.b * m.c;
    if (!(std::fabs(det) > 1e-12))
        return false;
    inverse = SvgMatrix{m.d / det, -m.b / det, -m.c / det, m.a / det, (m.c * m.f - m.d * m.e) / det,
                        (m.b * m.e - m.a * m.f) / det};
    return true;
}

SvgExtent ExtentUnder(const SvgMatrix& m, const SvgExtent& box)
{
    SvgExtent out;
    out.Add(m.Apply(box.xMin, box.yMin));
    out.Add(m.Apply(box.xMax, box.yMin));
    out.Add(m.Apply(box.xMin, box.yMax));
    out.Add(m.Apply(box.xMax, box.yMax));
    return out;
}

// Walks the children of context.sourceNode with the dispatcher, as a nested
// walk that is over when it returns.
int32_t ContentVisitor(CSvgFlattener& flattener, CSvgContext& context)
{
    std::unique_ptr<CSvgContext> children = CSvgFlattener::NewContext();
    if (!children)
        return ERROR_NO_MEMORY;
    if (int32_t status = children->Derive(context, nullptr, nullptr); status != SUCCESS)
        return status;
    return flattener.FlattenChildren(std::move(children), [](CSvgFlattener& f, CSvgContext& c) {
        return f.FlattenElement(c);
    });
}

// Marks a pattern whose content is being flattened, for as long as it lives.
class ActivePattern {
public:
    ActivePattern(std::unordered_set<const void*>& active, const void* pattern) : active_(active), pattern_(pattern)
    {
        active_.insert(pattern_);
    }
    ~ActivePattern() { active_.erase(pattern_); }
    ActivePattern(const ActivePattern&) = delete;
    ActivePattern& operator=(const ActivePattern&) = delete;

private:
    std::unordered_set<const void*>& active_;
    const void* pattern_;
};

// The tiles of the expanded form, flattened in place ahead of the shape.
// FAILURE when the form does not apply (no clip, too many tiles): the
// caller writes the copy instead.
int32_t ExpandTiles(CSvgFlattener& flattener, CSvgContext& context, const SvgPatternElement& pattern,
                    const SvgElementView& contentOwner, const K_SvgStyleProp& contentStyle, void* record,
                    uint32_t type, const CSvgBoundingBox& box, ShapeClipMaker shapeClip)
{
    SvgMatrix toUser;
    if (box.IsEmpty() || !Invert(context.matrix, toUser))
        return FAILURE;
    const SvgExtent userBox = ExtentUnder(toUser, box);
    const double bx = userBox.xMin, by = userBox.yMin;
    const double bw = userBox.xMax - userBox.xMin, bh = userBox.yMax - userBox.yMin;
    double x = pattern.x.value, y = pattern.y.value, w = pattern.width.value, h = pattern.height.value;
    if (pattern.patternUnits != svgkind::kUnitsUserSpaceOnUse) {
        x = bx + x * bw;
        y = by + y * bh;
        w *= bw;
        h *= bh;
    }
    if (!(w > 0) || !(h > 0))
        return FAILURE;
    const SvgMatrix patternMatrix = SvgMatrixFromList(&pattern.patternTransform);
    SvgMatrix toPattern;
    if (!Invert(patternMatrix, toPattern))
        return FAILURE;
    const SvgExtent covered = ExtentUnder(toPattern, userBox);
    const double firstX = std::floor((covered.xMin - x) / w) * w + x;
    const double firstY = std::floor((covered.yMin - y) / h) * h + y;
    const double columns = std::ceil((covered.xMax - firstX) / w);
    const double rows = std::ceil((covered.yMax - firstY) / h);
    if (!(columns * rows <= static_cast<double>(kvlimits::kMaxPatternTiles)))
        return FAILURE;
    const uint64_t tiles = static_cast<uint64_t>(columns) * static_cast<uint64_t>(rows);
    if (!flattener.TakeTileElements(tiles, contentOwner, context))
        return FAILURE;
    CSvgClipPath* clip = shapeClip(flattener, context, record, type, box);
    if (!clip)
        return FAILURE;

    SvgMatrix content;  // content units to the tile's own coordinates
    if (!IsUnsetDouble(pattern.viewBox.x)) {
        ScopedRecord<SvgSvgElement> viewport(SVG_ELEMENT_SVG);
        viewport->x = SvgLength{kSvgLengthSize, 0.0, SVG_UNIT_NONE, 0};
        viewport->y = viewport->x;
        viewport->width = SvgLength{kSvgLengthSize, w, SVG_UNIT_NONE, 0};
        viewport->height = SvgLength{kSvgLengthSize, h, SVG_UNIT_NONE, 0};
        viewport->viewBox = pattern.viewBox;
        content = ViewBoxMatrix(pattern.preserveAspectRatio, viewport.get());
    } else if (pattern.patternContentUnits == svgkind::kUnitsObjectBoundingBox) {
        content = SvgMatrix{bw, 0, 0, bh, 0, 0};
    }
    const SvgMatrix tileSpace = MultiplySvgMatrix(context.matrix, patternMatrix);
    for (double row = 0; row < rows; ++row) {
        for (double column = 0; column < columns; ++column) {
            std::unique_ptr<CSvgContext> tile = CSvgFlattener::NewContext();
            if (!tile)
                return ERROR_NO_MEMORY;
            if (int32_t status = tile->Derive(context, nullptr, nullptr); status != SUCCESS)
                return status;
            // Pattern content cascades from the pattern, not from the shape.
            tile->style.Reset();
            if (int32_t status = tile->style.CopyFrom(contentStyle); status != SUCCESS)
                return status;
            const SvgMatrix origin{1, 0, 0, 1, firstX + column * w, firstY + row * h};
            tile->matrix = MultiplySvgMatrix(MultiplySvgMatrix(tileSpace, origin), content);
            tile->mode = FlattenMode::Normal;
            tile->activeClip = clip;
            tile->collectingClip = nullptr;
            tile->sourceNode = contentOwner;
            if (int32_t status = flattener.RunWalk(*tile, ContentVisitor); status != SUCCESS)
                return status;
        }
    }
    return SUCCESS;
}

}  // namespace

int32_t FlattenPattern(CSvgFlattener& flattener, CSvgContext& context, const SvgElementView& patternNode,
                       SvgPaint& paint, bool isFill, void* record, uint32_t type, const CSvgBoundingBox& box,
                       ShapeClipMaker shapeClip)
{
    // A pattern met again inside its own content paints nothing new.
    if (flattener.activePatterns().count(patternNode.node().internal_object()) != 0)
        return SUCCESS;
    ScopedRecord<SvgPatternElement> scoped(SVG_ELEMENT_PATTERN);
    if (int32_t status = patternNode.Read(scoped); status != SUCCESS)
        return status;
    SvgPatternElement& pattern = scoped.get();
    SvgElementView contentOwner;
    if (int32_t status = ResolvePatternChain(flattener, context, patternNode, pattern, contentOwner);
        status != SUCCESS)
        return status;
    CSvgStyleProp contentStyle;
    if (int32_t status = contentStyle.CopyFrom(pattern.style); status != SUCCESS)
        return status;

    std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
    if (!own)
        return ERROR_NO_MEMORY;
    if (int32_t status = own->Derive(context, nullptr, &pattern.style); status != SUCCESS)
        return status;
    const bool boxUnits = pattern.patternUnits != svgkind::kUnitsUserSpaceOnUse;
    if (boxUnits) {
        const double width = box.IsEmpty() ? 0.0 : box.xMax - box.xMin;
        const double height = box.IsEmpty() ? 0.0 : box.yMax - box.yMin;
        own->matrix = MultiplySvgMatrix(
            own->matrix, SvgMatrix{width, 0, 0, height, box.IsEmpty() ? 0.0 : box.xMin, box.IsEmpty() ? 0.0 : box.yMin});
        own->viewportWidth = 1;
        own->viewportHeight = 1;
    }
    if (pattern.patternTransform.count > 0)
        own->matrix = MultiplySvgMatrix(own->matrix, SvgMatrixFromList(&pattern.patternTransform));
    own->style.MoveInto(pattern.style);
    ResolveContextLengths(*own, pattern.style);
    pattern.style.opacity = UnsetDouble();
    const auto resolve = [&](SvgLength& length, bool vertical) {
        if (IsUnset(length))
            length = SvgLength{kSvgLengthSize, 0.0, SVG_UNIT_NONE, 0};
        ResolveSvgLength(length, vertical, true, own->fontSize, own->viewportWidth, own->viewportHeight);
    };
    resolve(pattern.x, false);
    resolve(pattern.y, true);
    resolve(pattern.width, false);
    resolve(pattern.height, true);

    // Tiles inside the tiles of another pattern would multiply; a pattern
    // used inside pattern content is written as a copy.
    const bool nested = !flattener.activePatterns().empty();
    const ActivePattern active(flattener.activePatterns(), patternNode.node().internal_object());
    if (isFill && shapeClip && contentOwner && !nested && (flattener.options().uFlags & SVG_FLAT_EXPAND_PATTERNS) &&
        context.mode == FlattenMode::Normal) {
        const int32_t status =
            ExpandTiles(flattener, context, pattern, contentOwner, contentStyle, record, type, box, shapeClip);
        if (status == SUCCESS) {
            paint.kind = svgkind::kPaintNone;
            FreeTrackedField(reinterpret_cast<void**>(&paint.color.text));
            return SUCCESS;
        }
        if (status != FAILURE)
            return status;
    }

    pattern.patternUnits = svgkind::kUnitsUserSpaceOnUse;
    FreeTrackedField(reinterpret_cast<void**>(&pattern.href));
    if (int32_t status = SvgMatrixToList(own->matrix, &pattern.patternTransform); status != SUCCESS)
        return status;
    if (contentOwner) {
        char text[64];
        std::snprintf(text, sizeof text, "kolv_pattern_%u", flattener.NextId());
        const std::u16string id(text, text + std::char_traits<char>::length(text));
        FreeTrackedField(reinterpret_cast<void**>(&paint.color.text));
        if (int32_t status = CopyTrackedText(&paint.color.text, id.c_str()); status != SUCCESS)
            return status;
        FreeTrackedField(reinterpret_cast<void**>(&pattern.core.id));
        if (int32_t status = CopyTrackedText(&pattern.core.id, id.c_str()); status != SUCCESS)
            return status;
    }
    own->collectingClip = nullptr;
    own->outputParent = context.outputParent;
    SvgElementView inserted;
    if (int32_t status = flattener.InsertFlatElement(*own, &pattern, SVG_ELEMENT_PATTERN, box, &inserted);
        status != SUCCESS)
        return status;
    if (!contentOwner || !inserted)
        return SUCCESS;
    if (int32_t status = flattener.ChargeExpansion(context, contentOwner, 1); status != SUCCESS)
        return status;
    own->style.Reset();
    if (int32_t status = own->style.CopyFrom(contentStyle); status != SUCCESS)
        return status;
    own->mode = FlattenMode::PatternContent;
    own->outputParent = inserted;
    own->sourceNode = contentOwner;
    own->activeClip = nullptr;
    return flattener.RunWalk(*own, ContentVisitor);
}
