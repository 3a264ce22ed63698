// Dense linear algebra on caller-owned row-major arrays.
//
// Notation: n x m matrix a, element (i, j) at a[i*m + j]. Every routine is a
// template over the storage type T (double, or float for the F twins); all
// arithmetic is carried in double (Acc) and rounded to T only where a value is
// stored, so a float matrix loses precision once per stored element rather
// than once per operation.
//
// Sources: Cholesky decomposition and inversion from the factor follow the
// classical row-oriented scheme (Press et al., Numerical Recipes, 2nd ed.,
// section 2.9); the LU decomposition is Crout's method with partial pivoting
// and implicit row scaling (ibid., section 2.3), with ties in the pivot
// search going to the later row.
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>

#include "base/guard.h"
#include "kestrel/la.h"

namespace kestrel {
namespace {

using Acc = double;

template <class T> constexpr T tinyPivot();
template <> constexpr double tinyPivot<double>() { return 1.0e-20; }
template <> constexpr float tinyPivot<float>() { return 1.0e-20f; }

inline std::size_t at(int32_t i, int32_t j, int32_t cols) {
    return static_cast<std::size_t>(i) * static_cast<std::size_t>(cols) + static_cast<std::size_t>(j);
}

template <class T> int32_t choleskyDcmp(int32_t n, T *a, T *p) {
    for (int32_t i = 0; i < n; ++i) {
        for (int32_t j = i; j < n; ++j) {
            Acc s = a[at(i, j, n)];
            for (int32_t k = i - 1; k >= 0; --k) s -= static_cast<Acc>(a[at(i, k, n)]) * a[at(j, k, n)];
            if (j == i) {
                if (!(s > 0.0)) return 0;  // also refuses a NaN pivot
                p[i] = static_cast<T>(std::sqrt(s));
            } else {
                a[at(j, i, n)] = static_cast<T>(s / p[i]);
            }
        }
    }
    return 1;
}

template <class T> void invertCholDcmp(int32_t n, T *a, T *p) {
    for (int32_t i = 0; i < n; ++i) p[i] = static_cast<T>(1.0 / static_cast<Acc>(p[i]));
    for (int32_t i = n - 1; i >= 0; --i) {
        // Diagonal: X(i,i) = p(i) (p(i) - sum_{k>i} X(i,k) L(k,i)).
        Acc s = p[i];
        for (int32_t k = i + 1; k < n; ++k) s -= static_cast<Acc>(a[at(i, k, n)]) * a[at(k, i, n)];
        a[at(i, i, n)] = static_cast<T>(static_cast<Acc>(p[i]) * s);
        // Above it, upward: X(j,i) = -p(j) (sum_{k>i} X(i,k) L(k,j) + sum_{j<k<=i} L(k,j) X(k,i)).
        for (int32_t j = i - 1; j >= 0; --j) {
            Acc t = 0.0;
            for (int32_t k = i + 1; k < n; ++k) t += static_cast<Acc>(a[at(i, k, n)]) * a[at(k, j, n)];
            for (int32_t k = j + 1; k <= i; ++k) t += static_cast<Acc>(a[at(k, j, n)]) * a[at(k, i, n)];
            a[at(j, i, n)] = static_cast<T>(-static_cast<Acc>(p[j]) * t);
        }
    }
    for (int32_t i = 0; i < n; ++i)
        for (int32_t k = i + 1; k < n; ++k) a[at(k, i, n)] = a[at(i, k, n)];
}

template <class T> int32_t luDcmp(int32_t n, T *a, int32_t *indx, T *d) {
    if (n < 1) {
        *d = static_cast<T>(1);
        return 1;
    }
    std::unique_ptr<T[]> scale(new (std::nothrow) T[static_cast<std::size_t>(n)]);
    if (!scale) return 0;
    // Scaling pass first, so that a zero row is refused before anything changes.
    for (int32_t i = 0; i < n; ++i) {
        Acc big = 0.0;
        for (int32_t j = 0; j < n; ++j) {
            const Acc v = std::fabs(static_cast<Acc>(a[at(i, j, n)]));
            if (v > big) big = v;
        }
        if (big == 0.0) return 0;
        scale[static_cast<std::size_t>(i)] = static_cast<T>(1.0 / big);
    }
    *d = static_cast<T>(1);
    for (int32_t j = 0; j < n; ++j) {
        for (int32_t i = 0; i < j; ++i) {
            Acc s = a[at(i, j, n)];
            for (int32_t k = 0; k < i; ++k) s -= static_cast<Acc>(a[at(i, k, n)]) * a[at(k, j, n)];
            a[at(i, j, n)] = static_cast<T>(s);
        }
        Acc big = -1.0;
        int32_t imax = j;
        for (int32_t i = j; i < n; ++i) {
            Acc s = a[at(i, j, n)];
            for (int32_t k = 0; k < j; ++k) s -= static_cast<Acc>(a[at(i, k, n)]) * a[at(k, j, n)];
            a[at(i, j, n)] = static_cast<T>(s);
            const Acc merit = static_cast<Acc>(scale[static_cast<std::size_t>(i)]) *
                              std::fabs(static_cast<Acc>(a[at(i, j, n)]));
            if (merit >= big) {  // ties: the later row wins
                big = merit;
                imax = i;
            }
        }
        if (imax != j) {
            for (int32_t k = 0; k < n; ++k) {
                const T t = a[at(imax, k, n)];
                a[at(imax, k, n)] = a[at(j, k, n)];
                a[at(j, k, n)] = t;
            }
            *d = static_cast<T>(-*d);
            scale[static_cast<std::size_t>(imax)] = scale[static_cast<std::size_t>(j)];
        }
        indx[j] = imax;
        if (a[at(j, j, n)] == static_cast<T>(0)) a[at(j, j, n)] = tinyPivot<T>();
        if (j != n - 1) {
            const Acc inv = 1.0 / static_cast<Acc>(a[at(j, j, n)]);
            for (int32_t i = j + 1; i < n; ++i) a[at(i, j, n)] = static_cast<T>(a[at(i, j, n)] * inv);
        }
    }
    return 1;
}

template <class T> void luSolve(int32_t n, const T *a, const int32_t *indx, T *b) {
    int32_t first = -1;  // first position with a nonzero right-hand side
    for (int32_t i = 0; i < n; ++i) {
        const int32_t r = indx[i];
        if (r < 0 || r >= n) continue;  // not a pivot record of this size
        Acc s = b[r];
        b[r] = b[i];
        if (first >= 0) {
            for (int32_t k = first; k < i; ++k) s -= static_cast<Acc>(a[at(i, k, n)]) * b[k];
        } else if (s != 0.0) {
            first = i;
        }
        b[i] = static_cast<T>(s);
    }
    for (int32_t i = n - 1; i >= 0; --i) {
        Acc s = b[i];
        for (int32_t k = i + 1; k < n; ++k) s -= static_cast<Acc>(a[at(i, k, n)]) * b[k];
        b[i] = static_cast<T>(s / static_cast<Acc>(a[at(i, i, n)]));
    }
}

template <class T> void mmMultiply(int32_t n, int32_t m, const T *A, int32_t p, const T *B, T *C) {
    for (int32_t i = 0; i < n; ++i)
        for (int32_t j = 0; j < p; ++j) {
            Acc s = 0.0;
            for (int32_t k = 0; k < m; ++k) s += static_cast<Acc>(A[at(i, k, m)]) * B[at(k, j, p)];
            C[at(i, j, p)] = static_cast<T>(s);
        }
}

template <class T> void mvMultiply(int32_t n, int32_t m, const T *A, const T *x, T *y) {
    for (int32_t i = 0; i < n; ++i) {
        Acc s = 0.0;
        for (int32_t j = 0; j < m; ++j) s += static_cast<Acc>(A[at(i, j, m)]) * x[j];
        y[i] = static_cast<T>(s);
    }
}

}  // namespace
}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL LACholeskyDcmp(int32_t n, double *a, double *p) {
    return kestrel::guarded<int32_t>("LACholeskyDcmp", [&]() -> int32_t { return choleskyDcmp(n, a, p); });
}
KESTREL_API int32_t KESTREL_CALL LACholeskyDcmpF(int32_t n, float *a, float *p) {
    return kestrel::guarded<int32_t>("LACholeskyDcmpF", [&]() -> int32_t { return choleskyDcmp(n, a, p); });
}
KESTREL_API void KESTREL_CALL LAInvertCholDcmp(int32_t n, double *a, double *p) {
    return kestrel::guarded<void>("LAInvertCholDcmp", [&]() -> void { invertCholDcmp(n, a, p); });
}
KESTREL_API void KESTREL_CALL LAInvertCholDcmpF(int32_t n, float *a, float *p) {
    return kestrel::guarded<void>("LAInvertCholDcmpF", [&]() -> void { invertCholDcmp(n, a, p); });
}

