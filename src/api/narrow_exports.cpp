// The narrow-character twins. Each converts its UTF-8 arguments, calls the
// wide export of the same name, converts what comes back and frees what it
// made on every path; the wide export's status comes out unchanged. Null
// checks that come first in the wide export come first here too, so that a
// bad argument gives the same status on either side.
#include <cstddef>
#include <cstring>

#include "base/narrow_text.h"
#include "document/narrow_records.h"
#include "kvsvg/kvsvg.h"

// ---- Path or text in ----------------------------------------------------------

int32_t K_SvgLoadDocumentA(const char* path, SvgHandle* document, const SvgLoadOptions* options)
{
    WideText widePath(path);
    if (widePath.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgLoadDocument(widePath.get(), document, options);
}

int32_t K_SvgInsertUserElementA(SvgHandle parent, const char* name, uint32_t position, SvgHandle* node)
{
    WideText wideName(name);
    if (wideName.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgInsertUserElement(parent, wideName.get(), position, node);
}

int32_t K_SvgSelectSingleNodeA(SvgHandle handle, const char* xpath, SvgHandle* node)
{
    WideText wideXpath(xpath);
    if (wideXpath.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgSelectSingleNode(handle, wideXpath.get(), node);
}

int32_t K_SvgSelectNodesA(SvgHandle handle, const char* xpath, SvgNodesIterator* iterator)
{
    WideText wideXpath(xpath);
    if (wideXpath.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgSelectNodes(handle, wideXpath.get(), iterator);
}

int32_t K_SvgSetElementValueA(SvgHandle node, const char* value)
{
    WideText wideValue(value);
    if (wideValue.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgSetElementValue(node, wideValue.get());
}

int32_t K_SvgSetElementAttributeValueA(SvgHandle node, const char* name, const char* value)
{
    WideText wideName(name);
    WideText wideValue(value);
    if (wideName.Failed() || wideValue.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgSetElementAttributeValue(node, wideName.get(), wideValue.get());
}

int32_t K_SvgRemoveElementAttributeA(SvgHandle node, const char* name)
{
    WideText wideName(name);
    if (wideName.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgRemoveElementAttribute(node, wideName.get());
}

int32_t K_SvgDecodeDataUriToFileA(const SvgDataUriA* dataUri, const char* path)
{
    if (!dataUri || !path)
        return ERROR_INV_PARAMETER;
    WideDataUri wideUri;
    if (int32_t status = wideUri.Convert(*dataUri); status != SUCCESS)
        return status;
    WideText widePath(path);
    if (widePath.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgDecodeDataUriToFile(wideUri.get(), widePath.get());
}

// ---- Text out ---------------------------------------------------------------------

// The narrow name entry gives the element's value, as it always has.
int32_t K_SvgGetElementNameA(SvgHandle node, char** name)
{
    KvChar* wide = nullptr;
    int32_t status = K_SvgGetElementValue(node, name ? &wide : nullptr);
    return NarrowTextOut(status, wide, name);
}

int32_t K_SvgGetElementValueA(SvgHandle node, char** value)
{
    KvChar* wide = nullptr;
    int32_t status = K_SvgGetElementValue(node, value ? &wide : nullptr);
    return NarrowTextOut(status, wide, value);
}

int32_t K_SvgGetElementAttributeValueA(SvgHandle node, const char* name, char** value)
{
    WideText wideName(name);
    if (wideName.Failed())
        return ERROR_NO_MEMORY;
    KvChar* wide = nullptr;
    int32_t status = K_SvgGetElementAttributeValue(node, wideName.get(), value ? &wide : nullptr);
    return NarrowTextOut(status, wide, value);
}

int32_t K_SvgEncodeDataUriFromMemoryA(const void* block, size_t size, char** text, size_t* length)
{
    KvChar* wide = nullptr;
    int32_t status = K_SvgEncodeDataUriFromMemory(block, size, text ? &wide : nullptr, length);
    return NarrowTextOut(status, wide, text, length);
}

int32_t K_SvgEncodeDataUriFromFileA(const char* path, char** text, size_t* length)
{
    WideText widePath(path);
    if (widePath.Failed())
        return ERROR_NO_MEMORY;
    KvChar* wide = nullptr;
    int32_t status = K_SvgEncodeDataUriFromFile(widePath.get(), text ? &wide : nullptr, length);
    return NarrowTextOut(status, wide, text, length);
}

// ---- Record conversion ---------------------------------------------------------------

int32_t K_SvgGetElementA(SvgHandle node, void* record, uint32_t size)
{
    uint32_t type = 0;
    if (!node || !record || K_SvgGetElementType(node, &type) != SUCCESS || !HasElementRecord(type))
        return K_SvgGetElement(node, record, size);  // the wide export's own refusal
    if (int32_t status = K_SvgInitElement(record, type, size); status != SUCCESS)
        return status;
    NarrowElementRead read;
    if (int32_t status = read.Prepare(type, size); status != SUCCESS)
        return status;
    if (int32_t status = K_SvgGetElement(node, read.wide(), size); status != SUCCESS)
        return status;
    return read.Deliver(record);
}

int32_t K_SvgSetElementA(SvgHandle node, const void* record)
{
    uint32_t type = 0;
    if (!node || !record || K_SvgGetElementType(node, &type) != SUCCESS)
        return K_SvgSetElement(node, record);
    WideElementRecord wideRecord;
    if (int32_t status = wideRecord.Convert(type, record); status != SUCCESS)
        return status;
    return K_SvgSetElement(node, wideRecord.get());
}

int32_t K_SvgInsertElementA(SvgHandle parent, const void* record, uint32_t type, uint32_t position, SvgHandle* node)
{
    if (!parent || !record)
        return K_SvgInsertElement(parent, record, type, position, node);
    if (node)
        *node = nullptr;
    WideElementRecord wideRecord;
    if (int32_t status = wideRecord.Convert(type, record); status != SUCCESS)
        return status;
    return K_SvgInsertElement(parent, wideRecord.get(), type, position, node);
}

int32_t K_SvgSaveDocumentA(const char* path, SvgHandle document, const SvgSaveOptionsA* options)
{
    if (!path || !document)
        return ERROR_INV_PARAMETER;
    SvgSaveOptions wideOptions;
    if (options) {
        if (int32_t status = WidenSaveOptions(*options, wideOptions); status != SUCCESS)
            return status;
    }
    WideText widePath(path);
    if (widePath.Failed())
        return ERROR_NO_MEMORY;
    return K_SvgSaveDocument(widePath.get(), document, options ? &wideOptions : nullptr);
}

int32_t K_SvgSaveDocumentMemoryA(SvgHandle document, void** block, size_t* size, const SvgSaveOptionsA* options)
{
    if (!document || !block || !size)
        return ERROR_INV_PARAMETER;
    *block = nullptr;
    *size = 0;
    SvgSaveOptions wideOptions;
    if (options) {
        if (int32_t status = WidenSaveOptions(*options, wideOptions); status != SUCCESS)
            return status;
    }
    return K_SvgSaveDocumentMemory(document, block, size, options ? &wideOptions : nullptr);
}

int32_t K_SvgParseDataUriA(const char* text, SvgDataUriA* dataUri, uint32_t size)
{
    if (!dataUri)
        return ERROR_INV_PARAMETER;
    if (size != kSvgDataUriASize)
        return ERROR_RECORD_SIZE;
    WideText wideText(text);
    if (wideText.Failed())
        return ERROR_NO_MEMORY;
    SvgDataUri wide{};
    int32_t status = K_SvgParseDataUri(wideText.get(), &wide, kSvgDataUriSize);
    // A broken data URI keeps the parts read so far, on either side.
    NarrowDataUri(wide, text, *dataUri);
    return status;
}

int32_t K_SvgDecodeDataUriToMemoryA(const SvgDataUriA* dataUri, void** block, size_t* size)
{
    if (!dataUri || !block || !size)
        return ERROR_INV_PARAMETER;
    *block = nullptr;
    *size = 0;
    WideDataUri wideUri;
    if (int32_t status = wideUri.Convert(*dataUri); status != SUCCESS)
        return status;
    return K_SvgDecodeDataUriToMemory(wideUri.get(), block, size);
}
