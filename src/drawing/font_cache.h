// The typefaces of the drawing engines: a family name and style bits are
// resolved through fontconfig (so "Arial" finds its metric-compatible
// stand-in), opened once with FreeType for outlines and metrics and with
// HarfBuzz for shaping, and kept for the life of the process. Glyph outlines
// are cached per face.
//
// Process-wide and thread-safe. It lives outside tracked memory on purpose:
// a cache that outlives every engine must not count as a leak of any of them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <hb.h>

#include "kvsvg/kvgeometry.h"

namespace kvdrw::native {

// Fallback. A character that the requested face lacks is drawn with the
// first face fontconfig ranks for the request that has it (FcFontSort with
// the character in the pattern), so that Arabic, Hebrew or CJK in a Latin
// family draw as real glyphs. Measuring and drawing ask the same cache, so
// they always agree on the face of every character.
//
// Outline of one glyph in font units, y up, with the kvdrw type codes.
struct GlyphOutline {
    std::vector<KvPoint> points;
    std::vector<int32_t> types;
    bool hasInk = false;
    double left = 0, bottom = 0, right = 0, top = 0;  // control box, font units
};

// Vertical and decoration metrics in font units; descent is positive.
struct FaceMetrics {
    double unitsPerEm = 2048;
    double ascent = 0;
    double descent = 0;
    double lineSpacing = 0;  // ascent + descent + line gap
    double underlinePosition = 0;   // centre of the line, below the baseline when negative
    double underlineThickness = 0;
    double strikeOutPosition = 0;   // top of the line, above the baseline when positive
    double strikeOutThickness = 0;
    double averageWidth = 0;
    double maxAdvance = 0;
};

class FontFace {
public:
    virtual ~FontFace() = default;
    virtual const std::string& familyName() const = 0;  // UTF-8, as the face names itself
    virtual const FaceMetrics& metrics() const = 0;
    // The face maps the character to a glyph of its own.
    virtual bool HasGlyph(uint32_t character) const = 0;
    // Shaping font at a scale of one unit per font unit. Safe to share.
    virtual hb_font_t* shapingFont() const = 0;
    // Null when the glyph cannot be loaded. The outline lives as long as the
    // process; synthetic bold and slant are already applied.
    virtual const GlyphOutline* Outline(uint32_t glyph) const = 0;
};

class FontCache {
public:
    static FontCache& Instance();
    // Null only when the machine has no usable font at all. An unknown family
    // falls back to fontconfig's best match; the generic names "sans-serif"
    // (also written "sansserif"), "serif" and "monospace" are understood.
    virtual const FontFace* Resolve(std::u16string_view family, bool bold, bool italic) = 0;
    // The face to draw `character` with when `primary` has no glyph for it:
    // the best-ranked installed face for the same request that has one.
    // Null when no installed face has it.
    virtual const FontFace* FallbackFor(const FontFace& primary, uint32_t character, bool bold, bool italic) = 0;

protected:
    virtual ~FontCache() = default;
};

}  // namespace kvdrw::native
