// Symbols, curves, polygons, clipped polylines, arrows and boxes: the
// pixels they set and the PostScript they write.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "plot_fixture.h"

namespace {

constexpr uint32_t kWhite = 0xFFFFFF;
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

class DrawTest : public PlotTest {
protected:
    // A page with x 0..10 and y 0..5 over 5 length units each (8 pixels per user unit).
    void page() {
        setUpPage(400, 300, 40.0f);
        UsrSys(dc, 0, 10, 5, 1, 0, 5, 5, 1);
        SetColorMode(1);
        SetColor(0);
    }
    int inked() const {
        const kt::Image img = kt::pictureImage(dc);
        return static_cast<int>(std::count_if(img.px.begin(), img.px.end(), [](uint32_t p) { return p != kWhite; }));
    }
    static int32_t px(float x) { return static_cast<int32_t>((x - VX.umin) * VX.pixPerUser + VX.lowPix); }
    static int32_t py(float y) { return static_cast<int32_t>((y - VY.umin) * VY.pixPerUser + VY.lowPix); }
};

int count(const std::string &text, const std::string &what) {
    int n = 0;
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at + 1)) ++n;
    return n;
}

TEST_F(DrawTest, DotsOfRadiusOneArePlusesAndShapesFillOrOutline) {
    page();
    const float x[] = {2, 5, 8}, y[] = {2.5f, 2.5f, 2.5f};
    DrawDots(dc, x, y, 1, 0);
    EXPECT_EQ(inked(), 0);
    DrawDots(dc, x, y, 1, 0.05f);  // r = trunc(40 * 0.05 * 0.51) = 1
    EXPECT_EQ(inked(), 5);
    for (auto [dx, dy] : std::vector<std::pair<int, int>>{{0, 0}, {1, 0}, {-1, 0}, {0, 1}, {0, -1}})
        EXPECT_EQ(kt::picturePixel(dc, px(2) + dx, py(2.5f) + dy), 0u) << dx << "," << dy;
    using Fn = void(KESTREL_CALL *)(KDC, const float *, const float *, int32_t, float);
    for (Fn fn : {DrawDots, DrawSquares, DrawDiamonds, DrawTriangles, DrawInvTriangles})
        for (int fill : {1, 0}) {
            page();
            SetColor(4);  // blue
            SetDoFill(dc, fill);
            fn(dc, x, y, 3, 0.5f);  // 20 pixels across
            EXPECT_EQ(kt::picturePixel(dc, px(5), py(2.5f)), fill ? 0xFF0000u : kWhite) << "fill " << fill;
            EXPECT_GT(inked(), 3 * 20);
        }
}

TEST_F(DrawTest, OutOfRangeSymbolsAndWildCoordinatesAreSafe) {
    page();
    const float x[] = {2, 1e30f, -1e30f, kNaN}, y[] = {2, 2, 1e30f, 2};
    for (float size : {0.0f, -1.0f, kNaN, std::numeric_limits<float>::infinity(), 1e30f, 5000.0f})
        for (int type = -2; type <= 10; ++type) DrawSymbols(dc, nullptr, x, y, 4, type, size);
    for (int type : {0, 9, -7, 100}) DrawSymbols(dc, nullptr, x, y, 1, type, 0.3f);
    DrawSymbols(dc, nullptr, nullptr, y, 4, 2, 0.3f);
    DrawSymbols(dc, nullptr, x, y, -4, 2, 0.3f);
    EXPECT_EQ(inked(), 0);
    DrawSymbols(dc, nullptr, x, y, 4, 2, 0.3f);  // far-away centres are skipped, the near one drawn
    EXPECT_GT(inked(), 0);
    // Huge coordinates in lines and polygons neither crash nor stall.
    float cx[] = {1, 1e30f, -1e30f, 5, 3e9f}, cy[] = {1, 2, 1e25f, 4, -3e9f};
    const auto start = std::chrono::steady_clock::now();
    DrawCurve(dc, nullptr, cx, cy, 5, xmiss, 1, 0.2f, 0);
    DrawClippedPolyline(dc, nullptr, cx, cy, 5, xmiss, 0);
    DrawPoly(dc, nullptr, cx, cy, 5, 0, 3);
#ifndef _WIN32
    // The canvas cuts such segments itself; on Windows the clipping is GDI's
    // (Wine's emulation of it is slow here, which says nothing of ours).
    EXPECT_LT(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 2.0);
#else
    (void)start;
#endif
}

