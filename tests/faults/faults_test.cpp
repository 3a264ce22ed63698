// Allocation failures through the C interface: a full section and a full
// map drawn as a host draws them, with the n-th allocation of the library
// failing, for every n. No exception may cross the exported interface, nothing
// may crash or leak (the sanitizer build runs this), and a clean run after
// all the failed ones must draw exactly the picture of the first clean run:
// a failure leaves no half-updated state behind.
#ifndef _WIN32
// The replacement operators below are a matched pair built on malloc and
// free; an optimising GCC that inlines the delete into gtest's code sees the
// free without the malloc and calls it a mismatch.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <new>
#include <set>
#include <string>
#include <vector>

#include "common/picture.h"
#include "common/testing.h"
#include "grid/field.h"
#include "kestrel/kestrel.h"
#include "platform/platform.h"

namespace {
long g_count = 0;     // allocations since arming
long g_failAt = -1;   // the one that fails
bool g_armed = false;
bool failNow() {
    if (!g_armed) return false;
    return ++g_count == g_failAt;
}
}  // namespace

void *operator new(std::size_t n) {
    if (failNow()) throw std::bad_alloc();
    if (void *p = std::malloc(n ? n : 1)) return p;
    throw std::bad_alloc();
}
void *operator new[](std::size_t n) { return operator new(n); }
void *operator new(std::size_t n, const std::nothrow_t &) noexcept {
    if (failNow()) return nullptr;
    return std::malloc(n ? n : 1);
}
void *operator new[](std::size_t n, const std::nothrow_t &t) noexcept { return operator new(n, t); }
void operator delete(void *p) noexcept { std::free(p); }
void operator delete[](void *p) noexcept { std::free(p); }
void operator delete(void *p, std::size_t) noexcept { std::free(p); }
void operator delete[](void *p, std::size_t) noexcept { std::free(p); }

