// Polylines, polygons, arrows and boxes, on the device context and (where a
// PostScript file is given) as paths of the preamble's M, L and R.
#include <cmath>
#include <cstdio>
#include <utility>
#include <vector>

#include "base/guard.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/projection.h"
#include "kestrel/usrsys.h"
#include "plot/cover.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/transform.h"

using namespace kestrel;

namespace kestrel {
PaintedCover *gCoverTrace = nullptr;
}

namespace {

constexpr int32_t kMaxPolyPoints = 1500;  // the capacity of Vip

void writef(KFILE f, const char *format, double a, double b) {
    char line[128];
    std::snprintf(line, sizeof line, format, a, b);
    kestrel::psWrite(f, line);
}

// The PostScript width name for a pixel width: curves are written with the
// weight seen on the screen, and wider pens than the table has get its widest.
const char *psWidthName(int32_t pixels) { return szPSlWidth[pixels < 0 ? 0 : pixels > 5 ? 5 : pixels]; }

void beginPSLine(KFILE f, int32_t pixels) {
    char line[64];
    std::snprintf(line, sizeof line, "%s\nnp\n", psWidthName(pixels));
    kestrel::psWrite(f, line);
}

bool usable(float v) { return v != xmiss && std::isfinite(v); }

// Starts a line of a named width on both outputs: a solid pen in the current
// colour with the library palette active, and the PostScript width name.
// Returns the palette to restore.
KPALETTE beginLine(KDC dc, KFILE psFile, int32_t widthIndex) {
    float length = 0;
    const int32_t w = PixelLineWidth(widthIndex, &length);
    KPALETTE previous = nullptr;
    if (dc) {
        previous = ActivateMyPalette(dc);
        plat::selectObject(dc, plat::createPen(plat::PenSolid, w, mCGS.color));
    }
    if (psFile) beginPSLine(psFile, w);
    return previous;
}

void endLine(KDC dc, KFILE psFile, KPALETTE previous, const char *caller) {
    if (dc) {
        RestorePen(dc, caller);
        RestorePalette(dc, previous, caller);
    }
    if (psFile) kestrel::psWrite(psFile, "stroke\n");
}

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL DrawCurve(KDC dc, KFILE psFile, const float *x, const float *y, int32_t n,
                                        float missing, int32_t symbolType, float symbolSize, int32_t widthIndex) {
    return kestrel::guarded<void>("DrawCurve", [&]() -> void {
        if (!x || !y || n < 1) return;
        if (widthIndex >= 0 && n >= 2) {
            KPALETTE previous = beginLine(dc, psFile, widthIndex);
            // One first-point flag for both outputs: with a device context its
            // move clears it, so every PostScript point is written with L (the
            // preamble's L starts a path where there is none).
            bool first = true;
            for (int32_t i = 0; i < n; ++i) {
                if (x[i] == missing || y[i] == missing) continue;  // skipped without breaking the line
                if (dc) {
                    if (first) {
                        plat::moveTo(dc, xPixel(x[i]), yPixel(y[i]));
                        first = false;
                    } else {
                        plat::lineTo(dc, xPixel(x[i]), yPixel(y[i]));
                    }
                }
                if (psFile) {
                    writef(psFile, first ? "%g %g M\n" : "%g %g L\n", x[i], y[i]);
                    first = false;
                }
            }
            endLine(dc, psFile, previous, "DrawCurve");
        }
        if (symbolSize > 0) DrawSymbols(dc, psFile, x, y, n, symbolType, symbolSize * 0.1f);
    });
}

KESTREL_API void KESTREL_CALL DrawPoly(KDC dc, KFILE psFile, float *x, float *y, int32_t n, int32_t project,
                                       int32_t mode) {
    return kestrel::guarded<void>("DrawPoly", [&]() -> void {
        if (!x || !y || n < 1) return;
        if (n > kMaxPolyPoints) n = kMaxPolyPoints;
        if (project)
            for (int32_t i = 0; i < n; ++i) Project(&x[i], &y[i]);  // in the caller's arrays
        if (dc) {
            for (int32_t i = 0; i < n; ++i) {
                Vip[i][0] = xPixel(x[i]);
                Vip[i][1] = yPixel(y[i]);
            }
            nVp = n;
            const auto *pts = reinterpret_cast<const KPoint32 *>(Vip);
            if (mode & 2) plat::polygon(dc, pts, n);
            if (mode & 1) plat::polyline(dc, pts, n);
        }
        if ((mode & 2) && gCoverTrace && (dc || psFile)) {
            std::vector<std::pair<float, float>> polygon;
            polygon.reserve(static_cast<size_t>(n));
            for (int32_t i = 0; i < n; ++i) polygon.emplace_back(x[i], y[i]);
            gCoverTrace->polygons.push_back(std::move(polygon));
        }
        if (psFile) {
            writef(psFile, "\nnp\n%g %g M\n", x[0], y[0]);
            for (int32_t i = 1; i < n; ++i) {
                const float dx = x[i] - x[i - 1], dy = y[i] - y[i - 1];
                if (dx != 0.0f || dy != 0.0f) writef(psFile, "%g %g R\n", dx, dy);
            }
            if (mode & 2) kestrel::psWrite(psFile, "Fill\n");  // the preamble's Fill keeps the path
            if (mode & 1) kestrel::psWrite(psFile, "stroke\n");
        }
    });
}

KESTREL_API void KESTREL_CALL DrawClippedPolyline(KDC dc, KFILE psFile, const float *x, const float *y, int32_t n,
                                                  float missing, int32_t widthIndex) {
    return kestrel::guarded<void>("DrawClippedPolyline", [&]() -> void {
        if (!x || !y || n < 2) return;
        // The viewport's user rectangle, whichever way its axes run.
        const double xlo = std::fmin(VX.umin, VX.umax), xhi = std::fmax(VX.umin, VX.umax);
        const double ylo = std::fmin(VY.umin, VY.umax), yhi = std::fmax(VY.umin, VY.umax);
        KPALETTE previous = beginLine(dc, psFile, widthIndex);
        bool penDown = false;  // the last point written ends a visible piece
        auto emit = [&](double ux, double uy, bool move) {
            const float fx = static_cast<float>(ux), fy = static_cast<float>(uy);
            if (dc) {
                if (move)
                    plat::moveTo(dc, xPixel(fx), yPixel(fy));
                else
                    plat::lineTo(dc, xPixel(fx), yPixel(fy));
            }
            if (psFile) {
                char line[128];
                std::snprintf(line, sizeof line, "%g %g %s\n", fx, fy, move ? "M" : "L");
                kestrel::psWrite(psFile, line);
            }
        };
        for (int32_t i = 1; i < n; ++i) {
            if (x[i - 1] == missing || y[i - 1] == missing || x[i] == missing || y[i] == missing ||
                !usable(x[i - 1]) || !usable(y[i - 1]) || !usable(x[i]) || !usable(y[i])) {
                penDown = false;  // a missing point breaks the line
                continue;
            }
            // Liang-Barsky: the part of the segment inside the rectangle.
            const double x0 = x[i - 1], y0 = y[i - 1], dx = x[i] - x0, dy = y[i] - y0;
            double t0 = 0, t1 = 1;
            const double p[4] = {-dx, dx, -dy, dy}, q[4] = {x0 - xlo, xhi - x0, y0 - ylo, yhi - y0};
            bool inside = true;
            for (int k = 0; k < 4 && inside; ++k) {
                if (p[k] == 0) {
                    inside = q[k] >= 0;
                } else {
                    const double t = q[k] / p[k];
                    if (p[k] < 0) t0 = std::fmax(t0, t);
                    else t1 = std::fmin(t1, t);
                    inside = t0 <= t1;
                }
            }
            if (!inside) {
                penDown = false;
                continue;
            }
            if (!penDown || t0 > 0) emit(x0 + t0 * dx, y0 + t0 * dy, true);
            emit(x0 + t1 * dx, y0 + t1 * dy, false);
            penDown = t1 >= 1;
        }
        endLine(dc, psFile, previous, "DrawClippedPolyline");
    });
}

KESTREL_API void KESTREL_CALL DrawArrows(KDC dc, KFILE psFile, const float *x, const float *y, const float *u,
                                         const float *v, int32_t n, float scale, float headSize,
                                         int32_t widthIndex) {
    return kestrel::guarded<void>("DrawArrows", [&]() -> void {
        if (!x || !y || !u || !v || n < 1 || !std::isfinite(scale) || !std::isfinite(headSize)) return;
        // Arrows are laid out on the page (length units, y up) and then carried
        // into user units, so that they keep their shape on any user system.
        const double ux = static_cast<double>(VX.userPerLength), uy = static_cast<double>(VY.userPerLength);
        if (!std::isfinite(ux) || !std::isfinite(uy)) return;
        KPALETTE previous = beginLine(dc, psFile, widthIndex);
        const double spread = 22.0 * 3.14159265358979323846 / 180.0;  // half angle of the head
        for (int32_t i = 0; i < n; ++i) {
            if (!usable(x[i]) || !usable(y[i]) || !usable(u[i]) || !usable(v[i])) continue;
            const double lx = static_cast<double>(u[i]) * scale, ly = static_cast<double>(v[i]) * scale;
            const double len = std::hypot(lx, ly);
            if (!(len > 0) || !std::isfinite(len)) continue;
            const double dir = std::atan2(ly, lx);
            const double head = std::fmin(static_cast<double>(headSize), len);
            const float tx = static_cast<float>(x[i] + lx * ux), ty = static_cast<float>(y[i] + ly * uy);
            float bx[2], by[2];
            for (int k = 0; k < 2; ++k) {
                const double a = dir + (k ? spread : -spread);
                bx[k] = static_cast<float>(tx - head * std::cos(a) * ux);
                by[k] = static_cast<float>(ty - head * std::sin(a) * uy);
            }
            if (dc) {
                plat::moveTo(dc, xPixel(x[i]), yPixel(y[i]));
                plat::lineTo(dc, xPixel(tx), yPixel(ty));
                if (head > 0) {
                    plat::moveTo(dc, xPixel(bx[0]), yPixel(by[0]));
                    plat::lineTo(dc, xPixel(tx), yPixel(ty));
                    plat::lineTo(dc, xPixel(bx[1]), yPixel(by[1]));
                }
            }
            if (psFile) {
                writef(psFile, "%g %g M\n", x[i], y[i]);
                writef(psFile, "%g %g L\n", tx, ty);
                if (head > 0) {
                    writef(psFile, "%g %g M\n", bx[0], by[0]);
                    writef(psFile, "%g %g L\n", tx, ty);
                    writef(psFile, "%g %g L\n", bx[1], by[1]);
                }
            }
        }
        endLine(dc, psFile, previous, "DrawArrows");
    });
}

KESTREL_API void KESTREL_CALL DrawBox(KDC dc, int32_t left, int32_t top, int32_t right, int32_t bottom) {
    return kestrel::guarded<void>("DrawBox", [&]() -> void {
        if (!dc) return;
        KPALETTE previous = ActivateMyPalette(dc);
        plat::selectObject(dc, plat::createPen(plat::PenSolid, mCGS.penWidth, mCGS.color));
        plat::beginPath(dc);
        plat::moveTo(dc, left, top);
        plat::lineTo(dc, right, top);
        plat::lineTo(dc, right, bottom);
        plat::lineTo(dc, left, bottom);
        plat::lineTo(dc, left, top);
        plat::endPath(dc);
        plat::strokePath(dc);
        RestorePen(dc, "DrawBox");
        RestorePalette(dc, previous, "DrawBox");
    });
}

KESTREL_API void KESTREL_CALL CopyRectPix(int32_t *rect, float *xScale, float *yScale) {
    return kestrel::guarded<void>("CopyRectPix", [&]() -> void {
        if (rect) {
            rect[0] = VX.lowPix;
            rect[1] = VY.highPix;
            rect[2] = VX.highPix;
            rect[3] = VY.lowPix;
        }
        if (xScale) *xScale = VX.pixPerUser;
        if (yScale) *yScale = VY.pixPerUser;
    });
}

KESTREL_API void KESTREL_CALL ODADrawColorRect(KDC dc, const int32_t *rect, int32_t index, int32_t selected) {
    return kestrel::guarded<void>("ODADrawColorRect", [&]() -> void {
        if (!dc || !rect || index < 0 || index >= mCGS.paletteSize || index > 255) return;
        const int32_t l = clampPixel(rect[0]), t = clampPixel(rect[1]), r = clampPixel(rect[2]), b = clampPixel(rect[3]);
        if (int64_t{r} - l < 5 || int64_t{b} - t < 5) return;  // no room for a swatch inside its frame
        const KCOLORREF swatch = mCGS.colorMode == 1 ? plat::rgb(Vcolor[index][0], Vcolor[index][1], Vcolor[index][2])
                                                     : VCR[index];
        KPALETTE previous = ActivateMyPalette(dc);
        // The swatch, outlined in black, two pixels inside the item.
        plat::selectObject(dc, plat::createPen(plat::PenSolid, 1, plat::rgb(0, 0, 0)));
        plat::selectObject(dc, plat::createSolidBrush(swatch));
        plat::rectangle(dc, l + 2, t + 2, r - 2, b - 2);
        RestoreBrush(dc, "ODADrawColorRect");
        RestorePen(dc, "ODADrawColorRect");
        // The selection frame along the item's edge: black when selected, white
        // (erasing a previous frame) when not.
        plat::selectObject(dc, plat::createPen(plat::PenSolid, 1, selected ? plat::rgb(0, 0, 0) : plat::rgb(255, 255, 255)));
        plat::selectObject(dc, plat::getStockObject(plat::StockNullBrush));
        plat::rectangle(dc, l, t, r, b);
        plat::selectObject(dc, hBB);
        RestorePen(dc, "ODADrawColorRect");
        RestorePalette(dc, previous, "ODADrawColorRect");
    });
}

}  // extern "C"
