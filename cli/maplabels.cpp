// The map's frame, graticule and labels as the command draws them, through
// the library's own pieces (outline, meridians, parallels, label texts,
// strings, the unprojected map's band) but with the labels placed here:
//   * each meridian and parallel is labelled once, where it meets the
//     map's outline (the limb of an orthographic view, the frame of a
//     clipped map), just outside it: meridians preferably at the bottom,
//     parallels at the left;
//   * a line that never meets the outline except at a pole (parallels of a
//     polar cap, meridians of a world Mollweide, which all end at the
//     poles) is labelled inside the map instead, beside itself, halfway
//     between two lines of the other kind, near the middle of the map;
//   * every label is written level, and a place is taken only when the
//     label's box stays inside the picture, overlaps no label placed
//     before and is crossed by no graticule line and no outline; a line
//     for which no place is free stays unlabelled rather than stacked.
// The placed boxes and the lines they keep clear of can be written out, so
// that the placement can be checked from outside.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "platform/platform.h"
#include "plot/pstext.h"

namespace {

// Pixel coordinates (y down) of map coordinates, and back.
double pixelX(double u) { return (u - VX.umin) * VX.pixPerUser + VX.lowPix; }
double pixelY(double u) { return (u - VY.umin) * VY.pixPerUser + VY.lowPix; }
double userX(double p) { return (p - VX.lowPix) / VX.pixPerUser + VX.umin; }
double userY(double p) { return (p - VY.lowPix) / VY.pixPerUser + VY.umin; }

struct Pt {
    double x, y;
};

// True when the geographic point shows on the current map.
bool onMap(double lon, double lat, const MapGeometry &g) {
    const double eps = 1e-6;
    if (lat < g.latMin - eps || lat > g.latMax + eps || lon < g.lonMin - eps || lon > g.lonMax + eps) return false;
    if (proj == 5) {
        double d = std::fmod(lon - g.cLon, 360.0);
        if (d > 180) d -= 360;
        if (d < -180) d += 360;
        return std::fabs(d) <= lonVisibleRange(static_cast<float>(lat));
    }
    float x = static_cast<float>(lon), y = static_cast<float>(lat);
    Project(&x, &y);
    return IsProjMapCoord(x, y) != 0;
}

Pt toPixels(double lon, double lat) {
    float x = static_cast<float>(lon), y = static_cast<float>(lat);
    Project(&x, &y);
    return Pt{pixelX(x), pixelY(y)};
}

bool segmentCrossesBox(const MapSegment &s, const MapLabelBox &b) {
    // Liang-Barsky clipping of the segment against the box.
    double t0 = 0, t1 = 1;
    const double dx = s.x1 - s.x0, dy = s.y1 - s.y0;
    const double p[4] = {-dx, dx, -dy, dy};
    const double q[4] = {s.x0 - b.x0, b.x1 - s.x0, s.y0 - b.y0, b.y1 - s.y0};
    for (int i = 0; i < 4; ++i) {
        if (p[i] == 0) {
            if (q[i] < 0) return false;
            continue;
        }
        const double r = q[i] / p[i];
        if (p[i] < 0) t0 = std::max(t0, r);
        else t1 = std::min(t1, r);
        if (t0 > t1) return false;
    }
    return true;
}

bool insidePolygon(const std::vector<Pt> &poly, double x, double y) {
    bool in = false;
    for (size_t i = 0, j = poly.size() - 1; i < poly.size(); j = i++) {
        if ((poly[i].y > y) != (poly[j].y > y) &&
            x < (poly[j].x - poly[i].x) * (y - poly[i].y) / (poly[j].y - poly[i].y) + poly[i].x)
            in = !in;
    }
    return in;
}

struct Candidate {
    double cx, cy;  // box centre [px]
};

// Box centres beside anchor a, on the side of unit normal n, a little
// farther out each time.
void addBeside(std::vector<Candidate> *out, Pt a, double nx, double ny, double hw, double hh,
               std::initializer_list<double> gaps) {
    const double len = std::hypot(nx, ny);
    if (!(len > 0)) return;
    nx /= len;
    ny /= len;
    const double reach = std::fabs(nx) * hw + std::fabs(ny) * hh;
    for (double gap : gaps) out->push_back(Candidate{a.x + nx * (gap + reach), a.y + ny * (gap + reach)});
}

// The grid values k step inside lo..hi.
std::vector<double> gridValues(double lo, double hi, double step) {
    std::vector<double> v;
    if (!(step > 0) || !(hi >= lo) || (hi - lo) / step > 1000) return v;
    for (double k = std::ceil(lo / step - 1e-9); k * step <= hi + 1e-9; ++k) v.push_back(k * step);
    return v;
}

}  // namespace

