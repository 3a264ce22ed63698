// Building analysis sets from synthetic points, shared by the gridding tests
// and the benchmarks (header only, no test framework).
#ifndef KESTREL_TESTS_GRID_OA_FIXTURE_H
#define KESTREL_TESTS_GRID_OA_FIXTURE_H

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "grid/oa_internal.h"
#include "kestrel/globals.h"
#include "kestrel/oa.h"

namespace ktoa {

struct Point {
    float x, y, v, e;
};

// An analysis set freed at the end of its scope.
struct SetGuard {
    OASet s;
    SetGuard() { OAInitializeSet(&s); }
    ~SetGuard() { OAFreeSet(&s); }
    SetGuard(const SetGuard &) = delete;
    SetGuard &operator=(const SetGuard &) = delete;
};

// Allocates a set of exactly nx x ny nodes with room for capacity points.
inline bool allocExact(OASet &s, int32_t nx, int32_t ny, int32_t capacity) {
    const float saved = VX.pixPerLength;
    VX.pixPerLength = 35.0f;
    const float width = static_cast<float>(nx) * 2.0f / 35.0f * 1.0001f;
    const float height = width * (static_cast<float>(ny) + 0.5f) / static_cast<float>(nx);
    const int32_t ok = OAAllocSet(&s, width, height, nx, capacity);
    VX.pixPerLength = saved;
    return ok == 1 && s.nx == nx && s.ny == ny;
}

inline void fillPoints(OASet &s, const std::vector<Point> &pts) {
    const int32_t n = static_cast<int32_t>(pts.size());
    for (int32_t i = 0; i < n; ++i) {
        s.x[i] = s.xt[i] = pts[i].x;
        s.y[i] = s.yt[i] = pts[i].y;
        s.val[i] = pts[i].v;
        s.err[i] = pts[i].e;
        s.errInv[i] = 1.0f / pts[i].e;
        s.use[i] = 1;
    }
    s.nPoints = n;
}

inline void transformAndSort(OASet &s) {
    OAPackData(&s);
    OAScaleTransformation(&s);
    kestrel::oaSetupCells(&s);
    OASortDataPoints(&s);
}

// Grid lines from the data density (percent q of each axis range), points
// packed, transformed, celled and sorted: ready to estimate.
inline bool buildSet(OASet &s, const std::vector<Point> &pts, float x0, float x1, float y0, float y1, int32_t nx,
                     int32_t ny, float q) {
    OAInitializeSet(&s);
    const int32_t n = static_cast<int32_t>(pts.size());
    if (!allocExact(s, nx, ny, n)) return false;
    fillPoints(s, pts);
    OASetupAxisGrid(s.x, n, x0, x1, q, s.xg, s.xlen, nx);
    OASetupAxisGrid(s.y, n, y0, y1, q, s.yg, s.ylen, ny);
    transformAndSort(s);
    return true;
}

// The grid a host gives itself (as a grid file would): evenly spaced lines,
// node k at x0 + (x1 - x0) k / (nx - 1) as a gridline-registered regular
// grid has them, and one scale length, q percent of each axis range.
inline bool buildEvenSet(OASet &s, const std::vector<Point> &pts, float x0, float x1, float y0, float y1,
                         int32_t nx, int32_t ny, float q) {
    OAInitializeSet(&s);
    if (nx < 2 || ny < 2 || !allocExact(s, nx, ny, static_cast<int32_t>(pts.size()))) return false;
    fillPoints(s, pts);
    for (int32_t k = 0; k < nx; ++k) {
        s.xg[k] = x0 + (x1 - x0) * static_cast<float>(k) / static_cast<float>(nx - 1);
        s.xlen[k] = 0.01f * q * std::fabs(x1 - x0);
    }
    for (int32_t k = 0; k < ny; ++k) {
        s.yg[k] = y0 + (y1 - y0) * static_cast<float>(k) / static_cast<float>(ny - 1);
        s.ylen[k] = 0.01f * q * std::fabs(y1 - y0);
    }
    transformAndSort(s);
    return true;
}

// Analytic fields. A hydrographic section: a thermocline under a front,
// T(x, z) = 2 + 18 exp(-z/400) (0.75 + 0.25 tanh((x - 3000)/250)); x in km,
// z in m, T in degrees.
inline double sectionTruth(double x, double z) {
    return 2.0 + 18.0 * std::exp(-z / 400.0) * (0.75 + 0.25 * std::tanh((x - 3000.0) / 250.0));
}

// A smooth map field over 100 x 130 degrees: two basins and a front.
inline double mapTruth(double lon, double lat) {
    return 10.0 + 8.0 * std::sin(lon * 0.05) * std::cos(lat * 0.04) + 3.0 * std::tanh((lat - 20.0) / 6.0);
}

// About 100 stations, irregularly spaced over 0..6000 km, each sampled from
// the surface to 5500 m with spacing growing with depth; perPoint is the
// target number of points (the count is exact).
inline std::vector<Point> sectionPoints(int stations, int total, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    std::vector<double> sx;
    double x = 0.0;
    for (int i = 0; i < stations; ++i) {
        sx.push_back(x);
        x += 20.0 + 100.0 * uni(rng);  // 20 .. 120 km apart
    }
    for (double &v : sx) v *= 6000.0 / sx.back();
    std::vector<Point> pts;
    const int perStation = total / stations;
    for (int i = 0; i < stations && static_cast<int>(pts.size()) < total; ++i) {
        const int m = i == stations - 1 ? total - static_cast<int>(pts.size()) : perStation;
        for (int k = 0; k < m; ++k) {
            // Depth quadratic in the sample index: dense near the surface.
            const double f = (k + 0.5 * uni(rng)) / m;
            const double z = 5500.0 * f * f;
            pts.push_back({static_cast<float>(sx[i]), static_cast<float>(z),
                           static_cast<float>(sectionTruth(sx[i], z)), 1.0f});
        }
    }
    return pts;
}

// Clustered points over lon 0..100, lat -65..65: Gaussian clusters of
// varying size plus a thin uniform background.
inline std::vector<Point> mapPoints(int total, uint32_t seed) {
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> uni(0.0, 1.0);
    std::normal_distribution<double> gauss(0.0, 1.0);
    struct Cluster {
        double x, y, r;
    };
    std::vector<Cluster> cl;
    for (int i = 0; i < 60; ++i) cl.push_back({100.0 * uni(rng), -65.0 + 130.0 * uni(rng), 2.0 + 8.0 * uni(rng)});
    std::vector<Point> pts;
    while (static_cast<int>(pts.size()) < total) {
        double x, y;
        if (uni(rng) < 0.15) {
            x = 100.0 * uni(rng);
            y = -65.0 + 130.0 * uni(rng);
        } else {
            const Cluster &c = cl[static_cast<std::size_t>(uni(rng) * 60.0) % 60];
            x = c.x + c.r * gauss(rng);
            y = c.y + c.r * gauss(rng);
        }
        if (x < 0.0 || x > 100.0 || y < -65.0 || y > 65.0) continue;
        pts.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(mapTruth(x, y)), 1.0f});
    }
    return pts;
}

}  // namespace ktoa

#endif
