// The user coordinate system: hand-worked transforms, the viewport clip and
// frame on a real drawing target.
#include <cmath>
#include <tuple>
#include <utility>

#include "common/canvas.h"
#include "common/testing.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"
#include "plot/transform.h"

namespace {

class UserSystem : public ::testing::Test {
protected:
    void SetUp() override {
        saved[0] = VX, saved[1] = VY;
        VX = KAxis{};
        VY = KAxis{};
        VX.devPixels = 800, VX.devLength = 20, VX.pixPerLength = 40;
        VY.devPixels = 600, VY.devLength = 15, VY.pixPerLength = 40;
        mCGS.mag = 1.0f;
    }
    void TearDown() override { VX = saved[0], VY = saved[1]; }
    KAxis saved[2];
};

TEST_F(UserSystem, XEdgesComeFromThePageOriginAndIncludeTheLastPixel) {
    SetupUsrSys(0, 10, 5, 2, 0, 1, 5, 2);
    EXPECT_EQ(std::make_pair(VX.lowPix, VX.highPix), std::make_pair(80, 280));
    EXPECT_FLOAT_EQ(VX.pixPerUser, 20.1f);  // 201 pixels over 10 units
    EXPECT_EQ(kestrel::xPixel(10), 281);
    EXPECT_EQ(kestrel::xPixel(0), 80);
    EXPECT_FLOAT_EQ(VX.userPerLength, 2.0f);
    EXPECT_FLOAT_EQ(VX.userAtStart, -4.0f);
    EXPECT_FLOAT_EQ(VX.userAtEnd, 36.0f);
}

TEST_F(UserSystem, YTopIsMeasuredFromTheTruncatedBottom) {
    SetupUsrSys(0, 1, 5, 2, 100, 0, 5, 2);  // depth 100 at the bottom, 0 at the top
    EXPECT_EQ(std::make_pair(VY.lowPix, VY.highPix), std::make_pair(520, 320));
    EXPECT_FLOAT_EQ(VY.pixPerUser, -199.0f / -100.0f);
    SetupUsrSys(0, 1, 5, 2, 0, 10, 5, 2);
    EXPECT_EQ(kestrel::yPixel(10), 321);  // 520 + (320 - 520 + 1)
    // A fractional bottom: 600 - 40 * 2.49 = 500.4 -> 500, top 500 - 200 = 300.
    SetupUsrSys(0, 1, 5, 2, 0, 10, 5, 2.49f);
    EXPECT_EQ(std::make_pair(VY.lowPix, VY.highPix), std::make_pair(500, 300));
}

TEST_F(UserSystem, PixelsTruncateTowardZeroAndMagnificationLeavesEdges) {
    SetupUsrSys(0, 10, 5, 2, 0, 1, 5, 2);
    EXPECT_EQ(kestrel::xPixel(-4.02f), 0);   // -0.802 truncates to 0, not -1
    EXPECT_EQ(kestrel::xPixel(-4.03f), -1);  // -1.003
    mCGS.mag = 2.0f;
    SetupUsrSys(0, 10, 5, 2, 0, 1, 5, 2);
    EXPECT_EQ(std::make_pair(VX.lowPix, VX.highPix), std::make_pair(80, 280));
    EXPECT_FLOAT_EQ(VX.vpLength, 10.0f);
    EXPECT_FLOAT_EQ(VX.userPerLength, 1.0f);
}

TEST_F(UserSystem, NamedLineWidthsAndFontSizes) {
    VX.pixPerLength = 10;
    float len = 0;
    EXPECT_EQ(PixelLineWidth(3, &len), 3);  // 0.11 * 10 = 1.1 -> 1, but at least 3
    EXPECT_FLOAT_EQ(len, 0.11f);
    EXPECT_EQ(PixelLineWidth(6, &len), 1);
    EXPECT_FLOAT_EQ(len, 0.05f);
    EXPECT_EQ(PixelLineWidth(0, &len), 0);
    VX.pixPerLength = 400;
    EXPECT_EQ(PixelLineWidth(5, &len), 160);
    // A viewport over the whole device.
    EXPECT_NEAR(DfltFontSize(20, 15), std::pow(1.5, 0.49) * 20 * 0.4827586, 1e-4);
}

TEST(Viewport, ClipWidensRightEdgeOnlyAndFrameDrawsNestedRings) {
    const int W = 200, H = 150;
    KDC dc = kt::makeCanvas(W, H);
    kt::startPicture(dc, W, H, 200.0f);  // w = trunc(200 * 0.015) = 3
    SetupUsrSys(0, 1, 0.5f, 0.125f, 0, 1, 0.375f, 0.125f);
    // x: 25..125, y: bottom 125, top 50
    ASSERT_EQ(std::make_tuple(VX.lowPix, VX.highPix, VY.lowPix, VY.highPix), std::make_tuple(25, 125, 125, 50));
    ClipVWP(dc, 1);
    KBRUSH black = kestrel::plat::createSolidBrush(0);
    kestrel::plat::Rect all{0, 0, W, H};
    kestrel::plat::fillRect(dc, &all, black);
    kestrel::plat::deleteObject(black);
    EXPECT_EQ(kt::pixel(dc, 125, 60), 0u);          // right edge included
    EXPECT_EQ(kt::pixel(dc, 126, 60), 0xFFFFFFu);
    EXPECT_EQ(kt::pixel(dc, 60, 124), 0u);
    EXPECT_EQ(kt::pixel(dc, 60, 125), 0xFFFFFFu);   // bottom edge not
    EXPECT_EQ(kt::pixel(dc, 25, 50), 0u);           // top-left corner included
    EXPECT_EQ(kt::pixel(dc, 24, 50), 0xFFFFFFu);

    InitmemDC();
    SetupUsrSys(0, 1, 0.5f, 0.125f, 0, 1, 0.375f, 0.125f);
    FrameVWP(dc, 0);
    // Along a row through the middle: 7 pixels on each side, 3 inside and 3 outside the edge.
    for (int x = 19; x <= 31; ++x) EXPECT_EQ(kt::pixel(dc, x, 90) == 0u, x >= 22 && x <= 28) << "x=" << x;
    for (int y = 44; y <= 56; ++y) EXPECT_EQ(kt::pixel(dc, 70, y) == 0u, y >= 47 && y <= 53) << "y=" << y;
    EXPECT_EQ(kt::pixel(dc, 70, 90), 0xFFFFFFu);  // inside stays white
    hdcMem = nullptr;
    kt::freeCanvas(dc);
}

}  // namespace
