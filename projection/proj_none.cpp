// Code 0, no projection: map coordinates are longitude and latitude [deg].
//
//   x = lon, y = lat; inverse the same.
//
// Every unknown code falls back to this one, so a bad code leaves positions
// unchanged rather than failing.
#include "projection/projections.h"

namespace kestrel {
namespace {

void forward(const ProjState &, double &, double &) {}

void inverse(const ProjState &, double &, double &) {}

bool onMap(double, double) { return true; }

}  // namespace

const ProjectionDef kProjNone = {0, "none", forward, inverse, onMap};

}  // namespace kestrel
