// Bad input never crashes and never leaves the map: NaN, infinities, poles,
// longitudes far outside +-180, null pointers, degenerate domains; and the
// documented clamps that fold far hemispheres onto the rim.
#include <limits>

#include "tests/maps/proj_fixture.h"

namespace {

using Hostile = kt::ProjFixture;

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInf = std::numeric_limits<float>::infinity();

const float kLons[] = {0.0f, -180.0f, 180.0f, 359.0f, -720.5f, 1e7f, -1e7f, 3e38f, -3e38f, kInf, -kInf, kNaN};
const float kLats[] = {90.0f, -90.0f, 0.0f, 89.999f, -89.999f, 91.0f, -1000.0f, 1e30f, kInf, -kInf, kNaN};

bool onDisc(float x, float y) { return std::hypot(static_cast<double>(x), y) <= 1.0 + 1e-6; }

TEST_F(Hostile, ForwardGivesAMapPointOrNaNForEveryCode) {
    for (int32_t code = -1; code <= 7; ++code) {
        if (code == 5) useGeneral(20.0, 40.0);
        else use(code, 20.0, 40.0);
        for (float lon : kLons) {
            for (float lat : kLats) {
                float x = lon, y = lat;
                Project(&x, &y);
                const bool finiteIn = std::isfinite(lon) && std::isfinite(lat);
                if (code < 1 || code > 6) {  // code 0 and unknown codes: both ways unchanged
                    EXPECT_TRUE((x == lon || (std::isnan(x) && std::isnan(lon))) &&
                                (y == lat || (std::isnan(y) && std::isnan(lat))));
                    UnProject(&x, &y);
                    EXPECT_TRUE(x == lon || std::isnan(lon));
                    continue;
                }
                if (!finiteIn) continue;  // NaN is an acceptable answer
                ASSERT_TRUE(std::isfinite(x) && std::isfinite(y)) << code << " " << lon << " " << lat;
                if (code == 4 || code == 6) {
                    // The polynomial ellipse is at most 0.6% wider than the
                    // exact one; code 6 has its axes turned.
                    const double a = code == 4 ? x : y, b = code == 4 ? y : x;
                    EXPECT_LE(std::sqrt(0.125 * a * a + 0.5 * b * b), 1.007) << code << " " << lon << " " << lat;
                } else {
                    EXPECT_TRUE(onDisc(x, y)) << code << " " << lon << " " << lat << " -> " << x << " " << y;
                }
            }
        }
    }
}

TEST_F(Hostile, InverseOfAnyFiniteMapPointIsAFinitePosition) {
    const float kXY[] = {0.0f, 1e-30f, 0.005f, -0.999999f, 1.0f, 1.5f, -2.9f, 1e6f, -3e38f};
    for (int32_t code = 1; code <= 6; ++code) {
        if (code == 5) useGeneral(-60.0, -45.0);
        else use(code, -60.0, -45.0);
        for (float x : kXY) {
            for (float y : kXY) {
                float lon = x, lat = y;
                UnProject(&lon, &lat);
                ASSERT_TRUE(std::isfinite(lon) && std::isfinite(lat)) << code << " " << x << " " << y;
                EXPECT_LE(std::fabs(lat), 90.0f) << code << " " << x << " " << y;
            }
            float lon = kNaN, lat = x;
            UnProject(&lon, &lat);  // NaN in: no crash, NaN out
            EXPECT_TRUE(std::isnan(lon) || std::isnan(lat));
        }
    }
}

// The documented clamps: far hemispheres fold onto the rim.
TEST_F(Hostile, FarHemisphereFoldsOntoTheRim) {
    float x, y, xr, yr;
    use(1, 0.0);  // north polar: latitude -30 projects as 0.01
    project(40.0, -30.0, x, y);
    project(40.0, 0.01, xr, yr);
    EXPECT_EQ(x, xr);
    EXPECT_EQ(y, yr);
    use(3, 0.0);  // south polar: 30 projects as -0.01
    project(40.0, 30.0, x, y);
    project(40.0, -0.01, xr, yr);
    EXPECT_EQ(x, xr);
    EXPECT_EQ(y, yr);
    use(2, 10.0);  // equatorial: 120 deg off the centre lands at 89.99
    project(130.0, 0.0, x, y);
    EXPECT_NEAR(x, std::sin(89.99 * kestrel::kDegToRad), 1e-7);
    project(-110.0, 0.0, x, y);
    EXPECT_NEAR(x, -std::sin(89.99 * kestrel::kDegToRad), 1e-7);
    use(4, 0.0);  // Mollweide: 179.99 and latitudes beyond a pole
    project(200.0, 95.0, x, y);
    project(179.99, 90.0, xr, yr);
    EXPECT_EQ(x, xr);
    EXPECT_EQ(y, yr);
}

TEST_F(Hostile, ThePolesAndThePolarPatchHaveDefinitePositions) {
    use(1, 30.0);
    float lon, lat;
    unproject(0.0, 0.0, lon, lat);  // the pole itself: read as a point nearby
    EXPECT_NEAR(lat, 85.95, 0.01);
    EXPECT_NEAR(lon, 30.0 + 135.0, 1e-4);
    unproject(150.0, -150.0, lon, lat);  // far off the disc: the same patch
    EXPECT_NEAR(lat, 85.95, 0.01);
    use(3, 30.0);
    unproject(0.0, 0.0, lon, lat);
    EXPECT_NEAR(lat, -85.95, 0.01);
    EXPECT_NEAR(lon, 30.0 + 45.0, 1e-4);
    use(2, 0.0);
    float x, y;
    project(123.0, 90.0, x, y);
    EXPECT_NEAR(x, 0.0, 1e-7);
    EXPECT_NEAR(y, 1.0, 1e-7);
}

TEST_F(Hostile, StateRoutinesSurviveNaNAndDegenerateDomains) {
    use(5, kNaN, kNaN);
    float lonMin = kNaN, lonMax = 10, latMin = -90, latMax = kNaN, cLon = kNaN, cLat = kNaN;
    SetupGenOrthoProj(&lonMin, &lonMax, &cLon, &latMin, &latMax, &cLat);
    EXPECT_EQ(SetupGenOrthoProj(nullptr, &lonMax, &cLon, &latMin, &latMax, &cLat), 0);

    for (int32_t code = 0; code <= 6; ++code) {
        if (code == 5) useGeneral(0.0, 0.0);
        else use(code, 0.0);
        float b[4];
        GetMapProjBB(kNaN, 10, -10, 10, &b[0], &b[1], &b[2], &b[3]);
        GetMapProjBB(-kInf, kInf, -kInf, kInf, &b[0], &b[1], &b[2], &b[3]);
        GetMapProjBB(5, 5, 5, 5, &b[0], &b[1], &b[2], &b[3]);
        GetMapProjBB(0, 10, 0, 10, nullptr, &b[1], &b[2], &b[3]);
        EXPECT_EQ(IsProjMapCoord(kInf, 0.0f), code == 0 || code == 6 ? 1 : 0);
    }
    for (float lat : {kNaN, kInf, -kInf, 1000.0f, -1000.0f, -90.5f, 90.5f}) {
        const double v = lonVisibleRange(lat);
        EXPECT_TRUE(std::isnan(v) || (v >= 0.0 && v <= 180.0)) << lat;
    }
    int32_t code = 5;
    EXPECT_EQ(SwitchOrthoProj(&code, 90.0f, 10.0f, 10.0f), 0);  // empty latitude range
    EXPECT_EQ(SwitchOrthoProj(nullptr, 90.0f, 10.0f, 40.0f), 0);
    Project(nullptr, nullptr);
    UnProject(nullptr, nullptr);
}

}  // namespace
