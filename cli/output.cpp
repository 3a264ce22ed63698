#include "cli/output.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "kestrel/kestrel.h"
#include "plot/psstream.h"

namespace {

constexpr double kPointsPerCm = 72.0 / 2.54;

// The page in points, rounded up so the picture fits whole.
void pagePoints(int w, int h, float ppl, int *pw, int *ph) {
    *pw = static_cast<int>(std::ceil(w / ppl * kPointsPerCm));
    *ph = static_cast<int>(std::ceil(h / ppl * kPointsPerCm));
}

// The smallest rectangle of pixels that are not white; false for a blank picture.
bool inkBox(KDC dc, int w, int h, int box[4]) {
    int32_t stride = 0;
    const uint8_t *px = KCanvasPixels(dc, &stride);
    if (!px) return false;
    int x0 = w, y0 = h, x1 = -1, y1 = -1;
    auto white = [](uint32_t p) { return (p & 0xFFFFFFu) == 0xFFFFFFu; };
    for (int y = 0; y < h; ++y) {
        // Only the margins of each row are looked at: from the left up to
        // the first ink, from the right down to the last.
        const uint32_t *row = reinterpret_cast<const uint32_t *>(px + static_cast<size_t>(y) * stride);
        int a = 0;
        while (a < w && white(row[a])) ++a;
        if (a == w) continue;
        int b = w - 1;
        while (b > a && white(row[b])) --b;
        x0 = std::min(x0, a);
        x1 = std::max(x1, b);
        y0 = std::min(y0, y);
        y1 = y;
    }
    if (x1 < 0) return false;
    box[0] = x0;
    box[1] = y0;
    box[2] = x1;
    box[3] = y1;
    return true;
}

}  // namespace

#ifndef KESTREL_SOURCE_DIR
#define KESTREL_SOURCE_DIR "."
#endif

// The preamble: the one asked for, else one installed beside the program,
// else the source tree's.
std::string findPreamble(const std::string &asked, const char *argv0) {
    namespace fs = std::filesystem;
    if (!asked.empty()) return asked;
    std::error_code ec;
    const fs::path exe = fs::absolute(fs::path(argv0 ? argv0 : ""), ec).parent_path();
    for (const fs::path &p : {exe / "kestrel.ps", exe / ".." / "share" / "kestrel" / "kestrel.ps",
                              fs::path(KESTREL_SOURCE_DIR) / "data" / "preamble" / "kestrel.ps"})
        if (fs::is_regular_file(p, ec)) return p.string();
    return (fs::path(KESTREL_SOURCE_DIR) / "data" / "preamble" / "kestrel.ps").string();
}

bool outputFolderExists(const std::string &name) {
    const std::filesystem::path folder = std::filesystem::path(name).parent_path();
    std::error_code ec;
    if (folder.empty() || std::filesystem::is_directory(folder, ec)) return true;
    std::fprintf(stderr, "kestrel: the output folder '%s' does not exist\n", folder.string().c_str());
    return false;
}

std::string postscriptHeader(const std::string &title, int w, int h, float ppl) {
    int pw = 0, ph = 0;
    pagePoints(w, h, ppl, &pw, &ph);
    char text[400];
    std::snprintf(text, sizeof text,
                  "%%%%Title: %.200s\n%%%%BoundingBox: (atend)\n%%%%DocumentMedia: Kestrel %d %d 0 () ()\n"
                  "%%%%Pages: 1\n%%%%EndComments\n<< /PageSize [%d %d] >> setpagedevice\n",
                  title.c_str(), pw, ph, pw, ph);
    return text;
}

const char *const kOutputUsage =
    "  output options of section, demo and map:\n"
    "    --formats LIST  files to write, among png, gif, ps, eps, pdf, svg (default png,gif,ps)\n"
    "    --no-antialias  PNG drawn with the screen's pixel rules, not smoothed\n"
    "    --dpi N         PNG resolution in dots per inch (default about 100: 40 pixels per cm)\n";

int parseOutputOption(int argc, char **argv, int *i, OutputOptions *o) {
    const std::string a = argv[*i];
    if (a == "--no-antialias") {
        o->antialias = false;
        return 1;
    }
    if (a != "--formats" && a != "--dpi") return 0;
    if (*i + 1 >= argc) {
        std::fprintf(stderr, "kestrel: %s needs a value\n", a.c_str());
        return -1;
    }
    const std::string v = argv[++*i];
    if (a == "--dpi") {
        char *end = nullptr;
        const double d = std::strtod(v.c_str(), &end);
        if (end == v.c_str() || *end || !(d >= 10 && d <= 2400)) {
            std::fprintf(stderr, "kestrel: bad value for --dpi (10 to 2400 dots per inch)\n");
            return -1;
        }
        o->dpi = static_cast<float>(d);
        return 1;
    }
    OutputOptions f = *o;
    f.png = f.gif = f.ps = f.eps = f.pdf = f.svg = false;
    size_t start = 0;
    while (start <= v.size()) {
        const size_t comma = std::min(v.find(',', start), v.size());
        const std::string w = v.substr(start, comma - start);
        bool *flag = w == "png" ? &f.png : w == "gif" ? &f.gif : w == "ps" ? &f.ps : w == "eps" ? &f.eps
                   : w == "pdf" ? &f.pdf : w == "svg" ? &f.svg : nullptr;
        if (!flag) {
            std::fprintf(stderr, "kestrel: unknown format '%.40s' in --formats (png, gif, ps, eps, pdf, svg)\n",
                         w.c_str());
            return -1;
        }
        *flag = true;
        start = comma + 1;
    }
    *o = f;
    return 1;
}

