// The POSIX canvas's raster: GDI's one-pixel lines and its shapes, fills,
// pixels and block transfers on a Cairo image.
#include <cairo-ft.h>
#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <unordered_set>
#include <vector>

#include "base/guard.h"
#include "platform/posix/canvas_internal.h"

namespace kestrel::canvas {

void setSource(cairo_t *cr, KCOLORREF c) {
    int r, g, b;
    if ((c & 0xFF000000u) == 0x01000000u) {
        unsigned i = c & 0xFFFFu;
        if (i > 255) i = 0;
        r = gIndexColours ? gIndexColours[i][0] : 0;
        g = gIndexColours ? gIndexColours[i][1] : 0;
        b = gIndexColours ? gIndexColours[i][2] : 0;
    } else {
        r = c & 0xFF;
        g = (c >> 8) & 0xFF;
        b = (c >> 16) & 0xFF;
    }
    cairo_set_source_rgb(cr, r / 255.0, g / 255.0, b / 255.0);
}

// Dash patterns of cosmetic pens, in pixels (on, off, on, off, ...).
const std::vector<int> &dashPattern(int style) {
    static const std::vector<int> none, dash{18, 6}, dot{3, 3}, dashDot{9, 6, 3, 6}, dashDotDot{9, 3, 3, 3, 3, 3};
    switch (style) {
    case kestrel::plat::PenDash: return dash;
    case kestrel::plat::PenDot: return dot;
    case kestrel::plat::PenDashDot: return dashDot;
    case kestrel::plat::PenDashDotDot: return dashDotDot;
    default: return none;
    }
}

bool dashOn(KCanvas *c) {
    const auto &pat = dashPattern(c->pen->style);
    if (pat.empty()) return true;
    int period = 0;
    for (int v : pat) period += v;
    int p = c->dashPos % period;
    for (size_t i = 0; i < pat.size(); ++i) {
        if (p < pat[i]) return i % 2 == 0;
        p -= pat[i];
    }
    return true;
}

// Floor division for a positive divisor.
inline int64_t floorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// Cuts a segment that reaches far beyond the canvas down to the part near
// it, so that the pixel walk below stays proportional to the canvas and not
// to the coordinates (a wild coordinate must not stall the drawing). Pixels
// on the canvas keep their place up to one step of the walk. Returns false
// when nothing of the segment comes near the canvas.
bool clipLongLine(const KCanvas *c, int &x0, int &y0, int &x1, int &y1, bool &keepLast) {
    const double limit = 4.0 * (c->w + c->h) + 16;
    const double dx = static_cast<double>(x1) - x0, dy = static_cast<double>(y1) - y0;
    if (std::fabs(dx) <= limit && std::fabs(dy) <= limit) return true;
    // Liang-Barsky against the canvas widened by two pixels.
    double t0 = 0, t1 = 1;
    const double lo[2] = {-2.0, -2.0}, hi[2] = {c->w + 2.0, c->h + 2.0};
    const double p0[2] = {static_cast<double>(x0), static_cast<double>(y0)}, d[2] = {dx, dy};
    for (int k = 0; k < 2; ++k) {
        if (d[k] == 0) {
            if (p0[k] < lo[k] || p0[k] > hi[k]) return false;
            continue;
        }
        double ta = (lo[k] - p0[k]) / d[k], tb = (hi[k] - p0[k]) / d[k];
        if (ta > tb) std::swap(ta, tb);
        t0 = std::max(t0, ta);
        t1 = std::min(t1, tb);
        if (t0 > t1) return false;
    }
    keepLast = t1 < 1;  // the excluded end pixel lies beyond the cut
    const int nx0 = static_cast<int>(std::lround(p0[0] + t0 * dx)), ny0 = static_cast<int>(std::lround(p0[1] + t0 * dy));
    x1 = static_cast<int>(std::lround(p0[0] + t1 * dx));
    y1 = static_cast<int>(std::lround(p0[1] + t1 * dy));
    x0 = nx0;
    y0 = ny0;
    return true;
}

// One-pixel line from (x0, y0) to (x1, y1), last pixel excluded, painted as
// runs of unit squares. Each step along the major axis takes the minor
// coordinate of the ideal line rounded to the nearest pixel, a tie going to
// the smaller coordinate whatever the direction: that is the pixel choice of
// GDI's cosmetic lines (checked pixel for pixel against it in the tests).
void cosmeticLine(KCanvas *c, int x0, int y0, int x1, int y1) {
    bool keepLast = false;
    if (!clipLongLine(c, x0, y0, x1, y1, keepLast)) return;
    if (keepLast) {
        cairo_rectangle(c->cr, x1, y1, 1, 1);
    }
    cairo_t *cr = c->cr;
    const int64_t dx = x1 - x0, dy = y1 - y0;
    const bool xMajor = std::llabs(dx) >= std::llabs(dy);
    const int64_t n = xMajor ? std::llabs(dx) : std::llabs(dy);
    const int64_t step = xMajor ? (dx > 0 ? 1 : -1) : (dy > 0 ? 1 : -1);
    const int64_t minorSpan = xMajor ? dy : dx;
    const int64_t majorStart = xMajor ? x0 : y0, minorStart = xMajor ? y0 : x0;
    int64_t runStart = 0, runMinor = 0, runLen = 0;  // run along the major axis
    auto flush = [&]() {
        if (runLen == 0) return;
        const int64_t a = step > 0 ? runStart : runStart - runLen + 1;
        if (xMajor)
            cairo_rectangle(cr, static_cast<double>(a), static_cast<double>(runMinor), static_cast<double>(runLen), 1);
        else
            cairo_rectangle(cr, static_cast<double>(runMinor), static_cast<double>(a), 1, static_cast<double>(runLen));
        runLen = 0;
    };
    for (int64_t i = 0; i < n; ++i) {
        const int64_t major = majorStart + step * i;
        // round-half-down of minorStart + i * minorSpan / n
        const int64_t minor = minorStart + floorDiv(2 * i * minorSpan + n - 1, 2 * n);
        const bool on = dashOn(c);
        ++c->dashPos;
        if (!on || (runLen > 0 && minor != runMinor)) flush();
        if (on) {
            if (runLen == 0) {
                runStart = major;
                runMinor = minor;
            }
            ++runLen;
        }
    }
    flush();
}

bool layerRect(KCanvas *c, double l, double t, double r, double b, KCOLORREF colour) {
    if (!c->vector) return false;
    l = std::max(l, 0.0);
    t = std::max(t, 0.0);
    r = std::min(r, double(c->w));
    b = std::min(b, double(c->h));
    if (r <= l || b <= t) return true;
    if ((r - l) * (b - t) * 4 > double(c->w) * c->h) return false;  // a background: a shape
    if (!c->layer) {
        c->layer = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, c->w, c->h);
        c->layerCr = cairo_create(c->layer);
        cairo_set_antialias(c->layerCr, CAIRO_ANTIALIAS_NONE);
    }
    if (cairo_status(c->layerCr) != CAIRO_STATUS_SUCCESS) return false;
    setSource(c->layerCr, colour);
    cairo_rectangle(c->layerCr, l, t, r - l, b - t);
    cairo_fill(c->layerCr);
    const int x0 = static_cast<int>(l), y0 = static_cast<int>(t);
    const int x1 = static_cast<int>(std::ceil(r)), y1 = static_cast<int>(std::ceil(b));
    if (c->layerX1 <= c->layerX0) {
        c->layerX0 = x0, c->layerY0 = y0, c->layerX1 = x1, c->layerY1 = y1;
    } else {
        c->layerX0 = std::min(c->layerX0, x0);
        c->layerY0 = std::min(c->layerY0, y0);
        c->layerX1 = std::max(c->layerX1, x1);
        c->layerY1 = std::max(c->layerY1, y1);
    }
    return true;
}

