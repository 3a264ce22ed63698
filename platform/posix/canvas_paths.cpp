// The POSIX canvas's paths and clip regions.
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

void endGroup(KCanvas *c) {
    if (!c->grouped) return;
    flushLayer(c);
    cairo_pattern_t *group = cairo_pop_group(c->cr);
    c->grouped = false;
    cairo_save(c->cr);
    for (const auto &part : c->clip) {
        addFigures(c->cr, part.figures);
        cairo_set_fill_rule(c->cr, part.winding ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
        cairo_clip(c->cr);
    }
    cairo_set_source(c->cr, group);
    cairo_paint(c->cr);
    cairo_restore(c->cr);
    cairo_pattern_destroy(group);
}

void flushGroup(KCanvas *c) {
    endGroup(c);
    if (!c->clip.empty()) {
        cairo_push_group(c->cr);
        c->grouped = true;
    }
}

namespace {

// A vector canvas's new clip: what was drawn under the old one painted
// through it, then a group for what comes under the new one.
void setVectorClip(KCanvas *c, const std::vector<std::vector<KPoint32>> &figs, bool winding, bool intersect) {
    endGroup(c);
    if (!intersect) c->clip.clear();
    c->clip.push_back({figs, winding});
    flushGroup(c);
}

}  // namespace

void setClipFromFigures(KCanvas *c, const std::vector<std::vector<KPoint32>> &figs, int fillMode, bool intersect) {
    if (c->vector) {
        setVectorClip(c, figs, fillMode == kestrel::plat::FillWinding, intersect);
        return;
    }
    flushLayer(c);  // what is on the layer was drawn under the old clip
    cairo_t *cr = c->cr;
    if (!intersect) cairo_reset_clip(cr);
    addFigures(cr, figs);
    cairo_set_fill_rule(cr, fillMode == kestrel::plat::FillWinding ? CAIRO_FILL_RULE_WINDING
                                                                   : CAIRO_FILL_RULE_EVEN_ODD);
    cairo_clip(cr);
}

}  // namespace kestrel::canvas

using namespace kestrel::canvas;

namespace kestrel::plat {

bool beginPath(KDC c) {
    c = live(c);
    if (c && c->mirror) beginPath(c->mirror);
    if (!c) return false;
    c->recording = true;
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool endPath(KDC c) {
    c = live(c);
    if (c && c->mirror) endPath(c->mirror);
    if (!c || !c->recording) return false;
    c->recording = false;
    return true;
}

bool closeFigure(KDC c) {
    c = live(c);
    if (c && c->mirror) closeFigure(c->mirror);
    if (!c || !c->recording || c->closed.empty()) return false;
    c->closed.back() = true;
    return true;
}

bool strokePath(KDC c) {
    c = live(c);
    if (c && c->mirror) strokePath(c->mirror);
    if (!c) return false;
    for (size_t i = 0; i < c->figures.size(); ++i)
        strokeChain(c, c->figures[i].data(), static_cast<int>(c->figures[i].size()), c->closed[i]);
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool fillPath(KDC c) {
    c = live(c);
    if (c && c->mirror) fillPath(c->mirror);
    if (!c) return false;
    if (brushVisible(c)) fillFigures(c, c->figures, c->brush->colour);
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool strokeAndFillPath(KDC c) {
    c = live(c);
    if (!c) return false;
    if (c->mirror && brushVisible(c->mirror)) fillFigures(c->mirror, c->mirror->figures, c->mirror->brush->colour);
    if (brushVisible(c)) fillFigures(c, c->figures, c->brush->colour);
    return strokePath(c);  // the mirror strokes too
}

bool selectClipPath(KDC c, int mode) {
    c = live(c);
    if (c && c->mirror) selectClipPath(c->mirror, mode);
    if (!c) return false;
    setClipFromFigures(c, c->figures, c->fillMode, mode == RgnAnd);
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool clipRect(KDC c, const Rect *r) {
    c = live(c);
    if (c && c->mirror) clipRect(c->mirror, r);
    if (!c) return false;
    if (c->vector) {
        endGroup(c);
        c->clip.clear();
        if (r) {
            const int l = r->left, t = r->top, rr = std::max(r->right, r->left), b = std::max(r->bottom, r->top);
            c->clip.push_back({{{{l, t}, {rr, t}, {rr, b}, {l, b}}}, false});
        }
        flushGroup(c);
        return true;
    }
    flushLayer(c);
    cairo_reset_clip(c->cr);
    if (!r) return true;
    cairo_new_path(c->cr);
    cairo_rectangle(c->cr, r->left, r->top, std::max(0.0, static_cast<double>(r->right) - r->left),
                    std::max(0.0, static_cast<double>(r->bottom) - r->top));
    cairo_clip(c->cr);
    return true;
}

bool clipPolygon(KDC c, const KPoint32 *pts, int n, int fillMode) {
    c = live(c);
    if (c && c->mirror) clipPolygon(c->mirror, pts, n, fillMode);
    if (!c || !pts || n < 3) return false;
    setClipFromFigures(c, {std::vector<KPoint32>(pts, pts + n)}, fillMode, false);
    return true;
}

}  // namespace kestrel::plat
