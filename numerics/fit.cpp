// Fits, polynomial roots, histogram, table search, index sort, axis scaling.
//
// The fits solve their normal equations with the Cholesky routines of la.cpp
// (the matrix is symmetric positive definite whenever the fit is determined).
// The index sort is the heapsort of Press et al., Numerical Recipes, 2nd ed.,
// section 8.4, on one-based indices.
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#include "base/guard.h"
#include "kestrel/fit.h"
#include "kestrel/la.h"
#include "numerics/numerics.h"

namespace kestrel {
namespace {

// Horner evaluation of the derivative of P without forming its coefficients:
// the same operations as PolyVal on (k+1) c[k+1].
double derivVal(double u, int32_t m, const double *c) {
    if (m < 1) return 0.0;
    if (m == 1) return c[1];
    double s = 0.0;
    for (int32_t k = m - 1; k >= 1; --k) s = (s + (k + 1) * c[k + 1]) * u;
    return s + c[1];
}

double polyValMinus(double u, int32_t m, const double *c, double target) {
    return PolyVal(u, m, c) - target;
}

// Normal equations of a weighted polynomial fit, solved by Cholesky.
template <class X, class W>
bool polyFitImpl(int32_t n, const X *x, const X *y, W weight, int32_t m, double *coef) {
    if (m < 0) return false;
    const std::size_t dim = static_cast<std::size_t>(m) + 1;
    std::unique_ptr<double[]> a(new (std::nothrow) double[dim * dim]());
    std::unique_ptr<double[]> rhs(new (std::nothrow) double[dim]());
    std::unique_ptr<double[]> diag(new (std::nothrow) double[dim]());
    if (!a || !rhs || !diag) return false;
    for (int32_t i = 0; i < n; ++i) {
        const double w = weight(i);
        const double xi = x[i];
        double pj = 1.0;
        for (std::size_t j = 0; j < dim; ++j) {
            rhs[j] += pj * w * static_cast<double>(y[i]);
            double pk = pj;
            for (std::size_t k = j; k < dim; ++k) {
                a[j * dim + k] += pj * pk * w;  // x^j x^k w, upper triangle
                pk *= xi;
            }
            pj *= xi;
        }
    }
    const int32_t d = static_cast<int32_t>(dim);
    if (!LACholeskyDcmp(d, a.get(), diag.get())) return false;
    LAInvertCholDcmp(d, a.get(), diag.get());
    LAMVMultiply(d, d, a.get(), rhs.get(), coef);
    return true;
}

}  // namespace

bool polyFitD(int32_t n, const double *x, const double *y, int32_t m, double *coef) {
    return polyFitImpl(n, x, y, [](int32_t) { return 1.0; }, m, coef);
}

double polyRootBracketed(double u0, int32_t m, const double *coef, double target, double lo, double hi) {
    double u = u0;
    double f = polyValMinus(u, m, coef, target);
    for (int it = 0; it < kPolyZeroMaxIter && std::fabs(f) > 1.0e-8; ++it) {
        u -= f / derivVal(u, m, coef);
        f = polyValMinus(u, m, coef, target);
    }
    if (std::fabs(f) <= 1.0e-8 && u >= lo && u <= hi) return u;
    // Newton failed or left the bracket: bisect, keeping the sign change.
    double flo = polyValMinus(lo, m, coef, target);
    for (int it = 0; it < 200 && hi - lo > 0.0; ++it) {
        const double mid = 0.5 * (lo + hi);
        if (mid <= lo || mid >= hi) break;
        const double fm = polyValMinus(mid, m, coef, target);
        if (fm == 0.0) return mid;
        if ((fm < 0.0) == (flo < 0.0)) {
            lo = mid;
            flo = fm;
        } else {
            hi = mid;
        }
    }
    return 0.5 * (lo + hi);
}

}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL PolyFit(int32_t n, const float *x, const float *y, const float *sig, int32_t m,
                                         double *coef) {
    return kestrel::guarded<int32_t>("PolyFit", [&]() -> int32_t {
        if (n > 0 && (!x || !y || !sig)) return 0;
        if (!coef) return 0;
        auto weight = [sig](int32_t i) {
            const double s = sig[i];
            return 1.0 / (s * s);
        };
        return polyFitImpl(n, x, y, weight, m, coef) ? 1 : 0;
    });
}

