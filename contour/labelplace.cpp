// Held contour labels: placed once the lines and whatever is painted over
// them are known, then drawn by CToutlbl (labels.h explains the aims).
//
// Everything is worked out in device pixels, where the text's size is known.
// Two rasters over the frame hold what a label must not cover: the lines
// (each pixel knows which level ran through it) and the areas painted after
// the lines. A label is a rectangle of the text box's size centred on its
// line, turned along the chord of the stretch of line it covers; that
// stretch must be nearly straight, so the line runs in at one end of the
// box and out at the other. Labels are placed line by line, the longest
// lines first, at regular distances along each line (the part inside the
// frame), each at the best place near its target that breaks no rule. A
// level whose lines found no place at all (lines crowded closer than a
// label's height) tries again, accepting a box that hides one other line,
// then any number of them at the least crowded place.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "base/guard.h"
#include "contour/internal.h"
#include "contour/labels.h"
#include "kestrel/colour.h"
#include "kestrel/contour.h"
#include "kestrel/draw.h"
#include "kestrel/globals.h"
#include "plot/cover.h"
#include "plot/psstream.h"

namespace kestrel {
std::vector<PlacedLabelBox> *gLabelBoxTrace = nullptr;
void (*gPieceSink)() = nullptr;
}  // namespace kestrel

using namespace kestrel;

namespace {

constexpr double kPi = 3.14159265358979323846;
// Labels of one line are this many length units apart (divided by the
// level's label factor).
constexpr double kSpacing = 8.0;

struct Path {
    int32_t level = 0;  // index into the held levels
    std::vector<double> x, y;
    bool closed = false;
    bool lastPieceFull = false;  // the tracer cut the line here: the next piece goes on
    std::vector<double> s;       // arc length at each vertex
    double length = 0;
    double in0 = 0, in1 = 0, inLength = 0;  // the arc inside the frame: first, last, and how much
};

struct Held {
    bool armed = false;    // the next ContourField holds its labels
    bool holding = false;  // a ContourField has held them
    int32_t current = -1;  // the level being traced
    std::vector<KContourLevel> levels;
    std::vector<Path> paths;
    KAxis vx{}, vy{};
    PaintedCover covers;
    LabelLayout layout;
};

Held &held() {
    static Held h;
    return h;
}

// A pixel coordinate as an int, far-off values held at +-1e9 (NaN: 0).
int toInt(double v) { return v == v ? static_cast<int>(std::clamp(v, -1e9, 1e9)) : 0; }

double pixelX(const KAxis &a, double u) { return (u - a.umin) * a.pixPerUser + a.lowPix; }
double userOf(const KAxis &a, double p) { return (p - a.lowPix) / a.pixPerUser + a.umin; }

// A label's rectangle: centre, unit vector along the text (device pixels,
// y down), half width and half height.
struct Box {
    double cx = 0, cy = 0, ux = 1, uy = 0, hw = 0, hh = 0;
    double vx() const { return -uy; }
    double vy() const { return ux; }
    double radius(double ax, double ay) const {
        return hw * std::fabs(ux * ax + uy * ay) + hh * std::fabs(vx() * ax + vy() * ay);
    }
};

// Separating axes: apart by more than gap along one of the four sides.
bool overlap(const Box &a, const Box &b, double gap) {
    const double dx = b.cx - a.cx, dy = b.cy - a.cy;
    const double axes[4][2] = {{a.ux, a.uy}, {a.vx(), a.vy()}, {b.ux, b.uy}, {b.vx(), b.vy()}};
    for (const auto &ax : axes) {
        const double d = std::fabs(dx * ax[0] + dy * ax[1]);
        if (d > a.radius(ax[0], ax[1]) + b.radius(ax[0], ax[1]) + gap) return false;
    }
    return true;
}

// The frame's pixels: which level's line passes each (0 none, k + 1 level
// k, kMany several) and whether it is covered later.
class Rasters {
public:
    static constexpr uint16_t kMany = 0xFFFF;
    static constexpr int kCrowd = 1000;  // more other lines than a box can meet
    // A frame too large to hold pixel by pixel (beyond 8192 x 8192) is
    // taken as a single pixel: labels then keep only to the frame and clear
    // of each other.
    Rasters(int32_t left, int32_t top, int32_t right, int32_t bottom)
        : x0_(left), y0_(top), w_(extent(left, right)), h_(extent(top, bottom)) {
        if (int64_t{w_} * h_ > (int64_t{1} << 26)) w_ = h_ = 1;
        lines_.assign(static_cast<size_t>(w_) * static_cast<size_t>(h_), 0);
        cover_.assign(lines_.size(), 0);
    }

