// kestrel map: a station map in any of the seven projections, as PNG, GIF
// and PostScript, drawn through the library's map calls in the order a host
// uses them: layout, user system, clip, land, coastlines, stations, frame.
#include "plot/page.h"
#include "cli/commands.h"
#include "cli/map_oblique.h"
#include "cli/output.h"
#include "cli/section.h"

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

void mapUsage(std::FILE *to) {
    std::fprintf(to,
                 "usage: kestrel map [options] -o NAME\n"
                 "  -p, --proj P       projection: 0 none, 1 north (polar orthographic), 2 equatorial\n"
                 "                     (orthographic), 3 south, 4 mollweide (default), 5 ortho (general\n"
                 "                     orthographic), 6 oblique (oblique Mollweide); number or name\n"
                 "  -R W/E/S/N         domain in degrees (default: the whole globe, trimmed per projection)\n"
                 "  -C LON/LAT         centre in degrees (default: middle of the domain)\n"
                 "  --coast FILE       coastline file (.cst records; default $KESTREL_COASTLINES)\n"
                 "  --lakes FILE       lakes file, filled white over the land\n"
                 "  --no-fill          coastlines only, land not filled\n"
                 "  --no-grid          no meridians and parallels\n"
                 "  --stations FILE    table of stations: lon lat per line ('#' comments), drawn as symbols\n"
                 "  --symbol N         symbol type 1..8 (dots, squares, diamonds, triangles, inverted\n"
                 "                     triangles, stars, Xs, crosses); --symbol-size S in cm (default 0.25)\n"
                 "  --topo FILE        shade the sea floor and land heights of a topography grid (the\n"
                 "                     headerless 5-minute grid or one with an ETOPO01 header) under the coast\n"
                 "  --gazetteer FILE   mark and label the named features of a gazetteer file on the map\n"
                 "  --features TYPE    only features whose type contains TYPE (sea, ocean, bay, ...)\n"
                 "  --title TEXT       title above the map\n"
                 "  --size WxH         picture size in pixels at 40 pixels per cm (default 1000x800)\n"
                 "  --preamble FILE    PostScript preamble (default: the project's data/preamble/kestrel.ps)\n"
                 "  -o NAME            writes NAME.png, NAME.gif and NAME.ps (default kestrel-map)\n"
                 "Coastline files are made from GSHHG (Debian packages gmt and gmt-gshhg-low, -high or -full):\n"
                 "  python3 tools/gshhg_to_cst.py -r l coast_l.cst\n");
}

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

