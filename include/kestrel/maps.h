/*
 * Kestrel: drawing maps.
 *
 * A map is drawn in four steps after the host has chosen a projection code,
 * a longitude/latitude domain [deg] and a centre:
 *   1. AdjustMapLayout: normalises the domain, sets the projection state
 *      (projection.h) and returns the projected bounding box and the map's
 *      place in the plot area;
 *   2. the host sets its viewport and user coordinate system from those
 *      (UsrSys, and PSUsrSys for the PostScript file);
 *   3. ClipMapWindow: clips all further drawing to the map's outline;
 *   4. DrawWorld (coastlines, land) and DrawMapFrame (outline, graticule,
 *      labels).
 *
 * The eight "user system" floats that the drawing routines take are the
 * map's user coordinate system exactly as passed to SetupUsrSys / PSUsrSys:
 * user x range (uxMin, uxMax), the viewport's width and left edge (pxMin,
 * pxMax), user y range (uyMin, uyMax), the viewport's height and bottom
 * edge (pyMin, pyMax). In PostScript the map routines switch to a temporary
 * user system of 0..5000 over the same page area, write integer coordinates
 * in it, and switch back to these eight values.
 *
 * A null device context skips the screen side, a null file the PostScript
 * side. Nothing here is thread-safe: the map state is process-wide.
 */
#ifndef KESTREL_MAPS_H
#define KESTREL_MAPS_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* ---- Layout, domain and clipping ----------------------------------------- */

/* Makes the map consistent and places it in the plot area.
 * Sets `proj` to projCode and the projection centre from *centreLon and
 * *centreLat; trims the domain to what the projection can show (polar codes
 * keep their own hemisphere, and a degenerate polar range becomes the whole
 * cap; code 2 keeps within 89.99 deg of the centre, codes 4 and 6 within
 * 179.99; code 5 is fitted by SetupGenOrthoProj and may become 1 or 3, so
 * read `proj` again afterwards), normalises it with CheckMapDomain and
 * recentres the longitude (codes other than 5).
 * \param[out] xMin,xMax,yMin,yMax  projected bounding box (map coordinates):
 *             the extent of the map's user coordinate system.
 * \param[out] width,height,xOffset,yOffset  the largest placement of the map
 *             with equal x and y scale inside the area, centred in it, in
 *             the units of the area arguments (lower-left corner).
 * \param[in,out] lonMin,lonMax,latMin,latMax  domain [deg].
 * \param[in,out] centreLon,centreLat  centre [deg].
 * For code 0 the box is the domain in degrees and the aspect shortens x by
 * the cosine of the middle latitude.
 * \return 1 when the domain had to be changed (show it to the user), else 0;
 *         0 and nothing done when a pointer is null. */
KESTREL_API int32_t KESTREL_CALL AdjustMapLayout(float *xMin, float *xMax, float *width, float *xOffset, float *yMin,
                                                 float *yMax, float *height, float *yOffset, float *lonMin,
                                                 float *lonMax, float *centreLon, float *latMin, float *latMax,
                                                 float *centreLat, int32_t projCode, float areaWidth, float areaX,
                                                 float areaHeight, float areaY);

/* \return 1 when (lon, lat) [deg] lies in the accepted map domain (bounds
 * included, longitudes compared as given, without wrapping) and on the
 * visible hemisphere (IsInsideGlobalMapDomain), else 0. */
KESTREL_API int32_t KESTREL_CALL IsInsideMapDomain(float lon, float lat);

/* \return 1 unless `proj` is 5 and (lon, lat) [deg] lies behind the horizon:
 * |lon - centre| greater than the visible half-width of the table row of lat
 * (not interpolated). NaN gives 0 for code 5. */
KESTREL_API int32_t KESTREL_CALL IsInsideGlobalMapDomain(float lon, float lat);

/* The map's outline in map coordinates (code 0: degrees), closed (the last
 * point repeats the first): the domain's border, or for polar codes with a
 * full 360 deg the bounding parallel as a circle, or for a wide code 5
 * domain the horizon clamped to the domain.
 * \param[out] x,y  arrays of at least maxPoints entries (361 is usual).
 * \return the number of points: 5 for code 0, maxPoints for circles,
 *         1 + 4 (maxPoints/4 - 1) for borders (357 for 361); 0 when
 *         maxPoints < 5 or an array is null. */
