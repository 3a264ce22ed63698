#include "cli/output.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>

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

bool writePicture(KDC dc, KFILE ps, const char *trailer, const std::string &name, int w, int h, float ppl) {
    bool ok = true;
    if (ps) {
        kestrel::psWrite(ps, trailer);
        // The ink's box in points (y up from the page's bottom), widened by
        // 6 points: the PostScript's fonts are not the canvas's and may
        // reach a little further.
        int box[4] = {0, 0, w - 1, h - 1};
        int pw = 0, ph = 0;
        pagePoints(w, h, ppl, &pw, &ph);
        inkBox(dc, w, h, box);
        const double k = kPointsPerCm / ppl;
        const int llx = std::max(0, static_cast<int>(std::floor(box[0] * k)) - 6);
        const int lly = std::max(0, static_cast<int>(std::floor((h - 1 - box[3]) * k)) - 6);
        const int urx = std::min(pw, static_cast<int>(std::ceil((box[2] + 1) * k)) + 6);
        const int ury = std::min(ph, static_cast<int>(std::ceil((h - box[1]) * k)) + 6);
        char end[160];
        std::snprintf(end, sizeof end, "%%%%Trailer\n%%%%BoundingBox: %d %d %d %d\n%%%%EOF\n", llx, lly, urx, ury);
        kestrel::psWrite(ps, end);
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
