// kestrel map: a station map in any of the seven projections, as PNG, GIF
// and PostScript, drawn through the library's map calls in the order a host
// uses them: layout, user system, clip, land, coastlines, stations, frame.
#include "plot/page.h"
#include "cli/commands.h"
#include "cli/map_oblique.h"
#include "cli/output.h"
#include "cli/section.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"
#include "kestrel/gif.h"
#include "platform/platform.h"
#include "plot/pstext.h"

namespace {


const char *const kProjNames[7] = {"none", "north", "equatorial", "south", "mollweide", "ortho", "oblique"};

bool parseList(const char *s, float *v, int n) {
    std::string t(s);
    for (char &c : t)
        if (c == '/' || c == ',') c = ' ';
    std::istringstream in(t);
    for (int i = 0; i < n; ++i)
        if (!(in >> v[i]) || !std::isfinite(v[i])) return false;
    std::string rest;
    return !(in >> rest);
}

void mapUsage(std::FILE *to) {
    std::fprintf(to,
                 "usage: kestrel map [options] -o NAME\n"
                 "  -p, --proj P       projection: 0 none, 1 north (polar orthographic), 2 equatorial\n"
                 "                     (orthographic), 3 south, 4 mollweide (default), 5 ortho (general\n"
                 "                     orthographic), 6 oblique (oblique Mollweide); number or name\n"
                 "  -R W/E/S/N         domain in degrees, from W eastward to E (-R 150/-60/-60/60 spans the\n"
                 "                     date line; default: the whole globe, trimmed per projection)\n"
                 "  -C LON/LAT         centre in degrees (default: middle of the domain)\n"
                 "  -B STEP[/LATSTEP]  graticule and labels every STEP degrees (default: by the domain)\n"
                 "  -A AREA            leave out islands and lakes smaller than AREA km^2 (0: all; default:\n"
                 "                     lakes smaller than about 2 x 2 pixels at the map's scale)\n"
                 "  --coast FILE       coastline file (.cst records; default $KESTREL_COASTLINES); its lakes\n"
                 "                     are drawn in the lake colour\n"
                 "  --no-lakes         lakes drawn as land\n"
                 "  --lakes FILE       a further file of lakes, filled in the lake colour\n"
                 "  --land COLOUR      land colour (default 209/209/209); COLOUR is R/G/B (0..255), #RRGGBB,\n"
                 "                     grayP (P percent white) or a name: white, black, gray, lightgray,\n"
                 "                     darkgray, lightblue, skyblue, blue, navy, beige, wheat, tan, khaki,\n"
                 "                     lightgreen, green, darkgreen, red; none leaves it unfilled\n"
                 "  --sea COLOUR       sea colour (default none: the white page)\n"
                 "  --lake COLOUR      lake colour (default: the sea colour, else white)\n"
                 "  --no-fill          coastlines only, land not filled\n"
                 "  --no-grid          no meridians and parallels (the labels stay)\n"
                 "  --stations FILE    table of stations: lon lat [name] per line ('#' comments), drawn as\n"
                 "                     symbols and labelled with their names where there is room\n"
                 "  --no-station-labels  symbols only\n"
                 "  --symbol N         symbol type 1..8 (dots, squares, diamonds, triangles, inverted\n"
                 "                     triangles, stars, Xs, crosses); --symbol-size S in cm (default 0.25)\n"
                 "  --topo FILE        shade the sea floor and land heights of a topography grid (the\n"
                 "                     headerless 5-minute grid or one with an ETOPO01 header) under the coast\n"
                 "  --gazetteer FILE   mark and label the named features of a gazetteer file on the map\n"
                 "  --features TYPE    only features whose type contains TYPE (sea, ocean, bay, ...)\n"
                 "  --title TEXT       title above the map\n"
                 "  --size WxH         picture size in pixels at 40 pixels per cm (default 1000x800)\n"
                 "  --preamble FILE    PostScript preamble (default: the project's data/preamble/kestrel.ps)\n"
                 "  --labels-out FILE  write the placed label boxes and the lines they avoid (pixels)\n"
                 "  -o NAME            writes NAME.png, NAME.gif and NAME.ps (default kestrel-map)\n"
                 "%s"
                 "Coastline files are made from GSHHG (Debian packages gmt and gmt-gshhg-low, -high or -full):\n"
                 "  python3 tools/gshhg_to_cst.py -r l coast_l.cst\n",
                 kOutputUsage);
}

// A colour option: R/G/B (0..255), #RRGGBB, grayP / greyP (percent
// white) or a name; "none" sets *none.
bool parseColour(const char *s, float *rgb, bool *none) {
    std::string t(s);
    for (char &c : t) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    *none = false;
    if (t == "none") {
        *none = true;
        return true;
    }
    static const struct {
        const char *name;
        int r, g, b;
    } named[] = {{"white", 255, 255, 255},   {"black", 0, 0, 0},          {"gray", 190, 190, 190},
                 {"grey", 190, 190, 190},    {"lightgray", 211, 211, 211}, {"lightgrey", 211, 211, 211},
                 {"darkgray", 169, 169, 169}, {"darkgrey", 169, 169, 169}, {"lightblue", 173, 216, 230},
                 {"skyblue", 135, 206, 235}, {"blue", 0, 0, 255},         {"navy", 0, 0, 128},
                 {"beige", 245, 245, 220},   {"wheat", 245, 222, 179},    {"tan", 210, 180, 140},
                 {"khaki", 240, 230, 140},   {"lightgreen", 144, 238, 144}, {"green", 0, 255, 0},
                 {"darkgreen", 0, 100, 0},   {"red", 255, 0, 0}};
    for (const auto &c : named)
        if (t == c.name) {
            rgb[0] = c.r / 255.0f, rgb[1] = c.g / 255.0f, rgb[2] = c.b / 255.0f;
            return true;
        }
    char *end = nullptr;
    if ((t.rfind("gray", 0) == 0 || t.rfind("grey", 0) == 0) && t.size() > 4) {
        const double p = std::strtod(t.c_str() + 4, &end);
        if (*end || !(p >= 0 && p <= 100)) return false;
        rgb[0] = rgb[1] = rgb[2] = static_cast<float>(p / 100);
        return true;
    }
    if (t.size() == 7 && t[0] == '#') {
        const long v = std::strtol(t.c_str() + 1, &end, 16);
        if (*end) return false;
        rgb[0] = (v >> 16 & 255) / 255.0f, rgb[1] = (v >> 8 & 255) / 255.0f, rgb[2] = (v & 255) / 255.0f;
        return true;
    }
    float v[3];
    if (!parseList(t.c_str(), v, 3)) return false;
    for (int k = 0; k < 3; ++k) {
        if (!(v[k] >= 0 && v[k] <= 255)) return false;
        rgb[k] = v[k] / 255.0f;
    }
    return true;
}

bool parseProj(const char *s, int *code) {
    for (int i = 0; i < 7; ++i)
        if (std::strcmp(s, kProjNames[i]) == 0) {
            *code = i;
            return true;
        }
    char *end = nullptr;
    const long v = std::strtol(s, &end, 10);
    if (!end || *end || v < 0 || v > 6) return false;
    *code = static_cast<int>(v);
    return true;
}

// Stations: "lon lat [name]" per line; lines that do not start with two
// numbers (headers, blank lines) are passed over. A position off the globe
// is refused: false with the reason in why.
bool readStations(const std::string &path, std::vector<float> *lon, std::vector<float> *lat,
                  std::vector<std::string> *name, std::string *why) {
    std::string text;
    if (!readTextFile(path, &text)) {
        *why = "cannot read station table '" + path + "'";
        return false;
    }
    std::istringstream in(text);
    std::string line;
    int number = 0;
    while (std::getline(in, line)) {
        ++number;
        const size_t hash = line.find('#');
        if (hash != std::string::npos) line.resize(hash);
        for (char &c : line)
            if (c == ',' || c == ';' || c == '\t' || c == '\r') c = ' ';
        std::istringstream fields(line);
        float x, y;
        if (!(fields >> x >> y) || !std::isfinite(x) || !std::isfinite(y)) continue;  // headers, blank lines
        if (!(x >= -360 && x <= 360 && y >= -90 && y <= 90)) {
            char text2[160];
            std::snprintf(text2, sizeof text2, "line %d: %g/%g lies off the globe (lon -360..360, lat -90..90)",
                          number, static_cast<double>(x), static_cast<double>(y));
            *why = "station table '" + path + "' " + text2;
            return false;
        }
        std::string rest;
        std::getline(fields, rest);
        const size_t s0 = rest.find_first_not_of(' '), s1 = rest.find_last_not_of(' ');
        lon->push_back(x);
        lat->push_back(y);
        name->push_back(s0 == std::string::npos ? std::string() : rest.substr(s0, s1 - s0 + 1).substr(0, 60));
    }
    return true;
}

bool fileExists(const std::string &path) {
    std::FILE *f = std::fopen(path.c_str(), "rb");
    if (f) std::fclose(f);
    return f != nullptr;
}

void coastHint(const char *what) {
    std::fprintf(stderr,
                 "kestrel: %s\n"
                 "  make a coastline file from GSHHG with the project's converter, for example\n"
                 "    apt-get install gmt gmt-gshhg-low\n"
                 "    python3 tools/gshhg_to_cst.py -r l coast_l.cst      (-r c, l, i, h or f)\n"
                 "  and pass it with --coast coast_l.cst (or set KESTREL_COASTLINES)\n",
                 what);
}

// Writes the PostScript text of a line.
void psText(KFILE f, const std::string &s) { kestrel::plat::fileWriteText(f, s.c_str()); }

}  // namespace

