// The older save road: walks the objects of a vector object through the
// vector library and writes SVG text straight into a string, with no tree
// and no handlers. The text has a fixed prologue, CR LF line ends, one
// element a line, colours as "#RRGGBB", hatched brushes as six fixed
// black patterns, and rasters as PNG data URIs. Which file it goes to is
// the caller's business.
#pragma once

#include <cstdint>
#include <string>

struct VectorCalls;

// Appends the document to text. ERROR_VECTOR_OBJECT when the library refuses
// an object, pen or brush that an object names; other statuses of the
// library pass out as they are. Every object read is freed again.
int32_t WriteVectorAsSvg(const VectorCalls& calls, void* vector, std::string& text);
