// Code 2, orthographic projection, equatorial aspect, unit sphere.
//
// Snyder, J. P. (1987): Map Projections - A Working Manual. U.S. Geological
// Survey Professional Paper 1395, pp. 145-153 (forward and inverse of the
// orthographic projection), with phi1 = 0:
//   x = cos(lat) sin(d)
//   y = sin(lat)
//   lat = asin(y), lon = lon0 + asin(x / cos(lat))
// The longitude offset d is held to +-89.99 deg, so the far hemisphere
// folds onto the rim instead of showing through.
#include <cmath>

#include "projection/ortho_common.h"

namespace kestrel {
namespace {

void forward(const ProjState &s, double &x, double &y) {
    double d = x - s.centreLon;
    if (d < -89.99) d = -89.99;
    else if (d > 89.99) d = 89.99;
    const double lat = y * kDegToRad;
    x = std::cos(lat) * std::sin(d * kDegToRad);
    y = std::sin(lat);
}

void inverse(const ProjState &s, double &x, double &y) {
    const double rho = std::sqrt(x * x + y * y);
    if (rho > kOrthoRim) {
        x *= kOrthoRim / rho;
        y *= kOrthoRim / rho;
    }
    const double phi = clampedAsin(y);
    const double lon = clampedAsin(x / std::cos(phi)) * kRadToDeg + s.centreLon;
    y = phi * kRadToDeg;
    x = lon;
}

bool onMap(double x, double y) { return orthoOnDisc(x, y); }

}  // namespace

const ProjectionDef kProjOrthoEquatorial = {2, "ortho-equatorial", forward, inverse, onMap};

}  // namespace kestrel
