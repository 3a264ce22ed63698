// NURBS curves: span search, basis functions and rational curve points, in
// float, after Piegl and Tiller, The NURBS Book (2nd ed., 1997), algorithms
// A2.1 (FindSpan), A2.2 (BasisFuns) and A4.1 (CurvePoint, homogeneous form).
//
// Notation: n + 1 control points P[0..n] with weights w, degree p, knot
// vector U[0..n+p+1]. The basis work arrays are fixed at kMaxDegree + 1
// entries, so the degree is limited to 9.
#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>

#include "base/guard.h"
#include "kestrel/fit.h"

namespace kestrel {
namespace {

constexpr int32_t kMaxDegree = 9;

}  // namespace
}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL NURBSFindSpan(float u, const float *knots, int32_t n, int32_t p) {
    return kestrel::guarded<int32_t>("NURBSFindSpan", [&]() -> int32_t {
        if (u == knots[n + 1] || u > knots[n + 1]) return n;
        // Below the first span (or NaN): the first span. Without this the
        // bisection would never find a bracket.
        if (!(u >= knots[p])) return p;
        int32_t low = p, high = n + 1;
        int32_t mid = (low + high) / 2;
        while (u < knots[mid] || u >= knots[mid + 1]) {
            if (u < knots[mid]) {
                high = mid;
            } else {
                low = mid;
            }
            const int32_t next = (low + high) / 2;
            if (next == mid) break;  // repeated knots at the ends: no progress
            mid = next;
        }
        return mid;
    });
}

KESTREL_API void KESTREL_CALL NURBSBasisFuns(float u, const float *knots, float *basis, int32_t span, int32_t p) {
    return kestrel::guarded<void>("NURBSBasisFuns", [&]() -> void {
        if (p < 0) return;
        if (p > kMaxDegree) p = kMaxDegree;
        float left[kMaxDegree + 1], right[kMaxDegree + 1];
        basis[0] = 1.0f;
        for (int32_t j = 1; j <= p; ++j) {
            left[j] = u - knots[span + 1 - j];
            right[j] = knots[span + j] - u;
            float saved = 0.0f;
            for (int32_t r = 0; r < j; ++r) {
                const float temp = basis[r] / (right[r + 1] + left[j - r]);
                basis[r] = saved + right[r + 1] * temp;
                saved = left[j - r] * temp;
            }
            basis[j] = saved;
        }
    });
}

KESTREL_API void KESTREL_CALL NURBSCurveEvalPoint(float u, float *point, const float *knots, const float *ctrl,
                                                  const float *w, int32_t n, int32_t p) {
    return kestrel::guarded<void>("NURBSCurveEvalPoint", [&]() -> void {
        if (p < 0) p = 0;
        if (p > kMaxDegree) p = kMaxDegree;
        float basis[kMaxDegree + 1];
        const int32_t span = NURBSFindSpan(u, knots, n, p);
        NURBSBasisFuns(u, knots, basis, span, p);
        float cx = 0.0f, cy = 0.0f, cw = 0.0f;
        for (int32_t j = 0; j <= p; ++j) {
            const int32_t k = span - p + j;
            const float nw = basis[j] * w[k];
            cx += nw * ctrl[2 * k];
            cy += nw * ctrl[2 * k + 1];
            cw += nw;
        }
        point[0] = cx / cw;
        point[1] = cy / cw;
    });
}

KESTREL_API void KESTREL_CALL NURBSCurveEvalXYPoints(const float *cx, const float *cy, int32_t N, int32_t p,
                                                     float *x, float *y, int32_t M) {
    return kestrel::guarded<void>("NURBSCurveEvalXYPoints", [&]() -> void {
        if (N < 1 || M < 1) return;
        p = std::max<int32_t>(0, std::min<int32_t>(p, std::min<int32_t>(N - 1, kMaxDegree)));
        const std::size_t nKnots = static_cast<std::size_t>(N) + static_cast<std::size_t>(p) + 1;
        std::unique_ptr<float[]> knots(new (std::nothrow) float[nKnots]);
        std::unique_ptr<float[]> ctrl(new (std::nothrow) float[2 * static_cast<std::size_t>(N)]);
        std::unique_ptr<float[]> w(new (std::nothrow) float[static_cast<std::size_t>(N)]);
        if (!knots || !ctrl || !w) return;
        // Clamped uniform knots: p+1 zeros, interior steps 1/(N-p) by repeated
        // addition, p+1 ones.
        std::size_t k = 0;
        for (int32_t i = 0; i <= p; ++i) knots[k++] = 0.0f;
        const float step = 1.0f / static_cast<float>(N - p);
        float u = 0.0f;
        for (int32_t i = 0; i < N - p - 1; ++i) {
            u += step;
            knots[k++] = u;
        }
        for (int32_t i = 0; i <= p; ++i) knots[k++] = 1.0f;
        for (int32_t i = 0; i < N; ++i) {
            ctrl[2 * static_cast<std::size_t>(i)] = cx[i];
            ctrl[2 * static_cast<std::size_t>(i) + 1] = cy[i];
            w[static_cast<std::size_t>(i)] = 1.0f;
        }
        const float du = M > 1 ? static_cast<float>(1.0 / (M - 1)) : 0.0f;
        for (int32_t i = 0; i < M; ++i) {
            float pt[2];
            NURBSCurveEvalPoint(static_cast<float>(i) * du, pt, knots.get(), ctrl.get(), w.get(), N - 1, p);
            x[i] = pt[0];
            y[i] = pt[1];
        }
    });
}

}  // extern "C"
