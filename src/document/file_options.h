// The attributes by which a file remembers what the system computed about it
// (IsFlat, DpiX, DpiY, Bounds, IsTrimmed) and the root's version, read and
// written on the root element. They ride along in any save.
#pragma once

#include <cstdint>

#include <pugixml.hpp>

#include "kvsvg/kvsvg.h"

// 0 none stated, 1 for exactly 1.0, 2 for exactly 1.1; ERROR_INV_NUMBER when
// the attribute is there but is not a number.
int32_t ReadRootVersion(pugi::xml_node root, uint32_t& version);
bool ReadFlatAttribute(pugi::xml_node root);
int32_t WriteFlatAttribute(pugi::xml_node root, bool flat);
// Fills everything after `size`; a Bounds value with fewer than four numbers
// that is not "Empty" gives ERROR_INV_PARAMETER.
int32_t ReadBoundsAttributes(pugi::xml_node root, SvgBounds& bounds);
int32_t WriteBoundsAttributes(pugi::xml_node root, const SvgBounds* bounds);
void RemoveBoundsAttribute(pugi::xml_node root);
