// The whole-globe oblique Mollweide of `kestrel map` (see map_oblique.h).
//
// Every line and ring is carried onto the rotated graticule and its rotated
// longitude unwrapped, so that consecutive points never jump across the
// seam; the turned Mollweide draws such a line unbroken, running beyond the
// ellipse where it crosses the seam, and it is drawn again one turn (360
// deg of rotated longitude) to the other side. The clip to the ellipse
// keeps of each copy what lies on the map. A ring that winds once round a
// rotated pole (land around the centre or its antipode) is closed along that
// pole, which the polynomial Mollweide draws as a short line at the tip.
#include "base/bytes.h"
#include "cli/map_oblique.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <memory>

#include "kestrel/kestrel.h"
#include "maps/map_internal.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/pstext.h"
#include "plot/transform.h"
#include "projection/oblique_mollweide.h"

namespace {

using kestrel::MapUserSys;

constexpr int32_t kMaxPolyPoints = 1500;  // DrawPoly draws no more

MapUserSys userSys(const MapGeometry &g) { return {g.xMin, g.xMax, g.w, g.xOff, g.yMin, g.yMax, g.h, g.yOff}; }

void psText(KFILE ps, const std::string &s) { kestrel::plat::fileWriteText(ps, s.c_str()); }

// A line on the rotated graticule [deg], its rotated longitude unwrapped.
struct RotatedLine {
    std::vector<double> lon, lat;