KESTREL_API int32_t KESTREL_CALL PlaneFit(int32_t n, const float *x, const float *y, const float *z, float *a,
                                          float *b, float *c) {
    return kestrel::guarded<int32_t>("PlaneFit", [&]() -> int32_t {
        double sx = 0, sy = 0, sz = 0, sxx = 0, syy = 0, sxy = 0, sxz = 0, syz = 0;
        const double cnt = n > 0 ? n : 0;
        for (int32_t i = 0; i < n; ++i) {
            const double xi = x[i], yi = y[i], zi = z[i];
            sx += xi;
            sy += yi;
            sz += zi;
            sxx += xi * xi;
            syy += yi * yi;
            sxy += xi * yi;
            sxz += xi * zi;
            syz += yi * zi;
        }
        *a = 0.0f;
        *b = 0.0f;
        *c = static_cast<float>(sz / cnt);
        const double vx = (sxx - sx * sx / cnt) / (cnt - 1.0);
        const double vy = (syy - sy * sy / cnt) / (cnt - 1.0);
        double sol[3] = {0, 0, 0};
        if (vx < 1.0e-8 || vy < 1.0e-8) {
            const bool alongY = vx < 1.0e-8;  // x constant: z = b y + c
            double m2[4] = {alongY ? syy : sxx, alongY ? sy : sx, alongY ? sy : sx, cnt};
            double r2[2] = {alongY ? syz : sxz, sz};
            double p2[2];
            if (!LACholeskyDcmp(2, m2, p2)) return 0;
            LAInvertCholDcmp(2, m2, p2);
            LAMVMultiply(2, 2, m2, r2, sol);
            if (alongY) {
                *b = static_cast<float>(sol[0]);
            } else {
                *a = static_cast<float>(sol[0]);
            }
            *c = static_cast<float>(sol[1]);
            return 1;
        }
        if (!(vx == vx) || !(vy == vy)) return 0;  // fewer than two points
        double m3[9] = {sxx, sxy, sx, sxy, syy, sy, sx, sy, cnt};
        double r3[3] = {sxz, syz, sz};
        double p3[3];
        if (!LACholeskyDcmp(3, m3, p3)) return 0;
        LAInvertCholDcmp(3, m3, p3);
        LAMVMultiply(3, 3, m3, r3, sol);
        *a = static_cast<float>(sol[0]);
        *b = static_cast<float>(sol[1]);
        *c = static_cast<float>(sol[2]);
        return 1;
    });
}

KESTREL_API double KESTREL_CALL PolyVal(double u, int32_t m, const double *coef) {
    return kestrel::guarded<double>("PolyVal", [&]() -> double {
        if (m < 1) return coef[0];
        double s = 0.0;
        for (int32_t k = m; k >= 1; --k) s = (s + coef[k]) * u;
        return s + coef[0];
    });
}

KESTREL_API double KESTREL_CALL PolyZero(double u0, int32_t m, const double *coef) {
    return kestrel::guarded<double>("PolyZero", [&]() -> double {
        double u = u0;
        double f = PolyVal(u, m, coef);
        for (int it = 0; it < kPolyZeroMaxIter && std::fabs(f) > 1.0e-8; ++it) {
            u -= f / derivVal(u, m, coef);
            f = PolyVal(u, m, coef);
        }
        return u;
    });
}

