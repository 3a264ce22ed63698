// Internal helpers of the objective-analysis code.
#ifndef KESTREL_GRID_OA_INTERNAL_H
#define KESTREL_GRID_OA_INTERNAL_H

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kestrel/frame.h"
#include "kestrel/globals.h"
#include "frame/status_text.h"
#include "kestrel/oa.h"

namespace kestrel {

// The library-wide objective-analysis scratch: the setup keeps the noise
// values in it, the estimate the covariances to the estimation point. The
// second array is the companion used by curve drawing.
extern float gOAScratch[OA_MAX_OBJECTIVE_POINTS];
extern float gOAScratch2[OA_MAX_OBJECTIVE_POINTS];

// Truncation toward zero into [-2^30, 2^30]; NaN gives 0. The callers clamp
// to the cell table afterwards, so a coordinate far outside cannot wrap into
// it.
inline int32_t truncIndex(double v) {
    if (!(v == v)) return 0;
    if (v > 1073741824.0) return 1073741824;
    if (v < -1073741824.0) return -1073741824;
    return static_cast<int32_t>(v);
}
inline int32_t floorIndex(double v) {
    if (!(v == v)) return -1;  // lies outside every cell
    return truncIndex(std::floor(v));
}

// Stretches one axis of m grid lines g with scale lengths len into t (t[0]
// = 0, each interval scaled by R / its left line's length) and stores the
// reference length R (the largest length that is not missing) and 1/R.
void transformAxis(int32_t m, const float *g, float *t, const float *len, float *refOut, float *refInvOut);

// The number of points a routine may index: nPoints when it lies within
// [0, capacity], otherwise -1 and the routine takes its failure path. The
// host writes the counts of the record directly, so no array is indexed with
// a count that has not passed through here.
inline int32_t oaPointCount(const OASet &s) {
    if (s.nPoints < 0 || s.nPoints > s.capacity) return -1;
    return s.nPoints;
}

// Cell layout of OALoadSet: 40 x 40 cells in transformed coordinates whose
// first grid line lies just inside the first cell whatever the direction of
// the axis, and which span one cell more than the grid.
// The sums of the averaging estimator over the data in reach of a node (in
// two or three dimensions alike): weights g, g w, value times g w, squared
// distance, value, squared value, error, count.
struct Sums {
    double g, gw, vgw, d2, v, v2, e;
    int32_t count;
};

// From the sums of at least one datum: the count, the mean squared distance,
// and the spread (the standard deviation of the values; one value: its error).
inline void averageStatistics(const Sums &sum, float *spread, float *meanSqDist, int32_t *nUsed) {
    const double c = sum.count;
    *nUsed = sum.count;
    *meanSqDist = static_cast<float>(sum.d2 / c);
    if (sum.count == 1) {
        *spread = static_cast<float>(sum.e / c);
    } else {
        const double var = (sum.v2 - sum.v * sum.v / c) / (c - 1.0);
        *spread = static_cast<float>(std::sqrt(var > 0.0 ? var : 0.0));
    }
}

void oaSetupCells(OASet *set);

// The averaging estimator on a set (OAEstimateValueT without the pointer
// checks on the outputs).
double estimateT(float x, float y, float fx, float fy, float *spread, float *meanSqDist, int32_t *nUsed,
                 const OASet &set);

// Frees one array of the set and nulls the pointer.
template <class T> inline void oaFree(T *&p) {
    std::free(p);
    p = nullptr;
}

// Missing-value test: neither less nor greater than xmiss.
inline bool isMissing(float v) { return !(v < xmiss) && !(v > xmiss); }

}  // namespace kestrel

#endif
