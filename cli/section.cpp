// kestrel section: a gridded, contoured and shaded section from a table.
//
// Reads a tab-separated table with a header line, takes three columns as x,
// y and value, grids the samples with the averaging estimator of an analysis
// set, shades the field, contours it with labels, erases the nodes whose
// estimate rests on data too far away, and adds axes with titles and a
// colour bar. Writes NAME.png, NAME.gif and NAME.ps.
#include "section.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"
#if __has_include("kestrel/gif.h")
#include "kestrel/gif.h"
#define KESTREL_HAVE_GIF 1
#endif

namespace {

struct Table {
    std::vector<std::string> names;
    std::vector<std::vector<std::string>> rows;
};

std::vector<std::string> splitTabs(const std::string &line) {
    std::vector<std::string> out;
    std::string cell;
    for (char c : line) {
        if (c == '\t') {
            out.push_back(cell);
            cell.clear();
        } else if (c != '\r' && c != '\n') {
            cell += c;
        }
    }
    out.push_back(cell);
    return out;
}

bool readTable(const std::string &path, Table *t) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    std::string line;
    if (!std::getline(in, line)) return false;
    t->names = splitTabs(line);
    while (std::getline(in, line))
        if (!line.empty()) t->rows.push_back(splitTabs(line));
    return true;
}

// A column by its full name or by its name without the unit in brackets
// ("Depth" finds "Depth [m]"); -1 when there is none.
int findColumn(const Table &t, const std::string &name) {
    for (size_t k = 0; k < t.names.size(); ++k)
        if (t.names[k] == name) return static_cast<int>(k);
    for (size_t k = 0; k < t.names.size(); ++k) {
        std::string bare = t.names[k].substr(0, t.names[k].find(" ["));
        if (bare == name) return static_cast<int>(k);
    }
    return -1;
}

bool number(const std::string &s, float *v) {
    if (s.empty()) return false;
    char *end = nullptr;
    const double d = std::strtod(s.c_str(), &end);
    if (end == s.c_str() || *end != '\0' || !std::isfinite(d)) return false;
    *v = static_cast<float>(d);
    return true;
}

// Axis ticks: the labelled step and minor step for a range.
void ticks(float a, float b, float *first, float *tic, float *ltic) {
    float start = 0, end = 0;
    AutoScale(std::min(a, b), std::max(a, b), &start, &end, first, tic, ltic);
    *tic = std::fabs(*tic);
    *ltic = std::fabs(*ltic);
}

void writeText(KFILE ps, const std::string &s) {
    if (ps) KFileWriteText(ps, s.c_str());
}

// The PostScript axes (the library draws axes on the screen only): labels
// every ltic along the bottom and the left side, and the titles.
void postscriptAxes(KFILE ps, float x0, float x1, float y0, float y1, const std::string &xTitle,
                    const std::string &yTitle, const std::string &title, float size) {
    if (!ps) return;
    char line[512];
    float first, tic, ltic;
    std::snprintf(line, sizeof line, "0 setgray %g SetMyFont /fill? false def\n", size);
    writeText(ps, line);
    ticks(x0, x1, &first, &tic, &ltic);
    const float dy = (y1 - y0) * 0.045f, dx = (x1 - x0) * 0.02f;
    writeText(ps, "/lorg 1 def\n");
    for (float v = first - ltic * std::floor((first - std::min(x0, x1)) / ltic); v <= std::max(x0, x1) + 1e-3f * ltic;
         v += ltic) {
        std::snprintf(line, sizeof line, "(%g) 0 %g %g rotatedText\n", std::fabs(v) < 1e-5f * ltic ? 0.0 : v, v,
                      y0 - dy * 0.4f);
        writeText(ps, line);
    }
    ticks(y0, y1, &first, &tic, &ltic);
    writeText(ps, "/lorg 7 def\n");
    for (float v = first - ltic * std::floor((first - std::min(y0, y1)) / ltic); v <= std::max(y0, y1) + 1e-3f * ltic;
         v += ltic) {
        std::snprintf(line, sizeof line, "(%g) 0 %g %g rotatedText\n", std::fabs(v) < 1e-5f * ltic ? 0.0 : v,
                      x0 - dx * 0.5f, v);
        writeText(ps, line);
    }
    char text[256];
    std::snprintf(text, sizeof text, "%s", xTitle.c_str());
    MkePSString(text, sizeof text);
    std::snprintf(line, sizeof line, "/lorg 1 def %g SetMyFont (%s) 0 %g %g rotatedText\n", 1.2 * size, text,
                  (x0 + x1) / 2, y0 - dy * 1.6f);
    writeText(ps, line);
    std::snprintf(text, sizeof text, "%s", yTitle.c_str());
    MkePSString(text, sizeof text);
    std::snprintf(line, sizeof line, "/lorg 2 def (%s) 90 %g %g rotatedText\n", text, x0 - dx * 5.5f, (y0 + y1) / 2);
    writeText(ps, line);
    std::snprintf(text, sizeof text, "%s", title.c_str());
    MkePSString(text, sizeof text);
    std::snprintf(line, sizeof line, "/lorg 2 def %g SetMyFont (%s) 0 %g %g rotatedText\n", 1.3 * size, text,
                  (x0 + x1) / 2, y1 + 0.01f * (y1 - y0));
    writeText(ps, line);
}

}  // namespace

