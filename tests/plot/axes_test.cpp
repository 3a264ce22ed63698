// Axes, annotation thinning, decimals and the colour bar.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <tuple>

#include "kestrel/axes.h"
#include "plot_fixture.h"


TEST(AxisAnnotation, ThinningAndDecimals) {
    int32_t first = 0, last = 0;
    float step = 1.0f;
    // 25 label positions on 10 length units: the step grows threefold.
    SetAxisAnnotationPos(&first, &last, &step, 0.0f, 0.0f, 25.0f, 10.0f);
    EXPECT_EQ(std::make_tuple(first, last, step), std::make_tuple(0, 8, 3.0f));
    // Two rounds at most: the range then belongs to the step before the
    // last enlargement.
    step = 1.0f;
    SetAxisAnnotationPos(&first, &last, &step, 0.0f, 0.0f, 25.0f, 1.0f);
    EXPECT_EQ(std::make_tuple(first, last, step), std::make_tuple(0, 1, 52.0f));
    // A falling range is ordered; an origin offsets the indexes.
    step = 2.0f;
    SetAxisAnnotationPos(&first, &last, &step, 1.0f, 9.0f, -3.0f, 20.0f);
    EXPECT_EQ(std::make_tuple(first, last, step), std::make_tuple(-2, 4, 2.0f));

    const float steps[] = {0.005f, 0.05f, 0.5f, 5.0f, 50.0f};
    const int32_t decimals[] = {4, 3, 2, 1, 0};
    for (int k = 0; k < 5; ++k) EXPECT_EQ(dfltNDecimals(steps[k], 0.01f, 0.1f, 1.0f, 10.0f), decimals[k]) << steps[k];
}

class AxesTest : public PlotTest {
protected:
    void SetUp() override {
        setUpPage(600, 400, 40.0f);
        UsrSys(dc, 0.0f, 10.0f, 11.0f, 2.5f, 0.0f, 5.0f, 6.0f, 2.5f);
        mCGS.fontSize = mCGS.defaultFontSize;
        SetColor(0);
    }
};

TEST_F(AxesTest, XAxisLineTicksAndLabels) {
    mCGS.lorg = 5;
    mCGS.fill = 1;
    mCGS.boxFrame = 1;
    XAxisLabels(dc, 0.0f, 0.0f, 0.5f, 1.0f, "distance", "title", 0);
    EXPECT_EQ(std::make_tuple(mCGS.lorg, mCGS.fill, mCGS.boxFrame), std::make_tuple(5, 1, 1));  // the state is back
    const kt::Image img = kt::pictureImage(dc);
    const int row = VY.lowPix;
    // The axis line covers the viewport.
    for (int x = VX.lowPix; x < VX.highPix; ++x) ASSERT_NE(img.at(x, row), 0xFFFFFFu) << x;
    // Ticks below the line at 0.5 and 1, one pixel wide (2w + 1 with
    // w = trunc(40 * 0.015) = 0 for the major one).
    const int minor = static_cast<int>((0.5 - VX.umin) * VX.pixPerUser + VX.lowPix);
    const int major = static_cast<int>((1.0 - VX.umin) * VX.pixPerUser + VX.lowPix);
    EXPECT_NE(img.at(minor, row + 2), 0xFFFFFFu);
    EXPECT_EQ(img.at(minor + 1, row + 2), 0xFFFFFFu);
    EXPECT_NE(img.at(major, row + 2), 0xFFFFFFu);
    EXPECT_EQ(img.at(major + 1, row + 2), 0xFFFFFFu);
    // Nothing above the axis between ticks, labels below it.
    EXPECT_EQ(img.at(minor + 3, row - 3), 0xFFFFFFu);
    size_t ink = 0;
    for (int y = row + 5; y < row + 40 && y < img.h; ++y)
        for (int x = VX.lowPix; x < VX.highPix; ++x) ink += img.at(x, y) != 0xFFFFFFu;
    EXPECT_GT(ink, 50u);
}

TEST_F(AxesTest, YAxisTitleDistance) {
    const float d = YAxisLabels(dc, 0.0f, 0.0f, 0.25f, 1.0f, "depth", 0);
    const float dh = YAxLabelsH(dc, 0.0f, 0.0f, 0.25f, 1.0f, "depth");
    // Horizontal labels push the title further out than vertical ones.
    EXPECT_GT(d, 0.0f);
    EXPECT_GT(dh, d);
    const kt::Image img = kt::pictureImage(dc);
    for (int y = VY.highPix + 1; y < VY.lowPix; ++y) ASSERT_NE(img.at(VX.lowPix, y), 0xFFFFFFu) << y;
}

TEST_F(AxesTest, ColourBarSlicesTrianglesAndPostScript) {
    const std::string ps = kt::capture("bar", [&](KFILE f) {
        DrawColorBar(dc, f, "T (C)", 12.0f, 0.0f, 10.0f, 11.0f, 0.0f, 5.0f, 0.0f, 20.0f, -2.0f, 2.0f);
    });
    // 199 slices, a line break after every twelfth.
    const size_t from = ps.find('\n', ps.find("/dely ")) + 1, to = ps.find("\n/yp xdef");
    ASSERT_TRUE(from > 0 && to != std::string::npos);
    const std::string slices = ps.substr(from, to - from);
    size_t n = 0;
    for (size_t p = slices.find(" T "); p != std::string::npos; p = slices.find(" T ", p + 1)) ++n;
    EXPECT_EQ(n, 199u);
    EXPECT_EQ(std::count(slices.begin(), slices.end(), '\n'), 16);
    EXPECT_EQ(ps.rfind("\n%%PS-OBJECT: ColorBar begin\ngsave /fill? false def /stroke? false def /lorg 8 def\n", 0), 0u);
    EXPECT_NE(ps.find("\n/yp xdef 144 C newpath xll yp M xur yp L xll xur mean yp 3 dely mul add L fill\n"
                      "/yp 0 def 32 C newpath"),
              std::string::npos);
    // The caller's title is escaped: its parentheses cannot end the string.
    EXPECT_NE(ps.find("(T \\(C\\)) "), std::string::npos);
    EXPECT_NE(ps.find("(20) xur 5 showstring\n"), std::string::npos);
    EXPECT_NE(ps.find("(0) xur 0 showstring\n"), std::string::npos);
    const std::string tail = "grestore /lorg 0 def\n%%PS-OBJECT: ColorBar end\n\n";
    EXPECT_EQ(ps.substr(ps.size() - tail.size()), tail);

    // On the screen: slice i in the colour of zmin + i * dz, the triangles
    // in the out-of-range colours.
    const float b = std::max(0.35f / 11.0f, 0.03f) * 10.0f;
    const int bw = static_cast<int>(VX.pixPerUser * b);
    const int x = VX.highPix + bw + bw / 2;
    const double p = 5.0f * 0.0050251256f * VY.pixPerUser;
    CMapInitialize(0.0f, 20.0f, -2.0f, 2.0f);
    for (int i : {0, 50, 100, 198}) {
        const int y = static_cast<int>(i * p) + VY.lowPix + static_cast<int>(p) / 2 - 1;
        EXPECT_EQ(kt::picturePixel(dc, x, y), kt::paletteColour(CMapCalColor(0.0f + i * (20.0f * 0.0050251256f)))) << i;
    }
    EXPECT_EQ(kt::picturePixel(dc, x, VY.lowPix + 1), kt::paletteColour(32));
    EXPECT_EQ(kt::picturePixel(dc, x, VY.highPix - 2), kt::paletteColour(144));
}
