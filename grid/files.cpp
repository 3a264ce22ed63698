// The four analysis files of a set: ".oai" data, ".oag" grid, ".oao" field,
// ".oal" layout, read and written with the standard buffered file functions.
//
// The formats and their asymmetries are part of the interface (the host and
// its users keep such files):
//   - ".oai": the point count is the number of newline-terminated lines, not
//     the number of records parsed; records are stored up to that count.
//   - ".oag": a file without its trailer line is rejected.
//   - ".oao": the second block is written from gridErrOut and read into
//     gridErr, so a saved run becomes the reference error field.
//   - ".oal": offsets are written plus one and read as they stand.
// Every reader bounds what it stores by what it allocated, and refuses
// dimensions larger than the file could hold, so no file makes it write past
// an array or allocate without limit.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/guard.h"
#include "grid/oa_internal.h"
#include "kestrel/fit.h"
#include "kestrel/oa.h"
#include "kestrel/util.h"

namespace kestrel {
namespace {

class File {
public:
    File(const std::string &name, const char *mode) : f_(std::fopen(name.c_str(), mode)) {}
    ~File() {
        if (f_) std::fclose(f_);
    }
    File(const File &) = delete;
    File &operator=(const File &) = delete;
    std::FILE *get() const { return f_; }
    explicit operator bool() const { return f_ != nullptr; }

    // Size in bytes, or -1; leaves the position at the start.
    long size() const {
        if (std::fseek(f_, 0, SEEK_END) != 0) return -1;
        const long n = std::ftell(f_);
        std::rewind(f_);
        return n;
    }

private:
    std::FILE *f_;
};

std::string fileName(const char *base, const char *ext) { return std::string(base ? base : "") + ext; }

// Newline-terminated lines, counted on pieces of at most 199 characters as
// LinesInFile counts them (that routine keeps its file open; this one must
// not, since a host may load many sets).
int32_t countLines(const std::string &name) {
    File f(name, "r");
    if (!f) return 0;
    char chunk[200];
    int32_t lines = 0;
    while (std::fgets(chunk, 200, f.get()))
        if (std::strchr(chunk, '\n') && lines < INT32_MAX) ++lines;
    return lines;
}

float *allocFloats(std::size_t n) { return static_cast<float *>(std::calloc(n ? n : 1, sizeof(float))); }

// Moves an axis array of oldN entries into fresh, which holds newN: the
// entries both share are kept, new ones are NaN for the axes (set from the
// untransformed line once it is read) and the last old value for the scale
// lengths. The old array is freed and replaced.
void resizeKept(float *&array, float *fresh, int32_t oldN, int32_t newN, bool isAxis) {
    const int32_t keep = array && oldN > 0 ? (oldN < newN ? oldN : newN) : 0;
    for (int32_t i = 0; i < keep; ++i) fresh[i] = array[i];
    const float fill = isAxis ? std::nanf("") : keep > 0 ? array[keep - 1] : 1.0f;
    for (int32_t i = keep; i < newN; ++i) fresh[i] = fill;
    std::free(array);
    array = fresh;
}

// A line of at most 199 characters with its line end (LF, and a CR before it)
// removed. False at end of file.
bool readLine(std::FILE *f, char *line) {
    if (!std::fgets(line, 200, f)) return false;
    rmNL(line);
    const std::size_t n = std::strlen(line);
    if (n > 0 && line[n - 1] == '\r') line[n - 1] = '\0';
    return true;
}

// Two finite numbers "%f %f" of a grid line. "nan" and "inf" parse as
// numbers but place no grid line: the axis searches need ordered, finite
// lines, so such a line fails like one without two numbers.
bool parsePair(const char *line, float *a, float *b) {
    return std::sscanf(line, "%f %f", a, b) == 2 && std::isfinite(*a) && std::isfinite(*b);
}

bool readPair(std::FILE *f, char *line, float *a, float *b) { return readLine(f, line) && parsePair(line, a, b); }

// Text of a layout line from column 11 on, blanks stripped, into a title.
void layoutText(const char *line, char *title) {
    char tmp[200];
    std::strncpy(tmp, std::strlen(line) > 10 ? line + 10 : "", sizeof tmp - 1);
    tmp[sizeof tmp - 1] = '\0';
    const char *t = Tstrip(tmp);
    std::strncpy(title, t ? t : "", 120);
    title[120] = '\0';
}

void layoutNumber(const char *line, float *value) {
    if (std::strlen(line) > 10) std::sscanf(line + 10, "%f", value);
}

// Values " %g", a line end after every perLine values and after the block.
void writeBlock(std::FILE *f, const float *v, int64_t n, int perLine) {
    for (int64_t i = 0; i < n; ++i) {
        std::fprintf(f, " %g", static_cast<double>(v[i]));
        if ((i + 1) % perLine == 0) std::fputs("\n", f);
    }
    std::fputs("\n", f);
}

}  // namespace
}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL OALoadData(const char *baseName, OASet *set) {
    return kestrel::guarded<int32_t>("OALoadData", [&]() -> int32_t {
        if (!set) return 0;
        StatusText status("Loading OA data ...");
        const std::string name = fileName(baseName, ".oai");
        const int32_t n = countLines(name);
        set->nPoints = n;
        set->capacity = n;
        if (n == 0) return 0;
        const std::size_t cn = static_cast<std::size_t>(n);
        set->x = allocFloats(cn);
        set->xt = allocFloats(cn);
        set->y = allocFloats(cn);
        set->yt = allocFloats(cn);
        set->val = allocFloats(cn);
        set->err = allocFloats(cn);
        set->errInv = allocFloats(cn);
        set->use = static_cast<uint8_t *>(std::calloc(cn, 1));
        if (!set->x || !set->xt || !set->y || !set->yt || !set->val || !set->err || !set->errInv || !set->use) {
            oaFree(set->x);
            oaFree(set->xt);
            oaFree(set->y);
            oaFree(set->yt);
            oaFree(set->val);
            oaFree(set->err);
            oaFree(set->errInv);
            oaFree(set->use);
            set->nPoints = set->capacity = 0;
            return 0;
        }
        File f(name, "r");
        if (!f) return n;
        float a, b, c, d;
        // Stop at the capacity: a last line without a line end is a record the
        // line count does not include.
        for (int32_t i = 0; i < n && std::fscanf(f.get(), "%f%f%f%f", &a, &b, &c, &d) == 4; ++i) {
            set->x[i] = set->xt[i] = a;
            set->y[i] = set->yt[i] = b;
            set->val[i] = c;
            set->err[i] = d;
            set->errInv[i] = 1.0f / d;
            set->use[i] = isMissing(c) ? 0 : 1;
        }
        return n;
    });
}

