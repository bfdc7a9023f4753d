#include "document/narrow_records.h"

#include <cstddef>
#include <cstring>

#include "base/narrow_text.h"

// Each narrow record mirrors its wide twin with char* for KvChar*: the
// conversions copy records whole and rewrite only the strings, so a field
// added on one side only must fail here.
#define KV_MIRRORS(Narrow, Wide) static_assert(sizeof(Narrow) == sizeof(Wide) && alignof(Narrow) == alignof(Wide))
KV_MIRRORS(SvgColorA, SvgColor);
KV_MIRRORS(SvgPaintA, SvgPaint);
KV_MIRRORS(SvgReferenceA, SvgReference);
KV_MIRRORS(SvgColorValueA, SvgColorValue);
KV_MIRRORS(SvgColorProfileA, SvgColorProfile);
KV_MIRRORS(SvgFontNameA, SvgFontName);
KV_MIRRORS(SvgCoreAttributesA, SvgCoreAttributes);
KV_MIRRORS(SvgConditionalAttributesA, SvgConditionalAttributes);
KV_MIRRORS(SvgXlinkAttributesA, SvgXlinkAttributes);
KV_MIRRORS(SvgFillA, SvgFill);
KV_MIRRORS(SvgStrokeA, SvgStroke);
KV_MIRRORS(SvgMarkerAttributesA, SvgMarkerAttributes);
KV_MIRRORS(SvgStopAttributesA, SvgStopAttributes);
KV_MIRRORS(SvgFontAttributesA, SvgFontAttributes);
KV_MIRRORS(SvgTextAttributesA, SvgTextAttributes);
KV_MIRRORS(SvgColorValueAttributesA, SvgColorValueAttributes);
KV_MIRRORS(SvgPaintAttributesA, SvgPaintAttributes);
KV_MIRRORS(K_SvgStylePropA, K_SvgStyleProp);
KV_MIRRORS(SvgSvgElementA, SvgSvgElement);
KV_MIRRORS(SvgGElementA, SvgGElement);
KV_MIRRORS(SvgDescElementA, SvgDescElement);
KV_MIRRORS(SvgSymbolElementA, SvgSymbolElement);
KV_MIRRORS(SvgUseElementA, SvgUseElement);
KV_MIRRORS(SvgImageElementA, SvgImageElement);
KV_MIRRORS(SvgStyleElementA, SvgStyleElement);
KV_MIRRORS(SvgPathElementA, SvgPathElement);
KV_MIRRORS(SvgRectElementA, SvgRectElement);
KV_MIRRORS(SvgCircleElementA, SvgCircleElement);
KV_MIRRORS(SvgEllipseElementA, SvgEllipseElement);
KV_MIRRORS(SvgLineElementA, SvgLineElement);
KV_MIRRORS(SvgPolyElementA, SvgPolyElement);
KV_MIRRORS(SvgTextElementA, SvgTextElement);
KV_MIRRORS(SvgTSpanElementA, SvgTSpanElement);
KV_MIRRORS(SvgTRefElementA, SvgTRefElement);
KV_MIRRORS(SvgTextPathElementA, SvgTextPathElement);
KV_MIRRORS(SvgAltGlyphElementA, SvgAltGlyphElement);
KV_MIRRORS(SvgAltGlyphDefElementA, SvgAltGlyphDefElement);
KV_MIRRORS(SvgGlyphRefElementA, SvgGlyphRefElement);
KV_MIRRORS(SvgMarkerElementA, SvgMarkerElement);
KV_MIRRORS(SvgColorProfileElementA, SvgColorProfileElement);
KV_MIRRORS(SvgLinearGradientElementA, SvgLinearGradientElement);
KV_MIRRORS(SvgRadialGradientElementA, SvgRadialGradientElement);
KV_MIRRORS(SvgStopElementA, SvgStopElement);
KV_MIRRORS(SvgPatternElementA, SvgPatternElement);
KV_MIRRORS(SvgClipPathElementA, SvgClipPathElement);
KV_MIRRORS(SvgFontElementA, SvgFontElement);
KV_MIRRORS(SvgGlyphElementA, SvgGlyphElement);
KV_MIRRORS(SvgMissingGlyphElementA, SvgMissingGlyphElement);
KV_MIRRORS(SvgKernElementA, SvgKernElement);
KV_MIRRORS(SvgFontFaceElementA, SvgFontFaceElement);
KV_MIRRORS(SvgFontFaceSrcElementA, SvgFontFaceSrcElement);
KV_MIRRORS(SvgFontFaceUriElementA, SvgFontFaceUriElement);
KV_MIRRORS(SvgFontFaceFormatElementA, SvgFontFaceFormatElement);
KV_MIRRORS(SvgFontFaceNameElementA, SvgFontFaceNameElement);
KV_MIRRORS(SvgAnchorElementA, SvgAnchorElement);
KV_MIRRORS(SvgMaskElementA, SvgMaskElement);
#undef KV_MIRRORS
static_assert(offsetof(SvgTextElementA, textCount) == offsetof(SvgTextElement, textCount));
static_assert(offsetof(SvgTextElementA, style.paint.markers.markerEnd.id) ==
              offsetof(SvgTextElement, style.paint.markers.markerEnd.id));
