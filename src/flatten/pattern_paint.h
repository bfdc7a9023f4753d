// Patterns for one use. By default a shape filled or stroked with a pattern
// gets its own copy of the pattern, the href chain merged, the whole matrix
// in patternTransform, a generated id, and the content flattened inside it.
// With SVG_FLAT_EXPAND_PATTERNS a fill is drawn instead: the tiles that
// cover the shape are flattened in place, clipped to the shape, and the
// shape keeps only its stroke. That form needs nothing of the drawing side,
// so any engine shows patterns.
#pragma once

#include <cstdint>

#include "flatten/svg_flattener.h"

// `paint` names `pattern`, a pattern of the source. `shapeClip` (may be
// null) makes the clip of the shape's outline for the expanded form; with
// null, or for a stroke, the copy is written. A pattern whose content is
// being flattened already (one that paints itself) leaves the paint as
// written, like a reference to nothing.
using ShapeClipMaker = CSvgClipPath* (*)(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                                        const CSvgBoundingBox& box);
int32_t FlattenPattern(CSvgFlattener& flattener, CSvgContext& context, const SvgElementView& pattern,
                       SvgPaint& paint, bool isFill, void* record, uint32_t type, const CSvgBoundingBox& box,
                       ShapeClipMaker shapeClip);
