// Gridding a whole field: the sequence every user of an analysis set goes
// through (the command's sections, the Python binding, the benchmarks),
// kept here once. C++ only; the host does the same through the exported
// OA* calls.
#ifndef KESTREL_GRID_FIELD_H
#define KESTREL_GRID_FIELD_H

#include <cstddef>
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
// The same with a scale length of its own for each axis (percent of each
// axis range at its densest node).
void placeGrid(OASet &set, float xmin, float xmax, float ymin, float ymax, float percentX, float percentY);

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

// The casts of a section: samples that share an x (within 1e-4 of the x
// range) form one, its samples spread down y.
struct Casts {
    std::vector<float> x;        // the casts' positions, rising
    std::vector<float> deepest;  // each cast's largest y
    std::vector<float> gapX;     // distances between neighbouring casts
    std::vector<float> gapY;     // distances between neighbouring samples of a cast
    std::vector<float> gapMidY;  // where along y each of those lies
    size_t samples = 0;
    // Casts in earnest: three or more, averaging three samples or more each.
    bool isCasts() const { return x.size() >= 3 && x.size() * 3 <= samples; }
    // The deepest sample at position x, linearly between the neighbouring casts.
    float floorAt(float x) const;
};
Casts findCasts(const float *x, const float *y, int32_t n, float xmin, float xmax);

// Scale lengths that follow the sampling, as percents of the axis ranges
// (what placeGrid takes): along x one and a half times the median distance
// between neighbouring casts, along y the median distance between
// neighbouring samples of a cast in the tenth of the range where they lie
// most densely. Both within 0.2..10 %; 3 % when the samples are not casts.
void samplingPercents(const Casts &casts, float xmin, float xmax, float ymin, float ymax, float *percentX,
                      float *percentY);

}  // namespace kestrel

#endif
