// kestrel: the command-line host.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "kestrel/kestrel.h"
#include "section.h"

#ifndef KESTREL_SOURCE_DIR
#define KESTREL_SOURCE_DIR "."
#endif

namespace {

namespace fs = std::filesystem;

int usage(std::FILE *to) {
    std::fprintf(to,
                 "usage: kestrel demo [-o NAME] [--preamble FILE] [--palette FILE]\n"
                 "       kestrel map [options] -o NAME\n"
                 "  demo    draw the demonstration picture into NAME.png and NAME.ps\n"
                 "          (default NAME kestrel-demo)\n"
                 "  --preamble FILE  PostScript preamble (default: kestrel.ps next to the program,\n"
                 "                   ../share/kestrel/kestrel.ps, or data/preamble/kestrel.ps of the source tree)\n"
                 "  --palette FILE   palette file (default: the built-in palette)\n"
                 "  map     draw a map with coastlines and stations as NAME.png, NAME.gif, NAME.ps\n"
                 "          (kestrel map --help for its options)\n"
                 "%s",
                 kSectionUsage);
    return to == stderr ? 2 : 0;
}

// The preamble: the one asked for, else one installed beside the program,
// else the source tree's.
std::string findPreamble(const std::string &asked, const char *argv0) {
    if (!asked.empty()) return asked;
    std::error_code ec;
    const fs::path exe = fs::absolute(fs::path(argv0 ? argv0 : ""), ec).parent_path();
    for (const fs::path &p : {exe / "kestrel.ps", exe / ".." / "share" / "kestrel" / "kestrel.ps",
                              fs::path(KESTREL_SOURCE_DIR) / "data" / "preamble" / "kestrel.ps"})
        if (fs::is_regular_file(p, ec)) return p.string();
    return (fs::path(KESTREL_SOURCE_DIR) / "data" / "preamble" / "kestrel.ps").string();
}

// A string on the screen and the same string in PostScript, centred.
void label(KDC dc, KFILE ps, const char *text, float x, float y, float angle, float size, int lorg) {
    SetLorgVal(dc, lorg);
    DrawString(dc, text, x, y, angle, size);
    if (!ps) return;
    char escaped[256];
    std::snprintf(escaped, sizeof escaped, "%s", text);
    MkePSString(escaped, sizeof escaped);
    char line[400];
    std::snprintf(line, sizeof line, "/lorg %d def %g SetMyFont (%s) %g %g %g rotatedText\n", lorg, size, escaped,
                  angle, x, y);
    KFileWriteText(ps, line);
}

// A picture of 1000 x 700 pixels on a page of 25 x 17.5 length units: a
// temperature section profile with symbols, titles with sub- and
// superscripts, and the colour scale as a ramp.
int demo(const std::string &name, const std::string &preamble, const std::string &palette) {
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
    LoadPaletteFile(hdcMem, palette.empty() ? nullptr : palette.c_str());
    InitmemDC();
    SetColorMode(1);

    const std::string psName = name + ".ps";
    KFILE ps = PSOpenFile(psName.c_str(), preamble.c_str(), "%%Title: Kestrel demonstration\n%%EndComments\n",
                          "\n/frame? true def\n", 0);
    if (!ps) std::fprintf(stderr, "kestrel: no PostScript written (preamble %s)\n", preamble.c_str());
    if (ps) PSPalette(ps);

    // The section: distance 0..6000 km across, depth 5500 m at the bottom to 0 at the top.
    UsrSys(hdcMem, 0, 6000, 17, 3, 5500, 0, 12, 3);
    PSUsrSys(ps, "", 0, 6000, 17, 3, 5500, 0, 12, 3);
    FrameVWP(hdcMem, 0);

    // A temperature profile drawn across the section, with squares at the stations.
    std::vector<float> x, y;
    for (int i = 0; i <= 24; ++i) {
        const float d = 250.0f * static_cast<float>(i);
        x.push_back(d);
        y.push_back(2600.0f + 1700.0f * std::sin(d / 900.0f) * std::exp(-d / 7000.0f));
    }
    y[7] = xmiss;  // a missing station: the line goes on, no symbol
    SetColor(4);
    PSSetColor(ps, 4);
    DrawCurve(hdcMem, ps, x.data(), y.data(), static_cast<int32_t>(x.size()), xmiss, 2, 2.0f, 2);
    SetColor(2);
    PSSetColor(ps, 2);
    const float sx[] = {1000, 3000, 5000}, sy[] = {4800, 4800, 4800};
    DrawSymbols(hdcMem, ps, sx, sy, 3, 6, 0.35f);

    // Titles (outside the viewport, so without its clip): a subscript, a
    // superscript and the symbol face.
    ClipVWP(hdcMem, 0);
    SetColor(0);
    PSSetColor(ps, 0);
    label(hdcMem, ps, "Potential temperature ~$q~#~_0 [\xB0" "C]", 3000, -150, 0, 18, 2);
    label(hdcMem, ps, "Depth [m]", -350, 2750, 90, 14, 2);
    label(hdcMem, ps, "Heat flux 12 W m~^-~^2, S = 35.1", 3000, 5250, 0, 12, 0);

    // The colour scale as a ramp beside the section, in its own user system.
    UsrSys(hdcMem, 0, 1, 1, 21, 0, 111, 12, 3);
    PSUsrSys(ps, "", 0, 1, 1, 21, 0, 111, 12, 3);
    KPALETTE previous = ActivateMyPalette(hdcMem);
    for (int i = 0; i < 111; ++i) {
        SetColor(33 + i);
        PSSetColor(ps, 33 + i);
        float rx[] = {0, 1, 1, 0}, ry[] = {static_cast<float>(i), static_cast<float>(i), static_cast<float>(i + 1),
                                           static_cast<float>(i + 1)};
        KCanvasSelectBrush(hdcMem, mCGS.color);
        KCanvasSelectPen(hdcMem, 0, 1, mCGS.color);
        DrawPoly(hdcMem, ps, rx, ry, 4, 0, 2);
        RestoreBrush(hdcMem, "demo");
        RestorePen(hdcMem, "demo");
    }
    RestorePalette(hdcMem, previous, "demo");
    ClipVWP(hdcMem, 0);
    SetColor(0);
    PSSetColor(ps, 0);
    label(hdcMem, ps, "cold", 0.5f, -4, 0, 12, 1);
    label(hdcMem, ps, "warm", 0.5f, 115, 0, 12, 2);

    if (ps) {
        KFileWriteText(ps, "showpage\n");
        KFileClose(ps);
        std::printf("kestrel: wrote %s\n", psName.c_str());
    }
    const std::string png = name + ".png";
    const int ok = KCanvasSavePNG(canvas, png.c_str());
    DeleteMYPalette();
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
    if (cmd == "section")
        return sectionMain(argc - 2, argv + 2, [&](const std::string &asked) { return findPreamble(asked, argv[0]); });
    std::string out = "kestrel-demo", preamble, palette;
    for (int i = 2; i < argc; ++i) {
        if (std::strcmp(argv[i], "-o") == 0 && i + 1 < argc) {
            out = argv[++i];
        } else if (std::strcmp(argv[i], "--preamble") == 0 && i + 1 < argc) {
            preamble = argv[++i];
        } else if (std::strcmp(argv[i], "--palette") == 0 && i + 1 < argc) {
            palette = argv[++i];
        } else {
            std::fprintf(stderr, "kestrel: unknown option '%s'\n", argv[i]);
            return 2;
        }
    }
    if (cmd == "demo") return demo(out, findPreamble(preamble, argv[0]), palette);
    std::fprintf(stderr, "kestrel: unknown command '%s' (try kestrel --help)\n", cmd.c_str());
    return 2;
}