namespace {

constexpr int W = 320, H = 240;

struct Escapes {
    std::set<std::string> names;
};

#define CALL(name, ...)                       \
    do {                                      \
        try {                                 \
            __VA_ARGS__;                      \
        } catch (...) {                       \
            g_armed = false;                  \
            escapes.names.insert(name);       \
            g_armed = true;                   \
        }                                     \
    } while (0)

struct Inputs {
    std::vector<float> x, y, v, gx, gy;
    std::vector<KContourLevel> levels;
    std::string dir, preamble, coast, ps, gif;
};

Inputs makeInputs() {
    Inputs in;
    for (int i = 0; i < 60; ++i) {
        in.x.push_back(100.0f * ((i * 37) % 60) / 59.0f);
        in.y.push_back(500.0f * ((i * 11) % 60) / 59.0f);
        in.v.push_back(4.0f + 14.0f * std::exp(-in.y.back() / 150.0f) + 0.02f * in.x.back());
    }
    for (int k = 0; k < 4; ++k) in.levels.push_back({6.0f + 3.0f * k, 0, k % 2, 0, 1, 0, 9, 1});
    in.dir = kt::scratchDir("faults");
    in.preamble = kt::sourcePath("data/preamble/kestrel.ps");
    // A small coastline file: two islands.
    in.coast = in.dir + "/coast.cst";
    in.ps = in.dir + "/all.ps";
    in.gif = in.dir + "/all.gif";
    std::vector<float> recs = {5, 5, -30, 10, -20, 10, -20, 20, -30, 20, -30, 10,
                               4, 4, 10, -10, 25, -5, 15, 5, 10, -10};
    std::string bytes;
    for (size_t i = 0; i < recs.size();) {
        const int32_t n = static_cast<int32_t>(recs[i]), m = static_cast<int32_t>(recs[i + 1]);
        bytes.append(reinterpret_cast<const char *>(&n), 4);
        bytes.append(reinterpret_cast<const char *>(&m), 4);
        i += 2;
        for (int k = 0; k < 2 * n; ++k, ++i) bytes.append(reinterpret_cast<const char *>(&recs[i]), 4);
    }
    kt::writeFile(in.coast, bytes);
    return in;
}

// The section and the map on one page; returns the page's pixels.
std::vector<uint32_t> drawAll(const Inputs &in, Escapes &escapes) {
    KDC dc = nullptr;
    std::vector<uint32_t> pixels;
    // The page start-up: canvas, graphics state, palette, font.
    CALL("the page start-up (KCanvasCreate, InitmemDC, CreateMYPalette, SetDfltFont, ...)",
         dc = kt::openPage(W, H, 20.0f));
    if (!dc) return pixels;
    SetColorMode(1);
    KFILE ps = nullptr;
    CALL("PSOpenFile", ps = PSOpenFile(in.ps.c_str(), in.preamble.c_str(), "", "", 0));
    if (ps) CALL("PSPalette", PSPalette(ps));

    // The section: grid, shade, contour, erase, colour bar.
    OASet s;
    OAInitializeSet(&s);
    int32_t ok = 0;
    CALL("OAAllocSet", ok = OAAllocSet(&s, 8.0f, 6.0f, 24, 60));
    if (ok) {
        kestrel::setPoints(s, in.x.data(), in.y.data(), in.v.data(), nullptr, 60);
        kestrel::placeGrid(s, 0.0f, 100.0f, 0.0f, 500.0f, 5.0f);
        std::vector<float> err;
        try {
            err.assign(static_cast<size_t>(s.nx) * static_cast<size_t>(s.ny), 0.0f);
        } catch (...) {
            err.clear();
        }
        for (int32_t j = 0; j < s.ny && !err.empty(); ++j)
            for (int32_t i = 0; i < s.nx; ++i) {
                float sp = 0, md = 0;
                int32_t used = 0;
                double e = 0;
                CALL("OAEstimateValueT", e = OAEstimateValueT(s.xgt[i], s.ygt[j], 1, 1, &sp, &md, &used, &s));
                s.gridEst[j * s.nx + i] = static_cast<float>(e);
                err[static_cast<size_t>(j * s.nx + i)] = md;
            }
        CALL("UsrSys", UsrSys(dc, 0, 100, 7.0f, 1.5f, 500, 0, 4.5f, 1.5f));
        if (ps) CALL("PSUsrSys", PSUsrSys(ps, "", 0, 100, 7.0f, 1.5f, 500, 0, 4.5f, 1.5f));
        CALL("ShadeField", ShadeField(s.gridEst, 0, 0, s.xg, s.nx, s.yg, s.ny, -1.5f, 1.5f, 4, 18, dc, ps));
        CALL("ContourField", ContourField(s.gridEst, s.xg, s.nx, s.yg, s.ny, in.levels.data(), 4, dc, ps));
        if (!err.empty())
            CALL("EraseField", EraseField(err.data(), 4.0f, s.xg, s.nx, s.yg, s.ny, 0, dc, ps));
        CALL("DrawColorBar", DrawColorBar(dc, ps, "T", mCGS.fontSize, 0, 100, 7.0f, 500, 0, 4, 18, -1.5f, 1.5f));
        CALL("XAxisLabels", XAxisLabels(dc, 500, 0, 10, 20, "x", "", 1));
        CALL("YAxisLabels", YAxisLabels(dc, 0, 0, 50, 100, "depth", 1));
        CALL("DrawString", DrawString(dc, "Section title", 50, -20, 0, mCGS.fontSize));
    }
    CALL("OAFreeSet", OAFreeSet(&s));

    // The map: layout, frame and graticule, coastline, stations.
    float lonMin = -40, lonMax = 40, latMin = -30, latMax = 40, cLon = 0, cLat = 0;
    float xMin = 0, xMax = 0, w = 0, xOff = 0, yMin = 0, yMax = 0, h = 0, yOff = 0;
    CALL("AdjustMapLayout", AdjustMapLayout(&xMin, &xMax, &w, &xOff, &yMin, &yMax, &h, &yOff, &lonMin, &lonMax,
                                            &cLon, &latMin, &latMax, &cLat, 5, 6.0f, 8.5f, 4.5f, 1.0f));
    CALL("UsrSys", UsrSys(dc, xMin, xMax, w, xOff, yMin, yMax, h, yOff));
    CALL("DrawWorld", DrawWorld(dc, ps, in.coast.c_str(), lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff,
                                yMin, yMax, h, yOff, 1, 1));
    CALL("DrawMapFrame", DrawMapFrame(dc, ps, lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h,
                                      yOff, 9, 0, 1));
    float sx[3] = {-10, 0, 10}, sy[3] = {0, 10, 20};
    for (int k = 0; k < 3; ++k) CALL("Project", Project(&sx[k], &sy[k]));
    CALL("DrawSymbols", DrawSymbols(dc, ps, sx, sy, 3, 1, 0.2f));
    int32_t rect[4] = {0, 0, W - 1, H - 1};
    CALL("BMPtoGIF", BMPtoGIF(dc, hBitmap, rect, in.gif.c_str()));
    if (ps) kestrel::plat::fileClose(ps);

    const bool armed = g_armed;
    g_armed = false;
    pixels.reserve(static_cast<size_t>(W) * H);
    for (int yy = 0; yy < H; ++yy)
        for (int xx = 0; xx < W; ++xx) pixels.push_back(kt::picturePixel(dc, xx, yy));
    g_armed = armed;
    CALL("the page's end (KCanvasDestroy, DeleteMYPalette)", kt::closePage(dc));
    return pixels;
}

TEST(Faults, EveryAllocationOfASectionAndAMapMayFail) {
    const Inputs in = makeInputs();
    Escapes escapes;
    g_count = 0;
    g_failAt = -1;
    g_armed = true;
    const std::vector<uint32_t> reference = drawAll(in, escapes);
    g_armed = false;
    const long total = g_count;
    ASSERT_TRUE(escapes.names.empty());
    ASSERT_GT(total, 10);
    for (long n = 1; n <= total; ++n) {
        g_count = 0;
        g_failAt = n;
        g_armed = true;
        try {
            drawAll(in, escapes);
        } catch (...) {
            g_armed = false;
            escapes.names.insert("the test itself at allocation " + std::to_string(n));
        }
        g_armed = false;
    }
    std::string names;
    for (const auto &e : escapes.names) names += " " + e;
    EXPECT_TRUE(escapes.names.empty()) << "exceptions crossed the interface from:" << names;
    g_count = 0;
    g_failAt = -1;
    g_armed = true;
    const std::vector<uint32_t> again = drawAll(in, escapes);
    g_armed = false;
    EXPECT_EQ(again, reference) << "a clean run after " << total << " failed ones draws another picture";
    std::printf("%ld allocations, each failed once\n", total);
}

}  // namespace
#endif
