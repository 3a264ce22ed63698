// Whole fields: shading and erasing on the canvas and in PostScript, contour
// sets with their labels, and the contour interval.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "common/canvas.h"
#include "common/picture.h"
#include "contour/colour_lookup.h"
#include "contour/helpers.h"
#include "platform/platform.h"
#include "kestrel/kestrel.h"

namespace {

class FieldTest : public ::testing::Test {
protected:
    void SetUp() override {
        dc = kt::openPage(W, H, 20.0f);
        ASSERT_NE(dc, nullptr);
        CToutpthFormat = 0;
    }
    void TearDown() override { kt::closePage(dc); }
    // User system x0..x1, y0..y1 over the page less a 1-unit margin.
    void system(float x0, float x1, float y0, float y1) {
        SetupUsrSys(x0, x1, VX.devLength - 2, 1, y0, y1, VY.devLength - 2, 1);
        ClipVWP(dc, 0);
    }
    static int px(float x) { return static_cast<int>((static_cast<double>(x) - VX.umin) * VX.pixPerUser + VX.lowPix); }
    static int py(float y) { return static_cast<int>((static_cast<double>(y) - VY.umin) * VY.pixPerUser + VY.lowPix); }
    uint32_t at(float x, float y) const { return kt::picturePixel(dc, px(x), py(y)); }
    static constexpr int W = 400, H = 300;
    KDC dc = nullptr;
};

ct::Grid small3x2() {
    ct::Grid g = ct::makeGrid(3, 2);
    g.x = {0.0f, 1.0f, 3.0f};
    g.y = {10.0f, 20.0f};
    g.z = {0, 5, 10, 11, -1, 5};
    return g;
}

}  // namespace

// Hand-worked: the map (0..10 over stretch -2..2) gives 0 -> 33, 5 -> 88,
// 10 -> 143, 11 -> 144 and -1 -> 32; boundaries half-way between nodes.
TEST_F(FieldTest, ShadedFieldPostScript) {
    ct::Grid g = small3x2();
    const std::string ps = kt::capture("shade", [&](KFILE f) {
        ShadeField(g.z.data(), 0, 0, g.x.data(), 3, g.y.data(), 2, -2.0f, 2.0f, 0.0f, 10.0f, nullptr, f);
    });
    EXPECT_EQ(ps,
              "\n%%PS-OBJECT: ShadedField begin\n/yg [\n10\n15\n20\n] def\n\n"
              "/xll 0.000000 def /xur 0.500000 def 0\n33 G\n144 G\npop\n"
              "/xll 0.500000 def /xur 2.000000 def 0\n88 G\n32 G\npop\n"
              "/xll 2.000000 def /xur 3.000000 def 0\n143 G\n88 G\npop\n"
              "%%PS-OBJECT: ShadedField end\n\n");
    // The map stays initialised for later calls.
    EXPECT_EQ(CMapCalColor(5.0f), 88);
}

TEST_F(FieldTest, ErasedFieldPostScriptKeepsValuesEqualToThreshold) {
    ct::Grid g = small3x2();
    const std::string colour = kt::capture("colour", [&](KFILE f) { PSSetColor(f, 5); });
    const std::string ps = kt::capture("erase", [&](KFILE f) {
        EraseField(g.z.data(), 5.0f, g.x.data(), 3, g.y.data(), 2, 5, nullptr, f);
    });
    EXPECT_EQ(ps, "\n%%PS-OBJECT: ErasedField begin\n\n" + colour +
                      "\n/yg [\n10\n15\n20\n] def\n\n"
                      "/xll 0.000000 def /xur 0.500000 def\n1 E\n"
                      "/xll 0.500000 def /xur 2.000000 def\n"
                      "/xll 2.000000 def /xur 3.000000 def\n0 E\n"
                      "%%PS-OBJECT: ErasedField end\n\n");
    EXPECT_EQ(kt::capture("null", [&](KFILE f) { EraseField(nullptr, 0, g.x.data(), 3, g.y.data(), 2, 5, dc, f); }), "");
}

