// The averaging estimator and the objective analysis.
//
// Averaging (OAEstimateValueT): at a transformed position, a weighted mean of
// the points in the cells around it. The weight of a point at normalised
// squared distance q = (ax dx)^2 + (ay dy)^2 is exp(-q), read by linear
// interpolation from the 101-entry table ExpValue (q in steps of 0.1 up to
// 10), divided by the point's own error. Up to three passes, each doubling
// the reach, until the weights add up to 0.1 with at least two points.
//
// Cell walk: the sort leaves the points of one cell row (fixed y cell)
// ordered by x cell, so the cells ix0..ix1 of a row are one contiguous index
// range, cellFirst[ix0][iy] .. cellLast[ix1][iy]. The estimator walks that
// range as one loop; the points and their order are those of the cell-by-cell
// walk, so the sums are identical.
//
// Objective analysis (Gandin's optimal interpolation with a Gaussian
// covariance in the transformed coordinates): the averaging estimate at
// twice the scale length is the background; the correction is
// sigma * sum_i c_i alpha_i with alpha = M^-1 r / sigma, M the covariance
// matrix of the points plus a value-dependent noise on its diagonal and r the
// residuals against the background; the error is sigma sqrt(1 - c' M^-1 c).
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>

#include "base/guard.h"
#include "grid/oa_internal.h"
#include "kestrel/la.h"
#include "kestrel/oa.h"

namespace kestrel {
namespace {

// Indices of the nonzero covariances of the current estimate, and those
// covariances packed in the same order: the error quadratic form skips exact
// zeros (covariances that underflowed), which changes no sum.
int32_t gNonzero[OA_MAX_OBJECTIVE_POINTS];
float gNonzeroCov[OA_MAX_OBJECTIVE_POINTS];

// exp(-z) rounds to a float zero once it is below 2^-150 (half the smallest
// subnormal), i.e. for z > 150 ln 2 = 103.97: beyond this the exponential
// need not be evaluated, the covariance is exactly 0.
constexpr double kCovarianceUnderflow = 104.0;

// The squared normalised distance of OACovariance, computed the same way.
inline double covarianceExponent(float x1, float x2, float y1, float y2, float Lx, float Ly) {
    const double dx = (static_cast<double>(x1) - x2) / Lx;
    const double dy = (static_cast<double>(y1) - y2) / Ly;
    return dx * dx + dy * dy;
}

// c' M c over the nonzero covariances, each row sum in index order. Four
// rows run side by side: four independent additions hide the latency of
// one, and every row's sum still adds its terms in the same order, so the
// result does not change.
double quadraticForm(const float *matrix, std::size_t n, int32_t nz) {
    const int32_t *idx = gNonzero;
    const float *c = gNonzeroCov;
    double q = 0.0;
    int32_t ii = 0;
    for (; ii + 4 <= nz; ii += 4) {
        const float *r0 = matrix + static_cast<std::size_t>(idx[ii]) * n;
        const float *r1 = matrix + static_cast<std::size_t>(idx[ii + 1]) * n;
        const float *r2 = matrix + static_cast<std::size_t>(idx[ii + 2]) * n;
        const float *r3 = matrix + static_cast<std::size_t>(idx[ii + 3]) * n;
        double t0 = 0.0, t1 = 0.0, t2 = 0.0, t3 = 0.0;
        for (int32_t jj = 0; jj < nz; ++jj) {
            const int32_t j = idx[jj];
            const double cj = c[jj];
            t0 += static_cast<double>(r0[j]) * cj;
            t1 += static_cast<double>(r1[j]) * cj;
            t2 += static_cast<double>(r2[j]) * cj;
            t3 += static_cast<double>(r3[j]) * cj;
        }
        q += c[ii] * t0;
        q += c[ii + 1] * t1;
        q += c[ii + 2] * t2;
        q += c[ii + 3] * t3;
    }
    for (; ii < nz; ++ii) {
        const float *row = matrix + static_cast<std::size_t>(idx[ii]) * n;
        double t = 0.0;
        for (int32_t jj = 0; jj < nz; ++jj) t += static_cast<double>(row[idx[jj]]) * c[jj];
        q += c[ii] * t;
    }
    return q;
}

struct CellRange {
    int32_t first, last;  // inclusive; first > last: empty
};

// Cells touched by [c - h, c + h] along one axis, as the documented rule
// computes them (truncation toward zero, ends clamped), limited to the table.
CellRange cellRange(float c, float h, float origin, float width, float widthInv) {
    const float hs = std::copysign(h, width);
    int32_t lo = truncIndex((static_cast<double>(c) - hs - origin) * widthInv);
    int32_t hi = truncIndex((static_cast<double>(c) + hs - origin) * widthInv);
    if (lo < 0) lo = 0;
    if (hi > OA_NCELL - 1) hi = OA_NCELL - 1;
    CellRange r{lo < hi ? lo : hi, lo < hi ? hi : lo};
    if (r.first < 0) r.first = 0;
    if (r.last > OA_NCELL - 1) r.last = OA_NCELL - 1;
    return r;
}

}  // namespace

double estimateT(float x, float y, float fx, float fy, float *spread, float *meanSqDist, int32_t *nUsed,
                 const OASet &s) {
    float ax = 2.0f * s.xlenMaxInv / fx;
    float ay = 2.0f * s.ylenMaxInv / fy;
    *nUsed = 0;
    *spread = K_NO_DATA;
    *meanSqDist = K_NO_DATA;
    const int32_t n = oaPointCount(s);
    if (n < 1 || !s.xt || !s.yt || !s.val || !s.errInv || !s.err || !s.use) return 0.0;
    const float *xt = s.xt, *yt = s.yt, *val = s.val, *errInv = s.errInv, *err = s.err;
    const uint8_t *use = s.use;
    const float rx = s.xlenMaxInv, ry = s.ylenMaxInv;
    Sums sum{};
    for (int pass = 0; pass < 3; ++pass) {
        sum = Sums{};
        const CellRange cx = cellRange(x, 3.0f / ax, s.cellX0, s.cellDx, s.cellDxInv);
        const CellRange cy = cellRange(y, 3.0f / ay, s.cellY0, s.cellDy, s.cellDyInv);
        for (int32_t iy = cy.first; iy <= cy.last; ++iy) {
            int32_t lo = s.cellFirst[cx.first][iy];
            int32_t hi = s.cellLast[cx.last][iy];
            if (lo < 0) lo = 0;
            if (hi > n - 1) hi = n - 1;
            for (int32_t i = lo; i <= hi; ++i) {
                if (!use[i]) continue;
                const float dx = std::fabs(x - xt[i]);
                const float dy = std::fabs(y - yt[i]);
                const float qx = ax * dx, qy = ay * dy;
                const float q = qx * qx + qy * qy;
                if (!(q < 10.0f)) continue;
                const float t = 10.0f * q;
                const int k = static_cast<int>(t);
                const float f = t - static_cast<float>(k);
                const double g = ExpValue[k] * (1.0f - f) + ExpValue[k + 1] * f;
                const double gw = errInv[i] * g;
                const double v = val[i];
                const float ex = rx * dx, ey = ry * dy;
                sum.g += g;
                sum.gw += gw;
                sum.vgw += v * gw;
                sum.d2 += ex * ex + ey * ey;
                sum.v += v;
                sum.v2 += v * v;
                sum.e += err[i];
                ++sum.count;
            }
        }
        ax *= 0.5f;
        ay *= 0.5f;
        if (sum.g >= 0.1 && sum.count >= 2) break;
    }
    if (sum.count == 0) return 0.0;
    averageStatistics(sum, spread, meanSqDist, nUsed);
    return sum.vgw / sum.gw;
}

}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API double KESTREL_CALL OACovariance(float x1, float x2, float y1, float y2, float c0, float Lx, float Ly) {
    return kestrel::guarded<double>("OACovariance", [&]() -> double {
        return c0 * std::exp(-covarianceExponent(x1, x2, y1, y2, Lx, Ly));
    });
}

