#include "flatten/paint_and_clip.h"

#include <string_view>

#include "flatten/paint_servers.h"
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
int32_t ResolvePaintServer(CSvgFlattener& flattener, CSvgContext& context, SvgPaint& paint,
                           const CSvgBoundingBox& box)
{
    SvgElementView server = flattener.FindElementById(context, paint.color.text);
    if (!server)
        return SUCCESS;
    if (server.type() == SVG_ELEMENT_LINEARGRADIENT || server.type() == SVG_ELEMENT_RADIALGRADIENT)
        return FlattenGradient(flattener, context, server, paint, box);
    return SUCCESS;
}

}  // namespace

int32_t FlattenClipPaths(CSvgFlattener&, CSvgContext&)
{
    return SUCCESS;
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
        if (int32_t status = ResolvePaintServer(flattener, context, fill.paint, box); status != SUCCESS)
            return status;
    }
    SvgStroke& stroke = style->paint.stroke;
    if (stroke.paint.kind == svgkind::kPaintReference) {
        if (int32_t status = ResolvePaintServer(flattener, context, stroke.paint, box); status != SUCCESS)
            return status;
    }
    return SUCCESS;
}

int32_t ReadElementMask(CSvgFlattener&, CSvgContext&)
{
    return SUCCESS;
}

int32_t ResolveGroupClip(CSvgFlattener&, CSvgContext&, const K_SvgStyleProp&)
{
    return SUCCESS;
}

int32_t AddClipGeometry(CSvgFlattener&, CSvgContext&, void*, uint32_t, const CSvgBoundingBox&)
{
    return SUCCESS;
}

int32_t ClipShapeAgainstClip(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                             const CSvgBoundingBox& box)
{
    return flattener.InsertFlatElement(context, record, type, box);
}

int32_t ApplyMaskToRect(CSvgFlattener&, CSvgContext&, SvgRectElement&, bool* maskUsed)
{
    *maskUsed = false;
    return SUCCESS;
}
