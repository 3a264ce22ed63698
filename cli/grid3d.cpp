// kestrel grid3d: a three-dimensional survey gridded by the 3-D analysis,
// written as the spreadsheet export, and optionally one depth of it drawn
// as a shaded, contoured map.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/section.h"

namespace {

const char *const kUsage =
    "usage: kestrel grid3d TABLE.tsv --x COL --y COL --z COL --value COL [options] -o NAME\n"
    "  grids the samples of a survey in three dimensions (x longitude, y latitude, z depth or\n"
    "  pressure, growing downwards) and writes the field as the spreadsheet NAME.txt\n"
    "  --nx N, --ny N, --nz N  grid lines on each axis (40, 40, 20)\n"
    "  --percent P       scale length at the densest node, % of each axis (5)\n"
    "  --cruise TEXT     cruise label of the spreadsheet (default: the table's name)\n"
    "  --date TEXT       date label of the spreadsheet (default: empty)\n"
    "  --slice DEPTH     also draw the estimate at this depth as a map with coastlines, colour bar\n"
    "                    and the survey's stations: NAME-DEPTH.png, .gif, .ps\n"
    "  --coast FILE      coastline file for the map (default $KESTREL_COASTLINES)\n"
    "  --max-error E     erase nodes whose mean squared data distance exceeds E scale lengths (4)\n"
    "  -q                no progress messages\n";

std::string unitless(const std::string &name) { return name.substr(0, name.find(" [")); }

// Levels at a 1-2-5 step, about n of them within [lo, hi].
double roundStep(double lo, double hi, int n) {
    const double raw = (hi - lo) / n;
    const double p = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0, 10.0})
        if (m * p >= raw) return m * p;
    return 10 * p;
}

}  // namespace

