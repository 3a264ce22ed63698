// Map frame, graticule and labels: label texts and grids worked by hand,
// label placement rules, and the frame's PostScript and screen output.
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "map_fixture.h"

namespace {

using Frame = MapTest;

std::string lat(float v, int ps) {
    char t[32];
    MkeLatLabel(v, t, ps);
    return t;
}
std::string lon(float v, int ps) {
    char t[32];
    MkeLonLabel(v, t, ps);
    return t;
}

// The frame of a laid-out map written to PostScript only.
std::string framePS(MapTest &t, const kt::MapLayout &m, int grid) {
    const std::string path = t.dir + "/frame.ps";
    KFILE f = kt::openFile(path);
    EXPECT_NE(f, nullptr);
    DrawMapFrame(nullptr, f, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin, m.yMax, m.h,
                 m.yOff, 9, 0, grid);
    kt::closeFile(f);
    return kt::readFile(path);
}

}  // namespace

TEST_F(Frame, LabelTexts) {
    EXPECT_EQ(lat(0, 1), "EQ");
    EXPECT_EQ(lat(-12.5f, 0), "12.5\xB0S");  // screen: Latin-1 degree sign
    EXPECT_EQ(lat(30, 1), "30\\312N");       // PostScript: octal escape
    EXPECT_EQ(lon(200, 0), "160\xB0W");
    EXPECT_EQ(lon(0, 1), "0\\312");
    EXPECT_EQ(lon(180, 1), "180\\312E");   // 180 stays east
    EXPECT_EQ(lon(-180, 1), "180\\312W");  // and -180 west
    EXPECT_EQ(lon(-200, 1), "160\\312E");
    EXPECT_EQ(lon(45.25f, 1), "45.25\\312E");
    EXPECT_EQ(lon(-0.00001f, 1), "0\\312W");  // the sign decides, the digits round
    MkeLatLabel(1, nullptr, 0);  // ignored
}

TEST_F(Frame, LabelGrids) {
    float origin, tick, step;
    int32_t first, last;
    // Latitudes: no step above 30, no labels at the poles.
    AdjustMapLabelPos(-90, 90, &origin, &tick, &step, &first, &last, 1);
    EXPECT_FLOAT_EQ(step, 30);
    EXPECT_FLOAT_EQ(tick, 10);
    EXPECT_FLOAT_EQ(origin, -90);
    EXPECT_EQ(origin + first * step, -60);
    EXPECT_EQ(origin + last * step, 60);
    // 300 deg of longitude: labels every 90, ticks every 30.
    AdjustMapLabelPos(-150, 150, &origin, &tick, &step, &first, &last, 0);
    EXPECT_FLOAT_EQ(step, 90);
    EXPECT_FLOAT_EQ(tick, 30);
    EXPECT_FLOAT_EQ(origin, -180);
    EXPECT_EQ(first, 0);
    EXPECT_EQ(last, 3);  // -180 .. 90: trunc((150 + 180) / 90)
    // 120..270 deg: every 30.
    AdjustMapLabelPos(0, 200, &origin, &tick, &step, &first, &last, 0);
    EXPECT_FLOAT_EQ(step, 30);
    EXPECT_FLOAT_EQ(tick, 10);
    // Narrow ranges keep the axis scaling's proposal.
    AdjustMapLabelPos(10, 20, &origin, &tick, &step, &first, &last, 0);
    EXPECT_LE(step, 5);
    EXPECT_LE(origin + first * step, 10);
    EXPECT_GE(origin + last * step, 20 - step);
    AdjustMapLabelPos(10, 20, nullptr, nullptr, nullptr, nullptr, nullptr, 1);  // ignored
}