KESTREL_API double KESTREL_CALL OAEstimateValueT(float x, float y, float fx, float fy, float *spread,
                                                 float *meanSqDist, int32_t *nUsed, OASet *set) {
    return kestrel::guarded<double>("OAEstimateValueT", [&]() -> double {
        float sp, md;
        int32_t nu;
        if (!set) {
            if (spread) *spread = K_NO_DATA;
            if (meanSqDist) *meanSqDist = K_NO_DATA;
            if (nUsed) *nUsed = 0;
            return 0.0;
        }
        const double v = estimateT(x, y, fx, fy, &sp, &md, &nu, *set);
        if (spread) *spread = sp;
        if (meanSqDist) *meanSqDist = md;
        if (nUsed) *nUsed = nu;
        return v;
    });
}

KESTREL_API double KESTREL_CALL OAEstimateValue(float x, float y, float fx, float fy, float *spread,
                                                float *meanSqDist, int32_t *nUsed, OASet *set) {
    return kestrel::guarded<double>("OAEstimateValue", [&]() -> double {
        if (!set) return OAEstimateValueT(x, y, fx, fy, spread, meanSqDist, nUsed, set);
        const float xt = static_cast<float>(OATransformCoord(x, set->nx, set->xg, set->xgt, set->xlen, set->xlenMax));
        const float yt = static_cast<float>(OATransformCoord(y, set->ny, set->yg, set->ygt, set->ylen, set->ylenMax));
        return OAEstimateValueT(xt, yt, fx, fy, spread, meanSqDist, nUsed, set);
    });
}

