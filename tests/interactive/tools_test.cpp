// The interactive tools driven through the key queue and the mouse globals,
// as a host's window procedure drives them, on a scripted window.
#ifndef _WIN32
#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "kestrel/kestrel.h"
#include "platform/platform.h"
#include "plot/transform.h"
#include "scripted_host.h"

namespace {

using kt::ScriptedHost;

// A 400 x 300 picture with x 0..100 over pixels 40..360 and y 0..50 over
// rows 260..40, painted with stripes so that an erase that copies the
// wrong pixels back shows.
class Tools : public ::testing::Test {
protected:
    Tools() : host(400, 300, 40.0f) {
        UsrSys(hdcMem, 0.0f, 100.0f, 8.0f, 1.0f, 0.0f, 50.0f, 5.5f, 1.0f);
        for (int i = 0; i < 300; i += 6) {
            KBRUSH b = kestrel::plat::createSolidBrush(kestrel::plat::rgb(i % 256, 255 - i % 200, 90));
            kestrel::plat::Rect r{0, i, 400, i + 3};
            kestrel::plat::fillRect(hdcMem, &r, b);
            kestrel::plat::deleteObject(b);
        }
        host.paint();
        before = host.windowPixels();
        host.part[0] = "Ready";
    }
    int px(float x) const { return kestrel::xPixel(x); }
    int py(float y) const { return kestrel::yPixel(y); }
    bool windowUnchanged() const { return host.windowPixels() == before; }
    bool windowChanged() const { return host.windowPixels() != before; }