    void line(const Path &p, uint16_t id) {
        for (size_t k = 0; k + 1 < p.x.size(); ++k) {
            const double dx = p.x[k + 1] - p.x[k], dy = p.y[k + 1] - p.y[k];
            if (!std::isfinite(dx) || !std::isfinite(dy)) continue;
            const int steps = static_cast<int>(std::min(std::ceil(std::hypot(dx, dy) * 2.0), 1e5)) + 1;
            for (int t = 0; t <= steps; ++t) {
                const double f = static_cast<double>(t) / steps;
                mark(p.x[k] + f * dx, p.y[k] + f * dy, id);
            }
        }
    }

    // A polygon in pixels, even-odd, by pixel centres; grown by a pixel all
    // round (the screen's fills reach a pixel further than their edges).
    void polygon(const std::vector<std::pair<double, double>> &v) {
        if (v.size() < 3) return;
        double ylo = v[0].second, yhi = ylo;
        for (const auto &p : v) ylo = std::min(ylo, p.second), yhi = std::max(yhi, p.second);
        const int ja = std::max(toInt(std::floor(ylo)) - 1 - y0_, 0);
        const int jb = std::min(toInt(std::ceil(yhi)) + 1 - y0_, h_ - 1);
        // Three scanlines (this row and its neighbours) cover the row
        // grown by a pixel.
        for (int j = ja; j <= jb; ++j) fillSpans(v, j);
    }

    void rect(double xa, double ya, double xb, double yb) {
        const int ia = std::max(toInt(std::floor(std::min(xa, xb))) - 1 - x0_, 0);
        const int ib = std::min(toInt(std::ceil(std::max(xa, xb))) + 1 - x0_, w_ - 1);
        const int ja = std::max(toInt(std::floor(std::min(ya, yb))) - 1 - y0_, 0);
        const int jb = std::min(toInt(std::ceil(std::max(ya, yb))) + 1 - y0_, h_ - 1);
        for (int j = ja; j <= jb; ++j)
            for (int i = ia; i <= ib; ++i) cover_[idx(i, j)] = 1;
    }

