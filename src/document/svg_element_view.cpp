#include "document/svg_element_view.h"

#include <cstring>

#include "document/svg_base_handler.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"
#include "values/svg_attribute_reader.h"
#include "values/value_records.h"

namespace {

bool IsElement(pugi::xml_node node)
{
    return node.type() == pugi::node_element;
}

}  // namespace

// ---- Record owners -------------------------------------------------------------

ScopedAnyRecord::ScopedAnyRecord(uint32_t type) : type_(type)
{
    // Zero first, so that a type without a record leaves nothing to free;
    // a record's own bytes are all that a type with one ever uses.
    const uint32_t size = ElementRecordSize(type);
    std::memset(storage_, 0, size != 0 && size <= sizeof storage_ ? size : sizeof storage_);
    status_ = size == 0 ? FAILURE : InitElementRecord(type, storage_, size);
}

ScopedAnyRecord::~ScopedAnyRecord()
{
    if (status_ == SUCCESS)
        FreeElementRecord(type_, storage_);
}

void ScopedAnyRecord::Reset()
{
    if (status_ != SUCCESS)
        return;
    FreeElementRecord(type_, storage_);
    status_ = InitElementRecord(type_, storage_, ElementRecordSize(type_));
}

ScopedStyle::ScopedStyle()
{
    InitStyleProp(&style_);
}

ScopedStyle::~ScopedStyle()
{
    FreeStyleProp(&style_);
}

void ScopedStyle::Reset()
{
    FreeStyleProp(&style_);
    InitStyleProp(&style_);
}

// ---- The view ----------------------------------------------------------------------

SvgElementView::SvgElementView(SvgDocumentHandler& document, pugi::xml_node node)
    : document_(&document), node_(node), type_(IsElement(node) ? LookupElementType(node.name()) : kSvgTypeUnknown)
{
}

SvgElementView SvgElementView::Parent() const
{
    if (!*this)
        return {};
    pugi::xml_node parent = node_.parent();
    if (!IsElement(parent))
        return {};
    return SvgElementView(*document_, parent);
}

SvgElementView SvgElementView::FirstChild() const
{
    if (!*this)
        return {};
    for (pugi::xml_node child = node_.first_child(); child; child = child.next_sibling()) {
        if (IsElement(child))
            return SvgElementView(*document_, child);
    }
    return {};
}

SvgElementView SvgElementView::NextSibling() const
{
    if (!*this)
        return {};
    for (pugi::xml_node next = node_.next_sibling(); next; next = next.next_sibling()) {
        if (IsElement(next))
            return SvgElementView(*document_, next);
    }
    return {};
}

int32_t SvgElementView::Read(ScopedAnyRecord& record, uint32_t flags) const
{
    if (!*this || !HasRecord())
        return ERROR_INV_PARAMETER;
    if (record.status() != SUCCESS)
        return record.status();
    if (ElementRecordSize(type_) != ElementRecordSize(record.type()))
        return ERROR_RECORD_SIZE;
    const int32_t status = ReadElementRecordAt(type_, node_, document_->getVersion(), record.data(), flags);
    if (status != SUCCESS)
        record.Reset();
    return status;
}

int32_t SvgElementView::ReadStyle(ScopedStyle& style, uint32_t flags) const
{
    if (!*this)
        return ERROR_INV_PARAMETER;
    const SvgAttributeReader reader(node_, document_->getVersion(), flags);
    const int32_t status = reader.ReadPresentationAttributes(&style.get());
    if (status != SUCCESS)
        style.Reset();
    return status;
}

int32_t SvgElementView::Insert(uint32_t type, const void* record, uint32_t position, SvgElementView* inserted) const
{
    if (inserted)
        *inserted = {};
    if (!document_ || !record)
        return ERROR_INV_PARAMETER;
    // The change notice lives on the handlers, so the parent side gets one
    // for the time of the call; the document node is the document itself.
    SvgBaseHandler* parent = document_;
    SvgHandlerPtr wrapped;
    if (node_ && node_.type() != pugi::node_document) {
        SvgBaseHandler* made = nullptr;
        if (int32_t status = WrapXmlNode(&made, node_); status != SUCCESS)
            return status;
        wrapped.reset(made);
        AttachOwner(document_, wrapped.get());
        parent = wrapped.get();
    }
    SvgBaseHandler* made = nullptr;
    const int32_t status = InsertElementWithRecord(parent, record, type, position, &made);
    if (status != SUCCESS)
        return status;
    const SvgHandlerPtr element(made);
    if (inserted)
        *inserted = SvgElementView(*document_, element->node());
    return SUCCESS;
}

SvgElementView RootView(SvgDocumentHandler& document)
{
    pugi::xml_node root = document.Root();
    if (!root)
        return {};
    return SvgElementView(document, root);
}
