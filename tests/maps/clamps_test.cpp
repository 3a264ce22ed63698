// The documented clamps of the forward projection: far hemispheres fold onto
// the rim, and unknown codes leave positions alone.
#include "tests/maps/proj_fixture.h"

namespace {

using Clamps = kt::ProjFixture;

TEST_F(Clamps, FarHemisphereFoldsOntoTheRim) {
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

TEST_F(Clamps, CodeZeroAndUnknownCodesLeavePositionsUnchanged) {
    for (int32_t code : {0, 7, -1, 1000}) {
        use(code, 50.0);
        float x, y;
        project(123.5, -45.25, x, y);
        EXPECT_EQ(x, 123.5f);
        EXPECT_EQ(y, -45.25f);
        x = 0.5f;
        y = 0.25f;
        UnProject(&x, &y);
        EXPECT_EQ(x, 0.5f);
        EXPECT_EQ(y, 0.25f);
    }
}

}  // namespace
