// kestrel section: a gridded, contoured and shaded section from a table.
//
// Takes three columns of a table as x, y and value, grids the samples with
// the averaging estimator of an analysis set, shades the field, contours it
// with labels, erases the nodes whose estimate rests on data too far away,
// and adds axes with titles, the stations along the top and a colour bar.
// Writes NAME.png, NAME.gif and NAME.ps; the library draws axes on the
// screen only, so their PostScript twin is written here, with the same
// geometry.
#include "plot/page.h"
#include "contour/labels.h"
#include "section.h"
#include "cli/output.h"
#include "grid/field.h"
#include "plot/psstream.h"

#include "cli/derived.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"
#include "kestrel/gif.h"
#include "platform/platform.h"
#include "plot/pstext.h"

namespace {

// The PostScript looks as the PNG does: the regular face, not the
// preamble's bold one, and the thinnest lines a pixel wide.
const char *const kPostScriptLook =
    "\n/frame? true def\n/textfont /Helvetica def\n/very_thin_line { 0.025 setlinewidth } def\n";

void note(bool quiet, const char *format, ...) {
    if (quiet) return;
    std::va_list args;
    va_start(args, format);
    std::fputs("kestrel: ", stderr);
    std::vfprintf(stderr, format, args);
    std::fputc('\n', stderr);
    va_end(args);
}

// How the fields of a table are separated, chosen from its header line:
// tabs where there are any, else commas, else runs of blanks.
enum class Separator { Tab, Comma, Blanks };

Separator separatorOf(const std::string &header) {
    if (header.find('\t') != std::string::npos) return Separator::Tab;
    if (header.find(',') != std::string::npos) return Separator::Comma;
    return Separator::Blanks;
}

std::vector<std::string> splitFields(const std::string &line, Separator sep) {
    if (sep == Separator::Tab) {  // the common case, field by field rather than byte by byte
        std::vector<std::string> out;
        size_t end = line.size();
        while (end > 0 && (line[end - 1] == '\r' || line[end - 1] == '\n')) --end;
        size_t a = 0;
        for (;;) {
            const size_t b = line.find('\t', a);
            if (b == std::string::npos || b >= end) {
                out.emplace_back(line, a, end - a);
                break;
            }
            out.emplace_back(line, a, b - a);
            a = b + 1;
        }
        return out;
    }
    std::vector<std::string> out(1);
    bool quoted = false, gap = true;
    for (char c : line) {
        if (c == '\r' || c == '\n') continue;
        if (sep == Separator::Tab) {
            if (c == '\t') out.emplace_back();
            else out.back() += c;
        } else if (sep == Separator::Comma) {
            if (c == '"') quoted = !quoted;  // a doubled quote inside a field reads as none
            else if (c == ',' && !quoted) out.emplace_back();
            else out.back() += c;
        } else if (c == ' ' || c == '\t') {
            gap = true;
        } else {
            if (gap && !out.back().empty()) out.emplace_back();
            gap = false;
            out.back() += c;
        }
    }
    if (sep == Separator::Comma)  // blanks around a comma are not part of the field
        for (std::string &f : out) {
            const size_t a = f.find_first_not_of(' '), b = f.find_last_not_of(' ');
            f = a == std::string::npos ? std::string() : f.substr(a, b - a + 1);
        }
    return out;
}

// Text as a table holds it: no zero bytes, and control characters other
// than tab, line feed and carriage return rare (a binary file has plenty).
bool looksLikeText(const std::string &text) {
    const size_t n = std::min<size_t>(text.size(), 65536);
    size_t control = 0;
    for (size_t i = 0; i < n; ++i) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == 0) return false;
        if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') ++control;
    }
    return control * 100 <= n;
}

double number(const std::string &s) {
    if (s.empty()) return std::nan("");
    char *end = nullptr;
    const double d = std::strtod(s.c_str(), &end);
    return end != s.c_str() && *end == '\0' && std::isfinite(d) ? d : std::nan("");
}

// The unit words of data files as a reader writes them (the library's text
// is the Western single-byte code page: \xB0 degree, \xB5 micro).
std::string prettyName(std::string name) {
    static const char *const units[][2] = {{"degrees_north", "\xB0N"}, {"degrees_east", "\xB0" "E"},
                                           {"degC", "\xB0" "C"},        {"umol", "\xB5mol"}};
    const size_t open = name.find(" [");
    if (open == std::string::npos) return name;
    for (const auto &u : units)
        for (size_t at = name.find(u[0], open); at != std::string::npos; at = name.find(u[0], at + 1))
            name.replace(at, std::strlen(u[0]), u[1]);
    return name;
}

// The colour-bar title: the unit up to its first comma, else the name.
std::string barTitle(const std::string &pretty) {
    const size_t open = pretty.find(" [");
    if (open == std::string::npos) return pretty;
    std::string unit = pretty.substr(open + 2);
    unit = unit.substr(0, std::min(unit.find(','), unit.find(']')));
    return unit.empty() ? pretty.substr(0, open) : unit;
}

// Contour levels at the multiples of a 1-2-5 step within [lo, hi]: the step
// whose count comes nearest to wanted, the larger step on a tie.
struct Levels {
    double step = 1;
    long first = 0, last = -1;  // level k is k * step
};

Levels chooseLevels(double lo, double hi, int wanted) {
    Levels best;
    long bestMiss = std::numeric_limits<long>::max();
    double p = std::pow(10.0, std::floor(std::log10((hi - lo) / wanted)) - 1);
    for (int decade = 0; decade < 4; ++decade, p *= 10)
        for (double m : {1.0, 2.0, 5.0}) {
            const double step = m * p;
            const long first = static_cast<long>(std::ceil(lo / step - 1e-9));
            const long last = static_cast<long>(std::floor(hi / step + 1e-9));
            const long miss = std::labs(last - first + 1 - wanted);
            if (miss <= bestMiss) best = {step, first, last}, bestMiss = miss;
        }
    return best;
}

// Axis ticks: the minor step, the labelled step and its first value.
void ticks(float a, float b, float *first, float *tic, float *ltic) {
    float start = 0, end = 0;
    AutoScale(std::min(a, b), std::max(a, b), &start, &end, first, tic, ltic);
    *tic = std::fabs(*tic);
    *ltic = std::fabs(*ltic);
}

std::string psText(const std::string &s) {
    char text[300];
    std::snprintf(text, sizeof text, "%s", s.c_str());
    MkePSString(text, sizeof text);
    // Column names come from the table: nothing in them may end the string.
    // At most 200 bytes, so that the escaped text fits an output line whole.
    return kestrel::psStringLiteral(text, 200);
}

