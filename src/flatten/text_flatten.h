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

#include "flatten/svg_flattener.h"

// The handler of `text`.
int32_t FlattenText(CSvgFlattener& flattener, CSvgContext& context);