TEST_F(DrawTest, SymbolsAndCurvesInPostScript) {
    page();
    kt::expectGolden("postscript/symbols_curves.ps", kt::capture("ps", [](KFILE f) {
        const float x[] = {1, 2, -1e10f, 4}, y[] = {1, 1.5f, 3, -1e10f};
        DrawSymbols(nullptr, f, x, y, 4, 0, 0.25f);  // type 0: dots
        DrawSymbols(nullptr, f, x, y, 2, 9, 0.25f);  // type 9: upright crosses
        DrawSymbols(nullptr, f, x, y, 2, 3, kNaN);   // nothing
        const float cx[] = {0.5f, 1, 99, 2, 3}, cy[] = {0.5f, 99, 1, 2, 2.5f};
        DrawCurve(hdcMem, f, cx, cy, 5, 99, 6, 2.5f, 2);  // with a device: every point with L
        DrawCurve(nullptr, f, cx, cy, 5, 99, 0, 0, 1);     // without: the first with M
        DrawCurve(nullptr, f, cx, cy, 1, 99, 2, 3, 1);     // one point: symbols only
        DrawCurve(nullptr, f, cx, cy, 5, 99, 0, 0, -1);    // negative width: no line
    }));
    // Line width names follow the pixel width: at 200 pixels per length unit
    // widths 0..5 are 1, 5, 11, 22, 44, 80 pixels, named by index 1 and then the widest.
    setUpPage(400, 300, 200.0f);
    UsrSys(dc, 0, 1, 1, 0.1f, 0, 1, 1, 0.1f);
    const std::string widths = kt::capture("widths", [](KFILE f) {
        const float x[] = {0, 1}, y[] = {0, 1};
        for (int w = 0; w <= 5; ++w) DrawCurve(nullptr, f, x, y, 2, xmiss, 0, 0, w);
    });
    EXPECT_EQ(count(widths, "thin_line\n"), 1);
    EXPECT_EQ(count(widths, "very_thin_line\n"), 0);
    EXPECT_EQ(count(widths, "extra_thick_line\n"), 5);
}

TEST_F(DrawTest, CurveSkipsMissingPointsAndDrawsSymbolsAlone) {
    page();
    const float x[] = {1, 5, 9}, y[] = {1, -7, 1};
    DrawCurve(dc, nullptr, x, y, 3, -7, 0, 0, 0);  // one straight line from x=1 to x=9 at y=1
    EXPECT_EQ(kt::picturePixel(dc, px(5), py(1)), 0u);
    page();
    DrawCurve(dc, nullptr, x, y, 1, -7, 2, 3, 0);  // n = 1: the square only
    EXPECT_GT(inked(), 0);
}

TEST_F(DrawTest, PolygonsStepsBatchesAndProjection) {
    EXPECT_EQ(kt::capture("poly", [](KFILE f) {
                  float x[] = {1, 2, 2, 3, 1}, y[] = {1, 1, 1, 4, 1};
                  DrawPoly(nullptr, f, x, y, 5, 0, 3);
              }),
              "\nnp\n1 1 M\n1 0 R\n1 3 R\n-2 -3 R\nFill\nstroke\n");
    std::vector<float> x(2000), y(2000);
    for (int i = 0; i < 2000; ++i) x[i] = static_cast<float>(i), y[i] = static_cast<float>(i % 7);
    const std::string many = kt::capture("many", [&](KFILE f) { DrawPoly(dc, f, x.data(), y.data(), 2000, 0, 1); });
    EXPECT_EQ(count(many, " R\n"), 1499);
    EXPECT_EQ(nVp, 1500);
    // With projection on, the caller's points are projected in place.
    const int32_t saved = proj;
    proj = 4;  // Mollweide
    float mx[] = {-30, 0, 45}, my[] = {10, 60, -20}, ex[] = {-30, 0, 45}, ey[] = {10, 60, -20};
    for (int i = 0; i < 3; ++i) Project(&ex[i], &ey[i]);
    DrawPoly(nullptr, nullptr, mx, my, 3, 1, 1);
    proj = saved;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(mx[i] == ex[i] && my[i] == ey[i]) << i;
}

