// Gridding scattered samples onto a grid whose lines follow the data
// density, as the command grids a section: shared by the Python module and
// the benchmark that measures the module's overhead against plain C++.
#ifndef KESTREL_PYTHON_GRID_POINTS_H
#define KESTREL_PYTHON_GRID_POINTS_H

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <vector>

#include "kestrel/kestrel.h"

namespace kestrel::python {

// An analysis set that frees its arrays however the call ends.
struct SetGuard {
    OASet set;
    SetGuard() { OAInitializeSet(&set); }
    ~SetGuard() { OAFreeSet(&set); }
    SetGuard(const SetGuard &) = delete;
    SetGuard &operator=(const SetGuard &) = delete;
};

struct GridResult {
    std::vector<float> estimate, spread, distance, xg, yg, xlen, ylen;
    int32_t nx = 0, ny = 0;
};

// Grids n points onto nx x ny nodes whose lines follow the data density,
// as the command does for a section: scale lengths `percent` of the axis
// at the densest node, the averaging estimator (or, with objective set,
// the objective analysis over it) at every node. Nodes with no data in
// reach get NaN.
inline GridResult gridPoints(const float *x, const float *y, const float *v, const float *err, int32_t n, int32_t nx,
                      int32_t ny, const float range[4], float percent, float factor, bool objective) {
    SetGuard g;
    OASet &s = g.set;
    // OAAllocSet sizes the grid from the page; ask for exactly nx x ny.
    const float savedPix = VX.pixPerLength;
    VX.pixPerLength = 35.0f;
    const float width = 1.0e4f, height = width * (static_cast<float>(ny) + 0.5f) / static_cast<float>(nx);
    const int32_t ok = OAAllocSet(&s, width, height, nx, n);
    VX.pixPerLength = savedPix;
    if (!ok || s.nx != nx || s.ny != ny) throw std::runtime_error("cannot allocate the analysis set");
    for (int32_t k = 0; k < n; ++k) {
        s.x[k] = x[k];
        s.y[k] = y[k];
        s.val[k] = v[k];
        s.err[k] = err ? err[k] : 1.0f;
        s.errInv[k] = 1.0f / s.err[k];
        s.use[k] = 1;
    }
    s.nPoints = n;
    OASetupAxisGrid(s.x, n, range[0], range[1], percent, s.xg, s.xlen, s.nx);
    OASetupAxisGrid(s.y, n, range[2], range[3], percent, s.yg, s.ylen, s.ny);
    OAScaleTransformation(&s);
    s.nCellX = s.nCellY = OA_NCELL;
    s.cellX0 = s.xgt[0] - std::copysign(1.0e-6f, s.xgt[s.nx - 1] - s.xgt[0]);
    s.cellY0 = s.ygt[0] - std::copysign(1.0e-6f, s.ygt[s.ny - 1] - s.ygt[0]);
    s.cellDx = (s.xgt[s.nx - 1] - s.xgt[0]) / (OA_NCELL - 1);
    s.cellDy = (s.ygt[s.ny - 1] - s.ygt[0]) / (OA_NCELL - 1);
    s.cellDxInv = 1.0f / s.cellDx;
    s.cellDyInv = 1.0f / s.cellDy;
    OASortDataPoints(&s);

    std::vector<float> matrix, alpha;
    float sigma = 0;
    if (objective) {
        const size_t m = static_cast<size_t>(s.nPoints);
        matrix.resize(m * m);
        alpha.resize(m);
        if (!OAObjectASetup(&s, 0, matrix.data(), alpha.data(), &sigma))
            throw std::runtime_error("the objective analysis cannot be set up for these points "
                                     "(fewer than 2 in the grid, more than 1500, or a covariance "
                                     "matrix that is not positive definite)");
    }
    GridResult r;
    r.nx = nx;
    r.ny = ny;
    const size_t nodes = static_cast<size_t>(nx) * static_cast<size_t>(ny);
    r.estimate.resize(nodes);
    r.spread.resize(nodes);
    r.distance.resize(nodes);
    const float nan = std::nanf("");
    for (int32_t j = 0; j < ny; ++j)
        for (int32_t i = 0; i < nx; ++i) {
            float spread = 0, msd = 0;
            int32_t used = 0;
            double e = OAEstimateValueT(s.xgt[i], s.ygt[j], factor, factor, &spread, &msd, &used, &s);
            if (objective && used > 0)
                e = OAObjectAEstimateT(s.xgt[i], s.ygt[j], factor, factor, &spread, &msd, &s, matrix.data(),
                                       alpha.data(), sigma, 1);
            const size_t k = static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i);
            r.estimate[k] = used > 0 ? static_cast<float>(e) : nan;
            r.spread[k] = used > 0 ? spread : nan;
            r.distance[k] = used > 0 ? std::sqrt(msd) : nan;
        }
    r.xg.assign(s.xg, s.xg + nx);
    r.yg.assign(s.yg, s.yg + ny);
    r.xlen.assign(s.xlen, s.xlen + nx);
    r.ylen.assign(s.ylen, s.ylen + ny);
    return r;
}

}  // namespace kestrel::python

#endif
