// Code 6, oblique Mollweide: the Mollweide of code 4 in transverse aspect,
// with the map axes turned so that the rotated equator runs along y.
//
// The graticule is first rotated so that the point (lon0, 0) becomes the
// new north pole (Snyder, J. P. (1987): Map Projections - A Working Manual.
// U.S. Geological Survey Professional Paper 1395, pp. 29-32, rotation of
// the graticule, with the pole at latitude 0):
//   a    = d + 180 deg
//   lon' = atan2(sin(a) cos(lat), sin(lat)) + 90 deg   (90 at the new poles)
//   lat' = asin(-cos(lat) cos(a))
// and the polynomial Mollweide of code 4 is applied with the axes turned:
//   x = -Q(lat'^2) lat',   y = lon' [rad] P(lat'^2).
// lon' is held to +-179.99 deg; values from 179.99 to 270 (part of the
// hemisphere behind the map) all land on the 179.99 edge.
// The inverse is the plain Mollweide inverse of code 4: it does not undo the
// rotation, and no disc test applies (onMap is always true). Both are kept
// as the host has always had them.
#include <cmath>

#include "projection/mollweide_common.h"

namespace kestrel {
namespace {

void forward(const ProjState &s, double &x, double &y) {
    const double a = (x - s.centreLon + 180.0) * kDegToRad;
    const double lat = y * kDegToRad;
    const double u = std::sin(a) * std::cos(lat);
    const double v = std::sin(lat);
    double lonr = 90.0;
    if (!(std::fabs(u) < 1e-08 && std::fabs(v) < 1e-08)) lonr = std::atan2(u, v) * kRadToDeg + 90.0;
    const double latr = clampedAsin(-std::cos(lat) * std::cos(a)) * kRadToDeg;
    if (lonr < -179.99) lonr = -179.99;
    else if (lonr > 179.99) lonr = 179.99;
    const double L = latr * latr;
    x = -mollweideQ(L) * latr;
    y = lonr * kDegToRad * mollweideP(L);
}

void inverse(const ProjState &s, double &x, double &y) { mollweideInverse(s, x, y); }

bool onMap(double, double) { return true; }

}  // namespace

const ProjectionDef kProjMollweideOblique = {6, "mollweide-oblique", forward, inverse, onMap};

}  // namespace kestrel
