// Builds a vector object from SVG text read by the older reader: the root's
// size and viewBox become the frame and unit, and each shape, text and
// image becomes one object with a pen and a brush of its paint.
#pragma once

#include <cstdint>
#include <string_view>

struct VectorCalls;

// *vector receives a new object of the library on SUCCESS and stays null
// otherwise. Statuses of the reader and of the library pass out.
int32_t BuildVectorFromLegacyText(const VectorCalls& calls, std::string_view text, void** vector);
