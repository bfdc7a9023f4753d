// The attributes by which a file remembers what the system computed about
// it, kept on the root element: IsFlat, DpiX, DpiY, Bounds and IsTrimmed.
// Reads them into and writes them from the cached bounds record; finding the
// root and keeping the cache are the document's.
#pragma once

#include <cstdint>

#include <pugixml.hpp>

#include "kvsvg/kvsvg.h"

// True only for a boolean keyword "true" (any case); anything else, and a
// missing attribute, is false.
bool ReadIsFlatAttribute(pugi::xml_node root);
// "true" when flat, otherwise the attribute is removed.
int32_t WriteIsFlatAttribute(pugi::xml_node root, bool flat);

// Fills dpiX, dpiY (a number, else unset), the rectangle and hasBounds
// (Bounds present; "Empty" gives a zero rectangle) and isTrimmed (missing is
// 0). The size field is left alone. A Bounds value with fewer than four
// numbers and no "Empty" is ERROR_INV_PARAMETER.
int32_t ReadFileOptionAttributes(pugi::xml_node root, SvgBounds* bounds);
// Null or hasBounds 0: removes Bounds. Otherwise writes DpiX and DpiY (-1.0
// or unset removes them), Bounds as "x, y, width, height" or "Empty" for a
// rectangle without area, and IsTrimmed.
int32_t WriteFileOptionAttributes(pugi::xml_node root, const SvgBounds* bounds);
// DpiX and DpiY alone; -1.0 or unset removes them.
int32_t WriteResolutionAttributes(pugi::xml_node root, double dpiX, double dpiY);
