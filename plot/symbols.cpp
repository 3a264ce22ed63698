// Marker symbols: eight shapes on the device context, and DrawSymbols, which
// also writes them to PostScript with the symbol procedures of the preamble.
//
// A symbol of size s (page length units) at magnification m measures
// k = m * VX.pixPerLength * s pixels; each shape takes its extents as
// truncated fractions of k. The preamble draws the same shapes from the
// same fractions of the size it is given (10 s, in tenths of a unit).
#include <cmath>
#include <cstdio>

#include "base/guard.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/transform.h"

using namespace kestrel;

namespace {

// Symbols larger than this (page length units) are out of range: nothing is
// drawn, on the screen or in PostScript.
constexpr float kMaxSymbolSize = 1000.0f;
// A symbol centre this far off any device is not drawn.
constexpr int32_t kFarPixel = 1 << 24;

bool validSize(float size) { return size > 0.0f && size <= kMaxSymbolSize; }

int32_t extent(float size, double factor, int32_t least) {
    const int32_t e = truncPixel(static_cast<long double>(mCGS.mag) * VX.pixPerLength * size * factor);
    return e < least ? least : e;
}

// The frame every symbol routine shares: library palette, a solid pen of the
// graphics-state width and, for filled shapes, a solid brush, all in the
// current colour; then one shape per point that is not missing; then pen,
// brush and palette put back under the routine's name.
template <class Shape>
void drawEach(KDC dc, const float *x, const float *y, int32_t n, float size, const char *caller, Shape shape) {
    if (!dc || !x || !y || n < 1 || !validSize(size)) return;
    KPALETTE previous = ActivateMyPalette(dc);
    plat::selectObject(dc, plat::createPen(plat::PenSolid, mCGS.penWidth, mCGS.color));
    plat::selectObject(dc, mCGS.fill ? static_cast<plat::GdiObj>(plat::createSolidBrush(mCGS.color))
                                     : plat::getStockObject(plat::StockNullBrush));
    for (int32_t i = 0; i < n; ++i) {
        if (x[i] == xmiss || y[i] == xmiss) continue;
        const int32_t px = xPixel(x[i]), py = yPixel(y[i]);
        if (px < -kFarPixel || px > kFarPixel || py < -kFarPixel || py > kFarPixel) continue;
        shape(px, py);
    }
    RestorePen(dc, caller);
    if (mCGS.fill) {
        RestoreBrush(dc, caller);
    } else {
        plat::selectObject(dc, hBB);  // the null brush is a stock object: nothing to delete
    }
    RestorePalette(dc, previous, caller);
}

// A closed outline, filled (and outlined) when the fill flag is set.
void closedShape(KDC dc, const KPoint32 *p, int n) {
    plat::beginPath(dc);
    plat::moveTo(dc, p[0].x, p[0].y);
    for (int i = 1; i < n; ++i) plat::lineTo(dc, p[i].x, p[i].y);
    plat::closeFigure(dc);
    plat::endPath(dc);
    if (mCGS.fill)
        plat::strokeAndFillPath(dc);
    else
        plat::strokePath(dc);
}

void segment(KDC dc, int x0, int y0, int x1, int y1) {
    plat::moveTo(dc, x0, y0);
    plat::lineTo(dc, x1, y1);
}

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL DrawDots(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawDots", [&]() -> void {
        if (!validSize(size)) return;
        const int32_t r = extent(size, 0.51, 0);
        drawEach(dc, x, y, n, size, "DrawDots", [&](int32_t px, int32_t py) {
            if (r < 2) {  // too small for a circle: a stroke, or a 3 x 3 plus
                segment(dc, px, py + r, px, py - r - 1);
                if (r == 1) segment(dc, px + r, py, px - r - 1, py);
            } else {
                plat::ellipse(dc, px - r, py - r, px + r, py + r);
            }
        });
    });
}

KESTREL_API void KESTREL_CALL DrawSquares(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawSquares", [&]() -> void {
        if (!validSize(size)) return;
        const int32_t h = extent(size, 0.41, 1);
        drawEach(dc, x, y, n, size, "DrawSquares", [&](int32_t px, int32_t py) {
            const KPoint32 p[4] = {{px - h, py + h}, {px + h, py + h}, {px + h, py - h}, {px - h, py - h}};
            closedShape(dc, p, 4);
        });
    });
}

