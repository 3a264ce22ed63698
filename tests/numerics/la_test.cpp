// Linear algebra against independent truth: the factors must rebuild the
// matrix, the inverse must give the identity, LU solutions must leave small
// residuals, in both precisions, on well- and ill-conditioned matrices.
#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "kestrel/la.h"

namespace {

using Mat = std::vector<double>;

// A random symmetric positive-definite matrix B B^T + shift I.
Mat randomSpd(int n, double shift, std::mt19937 &rng) {
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Mat b(n * n), a(n * n, 0.0);
    for (double &v : b) v = u(rng);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            for (int k = 0; k < n; ++k) a[i * n + j] += b[i * n + k] * b[j * n + k];
            if (i == j) a[i * n + j] += shift;
        }
    return a;
}

Mat hilbert(int n) {
    Mat a(n * n);
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) a[i * n + j] = 1.0 / (i + j + 1);
    return a;
}

// max |A X - I|
template <class T> double offIdentity(const Mat &a, const std::vector<T> &x, int n) {
    double worst = 0.0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            double s = 0.0;
            for (int k = 0; k < n; ++k) s += a[i * n + k] * x[k * n + j];
            worst = std::max(worst, std::fabs(s - (i == j ? 1.0 : 0.0)));
        }
    return worst;
}

TEST(Cholesky, FactorRebuildsMatrixAndInverseGivesIdentity) {
    std::mt19937 rng(7);
    for (int n : {1, 2, 5, 12, 30}) {
        const Mat a = randomSpd(n, 0.5, rng);
        Mat f = a, p(n);
        ASSERT_EQ(LACholeskyDcmp(n, f.data(), p.data()), 1);
        // L L^T = A, with the diagonal in p and the upper triangle untouched.
        for (int i = 0; i < n; ++i)
            for (int j = 0; j <= i; ++j) {
                double s = 0.0;
                for (int k = 0; k <= j; ++k) s += (k == i ? p[i] : f[i * n + k]) * (k == j ? p[j] : f[j * n + k]);
                EXPECT_NEAR(s, a[i * n + j], 1e-12 * (1 + std::fabs(a[i * n + j])));
                EXPECT_EQ(f[j * n + i], a[j * n + i]);
            }
        LAInvertCholDcmp(n, f.data(), p.data());
        EXPECT_LT(offIdentity(a, f, n), 1e-10) << "n=" << n;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) EXPECT_EQ(f[i * n + j], f[j * n + i]);
    }
    // Ill-conditioned (about 1.5e10): the exact inverse of the Hilbert
    // matrix has integer entries, its (0,0) entry n^2 = 64.
    const Mat h = hilbert(8);
    Mat f = h, p(8);
    ASSERT_EQ(LACholeskyDcmp(8, f.data(), p.data()), 1);
    LAInvertCholDcmp(8, f.data(), p.data());
    EXPECT_NEAR(f[0], 64.0, 1e-4);
    EXPECT_LT(offIdentity(h, f, 8), 1e-5);
    // The float twin to float precision.
    const Mat a = randomSpd(20, 1.0, rng);
    const std::vector<float> af(a.begin(), a.end());
    std::vector<float> ff = af, pf(20);
    ASSERT_EQ(LACholeskyDcmpF(20, ff.data(), pf.data()), 1);
    LAInvertCholDcmpF(20, ff.data(), pf.data());
    EXPECT_LT(offIdentity(Mat(af.begin(), af.end()), ff, 20), 1e-4);
}

TEST(Cholesky, DocumentedEdges) {
    double a1[1] = {4.0}, p1[1];
    ASSERT_EQ(LACholeskyDcmp(1, a1, p1), 1);
    EXPECT_EQ(p1[0], 2.0);
    LAInvertCholDcmp(1, a1, p1);
    EXPECT_TRUE(a1[0] == 0.25 && p1[0] == 0.5);
    double zero[4] = {0, 1, 1, 2}, neg[4] = {-1, 0, 0, 1}, p[2];
    EXPECT_EQ(LACholeskyDcmp(2, zero, p), 0);
    EXPECT_EQ(LACholeskyDcmp(2, neg, p), 0);
    EXPECT_EQ(LACholeskyDcmp(0, nullptr, nullptr), 1);
    float nanm[1] = {std::nanf("")}, pf[1];
    EXPECT_EQ(LACholeskyDcmpF(1, nanm, pf), 0);
}

