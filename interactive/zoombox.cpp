// The zoom box: a red rectangle with square handles dragged over the plot
// (ZoomViewPort) or over a strip beside it for the colour range
// (ZoomColorBar).
#include <cmath>
#include <cstdio>
#include <utility>

#include "base/guard.h"
#include "interactive/session.h"
#include "kestrel/draw.h"
#include "kestrel/frame.h"
#include "kestrel/interactive.h"
#include "plot/transform.h"

using namespace kestrel;
using namespace kestrel::interactive;

namespace {

// "Erase only" marker of DrawZoomBox's x0.
constexpr float kEraseOnly = K_MISSING;
constexpr int kHandle = 4;  // handle squares are 4 x 4 pixels

// The box on the window, kept between calls so the next call can erase it
// (window pixels).
struct ZoomBoxState {
    bool shown = false;
    bool allHandles = false;
    int32_t left = 0, right = 0, top = 0, bottom = 0, xmid = 0, ymid = 0;
} gBox;

// The handle squares of the shown box as rectangles [left, right) x [top,
// bottom); returns how many.
int handleSquares(const ZoomBoxState &b, plat::Rect out[8]) {
    int n = 0;
    out[n++] = {b.xmid, b.top - kHandle, b.xmid + kHandle, b.top};
    out[n++] = {b.xmid, b.bottom, b.xmid + kHandle, b.bottom + kHandle};
    if (b.allHandles) {
        out[n++] = {b.left - kHandle, b.top - kHandle, b.left, b.top};
        out[n++] = {b.right, b.top - kHandle, b.right + kHandle, b.top};
        out[n++] = {b.left - kHandle, b.bottom, b.left, b.bottom + kHandle};
        out[n++] = {b.right, b.bottom, b.right + kHandle, b.bottom + kHandle};
        out[n++] = {b.left - kHandle, b.ymid, b.left, b.ymid + kHandle};
        out[n++] = {b.right, b.ymid, b.right + kHandle, b.ymid + kHandle};
    }
    return n;
}

// Window rectangle -> picture rectangle.
plat::Rect toPicture(plat::Rect r) {
    return {clampPixel(int64_t{r.left} + iHscrollPos), clampPixel(int64_t{r.top} + iVscrollPos),
            clampPixel(int64_t{r.right} + iHscrollPos), clampPixel(int64_t{r.bottom} + iVscrollPos)};
}

void eraseBox(KDC client) {
    if (!gBox.shown) return;
    const ZoomBoxState &b = gBox;
    // The four one-pixel edges, then each handle.
    restoreFromPicture(client, toPicture({b.left, b.top, b.right + 1, b.top + 1}));
    restoreFromPicture(client, toPicture({b.left, b.bottom, b.right + 1, b.bottom + 1}));
    restoreFromPicture(client, toPicture({b.left, b.top, b.left + 1, b.bottom + 1}));
    restoreFromPicture(client, toPicture({b.right, b.top, b.right + 1, b.bottom + 1}));
    plat::Rect squares[8];
    const int n = handleSquares(b, squares);
    for (int i = 0; i < n; ++i) restoreFromPicture(client, toPicture(squares[i]));
    gBox.shown = false;
}

// Which part of the box a picture pixel is on.
enum Zone { None = 0, LowerLeft, UpperRight, LowerRight, UpperLeft, Top, Left, Bottom, Right, Inside };

Zone boxZone(Point p, int32_t left, int32_t right, int32_t top, int32_t bottom) {
    auto near = [](int64_t a, int64_t b) { return std::abs(a - b) < 5; };
    if (near(p.x, right) && near(p.y, top)) return UpperRight;
    if (near(p.x, left) && near(p.y, bottom)) return LowerLeft;
    if (near(p.x, left) && near(p.y, top)) return UpperLeft;
    if (left + 10 < p.x && p.x < right - 10 && near(p.y, top)) return Top;
    if (near(p.x, right) && near(p.y, bottom)) return LowerRight;
    if (near(p.x, left) && top + 10 < p.y && p.y < bottom - 10) return Left;
    if (left + 10 < p.x && p.x < right - 10 && near(p.y, bottom)) return Bottom;
    if (near(p.x, right) && top + 10 < p.y && p.y < bottom - 10) return Right;
    if (left + 5 < p.x && p.x < right - 5 && top + 5 < p.y && p.y < bottom - 5) return Inside;
    return None;
}

int zoneCursor(Zone z) {
    switch (z) {
    case LowerLeft: case UpperRight: return plat::CursorSizeNESW;
    case LowerRight: case UpperLeft: return plat::CursorSizeNWSE;
    case Top: case Bottom: return plat::CursorSizeNS;
    case Left: case Right: return plat::CursorSizeWE;
    default: return plat::CursorSizeAll;
    }
}

// The modal loop both zoom tools share: messages, zones, capture, keys and
// dragging. The tool supplies the redraw, the zone test and the move.
template <class Tool>
int32_t runZoomLoop(Tool &tool) {
    mCGS.interactive = 0;  // the tools' done flag
    KBInitialize();
    int32_t result = 27;
    bool redraw = true, dragging = false, captured = false;
    Zone zone = None, shownZone = None;
    Point last{0, 0};
    while (!mCGS.interactive) {
        if (redraw) {
            tool.redraw();
            redraw = false;
        }
        const unsigned message = plat::waitOneMessage();
        if (outsideClick(message) || message == plat::MsgRButtonDown) {
            mCGS.interactive = 1;
            break;
        }
        const Point p = mouseInPicture();
        if (CM_Bstatus == 0) {
            zone = tool.zone(p);
            if (zone != None) {
                if (!captured) plat::captureMouse(hWndClient);
                captured = true;
                if (zone != shownZone) plat::setCursor(zoneCursor(zone));
            } else if (captured) {
                plat::releaseMouse();
                captured = false;
                plat::setCursor(plat::CursorArrow);
            }
            shownZone = zone;
        }
        if (!KBEmpty) {
            int32_t type = 0, one = 0, two = 0;
            KBGetKey(&type, &one, &two);
            if (CM_Bstatus == 1) {
                if (type == KB_PRESS && zone != None) {
                    dragging = true;
                    last = p;
                }
            } else if (type == KB_RELEASE) {
                dragging = false;
            } else if (type == KB_KEY && (one == 13 || one == 27)) {
                DrawZoomBox(kEraseOnly, 0.0f, 0.0f, 0.0f, 0);
                mCGS.interactive = 1;
                result = one;
            }
        }
        if (CM_Bstatus == 1 && dragging && !mCGS.interactive) {
            if (tool.drag(zone, p, last)) {
                last = p;
                redraw = true;
            }
        }
    }
    DrawZoomBox(kEraseOnly, 0.0f, 0.0f, 0.0f, 0);
    plat::releaseMouse();
    return result;
}

float userStep(int64_t pixels, const KAxis &a) {
    return a.pixPerUser != 0.0f ? static_cast<float>(pixels / static_cast<double>(a.pixPerUser)) : 0.0f;
}

struct ViewportTool {
    float *x0, *x1, *y0, *y1;
    int32_t xDecimals, yDecimals;
    StatusPrompt *status;
    int32_t left = 0, right = 0, top = 0, bottom = 0;

