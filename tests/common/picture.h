// A device context to draw into in tests, on both platforms: the Cairo
// canvas on POSIX, a memory DC with a 24-bit DIB section on Windows.
#ifndef KESTREL_TESTS_PICTURE_H
#define KESTREL_TESTS_PICTURE_H

#include <cstdint>
#include <string>
#include <vector>

#include "kestrel/types.h"

namespace kt {

// A white picture of w x h pixels, or null.
KDC createPicture(int w, int h);
void destroyPicture(KDC dc);
// Device colour of a pixel (red in the low byte); 0xFFFFFFFF outside.
uint32_t picturePixel(KDC dc, int x, int y);

// An RGB image in memory, pixels as device colour values (red low byte).
struct Image {
    int w = 0, h = 0;
    std::vector<uint32_t> px;
    uint32_t at(int x, int y) const { return px[static_cast<size_t>(y) * static_cast<size_t>(w) + static_cast<size_t>(x)]; }
    uint32_t &at(int x, int y) { return px[static_cast<size_t>(y) * static_cast<size_t>(w) + static_cast<size_t>(x)]; }
};

Image pictureImage(KDC dc);

// A white picture of w x h pixels at ppl pixels per length unit, made the
// library's picture (hdcMem) and started, with a fresh graphics state, the
// built-in palette and the default font. closePage releases all of it.
KDC openPage(int w, int h, float ppl);
void closePage(KDC dc);
// Device colour of palette entry i (red in the low byte).
uint32_t paletteColour(int i);
// PNG files (POSIX only; false on Windows).
bool loadPNG(const std::string &path, Image *img);
bool savePNG(const std::string &path, const Image &img);

}  // namespace kt

#endif
