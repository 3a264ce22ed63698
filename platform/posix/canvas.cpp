// The POSIX device context: a Cairo RGB24 image with GDI pixel conventions.
//
// Conventions (shared with the Windows build, see platform/platform.h):
//   - pixel (x, y) is the unit square [x, x+1) x [y, y+1); Cairo runs without
//     antialiasing for shapes, so a pixel is painted when its centre is covered;
//   - one-pixel ("cosmetic") pens walk Bresenham and omit the last pixel, as
//     GDI's LineTo does; the walk is painted as horizontal or vertical runs of
//     unit squares, so the clip region applies exactly as to any fill;
//   - wider pens are stroked through pixel centres with round caps and joins;
//   - FillRect is half-open, Rectangle outlines [l, r-1] x [t, b-1] with the
//     pen and fills the inside with the brush;
//   - polygons fill with vertices on integer corners (even-odd unless the
//     winding mode is set) and are then outlined through the vertex pixels.
// Palette-index colours (0x01000000 | i) resolve through Vcolor.
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
#include "kestrel/canvas.h"
#include "platform/platform.h"

namespace {

using kestrel::plat::GdiObj;

enum class Kind { Pen, Brush, Font, Palette };

struct Object {
    explicit Object(Kind k) : kind(k) {}
    Object(Kind k, KCOLORREF c, int penStyle = 0, bool isNull = false)
        : kind(k), stock(true), style(penStyle), colour(c), null(isNull) {}
    Kind kind;
    bool stock = false;
    // pen
    int style = 0;
    int width = 1;
    // pen and brush
    KCOLORREF colour = 0;
    bool null = false;
    // font
    int height = 0;
    int escapement = 0;
    int weight = 400;
    bool italic = false, underline = false, strikeOut = false;
    std::string face;
    // palette
    std::vector<kestrel::plat::PaletteEntry> entries;
    // lifetime
    int selected = 0;     // canvases that hold it
    bool doomed = false;  // deleted while selected: goes when released
};

Object g_stock[9] = {
    {Kind::Brush, 0xFFFFFF}, {Kind::Brush, 0xC0C0C0}, {Kind::Brush, 0x808080},
    {Kind::Brush, 0x404040}, {Kind::Brush, 0x000000}, {Kind::Brush, 0, 0, true},
    {Kind::Pen, 0xFFFFFF},   {Kind::Pen, 0x000000},   {Kind::Pen, 0, 5, true},
};
Object g_systemFont = [] {
    Object f{Kind::Font, 0};
    f.height = -16;
    f.face = "Arial";
    return f;
}();
Object g_defaultPalette{Kind::Palette, 0};

// Handles are checked the way GDI checks them: a canvas or object that was
// destroyed (or never created) is not a handle, and every call given one
// fails as for a null handle instead of touching freed memory. A host may
// keep a handle in a global after destroying it; so may the library
// (VCFontHDC names the canvas that holds the library font).
std::unordered_set<const KCanvas *> g_liveCanvases;
std::unordered_set<const Object *> g_liveObjects;

KCanvas *live(KDC c) { return c && g_liveCanvases.count(c) ? c : nullptr; }

// Coordinates within +-2^29 (GDI keeps them within 2^27), so that the canvas's own
// arithmetic on them (a width, the last pixel of a rectangle) cannot
// overflow whatever the host passes.
inline int clampCoord(int v) {
    constexpr int kLimit = 1 << 29;
    return v > kLimit ? kLimit : v < -kLimit ? -kLimit : v;
}

Object *obj(GdiObj h) {
    Object *o = static_cast<Object *>(h);
    if (!o) return nullptr;
    if (o >= g_stock && o < g_stock + 9) return o;
    if (o == &g_systemFont || o == &g_defaultPalette) return o;
    return g_liveObjects.count(o) ? o : nullptr;
}

// A new object of the canvas, or null when there is no memory for it (as
// GDI's Create* calls fail): the drawing code checks, and it is called from
// destructors, where an exception would end the process.
Object *track(Kind kind) {
    Object *o = new (std::nothrow) Object(kind);
    if (!o) return nullptr;
    try {
        g_liveObjects.insert(o);
    } catch (...) {
        delete o;
        return nullptr;
    }
    return o;
}

// An object selected into a canvas is released when the last canvas lets
// go of it, as GDI defers the deletion of a selected object.
void hold(Object *o) {
    if (o && !o->stock) ++o->selected;
}
void letGo(Object *o) {
    if (!o || o->stock) return;
    if (--o->selected <= 0 && o->doomed) {
        g_liveObjects.erase(o);
        delete o;
    }
}

}  // namespace

