// What the drawing and bounds exports do behind their checks: drawing a flat
// document on an engine or a bitmap, the root's view matrix, and measuring
// the document and its elements with a measuring engine, so that measured
// values agree with what a bitmap draw shows.
#pragma once

#include <cstdint>

#include "kvsvg/kvbase.h"
#include "kvsvg/kvdrw.h"
#include "kvsvg/kvsvg.h"

class SvgDocumentHandler;
class SvgElementView;

int32_t DrawDocument(kvdrw::Engine& engine, SvgDocumentHandler& document, const SvgRenderOptions* options);
int32_t RasterizeDocument(KvBitmap& bitmap, SvgDocumentHandler& document, const SvgRenderOptions* options);

// The root svg's viewBox matrix followed by its transform; identity when
// the document has no root.
int32_t GetRootViewMatrix(SvgDocumentHandler& document, KvMatrix& matrix);

// The render-optimised state: Begin nests, End releases at the last, and
// a change of the tree outside an update bracket drops it.
int32_t BeginRenderOptimize(SvgDocumentHandler& document);
int32_t EndRenderOptimize(SvgDocumentHandler& document);
bool IsRenderOptimized(SvgDocumentHandler& document);

int32_t CalculateBounds(SvgDocumentHandler& document, int32_t trimmed);
int32_t GetElementBounds(const SvgElementView& element, KvRectangle& bounds);
int32_t RecalculateBounds(SvgDocumentHandler& document, const KvRectangle& rectangle, const double* resolution);
