// Axes with ticks, labels and titles, and the colour bar of shaded fields.
//
// Pixels come from the axis records: pixel = trunc((u - umin) * pixPerUser +
// lowPix), pixPerUser negative for y, so "below" is a larger row. h is the
// pixel height of "H" in the current font; ticks are trunc(0.3 h) long and
// point away from the plot.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/guard.h"
#include "kestrel/axes.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/fit.h"
#include "kestrel/postscript.h"
#include "kestrel/usrsys.h"
#include "kestrel/util.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/axes.h"
#include "plot/pstext.h"
#include "plot/transform.h"

using namespace kestrel;

kestrel::MapAxisStyle kestrel::gMapAxisStyle = {nullptr, nullptr, nullptr, nullptr};

namespace {

// What every axis routine saves on entry and restores on exit. Ticks and
// labels lie outside the viewport, so drawing is unclipped meanwhile.
class SavedTextState {
public:
    explicit SavedTextState(KDC dc) : dc_(dc), lorg_(mCGS.lorg), fill_(mCGS.fill), boxFrame_(mCGS.boxFrame) {
        mCGS.boxFrame = 0;
        ClipVWP(dc, 0);
    }
    ~SavedTextState() {
        SetLorgVal(dc_, lorg_);
        SetDoFill(dc_, fill_);
        mCGS.boxFrame = boxFrame_;
        if (mCGS.clip) ClipVWP(dc_, 1);
    }
    SavedTextState(const SavedTextState &) = delete;
    SavedTextState &operator=(const SavedTextState &) = delete;

private:
    KDC dc_;
    int32_t lorg_, fill_, boxFrame_;
};

// Height in pixels of "H" in the current font.
int32_t letterHeight(KDC dc) {
    SetMYFont(dc, 1, mCGS.fontSize, 0);
    plat::Size s{0, 0};
    if (!plat::textExtent(dc, "H", 1, &s)) return 0;
    return s.cy;
}

// A solid pen of the mCGS pen width in the current colour, palette active;
// undone by the destructor under the routine's name.
class AxisPen {
public:
    AxisPen(KDC dc, const char *name) : dc_(dc), name_(name) {
        palette_ = ActivateMyPalette(dc);
        KPEN pen = plat::createPen(plat::PenSolid, mCGS.penWidth, mCGS.color);
        hOP = static_cast<KPEN>(plat::selectObject(dc, pen));
    }
    ~AxisPen() {
        RestorePen(dc_, name_);
        RestorePalette(dc_, palette_, name_);
    }
    AxisPen(const AxisPen &) = delete;
    AxisPen &operator=(const AxisPen &) = delete;
    void line(int x0, int y0, int x1, int y1) {
        plat::moveTo(dc_, x0, y0);
        plat::lineTo(dc_, x1, y1);
    }

private:
    KDC dc_;
    const char *name_;
    KPALETTE palette_;
};

bool nearViewport(int32_t p, const KAxis &a) {
    const int32_t lo = std::min(a.lowPix, a.highPix), hi = std::max(a.lowPix, a.highPix);
    return p >= lo - 2 && p <= hi + 2;
}

int32_t truncIndex(double v) {
    if (!(v == v)) return 0;
    return static_cast<int32_t>(std::max(-2.0e9, std::min(2.0e9, v)));
}

// Label text of an axis value: "%g", or the map label in map style.
std::string labelText(float value, bool map, void (*mapLabel)(float, char *, size_t)) {
    char text[64];
    if (map && mapLabel)
        mapLabel(value, text, sizeof text);
    else
        std::snprintf(text, sizeof text, "%g", static_cast<double>(value));
    return Tstrip(text);
}

float labelValue(int32_t k, float step, float origin) {
    float v = static_cast<float>(k * static_cast<double>(step) + origin);
    if (std::fabs(v / step) < 1e-5) v = 0.0f;
    return v;
}

// True when the index range k0..k1 holds more positions than the axis has
// pixels, twice over: a zero, tiny or NaN step would otherwise walk billions
// of ticks or labels that all land on the same few pixels. Such an axis gets
// none of them (its line and titles are still drawn).
bool tooDense(int32_t k0, int32_t k1, const KAxis &a) {
    const int64_t span = std::llabs(static_cast<int64_t>(a.highPix) - a.lowPix) + 4;
    return static_cast<int64_t>(k1) - k0 > 2 * span;
}

// Minor ticks of an axis: positions k * tick + origin over the user range.
template <class Draw>
void minorTicks(const KAxis &a, float origin, float tick, Draw &&draw) {
    int32_t k0 = truncIndex((a.umin - static_cast<double>(origin)) / tick);
    int32_t k1 = truncIndex((a.umax - static_cast<double>(origin)) / tick);
    if (k0 > k1) std::swap(k0, k1);
    if (tooDense(k0, k1, a)) return;
    for (int32_t k = k0; k <= k1; ++k) {
        const int32_t p = axisPixel(a, static_cast<float>(k * static_cast<double>(tick) + origin));
        if (nearViewport(p, a)) draw(p);
    }
}

}  // namespace