// Fields with cells narrower and lower than a pixel, uneven coordinates and
// random values: the picture is the one that one FillRect per cell, in order,
// gives.
TEST_F(FieldTest, ShadingEqualsOneFillPerCell) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> u(0.0f, 1.0f);
    for (int round = 0; round < 4; ++round) {
        const int32_t nx = round < 2 ? 700 : 37, ny = round % 2 ? 450 : 23;
        ct::Grid g = ct::makeGrid(nx, ny);
        float x = 0, y = 0;
        for (auto &v : g.x) v = (x += 0.2f + u(rng));
        for (auto &v : g.y) v = (y += 0.2f + u(rng));
        for (size_t k = 0; k < g.z.size(); ++k) g.z[k] = (k % 7 == 0) ? u(rng) : std::round(u(rng) * 3) / 3;
        // Rounds 1 and 3 put y downwards, as a section in depth.
        if (round % 2)
            system(g.x.front(), g.x.back(), g.y.back(), g.y.front());
        else
            system(g.x.front(), g.x.back(), g.y.front(), g.y.back());
        InitmemDC();
        ShadeField(g.z.data(), 0, 0, g.x.data(), nx, g.y.data(), ny, -1.0f, 1.5f, 0.0f, 1.0f, dc, nullptr);
        EXPECT_EQ(mCGS.colorState[0], CMapCalColor(g.z.back()));  // the last cell's colour is current
        const kt::Image got = kt::pictureImage(dc);

        InitmemDC();
        std::vector<float> bx(static_cast<size_t>(nx) + 1), by(static_cast<size_t>(ny) + 1);
        bx[0] = g.x[0];
        by[0] = g.y[0];
        for (int32_t k = 1; k < nx; ++k) bx[static_cast<size_t>(k)] = static_cast<float>((g.x[k - 1] + g.x[k]) * 0.5);
        for (int32_t k = 1; k < ny; ++k) by[static_cast<size_t>(k)] = static_cast<float>((g.y[k - 1] + g.y[k]) * 0.5);
        bx[static_cast<size_t>(nx)] = g.x.back();
        by[static_cast<size_t>(ny)] = g.y.back();
        // Palette-index colours resolve through the library palette, as in
        // ShadeField (on Windows the device context's palette decides).
        KPALETTE previous = ActivateMyPalette(dc);
        for (int32_t j = 0; j < ny; ++j) {
            for (int32_t i = 0; i < nx; ++i) {
                SetColor(CMapCalColor(g.at(i, j)));
                KBRUSH b = kestrel::plat::createSolidBrush(mCGS.color);
                // A reversed rectangle covers the rows between its edges.
                const int t = std::min(py(by[j + 1]), py(by[j])), btm = std::max(py(by[j + 1]), py(by[j]));
                const kestrel::plat::Rect r{px(bx[i]), t, px(bx[i + 1]) + 1, btm};
                kestrel::plat::fillRect(dc, &r, b);
                kestrel::plat::deleteObject(b);
            }
        }
        RestorePalette(dc, previous, "test");
        const kt::Image want = kt::pictureImage(dc);
        ASSERT_EQ(got.px.size(), want.px.size());
        size_t differ = 0;
        for (size_t k = 0; k < got.px.size(); ++k) differ += got.px[k] != want.px[k];
        EXPECT_EQ(differ, 0u) << nx << " x " << ny;
    }
}

TEST_F(FieldTest, OneRowPaintsNothingOneColumnPaintsAStrip) {
    system(0.0f, 10.0f, 0.0f, 10.0f);
    std::vector<float> xs = {1, 4, 8}, ys = {5}, z = {1, 1, 1};
    ShadeField(z.data(), 0, 0, xs.data(), 3, ys.data(), 1, -2, 2, 0, 2, dc, nullptr);
    EraseField(z.data(), 0.0f, xs.data(), 3, ys.data(), 1, 5, dc, nullptr);
    EXPECT_TRUE(kt::inkedPixels(dc, W, H).empty());

    std::vector<float> xc = {5}, yc = {2, 4, 8};
    ShadeField(z.data(), 0, 0, xc.data(), 1, yc.data(), 3, -2, 2, 0, 2, dc, nullptr);
    const int col = px(5);
    const uint32_t c = kt::paletteColour(CMapCalColor(1.0f));
    for (int y = py(8); y < py(2); ++y) {
        EXPECT_EQ(kt::picturePixel(dc, col, y), c);
        EXPECT_EQ(kt::picturePixel(dc, col - 1, y), 0xFFFFFFu);
        EXPECT_EQ(kt::picturePixel(dc, col + 1, y), 0xFFFFFFu);
    }
}

