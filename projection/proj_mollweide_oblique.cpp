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
// as the host has always had them. The whole-sphere form used for pictures
// of the whole globe is described in oblique_mollweide.h.
#include <cmath>

#include "projection/mollweide_common.h"
#include "projection/oblique_mollweide.h"

namespace kestrel {

void obliqueRotate(double centreLon, double lon, double lat, double &lonR, double &latR) {
    const double a = (lon - centreLon + 180.0) * kDegToRad;
    const double phi = lat * kDegToRad;
    const double u = std::sin(a) * std::cos(phi);
    const double v = std::sin(phi);
    lonR = 90.0;
    if (!(std::fabs(u) < 1e-08 && std::fabs(v) < 1e-08)) lonR = std::atan2(u, v) * kRadToDeg + 90.0;
    latR = clampedAsin(-std::cos(phi) * std::cos(a)) * kRadToDeg;
}

void obliqueTurnedMollweide(double lonR, double latR, double &x, double &y) {
    const double L = latR * latR;
    x = -mollweideQ(L) * latR;
    y = lonR * kDegToRad * mollweideP(L);
}

void obliqueWholeForward(double centreLon, double &x, double &y) {
    double lonR, latR;
    obliqueRotate(centreLon, x, y, lonR, latR);
    obliqueTurnedMollweide(obliqueWholeLon(lonR), latR, x, y);
}

namespace {

void forward(const ProjState &s, double &x, double &y) {
    double lonR, latR;
    obliqueRotate(s.centreLon, x, y, lonR, latR);
    if (lonR < -179.99) lonR = -179.99;
    else if (lonR > 179.99) lonR = 179.99;
    obliqueTurnedMollweide(lonR, latR, x, y);
}

void inverse(const ProjState &s, double &x, double &y) { mollweideInverse(s, x, y); }

bool onMap(double, double) { return true; }

}  // namespace

const ProjectionDef kProjMollweideOblique = {6, "mollweide-oblique", forward, inverse, onMap};

}  // namespace kestrel
