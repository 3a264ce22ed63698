// A drawing target for tests, the same on both platforms: a Cairo canvas on
// POSIX, a memory device context with a 24-bit DIB section on Windows.
#ifndef KESTREL_TESTS_CANVAS_H
#define KESTREL_TESTS_CANVAS_H

#include <cstdint>
#include <string>
#include <vector>

#include "kestrel/types.h"

namespace kt {

KDC makeCanvas(int width, int height);  // filled white
void freeCanvas(KDC dc);
uint32_t pixel(KDC dc, int x, int y);    // device colour value, red in the low byte

// The pixels of a w x h picture that are not white, row by row.
struct Pixel {
    int x, y;
    bool operator==(const Pixel &o) const { return x == o.x && y == o.y; }
    bool operator<(const Pixel &o) const { return y != o.y ? y < o.y : x < o.x; }
};
std::vector<Pixel> inkedPixels(KDC dc, int width, int height);

// A small text picture of a region ('#' inked, '.' white) for failure messages.
std::string ascii(KDC dc, int x0, int y0, int x1, int y1);

// Sets up VX/VY for a device of width x height pixels at ppl pixels per
// length unit, makes dc the off-screen picture (hdcMem) and starts it.
void startPicture(KDC dc, int width, int height, float ppl);

}  // namespace kt

#endif
