#include "grid/field.h"

#include "grid/oa_internal.h"

namespace kestrel {

void setPoints(OASet &s, const float *x, const float *y, const float *value, const float *err, int32_t n) {
    for (int32_t k = 0; k < n; ++k) {
        s.x[k] = x[k];
        s.y[k] = y[k];
        s.val[k] = value[k];
        s.err[k] = err ? err[k] : 1.0f;
        s.errInv[k] = 1.0f / s.err[k];
        s.use[k] = 1;
    }
    s.nPoints = n;
}

void placeGrid(OASet &s, float xmin, float xmax, float ymin, float ymax, float percent) {
    OASetupAxisGrid(s.x, s.nPoints, xmin, xmax, percent, s.xg, s.xlen, s.nx);
    OASetupAxisGrid(s.y, s.nPoints, ymin, ymax, percent, s.yg, s.ylen, s.ny);
    OAScaleTransformation(&s);
    oaSetupCells(&s);
    OASortDataPoints(&s);
}

void estimateNodes(OASet &s, float factor, float fill, const ObjectiveWeights *objective, NodeEstimates *out) {
    const size_t nodes = static_cast<size_t>(s.nx) * static_cast<size_t>(s.ny);
    out->estimate.assign(nodes, fill);
    out->spread.assign(nodes, K_NO_DATA);
    out->meanSqDist.assign(nodes, K_NO_DATA);
    out->used.assign(nodes, 0);
    for (int32_t j = 0; j < s.ny; ++j)
        for (int32_t i = 0; i < s.nx; ++i) {
            float spread = 0, msd = 0;
            int32_t used = 0;
            double e = OAEstimateValueT(s.xgt[i], s.ygt[j], factor, factor, &spread, &msd, &used, &s);
            if (used <= 0) continue;
            if (objective)
                e = OAObjectAEstimateT(s.xgt[i], s.ygt[j], factor, factor, &spread, &msd, &s, objective->matrix,
                                       objective->alpha, objective->sigma, 1);
            const size_t k = static_cast<size_t>(j) * static_cast<size_t>(s.nx) + static_cast<size_t>(i);
            out->estimate[k] = static_cast<float>(e);
            out->spread[k] = spread;
            out->meanSqDist[k] = msd;
            out->used[k] = used;
        }
}

}  // namespace kestrel
