// Density-adapted grid lines, the scale transformation, packing and the cell
// sort.
//
// Scale lengths vary along each axis: short where data are dense, long where
// they are sparse. Rather than carry a variable scale length into every
// distance, each axis is stretched once so that one reference length R (the
// largest scale length) holds everywhere: on the interval [g(k-1), g(k)] the
// transformed coordinate advances by (g(k) - g(k-1)) R / L(k-1).
//
// The grid lines come from a cubic fitted to a ten-bin histogram of the data
// (the density P), floored at 5 % of the fullest bin and limited to a dynamic
// range of 6; the lines are equally spaced in the cumulative density.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "base/guard.h"
#include "grid/oa_internal.h"
#include "kestrel/fit.h"
#include "kestrel/oa.h"
#include "numerics/numerics.h"

namespace kestrel {

void transformAxis(int32_t m, const float *g, float *t, const float *len, float *refOut, float *refInvOut) {
    float lo, hi;
    mimaex(m, len, xmiss, &lo, &hi);
    const float R = hi;
    *refOut = R;
    *refInvOut = 1.0f / R;
    if (m < 1) return;
    t[0] = 0.0f;
    for (int32_t k = 1; k < m; ++k)
        t[k] = static_cast<float>(t[k - 1] + (static_cast<double>(g[k]) - g[k - 1]) * R / len[k - 1]);
}

namespace {

double interpolate(double c, const float *g, const float *t, int32_t a, int32_t b) {
    const double w = static_cast<double>(g[b]) - g[a];
    if (w == 0.0) return t[a];
    return t[a] + (c - g[a]) * (static_cast<double>(t[b]) - t[a]) / w;
}

}  // namespace
}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API double KESTREL_CALL OASetupAxisGrid(const float *coord, int32_t n, float axisMin, float axisMax,
                                                float percent, float *grid, float *len, int32_t m) {
    return kestrel::guarded<double>("OASetupAxisGrid", [&]() -> double {
        if (m < 1) return 0.0;
        const double a = axisMin, b = axisMax, span = b - a;
        // Histogram of the normalised coordinates, ten bins over [0, 1].
        double centre[10], count[10] = {0};
        for (int i = 0; i < 10; ++i) centre[i] = static_cast<float>((i + 0.5) * 0.1);
        for (int32_t i = 0; i < n; ++i) {
            const double u = static_cast<float>((coord[i] - a) / span);
            if (u >= 0.0 && u <= 1.0) count[std::min(static_cast<int>(10.0 * u), 9)] += 1.0;
        }
        const double K = *std::max_element(count, count + 10);
        // Density: a least-squares cubic; a uniform one when no datum lies on
        // the axis.
        double c[4] = {1.0, 0.0, 0.0, 0.0};
        if (K > 0.0 && !polyFitD(10, centre, count, 3, c)) {
            c[0] = 1.0;
            c[1] = c[2] = c[3] = 0.0;
        }
        double pmin = HUGE_VAL, pmax = -HUGE_VAL;
        for (int i = 0; i <= 12; ++i) {
            const double p = PolyVal(-0.1 + 0.1 * i, 3, c);
            pmin = std::min(pmin, p);
            pmax = std::max(pmax, p);
        }
        // Floor: the minimum becomes 5 % of the fullest bin.
        const double floorGap = pmin - 0.05 * K;
        if (floorGap < 0.0) {
            c[0] -= floorGap;
            pmin -= floorGap;
            pmax -= floorGap;
        }
        // Dynamic range limited to 6.
        if (pmin > 0.0 && pmax / pmin >= 6.0) {
            const double f = 5.0 * pmin / (pmax - pmin);
            c[0] = (1.0 - f) * pmin + f * c[0];
            c[1] *= f;
            c[2] *= f;
            c[3] *= f;
        }
        // Cumulative density I(u), scaled so that I(1) = m - 1.
        double I[5] = {0.0, c[0], c[1] / 2.0, c[2] / 3.0, c[3] / 4.0};
        const double I1 = PolyVal(1.0, 4, I);
        const double s = (m > 1 && I1 != 0.0) ? (m - 1) / I1 : 0.0;
        for (double &v : I) v *= s;
        // Node positions: I(u_j) = j. I is increasing (P > 0 on [0, 1]), so each
        // root is bracketed by the previous node and 1.
        std::vector<double> node(static_cast<std::size_t>(m), 0.0);
        node[static_cast<std::size_t>(m - 1)] = 1.0;
        double pnode = std::max(PolyVal(0.0, 3, c), PolyVal(1.0, 3, c));
        for (int32_t j = 1; j < m - 1; ++j) {
            const double prev = node[static_cast<std::size_t>(j - 1)];
            const double u = polyRootBracketed(prev, 4, I, static_cast<double>(j), prev, 1.0);
            pnode = std::max(pnode, PolyVal(u, 3, c));
            node[static_cast<std::size_t>(j)] = u;
        }
        if (m == 1) node[0] = 0.0;
        const float L0 = static_cast<float>(std::fabs(span) * percent * pnode * 0.01);
        float lmax = 0.0f;
        for (int32_t k = 0; k < m; ++k) {
            const double u = node[static_cast<std::size_t>(k)];
            const double p = PolyVal(u, 3, c);
            len[k] = static_cast<float>(L0 / p);
            grid[k] = static_cast<float>(u * span + a);
            lmax = std::max(lmax, len[k]);
        }
        return lmax;
    });
}