TEST_F(Frame, LabelPlacementRules) {
    int32_t lorg = -1;
    EXPECT_FLOAT_EQ(LatMapLabelXPos(-180, 180, &lorg, 1, 0), -180);
    EXPECT_EQ(lorg, 0);  // a full circle: labels centred on their parallel
    EXPECT_FLOAT_EQ(LatMapLabelXPos(-60, 60, &lorg, 4, 0), -60);
    EXPECT_EQ(lorg, 7);
    // Code 5 round the globe: a quarter step east of the meridian nearest
    // the centre. Grid -90 + 90k; positions (k - 0.75) 90 - 90: 112.5 is
    // nearest to 150.
    EXPECT_FLOAT_EQ(LatMapLabelXPos(-30, 330, &lorg, 5, 150), 112.5f);
    EXPECT_EQ(lorg, 0);

    EXPECT_FLOAT_EQ(LonMapLabelYPos(0, 90, 30, 80, 30, 30, &lorg, 1, 45), 30);
    EXPECT_EQ(lorg, 1);
    // Codes 2 and 4: on the equator when it is on the map...
    EXPECT_FLOAT_EQ(LonMapLabelYPos(-60, 60, -60, 60, 0, 0, &lorg, 4, 0), 0);
    EXPECT_EQ(lorg, 1);
    // ... else along the edge nearer to it.
    EXPECT_FLOAT_EQ(LonMapLabelYPos(-60, 60, 20, 80, 30, 30, &lorg, 2, 0), 20);
    EXPECT_EQ(lorg, 1);
    // Code 5 off the pole: along the edge nearer the equator.
    EXPECT_FLOAT_EQ(LonMapLabelYPos(-120, 60, -60, 89, 0, 0, &lorg, 5, -30), -60);
    EXPECT_EQ(lorg, 1);
    // Code 5 round the globe, centre on Greenwich: half a step off a labelled
    // parallel near the middle of the map (grid -90 + 30k, middle 0: -15).
    EXPECT_FLOAT_EQ(LonMapLabelYPos(-180, 180, -90, 90, 0, 0, &lorg, 5, 0), -15);
    EXPECT_EQ(lorg, 0);
    EXPECT_FLOAT_EQ(LonMapLabelYPos(-180, 180, -90, 90, 12, 12, &lorg, 6, 0), 12);
    EXPECT_EQ(lorg, 1);
}

// A north-polar map of the whole cap labels the meridians -180 (as 180 W),
// 90 W, 0 and 90 E, but not +180, which is the same meridian again.
TEST_F(Frame, PolarFullCircleLabelsEachMeridianOnce) {
    const kt::MapLayout m = layout(1, -180, 180, 20, 90, 0, 90);
    ASSERT_EQ(m.lonMax - m.lonMin, 360);
    const std::string text = framePS(*this, m, 1);
    EXPECT_EQ(kt::countOf(text, "[(180\\312W)]"), 1);
    EXPECT_EQ(kt::countOf(text, "[(90\\312W)]"), 1);
    EXPECT_EQ(kt::countOf(text, "[(0\\312)]"), 1);
    EXPECT_EQ(kt::countOf(text, "[(90\\312E)]"), 1);
    EXPECT_EQ(kt::countOf(text, "[(180\\312E)]"), 0);
    // Every labelled parallel (the pole left out) is drawn, and four meridians.
    float origin, tick, step;
    int32_t first, last;
    AdjustMapLabelPos(m.latMin, m.latMax, &origin, &tick, &step, &first, &last, 1);
    EXPECT_LT(origin + last * step, 90);
    EXPECT_EQ(kt::countOf(text, "\\312N)]"), last - first + 1);
    EXPECT_EQ(kt::countOf(text, "gsave very_thin_line stroke grestore\n"), last - first + 1 + 4);
    EXPECT_EQ(text.rfind("\n%%PS-OBJECT: MapFrame begin\ngsave\n/fill? false def /stroke? false def\n", 0), 0u);
    EXPECT_NE(text.find("grestore\n%%PS-OBJECT: MapFrame end\n"), std::string::npos);
}

TEST_F(Frame, UnprojectedFrameObjectIsLeftOpen) {
    const kt::MapLayout m = layout(0, -60, 40, -30, 50, 0, 0);
    const std::string text = framePS(*this, m, 1);
    EXPECT_NE(text.find("%%PS-OBJECT: MapFrame begin"), std::string::npos);
    EXPECT_EQ(text.find("MapFrame end"), std::string::npos);
    EXPECT_EQ(text.find("grestore"), std::string::npos);
    kt::expectGolden("maps/frame_none.ps", text);
}

TEST_F(Frame, MollweideFrameGolden) {
    const kt::MapLayout m = layout(4, -180, 180, -90, 90, 0, 0);
    kt::expectGolden("maps/frame_mollweide.ps", framePS(*this, m, 1));
}

// Labels are written along the parallel through them and never upside down.
TEST_F(Frame, LabelsFollowTheirParallelUpright) {
    layout(1, -180, 180, 20, 90, 0, 90);
    const std::string path = dir + "/labels.ps";
    KFILE f = kt::openFile(path);
    ASSERT_NE(f, nullptr);
    // On a north-polar map the parallel runs rightward below the pole, up at
    // 90 E, leftward above the pole and down at 90 W; the probe is a chord of
    // 3.6 deg, so each direction is 1.8 deg further round. Upward and
    // leftward text is turned round.
    const float lons[] = {0, 90, 180, -90};
    const double expected[] = {1.8, 271.8, 1.8, 271.8};
    for (float l : lons) DrawLonLabel(nullptr, f, l, 40, 360, 9, 1);
    kt::closeFile(f);
    const std::string text = kt::readFile(path);
    EXPECT_EQ(kt::countOf(text, "/lorg 1 def 9 SetMyFont\n"), 4);
    size_t at = 0;
    for (double e : expected) {
        at = text.find("def\n", text.find("/labl", at));
        ASSERT_NE(at, std::string::npos);
        const double dir = std::atof(text.c_str() + at + 4);
        EXPECT_NEAR(dir, e, 0.01) << text;
        EXPECT_FALSE(dir > 90 && dir < 270);
        ++at;
    }
}

