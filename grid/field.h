// Gridding a whole field: the sequence every user of an analysis set goes
// through (the command's sections, the Python binding, the benchmarks),
// kept here once. C++ only; the host does the same through the exported
// OA* calls.
#ifndef KESTREL_GRID_FIELD_H
#define KESTREL_GRID_FIELD_H

#include <cstdint>
#include <vector>

#include "kestrel/oa.h"

namespace kestrel {

// Copies n samples into a set allocated for at least n points; err may be
// null (every error 1).
void setPoints(OASet &set, const float *x, const float *y, const float *value, const float *err, int32_t n);

// Places the grid lines by the data density over [xmin, xmax] and [ymin,
// ymax] (scale length `percent` of the axis at the densest node),
// transforms, spreads the search cells over the grid and sorts the points
// into them: the set is ready for the estimators.
void placeGrid(OASet &set, float xmin, float xmax, float ymin, float ymax, float percent);

// The averaging estimator at every node (row after row, x fastest). Where
// no datum is in reach the estimate is fill and spread and distance are
// K_NO_DATA. With objective set, nodes with data are estimated by the
// objective analysis over the averaging one (OAObjectASetup's weights).
struct NodeEstimates {
    std::vector<float> estimate, spread, meanSqDist;
    std::vector<int32_t> used;  // data points within reach
};
struct ObjectiveWeights {
    const float *matrix;
    const float *alpha;
    float sigma;
};
void estimateNodes(OASet &set, float factor, float fill, const ObjectiveWeights *objective, NodeEstimates *out);

}  // namespace kestrel

#endif