void flushLayer(KCanvas *c) {
    if (!c->layer || c->layerX1 <= c->layerX0) return;
    const int x = c->layerX0, y = c->layerY0, w = c->layerX1 - x, h = c->layerY1 - y;
    c->layerX1 = c->layerX0;
    // Only the part drawn on goes into the file, as an image of its own.
    cairo_surface_t *part = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
    cairo_t *pc = cairo_create(part);
    cairo_set_source_surface(pc, c->layer, -x, -y);
    cairo_set_operator(pc, CAIRO_OPERATOR_SOURCE);
    cairo_paint(pc);
    cairo_destroy(pc);
    cairo_save(c->cr);
    cairo_set_source_surface(c->cr, part, x, y);
    cairo_pattern_set_filter(cairo_get_source(c->cr), CAIRO_FILTER_NEAREST);
    cairo_rectangle(c->cr, x, y, w, h);
    cairo_fill(c->cr);
    cairo_restore(c->cr);
    cairo_surface_destroy(part);
    cairo_save(c->layerCr);
    cairo_set_operator(c->layerCr, CAIRO_OPERATOR_CLEAR);
    cairo_rectangle(c->layerCr, x, y, w, h);
    cairo_fill(c->layerCr);
    cairo_restore(c->layerCr);
}

bool penVisible(KCanvas *c) { return !c->pen->null && c->pen->style != kestrel::plat::PenNull; }

