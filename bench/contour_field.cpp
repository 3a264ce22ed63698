// Whole fields: ContourField (20 levels with labels) to PostScript and to
// the canvas, and ShadeField to the canvas and to PostScript, on the
// benchmark fields of bench/contour_fields.h. Shading takes at most 1499
// columns and rows, so it runs on the 1000 x 1000 field only. Peers:
// bench/contour_field_peer.sh (GMT grdcontour writing PostScript,
// matplotlib imshow / pcolormesh saving a PNG).
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "plot/page.h"
#include "bench/contour_fields.h"
#include "kestrel/kestrel.h"
#include "platform/platform.h"

namespace {

constexpr int kW = 1600, kH = 1200;

const kbench::Field &field(int32_t n) {
    static std::map<int32_t, kbench::Field> cache;
    auto it = cache.find(n);
    if (it == cache.end()) it = cache.emplace(n, kbench::makeField(n, n)).first;
    return it->second;
}

std::string scratch(const char *name) {
    const char *t = std::getenv("TMPDIR");
    return std::string(t ? t : "/tmp") + "/" + name;
}

// A 1600 x 1200 canvas (40 pixels per length unit) with the built-in
// palette, the field spanning 36 x 26 units of it.
KDC page(const kbench::Field &f) {
    KDC dc = KCanvasCreate(kW, kH);
    kestrel::PageSpec page;
    page.width = kW;
    page.height = kH;
    kestrel::startPage(dc, page);
    UsrSys(dc, f.x.front(), f.x.back(), 36.0f, 2.0f, f.y.front(), f.y.back(), 26.0f, 2.0f);
    mCGS.fontSize = mCGS.defaultFontSize;
    return dc;
}

std::vector<KContourLevel> levelsOf(const kbench::Field &f) {
    std::vector<KContourLevel> l;
    for (size_t k = 0; k < f.levels.size(); ++k)
        l.push_back({f.levels[k], static_cast<int32_t>(k % 8), 0, 0, 1, 0, 8, 1});
    return l;
}

void BM_ContourFieldPostScript(benchmark::State &state) {
    const kbench::Field &f = field(static_cast<int32_t>(state.range(0)));
    std::vector<float> z = f.z;
    KDC dc = page(f);
    const auto levels = levelsOf(f);
    const std::string path = scratch("kestrel_bench_contour.ps");
    for (auto _ : state) {
        KFILE out = kestrel::plat::fileCreate(path.c_str());
        ContourField(z.data(), f.x.data(), f.nx, f.y.data(), f.ny, levels.data(), static_cast<int32_t>(levels.size()),
                     nullptr, out);
        kestrel::plat::fileClose(out);
    }
    std::remove(path.c_str());
    hdcMem = nullptr;
    DeleteMYPalette();
    KCanvasDestroy(dc);
}

void BM_ContourFieldCanvas(benchmark::State &state) {
    const kbench::Field &f = field(static_cast<int32_t>(state.range(0)));
    std::vector<float> z = f.z;
    KDC dc = page(f);
    const auto levels = levelsOf(f);
    for (auto _ : state)
        ContourField(z.data(), f.x.data(), f.nx, f.y.data(), f.ny, levels.data(), static_cast<int32_t>(levels.size()),
                     dc, nullptr);
    if (state.range(0) == 1000) KCanvasSavePNG(dc, scratch("kestrel_bench_contour.png").c_str());
    hdcMem = nullptr;
    DeleteMYPalette();
    KCanvasDestroy(dc);
}

void BM_ShadeFieldCanvas(benchmark::State &state) {
    const kbench::Field &f = field(static_cast<int32_t>(state.range(0)));
    KDC dc = page(f);
    for (auto _ : state)
        ShadeField(f.z.data(), 0, 0, f.x.data(), f.nx, f.y.data(), f.ny, -1.5f, 1.5f, f.levels.front(),
                   f.levels.back(), dc, nullptr);
    KCanvasSavePNG(dc, scratch("kestrel_bench_shade.png").c_str());
    hdcMem = nullptr;
    DeleteMYPalette();
    KCanvasDestroy(dc);
}

// Shading to the canvas and saving the picture as PNG, the counterpart of
// matplotlib's imshow + savefig.
void BM_ShadeFieldCanvasPNG(benchmark::State &state) {
    const kbench::Field &f = field(static_cast<int32_t>(state.range(0)));
    KDC dc = page(f);
    const std::string png = scratch("kestrel_bench_shade.png");
    for (auto _ : state) {
        ShadeField(f.z.data(), 0, 0, f.x.data(), f.nx, f.y.data(), f.ny, -1.5f, 1.5f, f.levels.front(),
                   f.levels.back(), dc, nullptr);
        KCanvasSavePNG(dc, png.c_str());
    }
    hdcMem = nullptr;
    DeleteMYPalette();
    KCanvasDestroy(dc);
}

void BM_ShadeFieldPostScript(benchmark::State &state) {
    const kbench::Field &f = field(static_cast<int32_t>(state.range(0)));
    const std::string path = scratch("kestrel_bench_shade.ps");
    for (auto _ : state) {
        KFILE out = kestrel::plat::fileCreate(path.c_str());
        ShadeField(f.z.data(), 0, 0, f.x.data(), f.nx, f.y.data(), f.ny, -1.5f, 1.5f, f.levels.front(),
                   f.levels.back(), nullptr, out);
        kestrel::plat::fileClose(out);
    }
    std::remove(path.c_str());
}

}  // namespace

BENCHMARK(BM_ContourFieldPostScript)->Arg(1000)->Arg(3000)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ContourFieldCanvas)->Arg(1000)->Arg(3000)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ShadeFieldCanvas)->Arg(1000)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ShadeFieldCanvasPNG)->Arg(1000)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ShadeFieldPostScript)->Arg(1000)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_MAIN();
