// The fixed test scene of `kvsvg selftest-draw`, for any engine of the
// public interface. Sees only include/kvsvg, like the tool.
#pragma once

#include <cstdint>

#include "kvsvg/kvdrw.h"

constexpr int32_t kSelftestSceneWidth = 800;
constexpr int32_t kSelftestSceneHeight = 600;

// Draws the scene over a white page of the size above. A failed call is
// named on stderr and ends the scene: false.
bool DrawSelftestScene(kvdrw::Engine& engine);
