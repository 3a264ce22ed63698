// Three-dimensional analysis: the spreadsheet export byte for byte on a
// hand-made set, exact reproduction of constant and near-exact of linear
// fields, the estimator at points against the field, and sets that are
// empty, tiny or too large.
#include <cmath>
#include <cstring>
#include <random>
#include <string>

#include "common/testing.h"
#include "kestrel/d3.h"
#include "kestrel/oa.h"

namespace {

// The export opens its file in text mode, as the host's spreadsheet
// readers expect: lines end in CR LF on Windows.
std::string lines(std::string text) {
#ifdef _WIN32
    for (size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 2)) text.insert(at, "\r");
#endif
    return text;
}

struct Set {
    D3Set s;
    Set(int32_t nx, int32_t ny, int32_t nz, int32_t cap) { EXPECT_EQ(D3AllocSet(&s, nx, ny, nz, cap), 1); }
    ~Set() { D3FreeSet(&s); }
};

TEST(D3, SpreadsheetExportByteForByte) {
    Set t(2, 1, 2, 0);
    D3Set &s = t.s;
    s.xg[0] = -30, s.xg[1] = 12.5f;
    s.yg[0] = 45;
    s.zg[0] = -250, s.zg[1] = -1000;
    for (int k = 0; k < 4; ++k) s.gridEst[k] = 100.0f + k, s.gridDist[k] = 0.25f * k;
    std::strcpy(s.title, "Oxygen [umol/kg]");
    std::strcpy(s.ztitle, "Depth [m]");
    const std::string file = kt::scratchDir("d3_zep") + "/field.txt";
    D3WriteFieldZep(file.c_str(), "WCOA13", "08/15/2013", &s);
    const std::string expected =
        "Cruise\tStation\tType\tmon/day/yr\tLon (\xB0" "E)\tLat (\xB0N)\tBot. Depth [m]\tDepth [m]\tOxygen [umol/kg]\t"
        "Error Oxygen  [rel. units]\n"
        "WCOA13\t1\tB\t08/15/2013\t330\t45\t0\t250\t100\t0\n"
        "WCOA13\t1\tB\t08/15/2013\t330\t45\t0\t1000\t102\t0.5\n"
        "WCOA13\t2\tB\t08/15/2013\t12.5\t45\t0\t250\t101\t0.25\n"
        "WCOA13\t2\tB\t08/15/2013\t12.5\t45\t0\t1000\t103\t0.75\n";
    EXPECT_EQ(kt::readFile(file), lines(expected));
    // A title without a unit is kept whole; a title filling all 121 bytes
    // without a terminator is read no further.
    std::strcpy(s.title, "Temperature");
    D3WriteFieldZep(file.c_str(), "", "", &s);
    EXPECT_NE(kt::readFile(file).find(lines("\tTemperature\tError Temperature [rel. units]\n")), std::string::npos);
    std::memset(s.title, 'A', sizeof s.title);
    std::memset(s.ztitle, 'Z', sizeof s.ztitle);
    D3WriteFieldZep(file.c_str(), nullptr, nullptr, &s);
    EXPECT_NE(kt::readFile(file).find(std::string(120, 'A') + "\tError " + std::string(120, 'A')), std::string::npos);
    D3WriteFieldZep("/no/such/folder/field.txt", "x", "y", &s);  // silent
}

TEST(D3, OneNodeWithNoPointInReach) {
    Set t(0, -3, 1, 5);
    D3Set &s = t.s;
    EXPECT_EQ(s.nx, 1);
    EXPECT_EQ(s.ny, 1);
    s.xmin = 0, s.xmax = 1, s.ymin = 0, s.ymax = 1, s.zmin = -100, s.zmax = 0;
    s.nPoints = 0;
    EXPECT_EQ(D3GenerateGrid(&s, 5, 5, 5), 1);
    D3EstimateField(&s);
    EXPECT_EQ(s.gridEst[0], 0.0f);
    EXPECT_EQ(s.gridDist[0], 1.0e10f);
    const std::string file = kt::scratchDir("d3_one") + "/one.txt";
    std::strcpy(s.title, "T [C]");
    D3WriteFieldZep(file.c_str(), "c", "d", &s);
    const std::string text = kt::readFile(file);
    EXPECT_EQ(text.substr(text.find('\n') + 1), lines("c\t1\tB\td\t0\t0\t0\t100\t0\t1e+10\n"));
}

// A survey of n points in a box 20 x 10 degrees x 3000 m.
void fill(D3Set &s, int n, double (*field)(double, double, double), unsigned seed = 1) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> ux(-140, -120), uy(30, 40), uz(-3000, 0);
    for (int i = 0; i < n; ++i) {
        s.x[i] = static_cast<float>(ux(rng));
        s.y[i] = static_cast<float>(uy(rng));
        s.z[i] = static_cast<float>(uz(rng));
        s.val[i] = static_cast<float>(field(s.x[i], s.y[i], s.z[i]));
        s.err[i] = s.errInv[i] = 1.0f;
        s.use[i] = 1;
    }
    s.nPoints = n;
    s.xmin = -140, s.xmax = -120, s.ymin = 30, s.ymax = 40, s.zmin = -3000, s.zmax = 0;
}

