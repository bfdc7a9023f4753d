/* Compiled as strict C11 by the build: the public C headers must stay usable
 * from C. Nothing here runs. */
#include "kvsvg/kvbase.h"
#include "kvsvg/kvgeometry.h"
#include "kvsvg/kvsvg.h"
#include "kvsvg/kvsvg_filter.h"
#include "kvsvg/kvvec.h"

int kvsvg_c_header_check(void)
{
    SvgBounds bounds = {kSvgBoundsSize, 0, 0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};
    SvgNodesIterator iterator = {kSvgNodesIteratorSize, 0, 0};
    KvBitmap bitmap;
    (void)bitmap;
    return (int)(bounds.size + iterator.size) + SUCCESS;
}