extern "C" {

KESTREL_API void KESTREL_CALL SetAxisAnnotationPos(int32_t *first, int32_t *last, float *step, float origin, float umin,
                                                   float umax, float length) {
    return kestrel::guarded<void>("SetAxisAnnotationPos", [&]() -> void {
        if (!first || !last || !step) return;
        int32_t lo = 0, hi = 0, n = 1, rounds = 0;
        do {
            lo = truncIndex((umin - static_cast<double>(origin)) / *step);
            hi = truncIndex((umax - static_cast<double>(origin)) / *step);
            if (lo > hi) std::swap(lo, hi);
            if (lo == hi) hi = lo + 1;
            n = truncIndex((static_cast<double>(hi) - lo) / length) + 1;
            *step = static_cast<float>(n * static_cast<double>(*step));
            ++rounds;
        } while (n > 1 && rounds < 2);
        *first = lo;
        *last = hi;
    });
}

KESTREL_API int32_t KESTREL_CALL dfltNDecimals(float v, float t1, float t2, float t3, float t4) {
    return kestrel::guarded<int32_t>("dfltNDecimals", [&]() -> int32_t {
        if (v >= t1 && v < t2) return 3;
        if (v >= t2) return v < t3 ? 2 : (v < t4 ? 1 : 0);
        if (v >= t3) return v < t4 ? 1 : 0;
        return v < t4 ? 4 : 0;
    });
}

KESTREL_API void KESTREL_CALL XAxisLabels(KDC dc, float y, float origin, float tick, float step, const char *below,
                                          const char *above, int32_t mode) {
    return kestrel::guarded<void>("XAxisLabels", [&]() -> void {
        if (!dc) return;
        const bool map = (mode & 1) != 0;
        SavedTextState saved(dc);
        const int32_t h = letterHeight(dc);
        const int32_t row = axisPixel(VY, y);
        const int32_t tickEnd = row + static_cast<int32_t>(0.3 * h);
        const float d = static_cast<float>((tickEnd - row) / static_cast<double>(VY.pixPerUser));
        int32_t first = 0, last = 0;
        float labelStep = step;
        SetAxisAnnotationPos(&first, &last, &labelStep, origin, VX.umin, VX.umax, VX.vpLength);
        if (tooDense(first, last, VX)) last = first - 1;
        {
            if (map && gMapAxisStyle.xFrame) {
                gMapAxisStyle.xFrame(dc, 0, origin, tick);
            }
            AxisPen pen(dc, "XAxisLabels");
            if (!(map && gMapAxisStyle.xFrame)) {
                minorTicks(VX, origin, tick, [&](int32_t p) { pen.line(p, row, p, tickEnd); });
                pen.line(VX.lowPix, row, VX.highPix, row);
            }
            const int32_t w = std::min(truncPixel(VX.pixPerLength * 0.015), 1000);
            for (int32_t k = first; k <= last; ++k) {
                const int32_t p = xPixel(labelValue(k, labelStep, origin));
                if (!nearViewport(p, VX)) continue;
                if (!map)
                    for (int32_t q = p - w; q <= p + w; ++q) pen.line(q, row, q, tickEnd);
                if (mCGS.frame) pen.line(p, row, p, VY.highPix);
            }
        }
        SetLorgVal(dc, 1);
        for (int32_t k = first; k <= last; ++k) {
            const float v = labelValue(k, labelStep, origin);
            if (!nearViewport(xPixel(v), VX)) continue;
            DrawString(dc, labelText(v, map, gMapAxisStyle.lonLabel).c_str(), v, y + d, 0.0f, mCGS.fontSize);
        }
        const float xMid = (VX.umin + VX.umax) / 2;
        if (below) {
            SetLorgVal(dc, 1);
            DrawString(dc, below, xMid, static_cast<float>(y + d + 1.1 * h / VY.pixPerUser), 0.0f, 1.2f * mCGS.fontSize);
        }
        if (above) {
            SetLorgVal(dc, 2);
            DrawString(dc, above, xMid, VY.umax + 0.01f * (VY.umax - VY.umin), 0.0f, 1.3f * mCGS.fontSize);
        }
    });
}

KESTREL_API void KESTREL_CALL XAxLabels(KDC dc, float y, float origin, float tick, float step, const char *below,
                                        const char *above) {
    return kestrel::guarded<void>("XAxLabels", [&]() -> void {
        XAxisLabels(dc, y, origin, tick, step, below, above, 0);
    });
}

KESTREL_API float KESTREL_CALL YAxisLabels(KDC dc, float x, float origin, float tick, float step, const char *title,
                                           int32_t mode) {
    return kestrel::guarded<float>("YAxisLabels", [&]() -> float {
        if (!dc) return 0.0f;
        const bool map = (mode & 1) != 0, horizontal = (mode & 2) != 0;
        SavedTextState saved(dc);
        const int32_t h = letterHeight(dc);
        const int32_t col = axisPixel(VX, x);
        const int32_t tickLength = static_cast<int32_t>(0.3 * h);
        const int32_t tickEnd = col - tickLength;
        const double e = tickLength / static_cast<double>(VX.pixPerUser) * 1.25;
        int32_t first = 0, last = 0;
        float labelStep = step;
        SetAxisAnnotationPos(&first, &last, &labelStep, origin, VY.umin, VY.umax, VY.vpLength);
        if (tooDense(first, last, VY)) last = first - 1;
        {
            if (map && gMapAxisStyle.yFrame) gMapAxisStyle.yFrame(dc, 0, origin, tick);
            AxisPen pen(dc, "YAxisLabels");
            if (!(map && gMapAxisStyle.yFrame)) {
                minorTicks(VY, origin, tick, [&](int32_t p) { pen.line(col, p, tickEnd, p); });
                pen.line(col, VY.lowPix, col, VY.highPix);
            }
            const int32_t w = std::min(truncPixel(VY.pixPerLength * 0.015), 1000);
            for (int32_t k = first; k <= last; ++k) {
                const int32_t p = yPixel(labelValue(k, labelStep, origin));
                if (!nearViewport(p, VY)) continue;
                if (!map)
                    for (int32_t q = p - w; q <= p + w; ++q) pen.line(col, q, tickEnd, q);
                if (mCGS.frame) pen.line(col, p, VX.highPix, p);
            }
        }
        SetLorgVal(dc, horizontal ? 7 : 2);
        size_t longest = 0;
        const float labelX = static_cast<float>(x - e);
        for (int32_t k = first; k <= last; ++k) {
            const float v = labelValue(k, labelStep, origin);
            if (!nearViewport(yPixel(v), VY)) continue;
            const std::string text = labelText(v, map, gMapAxisStyle.latLabel);
            longest = std::max(longest, text.size());
            DrawString(dc, text.c_str(), labelX, v, horizontal ? 0.0f : 90.0f, mCGS.fontSize);
        }
        double dist = horizontal ? 0.4 * (static_cast<double>(h) * static_cast<double>(longest)) / VX.pixPerUser +
                                       0.6 * h / VX.pixPerUser
                                 : 1.1 * h / VX.pixPerUser;
        dist += e;
        if (title) {
            SetLorgVal(dc, 2);
            DrawString(dc, title, static_cast<float>(x - dist), (VY.umin + VY.umax) / 2, 90.0f, 1.2f * mCGS.fontSize);
        }
        return static_cast<float>(dist / VX.userPerLength);
    });
}

KESTREL_API void KESTREL_CALL YAxLabels(KDC dc, float x, float origin, float tick, float step, const char *title) {
    return kestrel::guarded<void>("YAxLabels", [&]() -> void {
        YAxisLabels(dc, x, origin, tick, step, title, 0);
    });
}

KESTREL_API float KESTREL_CALL YAxLabelsH(KDC dc, float x, float origin, float tick, float step, const char *title) {
    return kestrel::guarded<float>("YAxLabelsH", [&]() -> float {
        return YAxisLabels(dc, x, origin, tick, step, title, 2);
    });
}

KESTREL_API void KESTREL_CALL DrawColorBar(KDC dc, KFILE ps, const char *title, float fontSize, float xl, float xr,
                                           float width, float yb, float yt, float zmin, float zmax, float s0,
                                           float s1) {
    return kestrel::guarded<void>("DrawColorBar", [&]() -> void {
        const float labelSize = std::max(0.8f * fontSize, 7.0f);
        CMapInitialize(zmin, zmax, s0, s1);
        float start = 0, end = 0, first = 0, tic = 0, step = 0;
        AutoScale(zmin, zmax, &start, &end, &first, &tic, &step);
        if (std::fabs((zmax - zmin) / step) < 4) step *= 0.5f;
        int32_t k0 = truncIndex((start - static_cast<double>(first)) / step) - 1;
        int32_t k1 = truncIndex((end - static_cast<double>(first)) / step) + 1;
        if (k0 > k1) std::swap(k0, k1);

        const float b = std::max(0.35f / width, 0.03f) * (xr - xl);
        const float xll = xr + b, xur = xr + 2 * b;
        const float dely = (yt - yb) * 0.0050251256f, dz = (zmax - zmin) * 0.0050251256f;
        const float labelX = xur + 0.075f * b, titleX = xll - 0.2f * b, titleY = yt + dely;

        // The labels that fit the bar (with a little room at both ends).
        struct Label {
            std::string text;
            float y;
        };
        std::vector<Label> labels;
        for (int32_t k = k0; k <= k1; ++k) {
            const float z = static_cast<float>(k * static_cast<double>(step) + first);
            const double f = (static_cast<double>(z) - zmin) / (static_cast<double>(zmax) - zmin);
            if (!(f >= -0.02 && f <= 1.02)) continue;
            char text[64];
            std::snprintf(text, sizeof text, "%12.4f", static_cast<double>(z));
            labels.push_back({Tstrip(text), static_cast<float>(yb + f * (static_cast<double>(yt) - yb))});
        }

        if (dc) {
            SavedTextState saved(dc);
            KPALETTE palette = ActivateMyPalette(dc);
            SetLorgVal(dc, 8);
            SetDoFill(dc, 0);
            ClipVWP(dc, 0);
            const int32_t bw = truncPixel(static_cast<long double>(VX.pixPerUser) * b);
            const int32_t left = VX.highPix + bw, right = VX.highPix + 2 * bw;
            const double p = static_cast<double>(dely) * VY.pixPerUser;
            const int32_t tp = static_cast<int32_t>(p), t3 = static_cast<int32_t>(3 * p);
            int32_t lastTop = VY.lowPix;
            for (int32_t i = 0; i < 199; ++i) {
                const int32_t bottom = static_cast<int32_t>(i * p) + VY.lowPix;
                const int32_t top = bottom + tp - 1;
                SetZColor(zmin + i * dz);
                KBRUSH brush = plat::createSolidBrush(mCGS.color);
                const plat::Rect r{left, top, right, bottom};
                plat::fillRect(dc, &r, brush);
                plat::deleteObject(brush);
                lastTop = top;
            }
            auto triangle = [&](float value, int32_t base, int32_t apex) {
                SetZColor(value);
                hOP = static_cast<KPEN>(plat::selectObject(dc, plat::createPen(plat::PenSolid, 1, mCGS.color)));
                hOB = static_cast<KBRUSH>(plat::selectObject(dc, plat::createSolidBrush(mCGS.color)));
                const OnExit restore([&] {
                    RestorePen(dc, "DrawColorBar");
                    RestoreBrush(dc, "DrawColorBar");
                });
                const KPoint32 pts[4] = {{left, base}, {right - 1, base}, {(left + right - 1) / 2, apex}, {left, base}};
                plat::polygon(dc, pts, 4);
            };
            triangle(zmin - 10 * dz, VY.lowPix, VY.lowPix - t3);
            triangle(zmax + 10 * dz, lastTop, lastTop + t3);
            RestorePalette(dc, palette, "DrawColorBar");
            SetColor(0);
            for (const Label &l : labels) DrawString(dc, l.text.c_str(), labelX, l.y, 0.0f, labelSize);
            if (title) {
                SetLorgVal(dc, 6);
                DrawString(dc, title, titleX, titleY, 0.0f, 1.15f * labelSize);
            }
        }

        if (ps) {
            std::string out = "\n%%PS-OBJECT: ColorBar begin\ngsave /fill? false def /stroke? false def /lorg 8 def\n";
            char line[512];
            std::snprintf(line, sizeof line, "/xll %g def /xur %g def\n/dely %g def %g\n", static_cast<double>(xll),
                          static_cast<double>(xur), static_cast<double>(dely), static_cast<double>(yb));
            out += line;
            for (int32_t i = 0; i < 199; ++i) {
                std::snprintf(line, sizeof line, "%d T ", static_cast<int>(CMapCalColor(zmin + i * dz)));
                out += line;
                if ((i + 1) % 12 == 0) out += "\n";
            }
            std::snprintf(line, sizeof line,
                          "\n/yp xdef %d C newpath xll yp M xur yp L xll xur mean yp %g dely mul add L fill\n",
                          static_cast<int>(CMapCalColor(zmax + 10 * dz)), 3.0);
            out += line;
            std::snprintf(line, sizeof line,
                          "/yp %g def %d C newpath xll yp M xur yp L xll xur mean yp %g dely mul sub L fill\n",
                          static_cast<double>(yb), static_cast<int>(CMapCalColor(zmin - 10 * dz)), 3.0);
            out += line;
            std::snprintf(line, sizeof line, "%g SetMyFont 0 setgray /xur %g def\n", static_cast<double>(labelSize),
                          static_cast<double>(labelX));
            out += line;
            for (const Label &l : labels) {
                std::snprintf(line, sizeof line, "(%s) xur %g showstring\n", l.text.c_str(), static_cast<double>(l.y));
                out += line;
            }
            if (title) {
                std::snprintf(line, sizeof line, "\n/lorg 6 def %g SetMyFont 0 setgray\n",
                              static_cast<double>(1.15f * labelSize));
                out += line;
                std::snprintf(line, sizeof line, "(%s) %g %g showstring\n", psStringLiteral(title, 200).c_str(),
                              static_cast<double>(titleX), static_cast<double>(titleY));
                out += line;
            }
            out += "grestore /lorg 0 def\n%%PS-OBJECT: ColorBar end\n\n";
            kestrel::psWrite(ps, out.data(), out.size());
        }
    });
}

}  // extern "C"
