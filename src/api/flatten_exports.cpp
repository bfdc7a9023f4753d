#include "document/svg_document_handler.h"
#include "flatten/flat_document.h"
#include "kvsvg/kvsvg.h"
#include "base/utf.h"

#include <new>

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

int32_t K_SvgSetBaseFolder(SvgHandle document, const KvChar* folder)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgBaseHandler* handler = AsHandler(document);
    if (!handler->IsDocument())
        return ERROR_INV_PARAMETER;
    try {
        static_cast<SvgDocumentHandler*>(handler)->SetBaseFolder(folder ? ToUtf8(folder) : std::string());
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return SUCCESS;
}
