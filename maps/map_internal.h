// Shared pieces of the map drawing routines (layout, frame, coastlines).
#ifndef KESTREL_MAPS_MAP_INTERNAL_H
#define KESTREL_MAPS_MAP_INTERNAL_H

#include <cstdint>

#include "kestrel/globals.h"

namespace kestrel {

// Map objects are written in PostScript as integers in a temporary user
// system of 0..kMapPSUnits over the map's page area: compact, and exact
// enough (a 20 cm map gets 40 units per millimetre).
constexpr int32_t kMapPSUnits = 5000;

// Points of the clip outline on paper and fine screens.
constexpr int32_t kMapOutlinePoints = 361;

// The map's user coordinate system as the host passed it to SetupUsrSys:
// user x range, viewport width and left; user y range, height and bottom.
struct MapUserSys {
    float uxMin, uxMax, pxMin, pxMax, uyMin, uyMax, pyMin, pyMax;
};

// "0 5000 w l 0 5000 h b SetupUsrSys": the temporary system.
long writeTempUsrSys(KFILE f, const MapUserSys &u);
// before + "ux0 ux1 w l uy0 uy1 h b SetupUsrSys": the map's own again.
long writeMapUsrSys(KFILE f, const MapUserSys &u, const char *before);
// Map coordinates to the temporary system, truncated, in place.
void toMapPSUnits(const MapUserSys &u, float *x, float *y, int32_t n);

// The clip outline (ConstructMapClipPath) for a given code.
int32_t clipOutline(float *x, float *y, int32_t maxPoints, int32_t code, float lonMin, float lonMax, float latMin,
                    float latMax);

// Strokes a polyline of map coordinates on the screen with a solid pen of
// the width of widthIndex in the current colour, without the viewport clip.
void strokeOutlineOnScreen(KDC dc, float *x, float *y, int32_t n, int32_t widthIndex, const char *caller);

}  // namespace kestrel

#endif