    void add(double centreLon, double lonDeg, double latDeg) {
        if (!std::isfinite(lonDeg) || !std::isfinite(latDeg)) return;
        double lr, pr;
        kestrel::obliqueRotate(centreLon, lonDeg, latDeg, lr, pr);
        double u = kestrel::obliqueWholeLon(lr);
        // At a rotated pole the rotated longitude means nothing: the point
        // keeps its neighbour's, so that it adds no turn.
        if (!lon.empty()) u = std::fabs(pr) < 89.9999 ? lon.back() + std::remainder(u - lon.back(), 360.0) : lon.back();
        lon.push_back(u);
        lat.push_back(pr);
    }
    size_t size() const { return lon.size(); }
};

// Map coordinates of a rotated line shifted by `turn` rotated degrees.
void toMap(const RotatedLine &r, double turn, std::vector<float> *x, std::vector<float> *y) {
    x->resize(r.size());
    y->resize(r.size());
    for (size_t i = 0; i < r.size(); ++i) {
        double mx, my;
        kestrel::obliqueTurnedMollweide(r.lon[i] + turn, r.lat[i], mx, my);
        (*x)[i] = static_cast<float>(mx);
        (*y)[i] = static_cast<float>(my);
    }
}

// A path as DrawPoly writes it ("np", the first point with M, the steps
// with R), into a buffered stream: a coastline file is thousands of paths.
void putPath(kestrel::PsStream &out, const float *x, const float *y, int32_t n) {
    out.put("\nnp\n").putG(x[0]).ch(' ').putG(y[0]).put(" M\n");
    for (int32_t i = 1; i < n; ++i) {
        const float dx = x[i] - x[i - 1], dy = y[i] - y[i - 1];
        if (dx != 0.0f || dy != 0.0f) out.putG(dx).ch(' ').putG(dy).put(" R\n");
    }
}

std::unique_ptr<kestrel::PsStream> psStream(KFILE ps) {
    return std::unique_ptr<kestrel::PsStream>(ps ? new kestrel::PsStream(ps) : nullptr);
}

// DrawPoly on the screen and, in the 0..5000 system of the map's PostScript
// objects, the same path in the stream; mode as DrawPoly's (2 fill, 1
// stroke, 0 path only). With psStroke the stream gets that instead of the
// plain stroke.
void drawPath(KDC dc, kestrel::PsStream *ps, const MapUserSys &u, std::vector<float> x, std::vector<float> y,
              int32_t mode, const char *psStroke = nullptr) {
    int32_t n = static_cast<int32_t>(x.size());
    if (n < 2) return;
    if (n > kMaxPolyPoints) {
        if (mode & 2) {
            // A polygon beyond DrawPoly's limit (a record of 1500 points closed
            // along a pole): every second point or so, the last one kept.
            const int32_t step = (n + kMaxPolyPoints - 2) / (kMaxPolyPoints - 1);
            int32_t k = 0;
            for (int32_t i = 0; i < n; i += step, ++k) x[k] = x[i], y[k] = y[i];
            x[k] = x[n - 1], y[k] = y[n - 1];
            x.resize(k + 1);
            y.resize(k + 1);
        } else {
            // A line in pieces that share their ends.
            for (int32_t s = 0; s < n - 1; s += kMaxPolyPoints - 1) {
                const int32_t e = std::min(n, s + kMaxPolyPoints);
                drawPath(dc, ps, u, std::vector<float>(x.begin() + s, x.begin() + e),
                         std::vector<float>(y.begin() + s, y.begin() + e), mode, psStroke);
            }
            return;
        }
        n = static_cast<int32_t>(x.size());
    }
    if (dc) DrawPoly(dc, nullptr, x.data(), y.data(), n, 0, mode);
    if (ps) {
        kestrel::toMapPSUnits(u, x.data(), y.data(), n);
        putPath(*ps, x.data(), y.data(), n);
        if (mode & 2) ps->put("Fill\n");
        if (psStroke) ps->put(psStroke);
        else if (mode & 1) ps->put("stroke\n");
    }
}

// The line (or polygon) in every whole turn that reaches the map.
void drawTurns(KDC dc, kestrel::PsStream *ps, const MapUserSys &u, const RotatedLine &r, int32_t mode,
               const char *psStroke = nullptr) {
    if (r.size() < 2) return;
    const auto range = std::minmax_element(r.lon.begin(), r.lon.end());
    const double lo = *range.first, hi = *range.second;
    // Lines that wind round a pole more than twice are not coastlines.
    if (!(hi - lo <= 1080.0)) return;
    const int first = static_cast<int>(std::ceil((-180.0 - hi) / 360.0));
    const int last = static_cast<int>(std::floor((180.0 - lo) / 360.0));
    std::vector<float> x, y;
    for (int k = first; k <= last; ++k) {
        toMap(r, 360.0 * k, &x, &y);
        drawPath(dc, ps, u, x, y, mode, psStroke);
    }
}

// Even-odd test of (lon, lat) against a ring of n (lon, lat) pairs.
bool inRing(const float *p, int32_t n, double lon, double lat) {
    bool in = false;
    for (int32_t i = 0, j = n - 1; i < n; j = i++) {
        const double xi = p[2 * i], yi = p[2 * i + 1], xj = p[2 * j], yj = p[2 * j + 1];
        if ((yi > lat) != (yj > lat) && lon < (xj - xi) * (lat - yi) / (yj - yi) + xi) in = !in;
    }
    return in;
}

// Whether the ring holds the centre (lon0, 0), the rotated north pole, in
// whichever turn of longitude the ring is stored.
bool ringHoldsCentre(const float *p, int32_t n, double centreLon) {
    double lo = p[0], hi = p[0];
    for (int32_t i = 1; i < n; ++i) lo = std::min(lo, static_cast<double>(p[2 * i])), hi = std::max(hi, static_cast<double>(p[2 * i]));
    for (int k = -2; k <= 2; ++k) {
        const double lon = centreLon + 360.0 * k;
        if (lon >= lo && lon <= hi && inRing(p, n, lon, 0.0)) return true;
    }
    return false;
}

int32_t readInt32(const unsigned char *p) { return kestrel::readInt32LE(p); }

float readFloat(const unsigned char *p) { return kestrel::readFloatLE(p); }

// Screen pen (and brush) of the current colour, undone on leaving.
struct ScreenPen {
    KDC dc;
    KPALETTE previous = nullptr;
    bool brush;
    ScreenPen(KDC d, int width, bool withBrush) : dc(d), brush(withBrush) {
        if (!dc) return;
        previous = ActivateMyPalette(dc);
        kestrel::plat::selectObject(dc, kestrel::plat::createPen(kestrel::plat::PenSolid, width, mCGS.color));
        if (brush) kestrel::plat::selectObject(dc, kestrel::plat::createSolidBrush(mCGS.color));
    }
    ~ScreenPen() {
        if (!dc) return;
        RestorePen(dc, "kestrel map");
        if (brush) RestoreBrush(dc, "kestrel map");
        RestorePalette(dc, previous, "kestrel map");
    }
    ScreenPen(const ScreenPen &) = delete;
    ScreenPen &operator=(const ScreenPen &) = delete;
};

int lineWidthPixels(int index) {
    float length = 0;
    return PixelLineWidth(index, &length);
}

// One label at map point (x, y), anchored by lorg, on the screen and in
// PostScript (the preamble's rotlabl, as the library's map labels).
void label(KDC dc, KFILE ps, double value, bool latitude, float x, float y, int lorg, float fontSize, bool boxed) {
    char text[64], psLabel[64];
    if (latitude) {
        MkeLatLabel(static_cast<float>(value), text, 0);
        MkeLatLabel(static_cast<float>(value), psLabel, 1);
    } else {
        MkeLonLabel(static_cast<float>(value), text, 0);
        MkeLonLabel(static_cast<float>(value), psLabel, 1);
    }
    // Inside the map the text stands on a white box: no line runs through it.
    if (dc) {
        SetDoFill(dc, boxed ? 1 : 0);
        SetLorgVal(dc, lorg);
        DrawString(dc, text, x, y, 0.0f, fontSize);
        SetDoFill(dc, 0);
    }
    if (ps) {
        char line[300];
        std::snprintf(line, sizeof line, "/fill? %s def /lorg %d def %g SetMyFont\n/labl [(%s)] def\n%g  %g %g rotlabl\n/fill? false def\n",
                      boxed ? "true" : "false", lorg, static_cast<double>(fontSize), psLabel, 0.0,
                      static_cast<double>(x), static_cast<double>(y));
        psText(ps, line);
    }
}

// The box a label takes on the map [map units], from its text's length:
// characters about 0.55 of the font height wide, the height 0.04 cm per
// point of font size and a line's leading.
struct LabelBox {
    double x0, x1, y0, y1;
};
LabelBox labelBox(double value, bool latitude, double x, double y, int lorg, float fontSize, double unitsPerCm) {
    char text[64];
    if (latitude) MkeLatLabel(static_cast<float>(value), text, 0);
    else MkeLonLabel(static_cast<float>(value), text, 0);
    const double h = 0.04 * fontSize * 1.2 * unitsPerCm, w = 0.55 * 0.04 * fontSize * std::strlen(text) * unitsPerCm;
    // Anchor factors of the label origins (SetLorgVal).
    static const double fx[9] = {-0.5, -0.5, -0.5, -1, -1, 0, 0, -1, 0}, fy[9] = {-0.5, -1, 0, -1, 0, -1, 0, -0.5, -0.5};
    const int k = lorg < 0 || lorg > 8 ? 0 : lorg;
    return {x + fx[k] * w, x + (fx[k] + 1) * w, y + fy[k] * h, y + (fy[k] + 1) * h};
}

void writeClipPath(KFILE ps, const MapUserSys &u, std::vector<float> x, std::vector<float> y) {
    kestrel::writeTempUsrSys(ps, u);
    kestrel::toMapPSUnits(u, x.data(), y.data(), static_cast<int32_t>(x.size()));
    putPath(*psStream(ps), x.data(), y.data(), static_cast<int32_t>(x.size()));
    kestrel::writeMapUsrSys(ps, u, "clip\n");
}

void clipScreen(KDC dc, const std::vector<float> &x, const std::vector<float> &y) {
    std::vector<KPoint32> pts(x.size());
    for (size_t i = 0; i < x.size(); ++i) pts[i] = {kestrel::xPixel(x[i]), kestrel::yPixel(y[i])};
    kestrel::plat::clipPolygon(dc, pts.data(), static_cast<int>(pts.size()), kestrel::plat::FillAlternate);
}

}  // namespace

