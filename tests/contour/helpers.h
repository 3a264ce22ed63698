// Helpers shared by the contouring tests.
#ifndef KESTREL_TESTS_CONTOUR_HELPERS_H
#define KESTREL_TESTS_CONTOUR_HELPERS_H

#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kestrel/contour.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"

namespace ct {

struct Grid {
    int32_t nx = 0, ny = 0;
    std::vector<float> x, y, z;
    float &at(int32_t i, int32_t j) { return z[static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i)]; }
};

inline Grid makeGrid(int32_t nx, int32_t ny) {
    Grid g;
    g.nx = nx;
    g.ny = ny;
    g.x.resize(static_cast<size_t>(nx));
    g.y.resize(static_cast<size_t>(ny));
    g.z.assign(static_cast<size_t>(nx) * static_cast<size_t>(ny), 0.0f);
    for (int32_t i = 0; i < nx; ++i) g.x[static_cast<size_t>(i)] = static_cast<float>(i);
    for (int32_t j = 0; j < ny; ++j) g.y[static_cast<size_t>(j)] = static_cast<float>(j);
    return g;
}

// A 20 x 15 length-unit page of 800 x 600 pixels, the user system spanning
// the grid's coordinates.
inline void setupAxes(const Grid &g) {
    VX.devPixels = 800;
    VY.devPixels = 600;
    VX.devLength = 20.0f;
    VY.devLength = 15.0f;
    VX.pixPerLength = 40.0f;
    VY.pixPerLength = 40.0f;
    mCGS.mag = 1.0f;
    SetupUsrSys(g.x.front(), g.x.back(), 18.0f, 1.0f, g.y.front(), g.y.back(), 13.0f, 1.0f);
}

// Runs body with a fresh output file and returns what it wrote.
inline std::string capture(const std::string &name, const std::function<void(KFILE)> &body) {
    // One folder per test: ctest runs the tests of a program in parallel.
    const auto *info = ::testing::UnitTest::GetInstance()->current_test_info();
    const std::string test = info ? std::string(info->test_suite_name()) + "." + info->name() : "none";
    const std::string path = kt::scratchDir("contour/" + test + "/" + name) + "/out.txt";
    KFILE f = kestrel::plat::fileCreate(path.c_str());
    EXPECT_NE(f, nullptr);
    body(f);
    kestrel::plat::fileClose(f);
    return kt::readFile(path);
}

// One piece of a plain path list: vertices as (x, y).
struct Piece {
    std::vector<std::pair<float, float>> v;
};

// Parses format 1: "n n" then n lines "y x".
inline std::vector<Piece> parsePathList(const std::string &text) {
    std::vector<Piece> out;
    std::istringstream in(text);
    int n1, n2;
    while (in >> n1 >> n2) {
        EXPECT_EQ(n1, n2);
        Piece p;
        for (int k = 0; k < n1; ++k) {
            float y, x;
            in >> y >> x;
            p.v.emplace_back(x, y);
        }
        out.push_back(p);
    }
    return out;
}