int parseMapOptions(int argc, char **argv, MapOptions *out) {
    MapOptions &o = *out;
    if (const char *env = std::getenv("KESTREL_COASTLINES")) o.coast = env;
#ifdef KESTREL_SOURCE_DIR
    o.preamble = std::string(KESTREL_SOURCE_DIR) + "/data/preamble/kestrel.ps";
#endif
    bool haveLake = false;
    for (int i = 0; i < argc; ++i) {
        const std::string a = argv[i];
        auto value = [&](const char **v) {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "kestrel map: %s needs a value\n", a.c_str());
                return false;
            }
            *v = argv[++i];
            return true;
        };
        const char *v = nullptr;
        if (a == "-h" || a == "--help") {
            mapUsage(stdout);
            return 0;
        } else if (a == "-p" || a == "--proj") {
            if (!value(&v)) return 2;
            if (!parseProj(v, &o.proj)) {
                std::fprintf(stderr, "kestrel map: unknown projection '%s'\n", v);
                return 2;
            }
        } else if (a == "-R") {
            if (!value(&v)) return 2;
            float d[4];
            if (!parseList(v, d, 4)) {
                std::fprintf(stderr, "kestrel map: -R wants W/E/S/N in degrees, not '%s'\n", v);
                return 2;
            }
            // W/E read eastward: a west bound east of the east bound spans the
            // date line (150/-60 is 150 E to 60 W, 150..300).
            if (d[1] < d[0]) d[1] += 360.0f;
            if (!(d[0] >= -360 && d[0] <= 360 && d[1] - d[0] <= 360 && d[2] >= -90 && d[3] <= 90 &&
                  d[2] < d[3] && d[0] < d[1])) {
                std::fprintf(stderr,
                             "kestrel map: -R %s is off the globe (W and E within -360..360 and at most 360 apart, "
                             "-90 <= S < N <= 90)\n",
                             v);
                return 2;
            }
            o.lonMin = d[0], o.lonMax = d[1], o.latMin = d[2], o.latMax = d[3];
            o.haveDomain = true;
        } else if (a == "-C") {
            if (!value(&v)) return 2;
            float c[2];
            if (!parseList(v, c, 2)) {
                std::fprintf(stderr, "kestrel map: -C wants LON/LAT in degrees, not '%s'\n", v);
                return 2;
            }
            if (!(c[0] >= -360 && c[0] <= 360 && c[1] >= -90 && c[1] <= 90)) {
                std::fprintf(stderr, "kestrel map: -C %s is off the globe (LON within -360..360, LAT within -90..90)\n",
                             v);
                return 2;
            }
            o.centreLon = c[0], o.centreLat = c[1];
            o.haveCentre = true;
        } else if (a == "-B") {
            if (!value(&v)) return 2;
            float b[2];
            if (parseList(v, b, 1)) b[1] = b[0];
            else if (!parseList(v, b, 2)) b[0] = -1;
            if (!(b[0] > 0 && b[0] <= 180 && b[1] > 0 && b[1] <= 90)) {
                std::fprintf(stderr, "kestrel map: -B wants STEP or LONSTEP/LATSTEP in degrees (0 < step <= 180), not '%s'\n", v);
                return 2;
            }
            o.lonStep = b[0], o.latStep = b[1];
        } else if (a == "-A") {
            if (!value(&v)) return 2;
            float area;
            if (!parseList(v, &area, 1) || !(area >= 0)) {
                std::fprintf(stderr, "kestrel map: -A wants an area in km^2 (0 or more), not '%s'\n", v);
                return 2;
            }
            o.minAreaKm2 = area;
        } else if (a == "--land" || a == "--sea" || a == "--lake") {
            if (!value(&v)) return 2;
            float rgb[3];
            bool none = false;
            if (!parseColour(v, rgb, &none)) {
                std::fprintf(stderr, "kestrel map: %s wants R/G/B (0..255), #RRGGBB, grayP, a colour name or none, not '%s'\n",
                             a.c_str(), v);
                return 2;
            }
            float *to = a == "--land" ? o.land : a == "--sea" ? o.sea : o.lake;
            if (!none) std::copy(rgb, rgb + 3, to);
            if (a == "--land") o.landFilled = !none;
            if (a == "--sea") {
                o.seaFilled = !none;
                if (!haveLake && !none) std::copy(rgb, rgb + 3, o.lake);
            }
            if (a == "--lake") haveLake = true;
        } else if (a == "--no-lakes") {
            o.lakesShown = false;
        } else if (a == "--no-station-labels") {
            o.stationLabels = false;
        } else if (a == "--labels-out") {
            if (!value(&v)) return 2;
            o.labelsOut = v;
        } else if (a == "--coast") {
            if (!value(&v)) return 2;
            o.coast = v;
        } else if (a == "--lakes") {
            if (!value(&v)) return 2;
            o.lakes = v;
        } else if (a == "--stations") {
            if (!value(&v)) return 2;
            o.stations = v;
        } else if (a == "--title") {
            if (!value(&v)) return 2;
            o.title = v;
        } else if (a == "--topo") {
            if (!value(&v)) return 2;
            o.topo = v;
        } else if (a == "--gazetteer") {
            if (!value(&v)) return 2;
            o.gazetteer = v;
        } else if (a == "--features") {
            if (!value(&v)) return 2;
            o.features = v;
        } else if (a == "--preamble") {
            if (!value(&v)) return 2;
            o.preamble = v;
        } else if (a == "--symbol") {
            if (!value(&v)) return 2;
            o.symbol = std::atoi(v);
            if (o.symbol < 1 || o.symbol > 8) {
                std::fprintf(stderr, "kestrel map: --symbol wants 1..8\n");
                return 2;
            }
        } else if (a == "--symbol-size") {
            if (!value(&v)) return 2;
            o.symbolSize = static_cast<float>(std::atof(v));
            if (!(o.symbolSize > 0 && o.symbolSize < 5)) {
                std::fprintf(stderr, "kestrel map: --symbol-size wants 0 < S < 5 (cm)\n");
                return 2;
            }
        } else if (a == "--size") {
            if (!value(&v)) return 2;
            if (std::sscanf(v, "%dx%d", &o.width, &o.height) != 2 || o.width < 200 || o.height < 200 ||
                o.width > 8000 || o.height > 8000) {
                std::fprintf(stderr, "kestrel map: --size wants WxH, 200..8000 pixels each\n");
                return 2;
            }
        } else if (a == "--no-grid") {
            o.grid = false;
        } else if (a == "--no-fill") {
            o.fillLand = false;
        } else if (a == "-o") {
            if (!value(&v)) return 2;
            o.out = v;
        } else if (const int out = parseOutputOption(argc, argv, &i, &o.output)) {
            if (out < 0) return 2;
        } else {
            std::fprintf(stderr, "kestrel map: unknown option '%s' (try kestrel map --help)\n", a.c_str());
            return 2;
        }
    }
    return -1;
}

