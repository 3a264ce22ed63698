// The 3-D analysis and the topography lookups: D3EstimateField on 100,000
// points onto 100 x 100 x 40 nodes (nodes per second), and lookups of the
// 5-minute grid at random positions (lookups per second; the first pass
// over a file just opened, and passes once the system has cached it).
#include <benchmark/benchmark.h>

#include <cmath>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"

namespace {

void D3Field100k(benchmark::State &state) {
    auto s = std::make_unique<D3Set>();
    D3AllocSet(s.get(), 100, 100, 40, 100000);
    std::mt19937 rng(1);
    std::uniform_real_distribution<float> ux(-140, -120), uy(30, 40), uz(-3000, 0);
    for (int i = 0; i < 100000; ++i) {
        s->x[i] = ux(rng), s->y[i] = uy(rng), s->z[i] = uz(rng);
        s->val[i] = std::sin(s->x[i] / 3) + s->y[i] / 10 + s->z[i] / 1000;
        s->err[i] = s->errInv[i] = 1;
        s->use[i] = 1;
    }
    s->nPoints = 100000;
    s->xmin = -140, s->xmax = -120, s->ymin = 30, s->ymax = 40, s->zmin = -3000, s->zmax = 0;
    D3GenerateGrid(s.get(), 3, 3, 3);
    for (auto _ : state) {
        D3EstimateField(s.get());
        benchmark::DoNotOptimize(s->gridEst[0]);
    }
    state.counters["nodes_per_s"] = benchmark::Counter(4.0e5, benchmark::Counter::kIsIterationInvariantRate);
    D3FreeSet(s.get());
}
BENCHMARK(D3Field100k)->Unit(benchmark::kMillisecond)->MinTime(3.0);

void TopographyLookups(benchmark::State &state) {
    const std::string grid = std::string(KESTREL_TEST_DATA) + "/topography/etopo5.bin";
    std::mt19937 rng(2);
    std::uniform_real_distribution<float> lon(-180, 180), lat(-89, 89);
    std::vector<std::pair<float, float>> at(100000);
    for (auto &p : at) p = {lon(rng), lat(rng)};
    KFILE f = KFileOpenRead(grid.c_str());
    if (!f) {
        state.SkipWithError("no topography grid");
        return;
    }
    long sum = 0;
    for (auto _ : state)
        for (const auto &[x, y] : at) sum += GetEtopoHeight(f, x, y);
    benchmark::DoNotOptimize(sum);
    KFileClose(f);
    state.counters["lookups_per_s"] = benchmark::Counter(1.0e5, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(TopographyLookups)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