    // What a box touches: covered pixels within coverPad of it, and the
    // other levels' lines within pad (up to eight of them).
    struct Touch {
        bool covered = false;
        int others = 0;
    };
    Touch touch(const Box &b, uint16_t own, double pad, double coverPad) const {
        Touch t;
        const double reach = std::max(pad, coverPad);
        const double rx = b.radius(1, 0) + reach, ry = b.radius(0, 1) + reach;
        const int ia = std::max(toInt(std::floor(b.cx - rx)) - x0_, 0);
        const int ib = std::min(toInt(std::ceil(b.cx + rx)) - x0_, w_ - 1);
        const int ja = std::max(toInt(std::floor(b.cy - ry)) - y0_, 0);
        const int jb = std::min(toInt(std::ceil(b.cy + ry)) - y0_, h_ - 1);
        uint16_t seen[8];
        int nSeen = 0;
        bool many = false;
        for (int j = ja; j <= jb; ++j) {
            const double py = y0_ + j + 0.5 - b.cy;
            for (int i = ia; i <= ib; ++i) {
                const double px = x0_ + i + 0.5 - b.cx;
                const double du = std::fabs(px * b.ux + py * b.uy) - b.hw, dv = std::fabs(px * b.vx() + py * b.vy()) - b.hh;
                if (du > reach || dv > reach) continue;
                const size_t k = idx(i, j);
                if (cover_[k] && du <= coverPad && dv <= coverPad) {
                    t.covered = true;
                    return t;
                }
                if (du > pad || dv > pad) continue;
                const uint16_t l = lines_[k];
                if (l == 0 || l == own) continue;
                if (l == kMany) {
                    many = true;
                    continue;
                }
                if (std::find(seen, seen + nSeen, l) == seen + nSeen && nSeen < 8) seen[nSeen++] = l;
            }
        }
        // Where lines meet in one pixel, at least two of them.
        t.others = many ? std::max(nSeen, 2) : nSeen;
        return t;
    }

private:
    static int extent(int32_t a, int32_t b) { return static_cast<int>(std::clamp<int64_t>(int64_t{b} - a + 1, 1, 1 << 30)); }
    size_t idx(int i, int j) const { return static_cast<size_t>(j) * static_cast<size_t>(w_) + static_cast<size_t>(i); }
    void mark(double x, double y, uint16_t id) {
        if (!(x > x0_ - 1 && x < x0_ + w_ + 1 && y > y0_ - 1 && y < y0_ + h_ + 1)) return;
        const int i = toInt(std::floor(x)) - x0_, j = toInt(std::floor(y)) - y0_;
        if (i < 0 || j < 0 || i >= w_ || j >= h_) return;
        uint16_t &p = lines_[idx(i, j)];
        p = p == 0 || p == id ? id : kMany;
    }
    void fillSpans(const std::vector<std::pair<double, double>> &v, int j) {
        std::vector<double> xs;
        for (const double yc : {y0_ + j - 0.5, y0_ + j + 0.5, y0_ + j + 1.5}) {
            xs.clear();
            for (size_t k = 0, m = v.size() - 1; k < v.size(); m = k++) {
                const double ya = v[m].second, yb = v[k].second;
                if ((ya <= yc) == (yb <= yc)) continue;
                xs.push_back(v[m].first + (yc - ya) / (yb - ya) * (v[k].first - v[m].first));
            }
            std::sort(xs.begin(), xs.end());
            for (size_t k = 0; k + 1 < xs.size(); k += 2) {
                const int ia = std::max(toInt(std::floor(xs[k])) - 1 - x0_, 0);
                const int ib = std::min(toInt(std::ceil(xs[k + 1])) + 1 - x0_, w_ - 1);
                for (int i = ia; i <= ib; ++i) cover_[idx(i, j)] = 1;
            }
        }
    }

    int x0_, y0_, w_, h_;
    std::vector<uint16_t> lines_;
    std::vector<uint8_t> cover_;
};

// The point at arc length s of a path (the vertices may be walked twice
// round a closed one), and the vertex index at or before it.
struct Walker {
    const Path &p;
    size_t n;  // vertices, without a closed path's repeated last one
    explicit Walker(const Path &path) : p(path), n(path.closed ? path.x.size() - 1 : path.x.size()) {}
    // Vertex k of the walk (k may run past n round a closed path).
    double vx(size_t k) const { return p.x[k % n]; }
    double vy(size_t k) const { return p.y[k % n]; }
    double vs(size_t k) const { return p.s[k % n] + (k >= n ? p.length * static_cast<double>(k / n) : 0.0); }
    size_t segment(double s) const {  // k with vs(k) <= s < vs(k + 1)
        const size_t lap = p.closed && s >= p.length ? static_cast<size_t>(s / p.length) : 0;
        const double r = s - lap * p.length;
        const size_t last = p.closed ? n : n - 1;
        size_t k = static_cast<size_t>(std::upper_bound(p.s.begin(), p.s.begin() + static_cast<std::ptrdiff_t>(last), r) -
                                       p.s.begin());
        k = k == 0 ? 0 : k - 1;
        if (!p.closed && k >= n - 1) k = n - 2;
        return k + lap * n;
    }
    void at(double s, double *x, double *y) const {
        const size_t k = segment(s);
        const double s0 = vs(k), s1 = vs(k + 1);
        const double f = s1 > s0 ? std::clamp((s - s0) / (s1 - s0), 0.0, 1.0) : 0.0;
        *x = vx(k) + f * (vx(k + 1) - vx(k));
        *y = vy(k) + f * (vy(k + 1) - vy(k));
    }
};

struct Candidate {
    Box box;
    double angle = 0;  // degrees, 0..90 or 270..360
    double score = 0;
    bool ok = false;
};

struct Placer {
    const Rasters &rasters;
    std::vector<Box> placed;
    double left, top, right, bottom;  // the frame less its margin
    double gap;

