#include "cli/output.h"

#include <cstdio>

#include "kestrel/kestrel.h"
#include "plot/psstream.h"

bool writePicture(KDC dc, KFILE ps, const char *trailer, const std::string &name, int w, int h) {
    bool ok = true;
    if (ps) {
        kestrel::psWrite(ps, trailer);
        KFileClose(ps);
        std::printf("kestrel: wrote %s.ps\n", name.c_str());
    }
    const std::string png = name + ".png", gif = name + ".gif";
    if (KCanvasSavePNG(dc, png.c_str())) {
        std::printf("kestrel: wrote %s\n", png.c_str());
    } else {
        std::fprintf(stderr, "kestrel: cannot write %s\n", png.c_str());
        ok = false;
    }
    std::remove(gif.c_str());  // the GIF writer keeps the tail of a longer old file
    int32_t rect[4] = {0, 0, w - 1, h - 1};
    if (BMPtoGIF(dc, nullptr, rect, gif.c_str())) {
        std::printf("kestrel: wrote %s\n", gif.c_str());
    } else {
        std::fprintf(stderr, "kestrel: cannot write %s\n", gif.c_str());
        ok = false;
    }
    return ok;
}
