// Code 1, orthographic projection, north polar aspect, unit sphere.
//
// Snyder, J. P. (1987): Map Projections - A Working Manual. U.S. Geological
// Survey Professional Paper 1395, pp. 145-153 (forward and inverse of the
// orthographic projection), with phi1 = 90 deg:
//   x =  cos(lat) sin(d)
//   y = -cos(lat) cos(d)        (the central meridian runs down from the pole)
//   lat = acos(rho), lon = lon0 + atan2(x, -y),   rho = sqrt(x^2 + y^2)
// The pole is at the origin, the equator on the unit circle. Latitudes below
// 0.01 deg are raised to 0.01: the far hemisphere folds onto the rim.
#include <cmath>

#include "projection/ortho_common.h"

namespace kestrel {
namespace {

void forward(const ProjState &s, double &x, double &y) {
    const double d = (x - s.centreLon) * kDegToRad;
    double lat = y;
    if (lat < 0.01) lat = 0.01;
    const double r = std::cos(lat * kDegToRad);
    x = std::sin(d) * r;
    y = -std::cos(d) * r;
}

void inverse(const ProjState &s, double &x, double &y) { orthoPolarInverse(s, x, y, true); }

bool onMap(double x, double y) { return orthoOnDisc(x, y); }

}  // namespace

const ProjectionDef kProjOrthoNorth = {1, "ortho-north", forward, inverse, onMap};

}  // namespace kestrel
