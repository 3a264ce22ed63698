// The map style of the axis routines.
//
// In map style the axes draw a frame band instead of ticks and axis line and
// write geographic labels. Both belong to the maps code, which fills this
// hook before it calls XAxisLabels / YAxisLabels with mode bit 0 set; a
// member left null falls back to the plain axis (ticks and axis line, "%g"
// labels).
#ifndef KESTREL_PLOT_AXES_H
#define KESTREL_PLOT_AXES_H

#include <cstddef>
#include <cstdint>

#include "kestrel/types.h"

namespace kestrel {

struct MapAxisStyle {
    // The frame band of the x (y) axis: DrawXMapFrame(dc, 0, origin, tick).
    void (*xFrame)(KDC dc, int32_t which, float origin, float tick);
    void (*yFrame)(KDC dc, int32_t which, float origin, float tick);
    // The label text of a longitude (latitude) into out (size bytes).
    void (*lonLabel)(float value, char *out, size_t size);
    void (*latLabel)(float value, char *out, size_t size);
};

extern MapAxisStyle gMapAxisStyle;

}  // namespace kestrel

#endif
