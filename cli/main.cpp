// kestrel: the command-line host.
#include <cstdio>
#include <cstring>
#include <string>

#include "cli/commands.h"
#include "kestrel/kestrel.h"

namespace {

int usage(std::FILE *to) {
    std::fprintf(to,
                 "usage: kestrel demo [-o NAME]\n"
                 "       kestrel map [options] -o NAME\n"
                 "  demo    draw the built-in demonstration picture into NAME.png (default kestrel-demo)\n"
                 "  map     draw a map with coastlines and stations as NAME.png, NAME.gif, NAME.ps\n"
                 "          (kestrel map --help for its options)\n");
    return to == stderr ? 2 : 0;
}

// A picture of 1000 x 700 pixels on a page of 25 x 17.5 length units.
int demo(const std::string &name) {
    const int w = 1000, h = 700;
    KDC canvas = KCanvasCreate(w, h);
    if (!canvas) {
        std::fprintf(stderr, "kestrel: cannot create a %d x %d canvas\n", w, h);
        return 1;
    }
    hdcMem = canvas;
    Vbmp_size_cx = w;
    Vbmp_size_cy = h;
    VX.devPixels = w;
    VY.devPixels = h;
    VX.devLength = 25.0f;
    VY.devLength = 17.5f;
    VX.pixPerLength = VY.pixPerLength = 40.0f;
    InitmemDC();
    UsrSys(hdcMem, 0, 6000, 20, 3, 5500, 0, 12, 3);  // a section: distance in km, depth in m
    FrameVWP(hdcMem, 0);
    const std::string png = name + ".png";
    const int ok = KCanvasSavePNG(canvas, png.c_str());
    KCanvasDestroy(canvas);
    hdcMem = nullptr;
    if (!ok) {
        std::fprintf(stderr, "kestrel: cannot write %s\n", png.c_str());
        return 1;
    }
    std::printf("kestrel: wrote %s\n", png.c_str());
    return 0;
}

}  // namespace

int main(int argc, char **argv) {
    if (argc < 2) return usage(stderr);
    const std::string cmd = argv[1];
    if (cmd == "--help" || cmd == "-h" || cmd == "help") return usage(stdout);
    if (cmd == "map") return mapCommand(argc - 2, argv + 2);
    std::string out = "kestrel-demo";
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "-o") == 0 && i + 1 < argc) {
            out = argv[++i];
        } else {
            std::fprintf(stderr, "kestrel: unknown option '%s'\n", argv[i]);
            return 2;
        }
    }
    if (cmd == "demo") return demo(out);
    std::fprintf(stderr, "kestrel: unknown command '%s' (try kestrel --help)\n", cmd.c_str());
    return 2;
}
