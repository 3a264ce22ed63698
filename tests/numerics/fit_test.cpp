// Fits reproduce exact polynomials and planes; tables, sorting and axis
// scaling at their edges; curve points against the closed forms of the
// Bernstein polynomials.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

#include "kestrel/fit.h"
#include "kestrel/globals.h"

namespace {

TEST(PolyFit, ReproducesAnExactCubicWhateverTheWeights) {
    const double c[4] = {1.5, -2.0, 0.75, 0.25};
    std::vector<float> x, y, s;
    for (int i = 0; i < 15; ++i) {
        const float u = -1.0f + 0.2f * static_cast<float>(i);
        x.push_back(u);
        y.push_back(static_cast<float>(PolyVal(u, 3, c)));
        s.push_back(0.5f + 0.1f * static_cast<float>(i % 4));
    }
    double fit[4] = {9, 9, 9, 9};
    ASSERT_EQ(PolyFit(15, x.data(), y.data(), s.data(), 3, fit), 1);
    for (int k = 0; k < 4; ++k) EXPECT_NEAR(fit[k], c[k], 2e-6);
    // Three points give the interpolating parabola 1 - 3u + 2u^2; two are too few.
    const float px[3] = {0, 1, 2}, py[3] = {1, 0, 3}, ps[3] = {1, 1, 1};
    double p[3] = {7, 7, 7};
    EXPECT_EQ(PolyFit(2, px, py, ps, 2, p), 0);  // singular
    EXPECT_EQ(p[0], 7.0);
    EXPECT_EQ(PolyFit(3, px, py, ps, -1, p), 0);
    ASSERT_EQ(PolyFit(3, px, py, ps, 2, p), 1);
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(p[k], (std::vector<double>{1, -3, 2})[k], 1e-12);
}

TEST(PlaneFit, ExactPlaneAndDegenerateDirections) {
    std::vector<float> x, y, z;
    for (int i = 0; i < 5; ++i)
        for (int j = 0; j < 4; ++j) {
            x.push_back(static_cast<float>(i));
            y.push_back(static_cast<float>(j) * 0.5f);
            z.push_back(2.0f * x.back() + 3.0f * y.back() + 1.0f);
        }
    float a, b, c;
    ASSERT_EQ(PlaneFit(20, x.data(), y.data(), z.data(), &a, &b, &c), 1);
    EXPECT_TRUE(std::fabs(a - 2) < 1e-5 && std::fabs(b - 3) < 1e-5 && std::fabs(c - 1) < 1e-5) << a << " " << b << " " << c;
    // All x equal: z against y alone.
    const float xc[4] = {5, 5, 5, 5}, yc[4] = {0, 1, 2, 3}, zc[4] = {1, 4, 7, 10};
    ASSERT_EQ(PlaneFit(4, xc, yc, zc, &a, &b, &c), 1);
    EXPECT_TRUE(a == 0 && std::fabs(b - 3) < 1e-5 && std::fabs(c - 1) < 1e-5) << a << " " << b << " " << c;
    // All y equal: z against x alone.
    ASSERT_EQ(PlaneFit(4, yc, xc, zc, &a, &b, &c), 1);
    EXPECT_EQ(b, 0.0f);
    EXPECT_NEAR(a, 3.0f, 1e-5);
    // Both constant: the mean and result 0.
    const float zz[4] = {1, 2, 3, 6};
    EXPECT_EQ(PlaneFit(4, xc, xc, zz, &a, &b, &c), 0);
    EXPECT_TRUE(a == 0 && b == 0 && c == 3) << a << " " << b << " " << c;
}

TEST(PolyValAndZero, HornerRootsAndTheIterationCap) {
    const double c0[1] = {4.5};
    EXPECT_EQ(PolyVal(123.0, 0, c0), 4.5);
    const double q[3] = {-0.6, 1.7, 1.0};  // (u - 0.3)(u + 2)
    EXPECT_NEAR(PolyVal(0.3, 2, q), 0.0, 1e-15);
    EXPECT_NEAR(PolyZero(0.5, 2, q), 0.3, 1e-8);  // stops at |P| <= 1e-8
    EXPECT_NEAR(PolyZero(-3.0, 2, q), -2.0, 1e-8);
    const double noRoot[3] = {1.0, 0.0, 1.0};  // u^2 + 1: must still return
    PolyZero(0.5, 2, noRoot);
    const double flat[2] = {1.0, 0.0};  // zero derivative: ends on NaN
    EXPECT_TRUE(std::isnan(PolyZero(0.0, 1, flat)) || std::isinf(PolyZero(0.0, 1, flat)));
}

TEST(BinCount, EdgesOfTheRange) {
    const float d[5] = {-0.01f, 0.0f, 0.05f, 0.95f, 1.0f};
    float centres[10], counts[10];
    BinCount(d, 5, 0.0f, 1.0f, 10, centres, counts);
    EXPECT_FLOAT_EQ(centres[0], 0.05f);
    EXPECT_FLOAT_EQ(centres[9], 0.95f);
    // 0 and 0.05 in the first bin, 0.95 and 1.0 in the last, -0.01 ignored.
    EXPECT_EQ(std::vector<float>(counts, counts + 10), (std::vector<float>{2, 0, 0, 0, 0, 0, 0, 0, 0, 2}));
}

TEST(FindBin, AscendingDescendingAndOutside) {
    const float t[4] = {0, 1, 2, 3}, d[5] = {10, 8, 6, 4, 2};
    struct Case {
        const float *table;
        int n;
        float v;
        int32_t bin;
    } cases[] = {{t, 4, 1.5f, 1}, {t, 4, 0, 0}, {t, 4, 3, 2}, {t, 4, 3.5f, -1}, {t, 4, -0.1f, -1}, {t, 4, std::nanf(""), -1},
                 {t, 2, 0.5f, 0}, {t, 1, 0, -1}, {d, 5, 7, 1}, {d, 5, 2, 3}, {d, 5, 10, 0}, {d, 5, 11, -1}};
    for (const Case &c : cases) EXPECT_EQ(FindBin(c.table, c.n, c.v), c.bin) << c.v << " in " << c.table[0] << "..";
    // Every value of a long table lands in the interval that holds it.
    std::vector<float> g(1000);
    for (int i = 0; i < 1000; ++i) g[i] = static_cast<float>(i * i) * 0.001f;
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> u(0.0f, g.back());
    for (int k = 0; k < 1000; ++k) {
        const float v = u(rng);
        const int i = FindBin(g.data(), 1000, v);
        ASSERT_GE(i, 0);
        EXPECT_TRUE(g[i] <= v && v <= g[i + 1]);
    }
}

TEST(Mimaex, SkipsMissingValues) {
    const float d[4] = {xmiss, 3.0f, -2.0f, xmiss};
    float lo, hi;
    mimaex(4, d, xmiss, &lo, &hi);
    EXPECT_EQ(lo, -2.0f);
    EXPECT_EQ(hi, 3.0f);
    const float m[2] = {xmiss, xmiss};
    mimaex(2, m, xmiss, &lo, &hi);
    EXPECT_EQ(lo, 1.0e10f);
    EXPECT_EQ(hi, -1.0e10f);
}

TEST(Indexx, SortsLikeTheStandardLibraryAndWritesOneEntryForEmptyInput) {
    std::mt19937 rng(9);
    std::uniform_int_distribution<int> u(0, 50);  // many ties
    for (int n : {2, 3, 17, 1000}) {
        std::vector<float> d(n);
        for (float &v : d) v = static_cast<float>(u(rng));
        std::vector<int32_t> ix(n);
        indexx(n, d.data(), ix.data());
        std::vector<int32_t> seen(ix);
        std::sort(seen.begin(), seen.end());
        for (int i = 0; i < n; ++i) ASSERT_EQ(seen[i], i);  // a permutation
        for (int i = 1; i < n; ++i) EXPECT_LE(d[ix[i - 1]], d[ix[i]]);
    }
    int32_t one = 42;
    indexx(0, nullptr, &one);
    EXPECT_EQ(one, 0);
}

TEST(AutoScale, DocumentedCases) {
    // start, end, first label, tick and label steps. The descending depth
    // axis 5500 .. 0: d = 5500, unit 1000, k = 5 -> L = 1000; 1.3 .. 2.9:
    // d = 1.6, unit 0.1, k = 16 -> L = 0.5, T = 0.25.
    const float cases[][7] = {{0, 100, 0, 100, 0, 10, 20},
                              {5, 5, 4, 6, 4, 0.1f, 0.5f},
                              {5500, 0, 5500, 0, 5000, -500, -1000},
                              {1.3f, 2.9f, 1.25f, 3, 1.5f, 0.25f, 0.5f}};
    for (const auto &c : cases) {
        float r[5];
        AutoScale(c[0], c[1], &r[0], &r[1], &r[2], &r[3], &r[4]);
        for (int k = 0; k < 5; ++k) EXPECT_EQ(r[k], c[2 + k]) << c[0] << ".." << c[1] << " output " << k;
    }
}

TEST(Nurbs, QuadraticCurveIsTheBernsteinForm) {
    // Three control points, degree 2: knots 0 0 0 1 1 1, the Bezier parabola.
    const float cx[3] = {0, 1, 3}, cy[3] = {0, 2, 0};
    float x[11], y[11];
    NURBSCurveEvalXYPoints(cx, cy, 3, 2, x, y, 11);
    for (int k = 0; k <= 10; ++k) {
        const double u = k / 10.0, a = (1 - u) * (1 - u), b = 2 * u * (1 - u), c = u * u;
        EXPECT_NEAR(x[k], a * cx[0] + b * cx[1] + c * cx[2], 1e-5);
        EXPECT_NEAR(y[k], a * cy[0] + b * cy[1] + c * cy[2], 1e-5);
    }
}

TEST(Nurbs, LinearCurveIsThePolylineAndBasisIsAPartitionOfUnity) {
    const float cx[4] = {0, 2, 2, 5}, cy[4] = {0, 0, 3, 3};
    float x[7], y[7];
    NURBSCurveEvalXYPoints(cx, cy, 4, 1, x, y, 7);  // knots 0 0 1/3 2/3 1 1
    EXPECT_NEAR(x[0], 0, 1e-6);
    EXPECT_NEAR(x[2], 2, 1e-5);  // u = 1/3: second control point
    EXPECT_NEAR(y[4], 3, 1e-5);  // u = 2/3: third
    EXPECT_NEAR(x[6], 5, 1e-5);
    EXPECT_NEAR(x[1], 1, 1e-5);  // halfway along the first leg
    // Cubic on 8 control points: basis sums to one everywhere.
    const float U[12] = {0, 0, 0, 0, 0.2f, 0.4f, 0.6f, 0.8f, 1, 1, 1, 1};
    for (float u = 0.0f; u <= 1.0f; u += 0.05f) {
        const int span = NURBSFindSpan(u, U, 7, 3);
        ASSERT_GE(span, 3);
        ASSERT_LE(span, 7);
        EXPECT_TRUE(U[span] <= u && (u < U[span + 1] || span == 7));
        float N[4];
        NURBSBasisFuns(u, U, N, span, 3);
        EXPECT_NEAR(N[0] + N[1] + N[2] + N[3], 1.0f, 1e-6);
    }
    EXPECT_EQ(NURBSFindSpan(1.0f, U, 7, 3), 7);
    EXPECT_EQ(NURBSFindSpan(-1.0f, U, 7, 3), 3);  // outside: an end span, no hang
    // Degree larger than the points allow is reduced.
    NURBSCurveEvalXYPoints(cx, cy, 2, 5, x, y, 3);
    EXPECT_NEAR(x[1], 1.0f, 1e-6);
}

TEST(Nurbs, WeightsPullTheCurve) {
    // A rational quadratic with middle weight 1/sqrt(2) traces a quarter circle.
    const float U[6] = {0, 0, 0, 1, 1, 1};
    const float P[6] = {1, 0, 1, 1, 0, 1};
    const float w[3] = {1, 0.70710678f, 1};
    for (float u = 0.0f; u <= 1.0f; u += 0.125f) {
        float pt[2];
        NURBSCurveEvalPoint(u, pt, U, P, w, 2, 2);
        EXPECT_NEAR(std::hypot(pt[0], pt[1]), 1.0, 1e-6);
    }
}

}  // namespace
