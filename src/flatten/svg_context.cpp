#include "flatten/svg_context.h"

#include <cstring>

#include "base/numeric.h"
#include "base/tracked_memory.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

// Replaces *field by a tracked copy of `source` (null copies as null).
template <class T>
bool CopyArray(T** field, const T* source, size_t count)
{
    FreeTrackedField(reinterpret_cast<void**>(field));
    if (!source || count == 0)
        return true;
    auto* copy = static_cast<T*>(KV_ALLOC(count, sizeof(T)));
    if (!copy)
        return false;
    std::memcpy(copy, source, count * sizeof(T));
    *field = copy;
    return true;
}

bool CopyText(KvChar** field, const KvChar* source)
{
    return CopyTrackedText(field, source) == SUCCESS;
}

// Each kind of field: whether it carries a value, and how it is copied over
// a destination that may own memory already.
bool IsSet(uint32_t value) { return value != 0; }
bool IsSet(double value) { return !IsUnsetDouble(value); }
bool IsSet(const SvgLength& length) { return !IsUnsetDouble(length.value); }
bool IsSet(const SvgAngle& angle) { return !IsUnsetDouble(angle.value); }
bool IsSet(const SvgKeywordLength& value) { return value.kind != 0 || IsSet(value.length); }
bool IsSet(const SvgKeywordAngle& value) { return value.kind != 0 || IsSet(value.angle); }
bool IsSet(const SvgBaselineShift& value) { return value.kind != 0; }
bool IsSet(const SvgFontSize& value) { return value.keyword != 0 || IsSet(value.length); }
bool IsSet(const SvgFontName& value) { return value.kind != 0 || value.text; }
bool IsSet(const SvgFontSizeAdjust& value) { return value.kind != 0 || IsSet(value.value); }
bool IsSet(const SvgColorValue& value) { return value.kind != 0 || value.color.text; }
bool IsSet(const SvgColorProfile& value) { return value.kind != 0 || value.text; }
bool IsSet(const SvgReference& value) { return value.kind != 0 || value.id; }
bool IsSet(const SvgDashArray& value) { return value.kind != 0 || value.count != 0; }
// A paint counts as set by its kind or by colour text.
bool IsSet(const SvgPaint& paint) { return paint.kind != 0 || paint.color.text; }

template <class T>
bool Assign(T& destination, const T& source)
{
    destination = source;
    return true;
}

bool AssignColor(SvgColor& destination, const SvgColor& source)
{
    KvChar* text = destination.text;
    destination = source;
    destination.text = text;
    return CopyText(&destination.text, source.text);
}

bool Assign(SvgFontName& destination, const SvgFontName& source)
{
    destination.kind = source.kind;
    return CopyText(&destination.text, source.text);
}

bool Assign(SvgColorValue& destination, const SvgColorValue& source)
{
    destination.kind = source.kind;
    return AssignColor(destination.color, source.color);
}

bool Assign(SvgColorProfile& destination, const SvgColorProfile& source)
{
    destination.kind = source.kind;
    return CopyText(&destination.text, source.text);
}

bool Assign(SvgReference& destination, const SvgReference& source)
{
    destination.kind = source.kind;
    return CopyText(&destination.id, source.id);
}

bool Assign(SvgPaint& destination, const SvgPaint& source)
{
    destination.kind = source.kind;
    return AssignColor(destination.color, source.color);
}

bool Assign(SvgDashArray& destination, const SvgDashArray& source)
{
    destination.kind = source.kind;
    if (!CopyArray(&destination.values, source.values, source.count)) {
        destination.count = 0;
        return false;
    }
    destination.count = destination.values ? source.count : 0;
    return true;
}

// The merge of one field.
class Merger {
public:
    explicit Merger(bool force) : force_(force) {}

    template <class T>
    void operator()(T& destination, const T& source)
    {
        if (!IsSet(source) || (!force_ && IsSet(destination)))
            return;
        if (!Assign(destination, source))
            status_ = ERROR_NO_MEMORY;
    }

    void Text(KvChar*& destination, const KvChar* source)
    {
        if (!source || (!force_ && destination))
            return;
        if (!CopyText(&destination, source))
            status_ = ERROR_NO_MEMORY;
    }

    void Always(SvgReference& destination, const SvgReference& source)
    {
        if (!Assign(destination, source))
            status_ = ERROR_NO_MEMORY;
    }

    int32_t status() const { return status_; }

private:
    bool force_;
    int32_t status_ = SUCCESS;
};

}  // namespace

int32_t TruncateToInt32(double value)
{
    // What the processor's truncating conversion gives for a value out of
    // range or not a number, without the undefined behaviour of a cast.
    if (!(value > -2147483649.0 && value < 2147483648.0))
        return INT32_MIN;
    return static_cast<int32_t>(value);
}

// ---- Style ---------------------------------------------------------------------------

