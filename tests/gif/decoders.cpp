#include "decoders.h"


#if !defined(_WIN32) && __has_include(<gif_lib.h>)
#define GT_GIFLIB 1
#include <dlfcn.h>
#include <gif_lib.h>
#endif

namespace gt {

#ifdef GT_GIFLIB
namespace {
struct Giflib {
    decltype(&DGifOpenFileName) open = nullptr;
    decltype(&DGifSlurp) slurp = nullptr;
    decltype(&DGifCloseFile) close = nullptr;
    decltype(&GifErrorString) message = nullptr;
};
const Giflib *giflib() {
    static const Giflib lib = [] {
        Giflib g;
        void *h = dlopen("libgif.so.7", RTLD_NOW | RTLD_LOCAL);
        if (!h) h = dlopen("libgif.so", RTLD_NOW | RTLD_LOCAL);
        if (!h) return g;
        g.open = reinterpret_cast<decltype(g.open)>(dlsym(h, "DGifOpenFileName"));
        g.slurp = reinterpret_cast<decltype(g.slurp)>(dlsym(h, "DGifSlurp"));
        g.close = reinterpret_cast<decltype(g.close)>(dlsym(h, "DGifCloseFile"));
        g.message = reinterpret_cast<decltype(g.message)>(dlsym(h, "GifErrorString"));
        return g;
    }();
    return lib.open && lib.slurp && lib.close && lib.message ? &lib : nullptr;
}
}  // namespace

bool haveGiflib() { return giflib() != nullptr; }

DecodedGif decodeWithGiflib(const std::string &path) {
    DecodedGif d;
    const Giflib *g = giflib();
    int err = 0;
    GifFileType *f = g ? g->open(path.c_str(), &err) : nullptr;
    if (!f) {
        d.error = g ? std::string("open: ") + g->message(err) : "giflib not available";
        return d;
    }
    if (g->slurp(f) != GIF_OK) {
        d.error = std::string("DGifSlurp: ") + g->message(f->Error);
        g->close(f, &err);
        return d;
    }
    d.screenWidth = f->SWidth;
    d.screenHeight = f->SHeight;
    if (f->SColorMap)
        for (int i = 0; i < f->SColorMap->ColorCount; ++i) {
            d.colours.push_back(f->SColorMap->Colors[i].Red);
            d.colours.push_back(f->SColorMap->Colors[i].Green);
            d.colours.push_back(f->SColorMap->Colors[i].Blue);
        }
    if (f->ImageCount != 1) {
        d.error = "image count " + std::to_string(f->ImageCount);
    } else {
        const SavedImage &im = f->SavedImages[0];
        d.width = im.ImageDesc.Width;
        d.height = im.ImageDesc.Height;
        d.pixels.assign(im.RasterBits, im.RasterBits + static_cast<size_t>(d.width) * d.height);
        d.ok = true;
    }
    g->close(f, &err);
    return d;
}
#else
bool haveGiflib() { return false; }
DecodedGif decodeWithGiflib(const std::string &) {
    DecodedGif d;
    d.error = "giflib not available";
    return d;
}
#endif

Blocks imageBlocks(const std::string &b) {
    Blocks r;
    const size_t start = 6 + 7 + 768 + 10 + 1;  // header, screen, colour table, image descriptor, code size
    if (b.size() < start) return r;
    size_t p = start;
    while (p < b.size()) {
        const int n = static_cast<unsigned char>(b[p]);
        ++p;
        if (n == 0) {
            r.end = p;
            return r;
        }
        r.lengths.push_back(n);
        p += static_cast<size_t>(n);
    }
    r.lengths.clear();
    return r;
}

}  // namespace gt