// The screen side: outline, graticule and labels land where the projection
// puts them.
TEST_F(Frame, ScreenFrameDrawsOutlineGraticuleAndLabels) {
    const kt::MapLayout m = layout(4, -180, 180, -90, 90, 0, 0);
    DrawMapFrame(dc, nullptr, m.lonMin, m.lonMax, m.latMin, m.latMax, m.xMin, m.xMax, m.w, m.xOff, m.yMin, m.yMax, m.h,
                 m.yOff, 9, 0, 1);
    auto dark = [&](float lo, float la) {
        Project(&lo, &la);
        const int px = static_cast<int>((lo - VX.umin) * VX.pixPerUser + static_cast<float>(VX.lowPix));
        const int py = static_cast<int>((la - VY.umin) * VY.pixPerUser + static_cast<float>(VY.lowPix));
        int n = 0;
        for (int dy = -1; dy <= 1; ++dy)
            for (int dx = -1; dx <= 1; ++dx) n += kt::picturePixel(dc, px + dx, py + dy) == 0;
        return n > 0;
    };
    EXPECT_TRUE(dark(45, 0));      // the equator
    EXPECT_TRUE(dark(90, 45));     // the meridian 90 E
    EXPECT_TRUE(dark(20, 30));     // the parallel 30 N
    EXPECT_TRUE(dark(179.99f, 10));  // the outline
    EXPECT_FALSE(dark(45, 45));    // open water of the graticule
    EXPECT_FALSE(dark(-135, -20));
}

// The unprojected map's band: pieces one tick long, alternately dark and
// white, above and below the map (x) and left and right of it (y).
TEST_F(Frame, UnprojectedBandAlternates) {
    layout(0, 0, 60, 0, 40, 30, 20);
    SetColor(0);
    DrawXMapFrame(dc, nullptr, 0, 10);
    DrawYMapFrame(dc, nullptr, 0, 10);
    const int top = VY.highPix - 1, left = VX.lowPix - 1;
    auto xAt = [&](float u) { return static_cast<int>((u - VX.umin) * VX.pixPerUser + static_cast<float>(VX.lowPix)); };
    auto yAt = [&](float u) { return static_cast<int>((u - VY.umin) * VY.pixPerUser + static_cast<float>(VY.lowPix)); };
    EXPECT_EQ(kt::picturePixel(dc, xAt(5), top), 0u);            // 0..10 dark
    EXPECT_EQ(kt::picturePixel(dc, xAt(15), top), 0xFFFFFFu);    // 10..20 white
    EXPECT_EQ(kt::picturePixel(dc, xAt(25), top), 0u);
    EXPECT_EQ(kt::picturePixel(dc, left, yAt(15)), 0xFFFFFFu);
    EXPECT_EQ(kt::picturePixel(dc, xAt(30), yAt(20)), 0xFFFFFFu);  // nothing inside
    DrawXMapFrame(nullptr, nullptr, 0, 10);  // no device context: nothing
    DrawXMapFrame(dc, nullptr, 0, 0);        // a zero tick draws the corners only
}

// The axis labellers in map style: the band instead of ticks, and
// geographic labels outside it (the viewport clip is taken away for them).
TEST_F(Frame, MapStyleAxisLabels) {
    const kt::MapLayout m = layout(0, -40, 20, 10, 50, -10, 30);
    SetColor(0);
    mCGS.fontSize = 9;
    XMapLabels(dc, m.latMin, -40, 10, 20);
    YMapLabels(dc, m.lonMin, 10, 10, 20);
    auto inkIn = [&](int x0, int y0, int x1, int y1) {
        int n = 0;
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x) n += kt::picturePixel(dc, x, y) == 0;
        return n;
    };
    const int below = VY.lowPix + 4, left = VX.lowPix - 4;
    EXPECT_GT(inkIn(VX.lowPix, below, VX.highPix, below + 20), 50);  // "40°W" .. "20°E"
    EXPECT_GT(inkIn(left - 50, VY.highPix, left, VY.lowPix), 50);    // "10°N" .. "50°N"
    // Nothing inside the map.
    EXPECT_EQ(inkIn(VX.lowPix + 5, VY.highPix + 5, VX.highPix - 5, VY.lowPix - 5), 0);
}
