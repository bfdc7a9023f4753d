// The vector road of the codec plug-in: the file is sniffed, expanded when
// compressed, read by the older reader and built into a vector object of
// the vector library. fltInfo can keep that object in filterData for
// fltLoad, which hands it to the host.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvsvg/kvsvg_filter.h"

int32_t VectorInfo(KvFilterInfoRequest& request);
int32_t VectorLoad(KvFilterLoadRequest& request);

// Decides from the first bytes of a file whether the vector road may read
// it. SUCCESS with *offset where the text starts (3 past a UTF-8 mark);
// *compressed set for a gzip stream, which the caller expands and sniffs
// again; ERROR_FILE_FORMAT for text that is another kind of XML or not XML
// at all. Load options that name the SVG format skip the look.
int32_t SniffVectorFile(const uint8_t* bytes, size_t size, const KvFilterLoadOptions* options, size_t* offset,
                        bool* compressed);
