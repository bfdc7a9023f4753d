// Containers that do not survive flattening: what remains of a g, a defs or
// a nested svg is the context its children see. The root svg becomes the
// flat document's root with its viewport settled in pixels; an a stays as
// a container of its flattened content.
#include <cmath>

#include "base/numeric.h"
#include "flatten/paint_and_clip.h"
#include "flatten/svg_flattener.h"
#include "values/value_kinds.h"
#include "values/value_records.h"

namespace {

constexpr KvChar kXlinkNamespace[] = u"http://www.w3.org/1999/xlink";
constexpr double kDegreesPerRadian = 57.29577951308232;

int32_t DispatchVisitor(CSvgFlattener& flattener, CSvgContext& context)
{
    return flattener.FlattenElement(context);
}

// defs content reaches the output only when a reference pulls it; the walk
// below it registers ids and nothing else.
int32_t IgnoreVisitor(CSvgFlattener&, CSvgContext& context)
{
    return context.sourceNode ? SUCCESS : ERROR_INV_PARAMETER;
}

bool IsSet(double value) { return !IsUnsetDouble(value); }

SvgLength PlainLength(double value)
{
    return SvgLength{kSvgLengthSize, value, SVG_UNIT_NONE, 0};
}

// A root width or height that is unset or a percentage, settled in pixels:
// against the caller's target size when there is one, else the viewBox's,
// else 1000.
void SettleRootSize(SvgLength& length, double target, double boxSize)
{
    if (IsSet(length.value) && length.percent != 1)
        return;
    double pixels;
    if (target > 0)
        pixels = IsSet(length.value) ? length.value * target / 100.0 : target;
    else
        pixels = (IsSet(boxSize) && boxSize >= 0) ? boxSize : 1000.0;
    length = PlainLength(pixels);
}

int32_t ResolveSvgViewport(CSvgFlattener& flattener, CSvgContext& context, SvgSvgElement& svg,
                           const SvgLength* widthOverride, const SvgLength* heightOverride, bool isRoot)
{
    context.viewportWidth = 0;
    context.viewportHeight = 0;
    if (widthOverride && IsSet(widthOverride->value))
        svg.width = *widthOverride;
    if (heightOverride && IsSet(heightOverride->value))
        svg.height = *heightOverride;
    if (isRoot) {
        if (!IsSet(svg.x.value) || svg.x.percent == 1)
            svg.x = PlainLength(0);
        if (!IsSet(svg.y.value) || svg.y.percent == 1)
            svg.y = PlainLength(0);
        SettleRootSize(svg.width, flattener.options().dWidth, svg.viewBox.width);
        SettleRootSize(svg.height, flattener.options().dHeight, svg.viewBox.height);
    }
    const int32_t font = context.fontSize;
    ResolveSvgLength(svg.height, true, true, font, context.viewportWidth, context.viewportHeight);
    ResolveSvgLength(svg.width, false, true, font, context.viewportWidth, context.viewportHeight);
    ResolveSvgLength(svg.x, false, true, font, context.viewportWidth, context.viewportHeight);
    ResolveSvgLength(svg.y, true, true, font, context.viewportWidth, context.viewportHeight);

    SvgViewBox& box = svg.viewBox;
    if (IsSet(box.x)) {
        if (!IsSet(box.y) || !IsSet(box.width) || !IsSet(box.height) || box.width < 0 || box.height < 0)
            return ERROR_FILE_FORMAT;
    }
    const SvgMatrix& m = context.matrix;
    const double angleDegrees = std::atan2(m.b, m.d) * kDegreesPerRadian;
    if (std::fabs(angleDegrees) > kSvgMatrixTolerance) {
        // A turned viewport is replaced by the upright box around it.
        SvgExtent turned;
        const double x = svg.x.value, y = svg.y.value, w = svg.width.value, h = svg.height.value;
        turned.Add(m.Apply(x, y));
        turned.Add(m.Apply(x + w, y));
        turned.Add(m.Apply(x, y + h));
        turned.Add(m.Apply(x + w, y + h));
        svg.x = PlainLength(turned.xMin);
        svg.y = PlainLength(turned.yMin);
        svg.width = PlainLength(turned.xMax - turned.xMin);
        svg.height = PlainLength(turned.yMax - turned.yMin);
        if (IsSet(box.x))
            box = {kSvgViewBoxSize, turned.xMin, turned.yMin, turned.xMax - turned.xMin, turned.yMax - turned.yMin};
    }
    context.viewportWidth = TruncateToInt32(box.width);
    context.viewportHeight = TruncateToInt32(box.height);
    return SUCCESS;
}

}  // namespace