    ScriptedHost host;
    std::vector<uint32_t> before;
};

TEST(Rounding, HalvesAwayFromZeroAndLargeOrZeroValuesUnchanged) {
    EXPECT_EQ(KroundDecimals(2.5f, 0), 3.0f);
    EXPECT_EQ(KroundDecimals(-2.5f, 0), -3.0f);
    EXPECT_EQ(KroundDecimals(0.49f, 0), 0.0f);
    EXPECT_FLOAT_EQ(KroundDecimals(123.456f, 2), 123.46f);
    EXPECT_FLOAT_EQ(KroundDecimals(-123.454f, 2), -123.45f);
    EXPECT_EQ(KroundDecimals(1234.5f, -2), 1200.0f);
    EXPECT_EQ(KroundDecimals(1250.0f, -2), 1300.0f);
    // Scaled past 1e8 the value is returned as it is, not rounded.
    EXPECT_EQ(KroundDecimals(123456.789f, 3), 123456.789f);
    EXPECT_EQ(KroundDecimals(0.0f, 4), 0.0f);
    EXPECT_TRUE(std::isnan(KroundDecimals(NAN, 2)));
    // Against rounding half away from zero of the same product in double.
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> v(-5000.0f, 5000.0f);
    for (int i = 0; i < 20000; ++i) {
        const float x = v(rng);
        const int d = i % 5;
        const double f = std::pow(10.0, d);
        EXPECT_EQ(KroundDecimals(x, d), static_cast<float>(std::round(static_cast<double>(x) * f) / f)) << x << " " << d;
    }
}

TEST_F(Tools, GetPointsAddsConvertsAndAcceptsWithEnter) {
    float x[8], y[8];
    host.click(px(20.0f), py(10.0f), KB_LEFT);
    host.move(px(60.0f), py(40.0f));
    host.then([&] {
        EXPECT_TRUE(windowChanged()) << "the rubber band is drawn on the window";
        EXPECT_GE(host.shows, 2) << "and the host is told to show it after each redraw";
    });
    host.click(px(60.0f), py(40.0f), KB_LEFT);
    host.then([&] {
        EXPECT_EQ(host.part[0].rfind("GetPoints:", 0), 0u) << host.part[0];
        EXPECT_EQ(host.part[1].substr(0, 6), "2/8   ") << host.part[1];
    });
    host.key(13);
    EXPECT_EQ(GetPoints(x, y, 8, 0, kestrel::plat::rgb(0, 0, 255)), 2);
    EXPECT_FALSE(host.ranOut);
    // The picked positions are the clicked pixels in user units.
    EXPECT_EQ(px(x[0]), px(20.0f));
    EXPECT_EQ(py(y[0]), py(10.0f));
    EXPECT_EQ(px(x[1]), px(60.0f));
    EXPECT_EQ(py(y[1]), py(40.0f));
    EXPECT_NEAR(x[0], 20.0f, 0.32f);
    EXPECT_NEAR(y[1], 40.0f, 0.2f);
    EXPECT_TRUE(windowUnchanged()) << "nothing of the band left behind";
    EXPECT_EQ(host.part[0], "Ready");
    EXPECT_EQ(host.part[1], "");
    EXPECT_NE(KBEmpty, 0);
    EXPECT_GE(host.repaints, 1);
}

TEST_F(Tools, GetPointsEscapeAndOutsideClickAbort) {
    float x[4], y[4];
    host.click(100, 100, KB_LEFT);
    host.click(120, 140, KB_LEFT);
    host.key(27);
    EXPECT_EQ(GetPoints(x, y, 4, 0, 0), 0);
    EXPECT_TRUE(windowUnchanged());

    host.click(100, 100, KB_LEFT);
    host.outsideClick();
    EXPECT_EQ(GetPoints(x, y, 4, 0, 0), 0);
    EXPECT_TRUE(windowUnchanged());
    EXPECT_FALSE(host.ranOut);
}

TEST_F(Tools, GetPointsKeepsInitialPointsAndStoresTheClickBeforeTheLimit) {
    float x[4] = {10.0f, 30.0f, 50.0f, -1.0f}, y[4] = {5.0f, 15.0f, 25.0f, -1.0f};
    host.key(13);
    EXPECT_EQ(GetPoints(x, y, 3, 3, 0), 3) << "Enter keeps the initial points";
    EXPECT_EQ(x[2], 50.0f);

    // Initial count equal to the maximum: the first left click is stored as
    // the fourth point and ends the picking.
    host.click(px(80.0f), py(45.0f), KB_LEFT);
    EXPECT_EQ(GetPoints(x, y, 3, 3, 0), 4);
    EXPECT_EQ(px(x[3]), px(80.0f));
    EXPECT_FALSE(host.ranOut);
    EXPECT_TRUE(windowUnchanged());
}

TEST_F(Tools, GetPointsRightClickRemovesTheNearestNewPointOnly) {
    float x[6] = {10.0f}, y[6] = {5.0f};
    // Only the initial point: a right click does nothing.
    host.click(px(10.0f), py(5.0f), KB_RIGHT);
    host.click(px(40.0f), py(20.0f), KB_LEFT);
    host.click(px(70.0f), py(30.0f), KB_LEFT);
    host.click(px(41.0f), py(21.0f), KB_RIGHT);  // next to the point (40, 20)
    host.key(13);
    ASSERT_EQ(GetPoints(x, y, 6, 1, 0), 2);
    EXPECT_EQ(x[0], 10.0f);
    EXPECT_EQ(px(x[1]), px(70.0f));
    EXPECT_TRUE(windowUnchanged());
}

TEST_F(Tools, GetPointsRemovingTheLastPointErasesTheBand) {
    float x[3], y[3];
    host.click(150, 150, KB_LEFT);
    host.move(250, 60);
    host.then([&] { EXPECT_TRUE(windowChanged()); });
    host.click(151, 151, KB_RIGHT);
    host.then([&] { EXPECT_TRUE(windowUnchanged()) << "no point left, no band left"; });
    host.key(13);
    EXPECT_EQ(GetPoints(x, y, 3, 0, 0), 0);
}

TEST_F(Tools, ZoomViewPortEnterReturnsTheRangeUnchangedOrOnePixelWide) {
    float x0 = 20.0f, x1 = 80.0f, y0 = 10.0f, y1 = 40.0f;
    host.key(13);
    EXPECT_EQ(ZoomViewPort(&x0, &x1, 1, &y0, &y1, 1), 13);
    EXPECT_EQ(x0, 20.0f);
    EXPECT_EQ(x1, 80.0f);
    EXPECT_EQ(y0, 10.0f);
    EXPECT_EQ(y1, 40.0f);
    EXPECT_TRUE(windowUnchanged());
    EXPECT_EQ(host.part[0], "Ready");

    float a0 = 50.0f, a1 = 50.0f, b0 = 25.0f, b1 = 25.0f;
    host.key(13);
    EXPECT_EQ(ZoomViewPort(&a0, &a1, 2, &b0, &b1, 2), 13);
    EXPECT_EQ(px(a1), px(a0) + 1);
    EXPECT_EQ(py(b1), py(b0) - 1);
    EXPECT_GT(a1, a0);
    EXPECT_GT(b1, b0);
}

TEST_F(Tools, ZoomViewPortStatusShowsTheRoundedCorners) {
    float x0 = 20.123f, x1 = 80.987f, y0 = 10.5f, y1 = 40.25f;
    host.then([&] { EXPECT_EQ(host.part[1], "LL: [20.1/11] - UR: [81/40]") << host.part[1]; });
    host.key(27);
    EXPECT_EQ(ZoomViewPort(&x0, &x1, 1, &y0, &y1, 0), 27);
    EXPECT_EQ(host.part[1], "");
}

TEST_F(Tools, ZoomViewPortDraggingTheLowerLeftCornerPastTheUpperRightSwapsThem) {
    float x0 = 20.0f, x1 = 50.0f, y0 = 10.0f, y1 = 30.0f;
    const int left = px(x0), bottom = py(y0);
    host.move(left, bottom);  // zone 1
    host.then([&] { EXPECT_EQ(host.cursor, kestrel::plat::CursorSizeNESW); });
    host.press(KB_LEFT);
    host.move(px(70.0f), py(45.0f));  // beyond the upper-right corner
    host.then([&] { EXPECT_TRUE(windowChanged()) << "the box is shown"; });
    host.release(KB_LEFT);
    host.idle();
    host.key(13);
    EXPECT_EQ(ZoomViewPort(&x0, &x1, 2, &y0, &y1, 2), 13);
    EXPECT_LT(x0, x1);
    EXPECT_LT(y0, y1);
    EXPECT_NEAR(x0, 50.0f, 0.01f);
    EXPECT_NEAR(x1, 70.0f, 0.4f);
    EXPECT_NEAR(y0, 30.0f, 0.01f);
    EXPECT_NEAR(y1, 45.0f, 0.2f);
    EXPECT_TRUE(windowUnchanged()) << "nothing of the box left behind";
    EXPECT_GE(host.captures, 1);
    EXPECT_EQ(host.cursor, kestrel::plat::CursorArrow);
}

TEST_F(Tools, ZoomViewPortReadsAWrappedMousePositionAsNegative) {
    // The box's left edge at picture pixel 3; dragging it to a mouse x of
    // 65530 (-5) moves it 8 pixels left, not 65527 to the right.
    VX.lowPix = 3;
    VX.umin = 0.0f;
    float x0 = 0.0f, x1 = 50.0f, y0 = 10.0f, y1 = 40.0f;
    const int left = px(x0), mid = (py(y0) + py(y1)) / 2;
    ASSERT_EQ(left, 3);
    host.move(left, mid);  // zone 6, the left edge
    host.press(KB_LEFT);
    host.move(65530, mid);
    host.release(KB_LEFT);
    host.idle();
    host.key(13);
    EXPECT_EQ(ZoomViewPort(&x0, &x1, 1, &y0, &y1, 1), 13);
    EXPECT_NEAR(x0, -8.0f / VX.pixPerUser, 1e-4f);
    EXPECT_EQ(x1, 50.0f);
}

TEST_F(Tools, ZoomViewPortMovesTheWholeBoxAndAbortsOnARightClick) {
    float x0 = 20.0f, x1 = 60.0f, y0 = 10.0f, y1 = 40.0f;
    const int cx = (px(x0) + px(x1)) / 2, cy = (py(y0) + py(y1)) / 2;
    host.move(cx, cy);
    host.press(KB_LEFT);
    host.move(cx + 32, cy - 16);
    host.release(KB_LEFT);
    host.press(KB_RIGHT);
    EXPECT_EQ(ZoomViewPort(&x0, &x1, 1, &y0, &y1, 1), 27);
    // The caller gets the dragged values; 27 says to ignore them.
    const float dx = 32.0f / VX.pixPerUser, dy = -16.0f / VY.pixPerUser;
    EXPECT_NEAR(x0, 20.0f + dx, 1e-3f);
    EXPECT_NEAR(x1, 60.0f + dx, 1e-3f);
    EXPECT_NEAR(y0, 10.0f + dy, 1e-3f);
    EXPECT_NEAR(y1, 40.0f + dy, 1e-3f);
    EXPECT_TRUE(windowUnchanged());
}

TEST_F(Tools, DrawZoomBoxDrawsRedOnTheWindowOnlyAndErases) {
    std::vector<uint32_t> picture;
    for (int yy = 0; yy < 300; ++yy)
        for (int xx = 0; xx < 400; ++xx) picture.push_back(KCanvasGetPixel(hdcMem, xx, yy));
    DrawZoomBox(20.0f, 10.0f, 80.0f, 40.0f, 1);
    EXPECT_EQ(KCanvasGetPixel(host.window(), px(20.0f), py(10.0f)), 255u);
    EXPECT_EQ(KCanvasGetPixel(host.window(), px(80.0f), py(40.0f)), 255u);
    // A corner handle: 4 x 4 red pixels beyond the upper-right corner.
    EXPECT_EQ(KCanvasGetPixel(host.window(), px(80.0f) + 2, py(40.0f) - 2), 255u);
    DrawZoomBox(30.0f, 15.0f, 70.0f, 35.0f, 2);  // moves: the first box goes
    EXPECT_NE(KCanvasGetPixel(host.window(), px(20.0f), py(10.0f)), 255u);
    EXPECT_NE(KCanvasGetPixel(host.window(), px(70.0f) + 2, py(35.0f) - 2), 255u) << "two handles only";
    DrawZoomBox(-1.0e10f, 0.0f, 0.0f, 0.0f, 1);
    EXPECT_TRUE(windowUnchanged());
    DrawZoomBox(-1.0e10f, 0.0f, 0.0f, 0.0f, 1);  // nothing shown: nothing to do
    EXPECT_TRUE(windowUnchanged());
    std::vector<uint32_t> after;
    for (int yy = 0; yy < 300; ++yy)
        for (int xx = 0; xx < 400; ++xx) after.push_back(KCanvasGetPixel(hdcMem, xx, yy));
    EXPECT_EQ(after, picture) << "hdcMem is never drawn on";
}

TEST_F(Tools, ZoomColorBarSwapsAReversedRangeAndDragsItsEnds) {
    Vcmap.a0 = 0.0f;
    Vcmap.a1 = 25.0f;  // half a data unit per user unit of y
    float z0 = 20.0f, z1 = 5.0f;
    host.key(13);
    EXPECT_EQ(ZoomColorBar(&z0, &z1, 1), 13);
    EXPECT_NEAR(z0, 5.0f, 1e-4f);
    EXPECT_NEAR(z1, 20.0f, 1e-4f);
    EXPECT_EQ(host.part1History.front(), "Z-Range: [5 - 20]");
    EXPECT_TRUE(windowUnchanged());

    // The strip lies right of the plot; drag its top handle 40 rows up.
    const int rowTop = py(40.0f);  // z1 = 20 at y = 40
    const int stripX = VX.highPix + 1 + 16;
    host.move(stripX, rowTop);
    host.then([&] { EXPECT_EQ(host.cursor, kestrel::plat::CursorSizeNS); });
    host.press(KB_LEFT);
    host.move(stripX, rowTop - 20);
    host.release(KB_LEFT);
    host.idle();
    host.key(13);
    EXPECT_EQ(ZoomColorBar(&z0, &z1, 1), 13);
    EXPECT_NEAR(z0, 5.0f, 1e-4f);
    EXPECT_NEAR(z1, 20.0f + 20.0f / -VY.pixPerUser * 0.5f, 1e-3f);
    EXPECT_TRUE(windowUnchanged());
}

TEST_F(Tools, TrackPolygonReportsTheOffsetAndLeavesNothingBehind) {
    const int32_t x[4] = {100, 200, 150, 100}, y[4] = {100, 100, 180, 100};
    host.move(120, 110);
    int32_t dx = -1, dy = -1;
    // The mouse starts at (120, 110) when the host calls the tool.
    CM_Xpos = 120;
    CM_Ypos = 110;
    CM_Bstatus = 1;
    host.move(150, 122);
    host.then([&] {
        EXPECT_TRUE(windowChanged()) << "the dotted outline";
        EXPECT_GE(host.shows, 1);
    });
    host.release(KB_LEFT);
    TrackPolygon(x, y, 4, &dx, &dy);
    EXPECT_EQ(dx, 30);
    EXPECT_EQ(dy, 12);
    EXPECT_TRUE(windowUnchanged());
    EXPECT_EQ(host.part[0], "Ready");
    EXPECT_FALSE(host.ranOut);

    CM_Bstatus = 0;
    host.move(100, 90);
    host.key(27);
    TrackPolygon(x, y, 4, &dx, &dy);
    EXPECT_EQ(dx, -50) << "Escape leaves the last offsets";
    EXPECT_EQ(dy, -32);
    EXPECT_TRUE(windowUnchanged());
}

TEST_F(Tools, MoveBitMapScrollsWithinTheLimitsAndIgnoresJumps) {
    iHscrPos = iHscrollPos = 100;
    iVscrPos = iVscrollPos = 50;
    iHscrollLim = 500;
    iVscrollLim = 60;
    CM_Xpos = 200;
    CM_Ypos = 200;
    CM_Bstatus = 1;
    host.move(180, 170);   // dx -20, dy -30: h 120, v 60 (limited)
    host.move(1300, 170);  // a jump of 1120: ignored
    host.move(1305, 171);  // +5, +1
    host.release(KB_LEFT);
    EXPECT_EQ(MoveBitMap(), 20 + 30 + 5 + 1);
    ASSERT_EQ(host.scrolls.size(), 4u);
    EXPECT_EQ(host.scrolls[0].message, 276u);
    EXPECT_EQ(host.scrolls[0].wParam, (120u << 16) | 5u);
    EXPECT_EQ(host.scrolls[1].message, 277u);
    EXPECT_EQ(host.scrolls[1].wParam, (60u << 16) | 5u);
    EXPECT_EQ(host.scrolls[2].wParam, (115u << 16) | 5u);
    EXPECT_EQ(host.scrolls[3].wParam, (59u << 16) | 5u);
    EXPECT_EQ(host.part[0], "Ready");

    // With no room to scroll every position sent is 0.
    host.scrolls.clear();
    iHscrPos = iVscrPos = iHscrollLim = iVscrollLim = 0;
    CM_Bstatus = 1;
    host.move(100, 100);
    host.move(40, 10);
    host.release(KB_LEFT);
    MoveBitMap();
    ASSERT_FALSE(host.scrolls.empty());
    for (const auto &s : host.scrolls) EXPECT_EQ(s.wParam, 5u);
}

TEST_F(Tools, ErasesFromTheScrolledPicture) {
    // A window smaller than the picture, scrolled: what the tools erase is
    // the picture at the scroll offset, not at the window's origin.
    iHscrollPos = 37;
    iVscrollPos = 21;
    host.paint();
    before = host.windowPixels();
    float x[3], y[3];
    host.click(120, 80, KB_LEFT);
    host.move(200, 150);
    host.key(13);
    EXPECT_EQ(GetPoints(x, y, 3, 0, 0), 1);
    EXPECT_EQ(px(x[0]), 120 + 37);
    EXPECT_TRUE(windowUnchanged());
    float x0 = 20.0f, x1 = 60.0f, y0 = 10.0f, y1 = 40.0f;
    host.key(13);
    ZoomViewPort(&x0, &x1, 1, &y0, &y1, 1);
    EXPECT_TRUE(windowUnchanged());
}

TEST(ToolsWithoutAHost, EndAtOnceInsteadOfWaitingForEver) {
    KestrelSetUICallbacks(nullptr);
    float x[2], y[2], a = 0, b = 1, c = 0, d = 1;
    CM_Bstatus = 1;
    EXPECT_EQ(GetPoints(x, y, 2, 0, 0), 0);
    EXPECT_EQ(ZoomViewPort(&a, &b, 1, &c, &d, 1), 27);
    EXPECT_EQ(ZoomColorBar(&a, &b, 1), 27);
    EXPECT_EQ(MoveBitMap(), 0);
    int32_t dx = 0, dy = 0;
    TrackPolygon(nullptr, nullptr, 5, &dx, &dy);
    EXPECT_EQ(GetPoints(nullptr, y, 2, 0, 0), 0);
    CM_Bstatus = 0;
}

}  // namespace
#endif
