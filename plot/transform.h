// The user-to-device transform used by every drawing routine.
//
// pixel = trunc((u - umin) * pixPerUser + lowPix), evaluated in extended
// precision and truncated toward zero (not rounded): the host's pictures and
// its hit tests depend on exactly these pixels.
#ifndef KESTREL_PLOT_TRANSFORM_H
#define KESTREL_PLOT_TRANSFORM_H

#include <cmath>
#include <cstdint>
#include <limits>

#include "kestrel/globals.h"

namespace kestrel {

// Truncation toward zero into the int32 range (a value beyond it saturates
// instead of being undefined).
inline int32_t truncPixel(long double v) {
    if (!(v == v)) return 0;
    if (v >= 2147483647.0L) return std::numeric_limits<int32_t>::max();
    if (v <= -2147483648.0L) return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

inline int32_t axisPixel(const KAxis &a, float u) {
    return truncPixel((static_cast<long double>(u) - a.umin) * a.pixPerUser + a.lowPix);
}

inline int32_t xPixel(float x) { return axisPixel(VX, x); }
inline int32_t yPixel(float y) { return axisPixel(VY, y); }

}  // namespace kestrel

#endif