// The PostScript twin of the screen axes: ticks, labels at the same steps
// and thinning, and titles at the same places, from the letter height h
// (pixels) of the font size.
void postscriptAxes(KFILE ps, float x0, float y0, int32_t h, float size, const std::string &below,
                    const std::string &above, const std::string &left) {
    if (!ps) return;
    kestrel::PsStream out(ps);
    const float tl = static_cast<float>(static_cast<int32_t>(0.3 * h));
    out.printf("\n%%%%PS-OBJECT: Axes begin\ngsave 0 setgray %g setlinewidth /fill? false def\n",
        static_cast<double>(mCGS.penWidth / VX.pixPerLength));
    float first, tic, ltic;
    // Along x, ticks down from y0, labels below them.
    const double dy = tl / VY.pixPerUser;
    ticks(VX.umin, VX.umax, &first, &tic, &ltic);
    int32_t k0 = 0, k1 = 0;
    for (long k = std::lround(std::ceil((std::min(VX.umin, VX.umax) - first) / tic));
         first + k * tic <= std::max(VX.umin, VX.umax) * (1 + 1e-6f); ++k)
        out.printf("%g %g %g %g Line\n", first + k * tic, static_cast<double>(y0), first + k * tic, y0 + dy);
    out.printf("%g %g %g %g Line\n", static_cast<double>(VX.umin), static_cast<double>(y0), static_cast<double>(VX.umax),
        static_cast<double>(y0));
    SetAxisAnnotationPos(&k0, &k1, &ltic, first, VX.umin, VX.umax, VX.vpLength);
    out.printf("%g SetMyFont /lorg 1 def\n", static_cast<double>(size));
    for (int32_t k = k0; k <= k1; ++k) {
        float v = static_cast<float>(k * static_cast<double>(ltic) + first);
        if (std::fabs(v / ltic) < 1e-5f) v = 0;
        if ((v - VX.umin) * (v - VX.umax) > 1e-6f * (VX.umax - VX.umin) * (VX.umax - VX.umin)) continue;
        out.printf("(%g) 0 %g %g rotatedText\n", static_cast<double>(v), static_cast<double>(v), y0 + dy);
    }
    const double xMid = (VX.umin + VX.umax) / 2.0;
    out.printf("%g SetMyFont (%s) 0 %g %g rotatedText\n", 1.2 * size, psText(below).c_str(), xMid,
        y0 + dy + 1.1 * h / VY.pixPerUser);
    out.printf("%g SetMyFont /lorg 2 def (%s) 0 %g %g rotatedText\n", 1.3 * size, psText(above).c_str(), xMid,
        VY.umax + 0.01 * (VY.umax - VY.umin) - 0.45 * h / VY.pixPerUser);
    // Along y, ticks left of x0, labels turned by 90 degrees.
    const double e = tl / VX.pixPerUser * 1.25;
    ticks(VY.umin, VY.umax, &first, &tic, &ltic);
    for (long k = std::lround(std::ceil((std::min(VY.umin, VY.umax) - first) / tic));
         first + k * tic <= std::max(VY.umin, VY.umax) * (1 + 1e-6f); ++k)
        out.printf("%g %g %g %g Line\n", static_cast<double>(x0), first + k * tic, x0 - tl / VX.pixPerUser, first + k * tic);
    out.printf("%g %g %g %g Line\n", static_cast<double>(x0), static_cast<double>(VY.umin), static_cast<double>(x0),
        static_cast<double>(VY.umax));
    SetAxisAnnotationPos(&k0, &k1, &ltic, first, VY.umin, VY.umax, VY.vpLength);
    out.printf("%g SetMyFont\n", static_cast<double>(size));
    for (int32_t k = k0; k <= k1; ++k) {
        float v = static_cast<float>(k * static_cast<double>(ltic) + first);
        if (std::fabs(v / ltic) < 1e-5f) v = 0;
        if ((v - VY.umin) * (v - VY.umax) > 1e-6f * (VY.umax - VY.umin) * (VY.umax - VY.umin)) continue;
        out.printf("(%g) 90 %g %g rotatedText\n", static_cast<double>(v), x0 - e, static_cast<double>(v));
    }
    out.printf("%g SetMyFont (%s) 90 %g %g rotatedText\ngrestore /lorg 0 def\n%%%%PS-OBJECT: Axes end\n\n", 1.2 * size,
        psText(left).c_str(), x0 - e - 1.1 * h / VX.pixPerUser, (VY.umin + VY.umax) / 2.0);
}

}  // namespace

bool readTextFile(const std::string &path, std::string *text) {
    std::ifstream in(path, std::ios::binary);
    if (!in) return false;
    // No more than the file holds when opened: a device (/dev/zero) or a
    // file that keeps growing reads as what it was, not forever.
    in.seekg(0, std::ios::end);
    const std::streamoff size = in.tellg();
    in.seekg(0, std::ios::beg);
    if (size <= 0 || !in) {
        text->clear();
        return static_cast<bool>(in);
    }
    text->resize(static_cast<size_t>(size));
    in.read(&(*text)[0], size);
    text->resize(static_cast<size_t>(in.gcount()));
    return true;
}

// A column by its full name or by its name without the unit ("Depth" finds
// "Depth [m]"); -1 when there is none.
int findColumn(const Table &t, const std::string &name) {
    for (size_t k = 0; k < t.names.size(); ++k)
        if (t.names[k] == name) return static_cast<int>(k);
    for (size_t k = 0; k < t.names.size(); ++k)
        if (t.names[k].substr(0, t.names[k].find(" [")) == name) return static_cast<int>(k);
    return -1;
}

namespace {

// Whether a field passes a filter: the same text, the same number, or a
// number within LO/HI.
bool passes(const std::string &cell, const std::string &value) {
    if (cell == value) return true;
    const double c = number(cell);
    if (std::isnan(c)) return false;
    const size_t slash = value.find('/', 1);
    if (slash != std::string::npos) {
        const double lo = number(value.substr(0, slash)), hi = number(value.substr(slash + 1));
        return c >= lo && c <= hi;
    }
    return c == number(value);
}

}  // namespace