    // The label of text size (w, h) centred at arc length s of the path.
    Candidate at(const Path &p, uint16_t id, double s, double w, double h, int acceptOthers) const {
        Candidate c;
        const Walker walk(p);
        const double half = 0.5 * w + 0.15 * h;  // the stretch of line under the box, a little longer
        double ax, ay, bx, by, cx, cy;
        walk.at(s - half, &ax, &ay);
        walk.at(s + half, &bx, &by);
        walk.at(s, &cx, &cy);
        const double dx = bx - ax, dy = by - ay, chord = std::hypot(dx, dy);
        if (!(chord > 1.6 * half)) return c;  // a bend, not a stretch
        const double ux = dx / chord, uy = dy / chord;
        // How far the stretch strays from the chord.
        double dev = std::fabs((cx - ax) * uy - (cy - ay) * ux);
        for (size_t k = walk.segment(s - half) + 1; k <= walk.segment(s + half); ++k)
            dev = std::max(dev, std::fabs((walk.vx(k) - ax) * uy - (walk.vy(k) - ay) * ux));
        if (dev > 0.3 * h) return c;
        // Text reads left to right, or bottom to top when upright.
        double angle = std::atan2(-dy, dx) * 180.0 / kPi;
        if (angle > 90.0) angle -= 180.0;
        if (angle <= -90.0) angle += 180.0;
        const double rad = angle * kPi / 180.0;
        c.box = Box{cx, cy, std::cos(rad), -std::sin(rad), 0.5 * w + 1.0, 0.5 * h + 1.0};
        const double rx = c.box.radius(1, 0), ry = c.box.radius(0, 1);
        if (cx - rx < left || cx + rx > right || cy - ry < top || cy + ry > bottom) return c;
        for (const Box &b : placed)
            if (overlap(b, c.box, gap)) return c;
        const Rasters::Touch t = rasters.touch(c.box, id, 1.0, 0.3 * h);
        if (t.covered || t.others > acceptOthers) return c;
        c.angle = angle < 0 ? angle + 360.0 : angle;
        c.score = dev / h + t.others;
        c.ok = true;
        return c;
    }

    // The best place in [s0, s1], preferring the middle.
    Candidate best(const Path &p, uint16_t id, double s0, double s1, double w, double h, int acceptOthers) const {
        Candidate bestC;
        const double mid = 0.5 * (s0 + s1), span = std::max(s1 - s0, 1e-9);
        const double step = std::max({0.3 * h, 1.0, span / 2000});
        for (double s = s0; s <= s1 + 1e-9; s += step) {
            Candidate c = at(p, id, s, w, h, acceptOthers);
            if (!c.ok) continue;
            c.score += std::fabs(s - mid) / span;
            if (!bestC.ok || c.score < bestC.score) bestC = c;
        }
        return bestC;
    }
};

}  // namespace

void kestrel::holdContourLabels() {
    Held &h = held();
    h.armed = true;
    h.holding = false;
    h.paths.clear();
    h.levels.clear();
    h.covers.clear();
    gCoverTrace = nullptr;
}

bool kestrel::takeLabelHold() {
    Held &h = held();
    const bool armed = h.armed;
    h.armed = false;
    return armed;
}

void kestrel::beginHeldLabels(const KContourLevel *levels, int32_t count) {
    Held &h = held();
    h.holding = true;
    h.levels.assign(levels, levels + std::max(count, 0));
    h.paths.clear();
    h.covers.clear();
    h.vx = VX;
    h.vy = VY;
    gCoverTrace = &h.covers;
}

void kestrel::setHeldLevel(int32_t index) {
    held().current = index;
    gPieceSink = &recordHeldPiece;
}

void kestrel::recordHeldPiece() {
    Held &h = held();
    const int32_t n = std::min<int32_t>(nVp, 1500);
    if (!h.holding || n < 2 || h.current < 0) return;
    const bool goesOn = !h.paths.empty() && h.paths.back().level == h.current && h.paths.back().lastPieceFull;
    if (!goesOn) {
        h.paths.emplace_back();
        h.paths.back().level = h.current;
    }
    Path &p = h.paths.back();
    for (int32_t k = goesOn ? 1 : 0; k < n; ++k) {
        p.x.push_back(pixelX(h.vx, Vfp[k][0]));
        p.y.push_back(pixelX(h.vy, Vfp[k][1]));
    }
    p.lastPieceFull = n > kPieceVertices;
}

const LabelLayout &kestrel::lastLabelLayout() { return held().layout; }

