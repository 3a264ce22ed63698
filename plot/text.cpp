// The library font and the string layout: sub- and superscripts, the symbol
// face, rotation, label origins, and boxes filled and framed around text.
//
// A string is laid out twice by ScanString: a measuring pass records every
// character's extent in Vfp and the text box in dli, and a drawing pass
// writes the characters along the baseline from the box's corner. Escapes:
//   ~#  text face (family 1) for what follows     ~$  symbol face (family 2)
//   ~_c c as subscript (0.7 size, -0.08 lines)    ~^c c as superscript (0.7 size, +0.4 lines)
// With the line height L = 1.2 h (h the text face's height), the width W of
// the characters plus one "I", the anchor factors (fx, fy) of the label
// origin and the direction (c, s) of the angle, the box corners in device
// pixels are
//   P0 = (px + fx W c - fy L s, py - fx W s - fy L c)     bottom left
//   P1 = P0 + (W c, -W s)   P2 = P1 + (-L s, -L c)   P3 = P2 - (W c, -W s)
// and the character cells sit centred in the line: the baseline starts half
// an "I" along and 0.1 h plus the descent up from P0.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/guard.h"
#include "plot/textstate.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/frame.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"
#include "plot/text.h"
#include "plot/transform.h"

using namespace kestrel;

namespace kestrel {
std::vector<PlacedChar> *gTextTrace = nullptr;
TextLayoutSettings gTextLayout;
}

namespace {

// The state of the text being drawn.
struct TextState {
    KFONT font = nullptr;        // the library font
    double raise = 0.0;          // platform correction of the current string, line heights
    double cos = 1.0, sin = 0.0; // direction of the string being drawn
    int family = 1;
} gText;

constexpr double kDegToRad = 0.0174533;

}  // namespace

namespace kestrel {
void releaseLibraryFont() {
    if (!gText.font) return;
    if (VCFontHDC) plat::selectObject(VCFontHDC, plat::getStockObject(plat::StockSystemFont));
    plat::deleteObject(gText.font);
    gText.font = nullptr;
    VCFontHDC = nullptr;
}
}  // namespace kestrel

