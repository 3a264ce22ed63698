// The string layout, measured on its boxes and character positions rather
// than on glyph pixels: label origins, rotation, sub- and superscripts.
#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "plot/textstate.h"
#include "plot/text.h"
#include "plot_fixture.h"

namespace {

class TextTest : public PlotTest {
protected:
    void SetUp() override {
        PlotTest::SetUp();
        UsrSys(dc, 0, 10, 8, 1, 0, 5, 5, 1);
        SetColorMode(1);
        SetColor(0);
        kestrel::gTextTrace = &trace;
    }
    void TearDown() override {
        kestrel::gTextTrace = nullptr;
        PlotTest::TearDown();
    }
    // Lays text out (to dli) and traces its characters (to trace).
    void layOut(const char *text, float angle, float size) {
        trace.clear();
        ScanString(dc, text, 5, 2.5f, angle, size, 0);
        ScanString(dc, text, 5, 2.5f, angle, size, 1);
    }
    std::vector<kestrel::PlacedChar> trace;
    double px(float x) { return std::trunc((x - VX.umin) * static_cast<double>(VX.pixPerUser) + VX.lowPix); }
    double py(float y) { return std::trunc((y - VY.umin) * static_cast<double>(VY.pixPerUser) + VY.lowPix); }
};

TEST_F(TextTest, SymbolFaceIsTallerByFifteenPercent) {
    SetMYFont(dc, 1, 50, 0);
    const int text = mCGS.tm.tmHeight;
    SetMYFont(dc, 2, 50, 0);
    const int symbol = mCGS.tm.tmHeight;
    EXPECT_EQ(mCGS.fontFamily, 2);
    EXPECT_NEAR(static_cast<double>(symbol) / text, 1.15, 0.03);  // 80 and 92 pixels asked for
    EXPECT_EQ(VCFontHDC, dc);
    const int selects = VCFontSelects;
    SetMYFont(dc, 1, 10, 450);
    EXPECT_EQ(VCFontSelects, selects + 1);
    EXPECT_NEAR(mCGS.sinAngle, std::sqrt(0.5), 1e-5);
}

// For every label origin the anchor (x, y) sits at the documented fraction
// of the box: -fx of its width from the left, -fy of its height up.
TEST_F(TextTest, LabelOriginsAnchorTheBox) {
    const double fx[9] = {-0.5, -0.5, -0.5, -1, -1, 0, 0, -1, 0};
    const double fy[9] = {-0.5, -1, 0, -1, 0, -1, 0, -0.5, -0.5};
    for (int lorg = 0; lorg <= 9; ++lorg) {
        SetLorgVal(dc, lorg);
        ScanString(dc, "Temp 12", 5, 2.5f, 0, 14, 0);
        const int k = lorg == 9 ? 0 : lorg;  // unknown codes behave as 0
        const double w = dli.width, L = dli.lineHeight;
        EXPECT_NEAR(dli.lineHeight, 1.2 * dli.fontHeight, 1e-9);
        EXPECT_NEAR(dli.boxX[0], px(5) + fx[k] * w, 1e-6) << "lorg " << lorg;
        EXPECT_NEAR(dli.boxY[0], py(2.5f) - fy[k] * L, 1e-6) << "lorg " << lorg;
        EXPECT_NEAR(dli.boxX[1] - dli.boxX[0], w, 1e-9);
        EXPECT_NEAR(dli.boxY[3] - dli.boxY[0], -L, 1e-9);
        EXPECT_EQ(dli.box[4].x, dli.box[0].x);
        EXPECT_EQ(dli.box[2].x, static_cast<int32_t>(dli.boxX[2]));
    }
    // The width is the characters' widths plus one "I".
    SetLorgVal(dc, 6);
    ScanString(dc, "II", 5, 2.5f, 0, 14, 0);
    EXPECT_NEAR(dli.width, 3 * Vfp[0][0], 1e-9);
}

TEST_F(TextTest, RotationTurnsTheBoxAndTheBaseline) {
    SetLorgVal(dc, 6);
    layOut("Depth", 90, 14);
    EXPECT_NEAR(dli.boxX[1] - dli.boxX[0], 0, 1e-3);
    EXPECT_NEAR(dli.boxY[1] - dli.boxY[0], -dli.width, 1e-3);       // along the baseline: up the screen
    EXPECT_NEAR(dli.boxX[2] - dli.boxX[1], -dli.lineHeight, 1e-3);  // across it: to the left
    ASSERT_EQ(trace.size(), 5u);
    for (size_t i = 1; i < trace.size(); ++i) {
        EXPECT_NEAR(trace[i].x, trace[0].x, 1e-3);
        EXPECT_LT(trace[i].y, trace[i - 1].y);
    }
    // Centred at 30 degrees: the box centre is the anchor point.
    SetLorgVal(dc, 0);
    ScanString(dc, "Depth", 5, 2.5f, 30, 14, 0);
    EXPECT_NEAR((dli.boxX[0] + dli.boxX[2]) / 2, px(5), 1e-6);
    EXPECT_NEAR((dli.boxY[0] + dli.boxY[2]) / 2, py(2.5f), 1e-6);
}

TEST_F(TextTest, SubAndSuperscriptsAreRaisedAndSmaller) {
    SetLorgVal(dc, 6);
    layOut("x~^2y~_3", 0, 20);
    const double L = dli.lineHeight;
    ASSERT_EQ(trace.size(), 4u);
    EXPECT_EQ(std::string({trace[0].c, trace[1].c, trace[2].c, trace[3].c}), "x2y3");
    EXPECT_NEAR(trace[1].y - trace[0].y, -0.4 * L, 1e-5);  // up is negative on the device
    EXPECT_NEAR(trace[2].y, trace[0].y, 1e-9);             // back on the line
    EXPECT_NEAR(trace[3].y - trace[0].y, 0.08 * L, 1e-5);
    EXPECT_NEAR(static_cast<double>(trace[1].fontHeight) / trace[0].fontHeight, 0.7, 0.1);
    EXPECT_EQ(trace[3].fontHeight, trace[1].fontHeight);
    EXPECT_EQ(trace[2].fontHeight, trace[0].fontHeight);
    // Characters follow each other by their measured widths.
    EXPECT_NEAR(trace[1].x - trace[0].x, Vfp[0][0], 1e-9);
    // The baseline starts half an "I" in and sits inside the box.
    EXPECT_GT(trace[0].x, dli.boxX[0]);
    EXPECT_LT(trace[0].y, dli.boxY[0]);
    EXPECT_GT(trace[0].y, dli.boxY[3]);

    // Rotated by 90 degrees, the raise goes to the left.
    layOut("x~^2", 90, 20);
    ASSERT_EQ(trace.size(), 2u);
    EXPECT_NEAR(trace[1].x - trace[0].x, -0.4 * dli.lineHeight, 1e-3);
}

TEST_F(TextTest, FacesAndOddEscapes) {
    SetLorgVal(dc, 6);
    layOut("a~$b~#c~", 0, 14);
    ASSERT_EQ(trace.size(), 4u);  // a, b (symbol face), c, and the lone tilde
    EXPECT_EQ(std::vector<int>({trace[0].family, trace[1].family, trace[2].family}), (std::vector<int>{1, 2, 1}));
    EXPECT_EQ(trace[3].c, '~');
    layOut("~^", 0, 14);
    EXPECT_EQ(trace.size(), 2u);
    // A string longer than Vfp is laid out up to its capacity.
    layOut(std::string(5000, 'm').c_str(), 0, 6);
    EXPECT_EQ(trace.size(), 1500u);
    // Degree sign and umlauts of the host's code page draw without failing.
    DrawString(dc, "12.5\xB0 S, \xE4\xF6\xFC", 5, 2.5f, 0, 14);
}

TEST_F(TextTest, StringBoxesAreFilledAndFramed) {
    // A blue background (a box with an empty string), then a framed string
    // whose box is painted white.
    SetDoFill(dc, 1);
    mCGS.boxFrame = 0;
    DrawStringEx(dc, "WWWWWWWW", 5, 2.5f, 0, 30, 0, 4, 4, -1, 0);
    SetColor(2);
    mCGS.boxFrame = 1;
    SetLorgVal(dc, 0);
    DrawString(dc, "Hi", 5, 2.5f, 0, 30);
    const KPoint32 *b = dli.box;
    // Just inside the bottom-left corner: white fill; on the corner: the red frame.
    EXPECT_EQ(kt::picturePixel(dc, b[0].x + 2, b[0].y - 2), 0xFFFFFFu);
    EXPECT_EQ(kt::picturePixel(dc, b[0].x, b[0].y), 0x0000FFu);
    // DrawStringEx: its own origin, fill and frame colours; lorg and colour restored.
    SetLorgVal(dc, 3);
    SetColor(5);
    mCGS.boxFrame = 0;
    DrawStringEx(dc, "Lo", 3, 1, 0, 30, 6, 0, 7, 2, 2);
    EXPECT_EQ(mCGS.lorg, 3);
    EXPECT_EQ(mCGS.colorState[0], 5);
    EXPECT_EQ(mCGS.color, 0x00FFFFu);
    EXPECT_EQ(kt::picturePixel(dc, dli.box[0].x + 3, dli.box[0].y - 3), 0xFFFF00u);  // cyan fill
    EXPECT_EQ(kt::picturePixel(dc, dli.box[1].x, dli.box[1].y), 0x0000FFu);        // red frame
}

// Turned text keeps its size: the glyphs of a string drawn at 90 degrees
// cover the same extent, turned, as at 0 degrees (axis labels on the left
// of a plot must match those below it).
TEST_F(TextTest, TurnedGlyphsKeepTheirSize) {
    SetLorgVal(dc, 0);
    DrawString(dc, "8808", 2.5f, 2.5f, 0, 20);
    DrawString(dc, "8808", 7.5f, 2.5f, 90, 20);
    auto extent = [&](int x0, int x1) {
        int left = 400, right = -1, top = 300, bottom = -1;
        for (int y = 0; y < 300; ++y)
            for (int x = x0; x < x1; ++x)
                if (kt::picturePixel(dc, x, y) != 0xFFFFFFu) {
                    left = std::min(left, x), right = std::max(right, x);
                    top = std::min(top, y), bottom = std::max(bottom, y);
                }
        return std::make_pair(right - left + 1, bottom - top + 1);
    };
    const auto flat = extent(0, 200), turned = extent(200, 400);
    EXPECT_GT(flat.first, 40);
    EXPECT_NEAR(turned.second, flat.first, 2);
    EXPECT_NEAR(turned.first, flat.second, 2);
}

}  // namespace
