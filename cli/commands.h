// The subcommands of the kestrel command-line host.
#ifndef KESTREL_CLI_COMMANDS_H
#define KESTREL_CLI_COMMANDS_H

#include <functional>
#include <string>
#include <vector>

#include "kestrel/kestrel.h"

struct MapOptions {
    int proj = 4;
    float lonMin = -180, lonMax = 180, latMin = -90, latMax = 90;
    bool haveDomain = false;
    float centreLon = 0, centreLat = 0;
    bool haveCentre = false;
    std::string coast, lakes, stations, title, preamble;
    std::string topo;                 // topography grid shaded under the coast
    std::string gazetteer, features;  // named features and a type filter
    std::vector<float> stationLon, stationLat;  // stations given directly, besides a stations file
    bool grid = true, fillLand = true;
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

// Marks and labels the gazetteer's features on the map (false when it
// cannot be loaded).
bool drawGazetteer(KDC dc, KFILE ps, const MapOptions &o, const MapGeometry &g);

#endif