KESTREL_API int32_t KESTREL_CALL ConstructMapClipPath(float *x, float *y, int32_t maxPoints, int32_t projCode,
                                                      float lonMin, float lonMax, float latMin, float latMax);

/* Clips all further drawing to the map's outline: on the screen a polygon
 * clip region (replaced by the next ClipVWP), in PostScript a "MapClipPath"
 * object whose clip lasts until the host's enclosing grestore. With
 * drawOutline non-zero and a projection (`proj` >= 1) the outline is also
 * stroked, medium width, in colour 0.
 * \return the result of the last clip (1/0) or write (bytes, -1 on error),
 *         0 when neither target is given. */
KESTREL_API int32_t KESTREL_CALL ClipMapWindow(KDC dc, KFILE psFile, float lonMin, float lonMax, float latMin,
                                               float latMax, float uxMin, float uxMax, float pxMin, float pxMax,
                                               float uyMin, float uyMax, float pyMin, float pyMax,
                                               int32_t drawOutline);

/* Strokes the map's outline (361 points) in the current colour with line
 * width index widthIndex (0..5, szPSlWidth in PostScript), without clipping
 * and without an object block. */
KESTREL_API void KESTREL_CALL StrokeMapClippingPath(KDC dc, KFILE psFile, int32_t widthIndex, float lonMin,
                                                    float lonMax, float latMin, float latMax, float uxMin,
                                                    float uxMax, float pxMin, float pxMax, float uyMin, float uyMax,
                                                    float pyMin, float pyMax);

/* ---- Frame, graticule and labels ----------------------------------------- */

/* Draws the map furniture: for code 0 an axis frame with a chequered band
 * and labels (the PostScript "MapFrame" object is then deliberately left
 * open: no grestore, no end line); for every projection the outline, the
 * latitude and longitude labels along the parallels and meridians and, with
 * drawGrid non-zero, the graticule. fontSize in points; colour a colour
 * table index. The eight user-system floats as for ClipMapWindow. */
KESTREL_API void KESTREL_CALL DrawMapFrame(KDC dc, KFILE psFile, float lonMin, float lonMax, float latMin,
                                           float latMax, float uxMin, float uxMax, float pxMin, float pxMax,
                                           float uyMin, float uyMax, float pyMin, float pyMax, float fontSize,
                                           int32_t colour, int32_t drawGrid);

/* The label grid over min..max [deg]: label k stands at origin + k step for
 * k = first..last; tick is the minor spacing. Latitude grids (isLatitude
 * non-zero) step at most 30 deg and leave out the poles; longitude ranges of
 * 270 deg or more step 90 (ticks 30), of 120..270 step 30 (ticks 10).
 * Null pointers are ignored. */
KESTREL_API void KESTREL_CALL AdjustMapLabelPos(float min, float max, float *origin, float *tick, float *step,
                                                int32_t *first, int32_t *last, int32_t isLatitude);

/* Label texts. text must hold 32 characters. The value is printed with
 * "%10.4f", stripped of blanks and trailing zeros, and followed by the
 * degree sign and the hemisphere: on the screen (forPostScript 0) the degree
 * sign is the byte 0xB0, in PostScript the four characters \312. Latitude 0
 * gives "EQ"; longitude 0 the degree sign only; longitudes beyond +-180 are
 * wrapped first (180 stays east, -180 west). Null text is ignored. */
KESTREL_API void KESTREL_CALL MkeLatLabel(float lat, char *text, int32_t forPostScript);
KESTREL_API void KESTREL_CALL MkeLonLabel(float lon, char *text, int32_t forPostScript);

/* One latitude (longitude) label at the geographic point (lon, lat) [deg],
 * written along the parallel through it and never upside down; lonRange is
 * the map's longitude range [deg] (sets the length of the direction probe),
 * fontSize in points, lorg the label origin (SetLorgVal). */
KESTREL_API void KESTREL_CALL DrawLatLabel(KDC dc, KFILE psFile, float lon, float lat, float lonRange,
                                           float fontSize, int32_t lorg);
KESTREL_API void KESTREL_CALL DrawLonLabel(KDC dc, KFILE psFile, float lon, float lat, float lonRange,
                                           float fontSize, int32_t lorg);