bool readTable(const std::string &path, Table *t, std::string *why, const std::vector<Where> *where) {
    std::string reason;
    auto fail = [&](const std::string &text) {
        if (why) *why = text;
        return false;
    };
    std::string text;
    if (!readTextFile(path, &text)) return fail("cannot be read");
    if (!looksLikeText(text)) return fail("is not a text table (tab-, comma- or blank-separated, with a header line)");
    std::istringstream in(text);
    std::string line;
    if (!std::getline(in, line) || line.find_first_not_of(" \t\r,") == std::string::npos)
        return fail("has no header line");
    const Separator sep = separatorOf(line);
    t->names = splitFields(line, sep);
    t->rows.clear();
    t->textCells.assign(t->names.size(), 0);
    std::vector<std::pair<size_t, std::string>> filters;
    for (const Where &w : where ? *where : std::vector<Where>{}) {
        const int col = findColumn(*t, w.column);
        if (col < 0) return fail("has no column '" + w.column.substr(0, 100) + "' to filter by (--where)");
        filters.emplace_back(static_cast<size_t>(col), w.value);
    }
    while (std::getline(in, line)) {
        if (line.empty() || line == "\r") continue;
        const std::vector<std::string> cells = splitFields(line, sep);
        bool keep = true;
        for (const auto &[col, value] : filters) keep = keep && col < cells.size() && passes(cells[col], value);
        if (!keep) continue;
        std::vector<double> row(t->names.size(), std::nan(""));
        for (size_t k = 0; k < row.size() && k < cells.size(); ++k) {
            row[k] = number(cells[k]);
            if (std::isnan(row[k]) && cells[k].find_first_not_of(" ") != std::string::npos) ++t->textCells[k];
        }
        t->rows.push_back(std::move(row));
    }
    return true;
}

namespace {

// The samples of a section: the three columns' numbers where all three
// are numbers, their names and ranges.
struct Samples {
    std::vector<float> x, y, v;
    int xColumn = -1, bottomColumn = -1;  // the seafloor's column, -1: none
    std::string xName, yName, vName;
    bool down = false;                    // depth or pressure: grows downwards
    float xmin = 0, xmax = 0, ymin = 0, ymax = 0;
    size_t stations = 0;                  // from a Station column; 0: none
};


// Finds the columns and reads the samples; 0, or the exit status after
// one line on stderr.
int readSamples(const Table &table, const SectionOptions &o, Samples *out) {
    const int cx = findColumn(table, o.x), cy = findColumn(table, o.y), cv = findColumn(table, o.value);
    Samples &d = *out;
    for (const auto &[col, name] : {std::make_pair(cx, o.x), std::make_pair(cy, o.y), std::make_pair(cv, o.value)}) {
        if (col >= 0) continue;
        std::string known;
        for (const std::string &n : table.names) known += (known.empty() ? "" : ", ") + n.substr(0, n.find(" ["));
        std::fprintf(stderr, "kestrel: %s has no column '%s' (it has %s)\n", o.data.c_str(), name.c_str(),
                     known.c_str());
        return 2;
    }
    // The seafloor: the column asked for, else one named like a bottom depth.
    int &cb = d.bottomColumn;
    cb = -1;
    if (o.bottom != "none") {
        cb = o.bottom.empty() ? -1 : findColumn(table, o.bottom);
        for (const char *name : {"Bottom", "Bot. Depth", "Bottom Depth", "Water Depth"})
            if (o.bottom.empty() && cb < 0) cb = findColumn(table, name);
        if (!o.bottom.empty() && cb < 0) {
            std::fprintf(stderr, "kestrel: %s has no column '%s'\n", o.data.c_str(), o.bottom.c_str());
            return 2;
        }
    }
    std::vector<float> &xs = d.x, &ys = d.y, &vs = d.v;
    // Text where a number belongs: said once, for the three columns together.
    std::string texts;
    for (const int col : {cx, cy, cv}) {
        const size_t k = static_cast<size_t>(col);
        if (k < table.textCells.size() && table.textCells[k] > 0 && texts.find(table.names[k]) == std::string::npos)
            texts += (texts.empty() ? "" : ", ") + std::to_string(table.textCells[k]) + " in " + table.names[k];
    }
    // With a region, the samples in it and a margin around it (a quarter
    // of its width and height), so that the field near its edges rests on
    // the data beyond them too.
    const double mx = o.hasRegion ? 0.25 * (o.regionX1 - o.regionX0) : 0,
                 my = o.hasRegion ? 0.25 * (o.regionY1 - o.regionY0) : 0;
    for (const auto &row : table.rows) {
        const double x = row[static_cast<size_t>(cx)], y = row[static_cast<size_t>(cy)],
                     v = row[static_cast<size_t>(cv)];
        if (std::isnan(x) || std::isnan(y) || std::isnan(v) || std::fabs(x) > 1e30 || std::fabs(y) > 1e30 ||
            std::fabs(v) > 1e30)
            continue;
        if (o.hasRegion && (x < o.regionX0 - mx || x > o.regionX1 + mx || y < o.regionY0 - my || y > o.regionY1 + my))
            continue;
        xs.push_back(static_cast<float>(x));
        ys.push_back(static_cast<float>(y));
        vs.push_back(static_cast<float>(v));
    }
    const int32_t n = static_cast<int32_t>(xs.size());
    if (n < 3) {
        std::fprintf(stderr, "kestrel: %s has %d row%s with numbers in %s, %s and %s; at least 3 are needed\n",
                     o.data.c_str(), n, n == 1 ? "" : "s", o.x.c_str(), o.y.c_str(), o.value.c_str());
        return 1;
    }
    if (!texts.empty())
        std::fprintf(stderr, "kestrel: %s: rows with text where a number belongs (%s) are left out\n",
                     o.data.c_str(), texts.c_str());
    d.xColumn = cx;
    d.xName = prettyName(table.names[static_cast<size_t>(cx)]);
    d.yName = prettyName(table.names[static_cast<size_t>(cy)]);
    d.vName = prettyName(table.names[static_cast<size_t>(cv)]);
    // Depth and pressure grow downwards from the sea surface, which is on
    // the axis when the shallowest sample is near it.
    d.down = d.yName.find("Depth") != std::string::npos || d.yName.find("Pressure") != std::string::npos;
    d.xmin = *std::min_element(xs.begin(), xs.end());
    d.xmax = *std::max_element(xs.begin(), xs.end());
    d.ymin = *std::min_element(ys.begin(), ys.end());
    d.ymax = *std::max_element(ys.begin(), ys.end());
    if (d.down && d.ymin > 0 && d.ymin < 0.05f * (d.ymax - d.ymin)) d.ymin = 0;
    if (o.hasRegion) {
        d.xmin = o.regionX0;
        d.xmax = o.regionX1;
        d.ymin = o.regionY0;
        d.ymax = o.regionY1;
    }
    // Stations: the distinct values of a Station column, else the distinct x.
    const int cs = findColumn(table, "Station");
    std::vector<double> ids;
    if (cs >= 0)
        for (const auto &row : table.rows)
            if (std::isfinite(row[static_cast<size_t>(cs)])) ids.push_back(row[static_cast<size_t>(cs)]);
    std::sort(ids.begin(), ids.end());
    d.stations = static_cast<size_t>(std::unique(ids.begin(), ids.end()) - ids.begin());
    if (!(d.xmax > d.xmin) || !(d.ymax > d.ymin)) {
        std::fprintf(stderr, "kestrel: the samples of %s span no area in %s and %s\n", o.data.c_str(), o.x.c_str(),
                     o.y.c_str());
        return 1;
    }
    return 0;
}

// The seafloor under the stations, dark grey: from a topography grid along
// the stations' track, else from the table's bottom depth column; a
// polygon along the bottom depths closed along the plot's lower edge yb,
// clipped to the viewport.
void drawSeafloor(const Table &table, const SectionOptions &o, const Samples &d, float yb, KDC canvas, KFILE ps) {
    const int cx = d.xColumn, cb = d.bottomColumn;
    std::vector<std::pair<float, float>> floor;
    if (!o.topo.empty()) {
        const int clon = findColumn(table, "Longitude"), clat = findColumn(table, "Latitude");
        EtopoHeader header;
        KFILE grid = OpenEtopoFileEx(o.topo.c_str(), &header);
        const bool headered = grid != nullptr;
        if (!grid) grid = kestrel::plat::fileOpenReadExclusive(o.topo.c_str());
        if (!grid || clon < 0 || clat < 0) {
            std::fprintf(stderr, "kestrel: %s\n",
                         grid ? "--topo needs the table's Longitude and Latitude columns"
                              : ("cannot read the topography grid " + o.topo).c_str());
            if (grid) kestrel::plat::fileClose(grid);
        } else {
            for (const auto &row : table.rows) {
                const double x = row[static_cast<size_t>(cx)], lon = row[static_cast<size_t>(clon)],
                             lat = row[static_cast<size_t>(clat)];
                if (!std::isfinite(x) || !std::isfinite(lon) || !std::isfinite(lat) || std::fabs(x) > 1e30 ||
                    std::fabs(lat) > 90 || std::fabs(lon) > 720)
                    continue;
                const int16_t hgt = headered ? GetEtopoHeightEx(grid, header, static_cast<float>(lon), static_cast<float>(lat))
                                             : GetEtopoHeight(grid, static_cast<float>(lon), static_cast<float>(lat));
                floor.emplace_back(static_cast<float>(x), static_cast<float>(std::max(-static_cast<int>(hgt), 0)));
            }
            kestrel::plat::fileClose(grid);
        }
    }
    if (d.bottomColumn >= 0 || !floor.empty()) {
        if (floor.empty())
            for (const auto &row : table.rows) {
                const double x = row[static_cast<size_t>(cx)], b = row[static_cast<size_t>(cb)];
                if (std::isfinite(x) && std::isfinite(b) && b > 0 && std::fabs(x) < 1e30 && b < 1e5)
                    floor.emplace_back(static_cast<float>(x), static_cast<float>(b));
            }
        std::sort(floor.begin(), floor.end());
        floor.erase(std::unique(floor.begin(), floor.end(),
                                [](const auto &a, const auto &b) { return a.first == b.first; }),
                    floor.end());
        if (floor.size() >= 2 && floor.size() <= 1400) {
            std::vector<float> px{floor.front().first}, py{std::max(yb, floor.front().second)};
            for (const auto &[x, b] : floor) px.push_back(x), py.push_back(b);
            px.push_back(floor.back().first);
            py.push_back(std::max(yb, floor.back().second));
            const int32_t grey = FindClosestColor(0.45f, 0.45f, 0.45f);
            SetColor(grey);
            if (ps) PSSetColor(ps, grey);
            ClipVWP(canvas, 1);
            if (ps) kestrel::psWrite(ps, "gsave dousrclip\n");
            KCanvasSelectBrush(canvas, mCGS.color);
            KCanvasSelectPen(canvas, 0, 1, mCGS.color);
            DrawPoly(canvas, ps, px.data(), py.data(), static_cast<int32_t>(px.size()), 0, 3);
            RestoreBrush(canvas, "section");
            RestorePen(canvas, "section");
            if (ps) kestrel::psWrite(ps, "grestore\n");
            ClipVWP(canvas, 0);
        }
    }

}

}  // namespace

