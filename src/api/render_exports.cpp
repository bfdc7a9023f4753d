#include "document/svg_document_handler.h"
#include "document/svg_element_view.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"
#include "render/render_document.h"

namespace {

// The document behind a handle that must be one; null otherwise.
SvgDocumentHandler* DocumentOnly(SvgHandle handle)
{
    SvgBaseHandler* handler = AsHandler(handle);
    return handler && handler->IsDocument() ? static_cast<SvgDocumentHandler*>(handler) : nullptr;
}

}  // namespace

int32_t K_SvgDrawDocument(void* engine, SvgHandle document, const SvgRenderOptions* options)
{
    if (!engine || !document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* source = DocumentOnly(document);
    if (!source)
        return ERROR_INV_PARAMETER;
    return DrawDocument(*static_cast<kvdrw::Engine*>(engine), *source, options);
}

int32_t K_SvgRasterizeDocument(KvBitmap* bitmap, SvgHandle document, const SvgRenderOptions* options)
{
    if (!bitmap || !document)
        return ERROR_INV_PARAMETER;
    if (bitmap->size != kKvBitmapSize)
        return ERROR_RECORD_SIZE;
    SvgDocumentHandler* source = DocumentOnly(document);
    if (!source)
        return ERROR_INV_PARAMETER;
    return RasterizeDocument(*bitmap, *source, options);
}

int32_t K_SvgCalculateBounds(SvgHandle document, int32_t trimmed)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* source = DocumentOnly(document);
    if (!source)
        return ERROR_INV_PARAMETER;
    return CalculateBounds(*source, trimmed);
}

int32_t K_SvgGetElementBounds(SvgHandle node, KvRectangle* bounds)
{
    if (!node || !bounds)
        return ERROR_INV_PARAMETER;
    *bounds = KvRectangle{};
    SvgBaseHandler* element = AsHandler(node);
    if (element->IsDocument())
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* owner = element->ResolveDocument();
    if (!owner || !element->node())
        return ERROR_NODE_UNBOUND;
    return GetElementBounds(SvgElementView(*owner, element->node()), *bounds);
}

int32_t K_SvgRecalculateBounds(SvgHandle document, const KvRectangle* rectangle, const double* resolution)
{
    if (!document || !rectangle)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* source = DocumentOnly(document);
    if (!source)
        return ERROR_INV_PARAMETER;
    return RecalculateBounds(*source, *rectangle, resolution);
}

int32_t K_SvgBeginRenderOptimizeDocument(SvgHandle document)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* source = DocumentOnly(document);
    if (!source)
        return ERROR_INV_PARAMETER;
    return BeginRenderOptimize(*source);
}

int32_t K_SvgEndRenderOptimizeDocument(SvgHandle document)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* source = DocumentOnly(document);
    if (!source)
        return ERROR_INV_PARAMETER;
    return EndRenderOptimize(*source);
}

int32_t K_SvgIsRenderOptimizedDocument(SvgHandle document)
{
    SvgDocumentHandler* source = document ? DocumentOnly(document) : nullptr;
    return source && IsRenderOptimized(*source) ? 1 : 0;
}
