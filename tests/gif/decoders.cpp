#include "decoders.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#if !defined(_WIN32)
#include <sys/wait.h>
#endif

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
    if (!g) {
        d.error = "giflib not available";
        return d;
    }
    int err = 0;
    GifFileType *f = g->open(path.c_str(), &err);
    if (!f) {
        d.error = std::string("open: ") + g->message(err);
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

#if !defined(_WIN32)
namespace {
// Decodes path with Pillow and writes "w h\n", the 768-byte palette and the
// pixel indices to out. Exit status 3 means Pillow is missing.
const char *kPillowScript =
    "import sys\n"
    "try:\n"
    "    from PIL import Image\n"
    "except ImportError:\n"
    "    sys.exit(3)\n"
    "im = Image.open(sys.argv[1])\n"
    "im.load()\n"
    "assert im.mode == 'P', im.mode\n"
    "pal = im.getpalette()[:768]\n"
    "pal += [0] * (768 - len(pal))\n"
    "with open(sys.argv[2], 'wb') as f:\n"
    "    f.write(b'%d %d\\n' % im.size)\n"
    "    f.write(bytes(pal))\n"
    "    f.write(im.tobytes())\n";

// The first Python that has Pillow: $KESTREL_PYTHON, python3 on the path,
// or the system's own (a version manager's python3 may lack it).
const std::string &pillowPython() {
    static const std::string python = [] {
        const char *env = std::getenv("KESTREL_PYTHON");
        for (std::string p : {std::string(env ? env : ""), std::string("python3"), std::string("/usr/bin/python3")}) {
            if (p.empty()) continue;
            const int status = std::system(("'" + p + "' -c 'import PIL.Image' >/dev/null 2>&1").c_str());
            if (status != -1 && WEXITSTATUS(status) == 0) return p;
        }
        return std::string();
    }();
    return python;
}

int runPillow(const std::string &gif, const std::string &out) {
    const std::string script = out + ".py";
    std::ofstream(script) << kPillowScript;
    const std::string cmd = "'" + pillowPython() + "' '" + script + "' '" + gif + "' '" + out + "' 2>/dev/null";
    const int status = std::system(cmd.c_str());
    return status == -1 ? -1 : WEXITSTATUS(status);
}
}  // namespace

bool havePillow() { return !pillowPython().empty(); }

DecodedGif decodeWithPillow(const std::string &path) {
    DecodedGif d;
    const std::string out = path + ".pillow";
    const int rc = runPillow(path, out);
    if (rc != 0) {
        d.error = "Pillow exit status " + std::to_string(rc);
        return d;
    }
    std::ifstream f(out, std::ios::binary);
    f >> d.width >> d.height;
    f.get();
    d.colours.resize(768);
    f.read(reinterpret_cast<char *>(d.colours.data()), 768);
    d.pixels.resize(static_cast<size_t>(d.width) * d.height);
    f.read(reinterpret_cast<char *>(d.pixels.data()), static_cast<std::streamsize>(d.pixels.size()));
    d.ok = static_cast<bool>(f);
    if (!d.ok) d.error = "short Pillow output";
    d.screenWidth = d.width;
    d.screenHeight = d.height;
    return d;
}
#else
bool havePillow() { return false; }
DecodedGif decodeWithPillow(const std::string &) {
    DecodedGif d;
    d.error = "Pillow not used on Windows";
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