TEST(D3, ConstantAndLinearFields) {
    {
        Set t(20, 12, 10, 4000);
        fill(t.s, 4000, [](double, double, double) { return 7.5; });
        D3GenerateGrid(&t.s, 5, 5, 5);
        EXPECT_EQ(t.s.nInCells, 4000);
        D3EstimateField(&t.s);
        for (int k = 0; k < 20 * 12 * 10; ++k) {
            EXPECT_NEAR(t.s.gridEst[k], 7.5f, 1e-5f);
            EXPECT_LT(t.s.gridDist[k], 50.0f);
        }
    }
    auto plane = [](double x, double y, double z) { return 0.1 * x - 0.2 * y + 0.001 * z; };
    Set t(20, 12, 10, 6000);
    fill(t.s, 6000, plane);
    D3GenerateGrid(&t.s, 5, 5, 5);
    D3EstimateField(&t.s);
    double worst = 0;
    for (int iz = 2; iz < 8; ++iz)
        for (int iy = 2; iy < 10; ++iy)
            for (int ix = 2; ix < 18; ++ix) {
                const size_t k = (static_cast<size_t>(iz) * 12 + iy) * 20 + ix;
                worst = std::max(worst, std::fabs(t.s.gridEst[k] - plane(t.s.xg[ix], t.s.yg[iy], t.s.zg[iz])));
            }
    EXPECT_LT(worst, 0.2);  // the field spans 5 units; a weighted mean of a plane is the plane at the weighted centre
    // The estimator at untransformed node positions is the field's value there.
    float sp, md;
    int32_t nu;
    const double v = D3EstimateValue(t.s.xg[7], t.s.yg[5], t.s.zg[4], 1, 1, 1, &sp, &md, &nu, &t.s);
    EXPECT_FLOAT_EQ(static_cast<float>(v), t.s.gridEst[(4 * 12 + 5) * 20 + 7]);
    EXPECT_GT(nu, 1);
    // Far outside the survey: no point in reach.
    EXPECT_EQ(D3EstimateValue(60, -60, 5000, 1, 1, 1, &sp, &md, &nu, &t.s), 0.0);
    EXPECT_EQ(nu, 0);
    EXPECT_EQ(md, 1.0e10f);
}

TEST(D3, BadSetsFailCleanly) {
    D3Set s;
    EXPECT_EQ(D3AllocSet(&s, 100000, 100000, 100000, 10), 0);  // no room for 10^15 nodes
    EXPECT_EQ(s.gridEst, nullptr);
    EXPECT_EQ(D3AllocSet(&s, 2, 2, 2, -1), 0);
    D3FreeSet(&s);
    D3FreeSet(nullptr);
    Set t(3, 3, 3, 10);
    fill(t.s, 10, [](double x, double, double) { return x; });
    t.s.nPoints = 11;  // more than the capacity: refused everywhere
    EXPECT_EQ(D3GenerateGrid(&t.s, 5, 5, 5), 1);
    D3ScaleTransformation(&t.s);
    D3SortDataPoints(&t.s);
    float sp, md;
    int32_t nu;
    D3EstimateValueT(0, 0, 0, 1, 1, 1, &sp, &md, &nu, &t.s);
    EXPECT_EQ(nu, 0);
    t.s.nPoints = 10;
    t.s.x[3] = std::nanf("");  // a point that is not anywhere is dropped by the sort
    D3GenerateGrid(&t.s, 5, 5, 5);
    EXPECT_EQ(t.s.nInCells, 9);
    D3EstimateField(&t.s);
    EXPECT_EQ(D3EstimateValueT(0, 0, 0, 1, 1, 1, &sp, &md, &nu, nullptr), 0.0);
}

}  // namespace