int sectionCommand(const Table &table, const SectionOptions &o) {
    Samples d;
    if (const int status = readSamples(table, o, &d)) return status;
    const std::vector<float> &xs = d.x, &ys = d.y, &vs = d.v;
    const int32_t n = static_cast<int32_t>(xs.size());
    const std::string &xName = d.xName, &yName = d.yName, &vName = d.vName;
    const bool down = d.down;
    const float xmin = d.xmin, xmax = d.xmax, ymin = d.ymin, ymax = d.ymax;

    // The page: 1000 x 700 pixels by default, 25 x 17.5 length units; the
    // section 17 x 12 of them, 3.5 from the left, 3 from the bottom, the
    // colour bar to its right.
    const int w = o.width, h = o.height;
    OutputOptions output = o.output;
    if (o.show) output.png = output.gif = output.ps = output.eps = output.pdf = output.svg = false;
    Picture picture;
    if (!createPicture(w, h, output, &picture)) return 1;
    KDC canvas = picture.canvas;
    kestrel::PageSpec page;
    page.width = w;
    page.height = h;
    page.palette = o.palette.empty() ? nullptr : o.palette.c_str();
    kestrel::startPage(canvas, page);
    if (o.reversePalette) {
        // The colour scale's entries (below the range, the steps, above it)
        // end for end; the fixed colours before them stay.
        std::reverse(&Vcolor[32], &Vcolor[145]);
        CreateMYPalette(canvas);
    }
    mFS.weight = 1;  // regular, not bold: small labels stay legible
    SetColorMode(1);
    const float vw = w / 40.0f - 8.0f, vh = h / 40.0f - 5.5f, left = 3.5f, bottom = 3.0f;

    // The analysis set: grid lines placed by the data density.
    OASet set;
    OAInitializeSet(&set);
    if (!OAAllocSet(&set, vw, vh, o.columns, n)) {
        std::fprintf(stderr, "kestrel: no memory for %d samples on %d columns\n", n, o.columns);
        destroyPicture(&picture);
        hdcMem = nullptr;
        return 1;
    }
    kestrel::setPoints(set, xs.data(), ys.data(), vs.data(), nullptr, n);
    float qx = o.percent, qy = o.percent;
    const kestrel::Casts casts = kestrel::findCasts(xs.data(), ys.data(), n, xmin, xmax);
    if (o.percent <= 0) kestrel::samplingPercents(casts, xmin, xmax, ymin, ymax, &qx, &qy);
    kestrel::placeGrid(set, xmin, xmax, ymin, ymax, qx, qy);

    // The averaging estimate; its error is the mean squared distance of the
    // data used, in scale lengths (no data in reach: erased).
    const int32_t nx = set.nx, ny = set.ny;
    note(o.quiet, "gridding %d samples of %s onto %d x %d nodes, scale lengths %.2g and %.2g %% of the axes", n,
         o.value.c_str(), nx, ny, qx, qy);
    double sum = 0;
    for (float v : vs) sum += v;
    const float mean = static_cast<float>(sum / n);
    kestrel::NodeEstimates nodes;
    kestrel::estimateNodes(set, o.factor, mean, nullptr, &nodes);
    std::copy(nodes.estimate.begin(), nodes.estimate.end(), set.gridEst);
    // Erased: where no data are in reach; with --max-error, where the data
    // used lie farther than that on average (mean squared distance in scale
    // lengths); by default, in a depth section of casts, below the deeper of
    // the neighbouring casts' deepest samples.
    std::vector<float> error(nodes.meanSqDist.size(), 0.0f);
    const bool footprint = o.maxError <= 0 && down && casts.isCasts();
    for (int32_t j = 0; j < ny; ++j)
        for (int32_t i = 0; i < nx; ++i) {
            const size_t k = static_cast<size_t>(j) * static_cast<size_t>(nx) + static_cast<size_t>(i);
            const float msd = nodes.meanSqDist[k];
            bool gone = nodes.used[k] <= 0 || msd > (o.maxError > 0 ? o.maxError : 16.0f);
            if (footprint) gone = nodes.used[k] <= 0 || set.yg[j] > casts.floorAt(set.xg[i]) + 0.02f * (ymax - ymin);
            error[k] = gone ? 1.0f : 0.0f;
        }

    // Contour levels at a round step over the data, every second one
    // labelled. A few extreme samples (0.5 % at either end) neither choose
    // the levels nor take colours from the rest: the colour range runs from
    // level to level around the other 99 %, and the shading saturates
    // beyond it.
    std::vector<float> sorted = vs;
    std::sort(sorted.begin(), sorted.end());
    // A range given (--range) holds both the levels and the colours, so
    // that two sections drawn with it share one colour scale.
    const float lo = o.hasRange ? o.rangeLo : sorted[static_cast<size_t>(0.005 * (n - 1))];
    const float hi = o.hasRange ? o.rangeHi
                                : std::max(sorted[static_cast<size_t>(0.995 * (n - 1) + 0.5)],
                                           lo + 1e-3f * (std::fabs(lo) + 1));
    Levels lv = chooseLevels(lo, hi, o.lines);
    if (o.interval > 0) {
        lv.step = o.interval;
        lv.first = static_cast<long>(std::ceil(lo / lv.step - 1e-9));
        lv.last = std::min(static_cast<long>(std::floor(hi / lv.step + 1e-9)), lv.first + 999);
    }
    std::vector<KContourLevel> levels;
    auto addLevel = [&](float value, long index) {
        const bool major = index % o.labelEvery == 0;
        levels.push_back({value, 0, 0, major ? 2 : 0, major ? 1 : 0, 0, 9, 1});
    };
    if (!o.levelList.empty()) {
        for (size_t k = 0; k < o.levelList.size(); ++k) addLevel(o.levelList[k], static_cast<long>(k));
    } else {
        for (long k = lv.first; k <= lv.last; ++k) addLevel(static_cast<float>(k * lv.step), k);
    }
    float zmin = static_cast<float>(std::floor(lo / lv.step - 1e-6) * lv.step);
    float zmax = static_cast<float>(std::ceil(hi / lv.step + 1e-6) * lv.step);
    if (o.hasRange) {
        zmin = o.rangeLo;
        zmax = o.rangeHi;
    }
    std::vector<float> shade(set.gridEst, set.gridEst + static_cast<size_t>(nx) * static_cast<size_t>(ny));
    for (float &v : shade) v = std::clamp(v, zmin, zmax);
    SectionOptions opt = o;
    if (opt.autoStretch) {
        // The steepest part of the tanh stretch at the median of the data.
        const float m = std::clamp((sorted[static_cast<size_t>(n / 2)] - zmin) / (zmax - zmin), 0.05f, 0.95f);
        opt.stretch0 = -3.0f * m;
        opt.stretch1 = 3.0f * (1.0f - m);
    }

    const float yb = down ? ymax : ymin, yt = down ? ymin : ymax;
    const std::string psName = o.name + ".ps";
    KFILE ps = !output.postscript() ? nullptr : PSOpenFile(psName.c_str(), o.preamble.c_str(),
                                                     postscriptHeader("Kestrel section", w, h, 40.0f).c_str(),
                                                     kPostScriptLook, 0);
    if (!ps && output.postscript()) note(false, "no PostScript written (cannot open %s or read the preamble %s)", psName.c_str(),
                  o.preamble.c_str());
    if (ps) PSPalette(ps);
    UsrSys(canvas, xmin, xmax, vw, left, yb, yt, vh, bottom);
    if (ps) PSUsrSys(ps, "", xmin, xmax, vw, left, yb, yt, vh, bottom);
    const KAxis plotX = VX, plotY = VY;  // the colour bar sets up its own
    // Drawing a string makes its size current; every call below starts
    // from the plot's own size.
    const float fontSize = mCGS.defaultFontSize;

    note(o.quiet, "shading, contouring %zu levels from %g by %g, erasing", levels.size(), lv.first * lv.step,
         lv.step);
    // Each shaded cell reaches a little over its neighbours' edges (so no
    // seams show in smoothing viewers); the clip keeps the last ones inside.
    if (ps) kestrel::psWrite(ps, "gsave dousrclip\n");
    ShadeField(shade.data(), 0, 0, set.xg, nx, set.yg, ny, opt.stretch0, opt.stretch1, zmin, zmax, canvas, ps);
    if (ps) kestrel::psWrite(ps, "grestore\n");
    kestrel::holdContourLabels();  // placed clear of the frame, of each other and of what is painted next
    ContourField(set.gridEst, set.xg, nx, set.yg, ny, levels.data(), static_cast<int32_t>(levels.size()), canvas, ps);
    const int32_t white = FindClosestColor(1.0f, 1.0f, 1.0f);
    EraseField(error.data(), 0.5f, set.xg, nx, set.yg, ny, white, canvas, ps);

    if (down) drawSeafloor(table, o, d, yb, canvas, ps);

    if (o.samples) {
        // Every sample as a small dark dot, where the field's estimate comes from.
        ClipVWP(canvas, 1);
        if (ps) kestrel::psWrite(ps, "gsave dousrclip\n");
        const int32_t dot = FindClosestColor(0.15f, 0.15f, 0.15f);
        SetColor(dot);
        if (ps) PSSetColor(ps, dot);
        DrawSymbols(canvas, ps, xs.data(), ys.data(), n, 1, 0.05f);
        if (ps) kestrel::psWrite(ps, "grestore\n");
        ClipVWP(canvas, 0);
    }
    // The contour labels last over the field, clear of all that covers it.
    kestrel::drawHeldContourLabels(canvas, ps);

    // The stations along the top: one mark per distinct x.
    std::vector<float> stations = xs;
    std::sort(stations.begin(), stations.end());
    stations.erase(std::unique(stations.begin(), stations.end(),
                               [&](float a, float b) { return b - a < 1e-4f * (xmax - xmin); }),
                   stations.end());
    // Only those within the plot (-R may show part of the section).
    stations.erase(std::remove_if(stations.begin(), stations.end(), [&](float x) { return x < xmin || x > xmax; }),
                   stations.end());
    SetMYFont(canvas, 1, fontSize, 0);
    const int32_t letter = mCGS.tm.tmHeight;
    const float markY = static_cast<float>(yt - 0.35 * letter / VY.pixPerUser);
    ClipVWP(canvas, 0);
    SetColor(0);
    if (ps) PSSetColor(ps, 0);
    if (stations.size() <= 80) {
        std::vector<float> markYs(stations.size(), markY);
        DrawSymbols(canvas, ps, stations.data(), markYs.data(), static_cast<int32_t>(stations.size()), 5, 0.18f);
    } else {  // too many to mark apart: a short tick each
        KCanvasSelectPen(canvas, 0, 1, mCGS.color);
        for (float x : stations) {
            float tx[2] = {x, x}, ty[2] = {yt, static_cast<float>(yt - 0.3 * letter / VY.pixPerUser)};
            DrawPoly(canvas, ps, tx, ty, 2, 0, 1);
        }
        RestorePen(canvas, "section");
    }

    // Axes with titles (the plot title clear of the station marks), and the colour bar.
    FrameVWP(canvas, 0);
    float first, tic, ltic;
    mCGS.fontSize = fontSize;
    ticks(xmin, xmax, &first, &tic, &ltic);
    XAxisLabels(canvas, yb, first, tic, ltic, xName.c_str(), nullptr, 0);
    ClipVWP(canvas, 0);  // the axes clip again when they end
    SetLorgVal(canvas, 2);
    const std::string title = o.title.empty() ? vName : o.title;
    DrawString(canvas, title.c_str(), (xmin + xmax) / 2,
               static_cast<float>(yt + 0.01 * (yt - yb) - 0.45 * letter / VY.pixPerUser), 0, 1.3f * fontSize);
    mCGS.fontSize = fontSize;
    ticks(ymin, ymax, &first, &tic, &ltic);
    YAxisLabels(canvas, xmin, first, tic, ltic, yName.c_str(), 0);
    postscriptAxes(ps, xmin, yb, letter, fontSize, xName, title, yName);
    DrawColorBar(canvas, ps, (o.barTitle.empty() ? barTitle(vName) : o.barTitle).c_str(), fontSize, xmin, xmax, vw,
                 yb, yt, zmin, zmax, opt.stretch0, opt.stretch1);
    // The contour levels across the bar, thin and thick as in the field, so
    // that each line of the field finds its value on the bar (the bar's own
    // labels keep their round step).
    VX = plotX;
    VY = plotY;
    ClipVWP(canvas, 0);
    SetColor(0);
    if (ps) PSSetColor(ps, 0);
    const float bar = std::max(0.35f / vw, 0.03f) * (xmax - xmin);
    static const char *const kWidthNames[] = {"very_thin_line", "thin_line", "medium_line", "thick_line"};
    for (const KContourLevel &level : levels) {
        const float f = (level.level - zmin) / (zmax - zmin);
        if (!(f > 0.002f && f < 0.998f)) continue;
        const int32_t width = std::clamp(level.width, 0, 3);
        float lx[2] = {xmax + bar, xmax + 2 * bar}, ly[2] = {yb + f * (yt - yb), yb + f * (yt - yb)};
        KCanvasSelectPen(canvas, 0, PixelLineWidth(width, nullptr), mCGS.color);
        DrawPoly(canvas, nullptr, lx, ly, 2, 0, 1);
        if (ps)
            kestrel::PsStream(ps).printf("gsave %s solid_line %g %g %g %g Line grestore\n", kWidthNames[width],
                                         static_cast<double>(lx[0]), static_cast<double>(ly[0]),
                                         static_cast<double>(lx[1]), static_cast<double>(ly[1]));
    }
    RestorePen(canvas, "section");

    int status = 0;
    if (o.show) {
        VX = plotX;
        VY = plotY;
        status = o.show(canvas);
        OAFreeSet(&set);
        DeleteMYPalette();
        destroyPicture(&picture);
        hdcMem = nullptr;
        return status;
    }
    status = ps || !output.postscript() ? 0 : 1;
    if (!writePicture(picture, ps, "showpage\n", o.name, output)) status = 1;
    std::printf("kestrel: %d samples, %zu stations, %d x %d grid, %zu levels from %g by %g\n", n,
                d.stations ? d.stations : stations.size(), nx,
                ny, levels.size(), o.levelList.empty() ? lv.first * lv.step : o.levelList.front(),
                o.levelList.size() > 1 ? o.levelList[1] - o.levelList[0] : lv.step);
    std::printf("kestrel: colours from %g to %g\n", zmin, zmax);
    OAFreeSet(&set);
    DeleteMYPalette();
    destroyPicture(&picture);
    hdcMem = nullptr;
    return status;
}

