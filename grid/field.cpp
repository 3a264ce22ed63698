#include "grid/field.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

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
    placeGrid(s, xmin, xmax, ymin, ymax, percent, percent);
}

void placeGrid(OASet &s, float xmin, float xmax, float ymin, float ymax, float percentX, float percentY) {
    OASetupAxisGrid(s.x, s.nPoints, xmin, xmax, percentX, s.xg, s.xlen, s.nx);
    OASetupAxisGrid(s.y, s.nPoints, ymin, ymax, percentY, s.yg, s.ylen, s.ny);
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

namespace {

float median(std::vector<float> v) {
    if (v.empty()) return 0;
    std::nth_element(v.begin(), v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2), v.end());
    return v[v.size() / 2];
}

}  // namespace

Casts findCasts(const float *x, const float *y, int32_t n, float xmin, float xmax) {
    Casts c;
    if (n <= 0 || !x || !y) return c;
    std::vector<std::pair<float, float>> xy;
    xy.reserve(static_cast<size_t>(n));
    for (int32_t i = 0; i < n; ++i)
        if (std::isfinite(x[i]) && std::isfinite(y[i])) xy.emplace_back(x[i], y[i]);
    std::sort(xy.begin(), xy.end());
    c.samples = xy.size();
    const float same = 1e-4f * std::fabs(xmax - xmin);
    for (size_t a = 0; a < xy.size();) {
        size_t b = a;
        while (b < xy.size() && xy[b].first - xy[a].first <= same) ++b;
        if (!c.x.empty()) c.gapX.push_back(xy[a].first - c.x.back());
        c.x.push_back(xy[a].first);
        float deepest = xy[a].second;
        std::vector<float> ys;
        for (size_t k = a; k < b; ++k) ys.push_back(xy[k].second);
        std::sort(ys.begin(), ys.end());
        for (size_t k = 1; k < ys.size(); ++k) {
            deepest = std::max(deepest, ys[k]);
            if (ys[k] > ys[k - 1]) {
                c.gapY.push_back(ys[k] - ys[k - 1]);
                c.gapMidY.push_back(0.5f * (ys[k] + ys[k - 1]));
            }
        }
        c.deepest.push_back(deepest);
        a = b;
    }
    return c;
}

float Casts::floorAt(float at) const {
    if (x.empty()) return 0;
    const auto hi = std::lower_bound(x.begin(), x.end(), at);
    if (hi == x.begin()) return deepest.front();
    if (hi == x.end()) return deepest.back();
    const size_t k = static_cast<size_t>(hi - x.begin());
    const float t = (at - x[k - 1]) / (x[k] - x[k - 1]);
    return deepest[k - 1] + t * (deepest[k] - deepest[k - 1]);
}

void samplingPercents(const Casts &c, float xmin, float xmax, float ymin, float ymax, float *qx, float *qy) {
    *qx = *qy = 3.0f;
    const float rx = xmax - xmin, ry = ymax - ymin;
    if (!c.isCasts() || !(rx > 0) || !(ry > 0)) return;
    // The fullest tenth of the y range, counted in samples' gaps.
    int bins[10] = {0};
    auto bin = [&](float y) {
        const float t = (y - ymin) / ry * 10;
        return !(t > 0) ? 0 : t >= 9 ? 9 : static_cast<int>(t);
    };
    for (float m : c.gapMidY) ++bins[bin(m)];
    const int dense = static_cast<int>(std::max_element(bins, bins + 10) - bins);
    std::vector<float> dy;
    for (size_t k = 0; k < c.gapY.size(); ++k)
        if (bin(c.gapMidY[k]) == dense) dy.push_back(c.gapY[k]);
    if (dy.size() < 3) return;
    *qx = std::clamp(150.0f * median(c.gapX) / rx, 0.2f, 10.0f);
    *qy = std::clamp(100.0f * median(dy) / ry, 0.2f, 10.0f);
}

}  // namespace kestrel
