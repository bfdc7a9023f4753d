// The document operations that go through element records: a new version
// that every element writes itself again for, resizing a flat drawing and
// the file options of the root.
#include <exception>
#include <memory>

#include "base/numeric.h"
#include "document/element_table.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"
#include "values/file_option_attributes.h"

namespace {

using OwnedHandler = SvgHandlerPtr;

// A handler for an element of this document, owned by the caller.
int32_t WrapElement(SvgDocumentHandler& document, pugi::xml_node node, OwnedHandler& handler)
{
    SvgBaseHandler* made = nullptr;
    if (int32_t status = WrapXmlNode(&made, node); status != SUCCESS)
        return status;
    handler.reset(made);
    AttachOwner(&document, made);
    return SUCCESS;
}

bool HasRecord(pugi::xml_node node)
{
    if (node.type() != pugi::node_element)
        return false;
    uint32_t type = LookupElementType(node.name());
    return type >= kSvgFirstElementType && type <= kSvgLastElementType;
}

// The deepest first descendant: where a post-order walk of a subtree starts.
pugi::xml_node DeepestFirst(pugi::xml_node node)
{
    while (pugi::xml_node child = node.first_child())
        node = child;
    return node;
}

}  // namespace

int32_t SvgDocumentHandler::SetDocumentVersion(uint32_t version)
{
    version_ = version;
    // What an element writes depends on the version (1.0 has no dx, dy or
    // rotate on text, 1.1 no extended links), so every element writes itself
    // again, children before parents. The walk follows the tree's own links
    // instead of a stack or recursion: documents may nest 50,000 levels deep,
    // and a rewrite changes attributes only, never the shape of the tree.
    // Values the new version refuses are dropped on the way (flag 1).
    pugi::xml_node node = tree_.first_child();
    if (!node)
        return SUCCESS;
    node = DeepestFirst(node);
    while (node && node != tree_) {
        if (HasRecord(node)) {
            OwnedHandler element;
            if (int32_t status = WrapElement(*this, node, element); status != SUCCESS)
                return status;
            if (int32_t status = element->rewrite(1); status != SUCCESS)
                return status;
        }
        if (pugi::xml_node next = node.next_sibling())
            node = DeepestFirst(next);
        else
            node = node.parent();
    }
    return SUCCESS;
}

int32_t SvgDocumentHandler::Resize(double factor)
{
    if (!ReadIsFlatAttribute(Root()))
        return ERROR_NOT_FLAT;
    pugi::xml_node root;
    try {
        root = tree_.select_node("/svg").node();
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (!root)
        return SUCCESS;
    OwnedHandler element;
    if (int32_t status = WrapElement(*this, root, element); status != SUCCESS)
        return status;
    SvgSvgElement record;
    if (int32_t status = element->initRecord(&record, kSvgSvgElementSize); status != SUCCESS)
        return status;
    if (int32_t status = element->getElement(&record, kSvgSvgElementSize, 0); status != SUCCESS)
        return status;

    // Without a view box the content would keep its size; one made from the
    // old geometry makes it scale with the new width and height.
    SvgViewBox& box = record.viewBox;
    if (IsUnsetDouble(box.height)) {
        box.height = record.height.value;
        box.width = record.width.value;
        box.x = IsUnsetDouble(record.x.value) ? 0.0 : record.x.value;
        box.y = IsUnsetDouble(record.y.value) ? 0.0 : record.y.value;
    }
    if (!IsUnsetDouble(record.height.value))
        record.height.value *= factor;
    if (!IsUnsetDouble(record.width.value))
        record.width.value *= factor;

    // The bounds are taken before the write: writing drops them from the
    // tree, as any change does, and they come back with the new size.
    SvgBounds bounds{};
    bounds.size = kSvgBoundsSize;
    ReadFileOptionAttributes(root, &bounds);
    int32_t status = element->setElement(&record);
    if (status == SUCCESS && bounds.hasBounds) {
        bounds.width = record.width.value;
        bounds.height = record.height.value;
        WriteFileOptionAttributes(root, &bounds);
        bounds_ = bounds;
    }
    element->freeRecord(&record);
    // The write cleared the flat mark, but the drawing is as flat as before.
    SetFlat(1);
    return status;
}

int32_t SvgDocumentHandler::GetFileOptions(SvgFileOptions& options)
{
    options.size = kSvgFileOptionsSize;
    options.width = options.height = options.dpiX = options.dpiY = -1.0;
    options.flags = 0;
    options.maximumElements = 0;
    pugi::xml_node root = tree_.child("svg");
    if (!root)
        return SUCCESS;
    OwnedHandler element;
    if (int32_t status = WrapElement(*this, root, element); status != SUCCESS)
        return status;
    return GetSvgNodeFileOptions(*element, options);
}
