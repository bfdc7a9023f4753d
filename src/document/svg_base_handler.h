// The handler family: thin, short-lived views of single XML nodes. The tree
// holds the truth; a handler reads its element into a record, writes a
// record back and changes the tree around it, telling the document of every
// change through notify so that what was derived from the tree is dropped.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include <pugixml.hpp>

class SvgDocumentHandler;

// Change events passed to notify.
enum SvgChangeEvent : uint32_t {
    kSvgEventBound = 0,
    kSvgEventBeforeAttributes = 1,
    kSvgEventAfterAttributes = 2,
    kSvgEventBeforeInsert = 3,
    kSvgEventAfterInsert = 4,
    kSvgEventBeforeRemove = 5,
    kSvgEventAfterRemove = 6,
};

// Where insertions go, relative to the handler's node.
enum SvgInsertPosition : uint32_t {
    kSvgInsertBefore = 0,
    kSvgInsertAfter = 1,
    kSvgInsertLastChild = 2,
};

class SvgBaseHandler {
public:
    SvgBaseHandler() = default;
    SvgBaseHandler(const SvgBaseHandler&) = delete;
    SvgBaseHandler& operator=(const SvgBaseHandler&) = delete;

    // The sixteen operations, in their fixed order.
    virtual int32_t notify(uint32_t event);
    virtual ~SvgBaseHandler() = default;
    virtual int32_t bind(pugi::xml_node node);
    virtual int32_t insertNode(std::u16string_view name, uint32_t position, pugi::xml_node* inserted);
    virtual int32_t insertNamed(std::u16string_view name, uint32_t position, SvgBaseHandler* handler);
    virtual int32_t insertTyped(uint32_t type, uint32_t position, SvgBaseHandler* handler);
    virtual int32_t insertCopy(const SvgBaseHandler* source, uint32_t position, pugi::xml_node* inserted);
    virtual int32_t remove();
    virtual int32_t readRecord(void* record, uint32_t size, uint32_t flags);
    virtual int32_t writeRecord(const void* record);
    virtual uint32_t getVersion();
    virtual int32_t initRecord(void* record, uint32_t size);
    virtual int32_t freeRecord(void* record);
    virtual int32_t getElement(void* record, uint32_t size, uint32_t flags);
    virtual int32_t setElement(const void* record);
    virtual int32_t rewrite(uint32_t flags);

    // Common operations on any node, element or not. Out strings are tracked
    // UTF-16 copies that the caller frees with K_SvgFreeMemory.
    int32_t GetName(char16_t** name) const;
    int32_t GetValue(char16_t** value) const;
    int32_t SetValue(const char16_t* text);
    int32_t GetAttribute(const char16_t* name, char16_t** value) const;
    int32_t SetAttribute(const char16_t* name, const char16_t* value);
    int32_t RemoveAttribute(const char16_t* name);
    // Name of the attribute at `index` in document order; null past the last.
    int32_t GetAttributeNameAt(uint32_t index, char16_t** name) const;
    int32_t PrefixStylePreserveSpace();

    pugi::xml_node node() const { return node_; }
    uint32_t type() const { return type_; }
    bool IsDocument() const { return type_ == 1; }

    // The document a handle belongs to: itself for type 1, else its owner.
    SvgDocumentHandler* ResolveDocument();

protected:
    pugi::xml_node node_;
    uint32_t type_ = 0;
};

// Base of every element class; adds the owning document.
class SvgBaseElementHandler : public SvgBaseHandler {
public:
    int32_t notify(uint32_t event) override;
    uint32_t getVersion() override;

    SvgDocumentHandler* owner() const { return owner_; }
    void setOwner(SvgDocumentHandler* owner) { owner_ = owner; }

private:
    SvgDocumentHandler* owner_ = nullptr;
};

// Makes a handler by type number (1 a document, 2..46 the element classes,
// anything else the base element class), tracked as a library object.
int32_t CreateSvgHandler(uint32_t type, SvgBaseHandler** handler);
// Untracks and destroys any handler; null is ignored.
void DestroySvgHandler(SvgBaseHandler* handler);
// The one owner of a handler: whatever frees handlers holds them in this.
struct SvgHandlerDeleter {
    void operator()(SvgBaseHandler* handler) const { DestroySvgHandler(handler); }
};
using SvgHandlerPtr = std::unique_ptr<SvgBaseHandler, SvgHandlerDeleter>;
// A new handler bound to an existing node: the document node (or null) gives
// type 1; an unnamed node is refused with ERROR_INV_PARAMETER.
int32_t WrapXmlNode(SvgBaseHandler** handler, pugi::xml_node node);
// Gives a new element handler the document of `source`.
void AttachOwner(SvgBaseHandler* source, SvgBaseHandler* handler);
