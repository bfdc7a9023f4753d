// The colour keywords of SVG (the 147 names), by exact comparison.
#pragma once

#include <cstdint>
#include <string_view>

// Red, green and blue of a colour keyword; false for a name not known.
bool LookupSvgColorName(std::u16string_view name, uint8_t rgb[3]);
