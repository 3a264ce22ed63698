// Throughput of the map projections: one Project (or UnProject) call per
// vertex, as the coastline and graticule drawing make them, and the set-up
// costs paid once per map layout.
#include <benchmark/benchmark.h>

#include <vector>

#include "kestrel/projection.h"
#include "projection/projections.h"

namespace {

// A coastline-like polyline: 10,000 vertices spread over the visible area.
std::vector<float> vertices(bool lon) {
    std::vector<float> v(10000);
    for (size_t i = 0; i < v.size(); ++i)
        v[i] = lon ? static_cast<float>(-80.0 + 160.0 * (i % 397) / 397.0)
                   : static_cast<float>(-70.0 + 140.0 * (i % 211) / 211.0);
    return v;
}

void setUp(int32_t code) {
    proj = code;
    kestrel::gProj.centreLon = 0.0;
    kestrel::gProj.centreLat = code == 5 ? 35.0 : 0.0;
    if (code == 5) {
        float lonMin = -180, lonMax = 180, latMin = -90, latMax = 90, cLon = 0, cLat = 35;
        SetupGenOrthoProj(&lonMin, &lonMax, &cLon, &latMin, &latMax, &cLat);
    }
}

void BM_Project(benchmark::State &state) {
    const int32_t code = static_cast<int32_t>(state.range(0));
    setUp(code);
    const std::vector<float> lon = vertices(true), lat = vertices(false);
    for (auto _ : state) {
        float sum = 0.0f;
        for (size_t i = 0; i < lon.size(); ++i) {
            float x = lon[i], y = lat[i];
            Project(&x, &y);
            sum += x + y;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * lon.size()));
    state.SetLabel(kestrel::projectionFor(code).id);
}
BENCHMARK(BM_Project)->DenseRange(0, 6);

void BM_UnProject(benchmark::State &state) {
    const int32_t code = static_cast<int32_t>(state.range(0));
    setUp(code);
    std::vector<float> x = vertices(true), y = vertices(false);
    for (size_t i = 0; i < x.size(); ++i) Project(&x[i], &y[i]);
    for (auto _ : state) {
        float sum = 0.0f;
        for (size_t i = 0; i < x.size(); ++i) {
            float a = x[i], b = y[i];
            UnProject(&a, &b);
            sum += a + b;
        }
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * x.size()));
    state.SetLabel(kestrel::projectionFor(code).id);
}
BENCHMARK(BM_UnProject)->DenseRange(1, 6);

void BM_SetupGenOrthoProj(benchmark::State &state) {
    for (auto _ : state) {
        proj = 5;
        kestrel::gProj.centreLon = 10.0;
        kestrel::gProj.centreLat = 35.0;
        float lonMin = -180, lonMax = 180, latMin = -90, latMax = 90, cLon = 10, cLat = 35;
        benchmark::DoNotOptimize(SetupGenOrthoProj(&lonMin, &lonMax, &cLon, &latMin, &latMax, &cLat));
    }
}
BENCHMARK(BM_SetupGenOrthoProj);

void BM_GetMapProjBB(benchmark::State &state) {
    setUp(static_cast<int32_t>(state.range(0)));
    for (auto _ : state) {
        float b[4];
        GetMapProjBB(-60, 60, -50, 70, &b[0], &b[1], &b[2], &b[3]);
        benchmark::DoNotOptimize(b[0]);
    }
}
BENCHMARK(BM_GetMapProjBB)->Arg(4)->Arg(5);

}  // namespace

BENCHMARK_MAIN();
