// Reads the attributes of one element into value records: the single readers
// fetch one attribute and hand its text to a value parser, the group readers
// fill one attribute group in a fixed order. Knows one node, the document's
// version and the read flags, and nothing of handlers or documents.
//
// Every reader returns a status. A missing attribute leaves its field alone
// unless said otherwise. A group stops at the first status other than
// SUCCESS, keeping what it read; an unknown keyword is not such a status
// here: the word is dropped and the group goes on.
#pragma once

#include <cstdint>
#include <string>

#include <pugixml.hpp>

#include "kvsvg/kvsvg.h"
#include "values/keyword_table.h"

class SvgAttributeReader {
public:
    // version: 0 not stated, 1 "1.0", 2 "1.1". flags: kReadDropVersionErrors.
    SvgAttributeReader(pugi::xml_node node, uint32_t version, uint32_t flags = 0)
        : node_(node), version_(version), flags_(flags)
    {
        for (pugi::xml_attribute attribute = node.first_attribute(); attribute; attribute = attribute.next_attribute())
            initials_ |= InitialBit(attribute.name());
    }

    pugi::xml_node node() const { return node_; }
    uint32_t version() const { return version_; }
    uint32_t flags() const { return flags_; }

    // The attribute's text as UTF-16; *present is false when there is none.
    int32_t GetText(const char* name, std::u16string* text, bool* present) const;

    // Single readers.
    // Missing: the field becomes 0 when addOne is set, else stays. Present:
    // the keyword's index (plus one with addOne); an unknown word is SUCCESS
    // with the field unchanged.
    int32_t ReadEnumAttribute(const char* name, uint32_t* field, const KeywordTable& table, bool addOne = true) const;
    int32_t ReadLengthAttribute(const char* name, SvgLength* length) const;
    // A trimmed or a plain copy into the owned field.
    int32_t ReadStringAttribute(const char* name, KvChar** field, bool trim = true) const;
    // Missing: the unset double. Present: the number, or ERROR_INV_NUMBER.
    int32_t ReadNumberAttribute(const char* name, double* field) const;
    // Missing: -1. Present: 1 for "true", 0 for "false" (any case), or the
    // lookup's ERROR_UNKNOWN_KEYWORD.
    int32_t ReadBooleanAttribute(const char* name, int32_t* field) const;
    int32_t ReadAngleAttribute(const char* name, SvgAngle* angle) const;
    int32_t ReadPercentageAttribute(const char* name, SvgPercentage* percentage) const;
    int32_t ReadLengthListAttribute(const char* name, SvgLength** values, uint32_t* count) const;
    int32_t ReadNumberListAttribute(const char* name, double** values, uint32_t* count) const;
    int32_t ReadTransformAttribute(const char* name, SvgTransformList* list) const;
    int32_t ReadPathDataAttribute(SvgPathData* data) const;                      // d
    int32_t ReadPointsAttribute(SvgPoint** points, uint32_t* count) const;        // points
    int32_t ReadViewBoxAttribute(SvgViewBox* box) const;                         // viewBox
    int32_t ReadPreserveAspectRatioAttribute(SvgPreserveAspectRatio* ratio) const; // unknown words dropped
    int32_t ReadOrientAttribute(SvgKeywordAngle* orient) const;                  // orient
    int32_t ReadPathLengthAttribute(SvgPercentage* pathLength) const;            // pathLength
    // The version attribute: 1 for "1.0", 2 for "1.1", else 0.
    uint32_t ReadVersionAttribute() const;

    // Group readers, mirroring the group writers.
    int32_t ReadCoreAttributes(SvgCoreAttributes* core) const;
    int32_t ReadConditionalAttributes(SvgConditionalAttributes* conditional) const;
    // href (optional) receives xlink:href, or href when that is missing.
    int32_t ReadXlinkAttributes(SvgXlinkAttributes* xlink, KvChar** href = nullptr) const;
    int32_t ReadFillAttributes(SvgFill* fill) const;
    int32_t ReadStrokeAttributes(SvgStroke* stroke) const;
    int32_t ReadMarkerAttributes(SvgMarkerAttributes* markers) const;
    int32_t ReadColorAttributes(SvgColorAttributes* rendering) const;
    int32_t ReadVisibilityAttributes(SvgVisibilityAttributes* visibility) const;
    int32_t ReadStopAttributes(SvgStopAttributes* stop) const;
    int32_t ReadGlyphOrientationAttributes(SvgGlyphOrientationAttributes* orientation) const;
    int32_t ReadSpacingAttributes(SvgSpacingAttributes* spacing) const;
    int32_t ReadBaselineAttributes(SvgBaselineAttributes* baseline) const;
    int32_t ReadFontAttributes(SvgFontAttributes* font) const;
    int32_t ReadDirectionAttributes(SvgDirectionAttributes* direction) const;
    int32_t ReadTextAttributes(SvgTextAttributes* text) const;
    int32_t ReadPaintAttributes(SvgPaintAttributes* paint) const;
    int32_t ReadClipRectAttributes(SvgClipRectAttributes* clipRect) const;
    int32_t ReadColorValueAttributes(SvgColorValueAttributes* colorValue) const;
    // clip-path, the colour value, clip rectangle, stop, paint and text
    // groups, opacity, and last the style attribute, whose properties win.
    int32_t ReadPresentationAttributes(K_SvgStyleProp* style) const;
    // dx, dy and rotate (not at version 1), then x and y.
    int32_t ReadTextPositionAttributes(SvgTextPositionAttributes* position) const;

private:
    template <class Parse>
    int32_t ReadWith(const char* name, Parse parse) const;
    // A record asks for some sixty names of which an element holds a few;
    // a name whose first letter no attribute has is answered without a search.
    static uint32_t InitialBit(const char* name)
    {
        const unsigned char c = static_cast<unsigned char>(name[0]);
        return (c >= 'a' && c <= 'z') ? 1u << (c - 'a') : 1u << 31;
    }
    pugi::xml_attribute Find(const char* name) const
    {
        return (initials_ & InitialBit(name)) ? node_.attribute(name) : pugi::xml_attribute();
    }

    pugi::xml_node node_;
    uint32_t version_;
    uint32_t flags_;
    uint32_t initials_ = 0;
};
