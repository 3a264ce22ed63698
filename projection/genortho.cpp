// Fitting a general orthographic map: domain, centre and the table of the
// visible part of each parallel.
//
// The horizon is traced by unprojecting 720 points just inside the unit
// circle; for each whole-degree latitude row the table keeps the widest
// longitude offset met. Then the domain is cut to the traced hemisphere and
// the centre moved into the domain, and the whole is repeated (at most four
// fitting passes) until the centre stays put or the map turns polar. Passes
// 5 and 6 only rebuild the table for the final centre.
#include <cmath>

#include "base/guard.h"
#include "kestrel/projection.h"
#include "projection/projections.h"

namespace kestrel {

namespace {

// Table row of a latitude [deg], or -1 for NaN.
int latRow(double lat) {
    if (std::isnan(lat)) return -1;
    const double t = lat + 90.0;
    if (t <= 0.0) return 0;
    if (t >= 180.0) return 180;
    return static_cast<int>(t);
}

// Sets the cached sine and cosine, rebuilds lonVisTable and returns the
// horizon bounds (the visible pole included).
void traceHorizon(ProjState &s, double &hLonMin, double &hLonMax, double &hLatMin, double &hLatMax) {
    s.sinCentreLat = std::sin(s.centreLat * kDegToRad);
    s.cosCentreLat = std::cos(s.centreLat * kDegToRad);
    for (double &v : s.lonVisTable) v = 0.0;
    hLonMin = hLatMin = 1000.0;
    hLonMax = hLatMax = -1000.0;
    constexpr double kHalfDegree = 0.008726646259971648;
    constexpr double kJustInside = 0.9999998807907104;  // the float below 1 - 1e-7
    for (int k = 0; k < 720; ++k) {
        const double t = k * kHalfDegree;
        // As UnProject would: float in, float out.
        double x = static_cast<float>(std::cos(t) * kJustInside);
        double y = static_cast<float>(std::sin(t) * kJustInside);
        kProjOrthoGeneral.inverse(s, x, y);
        const double lon = static_cast<float>(x), lat = static_cast<float>(y);
        const int i = latRow(lat);
        if (i < 0) continue;
        const double off = std::fabs(lon - s.centreLon);
        if (off > s.lonVisTable[i]) s.lonVisTable[i] = off;
        if (lon < hLonMin) hLonMin = lon;
        if (lon > hLonMax) hLonMax = lon;
        if (lat < hLatMin) hLatMin = lat;
        if (lat > hLatMax) hLatMax = lat;
    }
    // The pole inside the horizon is visible all round.
    if (s.centreLat >= 0.0) {
        const int i = latRow(hLatMax);
        for (int r = i < 0 ? 0 : i; r <= 180; ++r) s.lonVisTable[r] = 180.0;
        hLatMax = 90.0;
    } else {
        const int i = latRow(hLatMin);
        for (int r = 0; r <= i; ++r) s.lonVisTable[r] = 180.0;
        hLatMin = -90.0;
    }
}

}  // namespace

bool switchOrthoProj(int32_t &code, double centreLat, double latMin, double latMax) {
    if (code != 5) return false;
    const double w = latMax - latMin;
    if (std::fabs((centreLat - 90.0) / w) < 0.05) {
        code = 1;
        return true;
    }
    if (std::fabs((centreLat + 90.0) / w) < 0.05) {
        code = 3;
        return true;
    }
    return false;
}

int32_t setupGenOrtho(ProjState &s, int32_t &code, float &lonMin, float &lonMax, float &centreLon, float &latMin,
                      float &latMax, float &centreLat) {
    if (code != 5) return 0;
    const float entry[4] = {lonMin, lonMax, latMin, latMax};

    const bool usable = static_cast<double>(lonMax) - lonMin <= 320.0 && latMin <= s.centreLat &&
                        s.centreLat <= latMax;
    if (!usable) {
        // Start from the whole hemisphere around the centre.
        lonMin = static_cast<float>(s.centreLon - 180.0);
        lonMax = static_cast<float>(s.centreLon + 180.0);
        if (s.centreLat >= 0.0) latMax = 90.0f;
        else latMin = -90.0f;
    }

    for (int pass = 1; pass <= 6; ++pass) {
        double h[4];
        traceHorizon(s, h[0], h[1], h[2], h[3]);
        if (pass >= 5) continue;

        float *arg[4] = {&lonMin, &lonMax, &latMin, &latMax};
        if (*arg[0] > h[0]) h[0] = *arg[0];
        if (*arg[1] < h[1]) h[1] = *arg[1];
        if (*arg[2] > h[2]) h[2] = *arg[2];
        if (*arg[3] < h[3]) h[3] = *arg[3];
        for (int j = 0; j < 4; ++j) s.mapDomain[j] = static_cast<float>(h[j]);

        bool differs = false;
        for (int j = 0; j < 4; ++j)
            if (std::fabs(h[j] - *arg[j]) >= 0.001) differs = true;
        if (differs) {
            for (int j = 0; j < 4; ++j) *arg[j] = static_cast<float>(h[j]);
            if (static_cast<double>(lonMax) - lonMin > 320.0) {
                lonMin = static_cast<float>(s.centreLon - 180.0);
                lonMax = static_cast<float>(s.centreLon + 180.0);
            }
        }
        checkMapDomain(lonMin, lonMax, latMin, latMax);

        bool moved = false;
        const double c = (static_cast<double>(lonMin) + lonMax) * 0.5;
        if (std::fabs(c - s.centreLon) > 5.0) {
            s.centreLon = c;
            centreLon = static_cast<float>(c);
            moved = true;
        }
        if (!(latMin <= s.centreLat && s.centreLat <= latMax)) {
            s.centreLat = (static_cast<double>(latMin) + latMax) * 0.5;
            centreLat = static_cast<float>(s.centreLat);
            moved = true;
        }
        const bool switched = switchOrthoProj(code, static_cast<float>(s.centreLat), latMin, latMax);
        if (switched || !moved) break;
    }

    return (lonMin != entry[0] || lonMax != entry[1] || latMin != entry[2] || latMax != entry[3]) ? 1 : 0;
}

}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL SetupGenOrthoProj(float *lonMin, float *lonMax, float *centreLon, float *latMin,
                                                   float *latMax, float *centreLat) {
    return kestrel::guarded<int32_t>("SetupGenOrthoProj", [&]() -> int32_t {
        if (!lonMin || !lonMax || !centreLon || !latMin || !latMax || !centreLat) return 0;
        return setupGenOrtho(gProj, proj, *lonMin, *lonMax, *centreLon, *latMin, *latMax, *centreLat);
    });
}

KESTREL_API int32_t KESTREL_CALL SwitchOrthoProj(int32_t *projCode, float centreLat, float latMin, float latMax) {
    return kestrel::guarded<int32_t>("SwitchOrthoProj", [&]() -> int32_t {
        if (!projCode) return 0;
        return switchOrthoProj(*projCode, centreLat, latMin, latMax) ? 1 : 0;
    });
}

}  // extern "C"
