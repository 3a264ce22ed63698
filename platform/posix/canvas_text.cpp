// The POSIX canvas's text: the host's single-byte encodings, fonts through
// fontconfig and FreeType, drawing and measuring strings.
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

}  // namespace kestrel::canvas

using namespace kestrel::canvas;

namespace kestrel::plat {

unsigned setTextAlign(KDC c, unsigned align) {
    c = live(c);
    if (c && c->mirror) setTextAlign(c->mirror, align);
    if (!c) return 0;
    unsigned old = c->textAlign;
    c->textAlign = align;
    return old;
}

KCOLORREF setTextColor(KDC c, KCOLORREF col) {
    c = live(c);
    if (c && c->mirror) setTextColor(c->mirror, col);
    if (!c) return kInvalidColor;
    KCOLORREF old = c->textColour;
    c->textColour = col;
    return old;
}

KCOLORREF setBkColor(KDC c, KCOLORREF col) {
    c = live(c);
    if (c && c->mirror) setBkColor(c->mirror, col);
    if (!c) return kInvalidColor;
    KCOLORREF old = c->bkColour;
    c->bkColour = col;
    return old;
}

int setBkMode(KDC c, int mode) {
    c = live(c);
    if (c && c->mirror) setBkMode(c->mirror, mode);
    if (!c) return 0;
    int old = c->bkMode;
    c->bkMode = mode;
    return old;
}

bool textOut(KDC c, int x, int y, const char *text, int n) {
    c = live(c);
    if (!c || !text || n < 0) return false;
    if (c->mirror) textOut(c->mirror, x, y, text, n);
    flushLayer(c);
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

}  // namespace kestrel::plat
