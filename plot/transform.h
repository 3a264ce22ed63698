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

// Truncation toward zero, saturating at +-2^30 pixels (NaN gives 0). A
// coordinate far off the device lands far off it still, yet leaves room for
// the pixel arithmetic that follows (a cell's right edge plus one, a pen's
// half width, a symbol's size) without overflowing int32. No device comes
// near 2^30 pixels.
constexpr int32_t kPixelLimit = 1 << 30;
inline int32_t truncPixel(long double v) {
    if (!(v == v)) return 0;
    if (v >= static_cast<long double>(kPixelLimit)) return kPixelLimit;
    if (v <= -static_cast<long double>(kPixelLimit)) return -kPixelLimit;
    return static_cast<int32_t>(v);
}

// A pixel coordinate from the host, limited the same way.
inline int32_t clampPixel(int64_t v) { return v > kPixelLimit ? kPixelLimit : v < -kPixelLimit ? -kPixelLimit : static_cast<int32_t>(v); }

inline int32_t axisPixel(const KAxis &a, float u) {
    return truncPixel((static_cast<long double>(u) - a.umin) * a.pixPerUser + a.lowPix);
}

inline int32_t xPixel(float x) { return axisPixel(VX, x); }
inline int32_t yPixel(float y) { return axisPixel(VY, y); }

}  // namespace kestrel

#endif