// Strokes an open or closed vertex chain with the current pen.
void strokeChain(KCanvas *c, const KPoint32 *p, int n, bool close) {
    if (n < 1 || !penVisible(c)) return;
    flushLayer(c);
    cairo_t *cr = c->cr;
    cairo_save(cr);
    setSource(cr, c->pen->colour);
    if (c->pen->width <= 1 && c->smooth) {
        // A line one pixel wide through the pixel centres, dashed in
        // pixels as the walk below is, the pattern running on from the
        // last call.
        const auto &pat = dashPattern(c->pen->style);
        double length = 0;
        for (int i = 0; i + 1 < n; ++i) length += std::hypot(double(p[i + 1].x) - p[i].x, double(p[i + 1].y) - p[i].y);
        if (close && n > 2) length += std::hypot(double(p[0].x) - p[n - 1].x, double(p[0].y) - p[n - 1].y);
        if (!pat.empty()) {
            double dashes[6];
            int period = 0;
            for (size_t i = 0; i < pat.size(); ++i) dashes[i] = pat[i], period += pat[i];
            cairo_set_dash(cr, dashes, static_cast<int>(pat.size()), c->dashPos % period);
        }
        c->dashPos += static_cast<int>(std::min(length, 1e9));
        cairo_new_path(cr);
        cairo_set_line_width(cr, 1.0);
        cairo_set_line_cap(cr, pat.empty() ? CAIRO_LINE_CAP_SQUARE : CAIRO_LINE_CAP_BUTT);
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        cairo_move_to(cr, p[0].x + 0.5, p[0].y + 0.5);
        for (int i = 1; i < n; ++i) cairo_line_to(cr, p[i].x + 0.5, p[i].y + 0.5);
        if (close && n > 2) cairo_close_path(cr);
        cairo_stroke(cr);
    } else if (c->pen->width <= 1) {
        cairo_new_path(cr);
        for (int i = 0; i + 1 < n; ++i) cosmeticLine(c, p[i].x, p[i].y, p[i + 1].x, p[i + 1].y);
        if (close && n > 1) cosmeticLine(c, p[n - 1].x, p[n - 1].y, p[0].x, p[0].y);
        cairo_fill(cr);
    } else {
        cairo_new_path(cr);
        cairo_set_line_width(cr, c->pen->width);
        cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
        cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
        cairo_move_to(cr, p[0].x + 0.5, p[0].y + 0.5);
        for (int i = 1; i < n; ++i) cairo_line_to(cr, p[i].x + 0.5, p[i].y + 0.5);
        if (close) cairo_close_path(cr);
        if (n == 1) cairo_line_to(cr, p[0].x + 0.5, p[0].y + 0.5);
        cairo_stroke(cr);
    }
    cairo_restore(cr);
}

void addFigures(cairo_t *cr, const std::vector<std::vector<KPoint32>> &figs) {
    cairo_new_path(cr);
    for (const auto &f : figs) {
        if (f.size() < 3) continue;
        cairo_move_to(cr, f[0].x, f[0].y);
        for (size_t i = 1; i < f.size(); ++i) cairo_line_to(cr, f[i].x, f[i].y);
        cairo_close_path(cr);
    }
}