KESTREL_API int32_t KESTREL_CALL OALoadGrid(const char *baseName, OASet *set) {
    return kestrel::guarded<int32_t>("OALoadGrid", [&]() -> int32_t {
        if (!set) return 1;
        File f(fileName(baseName, ".oag"), "r");
        if (!f) return 1;
        const long bytes = f.size();
        char line[200];
        int nx = 0, ny = 0;
        if (!readLine(f.get(), line) || std::sscanf(line, "%d %d", &nx, &ny) != 2) return 1;
        if (!readLine(f.get(), line)) return 1;
        // Every grid line takes at least four characters of the file.
        if (nx < 1 || ny < 1 || bytes < 0 || nx > bytes / 4 || ny > bytes / 4) return 1;
        set->nx = nx;
        set->ny = ny;
        set->xg = allocFloats(static_cast<std::size_t>(nx));
        set->xgt = allocFloats(static_cast<std::size_t>(nx));
        set->xlen = allocFloats(static_cast<std::size_t>(nx));
        set->yg = allocFloats(static_cast<std::size_t>(ny));
        set->ygt = allocFloats(static_cast<std::size_t>(ny));
        set->ylen = allocFloats(static_cast<std::size_t>(ny));
        if (!set->xg || !set->xgt || !set->xlen || !set->yg || !set->ygt || !set->ylen) return 1;
        float a, b;
        for (int i = 0; i < nx; ++i) {
            if (!readPair(f.get(), line, &a, &b)) return 1;
            set->xg[i] = set->xgt[i] = a;
            set->xlen[i] = b;
        }
        do {
            if (!readLine(f.get(), line)) return 1;
        } while (line[0] == '\0');
        for (int j = 0; j < ny; ++j) {
            if (j > 0 && !readLine(f.get(), line)) return 1;
            if (!parsePair(line, &a, &b)) return 1;
            set->yg[j] = set->ygt[j] = a;
            set->ylen[j] = b;
        }
        do {
            if (!readLine(f.get(), line)) return 1;  // no trailer: rejected
        } while (line[0] == '\0');
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL OALoadField(const char *baseName, OASet *set) {
    return kestrel::guarded<int32_t>("OALoadField", [&]() -> int32_t {
        if (!set) return 1;
        File f(fileName(baseName, ".oao"), "r");
        if (!f) return 1;
        const long bytes = f.size();
        int k = 0;
        if (std::fscanf(f.get(), "%d", &k) != 1) return 1;
        float skip[6];
        for (int i = 0; i < k; ++i)
            if (std::fscanf(f.get(), "%f%f%f%f%f%f", &skip[0], &skip[1], &skip[2], &skip[3], &skip[4], &skip[5]) != 6)
                break;  // the header read below fails at the same place
        int nx = 0, ny = 0;
        if (std::fscanf(f.get(), "%d %d", &nx, &ny) != 2) return 1;
        if (nx == INT32_MIN || ny == INT32_MIN) return 1;
        nx = nx < 0 ? -nx : nx;
        ny = ny < 0 ? -ny : ny;
        // Each value takes at least two characters of the file.
        const int64_t nodes = static_cast<int64_t>(nx) * ny;
        if (nx == 0 || ny == 0 || bytes < 0 || nodes > bytes / 2) return 1;
        if (nx != set->nx || ny != set->ny || !set->xg || !set->yg) {
            // Every array whose length follows nx or ny changes with them, or a
            // later writer or estimator would index the old ones with the new
            // counts. The transformed axes and scale lengths keep the values
            // they had where those exist; new entries take the untransformed
            // line and the last scale length.
            float *axes[8] = {allocFloats(static_cast<std::size_t>(nx)), allocFloats(static_cast<std::size_t>(nx)),
                              allocFloats(static_cast<std::size_t>(nx)), allocFloats(static_cast<std::size_t>(ny)),
                              allocFloats(static_cast<std::size_t>(ny)), allocFloats(static_cast<std::size_t>(ny)),
                              allocFloats(static_cast<std::size_t>(nodes)), nullptr};
            bool ok = true;
            for (int a = 0; a < 7; ++a) ok = ok && axes[a];
            if (!ok) {
                for (float *p : axes) std::free(p);
                return 1;
            }
            resizeKept(set->xgt, axes[1], set->nx, nx, true);
            resizeKept(set->xlen, axes[2], set->nx, nx, false);
            resizeKept(set->ygt, axes[4], set->ny, ny, true);
            resizeKept(set->ylen, axes[5], set->ny, ny, false);
            for (int64_t i = 0; i < nodes; ++i) axes[6][i] = xmiss;
            oaFree(set->xg);
            oaFree(set->yg);
            oaFree(set->gridErrOut);
            set->xg = axes[0];
            set->yg = axes[3];
            set->gridErrOut = axes[6];
            set->nx = nx;
            set->ny = ny;
        }
        for (int i = 0; i < nx; ++i) (void)std::fscanf(f.get(), "%f", &set->xg[i]);
        for (int j = 0; j < ny; ++j) (void)std::fscanf(f.get(), "%f", &set->yg[j]);
        // Lines added by a larger field start out at their untransformed place.
        for (int i = 0; i < nx; ++i)
            if (set->xgt[i] != set->xgt[i]) set->xgt[i] = set->xg[i];
        for (int j = 0; j < ny; ++j)
            if (set->ygt[j] != set->ygt[j]) set->ygt[j] = set->yg[j];
        oaFree(set->gridEst);
        oaFree(set->gridErr);
        set->gridEst = allocFloats(static_cast<std::size_t>(nodes));
        set->gridErr = allocFloats(static_cast<std::size_t>(nodes));
        if (!set->gridEst || !set->gridErr) return 1;
        for (int64_t i = 0; i < nodes; ++i) (void)std::fscanf(f.get(), "%f", &set->gridEst[i]);
        for (int64_t i = 0; i < nodes; ++i) (void)std::fscanf(f.get(), "%f", &set->gridErr[i]);
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL OALoadLayout(const char *baseName, OASet *set) {
    return kestrel::guarded<int32_t>("OALoadLayout", [&]() -> int32_t {
        if (!set) return 1;
        File f(fileName(baseName, ".oal"), "r");
        if (!f) return 1;
        char line[200];
        char *titles[3] = {set->title, set->xtitle, set->ytitle};
        for (char *t : titles) {
            if (!readLine(f.get(), line)) return 1;
            layoutText(line, t);
        }
        float *first[2] = {&set->xmin, &set->xmax};
        for (float *v : first) {
            if (!readLine(f.get(), line)) return 1;
            layoutNumber(line, v);
        }
        for (int i = 0; i < 3; ++i)
            if (!readLine(f.get(), line)) return 1;
        float *second[2] = {&set->ymin, &set->ymax};
        for (float *v : second) {
            if (!readLine(f.get(), line)) return 1;
            layoutNumber(line, v);
        }
        // The y start and ticks and both secondary ranges are not read back.
        for (int i = 0; i < 13; ++i)
            if (!readLine(f.get(), line)) return 1;
        float *sizes[4] = {&set->xslen, &set->xof, &set->yslen, &set->yof};
        for (float *v : sizes) {
            if (!readLine(f.get(), line)) return 1;
            layoutNumber(line, v);
        }
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL OAWriteData(const char *baseName, const OASet *set, int32_t all) {
    return kestrel::guarded<int32_t>("OAWriteData", [&]() -> int32_t {
        if (!set) return 1;
        File f(fileName(baseName, ".oai"), "w+");
        if (!f) return 1;
        const int32_t n = set->nPoints < set->capacity ? set->nPoints : set->capacity;
        if (!set->x || !set->y || !set->val || !set->err || !set->use) return 0;
        for (int32_t i = 0; i < n; ++i)
            if (all || set->use[i])
                std::fprintf(f.get(), "%g %g %g %g\n", static_cast<double>(set->x[i]), static_cast<double>(set->y[i]),
                             static_cast<double>(set->val[i]), static_cast<double>(set->err[i]));
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL OAWriteGrid(const char *baseName, const OASet *set) {
    return kestrel::guarded<int32_t>("OAWriteGrid", [&]() -> int32_t {
        if (!set) return 1;
        if ((set->nx > 0 && (!set->xg || !set->xlen)) || (set->ny > 0 && (!set->yg || !set->ylen))) return 1;
        File f(fileName(baseName, ".oag"), "w+");
        if (!f) return 1;
        std::FILE *o = f.get();
        std::fprintf(o, "%d %d\n\n", set->nx, set->ny);
        for (int32_t i = 0; i < set->nx; ++i)
            std::fprintf(o, "%g %g\n", static_cast<double>(set->xg[i]), static_cast<double>(set->xlen[i]));
        std::fputs("\n", o);
        for (int32_t j = 0; j < set->ny; ++j)
            std::fprintf(o, "%g %g\n", static_cast<double>(set->yg[j]), static_cast<double>(set->ylen[j]));
        std::fputs("\n", o);
        std::fprintf(o, "1 %d  1 %d 1.00 10000 1\n", set->nx, set->ny);
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL OAWriteField(const char *baseName, const OASet *set) {
    return kestrel::guarded<int32_t>("OAWriteField", [&]() -> int32_t {
        if (!set) return 1;
        const int64_t nodes = static_cast<int64_t>(set->nx > 0 ? set->nx : 0) * (set->ny > 0 ? set->ny : 0);
        if ((set->nx > 0 && !set->xg) || (set->ny > 0 && !set->yg) ||
            (nodes > 0 && (!set->gridEst || !set->gridErrOut)))
            return 1;
        File f(fileName(baseName, ".oao"), "w+");
        if (!f) return 1;
        std::FILE *o = f.get();
        std::fprintf(o, "0\n%d %d\n", set->nx, set->ny);
        writeBlock(o, set->xg, set->nx, 6);
        writeBlock(o, set->yg, set->ny, 6);
        writeBlock(o, set->gridEst, nodes, 5);
        writeBlock(o, set->gridErrOut, nodes, 5);
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL OAWriteLayout(const char *baseName, const OASet *set) {
    return kestrel::guarded<int32_t>("OAWriteLayout", [&]() -> int32_t {
        if (!set) return 1;
        File f(fileName(baseName, ".oal"), "w");
        if (!f) return 1;
        std::FILE *o = f.get();
        std::fprintf(o, "   title =%s\n  xtitle =%s\n  ytitle =%s\n", set->title, set->xtitle, set->ytitle);
        struct Range {
            const char *fmt;
            float lo, hi;
        };
        const Range ranges[4] = {
            {"    xmin =%9.2f\n    xmax =%9.2f\n  xstart =%9.2f\n    xtic =%9.2f\n   xltic =%9.2f\n", set->xmin,
             set->xmax},
            {"    ymin =%9.2f\n    ymax =%9.2f\n  ystart =%9.2f\n    ytic =%9.2f\n   yltic =%9.2f\n", set->ymin,
             set->ymax},
            {"   sxmin =%9.2f\n   sxmax =%9.2f\n sxstart =%9.2f\n   sxtic =%9.2f\n  sxltic =%9.2f\n", set->sxmin,
             set->sxmax},
            {"   symin =%9.2f\n   symax =%9.2f\n systart =%9.2f\n   sytic =%9.2f\n  syltic =%9.2f\n", set->symin,
             set->symax},
        };
        for (const Range &r : ranges) {
            float start, end, first, tic, ltic;
            AutoScale(r.lo, r.hi, &start, &end, &first, &tic, &ltic);
            std::fprintf(o, r.fmt, static_cast<double>(r.lo), static_cast<double>(r.hi), static_cast<double>(first),
                         static_cast<double>(tic), static_cast<double>(ltic));
        }
        std::fprintf(o, "   xslen =%9.2f\n     xof =%9.2f\n   yslen =%9.2f\n     yof =%9.2f\n",
                     static_cast<double>(set->xslen), static_cast<double>(set->xof + 1.0f),
                     static_cast<double>(set->yslen), static_cast<double>(set->yof + 1.0f));
        return 0;
    });
}

}  // extern "C"
