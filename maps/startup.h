// What the library's start-up installs from the maps.
#ifndef KESTREL_MAPS_STARTUP_H
#define KESTREL_MAPS_STARTUP_H

namespace kestrel {

// Makes the axis routines draw in map style (band frames, geographic
// labels) when asked to: installed at start-up, so that a host calling
// XAxisLabels or YAxisLabels in map style gets it without a map drawn first.
void useMapAxisStyle();

}  // namespace kestrel

#endif
