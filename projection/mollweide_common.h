// Pieces shared by the Mollweide projections (codes 4 and 6).
#ifndef KESTREL_MAPS_MOLLWEIDE_COMMON_H
#define KESTREL_MAPS_MOLLWEIDE_COMMON_H

#include <cmath>

#include "projection/projections.h"

namespace kestrel {

// The forward Mollweide is a polynomial in L = lat^2 (lat in degrees) that
// stands in for the iterative solution of the auxiliary angle:
//   x = d [rad] * P(L),   y = lat [deg] * Q(L).
// Its ellipse has semi-axes 2.845 (x) and 1.417 (y), slightly wider than the
// exact 2*sqrt(2) by sqrt(2); the inverse below is the exact one, so forward
// and inverse are deliberately not exact inverses of each other. The
// coefficients are part of the interface: maps drawn earlier must match.
inline double mollweideP(double L) {
    return ((7.701145053304345e-09 - 1.041717976402474e-12 * L) * L - 0.0001024921641431577) * L +
           0.90560600567451;
}

inline double mollweideQ(double L) {
    return (-2.918286130898466e-07 - 1.785287864372062e-11 * L) * L + 0.01928310553799;
}

constexpr double kMollweideRim = 0.999999;

// sqrt(x^2/8 + y^2/2): 1 on the rim of the exact unit-sphere ellipse.
inline double mollweideRadius(double x, double y) { return std::sqrt(0.125 * x * x + 0.5 * y * y); }

// Exact spherical inverse (Snyder 1987, pp. 249-252, R = 1):
//   theta = asin(y / sqrt 2)
//   lat   = asin((2 theta + sin 2 theta) / pi)
//   lon   = lon0 + pi x / (2 sqrt 2 cos theta)
// with the constants rounded as 0.7071068, 1.1107207 and 0.318309886.
inline void mollweideInverse(const ProjState &s, double &x, double &y) {
    const double r = mollweideRadius(x, y);
    if (r > kMollweideRim) {
        x *= kMollweideRim / r;
        y *= kMollweideRim / r;
    }
    const double theta = clampedAsin(0.7071068 * y);
    const double lon = (1.1107207 * x / std::cos(theta)) * kRadToDeg + s.centreLon;
    const double lat = clampedAsin((2.0 * theta + std::sin(2.0 * theta)) * 0.318309886) * kRadToDeg;
    x = lon;
    y = lat;
}

}  // namespace kestrel

#endif