int mapCommand(int argc, char **argv) {
    MapOptions o;
    const int status = parseMapOptions(argc, argv, &o);
    if (status >= 0) return status;
    if (!outputFolderExists(o.out)) return 2;
    MapHooks hooks;
    return drawMap(o, hooks);
}

namespace {

// A palette index of exactly this colour: an entry that holds it, else one
// added after the palette's last entry (the built-in palette leaves room).
int32_t exactColour(KDC dc, const float *rgb) {
    uint8_t c[3];
    for (int k = 0; k < 3; ++k) c[k] = static_cast<uint8_t>(std::lround(std::clamp(rgb[k], 0.0f, 1.0f) * 255));
    const int32_t n = mCGS.paletteSize;
    for (int32_t i = 0; i < n && i < 256; ++i)
        if (Vcolor[i][0] == c[0] && Vcolor[i][1] == c[1] && Vcolor[i][2] == c[2]) return i;
    if (n < 0 || n >= 256) return FindClosestColor(rgb[0], rgb[1], rgb[2]);
    std::memcpy(Vcolor[n], c, 3);
    mCGS.paletteSize = n + 1;
    CreateMYPalette(dc);
    return n;
}

// The box [px] of a string DrawString would write at (x, y) with lorg.
MapLabelBox textBox(KDC dc, const std::string &text, float x, float y, int32_t lorg, float size) {
    const int32_t before = mCGS.lorg;
    SetLorgVal(dc, lorg);
    ScanString(dc, text.c_str(), x, y, 0, size, 0);
    SetLorgVal(dc, before);
    MapLabelBox b{1e9, 1e9, -1e9, -1e9, text};
    for (int k = 0; k < 4; ++k) {
        b.x0 = std::min(b.x0, dli.boxX[k]), b.x1 = std::max(b.x1, dli.boxX[k]);
        b.y0 = std::min(b.y0, dli.boxY[k]), b.y1 = std::max(b.y1, dli.boxY[k]);
    }
    return b;
}

void releaseCanvas(Picture *picture) {
    DeleteMYPalette();
    destroyPicture(picture);
    hdcMem = nullptr;
}

}  // namespace

