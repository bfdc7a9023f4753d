// The style attribute and the presentation properties it may carry: cuts
// "name:value;..." into pairs and hands each to the parser of its property,
// filling the element's style record. Properties outside the first 65 of the
// property table are known by name and ignored, and so are a few inside it
// (color, clip, mask, clip-rule, overflow, cursor, filter and the flood,
// lighting and pointer properties): as presentation attributes some of them
// are read by the group readers, in a style attribute they have no effect.
#pragma once

#include <cstdint>
#include <string_view>

#include "kvsvg/kvsvg.h"

class SvgAttributeReader;

// Parses a style attribute into the record. A null or empty text is SUCCESS;
// the first property that fails ends the parse with its status. Names and
// values are held in 256 characters; longer ones are cut to 255.
int32_t ParseStyleAttribute(const SvgAttributeReader& reader, const KvChar* text, K_SvgStyleProp* style);
int32_t ParseStyleAttribute(const SvgAttributeReader& reader, std::u16string_view text, K_SvgStyleProp* style);

// One property by name (case-blind). An unknown name, or one past the
// presentation properties, is SUCCESS and changes nothing.
int32_t ParsePresentationProperty(const SvgAttributeReader& reader, K_SvgStyleProp* style, std::u16string_view name,
                                  std::u16string_view value);
