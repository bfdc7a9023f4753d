// Cuts a path that reaches far past the canvas down to what a window of
// device space around the canvas shows, for an engine whose rasteriser
// cannot hold the far coordinates (cairo's 24.8 fixed point wraps past
// eight million pixels). What shows inside the window is unchanged; the
// engine decides the window and when a path needs cutting.
#pragma once

#include "drawing/path_geometry.h"
#include "kvsvg/kvgeometry.h"

namespace kvdrw::native {

struct DeviceWindow {
    double left, top, right, bottom;
};

// True when a point of the path (curve controls included) lies, through
// the matrix, further than `limit` from the origin along either axis.
bool ReachesPast(const PathGeometry& path, const KvMatrix& toDevice, double limit);

// Where along a -> b (0 to 1) the segment lies inside the window; false when
// it misses it.
bool SegmentInWindow(const KvPoint& a, const KvPoint& b, const DeviceWindow& window, double& t0, double& t1);

// The path through the matrix, in device space, as closed figures that
// stay inside the window and give every point of it the winding number the
// whole path gives it: fills the same under either fill rule. Curves inside
// the window stay curves; elsewhere they become lines no further than
// `tolerance` pixels from them, or nothing where they cannot matter.
// Throws std::bad_alloc.
PathGeometry CutToWindowForFill(const PathGeometry& path, const KvMatrix& toDevice, const DeviceWindow& window,
                                double tolerance);

// The path through the matrix, in device space, with the stretches outside
// the window left out: a figure leaving the window ends there and starts
// again where it comes back. A closed figure stays closed when nothing of
// it is cut; otherwise the stretch through its start keeps its join. For a
// window larger than the canvas by what a pen's joins and caps reach.
// Throws std::bad_alloc.
PathGeometry CutToWindowForStroke(const PathGeometry& path, const KvMatrix& toDevice, const DeviceWindow& window,
                                  double tolerance);

}  // namespace kvdrw::native
