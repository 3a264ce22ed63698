// Map frame, graticule and labels.
//
// A projected map gets its outline, parallels and meridians drawn as
// projected polylines and its labels written along the parallel through each
// label point (the direction of a short eastward step, turned so that text
// never stands upside down). The unprojected map (code 0) gets an axis frame
// with a chequered band instead: on the screen through the axis labeller, in
// PostScript through the preamble's xmapframe/ymapframe and xmaplabl/
// ymaplabl procedures.
//
// Label grid: origin + k step for k = first..last, from the axis scaling,
// with steps forced to 30 or 90 deg for wide ranges so that the graticule
// lands on familiar meridians.
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>
#include <utility>

#include "base/guard.h"
#include "kestrel/axes.h"
#include "maps/startup.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/fit.h"
#include "kestrel/maps.h"
#include "kestrel/postscript.h"
#include "kestrel/projection.h"
#include "kestrel/usrsys.h"
#include "kestrel/util.h"
#include "maps/map_internal.h"
#include "projection/projections.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/axes.h"
#include "plot/transform.h"

using namespace kestrel;

namespace {

constexpr int32_t kGraticulePoints = 50;

void writeLine(KFILE f, const char *format, ...) __attribute__((format(printf, 2, 3)));
void writeLine(KFILE f, const char *format, ...) {
    char line[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(line, sizeof line, format, args);
    va_end(args);
    kestrel::psWrite(f, line);
}

// Direction [deg, 0..360) of the step (dx, dy): atan with the quadrant fixed
// by hand, and steps shorter than 0.001 in both directions counted as none.
double stepDirection(double dx, double dy) {
    if (std::fabs(dx) <= 0.001 && std::fabs(dy) <= 0.001) return 0.0;
    double a;
    if (std::fabs(dx) < 0.001 * std::fabs(dy)) {
        a = dy > 0 ? 90.0 : -90.0;
        dx = 0;
    } else {
        a = std::atan(dy / dx) * 57.29577951308232;
    }
    if (dx < 0) a += 180.0;
    if (a < 0) a += 360.0;
    return a;
}

// The text of a label: |value| with "%10.4f", stripped, then the suffix.
void labelText(double value, char *text, const char *suffix) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%10.4f", std::fabs(value));
    const char *digits = Tstrip(buf);
    std::snprintf(text, 32, "%.20s%s", digits, suffix);
}

// The labels of one direction: the screen text maker and its lorg.
using TextMaker = void(KESTREL_CALL *)(float, char *, int32_t);

void drawLabel(KDC dc, KFILE ps, float lon, float lat, float lonRange, float fontSize, int32_t lorg, float value,
               TextMaker make) {
    float x1 = lon, y1 = lat;
    float x2 = static_cast<float>(lon + 0.01 * static_cast<double>(lonRange)), y2 = lat;
    Project(&x1, &y1);
    Project(&x2, &y2);
    double dir = stepDirection(static_cast<double>(x2) - x1, static_cast<double>(y2) - y1);
    if (dir > 90.0 && dir < 270.0) dir += 180.0;  // never upside down
    if (dir > 360.0) dir -= 360.0;
    char text[32];
    if (dc) {
        make(value, text, 0);
        SetLorgVal(dc, lorg);
        DrawString(dc, text, x1, y1, static_cast<float>(dir), fontSize);
    }
    if (ps) {
        make(value, text, 1);
        writeLine(ps, "/lorg %d def %g SetMyFont\n", lorg, static_cast<double>(fontSize));
        writeLine(ps, "/labl [(%s)] def\n%g  %g %g rotlabl\n", text, dir, static_cast<double>(x1),
                  static_cast<double>(y1));
    }
}

// One graticule line of n projected points.
void drawGraticuleLine(KDC dc, KFILE ps, float *x, float *y, int32_t n, int32_t widthIndex, const char *caller) {
    for (int32_t i = 0; i < n; ++i) Project(&x[i], &y[i]);
    if (dc) {
        KPALETTE previous = ActivateMyPalette(dc);
        float length = 0;
        plat::selectObject(dc, plat::createPen(plat::PenSolid, PixelLineWidth(widthIndex, &length), mCGS.color));
        DrawPoly(dc, nullptr, x, y, n, 0, 1);
        RestorePen(dc, caller);
        RestorePalette(dc, previous, caller);
    }
    if (ps) {
        DrawPoly(nullptr, ps, x, y, n, 0, 0);
        writeLine(ps, "gsave %s stroke grestore\n", szPSlWidth[widthIndex < 0 ? 0 : widthIndex > 5 ? 5 : widthIndex]);
    }
}

// Two float arrays of n points, or none: an allocation failure skips the line.
// More vertices than this on one graticule line are finer than any device
// resolves; a larger request is drawn with this many instead of allocating
// and projecting billions of points.
constexpr int32_t kMaxGraticulePoints = 1 << 16;

int32_t graticulePoints(int32_t n) { return n > kMaxGraticulePoints ? kMaxGraticulePoints : n; }

struct LinePoints {
    explicit LinePoints(int32_t n)
        : x(n >= 2 ? new (std::nothrow) float[static_cast<size_t>(n)] : nullptr),
          y(n >= 2 ? new (std::nothrow) float[static_cast<size_t>(n)] : nullptr) {}
    ~LinePoints() {
        delete[] x;
        delete[] y;
    }
    LinePoints(const LinePoints &) = delete;
    LinePoints &operator=(const LinePoints &) = delete;
    bool ok() const { return x && y; }
    float *x, *y;
};

bool withinRange(double v, double a, double b) {
    const double lo = std::fmin(a, b), hi = std::fmax(a, b), eps = 1e-6 * (hi - lo);
    return v >= lo - eps && v <= hi + eps;
}

// The chequered band of the unprojected map along one axis (screen).
void drawBand(KDC dc, float origin, float tick, bool alongX, bool reclip) {
    if (!dc) return;
    double t = 0.005 * (static_cast<double>(VX.vpLength) + VY.vpLength);
    if (t < 0.01) t = 0.01;
    if (t > 0.09) t = 0.09;
    const int32_t w = truncPixel(t * VX.pixPerLength);
    const int32_t left = VX.lowPix, right = VX.highPix, top = VY.highPix, bottom = VY.lowPix;
    KPALETTE previous = ActivateMyPalette(dc);
    ClipVWP(dc, 0);  // the band lies outside the viewport
    plat::selectObject(dc, plat::createPen(plat::PenSolid, 1, mCGS.color));
    KBRUSH white = plat::createSolidBrush(plat::rgb(255, 255, 255));
    KBRUSH dark = plat::createSolidBrush(mCGS.color);
    plat::GdiObj before = plat::selectObject(dc, white);
    plat::rectangle(dc, left - w, top - w, left + 1, top + 1);
    plat::rectangle(dc, right, top - w, right + w + 1, top + 1);
    plat::rectangle(dc, left - w, bottom, left + 1, bottom + w + 1);
    plat::rectangle(dc, right, bottom, right + w + 1, bottom + w + 1);
    const KAxis &a = alongX ? VX : VY;
    const double lo = std::fmin(a.umin, a.umax), hi = std::fmax(a.umin, a.umax);
    const double step = std::fabs(static_cast<double>(tick));
    if (step > 0 && (hi - lo) / step < 10000) {
        long k = static_cast<long>(std::fmax(-1e15, std::fmin(1e15, std::floor((lo - origin) / step))));
        // At most one more band than the range holds: a far origin can leave
        // origin + k step standing still in double precision.
        for (int bands = 0; bands < 10002; ++bands, ++k) {
            double ka = origin + k * step, kb = origin + (k + 1) * step;
            if (ka < lo) ka = lo;
            if (kb > hi) kb = hi;
            if (ka >= hi) break;
            if (kb <= ka) continue;
            plat::selectObject(dc, (k % 2 == 0) ? dark : white);
            const int32_t pa = axisPixel(a, static_cast<float>(ka)), pb = axisPixel(a, static_cast<float>(kb));
            const int32_t p0 = pa < pb ? pa : pb, p1 = (pa < pb ? pb : pa) + 1;
            if (alongX) {
                plat::rectangle(dc, p0, top - w, p1, top + 1);
                plat::rectangle(dc, p0, bottom, p1, bottom + w + 1);
            } else {
                plat::rectangle(dc, left - w, p0, left + 1, p1);
                plat::rectangle(dc, right, p0, right + w + 1, p1);
            }
        }
    }
    plat::selectObject(dc, before);
    plat::deleteObject(white);
    plat::deleteObject(dark);
    RestorePen(dc, alongX ? "DrawXMapFrame" : "DrawYMapFrame");
    RestorePalette(dc, previous, alongX ? "DrawXMapFrame" : "DrawYMapFrame");
    if (reclip && mCGS.clip) ClipVWP(dc, 1);
}

// The map style of the axis labeller: the band and geographic labels. The
// axis routine has taken the viewport clip away and puts it back itself.
void bandX(KDC dc, int32_t, float origin, float tick) { drawBand(dc, origin, tick, true, false); }
void bandY(KDC dc, int32_t, float origin, float tick) { drawBand(dc, origin, tick, false, false); }
void copyLabel(TextMaker make, float value, char *out, size_t size) {
    char text[32];
    make(value, text, 0);
    std::snprintf(out, size, "%s", text);
}
void lonAxisLabel(float value, char *out, size_t size) { copyLabel(MkeLonLabel, value, out, size); }
void latAxisLabel(float value, char *out, size_t size) { copyLabel(MkeLatLabel, value, out, size); }

}  // namespace