void fillFigures(KCanvas *c, const std::vector<std::vector<KPoint32>> &figs, KCOLORREF colour) {
    flushLayer(c);
    cairo_t *cr = c->cr;
    cairo_save(cr);
    addFigures(cr, figs);
    cairo_set_fill_rule(cr, c->fillMode == kestrel::plat::FillWinding ? CAIRO_FILL_RULE_WINDING
                                                                      : CAIRO_FILL_RULE_EVEN_ODD);
    setSource(cr, colour);
    cairo_fill(cr);
    cairo_restore(cr);
}

bool brushVisible(KCanvas *c) { return !c->brush->null; }

}  // namespace kestrel::canvas

using namespace kestrel::canvas;

namespace kestrel::plat {

bool moveTo(KDC c, int x, int y) {
    c = live(c);
    if (!c) return false;
    if (c->mirror) moveTo(c->mirror, x, y);
    if (c->recording) {
        c->figures.push_back({KPoint32{x, y}});
        c->closed.push_back(false);
    }
    c->curX = x;
    c->curY = y;
    return true;
}

bool lineTo(KDC c, int x, int y) {
    c = live(c);
    if (!c) return false;
    if (c->mirror) lineTo(c->mirror, x, y);
    if (c->recording) {
        if (c->figures.empty()) {
            c->figures.push_back({KPoint32{c->curX, c->curY}});
            c->closed.push_back(false);
        }
        c->figures.back().push_back(KPoint32{x, y});
    } else {
        KPoint32 p[2] = {{c->curX, c->curY}, {x, y}};
        strokeChain(c, p, 2, false);
    }
    c->curX = x;
    c->curY = y;
    return true;
}

bool polyline(KDC c, const KPoint32 *pts, int n) {
    c = live(c);
    if (!c || !pts || n < 2) return false;
    if (c->mirror) polyline(c->mirror, pts, n);
    if (c->recording) {
        c->figures.emplace_back(pts, pts + n);
        c->closed.push_back(false);
    } else {
        strokeChain(c, pts, n, false);
    }
    return true;
}

bool polygon(KDC c, const KPoint32 *pts, int n) {
    c = live(c);
    if (!c || !pts || n < 2) return false;
    if (c->mirror) polygon(c->mirror, pts, n);
    if (c->recording) {
        c->figures.emplace_back(pts, pts + n);
        c->closed.push_back(true);
        return true;
    }
    if (brushVisible(c)) fillFigures(c, {std::vector<KPoint32>(pts, pts + n)}, c->brush->colour);
    strokeChain(c, pts, n, true);
    return true;
}

// The four edges of a shape's bounding box, within the canvas's range.
static void clampBox(int &l, int &t, int &r, int &b) {
    l = clampCoord(l);
    t = clampCoord(t);
    r = clampCoord(r);
    b = clampCoord(b);
}

bool rectangle(KDC c, int l, int t, int r, int b) {
    c = live(c);
    if (!c) return false;
    if (c->mirror) rectangle(c->mirror, l, t, r, b);
    flushLayer(c);
    clampBox(l, t, r, b);
    if (r < l) std::swap(l, r);
    if (b < t) std::swap(t, b);
    if (c->recording) {
        c->figures.push_back({{l, t}, {r - 1, t}, {r - 1, b - 1}, {l, b - 1}});
        c->closed.push_back(true);
        return true;
    }
    if (brushVisible(c)) {
        cairo_save(c->cr);
        setSource(c->cr, c->brush->colour);
        cairo_rectangle(c->cr, l, t, r - l, b - t);
        cairo_fill(c->cr);
        cairo_restore(c->cr);
    }
    KPoint32 p[4] = {{l, t}, {r - 1, t}, {r - 1, b - 1}, {l, b - 1}};
    strokeChain(c, p, 4, true);
    return true;
}

bool ellipse(KDC c, int l, int t, int r, int b) {
    c = live(c);
    if (!c) return false;
    if (c->mirror) ellipse(c->mirror, l, t, r, b);
    flushLayer(c);
    clampBox(l, t, r, b);
    double cx = (l + r) / 2.0, cy = (t + b) / 2.0, rx = (r - l) / 2.0, ry = (b - t) / 2.0;
    if (rx <= 0 || ry <= 0) return false;
    cairo_t *cr = c->cr;
    auto path = [&](double inset) {
        cairo_new_path(cr);
        cairo_save(cr);
        cairo_translate(cr, cx, cy);
        cairo_scale(cr, std::max(rx - inset, 0.01), std::max(ry - inset, 0.01));
        cairo_arc(cr, 0, 0, 1, 0, 2 * M_PI);
        cairo_restore(cr);
    };
    cairo_save(cr);
    if (brushVisible(c)) {
        path(0);
        setSource(cr, c->brush->colour);
        cairo_fill(cr);
    }
    if (penVisible(c)) {
        double w = c->pen->width;
        path(w / 2.0);
        cairo_set_line_width(cr, w);
        setSource(cr, c->pen->colour);
        cairo_stroke(cr);
    }
    cairo_restore(cr);
    return true;
}

bool fillRect(KDC c, const Rect *r, KBRUSH brush) {
    c = live(c);
    if (!c || !r || !brush) return false;
    if (c->mirror) fillRect(c->mirror, r, brush);
    Object *b = obj(brush);
    if (!b) return false;
    if (b->null || r->right <= r->left || r->bottom <= r->top) return true;
    cairo_save(c->cr);
    setSource(c->cr, b->colour);
    if (layerRect(c, r->left, r->top, r->right, r->bottom, b->colour)) {
        cairo_restore(c->cr);
        return true;
    }
    flushLayer(c);
    cairo_rectangle(c->cr, r->left, r->top, static_cast<double>(r->right) - r->left,
                    static_cast<double>(r->bottom) - r->top);
    cairo_fill(c->cr);
    cairo_restore(c->cr);
    return true;
}

KCOLORREF setPixel(KDC c, int x, int y, KCOLORREF colour) {
    c = live(c);
    if (!c || x < 0 || y < 0 || x >= c->w || y >= c->h) return kInvalidColor;
    if (c->mirror) setPixel(c->mirror, x, y, colour);
    flushLayer(c);
    cairo_save(c->cr);
    setSource(c->cr, colour);
    cairo_rectangle(c->cr, x, y, 1, 1);
    cairo_fill(c->cr);
    cairo_restore(c->cr);
    return KCanvasGetPixel(c, x, y);
}

KCOLORREF getPixel(KDC c, int x, int y) { return KCanvasGetPixel(live(c), x, y); }

int setPolyFillMode(KDC c, int mode) {
    c = live(c);
    if (!c) return 0;
    if (c->mirror) setPolyFillMode(c->mirror, mode);
    int old = c->fillMode;
    c->fillMode = mode == FillWinding ? FillWinding : FillAlternate;
    return old;
}

bool fillRects(KDC c, const Rect *rects, int n, KBRUSH brush) {
    c = live(c);
    if (!c || (!rects && n > 0) || !brush) return false;
    if (c->mirror) fillRects(c->mirror, rects, n, brush);
    Object *b = obj(brush);
    if (!b) return false;
    if (b->null || n <= 0) return true;
    if (c->vector) {
        bool all = true;
        for (int i = 0; i < n && all; ++i) {
            const double w = double(rects[i].right) - rects[i].left, h = double(rects[i].bottom) - rects[i].top;
            all = w <= 0 || h <= 0 || w * h * 4 <= double(c->w) * c->h;
        }
        if (all) {
            for (int i = 0; i < n; ++i)
                if (rects[i].right > rects[i].left && rects[i].bottom > rects[i].top)
                    layerRect(c, rects[i].left, rects[i].top, rects[i].right, rects[i].bottom, b->colour);
            return true;
        }
        flushLayer(c);
    }
    cairo_save(c->cr);
    setSource(c->cr, b->colour);
    // Rectangles of one colour: their union, whatever overlaps.
    cairo_set_fill_rule(c->cr, CAIRO_FILL_RULE_WINDING);
    for (int i = 0; i < n; ++i) {
        const Rect &r = rects[i];
        if (r.right > r.left && r.bottom > r.top)
            cairo_rectangle(c->cr, r.left, r.top, static_cast<double>(r.right) - r.left,
                            static_cast<double>(r.bottom) - r.top);
    }
    cairo_fill(c->cr);
    cairo_restore(c->cr);
    return true;
}

// The canvas keeps colours, not indices: each distinct colour is matched once
// against the palette (exact colours find their first entry, the in-between
// shades of antialiased text their nearest one) and the answer is cached.
bool bitmapSize(KDC c, KBITMAP, int *width, int *height) {
    c = live(c);
    if (!c || !width || !height) return false;
    *width = c->w;
    *height = c->h;
    return true;
}

bool bitmapPaletteIndices(KDC c, KBITMAP, int width, int height, const Rect &part, uint8_t *out,
                          const uint8_t (*colours)[3], int count) {
    c = live(c);
    if (!out || width <= 0 || height <= 0 || part.left < 0 || part.top < 0 || part.right <= part.left ||
        part.bottom <= part.top)
        return false;
    const size_t w = static_cast<size_t>(static_cast<int64_t>(part.right) - part.left);
    const size_t h = static_cast<size_t>(static_cast<int64_t>(part.bottom) - part.top);
    std::memset(out, 0, w * h);
    if (!c || c->vector) return false;
    const int n = colours ? std::clamp(count, 0, 256) : 0;
    if (n == 0) return true;  // every pixel is entry 0
    auto nearest = [n, colours](uint32_t rgb) {
        const int r = static_cast<int>((rgb >> 16) & 0xFF), g = static_cast<int>((rgb >> 8) & 0xFF),
                  b = static_cast<int>(rgb & 0xFF);
        int best = 0, bestD = 1 << 30;
        for (int i = 0; i < n && bestD > 0; ++i) {
            const int dr = r - colours[i][0], dg = g - colours[i][1], db = b - colours[i][2];
            const int d = dr * dr + dg * dg + db * db;
            if (d < bestD) {
                bestD = d;
                best = i;
            }
        }
        return static_cast<uint8_t>(best);
    };
    // Direct-mapped cache of colour -> index; bit 24 marks a filled slot.
    constexpr unsigned kBits = 12;
    std::vector<uint32_t> key(1u << kBits, 0);
    std::vector<uint8_t> value(1u << kBits, 0);
    cairo_surface_flush(c->surface);
    const unsigned char *data = cairo_image_surface_get_data(c->surface);
    const size_t stride = static_cast<size_t>(cairo_image_surface_get_stride(c->surface));
    // The part of the canvas that both the host's picture and the canvas hold.
    const int64_t x1 = std::min<int64_t>({part.right, width, c->w}), y1 = std::min<int64_t>({part.bottom, height, c->h});
    const size_t rows = y1 > part.top ? static_cast<size_t>(y1 - part.top) : 0;
    const size_t cols = x1 > part.left ? static_cast<size_t>(x1 - part.left) : 0;
    uint32_t last = 0xFFFFFFFFu;
    uint8_t lastIndex = 0;
    for (size_t y = 0; y < rows; ++y) {
        const unsigned char *src = data + (y + static_cast<size_t>(part.top)) * stride + static_cast<size_t>(part.left) * 4;
        uint8_t *dst = out + y * w;
        for (size_t x = 0; x < cols; ++x) {
            uint32_t px;
            std::memcpy(&px, src + x * 4, 4);
            px = (px & 0xFFFFFFu) | 0x1000000u;
            if (px != last) {
                const uint32_t slot = (px * 0x9E3779B1u) >> (32 - kBits);
                if (key[slot] != px) {
                    key[slot] = px;
                    value[slot] = nearest(px);
                }
                last = px;
                lastIndex = value[slot];
            }
            dst[x] = lastIndex;
        }
    }
    return true;
}

bool bitBlt(KDC dst, int x, int y, int w, int h, KDC src, int sx, int sy) {
    dst = live(dst);
    src = live(src);
    if (!dst || !src || w <= 0 || h <= 0) return false;
    if (dst->mirror) bitBlt(dst->mirror, x, y, w, h, src->mirror && src != dst ? src->mirror : src, sx, sy);
    flushLayer(dst);
    cairo_surface_flush(src->surface);
    cairo_save(dst->cr);
    cairo_set_source_surface(dst->cr, src->surface, x - sx, y - sy);
    cairo_rectangle(dst->cr, x, y, w, h);
    cairo_fill(dst->cr);
    cairo_restore(dst->cr);
    return true;
}

}  // namespace kestrel::plat