// P A = L U, rebuilt from the packed factor and the pivot record, and a
// solution against a known one leaves a small residual.
template <class T> void checkLu(const Mat &a, int n, double tol) {
    std::vector<T> f(a.begin(), a.end()), b(n);
    std::vector<int32_t> indx(n);
    T d = 0;
    constexpr bool dbl = std::is_same_v<T, double>;
    if constexpr (dbl) {
        ASSERT_EQ(LALUDcmp(n, f.data(), indx.data(), &d), 1);
    } else {
        ASSERT_EQ(LALUDcmpF(n, f.data(), indx.data(), &d), 1);
    }
    EXPECT_TRUE(d == 1 || d == -1);
    Mat pa = a;
    for (int j = 0; j < n; ++j)
        for (int k = 0; k < n && indx[j] != j; ++k) std::swap(pa[j * n + k], pa[indx[j] * n + k]);
    double scale = 0;
    for (double v : a) scale = std::max(scale, std::fabs(v));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            double s = 0.0;
            for (int k = 0; k <= std::min(i, j); ++k) s += (k == i ? 1.0 : double(f[i * n + k])) * f[k * n + j];
            EXPECT_NEAR(s, pa[i * n + j], tol * scale);
        }
    std::vector<double> rhs(n, 0.0);
    for (int i = 0; i < n; ++i) {
        for (int k = 0; k < n; ++k) rhs[i] += a[i * n + k] * (1.0 + 0.1 * k);
        b[i] = static_cast<T>(rhs[i]);
    }
    if constexpr (dbl) {
        LALUSolve(n, f.data(), indx.data(), b.data());
    } else {
        LALUSolveF(n, f.data(), indx.data(), b.data());
    }
    for (int i = 0; i < n; ++i) {
        double r = 0.0;
        for (int k = 0; k < n; ++k) r += a[i * n + k] * b[k];
        EXPECT_NEAR(r, rhs[i], 50 * tol * scale * n);
    }
}

TEST(LU, RandomMatricesBothPrecisions) {
    std::mt19937 rng(3);
    std::uniform_real_distribution<double> u(-10.0, 10.0);
    for (int n : {1, 3, 8, 25}) {
        Mat a(n * n);
        for (double &v : a) v = u(rng);
        checkLu<double>(a, n, 1e-13);
        checkLu<float>(a, n, 1e-5);
    }
    checkLu<double>(hilbert(10), 10, 1e-14);
}

TEST(LU, DocumentedEdges) {
    // A zero row is refused and leaves the matrix unchanged.
    double z[9] = {1, 2, 3, 0, 0, 0, 4, 5, 7};
    const Mat before(z, z + 9);
    int32_t indx[3];
    double d = 7;
    EXPECT_EQ(LALUDcmp(3, z, indx, &d), 0);
    EXPECT_EQ(Mat(z, z + 9), before);
    // Rows scaled alike: equal figures of merit in column 0 -> row 1 wins.
    double a[4] = {1, -1, 1, 1};
    ASSERT_EQ(LALUDcmp(2, a, indx, &d), 1);
    EXPECT_TRUE(indx[0] == 1 && d == -1.0);
    // Two equal rows: factorised with the tiny pivot in the last position.
    double s[4] = {1, 2, 1, 2};
    ASSERT_EQ(LALUDcmp(2, s, indx, &d), 1);
    EXPECT_EQ(s[3], 1.0e-20);
    float sf[4] = {1, 2, 1, 2}, df;
    ASSERT_EQ(LALUDcmpF(2, sf, indx, &df), 1);
    EXPECT_EQ(sf[3], 1.0e-20f);
    // Leading zeros of the right-hand side are skipped without harm.
    const double a0[9] = {2, 1, 1, 1, 3, 2, 1, 0, 0};
    double m[9], b[3] = {0, 0, 5};
    std::copy(a0, a0 + 9, m);
    ASSERT_EQ(LALUDcmp(3, m, indx, &d), 1);
    LALUSolve(3, m, indx, b);
    for (int i = 0; i < 3; ++i)
        EXPECT_NEAR(a0[i * 3] * b[0] + a0[i * 3 + 1] * b[1] + a0[i * 3 + 2] * b[2], i == 2 ? 5.0 : 0.0, 1e-13);
}

TEST(Products, MatchHandSumsAndFloatTwinAccumulatesInDouble) {
    const double A[6] = {1, 2, 3, 4, 5, 6}, B[6] = {7, 8, 9, 10, 11, 12}, x[3] = {1, 0, -1};  // 2x3, 3x2
    double C[4], y[2];
    LAMMMultiply(2, 3, A, 2, B, C);
    EXPECT_EQ(Mat(C, C + 4), (Mat{58, 64, 139, 154}));
    LAMVMultiply(2, 3, A, x, y);
    EXPECT_EQ(Mat(y, y + 2), (Mat{-2, -2}));
    // 1e8 + 1 - 1e8: a float accumulator loses the 1, a double one keeps it.
    const float Af[3] = {1.0e8f, 1.0f, -1.0e8f}, ones[3] = {1, 1, 1};
    float yf[1], Cf[1];
    LAMVMultiplyF(1, 3, Af, ones, yf);
    LAMMMultiplyF(1, 3, Af, 1, ones, Cf);
    EXPECT_TRUE(yf[0] == 1.0f && Cf[0] == 1.0f);
    LAMVMultiply(0, 3, A, x, nullptr);  // n < 1: nothing touched
}

}  // namespace