void kestrel::useMapAxisStyle() { gMapAxisStyle = MapAxisStyle{bandX, bandY, lonAxisLabel, latAxisLabel}; }

extern "C" {

KESTREL_API void KESTREL_CALL AdjustMapLabelPos(float min, float max, float *origin, float *tick, float *step,
                                                int32_t *first, int32_t *last, int32_t isLatitude) {
    return kestrel::guarded<void>("AdjustMapLabelPos", [&]() -> void {
        float start = 0, end = 0, o = 0, t = 0, s = 0;
        AutoScale(min, max, &start, &end, &o, &t, &s);
        if (isLatitude) {
            if (s > 30.0f) {
                o = 0;
                t = 10;
                s = 30;
            }
        } else {
            const double r = static_cast<double>(max) - min;
            if (r >= 270.0) {
                o = 0;
                t = 30;
                s = 90;
            } else if (r >= 120.0) {
                o = 0;
                t = 10;
                s = 30;
            }
        }
        if (!(s > 0) || !std::isfinite(s)) s = std::isfinite(s) && s < 0 ? -s : 1.0f;  // a descending or empty scale
        o = static_cast<float>(std::floor(static_cast<double>(min) / s) * s);
        const int32_t a = truncPixel((static_cast<long double>(min) - o) / s);
        const int32_t b = truncPixel((static_cast<long double>(max) - o) / s);
        int32_t f = a < b ? a : b, l = a < b ? b : a;
        if (isLatitude) {
            // No labels at the poles: they would all sit on one point.
            if (static_cast<double>(o) + static_cast<double>(f) * s <= -90.0) ++f;
            if (static_cast<double>(o) + static_cast<double>(l) * s >= 90.0) --l;
        }
        if (origin) *origin = o;
        if (tick) *tick = t;
        if (step) *step = s;
        if (first) *first = f;
        if (last) *last = l;
    });
}

KESTREL_API void KESTREL_CALL MkeLatLabel(float lat, char *text, int32_t forPostScript) {
    return kestrel::guarded<void>("MkeLatLabel", [&]() -> void {
        if (!text) return;
        if (lat == 0.0f) {
            std::strcpy(text, "EQ");
            return;
        }
        const char *suffix = lat < 0 ? (forPostScript ? "\\312S" : "\xB0" "S") : (forPostScript ? "\\312N" : "\xB0" "N");
        labelText(lat, text, suffix);
    });
}

KESTREL_API void KESTREL_CALL MkeLonLabel(float lon, char *text, int32_t forPostScript) {
    return kestrel::guarded<void>("MkeLonLabel", [&]() -> void {
        if (!text) return;
        double v = lon;
        // 180 itself stays east and -180 west.
        if (v > 180.0) v -= 360.0;
        else if (v < -180.0) v += 360.0;
        const char *suffix;
        if (v < 0) suffix = forPostScript ? "\\312W" : "\xB0" "W";
        else if (v > 0) suffix = forPostScript ? "\\312E" : "\xB0" "E";
        else suffix = forPostScript ? "\\312" : "\xB0";
        labelText(v, text, suffix);
    });
}

KESTREL_API void KESTREL_CALL DrawLatLabel(KDC dc, KFILE psFile, float lon, float lat, float lonRange,
                                           float fontSize, int32_t lorg) {
    return kestrel::guarded<void>("DrawLatLabel", [&]() -> void {
        drawLabel(dc, psFile, lon, lat, lonRange, fontSize, lorg, lat, MkeLatLabel);
    });
}

KESTREL_API void KESTREL_CALL DrawLonLabel(KDC dc, KFILE psFile, float lon, float lat, float lonRange,
                                           float fontSize, int32_t lorg) {
    return kestrel::guarded<void>("DrawLonLabel", [&]() -> void {
        drawLabel(dc, psFile, lon, lat, lonRange, fontSize, lorg, lon, MkeLonLabel);
    });
}

KESTREL_API void KESTREL_CALL DrawMeridian(KDC dc, KFILE psFile, float latMin, float latMax, float lon,
                                           int32_t nPoints, int32_t widthIndex) {
    return kestrel::guarded<void>("DrawMeridian", [&]() -> void {
        nPoints = graticulePoints(nPoints);
        LinePoints p(nPoints);
        if (!p.ok()) return;
        const double d = (static_cast<double>(latMax) - latMin) / (nPoints - 1);
        for (int32_t i = 0; i < nPoints; ++i) {
            p.x[i] = lon;
            p.y[i] = static_cast<float>(latMin + i * d);
        }
        drawGraticuleLine(dc, psFile, p.x, p.y, nPoints, widthIndex, "DrawMeridian");
    });
}

KESTREL_API void KESTREL_CALL DrawParallel(KDC dc, KFILE psFile, float lonMin, float lonMax, float lat,
                                           int32_t nPoints, int32_t widthIndex) {
    return kestrel::guarded<void>("DrawParallel", [&]() -> void {
        nPoints = graticulePoints(nPoints);
        LinePoints p(nPoints);
        if (!p.ok()) return;
        double start = lonMin, end = lonMax;
        if (proj == 5) {  // only the visible arc
            const double h = lonVisibleRange(lat);
            start = std::fmax(start, gProj.centreLon - h);
            end = std::fmin(end, gProj.centreLon + h);
            if (!(end > start)) return;
        }
        const double d = (end - start) / (nPoints - 1);
        for (int32_t i = 0; i < nPoints; ++i) {
            p.x[i] = static_cast<float>(start + i * d);
            p.y[i] = lat;
        }
        drawGraticuleLine(dc, psFile, p.x, p.y, nPoints, widthIndex, "DrawParallel");
    });
}

KESTREL_API float KESTREL_CALL LatMapLabelXPos(float lonMin, float lonMax, int32_t *lorg, int32_t projCode,
                                               double centreLon) {
    return kestrel::guarded<float>("LatMapLabelXPos", [&]() -> float {
        const float r = lonMax - lonMin;
        if (lorg) *lorg = (r == 360.0f && (projCode == 1 || projCode == 3 || projCode == 5)) ? 0 : 7;
        if (projCode != 5 || !(r > 300.0f)) return lonMin;
        float origin = 0, tick = 0, step = 0;
        int32_t first = 0, last = 0;
        AdjustMapLabelPos(lonMin, lonMax, &origin, &tick, &step, &first, &last, 0);
        // A quarter step east of the meridian nearest the centre, where the
        // labels stand clear of both the meridian and the horizon.
        double best = 1e6;
        float at = lonMin;
        for (int32_t k = first; k <= last + 1; ++k) {
            const double v = (k - 0.75) * step + origin;
            const double d = (v - centreLon) * (v - centreLon);
            if (d < best) {
                best = d;
                at = static_cast<float>(v);
            }
        }
        return at;
    });
}

KESTREL_API float KESTREL_CALL LonMapLabelYPos(float lonMin, float lonMax, float latMin, float latMax,
                                               float nearestLat, float nearestAbsLat, int32_t *lorg,
                                               int32_t projCode, double centreLon) {
    return kestrel::guarded<float>("LonMapLabelYPos", [&]() -> float {
        static const int32_t kDefaultLorg[7] = {0, 1, 1, 2, 1, 0, 1};
        int32_t o = (projCode >= 0 && projCode < 7) ? kDefaultLorg[projCode] : 0;
        float at = nearestLat;
        auto smallerEnd = [&] { return std::fabs(latMax) <= std::fabs(latMin) ? latMax : latMin; };
        switch (projCode) {
        case 1:
            at = latMin;
            o = 1;
            break;
        case 3:
            at = latMax;
            o = 2;
            break;
        case 2:
        case 4:
            if (nearestAbsLat > std::fabs(latMin)) {
                at = latMin;
                o = 1;
            } else if (nearestAbsLat > std::fabs(latMax)) {
                at = latMax;
                o = 2;
            } else {
                at = nearestLat;
                o = 1;
            }
            break;
        case 5:
            if (std::fabs(centreLon) >= 1.0 && latMax != 90.0f && latMin != -90.0f) {
                at = smallerEnd();
            } else if (static_cast<double>(lonMax) - lonMin <= 350.0) {
                at = smallerEnd();
            } else {
                // A whole hemisphere: half a step off a labelled parallel, near
                // the middle of the map.
                float origin = 0, tick = 0, step = 0;
                int32_t first = 0, last = 0;
                AdjustMapLabelPos(latMin, latMax, &origin, &tick, &step, &first, &last, 1);
                const double mid = (static_cast<double>(latMin) + latMax) * 0.5;
                double best = 1e6;
                for (int32_t k = first; k <= last + 1; ++k) {
                    const double v = (k - 0.5) * step + origin;
                    if (v < latMin || v > latMax) continue;
                    if ((v - mid) * (v - mid) < best) {
                        best = (v - mid) * (v - mid);
                        at = static_cast<float>(v);
                    }
                }
            }
            if (at == latMin) o = 1;
            else if (at == latMax) o = 2;
            break;
        default: break;
        }
        if (lorg) *lorg = o;
        return at;
    });
}

KESTREL_API void KESTREL_CALL DrawXMapFrame(KDC dc, KFILE, float origin, float tick) {
    return kestrel::guarded<void>("DrawXMapFrame", [&]() -> void {
        drawBand(dc, origin, tick, true, true);
    });
}

KESTREL_API void KESTREL_CALL DrawYMapFrame(KDC dc, KFILE, float origin, float tick) {
    return kestrel::guarded<void>("DrawYMapFrame", [&]() -> void {
        drawBand(dc, origin, tick, false, true);
    });
}

KESTREL_API void KESTREL_CALL XMapLabels(KDC dc, float yPos, float origin, float tick, float step) {
    return kestrel::guarded<void>("XMapLabels", [&]() -> void {
        kestrel::useMapAxisStyle();
        XAxisLabels(dc, yPos, origin, tick, step, nullptr, nullptr, 1);
    });
}

KESTREL_API void KESTREL_CALL YMapLabels(KDC dc, float xPos, float origin, float tick, float step) {
    return kestrel::guarded<void>("YMapLabels", [&]() -> void {
        kestrel::useMapAxisStyle();
        YAxisLabels(dc, xPos, origin, tick, step, nullptr, 3);
    });
}

KESTREL_API void KESTREL_CALL DrawMapFrame(KDC dc, KFILE psFile, float lonMin, float lonMax, float latMin,
                                           float latMax, float uxMin, float uxMax, float pxMin, float pxMax,
                                           float uyMin, float uyMax, float pyMin, float pyMax, float fontSize,
                                           int32_t colour, int32_t drawGrid) {
    return kestrel::guarded<void>("DrawMapFrame", [&]() -> void {
        const float r = lonMax - lonMin;
        // A full circle of longitude repeats its first meridian at the end.
        const float limit = (r == 360.0f && (proj == 1 || proj == 3 || proj == 5)) ? 0.98f : 1.0f;
        SetColor(colour);
        float lonOrigin = 0, lonTick = 0, lonStep = 0, latOrigin = 0, latTick = 0, latStep = 0;
        int32_t lonFirst = 0, lonLast = -1, latFirst = 0, latLast = -1;
        AdjustMapLabelPos(lonMin, lonMax, &lonOrigin, &lonTick, &lonStep, &lonFirst, &lonLast, 0);
        AdjustMapLabelPos(latMin, latMax, &latOrigin, &latTick, &latStep, &latFirst, &latLast, 1);
        if (dc) {
            SetDoFill(dc, 0);
            ClipVWP(dc, 0);
        }
        if (psFile) {
            kestrel::psWrite(psFile, "\n%%PS-OBJECT: MapFrame begin\n");
            kestrel::psWrite(psFile, "gsave\n/fill? false def /stroke? false def\n");
            PSSetColor(psFile, colour);
        }
        if (proj < 1 || proj >= kProjectionCount) {
            if (dc) {
                XMapLabels(dc, latMin, lonOrigin, lonTick, lonStep);
                YMapLabels(dc, lonMin, latOrigin, latTick, latStep);
            }
            if (psFile) {
                char text[32];
                writeLine(psFile, "%s %g SetMyFont\n", szPSlWidth[0], static_cast<double>(fontSize));
                writeLine(psFile, "%9.3f %9.3f xmapframe\n", static_cast<double>(lonOrigin), static_cast<double>(lonTick));
                int32_t lo = 0, hi = 0;
                SetAxisAnnotationPos(&lo, &hi, &lonStep, lonOrigin, uxMin, uxMax, pxMin);
                for (int32_t k = lo; k <= hi; ++k) {
                    const float lon = static_cast<float>(k) * lonStep + lonOrigin;
                    if (!withinRange(lon, lonMin, lonMax)) continue;  // the screen drops these too
                    MkeLonLabel(lon, text, 1);
                    if (drawGrid) writeLine(psFile, "%g ymin %g ymax Line\n", static_cast<double>(lon), static_cast<double>(lon));
                    writeLine(psFile, "(%s) %9.3f xmaplabl\n", text, static_cast<double>(lon));
                }
                writeLine(psFile, "%9.3f %9.3f ymapframe\n", static_cast<double>(latOrigin), static_cast<double>(latTick));
                SetAxisAnnotationPos(&lo, &hi, &latStep, latOrigin, uyMin, uyMax, pyMin);
                for (int32_t k = lo; k <= hi; ++k) {
                    const float lat = static_cast<float>(k) * latStep + latOrigin;
                    if (!withinRange(lat, latMin, latMax)) continue;
                    MkeLatLabel(lat, text, 1);
                    if (drawGrid) writeLine(psFile, "xmin %g xmax %g Line\n", static_cast<double>(lat), static_cast<double>(lat));
                    writeLine(psFile, "(%s) %9.3f ymaplabl\n", text, static_cast<double>(lat));
                }
            }
            // Deliberately left open: the host closes the unprojected map's
            // frame object itself (no grestore, no end line).
            return;
        }

        StrokeMapClippingPath(dc, psFile, 2, lonMin, lonMax, latMin, latMax, uxMin, uxMax, pxMin, pxMax, uyMin, uyMax,
                              pyMin, pyMax);
        int32_t lorg = 7;
        const float labelLon = LatMapLabelXPos(lonMin, lonMax, &lorg, proj, gProj.centreLon);
        float nearest = 90.0f, nearestAbs = 90.0f;
        for (int32_t k = latFirst; k <= latLast; ++k) {
            const float lat = static_cast<float>(k) * latStep + latOrigin;
            if (std::fabs(lat) < nearestAbs) {
                nearestAbs = std::fabs(lat);
                nearest = lat;
            }
            // Behind the horizon of a general orthographic map a label would be
            // pushed onto the rim among its neighbours: it is left out.
            if (proj != 5 || IsInsideGlobalMapDomain(labelLon, lat)) DrawLatLabel(dc, psFile, labelLon, lat, r, fontSize, lorg);
            if (drawGrid) DrawParallel(dc, psFile, lonMin, lonMax, lat, kGraticulePoints, 0);
        }
        const float labelLat = LonMapLabelYPos(lonMin, lonMax, latMin, latMax, nearest, nearestAbs, &lorg, proj,
                                               gProj.centreLon);
        if (dc) SetLorgVal(dc, lorg);
        if (psFile) writeLine(psFile, "/lorg %d def\n", lorg);
        for (int32_t k = lonFirst; k <= lonLast; ++k) {
            const float lon = static_cast<float>(k) * lonStep + lonOrigin;
            const float f = (lon - lonMin) / r;
            if (!(f >= 0.0f && f <= limit)) continue;
            if (proj != 5 || IsInsideGlobalMapDomain(lon, labelLat)) DrawLonLabel(dc, psFile, lon, labelLat, r, fontSize, lorg);
            if (drawGrid) DrawMeridian(dc, psFile, latMin, latMax, lon, kGraticulePoints, 0);
        }
        if (dc) ClipVWP(dc, 1);
        if (psFile) kestrel::psWrite(psFile, "grestore\n%%PS-OBJECT: MapFrame end\n");
    });
}

}  // extern "C"