void drawObliquePolygon(KDC dc, KFILE ps, double centreLon, const float *lon, const float *lat, int n) {
    RotatedLine ring;
    for (int i = 0; i < n; ++i) ring.add(centreLon, lon[i], lat[i]);
    if (ring.size() < 3) return;
    const auto range = std::minmax_element(ring.lon.begin(), ring.lon.end());
    const int first = static_cast<int>(std::ceil((-180.0 - *range.second) / 360.0));
    const int last = static_cast<int>(std::floor((180.0 - *range.first) / 360.0));
    std::vector<float> x, y;
    for (int k = first; k <= last && k - first < 3; ++k) {
        toMap(ring, 360.0 * k, &x, &y);
        DrawPoly(dc, ps, x.data(), y.data(), static_cast<int32_t>(x.size()), 0, 2);
    }
}

void projectOblique(double centreLon, float *x, float *y) {
    double px = *x, py = *y;
    kestrel::obliqueWholeForward(centreLon, px, py);
    *x = static_cast<float>(px);
    *y = static_cast<float>(py);
}

void obliqueOutline(std::vector<float> *x, std::vector<float> *y) {
    // The seam's two sides, a degree of rotated latitude apart: the
    // upper half of the ellipse from its right tip, then the lower half.
    x->clear();
    y->clear();
    for (int side = 0; side < 2; ++side) {
        for (int i = 0; i <= 180; ++i) {
            const double latR = side == 0 ? -90.0 + i : 90.0 - i;
            double mx, my;
            kestrel::obliqueTurnedMollweide(side == 0 ? 180.0 : -180.0, latR, mx, my);
            x->push_back(static_cast<float>(mx));
            y->push_back(static_cast<float>(my));
        }
    }
    x->push_back(x->front());
    y->push_back(y->front());
}

