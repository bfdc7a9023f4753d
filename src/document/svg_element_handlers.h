// One class per SVG element the system understands. They add no fields and
// differ only in how they read, write, set up and free their record; all of
// them run one record engine over a table of steps per element (the .cpp),
// so that the order in which attributes are read and written lives in one
// place. Classes that share a record and its steps share the engine's
// instantiation: desc and title, hkern and vkern, g and defs, and polygon,
// which is polyline by another name.
#pragma once

#include <cstddef>
#include <cstdint>

#include "document/svg_base_handler.h"
#include "kvsvg/kvsvg.h"

// (type, class) for every element class, in type order.
#define KVSVG_ELEMENT_CLASSES(X)                                                                        \
    X(2, SvgElementHandler) X(3, SvgGElementHandler) X(4, SvgDefsElementHandler)                        \
    X(5, SvgDescElementHandler) X(6, SvgTitleElementHandler) X(7, SvgSymbolElementHandler)              \
    X(8, SvgUseElementHandler) X(9, SvgImageElementHandler) X(10, SvgSwitchElementHandler)              \
    X(11, SvgStyleElementHandler) X(12, SvgPathElementHandler) X(13, SvgRectElementHandler)             \
    X(14, SvgCircleElementHandler) X(15, SvgEllipseElementHandler) X(16, SvgLineElementHandler)         \
    X(17, SvgPolyElementHandler) X(18, SvgPolygonElementHandler) X(19, SvgTextElementHandler)           \
    X(20, SvgTSpanElementHandler) X(21, SvgTRefElementHandler) X(22, SvgTextPathElementHandler)         \
    X(23, SvgAltGlyphElementHandler) X(24, SvgAltGlyphDefElementHandler)                                \
    X(25, SvgAltGlyphItemElementHandler) X(26, SvgGlyphRefElementHandler)                               \
    X(27, SvgMarkerElementHandler) X(28, SvgColorProfileElementHandler)                                 \
    X(29, SvgLinearGradientElementHandler) X(30, SvgRadialGradientElementHandler)                       \
    X(31, SvgStopElementHandler) X(32, SvgPatternElementHandler) X(33, SvgClipPathElementHandler)       \
    X(34, SvgFontElementHandler) X(35, SvgGlyphElementHandler) X(36, SvgMissingGlyphElementHandler)     \
    X(37, SvgHKernElementHandler) X(38, SvgVKernElementHandler) X(39, SvgFontFaceElementHandler)        \
    X(40, SvgFontFaceSrcElementHandler) X(41, SvgFontFaceUriElementHandler)                             \
    X(42, SvgFontFaceFormatElementHandler) X(43, SvgFontFaceNameElementHandler)                         \
    X(44, SvgDefinitionSrcElementHandler) X(45, SvgAnchorElementHandler) X(46, SvgMaskElementHandler)

// The record engine. `layout` is the element type whose record and steps
// are used. Every operation first compares the record's size (the argument
// for InitElementRecord) with the layout's and gives ERROR_RECORD_SIZE.
int32_t ReadElementRecord(uint32_t layout, SvgBaseElementHandler& handler, void* record, uint32_t flags);
// The same read for any node at a document version, with no handler.
int32_t ReadElementRecordAt(uint32_t layout, pugi::xml_node node, uint32_t version, void* record, uint32_t flags);
int32_t WriteElementRecord(uint32_t layout, SvgBaseElementHandler& handler, const void* record);
int32_t InitElementRecord(uint32_t layout, void* record, uint32_t size);
int32_t FreeElementRecord(uint32_t layout, void* record);
// getElement into a local record, setElement, freeRecord: the element
// writes itself again, for instance for a new document version.
int32_t RewriteElement(uint32_t layout, SvgBaseElementHandler& handler, uint32_t flags);
// Record size of an element type; 0 for a type without a record.
uint32_t ElementRecordSize(uint32_t type);
// A string of an element record: the offset of its pointer and, for
// character data, of the count beside it (0 when there is none).
struct RecordTextField {
    uint32_t offset;
    uint32_t countOffset;
};
constexpr size_t kMaxRecordTextFields = 32;
// Every string field of the type's record, nested groups included, in the
// record's step order; 0 for a type without a record. The narrow twins
// convert records field by field through this list.
size_t RecordTextFields(uint32_t type, RecordTextField (&fields)[kMaxRecordTextFields]);

