// Markers for the standard-syntax rewrite. The flat form has no markers:
// the library drops a marker with its content, so arrowheads and dots on
// lines vanish. The rewrite draws them the way standard SVG places them:
// after each path, line, polyline or polygon with marker-start, marker-mid
// or marker-end (as attributes or in its style), a group in the element's
// own space holds a copy of the marker's content at every vertex it marks,
// turned by orient (auto, auto-start-reverse or an angle), scaled by the
// stroke width (markerUnits) and by the marker's viewBox into markerWidth
// by markerHeight, with refX, refY on the vertex.
//
// Kept simple where viewers rarely differ: a curve's direction at its ends
// comes from its control points and an arc's from its chord; the marker's
// viewport does not clip its content; copies lose their ids; context-fill
// and context-stroke take the element's own fill and stroke. Elements inside
// clipPath or marker get none, and expansion stops, leaving the rest
// without markers, once kvlimits::kMaxMarkerCopies elements were copied.
#pragma once

#include <cstdint>

#include <pugixml.hpp>

// Expands the markers of the whole tree in place; ERROR_NO_MEMORY leaves
// what was expanded so far, and the caller discards the document then.
int32_t ExpandMarkers(pugi::xml_document& tree);
