// Data-point marks and curve drawing, on a picture and in PostScript.
#include <gtest/gtest.h>

#include <string>

#include "common/picture.h"
#include "common/testing.h"
#include "kestrel/kestrel.h"
#include "oa_fixture.h"
#include "platform/platform.h"

namespace {

class DrawGrid : public ::testing::Test {
protected:
    void SetUp() override {
        dc = kt::openPage(200, 200, 20.0f);
        ASSERT_NE(dc, nullptr);
        UsrSys(dc, 0, 100, 10, 0, 0, 100, 10, 0);
    }
    void TearDown() override { kt::closePage(dc); }
    bool white(int x, int y) const { return (kt::picturePixel(dc, x, y) & 0xFFFFFFu) == 0xFFFFFFu; }
    KDC dc = nullptr;
    ktoa::SetGuard set;
};

TEST_F(DrawGrid, MarksOnlyUsedPointsOnScreenAndInPostScript) {
    OASet &s = set.s;
    ASSERT_TRUE(ktoa::allocExact(s, 2, 2, 3));
    const float pts[3][2] = {{50, 50}, {20.5f, 80}, {90, 10}};
    for (int i = 0; i < 3; ++i) {
        s.x[i] = pts[i][0];
        s.y[i] = pts[i][1];
        s.use[i] = i != 2;
    }
    s.nPoints = 3;
    OAMarkDataPos(dc, nullptr, &s, 2.0f, 40);  // a colour of the scale (index 1 is white)
    EXPECT_FALSE(white(100, 100));             // a filled dot at (50, 50)
    EXPECT_TRUE(white(180, 180));              // the unused point at (90, 10)
    const std::string ps = kt::capture("marks", [&](KFILE f) { OAMarkDataPos(nullptr, f, &s, 2.0f, 1); });
    EXPECT_EQ(ps.find("\n%%PS-OBJECT: DataPointMarks begin\n"), 0u);
    EXPECT_NE(ps.find("/d { 2.000 dotr } bind def /fill? true def very_thin_line\n50 50 d\n20.5 80 d\n"
                      "0 setgray /fill? false def\n%%PS-OBJECT: DataPointMarks end\n\n"),
              std::string::npos);
    // No used point: the frame and the procedure all the same.
    for (int i = 0; i < 3; ++i) s.use[i] = 0;
    const std::string empty = kt::capture("empty", [&](KFILE f) { OAMarkDataPos(nullptr, f, &s, 1.5f, 1); });
    EXPECT_NE(empty.find("/d { 1.500 dotr } bind def /fill? true def very_thin_line\n0 setgray"), std::string::npos);
}

TEST_F(DrawGrid, CurveIsDrawnAsOnePolyline) {
    const float cx[3] = {10, 50, 90}, cy[3] = {10, 90, 10};
    KPEN pen = kestrel::plat::createPen(0, 1, 0);
    auto old = kestrel::plat::selectObject(dc, pen);
    NURBSCurveDraw(dc, nullptr, cx, cy, 3, 2, 1);
    kestrel::plat::selectObject(dc, old);
    kestrel::plat::deleteObject(pen);
    // The apex of the parabola is at (50, 50): user y 50 is pixel row ~100.
    bool hit = false;
    for (int y = 95; y <= 105; ++y) hit |= !white(100, y);
    EXPECT_TRUE(hit);
    const std::string ps = kt::capture("curve", [&](KFILE f) { NURBSCurveDraw(nullptr, f, cx, cy, 3, 2, 1); });
    // One path from the first control point, in relative steps.
    EXPECT_EQ(ps.rfind("\nnp\n10 10 M\n", 0), 0u) << ps;
    EXPECT_EQ(ps.find(" M\n"), ps.rfind(" M\n"));
    EXPECT_EQ(ps.substr(ps.size() - 10), " R\nstroke\n");
    EXPECT_EQ(NURBSCurveDraw(nullptr, nullptr, cx, cy, 0, 2, 1), 0);
}

}  // namespace