namespace {

// The documented estimator written out plainly: every point of the set,
// its cell from the cell geometry, kept when its cell lies in the box of the
// pass, weighted from the table of exp(-k/10) to five decimals.
struct Reference {
    double est;
    float spread, dist;
    int32_t used;
};

Reference bruteForce(const D3Set &s, float x, float y, float z) {
    double table[101];
    for (int k = 0; k <= 100; ++k) table[k] = std::round(std::exp(-k / 10.0) * 1e5) / 1e5;
    auto cellOf = [](float t, float origin, float inv) { return static_cast<int>(std::floor((static_cast<double>(t) - origin) * inv)); };
    auto box = [](float c, float h, float origin, float width, float inv, int *lo, int *hi) {
        const float hs = std::copysign(h, width);
        int a = static_cast<int>((static_cast<double>(c) - hs - origin) * inv);
        int b = static_cast<int>((static_cast<double>(c) + hs - origin) * inv);
        if (a > b) std::swap(a, b);
        *lo = std::max(a, 0);
        *hi = std::min(b, 11);
    };
    float ax = 2.0f * s.xlenMaxInv, ay = 2.0f * s.ylenMaxInv, az = 2.0f * s.zlenMaxInv;
    Reference r{0, 1.0e10f, 1.0e10f, 0};
    double g = 0, gw = 0, vgw = 0, d2 = 0, sv = 0, sv2 = 0, se = 0;
    int count = 0;
    for (int pass = 0; pass < 3; ++pass) {
        g = gw = vgw = d2 = sv = sv2 = se = 0;
        count = 0;
        int x0, x1, y0, y1, z0, z1;
        box(x, 3.0f / ax, s.cellX0, s.cellDx, s.cellDxInv, &x0, &x1);
        box(y, 3.0f / ay, s.cellY0, s.cellDy, s.cellDyInv, &y0, &y1);
        box(z, 3.0f / az, s.cellZ0, s.cellDz, s.cellDzInv, &z0, &z1);
        for (int i = 0; i < s.nPoints; ++i) {
            const int cx = cellOf(s.xt[i], s.cellX0, s.cellDxInv), cy = cellOf(s.yt[i], s.cellY0, s.cellDyInv),
                      cz = cellOf(s.zt[i], s.cellZ0, s.cellDzInv);
            if (cx < x0 || cx > x1 || cy < y0 || cy > y1 || cz < z0 || cz > z1 || !s.use[i]) continue;
            const float dx = std::fabs(x - s.xt[i]), dy = std::fabs(y - s.yt[i]), dz = std::fabs(z - s.zt[i]);
            const float q = (ax * dx) * (ax * dx) + (ay * dy) * (ay * dy) + (az * dz) * (az * dz);
            if (!(q < 10.0f)) continue;
            const float t = 10.0f * q;
            const int k = static_cast<int>(t);
            const double f = t - static_cast<float>(k);
            const double w = table[k] * (1 - f) + table[k + 1] * f;
            g += w;
            gw += w * s.errInv[i];
            vgw += w * s.errInv[i] * s.val[i];
            const float ex = s.xlenMaxInv * dx, ey = s.ylenMaxInv * dy, ez = s.zlenMaxInv * dz;
            d2 += ex * ex + ey * ey + ez * ez;
            sv += s.val[i];
            sv2 += static_cast<double>(s.val[i]) * s.val[i];
            se += s.err[i];
            ++count;
        }
        ax *= 0.5f, ay *= 0.5f, az *= 0.5f;
        if (g >= 0.1 && count >= 2) break;
    }
    if (count == 0) return r;
    r.used = count;
    r.est = vgw / gw;
    r.dist = static_cast<float>(d2 / count);
    r.spread = count == 1 ? static_cast<float>(se) : static_cast<float>(std::sqrt(std::max(0.0, (sv2 - sv * sv / count) / (count - 1))));
    return r;
}

TEST(D3, EstimatorAgreesWithTheDocumentedRulesNodeByNode) {
    for (unsigned seed : {1u, 2u, 3u}) {
        Set t(14, 9, 7, 1500);
        const int n = seed == 3 ? 40 : 1500;  // a sparse survey exercises the widened passes
        fill(t.s, n, [](double x, double y, double z) { return std::sin(x) + y * 0.1 + z * 0.0005; }, seed);
        for (int i = 0; i < n; i += 7) t.s.err[i] = 2.0f, t.s.errInv[i] = 0.5f;
        D3GenerateGrid(&t.s, seed == 2 ? 2.0f : 5.0f, 5.0f, 8.0f);
        D3EstimateField(&t.s);
        int compared = 0, empty = 0;
        for (int iz = 0; iz < 7; ++iz)
            for (int iy = 0; iy < 9; ++iy)
                for (int ix = 0; ix < 14; ++ix) {
                    const size_t k = (static_cast<size_t>(iz) * 9 + iy) * 14 + ix;
                    const Reference r = bruteForce(t.s, t.s.xgt[ix], t.s.ygt[iy], t.s.zgt[iz]);
                    if (r.used == 0) {
                        EXPECT_EQ(t.s.gridEst[k], 0.0f);
                        EXPECT_EQ(t.s.gridDist[k], 1.0e10f);
                        ++empty;
                        continue;
                    }
                    EXPECT_NEAR(t.s.gridEst[k], r.est, 1e-5 * (1 + std::fabs(r.est))) << seed << " " << k;
                    EXPECT_NEAR(t.s.gridSpread[k], r.spread, 1e-4 * (1 + r.spread)) << seed << " " << k;
                    EXPECT_NEAR(t.s.gridDist[k], r.dist, 1e-5 * (1 + r.dist)) << seed << " " << k;
                    ++compared;
                }
        EXPECT_GT(compared, 14 * 9 * 7 / 2) << seed << " (" << empty << " without data)";
    }
}

}  // namespace
