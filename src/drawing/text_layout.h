// Lays text out for drawing and measuring alike, so that a measured string
// and a drawn one agree: splits it into paragraphs at line feeds, shapes with
// HarfBuzz, breaks lines at word boundaries to a width, places the lines by
// the string format's alignments and direction flags, and turns the glyphs
// into outlines.
//
// Faces. Each character is set in the font's own face when that face has
// it, otherwise in the fallback face the font cache names for it; marks,
// joiners and neutral characters stay with the face and direction of the
// text around them. Each stretch of one face and one direction is shaped
// on its own, so a right-to-left word inside left-to-right text keeps its
// letters in reading order.
//
// Placement. Along a line, near is the left end (the right end for
// right-to-left text), far the other end. Across lines, near puts the top of
// the first line at the origin, so its baseline lies one ascent below; far
// puts the bottom of the last line there. Vertical text is the horizontal
// layout turned a quarter clockwise about the origin, glyph tops facing +x,
// and its line alignment runs the other way: near puts the bottom of the
// line at the origin's x, so the glyphs stand to its right.
#pragma once

#include <cstdint>
#include <vector>

#include "drawing/font_cache.h"
#include "drawing/path_geometry.h"

namespace kvdrw::native {

struct TextLine {
    int32_t start = 0;   // first UTF-16 unit
    int32_t length = 0;  // units drawn: the line break and the blanks a wrap left behind are not
    int32_t consumed = 0;  // units this line uses up, break and blanks included
    double width = 0;    // pixels along the line
};

struct TextPlacement {
    double x = 0, y = 0;
    double boxWidth = 0, boxHeight = 0;  // 0: no box in that direction
    int32_t alignment = 0;
    int32_t lineAlignment = 0;
    int32_t flags = 0;  // kvdrw::FormatFlags
};

class TextLayout {
public:
    // emPixels: the em size in pixels; style: kvdrw::FontStyle bits (only
    // underline and strike-out matter here; bold and italic chose the face).
    TextLayout(const FontFace& face, double emPixels, int32_t style, int32_t flags);

    // Breaks the text into lines no wider than maxWidth when it is above 0.
    // Throws std::bad_alloc.
    void Layout(const char16_t* text, int32_t length, double maxWidth);

    const std::vector<TextLine>& lines() const { return lines_; }
    double ascent() const { return ascent_; }
    double descent() const { return descent_; }
    double lineSpacing() const { return lineSpacing_; }
    double scale() const { return scale_; }  // pixels per font unit

    // Whole lines within a height (above 0; otherwise all), at least one.
    int32_t LinesWithin(double maxHeight) const;
    // Width of the widest of the first `count` lines, and their height.
    void MeasureLines(int32_t count, double& width, double& height) const;
    // Units the first `count` lines use up.
    int32_t UnitsConsumed(int32_t count) const;

    // Appends the outlines of the first `count` lines, with their underline
    // and strike-out, placed as told. Throws std::bad_alloc.
    void AppendOutlines(PathGeometry& path, const TextPlacement& placement, int32_t count) const;

    // Advance of each unit of a piece of text shaped alone: a cluster's
    // advance goes to its first unit.
    void UnitAdvances(const char16_t* text, int32_t length, std::vector<double>& advances) const;
    // Glyphs of a piece of text shaped alone, with its total advance and,
    // when asked for, the face of each glyph.
    void Shape(const char16_t* text, int32_t length, std::vector<uint32_t>& glyphs, std::vector<KvPoint>& positions,
               double& advance, std::vector<const FontFace*>* faces = nullptr) const;
    // Pixels per font unit of a face at this layout's em size.
    double ScaleOf(const FontFace& face) const { return emPixels_ / face.metrics().unitsPerEm; }

private:
    // A stretch of text set in one face and one direction.
    struct FaceRun {
        int32_t start = 0;
        int32_t length = 0;
        const FontFace* face = nullptr;
        bool rightToLeft = false;
    };
    // Splits text into runs by face and direction, in logical order.
    void Itemize(const char16_t* text, int32_t length, std::vector<FaceRun>& runs) const;
    // Shapes one run with its face; glyphs in visual order.
    void ShapeRun(const char16_t* text, const FaceRun& run, hb_buffer_t* buffer) const;

    const FontFace& face_;
    double emPixels_;
    double scale_;
    int32_t style_;
    int32_t flags_;
    double ascent_, descent_, lineSpacing_;
    const char16_t* text_ = nullptr;
    std::vector<TextLine> lines_;
};

// Mirrored form of a character for right-to-left layout, or the character.
uint32_t MirroredCharacter(uint32_t character);

}  // namespace kvdrw::native
