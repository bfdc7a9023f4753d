// Exports of the document family. Each checks in the fixed order (null
// pointers, record size, kind of handle, cleared outs), then makes one call.
#include <new>
#include <string>

#include "base/utf.h"
#include "document/svg_document_handler.h"
#include "kvsvg/kvsvg.h"

namespace {

// Frees a document made by an export unless the export hands it out.
class NewDocument {
public:
    int32_t Create()
    {
        SvgBaseHandler* made = nullptr;
        int32_t status = CreateSvgHandler(SVG_ELEMENT_DOCUMENT, &made);
        document_.reset(made);
        return status;
    }
    SvgDocumentHandler* operator->() const { return static_cast<SvgDocumentHandler*>(document_.get()); }
    SvgHandle release() { return ToHandle(document_.release()); }

private:
    SvgHandlerPtr document_;
};

// Converts a boundary path; false when memory runs out.
bool PathToUtf8(const KvChar* path, std::string& utf8)
{
    try {
        utf8 = ToUtf8(path);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

}  // namespace

int32_t K_SvgFreeNode(SvgHandle handle)
{
    DestroySvgHandler(AsHandler(handle));
    return SUCCESS;
}

int32_t K_SvgGetElementType(SvgHandle handle, uint32_t* type)
{
    if (!handle || !type)
        return ERROR_INV_PARAMETER;
    *type = AsHandler(handle)->type();
    return SUCCESS;
}

int32_t K_SvgCreateDocument(SvgHandle* document, uint32_t version)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    *document = nullptr;
    NewDocument made;
    if (int32_t status = made.Create(); status != SUCCESS)
        return status;
    if (int32_t status = made->CreateEmpty(version); status != SUCCESS)
        return status;
    *document = made.release();
    return SUCCESS;
}

int32_t K_SvgCopyDocument(SvgHandle source, SvgHandle* document)
{
    if (!source || !document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* original = AsDocument(source);
    if (!original)
        return ERROR_INV_PARAMETER;
    // Unlike the other creators, a failed copy leaves *document as it was.
    NewDocument made;
    if (int32_t status = made.Create(); status != SUCCESS)
        return status;
    if (int32_t status = made->CreateEmpty(0); status != SUCCESS)
        return status;
    if (int32_t status = made->CopyFrom(*original); status != SUCCESS)
        return status;
    made->SetExactNumbers(original->exactNumbers());
    *document = made.release();
    return SUCCESS;
}

int32_t K_SvgLoadDocument(const KvChar* path, SvgHandle* document, const SvgLoadOptions* options)
{
    if (!path || !document)
        return ERROR_INV_PARAMETER;
    *document = nullptr;
    std::string pathUtf8;
    if (!PathToUtf8(path, pathUtf8))
        return ERROR_NO_MEMORY;
    NewDocument made;
    if (int32_t status = made.Create(); status != SUCCESS)
        return status;
    if (int32_t status = made->LoadFromFile(pathUtf8.c_str(), options); status != SUCCESS)
        return status;
    *document = made.release();
    return SUCCESS;
}

int32_t K_SvgLoadDocumentMemory(const void* block, size_t size, SvgHandle* document, const SvgLoadOptions* options)
{
    if (!block || !document)
        return ERROR_INV_PARAMETER;
    *document = nullptr;
    NewDocument made;
    if (int32_t status = made.Create(); status != SUCCESS)
        return status;
    if (int32_t status = made->LoadFromMemory(block, size, options); status != SUCCESS)
        return status;
    *document = made.release();
    return SUCCESS;
}

int32_t K_SvgSaveDocument(const KvChar* path, SvgHandle document, const SvgSaveOptions* options)
{
    if (!path || !document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    std::string pathUtf8;
    if (!PathToUtf8(path, pathUtf8))
        return ERROR_NO_MEMORY;
    return target->SaveToFile(pathUtf8.c_str(), options);
}

int32_t K_SvgSaveDocumentMemory(SvgHandle document, void** block, size_t* size, const SvgSaveOptions* options)
{
    if (!document || !block || !size)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* source = AsDocument(document);
    if (!source)
        return ERROR_INV_PARAMETER;
    return source->SaveToMemory(block, size, options);
}

int32_t K_SvgIsFlatDocument(SvgHandle document, int32_t* flat)
{
    if (!document || !flat)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    return target->ReadFlat(flat);
}

int32_t K_SvgSetFlatDocument(SvgHandle document, int32_t flat)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    return target->SetFlat(flat);
}

int32_t K_SvgGetDocumentVersion(SvgHandle document, uint32_t* version)
{
    if (!document || !version)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    *version = target->getVersion();
    return SUCCESS;
}

int32_t K_SvgAddElementIDs(SvgHandle document)
{
    if (!document)
        return ERROR_INV_PARAMETER;
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    return target->AddElementIDs();
}

int32_t K_SvgSetMaximumElements(SvgHandle document, uint32_t limit)
{
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    target->SetMaximumElements(limit);
    return SUCCESS;
}

uint32_t K_SvgGetMaximumElements(SvgHandle document)
{
    SvgDocumentHandler* target = AsDocument(document);
    return target ? target->maximumElements() : 0;
}

int32_t K_SvgGetBounds(SvgHandle document, SvgBounds* bounds, uint32_t size)
{
    if (!document || !bounds)
        return ERROR_INV_PARAMETER;
    if (size != kSvgBoundsSize)
        return ERROR_RECORD_SIZE;
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    return target->GetBounds(*bounds);
}

int32_t K_SvgSetBounds(SvgHandle document, const SvgBounds* bounds)
{
    if (!document || !bounds)
        return ERROR_INV_PARAMETER;
    if (bounds->size != kSvgBoundsSize)
        return ERROR_RECORD_SIZE;
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    return target->SetBounds(*bounds);
}

int32_t K_SvgBeginUpdateDocument(SvgHandle document)
{
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    target->BeginUpdate();
    return SUCCESS;
}

int32_t K_SvgEndUpdateDocument(SvgHandle document)
{
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    return target->EndUpdate();
}

int32_t K_SvgSetFilterElementsCallback(SvgHandle document, SvgFilterElementsCallback callback, void* userData)
{
    SvgDocumentHandler* target = AsDocument(document);
    if (!target)
        return ERROR_INV_PARAMETER;
    target->SetFilterCallback(callback, userData);
    return SUCCESS;
}
