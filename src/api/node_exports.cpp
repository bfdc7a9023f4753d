// Exports that navigate, select, walk and edit nodes. Each checks in the
// fixed order and makes one call; the handlers do the work.
#include <new>
#include <string>

#include "base/utf.h"
#include "document/element_table.h"
#include "document/svg_document_handler.h"
#include "document/svg_navigation.h"
#include "kvsvg/kvsvg.h"

int32_t K_SvgGetParentNode(SvgHandle handle, SvgHandle* parent)
{
    return GetRelativeNode(AsHandler(handle), SvgRelative::Parent, parent);
}

int32_t K_SvgGetFirstChildNode(SvgHandle handle, SvgHandle* child)
{
    return GetRelativeNode(AsHandler(handle), SvgRelative::FirstChild, child);
}

int32_t K_SvgGetLastChildNode(SvgHandle handle, SvgHandle* child)
{
    return GetRelativeNode(AsHandler(handle), SvgRelative::LastChild, child);
}

int32_t K_SvgGetNextSiblingNode(SvgHandle handle, SvgHandle* sibling)
{
    return GetRelativeNode(AsHandler(handle), SvgRelative::NextSibling, sibling);
}

int32_t K_SvgGetPreviousSiblingNode(SvgHandle handle, SvgHandle* sibling)
{
    return GetRelativeNode(AsHandler(handle), SvgRelative::PreviousSibling, sibling);
}

int32_t K_SvgSelectSingleNode(SvgHandle handle, const KvChar* xpath, SvgHandle* node)
{
    return SelectSingleNode(AsHandler(handle), xpath, node);
}

int32_t K_SvgSelectNodes(SvgHandle handle, const KvChar* xpath, SvgNodesIterator* iterator)
{
    return SelectNodes(AsHandler(handle), xpath, iterator);
}

int32_t K_SvgFreeIterator(SvgNodesIterator* iterator)
{
    return FreeIterator(iterator);
}

int32_t K_SvgEnumerateElements(SvgHandle handle, uint32_t mode, SvgElementCallback callback, void* userData)
{
    return EnumerateElements(AsHandler(handle), mode, callback, userData);
}

int32_t K_SvgGetElementName(SvgHandle node, KvChar** name)
{
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->GetName(name);
}

int32_t K_SvgGetElementValue(SvgHandle node, KvChar** value)
{
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->GetValue(value);
}

int32_t K_SvgSetElementValue(SvgHandle node, const KvChar* value)
{
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->SetValue(value);
}

int32_t K_SvgGetElementAttributeValue(SvgHandle node, const KvChar* name, KvChar** value)
{
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->GetAttribute(name, value);
}

int32_t K_SvgSetElementAttributeValue(SvgHandle node, const KvChar* name, const KvChar* value)
{
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->SetAttribute(name, value);
}

int32_t K_SvgGetElementAttributeNameAt(SvgHandle node, uint32_t index, KvChar** name)
{
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->GetAttributeNameAt(index, name);
}

int32_t K_SvgRemoveElementAttribute(SvgHandle node, const KvChar* name)
{
    // Historically unchecked; a null handle now gets the usual answer.
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->RemoveAttribute(name);
}

int32_t K_SvgInsertUserElement(SvgHandle parent, const KvChar* name, uint32_t position, SvgHandle* node)
{
    if (!parent || !name)
        return ERROR_INV_PARAMETER;
    if (node)
        *node = nullptr;
    uint32_t type;
    try {
        type = LookupElementType(ToUtf8(name));
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    SvgBaseHandler* made = nullptr;
    if (int32_t status = CreateSvgHandler(type, &made); status != SUCCESS)
        return status;
    SvgHandlerPtr element(made);
    SvgBaseHandler* at = AsHandler(parent);
    if (int32_t status = at->insertNamed(name, position, element.get()); status != SUCCESS)
        return status;
    AttachOwner(at, element.get());
    if (node)
        *node = ToHandle(element.release());
    return SUCCESS;
}

int32_t K_SvgRemoveElement(SvgHandle node)
{
    if (!node)
        return ERROR_INV_PARAMETER;
    return AsHandler(node)->remove();
}
