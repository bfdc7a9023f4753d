// The element table: SVG element names by type number and the type of a name.
// The lookup is case-sensitive and treats "svg:rect" as "rect"; everything
// it does not know is type 0.
#pragma once

#include <cstdint>
#include <string_view>

constexpr uint32_t kSvgTypeUnknown = 0;
constexpr uint32_t kSvgTypeDocument = 1;
constexpr uint32_t kSvgFirstElementType = 2;
constexpr uint32_t kSvgLastElementType = 46;

// Name of an element type 2..46 (UTF-8), or an empty view for any other.
std::string_view SvgElementName(uint32_t type);
std::u16string_view SvgElementNameWide(uint32_t type);

// Type of an element name as stored in the tree (UTF-8).
uint32_t LookupElementType(std::string_view name);

// The hash of every keyword table: low byte of each character, less 32,
// times 33, in unsigned 32-bit arithmetic.
inline uint32_t KeywordHash(std::string_view text)
{
    uint32_t hash = 0;
    for (unsigned char c : text)
        hash = hash * 33u + static_cast<uint8_t>(c - 32u);
    return hash;
}