CSvgStyleProp::CSvgStyleProp()
{
    InitStyleProp(this);
}

CSvgStyleProp::~CSvgStyleProp()
{
    FreeStyleProp(this);
}

void CSvgStyleProp::Reset()
{
    FreeStyleProp(this);
    InitStyleProp(this);
}

int32_t CSvgStyleProp::CopyFrom(const K_SvgStyleProp& source)
{
    Reset();
    const int32_t status = MergeStyle(*this, source, true);
    if (status != SUCCESS)
        Reset();
    return status;
}

void CSvgStyleProp::MoveInto(K_SvgStyleProp& record)
{
    FreeStyleProp(&record);
    std::memcpy(&record, static_cast<K_SvgStyleProp*>(this), sizeof(K_SvgStyleProp));
    InitStyleProp(this);
}

int32_t MergeStyle(K_SvgStyleProp& d, const K_SvgStyleProp& s, bool force)
{
    Merger merge(force);
    if (IsSet(s.opacity)) {
        if (force && IsSet(d.opacity))
            d.opacity *= s.opacity;
        else if (force || !IsSet(d.opacity))
            d.opacity = s.opacity;
    }

    SvgTextAttributes& dt = d.text;
    const SvgTextAttributes& st = s.text;
    merge(dt.textDecoration, st.textDecoration);
    merge(dt.writingMode, st.writingMode);
    merge(dt.spacing.kerning, st.spacing.kerning);
    merge(dt.spacing.wordSpacing, st.spacing.wordSpacing);
    merge(dt.spacing.letterSpacing, st.spacing.letterSpacing);
    merge(dt.direction.direction, st.direction.direction);
    merge(dt.direction.unicodeBidi, st.direction.unicodeBidi);
    merge(dt.anchor.textAnchor, st.anchor.textAnchor);
    merge(dt.anchor.baseline.baselineShift, st.anchor.baseline.baselineShift);
    merge(dt.anchor.baseline.dominantBaseline, st.anchor.baseline.dominantBaseline);
    merge(dt.anchor.baseline.alignmentBaseline, st.anchor.baseline.alignmentBaseline);
    merge(dt.orientation.glyphOrientationVertical, st.orientation.glyphOrientationVertical);
    merge(dt.orientation.glyphOrientationHorizontal, st.orientation.glyphOrientationHorizontal);
    merge(dt.font.fontStyle, st.font.fontStyle);
    merge(dt.font.fontWeight, st.font.fontWeight);
    merge(dt.font.fontVariant, st.font.fontVariant);
    merge(dt.font.fontStretch, st.font.fontStretch);
    merge.Text(dt.font.fontFamily, st.font.fontFamily);
    merge(dt.font.fontSize, st.font.fontSize);
    merge(dt.font.font, st.font.font);
    merge(dt.font.fontSizeAdjust, st.font.fontSizeAdjust);

    merge(d.colorValue.color, s.colorValue.color);
    merge(d.colorValue.colorProfile, s.colorValue.colorProfile);

    // A child's clip-path replaces the parent's, set or not: groups pass
    // their clip on through the context's active clip instead.
    merge.Always(d.clipPath, s.clipPath);

    SvgPaintAttributes& dp = d.paint;
    const SvgPaintAttributes& sp = s.paint;
    merge(dp.fill.opacity, sp.fill.opacity);
    merge(dp.fill.paint, sp.fill.paint);
    merge(dp.fill.rule, sp.fill.rule);
    merge(dp.stroke.opacity, sp.stroke.opacity);
    merge(dp.stroke.miterLimit, sp.stroke.miterLimit);
    merge(dp.stroke.paint, sp.stroke.paint);
    merge(dp.stroke.width, sp.stroke.width);
    merge(dp.stroke.dashOffset, sp.stroke.dashOffset);
    merge(dp.stroke.lineCap, sp.stroke.lineCap);
    merge(dp.stroke.lineJoin, sp.stroke.lineJoin);
    merge(dp.stroke.dashArray, sp.stroke.dashArray);
    merge(dp.markers.marker, sp.markers.marker);
    merge(dp.markers.markerStart, sp.markers.markerStart);
    merge(dp.markers.markerMid, sp.markers.markerMid);
    merge(dp.markers.markerEnd, sp.markers.markerEnd);
    merge(dp.rendering.textRendering, sp.rendering.textRendering);
    merge(dp.rendering.colorRendering, sp.rendering.colorRendering);
    merge(dp.rendering.shapeRendering, sp.rendering.shapeRendering);
    merge(dp.rendering.imageRendering, sp.rendering.imageRendering);
    merge(dp.rendering.colorInterpolation, sp.rendering.colorInterpolation);
    merge(dp.rendering.colorInterpolationFilters, sp.rendering.colorInterpolationFilters);
    merge(dp.visibility.display, sp.visibility.display);
    merge(dp.visibility.visibility, sp.visibility.visibility);

    merge(d.stop.stopOpacity, s.stop.stopOpacity);
    merge(d.stop.stopColor, s.stop.stopColor);

    merge(d.clipRect.top, s.clipRect.top);
    merge(d.clipRect.right, s.clipRect.right);
    merge(d.clipRect.bottom, s.clipRect.bottom);
    merge(d.clipRect.left, s.clipRect.left);
    return merge.status();
}