KESTREL_API int32_t KESTREL_CALL OAObjectASetup(OASet *set, int32_t /*reserved*/, float *matrix, float *alpha,
                                                float *sigma) {
    return kestrel::guarded<int32_t>("OAObjectASetup", [&]() -> int32_t {
        if (!set || !matrix || !alpha || !sigma) return 0;
        const int32_t n = oaPointCount(*set);
        if (n < 2 || n > OA_MAX_OBJECTIVE_POINTS || !set->xt || !set->yt || !set->val) return 0;
        const std::size_t cn = static_cast<std::size_t>(n);
        std::unique_ptr<float[]> r(new (std::nothrow) float[cn]);
        std::unique_ptr<float[]> diag(new (std::nothrow) float[cn]);
        if (!r || !diag) return 0;
        // Residuals against the background (averaging at twice the scale).
        double sr = 0.0, sr2 = 0.0;
        for (std::size_t i = 0; i < cn; ++i) {
            float sp, md;
            int32_t nu;
            r[i] = static_cast<float>(set->val[i] - estimateT(set->xt[i], set->yt[i], 2.0f, 2.0f, &sp, &md, &nu, *set));
            sr += r[i];
            sr2 += static_cast<double>(r[i]) * r[i];
        }
        // Background error; the plus sign is how the host's fields were always
        // computed (it is not the sample variance).
        const double mean = sr / n;
        const double sig = std::sqrt((n * mean * mean + sr2) / (n - 1));
        *sigma = static_cast<float>(sig);
        if (!(sig > 0.0) || std::isinf(sig)) return 0;
        const double s = 1.0 / static_cast<double>(*sigma);
        for (std::size_t i = 0; i < cn; ++i)
            for (std::size_t j = 0; j < cn; ++j)
                matrix[i * cn + j] = static_cast<float>(OACovariance(set->xt[i], set->xt[j], set->yt[i], set->yt[j],
                                                                     1.0f, set->xlenMax, set->ylenMax));
        // Noise on the diagonal, growing with the value above 13.
        for (std::size_t i = 0; i < cn; ++i) {
            float e = static_cast<float>((set->val[i] - 13.0) * 0.1);
            if (!(e > 0.02f)) e = 0.02f;
            gOAScratch[i] = e;
            matrix[i * cn + i] = static_cast<float>(matrix[i * cn + i] + e * s);
        }
        if (!LACholeskyDcmpF(n, matrix, diag.get())) return 0;
        LAInvertCholDcmpF(n, matrix, diag.get());
        for (std::size_t i = 0; i < cn; ++i) {
            double a = 0.0;
            const float *row = matrix + i * cn;
            for (std::size_t j = 0; j < cn; ++j) a += static_cast<double>(row[j]) * r[j];
            alpha[i] = static_cast<float>(s * a);
        }
        return 1;
    });
}

KESTREL_API float KESTREL_CALL OAObjectAEstimateT(float x, float y, float fx, float fy, float *error,
                                                  float *meanSqDist, OASet *set, const float *matrix,
                                                  const float *alpha, float sigma, int32_t wantError) {
    return kestrel::guarded<float>("OAObjectAEstimateT", [&]() -> float {
        float sp = K_NO_DATA, md = K_NO_DATA;
        int32_t nu = 0;
        if (!set) {
            if (error) *error = sigma;
            if (meanSqDist) *meanSqDist = md;
            return 0.0f;
        }
        // A set larger than the scratch cannot have been set up: only the
        // background is given, with the background error.
        int32_t n = oaPointCount(*set);
        if (n > OA_MAX_OBJECTIVE_POINTS || n < 0 || !matrix || !alpha || !set->xt || !set->yt) n = 0;
        const float Lx = fx * set->xlenMax, Ly = fy * set->ylenMax;
        double a = 0.0;
        int32_t nz = 0;
        const float *xt = set->xt, *yt = set->yt;
        for (int32_t i = 0; i < n; ++i) {
            // OACovariance with c0 = 1, the exponential only where it can be
            // nonzero in float.
            const double z = covarianceExponent(x, xt[i], y, yt[i], Lx, Ly);
            const float c = z > kCovarianceUnderflow ? 0.0f : static_cast<float>(std::exp(-z));
            gOAScratch[i] = c;
            a += static_cast<double>(c) * alpha[i];
            if (c != 0.0f) {
                gNonzeroCov[nz] = c;
                gNonzero[nz++] = i;
            }
        }
        const double b = estimateT(x, y, 2.0f, 2.0f, &sp, &md, &nu, *set);
        const float estimate = static_cast<float>(b + a * sigma);
        estimateT(x, y, 1.0f, 1.0f, &sp, &md, &nu, *set);
        if (meanSqDist) *meanSqDist = md;
        if (!wantError) {
            if (error) *error = sp;
            return estimate;
        }
        float err;
        if (n == 0) {
            err = sigma;
        } else {
            const double e = 1.0 - quadraticForm(matrix, static_cast<std::size_t>(n), nz);
            err = e > 0.0 ? static_cast<float>(std::sqrt(e) * sigma) : 1.0f;
        }
        if (error) *error = err;
        return estimate;
    });
}

}  // extern "C"
