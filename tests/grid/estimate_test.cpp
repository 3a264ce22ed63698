// Estimation against hand-worked sums and analytic fields; outlier removal
// against planted outliers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <string>
#include <vector>

#include "grid/oa_internal.h"
#include "kestrel/globals.h"
#include "kestrel/oa.h"
#include "oa_fixture.h"

namespace {

using ktoa::SetGuard;

// Axes 0..100 with scale length 10 everywhere: the stretch is the identity
// and the reference length is 10.
void identitySet(OASet &s, const std::vector<ktoa::Point> &pts) {
    ASSERT_TRUE(ktoa::allocExact(s, 2, 2, static_cast<int32_t>(pts.size())));
    s.xg[0] = s.yg[0] = 0.0f;
    s.xg[1] = s.yg[1] = 100.0f;
    s.xlen[0] = s.xlen[1] = s.ylen[0] = s.ylen[1] = 10.0f;
    for (std::size_t i = 0; i < pts.size(); ++i) {
        s.x[i] = pts[i].x;
        s.y[i] = pts[i].y;
        s.val[i] = pts[i].v;
        s.err[i] = pts[i].e;
        s.errInv[i] = 1.0f / pts[i].e;
        s.use[i] = 1;
    }
    s.nPoints = static_cast<int32_t>(pts.size());
    OAScaleTransformation(&s);
    kestrel::oaSetupCells(&s);
    OASortDataPoints(&s);
}

TEST(Averaging, HandWorkedWeightedMean) {
    // At (50, 50) with fx = fy = 1: ax = 2/10, so q = (dx/5)^2 + (dy/5)^2.
    // A point on the spot weighs 1 (error 1); one 5 away weighs
    // ExpValue[10] = 0.36788, divided by its error 2.
    SetGuard g;
    identitySet(g.s, {{50, 50, 10, 1}, {55, 50, 20, 2}});
    float spread, msd;
    int32_t n;
    const double v = OAEstimateValueT(50, 50, 1, 1, &spread, &msd, &n, &g.s);
    const double w = 0.36788 / 2.0;
    EXPECT_NEAR(v, (10.0 + 20.0 * w) / (1.0 + w), 1e-5);
    EXPECT_EQ(n, 2);
    EXPECT_NEAR(spread, std::sqrt(50.0), 1e-5);  // sample SD of 10 and 20
    EXPECT_NEAR(msd, 0.25 / 2, 1e-7);            // (5/10)^2 averaged over 2
    // Between table entries: dx = 5.5 gives q = 1.21, t = 12.1, so the
    // weight is 0.9 ExpValue[12] + 0.1 ExpValue[13].
    SetGuard h;
    identitySet(h.s, {{50, 50, 0, 1}, {55.5f, 50, 1, 1}});
    const double wt = 0.9 * 0.30119 + 0.1 * 0.27253;
    EXPECT_NEAR(OAEstimateValueT(50, 50, 1, 1, &spread, &msd, &n, &h.s), wt / (1 + wt), 1e-5);
}

TEST(Averaging, WideningPassesSinglePointsAndNothingInReach) {
    // One point 20 away: q = 16 in pass 1, 4 in pass 2 -> used, but the
    // weight sum 0.018 < 0.1 goes on to pass 3 (q = 1, weight 0.37).
    SetGuard g;
    identitySet(g.s, {{70, 50, 7, 0.3f}});
    float spread, msd;
    int32_t n;
    EXPECT_NEAR(OAEstimateValueT(50, 50, 1, 1, &spread, &msd, &n, &g.s), 7.0, 1e-6);
    EXPECT_EQ(n, 1);
    EXPECT_FLOAT_EQ(spread, 0.3f);  // a single point's own error
    EXPECT_NEAR(msd, 4.0, 1e-6);
    // Beyond 6 reference lengths: nothing, with the documented outputs.
    SetGuard far;
    identitySet(far.s, {{0, 0, 7, 1}, {1, 0, 8, 1}});
    EXPECT_EQ(OAEstimateValueT(80, 80, 1, 1, &spread, &msd, &n, &far.s), 0.0);
    EXPECT_EQ(n, 0);
    EXPECT_EQ(spread, 1.0e10f);
    EXPECT_EQ(msd, 1.0e10f);
    // Far outside the cell table, and NaN positions: no crash, nothing used.
    EXPECT_EQ(OAEstimateValueT(-1e9f, 1e9f, 1, 1, &spread, &msd, &n, &far.s), 0.0);
    EXPECT_EQ(OAEstimateValueT(std::nanf(""), 0, 1, 1, &spread, &msd, &n, &far.s), 0.0);
    EXPECT_EQ(n, 0);
    // The untransformed entry point agrees (identity stretch).
    EXPECT_NEAR(OAEstimateValue(0.5f, 0, 1, 1, &spread, &msd, &n, &far.s), 7.5, 1e-6);
}

double rmse(const std::vector<double> &a, const std::vector<double> &b) {
    double s = 0;
    for (std::size_t i = 0; i < a.size(); ++i) s += (a[i] - b[i]) * (a[i] - b[i]);
    return std::sqrt(s / static_cast<double>(a.size()));
}

TEST(Averaging, ReconstructsASectionWithAFrontAndAThermocline) {
    // 60 stations, 4000 points. The field spans 2..20 degrees; the front is
    // 250 km wide and the thermocline 400 m deep.
    const auto pts = ktoa::sectionPoints(60, 4000, 42);
    SetGuard g;
    ASSERT_TRUE(ktoa::buildSet(g.s, pts, 0, 6000, 0, 5500, 120, 80, 3.0f));
    std::vector<double> est, truth;
    int32_t missing = 0;
    for (int iy = 0; iy < g.s.ny; ++iy)
        for (int ix = 0; ix < g.s.nx; ++ix) {
            float sp, md;
            int32_t n;
            const double v = OAEstimateValueT(g.s.xgt[ix], g.s.ygt[iy], 1, 1, &sp, &md, &n, &g.s);
            if (n == 0) {
                ++missing;
                continue;
            }
            est.push_back(v);
            truth.push_back(ktoa::sectionTruth(g.s.xg[ix], g.s.yg[iy]));
        }
    EXPECT_EQ(missing, 0);
    // Stations are up to 120 km apart, so the front (18 * 0.25 = 4.5 degrees
    // over 500 km at the surface) is smeared over about one station spacing:
    // errors of a degree there, tenths elsewhere. An RMSE below 0.6 degree
    // (3 % of the range) over the whole section is what the sampling allows.
    const double e = rmse(est, truth);
    EXPECT_LT(e, 0.6);
    // And the estimate is far better than the field's own spread.
    double mean = 0, var = 0;
    for (double t : truth) mean += t / static_cast<double>(truth.size());
    for (double t : truth) var += (t - mean) * (t - mean) / static_cast<double>(truth.size());
    EXPECT_LT(e, 0.15 * std::sqrt(var));
}

// The averaging estimator written out as documented, as a plain loop over
// all points in their stored order: no cell table, only the search window
// (in cell units, as the estimator computes it) decides which points are
// visited. It also counts points with q < 9 (inside 1.5 fx reference
// lengths along both axes) that the window left out: there must be none.
// Same bits where float and double arithmetic is done in its own precision;
// on an x87 build (excess precision) the last bits may depend on register
// spills, so there only a relative 1e-6 is asked for.
#define ASSERT_SAME_BITS(a, b)                                                                   \
    do {                                                                                         \
        if (FLT_EVAL_METHOD == 0)                                                                \
            ASSERT_EQ(a, b);                                                                     \
        else                                                                                     \
            ASSERT_NEAR(a, b, 1e-6 * (1.0 + std::fabs(static_cast<double>(b))));                 \
    } while (0)

struct Reference {
    double value = 0.0;
    float spread = 1.0e10f, msd = 1.0e10f;
    int32_t count = 0, missedInside = 0;
};

Reference bruteForce(const OASet &s, float x, float y, float fx, float fy) {
    Reference r;
    float ax = 2.0f * s.xlenMaxInv / fx, ay = 2.0f * s.ylenMaxInv / fy;
    auto window = [](float c, float h, float origin, float width, float widthInv, int32_t *lo, int32_t *hi) {
        const double hs = std::copysign(h, width);
        auto cell = [&](double v) {
            const double t = std::trunc((v - origin) * widthInv);
            return static_cast<int32_t>(std::max(-1.0e9, std::min(1.0e9, t)));
        };
        int32_t a = std::max(cell(c - hs), 0), b = std::min(cell(c + hs), OA_NCELL - 1);
        *lo = std::max(std::min(a, b), 0);
        *hi = std::min(std::max(a, b), OA_NCELL - 1);
    };
    double sg = 0, sgw = 0, svgw = 0, sd2 = 0, sv = 0, sv2 = 0, se = 0;
    for (int pass = 0; pass < 3; ++pass) {
        sg = sgw = svgw = sd2 = sv = sv2 = se = 0;
        r.count = 0;
        int32_t x0, x1, y0, y1;
        window(x, 3.0f / ax, s.cellX0, s.cellDx, s.cellDxInv, &x0, &x1);
        window(y, 3.0f / ay, s.cellY0, s.cellDy, s.cellDyInv, &y0, &y1);
        for (int32_t i = 0; i < s.nPoints; ++i) {
            if (!s.use[i]) continue;
            const float dx = std::fabs(x - s.xt[i]), dy = std::fabs(y - s.yt[i]);
            const float q = (ax * dx) * (ax * dx) + (ay * dy) * (ay * dy);
            const int32_t cx = static_cast<int32_t>(std::floor((s.xt[i] - static_cast<double>(s.cellX0)) * s.cellDxInv));
            const int32_t cy = static_cast<int32_t>(std::floor((s.yt[i] - static_cast<double>(s.cellY0)) * s.cellDyInv));
            const bool inWindow = cx >= x0 && cx <= x1 && cy >= y0 && cy <= y1;
            if (!inWindow && ax * dx < 3.0f && ay * dy < 3.0f) ++r.missedInside;
            if (!inWindow || !(q < 10.0f)) continue;
            const float t = 10.0f * q;
            const int k = static_cast<int>(t);
            const float f = t - static_cast<float>(k);
            const double g = ExpValue[k] * (1.0f - f) + ExpValue[k + 1] * f;
            const float ex = s.xlenMaxInv * dx, ey = s.ylenMaxInv * dy;
            sg += g;
            sgw += s.errInv[i] * g;
            svgw += static_cast<double>(s.val[i]) * (s.errInv[i] * g);
            sd2 += ex * ex + ey * ey;
            sv += s.val[i];
            sv2 += static_cast<double>(s.val[i]) * s.val[i];
            se += s.err[i];
            ++r.count;
        }
        ax *= 0.5f;
        ay *= 0.5f;
        if (sg >= 0.1 && r.count >= 2) break;
    }
    if (r.count == 0) return r;
    const double c = r.count;
    r.msd = static_cast<float>(sd2 / c);
    r.spread = static_cast<float>(r.count == 1 ? se / c : std::sqrt(std::max(0.0, (sv2 - sv * sv / c) / (c - 1.0))));
    r.value = svgw / sgw;
    return r;
}

TEST(Averaging, CellWalkEqualsTheBruteForceSumExactly) {
    // Clustered points on density-adapted axes (the map workload, smaller),
    // once with y ascending and once descending; positions on and between
    // the nodes, outside the grid, and three scale factors.
    const auto pts = ktoa::mapPoints(12000, 99);
    for (bool descending : {false, true}) {
        SetGuard g;
        ASSERT_TRUE(ktoa::buildSet(g.s, pts, 0, 100, descending ? 65.0f : -65.0f, descending ? -65.0f : 65.0f, 90,
                                   120, 0.5f));
        ASSERT_EQ(g.s.nPoints, 12000);  // every point lies inside the cells
        int checked = 0, withPoints = 0;
        for (float f : {1.0f, 0.3f, 2.5f})
            for (int iy = -4; iy < g.s.ny + 4; iy += 4)
                for (int ix = -4; ix < g.s.nx + 4; ix += 4) {
                    const auto inside = [](int i, int n) { return std::min(std::max(i, 0), n - 1); };
                    // Off the grid: extrapolate beyond the end lines.
                    float x = g.s.xgt[inside(ix, g.s.nx)] + static_cast<float>(ix - inside(ix, g.s.nx)) * 3.0f;
                    float y = g.s.ygt[inside(iy, g.s.ny)] + static_cast<float>(iy - inside(iy, g.s.ny)) * 3.0f;
                    if ((ix + iy) % 2) {  // halfway to the next node
                        x += 0.5f * (g.s.xgt[inside(ix + 1, g.s.nx)] - g.s.xgt[inside(ix, g.s.nx)]);
                        y += 0.5f * (g.s.ygt[inside(iy + 1, g.s.ny)] - g.s.ygt[inside(iy, g.s.ny)]);
                    }
                    float sp, md;
                    int32_t n;
                    const double v = OAEstimateValueT(x, y, f, f, &sp, &md, &n, &g.s);
                    const Reference r = bruteForce(g.s, x, y, f, f);
                    ASSERT_EQ(n, r.count) << x << " " << y << " " << f;
                    ASSERT_SAME_BITS(v, r.value);
                    ASSERT_SAME_BITS(sp, r.spread);
                    ASSERT_SAME_BITS(md, r.msd);
                    ASSERT_EQ(r.missedInside, 0);
                    ++checked;
                    withPoints += n > 0;
                }
        EXPECT_GT(checked, 2000);
        EXPECT_GT(withPoints, checked / 2);
    }
}

TEST(AxisGrid, HandWorkedLinearDensity) {
    // Bin i (of ten) holds i + 1 points at its centre, so the least-squares
    // cubic is the line P(u) = 0.5 + 10 u, K = 10. Over -0.1 .. 1.1 it runs
    // from -0.5 to 11.5: the floor adds 1 (minimum 0.5 = 5 % of K), the
    // ratio 12.5/0.5 >= 6 gives f = 2.5/12 and P(u) = 0.708333 + 2.083333 u
    // (0.5 at -0.1, 3.0 at 1.1). Its integral I(u) = 0.708333 u +
    // 1.041667 u^2 has I(1) = 1.75; with three lines the middle one is the
    // root of I(u) = 0.875, u = 0.637549. The densest node is u = 1
    // (P = 2.791667), so with q = 1 % of 100 the base length is 2.791667
    // and the lengths are 2.791667 / P(u): 3.941176, 1.370780, 1.
    std::vector<float> c;
    for (int i = 0; i < 10; ++i)
        for (int k = 0; k <= i; ++k) c.push_back(static_cast<float>(5.0 + 10.0 * i));
    float g[3], L[3];
    const double lmax = OASetupAxisGrid(c.data(), static_cast<int32_t>(c.size()), 0.0f, 100.0f, 1.0f, g, L, 3);
    EXPECT_NEAR(lmax, 3.941176, 2e-5);
    EXPECT_EQ(g[0], 0.0f);
    EXPECT_NEAR(g[1], 63.7549, 2e-3);
    EXPECT_EQ(g[2], 100.0f);
    EXPECT_NEAR(L[0], 3.941176, 2e-5);
    EXPECT_NEAR(L[1], 1.370780, 2e-5);
    EXPECT_NEAR(L[2], 1.0, 2e-6);
}

TEST(ObjectiveAnalysis, CorrectsTheBackgroundWhereDataAreDense) {
    // A smooth map field sampled by 600 scattered points.
    const auto pts = ktoa::mapPoints(600, 17);
    SetGuard g;
    ASSERT_TRUE(ktoa::buildSet(g.s, pts, 0, 100, -65, 65, 60, 70, 4.0f));
    const int32_t n = g.s.nPoints;
    std::vector<float> M(static_cast<std::size_t>(n) * n), alpha(n);
    float sigma = 0;
    ASSERT_EQ(OAObjectASetup(&g.s, 0, M.data(), alpha.data(), &sigma), 1);
    EXPECT_GT(sigma, 0.0f);
    std::vector<double> oa, bg, truth, errs, dists;
    for (int iy = 0; iy < g.s.ny; iy += 2)
        for (int ix = 0; ix < g.s.nx; ix += 2) {
            float sp, md, err;
            int32_t cnt;
            const double b = OAEstimateValueT(g.s.xgt[ix], g.s.ygt[iy], 2, 2, &sp, &md, &cnt, &g.s);
            if (cnt < 5) continue;  // dense regions only
            const float v = OAObjectAEstimateT(g.s.xgt[ix], g.s.ygt[iy], 1, 1, &err, &md, &g.s, M.data(),
                                               alpha.data(), sigma, 1);
            oa.push_back(v);
            bg.push_back(b);
            truth.push_back(ktoa::mapTruth(g.s.xg[ix], g.s.yg[iy]));
            EXPECT_GT(err, 0.0f);
            errs.push_back(err);
            dists.push_back(md);
        }
    ASSERT_GT(oa.size(), 200u);
    const double eOa = rmse(oa, truth), eBg = rmse(bg, truth);
    RecordProperty("rmse_oa", std::to_string(eOa));
    RecordProperty("rmse_background", std::to_string(eBg));
    EXPECT_LT(eOa, 0.8 * eBg);
    // The analysis error grows away from the data: nodes closer than the
    // median distance have the smaller mean error.
    std::vector<double> sorted(dists);
    std::nth_element(sorted.begin(), sorted.begin() + sorted.size() / 2, sorted.end());
    const double median = sorted[sorted.size() / 2];
    double near = 0, far = 0;
    int nNear = 0, nFar = 0;
    for (std::size_t i = 0; i < errs.size(); ++i) (dists[i] < median ? near : far) += errs[i];
    for (double d : dists) (d < median ? nNear : nFar) += 1;
    ASSERT_GT(nNear, 0);
    ASSERT_GT(nFar, 0);
    EXPECT_LT(near / nNear, far / nFar);
}

TEST(ObjectiveAnalysis, EstimateAndErrorEqualThePlainSums) {
    // The documented sums with every covariance through OACovariance and the
    // full double loop over i and j: the estimator's shortcuts (no
    // exponential where it underflows, zeros skipped, rows side by side)
    // must not change a bit.
    const auto pts = ktoa::mapPoints(400, 23);
    SetGuard g;
    ASSERT_TRUE(ktoa::buildSet(g.s, pts, 0, 100, -65, 65, 50, 60, 3.0f));
    const int32_t n = g.s.nPoints;
    const std::size_t cn = static_cast<std::size_t>(n);
    std::vector<float> M(cn * cn), alpha(cn);
    float sigma = 0;
    ASSERT_EQ(OAObjectASetup(&g.s, 0, M.data(), alpha.data(), &sigma), 1);
    std::vector<float> c(cn);
    int zeros = 0, nodes = 0;
    for (float f : {1.0f, 0.2f})
        for (int iy = -2; iy < g.s.ny + 2; iy += 3)
            for (int ix = -2; ix < g.s.nx + 2; ix += 3) {
                const float x = ix < 0 ? -1.0e4f : ix >= g.s.nx ? 1.0e4f : g.s.xgt[ix];
                const float y = iy < 0 ? -1.0e4f : iy >= g.s.ny ? 1.0e4f : g.s.ygt[iy];
                double a = 0.0;
                for (std::size_t i = 0; i < cn; ++i) {
                    c[i] = static_cast<float>(OACovariance(x, g.s.xt[i], y, g.s.yt[i], 1.0f, f * g.s.xlenMax,
                                                           f * g.s.ylenMax));
                    a += static_cast<double>(c[i]) * alpha[i];
                    zeros += c[i] == 0.0f;
                }
                float sp, md;
                int32_t cnt;
                const double b = OAEstimateValueT(x, y, 2, 2, &sp, &md, &cnt, &g.s);
                double q = 0.0;
                for (std::size_t i = 0; i < cn; ++i) {
                    double t = 0.0;
                    for (std::size_t j = 0; j < cn; ++j) t += static_cast<double>(M[i * cn + j]) * c[j];
                    q += c[i] * t;
                }
                const float wantErr = 1.0 - q > 0.0 ? static_cast<float>(std::sqrt(1.0 - q) * sigma) : 1.0f;
                float err, msd;
                const float v = OAObjectAEstimateT(x, y, f, f, &err, &msd, &g.s, M.data(), alpha.data(), sigma, 1);
                ASSERT_SAME_BITS(v, static_cast<float>(b + a * sigma));
                ASSERT_SAME_BITS(err, wantErr);
                ++nodes;
            }
    EXPECT_GT(nodes, 500);
    EXPECT_GT(zeros, nodes * n / 10);  // the underflow shortcut was exercised
}

TEST(ObjectiveAnalysis, NoiseModelAndLimits) {
    // Two points: the noise on the diagonal is max(0.1 (v - 13), 0.02)
    // divided by sigma; the setup leaves it in the shared scratch.
    SetGuard g;
    identitySet(g.s, {{10, 10, 13.2f, 1}, {60, 60, 15.0f, 1}, {90, 20, 1.0f, 1}});
    std::vector<float> M(9), alpha(3);
    float sigma;
    ASSERT_EQ(OAObjectASetup(&g.s, 123, M.data(), alpha.data(), &sigma), 1);
    const float *noise = kestrel::gOAScratch;
    float e[3];
    for (int i = 0; i < 3; ++i) e[i] = g.s.val[i] == 15.0f ? 0.2f : 0.02f;
    for (int i = 0; i < 3; ++i) EXPECT_NEAR(noise[i], e[i], 1e-6);
    // With the error asked for, the estimate is the same and the error
    // is at most sigma; at a data point it is small.
    float err, md;
    const float a = OAObjectAEstimateT(g.s.xt[0], g.s.yt[0], 1, 1, &err, &md, &g.s, M.data(), alpha.data(), sigma, 1);
    float err0;
    const float b = OAObjectAEstimateT(g.s.xt[0], g.s.yt[0], 1, 1, &err0, &md, &g.s, M.data(), alpha.data(), sigma, 0);
    EXPECT_EQ(a, b);
    EXPECT_LT(err, sigma);
    // More than 1500 points, or fewer than two: refused.
    SetGuard big;
    std::vector<ktoa::Point> many;
    for (int i = 0; i < 1501; ++i) many.push_back({static_cast<float>(i % 100), static_cast<float>(i / 100), 1, 1});
    identitySet(big.s, many);
    ASSERT_EQ(big.s.nPoints, 1501);
    EXPECT_EQ(OAObjectASetup(&big.s, 0, M.data(), alpha.data(), &sigma), 0);
    SetGuard one;
    identitySet(one.s, {{10, 10, 1, 1}});
    EXPECT_EQ(OAObjectASetup(&one.s, 0, M.data(), alpha.data(), &sigma), 0);
}

TEST(Outliers, PlantedOutliersGoCleanPointsStay) {
    auto pts = ktoa::sectionPoints(50, 3000, 5);
    std::vector<int> planted;
    for (std::size_t i = 37; i < pts.size(); i += 211) {
        pts[i].v += 6.0f;  // far outside the field's local variability
        planted.push_back(static_cast<int>(i));
    }
    SetGuard g;
    ASSERT_TRUE(ktoa::buildSet(g.s, pts, 0, 6000, 0, 5500, 100, 60, 3.0f));
    // The estimate and a constant reference error of 1 degree.
    for (int iy = 0; iy < g.s.ny; ++iy)
        for (int ix = 0; ix < g.s.nx; ++ix) {
            float sp, md;
            int32_t n;
            g.s.gridEst[iy * g.s.nx + ix] =
                static_cast<float>(OAEstimateValueT(g.s.xgt[ix], g.s.ygt[iy], 1, 1, &sp, &md, &n, &g.s));
            g.s.gridErr[iy * g.s.nx + ix] = 1.0f;
        }
    UpdateStatusBar("idle");
    const int32_t removed = OARemoveOutliers(&g.s, 3.0f, 0, 6000, 0, 5500);
    EXPECT_STREQ(VStatusLine, "idle");
    int plantedGone = 0, cleanGone = 0;
    for (int32_t i = 0; i < g.s.nPoints; ++i) {
        // The planted values are off the analytic field by 6.
        const bool isPlanted = std::fabs(g.s.val[i] - ktoa::sectionTruth(g.s.x[i], g.s.y[i])) > 5.0;
        if (!g.s.use[i]) (isPlanted ? plantedGone : cleanGone) += 1;
    }
    EXPECT_EQ(plantedGone, static_cast<int>(planted.size()));
    EXPECT_EQ(removed, plantedGone + cleanGone);
    // Clean points go only where the front's smearing is itself 3 degrees.
    EXPECT_LT(cleanGone, g.s.nPoints / 100);
    // A rectangle that excludes everything removes nothing; points outside
    // the grid lines are never removed.
    EXPECT_EQ(OARemoveOutliers(&g.s, 0.0f, 7000, 8000, 0, 5500), 0);
    SetGuard o;
    identitySet(o.s, {{10, 10, 1, 1}, {100.5f, 10, 99, 1}});
    for (int k = 0; k < 4; ++k) {
        o.s.gridEst[k] = 1.0f;
        o.s.gridErr[k] = 0.0f;  // zero error: infinite ratio
    }
    o.s.use[0] = o.s.use[1] = 1;
    o.s.val[0] = 1.5f;
    EXPECT_EQ(OARemoveOutliers(&o.s, 3.0f, 0, 200, 0, 100), 1);
}

}  // namespace