int sectionCommand(const SectionOptions &o) {
    Table table;
    if (!readTable(o.data, &table)) {
        std::fprintf(stderr, "kestrel: cannot read %s\n", o.data.c_str());
        return 1;
    }
    const int cx = findColumn(table, o.x), cy = findColumn(table, o.y), cv = findColumn(table, o.value);
    for (const auto &[col, name] : {std::make_pair(cx, o.x), std::make_pair(cy, o.y), std::make_pair(cv, o.value)}) {
        if (col < 0) {
            std::fprintf(stderr, "kestrel: %s has no column '%s'\n", o.data.c_str(), name.c_str());
            return 2;
        }
    }
    std::vector<float> xs, ys, vs;
    for (const auto &row : table.rows) {
        float x, y, v;
        const size_t need = static_cast<size_t>(std::max({cx, cy, cv}));
        if (row.size() <= need) continue;
        if (number(row[static_cast<size_t>(cx)], &x) && number(row[static_cast<size_t>(cy)], &y) &&
            number(row[static_cast<size_t>(cv)], &v)) {
            xs.push_back(x);
            ys.push_back(y);
            vs.push_back(v);
        }
    }
    const int32_t n = static_cast<int32_t>(xs.size());
    if (n < 3) {
        std::fprintf(stderr, "kestrel: fewer than 3 samples with %s, %s and %s\n", o.x.c_str(), o.y.c_str(),
                     o.value.c_str());
        return 1;
    }
    const float xmin = *std::min_element(xs.begin(), xs.end()), xmax = *std::max_element(xs.begin(), xs.end());
    const float ymin = *std::min_element(ys.begin(), ys.end()), ymax = *std::max_element(ys.begin(), ys.end());
    if (!(xmax > xmin) || !(ymax > ymin)) {
        std::fprintf(stderr, "kestrel: the samples span no area\n");
        return 1;
    }

    // The page: 1000 x 700 pixels, 25 x 17.5 length units; the section 17 x 12.
    const int w = 1000, h = 700;
    KDC canvas = KCanvasCreate(w, h);
    if (!canvas) return 1;
    hdcMem = canvas;
    Vbmp_size_cx = w;
    Vbmp_size_cy = h;
    VX.devPixels = w;
    VY.devPixels = h;
    VX.devLength = 25.0f;
    VY.devLength = 17.5f;
    VX.pixPerLength = VY.pixPerLength = 40.0f;
    InitCGS(canvas, &mCGS);
    LoadPaletteFile(canvas, o.palette.empty() ? nullptr : o.palette.c_str());
    InitmemDC();
    SetDfltFont(&mFS);
    SetColorMode(1);
    const float vw = 17.0f, vh = 12.0f, left = 3.5f, bottom = 3.0f;

    // The analysis set: grid lines placed by the data density.
    OASet set;
    OAInitializeSet(&set);
    if (!OAAllocSet(&set, vw, vh, o.columns, n)) return 1;
    for (int32_t k = 0; k < n; ++k) {
        set.x[k] = xs[static_cast<size_t>(k)];
        set.y[k] = ys[static_cast<size_t>(k)];
        set.val[k] = vs[static_cast<size_t>(k)];
        set.err[k] = 1.0f;
        set.errInv[k] = 1.0f;
        set.use[k] = 1;
    }
    set.nPoints = n;
    OASetupAxisGrid(set.x, n, xmin, xmax, o.percent, set.xg, set.xlen, set.nx);
    OASetupAxisGrid(set.y, n, ymin, ymax, o.percent, set.yg, set.ylen, set.ny);
    OAScaleTransformation(&set);
    set.nCellX = set.nCellY = OA_NCELL;
    set.cellX0 = set.xgt[0] - std::copysign(1.0e-6f, set.xgt[set.nx - 1] - set.xgt[0]);
    set.cellY0 = set.ygt[0] - std::copysign(1.0e-6f, set.ygt[set.ny - 1] - set.ygt[0]);
    set.cellDx = (set.xgt[set.nx - 1] - set.xgt[0]) / (OA_NCELL - 1);
    set.cellDy = (set.ygt[set.ny - 1] - set.ygt[0]) / (OA_NCELL - 1);
    set.cellDxInv = 1.0f / set.cellDx;
    set.cellDyInv = 1.0f / set.cellDy;
    OASortDataPoints(&set);

    // The averaging estimate; its error is the mean squared distance of the
    // data used, in scale lengths (no data in reach: erased).
    const int32_t nx = set.nx, ny = set.ny;
    std::vector<float> error(static_cast<size_t>(nx) * static_cast<size_t>(ny), 1.0e10f);
    double sum = 0;
    for (float v : vs) sum += v;
    const float mean = static_cast<float>(sum / n);
    for (int32_t j = 0; j < ny; ++j) {
        for (int32_t i = 0; i < nx; ++i) {
            float spread = 0, msd = 0;
            int32_t used = 0;
            const double v = OAEstimateValueT(set.xgt[i], set.ygt[j], o.factor, o.factor, &spread, &msd, &used, &set);
            const size_t k = static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i);
            set.gridEst[k] = used > 0 ? static_cast<float>(v) : mean;
            error[k] = used > 0 ? msd : 1.0e10f;
        }
    }

    // Colour range and contour levels from the data.
    std::vector<float> sorted = vs;
    std::sort(sorted.begin(), sorted.end());
    float zmin = sorted[static_cast<size_t>(0.01 * (n - 1))], zmax = sorted[static_cast<size_t>(0.99 * (n - 1))];
    if (!(zmax > zmin)) zmax = zmin + 1;
    SectionOptions opt = o;
    if (opt.autoStretch) {
        // The steepest part of the tanh stretch at the median of the data.
        const float m = std::clamp((sorted[static_cast<size_t>(n / 2)] - zmin) / (zmax - zmin), 0.05f, 0.95f);
        opt.stretch0 = -3.0f * m;
        opt.stretch1 = 3.0f * (1.0f - m);
    }
    CMapInitialize(zmin, zmax, opt.stretch0, opt.stretch1);
    float start = 0, step = 0, end = 0;
    CTSelectLines(0.0f, 1.0f, o.lines, zmin - 1e30f, &start, &step, &end);
    std::vector<KContourLevel> levels;
    if (step > 0)
        for (int k = 0; k < 200 && start + k * step <= end; ++k) {
            const float level = start + k * step;
            if (level < sorted.front() || level > sorted.back()) continue;
            const bool major = (k % 2) == 0;
            levels.push_back({level, 0, major ? 0 : 1, 0, major ? 1 : 0, 0, 9, 1});
        }

    // Depth and pressure grow downwards.
    const bool down = o.y.find("Depth") != std::string::npos || o.y.find("Pressure") != std::string::npos;
    const float yb = down ? ymax : ymin, yt = down ? ymin : ymax;
    KFILE ps = PSOpenFile((o.name + ".ps").c_str(), o.preamble.c_str(), "%%Title: Kestrel section\n%%EndComments\n",
                          "\n/frame? true def\n", 0);
    if (!ps) std::fprintf(stderr, "kestrel: no PostScript written (preamble %s)\n", o.preamble.c_str());
    if (ps) PSPalette(ps);
    UsrSys(canvas, xmin, xmax, vw, left, yb, yt, vh, bottom);
    if (ps) PSUsrSys(ps, "", xmin, xmax, vw, left, yb, yt, vh, bottom);
    mCGS.fontSize = mCGS.defaultFontSize;

    ShadeField(set.gridEst, 0, 0, set.xg, nx, set.yg, ny, opt.stretch0, opt.stretch1, zmin, zmax, canvas, ps);
    ContourField(set.gridEst, set.xg, nx, set.yg, ny, levels.data(), static_cast<int32_t>(levels.size()), canvas, ps);
    const int32_t white = FindClosestColor(1.0f, 1.0f, 1.0f);
    EraseField(error.data(), o.maxError, set.xg, nx, set.yg, ny, white, canvas, ps);

    // Axes with titles, and the colour bar.
    FrameVWP(canvas, 0);
    float first, tic, ltic;
    ticks(xmin, xmax, &first, &tic, &ltic);
    SetColor(0);
    XAxisLabels(canvas, yb, first, tic, ltic, table.names[static_cast<size_t>(cx)].c_str(), o.title.c_str(), 0);
    ticks(ymin, ymax, &first, &tic, &ltic);
    YAxisLabels(canvas, xmin, first, tic, ltic, table.names[static_cast<size_t>(cy)].c_str(), 0);
    postscriptAxes(ps, xmin, xmax, yb, yt, table.names[static_cast<size_t>(cx)], table.names[static_cast<size_t>(cy)],
                   o.title, mCGS.fontSize);
    const std::string barTitle = table.names[static_cast<size_t>(cv)].substr(0, table.names[static_cast<size_t>(cv)].find(" ["));
    DrawColorBar(canvas, ps, barTitle.c_str(), mCGS.fontSize, xmin, xmax, vw, yb, yt, zmin,
                 zmax, opt.stretch0, opt.stretch1);

    int status = 0;
    if (ps) {
        KFileWriteText(ps, "showpage\n");
        KFileClose(ps);
        std::printf("kestrel: wrote %s.ps\n", o.name.c_str());
    }
    if (KCanvasSavePNG(canvas, (o.name + ".png").c_str())) {
        std::printf("kestrel: wrote %s.png\n", o.name.c_str());
    } else {
        std::fprintf(stderr, "kestrel: cannot write %s.png\n", o.name.c_str());
        status = 1;
    }