// The matrix that maps a viewBox onto a viewport, as preserveAspectRatio
// asks.
SvgMatrix ViewBoxMatrix(const SvgPreserveAspectRatio& ratio, const SvgSvgElement& svg)
{
    auto sizeOr1000 = [](double v) { return (IsSet(v) && v > 0) ? v : 1000.0; };
    const double x = IsSet(svg.x.value) ? svg.x.value : 0;
    const double y = IsSet(svg.y.value) ? svg.y.value : 0;
    const double width = sizeOr1000(svg.width.value);
    const double height = sizeOr1000(svg.height.value);
    const SvgViewBox& box = svg.viewBox;
    // An unset box x takes the viewport's x while an unset y takes 0; that
    // asymmetry is kept for the documents that rely on it.
    const double boxX = IsSet(box.x) ? box.x : x;
    const double boxY = IsSet(box.y) ? box.y : 0;
    const double boxWidth = (IsSet(box.width) && box.width > 0) ? box.width : width;
    const double boxHeight = (IsSet(box.height) && box.height > 0) ? box.height : height;

    double scaledWidth = width, scaledHeight = height;
    if (ratio.align != svgkind::kAlignNone) {
        const double sx = width / boxWidth, sy = height / boxHeight;
        const double s = ratio.meetOrSlice == svgkind::kSlice ? std::max(sx, sy) : std::min(sx, sy);
        scaledWidth = s * boxWidth;
        scaledHeight = s * boxHeight;
    }
    const double centreX = (width - scaledWidth) / 2, endX = width - scaledWidth;
    const double centreY = (height - scaledHeight) / 2, endY = height - scaledHeight;
    double dx = 0, dy = 0;
    switch (ratio.align) {
    case 1:  // none
    case 2:  // xMinYMin
        break;
    case 3:
        dx = centreX;
        break;
    case 4:
        dx = endX;
        break;
    case 5:
        dy = centreY;
        break;
    case 7:
        dx = endX;
        dy = centreY;
        break;
    case 8:
        dy = endY;
        break;
    case 9:
        dx = centreX;
        dy = endY;
        break;
    case 10:
        dx = endX;
        dy = endY;
        break;
    default:  // xMidYMid, and unset
        dx = centreX;
        dy = centreY;
        break;
    }
    const SvgMatrix place{1, 0, 0, 1, x + dx, y + dy};
    const SvgMatrix scale{scaledWidth / boxWidth, 0, 0, scaledHeight / boxHeight, 0, 0};
    const SvgMatrix origin{1, 0, 0, 1, -boxX, -boxY};
    return MultiplySvgMatrix(MultiplySvgMatrix(place, scale), origin);
}


namespace {

// The svg road for a record already read (from an svg, or made from a
// symbol): the root becomes the flat root, a nested one a matrix.
int32_t FlattenSvgRecord(CSvgFlattener& flattener, CSvgContext& context, SvgSvgElement& svg,
                         const SvgLength* widthOverride, const SvgLength* heightOverride)
{
    std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
    if (!own)
        return ERROR_NO_MEMORY;
    if (int32_t status = own->Derive(context, &svg.transform, &svg.style); status != SUCCESS)
        return status;
    const bool isRoot = !context.parentNode;
    ResolveContextLengths(*own, svg.style);
    if (isRoot && !svg.xlink.xmlnsXlink) {
        if (int32_t status = CopyTrackedText(&svg.xlink.xmlnsXlink, kXlinkNamespace); status != SUCCESS)
            return status;
    }
    if (context.mode != FlattenMode::InstanceContent) {
        if (int32_t status = ResolveSvgViewport(flattener, *own, svg, widthOverride, heightOverride, isRoot);
            status != SUCCESS)
            return status;
    }
    if (isRoot) {
        // The root's transform is in the context's matrix and so in every
        // shape already; the flat root keeps no transform of its own.
        FreeCoreAttributes(&svg.core);
        FreeTransformList(&svg.transform);
        SvgElementView inserted;
        if (int32_t status = flattener.InsertFlatElement(*own, &svg, SVG_ELEMENT_SVG, CSvgBoundingBox{}, &inserted);
            status != SUCCESS)
            return status;
        if (inserted)
            own->outputParent = inserted;
    } else {
        own->matrix = MultiplySvgMatrix(own->matrix, ViewBoxMatrix(svg.preserveAspectRatio, svg));
    }
    return flattener.FlattenChildren(std::move(own), DispatchVisitor);
}

}  // namespace