extern "C" {

KESTREL_API void KESTREL_CALL SetMYFont(KDC dc, int32_t family, float size, int32_t angle) {
    return kestrel::guarded<void>("SetMYFont", [&]() -> void {
        if (!dc) return;
        if (family < 1 || family > 3) family = 1;
        double h = static_cast<double>(mFS.sizeFactor) * VY.pixPerLength * mCGS.mag * size * 0.04;
        if (family == 2) h *= 1.15;  // the symbol face runs small
        const int32_t height = truncPixel(h);
        if (gText.font) {
            KDC owner = VCFontHDC ? VCFontHDC : dc;
            plat::selectObject(owner, plat::getStockObject(plat::StockSystemFont));
            if (!plat::deleteObject(gText.font)) LogLastError("ERROR: Font deletion in SetMyFont failed!", 0);
            gText.font = nullptr;
        }
        static const int weights[4] = {300, 400, 500, 700};
        const int weight = weights[mFS.weight < 0 ? 0 : mFS.weight > 3 ? 3 : mFS.weight];
        char face[82];
        std::memcpy(face, mFS.face[family - 1], 81);
        face[81] = '\0';
        gText.font = plat::createFont(height, 0, angle, angle, weight, mFS.italic != 0, mFS.underline != 0,
                                  mFS.strikeOut != 0, face);
        if (!gText.font) {
            LogLastError("ERROR: Font creation in SetMyFont failed!", 0);
            return;
        }
        if (!plat::selectObject(dc, gText.font)) LogLastError("ERROR: Font selection in SetMyFont failed!", 0);
        plat::textMetrics(dc, &mCGS.tm);
        mCGS.fontFamily = family;
        mCGS.fontSize = size;
        mCGS.textAngle = angle;
        mCGS.cosAngle = std::cos(angle * 0.00174533);
        mCGS.sinAngle = std::sin(angle * 0.00174533);
        std::memcpy(mCGS.faceName, face, sizeof mCGS.faceName);
        mCGS.faceName[sizeof mCGS.faceName - 1] = '\0';
        VCFontHDC = dc;
        ++VCFontSelects;
    });
}

KESTREL_API void KESTREL_CALL CharOut(KDC dc, int32_t character, float raise, int32_t draw, int32_t advance,
                                      int32_t index) {
    return kestrel::guarded<void>("CharOut", [&]() -> void {
        if (!dc || index < 0 || index >= 1500) return;
        const char ch = static_cast<char>(character);
        if (!draw) {
            plat::Size sz{0, 0};
            plat::textExtent(dc, &ch, 1, &sz);
            Vfp[index][0] = static_cast<float>(sz.cx);
            Vfp[index][1] = static_cast<float>(sz.cy);
            return;
        }
        const double up = (raise + gText.raise) * dli.lineHeight;  // perpendicular to the baseline
        const double x = dli.curX - up * gText.sin, y = dli.curY - up * gText.cos;
        if (ch != ' ') {
            plat::textOut(dc, static_cast<int>(std::lround(x)), static_cast<int>(std::lround(y)), &ch, 1);
            if (gTextTrace) gTextTrace->push_back(PlacedChar{ch, x, y, raise, mCGS.tm.tmHeight, gText.family});
        }
        if (advance) {
            dli.curX += Vfp[index][0] * gText.cos;
            dli.curY -= Vfp[index][0] * gText.sin;
        }
    });
}

KESTREL_API void KESTREL_CALL ScanString(KDC dc, const char *text, float x, float y, float angle, float size,
                                         int32_t draw) {
    return kestrel::guarded<void>("ScanString", [&]() -> void {
        if (!dc || !text || !std::isfinite(angle) || !(size > 0) || !std::isfinite(size)) return;
        const int32_t tenths = static_cast<int32_t>(std::fmod(static_cast<double>(angle), 360.0) * 10);
        const int32_t fontAngle = draw ? tenths : 0;
        gText.cos = std::cos(tenths * 0.1 * kDegToRad);
        gText.sin = std::sin(tenths * 0.1 * kDegToRad);
        gText.family = 1;
        SetMYFont(dc, 1, size, fontAngle);
        if (!gText.font) return;
        double h = mCGS.tm.tmHeight, descent = mCGS.tm.tmDescent;
        if (!draw) {
            dli.fontHeight = h;
            dli.lineHeight = (1.0 + gTextLayout.lineSpacing) * h;
        }
        // Rotated text in the text face sits too low on the NT platforms' own
        // renderer; this raise puts it back on its line there.
        gText.raise = 0;
        const double as = std::fabs(gText.sin);
        if (sysInfo.osVersion.dwPlatformId == 2 && as > 0.001 && as < 0.999) gText.raise = -0.12;

        unsigned align = 0;
        if (draw) align = plat::setTextAlign(dc, plat::TaLeft | plat::TaBaseline);
        int32_t index = 0;
        for (const char *p = text; *p && index < 1500; ++p) {
            if (p[0] == '~' && p[1]) {
                const char e = p[1];
                if (e == '#' || e == '$') {
                    gText.family = e == '#' ? 1 : 2;
                    if (draw) gText.raise = (gText.family == 1 && as > 0.001 && as < 0.999 && sysInfo.osVersion.dwPlatformId == 2) ? -0.12 : 0;
                    SetMYFont(dc, gText.family, size, fontAngle);
                    ++p;
                    continue;
                }
                if ((e == '_' || e == '^') && p[2]) {
                    SetMYFont(dc, gText.family, 0.7f * size, fontAngle);
                    CharOut(dc, static_cast<unsigned char>(p[2]), e == '_' ? -0.08f : 0.4f, draw, 1, index++);
                    SetMYFont(dc, gText.family, size, fontAngle);  // back to full size
                    p += 2;
                    continue;
                }
            }
            CharOut(dc, static_cast<unsigned char>(*p), 0.0f, draw, 1, index++);
        }
        if (draw) {
            plat::setTextAlign(dc, align);
            return;
        }
        // The box: the characters plus one "I" of the text face.
        SetMYFont(dc, 1, size, 0);
        plat::Size iw{0, 0};
        plat::textExtent(dc, "I", 1, &iw);
        h = mCGS.tm.tmHeight;
        descent = mCGS.tm.tmDescent;
        double w = iw.cx * gTextLayout.spaceFactor;
        for (int32_t i = 0; i < index; ++i) w += Vfp[i][0];
        const double L = dli.lineHeight, c = gText.cos, s = gText.sin;
        const double px = xPixel(x), py = yPixel(y);
        double bx[5], by[5];
        bx[0] = px + dli.fx * w * c - dli.fy * L * s;
        by[0] = py - dli.fx * w * s - dli.fy * L * c;
        bx[1] = bx[0] + w * c;
        by[1] = by[0] - w * s;
        bx[2] = bx[1] - L * s;
        by[2] = by[1] - L * c;
        bx[3] = bx[2] - w * c;
        by[3] = by[2] + w * s;
        bx[4] = bx[0];
        by[4] = by[0];
        for (int k = 0; k < 5; ++k) {
            dli.boxX[k] = bx[k];
            dli.boxY[k] = by[k];
            dli.box[k] = KPoint32{truncPixel(bx[k]), truncPixel(by[k])};
        }
        dli.width = w;
        const double along = iw.cx * (mFS.italic ? 0.25 : 0.5);
        const double up = 0.5 * gTextLayout.lineSpacing * h + descent;
        dli.curX = bx[0] + along * c - up * s;
        dli.curY = by[0] - along * s - up * c;
    });
}

KESTREL_API void KESTREL_CALL DrawString(KDC dc, const char *text, float x, float y, float angle, float size) {
    return kestrel::guarded<void>("DrawString", [&]() -> void {
        if (!dc || !text) return;
        KPALETTE previous = ActivateMyPalette(dc);
        ScanString(dc, text, x, y, angle, size, 0);
        if (mCGS.fill) {  // the box painted white behind the text
            hOP = static_cast<KPEN>(plat::selectObject(dc, plat::getStockObject(plat::StockWhitePen)));
            hOB = static_cast<KBRUSH>(plat::selectObject(dc, plat::getStockObject(plat::StockWhiteBrush)));
            plat::polygon(dc, dli.box, 4);
            plat::selectObject(dc, hOP);
            plat::selectObject(dc, hOB);
        }
        plat::setTextColor(dc, mCGS.color);
        plat::setBkMode(dc, plat::BkTransparent);
        ScanString(dc, text, x, y, angle, size, 1);
        plat::selectObject(dc, plat::createPen(plat::PenSolid, mCGS.penWidth, mCGS.color));
        if (mCGS.boxFrame) plat::polyline(dc, dli.box, 5);
        RestorePen(dc, "DrawString");
        RestorePalette(dc, previous, "DrawString");
        plat::setBkMode(dc, mCGS.fill ? plat::BkOpaque : plat::BkTransparent);
    });
}

KESTREL_API void KESTREL_CALL DrawStringEx(KDC dc, const char *text, float x, float y, float angle, float size,
                                           int32_t lorg, int32_t textColour, int32_t fillColour,
                                           int32_t frameColour, int32_t frameWidthIndex) {
    return kestrel::guarded<void>("DrawStringEx", [&]() -> void {
        if (!dc || !text) return;
        const int32_t oldLorg = mCGS.lorg;
        const int32_t oldIndex = mCGS.colorState[0];
        const KCOLORREF oldColour = mCGS.color;
        auto valid = [](int32_t i) { return i >= 0 && i < mCGS.paletteSize && i < 256; };
        SetLorgVal(dc, lorg);
        KPALETTE previous = ActivateMyPalette(dc);
        ScanString(dc, text, x, y, angle, size, 0);
        if (valid(fillColour)) {
            SetColor(fillColour);
            plat::selectObject(dc, plat::createPen(plat::PenSolid, 1, mCGS.color));
            plat::selectObject(dc, plat::createSolidBrush(mCGS.color));
            plat::polygon(dc, dli.box, 4);
            RestoreBrush(dc, "DrawStringEx");
            RestorePen(dc, "DrawStringEx");
        }
        if (valid(textColour)) SetColor(textColour);
        plat::setTextColor(dc, mCGS.color);
        plat::setBkMode(dc, plat::BkTransparent);
        ScanString(dc, text, x, y, angle, size, 1);
        if (frameWidthIndex > 0 && valid(frameColour)) {
            SetColor(frameColour);
            float length = 0;
            plat::selectObject(dc, plat::createPen(plat::PenSolid, PixelLineWidth(frameWidthIndex, &length), mCGS.color));
            plat::polyline(dc, dli.box, 5);
            RestorePen(dc, "DrawStringEx");
        }
        RestorePalette(dc, previous, "DrawStringEx");
        for (int32_t &w : mCGS.colorState) w = oldIndex;
        mCGS.color = oldColour;
        SetLorgVal(dc, oldLorg);
        plat::setBkMode(dc, mCGS.fill ? plat::BkOpaque : plat::BkTransparent);
    });
}

}  // extern "C"
