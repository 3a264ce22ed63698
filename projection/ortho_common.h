// Pieces shared by the orthographic projections (codes 1, 2, 3, 5).
#ifndef KESTREL_MAPS_ORTHO_COMMON_H
#define KESTREL_MAPS_ORTHO_COMMON_H

#include <cmath>

#include "projection/projections.h"

namespace kestrel {

// Inner radius of the disc: map points beyond it are pulled onto it before
// the inverse so that asin/acos stay in their domain.
constexpr double kOrthoRim = 0.999999;

// Disc test of codes 1, 2, 3 and 5.
inline bool orthoOnDisc(double x, double y) { return std::sqrt(x * x + y * y) <= kOrthoRim; }

// Inverse of the polar aspects (Snyder 1987, pp. 145-153, with
// phi1 = +-90 deg): rho = cos(lat), a = atan2(x, -+y) = lon - lon0.
// north = true for code 1 (central meridian pointing down), false for code 3.
inline void orthoPolarInverse(const ProjState &s, double &x, double &y, bool north) {
    const double rho = std::sqrt(x * x + y * y);
    double tested = rho;
    if (rho > kOrthoRim) {
        const double f = kOrthoRim / rho;
        x *= f;
        y *= f;
        tested = f;
    }
    // The pole itself has no longitude: a point within 0.01 of it is read as
    // a fixed point close by. With scaling the factor, not the radius, is
    // tested, so a point beyond radius 99.9999 takes the same way.
    if (tested < 0.01) {
        x = static_cast<double>(0.05f);
        y = static_cast<double>(0.05f);
    }
    const double yp = north ? -y : y;
    const double a = std::atan2(x, yp);
    // y'/cos a = x/sin a = rho. Near the central meridian the cosine is the
    // divisor; elsewhere the sine, except close to the opposite meridian
    // (|a| near pi) where sin a goes to zero and x/sin a would lose every
    // digit (x = 0 there would read as the equator).
    const double ca = std::cos(a), sa = std::sin(a);
    const double r = (std::fabs(a) < 0.5 || std::fabs(sa) < std::fabs(ca)) ? yp / ca : x / sa;
    const double lat = clampedAcos(r) * kRadToDeg;
    x = a * kRadToDeg + s.centreLon;
    y = north ? lat : -lat;
}

}  // namespace kestrel

#endif
