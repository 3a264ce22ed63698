// What a map can carry besides coastlines and stations: topography shaded
// through the colour map, and the named features of a gazetteer.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "cli/commands.h"
#include "cli/map_oblique.h"
#include "platform/platform.h"
#include "plot/pstext.h"

namespace {

// Heights of either grid form: the headered one when its header says so,
// else the headerless 5-minute grid.
struct Topography {
    KFILE file = nullptr;
    bool headered = false;
    EtopoHeader header{};
    explicit Topography(const std::string &path) {
        file = OpenEtopoFileEx(path.c_str(), &header);
        headered = file != nullptr;
        if (!file) file = kestrel::plat::fileOpenReadExclusive(path.c_str());
    }
    ~Topography() {
        if (file) kestrel::plat::fileClose(file);
    }
    Topography(const Topography &) = delete;
    Topography &operator=(const Topography &) = delete;
    int16_t at(float lon, float lat) const {
        return headered ? GetEtopoHeightEx(file, header, lon, lat) : GetEtopoHeight(file, lon, lat);
    }
};

// True when the geographic point shows on the current map.
bool visible(float lon, float lat, const MapGeometry &g) {
    if (proj == 6) return std::fabs(lat) <= 90.0f;  // the oblique map shows the whole globe
    if (!IsInsideMapDomain(lon, lat)) return false;
    if (proj == 5) {
        double d = std::fmod(static_cast<double>(lon) - g.cLon, 360.0);
        if (d > 180) d -= 360;
        if (d < -180) d += 360;
        return std::fabs(d) <= lonVisibleRange(lat);
    }
    float x = lon, y = lat;
    Project(&x, &y);
    return IsProjMapCoord(x, y) != 0;
}

}  // namespace

bool drawTopography(KDC dc, KFILE ps, const std::string &path, const MapGeometry &g) {
    Topography topo(path);
    if (!topo.file) return false;
    // Cells of at least 5 minutes, at most about 240 across the map.
    const double dLon = std::max(1.0 / 12, (static_cast<double>(g.lonMax) - g.lonMin) / 240.0);
    const double dLat = std::max(1.0 / 12, (static_cast<double>(g.latMax) - g.latMin) / 160.0);
    // Depths to heights: -6000 m to 4000 m across the palette, the coast
    // (0 m) where the stretch is steepest.
    CMapInitialize(-6000.0f, 4000.0f, -2.0f, 1.2f);
    kestrel::plat::GdiObj previous = nullptr;
    int32_t lastColour = -1;
    // Cells filled without an outline: a drawn edge would lay a mesh over the map.
    if (dc) kestrel::plat::selectObject(dc, kestrel::plat::getStockObject(kestrel::plat::StockNullPen));
    for (double lat = g.latMin; lat < g.latMax; lat += dLat) {
        const double lat1 = std::min(lat + dLat, static_cast<double>(g.latMax));
        for (double lon = g.lonMin; lon < g.lonMax; lon += dLon) {
            const double lon1 = std::min(lon + dLon, static_cast<double>(g.lonMax));
            float x[4] = {static_cast<float>(lon), static_cast<float>(lon1), static_cast<float>(lon1),
                          static_cast<float>(lon)};
            float y[4] = {static_cast<float>(lat), static_cast<float>(lat), static_cast<float>(lat1),
                          static_cast<float>(lat1)};
            bool shown = true;
            for (int k = 0; k < 4 && shown; ++k) shown = visible(x[k], y[k], g);
            if (!shown) continue;
            const float cx = static_cast<float>((lon + lon1) / 2), cy = static_cast<float>((lat + lat1) / 2);
            // Trenches and peaks beyond the scale take its end colours, not the
            // out-of-range ones.
            const float height = std::clamp(static_cast<float>(topo.at(cx, cy)), -5999.0f, 3999.0f);
            const int32_t colour = CMapCalColor(height);
            if (colour != lastColour) {
                SetColor(colour);
                PSSetColor(ps, colour);
                if (dc) {
                    kestrel::plat::GdiObj old = kestrel::plat::selectObject(dc, kestrel::plat::createSolidBrush(mCGS.color));
                    // The brush made for the previous colour goes; the host's first stays.
                    if (previous) kestrel::plat::deleteObject(old);
                    previous = old;
                }
                lastColour = colour;
            }
            if (proj == 6) drawObliquePolygon(dc, ps, g.cLon, x, y, 4);
            else DrawPoly(dc, ps, x, y, 4, 1, 2);
        }
    }
    if (dc) {
        RestoreBrush(dc, "drawTopography");
        RestorePen(dc, "drawTopography");
    }
    return true;
}

bool drawGazetteer(KDC dc, KFILE ps, const MapOptions &o, const MapGeometry &g) {
    static Gazetteer gz;  // the record is large; one map at a time
    std::memset(&gz, 0, sizeof gz);
    std::snprintf(gz.typeFilter, sizeof gz.typeFilter, "%s", o.features.empty() ? "<any>" : o.features.c_str());
    gz.markSize = 0.5f;
    gz.colour = FindClosestColor(0.05f, 0.15f, 0.55f);
    if (GazetteerLoad(o.gazetteer.c_str(), &gz) < 1) return false;
    GazetteerMarkFeatures(dc, &gz, g.lonMin, g.lonMax, g.latMin, g.latMax);
    // Names at each feature's label point: its last one-point piece, else its first point.
    SetColor(gz.colour);
    PSSetColor(ps, gz.colour);
    const float size = 8.0f;
    int labelled = 0;
    for (int32_t f = 0; f < gz.nFeatures; ++f) {
        if (!gz.selected[f]) continue;
        const int16_t *p = gz.pieces + gz.pieceEntry[f];
        int32_t at = gz.firstPoint[f], label = p[0] > 0 ? at : -1;
        for (int k = 1; k <= p[0]; ++k) {
            if (p[k] == 1) label = at;
            at += p[k];
        }
        if (label < 0) continue;
        float lon = gz.lon[label], lat = gz.lat[label];
        if (lon > g.lonMax) lon -= 360.0f;
        if (lon < g.lonMin) lon += 360.0f;
        if (!visible(lon, lat, g)) continue;
        Project(&lon, &lat);
        const char *name = gz.namePool + gz.nameOffset[f];
        SetLorgVal(dc, 5);
        DrawString(dc, name, lon, lat, 0, size);
        if (ps) {
            char line[600];
            std::snprintf(line, sizeof line, "/lorg 5 def %g SetMyFont (%s) %g %g showstring\n",
                          static_cast<double>(size), kestrel::psStringLiteral(name, 200).c_str(),
                          static_cast<double>(lon), static_cast<double>(lat));
            kestrel::plat::fileWriteText(ps, line);
        }
        ++labelled;
    }
    std::printf("kestrel map: %d of %d features named on the map\n", labelled, gz.nFeatures);
    GazetteerFree(&gz);
    return true;
}
