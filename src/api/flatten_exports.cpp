#include "document/svg_document_handler.h"
#include "flatten/flat_document.h"
#include "kvsvg/kvsvg.h"

int32_t K_SvgFlatDocument(SvgHandle document, SvgHandle* flat, const K_SvgFlatOptions* options)
{
    if (!document || !flat)
        return ERROR_INV_PARAMETER;
    SvgBaseHandler* source = AsHandler(document);
    if (!source->IsDocument())
        return ERROR_INV_PARAMETER;
    *flat = nullptr;
    return FlattenDocument(*static_cast<SvgDocumentHandler*>(source), options, flat);
}
