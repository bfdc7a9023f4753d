#include "document/svg_base_handler.h"

#include <new>
#include <string>

#include "base/tracked_memory.h"
#include "base/utf.h"
#include "document/element_table.h"
#include "document/svg_document_handler.h"
#include "document/svg_element_handlers.h"
#include "kvsvg/kvsvg.h"

namespace {

bool IsCharacterData(pugi::xml_node node)
{
    return node.type() == pugi::node_pcdata || node.type() == pugi::node_cdata;
}

// The node that holds an element's character data: the node itself when it
// is text, else its first text child; null when there is none.
pugi::xml_node CharacterDataOf(pugi::xml_node node)
{
    if (IsCharacterData(node))
        return node;
    for (pugi::xml_node child = node.first_child(); child; child = child.next_sibling()) {
        if (IsCharacterData(child))
            return child;
    }
    return {};
}

int32_t CopyOut(std::string_view utf8, char16_t** out)
{
    *out = KV_WIDE_COPY(utf8);
    return *out ? SUCCESS : ERROR_NO_MEMORY;
}

}  // namespace

// ---- SvgBaseHandler: the common implementation -----------------------------

int32_t SvgBaseHandler::notify(uint32_t)
{
    return SUCCESS;
}

int32_t SvgBaseHandler::bind(pugi::xml_node node)
{
    if (node_)
        return FAILURE;
    node_ = node;
    type_ = kSvgTypeUnknown;
    type_ = LookupElementType(node.name());
    return SUCCESS;
}

