#include "plot/page.h"
#include "picture.h"

#include "common/canvas.h"
#include "kestrel/kestrel.h"
#include "plot/text.h"

#if defined(_WIN32)
#include <windows.h>

#include <map>
#else
#include <cairo.h>

#include <cstring>

#include "kestrel/canvas.h"
#endif

namespace kt {

#if defined(_WIN32)
namespace {
struct Dib {
    HBITMAP bitmap;
    HGDIOBJ old;
};
std::map<HDC, Dib> &dibs() {
    static std::map<HDC, Dib> m;
    return m;
}
}  // namespace

KDC createPicture(int w, int h) {
    HDC dc = CreateCompatibleDC(nullptr);
    if (!dc) return nullptr;
    BITMAPINFO bi{};
    bi.bmiHeader.biSize = sizeof bi.bmiHeader;
    bi.bmiHeader.biWidth = w;
    bi.bmiHeader.biHeight = -h;
    bi.bmiHeader.biPlanes = 1;
    bi.bmiHeader.biBitCount = 24;
    bi.bmiHeader.biCompression = BI_RGB;
    void *bits = nullptr;
    HBITMAP bmp = CreateDIBSection(dc, &bi, DIB_RGB_COLORS, &bits, nullptr, 0);
    if (!bmp) {
        DeleteDC(dc);
        return nullptr;
    }
    HGDIOBJ old = SelectObject(dc, bmp);
    RECT r{0, 0, w, h};
    FillRect(dc, &r, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    dibs()[dc] = Dib{bmp, old};
    return reinterpret_cast<KDC>(dc);
}

void destroyPicture(KDC kdc) {
    HDC dc = reinterpret_cast<HDC>(kdc);
    auto it = dibs().find(dc);
    if (it == dibs().end()) return;
    SelectObject(dc, it->second.old);
    DeleteObject(it->second.bitmap);
    DeleteDC(dc);
    dibs().erase(it);
}

uint32_t picturePixel(KDC dc, int x, int y) { return GetPixel(reinterpret_cast<HDC>(dc), x, y); }

Image pictureImage(KDC dc) {
    Image img;
    BITMAP bm{};
    HGDIOBJ bmp = GetCurrentObject(reinterpret_cast<HDC>(dc), OBJ_BITMAP);
    if (!bmp || !GetObject(bmp, sizeof bm, &bm)) return img;
    img.w = bm.bmWidth;
    img.h = bm.bmHeight;
    img.px.resize(static_cast<size_t>(img.w) * static_cast<size_t>(img.h));
    for (int y = 0; y < img.h; ++y)
        for (int x = 0; x < img.w; ++x) img.at(x, y) = picturePixel(dc, x, y);
    return img;
}

bool loadPNG(const std::string &, Image *) { return false; }
bool savePNG(const std::string &, const Image &) { return false; }

#else

KDC createPicture(int w, int h) { return KCanvasCreate(w, h); }
void destroyPicture(KDC dc) { KCanvasDestroy(dc); }
uint32_t picturePixel(KDC dc, int x, int y) { return KCanvasGetPixel(dc, x, y); }

Image pictureImage(KDC dc) {
    Image img;
    img.w = KCanvasWidth(dc);
    img.h = KCanvasHeight(dc);
    img.px.resize(static_cast<size_t>(img.w) * static_cast<size_t>(img.h));
    for (int y = 0; y < img.h; ++y)
        for (int x = 0; x < img.w; ++x) img.at(x, y) = KCanvasGetPixel(dc, x, y);
    return img;
}

bool loadPNG(const std::string &path, Image *img) {
    cairo_surface_t *s = cairo_image_surface_create_from_png(path.c_str());
    if (cairo_surface_status(s) != CAIRO_STATUS_SUCCESS) {
        cairo_surface_destroy(s);
        return false;
    }
    cairo_surface_t *rgb = cairo_image_surface_create(CAIRO_FORMAT_RGB24, cairo_image_surface_get_width(s),
                                                      cairo_image_surface_get_height(s));
    cairo_t *cr = cairo_create(rgb);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_paint(cr);
    cairo_set_source_surface(cr, s, 0, 0);
    cairo_paint(cr);
    cairo_destroy(cr);
    cairo_surface_flush(rgb);
    img->w = cairo_image_surface_get_width(rgb);
    img->h = cairo_image_surface_get_height(rgb);
    img->px.resize(static_cast<size_t>(img->w) * static_cast<size_t>(img->h));
    const unsigned char *data = cairo_image_surface_get_data(rgb);
    const int stride = cairo_image_surface_get_stride(rgb);
    for (int y = 0; y < img->h; ++y)
        for (int x = 0; x < img->w; ++x) {
            uint32_t p;
            std::memcpy(&p, data + static_cast<size_t>(y) * static_cast<size_t>(stride) + static_cast<size_t>(x) * 4, 4);
            img->at(x, y) = ((p >> 16) & 0xFF) | (p & 0xFF00) | ((p & 0xFF) << 16);
        }
    cairo_surface_destroy(rgb);
    cairo_surface_destroy(s);
    return true;
}

bool savePNG(const std::string &path, const Image &img) {
    cairo_surface_t *s = cairo_image_surface_create(CAIRO_FORMAT_RGB24, img.w, img.h);
    unsigned char *data = cairo_image_surface_get_data(s);
    const int stride = cairo_image_surface_get_stride(s);
    for (int y = 0; y < img.h; ++y)
        for (int x = 0; x < img.w; ++x) {
            const uint32_t c = img.at(x, y);
            const uint32_t p = ((c & 0xFF) << 16) | (c & 0xFF00) | ((c >> 16) & 0xFF);
            std::memcpy(data + static_cast<size_t>(y) * static_cast<size_t>(stride) + static_cast<size_t>(x) * 4, &p, 4);
        }
    cairo_surface_mark_dirty(s);
    const bool ok = cairo_surface_write_to_png(s, path.c_str()) == CAIRO_STATUS_SUCCESS;
    cairo_surface_destroy(s);
    return ok;
}

#endif

KDC openPage(int w, int h, float ppl) {
    KDC dc = createPicture(w, h);
    if (!dc) return nullptr;
    kestrel::PageSpec page;
    page.width = w;
    page.height = h;
    page.pixPerLength = ppl;
    page.colourMode = 0;  // the reset state: palette indices
    kestrel::startPage(dc, page);
    return dc;
}

void closePage(KDC dc) {
    kestrel::releaseLibraryFont();
    DeleteMYPalette();
    hdcMem = nullptr;
    destroyPicture(dc);
}

uint32_t paletteColour(int i) { return static_cast<uint32_t>(Vcolor[i][0] | Vcolor[i][1] << 8 | Vcolor[i][2] << 16); }

}  // namespace kt