int32_t FlattenSvgWithOverrides(CSvgFlattener& flattener, CSvgContext& context, const SvgLength* widthOverride,
                                const SvgLength* heightOverride)
{
    ScopedRecord<SvgSvgElement> record(SVG_ELEMENT_SVG);
    if (int32_t status = context.sourceNode.Read(record); status != SUCCESS)
        return status;
    return FlattenSvgRecord(flattener, context, record.get(), widthOverride, heightOverride);
}

// A symbol reached through a use is a nested svg with the symbol's viewBox,
// preserveAspectRatio, style and core attributes, and no geometry or
// transform of its own: the use's width and height size it.
int32_t SymbolToSvg(CSvgFlattener& flattener, CSvgContext& context, const SvgLength* widthOverride,
                    const SvgLength* heightOverride)
{
    ScopedRecord<SvgSymbolElement> symbol(SVG_ELEMENT_SYMBOL);
    if (int32_t status = context.sourceNode.Read(symbol); status != SUCCESS)
        return status;
    ScopedRecord<SvgSvgElement> record(SVG_ELEMENT_SVG);
    SvgSvgElement& svg = record.get();
    // The symbol's owned fields move over whole; the symbol keeps nothing.
    svg.viewBox = symbol->viewBox;
    svg.preserveAspectRatio = symbol->preserveAspectRatio;
    std::swap(svg.style, symbol->style);
    std::swap(svg.core, symbol->core);
    return FlattenSvgRecord(flattener, context, svg, widthOverride, heightOverride);
}

int32_t FlattenSvg(CSvgFlattener& flattener, CSvgContext& context)
{
    return FlattenSvgWithOverrides(flattener, context, nullptr, nullptr);
}

int32_t FlattenGroup(CSvgFlattener& flattener, CSvgContext& context)
{
    ScopedRecord<SvgGElement> record(SVG_ELEMENT_G);
    if (int32_t status = context.sourceNode.Read(record); status != SUCCESS)
        return status;
    std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
    if (!own)
        return ERROR_NO_MEMORY;
    if (int32_t status = own->Derive(context, &record->transform, &record->style); status != SUCCESS)
        return status;
    if (int32_t status = ReadElementMask(flattener, *own); status != SUCCESS)
        return status;
    if (int32_t status = ResolveGroupClip(flattener, *own, record->style); status != SUCCESS)
        return status;
    return flattener.FlattenChildren(std::move(own), DispatchVisitor);
}

int32_t FlattenDefs(CSvgFlattener& flattener, CSvgContext& context)
{
    ScopedRecord<SvgDefsElement> record(SVG_ELEMENT_DEFS);
    if (int32_t status = context.sourceNode.Read(record); status != SUCCESS)
        return status;
    std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
    if (!own)
        return ERROR_NO_MEMORY;
    if (int32_t status = own->Derive(context, &record->transform, &record->style); status != SUCCESS)
        return status;
    return flattener.FlattenChildren(std::move(own), IgnoreVisitor);
}

