// The colour scale, palette files, the built-in palette and colour search.
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "plot_fixture.h"

namespace {

// CIELAB (D65) of an sRGB colour: the textbook formulas, written out here
// independently of the generator that made the palettes.
struct Lab {
    double L, a, b;
};
Lab toLab(const uint8_t *c) {
    auto lin = [](double v) {
        v /= 255.0;
        return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4);
    };
    const double r = lin(c[0]), g = lin(c[1]), b = lin(c[2]);
    const double x = (0.4124564 * r + 0.3575761 * g + 0.1804375 * b) / 0.95047;
    const double y = 0.2126729 * r + 0.7151522 * g + 0.0721750 * b;
    const double z = (0.0193339 * r + 0.1191920 * g + 0.9503041 * b) / 1.08883;
    auto f = [](double t) { return t > 216.0 / 24389 ? std::cbrt(t) : (24389.0 / 27 * t + 16) / 116; };
    return Lab{116 * f(y) - 16, 500 * (f(x) - f(y)), 200 * (f(y) - f(z))};
}
double deltaE(const Lab &p, const Lab &q) { return std::hypot(p.L - q.L, p.a - q.a, p.b - q.b); }

using ColourTest = PlotTest;

TEST_F(ColourTest, ScaleMapsTheDocumentedValuesAndZvalInvertsIt) {
    CMapInitialize(0, 10, -2, 2);
    EXPECT_FLOAT_EQ(CMapCalGray(5), 0.5f);
    EXPECT_EQ(std::vector<int32_t>({CMapCalColor(-1), CMapCalColor(0), CMapCalColor(5), CMapCalColor(10), CMapCalColor(11)}),
              (std::vector<int32_t>{32, 33, 88, 143, 144}));
    // tanh stretch: the middle of the data range is steeper than its ends.
    EXPECT_GT(CMapCalGray(5.5f) - CMapCalGray(4.5f), CMapCalGray(1.0f) - CMapCalGray(0.0f));
    // The stretch interval is ordered, the data range is not.
    CMapInitialize(0, 10, 2, -2);
    EXPECT_EQ(Vcmap.s0, -2.0f);
    EXPECT_EQ(CMapCalColor(10), 143);
    CMapInitialize(10, 0, -2, 2);
    EXPECT_EQ(CMapCalColor(10), 33);
    EXPECT_EQ(CMapCalColor(0), 143);
    // An empty range gives some colour of the scale without failing.
    CMapInitialize(3, 3, -2, 2);
    EXPECT_TRUE(CMapCalColor(3) >= 32 && CMapCalColor(3) <= 144);

    const float stretches[][2] = {{-0.1f, 0.1f}, {-2, 2}, {0, 3}, {-4, 1}};
    for (const auto &z : stretches) {
        CMapInitialize(-5, 25, z[0], z[1]);
        for (float v = -5; v <= 25; v += 0.75f)
            EXPECT_NEAR(CMapCalZval(CMapCalGray(v)), v, 2e-3) << "stretch " << z[0] << ".." << z[1] << " value " << v;
    }
    // Near-linear for a short interval; the clamp keeps the ends finite.
    CMapInitialize(0, 1, -0.01f, 0.01f);
    EXPECT_NEAR(CMapCalGray(0.25f), 0.25f, 1e-4);
    CMapInitialize(0, 1, -30, 30);
    EXPECT_TRUE(std::isfinite(CMapCalZval(1.0f)) && std::isfinite(CMapCalZval(0.0f)));
}

TEST_F(ColourTest, PaletteFilesAreTruncatedLimitedAndFallBackToTheBuiltIn) {
    const std::string dir = kt::scratchDir("PaletteFile"), pal = dir + "/test.pal";
    kt::writeFile(pal, "0 0 0 0\n  7 1.0 1.0 1.0\n3 1.2 -0.1 0.5\n9 0.999 0.5 0.2\nnot a record\n5 0 0 1\n");
    EXPECT_EQ(LoadPaletteFile(dc, pal.c_str()), 1);
    EXPECT_EQ(mCGS.paletteSize, 4);  // reading stops at the first bad record
    EXPECT_STREQ(mCGS.paletteFile, pal.c_str());
    const uint8_t expect[4][3] = {{0, 0, 0}, {255, 255, 255}, {255, 0, 127}, {254, 127, 51}};
    EXPECT_EQ(std::memcmp(Vcolor, expect, sizeof expect), 0);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(VCR[i], 0x01000000u + static_cast<uint32_t>(i));
    // The same name again is not read again, even when the file changed.
    kt::writeFile(pal, "0 1 0 0\n");
    EXPECT_EQ(LoadPaletteFile(dc, pal.c_str()), 0);
    EXPECT_EQ(Vcolor[0][0], 0);
    // A missing file, an empty one and no name install the built-in palette.
    kt::writeFile(dir + "/empty.pal", "");
    for (const std::string &name : {dir + "/absent.pal", dir + "/empty.pal", std::string()}) {
        std::memset(Vcolor, 7, sizeof Vcolor);
        std::strcpy(mCGS.paletteFile, "something else");
        EXPECT_EQ(LoadPaletteFile(dc, name.empty() ? nullptr : name.c_str()), 1) << name;
        EXPECT_STREQ(mCGS.paletteFile, "DUMMY");
        EXPECT_EQ(mCGS.paletteSize, 177);
        EXPECT_NE(hMYpal, nullptr);
        EXPECT_EQ(Vcolor[0][0] + Vcolor[0][1] + Vcolor[0][2], 0);        // black
        EXPECT_EQ(Vcolor[1][0] + Vcolor[1][1] + Vcolor[1][2], 3 * 255);  // white
    }
}

