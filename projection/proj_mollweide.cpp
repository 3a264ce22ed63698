// Code 4, Mollweide (homolographic) projection, normal aspect, unit sphere.
//
// Snyder, J. P. (1987): Map Projections - A Working Manual. U.S. Geological
// Survey Professional Paper 1395, pp. 249-252. Exact spherical forward:
//   2 theta + sin 2 theta = pi sin(lat)      (solved iteratively for theta)
//   x = (2 sqrt 2 / pi) d cos(theta),  y = sqrt 2 sin(theta)
// Here the forward is the polynomial of mollweide_common.h instead of the
// iteration: one evaluation per point, no convergence test. Measured against
// PROJ +proj=moll +R=1 (tests/maps/reference_test.cpp) it lies within 0.019
// in x and 0.0019 in y of the exact form up to 60 deg of latitude; nearer the
// poles x drifts further (0.038 at 85 deg) because the polynomial does not
// close a pole into a point but keeps a line of half-length 0.085. The inverse is exact.
// The longitude offset d is held to +-179.99 deg, the latitude to +-90.
#include "projection/mollweide_common.h"

namespace kestrel {
namespace {

void forward(const ProjState &s, double &x, double &y) {
    double d = x - s.centreLon;
    if (d < -179.99) d = -179.99;
    else if (d > 179.99) d = 179.99;
    // The polynomial is fitted on -90..90 only and runs away outside it: a
    // latitude beyond a pole is read as the pole.
    double lat = y;
    if (lat < -90.0) lat = -90.0;
    else if (lat > 90.0) lat = 90.0;
    const double L = lat * lat;
    x = d * kDegToRad * mollweideP(L);
    y = mollweideQ(L) * lat;
}

void inverse(const ProjState &s, double &x, double &y) { mollweideInverse(s, x, y); }

bool onMap(double x, double y) { return mollweideRadius(x, y) <= kMollweideRim; }

}  // namespace

const ProjectionDef kProjMollweide = {4, "mollweide", forward, inverse, onMap};

}  // namespace kestrel
