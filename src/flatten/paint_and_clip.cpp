#include "flatten/paint_and_clip.h"

int32_t FlattenClipPaths(CSvgFlattener&, CSvgContext&)
{
    return SUCCESS;
}

int32_t ResolvePaintAndClip(CSvgFlattener&, CSvgContext&, void*, uint32_t, const CSvgBoundingBox&, const SvgMatrix*)
{
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