// ---- Context ------------------------------------------------------------------------

CSvgContext::~CSvgContext()
{
    FreeTrackedField(reinterpret_cast<void**>(&maskId));
    activeClip = nullptr;
}

CSvgUseLink::CSvgUseLink(pugi::xml_node node, std::shared_ptr<const CSvgUseLink> outerLink,
                         std::unordered_map<pugi::xml_node_struct*, uint32_t>* activeUses)
    : use(node), outer(std::move(outerLink)), active(activeUses)
{
    ++(*active)[use.internal_object()];
}

CSvgUseLink::~CSvgUseLink()
{
    auto found = active->find(use.internal_object());
    if (found != active->end() && --found->second == 0)
        active->erase(found);
    // A long chain would free its links recursively through `outer`; it is
    // unwound here one link at a time instead.
    std::shared_ptr<const CSvgUseLink> next = std::move(outer);
    while (next && next.use_count() == 1) {
        std::shared_ptr<const CSvgUseLink> after = std::move(next->outer);
        next = std::move(after);
    }
}

int32_t CSvgContext::Derive(const CSvgContext& parent, const SvgTransformList* transform,
                            const K_SvgStyleProp* overrideStyle)
{
    matrix = parent.matrix;
    if (transform && transform->count != 0)
        matrix = MultiplySvgMatrix(parent.matrix, SvgMatrixFromList(transform));
    // The style is fresh from the constructor: the parent's merges straight
    // into it, sparing the reset a copy would make.
    if (int32_t status = MergeStyle(style, parent.style, true); status != SUCCESS)
        return status;
    if (overrideStyle) {
        if (int32_t status = MergeStyle(style, *overrideStyle, true); status != SUCCESS)
            return status;
    }
    fontSize = parent.fontSize;
    viewportWidth = parent.viewportWidth;
    viewportHeight = parent.viewportHeight;
    hasMask = false;
    maskHasIdentityMatrix = parent.maskHasIdentityMatrix;
    if (!CopyText(&maskId, parent.maskId))
        return ERROR_NO_MEMORY;
    mode = parent.mode;
    sourceRoot = parent.sourceRoot;
    outputParent = parent.outputParent;
    sourceNode = parent.sourceNode;
    parentNode = parent.parentNode;
    collectingClip = parent.collectingClip;
    activeClip = parent.activeClip;
    instance = parent.instance;
    useChain = parent.useChain;
    patternChain = parent.patternChain;
    return SUCCESS;
}

int32_t CSvgContext::SetMaskId(const KvChar* id, bool identityMatrix)
{
    if (!CopyText(&maskId, id))
        return ERROR_NO_MEMORY;
    hasMask = maskId != nullptr;
    maskHasIdentityMatrix = identityMatrix;
    return SUCCESS;
}

// ---- Lengths and stroke ----------------------------------------------------------------

int32_t ResolveContextLengths(CSvgContext& context, K_SvgStyleProp& style)
{
    SvgFontAttributes& font = style.text.font;
    if (IsSet(font.fontSize.length)) {
        // Against a zero viewport and font size, so that a percentage font
        // size comes out as 0 rather than a share of something unrelated.
        ResolveSvgLength(font.fontSize.length, true, false, 0, 0, 0);
        context.fontSize = TruncateToInt32(font.fontSize.length.value);
    }
    SvgStroke& stroke = style.paint.stroke;
    if (IsSet(stroke.width))
        ResolveSvgLength(stroke.width, false, false, context.fontSize, context.viewportWidth, context.viewportHeight);
    if (IsSet(font.fontSize.length))
        ResolveSvgLength(font.fontSize.length, true, true, context.fontSize, context.viewportWidth,
                         context.viewportHeight);
    SvgSpacingAttributes& spacing = style.text.spacing;
    for (SvgKeywordLength* value : {&spacing.letterSpacing, &spacing.wordSpacing}) {
        if (value->kind == svgkind::kKeywordLengthValue)
            ResolveSvgLength(value->length, false, true, context.fontSize, context.viewportWidth,
                             context.viewportHeight);
    }
    return SUCCESS;
}

void ScaleStrokeWidth(const SvgMatrix& matrix, K_SvgStyleProp& style)
{
    if (IsIdentitySvgMatrix(matrix))
        return;
    SvgLength& width = style.paint.stroke.width;
    if (!IsSet(width)) {
        width.value = 1.0;
        width.unit = SVG_UNIT_NONE;
        width.percent = 0;
    }
    width.value *= matrix.ScaleX();
}
