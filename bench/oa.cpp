// Objective-analysis workloads (fixed seeds):
//   section: 20,000 points from 100 irregular stations, x 0..6000 km, depth
//            0..5500 m (denser near the surface), grid 400 x 200;
//   map:     200,000 clustered points over 100 x 130 degrees, grid 1000 x 1300.
// Timed: grid set-up (axis grids, transformation, cell sort), the averaging
// estimate of every node (OAEstimateValueT), and the objective analysis on a
// 1500-point subset of the section.
//
// The averaging estimate is timed on the regular grid a peer tool uses
// (gridline registration: node k at min + (max - min) k / (n - 1)), so that
// times and errors compare node for node (bench/gmt_compare.sh). Two grid
// set-ups a host can choose:
//   adapted: grid lines and scale lengths from the data density
//            (OASetupAxisGrid, q percent); the regular nodes are estimated
//            through OAEstimateValue, their transform included in the time;
//   even:    evenly spaced grid lines on the regular nodes with one scale
//            length, q percent of each axis range (what a host writes into
//            a grid file); the set's own nodes are the regular nodes.
// Counters: rmse against the analytic field over the nodes with support,
// covered (fraction of such nodes), and the error budget: rmse_first_order is
// the part explained by the gradient of the field times the offset of the
// weighted centre of the points used from the node (estimated by running the
// same weights on the values x and y), rmse_rest what remains (curvature).
//
// KESTREL_BENCH_DUMP=<folder> writes the points as text (x y value) and each
// averaging estimate on the regular grid as 32-bit floats, bottom row first,
// x fastest, NaN where there is no support (<workload>_<set-up>.f32), then
// exits.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
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
    double (*truth)(double, double);
    double (*gradX)(double, double);
    double (*gradY)(double, double);
};

// Scale lengths (percent) may be overridden for tuning:
// KESTREL_BENCH_Q_SECTION, KESTREL_BENCH_Q_MAP (adapted),
// KESTREL_BENCH_Q_MAP_EVEN (even).
float percent(const char *var, float dflt) {
    const char *v = std::getenv(var);
    return v ? static_cast<float>(std::atof(v)) : dflt;
}

double sectionGradX(double x, double z) {
    const double s = 1.0 / std::cosh((x - 3000.0) / 250.0);
    return 18.0 * std::exp(-z / 400.0) * 0.25 * s * s / 250.0;
}
double sectionGradY(double x, double z) {
    return -18.0 / 400.0 * std::exp(-z / 400.0) * (0.75 + 0.25 * std::tanh((x - 3000.0) / 250.0));
}
double mapGradX(double lon, double lat) { return 8.0 * 0.05 * std::cos(lon * 0.05) * std::cos(lat * 0.04); }
double mapGradY(double lon, double lat) {
    const double s = 1.0 / std::cosh((lat - 20.0) / 6.0);
    return -8.0 * 0.04 * std::sin(lon * 0.05) * std::sin(lat * 0.04) + 0.5 * s * s;
}

const Workload &section() {
    static const Workload w{"section", ktoa::sectionPoints(100, 20000, 2024), 0, 6000, 0, 5500, 400, 200,
                            ktoa::sectionTruth, sectionGradX, sectionGradY};
    return w;
}

const Workload &map() {
    static const Workload w{"map", ktoa::mapPoints(200000, 2024), 0, 100, -65, 65, 1000, 1300,
                            ktoa::mapTruth, mapGradX, mapGradY};
    return w;
}

struct Setup {
    const char *name;
    bool even;
    float q;
};

const Setup kSectionAdapted{"adapted", false, percent("KESTREL_BENCH_Q_SECTION", 0.35f)};
const Setup kMapAdapted{"adapted", false, percent("KESTREL_BENCH_Q_MAP", 0.5f)};
// 0.8 % (0.8 by 1.04 degrees): the smallest error over 0.2 .. 1.2 % for this
// map; the error changes little over that range (0.021 .. 0.025).
const Setup kMapEven{"even", true, percent("KESTREL_BENCH_Q_MAP_EVEN", 0.8f)};

struct Owned {
    OASet s;
    Owned() { OAInitializeSet(&s); }
    ~Owned() { OAFreeSet(&s); }
};

