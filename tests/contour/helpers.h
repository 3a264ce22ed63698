// Helpers shared by the contouring tests.
#ifndef KESTREL_TESTS_CONTOUR_HELPERS_H
#define KESTREL_TESTS_CONTOUR_HELPERS_H

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "common/testing.h"
#include "kestrel/contour.h"
#include "kestrel/usrsys.h"

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

// Reference tracer: ContourLine as the documented steps on the exported
// segment list (CTsetgs, CTstapth, CTconpth, CTaddpoi, CToutpth, CTpackgs),
// which the library's tracer replaces with a table of its own.
namespace ref {

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
    for (int32_t st = CTstapth(f, g.nx, g.ny, s, n, -1); st != -1; st = CTstapth(f, g.nx, g.ny, s, n, -1)) {
        nVp = 0;
        add(st);
        const uint8_t startKind = s[st].kind;
        s[st].kind = 0;
        int32_t cur = st, cell = cellOf(s[st]), ck = startKind;
        for (;;) {
            const int32_t nk = CTconpth(f, g.nx, g.ny, s, n, cell, ck, cur, -1);
            if (nk == -1) break;
            add(nk);
            cur = nk;
            cell = cellOf(s[nk]);
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
        const int32_t ring = CTconpth(f, g.nx, g.ny, s, n, cell, ck, cur, -1);
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