bool MapLabelLayout::fits(const MapLabelBox &b) const {
    if (b.x0 < margin || b.y0 < margin || b.x1 > width - margin || b.y1 > height - margin) return false;
    for (const MapLabelBox &o : avoid)
        if (b.x0 < o.x1 && o.x0 < b.x1 && b.y0 < o.y1 && o.y0 < b.y1) return false;
    for (const MapLabelBox &o : boxes)
        if (b.x0 < o.x1 + padding && o.x0 < b.x1 + padding && b.y0 < o.y1 + padding && o.y0 < b.y1 + padding)
            return false;
    MapLabelBox grown{b.x0 - padding, b.y0 - padding, b.x1 + padding, b.y1 + padding, ""};
    for (const MapSegment &s : lines)
        if (segmentCrossesBox(s, grown)) return false;
    return true;
}

bool writeLabelReport(const std::string &path, const MapLabelLayout &l) {
    std::FILE *f = std::fopen(path.c_str(), "w");
    if (!f) return false;
    std::fprintf(f, "picture %d %d\n", l.width, l.height);
    for (const MapLabelBox &b : l.boxes) std::fprintf(f, "box %.2f %.2f %.2f %.2f %s\n", b.x0, b.y0, b.x1, b.y1, b.text.c_str());
    for (const MapLabelBox &b : l.avoid) std::fprintf(f, "keep %.2f %.2f %.2f %.2f %s\n", b.x0, b.y0, b.x1, b.y1, b.text.c_str());
    for (const MapSegment &s : l.lines) std::fprintf(f, "line %.2f %.2f %.2f %.2f\n", s.x0, s.y0, s.x1, s.y1);
    return std::fclose(f) == 0;
}

