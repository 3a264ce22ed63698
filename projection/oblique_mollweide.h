// The oblique Mollweide (code 6) over the whole sphere.
//
// Code 6 rotates the graticule so that the centre (lon0, 0) becomes the new
// north pole and draws the Mollweide of the rotated positions with the map
// axes turned (proj_mollweide_oblique.cpp). It reads the rotated longitude
// from -90 to 270 and lays everything beyond 179.99 on the map's edge: the
// quarter of the sphere south of the equator and west of the centre
// collapses onto one line. That is how the host has always drawn it, so
// Project keeps it. A picture of the whole globe takes the same rotated
// longitude modulo 360, into -180..180: the seam then runs along the equator
// west of the centre (the ellipse's outline), and the south-western quarter
// fills the lower end of the ellipse. This is PROJ's
//   +proj=ob_tran +o_proj=moll +o_lat_p=0 +o_lon_p=-90 +lon_0=lon0
// with x = y_PROJ, y = -x_PROJ, and the polynomial Mollweide of code 4 in
// place of the exact one.
#ifndef KESTREL_PROJECTION_OBLIQUE_MOLLWEIDE_H
#define KESTREL_PROJECTION_OBLIQUE_MOLLWEIDE_H

namespace kestrel {

// The rotated graticule of code 6: lonR in -90..270 (90 at the geographic
// north pole, 270 at the south pole, 180 on the equator west of the centre),
// latR in -90..90 (90 at the centre). All in degrees.
void obliqueRotate(double centreLon, double lon, double lat, double &lonR, double &latR);

// The Mollweide of code 4 with the axes turned, for any rotated longitude:
// lonR beyond +-180 gives points beyond the ellipse's seam, on the same
// curves (a line that crosses the seam is drawn unbroken and cut by a clip).
void obliqueTurnedMollweide(double lonR, double latR, double &x, double &y);

// The whole-sphere forward: lon/lat [deg] in, map x/y out (in place). Equal
// to Project under code 6 wherever that does not flatten.
void obliqueWholeForward(double centreLon, double &x, double &y);

// The rotated longitude taken into -180..180 (whole-sphere form).
inline double obliqueWholeLon(double lonR) { return lonR > 180.0 ? lonR - 360.0 : lonR; }

}  // namespace kestrel

#endif