const char *const kViewUsage =
    "       kestrel view DATA.tsv --x COL --y COL --value COL [section options] [--window WxH]\n"
    "  view    the section in a window: p picks points (printed on Enter), z zooms the plot\n"
    "          range, c the colour range, r draws the section again over the zoomed ranges,\n"
    "          dragging scrolls, q quits\n";

const char *const kSectionUsage =
    "       kestrel section DATA.tsv --x COL --y COL --value COL [options] [-o NAME]\n"
    "  section grid, shade and contour one column of a table (tab-, comma- or blank-separated,\n"
    "          header line, empty fields missing) over two others; writes NAME.png, NAME.gif,\n"
    "          NAME.ps (--formats for others)\n"
    "          (default NAME kestrel-section). A column is named in full or without its\n"
    "          unit: --y Depth finds \"Depth [m]\"; depth and pressure grow downwards.\n"
    "  options of section and demo:\n"
    "    -o NAME         output files NAME.png, NAME.gif, NAME.ps (and the other --formats)\n"
    "    --title TEXT    plot title (default: the value column with its unit)\n"
    "    --bottom COL    seafloor depth column, drawn grey under a depth section (default: a column\n"
    "                    named Bottom, Bot. Depth, Bottom Depth or Water Depth; none: no seafloor)\n"
    "    --topo FILE     sea floor from a topography grid along the stations' positions (Longitude,\n"
    "                    Latitude columns) instead of from the bottom depth column\n"
    "    --lines N       about N contour levels at a 1-2-5 step, every second labelled (20)\n"
    "    --interval STEP contour levels STEP apart\n"
    "    --levels A,B,.. these contour levels, rising\n"
    "    --label-every N every N-th level labelled and drawn thicker (2)\n"
    "    --range LO/HI   colours (and levels) over LO..HI, not over the data: sections drawn with\n"
    "                    one range share one colour scale\n"
    "    --columns N     at most N grid columns (120)\n"
    "    --percent P     scale length at the densest node, % of the axis (default: from the sampling,\n"
    "                    the casts' spacing along x and the samples' along y where they are densest)\n"
    "    --factor F      estimator scale factor (1)\n"
    "    --max-error E   erase (white) where the mean squared data distance in scale lengths exceeds E\n"
    "                    (default: below the casts' deepest samples in a depth section, else 16)\n"
    "    --stretch A B   tanh colour stretch (default: steepest at the median of the data)\n"
    "    --preamble FILE PostScript preamble (default: kestrel.ps next to the program,\n"
    "                    ../share/kestrel/kestrel.ps, or data/preamble/kestrel.ps of the source tree)\n"
    "    --palette NAME  colours: a shipped palette (kestrel, rainbow, diverging, greys) or a palette\n"
    "                    file of \"index red green blue\" lines; NAME_r turns the colour scale around\n"
    "    --bar-title T   colour-bar title (default: the value's unit)\n"
    "    --samples       a dot at every sample\n"
    "    -R X0/X1/Y0/Y1  the plot's range (default: the samples'); samples a quarter of it beyond\n"
    "                    still shape the field near its edges\n"
    "    --size WxH      picture size in pixels at 40 per cm (default 1000x700)\n"
    "    --where COL=V   only rows whose COL is V (text or number) or, for V = LO/HI, in LO..HI;\n"
    "                    repeat for more conditions\n"
    "    --x distance    x as the distance along the track in km, from the Longitude and Latitude\n"
    "                    columns in the rows' order"
    "    -q, --quiet     no progress messages on stderr\n";

