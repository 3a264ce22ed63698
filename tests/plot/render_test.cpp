// The same calls drawn on the canvas and written as PostScript, rendered by
// Ghostscript with Kestrel's preamble at the canvas size, give the same
// picture (measure: tests/common/render.h).
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "common/render.h"
#include "platform/platform.h"
#include "plot_fixture.h"

namespace {

// At most 2 % of the ink may differ, a pixel being matched within 2 pixels
// and 24 levels per channel. Two pixels, because the screen truncates to
// pixels and spreads a user range over span + 1 pixels while paper spreads
// it over span. A missing or displaced object costs far more (see
// MeasureCatchesMissingAndShiftedObjects).
constexpr double kMaxShare = 0.02;
constexpr int kRadius = 2, kTolerance = 24;
constexpr double kDpi = 40 * 2.54;

class RenderTest : public PlotTest {
protected:
    void SetUp() override {
        KT_REQUIRE_GHOSTSCRIPT();
        setUpPage(480, 360, 40.0f);
        dir = kt::scratchDir(::testing::UnitTest::GetInstance()->current_test_info()->name());
        SetColorMode(1);
    }
    // Opens the PostScript side with Kestrel's preamble and the same user system.
    void open(bool frame) {
        const std::string pre = kt::sourcePath("data/preamble/kestrel.ps");
        f = PSOpenFile((dir + "/plot.ps").c_str(), pre.c_str(), "", frame ? "/frame? true def\n" : "", 0);
        ASSERT_NE(f, nullptr);
        PSPalette(f);
        UsrSys(dc, 0, 100, 10, 1, 50, 0, 7, 1);  // a section: x 0..100, y 50 (bottom) .. 0 (top)
        PSUsrSys(f, "", 0, 100, 10, 1, 50, 0, 7, 1);
    }
    kt::ImageDiff finish(int radius = kRadius, int tol = kTolerance) {
        kestrel::plat::fileWriteText(f, "showpage\n");
        kestrel::plat::fileClose(f);
        return kt::compareWithPostScript(dc, dir, kDpi, radius, tol);
    }
    void colour(int index) {
        SetColor(index);
        PSSetColor(f, index);
    }
    void drawScene(bool polygonOnPaper);
    std::string dir;
    KFILE f = nullptr;
};

void RenderTest::drawScene(bool polygonOnPaper) {
    open(true);
    FrameVWP(dc, 0);
    // A curve with symbols, filled and outlined, of every type.
    std::vector<float> x, y;
    for (int i = 0; i <= 8; ++i) {
        x.push_back(8.0f + 10.0f * static_cast<float>(i));
        y.push_back(30.0f - 18.0f * std::sin(static_cast<float>(i) * 0.5f));
    }
    colour(0);
    DrawCurve(dc, f, x.data(), y.data(), 9, xmiss, 0, 0, 2);
    for (int t = 1; t <= 8; ++t) {
        colour(2 + t % 4);
        DrawSymbols(dc, f, &x[t], &y[t], 1, t, 0.25f);
    }
    SetDoFill(dc, 0);
    kestrel::plat::fileWriteText(f, "/symfill? false def\n");
    colour(12);
    const float ox[] = {20, 40, 60}, oy[] = {46, 46, 46};
    for (int t = 1; t <= 3; ++t) DrawSymbols(dc, f, ox + t - 1, oy + t - 1, 1, t + 1, 0.3f);
    SetDoFill(dc, 1);
    kestrel::plat::fileWriteText(f, "/symfill? true def\n");
    // A filled and outlined polygon with the caller's pen and brush.
    colour(9);
    KPALETTE pal = ActivateMyPalette(dc);
    kestrel::plat::selectObject(dc, kestrel::plat::createPen(0, 1, mCGS.color));
    kestrel::plat::selectObject(dc, kestrel::plat::createSolidBrush(mCGS.color));
    float px[] = {70, 90, 95, 80, 70}, py[] = {5, 8, 20, 25, 5};
    DrawPoly(dc, polygonOnPaper ? f : nullptr, px, py, 5, 0, 3);
    RestorePen(dc, "test");
    RestoreBrush(dc, "test");
    RestorePalette(dc, pal, "test");
    // A clipped polyline leaving the viewport, and arrows.
    colour(4);
    const float cx[] = {-20, 30, 50, 120}, cy[] = {60, 10, 35, -5};
    DrawClippedPolyline(dc, f, cx, cy, 4, xmiss, 1);
    colour(14);
    const float ax[] = {10, 30, 50}, ay[] = {10, 10, 10}, au[] = {1, 0.5f, -0.7f}, av[] = {0, 0.8f, 0.7f};
    DrawArrows(dc, f, ax, ay, au, av, 3, 1.2f, 0.3f, 1);
}

TEST_F(RenderTest, PrimitivesLookTheSameOnScreenAndPaper) {
    drawScene(true);
    const kt::ImageDiff d = finish();
    EXPECT_GT(d.inkA, 3000);
    EXPECT_LT(d.share, kMaxShare) << "unmatched " << d.missA << "/" << d.missB << "; pictures in " << dir;
}

TEST_F(RenderTest, MeasureCatchesMissingAndShiftedObjects) {
    drawScene(false);  // the polygon on the screen only
    EXPECT_GT(finish().share, 5 * kMaxShare) << "a missing polygon went unnoticed";
    // A picture shifted by four pixels no longer matches itself either.
    kt::Image paper;
    ASSERT_TRUE(kt::loadPNG(dir + "/ps.png", &paper));
    kt::Image shifted = paper;
    for (int y = 0; y < paper.h; ++y)
        for (int x = 0; x < paper.w; ++x) shifted.at(x, y) = x >= 4 ? paper.at(x - 4, y) : 0xFFFFFF;
    EXPECT_GT(kt::compareImages(paper, shifted, kRadius, kTolerance).share, 5 * kMaxShare);
}

// Text on paper sits where it sits on the screen: the same boxes (label
// origin, fill, frame) and the same glyph shapes from metric-compatible
// faces, within a looser colour tolerance for the screen's smoothed glyphs.
TEST_F(RenderTest, StringsSitInTheSameBoxes) {
    open(false);
    SetColor(0);
    SetDoFill(dc, 1);
    mCGS.boxFrame = 1;
    kestrel::plat::fileWriteText(f, "0 setgray /fill? true def /stroke? true def\n");
    struct Label {
        const char *text;
        float x, y, angle;
        int lorg;
    } labels[] = {{"Temperature", 30, 10, 0, 6}, {"Salinity", 70, 10, 0, 0}, {"Depth [m]", 10, 40, 90, 2},
                  {"x~^2 + y~_3", 60, 30, 0, 8}, {"Oxygen", 40, 35, 30, 1}};
    for (const Label &l : labels) {
        SetLorgVal(dc, l.lorg);
        DrawString(dc, l.text, l.x, l.y, l.angle, 16);
        char line[160];
        std::snprintf(line, sizeof line, "/lorg %d def 16 SetMyFont (%s) %g %g %g rotatedText\n", l.lorg, l.text,
                      static_cast<double>(l.angle), static_cast<double>(l.x), static_cast<double>(l.y));
        kestrel::plat::fileWriteText(f, line);
    }
    const kt::ImageDiff d = finish(1, 160);
    EXPECT_LT(d.share, 0.08) << "unmatched " << d.missA << "/" << d.missB << "; pictures in " << dir;
}

// "~\"a" and friends and the octal escapes show the font's own accented
// glyphs, the degree sign and the sharp s: rendered through the preamble
// they match the same glyphs set directly with the face's Latin-1 encoding.
TEST_F(RenderTest, DieresisAndDegreeEscapesShowTheRightGlyphs) {
    const std::string pre = "%!PS\n" + kt::readFile(kt::sourcePath("data/preamble/kestrel.ps")) +
                            "0 12 12 0 0 4 4 0 UsrSys 40 SetMyFont /lorg 6 def\n";
    const std::string latin1 = "/textfont /Helvetica-Bold def /KestrelText /Helvetica-Bold findfont "
                               "dup length dict begin { 1 index /FID ne { def } { pop pop } ifelse } forall "
                               "/Encoding ISOLatin1Encoding def currentdict end definefont pop "
                               "/kTextBase /Helvetica-Bold def 40 SetMyFont ";
    const std::pair<const char *, std::string> pages[] = {
        {"ours", "(~\"a~\"O~\"u\\312\\373)"}, {"ref", latin1 + "(\\344\\326\\374\\260\\337)"}, {"plain", "(aOu\\260\\337)"}};
    kt::Image img[3];
    for (int k = 0; k < 3; ++k) {
        const std::string base = dir + "/" + pages[k].first;
        kt::writeFile(base + ".ps", pre + pages[k].second + " 0.5 1 showstring showpage\n");
        std::string log;
        ASSERT_TRUE(kt::renderPostScript(base + ".ps", 480, 160, kDpi, base + ".png", &log)) << log;
        ASSERT_TRUE(kt::loadPNG(base + ".png", &img[k]));
    }
    const kt::ImageDiff same = kt::compareImages(img[0], img[1], 0, 0);
    EXPECT_GT(same.inkA, 1000);
    EXPECT_LT(same.share, 0.001);
    // Plain letters (and Latin-1 codes that are not ours) look clearly different.
    EXPECT_GT(kt::compareImages(img[0], img[2], 0, 0).share, 0.02);
}

TEST_F(RenderTest, ScreenDumpRendersWithoutErrors) {
    setUpPage(160, 120, 20.0f);
    SetColorMode(1);
    for (int i = 0; i < 40; ++i) {
        SetColor(33 + 2 * i);
        DrawBox(dc, i, i, 159 - i, 119 - i);
    }
    PSDumpScreen(dc, kt::sourcePath("data/preamble/kestrel.ps").c_str(), (dir + "/dump.ps").c_str());
    std::string log;
    // An A4 page at 72 dpi: the dump lies landscape on it and covers a good part.
    ASSERT_TRUE(kt::renderPostScript(dir + "/dump.ps", 595, 842, 72, dir + "/dump.png", &log)) << log;
    kt::Image page;
    ASSERT_TRUE(kt::loadPNG(dir + "/dump.png", &page));
    EXPECT_GT(std::count_if(page.px.begin(), page.px.end(), [](uint32_t p) { return (p & 0xFFFFFF) != 0xFFFFFF; }),
              595 * 842 / 4);
}

}  // namespace
