// The library's own road into the tree: a cheap view of one element (its
// node, its document, its type, its element children) that reads the typed
// record through the same record engine as the exports, so that there is one
// read order. A view makes no heap object and runs no caller code; it is
// valid while its node stays in the tree. Library code walks documents
// through views, never through the exported functions.
#pragma once

#include <cstddef>
#include <cstdint>

#include <pugixml.hpp>

#include "document/element_table.h"
#include "kvsvg/kvsvg.h"

class SvgDocumentHandler;

// Storage for the record of any element type, set up for one type and freed
// with it. Reads that fail leave it freed and set up again, so the owner
// always frees exactly once.
class ScopedAnyRecord {
public:
    // type: SVG_ELEMENT_...; a type without a record leaves status() FAILURE.
    explicit ScopedAnyRecord(uint32_t type);
    ~ScopedAnyRecord();
    ScopedAnyRecord(const ScopedAnyRecord&) = delete;
    ScopedAnyRecord& operator=(const ScopedAnyRecord&) = delete;

    int32_t status() const { return status_; }
    uint32_t type() const { return type_; }
    void* data() { return storage_; }
    const void* data() const { return storage_; }
    template <class Record>
    Record& as() { return *reinterpret_cast<Record*>(storage_); }
    template <class Record>
    const Record& as() const { return *reinterpret_cast<const Record*>(storage_); }
    // Frees what the record holds and sets it up afresh.
    void Reset();

    static constexpr size_t kCapacity = 4096;

private:
    alignas(std::max_align_t) unsigned char storage_[kCapacity];
    uint32_t type_;
    int32_t status_;
};

// A typed record of one element type: ScopedRecord<SvgRectElement> rect(SVG_ELEMENT_RECT).
template <class Record>
class ScopedRecord : public ScopedAnyRecord {
public:
    explicit ScopedRecord(uint32_t type) : ScopedAnyRecord(type) {}
    Record* operator->() { return &as<Record>(); }
    const Record* operator->() const { return &as<Record>(); }
    Record& get() { return as<Record>(); }
    const Record& get() const { return as<Record>(); }
};

// The presentation attributes and style of one element, freed with its owner.
class ScopedStyle {
public:
    ScopedStyle();
    ~ScopedStyle();
    ScopedStyle(const ScopedStyle&) = delete;
    ScopedStyle& operator=(const ScopedStyle&) = delete;
    K_SvgStyleProp& get() { return style_; }
    const K_SvgStyleProp& get() const { return style_; }
    K_SvgStyleProp* operator->() { return &style_; }
    void Reset();

private:
    K_SvgStyleProp style_;
};

class SvgElementView {
public:
    SvgElementView() = default;
    // node must belong to document's tree.
    SvgElementView(SvgDocumentHandler& document, pugi::xml_node node);

    explicit operator bool() const { return document_ && node_; }
    pugi::xml_node node() const { return node_; }
    SvgDocumentHandler* document() const { return document_; }
    // SVG_ELEMENT_... for an element, kSvgTypeUnknown for an unknown one or
    // for any node that is not an element.
    uint32_t type() const { return type_; }
    bool HasRecord() const { return type_ >= kSvgFirstElementType && type_ <= kSvgLastElementType; }

    // Element neighbours only: character data, comments and processing
    // instructions are stepped over. A null view past the end; Parent() is
    // null at the document node.
    SvgElementView Parent() const;
    SvgElementView FirstChild() const;
    SvgElementView NextSibling() const;

    // Reads this element into a record set up for the element's type (or a
    // type sharing its layout); ERROR_RECORD_SIZE for another layout. On
    // failure the record is freed and set up again. flags as for the
    // record exports.
    int32_t Read(ScopedAnyRecord& record, uint32_t flags = 0) const;
    // The presentation attributes and the style attribute, as every record
    // holds them.
    int32_t ReadStyle(ScopedStyle& style, uint32_t flags = 0) const;

    // Inserts a new element of `type` relative to this one and writes the
    // record on it, exactly as K_SvgInsertElement does: the document's
    // change notice runs the element limit and drops the flat mark, and a
    // failed write takes the element out again. *inserted (optional)
    // receives the view of the new element.
    int32_t Insert(uint32_t type, const void* record, uint32_t position, SvgElementView* inserted = nullptr) const;

private:
    SvgDocumentHandler* document_ = nullptr;
    pugi::xml_node node_;
    uint32_t type_ = kSvgTypeUnknown;
};

// The view of the document's root element ("svg", else "svg:svg"); null when there is none.
SvgElementView RootView(SvgDocumentHandler& document);