int grid3dMain(int argc, char **argv, const std::string &preamble) {
    std::string data, xc, yc, zc, vc, out, cruise, date, coast;
    int nx = 40, ny = 40, nz = 20;
    float percent = 5.0f, maxError = 4.0f, slice = 0;
    OutputOptions output;
    bool haveSlice = false, quiet = false;
    if (const char *env = std::getenv("KESTREL_COASTLINES")) coast = env;
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        const bool takes = a == "--x" || a == "--y" || a == "--z" || a == "--value" || a == "-o" || a == "--nx" ||
                           a == "--ny" || a == "--nz" || a == "--percent" || a == "--cruise" || a == "--date" ||
                           a == "--slice" || a == "--coast" || a == "--max-error";
        if (takes && i + 1 >= argc) {
            std::fprintf(stderr, "kestrel: %s needs a value\n", a.c_str());
            return 2;
        }
        auto number = [&](float lo, float hi, float *v) {
            char *end = nullptr;
            const double d = std::strtod(argv[++i], &end);
            if (end == argv[i] || *end || !(d >= lo && d <= hi)) {
                std::fprintf(stderr, "kestrel: bad value for %s\n", a.c_str());
                return false;
            }
            *v = static_cast<float>(d);
            return true;
        };
        float v = 0;
        if (a == "-h" || a == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (a == "--x") xc = argv[++i];
        else if (a == "--y") yc = argv[++i];
        else if (a == "--z") zc = argv[++i];
        else if (a == "--value") vc = argv[++i];
        else if (a == "-o") out = argv[++i];
        else if (a == "--cruise") cruise = argv[++i];
        else if (a == "--date") date = argv[++i];
        else if (a == "--coast") coast = argv[++i];
        else if (a == "-q" || a == "--quiet") quiet = true;
        else if (a == "--nx" || a == "--ny" || a == "--nz") {
            if (!number(1, 1000, &v)) return 2;
            (a == "--nx" ? nx : a == "--ny" ? ny : nz) = static_cast<int>(v);
        } else if (a == "--percent") {
            if (!number(0.01f, 100, &percent)) return 2;
        } else if (a == "--max-error") {
            if (!number(0.0001f, 1e6f, &maxError)) return 2;
        } else if (a == "--slice") {
            if (!number(-12000, 12000, &slice)) return 2;
            haveSlice = true;
        } else if (const int written = parseOutputOption(argc, argv, &i, &output)) {
            if (written < 0) return 2;
        } else if (!a.empty() && a[0] != '-' && data.empty()) data = a;
        else {
            std::fprintf(stderr, "kestrel: unknown option '%s' (try kestrel grid3d --help)\n", a.c_str());
            return 2;
        }
    }
    if (data.empty() || xc.empty() || yc.empty() || zc.empty() || vc.empty() || out.empty()) {
        std::fprintf(stderr, "kestrel: grid3d needs a table, --x, --y, --z, --value and -o (try kestrel grid3d --help)\n");
        return 2;
    }
    if (static_cast<double>(nx) * ny * nz > 2.0e7) {
        std::fprintf(stderr, "kestrel: %d x %d x %d nodes are more than grid3d draws (20 million)\n", nx, ny, nz);
        return 2;
    }
    Table table;
    if (!readTable(data, &table)) {
        std::fprintf(stderr, "kestrel: cannot read %s\n", data.c_str());
        return 1;
    }
    const int cols[4] = {findColumn(table, xc), findColumn(table, yc), findColumn(table, zc), findColumn(table, vc)};
    const std::string names[4] = {xc, yc, zc, vc};
    for (int k = 0; k < 4; ++k)
        if (cols[k] < 0) {
            std::fprintf(stderr, "kestrel: %s has no column '%s'\n", data.c_str(), names[k].c_str());
            return 2;
        }
    const std::string zName = table.names[static_cast<size_t>(cols[2])];
    const bool down = zName.find("Depth") != std::string::npos || zName.find("Pressure") != std::string::npos;
    std::vector<float> x, y, z, val;
    for (const auto &row : table.rows) {
        const double p[4] = {row[static_cast<size_t>(cols[0])], row[static_cast<size_t>(cols[1])],
                             row[static_cast<size_t>(cols[2])], row[static_cast<size_t>(cols[3])]};
        if (!std::all_of(p, p + 4, [](double d) { return std::isfinite(d) && std::fabs(d) < 1e30; })) continue;
        x.push_back(static_cast<float>(p[0]));
        y.push_back(static_cast<float>(p[1]));
        z.push_back(static_cast<float>(down ? -p[2] : p[2]));  // up is positive
        val.push_back(static_cast<float>(p[3]));
    }
    const int32_t n = static_cast<int32_t>(x.size());
    if (n < 3) {
        std::fprintf(stderr, "kestrel: %s has %d rows with numbers in all four columns; at least 3 are needed\n",
                     data.c_str(), n);
        return 1;
    }
    auto set = std::make_unique<D3Set>();
    if (!D3AllocSet(set.get(), nx, ny, nz, n)) {
        std::fprintf(stderr, "kestrel: no memory for %d x %d x %d nodes\n", nx, ny, nz);
        return 1;
    }
    D3Set &s = *set;
    for (int32_t i = 0; i < n; ++i) {
        s.x[i] = x[static_cast<size_t>(i)], s.y[i] = y[static_cast<size_t>(i)], s.z[i] = z[static_cast<size_t>(i)];
        s.val[i] = val[static_cast<size_t>(i)];
        s.err[i] = s.errInv[i] = 1.0f;
        s.use[i] = 1;
    }
    s.nPoints = n;
    auto range = [&](const std::vector<float> &v, float *lo, float *hi) {
        *lo = *std::min_element(v.begin(), v.end());
        *hi = *std::max_element(v.begin(), v.end());
        if (!(*hi > *lo)) *hi = *lo + 1;
    };
    range(x, &s.xmin, &s.xmax);
    range(y, &s.ymin, &s.ymax);
    range(z, &s.zmin, &s.zmax);
    std::snprintf(s.title, sizeof s.title, "%s", table.names[static_cast<size_t>(cols[3])].c_str());
    std::snprintf(s.xtitle, sizeof s.xtitle, "%s", table.names[static_cast<size_t>(cols[0])].c_str());
    std::snprintf(s.ytitle, sizeof s.ytitle, "%s", table.names[static_cast<size_t>(cols[1])].c_str());
    std::snprintf(s.ztitle, sizeof s.ztitle, "%s", down ? zName.c_str() : "Depth [m]");
    if (!quiet)
        std::fprintf(stderr, "kestrel: gridding %d samples of %s onto %d x %d x %d nodes\n", n, vc.c_str(), nx, ny, nz);
    D3GenerateGrid(&s, percent, percent, percent);
    D3EstimateField(&s);
    if (cruise.empty()) {
        cruise = data.substr(data.find_last_of("/\\") + 1);
        cruise = cruise.substr(0, cruise.find('.'));
    }
    const std::string sheet = out + ".txt";
    D3WriteFieldZep(sheet.c_str(), cruise.c_str(), date.c_str(), &s);
    std::printf("kestrel: wrote %s (%d stations of %d depths)\n", sheet.c_str(), nx * ny, nz);
    if (!haveSlice) {
        D3FreeSet(&s);
        return 0;
    }

    // The slice: the estimate at the depth on the grid's own lines, erased
    // where the data are far, drawn on an unprojected map.
    const float zs = down ? -slice : slice;
    const size_t cx = static_cast<size_t>(s.nx), cy = static_cast<size_t>(s.ny);
    std::vector<float> field(cx * cy), shade(cx * cy), dist(cx * cy);
    std::vector<float> lon(s.xg, s.xg + cx), lat(s.yg, s.yg + cy);
    std::vector<float> kept;  // estimates resting on data near enough to be drawn
    for (size_t j = 0; j < cy; ++j)
        for (size_t i = 0; i < cx; ++i) {
            float sp = 0, md = 0;
            int32_t used = 0;
            const double v = D3EstimateValue(lon[i], lat[j], zs, 1, 1, 1, &sp, &md, &used, &s);
            field[j * cx + i] = static_cast<float>(v);
            dist[j * cx + i] = used > 0 ? md : K_NO_DATA;
            if (used > 0 && md <= maxError) kept.push_back(static_cast<float>(v));
        }
    D3FreeSet(&s);
    // The colours span the middle 99 % of what is drawn: a few nodes at the
    // edge of reach do not squeeze the rest into one colour.
    // Taken from the samples near the slice's depth where there are enough:
    // nodes under the land, hidden by it, carry estimates from shallower water.
    std::vector<float> near;
    const float window = std::max(25.0f, 0.25f * std::fabs(slice));
    for (int32_t i = 0; i < n; ++i)
        if (std::fabs(z[static_cast<size_t>(i)] - zs) <= window) near.push_back(val[static_cast<size_t>(i)]);
    if (near.size() >= 10) kept.swap(near);
    std::sort(kept.begin(), kept.end());
    const float lo = kept.empty() ? 0.0f : kept[static_cast<size_t>(0.005 * (kept.size() - 1))];
    const float hi = kept.empty() ? 0.0f : kept[static_cast<size_t>(0.995 * (kept.size() - 1))];
    if (!(hi > lo)) {
        std::fprintf(stderr, "kestrel: no data within reach of %g at the slice depth\n", static_cast<double>(slice));
        return 1;
    }
    const double step = roundStep(lo, hi, 12);
    const float zmin = static_cast<float>(std::floor(lo / step) * step), zmax = static_cast<float>(std::ceil(hi / step) * step);
    for (size_t k = 0; k < field.size(); ++k) shade[k] = std::clamp(field[k], zmin, zmax);
    std::vector<KContourLevel> levels;
    for (long k = std::lround(zmin / step); k <= std::lround(zmax / step); ++k) {
        const bool major = k % 2 == 0;
        levels.push_back({static_cast<float>(k * step), 0, 0, major ? 2 : 0, major ? 1 : 0, 0, 9, 1});
    }

    MapOptions o;
    o.proj = 0;
    const float padX = 0.05f * (lon.back() - lon.front()), padY = 0.05f * (lat.back() - lat.front());
    o.lonMin = lon.front() - padX, o.lonMax = lon.back() + padX, o.latMin = lat.front() - padY,
    o.latMax = lat.back() + padY;
    o.haveDomain = true;
    o.coast = coast;
    o.preamble = preamble;
    o.output = output;
    char depthText[32];
    std::snprintf(depthText, sizeof depthText, "%g", static_cast<double>(slice));
    o.title = unitless(table.names[static_cast<size_t>(cols[3])]) + " at " + depthText + " m";
    o.out = out + "-" + depthText;
    // The survey's stations: one mark per position.
    std::vector<std::pair<float, float>> pos;
    for (int32_t i = 0; i < n; ++i) pos.emplace_back(x[static_cast<size_t>(i)], y[static_cast<size_t>(i)]);
    std::sort(pos.begin(), pos.end());
    pos.erase(std::unique(pos.begin(), pos.end()), pos.end());
    for (const auto &[a, b] : pos) o.stationLon.push_back(a), o.stationLat.push_back(b);
    o.symbolSize = 0.12f;
    const std::string barTitle = table.names[static_cast<size_t>(cols[3])];
    std::string unit = barTitle.find('[') != std::string::npos
                           ? barTitle.substr(barTitle.find('[') + 1, barTitle.find(']') - barTitle.find('[') - 1)
                           : barTitle;
    unit = unit.substr(0, unit.find(','));
    if (unit == "degC") unit = "\xB0" "C";
    if (unit.rfind("umol", 0) == 0) unit = "\xB5" + unit.substr(1);
    MapHooks hooks;
    hooks.underlay = [&](KDC dc, KFILE ps, const MapGeometry &g) {
        // The layout may express the domain in 0..360 degrees east.
        if (g.lonMin > lon.back()) for (float &l : lon) l += 360.0f;
        ShadeField(shade.data(), 0, 0, lon.data(), s.nx, lat.data(), s.ny, -1.5f, 1.5f, zmin, zmax, dc, ps);
        ContourField(field.data(), lon.data(), s.nx, lat.data(), s.ny, levels.data(), static_cast<int32_t>(levels.size()),
                     dc, ps);
        EraseField(dist.data(), maxError, lon.data(), s.nx, lat.data(), s.ny, FindClosestColor(1, 1, 1), dc, ps);
    };
    hooks.overlay = [&](KDC dc, KFILE ps, const MapGeometry &g) {
        DrawColorBar(dc, ps, unit.c_str(), 10.0f, g.xMin, g.xMax, g.w, g.yMin, g.yMax, zmin, zmax, -1.5f, 1.5f);
    };
    if (!quiet) std::fprintf(stderr, "kestrel: drawing %s at %s m\n", vc.c_str(), depthText);
    return drawMap(o, hooks);
}
