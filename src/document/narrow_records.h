// Converts the records of the narrow-character twins to the records of the
// wide exports and back: element records field by field through the
// record's list of strings, the save options with their inline indent, and
// data URIs. Makes no call into the tree; the twins make those through the
// wide exports.
#pragma once

#include <cstddef>
#include <cstdint>

#include "base/tracked_memory.h"
#include "document/svg_element_handlers.h"
#include "kvsvg/kvsvg.h"

// True when elements of the type have a record (svg to mask).
inline bool HasElementRecord(uint32_t type) { return ElementRecordSize(type) != 0; }

// A wide copy of a caller's narrow element record for one call into a wide
// export. Its strings are converted copies, freed with the object; its lists
// (points, transforms, path data, positions) are the caller's, borrowed.
class WideElementRecord {
public:
    WideElementRecord() = default;
    ~WideElementRecord();
    WideElementRecord(const WideElementRecord&) = delete;
    WideElementRecord& operator=(const WideElementRecord&) = delete;

    // ERROR_RECORD_SIZE when the record's size field is not the type's,
    // ERROR_NO_MEMORY. A type without a record converts nothing and get()
    // gives the narrow record itself, for the wide export to refuse.
    int32_t Convert(uint32_t type, const void* narrow);
    const void* get() const { return record_ ? static_cast<const void*>(record_.get()) : passThrough_; }

private:
    TrackedPtr<unsigned char> record_;
    const void* passThrough_ = nullptr;
    RecordTextField fields_[kMaxRecordTextFields];
    size_t fieldCount_ = 0;
};

// The wide record that a narrow read fills, and the hand-over of what it
// read. Unless delivered, the destructor frees the wide record and what it
// owns.
class NarrowElementRead {
public:
    NarrowElementRead() = default;
    ~NarrowElementRead();
    NarrowElementRead(const NarrowElementRead&) = delete;
    NarrowElementRead& operator=(const NarrowElementRead&) = delete;

    // A set-up wide record of the type; the status of the set-up otherwise.
    int32_t Prepare(uint32_t type, uint32_t size);
    void* wide() const { return record_.get(); }
    // Moves everything read into the caller's narrow record of the same
    // type, each string converted and its wide form freed. On
    // ERROR_NO_MEMORY nothing has moved and the narrow record is unchanged.
    int32_t Deliver(void* narrow);

private:
    uint32_t type_ = 0;
    uint32_t size_ = 0;
    TrackedPtr<unsigned char> record_;
};

// The wide options of a narrow record: ERROR_RECORD_SIZE for a size other
// than kSvgSaveOptionsASize, ERROR_BUFFER_TOO_SMALL for an indent with no
// zero in its ten bytes, ERROR_NO_TRANSLATION for one that is not UTF-8.
int32_t WidenSaveOptions(const SvgSaveOptionsA& narrow, SvgSaveOptions& wide);

// Copies a parsed wide data URI into the narrow record: uri is the caller's
// narrow text, the offsets stay as they are, in UTF-16 units.
void NarrowDataUri(const SvgDataUri& wide, const char* text, SvgDataUriA& narrow);

// The wide record that the decoders read, made from a narrow one; its text
// is a converted copy owned here.
class WideDataUri {
public:
    WideDataUri() = default;
    ~WideDataUri();
    WideDataUri(const WideDataUri&) = delete;
    WideDataUri& operator=(const WideDataUri&) = delete;

    // ERROR_NO_MEMORY, or ERROR_INV_PARAMETER when the value's offsets
    // reach past the converted text (the decoders read there unchecked).
    int32_t Convert(const SvgDataUriA& narrow);
    const SvgDataUri* get() const { return &record_; }

private:
    SvgDataUri record_{};
    char16_t* text_ = nullptr;
};
