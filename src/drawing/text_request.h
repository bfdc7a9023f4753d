// The text operations shared by the engines and by GraphicsPath::AddString:
// checking a request, laying it out with the font and string format given,
// and measuring or outlining the result, so that every text call of every
// engine of this library lays text out the same way.
#pragma once

#include <cstdint>
#include <string>

#include "drawing/path_geometry.h"
#include "drawing/text_layout.h"
#include "kvsvg/kvdrw.h"

namespace kvdrw::native {

struct TextRequest {
    const char16_t* text;
    int32_t length;  // -1: up to the terminator
    kvdrw::Font* font;
    kvdrw::StringFormat* format;  // null: near, near, no flags
};

// Appends the outlines of the text. placement.x, y, boxWidth and boxHeight
// come from the caller; the alignments and flags are read from the format.
// wrapWidth above 0 breaks lines to it. ERROR_INV_PARAMETER for a font that
// is not of this library or a null text with a length. Glyphs are wound
// for the non-zero rule; the path's fill mode is the caller's. Throws
// std::bad_alloc.
int32_t AppendTextOutline(PathGeometry& path, double resolutionDpi, const TextRequest& request,
                          TextPlacement placement, double wrapWidth);

// The size of the lines that fit in maxHeight (all when not above 0), lines
// broken to wrapWidth when above 0, and how many units and lines that is.
// Any out pointer but size may be null. Catches std::bad_alloc.
int32_t MeasureText(double resolutionDpi, const TextRequest& request, double wrapWidth, double maxHeight,
                    kvdrw::Size* size, int32_t* charactersFitted, int32_t* linesFilled);

// UTF-8 to UTF-16; length -1 means up to the terminator.
int32_t WidenText(const char* text, int32_t length, std::u16string& wide);
}  // namespace kvdrw::native