static_assert(offsetof(SvgFontFaceElementA, font.font.text) == offsetof(SvgFontFaceElement, font.font.text));
static_assert(offsetof(SvgAltGlyphElementA, style.stop.stopColor.color.text) ==
              offsetof(SvgAltGlyphElement, style.stop.stopColor.color.text));
static_assert(kSvgSaveOptionsASize == 26, "the narrow save options are packed");
static_assert(kSvgSaveOptionsSize == 36);

namespace {

// Fields are read and written by offset through memcpy: a narrow record and
// its wide twin share one layout, but not their C types.
template <class T>
T LoadField(const void* record, uint32_t offset)
{
    T value;
    std::memcpy(&value, static_cast<const unsigned char*>(record) + offset, sizeof value);
    return value;
}

template <class T>
void StoreField(void* record, uint32_t offset, T value)
{
    std::memcpy(static_cast<unsigned char*>(record) + offset, &value, sizeof value);
}

}  // namespace

// ---- Element records ----------------------------------------------------------

WideElementRecord::~WideElementRecord()
{
    if (!record_)
        return;
    for (size_t i = 0; i < fieldCount_; ++i)
        FreeConverted(LoadField<char16_t*>(record_.get(), fields_[i].offset));
}

int32_t WideElementRecord::Convert(uint32_t type, const void* narrow)
{
    const uint32_t size = ElementRecordSize(type);
    if (!size) {
        passThrough_ = narrow;
        return SUCCESS;
    }
    if (LoadField<uint32_t>(narrow, 0) != size)
        return ERROR_RECORD_SIZE;
    record_.reset(static_cast<unsigned char*>(KV_ALLOC(size, 1)));
    if (!record_)
        return ERROR_NO_MEMORY;
    std::memcpy(record_.get(), narrow, size);
    // Every string starts empty, so that the destructor frees only copies
    // made here, whichever conversion fails.
    fieldCount_ = RecordTextFields(type, fields_);
    for (size_t i = 0; i < fieldCount_; ++i)
        StoreField<char16_t*>(record_.get(), fields_[i].offset, nullptr);
    for (size_t i = 0; i < fieldCount_; ++i) {
        const RecordTextField& field = fields_[i];
        const char* text = LoadField<const char*>(narrow, field.offset);
        if (!text)
            continue;
        char16_t* wide = nullptr;
        if (field.countOffset) {
            // Character data is counted, not terminated: bytes in, units out.
            size_t units = 0;
            wide = ToWideBytes(text, LoadField<uint32_t>(narrow, field.countOffset), &units, __LINE__, __FILE__);
            StoreField<uint32_t>(record_.get(), field.countOffset, static_cast<uint32_t>(units));
        } else {
            wide = ToWide(text, __LINE__, __FILE__);
        }
        if (!wide)
            return ERROR_NO_MEMORY;
        StoreField(record_.get(), field.offset, wide);
    }
    return SUCCESS;
}

NarrowElementRead::~NarrowElementRead()
{
    if (record_)
        FreeRecordOfType(record_.get(), type_);
}

int32_t NarrowElementRead::Prepare(uint32_t type, uint32_t size)
{
    record_.reset(static_cast<unsigned char*>(KV_ALLOC_ZERO(size ? size : 1, 1)));
    if (!record_)
        return ERROR_NO_MEMORY;
    type_ = type;
    size_ = size;
    if (int32_t status = InitRecordOfType(record_.get(), type, size); status != SUCCESS) {
        record_.reset();
        return status;
    }
    return SUCCESS;
}

