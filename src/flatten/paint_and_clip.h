// Where shapes meet paint servers, clip paths and masks: the first pass that
// collects clip geometry by id, the copies of paint servers made for each
// shape, the clip of groups and shapes, and masks. Until those are built the
// functions here leave every reference as it stands, which is what the
// flattener does for a reference it cannot resolve.
#pragma once

#include <cstdint>
#include <string>

#include "flatten/svg_flattener.h"

// The first pass: every clipPath of the source, collected by id.
int32_t FlattenClipPaths(CSvgFlattener& flattener, CSvgContext& rootContext);
// Rewrites the fill and stroke references and the clip-path of a finished
// record (kind `type`) for the output; `extraMatrix` (may be null) is a
// matrix the element keeps as its own transform.
int32_t ResolvePaintAndClip(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                            const CSvgBoundingBox& box, const SvgMatrix* extraMatrix);
// Reads the mask attribute of context.sourceNode into the context.
int32_t ReadElementMask(CSvgFlattener& flattener, CSvgContext& context);
// Puts the clip of a group (its clip-path) in force for its children.
int32_t ResolveGroupClip(CSvgFlattener& flattener, CSvgContext& context, const K_SvgStyleProp& groupStyle);
// A shape inside clip content joins the clip being collected.
int32_t AddClipGeometry(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                        const CSvgBoundingBox& box);
// A shape in clip content that has a clip-path of its own.
int32_t ClipShapeAgainstClip(CSvgFlattener& flattener, CSvgContext& context, void* record, uint32_t type,
                             const CSvgBoundingBox& box);
// Applies the context's mask to a rect record whose box is in the user
// space that `matrix` bakes: the rect becomes an image of its fill with the
// mask as alpha. *maskUsed tells whether the rect was consumed (it is, also
// when the mask holds no picture: the rect is then dropped).
int32_t ApplyMaskToRect(CSvgFlattener& flattener, CSvgContext& context, SvgRectElement& rect,
                        const SvgMatrix& matrix, bool* maskUsed);
// The same for a picture filling the box x, y, width, height: `href` gets
// the masked picture as a PNG data URI and *masked is set; a mask without a
// picture leaves *masked clear, and the image is dropped.
int32_t ApplyMaskToImage(CSvgFlattener& flattener, CSvgContext& context, KvBitmap& picture, double x, double y,
                         double width, double height, std::u16string& href, bool* masked);
