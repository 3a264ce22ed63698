// One redraw of an interactive tool on a 2000 x 1500 picture: the zoom box
// moved by a pixel (erase its edges and handles, draw it anew), the rubber
// band of GetPoints following the cursor through ten points spread over
// the picture (erase the band's rectangle, draw circles and the polyline),
// and, as the yardstick, the host's full repaint of the window from the
// picture. The tools should stay well under 2 ms a redraw.
#include <benchmark/benchmark.h>

#include "kestrel/kestrel.h"
#include "platform/platform.h"

namespace {

constexpr int kW = 2000, kH = 1500;

struct Screen {
    KDC picture = KCanvasCreate(kW, kH);
    KDC window = KCanvasCreate(kW, kH);
    int tag = 0, statusTag = 0;
    int64_t moves = 0, limit = 0;
    Screen() {
        hdcMem = picture;
        Vbmp_size_cx = kW;
        Vbmp_size_cy = kH;
        VX.devPixels = kW;
        VY.devPixels = kH;
        VX.pixPerLength = VY.pixPerLength = 80.0f;
        VX.devLength = kW / 80.0f;
        VY.devLength = kH / 80.0f;
        InitmemDC();
        UsrSys(hdcMem, 0.0f, 100.0f, 23.0f, 1.0f, 0.0f, 50.0f, 16.0f, 1.0f);
        for (int i = 0; i < kH; i += 8) {  // something to copy back
            KBRUSH b = kestrel::plat::createSolidBrush(kestrel::plat::rgb(i % 256, 128, 255 - i % 256));
            kestrel::plat::Rect r{0, i, kW, i + 4};
            kestrel::plat::fillRect(hdcMem, &r, b);
            kestrel::plat::deleteObject(b);
        }
        kestrel::plat::bitBlt(window, 0, 0, kW, kH, picture, 0, 0);
        hWndClient = reinterpret_cast<KWND>(&tag);
        hWndStatusBar = reinterpret_cast<KWND>(&statusTag);
        KUICallbacks cb{};
        cb.user = this;
        cb.clientDC = [](void *u, KWND) { return static_cast<Screen *>(u)->window; };
        cb.waitOneMessage = [](void *u) -> int32_t {
            auto *s = static_cast<Screen *>(u);
            if (s->moves >= s->limit) {
                KBAddKey(KB_KEY, 27, 0);
                return 256;
            }
            ++s->moves;
            CM_Xpos = 200 + static_cast<int32_t>(s->moves % 1500);
            CM_Ypos = 300 + static_cast<int32_t>(s->moves % 900);
            return 512;
        };
        KestrelSetUICallbacks(&cb);
    }
    ~Screen() {
        KestrelSetUICallbacks(nullptr);
        hWndClient = hWndStatusBar = nullptr;
        hdcMem = nullptr;
        KCanvasDestroy(window);
        KCanvasDestroy(picture);
    }
};

void BM_ZoomBoxRedraw(benchmark::State &state) {
    Screen s;
    float shift = 0.0f;
    for (auto _ : state) {
        shift = shift > 5.0f ? 0.0f : shift + 0.05f;
        DrawZoomBox(5.0f + shift, 3.0f, 95.0f - shift, 47.0f, 1);
    }
    DrawZoomBox(-1.0e10f, 0, 0, 0, 0);
}
BENCHMARK(BM_ZoomBoxRedraw)->Unit(benchmark::kMicrosecond);

void BM_RubberBandRedraw(benchmark::State &state) {
    Screen s;
    float x[11], y[11];
    for (int i = 0; i < 10; ++i) {  // ten points from corner to corner
        x[i] = 5.0f + 9.0f * i;
        y[i] = i % 2 ? 45.0f : 5.0f;
    }
    int64_t redraws = 0;
    for (auto _ : state) {
        s.moves = 0;
        s.limit = 200;
        GetPoints(x, y, 10, 10, 0x00FF0000u);
        redraws += s.limit + 1;
    }
    // One iteration is 201 redraws of the band; report the time of one.
    state.counters["s_per_redraw"] =
        benchmark::Counter(static_cast<double>(redraws), benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_RubberBandRedraw)->Unit(benchmark::kMillisecond);

void BM_FullRepaint(benchmark::State &state) {
    Screen s;
    for (auto _ : state) kestrel::plat::bitBlt(s.window, 0, 0, kW, kH, s.picture, 0, 0);
}
BENCHMARK(BM_FullRepaint)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