bool readStations(const std::string &path, std::vector<float> *lon, std::vector<float> *lat) {
    std::string text;
    if (!readTextFile(path, &text)) return false;
    std::istringstream in(text);
    std::string line;
    while (std::getline(in, line)) {
        const size_t hash = line.find('#');
        if (hash != std::string::npos) line.resize(hash);
        for (char &c : line)
            if (c == ',' || c == ';' || c == '\t') c = ' ';
        std::istringstream fields(line);
        float x, y;
        if (!(fields >> x >> y) || !std::isfinite(x) || !std::isfinite(y)) continue;  // headers, blank lines
        lon->push_back(x);
        lat->push_back(y);
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
            o.lonMin = d[0], o.lonMax = d[1], o.latMin = d[2], o.latMax = d[3];
            o.haveDomain = true;
        } else if (a == "-C") {
            if (!value(&v)) return 2;
            float c[2];
            if (!parseList(v, c, 2)) {
                std::fprintf(stderr, "kestrel map: -C wants LON/LAT in degrees, not '%s'\n", v);
                return 2;
            }
            o.centreLon = c[0], o.centreLat = c[1];
            o.haveCentre = true;
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
    if (o.coast.empty()) coastHint("no coastline file given: drawing the map without coastlines");
    std::vector<float> stLon = o.stationLon, stLat = o.stationLat;
    if (!o.stations.empty() && !readStations(o.stations, &stLon, &stLat)) {
        std::fprintf(stderr, "kestrel map: cannot read station table '%s'\n", o.stations.c_str());
        return 1;
    }

    // The page: 40 pixels per centimetre.
    const float ppl = 40.0f;
    KDC dc = KCanvasCreate(o.width, o.height);
    if (!dc) {
        std::fprintf(stderr, "kestrel: cannot create a %d x %d canvas\n", o.width, o.height);
        return 1;
    }
    kestrel::PageSpec page;
    page.width = o.width;
    page.height = o.height;
    page.pixPerLength = ppl;
    kestrel::startPage(dc, page);

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
        KCanvasDestroy(dc);
        hdcMem = nullptr;
        return 1;
    }

    int status = 0;
    const std::string psName = o.out + ".ps", pngName = o.out + ".png", gifName = o.out + ".gif";
    KFILE ps = nullptr;
    if (fileExists(o.preamble))
        ps = PSOpenFile(psName.c_str(), o.preamble.c_str(),
                        postscriptHeader("Kestrel map", o.width, o.height, ppl).c_str(), "\nBeginPlot\n", 0);
    else
        std::fprintf(stderr, "kestrel map: preamble '%s' not found (--preamble): no PostScript written\n",
                     o.preamble.c_str());
    if (ps) PSPalette(ps);

    UsrSys(dc, xMin, xMax, w, xOff, yMin, yMax, h, yOff);
    PSUsrSys(ps, "", xMin, xMax, w, xOff, yMin, yMax, h, yOff);
    const float fontSize = 10.0f;
    mCGS.fontSize = fontSize;

    // Land and coastlines inside the map's clip; the PostScript clip ends
    // with the grestore before the frame, whose labels stand outside.
    if (ps) psText(ps, "gsave\n");
    const MapGeometry geo{lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff, cLon, cLat};
    if (oblique) clipObliqueMap(dc, ps, geo);
    else ClipMapWindow(dc, ps, lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff, 0);
    const int land = FindClosestColor(0.82f, 0.82f, 0.82f), white = 1, black = 0, red = 2;
    // Coastline files through the library, or over the whole oblique globe.
    auto drawWorld = [&](KDC d, KFILE f, const char *path, float lo0, float lo1, float la0, float la1, float ux0,
                         float ux1, float pw, float pl, float uy0, float uy1, float ph, float pb, int32_t fill,
                         int32_t outline) -> int32_t {
        if (oblique) return drawObliqueWorld(d, f, path, geo, fill != 0, outline != 0) ? 1 : 0;
        return DrawWorld(d, f, path, lo0, lo1, la0, la1, ux0, ux1, pw, pl, uy0, uy1, ph, pb, fill, outline);
    };
    if (!o.topo.empty() && !drawTopography(dc, ps, o.topo, geo)) {
        std::fprintf(stderr, "kestrel map: cannot read the topography grid '%s'\n", o.topo.c_str());
        if (ps) kestrel::plat::fileClose(ps);
        KCanvasDestroy(dc);
        hdcMem = nullptr;
        return 1;
    }
    if (hooks.underlay) hooks.underlay(dc, ps, geo);
    if (!o.coast.empty()) {
        if (o.fillLand && o.topo.empty()) {
            SetColor(land);
            PSSetColor(ps, land);
            drawWorld(dc, ps, o.coast.c_str(), lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h,
                      yOff, 1, 0);
            if (!o.lakes.empty()) {
                SetColor(white);
                PSSetColor(ps, white);
                drawWorld(dc, ps, o.lakes.c_str(), lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax,
                          h, yOff, 1, 0);
            }
        }
        SetColor(black);
        PSSetColor(ps, black);
        if (ps) psText(ps, "thin_line\n");
        drawWorld(dc, ps, o.coast.c_str(), lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff,
                  0, 1);
        if (!o.lakes.empty())
            drawWorld(dc, ps, o.lakes.c_str(), lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h,
                      yOff, 0, 1);
    }
    if (!stLon.empty()) {
        // Stations on the map's visible side only, at their projected places.
        std::vector<float> x, y;
        for (size_t i = 0; i < stLon.size(); ++i) {
            float lon = stLon[i], lat = stLat[i];
            if (oblique) {  // every position on the globe is on this map
                if (!(std::fabs(lat) <= 90.0f)) continue;
                projectOblique(cLon, &lon, &lat);
                x.push_back(lon);
                y.push_back(lat);
                continue;
            }
            if (lon < lonMin) lon += 360.0f;
            if (lon > lonMax) lon -= 360.0f;
            if (!IsInsideMapDomain(lon, lat)) continue;
            Project(&lon, &lat);
            if (!IsProjMapCoord(lon, lat)) continue;
            x.push_back(lon);
            y.push_back(lat);
        }
        SetColor(red);
        PSSetColor(ps, red);
        DrawSymbols(dc, ps, x.data(), y.data(), static_cast<int32_t>(x.size()), o.symbol, o.symbolSize);
        std::printf("kestrel map: %zu of %zu stations on the map\n", x.size(), stLon.size());
    }
    if (!o.gazetteer.empty() && !drawGazetteer(dc, ps, o, geo)) {
        std::fprintf(stderr, "kestrel map: cannot read the gazetteer '%s'\n", o.gazetteer.c_str());
        status = 1;
    }
    if (ps) psText(ps, "grestore\n");
    ClipVWP(dc, 0);

    if (oblique)
        drawObliqueFrame(dc, ps, geo, fontSize, black, o.grid);
    else
        DrawMapFrame(dc, ps, lonMin, lonMax, latMin, latMax, xMin, xMax, w, xOff, yMin, yMax, h, yOff, fontSize, black,
                     o.grid ? 1 : 0);
    // The unprojected map's frame object is the host's to close.
    if (ps && (proj < 1 || proj > 6)) psText(ps, "grestore\n%%PS-OBJECT: MapFrame end\n");

    if (!o.title.empty()) {
        SetColor(black);
        PSSetColor(ps, black);
        SetLorgVal(dc, 2);
        const float tx = (xMin + xMax) * 0.5f, ty = yMax + (yMax - yMin) * 0.04f;
        ClipVWP(dc, 0);
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

    if (hooks.overlay) hooks.overlay(dc, ps, geo);
    if (!writePicture(dc, ps, "EndPlot\nshowpage\n", o.out, o.width, o.height, ppl)) status = 1;
    DeleteMYPalette();
    KCanvasDestroy(dc);
    hdcMem = nullptr;
    return status;
}