template <uint32_t Layout>
class SvgRecordElementHandler : public SvgBaseElementHandler {
public:
    int32_t readRecord(void* record, uint32_t, uint32_t flags) override
    {
        return ReadElementRecord(Layout, *this, record, flags);
    }
    int32_t writeRecord(const void* record) override { return WriteElementRecord(Layout, *this, record); }
    int32_t initRecord(void* record, uint32_t size) override { return InitElementRecord(Layout, record, size); }
    int32_t freeRecord(void* record) override { return FreeElementRecord(Layout, record); }
    int32_t rewrite(uint32_t flags) override { return RewriteElement(Layout, *this, flags); }
};

class SvgElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_SVG> {};
class SvgGElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_G> {};
class SvgDefsElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_G> {};
class SvgDescElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_DESC> {};
class SvgTitleElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_DESC> {};
class SvgSymbolElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_SYMBOL> {};
class SvgUseElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_USE> {};
class SvgImageElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_IMAGE> {};
class SvgSwitchElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_SWITCH> {};
class SvgStyleElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_STYLE> {};
class SvgPathElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_PATH> {};
class SvgRectElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_RECT> {};
class SvgCircleElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_CIRCLE> {};
class SvgEllipseElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_ELLIPSE> {};
class SvgLineElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_LINE> {};
class SvgPolyElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_POLYLINE> {};
class SvgPolygonElementHandler : public SvgPolyElementHandler {};
class SvgTextElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_TEXT> {};
class SvgTSpanElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_TSPAN> {};
class SvgTRefElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_TREF> {};
class SvgTextPathElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_TEXTPATH> {};
class SvgAltGlyphElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_ALTGLYPH> {};
class SvgAltGlyphDefElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_ALTGLYPHDEF> {};
class SvgAltGlyphItemElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_ALTGLYPHDEF> {};
class SvgGlyphRefElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_GLYPHREF> {};
class SvgMarkerElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_MARKER> {};
class SvgColorProfileElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_COLOR_PROFILE> {};
class SvgLinearGradientElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_LINEARGRADIENT> {};
class SvgRadialGradientElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_RADIALGRADIENT> {};
class SvgStopElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_STOP> {};
class SvgPatternElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_PATTERN> {};
class SvgClipPathElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_CLIPPATH> {};
class SvgFontElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_FONT> {};
class SvgGlyphElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_GLYPH> {};
class SvgMissingGlyphElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_MISSING_GLYPH> {};
class SvgHKernElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_HKERN> {};
class SvgVKernElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_HKERN> {};
class SvgFontFaceElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_FONT_FACE> {};
class SvgFontFaceSrcElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_FONT_FACE_SRC> {};
class SvgFontFaceUriElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_FONT_FACE_URI> {};
class SvgFontFaceFormatElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_FONT_FACE_FORMAT> {};
class SvgFontFaceNameElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_FONT_FACE_NAME> {};
class SvgDefinitionSrcElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_FONT_FACE_URI> {};
class SvgAnchorElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_A> {};
class SvgMaskElementHandler : public SvgRecordElementHandler<SVG_ELEMENT_MASK> {};

// What the record exports do behind their checks.
// A temporary handler of the type sets the record up or frees it.
int32_t InitRecordOfType(void* record, uint32_t type, uint32_t size);
int32_t FreeRecordOfType(void* record, uint32_t type);
// Inserts an element of the type relative to parent and writes the record
// on it; a failed write takes the element out again. *inserted (optional)
// receives the new handler, which the caller then owns.
int32_t InsertElementWithRecord(SvgBaseHandler* parent, const void* record, uint32_t type, uint32_t position,
                                SvgBaseHandler** inserted);
// Width and height of an svg element when they are plain numbers, and the
// resolution of its document's root; the rest stays -1.0.
int32_t GetSvgNodeFileOptions(SvgBaseHandler& node, SvgFileOptions& options);
