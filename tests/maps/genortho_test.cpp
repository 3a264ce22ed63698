// The general orthographic fit: visible-longitude table, domain trimming,
// centre moves, the polar switch, and the horizon rule of the forward.
#include <algorithm>

#include "tests/maps/proj_fixture.h"

namespace {

using GenOrtho = kt::ProjFixture;
using kestrel::gProj;
using kestrel::kDegToRad;
using kestrel::kRadToDeg;

// Closed form: the parallel at lat is visible from a centre at lat0 where
// cos(d) >= -tan(lat) tan(lat0); the half-width of that arc [deg].
double visibleHalfWidth(double lat, double lat0) {
    const double c = -std::tan(lat * kDegToRad) * std::tan(lat0 * kDegToRad);
    if (c <= -1.0) return 180.0;
    if (c >= 1.0) return 0.0;
    return std::acos(c) * kRadToDeg;
}

TEST_F(GenOrtho, TableRowsMatchTheClosedFormOfTheHorizon) {
    for (double lat0 : {40.0, -25.0, 10.0, 65.0}) {
        useGeneral(-30.0, lat0);
        ASSERT_EQ(proj, 5);
        const double tangent = 90.0 - std::fabs(lat0);  // highest latitude on the horizon
        for (int i = 0; i <= 180; ++i) {
            const double lat = i - 90.0;
            const double v = gProj.lonVisTable[i];
            const bool poleSide = lat0 > 0 ? lat >= tangent : lat + 1.0 <= -tangent;
            const bool farSide = lat0 > 0 ? lat + 1.0 <= -tangent : lat >= tangent;
            if (poleSide) {
                EXPECT_EQ(v, 180.0) << "lat0 " << lat0 << " row " << i;
            } else if (farSide) {
                EXPECT_EQ(v, 0.0) << "lat0 " << lat0 << " row " << i;
            } else if (std::fabs(std::fabs(lat) - tangent) > 2.0) {
                // The row holds the widest horizon offset met in
                // [lat, lat + 1): between the closed form at its two ends,
                // within the half-degree sampling of the horizon.
                const double a = visibleHalfWidth(lat, lat0), b = visibleHalfWidth(lat + 1.0, lat0);
                EXPECT_GE(v, std::min(a, b) - 0.5) << "lat0 " << lat0 << " row " << i;
                EXPECT_LE(v, std::max(a, b) + 1e-6) << "lat0 " << lat0 << " row " << i;
            }
        }
    }
}

TEST_F(GenOrtho, HiddenPointsGoToTheRimInTheirOwnDirection) {
    useGeneral(0.0, 0.0);
    float x, y;
    project(100.0, 0.0, x, y);  // 100 deg from the centre on the equator
    EXPECT_NEAR(x, 1.0, 1e-7);
    EXPECT_NEAR(y, 0.0, 1e-7);
    project(-120.0, 30.0, x, y);  // behind, to the west and north
    EXPECT_NEAR(std::hypot(x, y), 1.0, 1e-6);
    EXPECT_LT(x, 0.0f);
    EXPECT_GT(y, 0.0f);
    project(180.0, 0.0, x, y);  // the antipode projects onto the centre
    EXPECT_FLOAT_EQ(x, 0.7071068f);
    EXPECT_FLOAT_EQ(y, 0.7071068f);
    project(60.0, -20.0, x, y);  // visible: the plain formulas
    EXPECT_NEAR(x, std::cos(20 * kDegToRad) * std::sin(60 * kDegToRad), 1e-7);
    EXPECT_NEAR(y, -std::sin(20 * kDegToRad), 1e-7);
}

TEST_F(GenOrtho, DomainIsTrimmedToTheVisibleHemisphere) {
    use(5, 0.0, 0.0);
    float lonMin = -180, lonMax = 180, latMin = -90, latMax = 90, cLon = 0, cLat = 0;
    EXPECT_EQ(SetupGenOrthoProj(&lonMin, &lonMax, &cLon, &latMin, &latMax, &cLat), 1);
    EXPECT_EQ(proj, 5);
    // The horizon is traced just inside the unit circle (radius 1 - 1.2e-7,
    // 0.028 deg short of 90 deg from the centre).
    EXPECT_NEAR(lonMin, -89.972, 0.005);
    EXPECT_NEAR(lonMax, 89.972, 0.005);
    EXPECT_NEAR(latMin, -89.972, 0.005);
    EXPECT_EQ(latMax, 90.0f);
}

TEST_F(GenOrtho, CentreMovesIntoTheMiddleOfTheDomain) {
    use(5, 0.0, 10.0);
    float lonMin = 30, lonMax = 60, latMin = 0, latMax = 40, cLon = 0, cLat = 10;
    EXPECT_EQ(SetupGenOrthoProj(&lonMin, &lonMax, &cLon, &latMin, &latMax, &cLat), 0);
    EXPECT_EQ(cLon, 45.0f);
    EXPECT_EQ(gProj.centreLon, 45.0);
    EXPECT_EQ(cLat, 10.0f);  // inside the domain: not moved
    EXPECT_EQ(lonMin, 30.0f);  // inside the hemisphere: the domain is kept
    EXPECT_EQ(latMax, 40.0f);
    // The table was rebuilt around the new centre: 90 deg either side of 45
    // on the equator.
    float x, y;
    project(45.0 + 85.0, 0.0, x, y);
    EXPECT_LT(std::hypot(x, y), 0.999);
    project(45.0 - 95.0, 0.0, x, y);
    EXPECT_NEAR(std::hypot(x, y), 1.0, 1e-6);
}

TEST_F(GenOrtho, NearPolarMapsSwitchToThePolarProjection) {
    int32_t code = 5;
    EXPECT_EQ(SwitchOrthoProj(&code, 89.0f, 60.0f, 90.0f), 1);  // 1/30 < 0.05
    EXPECT_EQ(code, 1);
    code = 5;
    EXPECT_EQ(SwitchOrthoProj(&code, -89.0f, -90.0f, -60.0f), 1);
    EXPECT_EQ(code, 3);
    code = 5;
    // 2/30 = 0.067: not close enough to the pole.
    EXPECT_EQ(SwitchOrthoProj(&code, 88.0f, 60.0f, 90.0f), 0);
    EXPECT_EQ(code, 5);

    use(5, 0.0, 89.0);
    float lonMin = 0, lonMax = 360, latMin = 60, latMax = 90, cLon = 0, cLat = 89;
    SetupGenOrthoProj(&lonMin, &lonMax, &cLon, &latMin, &latMax, &cLat);
    EXPECT_EQ(proj, 1);
    EXPECT_EQ(latMin, 60.0f);
    EXPECT_EQ(latMax, 90.0f);
}

}  // namespace