struct KCanvas {
    cairo_surface_t *surface = nullptr;
    cairo_t *cr = nullptr;
    int w = 0, h = 0;
    Object *pen = &g_stock[kestrel::plat::StockBlackPen];
    Object *brush = &g_stock[kestrel::plat::StockWhiteBrush];
    Object *font = &g_systemFont;
    Object *palette = &g_defaultPalette;
    int curX = 0, curY = 0;
    unsigned textAlign = 0;
    KCOLORREF textColour = 0x000000, bkColour = 0xFFFFFF;
    int bkMode = kestrel::plat::BkOpaque;
    int fillMode = kestrel::plat::FillAlternate;
    int dashPos = 0;  // position in the cosmetic pen's dash pattern
    // path recording
    bool recording = false;
    std::vector<std::vector<KPoint32>> figures;
    std::vector<bool> closed;
};

namespace {

const uint8_t (*g_indexColours)[3] = nullptr;  // what palette-index colours stand for

void setSource(cairo_t *cr, KCOLORREF c) {
    int r, g, b;
    if ((c & 0xFF000000u) == 0x01000000u) {
        unsigned i = c & 0xFFFFu;
        if (i > 255) i = 0;
        r = g_indexColours ? g_indexColours[i][0] : 0;
        g = g_indexColours ? g_indexColours[i][1] : 0;
        b = g_indexColours ? g_indexColours[i][2] : 0;
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

bool penVisible(KCanvas *c) { return !c->pen->null && c->pen->style != kestrel::plat::PenNull; }

// Strokes an open or closed vertex chain with the current pen.
void strokeChain(KCanvas *c, const KPoint32 *p, int n, bool close) {
    if (n < 1 || !penVisible(c)) return;
    cairo_t *cr = c->cr;
    cairo_save(cr);
    setSource(cr, c->pen->colour);
    if (c->pen->width <= 1) {
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

void fillFigures(KCanvas *c, const std::vector<std::vector<KPoint32>> &figs, KCOLORREF colour) {
    cairo_t *cr = c->cr;
    cairo_save(cr);
    cairo_new_path(cr);
    for (const auto &f : figs) {
        if (f.size() < 3) continue;
        cairo_move_to(cr, f[0].x, f[0].y);
        for (size_t i = 1; i < f.size(); ++i) cairo_line_to(cr, f[i].x, f[i].y);
        cairo_close_path(cr);
    }
    cairo_set_fill_rule(cr, c->fillMode == kestrel::plat::FillWinding ? CAIRO_FILL_RULE_WINDING
                                                                      : CAIRO_FILL_RULE_EVEN_ODD);
    setSource(cr, colour);
    cairo_fill(cr);
    cairo_restore(cr);
}

bool brushVisible(KCanvas *c) { return !c->brush->null; }

void setClipFromFigures(KCanvas *c, const std::vector<std::vector<KPoint32>> &figs, int fillMode, bool intersect) {
    cairo_t *cr = c->cr;
    if (!intersect) cairo_reset_clip(cr);
    cairo_new_path(cr);
    for (const auto &f : figs) {
        if (f.size() < 3) continue;
        cairo_move_to(cr, f[0].x, f[0].y);
        for (size_t i = 1; i < f.size(); ++i) cairo_line_to(cr, f[i].x, f[i].y);
        cairo_close_path(cr);
    }
    cairo_set_fill_rule(cr, fillMode == kestrel::plat::FillWinding ? CAIRO_FILL_RULE_WINDING
                                                                   : CAIRO_FILL_RULE_EVEN_ODD);
    cairo_clip(cr);
}

// The host's text is single-byte: Windows-1252 for text faces, the Symbol
// font's own encoding for the "Symbol" face. Cairo wants UTF-8, and an
// invalid sequence would put the whole context into an error state, so
// every byte is converted here.
void appendUtf8(std::string &out, unsigned cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

unsigned cp1252(unsigned char b) {
    static const unsigned high[32] = {0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD,
                                      0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};
    return (b >= 0x80 && b < 0xA0) ? high[b - 0x80] : b;
}

unsigned symbolFont(unsigned char b) {
    // Letters A..Z and a..z of the Symbol encoding are the Greek alphabet.
    static const unsigned upper[26] = {0x391, 0x392, 0x3A7, 0x394, 0x395, 0x3A6, 0x393, 0x397, 0x399,
                                       0x3D1, 0x39A, 0x39B, 0x39C, 0x39D, 0x39F, 0x3A0, 0x398, 0x3A1,
                                       0x3A3, 0x3A4, 0x3A5, 0x3C2, 0x3A9, 0x39E, 0x3A8, 0x396};
    static const unsigned lower[26] = {0x3B1, 0x3B2, 0x3C7, 0x3B4, 0x3B5, 0x3C6, 0x3B3, 0x3B7, 0x3B9,
                                       0x3D5, 0x3BA, 0x3BB, 0x3BC, 0x3BD, 0x3BF, 0x3C0, 0x3B8, 0x3C1,
                                       0x3C3, 0x3C4, 0x3C5, 0x3D6, 0x3C9, 0x3BE, 0x3C8, 0x3B6};
    if (b >= 'A' && b <= 'Z') return upper[b - 'A'];
    if (b >= 'a' && b <= 'z') return lower[b - 'a'];
    switch (b) {
    case 0x22: return 0x2200;  // for all
    case 0x24: return 0x2203;  // there exists
    case 0x27: return 0x220B;
    case 0x2A: return 0x2217;
    case 0x2D: return 0x2212;  // minus
    case 0x40: return 0x2245;
    case 0x5C: return 0x2234;
    case 0x5E: return 0x22A5;
    case 0x60: return 0xF8E5;
    case 0xA1: return 0x03D2;
    case 0xA2: return 0x2032;
    case 0xA3: return 0x2264;
    case 0xA5: return 0x221E;
    case 0xB0: return 0x00B0;
    case 0xB1: return 0x00B1;
    case 0xB2: return 0x2033;
    case 0xB3: return 0x2265;
    case 0xB4: return 0x00D7;
    case 0xB5: return 0x221D;
    case 0xB6: return 0x2202;
    case 0xB7: return 0x2022;
    case 0xB8: return 0x00F7;
    case 0xB9: return 0x2260;
    case 0xBA: return 0x2261;
    case 0xBB: return 0x2248;
    case 0xD6: return 0x221A;
    case 0xE5: return 0x2211;
    default: return b < 0x80 ? b : 0xFFFD;
    }
}

std::string toUtf8(const Object *font, const char *text, int n) {
    const bool symbol = font && font->face == "Symbol";
    std::string out;
    out.reserve(static_cast<size_t>(n) * 2);
    for (int i = 0; i < n; ++i) {
        const auto b = static_cast<unsigned char>(text[i]);
        if (b == 0) break;
        appendUtf8(out, symbol ? symbolFont(b) : cp1252(b));
    }
    return out;
}

// Font selection on the Cairo context for the canvas' current font.
// Returns the escapement angle in radians (counter-clockwise positive).
double applyFont(KCanvas *c) {
    const Object *f = c->font;
    cairo_t *cr = c->cr;
    std::string face = f->face.empty() ? "Arial" : f->face;
    // Symbol-face text arrives here as Unicode (see toUtf8); the symbol fonts
    // fontconfig offers keep their glyphs under the symbol encoding instead,
    // so the Greek and mathematical characters come from a Unicode face.
    if (face == "Symbol") face = "Liberation Serif";
    cairo_select_font_face(cr, face.c_str(), f->italic ? CAIRO_FONT_SLANT_ITALIC : CAIRO_FONT_SLANT_NORMAL,
                           f->weight >= 600 ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
    // GDI: a negative height is the character (em) height, a positive one the
    // cell height (ascent + descent) of the face at hand, about 1.15 em for
    // the Arial metrics but more or less for others (the symbol face).
    double em = 16.0;
    if (f->height < 0) {
        em = -f->height;
    } else if (f->height > 0) {
        cairo_set_font_size(cr, 100.0);
        cairo_font_extents_t unit;
        cairo_font_extents(cr, &unit);
        const double cell = (unit.ascent + unit.descent) / 100.0;
        em = f->height / (cell > 0.5 && cell < 3.0 ? cell : 1.149);
    }
    // Cairo mishandles absurd sizes (a font of 2^30 pixels leaks inside it):
    // no text is ever taller than a few canvases.
    if (!(em >= 0.1)) em = 0.1;
    if (em > 20000.0) em = 20000.0;
    cairo_set_font_size(cr, em);
    cairo_font_options_t *opt = cairo_font_options_create();
    cairo_font_options_set_antialias(opt, CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(opt, CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(opt, CAIRO_HINT_METRICS_OFF);
    cairo_set_font_options(cr, opt);
    cairo_font_options_destroy(opt);
    return f->escapement * M_PI / 1800.0;
}

}  // namespace

// ---- Exported canvas API -------------------------------------------------------

extern "C" {

KESTREL_API KDC KESTREL_CALL KCanvasCreate(int32_t width, int32_t height) {
    return kestrel::guarded<KDC>("KCanvasCreate", [&]() -> KDC {
        if (width <= 0 || height <= 0 || static_cast<int64_t>(width) * height > (int64_t{1} << 28)) return nullptr;
        cairo_surface_t *s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
        if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
            cairo_surface_destroy(s);
            return nullptr;
        }
        auto *c = new (std::nothrow) KCanvas;
        if (c) {
            try {
                g_liveCanvases.insert(c);
            } catch (...) {
                delete c;
                c = nullptr;
            }
        }
        if (!c) {
            cairo_surface_destroy(s);
            return nullptr;
        }
        c->surface = s;
        c->cr = cairo_create(s);
        c->w = width;
        c->h = height;
        cairo_set_antialias(c->cr, CAIRO_ANTIALIAS_NONE);
        cairo_set_source_rgb(c->cr, 1, 1, 1);
        cairo_paint(c->cr);
        return c;
    });
}

KESTREL_API void KESTREL_CALL KCanvasDestroy(KDC c) {
    return kestrel::guarded<void>("KCanvasDestroy", [&]() -> void {
        c = live(c);
        if (!c) return;
        g_liveCanvases.erase(c);
        letGo(c->pen);
        letGo(c->brush);
        letGo(c->font);
        letGo(c->palette);
        cairo_destroy(c->cr);
        cairo_surface_destroy(c->surface);
        delete c;
    });
}

KESTREL_API int32_t KESTREL_CALL KCanvasSavePNG(KDC c, const char *fileName) {
    return kestrel::guarded<int32_t>("KCanvasSavePNG", [&]() -> int32_t {
        c = live(c);
        if (!c || !fileName) return 0;
        cairo_surface_flush(c->surface);
        return cairo_surface_write_to_png(c->surface, fileName) == CAIRO_STATUS_SUCCESS ? 1 : 0;
    });
}

KESTREL_API uint32_t KESTREL_CALL KCanvasGetPixel(KDC c, int32_t x, int32_t y) {
    return kestrel::guardedOr<uint32_t>("KCanvasGetPixel", 0xFFFFFFFFu, [&]() -> uint32_t {
        c = live(c);
        if (!c || x < 0 || y < 0 || x >= c->w || y >= c->h) return 0xFFFFFFFFu;
        cairo_surface_flush(c->surface);
        const unsigned char *data = cairo_image_surface_get_data(c->surface);
        int stride = cairo_image_surface_get_stride(c->surface);
        uint32_t px;
        std::memcpy(&px, data + static_cast<size_t>(y) * stride + static_cast<size_t>(x) * 4, 4);
        uint32_t r = (px >> 16) & 0xFF, g = (px >> 8) & 0xFF, b = px & 0xFF;
        return r | (g << 8) | (b << 16);
    });
}

KESTREL_API const uint8_t *KESTREL_CALL KCanvasPixels(KDC c, int32_t *stride) {
    return kestrel::guarded<const uint8_t *>("KCanvasPixels", [&]() -> const uint8_t * {
        c = live(c);
        if (stride) *stride = 0;
        if (!c) return nullptr;
        cairo_surface_flush(c->surface);
        if (stride) *stride = cairo_image_surface_get_stride(c->surface);
        return cairo_image_surface_get_data(c->surface);
    });
}

KESTREL_API void KESTREL_CALL KCanvasSelectBrush(KDC c, KCOLORREF colour) {
    return kestrel::guarded<void>("KCanvasSelectBrush", [&]() -> void {
        c = live(c);
        if (!c) return;
        // The canvas owns what it makes here: the object goes when it is replaced
        // or the canvas is destroyed.
        kestrel::plat::GdiObj made = kestrel::plat::createSolidBrush(colour);
        kestrel::plat::GdiObj old = kestrel::plat::selectObject(c, made);
        kestrel::plat::deleteObject(made);
        kestrel::plat::deleteObject(old);  // stock objects are never deleted
    });
}

KESTREL_API void KESTREL_CALL KCanvasSelectPen(KDC c, int32_t style, int32_t width, KCOLORREF colour) {
    return kestrel::guarded<void>("KCanvasSelectPen", [&]() -> void {
        c = live(c);
        if (!c) return;
        kestrel::plat::GdiObj made = kestrel::plat::createPen(style, width, colour);
        kestrel::plat::GdiObj old = kestrel::plat::selectObject(c, made);
        kestrel::plat::deleteObject(made);
        kestrel::plat::deleteObject(old);
    });
}

KESTREL_API int32_t KESTREL_CALL KCanvasWidth(KDC c) {
    return kestrel::guarded<int32_t>("KCanvasWidth", [&]() -> int32_t {
        c = live(c);
        return c ? c->w : 0;
    });
}
KESTREL_API int32_t KESTREL_CALL KCanvasHeight(KDC c) {
    return kestrel::guarded<int32_t>("KCanvasHeight", [&]() -> int32_t {
        c = live(c);
        return c ? c->h : 0;
    });
}

}  // extern "C"

// ---- The platform drawing interface ----------------------------------------------

namespace kestrel::plat {

void setIndexColours(const uint8_t (*table)[3]) { g_indexColours = table; }

GdiObj getStockObject(int which) {
    if (which >= 0 && which <= StockNullPen) return &g_stock[which];
    if (which == StockSystemFont) return &g_systemFont;
    return nullptr;
}

GdiObj selectObject(KDC c, GdiObj h) {
    c = live(c);
    Object *o = obj(h), *old = nullptr;
    if (!o) return nullptr;
    if (!c) {
        // Nothing can hold a fresh object that missed its canvas (the
        // library's routines create and select in one step, and find it again
        // only through the selection): release it rather than lose it. A
        // later delete of the handle fails harmlessly.
        if (!o->stock && o->selected == 0) {
            g_liveObjects.erase(o);
            delete o;
        }
        return nullptr;
    }
    switch (o->kind) {
    case Kind::Pen:
        old = c->pen;
        c->pen = o;
        c->dashPos = 0;
        break;
    case Kind::Brush:
        old = c->brush;
        c->brush = o;
        break;
    case Kind::Font:
        old = c->font;
        c->font = o;
        break;
    case Kind::Palette: return nullptr;  // palettes go through selectPalette
    }
    hold(o);
    letGo(old);
    return old;
}

bool deleteObject(GdiObj h) {
    Object *o = obj(h);
    if (!o) return false;
    if (o->stock) return true;
    if (o->selected > 0) {
        o->doomed = true;
        return true;
    }
    g_liveObjects.erase(o);
    delete o;
    return true;
}

KPEN createPen(int style, int width, KCOLORREF colour) {
    auto *o = track(Kind::Pen);
    if (!o) return nullptr;
    o->style = style;
    o->width = width < 1 ? 1 : width;
    o->colour = colour;
    o->null = style == PenNull;
    return reinterpret_cast<KPEN>(o);
}

KBRUSH createSolidBrush(KCOLORREF colour) {
    auto *o = track(Kind::Brush);
    if (!o) return nullptr;
    o->colour = colour;
    return reinterpret_cast<KBRUSH>(o);
}

KFONT createFont(int height, int, int escapement, int, int weight, bool italic, bool underline, bool strikeOut,
                 const char *face) {
    auto *o = track(Kind::Font);
    if (!o) return nullptr;
    o->height = height;
    o->escapement = escapement;
    o->weight = weight;
    o->italic = italic;
    o->underline = underline;
    o->strikeOut = strikeOut;
    try {
        o->face = face ? face : "";
    } catch (...) {
        deleteObject(o);
        return nullptr;
    }
    return reinterpret_cast<KFONT>(o);
}

int getDeviceCaps(KDC c, int index) {
    c = live(c);
    if (!c) return 0;
    switch (index) {
    case CapHorzSize: return static_cast<int>(std::lround(c->w * 25.4 / 96.0));
    case CapVertSize: return static_cast<int>(std::lround(c->h * 25.4 / 96.0));
    case CapHorzRes: return c->w;
    case CapVertRes: return c->h;
    case CapBitsPixel: return 24;
    case CapPlanes: return 1;
    default: return 0;
    }
}

int getSystemMetrics(int index) {
    switch (index) {
    case SmCxScreen: return 1920;
    case SmCyScreen: return 1080;
    case SmCxVScroll: return 17;
    case SmCyHScroll: return 17;
    case SmCyCaption: return 23;
    case SmCxFrame: return 4;
    case SmCyFrame: return 4;
    case SmCyMenu: return 20;
    default: return 0;
    }
}

KPALETTE createPalette(const PaletteEntry *entries, int count) {
    if (count < 1 || count > 65536 || !entries) return nullptr;
    auto *o = track(Kind::Palette);
    if (!o) return nullptr;
    try {
        o->entries.assign(entries, entries + count);
    } catch (...) {
        deleteObject(o);
        return nullptr;
    }
    return reinterpret_cast<KPALETTE>(o);
}

KPALETTE selectPalette(KDC c, KPALETTE pal, bool) {
    c = live(c);
    Object *p = obj(reinterpret_cast<GdiObj>(pal));
    if (!c || !p || p->kind != Kind::Palette) return nullptr;
    Object *old = c->palette;
    c->palette = p;
    hold(p);
    letGo(old);
    return reinterpret_cast<KPALETTE>(old);
}

unsigned realizePalette(KDC c) {
    c = live(c);
    return c ? static_cast<unsigned>(c->palette->entries.size()) : 0;
}

bool moveTo(KDC c, int x, int y) {
    c = live(c);
    if (!c) return false;
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
    if (c->recording) {
        c->figures.emplace_back(pts, pts + n);
        c->closed.push_back(true);
        return true;
    }
    if (brushVisible(c)) fillFigures(c, {std::vector<KPoint32>(pts, pts + n)}, c->brush->colour);
    strokeChain(c, pts, n, true);
    return true;
}

bool rectangle(KDC c, int l, int t, int r, int b) {
    c = live(c);
    if (!c) return false;
    l = clampCoord(l);
    t = clampCoord(t);
    r = clampCoord(r);
    b = clampCoord(b);
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
    l = clampCoord(l);
    t = clampCoord(t);
    r = clampCoord(r);
    b = clampCoord(b);
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
    Object *b = obj(brush);
    if (!b) return false;
    if (b->null || r->right <= r->left || r->bottom <= r->top) return true;
    cairo_save(c->cr);
    setSource(c->cr, b->colour);
    cairo_rectangle(c->cr, r->left, r->top, static_cast<double>(r->right) - r->left,
                    static_cast<double>(r->bottom) - r->top);
    cairo_fill(c->cr);
    cairo_restore(c->cr);
    return true;
}

KCOLORREF setPixel(KDC c, int x, int y, KCOLORREF colour) {
    c = live(c);
    if (!c || x < 0 || y < 0 || x >= c->w || y >= c->h) return kInvalidColor;
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
    int old = c->fillMode;
    c->fillMode = mode == FillWinding ? FillWinding : FillAlternate;
    return old;
}

bool fillRects(KDC c, const Rect *rects, int n, KBRUSH brush) {
    c = live(c);
    if (!c || (!rects && n > 0) || !brush) return false;
    Object *b = obj(brush);
    if (!b) return false;
    if (b->null || n <= 0) return true;
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
    if (!c) return false;
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

bool beginPath(KDC c) {
    c = live(c);
    if (!c) return false;
    c->recording = true;
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool endPath(KDC c) {
    c = live(c);
    if (!c || !c->recording) return false;
    c->recording = false;
    return true;
}

bool closeFigure(KDC c) {
    c = live(c);
    if (!c || !c->recording || c->closed.empty()) return false;
    c->closed.back() = true;
    return true;
}

bool strokePath(KDC c) {
    c = live(c);
    if (!c) return false;
    for (size_t i = 0; i < c->figures.size(); ++i)
        strokeChain(c, c->figures[i].data(), static_cast<int>(c->figures[i].size()), c->closed[i]);
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool fillPath(KDC c) {
    c = live(c);
    if (!c) return false;
    if (brushVisible(c)) fillFigures(c, c->figures, c->brush->colour);
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool strokeAndFillPath(KDC c) {
    c = live(c);
    if (!c) return false;
    if (brushVisible(c)) fillFigures(c, c->figures, c->brush->colour);
    return strokePath(c);
}

bool selectClipPath(KDC c, int mode) {
    c = live(c);
    if (!c) return false;
    setClipFromFigures(c, c->figures, c->fillMode, mode == RgnAnd);
    c->figures.clear();
    c->closed.clear();
    return true;
}

bool clipRect(KDC c, const Rect *r) {
    c = live(c);
    if (!c) return false;
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
    if (!c || !pts || n < 3) return false;
    setClipFromFigures(c, {std::vector<KPoint32>(pts, pts + n)}, fillMode, false);
    return true;
}

unsigned setTextAlign(KDC c, unsigned align) {
    c = live(c);
    if (!c) return 0;
    unsigned old = c->textAlign;
    c->textAlign = align;
    return old;
}

KCOLORREF setTextColor(KDC c, KCOLORREF col) {
    c = live(c);
    if (!c) return kInvalidColor;
    KCOLORREF old = c->textColour;
    c->textColour = col;
    return old;
}

KCOLORREF setBkColor(KDC c, KCOLORREF col) {
    c = live(c);
    if (!c) return kInvalidColor;
    KCOLORREF old = c->bkColour;
    c->bkColour = col;
    return old;
}

int setBkMode(KDC c, int mode) {
    c = live(c);
    if (!c) return 0;
    int old = c->bkMode;
    c->bkMode = mode;
    return old;
}

bool textOut(KDC c, int x, int y, const char *text, int n) {
    c = live(c);
    if (!c || !text || n < 0) return false;
    const std::string s = toUtf8(c->font, text, n);
    cairo_t *cr = c->cr;
    cairo_save(cr);
    double angle = applyFont(c);
    cairo_font_extents_t fe;
    cairo_font_extents(cr, &fe);
    cairo_text_extents_t te;
    cairo_text_extents(cr, s.c_str(), &te);
    double adv = te.x_advance;
    double dx = 0, dy = 0;  // offset from the reference point to the baseline start
    switch (c->textAlign & TaHorizontalMask) {
    case TaCenter: dx = -adv / 2; break;
    case TaRight: dx = -adv; break;
    default: break;
    }
    switch (c->textAlign & TaVerticalMask) {
    case TaBaseline: break;
    case TaBottom: dy = -fe.descent; break;
    default: dy = fe.ascent; break;  // top
    }
    cairo_translate(cr, x, y);
    cairo_rotate(cr, -angle);
    if (c->bkMode == BkOpaque) {
        cairo_rectangle(cr, dx, dy - fe.ascent, adv, fe.ascent + fe.descent);
        setSource(cr, c->bkColour);
        cairo_fill(cr);
    }
    setSource(cr, c->textColour);
    cairo_set_antialias(cr, CAIRO_ANTIALIAS_GRAY);
    cairo_move_to(cr, dx, dy);
    cairo_show_text(cr, s.c_str());
    if (c->font->underline || c->font->strikeOut) {
        double lw = std::max(1.0, fe.height / 16);
        if (c->font->underline) cairo_rectangle(cr, dx, dy + fe.descent / 2, adv, lw);
        if (c->font->strikeOut) cairo_rectangle(cr, dx, dy - fe.ascent / 3, adv, lw);
        cairo_fill(cr);
    }
    cairo_restore(cr);
    return true;
}

bool textExtent(KDC c, const char *text, int n, Size *size) {
    c = live(c);
    if (!c || !text || n < 0 || !size) return false;
    const std::string s = toUtf8(c->font, text, n);
    cairo_save(c->cr);
    applyFont(c);
    cairo_font_extents_t fe;
    cairo_font_extents(c->cr, &fe);
    cairo_text_extents_t te;
    cairo_text_extents(c->cr, s.c_str(), &te);
    cairo_restore(c->cr);
    size->cx = static_cast<int32_t>(std::lround(te.x_advance));
    size->cy = static_cast<int32_t>(std::lround(fe.ascent + fe.descent));
    return true;
}

bool textMetrics(KDC c, KTextMetric *tm) {
    c = live(c);
    if (!c || !tm) return false;
    std::memset(tm, 0, sizeof *tm);
    cairo_save(c->cr);
    applyFont(c);
    cairo_font_extents_t fe;
    cairo_font_extents(c->cr, &fe);
    cairo_text_extents_t te;
    cairo_text_extents(c->cr, "x", &te);
    cairo_restore(c->cr);
    tm->tmAscent = static_cast<int32_t>(std::lround(fe.ascent));
    tm->tmDescent = static_cast<int32_t>(std::lround(fe.descent));
    tm->tmHeight = tm->tmAscent + tm->tmDescent;
    double em = std::fabs(static_cast<double>(c->font->height));
    tm->tmInternalLeading = c->font->height < 0 ? std::max(0, tm->tmHeight - static_cast<int32_t>(em)) : 0;
    tm->tmAveCharWidth = static_cast<int32_t>(std::lround(te.x_advance));
    tm->tmMaxCharWidth = static_cast<int32_t>(std::lround(fe.max_x_advance));
    tm->tmWeight = c->font->weight;
    tm->tmDigitizedAspectX = tm->tmDigitizedAspectY = 96;
    tm->tmFirstChar = 32;
    tm->tmLastChar = 255;
    tm->tmDefaultChar = 31;
    tm->tmBreakChar = 32;
    tm->tmItalic = c->font->italic;
    tm->tmUnderlined = c->font->underline;
    tm->tmStruckOut = c->font->strikeOut;
    tm->tmPitchAndFamily = 0x20 | 0x06;  // Swiss, variable pitch, TrueType
    return true;
}

bool bitBlt(KDC dst, int x, int y, int w, int h, KDC src, int sx, int sy) {
    dst = live(dst);
    src = live(src);
    if (!dst || !src || w <= 0 || h <= 0) return false;
    cairo_surface_flush(src->surface);
    cairo_save(dst->cr);
    cairo_set_source_surface(dst->cr, src->surface, x - sx, y - sy);
    cairo_rectangle(dst->cr, x, y, w, h);
    cairo_fill(dst->cr);
    cairo_restore(dst->cr);
    return true;
}

}  // namespace kestrel::plat
