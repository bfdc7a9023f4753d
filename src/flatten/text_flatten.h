// Text layout for the flat form: a `text` element and its `tspan` and `a`
// descendants become plain `text` runs with one x and y per character, in
// the root's user space. The pen moves by the measuring engine's advance of
// each character, so what the renderer draws character by character lands
// where it was measured. Anchoring of each chunk, white space, the position
// lists and the matrix are settled here; the renderer only sets glyphs.
//
// tref, textPath and altGlyph have no layout here: the walk steps over them
// with their content. Text inside a clipPath is sent to the clip like any
// shape.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "flatten/svg_flattener.h"
#include "kvsvg/kvdrw.h"

// A font on the measuring engine with the advances it has measured. The
// same character measures the same every time, so each is asked once.
class CSvgFont {
public:
    explicit CSvgFont(kvdrw::Engine* engine) : engine_(engine) {}
    ~CSvgFont();
    CSvgFont(const CSvgFont&) = delete;
    CSvgFont& operator=(const CSvgFont&) = delete;

    // ERROR_NO_ENGINE without an engine; a family the engine cannot give
    // leaves the font null, and every advance 0.
    int32_t Setup(const std::u16string& family, double points, int32_t styleBits);
    // Advance of one character (one or two UTF-16 units); 0 without a font.
    double Advance(const char16_t* text, int32_t length);
    // Advances of a stretch shaped as one: a cluster's advance goes to its
    // first unit. Letters that join are measured so, since they are drawn
    // joined. False when it cannot be measured.
    bool ShapedAdvances(const char16_t* text, int32_t length, double* advances);
    const kvdrw::FontMetrics& metrics() const { return metrics_; }
    kvdrw::Font* handle() const { return font_; }

private:
    kvdrw::Engine* engine_;
    kvdrw::Font* font_ = nullptr;
    kvdrw::FontMetrics metrics_{};
    std::unordered_map<uint32_t, double> advances_;
};

// The fonts of one flattening run by family, size and style, so that the
// thousands of strings of a page share a few fonts and their advances.
// Goes before the engine does.
class CSvgFontCache {
public:
    explicit CSvgFontCache(kvdrw::Engine* engine) : engine_(engine) {}
    // The font for a cascaded style; null only when memory ran out, with
    // *status telling why (ERROR_NO_ENGINE without an engine).
    CSvgFont* FontFor(const K_SvgStyleProp& style, int32_t* status);

private:
    kvdrw::Engine* engine_;
    std::map<std::u16string, std::unique_ptr<CSvgFont>> fonts_;
};

// The handler of `text`.
int32_t FlattenText(CSvgFlattener& flattener, CSvgContext& context);

// Adds the glyph outlines of one flat text run, as the renderer would set
// its characters (each at its x and y, turned by its rotate, under the
// run's transform), to `figure`: text inside a clipPath clips by its shape.
int32_t AddTextOutline(kvdrw::Engine& engine, kvdrw::GraphicsPath& figure, const SvgTextElement& text);