namespace {

// Width and height [px] of a level string on the canvas.
void measure(KDC dc, const std::string &text, float size, double *w, double *h) {
    *w = 0.6 * size * 0.04 * VY.pixPerLength * static_cast<double>(text.size());
    *h = 1.2 * size * 0.04 * VY.pixPerLength;
    if (!dc) return;
    const int32_t lorg = mCGS.lorg;
    SetLorgVal(dc, 0);
    ScanString(dc, text.c_str(), 0, 0, 0, size, 0);
    *w = dli.width;
    *h = dli.lineHeight;
    SetLorgVal(dc, lorg);
}

void drawLabelAt(KDC dc, KFILE ps, const std::string &screen, const std::string &postscript, double cx, double cy,
                 float size) {
    const float ux = static_cast<float>(userX(cx)), uy = static_cast<float>(userY(cy));
    // Written over the map as it is: the box is kept clear of lines anyway,
    // and a white box would cut a hole in the land.
    const int32_t fill = mCGS.fill;
    SetDoFill(dc, 0);
    SetLorgVal(dc, 0);
    DrawString(dc, screen.c_str(), ux, uy, 0, size);
    SetDoFill(dc, fill);
    if (ps) {
        char line[400];
        std::snprintf(line, sizeof line, "/lorg 0 def %g SetMyFont\n/labl [(%s)] def\n0  %g %g rotlabl\n",
                      static_cast<double>(size), postscript.c_str(), static_cast<double>(ux),
                      static_cast<double>(uy));
        kestrel::plat::fileWriteText(ps, line);
    }
}

// A graticule line sampled along its free coordinate: meridian (lon fixed)
// or parallel (lat fixed).
struct GratLine {
    bool meridian;
    double value;              // its lon or lat
    double from, to;           // range of the free coordinate
    Pt geo(double t) const {   // lon, lat at free coordinate t
        return meridian ? Pt{value, t} : Pt{t, value};
    }
};

// Where the line meets the outline: the ends of its visible runs that are
// not a pole (where meridians meet each other) nor the wrap of a full
// circle of longitude.
std::vector<double> outlineMeets(const GratLine &l, const MapGeometry &g, bool fullCircle) {
    const int n = 240;
    std::vector<double> at;
    std::vector<char> vis(n + 1);
    auto t = [&](int i) { return l.from + (l.to - l.from) * i / n; };
    for (int i = 0; i <= n; ++i) {
        const Pt p = l.geo(t(i));
        vis[i] = onMap(p.x, p.y, g);
    }
    auto keep = [&](double v) {
        const Pt p = l.geo(v);
        // Where meridians meet at a pole no label has room; the unprojected
        // map's pole is an edge like any other.
        if (proj >= 1 && proj <= 6) {
            // (Mollweide's meridians leave the outline only just short of the
            // pole, where they crowd.)
            if (std::fabs(p.y) > (proj == 4 || proj == 6 ? 85.0 : 89.9)) return;
            const Pt at = toPixels(p.x, p.y);
            for (double pole : {-90.0, 90.0}) {
                // (A polar view puts the other pole, off its domain, on its rim.)
                if (pole < g.latMin - 1e-3 || pole > g.latMax + 1e-3) continue;
                const Pt q = toPixels(p.x, pole);
                if (std::hypot(at.x - q.x, at.y - q.y) < 4) return;
            }
        }
        at.push_back(v);
    };
    if (vis[0] && !(fullCircle && !l.meridian)) keep(t(0));
    if (vis[n] && !(fullCircle && !l.meridian)) keep(t(n));
    for (int i = 0; i < n; ++i) {
        if (vis[i] == vis[i + 1]) continue;
        double a = t(i), b = t(i + 1);  // a visible side, b hidden
        if (!vis[i]) std::swap(a, b);
        for (int k = 0; k < 30; ++k) {
            const double m = 0.5 * (a + b);
            const Pt p = l.geo(m);
            (onMap(p.x, p.y, g) ? a : b) = m;
        }
        keep(a);
    }
    return at;
}

// The outward unit normal of the outline at pixel point p.
Pt outwardNormal(const std::vector<Pt> &outline, Pt p) {
    double best = 1e300;
    Pt n{0, 1};
    for (size_t i = 0; i + 1 < outline.size(); ++i) {
        const Pt a = outline[i], b = outline[i + 1];
        const double dx = b.x - a.x, dy = b.y - a.y, len2 = dx * dx + dy * dy;
        if (!(len2 > 0)) continue;
        const double u = std::clamp(((p.x - a.x) * dx + (p.y - a.y) * dy) / len2, 0.0, 1.0);
        const double ex = a.x + u * dx - p.x, ey = a.y + u * dy - p.y, d = ex * ex + ey * ey;
        if (d < best) {
            best = d;
            const double len = std::sqrt(len2);
            n = Pt{-dy / len, dx / len};
        }
    }
    if (insidePolygon(outline, p.x + 3 * n.x, p.y + 3 * n.y)) n = Pt{-n.x, -n.y};
    return n;
}

}  // namespace

bool placeMapLabel(KDC dc, KFILE ps, const std::string &screen, const std::string &postscript,
                   const std::vector<MapLabelPlace> &places, float size, MapLabelLayout *layout) {
    double w, h;
    measure(dc, screen, size, &w, &h);
    for (const MapLabelPlace &pl : places) {
        std::vector<Candidate> c;
        addBeside(&c, Pt{pl.x, pl.y}, pl.nx, pl.ny, 0.5 * w, 0.5 * h, {pl.gap, pl.gap + 5, pl.gap + 11});
        for (const Candidate &k : c) {
            const MapLabelBox b{k.cx - 0.5 * w, k.cy - 0.5 * h, k.cx + 0.5 * w, k.cy + 0.5 * h, screen};
            if (!layout->fits(b)) continue;
            layout->boxes.push_back(b);
            layout->boxes.back().text = postscript;
            drawLabelAt(dc, ps, screen, postscript, k.cx, k.cy, size);
            return true;
        }
    }
    return false;
}