int32_t SvgBaseHandler::insertNode(std::u16string_view name, uint32_t position, pugi::xml_node* inserted)
{
    if (!inserted || position > kSvgInsertLastChild)
        return ERROR_INV_PARAMETER;
    // Asked first, so that the element limit refuses before the tree changes.
    if (int32_t status = notify(kSvgEventBeforeInsert); status != SUCCESS)
        return status;
    std::string nameUtf8;
    try {
        nameUtf8 = ToUtf8(name);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    pugi::xml_node made;
    if (position == kSvgInsertLastChild) {
        made = node_.append_child(nameUtf8.c_str());
    } else {
        pugi::xml_node parent = node_.parent();
        if (!parent)
            return SUCCESS;
        made = position == kSvgInsertBefore ? parent.insert_child_before(nameUtf8.c_str(), node_)
                                            : parent.insert_child_after(nameUtf8.c_str(), node_);
    }
    if (!made)
        return SUCCESS;
    *inserted = made;
    return notify(kSvgEventAfterInsert);
}

int32_t SvgBaseHandler::insertNamed(std::u16string_view name, uint32_t position, SvgBaseHandler* handler)
{
    if (!handler)
        return ERROR_INV_PARAMETER;
    pugi::xml_node made;
    if (int32_t status = insertNode(name, position, &made); status != SUCCESS)
        return status;
    int32_t status = handler->bind(made);
    if (status != SUCCESS && made) {
        // Take the new node out again through the same events, so that the
        // element count stays true.
        notify(kSvgEventBeforeRemove);
        made.parent().remove_child(made);
        notify(kSvgEventAfterRemove);
    }
    return status;
}

int32_t SvgBaseHandler::insertTyped(uint32_t type, uint32_t position, SvgBaseHandler* handler)
{
    // 47 is the table's spare end entry: it has no name to insert.
    if (type < kSvgFirstElementType || type > kSvgLastElementType)
        return FAILURE;
    return insertNamed(SvgElementNameWide(type), position, handler);
}

int32_t SvgBaseHandler::insertCopy(const SvgBaseHandler* source, uint32_t position, pugi::xml_node* inserted)
{
    if (!source || !inserted || position > kSvgInsertLastChild)
        return ERROR_INV_PARAMETER;
    if (int32_t status = notify(kSvgEventBeforeInsert); status != SUCCESS)
        return status;
    pugi::xml_node made;
    if (position == kSvgInsertLastChild) {
        made = node_.append_copy(source->node_);
    } else {
        pugi::xml_node parent = node_.parent();
        if (!parent)
            return SUCCESS;
        made = position == kSvgInsertBefore ? parent.insert_copy_before(source->node_, node_)
                                            : parent.insert_copy_after(source->node_, node_);
    }
    if (!made)
        return SUCCESS;
    *inserted = made;
    return notify(kSvgEventAfterInsert);
}

int32_t SvgBaseHandler::remove()
{
    if (!node_)
        return ERROR_NODE_UNBOUND;
    if (int32_t status = notify(kSvgEventBeforeRemove); status != SUCCESS)
        return status;
    pugi::xml_node parent = node_.parent();
    if (!parent)
        return ERROR_INV_PARAMETER;
    if (!parent.remove_child(node_))
        return FAILURE;
    // The handler keeps its now stale node; it may only be freed from here on.
    return notify(kSvgEventAfterRemove);
}

int32_t SvgBaseHandler::readRecord(void*, uint32_t, uint32_t)
{
    return FAILURE;
}

int32_t SvgBaseHandler::writeRecord(const void*)
{
    return FAILURE;
}

uint32_t SvgBaseHandler::getVersion()
{
    return 0;
}

int32_t SvgBaseHandler::initRecord(void*, uint32_t)
{
    return FAILURE;
}

int32_t SvgBaseHandler::freeRecord(void*)
{
    return FAILURE;
}

int32_t SvgBaseHandler::getElement(void* record, uint32_t size, uint32_t flags)
{
    if (type_ == kSvgTypeUnknown || type_ == kSvgTypeDocument)
        return ERROR_INV_PARAMETER;
    int32_t status = readRecord(record, size, flags);
    // A record whose size was wrong was never set up, so there is nothing to free.
    if (status != SUCCESS && status != ERROR_RECORD_SIZE)
        freeRecord(record);
    return status;
}

int32_t SvgBaseHandler::setElement(const void* record)
{
    if (int32_t status = notify(kSvgEventBeforeAttributes); status != SUCCESS)
        return status;
    if (int32_t status = writeRecord(record); status != SUCCESS)
        return status;
    return notify(kSvgEventAfterAttributes);
}

int32_t SvgBaseHandler::rewrite(uint32_t)
{
    return FAILURE;
}

// ---- Common operations ------------------------------------------------------

int32_t SvgBaseHandler::GetName(char16_t** name) const
{
    if (!name)
        return ERROR_INV_PARAMETER;
    *name = nullptr;
    if (!node_)
        return ERROR_NODE_UNBOUND;
    return CopyOut(node_.name(), name);
}

int32_t SvgBaseHandler::GetValue(char16_t** value) const
{
    if (!value)
        return ERROR_INV_PARAMETER;
    *value = nullptr;
    if (!node_)
        return ERROR_NODE_UNBOUND;
    pugi::xml_node data = CharacterDataOf(node_);
    if (!data)
        return SUCCESS;
    return CopyOut(data.value(), value);
}

int32_t SvgBaseHandler::SetValue(const char16_t* text)
{
    if (!node_)
        return ERROR_NODE_UNBOUND;
    pugi::xml_node data = CharacterDataOf(node_);
    if (!data)
        return FAILURE;
    try {
        return data.set_value(text ? ToUtf8(text).c_str() : "") ? SUCCESS : FAILURE;
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t SvgBaseHandler::GetAttribute(const char16_t* name, char16_t** value) const
{
    if (!name || !value)
        return ERROR_INV_PARAMETER;
    *value = nullptr;
    if (!node_)
        return ERROR_NODE_UNBOUND;
    try {
        pugi::xml_attribute attribute = node_.attribute(ToUtf8(name).c_str());
        if (!attribute)
            return SUCCESS;
        return CopyOut(attribute.value(), value);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
}

int32_t SvgBaseHandler::SetAttribute(const char16_t* name, const char16_t* value)
{
    if (!name || !value)
        return ERROR_INV_PARAMETER;
    if (!node_)
        return ERROR_NODE_UNBOUND;
    std::string nameUtf8, valueUtf8;
    try {
        nameUtf8 = ToUtf8(name);
        valueUtf8 = ToUtf8(value);
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (nameUtf8.empty())
        return ERROR_INV_PARAMETER;
    // Writing "" removes the attribute, so no document ever holds an empty value.
    if (valueUtf8.empty()) {
        pugi::xml_attribute existing = node_.attribute(nameUtf8.c_str());
        if (!existing)
            return SUCCESS;
        if (int32_t status = notify(kSvgEventBeforeAttributes); status != SUCCESS)
            return status;
        if (!node_.remove_attribute(existing))
            return FAILURE;
        return notify(kSvgEventAfterAttributes);
    }
    if (int32_t status = notify(kSvgEventBeforeAttributes); status != SUCCESS)
        return status;
    pugi::xml_attribute attribute = node_.attribute(nameUtf8.c_str());
    bool appended = false;
    if (!attribute) {
        if (int32_t status = notify(kSvgEventBeforeAttributes); status != SUCCESS)
            return status;
        attribute = node_.append_attribute(nameUtf8.c_str());
        if (!attribute)
            return FAILURE;
        appended = true;
        if (int32_t status = notify(kSvgEventAfterAttributes); status != SUCCESS) {
            node_.remove_attribute(attribute);
            return status;
        }
    }
    if (attribute.set_value(valueUtf8.c_str()))
        return notify(kSvgEventAfterAttributes);
    if (appended)
        node_.remove_attribute(attribute);
    return FAILURE;
}

int32_t SvgBaseHandler::RemoveAttribute(const char16_t* name)
{
    if (!name)
        return ERROR_INV_PARAMETER;
    if (!node_)
        return ERROR_NODE_UNBOUND;
    pugi::xml_attribute attribute;
    try {
        attribute = node_.attribute(ToUtf8(name).c_str());
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    if (!attribute)
        return ERROR_ATTRIBUTE_NOT_FOUND;
    if (int32_t status = notify(kSvgEventBeforeAttributes); status != SUCCESS)
        return status;
    if (!node_.remove_attribute(attribute))
        return FAILURE;
    return notify(kSvgEventAfterAttributes);
}

int32_t SvgBaseHandler::GetAttributeNameAt(uint32_t index, char16_t** name) const
{
    if (!name)
        return ERROR_INV_PARAMETER;
    *name = nullptr;
    if (!node_)
        return ERROR_NODE_UNBOUND;
    pugi::xml_attribute attribute = node_.first_attribute();
    for (uint32_t i = 0; attribute && i < index; ++i)
        attribute = attribute.next_attribute();
    if (!attribute)
        return SUCCESS;
    return CopyOut(attribute.name(), name);
}

int32_t SvgBaseHandler::PrefixStylePreserveSpace()
{
    if (!node_)
        return ERROR_NODE_UNBOUND;
    static constexpr std::string_view kPreserve = "white-space:pre;";
    pugi::xml_attribute style = node_.attribute("style");
    if (!style)
        style = node_.append_attribute("style");
    if (!style)
        return FAILURE;
    try {
        std::string value(kPreserve);
        value += style.value();
        if (!style.set_value(value.c_str()))
            return FAILURE;
    } catch (const std::bad_alloc&) {
        return ERROR_NO_MEMORY;
    }
    return notify(kSvgEventAfterAttributes);
}

SvgDocumentHandler* SvgBaseHandler::ResolveDocument()
{
    if (type_ == kSvgTypeDocument)
        return static_cast<SvgDocumentHandler*>(this);
    return static_cast<SvgBaseElementHandler*>(this)->owner();
}

// ---- SvgBaseElementHandler --------------------------------------------------

int32_t SvgBaseElementHandler::notify(uint32_t event)
{
    return owner_ ? owner_->notify(event) : SUCCESS;
}

uint32_t SvgBaseElementHandler::getVersion()
{
    return owner_ ? owner_->getVersion() : 0;
}

// ---- Factory ------------------------------------------------------------------

namespace {

SvgBaseHandler* MakeHandler(uint32_t type)
{
    switch (type) {
    case kSvgTypeDocument:
        return new (std::nothrow) SvgDocumentHandler;
#define KVSVG_MAKE_ELEMENT_CLASS(number, name) \
    case number:                               \
        return new (std::nothrow) name;
        KVSVG_ELEMENT_CLASSES(KVSVG_MAKE_ELEMENT_CLASS)
#undef KVSVG_MAKE_ELEMENT_CLASS
    default:
        return new (std::nothrow) SvgBaseElementHandler;
    }
}

}  // namespace

int32_t CreateSvgHandler(uint32_t type, SvgBaseHandler** handler)
{
    if (!handler)
        return ERROR_INV_PARAMETER;
    *handler = nullptr;
    SvgBaseHandler* made = MakeHandler(type);
    if (!made)
        return ERROR_NO_MEMORY;
    KV_TRACK(made);
    *handler = made;
    return SUCCESS;
}

void DestroySvgHandler(SvgBaseHandler* handler)
{
    if (!handler)
        return;
    KV_UNTRACK(handler);
    delete handler;
}

int32_t WrapXmlNode(SvgBaseHandler** handler, pugi::xml_node node)
{
    if (!handler)
        return ERROR_INV_PARAMETER;
    *handler = nullptr;
    uint32_t type;
    if (!node || node.type() == pugi::node_document) {
        type = kSvgTypeDocument;
    } else {
        if (!*node.name())
            return ERROR_INV_PARAMETER;
        type = LookupElementType(node.name());
    }
    SvgBaseHandler* made = nullptr;
    if (int32_t status = CreateSvgHandler(type, &made); status != SUCCESS)
        return status;
    if (int32_t status = made->bind(node); status != SUCCESS) {
        DestroySvgHandler(made);
        return status;
    }
    *handler = made;
    return SUCCESS;
}

void AttachOwner(SvgBaseHandler* source, SvgBaseHandler* handler)
{
    if (!source || !handler || handler->type() == kSvgTypeDocument)
        return;
    static_cast<SvgBaseElementHandler*>(handler)->setOwner(source->ResolveDocument());
}
