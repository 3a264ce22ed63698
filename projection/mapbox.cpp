// Bounding box of a longitude/latitude domain in map coordinates.
//
// The box is that of the projected border of the domain, sampled at 49 steps
// a side; for a general orthographic map of nearly a whole hemisphere the
// border would fold behind the horizon, so the horizon itself (clamped to the
// domain) is walked instead.
#include <cmath>

#include "base/guard.h"
#include "kestrel/projection.h"
#include "projection/projections.h"

using namespace kestrel;

namespace {

struct Box {
    float xMin, xMax, yMin, yMax;
    void add(double lon, double lat) {
        float x = static_cast<float>(lon), y = static_cast<float>(lat);
        Project(&x, &y);
        if (x < xMin) xMin = x;
        if (x > xMax) xMax = x;
        if (y < yMin) yMin = y;
        if (y > yMax) yMax = y;
    }
};

double clampTo(double v, double lo, double hi) {
    if (v < lo) return lo;
    if (v > hi) return hi;
    return v;
}

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL GetMapProjBB(float lonMin, float lonMax, float latMin, float latMax, float *xMin,
                                           float *xMax, float *yMin, float *yMax) {
    return kestrel::guarded<void>("GetMapProjBB", [&]() -> void {
        if (!xMin || !xMax || !yMin || !yMax) return;
        Box box = {-xmiss, xmiss, -xmiss, xmiss};
        const double lon0 = lonMin, lon1 = lonMax, lat0 = latMin, lat1 = latMax;

        if (proj == 5 && (lon1 - lon0 > 330.0 || lat1 - lat0 > 150.0)) {
            for (int k = 0; k <= 360; ++k) {
                float x = static_cast<float>(std::cos(k * kDegToRad));
                float y = static_cast<float>(std::sin(k * kDegToRad));
                UnProject(&x, &y);
                box.add(clampTo(x, lon0, lon1), clampTo(y, lat0, lat1));
            }
        } else {
            constexpr int kSteps = 49;
            constexpr double kStep = 0.020408163;  // 1/49
            const double dLon = (lon1 - lon0) * kStep, dLat = (lat1 - lat0) * kStep;
            // Each leg ends exactly on the next corner, so that an unprojected
            // map (code 0) gets exactly its domain back.
            box.add(lon0, lat0);
            for (int k = 1; k <= kSteps; ++k) box.add(k == kSteps ? lon1 : lon0 + k * dLon, lat0);
            for (int k = 1; k <= kSteps; ++k) box.add(lon1, k == kSteps ? lat1 : lat0 + k * dLat);
            for (int k = 1; k <= kSteps; ++k) box.add(k == kSteps ? lon0 : lon1 - k * dLon, lat1);
            for (int k = 1; k <= kSteps; ++k) box.add(lon0, k == kSteps ? lat0 : lat1 - k * dLat);
        }
        *xMin = box.xMin;
        *xMax = box.xMax;
        *yMin = box.yMin;
        *yMax = box.yMax;
    });
}

}  // extern "C"