void drawLabelledMapFrame(KDC dc, KFILE ps, const MapGeometry &g, const MapFrameStyle &st, MapLabelLayout *layout) {
    // The grid: the library's own choice of steps unless given.
    float origin, tick, lonStep, latStep;
    int32_t first, last;
    AdjustMapLabelPos(g.lonMin, g.lonMax, &origin, &tick, &lonStep, &first, &last, 0);
    AdjustMapLabelPos(g.latMin, g.latMax, &origin, &tick, &latStep, &first, &last, 1);
    // Around the whole globe the library's 90 degrees leave a hemisphere
    // with two or three meridians: 30 on the round views, 60 on the others.
    if (g.lonMax - g.lonMin >= 270 && lonStep > 30) lonStep = (proj == 1 || proj == 3 || proj == 5) ? 30 : 60;
    const double dLon = st.lonStep > 0 ? st.lonStep : lonStep, dLat = st.latStep > 0 ? st.latStep : latStep;
    const bool fullCircle = g.lonMax - g.lonMin >= 359.9 && (proj == 1 || proj == 3 || proj == 5);
    std::vector<double> lons = gridValues(g.lonMin, g.lonMax, dLon), lats = gridValues(g.latMin, g.latMax, dLat);
    if (fullCircle && !lons.empty() && lons.back() >= lons.front() + 359.9) lons.pop_back();
    lats.erase(std::remove_if(lats.begin(), lats.end(), [](double v) { return std::fabs(v) >= 89.99; }), lats.end());

    // The outline in map coordinates and in pixels.
    std::vector<float> ox(361), oy(361);
    const int32_t no = ConstructMapClipPath(ox.data(), oy.data(), 361, proj, g.lonMin, g.lonMax, g.latMin, g.latMax);
    std::vector<Pt> outline;
    for (int32_t i = 0; i < no; ++i) outline.push_back(Pt{pixelX(ox[i]), pixelY(oy[i])});
    if (!outline.empty() && (outline.front().x != outline.back().x || outline.front().y != outline.back().y))
        outline.push_back(outline.front());
    for (size_t i = 0; i + 1 < outline.size(); ++i)
        layout->lines.push_back(MapSegment{outline[i].x, outline[i].y, outline[i + 1].x, outline[i + 1].y});

    SetColor(st.colour);
    const int32_t fill = mCGS.fill;
    SetDoFill(dc, 0);
    ClipVWP(dc, 0);
    if (ps) {
        kestrel::plat::fileWriteText(ps, "\n%%PS-OBJECT: MapFrame begin\ngsave\n/fill? false def /stroke? false def\n");
        PSSetColor(ps, st.colour);
    }
    const bool bandFrame = proj < 1 || proj > 6;
    if (bandFrame) {
        // The unprojected map's chequered band, one tick per grid step.
        const float lo0 = static_cast<float>(std::floor(g.lonMin / dLon) * dLon);
        const float la0 = static_cast<float>(std::floor(g.latMin / dLat) * dLat);
        DrawXMapFrame(dc, nullptr, lo0, static_cast<float>(dLon));
        DrawYMapFrame(dc, nullptr, la0, static_cast<float>(dLat));
        if (ps) {
            char line[200];
            std::snprintf(line, sizeof line, "very_thin_line %g SetMyFont\n%9.3f %9.3f xmapframe\n%9.3f %9.3f ymapframe\n",
                          static_cast<double>(st.fontSize), static_cast<double>(lo0), dLon, static_cast<double>(la0),
                          dLat);
            kestrel::plat::fileWriteText(ps, line);
        }
    }
    StrokeMapClippingPath(dc, ps, 2, g.lonMin, g.lonMax, g.latMin, g.latMax, g.xMin, g.xMax, g.w, g.xOff, g.yMin,
                          g.yMax, g.h, g.yOff);

    // The graticule, drawn and remembered as lines the labels keep clear of.
    std::vector<GratLine> gl;
    for (double lon : lons) gl.push_back(GratLine{true, lon, g.latMin, g.latMax});
    for (double lat : lats) gl.push_back(GratLine{false, lat, g.lonMin, g.lonMax});
    auto onEdge = [&](const GratLine &l) {
        return l.meridian ? (std::fabs(l.value - g.lonMin) < 1e-6 || std::fabs(l.value - g.lonMax) < 1e-6)
                          : (std::fabs(l.value - g.latMin) < 1e-6 || std::fabs(l.value - g.latMax) < 1e-6);
    };
    for (const GratLine &l : gl) {
        if (!st.grid || onEdge(l)) continue;
        if (l.meridian) DrawMeridian(dc, ps, g.latMin, g.latMax, static_cast<float>(l.value), 100, 0);
        else DrawParallel(dc, ps, g.lonMin, g.lonMax, static_cast<float>(l.value), 100, 0);
        const int n = 200;
        Pt prev{0, 0};
        bool prevVis = false;
        for (int i = 0; i <= n; ++i) {
            const Pt q = l.geo(l.from + (l.to - l.from) * i / n);
            const bool vis = onMap(q.x, q.y, g);
            const Pt p = vis ? toPixels(q.x, q.y) : Pt{0, 0};
            if (vis && prevVis) layout->lines.push_back(MapSegment{prev.x, prev.y, p.x, p.y});
            prev = p;
            prevVis = vis;
        }
    }

    // The labels: where each line meets the outline, else inside beside it.
    const double mapCx = pixelX(0.5 * (g.xMin + g.xMax)), mapCy = pixelY(0.5 * (g.yMin + g.yMax));
    const double gap = bandFrame ? 8 : 4;
    int placed = 0, wanted = 0;
    for (const GratLine &l : gl) {
        char screen[40], postscript[40];
        if (l.meridian) {
            MkeLonLabel(static_cast<float>(l.value), screen, 0);
            MkeLonLabel(static_cast<float>(l.value), postscript, 1);
        } else {
            MkeLatLabel(static_cast<float>(l.value), screen, 0);
            MkeLatLabel(static_cast<float>(l.value), postscript, 1);
        }
        std::vector<MapLabelPlace> outside, inside;
        for (double t : outlineMeets(l, g, fullCircle)) {
            const Pt geo = l.geo(t), p = toPixels(geo.x, geo.y), n = outwardNormal(outline, p);
            outside.push_back(MapLabelPlace{p.x, p.y, n.x, n.y, gap});
        }
        // Meridians at the bottom first, parallels at the left.
        std::stable_sort(outside.begin(), outside.end(), [&](const MapLabelPlace &a, const MapLabelPlace &b) {
            return l.meridian ? a.y > b.y + 1 : a.x < b.x - 1;
        });
        // Inside: halfway between two lines of the other kind, on either side
        // of this one, nearest the middle of the map first.
        const double step = l.meridian ? dLat : dLon;
        const double lo = l.meridian ? g.latMin : g.lonMin, hi = l.meridian ? g.latMax : g.lonMax;
        // (A line along the map's edge is labelled at its ends only.)
        for (double v = std::floor(lo / step) * step + 0.5 * step; v < hi && !onEdge(l); v += step) {
            if (v <= lo || std::fabs(l.geo(v).y) > 89.9) continue;
            // Meridians are named in one band across the middle of the map,
            // where a reader looks for them, or not at all.
            if (l.meridian && std::fabs(v - g.cLat) > step) continue;
            const Pt geo = l.geo(v);
            if (!onMap(geo.x, geo.y, g)) continue;
            const double dv = 1e-3 * step;
            const Pt a = l.geo(v - dv), b = l.geo(v + dv);
            if (!onMap(a.x, a.y, g) || !onMap(b.x, b.y, g)) continue;
            const Pt p = toPixels(geo.x, geo.y), pa = toPixels(a.x, a.y), pb = toPixels(b.x, b.y);
            const double tx = pb.x - pa.x, ty = pb.y - pa.y;
            inside.push_back(MapLabelPlace{p.x, p.y, ty, -tx, 3});
            inside.push_back(MapLabelPlace{p.x, p.y, -ty, tx, 3});
        }
        std::stable_sort(inside.begin(), inside.end(), [&](const MapLabelPlace &a, const MapLabelPlace &b) {
            return l.meridian ? std::fabs(a.y - mapCy) < std::fabs(b.y - mapCy) - 1
                              : std::fabs(a.x - mapCx) < std::fabs(b.x - mapCx) - 1;
        });
        std::vector<MapLabelPlace> places = outside;
        places.insert(places.end(), inside.begin(), inside.end());
        if (places.empty()) continue;
        ++wanted;
        if (placeMapLabel(dc, ps, screen, postscript, places, st.fontSize, layout)) ++placed;
    }
    if (ps) kestrel::plat::fileWriteText(ps, "grestore\n%%PS-OBJECT: MapFrame end\n");
    SetDoFill(dc, fill);
    layout->gridLabels = placed;
    layout->gridLabelsWanted = wanted;
}