void layOutObliqueMap(float areaWidth, float areaX, float areaHeight, float areaY, MapGeometry *g) {
    std::vector<float> x, y;
    obliqueOutline(&x, &y);
    const auto xr = std::minmax_element(x.begin(), x.end()), yr = std::minmax_element(y.begin(), y.end());
    g->xMin = *xr.first, g->xMax = *xr.second, g->yMin = *yr.first, g->yMax = *yr.second;
    const double w = static_cast<double>(g->xMax) - g->xMin, h = static_cast<double>(g->yMax) - g->yMin;
    const double s = std::fmin(areaWidth / w, areaHeight / h);
    g->w = static_cast<float>(s * w);
    g->h = static_cast<float>(s * h);
    g->xOff = static_cast<float>((static_cast<double>(areaWidth) - g->w) * 0.5 + areaX);
    g->yOff = static_cast<float>((static_cast<double>(areaHeight) - g->h) * 0.5 + areaY);
}

void clipObliqueMap(KDC dc, KFILE ps, const MapGeometry &g) {
    std::vector<float> x, y;
    obliqueOutline(&x, &y);
    if (dc) clipScreen(dc, x, y);
    if (ps) {
        psText(ps, "\n%%PS-OBJECT: MapClipPath begin\n");
        writeClipPath(ps, userSys(g), x, y);
        psText(ps, "%%PS-OBJECT: MapClipPath end\n\n");
    }
}

bool drawObliqueWorld(KDC dc, KFILE ps, const std::string &path, const MapGeometry &g, bool fill, bool outline) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    // No more than the file's size at the start: a device or a growing file
    // (/dev/zero holds endless empty records) must end.
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg();
    in.seekg(0, std::ios::beg);
    uint64_t left = size > 0 ? static_cast<uint64_t>(size) : 0;
    std::vector<unsigned char> data;
    auto read = [&](uint64_t bytes) {
        if (bytes > left) return false;
        data.resize(static_cast<size_t>(bytes));
        if (!in.read(reinterpret_cast<char *>(data.data()), static_cast<std::streamsize>(bytes))) return false;
        left -= bytes;
        return true;
    };
    const MapUserSys u = userSys(g);
    const ScreenPen pen(dc, mCGS.penWidth, true);
    if (ps) {
        psText(ps, "\n%%PS-OBJECT: CDT=" + kestrel::psCommentText(path.c_str()) + " begin\n\n");
        kestrel::writeTempUsrSys(ps, u);
    }
    auto out = psStream(ps);
    std::vector<float> pts;
    RotatedLine ring, line;
    while (read(8)) {
        const int32_t n = readInt32(&data[0]);
        int32_t m = readInt32(&data[4]);
        if (n <= 0) continue;
        if (!read(static_cast<uint64_t>(n) * 8)) break;  // a short record ends the file
        pts.resize(2 * static_cast<size_t>(n));
        for (size_t i = 0; i < pts.size(); ++i) pts[i] = readFloat(&data[4 * i]);
        m = std::max(0, std::min(m, n));
        const bool closed = n >= 3 && pts[0] == pts[2 * n - 2] && pts[1] == pts[2 * n - 1];
        ring = RotatedLine();
        for (int32_t i = 0; i < n; ++i) ring.add(g.cLon, pts[2 * i], pts[2 * i + 1]);
        if (fill && closed && ring.size() == static_cast<size_t>(n)) {
            line = ring;
            const double turns = std::round((ring.lon.back() - ring.lon.front()) / 360.0);
            if (turns != 0) {
                // Along the rotated meridian of the ring's end to the pole,
                // along the pole (a short straight line at the tip), and
                // back down the meridian of its start: the meridians are
                // curves on the map, so they go in steps of a degree.
                const double pole = ringHoldsCentre(pts.data(), n, g.cLon) ? 90.0 : -90.0;
                auto leg = [&](double lonR, double from, double to) {
                    const int steps = static_cast<int>(std::ceil(std::fabs(to - from)));
                    for (int i = 0; i <= steps; ++i) {
                        line.lon.push_back(lonR);
                        line.lat.push_back(from + (to - from) * i / std::max(steps, 1));
                    }
                };
                leg(ring.lon.back(), ring.lat.back(), pole);
                leg(ring.lon.front(), pole, ring.lat.front());
            }
            drawTurns(dc, out.get(), u, line, 2);
        }
        if (outline && m >= 2) {
            line = RotatedLine();
            for (int32_t i = 0; i < m; ++i) line.add(g.cLon, pts[2 * i], pts[2 * i + 1]);
            drawTurns(dc, out.get(), u, line, 1);
        }
    }
    out.reset();
    if (ps) {
        kestrel::writeMapUsrSys(ps, u, "");
        psText(ps, "\n%%PS-OBJECT: CDT=" + kestrel::psCommentText(path.c_str()) + " end\n");
    }
    return true;
}