// The shipped palette files load back to exactly the colours they were made
// from (the built-in one to the built-in table), and each has the layout the
// colour scale expects: a smooth, evenly stepped scale over 33..143 with
// clearly different colours for values below (32) and above (144) it.
TEST_F(ColourTest, ShippedPalettesAreSmoothAndMarkTheRangeEnds) {
    uint8_t builtin[256][3];
    std::memcpy(builtin, Vcolor, sizeof builtin);
    for (const std::string name : {"kestrel", "rainbow", "diverging", "greys"}) {
        SCOPED_TRACE(name);
        ASSERT_EQ(LoadPaletteFile(dc, kt::sourcePath("data/palettes/" + name + ".pal").c_str()), 1);
        ASSERT_EQ(mCGS.paletteSize, 177);
        if (name == "kestrel") {
            EXPECT_EQ(std::memcmp(builtin, Vcolor, 177 * 3), 0);
        }
        std::vector<Lab> lab;
        for (int i = 0; i < 177; ++i) lab.push_back(toLab(Vcolor[i]));
        // Equal steps up to the rounding to 8-bit components, which is worth
        // about half a Delta E per step.
        double lo = 1e9, hi = 0, sum = 0;
        for (int i = 34; i <= 143; ++i) {
            const double d = deltaE(lab[i - 1], lab[i]);
            lo = std::min(lo, d);
            hi = std::max(hi, d);
            sum += d;
        }
        EXPECT_TRUE(lo > 0.45 * sum / 110 && hi < 1.6 * sum / 110) << "uneven steps " << lo << " .. " << hi;
        EXPECT_GT(deltaE(lab[32], lab[33]), 20.0);
        EXPECT_GT(deltaE(lab[144], lab[143]), 20.0);
        EXPECT_GT(deltaE(lab[32], lab[144]), 20.0);
        EXPECT_EQ(Vcolor[0][0] + Vcolor[0][1] + Vcolor[0][2], 0);
        // The built-in scale and the greys grow lighter all the way; the
        // diverging map is lightest at its centre and symmetric in lightness.
        for (int i = 34; i <= 143 && (name == "kestrel" || name == "greys"); ++i) EXPECT_GT(lab[i].L, lab[i - 1].L) << i;
        if (name == "diverging") {
            EXPECT_GT(lab[88].L, 95.0);
            for (int k = 1; k <= 55; ++k) {
                EXPECT_LT(lab[88 - k].L, lab[88 - k + 1].L);
                EXPECT_NEAR(lab[88 - k].L, lab[88 + k].L, 4.0) << k;
            }
        }
    }
}

TEST_F(ColourTest, SetColorFollowsTheColourMode) {
    SetColorMode(0);
    SetColor(40);
    EXPECT_EQ(mCGS.color, 0x01000000u + 40);
    for (int w : mCGS.colorState) EXPECT_EQ(w, 40);
    SetColorMode(1);
    SetColor(2);
    EXPECT_EQ(mCGS.color, 0x0000FFu);  // entry 2 is red
    SetColorMode(7);
    SetColor(1);
    EXPECT_EQ(mCGS.color, 0x0000FFu);  // unknown mode: colour unchanged
    EXPECT_EQ(mCGS.colorState[0], 1);
    SetColorMode(1);
    CMapInitialize(0, 10, -2, 2);
    SetZColor(5);
    EXPECT_EQ(mCGS.colorState[0], 88);
}

TEST_F(ColourTest, ClosestColourSearches) {
    mCGS.paletteSize = 3;
    const uint8_t p[3][3] = {{10, 0, 0}, {5, 0, 0}, {0, 0, 0}};
    std::memcpy(Vcolor, p, sizeof p);
    EXPECT_EQ(FindClosestColor(15 / 255.0f, 0, 0), 0);    // nearest: entry 0 (distance 25)
    EXPECT_EQ(FindClosestColor(7.5f / 255.0f, 0, 0), 0);  // a tie goes to the first entry
    // Accumulating search, by hand: 15-10 = 5 (25), 5-5 = 0 (0, best),
    // 0-0 = 0 (not strictly better): entry 1.
    EXPECT_EQ(FindClosestColorCR(15), 1);
    mCGS.paletteSize = 1;  // far away from everything (distance >= 100000): 0
    EXPECT_EQ(FindClosestColor(1, 1, 1), 0);
    mCGS.paletteSize = 0;
    EXPECT_EQ(FindClosestColor(0.5f, 0.5f, 0.5f), 0);
    EXPECT_EQ(FindClosestColorCR(0x808080), 0);
    LoadPaletteFile(dc, nullptr);
    for (int i : {0, 1, 2, 4, 40, 100, 143}) {
        int first = 0;  // an exact colour is found at its first occurrence
        while (std::memcmp(Vcolor[first], Vcolor[i], 3) != 0) ++first;
        EXPECT_EQ(FindClosestColor(Vcolor[i][0] / 255.0f, Vcolor[i][1] / 255.0f, Vcolor[i][2] / 255.0f), first);
    }
}

}  // namespace
