// The POSIX canvas's insides, shared by its four parts: the objects
// (canvas_objects.cpp: the exported canvas calls, pens, brushes, fonts,
// palettes, handle checks), the raster (canvas_raster.cpp: lines, shapes,
// fills, pixels, block transfers), the paths and clipping
// (canvas_paths.cpp) and the text (canvas_text.cpp: encodings, fonts,
// drawing and measuring strings).
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
// Palette-index colours (0x01000000 | i) resolve through the table the
// library registers (plat::setIndexColours).
#ifndef KESTREL_PLATFORM_POSIX_CANVAS_INTERNAL_H
#define KESTREL_PLATFORM_POSIX_CANVAS_INTERNAL_H

#include <cairo.h>

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "kestrel/canvas.h"
#include "platform/platform.h"

namespace kestrel::canvas {

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

// Stock objects, the system font and the default palette: never deleted.
extern Object gStock[9];
extern Object gSystemFont;
extern Object gDefaultPalette;

// Handles are checked the way GDI checks them: a canvas or object that was
// destroyed (or never created) is not a handle, and every call given one
// fails as for a null handle instead of touching freed memory. A host may
// keep a handle in a global after destroying it; so may the library
// (VCFontHDC names the canvas that holds the library font).
extern std::unordered_set<const KCanvas *> gLiveCanvases;
extern std::unordered_set<const Object *> gLiveObjects;
KCanvas *live(KDC c);
Object *obj(GdiObj h);

// Coordinates within +-2^29 (GDI keeps them within 2^27), so that the canvas's own
// arithmetic on them (a width, the last pixel of a rectangle) cannot
// overflow whatever the host passes.
inline int clampCoord(int v) {
    constexpr int kLimit = 1 << 29;
    return v > kLimit ? kLimit : v < -kLimit ? -kLimit : v;
}

// A new object, or null when there is no memory for it (as GDI's Create*
// calls fail): the drawing code checks, and it is called from destructors,
// where an exception would end the process.
Object *track(Kind kind);
// An object selected into a canvas is released when the last canvas lets
// go of it, as GDI defers the deletion of a selected object.
void hold(Object *o);
void letGo(Object *o);

// What palette-index colours stand for (plat::setIndexColours).
extern const uint8_t (*gIndexColours)[3];

// Raster helpers (canvas_raster.cpp).
void setSource(cairo_t *cr, KCOLORREF c);
bool penVisible(KCanvas *c);
bool brushVisible(KCanvas *c);
void strokeChain(KCanvas *c, const KPoint32 *p, int n, bool close);
// Vector canvases: a rectangle onto the layer (false when it is not one for
// the layer), and the layer drawn out; both do nothing on pixel canvases.
bool layerRect(KCanvas *c, double l, double t, double r, double b, KCOLORREF colour);
void flushLayer(KCanvas *c);
// Vector canvases: the shapes drawn under the current clip painted through
// it, and a new group begun (flushGroup), or only the first half (endGroup).
void flushGroup(KCanvas *c);
void endGroup(KCanvas *c);
// The closed figures (three vertices or more) as the Cairo path.
void addFigures(cairo_t *cr, const std::vector<std::vector<KPoint32>> &figs);
void fillFigures(KCanvas *c, const std::vector<std::vector<KPoint32>> &figs, KCOLORREF colour);
// Paths (canvas_paths.cpp).
void setClipFromFigures(KCanvas *c, const std::vector<std::vector<KPoint32>> &figs, int fillMode, bool intersect);
// Text (canvas_text.cpp): the canvas font on its Cairo context, and the
// host's single-byte text as UTF-8.
double applyFont(KCanvas *c);
std::string toUtf8(const Object *font, const char *text, int n);

}  // namespace kestrel::canvas

struct KCanvas {
    cairo_surface_t *surface = nullptr;
    cairo_t *cr = nullptr;
    int w = 0, h = 0;
    kestrel::canvas::Object *pen = &kestrel::canvas::gStock[kestrel::plat::StockBlackPen];
    kestrel::canvas::Object *brush = &kestrel::canvas::gStock[kestrel::plat::StockWhiteBrush];
    kestrel::canvas::Object *font = &kestrel::canvas::gSystemFont;
    kestrel::canvas::Object *palette = &kestrel::canvas::gDefaultPalette;
    int curX = 0, curY = 0;
    unsigned textAlign = 0;
    KCOLORREF textColour = 0x000000, bkColour = 0xFFFFFF;
    int bkMode = kestrel::plat::BkOpaque;
    int fillMode = kestrel::plat::FillAlternate;
    int dashPos = 0;  // position in the cosmetic pen's dash pattern
    // A vector canvas keeps its drawing as shapes on a Cairo recording
    // surface (no pixels); smooth canvases draw antialiased, their one-pixel
    // pens as real lines through pixel centres. Every drawing call on a
    // canvas with a mirror is repeated on the mirror (KCanvasMirror).
    bool vector = false, smooth = false;
    KCanvas *mirror = nullptr;
    // A vector canvas collects small filled rectangles (the cells of a
    // shaded field) as pixels on a layer and draws them as one image when
    // anything else is drawn: edge to edge as shapes, a viewer that smooths
    // edges would show seams between every two of them.
    cairo_surface_t *layer = nullptr;
    cairo_t *layerCr = nullptr;
    int layerX0 = 0, layerY0 = 0, layerX1 = 0, layerY1 = 0;  // the part drawn on, empty when x1 <= x0
    // A vector canvas keeps its clip to itself and draws everything under
    // one clip into a group, which is then painted through the clip once:
    // a file writer would otherwise repeat the clip's path for every shape
    // (a coastline of ten thousand records under the map's outline).
    struct ClipPart {
        std::vector<std::vector<KPoint32>> figures;
        bool winding = false;
    };
    std::vector<ClipPart> clip;  // intersected
    bool grouped = false;
    // path recording
    bool recording = false;
    std::vector<std::vector<KPoint32>> figures;
    std::vector<bool> closed;
};

#endif
