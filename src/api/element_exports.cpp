// Exports of element records and of the document operations built on them.
// Each checks in the fixed order (null pointers, record size, kind of
// handle, cleared outs), then makes one call; the handlers do the work.
#include "document/element_table.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"
#include "kvsvg/kvsvg.h"

namespace {

// An element that has a record: neither unknown nor a document.
bool HasRecord(const SvgBaseHandler* handler)
{
    return handler->type() != kSvgTypeUnknown && handler->type() != kSvgTypeDocument;
}

}  // namespace

int32_t K_SvgInitElement(void* record, uint32_t type, uint32_t size)
{
    if (!record)
        return ERROR_INV_PARAMETER;
    return InitRecordOfType(record, type, size);
}

int32_t K_SvgFreeElement(void* record, uint32_t type)
{
    if (!record)
        return ERROR_INV_PARAMETER;
    return FreeRecordOfType(record, type);
}

int32_t K_SvgGetElement(SvgHandle node, void* record, uint32_t size)
{
    if (!node || !record)
        return ERROR_INV_PARAMETER;
    SvgBaseHandler* element = AsHandler(node);
    if (!HasRecord(element))
        return ERROR_INV_PARAMETER;
    return element->getElement(record, size, 0);
}

int32_t K_SvgSetElement(SvgHandle node, const void* record)
{
    if (!node || !record)
        return ERROR_INV_PARAMETER;
    SvgBaseHandler* element = AsHandler(node);
    if (!HasRecord(element))
        return ERROR_INV_PARAMETER;
    return element->setElement(record);
}

int32_t K_SvgInsertElement(SvgHandle parent, const void* record, uint32_t type, uint32_t position, SvgHandle* node)
{
    if (!parent || !record)
        return ERROR_INV_PARAMETER;
    if (node)
        *node = nullptr;
    SvgBaseHandler* inserted = nullptr;
    int32_t status = InsertElementWithRecord(AsHandler(parent), record, type, position, node ? &inserted : nullptr);
    if (node)
        *node = ToHandle(inserted);
    return status;
}

int32_t K_SvgSetDocumentVersion(SvgHandle document, uint32_t version)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgBaseHandler* handler = AsHandler(document);
    if (!handler->IsDocument())
        return ERROR_INV_PARAMETER;
    return static_cast<SvgDocumentHandler*>(handler)->SetDocumentVersion(version);
}

int32_t K_SvgResizeDocument(SvgHandle document, double factor)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgBaseHandler* handler = AsHandler(document);
    if (!handler->IsDocument())
        return ERROR_INV_PARAMETER;
    return static_cast<SvgDocumentHandler*>(handler)->Resize(factor);
}

int32_t K_SvgGetFileOptions(SvgHandle document, SvgFileOptions* options, uint32_t size)
{
    if (!document || !options)
        return ERROR_INV_PARAMETER;
    if (size != kSvgFileOptionsSize)
        return ERROR_RECORD_SIZE;
    SvgBaseHandler* handler = AsHandler(document);
    if (!handler->IsDocument())
        return ERROR_INV_PARAMETER;
    return static_cast<SvgDocumentHandler*>(handler)->GetFileOptions(*options);
}

int32_t K_SvgGetSvgNodeFileOptions(SvgHandle node, SvgFileOptions* options, uint32_t size)
{
    if (!node || !options)
        return ERROR_INV_PARAMETER;
    if (size != kSvgFileOptionsSize)
        return ERROR_RECORD_SIZE;
    SvgBaseHandler* element = AsHandler(node);
    if (!HasRecord(element))
        return ERROR_INV_PARAMETER;
    return GetSvgNodeFileOptions(*element, *options);
}