int drawMap(MapOptions o, const MapHooks &hooks) {
    if (!o.haveCentre) {
        o.centreLon = (o.lonMin + o.lonMax) * 0.5f;
        o.centreLat = static_cast<float>(DfltPoleLat(o.proj, o.latMin, o.latMax, (o.latMin + o.latMax) * 0.5f));
    } else if (!o.haveDomain && o.proj >= 1 && o.proj <= 6 && o.proj != 5) {
        // The layout centres these maps on the middle of the domain: a centre
        // given alone gets the whole turn of longitude around it.
        o.lonMin = o.centreLon - 180.0f;
        o.lonMax = o.centreLon + 180.0f;
    }
    CoastFile coast, lakes;
    std::string why;
    // The oblique Mollweide shows the whole globe, turned about its centre
    // longitude; the command draws it itself (cli/map_oblique.h).
    const bool oblique = o.proj == 6;
    if (oblique && o.haveDomain)
        std::printf("kestrel map: the oblique Mollweide shows the whole globe; -R sets its centre longitude only\n");
    if (oblique && o.haveCentre && o.centreLat != 0.0f)
        std::printf("kestrel map: the oblique Mollweide turns about %g/0; the centre latitude is not used\n",
                    static_cast<double>(o.centreLon));
    if (!o.coast.empty() && !fileExists(o.coast)) {
        coastHint(("coastline file '" + o.coast + "' not found").c_str());
        return 1;
    }
    if (!o.coast.empty() && !readCoastFile(o.coast, &coast, &why)) {
        std::fprintf(stderr, "kestrel map: '%s' %s\n", o.coast.c_str(), why.c_str());
        return 1;
    }
    if (!o.lakes.empty() && !readCoastFile(o.lakes, &lakes, &why)) {
        std::fprintf(stderr, "kestrel map: lakes '%s' %s\n", o.lakes.c_str(), why.c_str());
        return 1;
    }
    if (o.coast.empty()) coastHint("no coastline file given: drawing the map without coastlines");
    std::vector<float> stLon = o.stationLon, stLat = o.stationLat;
    std::vector<std::string> stName = o.stationName;
    stName.resize(stLon.size());
    if (!o.stations.empty() && !readStations(o.stations, &stLon, &stLat, &stName, &why)) {
        std::fprintf(stderr, "kestrel map: %s\n", why.c_str());
        return 1;
    }

    // The page: 40 pixels per centimetre.
    const float ppl = 40.0f;
    Picture picture;
    if (!createPicture(o.width, o.height, o.output, &picture)) return 1;
    KDC dc = picture.canvas;
    kestrel::PageSpec page;
    page.width = o.width;
    page.height = o.height;
    page.pixPerLength = ppl;
    kestrel::startPage(dc, page);
    mFS.weight = 1;  // regular, not bold, as the PostScript writes it
    const int32_t landColour = exactColour(dc, o.land), seaColour = exactColour(dc, o.sea),
                  lakeColour = exactColour(dc, o.lake);

    // The map area: margins for the labels and the title.
    const float areaX = 2.0f, areaY = 1.8f;
    const float areaW = VX.devLength - 4.0f, areaH = VY.devLength - 4.0f;
    float xMin, xMax, w, xOff, yMin, yMax, h, yOff;
    float lonMin = o.lonMin, lonMax = o.lonMax, latMin = o.latMin, latMax = o.latMax;
    float cLon = o.centreLon, cLat = o.centreLat;
    if (AdjustMapLayout(&xMin, &xMax, &w, &xOff, &yMin, &yMax, &h, &yOff, &lonMin, &lonMax, &cLon, &latMin, &latMax,
                        &cLat, o.proj, areaW, areaX, areaH, areaY) &&
        !oblique)
        std::printf("kestrel map: domain adjusted to %g/%g/%g/%g, centre %g/%g (%s)\n", lonMin, lonMax, latMin,
                    latMax, cLon, cLat, szProjLabel[proj < 0 || proj > 6 ? 0 : proj]);
    if (oblique) {
        MapGeometry box{};
        layOutObliqueMap(areaW, areaX, areaH, areaY, &box);
        xMin = box.xMin, xMax = box.xMax, w = box.w, xOff = box.xOff;
        yMin = box.yMin, yMax = box.yMax, h = box.h, yOff = box.yOff;
    }
    if (!(w > 0 && h > 0)) {
        std::fprintf(stderr, "kestrel map: the domain %g/%g/%g/%g is empty\n", lonMin, lonMax, latMin, latMax);
        releaseCanvas(&picture);
        return 1;
    }

    int status = 0;
    const std::string psName = o.out + ".ps", pngName = o.out + ".png", gifName = o.out + ".gif";
    KFILE ps = nullptr;
    // The PostScript in the canvas's regular face, its thinnest lines a pixel wide.
    if (!o.output.postscript())
        ;
    else if (fileExists(o.preamble))
        ps = PSOpenFile(psName.c_str(), o.preamble.c_str(),
                        postscriptHeader("Kestrel map", o.width, o.height, ppl).c_str(),
                        "\n/textfont /Helvetica def\n/very_thin_line { 0.025 setlinewidth } def\nBeginPlot\n", 0);
    else
        std::fprintf(stderr, "kestrel map: preamble '%s' not found (--preamble): no PostScript written\n",
                     o.preamble.c_str());
    if (ps) PSPalette(ps);

    UsrSys(dc, xMin, xMax, w, xOff, yMin, yMax, h, yOff);
    PSUsrSys(ps, "", xMin, xMax, w, xOff, yMin, yMax, h, yOff);
    const float fontSize = 10.0f;
    mCGS.fontSize = fontSize;

    // Polygons smaller than about 2 x 2 pixels at the map's scale are specks.
    const double kmPerPixel = (proj < 1 || proj > 6 ? 111.195 : 6371.0) / std::fabs(VY.pixPerUser);
    CoastDrawing cd;
    cd.land = o.fillLand && o.landFilled ? landColour : -1;
    cd.water = o.lakesShown ? lakeColour : cd.land;
    cd.minAreaKm2 = o.minAreaKm2 >= 0 ? o.minAreaKm2 : 0;
    cd.minLakeAreaKm2 = o.minAreaKm2 >= 0 ? o.minAreaKm2 : 4 * kmPerPixel * kmPerPixel;

    // Sea, land and coastlines inside the map's clip; the PostScript clip
    // ends with the grestore before the frame, whose labels stand outside.
    if (ps) psText(ps, "gsave\n");
    const MapGeometry geo{lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff, cLon, cLat};
    if (oblique) clipObliqueMap(dc, ps, geo);
    else ClipMapWindow(dc, ps, lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff, 0);
    const int black = 0, red = 2;
    if (o.seaFilled) {
        // The sea: the map's outline filled (the oblique globe's is its ellipse).
        std::vector<float> x, y;
        if (oblique) {
            obliqueOutline(&x, &y);
        } else {
            x.resize(361);
            y.resize(361);
            const int32_t n = ConstructMapClipPath(x.data(), y.data(), 361, proj, lonMin, lonMax, latMin, latMax);
            x.resize(static_cast<size_t>(std::max(n, 0)));
            y.resize(x.size());
        }
        SetColor(seaColour);
        PSSetColor(ps, seaColour);
        KPALETTE previous = ActivateMyPalette(dc);
        kestrel::plat::GdiObj brush = kestrel::plat::selectObject(dc, kestrel::plat::createSolidBrush(mCGS.color));
        kestrel::plat::GdiObj pen = kestrel::plat::selectObject(dc, kestrel::plat::createPen(kestrel::plat::PenSolid, 1, mCGS.color));
        DrawPoly(dc, ps, x.data(), y.data(), static_cast<int32_t>(x.size()), 0, 2);
        kestrel::plat::deleteObject(kestrel::plat::selectObject(dc, brush));
        kestrel::plat::deleteObject(kestrel::plat::selectObject(dc, pen));
        RestorePalette(dc, previous, "kestrel map");
    }
    if (!o.topo.empty() && !drawTopography(dc, ps, o.topo, geo)) {
        std::fprintf(stderr, "kestrel map: cannot read the topography grid '%s'\n", o.topo.c_str());
        if (ps) kestrel::plat::fileClose(ps);
        releaseCanvas(&picture);
        return 1;
    }
    if (hooks.underlay) hooks.underlay(dc, ps, geo);
    if (!o.coast.empty()) {
        if (oblique) {
            // Over the whole globe, the command's own drawing; lakes in
            // the file are filled as land there.
            if (cd.land >= 0 && o.topo.empty()) {
                SetColor(cd.land);
                PSSetColor(ps, cd.land);
                drawObliqueWorld(dc, ps, o.coast, geo, true, false);
            }
        } else {
            if (cd.land >= 0 && o.topo.empty()) drawCoastFill(dc, ps, coast, geo, cd);
            if (!o.lakes.empty() && o.topo.empty()) {
                CoastDrawing ld = cd;
                ld.land = ld.water = lakeColour;
                drawCoastFill(dc, ps, lakes, geo, ld);
        }
        }
        if (ps) psText(ps, "thin_line\n");
        if (oblique) {
            drawObliqueWorld(dc, ps, o.coast, geo, false, true);
        } else {
            drawCoastOutline(dc, ps, coast, geo, cd, black);
            if (!o.lakes.empty()) drawCoastOutline(dc, ps, lakes, geo, cd, black);
        }
    }
    MapLabelLayout layout;
    layout.width = o.width;
    layout.height = o.height;
    std::vector<float> sx, sy;
    std::vector<std::string> sName;
    if (!stLon.empty()) {
        // Stations on the map's visible side only, at their projected places.
        for (size_t i = 0; i < stLon.size(); ++i) {
            float lon = stLon[i], lat = stLat[i];
            if (oblique) {  // every position on the globe is on this map
                if (!(std::fabs(lat) <= 90.0f)) continue;
                projectOblique(cLon, &lon, &lat);
                sx.push_back(lon);
                sy.push_back(lat);
                sName.push_back(stName[i]);
                continue;
            }
            if (lon < lonMin) lon += 360.0f;
            if (lon > lonMax) lon -= 360.0f;
            if (!IsInsideMapDomain(lon, lat)) continue;
            Project(&lon, &lat);
            if (!IsProjMapCoord(lon, lat)) continue;
            sx.push_back(lon);
            sy.push_back(lat);
            sName.push_back(stName[i]);
        }
        SetColor(red);
        PSSetColor(ps, red);
        DrawSymbols(dc, ps, sx.data(), sy.data(), static_cast<int32_t>(sx.size()), o.symbol, o.symbolSize);
        std::printf("kestrel map: %zu of %zu stations on the map\n", sx.size(), stLon.size());
        const double r = 0.5 * o.symbolSize * ppl + 1;
        for (size_t i = 0; i < sx.size(); ++i) {
            const double px = (sx[i] - VX.umin) * VX.pixPerUser + VX.lowPix,
                         py = (sy[i] - VY.umin) * VY.pixPerUser + VY.lowPix;
            layout.avoid.push_back(MapLabelBox{px - r, py - r, px + r, py + r, "station"});
        }
    }
    if (!o.gazetteer.empty() && !drawGazetteer(dc, ps, o, geo)) {
        std::fprintf(stderr, "kestrel map: cannot read the gazetteer '%s'\n", o.gazetteer.c_str());
        status = 1;
    }
    if (ps) psText(ps, "grestore\n");
    ClipVWP(dc, 0);

    if (!o.title.empty()) {
        SetColor(black);
        PSSetColor(ps, black);
        const float tx = (xMin + xMax) * 0.5f, ty = yMax + (yMax - yMin) * 0.04f;
        ClipVWP(dc, 0);
        layout.avoid.push_back(textBox(dc, o.title, tx, ty, 2, fontSize * 1.4f));
        SetLorgVal(dc, 2);
        DrawString(dc, o.title.c_str(), tx, ty, 0, fontSize * 1.4f);
        if (ps) {
            std::vector<char> t(o.title.size() * 2 + 8);
            std::snprintf(t.data(), t.size(), "%s", o.title.c_str());
            MkePSString(t.data(), static_cast<int32_t>(t.size()));
            // The escaped title fits the line whole: a cut could split an escape.
            const std::string safe = kestrel::psStringLiteral(t.data(), 200);
            char line[512];
            std::snprintf(line, sizeof line, "/lorg 2 def %g SetMyFont 0 setgray (%s) %g %g showstring\n",
                          static_cast<double>(fontSize * 1.4f), safe.c_str(), static_cast<double>(tx),
                          static_cast<double>(ty));
            psText(ps, line);
        }
    }

    MapFrameStyle style;
    style.lonStep = o.lonStep;
    style.latStep = o.latStep;
    style.grid = o.grid;
    style.fontSize = fontSize;
    style.colour = black;
    if (oblique)
        drawObliqueFrame(dc, ps, geo, fontSize, black, o.grid, &layout);
    else
        drawLabelledMapFrame(dc, ps, geo, style, &layout);

    if (o.stationLabels && !sx.empty()) {
        // Names beside their symbols where there is room, never over a
        // graticule line, a frame label or another name.
        SetColor(black);
        PSSetColor(ps, black);
        const float size = 8.0f;
        const double gap = 0.5 * o.symbolSize * ppl + 2;
        int named = 0, wanted = 0;
        // Each name is tried against every label and line placed before it:
        // beyond a thousand names that costs more than the map is worth.
        const int maxNames = 1000;
        for (size_t i = 0; i < sx.size(); ++i) {
            if (sName[i].empty()) continue;
            if (++wanted > maxNames) continue;
            const double px = (sx[i] - VX.umin) * VX.pixPerUser + VX.lowPix,
                         py = (sy[i] - VY.umin) * VY.pixPerUser + VY.lowPix;
            std::vector<MapLabelPlace> places;
            for (const auto &d : {std::pair<double, double>{1, 0}, {-1, 0}, {0, -1}, {0, 1}, {1, -1}, {-1, -1},
                                  {1, 1}, {-1, 1}})
                places.push_back(MapLabelPlace{px, py, d.first, d.second, gap});
            std::vector<char> t(sName[i].size() * 2 + 8);
            std::snprintf(t.data(), t.size(), "%s", sName[i].c_str());
            MkePSString(t.data(), static_cast<int32_t>(t.size()));
            if (placeMapLabel(dc, ps, sName[i], kestrel::psStringLiteral(t.data(), 200), places, size, &layout))
                ++named;
        }
        if (wanted) std::printf("kestrel map: %d of %d station names placed\n", named, wanted);
    }
    if (!o.labelsOut.empty() && !writeLabelReport(o.labelsOut, layout)) {
        std::fprintf(stderr, "kestrel map: cannot write '%s'\n", o.labelsOut.c_str());
        status = 1;
    }

    if (hooks.overlay) hooks.overlay(dc, ps, geo);
    if (!writePicture(picture, ps, "EndPlot\nshowpage\n", o.out, o.output, ppl)) status = 1;
    releaseCanvas(&picture);
    return status;
}