KESTREL_API void KESTREL_CALL DrawDiamonds(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawDiamonds", [&]() -> void {
        if (!validSize(size)) return;
        const int32_t a = extent(size, 0.5, 1), b = extent(size, 0.6, 1);  // half width, half height
        drawEach(dc, x, y, n, size, "DrawDiamonds", [&](int32_t px, int32_t py) {
            const KPoint32 p[4] = {{px, py - b}, {px + a, py}, {px, py + b}, {px - a, py}};
            closedShape(dc, p, 4);
        });
    });
}

KESTREL_API void KESTREL_CALL DrawTriangles(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawTriangles", [&]() -> void {
        if (!validSize(size)) return;
        const int32_t up = extent(size, 0.6, 1), half = extent(size, 0.5, 1), down = extent(size, 0.4, 1);
        drawEach(dc, x, y, n, size, "DrawTriangles", [&](int32_t px, int32_t py) {
            const KPoint32 p[3] = {{px, py - up}, {px + half, py + down}, {px - half, py + down}};
            closedShape(dc, p, 3);
        });
    });
}

KESTREL_API void KESTREL_CALL DrawInvTriangles(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawInvTriangles", [&]() -> void {
        if (!validSize(size)) return;
        const int32_t up = extent(size, 0.6, 1), half = extent(size, 0.5, 1), down = extent(size, 0.4, 1);
        drawEach(dc, x, y, n, size, "DrawInvTriangles", [&](int32_t px, int32_t py) {
            const KPoint32 p[3] = {{px, py + up}, {px - half, py - down}, {px + half, py - down}};
            closedShape(dc, p, 3);
        });
    });
}

KESTREL_API void KESTREL_CALL DrawCrosses(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawCrosses", [&]() -> void {
        if (!validSize(size)) return;
        const int32_t a = extent(size, 0.4, 1);
        drawEach(dc, x, y, n, size, "DrawCrosses", [&](int32_t px, int32_t py) {
            // A line leaves out its end pixel: one step further keeps the arms equal.
            segment(dc, px - a, py - a, px + a + 1, py + a + 1);
            segment(dc, px - a, py + a, px + a + 1, py - a - 1);
        });
    });
}

KESTREL_API void KESTREL_CALL DrawPluses(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawPluses", [&]() -> void {
        if (!validSize(size)) return;
        const int32_t a = extent(size, 0.5, 1);
        drawEach(dc, x, y, n, size, "DrawPluses", [&](int32_t px, int32_t py) {
            segment(dc, px - a, py, px + a + 1, py);
            segment(dc, px, py - a, px, py + a + 1);
        });
    });
}

KESTREL_API void KESTREL_CALL DrawStars(KDC dc, const float *x, const float *y, int32_t n, float size) {
    return kestrel::guarded<void>("DrawStars", [&]() -> void {
        if (!validSize(size)) return;
        DrawPluses(dc, x, y, n, size);
        DrawCrosses(dc, x, y, n, size * 0.85f);
    });
}

KESTREL_API void KESTREL_CALL DrawSymbols(KDC dc, KFILE psFile, const float *x, const float *y, int32_t n,
                                          int32_t type, float size) {
    return kestrel::guarded<void>("DrawSymbols", [&]() -> void {
        if (!x || !y || n < 1 || !validSize(size)) return;
        using Routine = void(KESTREL_CALL *)(KDC, const float *, const float *, int32_t, float);
        static const Routine routines[8] = {DrawDots,  DrawSquares, DrawDiamonds, DrawTriangles, DrawInvTriangles,
                                            DrawStars, DrawCrosses, DrawPluses};
        if (dc && type >= 1 && type <= 8) routines[type - 1](dc, x, y, n, size);
        if (!psFile) return;
        // PostScript clamps the type: 0 writes dots and 9 upright crosses.
        const int32_t t = type < 1 ? 1 : type > 8 ? 8 : type;
        char line[160];
        std::snprintf(line, sizeof line, "%s\n", szPSlWidth[0]);
        kestrel::psWrite(psFile, line);
        for (int32_t i = 0; i < n; ++i) {
            if (x[i] == xmiss || y[i] == xmiss) continue;
            std::snprintf(line, sizeof line, "%g %g %g %s\n", x[i], y[i], size * 10, szPSsymbName[t - 1]);
            kestrel::psWrite(psFile, line);
        }
    });
}

}  // extern "C"
