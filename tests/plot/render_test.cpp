// The same calls drawn on the canvas and written as PostScript, rendered by
// Ghostscript with Kestrel's preamble at the canvas size, give the same
// picture (measure: tests/common/render.h).
#include <cmath>
#include <string>
#include <vector>

#include "common/render.h"
#include "platform/platform.h"
#include "plot/text.h"
#include "plot/transform.h"
#include "plot_fixture.h"

namespace {

// The measure: at most 2 % of the ink may differ, a pixel being matched by
// a pixel of the other picture within 2 pixels and 24 levels per channel.
// Two pixels, because the screen truncates to pixels and spreads a user range
// over span + 1 pixels while paper spreads it over span, which adds up to
// one and a half pixels at the far edge. A missing or displaced object costs
// far more (see MeasureCatchesAMissingObject).
constexpr double kMaxShare = 0.02;
constexpr int kRadius = 2;
constexpr int kTolerance = 24;

class RenderTest : public PlotTest {
protected:
    void SetUp() override {
        setUpPage(480, 360, 40.0f);
        dir = kt::scratchDir(::testing::UnitTest::GetInstance()->current_test_info()->name());
    }
    void TearDown() override {
        kestrel::releaseLibraryFont();
        PlotTest::TearDown();
    }
    // Opens the PostScript side with Kestrel's preamble and the same user system.
    KFILE open(bool frame) {
        const std::string pre = kt::sourcePath("data/preamble/kestrel.ps");
        KFILE f = PSOpenFile((dir + "/plot.ps").c_str(), pre.c_str(), "", frame ? "/frame? true def\n" : "", 0);
        EXPECT_NE(f, nullptr);
        PSPalette(f);
        UsrSys(dc, 0, 100, 10, 1, 50, 0, 7, 1);  // a section: x 0..100, y 50 (bottom) .. 0 (top)
        PSUsrSys(f, "", 0, 100, 10, 1, 50, 0, 7, 1);
        return f;
    }
    kt::ImageDiff finish(KFILE f) {
        kestrel::plat::fileWriteText(f, "showpage\n");
        kt::closeFile(f);
        std::string log;
        const bool ok = kt::renderPostScript(dir + "/plot.ps", 480, 360, 40 * 2.54, dir + "/ps.png", &log);
        EXPECT_TRUE(ok) << log;
        kt::Image screen = kt::pictureImage(dc), paper;
        EXPECT_TRUE(kt::loadPNG(dir + "/ps.png", &paper));
        kt::savePNG(dir + "/screen.png", screen);
        kt::savePNG(dir + "/diff.png", kt::diffImage(screen, paper, kRadius, kTolerance));
        const kt::ImageDiff d = kt::compareImages(screen, paper, kRadius, kTolerance);
        RecordProperty("share", std::to_string(d.share));
        return d;
    }
    void colour(KFILE f, int index) {
        SetColor(index);
        PSSetColor(f, index);
    }
    void drawScene(KFILE f, bool polygonOnPaper = true);
    std::string dir;
};

void RenderTest::drawScene(KFILE f, bool polygonOnPaper) {
    SetColorMode(1);
    FrameVWP(dc, 0);
    // A curve with symbols, filled and outlined, of every type.
    std::vector<float> x, y;
    for (int i = 0; i <= 8; ++i) {
        x.push_back(8.0f + 10.0f * static_cast<float>(i));
        y.push_back(30.0f - 18.0f * std::sin(static_cast<float>(i) * 0.5f));
    }
    colour(f, 0);
    DrawCurve(dc, f, x.data(), y.data(), 9, xmiss, 0, 0, 2);
    for (int t = 1; t <= 8; ++t) {
        const float sx[] = {x[t]}, sy[] = {y[t]};
        colour(f, 2 + t % 4);
        DrawSymbols(dc, f, sx, sy, 1, t, 0.25f);
    }
    SetDoFill(dc, 0);
    kestrel::plat::fileWriteText(f, "/symfill? false def\n");
    colour(f, 12);
    const float ox[] = {20, 40, 60}, oy[] = {46, 46, 46};
    for (int t = 1; t <= 3; ++t) DrawSymbols(dc, f, ox + t - 1, oy + t - 1, 1, t + 1, 0.3f);
    SetDoFill(dc, 1);
    kestrel::plat::fileWriteText(f, "/symfill? true def\n");
    // A filled and outlined polygon with the caller's pen and brush.
    {
        colour(f, 9);
        KPALETTE pal = ActivateMyPalette(dc);
        kestrel::plat::selectObject(dc, kestrel::plat::createPen(0, 1, mCGS.color));
        kestrel::plat::selectObject(dc, kestrel::plat::createSolidBrush(mCGS.color));
        float px[] = {70, 90, 95, 80, 70}, py[] = {5, 8, 20, 25, 5};
        DrawPoly(dc, polygonOnPaper ? f : nullptr, px, py, 5, 0, 3);
        RestorePen(dc, "test");
        RestoreBrush(dc, "test");
        RestorePalette(dc, pal, "test");
    }
    // A clipped polyline leaving the viewport, and arrows.
    colour(f, 4);
    const float cx[] = {-20, 30, 50, 120}, cy[] = {60, 10, 35, -5};
    DrawClippedPolyline(dc, f, cx, cy, 4, xmiss, 1);
    colour(f, 14);
    const float ax[] = {10, 30, 50}, ay[] = {10, 10, 10}, au[] = {1, 0.5f, -0.7f}, av[] = {0, 0.8f, 0.7f};
    DrawArrows(dc, f, ax, ay, au, av, 3, 1.2f, 0.3f, 1);
}

TEST_F(RenderTest, PrimitivesLookTheSameOnScreenAndPaper) {
    KT_REQUIRE_GHOSTSCRIPT();
    KFILE f = open(true);
    drawScene(f);
    const kt::ImageDiff d = finish(f);
    EXPECT_GT(d.inkA, 3000);
    EXPECT_LT(d.share, kMaxShare) << "ink " << d.inkA << "/" << d.inkB << " unmatched " << d.missA << "/"
                                  << d.missB << "; pictures in " << dir;
}

TEST_F(RenderTest, MeasureCatchesAMissingObject) {
    KT_REQUIRE_GHOSTSCRIPT();
    KFILE f = open(true);
    drawScene(f, false);  // the polygon on the screen only
    const kt::ImageDiff d = finish(f);
    EXPECT_GT(d.share, 5 * kMaxShare) << "a missing polygon went unnoticed";
    // A good pair shifted by four pixels no longer matches either.
    kt::Image paper, shifted;
    ASSERT_TRUE(kt::loadPNG(dir + "/ps.png", &paper));
    shifted = paper;
    for (int y = 0; y < paper.h; ++y)
        for (int x = 0; x < paper.w; ++x) shifted.at(x, y) = x >= 4 ? paper.at(x - 4, y) : 0xFFFFFF;
    EXPECT_GT(kt::compareImages(paper, shifted, kRadius, kTolerance).share, 5 * kMaxShare);
}

// The colour-index procedures of the preamble: shaded cells (G), erased
// cells (E) and colour-bar slices (T), written as the shading and colour-bar
// objects write them, against the same rectangles filled on the screen.
TEST_F(RenderTest, ColourIndexProceduresFillTheirCells) {
    KT_REQUIRE_GHOSTSCRIPT();
    KFILE f = open(false);
    SetColorMode(1);
    auto cell = [&](float x0, float x1, float y0, float y1, int index) {
        SetColor(index);
        KBRUSH b = kestrel::plat::createSolidBrush(mCGS.color);
        int l = kestrel::xPixel(x0), r = kestrel::xPixel(x1), t = kestrel::yPixel(y1), btm = kestrel::yPixel(y0);
        if (l > r) std::swap(l, r);
        if (t > btm) std::swap(t, btm);
        kestrel::plat::Rect rc{l, t, r, btm};
        kestrel::plat::fillRect(dc, &rc, b);
        kestrel::plat::deleteObject(b);
    };
    // Shaded field: 6 columns x 5 rows over uneven boundaries.
    const float xb[] = {5, 12, 20, 31, 40, 52, 60}, yb[] = {45, 40, 33, 25, 20, 12};
    CMapInitialize(0, 1, -1, 1);
    std::string text = "\n%%PS-OBJECT: ShadedField begin\n/yg [\n";
    char line[96];
    for (float v : yb) {
        std::snprintf(line, sizeof line, "%g\n", v);
        text += line;
    }
    text += "] def\n\n";
    for (int i = 0; i < 6; ++i) {
        std::snprintf(line, sizeof line, "/xll %f def /xur %f def 0\n", xb[i], xb[i + 1]);
        text += line;
        for (int j = 0; j < 5; ++j) {
            const int index = CMapCalColor(static_cast<float>(i * 5 + j) / 29.0f);
            cell(xb[i], xb[i + 1], yb[j], yb[j + 1], index);
            std::snprintf(line, sizeof line, "%d G\n", index);
            text += line;
        }
        text += "pop\n";
    }
    text += "%%PS-OBJECT: ShadedField end\n\n";
    // Erased cells of two columns in colour 1 (white) and 10.
    text += "\n%%PS-OBJECT: ErasedField begin\n\n";
    kestrel::plat::fileWriteText(f, text.c_str());
    PSSetColor(f, 10);
    text = "\n/yg [\n45\n40\n33\n25\n20\n12\n] def\n\n/xll 12.000000 def /xur 20.000000 def\n1 E\n3 E\n";
    text += "%%PS-OBJECT: ErasedField end\n\n";
    cell(12, 20, 40, 33, 10);
    cell(12, 20, 25, 20, 10);
    // Colour-bar slices: 30 slices from y 45 upwards by 1, from x 70 to 80.
    text += "\n%%PS-OBJECT: ColorBar begin\ngsave /fill? false def /stroke? false def /lorg 8 def\n";
    text += "/xll 70 def /xur 80 def\n/dely -1 def 45\n";
    for (int i = 0; i < 30; ++i) {
        const int index = 33 + i * 3;
        cell(70, 80, 45.0f - static_cast<float>(i), 44.0f - static_cast<float>(i), index);
        std::snprintf(line, sizeof line, "%d T ", index);
        text += line;
        if (i % 12 == 11) text += "\n";
    }
    text += "\npop grestore /lorg 0 def\n%%PS-OBJECT: ColorBar end\n\n";
    kestrel::plat::fileWriteText(f, text.c_str());
    const kt::ImageDiff d = finish(f);
    EXPECT_GT(d.inkA, 20000);
    EXPECT_LT(d.share, kMaxShare) << "unmatched " << d.missA << "/" << d.missB << "; pictures in " << dir;
}

// Text on paper sits where it sits on the screen: the same boxes (label
// origin, fill, frame) and the same glyph shapes from metric-compatible
// faces, within a looser colour tolerance for the screen's smoothed glyphs.
TEST_F(RenderTest, StringsSitInTheSameBoxes) {
    KT_REQUIRE_GHOSTSCRIPT();
    KFILE f = open(false);
    SetColorMode(1);
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
    kestrel::plat::fileWriteText(f, "showpage\n");
    kt::closeFile(f);
    ASSERT_TRUE(kt::renderPostScript(dir + "/plot.ps", 480, 360, 40 * 2.54, dir + "/ps.png"));
    kt::Image screen = kt::pictureImage(dc), paper;
    ASSERT_TRUE(kt::loadPNG(dir + "/ps.png", &paper));
    kt::savePNG(dir + "/screen.png", screen);
    kt::savePNG(dir + "/diff.png", kt::diffImage(screen, paper, 1, 160));
    const kt::ImageDiff d = kt::compareImages(screen, paper, 1, 160);
    EXPECT_LT(d.share, 0.08) << "unmatched " << d.missA << "/" << d.missB << "; pictures in " << dir;
}

// "~\"a" and friends and the octal escapes show the font's own accented
// glyphs, the degree sign and the sharp s: rendered through the preamble
// they match the same glyphs set directly with the standard Latin-1
// encoding of the face.
TEST_F(RenderTest, DieresisAndDegreeEscapesShowTheRightGlyphs) {
    KT_REQUIRE_GHOSTSCRIPT();
    const std::string pre = kt::readFile(kt::sourcePath("data/preamble/kestrel.ps"));
    const std::string setup = "0 12 12 0 0 4 4 0 UsrSys 40 SetMyFont /lorg 6 def\n";
    kt::writeFile(dir + "/ours.ps", "%!PS\n" + pre + setup + "(~\"a~\"O~\"u\\312\\373) 0.5 1 showstring showpage\n");
    // The reference: the same face with Latin-1 codes, at the same place.
    kt::writeFile(dir + "/ref.ps", "%!PS\n" + pre + setup +
                                       "/textfont /Helvetica-Bold def /KestrelText /Helvetica-Bold findfont "
                                       "dup length dict begin { 1 index /FID ne { def } { pop pop } ifelse } forall "
                                       "/Encoding ISOLatin1Encoding def currentdict end definefont pop "
                                       "/kTextBase /Helvetica-Bold def 40 SetMyFont "
                                       "(\\344\\326\\374\\260\\337) 0.5 1 showstring showpage\n");
    kt::writeFile(dir + "/plain.ps", "%!PS\n" + pre + setup + "(aOu\\260\\337) 0.5 1 showstring showpage\n");
    kt::Image ours, ref, plain;
    for (const char *name : {"ours", "ref", "plain"}) {
        std::string log;
        ASSERT_TRUE(kt::renderPostScript(dir + "/" + name + ".ps", 480, 160, 40 * 2.54, dir + "/" + name + ".png", &log))
            << log;
    }
    ASSERT_TRUE(kt::loadPNG(dir + "/ours.png", &ours));
    ASSERT_TRUE(kt::loadPNG(dir + "/ref.png", &ref));
    ASSERT_TRUE(kt::loadPNG(dir + "/plain.png", &plain));
    EXPECT_GT(kt::compareImages(ours, ref, 0, 0).inkA, 1000);
    EXPECT_LT(kt::compareImages(ours, ref, 0, 0).share, 0.001);
    // Without the accents (plain letters, Latin-1 codes that are not the
    // degree sign in our encoding), the picture is clearly different.
    EXPECT_GT(kt::compareImages(ours, plain, 0, 0).share, 0.02);
}

TEST_F(RenderTest, ScreenDumpRendersWithoutErrors) {
    KT_REQUIRE_GHOSTSCRIPT();
    setUpPage(160, 120, 20.0f);
    LoadPaletteFile(dc, nullptr);
    SetColorMode(1);
    for (int i = 0; i < 40; ++i) {
        SetColor(33 + 2 * i);
        DrawBox(dc, i, i, 159 - i, 119 - i);
    }
    const std::string pre = kt::sourcePath("data/preamble/kestrel.ps");
    PSDumpScreen(dc, pre.c_str(), (dir + "/dump.ps").c_str());
    std::string log;
    // An A4 page at 72 dpi: the dump lies landscape on it.
    ASSERT_TRUE(kt::renderPostScript(dir + "/dump.ps", 595, 842, 72, dir + "/dump.png", &log)) << log;
    kt::Image page;
    ASSERT_TRUE(kt::loadPNG(dir + "/dump.png", &page));
    // The picture is 28 units long: up the page, its first column at the
    // bottom; its colours are there.
    long ink = 0;
    for (uint32_t p : page.px) ink += (p & 0xFFFFFF) != 0xFFFFFF;
    EXPECT_GT(ink, 595 * 842 / 4);
}

}  // namespace