    void redraw() {
        left = xPixel(*x0);
        right = xPixel(*x1);
        bottom = yPixel(*y0);
        top = yPixel(*y1);
        if (left == right) {
            ++right;
            *x1 = userX(right);
        }
        if (bottom == top) {
            --top;
            *y1 = userY(top);
        }
        if (left > right) {
            std::swap(*x0, *x1);
            std::swap(left, right);
        }
        if (bottom < top) {
            std::swap(*y0, *y1);
            std::swap(bottom, top);
        }
        char text[200];
        std::snprintf(text, sizeof text, "LL: [%g/%g] - UR: [%g/%g]", KroundDecimals(*x0, xDecimals),
                      KroundDecimals(*y0, yDecimals), KroundDecimals(*x1, xDecimals),
                      KroundDecimals(*y1, yDecimals));
        status->coordinates(text);
        DrawZoomBox(*x0, *y0, *x1, *y1, 1);
    }

    Zone zone(Point p) const { return boxZone(p, left, right, top, bottom); }

    bool drag(Zone z, Point p, Point last) {
        const float dx = userStep(int64_t{p.x} - last.x, VX), dy = userStep(int64_t{p.y} - last.y, VY);
        if (dx == 0.0f && dy == 0.0f) return false;
        switch (z) {
        case LowerLeft: *x0 += dx; *y0 += dy; break;
        case UpperRight: *x1 += dx; *y1 += dy; break;
        case LowerRight: *x1 += dx; *y0 += dy; break;
        case UpperLeft: *x0 += dx; *y1 += dy; break;
        case Top: *y1 += dy; break;
        case Left: *x0 += dx; break;
        case Bottom: *y0 += dy; break;
        case Right: *x1 += dx; break;
        case Inside: *x0 += dx; *x1 += dx; *y0 += dy; *y1 += dy; break;
        default: break;
        }
        return true;
    }
};

struct ColourBarTool {
    float *z0, *z1;
    int32_t decimals;
    StatusPrompt *status;
    float y0 = 0, y1 = 0;       // the range's ends on the plot's y axis
    float stripLeftUser = 0, stripRightUser = 0;
    int32_t stripLeft = 0, stripRight = 0, row0 = 0, row1 = 0;
    double k = 0, a0 = 0;

