// Drawing and PostScript costs: the colour scale per value, a long curve on
// the canvas and in PostScript, a string with escapes, and the screen dump.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"
#include "plot/text.h"

namespace {

struct Page {
    explicit Page(int w = 1000, int h = 700) {
        dc = KCanvasCreate(w, h);
        hdcMem = dc;
        Vbmp_size_cx = w;
        Vbmp_size_cy = h;
        VX.devPixels = w;
        VY.devPixels = h;
        VX.pixPerLength = VY.pixPerLength = 40.0f;
        VX.devLength = static_cast<float>(w) / 40.0f;
        VY.devLength = static_cast<float>(h) / 40.0f;
        mCGS.paletteFile[0] = '\0';
        LoadPaletteFile(dc, nullptr);
        InitmemDC();
        SetColorMode(1);
        UsrSys(dc, 0, 100, 20, 2, 0, 50, 14, 2);
    }
    ~Page() {
        kestrel::releaseLibraryFont();
        DeleteMYPalette();
        hdcMem = nullptr;
        KCanvasDestroy(dc);
    }
    KDC dc;
};

std::string tmp(const char *name) { return (std::filesystem::temp_directory_path() / name).string(); }

void BM_CMapCalColor(benchmark::State &state) {
    CMapInitialize(-2, 30, -1.5f, 2.5f);
    float v = -3;
    for (auto _ : state) {
        benchmark::DoNotOptimize(CMapCalColor(v));
        v = v > 31 ? -3 : v + 0.01f;
    }
}
BENCHMARK(BM_CMapCalColor);

void BM_DrawCurveScreen(benchmark::State &state) {
    Page page;
    const int n = static_cast<int>(state.range(0));
    std::vector<float> x(n), y(n);
    for (int i = 0; i < n; ++i) {
        x[i] = 100.0f * static_cast<float>(i) / static_cast<float>(n);
        y[i] = 25.0f + 20.0f * std::sin(static_cast<float>(i) * 0.05f);
    }
    for (auto _ : state) DrawCurve(page.dc, nullptr, x.data(), y.data(), n, xmiss, 0, 0, 1);
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_DrawCurveScreen)->Arg(1000);

void BM_DrawCurvePostScript(benchmark::State &state) {
    Page page;
    const int n = static_cast<int>(state.range(0));
    std::vector<float> x(n), y(n);
    for (int i = 0; i < n; ++i) {
        x[i] = 100.0f * static_cast<float>(i) / static_cast<float>(n);
        y[i] = 25.0f + 20.0f * std::sin(static_cast<float>(i) * 0.05f);
    }
    const std::string path = tmp("kestrel-bench-curve.ps");
    for (auto _ : state) {
        KFILE f = PSOpenFile(path.c_str(), nullptr, "", "", 0);
        DrawCurve(nullptr, f, x.data(), y.data(), n, xmiss, 2, 1.0f, 1);
        KFileClose(f);
    }
    state.SetItemsProcessed(state.iterations() * n);
}
BENCHMARK(BM_DrawCurvePostScript)->Arg(1000);

void BM_DrawString(benchmark::State &state) {
    Page page;
    for (auto _ : state) DrawString(page.dc, "Potential temperature ~$q~#~_0 [\xB0" "C], m~^2", 50, 25, 30, 14);
}
BENCHMARK(BM_DrawString);

void BM_PSDumpScreen(benchmark::State &state) {
    Page page;
    for (int i = 0; i < 200; ++i) {
        SetColor(33 + i % 111);
        DrawBox(page.dc, i * 2, i, 999 - i * 2, 699 - i);
    }
    const std::string path = tmp("kestrel-bench-dump.ps");
    for (auto _ : state) PSDumpScreen(page.dc, nullptr, path.c_str());
    state.SetItemsProcessed(state.iterations() * 1001 * 701);
}
BENCHMARK(BM_PSDumpScreen)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
