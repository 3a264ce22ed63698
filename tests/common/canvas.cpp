#include "canvas.h"

#include "common/picture.h"
#include "kestrel/globals.h"
#include "kestrel/usrsys.h"

namespace kt {

KDC makeCanvas(int width, int height) { return createPicture(width, height); }
void freeCanvas(KDC dc) { destroyPicture(dc); }
uint32_t pixel(KDC dc, int x, int y) { return picturePixel(dc, x, y); }

std::vector<Pixel> inkedPixels(KDC dc, int width, int height) {
    std::vector<Pixel> out;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            if ((pixel(dc, x, y) & 0xFFFFFF) != 0xFFFFFF) out.push_back({x, y});
    return out;
}

std::string ascii(KDC dc, int x0, int y0, int x1, int y1) {
    std::string s;
    for (int y = y0; y <= y1; ++y) {
        for (int x = x0; x <= x1; ++x) s += (pixel(dc, x, y) & 0xFFFFFF) != 0xFFFFFF ? '#' : '.';
        s += '\n';
    }
    return s;
}

void startPicture(KDC dc, int width, int height, float ppl) {
    hdcMem = dc;
    Vbmp_size_cx = width;
    Vbmp_size_cy = height;
    VX.devPixels = width;
    VY.devPixels = height;
    VX.pixPerLength = VY.pixPerLength = ppl;
    VX.devLength = static_cast<float>(width) / ppl;
    VY.devLength = static_cast<float>(height) / ppl;
    InitmemDC();
}

}  // namespace kt
