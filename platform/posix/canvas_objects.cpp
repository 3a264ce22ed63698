// The POSIX canvas: the exported canvas calls and the GDI objects (pens,
// brushes, fonts, palettes) with their handle checks.
#include <cairo-ft.h>
#include <cairo.h>
#include <cairo-pdf.h>
#include <cairo-svg.h>

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

Object gStock[9] = {
    {Kind::Brush, 0xFFFFFF}, {Kind::Brush, 0xC0C0C0}, {Kind::Brush, 0x808080},
    {Kind::Brush, 0x404040}, {Kind::Brush, 0x000000}, {Kind::Brush, 0, 0, true},
    {Kind::Pen, 0xFFFFFF},   {Kind::Pen, 0x000000},   {Kind::Pen, 0, 5, true},
};
Object gSystemFont = [] {
    Object f{Kind::Font, 0};
    f.height = -16;
    f.face = "Arial";
    return f;
}();
Object gDefaultPalette{Kind::Palette, 0};

// Handles are checked the way GDI checks them: a canvas or object that was
// destroyed (or never created) is not a handle, and every call given one
// fails as for a null handle instead of touching freed memory. A host may
// keep a handle in a global after destroying it; so may the library
// (VCFontHDC names the canvas that holds the library font).
std::unordered_set<const KCanvas *> gLiveCanvases;
std::unordered_set<const Object *> gLiveObjects;

KCanvas *live(KDC c) { return c && gLiveCanvases.count(c) ? c : nullptr; }

Object *obj(GdiObj h) {
    Object *o = static_cast<Object *>(h);
    if (!o) return nullptr;
    if (o >= gStock && o < gStock + 9) return o;
    if (o == &gSystemFont || o == &gDefaultPalette) return o;
    return gLiveObjects.count(o) ? o : nullptr;
}

// A new object of the canvas, or null when there is no memory for it (as
// GDI's Create* calls fail): the drawing code checks, and it is called from
// destructors, where an exception would end the process.
Object *track(Kind kind) {
    Object *o = new (std::nothrow) Object(kind);
    if (!o) return nullptr;
    try {
        gLiveObjects.insert(o);
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
        gLiveObjects.erase(o);
        delete o;
    }
}

const uint8_t (*gIndexColours)[3] = nullptr;

}  // namespace kestrel::canvas

using namespace kestrel::canvas;

// ---- Exported canvas API -------------------------------------------------------

extern "C" {

}  // extern "C"