    void setUp() {
        const double w = std::max(0.35 / (VX.vpLength != 0.0f ? VX.vpLength : 1.0f), 0.03);
        const int32_t p = truncPixel((static_cast<double>(VX.umax) - VX.umin) * w * VX.pixPerUser);
        stripLeft = clampPixel(int64_t{VX.highPix} + 1 + p / 2);
        stripRight = clampPixel(int64_t{stripLeft} + 2 * int64_t{p});
        stripLeftUser = userX(stripLeft);
        stripRightUser = userX(stripRight);
        a0 = Vcmap.a0;
        const double span = static_cast<double>(VY.umax) - VY.umin;
        k = span != 0.0 ? (static_cast<double>(Vcmap.a1) - Vcmap.a0) / span : 0.0;
        y0 = yOf(*z0);
        y1 = yOf(*z1);
    }
    float yOf(float z) const {
        return k != 0.0 && std::isfinite(k) ? static_cast<float>((z - a0) / k + VY.umin) : VY.umin;
    }
    float zOf(float y) const { return static_cast<float>((y - VY.umin) * k + a0); }

    void redraw() {
        row0 = yPixel(y0);
        row1 = yPixel(y1);
        if (row0 == row1) {
            --row1;
            y1 = userY(row1);
        }
        if (row0 < row1) {
            std::swap(y0, y1);
            std::swap(row0, row1);
        }
        *z0 = zOf(y0);
        *z1 = zOf(y1);
        char text[160];
        std::snprintf(text, sizeof text, "Z-Range: [%g - %g]", KroundDecimals(*z0, decimals),
                      KroundDecimals(*z1, decimals));
        status->coordinates(text);
        DrawZoomBox(stripLeftUser, y0, stripRightUser, y1, 2);
    }

    Zone zone(Point p) const {
        if (p.x <= stripLeft || p.x >= stripRight) return None;
        if (std::abs(int64_t{p.y} - row1) < 5) return Top;
        if (std::abs(int64_t{p.y} - row0) < 5) return Bottom;
        if (row1 + 5 < p.y && p.y < row0 - 5) return Inside;
        return None;
    }