bool build(OASet &s, const Workload &w, const Setup &u) {
    return u.even ? ktoa::buildEvenSet(s, w.pts, w.x0, w.x1, w.y0, w.y1, w.nx, w.ny, u.q)
                  : ktoa::buildSet(s, w.pts, w.x0, w.x1, w.y0, w.y1, w.nx, w.ny, u.q);
}

float nodeX(const Workload &w, int ix) {
    return w.x0 + (w.x1 - w.x0) * static_cast<float>(ix) / static_cast<float>(w.nx - 1);
}
float nodeY(const Workload &w, int iy) {
    return w.y0 + (w.y1 - w.y0) * static_cast<float>(iy) / static_cast<float>(w.ny - 1);
}

// The averaging estimate of every regular node into out (NaN: no support).
void estimateRegular(OASet &s, const Workload &w, const Setup &u, std::vector<float> &out) {
    out.resize(static_cast<std::size_t>(w.nx) * static_cast<std::size_t>(w.ny));
    const float nan = std::numeric_limits<float>::quiet_NaN();
    for (int iy = 0; iy < w.ny; ++iy)
        for (int ix = 0; ix < w.nx; ++ix) {
            float sp, md;
            int32_t cnt;
            const double v = u.even ? OAEstimateValueT(s.xgt[ix], s.ygt[iy], 1.0f, 1.0f, &sp, &md, &cnt, &s)
                                    : OAEstimateValue(nodeX(w, ix), nodeY(w, iy), 1.0f, 1.0f, &sp, &md, &cnt, &s);
            out[static_cast<std::size_t>(iy) * static_cast<std::size_t>(w.nx) + static_cast<std::size_t>(ix)] =
                cnt ? static_cast<float>(v) : nan;
        }
}

void estimate(benchmark::State &state, const Workload &w, const Setup &u) {
    Owned o;
    if (!build(o.s, w, u)) {
        state.SkipWithError("set-up failed");
        return;
    }
    std::vector<float> est;
    for (auto _ : state) estimateRegular(o.s, w, u, est);
    // The same weights on the values x and y give the weighted centre of the
    // points used at every node.
    std::vector<float> cx, cy;
    std::vector<float> saved(o.s.val, o.s.val + o.s.nPoints);
    for (int32_t i = 0; i < o.s.nPoints; ++i) o.s.val[i] = o.s.x[i];
    estimateRegular(o.s, w, u, cx);
    for (int32_t i = 0; i < o.s.nPoints; ++i) o.s.val[i] = o.s.y[i];
    estimateRegular(o.s, w, u, cy);
    std::copy(saved.begin(), saved.end(), o.s.val);
    double sum = 0, sum1 = 0, sumRest = 0;
    long n = 0;
    for (int iy = 0; iy < w.ny; ++iy)
        for (int ix = 0; ix < w.nx; ++ix) {
            const std::size_t k = static_cast<std::size_t>(iy) * static_cast<std::size_t>(w.nx) + static_cast<std::size_t>(ix);
            if (std::isnan(est[k])) continue;
            const double x = nodeX(w, ix), y = nodeY(w, iy);
            const double d = est[k] - w.truth(x, y);
            const double d1 = w.gradX(x, y) * (cx[k] - x) + w.gradY(x, y) * (cy[k] - y);
            sum += d * d;
            sum1 += d1 * d1;
            sumRest += (d - d1) * (d - d1);
            ++n;
        }
    const double nodes = static_cast<double>(w.nx) * w.ny;
    state.counters["points"] = o.s.nPoints;
    state.counters["rmse"] = std::sqrt(sum / static_cast<double>(n));
    state.counters["rmse_first_order"] = std::sqrt(sum1 / static_cast<double>(n));
    state.counters["rmse_rest"] = std::sqrt(sumRest / static_cast<double>(n));
    state.counters["covered"] = static_cast<double>(n) / nodes;
    state.counters["nodes/s"] = benchmark::Counter(nodes, benchmark::Counter::kIsRate);
}

void setupTime(benchmark::State &state, const Workload &w, const Setup &u) {
    for (auto _ : state) {
        Owned o;
        build(o.s, w, u);
        benchmark::DoNotOptimize(o.s.cellFirst[0][0]);
    }
    state.counters["points"] = static_cast<double>(w.pts.size());
}