int parseSectionOptions(int argc, char **argv, bool acceptData, SectionOptions *o, std::string *preamble,
                        const char *help) {
    auto toFloat = [](const char *s, float *v) {
        char *end = nullptr;
        const double d = std::strtod(s, &end);
        if (end == s || *end || !std::isfinite(d)) return false;
        *v = static_cast<float>(d);
        return true;
    };
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        const int values = a == "--stretch" ? 2
                           : (a == "--x" || a == "--y" || a == "--value" || a == "-o" || a == "--title" ||
                              a == "--preamble" || a == "--palette" || a == "--columns" || a == "--lines" ||
                              a == "--percent" || a == "--factor" || a == "--max-error" || a == "--bottom" ||
                              a == "--topo" || a == "--interval" || a == "--range" || a == "--levels" ||
                              a == "--label-every" || a == "-R" || a == "--size" || a == "--where" ||
                              a == "--bar-title")
                               ? 1
                               : 0;
        if (values && i + values >= argc) {
            std::fprintf(stderr, "kestrel: %s needs %s\n", a.c_str(), values > 1 ? "two values" : "a value");
            return 2;
        }
        bool ok = true;
        float v = 0;
        if (a == "--help" || a == "-h") {
            std::fputs(help, stdout);
            return 0;
        } else if (a == "-q" || a == "--quiet") {
            o->quiet = true;
        } else if (a == "--samples") {
            o->samples = true;
        } else if (a == "--bar-title") {
            o->barTitle = argv[++i];
        } else if (a == "--where") {
            const std::string w = argv[++i];
            const size_t eq = w.find('=');
            ok = eq != std::string::npos && eq > 0 && o->where.size() < 100;
            if (ok) o->where.push_back({w.substr(0, eq), w.substr(eq + 1)});
        } else if (a == "-R") {
            // XMIN/XMAX/YMIN/YMAX, each pair rising.
            std::string r = argv[++i];
            float v4[4] = {0, 0, 0, 0};
            for (int k = 0; k < 4 && ok; ++k) {
                const size_t slash = k < 3 ? r.find('/') : r.size();
                ok = slash != std::string::npos && toFloat(r.substr(0, slash).c_str(), &v4[k]) &&
                     std::fabs(v4[k]) < 1e30f;
                r = slash < r.size() ? r.substr(slash + 1) : std::string();
            }
            ok = ok && r.empty() && v4[0] < v4[1] && v4[2] < v4[3];
            o->hasRegion = ok;
            o->regionX0 = v4[0], o->regionX1 = v4[1], o->regionY0 = v4[2], o->regionY1 = v4[3];
        } else if (a == "--size") {
            const std::string wh = argv[++i];
            const size_t x = wh.find('x');
            float fw = 0, fh = 0;
            ok = x != std::string::npos && toFloat(wh.substr(0, x).c_str(), &fw) &&
                 toFloat(wh.substr(x + 1).c_str(), &fh) && fw >= 440 && fh >= 340 && fw <= 8000 && fh <= 8000;
            o->width = static_cast<int32_t>(fw);
            o->height = static_cast<int32_t>(fh);
        } else if (acceptData && (a == "--x" || a == "--y" || a == "--value")) {
            (a == "--x" ? o->x : a == "--y" ? o->y : o->value) = argv[++i];
        } else if (a == "--bottom") {
            o->bottom = argv[++i];
        } else if (a == "--topo") {
            o->topo = argv[++i];
        } else if (a == "-o" || a == "--title" || a == "--preamble" || a == "--palette") {
            (a == "-o" ? o->name : a == "--title" ? o->title : a == "--preamble" ? *preamble : o->palette) = argv[++i];
            ok = !(a == "-o" && o->name.empty());
        } else if (a == "--columns" || a == "--lines") {
            ok = toFloat(argv[++i], &v) && v >= 2 && v <= (a == "--lines" ? 200 : 1499);
            (a == "--columns" ? o->columns : o->lines) = static_cast<int32_t>(v);
        } else if (a == "--interval") {
            ok = toFloat(argv[++i], &v) && v > 0;
            o->interval = v;
        } else if (a == "--label-every") {
            ok = toFloat(argv[++i], &v) && v >= 1 && v <= 100 && v == std::floor(v);
            o->labelEvery = static_cast<int32_t>(v);
        } else if (a == "--range") {
            const std::string r = argv[++i];
            const size_t slash = r.find('/');
            float a0 = 0, a1 = 0;
            ok = slash != std::string::npos && toFloat(r.substr(0, slash).c_str(), &a0) &&
                 toFloat(r.substr(slash + 1).c_str(), &a1) && a0 < a1;
            o->hasRange = ok;
            o->rangeLo = a0;
            o->rangeHi = a1;
        } else if (a == "--levels") {
            o->levelList.clear();
            std::string list = argv[++i];
            size_t start = 0;
            while (ok && start <= list.size()) {
                const size_t comma = std::min(list.find(',', start), list.size());
                ok = toFloat(list.substr(start, comma - start).c_str(), &v) && o->levelList.size() < 1000 &&
                     (o->levelList.empty() || v > o->levelList.back());
                if (ok) o->levelList.push_back(v);
                start = comma + 1;
            }
        } else if (a == "--percent" || a == "--factor" || a == "--max-error") {
            ok = toFloat(argv[++i], &v) && v > 0;
            (a == "--percent" ? o->percent : a == "--factor" ? o->factor : o->maxError) = v;
        } else if (a == "--stretch") {
            ok = toFloat(argv[i + 1], &o->stretch0) && toFloat(argv[i + 2], &o->stretch1) && o->stretch0 != o->stretch1;
            o->autoStretch = false;
            i += 2;
        } else if (const int out = parseOutputOption(argc, argv, &i, &o->output)) {
            if (out < 0) return 2;
        } else if (int derived = acceptData ? parseDerivedOption(argc, argv, &i, &o->derived) : 0) {
            if (derived < 0) {
                std::fprintf(stderr, "kestrel: %s needs a value\n", a.c_str());
                return 2;
            }
        } else if (acceptData && !a.empty() && a[0] != '-' && o->data.empty()) {
            o->data = a;
        } else {
            std::fprintf(stderr, "kestrel: unknown option '%s' (try kestrel --help)\n", a.c_str());
            return 2;
        }
        if (!ok) {
            std::fprintf(stderr, "kestrel: bad value for %s\n", a.c_str());
            return 2;
        }
    }
    return -1;
}