TEST_F(FieldTest, ErasedCellsOnCanvas) {
    ct::Grid g = small3x2();  // erase values above 5: 10 at (2,0) and 11 at (0,1)
    system(0.0f, 3.0f, 10.0f, 20.0f);
    EraseField(g.z.data(), 5.0f, g.x.data(), 3, g.y.data(), 2, 7, dc, nullptr);
    EXPECT_EQ(at(2.5f, 12.0f), kt::paletteColour(7));
    EXPECT_EQ(at(0.25f, 18.0f), kt::paletteColour(7));
    EXPECT_EQ(at(1.0f, 12.0f), 0xFFFFFFu);  // equal to the threshold: kept
    EXPECT_EQ(at(0.25f, 12.0f), 0xFFFFFFu);
    EXPECT_EQ(at(2.5f, 18.0f), 0xFFFFFFu);
}

TEST(ContourInterval, RoundSteps) {
    CMapInitialize(0.0f, 10.0f, -0.001f, 0.001f);  // nearly linear: fraction f is the value 10 f
    float start = 0, step = 0, end = 0;
    EXPECT_EQ(CTSelectLines(0.5f, 0.5f, 10, 0.0f, &start, &step, &end), 0);
    EXPECT_EQ(std::make_tuple(start, step, end), std::make_tuple(1.0f, 1.0f, 0.0f));
    // Values 0.1 and 9.9: d = 9.8, p = 1, k = 9, within wanted + 2 of 8
    // wanted lines: step 2.
    EXPECT_EQ(CTSelectLines(0.01f, 0.99f, 8, -100.0f, &start, &step, &end), -49);
    EXPECT_EQ(std::make_tuple(start, step, end), std::make_tuple(0.0f, 2.0f, 10.0f));
    // A reference inside moves the start beyond it; one less than a step
    // before the start still moves it by a step.
    EXPECT_EQ(CTSelectLines(0.01f, 0.99f, 8, 3.0f, &start, &step, &end), 2);
    EXPECT_EQ(start, 4.0f);
    EXPECT_EQ(CTSelectLines(0.01f, 0.99f, 8, -1.0f, &start, &step, &end), 1);
    EXPECT_EQ(start, 2.0f);
    // More or fewer wanted lines: steps of 1 and 5; a falling range.
    CTSelectLines(0.01f, 0.99f, 10, -100.0f, &start, &step, &end);
    EXPECT_EQ(step, 1.0f);
    CTSelectLines(0.01f, 0.99f, 6, -100.0f, &start, &step, &end);
    EXPECT_EQ(step, 5.0f);
    EXPECT_EQ(CTSelectLines(0.99f, 0.01f, 8, 100.0f, &start, &step, &end), -44);
    EXPECT_EQ(std::make_tuple(start, step, end), std::make_tuple(10.0f, -2.0f, 0.0f));
    CTSelectLines(0.0f, 0.13f, 10, -100.0f, &start, &step, &end);  // d = 1.3: p = 0.1, k = 13, step 0.5
    EXPECT_FLOAT_EQ(step, 0.5f);
    EXPECT_FLOAT_EQ(end, 1.5f);
}