KESTREL_API double KESTREL_CALL OATransformCoord(float c, int32_t m, const float *grid, const float *gridT,
                                                 const float *len, float ref) {
    return kestrel::guarded<double>("OATransformCoord", [&]() -> double {
        if (m < 1 || !grid || !gridT || !len) return c;
        // A coordinate that is not a number has no place on the axis; it stays
        // NaN, which every cell test rejects.
        if (c != c) return c;
        const double R = ref;
        const int32_t last = m - 1;
        if (last == 0) return gridT[0] + (c - static_cast<double>(grid[0])) * R / len[0];
        // The searches below assume a monotonic axis; a NaN or disordered line
        // can leave them at either end, so the interval is clamped to the axis.
        if (grid[last] >= grid[0]) {
            if (c < grid[0]) return gridT[0] + (c - static_cast<double>(grid[0])) * R / len[0];
            if (c >= grid[last]) return gridT[last] + (c - static_cast<double>(grid[last])) * R / len[last];
            // First line at or above c (the lines ascend): found by bisection,
            // the same line a walk up from the first one would reach.
            int32_t k = static_cast<int32_t>(std::lower_bound(grid + 1, grid + last, c) - grid);
            k = std::min(std::max(k, 1), last);
            return interpolate(c, grid, gridT, k - 1, k);
        }
        if (c < grid[last]) return gridT[last] + (c - static_cast<double>(grid[last])) * R / len[last];
        if (c >= grid[0]) return gridT[0] + (c - static_cast<double>(grid[0])) * R / len[0];
        // Descending: the last line (walking down from m-2) still at or above c.
        const float *end = grid + last;  // lines 0 .. m-2
        int32_t k = static_cast<int32_t>(std::partition_point(grid, end, [c](float g) { return g >= c; }) - grid) - 1;
        k = std::min(std::max(k, 0), last - 1);
        return interpolate(c, grid, gridT, k, k + 1);
    });
}

KESTREL_API void KESTREL_CALL OAScaleTransformation(OASet *set) {
    return kestrel::guarded<void>("OAScaleTransformation", [&]() -> void {
        if (!set || oaPointCount(*set) < 0) return;
        StatusText status("Scale-Transforming ...");
        if (set->nx >= 1 && set->xg && set->xgt && set->xlen)
            transformAxis(set->nx, set->xg, set->xgt, set->xlen, &set->xlenMax, &set->xlenMaxInv);
        if (set->ny >= 1 && set->yg && set->ygt && set->ylen)
            transformAxis(set->ny, set->yg, set->ygt, set->ylen, &set->ylenMax, &set->ylenMaxInv);
        if (!set->x || !set->xt || !set->y || !set->yt) return;
        for (int32_t i = 0; i < set->nPoints; ++i) {
            set->xt[i] = static_cast<float>(
                OATransformCoord(set->x[i], set->nx, set->xg, set->xgt, set->xlen, set->xlenMax));
            set->yt[i] = static_cast<float>(
                OATransformCoord(set->y[i], set->ny, set->yg, set->ygt, set->ylen, set->ylenMax));
        }
    });
}

