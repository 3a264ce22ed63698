// Internal hook: areas painted over the picture while it is being drawn.
#ifndef KESTREL_PLOT_COVER_H
#define KESTREL_PLOT_COVER_H

#include <array>
#include <utility>
#include <vector>

namespace kestrel {

// Filled areas in user coordinates: rectangles (x0, y0, x1, y1, either way
// round) and polygons. Something drawn later in the picture, a contour label
// for one, can keep clear of what these areas hide.
struct PaintedCover {
    std::vector<std::array<float, 4>> rects;
    std::vector<std::vector<std::pair<float, float>>> polygons;
    void clear() {
        rects.clear();
        polygons.clear();
    }
};

// When set, filled polygons (DrawPoly) and erased cells (EraseField) are
// appended here.
extern PaintedCover *gCoverTrace;

}  // namespace kestrel

#endif