KESTREL_API int32_t KESTREL_CALL BinCount(const float *data, int32_t n, float low, float high, int32_t k,
                                          float *centres, float *counts) {
    return kestrel::guarded<int32_t>("BinCount", [&]() -> int32_t {
        if (k < 1) return 0;
        const double span = static_cast<double>(high) - low;
        const double width = span / k;
        for (int32_t i = 0; i < k; ++i) {
            centres[i] = static_cast<float>(low + (i + 0.5) * width);
            counts[i] = 0.0f;
        }
        for (int32_t i = 0; i < n; ++i) {
            const double t = (data[i] - static_cast<double>(low)) / span;
            if (t >= 0.0 && t <= 1.0) {
                int32_t bin = static_cast<int32_t>(k * t);
                if (bin > k - 1) bin = k - 1;
                counts[bin] += 1.0f;
            }
        }
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL FindBin(const float *table, int32_t n, float value) {
    return kestrel::guarded<int32_t>("FindBin", [&]() -> int32_t {
        if (n < 2 || !table || value != value) return -1;
        const bool ascending = table[1] > table[0];
        const int32_t lo = ascending ? 0 : n - 1;  // index of the smaller end
        const int32_t hi = ascending ? n - 1 : 0;
        if (value < table[lo] || value > table[hi]) return -1;
        if (n == 2) return 0;
        int32_t il = 0, ih = n - 1;
        while (ih - il > 1) {
            const int32_t mid = il + (ih - il) / 2;
            const bool below = ascending ? value >= table[mid] : value <= table[mid];
            if (below) {
                il = mid;
            } else {
                ih = mid;
            }
        }
        return il;
    });
}

KESTREL_API void KESTREL_CALL mimaex(int32_t n, const float *data, float missing, float *minimum, float *maximum) {
    return kestrel::guarded<void>("mimaex", [&]() -> void {
        float lo = K_NO_DATA, hi = -K_NO_DATA;  // beyond any coordinate a fit sees
        for (int32_t i = 0; i < n; ++i) {
            const float v = data[i];
            if (!(v < missing) && !(v > missing)) continue;
            if (v < lo) lo = v;
            if (v > hi) hi = v;
        }
        *minimum = lo;
        *maximum = hi;
    });
}

KESTREL_API void KESTREL_CALL indexx(int32_t n, const float *data, int32_t *indx) {
    return kestrel::guarded<void>("indexx", [&]() -> void {
        if (n < 2) {
            indx[0] = 0;
            return;
        }
        // One-based heapsort on indices: ix[1..n], d[j] = data[j-1].
        int32_t *ix = indx - 1;
        auto d = [data](int32_t j) { return data[j - 1]; };
        for (int32_t j = 1; j <= n; ++j) ix[j] = j;
        int32_t l = (n >> 1) + 1, ir = n;
        for (;;) {
            int32_t t;
            float q;
            if (l > 1) {
                t = ix[--l];
                q = d(t);
            } else {
                t = ix[ir];
                q = d(t);
                ix[ir] = ix[1];
                if (--ir == 1) {
                    ix[1] = t;
                    break;
                }
            }
            int32_t i = l, j = l + l;
            while (j <= ir) {
                if (j < ir && d(ix[j]) < d(ix[j + 1])) ++j;
                if (q < d(ix[j])) {
                    ix[i] = ix[j];
                    i = j;
                    j <<= 1;
                } else {
                    break;
                }
            }
            ix[i] = t;
        }
        for (int32_t j = 0; j < n; ++j) --indx[j];
    });
}

KESTREL_API void KESTREL_CALL AutoScale(float minimum, float maximum, float *start, float *end, float *first,
                                        float *tic, float *ltic) {
    return kestrel::guarded<void>("AutoScale", [&]() -> void {
        const double a = minimum, b = maximum;
        if (minimum == maximum || !(a == a) || !(b == b) || std::isinf(a) || std::isinf(b)) {
            *start = static_cast<float>(a - 1.0);
            *end = static_cast<float>(a + 1.0);
            *first = *start;
            *tic = 0.1f;
            *ltic = 0.5f;
            return;
        }
        const double d = std::fabs(static_cast<double>(static_cast<float>(a - b)));
        const double e = std::floor(std::log10(d) - 0.5);
        const double unit = std::pow(10.0, e);
        const double k = std::trunc(d / unit);
        double L;
        if (k < 3) {
            L = 0.5 * unit;
        } else if (k < 7) {
            L = unit;
        } else if (k <= 12) {
            L = 2.0 * unit;
        } else {
            L = 5.0 * unit;
        }
        double T = L / 2.0;
        if (b > a) {
            *start = static_cast<float>(std::floor(a / T) * T);
            *end = static_cast<float>(std::ceil(b / T) * T);
            *first = static_cast<float>(std::ceil(a / L) * L);
        } else {
            *start = static_cast<float>(std::ceil(a / T) * T);
            *end = static_cast<float>(std::floor(b / T) * T);
            *first = static_cast<float>(std::floor(a / L) * L);
            T = -T;
            L = -L;
        }
        *tic = static_cast<float>(T);
        *ltic = static_cast<float>(L);
    });
}

}  // extern "C"