KESTREL_API int32_t KESTREL_CALL OAPackData(OASet *set) {
    return kestrel::guarded<int32_t>("OAPackData", [&]() -> int32_t {
        if (!set || set->nPoints > set->capacity) return 0;
        if (set->nPoints < 1) {
            set->nPoints = 0;
            return 0;
        }
        if (!set->use || !set->val || !set->x || !set->y || !set->err || !set->errInv) return 0;
        const int32_t n = set->nPoints;
        int32_t kept = 0;
        for (int32_t i = 0; i < n; ++i) {
            if (!set->use[i] || isMissing(set->val[i])) continue;
            set->x[kept] = set->x[i];
            set->y[kept] = set->y[i];
            set->val[kept] = set->val[i];
            set->err[kept] = set->err[i];
            set->errInv[kept] = set->errInv[i];
            set->use[kept] = set->use[i];
            ++kept;
        }
        set->nPoints = kept;
        return n - kept;
    });
}

KESTREL_API void KESTREL_CALL OASortDataPoints(OASet *set) {
    return kestrel::guarded<void>("OASortDataPoints", [&]() -> void {
        if (!set || oaPointCount(*set) < 0) return;
        StatusText status("Sorting OA data ...");
        const int32_t n = set->nPoints;
        const std::size_t cn = static_cast<std::size_t>(n) + 1;
        // Cell of every point (-1: outside), and the count per cell.
        std::unique_ptr<int16_t[]> cell(new (std::nothrow) int16_t[2 * cn]);
        std::unique_ptr<float[]> tmp(new (std::nothrow) float[7 * cn]);
        std::unique_ptr<uint8_t[]> tmpUse(new (std::nothrow) uint8_t[cn]);
        if (!cell || !tmp || !tmpUse) return;
        if (n > 0 && (!set->x || !set->xt || !set->y || !set->yt || !set->val || !set->err || !set->errInv || !set->use))
            return;
        int32_t count[OA_NCELL][OA_NCELL] = {};
        int32_t inCells = 0;
        for (int32_t i = 0; i < n; ++i) {
            const int32_t ix = floorIndex((static_cast<double>(set->xt[i]) - set->cellX0) * set->cellDxInv);
            const int32_t iy = floorIndex((static_cast<double>(set->yt[i]) - set->cellY0) * set->cellDyInv);
            const bool inside = ix >= 0 && ix < OA_NCELL && iy >= 0 && iy < OA_NCELL;
            cell[2 * static_cast<std::size_t>(i)] = static_cast<int16_t>(inside ? ix : -1);
            cell[2 * static_cast<std::size_t>(i) + 1] = static_cast<int16_t>(inside ? iy : -1);
            if (inside) {
                ++count[ix][iy];
                ++inCells;
            }
        }
        set->nInCells = inCells;
        set->nPoints = inCells;
        int32_t start = 0;
        for (int32_t iy = 0; iy < OA_NCELL; ++iy)
            for (int32_t ix = 0; ix < OA_NCELL; ++ix) {
                set->cellFirst[ix][iy] = start;
                set->cellLast[ix][iy] = start - 1;
                start += count[ix][iy];
            }
        float *const arrays[7] = {set->x, set->xt, set->y, set->yt, set->val, set->err, set->errInv};
        for (int32_t i = 0; i < n; ++i) {
            const int16_t ix = cell[2 * static_cast<std::size_t>(i)];
            if (ix < 0) continue;
            const int16_t iy = cell[2 * static_cast<std::size_t>(i) + 1];
            const std::size_t slot = static_cast<std::size_t>(++set->cellLast[ix][iy]);
            for (int a = 0; a < 7; ++a) tmp[static_cast<std::size_t>(a) * cn + slot] = arrays[a][i];
            tmpUse[slot] = set->use[i];
        }
        for (int a = 0; a < 7; ++a)
            std::memcpy(arrays[a], &tmp[static_cast<std::size_t>(a) * cn], static_cast<std::size_t>(inCells) * sizeof(float));
        if (inCells > 0) std::memcpy(set->use, tmpUse.get(), static_cast<std::size_t>(inCells));
    });
}

}  // extern "C"