int kestrel::drawHeldContourLabels(KDC dc, KFILE ps) {
    Held &h = held();
    gCoverTrace = nullptr;
    gPieceSink = nullptr;
    h.armed = false;
    if (!h.holding) return 0;
    h.holding = false;
    const KAxis keepX = VX, keepY = VY;
    VX = h.vx;
    VY = h.vy;

    LabelLayout &out = h.layout;
    out = LabelLayout{};
    out.left = std::min(VX.lowPix, VX.highPix);
    out.right = std::max(VX.lowPix, VX.highPix);
    out.top = std::min(VY.lowPix, VY.highPix);
    out.bottom = std::max(VY.lowPix, VY.highPix);
    Rasters rasters(out.left, out.top, out.right, out.bottom);

    // Arc lengths; tiny scraps and repeated vertices dropped.
    for (Path &p : h.paths) {
        p.s.assign(1, 0.0);
        size_t keep = 1;
        for (size_t k = 1; k < p.x.size(); ++k) {
            const double d = std::hypot(p.x[k] - p.x[keep - 1], p.y[k] - p.y[keep - 1]);
            if (d < 1e-6 && k + 1 < p.x.size()) continue;
            p.x[keep] = p.x[k];
            p.y[keep] = p.y[k];
            p.s.push_back(p.s.back() + d);
            ++keep;
        }
        p.x.resize(keep);
        p.y.resize(keep);
        p.length = p.s.back();
        p.closed = keep >= 4 && p.x.front() == p.x.back() && p.y.front() == p.y.back();
        auto inside = [&](size_t k) {
            return p.x[k] >= out.left && p.x[k] <= out.right && p.y[k] >= out.top && p.y[k] <= out.bottom;
        };
        p.in0 = p.length;
        p.in1 = 0;
        for (size_t k = 0; k < keep; ++k) {
            if (!inside(k)) continue;
            p.in0 = std::min(p.in0, p.s[k]);
            p.in1 = std::max(p.in1, p.s[k]);
            if (k > 0 && inside(k - 1)) p.inLength += p.s[k] - p.s[k - 1];
        }
        rasters.line(p, static_cast<uint16_t>(p.level + 1));
    }
    for (const auto &r : h.covers.rects) {
        const double xa = pixelX(VX, r[0]), ya = pixelX(VY, r[1]), xb = pixelX(VX, r[2]), yb = pixelX(VY, r[3]);
        rasters.rect(xa, ya, xb, yb);
        out.covers.push_back({{xa, ya}, {xb, ya}, {xb, yb}, {xa, yb}});
    }
    for (const auto &poly : h.covers.polygons) {
        std::vector<std::pair<double, double>> v;
        for (const auto &[x, y] : poly) v.emplace_back(pixelX(VX, x), pixelX(VY, y));
        rasters.polygon(v);
        out.covers.push_back(std::move(v));
    }
    h.covers.clear();

    // The text boxes of the labelled levels, as the text layout measures them.
    const size_t nl = h.levels.size();
    std::vector<double> textW(nl, 0), textH(nl, 0);
    std::vector<std::string> texts(nl);
    for (size_t k = 0; k < nl; ++k) {
        const KContourLevel &L = h.levels[k];
        if (L.labelFactor < 1 || L.labelSize <= 0) continue;
        char text[64];
        formatG(text, L.level);
        texts[k] = text;
        if (dc) {
            ScanString(dc, text, VX.umin, VY.umin, 0.0f, static_cast<float>(L.labelSize), 0);
            textW[k] = dli.width;
            textH[k] = dli.lineHeight;
        }
        if (!(textW[k] > 0) || !(textH[k] > 0)) {  // no device to measure on: digits of a usual face
            const double em = L.labelSize * 0.04 * VY.pixPerLength * mCGS.mag / 1.117;
            textW[k] = (0.556 * static_cast<double>(std::strlen(text)) + 0.278) * em * 1.117;
            textH[k] = 1.2 * L.labelSize * 0.04 * VY.pixPerLength * mCGS.mag;
        }
    }

    const double frameWidth = std::trunc(static_cast<double>(VX.pixPerLength) * 0.015);
    const double margin = frameWidth + 3.0;
    Placer placer{rasters, {}, out.left + margin, out.top + margin, out.right - margin, out.bottom - margin, 0};
    std::vector<KContourLabel> labels;
    std::vector<int> perLevel(nl, 0);

    // The lines that take labels, longest first.
    std::vector<size_t> order;
    for (size_t k = 0; k < h.paths.size(); ++k) {
        const Path &p = h.paths[k];
        const size_t l = static_cast<size_t>(p.level);
        if (l >= nl || textW[l] <= 0 || p.x.size() < 2) continue;
        const double w = textW[l];
        if (p.inLength < (p.closed ? 3.0 : 1.5) * w) continue;  // too short (in the frame) to carry its label
        order.push_back(k);
    }
    std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return h.paths[a].length > h.paths[b].length; });

    auto place = [&](const Path &p, int acceptOthers) {
        const size_t l = static_cast<size_t>(p.level);
        const KContourLevel &L = h.levels[l];
        const double w = textW[l], th = textH[l];
        placer.gap = 0.3 * th;
        const double spacing = kSpacing * VX.pixPerLength / std::max(L.labelFactor, 1);
        const double half = 0.5 * w + 0.15 * th;
        // Only where the line is inside the frame (a ring's seam may lie
        // anywhere: round it, the whole ring is tried).
        const bool seam = p.closed && p.in0 <= 0 && p.in1 >= p.length;
        const double s0 = seam ? half : std::max(half, p.in0), s1 = seam ? p.length + half : std::min(p.closed ? p.length + half : p.length - half, p.in1);
        if (!(s1 > s0)) return;
        const int m = static_cast<int>(std::clamp(std::floor(p.inLength / spacing + 0.5), 1.0, 500.0));
        for (int t = 0; t < m && labels.size() < KESTREL_MAX_CONTOUR_LABELS; ++t) {
            const double a = s0 + (s1 - s0) * t / m, b = s0 + (s1 - s0) * (t + 1) / m;
            const Candidate c = placer.best(p, static_cast<uint16_t>(p.level + 1), a, b, w, th, acceptOthers);
            if (!c.ok) continue;
            placer.placed.push_back(c.box);
            KContourLabel lab{};
            lab.level = L.level;
            lab.x = static_cast<float>(userOf(VX, c.box.cx));
            lab.y = static_cast<float>(userOf(VY, c.box.cy));
            lab.angle = static_cast<float>(c.angle);
            lab.colour = L.labelColour;
            lab.size = L.labelSize;
            lab.fill = L.labelFill;
            labels.push_back(lab);
            ++perLevel[l];
        }
    };
    for (size_t k : order) place(h.paths[k], 0);
    // Levels left without a label (where the lines crowd): once more, hiding
    // one other line, then any number, at the least crowded place.
    for (const int others : {1, Rasters::kCrowd})
        for (size_t k : order)
            if (perLevel[static_cast<size_t>(h.paths[k].level)] == 0) place(h.paths[k], others);

    for (const size_t k : order) {
        LabelledPath lp;
        lp.level = h.levels[static_cast<size_t>(h.paths[k].level)].level;
        for (size_t v = 0; v < h.paths[k].x.size(); ++v) lp.points.emplace_back(h.paths[k].x[v], h.paths[k].y[v]);
        out.paths.push_back(std::move(lp));
    }
    h.paths.clear();

    const int32_t count = static_cast<int32_t>(labels.size());
    if (dc) {
        const int32_t entryColour = mCGS.colorState[0];
        std::vector<PlacedLabelBox> boxes;
        gLabelBoxTrace = &boxes;
        CToutlbl(dc, nullptr, labels.data(), count);
        gLabelBoxTrace = nullptr;
        SetColor(entryColour);
        out.labels = std::move(boxes);
    } else {
        for (const KContourLabel &l : labels) out.labels.push_back(PlacedLabelBox{l.level, l.x, l.y, l.angle, {}, {}});
    }
    if (ps) {
        PsStream(ps).put("%%PS-OBJECT: ContourLabels begin\n");
        CToutlbl(nullptr, ps, labels.data(), count);
        PsStream(ps).printf("\n0 setgray %s %s\n%%%%PS-OBJECT: ContourLabels end\n\n", szPSlStyle[0], szPSlWidth[0]);
    }
    VX = keepX;
    VY = keepY;
    return count;
}