void BM_SectionSetup(benchmark::State &s) { setupTime(s, section(), kSectionAdapted); }
void BM_SectionEstimate(benchmark::State &s) { estimate(s, section(), kSectionAdapted); }
void BM_MapSetup(benchmark::State &s) { setupTime(s, map(), kMapAdapted); }
void BM_MapEstimateAdapted(benchmark::State &s) { estimate(s, map(), kMapAdapted); }
void BM_MapEstimateEven(benchmark::State &s) { estimate(s, map(), kMapEven); }

// RMSE of the averaging estimate at the set's own nodes (for the objective
// analysis comparison below).
double estimateAll(OASet &s, const Workload &w) {
    double sum = 0;
    long n = 0;
    for (int iy = 0; iy < s.ny; ++iy)
        for (int ix = 0; ix < s.nx; ++ix) {
            float sp, md;
            int32_t cnt;
            const double v = OAEstimateValueT(s.xgt[ix], s.ygt[iy], 1.0f, 1.0f, &sp, &md, &cnt, &s);
            if (!cnt) continue;
            const double d = v - w.truth(s.xg[ix], s.yg[iy]);
            sum += d * d;
            ++n;
        }
    return std::sqrt(sum / static_cast<double>(n));
}

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
    state.counters["rmse_averaging"] = estimateAll(s, section());
    state.counters["nodes/s"] = benchmark::Counter(static_cast<double>(s.nx) * s.ny, benchmark::Counter::kIsRate);
}

// The whole section grid with the analysis error: the error quadratic form
// dominates (about nz^2 terms per node, nz the points with a nonzero
// covariance).
void BM_ObjectiveEstimateGridWithError(benchmark::State &state) {
    Objective ob;
    OAObjectASetup(&ob.o.s, 0, ob.M.data(), ob.alpha.data(), &ob.sigma);
    OASet &s = ob.o.s;
    double sumErr = 0;
    for (auto _ : state) {
        sumErr = 0;
        for (int iy = 0; iy < s.ny; ++iy)
            for (int ix = 0; ix < s.nx; ++ix) {
                float err, md;
                benchmark::DoNotOptimize(OAObjectAEstimateT(s.xgt[ix], s.ygt[iy], 1, 1, &err, &md, &s, ob.M.data(),
                                                            ob.alpha.data(), ob.sigma, 1));
                sumErr += err;
            }
    }
    state.counters["mean_error"] = sumErr / (static_cast<double>(s.nx) * s.ny);
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
BENCHMARK(BM_MapEstimateAdapted)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_MapEstimateEven)->Unit(benchmark::kMillisecond)->Iterations(3);
BENCHMARK(BM_ObjectiveSetup)->Unit(benchmark::kMillisecond)->Iterations(2);
BENCHMARK(BM_ObjectiveEstimateGrid)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_ObjectiveEstimateGridWithError)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_ObjectiveEstimateWithErrorRow)->Unit(benchmark::kMillisecond)->Iterations(1);

void dump(const std::string &dir) {
    for (const Workload *w : {&section(), &map()}) {
        const std::string path = dir + "/" + w->name + ".xyz";
        std::FILE *f = std::fopen(path.c_str(), "w");
        if (!f) continue;
        // Nine digits: every float comes back exactly.
        for (const auto &p : w->pts)
            std::fprintf(f, "%.9g %.9g %.9g\n", static_cast<double>(p.x), static_cast<double>(p.y),
                         static_cast<double>(p.v));
        std::fclose(f);
    }
    struct Run {
        const Workload *w;
        const Setup *u;
    };
    for (const Run &r : {Run{&section(), &kSectionAdapted}, Run{&map(), &kMapAdapted}, Run{&map(), &kMapEven}}) {
        Owned o;
        if (!build(o.s, *r.w, *r.u)) continue;
        std::vector<float> est;
        estimateRegular(o.s, *r.w, *r.u, est);
        const std::string path = dir + "/" + r.w->name + "_" + r.u->name + ".f32";
        std::FILE *f = std::fopen(path.c_str(), "wb");
        if (!f) continue;
        std::fwrite(est.data(), sizeof(float), est.size(), f);
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