int32_t NarrowElementRead::Deliver(void* narrow)
{
    RecordTextField fields[kMaxRecordTextFields];
    const size_t count = RecordTextFields(type_, fields);
    char* converted[kMaxRecordTextFields] = {};
    size_t bytes[kMaxRecordTextFields] = {};
    // Convert everything first: a copy that fails must leave both records
    // as they were.
    for (size_t i = 0; i < count; ++i) {
        const char16_t* wide = LoadField<const char16_t*>(record_.get(), fields[i].offset);
        if (!wide)
            continue;
        converted[i] = ToNarrow(wide, &bytes[i], __LINE__, __FILE__);
        if (!converted[i]) {
            for (size_t k = 0; k < i; ++k)
                FreeConverted(converted[k]);
            return ERROR_NO_MEMORY;
        }
    }
    for (size_t i = 0; i < count; ++i) {
        if (!converted[i])
            continue;
        FreeConverted(LoadField<char16_t*>(record_.get(), fields[i].offset));
        StoreField(record_.get(), fields[i].offset, converted[i]);
        if (fields[i].countOffset)
            StoreField<uint32_t>(record_.get(), fields[i].countOffset, static_cast<uint32_t>(bytes[i]));
    }
    // The lists now belong to the narrow record; the wide one is spent.
    std::memcpy(narrow, record_.get(), size_);
    record_.reset();
    return SUCCESS;
}

// ---- Save options ---------------------------------------------------------------

int32_t WidenSaveOptions(const SvgSaveOptionsA& narrow, SvgSaveOptions& wide)
{
    if (narrow.size != kSvgSaveOptionsASize)
        return ERROR_RECORD_SIZE;
    const void* end = std::memchr(narrow.indent, 0, sizeof narrow.indent);
    if (!end)
        return ERROR_BUFFER_TOO_SMALL;
    const size_t bytes = static_cast<size_t>(static_cast<const char*>(end) - narrow.indent);
    if (!IsWellFormedUtf8(std::string_view(narrow.indent, bytes)))
        return ERROR_NO_TRANSLATION;
    wide = SvgSaveOptions{};
    wide.size = kSvgSaveOptionsSize;
    wide.formatted = narrow.formatted;
    wide.encoding = narrow.encoding;
    wide.compressed = narrow.compressed;
    // UTF-8 never takes fewer bytes than UTF-16 takes units, so nine bytes
    // and their zero always fit ten units.
    size_t units = 0;
    TrackedPtr<char16_t> indent(ToWideBytes(narrow.indent, bytes, &units, __LINE__, __FILE__));
    if (!indent)
        return ERROR_NO_MEMORY;
    std::memcpy(wide.indent, indent.get(), units * sizeof(char16_t));
    return SUCCESS;
}

// ---- Data URIs -------------------------------------------------------------------

void NarrowDataUri(const SvgDataUri& wide, const char* text, SvgDataUriA& narrow)
{
    narrow = SvgDataUriA{};
    narrow.size = kSvgDataUriASize;
    narrow.isDataUri = wide.isDataUri;
    narrow.uri = text;
    narrow.mediaOffset = wide.mediaOffset;
    narrow.mediaLength = wide.mediaLength;
    narrow.charsetOffset = wide.charsetOffset;
    narrow.charsetLength = wide.charsetLength;
    narrow.isBase64 = wide.isBase64;
    narrow.valueOffset = wide.valueOffset;
    narrow.valueLength = wide.valueLength;
    narrow.imageFormat = wide.imageFormat;
    // The extensions are ASCII and one byte each.
    for (size_t i = 0; i + 1 < sizeof narrow.extension && wide.extension[i]; ++i)
        narrow.extension[i] = static_cast<char>(wide.extension[i] & 0x7F);
}

WideDataUri::~WideDataUri() { FreeConverted(text_); }

int32_t WideDataUri::Convert(const SvgDataUriA& narrow)
{
    record_ = SvgDataUri{};
    record_.size = kSvgDataUriSize;
    record_.isDataUri = narrow.isDataUri;
    record_.mediaOffset = narrow.mediaOffset;
    record_.mediaLength = narrow.mediaLength;
    record_.charsetOffset = narrow.charsetOffset;
    record_.charsetLength = narrow.charsetLength;
    record_.isBase64 = narrow.isBase64;
    record_.valueOffset = narrow.valueOffset;
    record_.valueLength = narrow.valueLength;
    record_.imageFormat = narrow.imageFormat;
    for (size_t i = 0; i + 1 < sizeof record_.extension && narrow.extension[i]; ++i)
        record_.extension[i] = static_cast<unsigned char>(narrow.extension[i]);
    if (!narrow.uri)
        return SUCCESS;
    size_t units = 0;
    text_ = ToWideBytes(narrow.uri, std::strlen(narrow.uri), &units, __LINE__, __FILE__);
    if (!text_)
        return ERROR_NO_MEMORY;
    if (narrow.valueLength > 0 && uint64_t(narrow.valueOffset) + narrow.valueLength > units)
        return ERROR_INV_PARAMETER;
    record_.uri = text_;
    return SUCCESS;
}