bool createPicture(int w, int h, const OutputOptions &o, Picture *p) {
    *p = Picture{};
    p->w = w;
    p->h = h;
    p->canvas = KCanvasCreate(w, h);
    if (p->canvas && o.vector()) {
        p->vector = KCanvasCreateVector(w, h);
        if (!p->vector || !KCanvasMirror(p->canvas, p->vector)) {
            KCanvasDestroy(p->vector);
            KCanvasDestroy(p->canvas);
            p->canvas = p->vector = nullptr;
        }
    }
    if (!p->canvas) std::fprintf(stderr, "kestrel: cannot create a %d x %d canvas\n", w, h);
    return p->canvas != nullptr;
}

void destroyPicture(Picture *p) {
    KCanvasDestroy(p->canvas);
    KCanvasDestroy(p->vector);
    p->canvas = p->vector = nullptr;
}

namespace {

// NAME.eps from the finished NAME.ps: the same drawing as an encapsulated
// file, its bounding box in the header and no page device of its own.
bool writeEps(const std::string &psName, const std::string &epsName, const std::string &box) {
    std::ifstream in(psName, std::ios::binary);
    std::ofstream out(epsName, std::ios::binary | std::ios::trunc);
    if (!in || !out) return false;
    std::string line;
    bool first = true;
    while (std::getline(in, line)) {
        if (first) {
            out << "%!PS-Adobe-3.0 EPSF-3.0\n";
            first = false;
            continue;
        }
        if (line.rfind("%%BoundingBox:", 0) == 0) {
            if (line.find("(atend)") != std::string::npos) out << "%%BoundingBox: " << box << '\n';
            continue;
        }
        if (line.rfind("%%DocumentMedia:", 0) == 0 || line.rfind("<< /PageSize", 0) == 0) continue;
        out << line << '\n';
    }
    return static_cast<bool>(out.flush());
}

bool reportWrite(bool ok, const std::string &file) {
    if (ok) std::printf("kestrel: wrote %s\n", file.c_str());
    else std::fprintf(stderr, "kestrel: cannot write %s\n", file.c_str());
    return ok;
}

}  // namespace

bool writePicture(const Picture &p, KFILE ps, const char *trailer, const std::string &name, const OutputOptions &o,
                  float ppl) {
    bool ok = true;
    const int w = p.w, h = p.h;
    if (ps) {
        kestrel::psWrite(ps, trailer);
        // The ink's box in points (y up from the page's bottom), widened by
        // 6 points: the PostScript's fonts are not the canvas's and may
        // reach a little further.
        int box[4] = {0, 0, w - 1, h - 1};
        int pw = 0, ph = 0;
        pagePoints(w, h, ppl, &pw, &ph);
        inkBox(p.canvas, w, h, box);
        const double k = kPointsPerCm / ppl;
        const int llx = std::max(0, static_cast<int>(std::floor(box[0] * k)) - 6);
        const int lly = std::max(0, static_cast<int>(std::floor((h - 1 - box[3]) * k)) - 6);
        const int urx = std::min(pw, static_cast<int>(std::ceil((box[2] + 1) * k)) + 6);
        const int ury = std::min(ph, static_cast<int>(std::ceil((h - box[1]) * k)) + 6);
        char bbox[80], end[160];
        std::snprintf(bbox, sizeof bbox, "%d %d %d %d", llx, lly, urx, ury);
        std::snprintf(end, sizeof end, "%%%%Trailer\n%%%%BoundingBox: %s\n%%%%EOF\n", bbox);
        kestrel::psWrite(ps, end);
        KFileClose(ps);
        const std::string psName = name + ".ps";
        if (o.eps) ok = reportWrite(writeEps(psName, name + ".eps", bbox), name + ".eps") && ok;
        if (o.ps) std::printf("kestrel: wrote %s\n", psName.c_str());
        else std::remove(psName.c_str());
    }
    if (o.png) {
        const std::string png = name + ".png";
        const double scale = o.dpi > 0 ? o.dpi / (ppl * 2.54) : 1.0;
        bool written = false;
        if (o.antialias && p.vector) written = KCanvasExport(p.vector, png.c_str(), "png", scale) != 0;
        else if (scale != 1.0) written = KCanvasExport(p.canvas, png.c_str(), "png", scale) != 0;
        else written = KCanvasSavePNG(p.canvas, png.c_str()) != 0;
        ok = reportWrite(written, png) && ok;
    }
    if (o.gif) {
        const std::string gif = name + ".gif";
        std::remove(gif.c_str());  // the GIF writer keeps the tail of a longer old file
        int32_t rect[4] = {0, 0, w - 1, h - 1};
        ok = reportWrite(BMPtoGIF(p.canvas, nullptr, rect, gif.c_str()) != 0, gif) && ok;
    }
    for (const char *format : {"pdf", "svg"}) {
        if (!(format[0] == 'p' ? o.pdf : o.svg)) continue;
        const std::string file = name + "." + format;
        ok = reportWrite(p.vector && KCanvasExport(p.vector, file.c_str(), format, kPointsPerCm / ppl), file) && ok;
    }
    return ok;
}

bool writePicture(KDC dc, KFILE ps, const char *trailer, const std::string &name, int w, int h, float ppl) {
    Picture p;
    p.canvas = dc;
    p.w = w;
    p.h = h;
    OutputOptions o;
    o.antialias = false;
    return writePicture(p, ps, trailer, name, o, ppl);
}
