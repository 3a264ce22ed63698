// User coordinate systems, viewports and the graphics state.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/guard.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/transform.h"

using namespace kestrel;

namespace {

// One axis of SetupUsrSys: everything but the pixel edges, which differ
// between x (both edges from the page origin) and y (top from the truncated
// bottom).
void setupAxis(KAxis &a, float u0, float u1, float extent, float offset, int32_t low, int32_t high) {
    const long double m = mCGS.mag;
    a.vpLength = static_cast<float>(m * extent);
    a.vpOffset = static_cast<float>(m * offset);
    a.umin = u0;
    a.umax = u1;
    a.lowPix = low;
    a.highPix = high;
    a.pixPerUser = static_cast<float>((static_cast<long double>(high) - low + 1) / (static_cast<long double>(u1) - u0));
    const long double upl = (static_cast<long double>(u1) - u0) / (m * extent);
    a.userPerLength = static_cast<float>(upl);
    a.userAtStart = static_cast<float>(u0 - upl * offset);
    a.userAtEnd = static_cast<float>(a.devLength * upl + static_cast<long double>(a.userAtStart));
}

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL SetupUsrSys(float x0, float x1, float width, float left, float y0, float y1,
                                          float height, float bottom) {
    return kestrel::guarded<void>("SetupUsrSys", [&]() -> void {
        const long double px = VX.pixPerLength, py = VY.pixPerLength;
        // The magnification scales the viewport lengths but not the pixel edges.
        const int32_t xLow = truncPixel(px * left);
        const int32_t xHigh = truncPixel(px * (static_cast<long double>(width) + left));
        setupAxis(VX, x0, x1, width, left, xLow, xHigh);
        const int32_t yLow = truncPixel(VY.devPixels - py * bottom);
        const int32_t yHigh = truncPixel(yLow - py * height);
        setupAxis(VY, y0, y1, height, bottom, yLow, yHigh);
    });
}

KESTREL_API float KESTREL_CALL DfltFontSize(float width, float height) {
    return kestrel::guarded<float>("DfltFontSize", [&]() -> float {
        const double lx = VX.devLength, ly = VY.devLength;
        return static_cast<float>(std::pow(0.75 * (width / lx + height / ly), 0.49) * lx * 0.4827586f);
    });
}

KESTREL_API void KESTREL_CALL UsrSys(KDC dc, float x0, float x1, float width, float left, float y0, float y1,
                                     float height, float bottom) {
    return kestrel::guarded<void>("UsrSys", [&]() -> void {
        SetupUsrSys(x0, x1, width, left, y0, y1, height, bottom);
        mCGS.defaultFontSize = DfltFontSize(width, height);
        ClipVWP(dc, mCGS.clip);
    });
}

KESTREL_API void KESTREL_CALL PSUsrSys(KFILE file, const char *prefix, float x0, float x1, float width, float left,
                                       float y0, float y1, float height, float bottom) {
    return kestrel::guarded<void>("PSUsrSys", [&]() -> void {
        if (!file) return;
        if (prefix) kestrel::psWrite(file, prefix);
        char line[400];
        std::snprintf(line, sizeof line, "%g %g %g %g %g %g %g %g UsrSys\n\n", x0, x1, width, left, y0, y1, height,
                      bottom);
        kestrel::psWrite(file, line);
    });
}

KESTREL_API void KESTREL_CALL ClipVWP(KDC dc, int32_t on) {
    return kestrel::guarded<void>("ClipVWP", [&]() -> void {
        if (!dc) return;
        plat::Rect r{};
        if (on == 0)
            r = plat::Rect{0, 0, VX.devPixels, VY.devPixels};
        else
            r = plat::Rect{VX.lowPix, VY.highPix, VX.highPix + 1, VY.lowPix};  // right widened, bottom not
        plat::clipRect(dc, &r);
    });
}

KESTREL_API void KESTREL_CALL FrameVWP(KDC dc, int32_t colour) {
    return kestrel::guarded<void>("FrameVWP", [&]() -> void {
        if (!dc) return;
        const int32_t w = truncPixel(static_cast<long double>(VX.pixPerLength) * 0.015L);
        KPALETTE previous = ActivateMyPalette(dc);
        ClipVWP(dc, 0);
        SetColor(colour);
        plat::selectObject(dc, plat::createPen(plat::PenSolid, 1, mCGS.color));
        const int32_t left = VX.lowPix, right = VX.highPix, bottom = VY.lowPix, top = VY.highPix;
        for (int32_t k = -w; k <= w; ++k) {
            plat::beginPath(dc);
            plat::moveTo(dc, left - k, bottom + k);
            plat::lineTo(dc, right + k, bottom + k);
            plat::lineTo(dc, right + k, top - k);
            plat::lineTo(dc, left - k, top - k);
            plat::lineTo(dc, left - k, bottom + k);
            plat::endPath(dc);
            plat::strokePath(dc);
        }
        RestorePen(dc, "FrameVWP");
        RestorePalette(dc, previous, "FrameVWP");
        if (mCGS.clip) ClipVWP(dc, 1);
    });
}

KESTREL_API void KESTREL_CALL InitCGS(KDC dc, KGraphicsState *cgs) {
    return kestrel::guarded<void>("InitCGS", [&]() -> void {
        if (!cgs) return;
        const int32_t keep = cgs->keep;
        std::memset(cgs, 0, sizeof *cgs);
        cgs->keep = keep;
        cgs->clip = 1;
        cgs->contour = 1;
        cgs->frame = 1;
        cgs->interactive = 1;
        cgs->penWidth = 1;
        cgs->fontFamily = 1;
        cgs->mag = 1.0f;
        cgs->mag2 = 1.0f;
        cgs->defaultFontSize = 12.0f;
        cgs->fontSize = 12.0f;
        cgs->cosAngle = 1.0;
        cgs->sinAngle = 0.0;
        cgs->screenCx = plat::getSystemMetrics(plat::SmCxScreen);
        cgs->screenCy = plat::getSystemMetrics(plat::SmCyScreen);
        cgs->captionCy = plat::getSystemMetrics(plat::SmCyCaption);
        cgs->menuCy = plat::getSystemMetrics(plat::SmCyMenu);
        cgs->frameCx = plat::getSystemMetrics(plat::SmCxFrame);
        cgs->frameCy = plat::getSystemMetrics(plat::SmCyFrame);
        cgs->vscrollCx = plat::getSystemMetrics(plat::SmCxVScroll);
        cgs->hscrollCy = plat::getSystemMetrics(plat::SmCyHScroll);
        if (dc) {
            cgs->devWidthMM = plat::getDeviceCaps(dc, plat::CapHorzSize);
            cgs->devHeightMM = plat::getDeviceCaps(dc, plat::CapVertSize);
            int bits = plat::getDeviceCaps(dc, plat::CapBitsPixel) * plat::getDeviceCaps(dc, plat::CapPlanes);
            if (bits > 30) bits = 30;
            if (bits < 0) bits = 0;
            cgs->numColors = int32_t{1} << bits;
        }
    });
}

KESTREL_API void KESTREL_CALL SetLorgVal(KDC dc, int32_t lorg) {
    return kestrel::guarded<void>("SetLorgVal", [&]() -> void {
        struct Origin {
            unsigned align;
            double fx, fy;
        };
        static const Origin table[9] = {
            {plat::TaCenter | plat::TaBaseline, -0.5, -0.5},  // 0 and anything unknown: centre
            {plat::TaCenter | plat::TaTop, -0.5, -1.0},       // 1 top centre
            {plat::TaCenter | plat::TaBottom, -0.5, 0.0},     // 2 bottom centre
            {plat::TaRight | plat::TaTop, -1.0, -1.0},        // 3 top right
            {plat::TaRight | plat::TaBottom, -1.0, 0.0},      // 4 bottom right
            {plat::TaLeft | plat::TaTop, 0.0, -1.0},          // 5 top left
            {plat::TaLeft | plat::TaBottom, 0.0, 0.0},        // 6 bottom left
            {plat::TaRight | plat::TaBaseline, -1.0, -0.5},   // 7 middle right
            {plat::TaLeft | plat::TaBaseline, 0.0, -0.5},     // 8 middle left
        };
        mCGS.lorg = lorg;
        const Origin &o = table[(lorg >= 1 && lorg <= 8) ? lorg : 0];
        if (dc) plat::setTextAlign(dc, o.align);
        dli.fx = o.fx;
        dli.fy = o.fy;
    });
}

KESTREL_API void KESTREL_CALL SetDoFill(KDC dc, int32_t fill) {
    return kestrel::guarded<void>("SetDoFill", [&]() -> void {
        mCGS.fill = fill;
        if (dc) plat::setBkMode(dc, fill ? plat::BkOpaque : plat::BkTransparent);
    });
}

KESTREL_API int32_t KESTREL_CALL PixelLineWidth(int32_t index, float *length) {
    return kestrel::guarded<int32_t>("PixelLineWidth", [&]() -> int32_t {
        static const float tenths[6] = {0.05f, 0.25f, 0.55f, 1.1f, 2.2f, 4.0f};
        float dummy = 0;
        float &len = length ? *length : dummy;
        len = 0.05f;
        if (index < 0 || index > 5) return 1;
        len = tenths[index] * 0.1f;
        int32_t px = truncPixel(static_cast<long double>(len) * VX.pixPerLength);
        const int32_t floor = index < 3 ? index : 3;
        return px < floor ? floor : px;
    });
}

KESTREL_API void KESTREL_CALL InitmemDC(void) {
    return kestrel::guarded<void>("InitmemDC", [&]() -> void {
        KDC dc = hdcMem;
        if (dc) {
            ClipVWP(dc, 0);
            plat::Rect r{0, 0, Vbmp_size_cx, Vbmp_size_cy};
            plat::fillRect(dc, &r, static_cast<KBRUSH>(plat::getStockObject(plat::StockWhiteBrush)));
        }
        Vdraw_ticmark = 0;
        mCGS.frame = 0;
        mCGS.boxFrame = 0;
        mCGS.interactive = 1;
        mCGS.contour = 1;
        mCGS.clip = 1;
        mCGS.mag = 1.0f;
        mCGS.mag2 = 1.0f;
        mCGS.penWidth = 1;
        SetLorgVal(dc, 0);
        SetDoFill(dc, 1);
        for (int32_t &w : mCGS.colorState) w = 0;
        UsrSys(dc, 0, static_cast<float>(Vbmp_size_cx), VX.devLength, 0, 0, static_cast<float>(Vbmp_size_cy),
               VY.devLength, 0);
        mCGS.fontFamily = 1;
        mCGS.defaultFontSize = 12.0f;
        mCGS.fontSize = 12.0f;
        mCGS.textAngle = 0;
        mCGS.cosAngle = 1.0;
        mCGS.sinAngle = 0.0;
        SetColorMode(0);
    });
}

}  // extern "C"
