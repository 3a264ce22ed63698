// Forward projection: hand-worked positions and the documented clamps.
#include <cmath>

#include "kestrel/projection.h"
#include "maps/projections.h"
#include "common/testing.h"

namespace {

using kestrel::gProj;

struct ProjFixture : ::testing::Test {
    void SetUp() override {
        saved = gProj;
        savedCode = proj;
    }
    void TearDown() override {
        gProj = saved;
        proj = savedCode;
    }
    void use(int32_t code, double lon0, double lat0 = 0.0) {
        proj = code;
        gProj.centreLon = lon0;
        gProj.centreLat = lat0;
    }
    static void project(float lon, float lat, float &x, float &y) {
        x = lon;
        y = lat;
        Project(&x, &y);
    }
    kestrel::ProjState saved;
    int32_t savedCode = 0;
};

TEST_F(ProjFixture, PolarOrthographicPutsThePoleAtTheOriginAndTheMeridianDownOrUp) {
    float x, y;
    use(1, 30.0);
    project(30.0f, 90.0f, x, y);
    EXPECT_NEAR(x, 0.0, 1e-7);
    EXPECT_NEAR(y, 0.0, 1e-7);
    project(30.0f, 60.0f, x, y);  // central meridian straight down, r = cos 60
    EXPECT_NEAR(x, 0.0, 1e-7);
    EXPECT_NEAR(y, -0.5, 1e-7);
    project(120.0f, 0.0f, x, y);  // 90 deg east of the centre, on the rim
    EXPECT_NEAR(x, std::cos(0.01 * kestrel::kDegToRad), 1e-7);
    use(3, 30.0);
    project(30.0f, -60.0f, x, y);  // south polar: meridian straight up
    EXPECT_NEAR(x, 0.0, 1e-7);
    EXPECT_NEAR(y, 0.5, 1e-7);
}

TEST_F(ProjFixture, PolarCodesFoldTheFarHemisphereOntoTheRim) {
    float x, y, xr, yr;
    use(1, 0.0);
    project(40.0f, -30.0f, x, y);
    project(40.0f, 0.01f, xr, yr);
    EXPECT_FLOAT_EQ(x, xr);
    EXPECT_FLOAT_EQ(y, yr);
    use(3, 0.0);
    project(40.0f, 30.0f, x, y);
    project(40.0f, -0.01f, xr, yr);
    EXPECT_FLOAT_EQ(x, xr);
    EXPECT_FLOAT_EQ(y, yr);
}

TEST_F(ProjFixture, EquatorialClampsTheLongitudeOffset) {
    float x, y;
    use(2, 10.0);
    project(130.0f, 0.0f, x, y);  // 120 deg from the centre
    EXPECT_NEAR(x, std::sin(89.99 * kestrel::kDegToRad), 1e-7);
    EXPECT_NEAR(y, 0.0, 1e-7);
    project(-110.0f, 0.0f, x, y);
    EXPECT_NEAR(x, -std::sin(89.99 * kestrel::kDegToRad), 1e-7);
}

TEST_F(ProjFixture, MollweideEllipseHasTheDocumentedSemiAxes) {
    float x, y;
    use(4, 0.0);
    project(179.99f, 0.0f, x, y);
    EXPECT_NEAR(x, 2.845, 5e-4);
    project(0.0f, 90.0f, x, y);
    EXPECT_NEAR(y, 1.417, 5e-4);
    EXPECT_NEAR(x, 0.0, 1e-7);
}

TEST_F(ProjFixture, UnknownCodesAndCodeZeroLeavePositionsUnchanged) {
    for (int32_t code : {0, 7, -1, 1000}) {
        use(code, 50.0);
        float x, y;
        project(123.5f, -45.25f, x, y);
        EXPECT_EQ(x, 123.5f);
        EXPECT_EQ(y, -45.25f);
    }
}

}  // namespace