KESTREL_API int32_t KESTREL_CALL LALUDcmp(int32_t n, double *a, int32_t *indx, double *d) {
    return kestrel::guarded<int32_t>("LALUDcmp", [&]() -> int32_t {
        return luDcmp(n, a, indx, d);
    });
}
KESTREL_API int32_t KESTREL_CALL LALUDcmpF(int32_t n, float *a, int32_t *indx, float *d) {
    return kestrel::guarded<int32_t>("LALUDcmpF", [&]() -> int32_t {
        return luDcmp(n, a, indx, d);
    });
}
KESTREL_API int32_t KESTREL_CALL LALUSolve(int32_t n, const double *a, const int32_t *indx, double *b) {
    return kestrel::guarded<int32_t>("LALUSolve", [&]() -> int32_t {
        luSolve(n, a, indx, b);
        return 0;
    });
}
KESTREL_API int32_t KESTREL_CALL LALUSolveF(int32_t n, const float *a, const int32_t *indx, float *b) {
    return kestrel::guarded<int32_t>("LALUSolveF", [&]() -> int32_t {
        luSolve(n, a, indx, b);
        return 0;
    });
}
KESTREL_API void KESTREL_CALL LAMMMultiply(int32_t n, int32_t m, const double *A, int32_t p, const double *B,
                                           double *C) {
    return kestrel::guarded<void>("LAMMMultiply", [&]() -> void {
        mmMultiply(n, m, A, p, B, C);
    });
}
KESTREL_API void KESTREL_CALL LAMMMultiplyF(int32_t n, int32_t m, const float *A, int32_t p, const float *B,
                                            float *C) {
    return kestrel::guarded<void>("LAMMMultiplyF", [&]() -> void {
        mmMultiply(n, m, A, p, B, C);
    });
}
KESTREL_API void KESTREL_CALL LAMVMultiply(int32_t n, int32_t m, const double *A, const double *x, double *y) {
    return kestrel::guarded<void>("LAMVMultiply", [&]() -> void {
        mvMultiply(n, m, A, x, y);
    });
}
KESTREL_API void KESTREL_CALL LAMVMultiplyF(int32_t n, int32_t m, const float *A, const float *x, float *y) {
    return kestrel::guarded<void>("LAMVMultiplyF", [&]() -> void {
        mvMultiply(n, m, A, x, y);
    });
}

}  // extern "C"