// --palette NAME or FILE: a file as given, else a shipped palette by name
// (beside the preamble or in a palettes folder above it); a trailing "_r"
// turns the colour scale end for end.
bool resolvePalette(SectionOptions *o) {
    namespace fs = std::filesystem;
    if (o->palette.empty()) return true;
    std::error_code ec;
    if (fs::is_regular_file(o->palette, ec)) return true;
    std::string name = o->palette;
    if (name.size() > 2 && name.compare(name.size() - 2, 2, "_r") == 0) {
        name.resize(name.size() - 2);
        o->reversePalette = true;
    }
    if (fs::is_regular_file(name, ec)) {
        o->palette = name;
        return true;
    }
    const fs::path pre = fs::path(o->preamble).parent_path();
    std::string shipped;
    for (const fs::path &dir : {pre / "palettes", pre.parent_path() / "palettes"}) {
        if (fs::is_regular_file(dir / (name + ".pal"), ec)) {
            o->palette = (dir / (name + ".pal")).string();
            return true;
        }
        if (shipped.empty() && fs::is_directory(dir, ec))
            for (const auto &e : fs::directory_iterator(dir, ec))
                if (e.path().extension() == ".pal")
                    shipped += (shipped.empty() ? "" : ", ") + e.path().stem().string();
    }
    std::fprintf(stderr, "kestrel: no palette file or shipped palette '%.200s'%s%s\n", o->palette.c_str(),
                 shipped.empty() ? "" : " (shipped: ", shipped.empty() ? "" : (shipped + ")").c_str());
    return false;
}