TEST_F(DrawTest, ClippedPolylineAndArrowsInPostScript) {
    page();
    EXPECT_EQ(kt::capture("clipped", [](KFILE f) {
                  const float x[] = {-5, 5, 15, 15, 5, 5, 7}, y[] = {2.5f, 2.5f, 2.5f, 4, 4, -9, 1};
                  DrawClippedPolyline(nullptr, f, x, y, 7, -9, 0);
              }),
              "very_thin_line\nnp\n0 2.5 M\n5 2.5 L\n10 2.5 L\n10 4 M\n5 4 L\nstroke\n");
    UsrSys(dc, 0, 100, 5, 1, 0, 50, 5, 1);  // x: 20 user units per length unit, y: 10
    const std::string text = kt::capture("arrows", [](KFILE f) {
        const float x[] = {10, 50, xmiss}, y[] = {10, 10, 5}, u[] = {1, 0, 1}, v[] = {0, 2, 1};
        DrawArrows(hdcMem, f, x, y, u, v, 3, 1.0f, 0.2f, 1);
    });
    // One length unit to the right = 20 user units in x; two up = 20 in y.
    EXPECT_NE(text.find("10 10 M\n30 10 L\n"), std::string::npos) << text;
    EXPECT_NE(text.find("50 10 M\n50 30 L\n"), std::string::npos) << text;
    EXPECT_EQ(count(text, " M\n"), 4);
    EXPECT_GT(inked(), 40);
}

TEST_F(DrawTest, BoxesViewportAndColourItems) {
    SetColorMode(1);
    SetColor(2);
    DrawBox(dc, 10, 10, 20, 15);
    EXPECT_EQ(kt::picturePixel(dc, 10, 10), 0x0000FFu);
    EXPECT_EQ(kt::picturePixel(dc, 20, 15), 0x0000FFu);
    EXPECT_EQ(kt::picturePixel(dc, 15, 12), kWhite);
    EXPECT_EQ(inked(), 2 * 11 + 2 * 4);

    UsrSys(dc, 0, 10, 5, 1, 0, 5, 5, 1);
    int32_t r[4];
    float sx = 0, sy = 0;
    CopyRectPix(r, &sx, &sy);
    EXPECT_EQ(std::vector<int32_t>(r, r + 4), (std::vector<int32_t>{40, 60, 240, 260}));
    EXPECT_FLOAT_EQ(sx, 20.1f);
    EXPECT_FLOAT_EQ(sy, -39.8f);
    CopyRectPix(nullptr, nullptr, nullptr);

    setUpPage(100, 40, 40.0f);
    const int32_t item[4] = {10, 10, 60, 30};
    ODADrawColorRect(dc, item, 40, 1);
    EXPECT_EQ(kt::picturePixel(dc, 35, 20), kt::paletteColour(40));
    EXPECT_EQ(kt::picturePixel(dc, 10, 20), 0u);  // selection frame
    EXPECT_EQ(kt::picturePixel(dc, 12, 20), 0u);  // swatch outline
    ODADrawColorRect(dc, item, 40, 0);
    EXPECT_EQ(kt::picturePixel(dc, 10, 20), kWhite);
    const int before = inked();
    ODADrawColorRect(dc, item, 500, 1);
    ODADrawColorRect(dc, item, -1, 1);
    EXPECT_EQ(inked(), before);
}

}  // namespace