int32_t FlattenAnchor(CSvgFlattener& flattener, CSvgContext& context)
{
    ScopedRecord<SvgAnchorElement> record(SVG_ELEMENT_A);
    if (int32_t status = context.sourceNode.Read(record); status != SUCCESS)
        return status;
    SvgAnchorElement& anchor = record.get();
    std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
    if (!own)
        return ERROR_NO_MEMORY;
    if (int32_t status = own->Derive(context, &anchor.transform, &anchor.style); status != SUCCESS)
        return status;
    own->style.MoveInto(anchor.style);
    FreeTransformList(&anchor.transform);
    ResolveContextLengths(*own, anchor.style);
    FreeTrackedField(reinterpret_cast<void**>(&anchor.core.id));
    // The cascaded style went into the record; the children cascade from it.
    if (int32_t status = own->style.CopyFrom(anchor.style); status != SUCCESS)
        return status;
    SvgElementView inserted;
    if (int32_t status = flattener.InsertFlatElement(*own, &anchor, SVG_ELEMENT_A, CSvgBoundingBox{}, &inserted);
        status != SUCCESS)
        return status;
    if (inserted)
        own->outputParent = inserted;
    return flattener.FlattenChildren(std::move(own), DispatchVisitor);
}

int32_t FlattenUse(CSvgFlattener& flattener, CSvgContext& context)
{
    ScopedRecord<SvgUseElement> record(SVG_ELEMENT_USE);
    if (int32_t status = context.sourceNode.Read(record); status != SUCCESS)
        return status;
    SvgUseElement& use = record.get();
    std::unique_ptr<CSvgContext> own = CSvgFlattener::NewContext();
    if (!own)
        return ERROR_NO_MEMORY;
    if (int32_t status = own->Derive(context, &use.transform, &use.style); status != SUCCESS)
        return status;
    ResolveContextLengths(*own, own->style);
    const int32_t font = own->fontSize;
    ResolveSvgLength(use.x, false, true, font, own->viewportWidth, own->viewportHeight);
    ResolveSvgLength(use.y, true, true, font, own->viewportWidth, own->viewportHeight);
    const double x = IsSet(use.x.value) ? use.x.value : 0.0;
    const double y = IsSet(use.y.value) ? use.y.value : 0.0;
    // x and y place the copy after the use's own transform.
    own->matrix = MultiplySvgMatrix(own->matrix, SvgMatrix{1, 0, 0, 1, x, y});
    own->parentNode = context.sourceNode;

    const SvgElementView target = flattener.FindElementById(context, use.href);
    if (!target)
        return SUCCESS;
    // A use met again inside its own expansion (itself, an ancestor, or a
    // ring of uses) yields nothing, as a use of a missing id does; so does
    // a use of an element that is being copied already. Checking the use
    // alone would let k uses of their own group inside it copy the group
    // once for every order of them, k! times.
    const pugi::xml_node self = context.sourceNode.node();
    if (flattener.IsUseActive(self) || flattener.IsUseActive(target.node()))
        return SUCCESS;
    if (!own->useChain) {
        // Uses inside this one are counted in its charge.
        if (int32_t status = flattener.ChargeExpansion(context, target); status != SUCCESS)
            return status;
    }
    try {
        own->useChain = std::make_shared<const CSvgUseLink>(self, own->useChain, &flattener.activeUses());
        // A use as the target enters the chain itself when it is copied.
        if (target.type() != SVG_ELEMENT_USE)
            own->useChain = std::make_shared<const CSvgUseLink>(target.node(), own->useChain, &flattener.activeUses());
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    own->sourceNode = target;
    switch (target.type()) {
    case SVG_ELEMENT_SVG: return FlattenSvgWithOverrides(flattener, *own, &use.width, &use.height);
    case SVG_ELEMENT_SYMBOL: {
        // A symbol without a size fills the use's viewport.
        SvgLength width = use.width, height = use.height;
        if (!IsSet(width.value))
            width = SvgLength{kSvgLengthSize, 100.0, SVG_UNIT_NONE, 1};
        if (!IsSet(height.value))
            height = SvgLength{kSvgLengthSize, 100.0, SVG_UNIT_NONE, 1};
        return SymbolToSvg(flattener, *own, &width, &height);
    }
    default: return flattener.FlattenOne(std::move(own), target, DispatchVisitor);
    }
}
