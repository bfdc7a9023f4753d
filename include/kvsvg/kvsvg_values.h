/* kvsvg: value records shared by element records (lengths, colours, paint,
 * transforms, path data, the style record). Included by kvsvg.h. C11 and C++. */
#ifndef KVSVG_KVSVG_VALUES_H
#define KVSVG_KVSVG_VALUES_H

#include <stdint.h>

#endif /* KVSVG_KVSVG_VALUES_H */