    bool drag(Zone z, Point p, Point last) {
        const float dy = userStep(int64_t{p.y} - last.y, VY);
        if (dy == 0.0f) return false;
        if (z == Top || z == Inside) y1 += dy;
        if (z == Bottom || z == Inside) y0 += dy;
        return true;
    }
};

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL DrawZoomBox(float x0, float y0, float x1, float y1, int32_t allHandles) {
    return kestrel::guarded<void>("DrawZoomBox", [&]() -> void {
        KDC client = plat::getClientDC(hWndClient);
        eraseBox(client);
        if (x0 == kEraseOnly || !client) {
            plat::releaseClientDC(hWndClient, client);
            return;
        }
        ZoomBoxState &b = gBox;
        b.left = clampPixel(int64_t{xPixel(x0)} - iHscrollPos);
        b.right = clampPixel(int64_t{xPixel(x1)} - iHscrollPos);
        b.bottom = clampPixel(int64_t{yPixel(y0)} - iVscrollPos);
        b.top = clampPixel(int64_t{yPixel(y1)} - iVscrollPos);
        if (b.left > b.right) std::swap(b.left, b.right);
        if (b.top > b.bottom) std::swap(b.top, b.bottom);
        b.xmid = (b.left + b.right - kHandle) / 2;
        b.ymid = (b.top + b.bottom - kHandle) / 2;
        b.allHandles = allHandles == 1;
        b.shown = true;

        constexpr KCOLORREF red = 255;
        plat::selectObject(client, plat::createPen(plat::PenSolid, 1, red));
        plat::selectObject(client, plat::createSolidBrush(red));
        const KPoint32 outline[5] = {{b.left, b.bottom}, {b.right, b.bottom}, {b.right, b.top}, {b.left, b.top},
                                     {b.left, b.bottom}};
        plat::beginPath(client);
        plat::polyline(client, outline, 5);
        plat::endPath(client);
        plat::strokePath(client);
        plat::Rect squares[8];
        const int n = handleSquares(b, squares);
        for (int i = 0; i < n; ++i)
            plat::rectangle(client, squares[i].left, squares[i].top, squares[i].right, squares[i].bottom);
        RestorePen(client, "DrawZoomBox");
        RestoreBrush(client, "DrawZoomBox");
        plat::releaseClientDC(hWndClient, client);
    });
}

KESTREL_API int32_t KESTREL_CALL ZoomViewPort(float *x0, float *x1, int32_t xDecimals, float *y0, float *y1,
                                              int32_t yDecimals) {
    return kestrel::guardedOr<int32_t>("ZoomViewPort", 27, [&]() -> int32_t {
        if (!x0 || !x1 || !y0 || !y1) return 27;
        StatusPrompt status("ZOOM:   L-MSE drag,  ENTER accept,  ESC abort ...", true);
        ViewportTool tool{x0, x1, y0, y1, xDecimals, yDecimals, &status};
        const int32_t result = runZoomLoop(tool);
        status.finish();
        plat::setCursor(plat::CursorArrow);
        return result;
    });
}

KESTREL_API int32_t KESTREL_CALL ZoomColorBar(float *z0, float *z1, int32_t decimals) {
    return kestrel::guardedOr<int32_t>("ZoomColorBar", 27, [&]() -> int32_t {
        if (!z0 || !z1) return 27;
        StatusPrompt status("Z-ZOOM:   L-MSE drag,  ENTER accept,  ESC abort ...", true);
        ColourBarTool tool{z0, z1, decimals, &status};
        tool.setUp();
        const int32_t result = runZoomLoop(tool);
        status.finish();
        plat::setCursor(plat::CursorArrow);
        return result;
    });
}

KESTREL_API float KESTREL_CALL KroundDecimals(float value, int32_t decimals) {
    return kestrel::guarded<float>("KroundDecimals", [&]() -> float {
        // An integer power of ten, so that 2 decimals scale by exactly 100.
        double f = 1.0;
        const int64_t n = decimals < 0 ? -static_cast<int64_t>(decimals) : decimals;
        for (int64_t i = 0; i < n && i < 400; ++i) f *= 10.0;  // past 10^308 it is infinite anyway
        if (decimals < 0) f = 1.0 / f;
        const double s = static_cast<double>(value) * f;
        if (!(std::fabs(s) < 1e8) || s == 0.0) return value;  // NaN and the infinities too
        const double t = std::trunc(s);
        if (std::fabs(s - t) < 0.5) return static_cast<float>(t / f);
        return static_cast<float>((t + (s > 0 ? 1.0 : -1.0)) / f);
    });
}

}  // extern "C"
