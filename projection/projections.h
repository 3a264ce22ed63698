// The projection engine: the single map state and the table of projections.
//
// Every projection lives in its own file (projection/proj_*.cpp) with the same
// shape: an opening comment with its formulas and their published source,
// then `forward`, `inverse` and `onMap` in an anonymous namespace, then one
// ProjectionDef constant. The table in projection/projections.cpp registers each
// one under its code; nothing else needs to know a projection exists.
//
// Notation used in every file: lon, lat geographic [deg]; d = lon minus the
// centre longitude [deg]; x, y map coordinates on the unit sphere.
#ifndef KESTREL_PROJECTION_PROJECTIONS_H
#define KESTREL_PROJECTION_PROJECTIONS_H

#include <cstdint>

namespace kestrel {

// The conversions are fixed values, not computed from pi, so that results do
// not depend on the library's idea of pi.
constexpr double kDegToRad = 0.017453292519943295;
constexpr double kRadToDeg = 57.29577951308232;

// The state of the one map being drawn. Written by the layout and by
// setupGenOrtho; the compute paths (forward, inverse, onMap) only read it.
struct ProjState {
    double centreLon = 0.0;      // [deg]
    double centreLat = 0.0;      // [deg], general orthographic only
    double sinCentreLat = 0.0;   // cached by setupGenOrtho; code 5 projects
    double cosCentreLat = 0.0;   // with these, not with centreLat
    float mapDomain[4] = {};     // lonMin, lonMax, latMin, latMax [deg]
    // Row i (lat i - 90): half-width [deg] of the visible part of that
    // parallel, 0 none, 180 all. Meaningful only while proj is 5.
    double lonVisTable[181] = {};
};

// The library-wide instance; starts all zeros.
extern ProjState gProj;

struct ProjectionDef {
    int32_t code;
    const char *id;  // short name for diagnostics and benchmarks
    // lon/lat [deg] in, map x/y out (in place).
    void (*forward)(const ProjState &s, double &x, double &y);
    // map x/y in, lon/lat [deg] out (in place).
    void (*inverse)(const ProjState &s, double &x, double &y);
    // Whether a map point lies on the projection's disc or ellipse.
    bool (*onMap)(double x, double y);
};

// Definitions, one per file.
extern const ProjectionDef kProjNone;            // code 0, proj_none.cpp
extern const ProjectionDef kProjOrthoNorth;      // code 1, proj_ortho_north.cpp
extern const ProjectionDef kProjOrthoEquatorial; // code 2, proj_ortho_equatorial.cpp
extern const ProjectionDef kProjOrthoSouth;      // code 3, proj_ortho_south.cpp
extern const ProjectionDef kProjMollweide;       // code 4, proj_mollweide.cpp
extern const ProjectionDef kProjOrthoGeneral;    // code 5, proj_ortho_general.cpp
extern const ProjectionDef kProjMollweideOblique;// code 6, proj_mollweide_oblique.cpp

constexpr int32_t kProjectionCount = 7;

// The projection registered under code; unknown codes get code 0.
const ProjectionDef &projectionFor(int32_t code);

// Visible half-width at lat [deg] from s.lonVisTable (see lonVisibleRange).
double visibleLonRange(const ProjState &s, double lat);

// SetupGenOrthoProj and SwitchOrthoProj on an explicit state and code.
int32_t setupGenOrtho(ProjState &s, int32_t &code, float &lonMin, float &lonMax, float &centreLon, float &latMin,
                      float &latMax, float &centreLat);
bool switchOrthoProj(int32_t &code, double centreLat, double latMin, double latMax);

// Domain normalisation behind CheckMapDomain; true when anything changed.
bool checkMapDomain(float &lonMin, float &lonMax, float &latMin, float &latMax);

// asin and acos with the argument held to [-1, 1]: rounding must never turn a
// point on the rim into a domain error. NaN passes through.
double clampedAsin(double v);
double clampedAcos(double v);

}  // namespace kestrel

#endif
