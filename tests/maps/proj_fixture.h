// A fixture that saves and restores the projection state around each test,
// and small helpers to set a projection up the way the map layout does.
#ifndef KESTREL_TESTS_MAPS_PROJ_FIXTURE_H
#define KESTREL_TESTS_MAPS_PROJ_FIXTURE_H

#include <cmath>

#include "common/testing.h"
#include "kestrel/projection.h"
#include "projection/projections.h"

namespace kt {

struct ProjFixture : ::testing::Test {
    void SetUp() override {
        saved_ = kestrel::gProj;
        savedCode_ = proj;
    }
    void TearDown() override {
        kestrel::gProj = saved_;
        proj = savedCode_;
    }

    // Codes other than 5: the layout sets the code and the centre.
    static void use(int32_t code, double lon0, double lat0 = 0.0) {
        proj = code;
        kestrel::gProj.centreLon = lon0;
        kestrel::gProj.centreLat = lat0;
    }

    // Code 5 over the whole visible hemisphere, as the layout would set it
    // up: the centre, then SetupGenOrthoProj (which builds the horizon table).
    static void useGeneral(double lon0, double lat0) {
        use(5, lon0, lat0);
        float lonMin = -180.0f, lonMax = 180.0f, latMin = -90.0f, latMax = 90.0f;
        float cLon = static_cast<float>(lon0), cLat = static_cast<float>(lat0);
        SetupGenOrthoProj(&lonMin, &lonMax, &cLon, &latMin, &latMax, &cLat);
    }

    static void project(double lon, double lat, float &x, float &y) {
        x = static_cast<float>(lon);
        y = static_cast<float>(lat);
        Project(&x, &y);
    }
    static void unproject(double x, double y, float &lon, float &lat) {
        lon = static_cast<float>(x);
        lat = static_cast<float>(y);
        UnProject(&lon, &lat);
    }

  private:
    kestrel::ProjState saved_;
    int32_t savedCode_ = 0;
};

// Difference of two longitudes [deg], reduced to -180..180.
inline double lonDiff(double a, double b) {
    double d = std::fmod(a - b, 360.0);
    if (d > 180.0) d -= 360.0;
    if (d < -180.0) d += 360.0;
    return d;
}

}  // namespace kt

#endif