// Labels are collected once; with a screen and a file the file's labels are
// where a file-only drawing puts them, and come after all lines.
TEST_F(FieldTest, ContourFieldObjectsAndLabelsOnce) {
    ct::Grid g = ct::makeGrid(60, 40);
    for (int32_t j = 0; j < g.ny; ++j)
        for (int32_t i = 0; i < g.nx; ++i)
            g.at(i, j) = static_cast<float>(std::sin(i * 0.15) * std::cos(j * 0.2) + 0.02 * i);
    system(0.0f, 59.0f, 0.0f, 39.0f);
    KContourLevel levels[3] = {{-0.5f, 4, 1, 2, 1, 3, 10, 1}, {0.0f, 5, 0, 1, 2, 3, 10, 0}, {0.5f, 6, 2, 0, 1, 3, 10, 1}};
    ct::Grid a = g, b = g;
    const std::string both =
        kt::capture("both", [&](KFILE f) { ContourField(a.z.data(), a.x.data(), a.nx, a.y.data(), a.ny, levels, 3, dc, f); });
    const std::string fileOnly = kt::capture(
        "file", [&](KFILE f) { ContourField(b.z.data(), b.x.data(), b.nx, b.y.data(), b.ny, levels, 3, nullptr, f); });
    EXPECT_EQ(both, fileOnly);
    EXPECT_EQ(both.rfind("\n%%PS-OBJECT: ContourLines begin\n", 0), 0u);
    const size_t linesEnd = both.find("%%PS-OBJECT: ContourLines end\n\n%%PS-OBJECT: ContourLabels begin\ngsave dousrclip\n\n");
    ASSERT_NE(linesEnd, std::string::npos);
    EXPECT_EQ(both.find("rotatedText"), both.find("rotatedText", linesEnd));
    EXPECT_NE(both.find("\nmedium_line dashed_line\n"), std::string::npos);   // width, then style
    EXPECT_NE(both.find("\nvery_thin_line dotted_line\n"), std::string::npos);
    const std::string tail = "grestore 0 setgray\n\n0 setgray solid_line very_thin_line\n%%PS-OBJECT: ContourLabels end\n\n";
    ASSERT_GE(both.size(), tail.size());
    EXPECT_EQ(both.substr(both.size() - tail.size()), tail);
    size_t nLabels = 0;
    for (size_t at = both.find("rotatedText"); at != std::string::npos; at = both.find("rotatedText", at + 1)) ++nLabels;
    EXPECT_GT(nLabels, 3u);
    EXPECT_NE(both.find("10 SetMyFont /fill? true def\n(-0.5) "), std::string::npos);
    EXPECT_NE(both.find("10 SetMyFont /fill? false def\n(0) "), std::string::npos);
    // The screen shows the lines: some pixels in the line colours.
    const kt::Image img = kt::pictureImage(dc);
    size_t coloured = 0;
    for (uint32_t p : img.px) coloured += (p == kt::paletteColour(4) || p == kt::paletteColour(5) || p == kt::paletteColour(6));
    EXPECT_GT(coloured, 200u);
    // The field saw the ties moved (none here) and nothing else.
    EXPECT_EQ(a.z, b.z);
}

// The table lookup of colour indexes gives CMapCalColor's index at the
// edges of every step, for rising, falling and degenerate maps (random
// values go through it in ShadingEqualsOneFillPerCell).
TEST(ColourLookup, EqualsCMapCalColor) {
    const float maps[][4] = {{0, 10, -2, 2}, {10, 0, -2, 2}, {-3, 7, 0.5f, -1}, {5, 5, -1, 1}, {0, 1, 2, 2},
                             {1e-3f, 2e-3f, -3, 3}, {-1e6f, 1e6f, -0.1f, 0.1f}};
    for (const auto &m : maps) {
        CMapInitialize(m[0], m[1], m[2], m[3]);
        const kestrel::ColourIndexLookup lookup;
        const float lo = std::min(m[0], m[1]), hi = std::max(m[0], m[1]);
        // Every step edge, found by bisection, and the floats around it.
        int edges = 0;
        for (int32_t c = 0; c < 3000; ++c) {
            float a = lo + (hi - lo) * (static_cast<float>(c) / 2500.0f - 0.1f);
            float b = lo + (hi - lo) * (static_cast<float>(c + 1) / 2500.0f - 0.1f);
            if (CMapCalColor(a) == CMapCalColor(b)) continue;
            while (std::nextafter(a, b) != b) {
                const float mid = a + (b - a) / 2;
                if (mid == a || mid == b) break;
                (CMapCalColor(mid) == CMapCalColor(a) ? a : b) = mid;
            }
            ++edges;
            float v = a;
            for (int s = 0; s < 6; ++s) v = std::nextafter(v, -1e30f);
            for (int s = 0; s < 12; ++s, v = std::nextafter(v, 1e30f)) ASSERT_EQ(lookup(v), CMapCalColor(v)) << v;
        }
        if (m[0] != m[1] && m[2] != m[3]) {
            EXPECT_GE(edges, 100);
        }
        for (float v : {std::nanf(""), 1e38f, -1e38f, std::numeric_limits<float>::infinity(),
                        -std::numeric_limits<float>::infinity(), 0.0f, -0.0f})
            EXPECT_EQ(lookup(v), CMapCalColor(v)) << v;
    }
}
