// Writes value records as attributes of one element: the primitive
// SetAttribute, setters for single values, the group writers that write an
// attribute group in a fixed order, and the stand-alone writers for
// attributes that elements name themselves. Knows one node and the document
// version; telling the document about the change is the handler's.
//
// Writing an empty value removes the attribute, so no document ever holds
// an attribute with an empty value. A group checks its record's size first
// (ERROR_RECORD_SIZE) and stops at the first status other than SUCCESS;
// what it wrote before stays on the node.
#pragma once

#include <cstdint>
#include <string_view>

#include <pugixml.hpp>

#include "kvsvg/kvsvg.h"
#include "values/keyword_table.h"

class SvgAttributeWriter {
public:
    // version: 0 not stated, 1 "1.0", 2 "1.1".
    SvgAttributeWriter(pugi::xml_node node, uint32_t version) : node_(node), version_(version) {}

    pugi::xml_node node() const { return node_; }
    uint32_t version() const { return version_; }

    // For a writer that starts on an element without attributes and writes
    // each name at most once (a record's write does): every name is known
    // to be absent, so setting appends and removing does nothing, without a
    // search of the element's attributes. Debug builds check the promise.
    void AssumeNoPriorAttributes() { fresh_ = true; }

    // Sets, replaces or (for a null or empty value) removes the attribute; an
    // attribute that stands keeps its place. trim removes leading and
    // trailing runtime white space first. SUCCESS, or FAILURE when the tree
    // refused.
    int32_t SetAttribute(const char* name, const KvChar* value, bool trim) const;
    int32_t SetAttribute(const char* name, std::u16string_view value, bool trim) const;
    // An unset double removes the attribute.
    int32_t SetNumberAttribute(const char* name, double value) const;
    // -1 removes the attribute, 0 writes "false", anything else "true".
    int32_t SetBooleanAttribute(const char* name, int32_t value) const;
    // A length or angle without value removes the attribute.
    int32_t SetLengthAttribute(const char* name, const SvgLength* length) const;
    int32_t SetAngleAttribute(const char* name, const SvgAngle* angle) const;
    // 0 removes the attribute, 1 to N write the table's words, more is FAILURE.
    int32_t SetEnumAttribute(const char* name, uint32_t value, const KeywordTable& table) const;
    int32_t SetLengthListAttribute(const char* name, uint32_t count, const SvgLength* values) const;
    int32_t SetNumberListAttribute(const char* name, uint32_t count, const double* values) const;
    int32_t SetPointsAttribute(uint32_t count, const SvgPoint* points) const;  // points
    // The node's character data; null is empty. FAILURE when it cannot be made.
    int32_t SetNodeText(const KvChar* text) const;
    // SUCCESS also when there was no style attribute.
    int32_t RemoveStyleAttribute() const;

    // Group writers.
    int32_t WriteCoreAttributes(const SvgCoreAttributes* core) const;
    int32_t WriteConditionalAttributes(const SvgConditionalAttributes* conditional) const;
    int32_t WriteXlinkAttributes(const SvgXlinkAttributes* xlink) const;
    int32_t WriteFillAttributes(const SvgFill* fill) const;
    int32_t WriteStrokeAttributes(const SvgStroke* stroke) const;
    int32_t WriteMarkerAttributes(const SvgMarkerAttributes* markers) const;
    int32_t WriteColorAttributes(const SvgColorAttributes* rendering) const;
    int32_t WriteVisibilityAttributes(const SvgVisibilityAttributes* visibility) const;
    int32_t WriteStopAttributes(const SvgStopAttributes* stop) const;
    // The vertical orientation is written only when the horizontal step
    // failed; a horizontal angle written or removed ends the group.
    int32_t WriteGlyphOrientationAttributes(const SvgGlyphOrientationAttributes* orientation) const;
    int32_t WriteSpacingAttributes(const SvgSpacingAttributes* spacing) const;
    int32_t WriteBaselineAttributes(const SvgBaselineAttributes* baseline) const;
    int32_t WriteFontAttributes(const SvgFontAttributes* font) const;
    int32_t WriteDirectionAttributes(const SvgDirectionAttributes* direction) const;
    int32_t WriteTextAttributes(const SvgTextAttributes* text) const;
    int32_t WritePaintAttributes(const SvgPaintAttributes* paint) const;
    int32_t WriteClipRectAttributes(const SvgClipRectAttributes* clipRect) const;
    int32_t WriteColorValueAttributes(const SvgColorValueAttributes* colorValue) const;
    // Ends by removing the style attribute: the record now holds what it said.
    int32_t WritePresentationAttributes(const K_SvgStyleProp* style) const;
    int32_t WriteTextPositionAttributes(const SvgTextPositionAttributes* position) const;

    // Stand-alone writers.
    int32_t WriteTransformAttribute(const char* name, const SvgTransformList* list) const;
    int32_t WritePathDataAttribute(const SvgPathData* data) const;  // d
    // All four unset removes viewBox; one unset or a negative size is ERROR_INV_NUMBER.
    int32_t WriteViewBox(const SvgViewBox* box) const;
    // Only the align word is written: "meet" and "slice" never reach the file.
    int32_t WritePreserveAspectRatio(const SvgPreserveAspectRatio* ratio) const;
    int32_t WriteOrientAttribute(const SvgKeywordAngle* orient) const;
    int32_t WritePathLengthAttribute(const SvgPercentage* pathLength) const;

private:
    // Sets an attribute from a new tracked text and frees it; a status other
    // than SUCCESS from the formatter is returned and nothing is set.
    int32_t SetOwnedText(const char* name, int32_t formatStatus, KvChar* text, bool trim) const;
    // Sets an attribute from a fixed-buffer formatter; kStatusNoValue removes it.
    int32_t SetScalarText(const char* name, int32_t formatStatus, const KvChar* text) const;

    pugi::xml_node node_;
    uint32_t version_;
    bool fresh_ = false;
};
