// A whole gridded section: shaded, contoured with labels, erased where the
// error is large, with a colour bar; drawn on the canvas and written as
// PostScript, which Ghostscript renders with Kestrel's preamble. The two
// pictures must agree (measure: tests/common/render.h).
#include <cmath>
#include <string>
#include <vector>

#include "common/picture.h"
#include "common/render.h"
#include "contour/helpers.h"
#include "platform/platform.h"
#include "kestrel/kestrel.h"

namespace {

constexpr int W = 480, H = 360;

struct Section {
    ct::Grid value, error;
};

// x: distance 0..100 km on uneven stations, y: depth 0..500 m; a warm
// surface layer over a dome, a front, and an error growing to the bottom
// right corner.
Section makeSection() {
    Section s;
    s.value = ct::makeGrid(45, 30);
    for (int32_t i = 0; i < 45; ++i) s.value.x[static_cast<size_t>(i)] = 100.0f * std::pow(i / 44.0f, 1.15f);
    for (int32_t j = 0; j < 30; ++j) s.value.y[static_cast<size_t>(j)] = 500.0f * j / 29.0f;
    s.error = s.value;
    for (int32_t j = 0; j < 30; ++j) {
        for (int32_t i = 0; i < 45; ++i) {
            const double x = s.value.x[static_cast<size_t>(i)], z = s.value.y[static_cast<size_t>(j)];
            s.value.at(i, j) = static_cast<float>(4.0 + 14.0 * std::exp(-z / 120.0) +
                                                  3.0 * std::exp(-((x - 60) * (x - 60) + (z - 250) * (z - 250) / 9) / 300) +
                                                  1.5 * std::tanh((x - 30) / 8));
            s.error.at(i, j) = static_cast<float>((x / 100) * (z / 500));
        }
    }
    return s;
}

class SectionTest : public ::testing::Test {
protected:
    void SetUp() override {
        KT_REQUIRE_GHOSTSCRIPT();
        dc = kt::openPage(W, H, 40.0f);
        ASSERT_NE(dc, nullptr);
        SetColorMode(1);
        dir = kt::scratchDir(std::string("section_") + ::testing::UnitTest::GetInstance()->current_test_info()->name());
    }
    void TearDown() override {
        if (dc) kt::closePage(dc);
    }
    // Draws the section on the canvas and into plot.ps.
    void draw() {
        const std::string pre = kt::sourcePath("data/preamble/kestrel.ps");
        KFILE f = PSOpenFile((dir + "/plot.ps").c_str(), pre.c_str(), "", "", 0);
        ASSERT_NE(f, nullptr);
        PSPalette(f);
        UsrSys(dc, 0, 100, 8.5f, 1.5f, 500, 0, 6.5f, 1.5f);  // depth grows downwards
        PSUsrSys(f, "", 0, 100, 8.5f, 1.5f, 500, 0, 6.5f, 1.5f);
        mCGS.fontSize = mCGS.defaultFontSize;
        Section s = makeSection();
        const float zmin = 4.0f, zmax = 20.0f;
        ShadeField(s.value.z.data(), 0, 0, s.value.x.data(), 45, s.value.y.data(), 30, -1.5f, 1.5f, zmin, zmax, dc, f);
        std::vector<KContourLevel> levels;
        for (int k = 0; k < 8; ++k) levels.push_back({6.0f + 2.0f * k, 0, k % 2, 0, 1, 0, 9, 1});
        ContourField(s.value.z.data(), s.value.x.data(), 45, s.value.y.data(), 30, levels.data(),
                     static_cast<int32_t>(levels.size()), dc, f);
        const int32_t white = FindClosestColor(1.0f, 1.0f, 1.0f);
        EraseField(s.error.z.data(), 0.6f, s.error.x.data(), 45, s.error.y.data(), 30, white, dc, f);
        DrawColorBar(dc, f, "T", mCGS.fontSize, 0, 100, 8.5f, 500, 0, zmin, zmax, -1.5f, 1.5f);
        kestrel::plat::fileWriteText(f, "showpage\n");
        kestrel::plat::fileClose(f);
    }
    KDC dc = nullptr;
    std::string dir;
};

}  // namespace

TEST_F(SectionTest, CanvasAndPostScriptAgree) {
    draw();
    const kt::Image screen = kt::pictureImage(dc);
    const kt::ImageDiff d = kt::compareWithPostScript(dc, dir, 40 * 2.54, 2, 40);
    EXPECT_GT(d.inkA, W * H / 3);
    EXPECT_LT(d.share, 0.01) << "unmatched " << d.missA << "/" << d.missB << "; pictures in " << dir;

    // The erased corner (error above 0.6: x > 60 km and depth > 300 m at
    // least) is white on both, the top left is shaded on both.
    kt::Image paper;
    ASSERT_TRUE(kt::loadPNG(dir + "/ps.png", &paper));
    auto at = [&](const kt::Image &img, float x, float y) {
        return img.at(static_cast<int>((x - VX.umin) * VX.pixPerUser + VX.lowPix),
                      static_cast<int>((y - VY.umin) * VY.pixPerUser + VY.lowPix));
    };
    // (Paper divides colour bytes by 256: white is 254, 254, 254 there.)
    auto whitish = [](uint32_t c) { return (c & 0xff) >= 250 && ((c >> 8) & 0xff) >= 250 && ((c >> 16) & 0xff) >= 250; };
    for (const kt::Image *img : std::initializer_list<const kt::Image *>{&screen, &paper}) {
        EXPECT_TRUE(whitish(at(*img, 97, 480)));
        EXPECT_NE(at(*img, 3, 20), 0xFFFFFFu);
    }
}
