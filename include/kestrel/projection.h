/*
 * Kestrel: map projections.
 *
 * One map at a time: the projection code is the exported global `proj`
 * (names in `szProjLabel`), its centre and visible-hemisphere table are
 * internal state set by the map layout. Codes:
 *   0  no projection: map coordinates are longitude and latitude
 *   1  orthographic, north polar      2  orthographic, equatorial
 *   3  orthographic, south polar      4  Mollweide
 *   5  orthographic, general centre   6  oblique Mollweide
 * Any other code behaves as 0.
 *
 * Geographic positions are longitude and latitude in degrees. Map
 * coordinates are on the unit sphere, without a length unit: orthographic
 * maps lie in the unit disc, Mollweide maps in the ellipse with semi-axes
 * of about 2.845 (x) and 1.417 (y). Arithmetic is in double precision;
 * results are rounded to float on store.
 *
 * No function reports errors: out-of-range input is clamped so that every
 * result is a position on (or at the edge of) the map. NaN in gives NaN out.
 * Nothing here is thread-safe: the state is one process-wide instance.
 */
#ifndef KESTREL_PROJECTION_H
#define KESTREL_PROJECTION_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* Forward projection under the current `proj`, in place.
 * \param[in,out] x  in: longitude [deg]; out: map x.
 * \param[in,out] y  in: latitude [deg]; out: map y.
 * Polar codes raise latitudes on the far hemisphere to the rim (0.01 or
 * -0.01 deg); code 2 clamps the longitude offset to +-89.99 deg, codes 4 and
 * 6 to +-179.99 deg; code 5 moves points behind the horizon onto the unit
 * circle. Longitudes are taken as given, not wrapped: for code 5 a longitude
 * more than the visible half-width from the centre counts as hidden even
 * when a whole turn would bring it into view, so bring longitudes into the
 * map domain first (AdjustLongitude). Null pointers are ignored. */
KESTREL_API void KESTREL_CALL Project(float *x, float *y);

/* Inverse projection under the current `proj`, in place.
 * \param[in,out] x  in: map x; out: longitude [deg].
 * \param[in,out] y  in: map y; out: latitude [deg].
 * Points off the map are first pulled just inside its rim. Codes 4 and 6
 * both use the plain Mollweide inverse (code 6 does not undo its oblique
 * rotation), and the code 4 forward is a polynomial: the pair is not an
 * exact round trip (about 1 deg at the far edge). Null pointers are ignored. */
KESTREL_API void KESTREL_CALL UnProject(float *x, float *y);

/* Fits domain and centre of the general orthographic projection (code 5)
 * and builds the visible-longitude table. Reads the centre set beforehand
 * by the layout; may move it (written to *centreLon / *centreLat) and may
 * switch `proj` to 1 or 3 when the map is better drawn as a polar one.
 * \param[in,out] lonMin,lonMax,latMin,latMax  domain [deg], trimmed to the
 *                visible hemisphere and normalised.
 * \param[out] centreLon,centreLat  receive a moved centre [deg] (untouched
 *                otherwise).
 * \return 1 when any of the four bounds changed, else 0; 0 and nothing done
 *         unless `proj` is 5 or when a pointer is null. */
KESTREL_API int32_t KESTREL_CALL SetupGenOrthoProj(float *lonMin, float *lonMax, float *centreLon, float *latMin,
                                                   float *latMax, float *centreLat);

/* Whether a general orthographic map (*projCode 5) should be drawn polar:
 * with w = latMax - latMin, |(centreLat - 90)/w| < 0.05 gives code 1,
 * |(centreLat + 90)/w| < 0.05 code 3.
 * \return 1 when *projCode was rewritten, else 0 (also for a null pointer). */
KESTREL_API int32_t KESTREL_CALL SwitchOrthoProj(int32_t *projCode, float centreLat, float latMin, float latMax);

/* Half-width [deg] of longitude, from the centre, of the visible part of the
 * parallel at lat [deg], from the table built by SetupGenOrthoProj: 0 none
 * visible, 180 all visible. Interpolated linearly between whole degrees; for
 * negative, non-integer latitudes the fraction is negative, so the value is
 * extrapolated from the row below. Latitudes beyond +-90 read the end rows. */
KESTREL_API double KESTREL_CALL lonVisibleRange(float lat);

/* \return 1 when map point (x, y) lies on the current projection's disc
 * (codes 1, 2, 3, 5) or ellipse (code 4), within 0.999999 of its rim;
 * always 1 for codes 0, 6 and unknown codes; 0 for NaN on a disc or ellipse. */
KESTREL_API int32_t KESTREL_CALL IsProjMapCoord(float x, float y);

/* Bounding box in map coordinates of a longitude/latitude domain [deg]
 * under the current projection: the projected border of the domain (49
 * steps a side), or for a wide general orthographic domain (more than 330
 * deg of longitude or 150 of latitude) the horizon clamped to the domain.
 * For code 0 the box is the domain itself. Null pointers are ignored. */
KESTREL_API void KESTREL_CALL GetMapProjBB(float lonMin, float lonMax, float latMin, float latMax, float *xMin,
                                           float *xMax, float *yMin, float *yMax);

/* Shifts n longitudes [deg] in place by whole turns:
 *   mode 2 with lonWest < 0: values above lonEast lose 360;
 *   mode 1 or 3, or lonWest >= 0: negative values gain 360, and then in
 *   mode 3 every value loses 360 (the array ends in -360..0);
 *   mode 0 with lonWest < 0: unchanged.
 * A null array or n <= 0 does nothing. */
KESTREL_API void KESTREL_CALL AdjustLongitude(float *lon, int32_t n, float lonWest, float lonEast, int32_t mode);

/* Default centre latitude [deg] for a projection code: 0 gives the middle of
 * latMin..latMax, 1 gives 90, 2 and 4 give 0, 3 gives -90; codes 5, 6 and
 * above return current unchanged (as do negative codes). */
KESTREL_API double KESTREL_CALL DfltPoleLat(int32_t code, float latMin, float latMax, float current);

/* Normalises a map domain [deg] in place: swaps the longitudes when
 * lonMin > lonMax (latitudes are never swapped), limits the longitude range
 * to 360, moves an all-negative range up by 360 and a range beyond 360 down
 * by 360, and clamps the latitudes into -90..90.
 * \return 1 when anything changed, else 0 (also for a null pointer). */
KESTREL_API int32_t KESTREL_CALL CheckMapDomain(float *lonMin, float *lonMax, float *latMin, float *latMax);

KESTREL_EXTERN_C_END

#endif /* KESTREL_PROJECTION_H */
