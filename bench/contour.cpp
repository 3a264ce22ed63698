// Contour tracing of whole fields: 20 levels of the benchmark fields of
// 1000 x 1000 and 3000 x 3000 nodes (bench/contour_fields.h), written as a
// plain path list, and traced without output. Compare with
// bench/contour_peer.py (contourpy serial on the same fields).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>

#include "bench/contour_fields.h"
#include "contour/internal.h"
#include "kestrel/contour.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"

namespace {

const kbench::Field &field(int32_t n) {
    static std::map<int32_t, kbench::Field> cache;
    auto it = cache.find(n);
    if (it == cache.end()) it = cache.emplace(n, kbench::makeField(n, n)).first;
    return it->second;
}

void setupPage(const kbench::Field &f) {
    VX.devPixels = 1600;
    VY.devPixels = 1200;
    VX.devLength = VY.devLength = 40.0f;
    VX.pixPerLength = VY.pixPerLength = 40.0f;
    mCGS.mag = 1.0f;
    SetupUsrSys(f.x.front(), f.x.back(), 36.0f, 2.0f, f.y.front(), f.y.back(), 26.0f, 2.0f);
}

// ContourLine for every level with the given path-list format (1: plain
// list, 0: PostScript paths, 2: nothing) into a scratch file.
void traceField(benchmark::State &state, int format) {
    const kbench::Field &src = field(static_cast<int32_t>(state.range(0)));
    std::vector<float> z = src.z;
    setupPage(src);
    const std::string path = std::string(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp") + "/kestrel_bench_paths.txt";
    CToutpthFormat = format;
    long vertices = 0;
    for (auto _ : state) {
        KFILE out = kestrel::plat::fileCreate(path.c_str());
        for (float level : src.levels)
            ContourLine(nullptr, out, z.data(), nullptr, nullptr, src.x.data(), src.nx, src.y.data(), src.ny, level, 1,
                        0, 0, 0, 0, 0, 0);
        kestrel::plat::fileClose(out);
    }
    for (float level : src.levels)
        kestrel::traceLevel(z.data(), src.x.data(), src.nx, src.y.data(), src.ny, level, [&] { vertices += nVp; });
    CToutpthFormat = 0;
    state.counters["vertices"] = static_cast<double>(vertices);
    std::remove(path.c_str());
}

void BM_TracePathList(benchmark::State &state) { traceField(state, 1); }
void BM_TraceNoOutput(benchmark::State &state) { traceField(state, 2); }

}  // namespace

BENCHMARK(BM_TracePathList)->Arg(1000)->Arg(3000)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_TraceNoOutput)->Arg(1000)->Arg(3000)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_MAIN();
