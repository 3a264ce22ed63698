// Gridding scattered samples onto a grid whose lines follow the data
// density, as the command grids a section: shared by the Python module and
// the benchmark that measures the module's overhead against plain C++.
#ifndef KESTREL_PYTHON_GRID_POINTS_H
#define KESTREL_PYTHON_GRID_POINTS_H

#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <utility>
#include <vector>

#include "grid/field.h"
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
    setPoints(s, x, y, v, err, n);
    placeGrid(s, range[0], range[1], range[2], range[3], percent);

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
    const float nan = std::nanf("");
    NodeEstimates nodes;
    const ObjectiveWeights weights{matrix.data(), alpha.data(), sigma};
    estimateNodes(s, factor, nan, objective ? &weights : nullptr, &nodes);
    r.estimate = std::move(nodes.estimate);
    r.spread = std::move(nodes.spread);
    r.distance = std::move(nodes.meanSqDist);
    for (size_t k = 0; k < r.distance.size(); ++k) {
        // Nodes with no data in reach are NaN throughout.
        if (nodes.used[k] > 0) {
            r.distance[k] = std::sqrt(r.distance[k]);
        } else {
            r.spread[k] = nan;
            r.distance[k] = nan;
        }
    }
    r.xg.assign(s.xg, s.xg + nx);
    r.yg.assign(s.yg, s.yg + ny);
    r.xlen.assign(s.xlen, s.xlen + nx);
    r.ylen.assign(s.ylen, s.ylen + ny);
    return r;
}

}  // namespace kestrel::python

#endif
