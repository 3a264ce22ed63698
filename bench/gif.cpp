// GIF encoding speed and size: the library's writer against giflib on the
// same 1200 x 900 palette-index pictures.
//   plot:   a shaded field in colour bands with contour-like lines, a frame,
//           tick marks and text, drawn on the canvas and read back as indices;
//   random: independent random indices 0..255 (the string table fills and is
//           cleared every few thousand pixels).
// Kestrel/<image> writes the whole file from the index picture (what giflib
// does with EGifPutLine); BMPtoGIF/plot adds reading the canvas back.
// Counters: MPix/s (megapixels per second) and bytes (file size).
#include <benchmark/benchmark.h>

#include <cmath>
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kestrel/canvas.h"
#include "kestrel/gif.h"
#include "kestrel/globals.h"
#include "platform/platform.h"
#include "plot/gif.h"

#ifdef KESTREL_HAVE_GIFLIB
#include <gif_lib.h>
#endif

using namespace kestrel;

namespace {

constexpr int kW = 1200, kH = 900;

std::string outPath(const char *name) {
    const char *tmp = std::getenv("TMPDIR");
    return std::string(tmp && *tmp ? tmp : "/tmp") + "/kestrel-bench-" + name + ".gif";
}

long fileSize(const std::string &path) {
    FILE *f = std::fopen(path.c_str(), "rb");
    if (!f) return -1;
    std::fseek(f, 0, SEEK_END);
    const long n = std::ftell(f);
    std::fclose(f);
    return n;
}

// A palette like the library's colour scale: fixed colours below 33, a
// smooth blue-to-red run over 33..143, grey ramp above.
void setPalette() {
    for (int i = 0; i < 256; ++i) {
        uint8_t r, g, b;
        if (i < 33) {
            r = static_cast<uint8_t>((i * 53) & 0xFF), g = static_cast<uint8_t>((i * 97) & 0xFF),
            b = static_cast<uint8_t>((i * 29) & 0xFF);
        } else if (i <= 143) {
            const double t = (i - 33) / 110.0;
            r = static_cast<uint8_t>(255 * t), g = static_cast<uint8_t>(255 * (1 - std::fabs(2 * t - 1))),
            b = static_cast<uint8_t>(255 * (1 - t));
        } else {
            r = g = b = static_cast<uint8_t>(i);
        }
        Vcolor[i][0] = r, Vcolor[i][1] = g, Vcolor[i][2] = b;
    }
    Vcolor[0][0] = Vcolor[0][1] = Vcolor[0][2] = 255;
    Vcolor[1][0] = Vcolor[1][1] = Vcolor[1][2] = 0;
    mCGS.paletteSize = 256;
}

KDC drawPlot() {
    KDC dc = KCanvasCreate(kW, kH);
    const int left = 120, top = 60, right = kW - 60, bottom = kH - 120;
    auto field = [](int x, int y) {
        const double u = x / 1080.0, v = y / 720.0;
        return 0.5 + 0.35 * std::sin(6.0 * u + 1.3 * std::cos(4.0 * v)) * std::cos(3.0 * v - u) +
               0.15 * std::cos(9.0 * u * v);
    };
    auto band = [&](int x, int y) { return std::max(0, std::min(21, static_cast<int>(field(x, y) * 22))); };
    // Shading: runs of equal band per row.
    for (int y = top; y < bottom; ++y) {
        int x0 = left, b0 = band(left, y);
        for (int x = left + 1; x <= right; ++x) {
            const int b = x < right ? band(x, y) : -1;
            if (b == b0) continue;
            KBRUSH br = plat::createSolidBrush(plat::paletteIndex(33 + b0 * 5));
            plat::Rect r{x0, y, x, y + 1};
            plat::fillRect(dc, &r, br);
            plat::deleteObject(br);
            x0 = x, b0 = b;
        }
    }
    // Contour-like lines at every other band edge.
    KPEN pen = plat::createPen(plat::PenSolid, 1, plat::paletteIndex(1));
    plat::GdiObj oldPen = plat::selectObject(dc, pen);
    for (int y = top; y < bottom; ++y)
        for (int x = left; x < right - 1; ++x) {
            const int b = band(x, y);
            if (b % 2 == 0 && (b != band(x + 1, y) || b != band(x, y + 1))) plat::setPixel(dc, x, y, plat::paletteIndex(1));
        }
    // Frame and ticks.
    plat::GdiObj oldBrush = plat::selectObject(dc, plat::getStockObject(plat::StockNullBrush));
    plat::rectangle(dc, left, top, right + 1, bottom + 1);
    plat::selectObject(dc, oldBrush);
    plat::setBkMode(dc, plat::BkTransparent);
    plat::setTextColor(dc, plat::paletteIndex(1));
    KFONT font = plat::createFont(-18, 0, 0, 0, 400, false, false, false, "Arial");
    plat::GdiObj oldFont = plat::selectObject(dc, font);
    char label[32];
    for (int i = 0; i <= 10; ++i) {
        const int x = left + (right - left) * i / 10, y = top + (bottom - top) * i / 10;
        plat::moveTo(dc, x, bottom);
        plat::lineTo(dc, x, bottom + 10);
        plat::moveTo(dc, left - 10, y);
        plat::lineTo(dc, left, y);
        std::snprintf(label, sizeof label, "%d", i * 50);
        plat::setTextAlign(dc, plat::TaCenter | plat::TaTop);
        plat::textOut(dc, x, bottom + 14, label, static_cast<int>(std::strlen(label)));
        std::snprintf(label, sizeof label, "%.1f", 10.0 - i);
        plat::setTextAlign(dc, plat::TaRight | plat::TaBaseline);
        plat::textOut(dc, left - 14, y + 6, label, static_cast<int>(std::strlen(label)));
    }
    plat::setTextAlign(dc, plat::TaCenter | plat::TaTop);
    const char *title = "Potential temperature (deg C) along the section, distance (km)";
    plat::textOut(dc, kW / 2, kH - 60, title, static_cast<int>(std::strlen(title)));
    plat::selectObject(dc, oldFont);
    plat::deleteObject(font);
    plat::selectObject(dc, oldPen);
    plat::deleteObject(pen);
    return dc;
}

struct Images {
    KDC canvas = nullptr;
    std::vector<uint8_t> plot, random;
    Images() {
        setPalette();
        canvas = drawPlot();
        plot.resize(static_cast<size_t>(kW) * kH);
        plat::bitmapPaletteIndices(canvas, nullptr, kW, kH, plat::Rect{0, 0, kW, kH}, plot.data(), Vcolor,
                                   mCGS.paletteSize);
        std::mt19937 rng(1);
        random.resize(plot.size());
        for (auto &p : random) p = static_cast<uint8_t>(rng() & 0xFF);
    }
};
const Images &images() {
    static const Images im;
    return im;
}
const std::vector<uint8_t> &image(int which) { return which == 0 ? images().plot : images().random; }
const char *name(int which) { return which == 0 ? "plot" : "random"; }

void report(benchmark::State &state, const std::string &path) {
    state.counters["MPix/s"] = benchmark::Counter(static_cast<double>(state.iterations()) * kW * kH / 1e6,
                                                 benchmark::Counter::kIsRate);
    state.counters["bytes"] = static_cast<double>(fileSize(path));
}

void Kestrel(benchmark::State &state) {
    const int which = static_cast<int>(state.range(0));
    const std::vector<uint8_t> &px = image(which);
    const std::string path = outPath((std::string("kestrel-") + name(which)).c_str());
    for (auto _ : state) {
        KFILE f = plat::fileCreate(path.c_str());
        gif::writeIndexedImage(f, px.data(), kW, kW, kH);
        plat::fileClose(f);
    }
    state.SetLabel(name(which));
    report(state, path);
}
BENCHMARK(Kestrel)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

void BMPtoGIFFromCanvas(benchmark::State &state) {
    const Images &im = images();
    hdcMem = im.canvas;
    Vbmp_size_cx = kW;
    Vbmp_size_cy = kH;
    const std::string path = outPath("bmptogif-plot");
    for (auto _ : state) {
        std::remove(path.c_str());
        int32_t rect[4] = {0, 0, kW - 1, kH - 1};
        BMPtoGIF(im.canvas, nullptr, rect, path.c_str());
    }
    state.SetLabel("plot");
    report(state, path);
}
BENCHMARK(BMPtoGIFFromCanvas)->Unit(benchmark::kMillisecond);

#ifdef KESTREL_HAVE_GIFLIB
void Giflib(benchmark::State &state) {
    const int which = static_cast<int>(state.range(0));
    const std::vector<uint8_t> &px = image(which);
    const std::string path = outPath((std::string("giflib-") + name(which)).c_str());
    GifColorType colours[256];
    for (int i = 0; i < 256; ++i) colours[i] = GifColorType{Vcolor[i][0], Vcolor[i][1], Vcolor[i][2]};
    for (auto _ : state) {
        int err = 0;
        GifFileType *g = EGifOpenFileName(path.c_str(), false, &err);
        ColorMapObject *map = GifMakeMapObject(256, colours);
        EGifPutScreenDesc(g, kW, kH, 8, 0, map);
        EGifPutImageDesc(g, 0, 0, kW, kH, false, nullptr);
        for (int y = 0; y < kH; ++y)
            EGifPutLine(g, const_cast<GifPixelType *>(px.data() + static_cast<size_t>(y) * kW), kW);
        EGifCloseFile(g, &err);
        GifFreeMapObject(map);
    }
    state.SetLabel(name(which));
    report(state, path);
}
BENCHMARK(Giflib)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
#endif

}  // namespace

BENCHMARK_MAIN();
