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

double maxAbsDiffFromIdentity(const Mat &a, const Mat &x, int n) {
    double worst = 0.0;
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            double s = 0.0;
            for (int k = 0; k < n; ++k) s += a[i * n + k] * x[k * n + j];
            worst = std::max(worst, std::fabs(s - (i == j ? 1.0 : 0.0)));
        }
    return worst;
}

template <class T> std::vector<T> as(const Mat &a) { return std::vector<T>(a.begin(), a.end()); }

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
                for (int k = 0; k <= j; ++k) {
                    const double lik = k == i ? p[i] : f[i * n + k];
                    const double ljk = k == j ? p[j] : f[j * n + k];
                    s += lik * ljk;
                }
                EXPECT_NEAR(s, a[i * n + j], 1e-12 * (1 + std::fabs(a[i * n + j])));
                EXPECT_EQ(f[j * n + i], a[j * n + i]);  // upper triangle kept
            }
        LAInvertCholDcmp(n, f.data(), p.data());
        EXPECT_LT(maxAbsDiffFromIdentity(a, f, n), 1e-10) << "n=" << n;
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j) EXPECT_EQ(f[i * n + j], f[j * n + i]);
    }
}

TEST(Cholesky, IllConditionedHilbertInverse) {
    const int n = 8;  // condition number about 1.5e10
    const Mat a = hilbert(n);
    Mat f = a, p(n);
    ASSERT_EQ(LACholeskyDcmp(n, f.data(), p.data()), 1);
    LAInvertCholDcmp(n, f.data(), p.data());
    // The exact inverse of the Hilbert matrix has integer entries; its
    // (0,0) entry is n^2 = 64 and its (n-1,n-1) entry is known.
    EXPECT_NEAR(f[0], 64.0, 1e-4);
    EXPECT_LT(maxAbsDiffFromIdentity(a, f, n), 1e-5);
}

TEST(Cholesky, FloatTwinMatchesDoubleToFloatPrecision) {
    std::mt19937 rng(11);
    const int n = 20;
    const Mat a = randomSpd(n, 1.0, rng);
    auto f = as<float>(a);
    std::vector<float> p(n);
    ASSERT_EQ(LACholeskyDcmpF(n, f.data(), p.data()), 1);
    LAInvertCholDcmpF(n, f.data(), p.data());
    const auto af = as<float>(a);
    EXPECT_LT(maxAbsDiffFromIdentity(Mat(af.begin(), af.end()), Mat(f.begin(), f.end()), n), 1e-4);
}

TEST(Cholesky, DocumentedEdges) {
    double a1[1] = {4.0}, p1[1];
    ASSERT_EQ(LACholeskyDcmp(1, a1, p1), 1);
    EXPECT_EQ(p1[0], 2.0);
    LAInvertCholDcmp(1, a1, p1);
    EXPECT_EQ(a1[0], 0.25);
    EXPECT_EQ(p1[0], 0.5);
    double zero[4] = {0, 1, 1, 2}, neg[4] = {-1, 0, 0, 1}, p[2];
    EXPECT_EQ(LACholeskyDcmp(2, zero, p), 0);
    EXPECT_EQ(LACholeskyDcmp(2, neg, p), 0);
    EXPECT_EQ(LACholeskyDcmp(0, nullptr, nullptr), 1);
    float nanm[1] = {std::nanf("")}, pf[1];
    EXPECT_EQ(LACholeskyDcmpF(1, nanm, pf), 0);
}

