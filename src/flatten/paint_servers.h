// Per-use copies of gradients for the shapes that paint with them.
#pragma once

#include <cstdint>

#include "flatten/svg_flattener.h"

// Writes the copy of `gradient` (a linearGradient or radialGradient of the
// source) that `paint` uses on a shape with box `box`, ahead of the shape
// under context.outputParent, and points `paint` at it.
int32_t FlattenGradient(CSvgFlattener& flattener, CSvgContext& context, const SvgElementView& gradient,
                        SvgPaint& paint, const CSvgBoundingBox& box);
