// Coastline drawing: a whole coastline file (land filled and shoreline
// stroked in one DrawWorld call, as a map host draws it) onto a world map
// in Mollweide and on the general orthographic hemisphere centred 30 W 20 N,
// to the canvas and to PostScript, plus the frame with graticule and labels.
//
// The coastline file is $KESTREL_BENCH_COAST (GSHHG full resolution made by
// tools/gshhg_to_cst.py -r f; bench/maps_compare.sh makes it and runs GMT's
// coast on the same maps), else the shared low-resolution test file.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "plot/page.h"
#include "kestrel/kestrel.h"
#include "platform/platform.h"

namespace {

std::string coastFile() {
    if (const char *p = std::getenv("KESTREL_BENCH_COAST")) return p;
    return std::string(KESTREL_TEST_DATA) + "/coastlines/gshhg_low.cst";
}

std::string scratch(const char *name) {
    const char *d = std::getenv("KESTREL_BENCH_DIR");
    return std::string(d ? d : "/tmp") + "/" + name;
}

struct Page {
    KDC dc = nullptr;
    float lonMin = 0, lonMax = 0, latMin = 0, latMax = 0;
    float xMin = 0, xMax = 0, w = 0, xOff = 0, yMin = 0, yMax = 0, h = 0, yOff = 0;

    // A 2000 x 1600 picture (50 x 40 cm at 40 pixels per cm) with the map in it.
    Page(int code, float lon0, float lon1, float lat0, float lat1, float cLon, float cLat) {
        const int W = 2000, H = 1600;
        dc = KCanvasCreate(W, H);
        kestrel::PageSpec page;
        page.width = W;
        page.height = H;
        kestrel::startPage(dc, page);
        lonMin = lon0, lonMax = lon1, latMin = lat0, latMax = lat1;
        AdjustMapLayout(&xMin, &xMax, &w, &xOff, &yMin, &yMax, &h, &yOff, &lonMin, &lonMax, &cLon, &latMin, &latMax,
                        &cLat, code, 46, 2, 36, 2);
        UsrSys(dc, xMin, xMax, w, xOff, yMin, yMax, h, yOff);
    }
    ~Page() {
        DeleteMYPalette();
        KCanvasDestroy(dc);
        hdcMem = nullptr;
    }
    Page(const Page &) = delete;
    Page &operator=(const Page &) = delete;

    int world(KDC target, KFILE ps, const std::string &path) {
        return DrawWorld(target, ps, path.c_str(), lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h,
                         yOff, 1, 1);
    }
    void map(KDC target, KFILE ps, const std::string &path) {
        ClipMapWindow(target, ps, lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff, 0);
        SetColor(FindClosestColor(0.6f, 0.6f, 0.6f));
        if (ps) PSSetColor(ps, FindClosestColor(0.6f, 0.6f, 0.6f));
        world(target, ps, path);
        if (target) ClipVWP(target, 0);
        DrawMapFrame(target, ps, lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff, 9, 0, 1);
    }
};

enum Target { kCanvas, kPostScript };

void run(benchmark::State &state, int code, float lon0, float lon1, float lat0, float lat1, float cLon, float cLat,
         Target target) {
    const std::string path = coastFile();
    std::FILE *probe = std::fopen(path.c_str(), "rb");
    if (!probe) {
        state.SkipWithError(("no coastline file " + path).c_str());
        return;
    }
    std::fclose(probe);
    Page page(code, lon0, lon1, lat0, lat1, cLon, cLat);
    const std::string out = scratch("kestrel_bench_map.ps");
    for (auto _ : state) {
        if (target == kCanvas) {
            page.map(page.dc, nullptr, path);
        } else {
            KFILE ps = kestrel::plat::fileCreate(out.c_str());
            page.map(nullptr, ps, path);
            kestrel::plat::fileClose(ps);
        }
    }
    state.SetLabel(path);
}

void BM_MollweideCanvas(benchmark::State &s) { run(s, 4, -180, 180, -90, 90, 0, 0, kCanvas); }
void BM_MollweidePostScript(benchmark::State &s) { run(s, 4, -180, 180, -90, 90, 0, 0, kPostScript); }
void BM_OrthographicCanvas(benchmark::State &s) { run(s, 5, -180, 180, -90, 90, -30, 20, kCanvas); }
void BM_OrthographicPostScript(benchmark::State &s) { run(s, 5, -180, 180, -90, 90, -30, 20, kPostScript); }

// Reading and scanning alone: a map whose domain shows nothing of the file.
void BM_ScanOnly(benchmark::State &s) { run(s, 0, 200, 200.01f, -40, -39.99f, 200, -40, kCanvas); }

}  // namespace

BENCHMARK(BM_MollweideCanvas)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_MollweidePostScript)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_OrthographicCanvas)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_OrthographicPostScript)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ScanOnly)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_MAIN();
