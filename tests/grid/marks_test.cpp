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
        dc = kt::createPicture(200, 200);
        ASSERT_NE(dc, nullptr);
        VX.devPixels = VY.devPixels = 200;
        VX.pixPerLength = VY.pixPerLength = 20.0f;
        VX.devLength = VY.devLength = 10.0f;
        InitCGS(dc, &mCGS);
        mCGS.paletteFile[0] = '\0';
        LoadPaletteFile(dc, nullptr);
        UsrSys(dc, 0, 100, 10, 0, 0, 100, 10, 0);
        OAInitializeSet(&set);
    }
    void TearDown() override {
        OAFreeSet(&set);
        DeleteMYPalette();
        kt::destroyPicture(dc);
    }
    std::string writePs(const char *name, void (*draw)(KFILE, OASet *), OASet *s) {
        const std::string path = kt::scratchDir(name) + "/out.ps";
        KFILE f = kestrel::plat::fileCreate(path.c_str());
        draw(f, s);
        kestrel::plat::fileClose(f);
        return kt::readFile(path);
    }
    KDC dc = nullptr;
    OASet set;
};

TEST_F(DrawGrid, MarksOnlyUsedPointsOnScreenAndInPostScript) {
    ASSERT_TRUE(ktoa::allocExact(set, 2, 2, 3));
    const float pts[3][2] = {{50, 50}, {20.5f, 80}, {90, 10}};
    for (int i = 0; i < 3; ++i) {
        set.x[i] = pts[i][0];
        set.y[i] = pts[i][1];
        set.use[i] = i != 2;
    }
    set.nPoints = 3;
    OAMarkDataPos(dc, nullptr, &set, 2.0f, 40);  // a colour of the scale (index 1 is white)
    // A filled dot at (50, 50): pixel (100, 100) is no longer white.
    EXPECT_NE(kt::picturePixel(dc, 100, 100) & 0xFFFFFFu, 0xFFFFFFu);
    EXPECT_EQ(kt::picturePixel(dc, 180, 180) & 0xFFFFFFu, 0xFFFFFFu);  // the unused point at (90, 10)
    const std::string ps = writePs("MarksPs", [](KFILE f, OASet *s) { OAMarkDataPos(nullptr, f, s, 2.0f, 1); }, &set);
    EXPECT_EQ(ps.find("\n%%PS-OBJECT: DataPointMarks begin\n"), 0u);
    EXPECT_NE(ps.find("/d { 2.000 dotr } bind def /fill? true def very_thin_line\n50 50 d\n20.5 80 d\n"
                      "0 setgray /fill? false def\n%%PS-OBJECT: DataPointMarks end\n\n"),
              std::string::npos);
    // No used point: the frame and the procedure all the same.
    for (int i = 0; i < 3; ++i) set.use[i] = 0;
    const std::string empty = writePs("MarksEmpty", [](KFILE f, OASet *s) { OAMarkDataPos(nullptr, f, s, 1.5f, 1); }, &set);
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
    for (int y = 95; y <= 105; ++y) hit |= (kt::picturePixel(dc, 100, y) & 0xFFFFFFu) != 0xFFFFFFu;
    EXPECT_TRUE(hit);
    const std::string path = kt::scratchDir("CurvePs") + "/out.ps";
    KFILE f = kestrel::plat::fileCreate(path.c_str());
    NURBSCurveDraw(nullptr, f, cx, cy, 3, 2, 1);
    kestrel::plat::fileClose(f);
    const std::string ps = kt::readFile(path);
    EXPECT_NE(ps.find(" M\n"), std::string::npos);
    EXPECT_NE(ps.find("stroke"), std::string::npos);
    EXPECT_EQ(NURBSCurveDraw(nullptr, nullptr, cx, cy, 0, 2, 1), 0);
}

}  // namespace
