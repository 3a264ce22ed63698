// The projection table, the map state and the exported forward and inverse.
#include "base/guard.h"
#include "projection/projections.h"

#include <cmath>

#include "kestrel/projection.h"

namespace kestrel {

ProjState gProj;

namespace {

// Indexed by projection code. Adding a projection: one file defining its
// ProjectionDef, one line here, one name in szProjLabel.
const ProjectionDef *const kTable[kProjectionCount] = {
    &kProjNone,       &kProjOrthoNorth,   &kProjOrthoEquatorial,  &kProjOrthoSouth,
    &kProjMollweide,  &kProjOrthoGeneral, &kProjMollweideOblique,
};

}  // namespace

const ProjectionDef &projectionFor(int32_t code) {
    if (code < 0 || code >= kProjectionCount) return kProjNone;
    return *kTable[code];
}

double clampedAsin(double v) {
    if (v > 1.0) v = 1.0;
    else if (v < -1.0) v = -1.0;
    return std::asin(v);
}

double clampedAcos(double v) {
    if (v > 1.0) v = 1.0;
    else if (v < -1.0) v = -1.0;
    return std::acos(v);
}

double visibleLonRange(const ProjState &s, double lat) {
    if (std::isnan(lat)) return lat;
    const double t = lat + 90.0;
    if (t >= 180.0) return s.lonVisTable[180];
    if (t < 0.0) return s.lonVisTable[0];
    const int i = static_cast<int>(t);  // truncation toward zero
    // The fraction is taken from lat, not from lat + 90: south of the equator
    // it is negative and the value is extrapolated from the row below. The
    // visible-range tests of the map drawing depend on exactly this.
    const double frac = lat - std::trunc(lat);
    return s.lonVisTable[i] + (s.lonVisTable[i + 1] - s.lonVisTable[i]) * frac;
}

}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API void KESTREL_CALL Project(float *x, float *y) {
    return kestrel::guarded<void>("Project", [&]() -> void {
        if (!x || !y) return;
        double px = *x, py = *y;
        projectionFor(proj).forward(gProj, px, py);
        *x = static_cast<float>(px);
        *y = static_cast<float>(py);
    });
}

KESTREL_API void KESTREL_CALL UnProject(float *x, float *y) {
    return kestrel::guarded<void>("UnProject", [&]() -> void {
        if (!x || !y) return;
        double px = *x, py = *y;
        projectionFor(proj).inverse(gProj, px, py);
        *x = static_cast<float>(px);
        *y = static_cast<float>(py);
    });
}

KESTREL_API double KESTREL_CALL lonVisibleRange(float lat) {
    return kestrel::guarded<double>("lonVisibleRange", [&]() -> double { return visibleLonRange(gProj, lat); });
}

KESTREL_API int32_t KESTREL_CALL IsProjMapCoord(float x, float y) {
    return kestrel::guarded<int32_t>("IsProjMapCoord", [&]() -> int32_t {
        return projectionFor(proj).onMap(x, y) ? 1 : 0;
    });
}

}  // extern "C"