// Reference tracer: ContourLine exactly as its steps read, with plain linear
// scans of the segment list (independent of the library's searches).
namespace ref {

inline int32_t findi(int32_t col, int32_t row, int32_t kind, const GRIDSEGMENT *s, int32_t n, int32_t lo, int32_t hi) {
    if (col == -1 || row == -1 || kind == 0) return -1;
    if (lo < 0) lo = 0;
    if (hi > n - 1) hi = n - 1;
    for (int32_t k = lo; k <= hi; ++k)
        if (s[k].column == col && s[k].row == row && s[k].kind == kind) return k;
    return -1;
}

inline int32_t conpth(const float *f, int32_t nx, const GRIDSEGMENT *s, int32_t n, int32_t i, int32_t j, int kind,
                      int32_t k) {
    const int32_t w = 2 * nx;
    auto F = [&](int32_t a, int32_t b) { return f[b * nx + a]; };
    int32_t r = -1;
    auto tryit = [&](int32_t c, int32_t rw, int32_t kd, int32_t lo, int32_t hi) {
        if (r == -1) r = findi(c, rw, kd, s, n, lo, hi);
    };
    if (kind == 1 && F(i, j) > F(i + 1, j)) {
        tryit(i, j, 2, k + 1, k + 1);
        tryit(i, j + 1, 1, k + 1, k + 1 + w);
        tryit(i + 1, j, 2, k + 1, k + 4);
    } else if (kind == 1) {
        tryit(i + 1, j - 1, 2, k - 1 - w, k - 1);
        tryit(i, j - 1, 1, k - 1 - w, k - 1);
        tryit(i, j - 1, 2, k - 1 - w - 6, k - 1);
    } else if (F(i, j) > F(i, j + 1)) {
        tryit(i - 1, j, 1, k - 3, k - 1);
        tryit(i - 1, j, 2, k - 2, k - 1);
        tryit(i - 1, j + 1, 1, k + 1, k + 1 + w);
    } else {
        tryit(i, j + 1, 1, k + 1, k + 1 + w);
        tryit(i + 1, j, 2, k + 1, k + 2);
        tryit(i, j, 1, k - 1, k - 1);
    }
    return r;
}

inline int32_t stapth(const float *f, int32_t nx, int32_t ny, const GRIDSEGMENT *s, int32_t n) {
    auto F = [&](int32_t a, int32_t b) { return f[b * nx + a]; };
    for (int32_t k = 0; k < n; ++k) {
        const int32_t i = s[k].column, j = s[k].row;
        if (j == 0 && s[k].kind == 1 && F(i, 0) > F(i + 1, 0)) return k;
        if (j == ny - 1 && s[k].kind == 1 && F(i, j) < F(i + 1, j)) return k;
        if (i == 0 && s[k].kind == 2 && F(0, j) < F(0, j + 1)) return k;
        if (i == nx - 1 && s[k].kind == 2 && F(i, j) > F(i, j + 1)) return k;
    }
    for (int32_t k = 0; k < n; ++k)
        if (s[k].kind != 0) return k;
    return -1;
}

inline int32_t cellOf(const GRIDSEGMENT &s) {
    return static_cast<int32_t>((static_cast<uint32_t>(static_cast<uint16_t>(s.row)) << 16) |
                                static_cast<uint16_t>(s.column));
}

inline void contourLine(KDC hdc, KFILE ps, Grid &g, KContourLabel *labels, int32_t *nl, float level, int32_t factor,
                        int32_t size) {
    int32_t n = 0;
    GRIDSEGMENT *s = CTsetgs(g.z.data(), level, g.nx, g.ny, &n);
    if (!s) return;
    const float *f = g.z.data();
    auto add = [&](int32_t k) {
        CTaddpoi(f, level, g.x.data(), g.nx, g.y.data(), g.ny, cellOf(s[k]), s[k].kind);
    };
    auto out = [&] { CToutpth(hdc, ps, labels, nl, level, 0, 0, 0, factor, 3, size, 0); };
    for (int32_t st = stapth(f, g.nx, g.ny, s, n); st != -1; st = stapth(f, g.nx, g.ny, s, n)) {
        nVp = 0;
        add(st);
        const uint8_t startKind = s[st].kind;
        s[st].kind = 0;
        int32_t cur = st, ci = s[st].column, cj = s[st].row, ck = startKind;
        for (;;) {
            const int32_t nk = conpth(f, g.nx, s, n, ci, cj, ck, cur);
            if (nk == -1) break;
            add(nk);
            cur = nk;
            ci = s[nk].column;
            cj = s[nk].row;
            ck = s[nk].kind;
            s[nk].kind = 0;
            if (nVp > 1000) {
                out();
                Vfp[0][0] = Vfp[nVp - 1][0];
                Vfp[0][1] = Vfp[nVp - 1][1];
                Vip[0][0] = Vip[nVp - 1][0];
                Vip[0][1] = Vip[nVp - 1][1];
                nVp = 1;
            }
        }
        s[st].kind = startKind;
        const int32_t ring = conpth(f, g.nx, s, n, ci, cj, ck, cur);
        if (ring != -1) {
            add(ring);
            s[ring].kind = 0;
        }
        s[st].kind = 0;
        out();
        n = CTpackgs(s, n);
    }
    std::free(s);
}

}  // namespace ref

}  // namespace ct

#endif
