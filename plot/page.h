// Starting a picture as a host does: the one sequence every program that
// draws with the library goes through (the command, the benchmarks, the
// tests, the bindings), kept once.
#ifndef KESTREL_PLOT_PAGE_H
#define KESTREL_PLOT_PAGE_H

#include "kestrel/types.h"

namespace kestrel {

struct PageSpec {
    int width = 0, height = 0;      // pixels
    float pixPerLength = 40.0f;     // pixels per page length unit
    const char *palette = nullptr;  // palette file; null: the built-in one
    int colourMode = 1;             // 0 palette indices, 1 direct colours
};

// Makes dc the off-screen picture (hdcMem) of spec's size, describes the
// device in VX and VY, resets the graphics state, loads the palette, clears
// the picture, sets the default font and the colour mode.
void startPage(KDC dc, const PageSpec &spec);

}  // namespace kestrel

#endif