namespace {

// "Distance [km]": the distance along the track from the first row's
// position, great circles from position to position in the rows' order.
bool addDistanceColumn(Table *t) {
    const int lon = findColumn(*t, "Longitude"), lat = findColumn(*t, "Latitude");
    if (lon < 0 || lat < 0) return false;
    constexpr double kRad = 3.14159265358979323846 / 180, kEarthKm = 6371.0;
    double along = 0, plon = std::nan(""), plat = std::nan("");
    t->names.push_back("Distance [km]");
    t->textCells.push_back(0);
    for (auto &row : t->rows) {
        const double a = row[static_cast<size_t>(lon)], b = row[static_cast<size_t>(lat)];
        if (!std::isfinite(a) || !std::isfinite(b) || std::fabs(b) > 90) {
            row.push_back(std::nan(""));
            continue;
        }
        if (std::isfinite(plon)) {
            const double h = std::pow(std::sin((b - plat) * kRad / 2), 2) +
                             std::cos(b * kRad) * std::cos(plat * kRad) * std::pow(std::sin((a - plon) * kRad / 2), 2);
            along += 2 * kEarthKm * std::asin(std::min(1.0, std::sqrt(h)));
        }
        plon = a;
        plat = b;
        row.push_back(along);
    }
    return true;
}

}  // namespace

int sectionMain(int argc, char **argv, const std::function<std::string(const std::string &)> &findPreamble,
                const std::function<int(KDC)> &show) {
    SectionOptions o;
    o.show = show;
    std::string preamble;
    const std::string help = std::string(kDemoUsage) + kSectionUsage + kOutputUsage + kDerivedUsage;
    const int status = parseSectionOptions(argc, argv, true, &o, &preamble, help.c_str());
    if (status >= 0) return status;
    if (o.data.empty() || o.x.empty() || o.y.empty() || o.value.empty()) {
        std::fprintf(stderr, "kestrel: section needs a table and --x, --y and --value (try kestrel --help)\n");
        return 2;
    }
    if (!o.show && !outputFolderExists(o.name)) return 2;
    o.preamble = findPreamble(preamble);
    if (!resolvePalette(&o)) return 2;
    Table table;
    std::string why;
    if (!readTable(o.data, &table, &why, &o.where)) {
        std::fprintf(stderr, "kestrel: %s %s\n", o.data.c_str(), why.c_str());
        return 1;
    }
    if (!o.where.empty() && table.rows.empty()) {
        std::fprintf(stderr, "kestrel: no row of %s passes the --where filters\n", o.data.c_str());
        return 1;
    }
    if (o.x == "distance" && findColumn(table, "distance") < 0) {
        if (!addDistanceColumn(&table)) {
            std::fprintf(stderr, "kestrel: --x distance needs the table's Longitude and Latitude columns\n");
            return 2;
        }
        o.x = "Distance [km]";
    }
    if (isDerivedVariable(o.value) && findColumn(table, o.value) < 0) {
        std::string column;
        const int derived = addDerivedColumn(&table, o.value, o.derived, o.data, o.quiet, &column);
        if (derived) return derived;
        o.value = column;
    }
    return sectionCommand(table, o);
}