void drawObliqueFrame(KDC dc, KFILE ps, const MapGeometry &g, float fontSize, int colour, bool grid,
                      MapLabelLayout *layout) {
    const MapUserSys u = userSys(g);
    SetColor(colour);
    if (dc) {
        SetDoFill(dc, 0);
        ClipVWP(dc, 0);
    }
    if (ps) {
        psText(ps, "\n%%PS-OBJECT: MapFrame begin\ngsave\n/fill? false def /stroke? false def\n");
        PSSetColor(ps, colour);
    }
    std::vector<float> ox, oy;
    obliqueOutline(&ox, &oy);
    if (grid) {
        // Meridians and parallels every 30 deg, in the ellipse only.
        if (dc) clipScreen(dc, ox, oy);
        if (ps) {
            psText(ps, "gsave\n");
            writeClipPath(ps, u, ox, oy);
            kestrel::writeTempUsrSys(ps, u);
        }
        {
            const ScreenPen pen(dc, lineWidthPixels(0), false);
            auto out = psStream(ps);
            const std::string stroke = std::string("gsave ") + szPSlWidth[0] + " stroke grestore\n";
            RotatedLine line;
            for (int k = 0; k < 12; ++k) {
                line = RotatedLine();
                for (int i = 0; i <= 180; ++i) line.add(g.cLon, -180.0 + 30.0 * k, -90.0 + i);
                drawTurns(dc, out.get(), u, line, 1, stroke.c_str());
            }
            for (int k = -2; k <= 2; ++k) {
                line = RotatedLine();
                for (int i = 0; i <= 360; ++i) line.add(g.cLon, static_cast<double>(i), 30.0 * k);
                drawTurns(dc, out.get(), u, line, 1, stroke.c_str());
            }
        }
        if (dc) ClipVWP(dc, 0);
        if (ps) kestrel::writeMapUsrSys(ps, u, "grestore\n");
    }
    {
        const ScreenPen pen(dc, lineWidthPixels(2), false);
        if (dc) DrawPoly(dc, nullptr, ox.data(), oy.data(), static_cast<int32_t>(ox.size()), 0, 1);
    }
    if (ps) {
        kestrel::writeTempUsrSys(ps, u);
        drawPath(nullptr, psStream(ps).get(), u, ox, oy, 1,
                 (std::string("gsave ") + szPSlWidth[2] + " stroke grestore\n").c_str());
        kestrel::writeMapUsrSys(ps, u, "");
    }

    // Labels, a small gap off their lines, each left out where it would
    // cover one placed before it (the meridians crowd towards the tips).
    const double unitsPerCm = (static_cast<double>(g.xMax) - g.xMin) / g.w;
    const double gap = 0.12 * unitsPerCm;  // 1.2 mm
    const double c = g.cLon;
    std::vector<LabelBox> placed;
    auto put = [&](double value, bool latitude, double x, double y, int lorg, bool inside) {
        const LabelBox b = labelBox(value, latitude, x, y, lorg, fontSize, unitsPerCm);
        for (const LabelBox &p : placed)
            if (b.x0 < p.x1 && p.x0 < b.x1 && b.y0 < p.y1 && p.y0 < b.y1) return;
        // Nor may the outline run through a label outside it.
        const double pad = 0.03 * unitsPerCm;
        for (size_t i = 1; !inside && i < ox.size(); ++i) {
            const double ax = ox[i - 1], ay = oy[i - 1], bx = ox[i], by = oy[i];
            if (std::max(ax, bx) < b.x0 - pad || std::min(ax, bx) > b.x1 + pad || std::max(ay, by) < b.y0 - pad ||
                std::min(ay, by) > b.y1 + pad)
                continue;
            // The segment meets the padded box when the box's corners are not all on one side of it.
            int sides = 0;
            for (const double cx : {b.x0 - pad, b.x1 + pad})
                for (const double cy : {b.y0 - pad, b.y1 + pad})
                    sides |= ((bx - ax) * (cy - ay) - (by - ay) * (cx - ax)) > 0 ? 1 : 2;
            if (sides == 3) return;
        }
        placed.push_back(b);
        label(dc, ps, value, latitude, static_cast<float>(x), static_cast<float>(y), lorg, fontSize, inside);
        if (layout) {
            char text[64];
            if (latitude) MkeLatLabel(static_cast<float>(value), text, 0);
            else MkeLonLabel(static_cast<float>(value), text, 0);
            MkePSString(text, static_cast<int32_t>(sizeof text));  // as the report writes every label
            const double px0 = (b.x0 - VX.umin) * VX.pixPerUser + VX.lowPix, px1 = (b.x1 - VX.umin) * VX.pixPerUser + VX.lowPix;
            const double py0 = (b.y0 - VY.umin) * VY.pixPerUser + VY.lowPix, py1 = (b.y1 - VY.umin) * VY.pixPerUser + VY.lowPix;
            layout->boxes.push_back({std::min(px0, px1), std::min(py0, py1), std::max(px0, px1), std::max(py0, py1), text});
        }
    };
    if (layout)  // the outline, which no label may cross
        for (size_t i = 1; i < ox.size(); ++i)
            layout->lines.push_back({(ox[i - 1] - VX.umin) * VX.pixPerUser + VX.lowPix,
                                     (oy[i - 1] - VY.umin) * VY.pixPerUser + VY.lowPix,
                                     (ox[i] - VX.umin) * VX.pixPerUser + VX.lowPix,
                                     (oy[i] - VY.umin) * VY.pixPerUser + VY.lowPix});
    auto at = [&](double lon, double lat, float *x, float *y) {
        *x = static_cast<float>(lon);
        *y = static_cast<float>(lat);
        projectOblique(c, x, y);
    };
    float x, y;
    // Parallels where they cross the meridian 90 deg east of the centre, the
    // map's vertical middle, on the side away from their pole.
    for (int k : {0, 1, -1, 2, -2}) {
        at(c + 90.0, 30.0 * k, &x, &y);
        put(30.0 * k, true, x + gap, y + (k > 0 ? -gap : gap), k > 0 ? 5 : 6, true);
    }
    // Meridians: the centre's and its antipode's at the tips; east of the
    // centre where they cross the equator, the map's horizontal middle,
    // from the middle outwards; west of it where they meet the seam, below
    // the ellipse (the title stands above it).
    std::vector<std::pair<double, double>> east, west;  // (distance from the middle, longitude)
    for (int k = 0; k < 12; ++k) {
        const double lon = -180.0 + 30.0 * k;
        const double d = std::remainder(lon - c, 360.0);
        at(lon, 0.0, &x, &y);
        if (std::fabs(d) < 1e-6) put(lon, false, x - gap, y, 7, false);
        else if (std::fabs(d) > 180.0 - 1e-6) put(lon, false, x + gap, y, 8, false);
        else (d > 0 ? east : west).push_back({std::fabs(std::fabs(d) - 90.0), lon});
    }
    std::sort(east.begin(), east.end());
    std::sort(west.begin(), west.end());
    for (const auto &e : east) {
        at(e.second, 0.0, &x, &y);
        put(e.second, false, x + gap, -gap, 5, true);
    }
    for (const auto &e : west) {
        at(e.second, 0.0, &x, &y);
        y = -y;  // the seam's lower side
        // Outward along the ellipse's normal.
        double nx = x / (static_cast<double>(g.xMax) * g.xMax), ny = y / (static_cast<double>(g.yMax) * g.yMax);
        const double len = std::hypot(nx, ny);
        nx /= len, ny /= len;
        put(e.second, false, x + gap * nx, y + gap * ny, nx < -0.38 ? 7 : nx > 0.38 ? 8 : 1, false);
    }
    if (dc) ClipVWP(dc, 1);
    if (ps) psText(ps, "grestore\n%%PS-OBJECT: MapFrame end\n");
}
