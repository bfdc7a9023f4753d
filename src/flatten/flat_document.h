// The whole of one flattening: a new target document, the run, and the
// hand-over. What the export does behind its checks.
#pragma once

#include <cstdint>

#include "kvsvg/kvsvg.h"

class SvgDocumentHandler;

// *flat receives the new document on SUCCESS and stays null otherwise;
// nothing of a failed run survives it.
int32_t FlattenDocument(SvgDocumentHandler& source, const K_SvgFlatOptions* options, SvgHandle* flat);
