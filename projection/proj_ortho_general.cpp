// Code 5, orthographic projection, general (oblique) aspect, unit sphere.
//
// Snyder, J. P. (1987): Map Projections - A Working Manual. U.S. Geological
// Survey Professional Paper 1395, pp. 145-153. With phi1 the centre latitude:
//   x = cos(lat) sin(d)
//   y = cos(phi1) sin(lat) - sin(phi1) cos(lat) cos(d)
// inverse, with rho = sqrt(x^2 + y^2) and c = sqrt(1 - rho^2) (= cos of the
// angular distance from the centre):
//   lat = asin(c sin(phi1) + y cos(phi1))
//   lon = lon0 + atan2(rho x, rho c cos(phi1) - rho y sin(phi1))
// Points behind the horizon are not dropped (drawing needs a position for
// every vertex) but moved onto the unit circle in their own direction. Which
// side a point is on comes from the visible-longitude table that
// setupGenOrtho builds, so that drawing and the domain tests agree; like
// them it compares the longitude offset as given, without wrapping it.
#include <cmath>

#include "projection/ortho_common.h"

namespace kestrel {
namespace {

// Radius just inside the unit circle used by the inverse: the horizon itself
// must still give c > 0.
constexpr double kGeneralRim = 0.9999999999;

void forward(const ProjState &s, double &x, double &y) {
    const double dDeg = x - s.centreLon;
    const double latDeg = y;
    const double d = dDeg * kDegToRad, lat = latDeg * kDegToRad;
    const double cosLat = std::cos(lat);
    double px = std::sin(d) * cosLat;
    double py = std::sin(lat) * s.cosCentreLat - std::cos(d) * s.sinCentreLat * cosLat;
    const double h = visibleLonRange(s, latDeg);
    if (h < 180.0 && (std::fabs(dDeg) > h || h == 0.0)) {
        // Behind the horizon. A point near the centre has no usable
        // direction: it goes to the rim at 45 degrees.
        constexpr double kNear = static_cast<double>(0.01f);
        if (std::sqrt(px * px + py * py) < kNear) px = py = kNear;
        double rho = std::sqrt(px * px + py * py);
        if (rho < 0.001) rho = 0.001;
        px /= rho;
        py /= rho;
    }
    x = px;
    y = py;
}

void inverse(const ProjState &s, double &x, double &y) {
    double rho = std::sqrt(x * x + y * y);
    if (rho > kGeneralRim) {
        x *= kGeneralRim / rho;
        y *= kGeneralRim / rho;
        rho = std::sqrt(x * x + y * y);
    }
    const double c = std::sqrt(1.0 - rho * rho);
    const double lat = clampedAsin(s.cosCentreLat * y + s.sinCentreLat * c) * kRadToDeg;
    const double lon = std::atan2(rho * x, s.cosCentreLat * c * rho - s.sinCentreLat * rho * y) * kRadToDeg +
                       s.centreLon;
    x = lon;
    y = lat;
}

bool onMap(double x, double y) { return orthoOnDisc(x, y); }

}  // namespace

const ProjectionDef kProjOrthoGeneral = {5, "ortho-general", forward, inverse, onMap};

}  // namespace kestrel