namespace {

// A canvas on surface s (taken over, also on failure), filled white.
KDC makeCanvas(cairo_surface_t *s, int32_t width, int32_t height, bool vector) {
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        return nullptr;
    }
    auto *c = new (std::nothrow) KCanvas;
    if (c) {
        try {
            gLiveCanvases.insert(c);
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
    c->vector = c->smooth = vector;
    if (vector) cairo_set_antialias(c->cr, CAIRO_ANTIALIAS_FAST);
    if (!vector) cairo_set_antialias(c->cr, CAIRO_ANTIALIAS_NONE);
    cairo_set_source_rgb(c->cr, 1, 1, 1);
    cairo_paint(c->cr);
    return c;
}

// The canvas's picture drawn onto out at scale; a PNG is then written to
// fileName, a PDF or SVG surface finished (which writes its file).
bool replay(KCanvas *c, cairo_surface_t *out, const std::string &kind, const char *fileName, double scale) {
    cairo_t *cr = cairo_create(out);
    if (kind == "png") {
        cairo_set_source_rgb(cr, 1, 1, 1);
        cairo_paint(cr);
    }
    cairo_scale(cr, scale, scale);
    flushLayer(c);
    cairo_surface_flush(c->surface);
    cairo_set_source_surface(cr, c->surface, 0, 0);
    if (!c->vector) cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
    cairo_paint(cr);
    if (c->grouped) {
        // What is drawn under the current clip is still in its group:
        // painted through the clip here, the group stays open.
        cairo_save(cr);
        for (const auto &part : c->clip) {
            addFigures(cr, part.figures);
            cairo_set_fill_rule(cr, part.winding ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
            cairo_clip(cr);
        }
        cairo_set_source_surface(cr, cairo_get_group_target(c->cr), 0, 0);
        cairo_paint(cr);
        cairo_restore(cr);
    }
    cairo_destroy(cr);
    bool ok = false;
    if (kind == "png") {
        ok = cairo_surface_status(out) == CAIRO_STATUS_SUCCESS &&
             cairo_surface_write_to_png(out, fileName) == CAIRO_STATUS_SUCCESS;
    } else {
        cairo_surface_finish(out);  // writes the file
        ok = cairo_surface_status(out) == CAIRO_STATUS_SUCCESS;
    }
    return ok;
}

bool sizeAllowed(int32_t width, int32_t height) {
    return width > 0 && height > 0 && static_cast<int64_t>(width) * height <= (int64_t{1} << 28);
}

}  // namespace

extern "C" {

KESTREL_API KDC KESTREL_CALL KCanvasCreate(int32_t width, int32_t height) {
    return kestrel::guarded<KDC>("KCanvasCreate", [&]() -> KDC {
        if (!sizeAllowed(width, height)) return nullptr;
        return makeCanvas(cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height), width, height, false);
    });
}

KESTREL_API KDC KESTREL_CALL KCanvasCreateVector(int32_t width, int32_t height) {
    return kestrel::guarded<KDC>("KCanvasCreateVector", [&]() -> KDC {
        if (!sizeAllowed(width, height)) return nullptr;
        const cairo_rectangle_t extents = {0, 0, static_cast<double>(width), static_cast<double>(height)};
        return makeCanvas(cairo_recording_surface_create(CAIRO_CONTENT_COLOR, &extents), width, height, true);
    });
}

KESTREL_API int32_t KESTREL_CALL KCanvasMirror(KDC c, KDC mirror) {
    return kestrel::guarded<int32_t>("KCanvasMirror", [&]() -> int32_t {
        c = live(c);
        KCanvas *m = live(mirror);
        // One level only: a mirror has no mirror of its own, nor is mirrored
        // by another canvas, so no call is repeated twice or for ever.
        if (!c || (mirror && !m) || m == c || (m && m->mirror)) return 0;
        for (const KCanvas *other : gLiveCanvases)
            if ((m && other->mirror == m && other != c) || other->mirror == c) return 0;
        c->mirror = m;
        if (m) {
            // The mirror starts from the canvas's selections and modes.
            kestrel::plat::selectObject(m, c->pen);
            kestrel::plat::selectObject(m, c->brush);
            kestrel::plat::selectObject(m, c->font);
            m->textAlign = c->textAlign;
            m->textColour = c->textColour;
            m->bkColour = c->bkColour;
            m->bkMode = c->bkMode;
            m->fillMode = c->fillMode;
            m->curX = c->curX;
            m->curY = c->curY;
        }
        return 1;
    });
}

KESTREL_API int32_t KESTREL_CALL KCanvasExport(KDC c, const char *fileName, const char *format, double scale) {
    return kestrel::guarded<int32_t>("KCanvasExport", [&]() -> int32_t {
        c = live(c);
        if (!c || !fileName || !format || !std::isfinite(scale) || scale <= 0 || scale > 64) return 0;
        const std::string kind = format;
        const double w = c->w * scale, h = c->h * scale;
        cairo_surface_t *out = nullptr;
        if (kind == "png") {
            if (w * h > double(int64_t{1} << 28)) return 0;
            out = cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(std::ceil(w)),
                                             static_cast<int>(std::ceil(h)));
        } else if (kind == "pdf") {
            out = cairo_pdf_surface_create(fileName, w, h);
        } else if (kind == "svg") {
            out = cairo_svg_surface_create(fileName, w, h);
        } else {
            return 0;
        }
        // Cairo 1.16's SVG writer keeps a reference to the recording it
        // draws from and never lets it go: the canvas's recording outlives
        // the canvas by the file (the sanitizer builds suppress that leak).
        const bool ok = replay(c, out, kind, fileName, scale);
        cairo_surface_destroy(out);
        return ok ? 1 : 0;
    });
}

KESTREL_API void KESTREL_CALL KCanvasDestroy(KDC c) {
    return kestrel::guarded<void>("KCanvasDestroy", [&]() -> void {
        c = live(c);
        if (!c) return;
        gLiveCanvases.erase(c);
        for (const KCanvas *other : gLiveCanvases)
            if (other->mirror == c) const_cast<KCanvas *>(other)->mirror = nullptr;
        letGo(c->pen);
        letGo(c->brush);
        letGo(c->font);
        letGo(c->palette);
        endGroup(c);
        if (c->layerCr) cairo_destroy(c->layerCr);
        if (c->layer) cairo_surface_destroy(c->layer);
        cairo_destroy(c->cr);
        cairo_surface_destroy(c->surface);
        delete c;
    });
}

KESTREL_API int32_t KESTREL_CALL KCanvasSavePNG(KDC c, const char *fileName) {
    return kestrel::guarded<int32_t>("KCanvasSavePNG", [&]() -> int32_t {
        c = live(c);
        if (!c || !fileName) return 0;
        if (c->vector) return KCanvasExport(c, fileName, "png", 1.0);
        cairo_surface_flush(c->surface);
        return cairo_surface_write_to_png(c->surface, fileName) == CAIRO_STATUS_SUCCESS ? 1 : 0;
    });
}

KESTREL_API uint32_t KESTREL_CALL KCanvasGetPixel(KDC c, int32_t x, int32_t y) {
    return kestrel::guardedOr<uint32_t>("KCanvasGetPixel", 0xFFFFFFFFu, [&]() -> uint32_t {
        c = live(c);
        if (!c || c->vector || x < 0 || y < 0 || x >= c->w || y >= c->h) return 0xFFFFFFFFu;
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
        if (!c || c->vector) return nullptr;
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

namespace kestrel::plat {

void setIndexColours(const uint8_t (*table)[3]) { gIndexColours = table; }

GdiObj getStockObject(int which) {
    if (which >= 0 && which <= StockNullPen) return &gStock[which];
    if (which == StockSystemFont) return &gSystemFont;
    return nullptr;
}

GdiObj selectObject(KDC c, GdiObj h) {
    c = live(c);
    Object *o = obj(h), *old = nullptr;
    if (!o) return nullptr;
    if (c && c->mirror) selectObject(c->mirror, h);
    if (!c) {
        // Nothing can hold a fresh object that missed its canvas (the
        // library's routines create and select in one step, and find it again
        // only through the selection): release it rather than lose it. A
        // later delete of the handle fails harmlessly.
        if (!o->stock && o->selected == 0) {
            gLiveObjects.erase(o);
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
    gLiveObjects.erase(o);
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
    if (c->mirror) selectPalette(c->mirror, pal, false);
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

}  // namespace kestrel::plat
