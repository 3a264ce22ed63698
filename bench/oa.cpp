// Objective-analysis workloads (fixed seeds):
//   section: 20,000 points from 100 irregular stations, x 0..6000 km, depth
//            0..5500 m (denser near the surface), grid 400 x 200;
//   map:     200,000 clustered points over 100 x 130 degrees, grid 1000 x 1300.
// Timed: grid set-up (axis grids, transformation, cell sort), the averaging
// estimate of every node (OAEstimateValueT), and the objective analysis on a
// 1500-point subset of the section. Counters report the RMSE against the
// analytic fields at the set's own nodes, and on a regular grid (for the
// comparison with GMT, bench/gmt_compare.sh).
//
// KESTREL_BENCH_DUMP=<folder> writes the points as text (x y value) for the
// GMT comparison and exits.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "kestrel/oa.h"
#include "tests/grid/oa_fixture.h"

namespace {

struct Workload {
    const char *name;
    std::vector<ktoa::Point> pts;
    float x0, x1, y0, y1;
    int nx, ny;
    float q;  // scale length, percent of the axis range at the densest line
    double (*truth)(double, double);
};

// Scale lengths (percent) may be overridden for tuning: KESTREL_BENCH_Q_SECTION,
// KESTREL_BENCH_Q_MAP.
float percent(const char *var, float dflt) {
    const char *v = std::getenv(var);
    return v ? static_cast<float>(std::atof(v)) : dflt;
}

const Workload &section() {
    static const Workload w{"section", ktoa::sectionPoints(100, 20000, 2024), 0, 6000, 0, 5500, 400, 200,
                            percent("KESTREL_BENCH_Q_SECTION", 0.35f), ktoa::sectionTruth};
    return w;
}

const Workload &map() {
    static const Workload w{"map", ktoa::mapPoints(200000, 2024), 0, 100, -65, 65, 1000, 1300,
                            percent("KESTREL_BENCH_Q_MAP", 0.5f), ktoa::mapTruth};
    return w;
}

struct Owned {
    OASet s;
    Owned() { OAInitializeSet(&s); }
    ~Owned() { OAFreeSet(&s); }
};

// Estimates every node; returns the RMSE at the set's nodes (nodes with
// support only) and the fraction of nodes with support.
double estimateAll(OASet &s, const Workload &w, double *covered) {
    double sum = 0;
    long n = 0;
    for (int iy = 0; iy < s.ny; ++iy) {
        const float yt = s.ygt[iy];
        for (int ix = 0; ix < s.nx; ++ix) {
            float sp, md;
            int32_t cnt;
            const double v = OAEstimateValueT(s.xgt[ix], yt, 1.0f, 1.0f, &sp, &md, &cnt, &s);
            s.gridEst[iy * s.nx + ix] = cnt ? static_cast<float>(v) : xmiss;
            if (cnt) {
                const double d = v - w.truth(s.xg[ix], s.yg[iy]);
                sum += d * d;
                ++n;
            }
        }
    }
    *covered = static_cast<double>(n) / (static_cast<double>(s.nx) * s.ny);
    return std::sqrt(sum / static_cast<double>(n));
}

// RMSE on the regular grid GMT uses (gridline registration, nx x ny nodes).
double regularRmse(OASet &s, const Workload &w, double *interior) {
    double sum = 0, sumIn = 0;
    long n = 0, nIn = 0;
    for (int iy = 0; iy < w.ny; ++iy)
        for (int ix = 0; ix < w.nx; ++ix) {
            const float x = w.x0 + (w.x1 - w.x0) * static_cast<float>(ix) / static_cast<float>(w.nx - 1);
            const float y = w.y0 + (w.y1 - w.y0) * static_cast<float>(iy) / static_cast<float>(w.ny - 1);
            float sp, md;
            int32_t cnt;
            const double v = OAEstimateValue(x, y, 1.0f, 1.0f, &sp, &md, &cnt, &s);
            if (cnt) {
                const double d = v - w.truth(x, y);
                sum += d * d;
                ++n;
                if (ix >= w.nx / 20 && ix < w.nx - w.nx / 20 && iy >= w.ny / 20 && iy < w.ny - w.ny / 20) {
                    sumIn += d * d;
                    ++nIn;
                }
            }
        }
    *interior = std::sqrt(sumIn / static_cast<double>(nIn));
    return std::sqrt(sum / static_cast<double>(n));
}

void setup(benchmark::State &state, const Workload &w) {
    for (auto _ : state) {
        Owned o;
        ktoa::buildSet(o.s, w.pts, w.x0, w.x1, w.y0, w.y1, w.nx, w.ny, w.q);
        benchmark::DoNotOptimize(o.s.cellFirst[0][0]);
    }
    state.counters["points"] = static_cast<double>(w.pts.size());
}

void estimate(benchmark::State &state, const Workload &w) {
    Owned o;
    ktoa::buildSet(o.s, w.pts, w.x0, w.x1, w.y0, w.y1, w.nx, w.ny, w.q);
    double rmse = 0, covered = 0;
    for (auto _ : state) rmse = estimateAll(o.s, w, &covered);
    state.counters["rmse"] = rmse;
    state.counters["covered"] = covered;
    double interior = 0;
    state.counters["rmse_regular"] = regularRmse(o.s, w, &interior);
    state.counters["rmse_regular_interior"] = interior;
    state.counters["nodes/s"] = benchmark::Counter(static_cast<double>(w.nx) * w.ny, benchmark::Counter::kIsRate);
}

void BM_SectionSetup(benchmark::State &s) { setup(s, section()); }
void BM_SectionEstimate(benchmark::State &s) { estimate(s, section()); }
void BM_MapSetup(benchmark::State &s) { setup(s, map()); }
void BM_MapEstimate(benchmark::State &s) { estimate(s, map()); }

// The objective analysis on every 13th-or-so point of the section: 1500
// points, their own set and grid.
struct Objective {
    Owned o;
    std::vector<float> M, alpha;
    float sigma = 0;
    Objective() {
        const auto &all = section().pts;
        std::vector<ktoa::Point> sub;
        for (std::size_t i = 0; i < all.size() && sub.size() < 1500; i += all.size() / 1500) sub.push_back(all[i]);
        ktoa::buildSet(o.s, sub, 0, 6000, 0, 5500, 400, 200, 2.0f);
        const std::size_t n = static_cast<std::size_t>(o.s.nPoints);
        M.resize(n * n);
        alpha.resize(n);
    }
};

void BM_ObjectiveSetup(benchmark::State &state) {
    Objective ob;
    for (auto _ : state) benchmark::DoNotOptimize(OAObjectASetup(&ob.o.s, 0, ob.M.data(), ob.alpha.data(), &ob.sigma));
    state.counters["points"] = ob.o.s.nPoints;
}

void BM_ObjectiveEstimateGrid(benchmark::State &state) {
    Objective ob;
    OAObjectASetup(&ob.o.s, 0, ob.M.data(), ob.alpha.data(), &ob.sigma);
    OASet &s = ob.o.s;
    double sum = 0;
    for (auto _ : state) {
        sum = 0;
        for (int iy = 0; iy < s.ny; ++iy)
            for (int ix = 0; ix < s.nx; ++ix) {
                float err, md;
                const float v = OAObjectAEstimateT(s.xgt[ix], s.ygt[iy], 1, 1, &err, &md, &s, ob.M.data(),
                                                   ob.alpha.data(), ob.sigma, 0);
                const double d = v - ktoa::sectionTruth(s.xg[ix], s.yg[iy]);
                sum += d * d;
            }
    }
    state.counters["rmse"] = std::sqrt(sum / (static_cast<double>(s.nx) * s.ny));
    // The averaging estimate on the same 1500 points, for comparison.
    double covered;
    state.counters["rmse_averaging"] = estimateAll(s, section(), &covered);
    state.counters["nodes/s"] = benchmark::Counter(static_cast<double>(s.nx) * s.ny, benchmark::Counter::kIsRate);
}

void BM_ObjectiveEstimateWithErrorRow(benchmark::State &state) {
    Objective ob;
    OAObjectASetup(&ob.o.s, 0, ob.M.data(), ob.alpha.data(), &ob.sigma);
    OASet &s = ob.o.s;
    for (auto _ : state)
        for (int ix = 0; ix < s.nx; ++ix) {
            float err, md;
            benchmark::DoNotOptimize(OAObjectAEstimateT(s.xgt[ix], s.ygt[s.ny / 4], 1, 1, &err, &md, &s,
                                                        ob.M.data(), ob.alpha.data(), ob.sigma, 1));
        }
    state.counters["nodes/s"] = benchmark::Counter(static_cast<double>(s.nx), benchmark::Counter::kIsRate);
}

BENCHMARK(BM_SectionSetup)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SectionEstimate)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MapSetup)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MapEstimate)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ObjectiveSetup)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_ObjectiveEstimateGrid)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_ObjectiveEstimateWithErrorRow)->Unit(benchmark::kMillisecond)->Iterations(1);

void dump(const std::string &dir) {
    for (const Workload *w : {&section(), &map()}) {
        const std::string path = dir + "/" + w->name + ".xyz";
        std::FILE *f = std::fopen(path.c_str(), "w");
        if (!f) continue;
        for (const auto &p : w->pts)
            std::fprintf(f, "%.7g %.7g %.7g\n", static_cast<double>(p.x), static_cast<double>(p.y),
                         static_cast<double>(p.v));
        std::fclose(f);
    }
}

}  // namespace

int main(int argc, char **argv) {
    if (const char *dir = std::getenv("KESTREL_BENCH_DUMP")) {
        dump(dir);
        return 0;
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
