// The subcommands of the kestrel command-line host.
#ifndef KESTREL_CLI_COMMANDS_H
#define KESTREL_CLI_COMMANDS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "cli/output.h"
#include "kestrel/kestrel.h"

struct MapOptions {
    int proj = 4;
    OutputOptions output;             // the files written (--formats, --no-antialias, --dpi)
    float lonMin = -180, lonMax = 180, latMin = -90, latMax = 90;
    bool haveDomain = false;
    float centreLon = 0, centreLat = 0;
    bool haveCentre = false;
    std::string coast, lakes, stations, title, preamble;
    std::string topo;                 // topography grid shaded under the coast
    std::string gazetteer, features;  // named features and a type filter
    std::vector<float> stationLon, stationLat;  // stations given directly, besides a stations file
    std::vector<std::string> stationName;       // their names ("" for none)
    bool grid = true, fillLand = true;
    bool lakesShown = true;           // lakes of the coastline file in the water colour
    double minAreaKm2 = -1;           // -A: smallest whole polygon drawn; <0: by the map's scale
    double lonStep = 0, latStep = 0;  // -B: graticule spacing [deg]; 0: automatic
    float land[3] = {0.82f, 0.82f, 0.82f}, sea[3] = {1, 1, 1}, lake[3] = {1, 1, 1};
    bool seaFilled = false, landFilled = true;
    bool stationLabels = true;
    std::string labelsOut;            // --labels-out: the placed label boxes
    int width = 1000, height = 800;
    int symbol = 1;
    float symbolSize = 0.25f;
    std::string out = "kestrel-map";
};

// The laid-out map: domain, user system and viewport.
struct MapGeometry {
    float lonMin, lonMax, latMin, latMax;
    float xMin, xMax, w, xOff, yMin, yMax, h, yOff;
    float cLon, cLat;
};

// Drawing added to a map: underlay inside the map's clip before the land
// and coastlines, overlay after the frame and title (colour bars).
struct MapHooks {
    std::function<void(KDC, KFILE, const MapGeometry &)> underlay, overlay;
};

// kestrel map [options] -o NAME; argv holds the options only.
int mapCommand(int argc, char **argv);

// Parses the map options; -1 to go on, else the exit status.
int parseMapOptions(int argc, char **argv, MapOptions *o);

// Draws the map and writes NAME.png, .gif and .ps; the exit status.
int drawMap(MapOptions o, const MapHooks &hooks);

// Shades a topography grid over the map, cell by cell through the lookup
// (false when the grid cannot be opened).
bool drawTopography(KDC dc, KFILE ps, const std::string &path, const MapGeometry &g);

// "kestrel grid3d TABLE.tsv --x COL --y COL --z COL --value COL [options] -o NAME".
int grid3dMain(int argc, char **argv, const std::string &preamble);

// A coastline file read whole and checked (cli/mapcoast.cpp).
struct CoastRecord {
    size_t first = 0;       // index of its first point in CoastFile::points
    int32_t n = 0, m = 0;   // points, of which the first m are shoreline
    bool closed = false;    // a polygon (first point == last point)
    double areaKm2 = 0;     // closed: signed area, positive for land (counter-clockwise)
    size_t seamFirst = 0, seamCount = 0;  // its cut edges: polylines seamLines[seamFirst..+seamCount)
};
// A polyline of CoastFile::seamPoints: n lon, lat pairs from first.
struct CoastLine {
    size_t first;
    int32_t n;
};
struct CoastFile {
    std::string path;
    std::vector<float> points;  // lon, lat pairs of all records
    std::vector<CoastRecord> records;
    std::vector<float> seamPoints;      // the cut edges that have land on one side only
    std::vector<CoastLine> seamLines;
};
// What is drawn of a coastline file and in which colours (palette indices;
// -1 leaves that kind unfilled).
struct CoastDrawing {
    int32_t land = -1, water = -1;
    bool allLand = false;        // every closed record in the land colour
    double minAreaKm2 = 0;       // whole polygons smaller than this are left out
    double minLakeAreaKm2 = 0;   // and water polygons smaller than this
    int seamPixels = 2;          // width of the fill-coloured stroke over cut edges
};

// The signed area [km^2] of a closed lon/lat ring of n points (last ==
// first) on a sphere of the Earth's mean radius: positive counter-clockwise.
double polygonAreaKm2(const float *lonLat, int32_t n);
// Reads and checks a coastline file; false with the reason in why (a
// phrase such as "is not a coastline file (...)").
bool readCoastFile(const std::string &path, CoastFile *out, std::string *why);
// True when the record is drawn under the area limits of d.
bool coastRecordShown(const CoastRecord &r, const CoastDrawing &d);
// Fills the closed records (land, lakes, islands in lakes, in file order)
// and paints over their cut edges; one CDT object in PostScript.
void drawCoastFill(KDC dc, KFILE ps, const CoastFile &f, const MapGeometry &g, const CoastDrawing &d);
// Strokes the shoreline of every record shown, in colour.
void drawCoastOutline(KDC dc, KFILE ps, const CoastFile &f, const MapGeometry &g, const CoastDrawing &d,
                      int32_t colour);

// Label placement on a map (cli/maplabels.cpp). Pixels, y down.
struct MapLabelBox {
    double x0, y0, x1, y1;
    std::string text;
};
struct MapSegment {
    double x0, y0, x1, y1;
};
// The labels placed so far and the lines they keep clear of.
struct MapLabelLayout {
    int width = 0, height = 0;  // the picture
    double margin = 2;          // kept free along the picture's edges
    double padding = 1.5;       // kept free around each box
    std::vector<MapLabelBox> boxes;   // the labels placed
    std::vector<MapLabelBox> avoid;   // other things labels keep off (symbols, the title)
    std::vector<MapSegment> lines;
    int gridLabels = 0, gridLabelsWanted = 0;
    // True when b lies inside the picture, off every box and every line.
    bool fits(const MapLabelBox &b) const;
};
// A place to try for a label: anchor (x, y) and the direction (nx, ny) in
// which the box is set off from it by gap pixels (and, failing that, a
// little farther).
struct MapLabelPlace {
    double x, y, nx, ny, gap;
};
struct MapFrameStyle {
    double lonStep = 0, latStep = 0;  // graticule spacing [deg]; 0: the library's choice
    bool grid = true;
    float fontSize = 10;
    int32_t colour = 0;
};
// Writes a level label at the first free place of places, on the screen
// and in PostScript, and records its box; false when none is free.
bool placeMapLabel(KDC dc, KFILE ps, const std::string &screen, const std::string &postscript,
                   const std::vector<MapLabelPlace> &places, float size, MapLabelLayout *layout);
// The map's outline, graticule and labels (one MapFrame object in
// PostScript), the labels placed on layout.
void drawLabelledMapFrame(KDC dc, KFILE ps, const MapGeometry &g, const MapFrameStyle &style, MapLabelLayout *layout);
// "picture W H", then "box x0 y0 x1 y1 text" and "line x0 y0 x1 y1" lines.
bool writeLabelReport(const std::string &path, const MapLabelLayout &layout);

// Marks and labels the gazetteer's features on the map (false when it
// cannot be loaded).
bool drawGazetteer(KDC dc, KFILE ps, const MapOptions &o, const MapGeometry &g);

#endif
