// The element table as the document layer uses it: SVG element names by type
// number, and the type of a name read from the tree (UTF-8). The table itself
// lives with the other keyword tables in src/values.
#pragma once

#include <cstdint>
#include <string_view>

constexpr uint32_t kSvgTypeUnknown = 0;
constexpr uint32_t kSvgTypeDocument = 1;
constexpr uint32_t kSvgFirstElementType = 2;
constexpr uint32_t kSvgLastElementType = 46;

// Name of an element type 2..46, or an empty view for any other.
std::u16string_view SvgElementNameWide(uint32_t type);

// Type of an element name as stored in the tree; "svg:rect" is "rect", and
// what the table does not hold (in any other case too) is type 0.
uint32_t LookupElementType(std::string_view name);
