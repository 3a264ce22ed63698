// Code 4, Mollweide (homolographic) projection, normal aspect, unit sphere.
//
// Snyder, J. P. (1987): Map Projections - A Working Manual. U.S. Geological
// Survey Professional Paper 1395, pp. 249-252. Exact spherical forward:
//   2 theta + sin 2 theta = pi sin(lat)      (solved iteratively for theta)
//   x = (2 sqrt 2 / pi) d cos(theta),  y = sqrt 2 sin(theta)
// Here the forward is the polynomial of mollweide_common.h instead of the
// iteration: one evaluation per point, no convergence test. How far it lies
// from the exact form is measured against PROJ +proj=moll +R=1 in tests/maps. The inverse is exact.
// The longitude offset d is held to +-179.99 deg.
#include "maps/mollweide_common.h"

namespace kestrel {
namespace {

void forward(const ProjState &s, double &x, double &y) {
    double d = x - s.centreLon;
    if (d < -179.99) d = -179.99;
    else if (d > 179.99) d = 179.99;
    const double lat = y;
    const double L = lat * lat;
    x = d * kDegToRad * mollweideP(L);
    y = mollweideQ(L) * lat;
}

void inverse(const ProjState &s, double &x, double &y) { mollweideInverse(s, x, y); }

bool onMap(double x, double y) { return mollweideRadius(x, y) <= kMollweideRim; }

}  // namespace

const ProjectionDef kProjMollweide = {4, "mollweide", forward, inverse, onMap};

}  // namespace kestrel
