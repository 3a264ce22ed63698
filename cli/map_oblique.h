// The oblique Mollweide map of `kestrel map -p oblique`: the whole globe.
//
// Code 6 of the library projects with the rotated longitude read from -90 to
// 270 and lays a quarter of the sphere (south of the equator, west of the
// centre) on the map's edge; its domain border, from which the library
// builds the bounding box, the clip outline and the graticule, folds onto
// itself. The command therefore draws this projection itself, through the
// library's drawing calls: the rotated longitude is taken into -180..180
// (projection/oblique_mollweide.h), so that the map is the whole standing
// ellipse with its seam along the equator west of the centre; land, lines
// and the clip follow that ellipse, and lines and polygons that cross the
// seam are drawn on both sides of it.
#ifndef KESTREL_CLI_MAP_OBLIQUE_H
#define KESTREL_CLI_MAP_OBLIQUE_H

#include <string>
#include <vector>

#include "cli/commands.h"

// The map's box in map coordinates (the ellipse) and its largest placement
// in the area with equal scales, as AdjustMapLayout places other maps.
void layOutObliqueMap(float areaWidth, float areaX, float areaHeight, float areaY, MapGeometry *g);

// lon/lat [deg] in, map coordinates out, over the whole sphere.
void projectOblique(double centreLon, float *x, float *y);

// A small polygon of lon/lat points [deg] filled in the current brush, on
// both sides of the seam where it crosses it (drawn inside the map's clip),
// with DrawPoly in the map's user system on the screen and in PostScript.
void drawObliquePolygon(KDC dc, KFILE ps, double centreLon, const float *lon, const float *lat, int n);

// The ellipse's outline, closed, in map coordinates.
void obliqueOutline(std::vector<float> *x, std::vector<float> *y);

// Clips further drawing to the ellipse: the screen's clip region and, in
// PostScript, a "MapClipPath" object (its clip lasts to the caller's grestore).
void clipObliqueMap(KDC dc, KFILE ps, const MapGeometry &g);

// A coastline file on the map: closed records filled with the current
// colour when fill is set, the stroked part of every record drawn when
// outline is set. False when the file cannot be read.
bool drawObliqueWorld(KDC dc, KFILE ps, const std::string &path, const MapGeometry &g, bool fill, bool outline);

// The outline, the graticule (every 30 deg, when grid is set) and labels:
// parallels along the map's middle meridian, meridians east of the centre
// along the equator, those west of it where they meet the seam, outside.
// The labels placed and the outline go into layout (may be null), in
// pixels, for the label report.
void drawObliqueFrame(KDC dc, KFILE ps, const MapGeometry &g, float fontSize, int colour, bool grid,
                      MapLabelLayout *layout = nullptr);

#endif
