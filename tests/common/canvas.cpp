#include "canvas.h"

#include "kestrel/globals.h"
#include "kestrel/usrsys.h"

#ifdef _WIN32
#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <map>
#else
#include "kestrel/canvas.h"
#endif

namespace kt {

#ifdef _WIN32
namespace {
struct Surface {
    HBITMAP bitmap;
    HGDIOBJ old;
};
std::map<HDC, Surface> &surfaces() {
    static std::map<HDC, Surface> s;
    return s;
}
}  // namespace

KDC makeCanvas(int width, int height) {
    HDC dc = CreateCompatibleDC(nullptr);
    BITMAPINFO bi{};
    bi.bmiHeader.biSize = sizeof(BITMAPINFOHEADER);
    bi.bmiHeader.biWidth = width;
    bi.bmiHeader.biHeight = -height;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 24;
    bi.bmiHeader.biCompression = BI_RGB;
    void *bits = nullptr;
    HBITMAP bmp = CreateDIBSection(dc, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    HGDIOBJ old = SelectObject(dc, bmp);
    PatBlt(dc, 0, 0, width, height, WHITENESS);
    surfaces()[dc] = Surface{bmp, old};
    return reinterpret_cast<KDC>(dc);
}

void freeCanvas(KDC k) {
    HDC dc = reinterpret_cast<HDC>(k);
    auto it = surfaces().find(dc);
    if (it == surfaces().end()) return;
    SelectObject(dc, it->second.old);
    DeleteObject(it->second.bitmap);
    DeleteDC(dc);
    surfaces().erase(it);
}

uint32_t pixel(KDC k, int x, int y) { return GetPixel(reinterpret_cast<HDC>(k), x, y); }
#else
KDC makeCanvas(int width, int height) { return KCanvasCreate(width, height); }
void freeCanvas(KDC dc) { KCanvasDestroy(dc); }
uint32_t pixel(KDC dc, int x, int y) { return KCanvasGetPixel(dc, x, y); }
#endif

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