/* One graticule line of nPoints (>= 2) projected points in the current
 * colour, line width index widthIndex: a meridian at lon from latMin to
 * latMax, or a parallel at lat from lonMin to lonMax (for code 5 only its
 * visible arc). More than 65536 points are drawn as 65536. */
KESTREL_API void KESTREL_CALL DrawMeridian(KDC dc, KFILE psFile, float latMin, float latMax, float lon,
                                           int32_t nPoints, int32_t widthIndex);
KESTREL_API void KESTREL_CALL DrawParallel(KDC dc, KFILE psFile, float lonMin, float lonMax, float lat,
                                           int32_t nPoints, int32_t widthIndex);

/* The longitude [deg] at which latitude labels are written: lonMin, except
 * for code 5 with more than 300 deg of longitude, where it is a quarter
 * label step east of the meridian nearest the centre. *lorg (may be null)
 * receives the label origin: 0 for a full 360 deg with codes 1, 3, 5, else 7. */
KESTREL_API float KESTREL_CALL LatMapLabelXPos(float lonMin, float lonMax, int32_t *lorg, int32_t projCode,
                                               double centreLon);

/* The latitude [deg] at which longitude labels are written, chosen per code
 * from the domain and the labelled latitude nearest the equator (nearestLat,
 * and its absolute value); *lorg (may be null) receives the label origin,
 * 1 on latMin and 2 on latMax. */
KESTREL_API float KESTREL_CALL LonMapLabelYPos(float lonMin, float lonMax, float latMin, float latMax,
                                               float nearestLat, float nearestAbsLat, int32_t *lorg,
                                               int32_t projCode, double centreLon);

/* The axis labels of the unprojected map (code 0), on the screen: geographic
 * labels under the x axis at user y yPos (left of the y axis at user x yPos)
 * with the chequered frame band. */
KESTREL_API void KESTREL_CALL XMapLabels(KDC dc, float yPos, float origin, float tick, float step);
KESTREL_API void KESTREL_CALL YMapLabels(KDC dc, float xPos, float origin, float tick, float step);

/* The chequered frame band of the unprojected map along the top and bottom
 * (x) or the left and right (y) edges of the viewport: pieces one tick long,
 * alternately in the current colour and white, and four white corner
 * squares. Screen only: psFile is not written (the preamble's xmapframe and
 * ymapframe draw the band in PostScript). */
KESTREL_API void KESTREL_CALL DrawXMapFrame(KDC dc, KFILE psFile, float origin, float tick);
KESTREL_API void KESTREL_CALL DrawYMapFrame(KDC dc, KFILE psFile, float origin, float tick);

/* ---- Coastlines ------------------------------------------------------------ */

/* Draws a coastline file onto the map: records of int32 n, int32 m and n
 * float32 (lon, lat) pairs [deg], little-endian, n <= 1500. Closed records
 * (first point equal to the last) are filled with the current colour when
 * fill is non-zero; the first m points of every record are stroked with the
 * current pen when outline is non-zero. When lonMin < 0 every record is
 * drawn a second time shifted by -360, so that files stored in 0..360 also
 * show west of the prime meridian. In PostScript one "CDT=<path>" object.
 * \return 0 when the file cannot be opened (nothing drawn), else the result
 *         of the last close or write (positive). */
KESTREL_API int32_t KESTREL_CALL DrawWorld(KDC dc, KFILE psFile, const char *path, float lonMin, float lonMax,
                                           float latMin, float latMax, float uxMin, float uxMax, float pxMin,
                                           float pxMax, float uyMin, float uyMax, float pyMin, float pyMax,
                                           int32_t fill, int32_t outline);

/* Draws one record of n (lon, lat) pairs (points: 2n floats) once, with its
 * longitudes reduced by shift. Records with no visible point are skipped,
 * unless they are fillable land that encloses the map's reference point
 * (max(lonMin, 0) or min(lonMin, 0), latMin). n above 1500 is cut to 1500. */
KESTREL_API void KESTREL_CALL DrawWorldPass(KDC dc, KFILE psFile, float lonMin, float lonMax, float uxMin,
                                            float uxMax, float latMin, float latMax, float uyMin, float uyMax,
                                            int32_t fill, int32_t outline, float shift, const float *points,
                                            int32_t n, int32_t m);

KESTREL_EXTERN_C_END

#endif /* KESTREL_MAPS_H */