// P A = L U, rebuilt from the packed factor and the pivot record.
template <class T> void checkLu(const Mat &a, int n, double tol) {
    auto f = as<T>(a);
    std::vector<int32_t> indx(n);
    T d = 0;
    int32_t ok;
    if constexpr (std::is_same_v<T, double>) {
        ok = LALUDcmp(n, f.data(), indx.data(), &d);
    } else {
        ok = LALUDcmpF(n, f.data(), indx.data(), &d);
    }
    ASSERT_EQ(ok, 1);
    EXPECT_TRUE(d == 1 || d == -1);
    Mat pa = a;
    for (int j = 0; j < n; ++j)
        if (indx[j] != j)
            for (int k = 0; k < n; ++k) std::swap(pa[j * n + k], pa[indx[j] * n + k]);
    double scale = 0;
    for (double v : a) scale = std::max(scale, std::fabs(v));
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j) {
            double s = 0.0;
            for (int k = 0; k <= std::min(i, j); ++k) s += (k == i ? 1.0 : double(f[i * n + k])) * f[k * n + j];
            EXPECT_NEAR(s, pa[i * n + j], tol * scale);
        }
    // Solve against a known solution.
    std::vector<double> xs(n);
    for (int i = 0; i < n; ++i) xs[i] = 1.0 + 0.1 * i;
    std::vector<T> b(n);
    for (int i = 0; i < n; ++i) {
        double s = 0;
        for (int k = 0; k < n; ++k) s += a[i * n + k] * xs[k];
        b[i] = static_cast<T>(s);
    }
    if constexpr (std::is_same_v<T, double>) {
        LALUSolve(n, f.data(), indx.data(), b.data());
    } else {
        LALUSolveF(n, f.data(), indx.data(), b.data());
    }
    for (int i = 0; i < n; ++i) {
        double r = 0.0;
        for (int k = 0; k < n; ++k) r += a[i * n + k] * b[k];
        double s = 0;
        for (int k = 0; k < n; ++k) s += a[i * n + k] * xs[k];
        EXPECT_NEAR(r, s, 50 * tol * scale * n);
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

TEST(LU, ZeroRowIsRefusedAndLeavesTheMatrixUnchanged) {
    double a[9] = {1, 2, 3, 0, 0, 0, 4, 5, 7};
    const double before[9] = {1, 2, 3, 0, 0, 0, 4, 5, 7};
    int32_t indx[3];
    double d = 7;
    EXPECT_EQ(LALUDcmp(3, a, indx, &d), 0);
    for (int i = 0; i < 9; ++i) EXPECT_EQ(a[i], before[i]);
}

TEST(LU, TiesGoToTheLaterRowAndSingularMatricesGetATinyPivot) {
    // Rows scaled alike: equal figures of merit in column 0 -> row 1 wins.
    double a[4] = {1, -1, 1, 1};
    int32_t indx[2];
    double d;
    ASSERT_EQ(LALUDcmp(2, a, indx, &d), 1);
    EXPECT_EQ(indx[0], 1);
    EXPECT_EQ(d, -1.0);
    // Two equal rows: factorised with the tiny pivot in the last position.
    double s[4] = {1, 2, 1, 2};
    ASSERT_EQ(LALUDcmp(2, s, indx, &d), 1);
    EXPECT_EQ(s[3], 1.0e-20);
    float sf[4] = {1, 2, 1, 2}, df;
    ASSERT_EQ(LALUDcmpF(2, sf, indx, &df), 1);
    EXPECT_EQ(sf[3], 1.0e-20f);
}

TEST(LU, LeadingZerosOfTheRightHandSide) {
    const double a0[9] = {2, 1, 1, 1, 3, 2, 1, 0, 0};
    double a[9];
    std::copy(a0, a0 + 9, a);
    int32_t indx[3];
    double d;
    ASSERT_EQ(LALUDcmp(3, a, indx, &d), 1);
    double b[3] = {0, 0, 5};
    LALUSolve(3, a, indx, b);
    for (int i = 0; i < 3; ++i) {
        const double r = a0[i * 3] * b[0] + a0[i * 3 + 1] * b[1] + a0[i * 3 + 2] * b[2];
        EXPECT_NEAR(r, i == 2 ? 5.0 : 0.0, 1e-13);
    }
}

TEST(Products, MatchNaiveSumsAndFloatTwinAccumulatesInDouble) {
    const double A[6] = {1, 2, 3, 4, 5, 6};      // 2 x 3
    const double B[6] = {7, 8, 9, 10, 11, 12};   // 3 x 2
    double C[4];
    LAMMMultiply(2, 3, A, 2, B, C);
    EXPECT_EQ(C[0], 58);
    EXPECT_EQ(C[1], 64);
    EXPECT_EQ(C[2], 139);
    EXPECT_EQ(C[3], 154);
    const double x[3] = {1, 0, -1};
    double y[2];
    LAMVMultiply(2, 3, A, x, y);
    EXPECT_EQ(y[0], -2);
    EXPECT_EQ(y[1], -2);
    // 1e8 + 1 - 1e8: a float accumulator loses the 1, a double one keeps it.
    const float Af[3] = {1.0e8f, 1.0f, -1.0e8f}, xf[3] = {1, 1, 1};
    float yf[1];
    LAMVMultiplyF(1, 3, Af, xf, yf);
    EXPECT_EQ(yf[0], 1.0f);
    const float Bf[3] = {1, 1, 1};
    float Cf[1];
    LAMMMultiplyF(1, 3, Af, 1, Bf, Cf);
    EXPECT_EQ(Cf[0], 1.0f);
    LAMVMultiply(0, 3, A, x, nullptr);  // n < 1: nothing touched
}

}  // namespace