#ifdef KESTREL_HAVE_GIF
    int32_t rect[4] = {0, 0, w - 1, h - 1};
    if (BMPtoGIF(canvas, hBitmap, rect, (o.name + ".gif").c_str()) == 0)
        std::printf("kestrel: wrote %s.gif\n", o.name.c_str());
#endif
    std::printf("kestrel: %d samples, %d x %d grid, %zu levels from %g by %g\n", n, nx, ny, levels.size(),
                static_cast<double>(start), static_cast<double>(step));
    OAFreeSet(&set);
    DeleteMYPalette();
    KCanvasDestroy(canvas);
    hdcMem = nullptr;
    return status;
}

const char *const kSectionUsage =
    "       kestrel section DATA.tsv --x COL --y COL --value COL [options] -o NAME\n"
    "  section grid, shade and contour one column of a tab-separated table (header line,\n"
    "          empty fields missing) over two others; writes NAME.png, NAME.gif, NAME.ps\n"
    "          (default NAME kestrel-section). A column is named in full or without its\n"
    "          unit: --y Depth finds \"Depth [m]\"; depth and pressure grow downwards.\n"
    "    --columns N     at most N grid columns (120)      --lines N      about N contour levels (24)\n"
    "    --percent P     scale length, % of the axis (3)   --factor F     estimator scale factor (1)\n"
    "    --max-error E   erase where the mean squared data distance in scale lengths exceeds E (16)\n"
    "    --title TEXT    plot title                        --stretch A B  colour stretch (steepest at the median)\n"
    "    --preamble FILE, --palette FILE as for demo\n";

int sectionMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble) {
    SectionOptions o;
    std::string preamble;
    auto need = [&](int &i, int count) {
        if (i + count >= argc) {
            std::fprintf(stderr, "kestrel: %s needs %d value%s\n", argv[i], count, count > 1 ? "s" : "");
            return false;
        }
        return true;
    };
    auto toFloat = [](const char *s, float *v) {
        char *end = nullptr;
        const double d = std::strtod(s, &end);
        if (end == s || *end || !std::isfinite(d)) return false;
        *v = static_cast<float>(d);
        return true;
    };
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        bool ok = true;
        if (a == "--x" || a == "--y" || a == "--value" || a == "-o" || a == "--title" || a == "--preamble" ||
            a == "--palette") {
            if (!need(i, 1)) return 2;
            const std::string v = argv[++i];
            if (a == "--x") o.x = v;
            else if (a == "--y") o.y = v;
            else if (a == "--value") o.value = v;
            else if (a == "-o") o.name = v;
            else if (a == "--title") o.title = v;
            else if (a == "--preamble") preamble = v;
            else o.palette = v;
        } else if (a == "--columns" || a == "--lines") {
            if (!need(i, 1)) return 2;
            float v = 0;
            ok = toFloat(argv[++i], &v) && v >= 2 && v <= 1499;
            if (a == "--columns") o.columns = static_cast<int32_t>(v);
            else o.lines = static_cast<int32_t>(v);
        } else if (a == "--percent" || a == "--factor" || a == "--max-error") {
            if (!need(i, 1)) return 2;
            float v = 0;
            ok = toFloat(argv[++i], &v) && v > 0;
            if (a == "--percent") o.percent = v;
            else if (a == "--factor") o.factor = v;
            else o.maxError = v;
        } else if (a == "--stretch") {
            if (!need(i, 2)) return 2;
            ok = toFloat(argv[i + 1], &o.stretch0) && toFloat(argv[i + 2], &o.stretch1) && o.stretch0 != o.stretch1;
            o.autoStretch = false;
            i += 2;
        } else if (!a.empty() && a[0] != '-' && o.data.empty()) {
            o.data = a;
        } else {
            std::fprintf(stderr, "kestrel: unknown option '%s'\n", a.c_str());
            return 2;
        }
        if (!ok) {
            std::fprintf(stderr, "kestrel: bad value for %s\n", a.c_str());
            return 2;
        }
    }
    if (o.data.empty() || o.x.empty() || o.y.empty() || o.value.empty()) {
        std::fprintf(stderr, "usage: %s", kSectionUsage);
        return 2;
    }
    if (o.title.empty()) o.title = o.value;
    o.preamble = findPreamble(preamble);
    return sectionCommand(o);
}
