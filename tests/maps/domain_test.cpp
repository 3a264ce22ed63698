// Bounding boxes, the map disc test, the domain and longitude helpers.
#include <vector>

#include "tests/maps/proj_fixture.h"

namespace {

using Domain = kt::ProjFixture;
using kestrel::kDegToRad;

struct BB {
    float xMin, xMax, yMin, yMax;
};

BB box(float lonMin, float lonMax, float latMin, float latMax) {
    BB b{};
    GetMapProjBB(lonMin, lonMax, latMin, latMax, &b.xMin, &b.xMax, &b.yMin, &b.yMax);
    return b;
}

TEST_F(Domain, BoxesOfProjectedDomainsMatchHandWorkedValues) {
    // Equatorial, 30 deg either side, 60 deg north and south: the widest
    // point is on the equator (sin 30), sampled 1.2 deg off it; the top is
    // the corner latitude.
    use(2, 0.0);
    BB b = box(-30, 30, -60, 60);
    EXPECT_NEAR(b.xMax, 0.5, 2e-4);
    EXPECT_NEAR(b.xMin, -0.5, 2e-4);
    EXPECT_NEAR(b.yMax, std::sin(60 * kDegToRad), 1e-6);
    EXPECT_NEAR(b.yMin, -std::sin(60 * kDegToRad), 1e-6);

    // North polar cap to 30 deg, all longitudes: the circle of radius cos 30,
    // sampled every 360/49 deg.
    use(1, 0.0);
    b = box(0, 360, 30, 90);
    const double r = std::cos(30 * kDegToRad);
    EXPECT_NEAR(b.xMax, r, 0.01);
    EXPECT_NEAR(b.yMin, -r, 1e-6);  // the centre meridian points straight down
    EXPECT_NEAR(b.yMax, r, 0.01);

    // The whole Mollweide: the documented semi-axes (x sampled 1.8 deg off
    // the equator).
    use(4, 0.0);
    b = box(-180, 180, -90, 90);
    EXPECT_NEAR(b.xMax, 2.845, 2e-3);
    EXPECT_NEAR(b.xMin, -2.845, 2e-3);
    EXPECT_NEAR(b.yMax, 1.417, 1e-3);
    EXPECT_NEAR(b.yMin, -1.417, 1e-3);
}

TEST_F(Domain, WideGeneralOrthographicBoxFollowsTheHorizon) {
    useGeneral(0.0, 0.0);
    BB b = box(-180, 180, -90, 90);  // the whole disc
    EXPECT_NEAR(b.xMin, -1.0, 1e-5);
    EXPECT_NEAR(b.xMax, 1.0, 1e-5);
    EXPECT_NEAR(b.yMin, -1.0, 1e-5);
    EXPECT_NEAR(b.yMax, 1.0, 1e-5);
    // Northern half only (wide in longitude): the horizon clamped to
    // latitudes >= 0 runs along the equator, so the bottom is y = 0.
    b = box(-180, 180, 0, 90);
    EXPECT_NEAR(b.yMin, 0.0, 1e-5);
    EXPECT_NEAR(b.yMax, 1.0, 1e-5);
}

TEST_F(Domain, MapDiscAndEllipseTests) {
    use(1, 0.0);
    EXPECT_EQ(IsProjMapCoord(0.0f, 0.0f), 1);
    EXPECT_EQ(IsProjMapCoord(0.6f, 0.79f), 1);
    EXPECT_EQ(IsProjMapCoord(0.6f, 0.81f), 0);
    EXPECT_EQ(IsProjMapCoord(NAN, 0.0f), 0);
    use(4, 0.0);
    EXPECT_EQ(IsProjMapCoord(2.8f, 0.0f), 1);   // inside 2 sqrt 2
    EXPECT_EQ(IsProjMapCoord(2.84f, 0.0f), 0);  // beyond it: the test uses the exact ellipse
    EXPECT_EQ(IsProjMapCoord(0.0f, 1.42f), 0);
    use(6, 0.0);
    EXPECT_EQ(IsProjMapCoord(100.0f, -100.0f), 1);  // no outline test for code 6
}

TEST_F(Domain, OutsideTheEllipseUnprojectsToThePointJustInside) {
    use(4, 10.0);
    float lon, lat, lonIn, latIn;
    unproject(3.5, 1.0, lon, lat);
    const double s = 0.999999 / std::sqrt(0.125 * 3.5 * 3.5 + 0.5 * 1.0);
    unproject(3.5 * s, 1.0 * s, lonIn, latIn);
    EXPECT_FLOAT_EQ(lon, lonIn);
    EXPECT_FLOAT_EQ(lat, latIn);
    // Code 6 has the same, plain inverse: it does not undo its rotation.
    use(6, 10.0);
    float lon6, lat6;
    unproject(3.5, 1.0, lon6, lat6);
    EXPECT_EQ(lon6, lon);
    EXPECT_EQ(lat6, lat);
    float x, y;
    project(40.0, 20.0, x, y);
    unproject(x, y, lon6, lat6);
    EXPECT_GT(std::fabs(lon6 - 40.0) + std::fabs(lat6 - 20.0), 10.0);
}

TEST_F(Domain, CheckMapDomainNormalises) {
    struct Case {
        float in[4], out[4];
        int32_t result;
    };
    const Case cases[] = {
        {{200, -20, 0, 10}, {-20, 200, 0, 10}, 1},   // swapped
        {{-100, -10, 0, 10}, {260, 350, 0, 10}, 1},  // all west: moved east
        {{0, 400, 0, 10}, {0, 360, 0, 10}, 1},       // at most one turn
        {{10, 20, -95, 95}, {10, 20, -90, 90}, 1},   // latitudes clamped
        {{10, 20, 30, 10}, {10, 20, 30, 10}, 0},     // latitudes never swapped
        {{300, 420, 0, 10}, {-60, 60, 0, 10}, 1},    // beyond 360: moved west
        {{-180, 180, -90, 90}, {-180, 180, -90, 90}, 0},
    };
    for (const Case &c : cases) {
        float d[4] = {c.in[0], c.in[1], c.in[2], c.in[3]};
        EXPECT_EQ(CheckMapDomain(&d[0], &d[1], &d[2], &d[3]), c.result) << c.in[0] << " " << c.in[1];
        for (int j = 0; j < 4; ++j) EXPECT_EQ(d[j], c.out[j]) << c.in[0] << " " << c.in[1] << " field " << j;
    }
    EXPECT_EQ(CheckMapDomain(nullptr, nullptr, nullptr, nullptr), 0);
}

TEST_F(Domain, AdjustLongitudeShiftsByWholeTurns) {
    struct Case {
        int32_t mode;
        float west, east;
        std::vector<float> in, out;
    };
    const Case cases[] = {
        {3, 0, 0, {-10, 20}, {-10, -340}},
        {2, -30, 40, {-20, 35, 50, 350}, {-20, 35, -310, -10}},
        {1, -30, 40, {-20, 35, -180}, {340, 35, 180}},
        {0, -30, 40, {-20, 35, 300}, {-20, 35, 300}},
        {0, 10, 200, {-20, 35, -180}, {340, 35, 180}},
        {2, 10, 200, {-20, 350}, {340, 350}},
    };
    for (const Case &c : cases) {
        std::vector<float> v = c.in;
        AdjustLongitude(v.data(), static_cast<int32_t>(v.size()), c.west, c.east, c.mode);
        EXPECT_EQ(v, c.out) << "mode " << c.mode << " west " << c.west;
    }
    float one = -5;
    AdjustLongitude(&one, 0, 0, 0, 1);
    AdjustLongitude(&one, -3, 0, 0, 1);
    AdjustLongitude(nullptr, 5, 0, 0, 1);
    EXPECT_EQ(one, -5.0f);
}

TEST_F(Domain, DefaultCentreLatitudes) {
    // The middle latitude, a pole, the equator, or the host's own value.
    const double expected[] = {30, 90, 0, -90, 0, 7, 7};
    for (int32_t code = 0; code <= 6; ++code) EXPECT_EQ(DfltPoleLat(code, 10, 50, 7), expected[code]) << code;
}

}  // namespace
