/*
 * Kestrel: seawater properties and simple geodesy.
 *
 * Independent formulas for the host's derived variables and section plots.
 * Arguments are 32-bit floats, results double precision. Unless said
 * otherwise the formulas are the UNESCO 1983 algorithms (Fofonoff and
 * Millard, Algorithms for computation of fundamental properties of seawater,
 * UNESCO Technical Papers in Marine Science 44) and reproduce its check values.
 *
 * Units: pressure in decibars (a formula that needs bars divides by 10
 * itself), temperature in deg C (IPTS-68, as in the 1983 formulas), salinity
 * on the practical salinity scale, latitude and longitude in decimal degrees
 * (north and east positive), depth in metres, distance in kilometres.
 *
 * Out-of-range input: the formulas are polynomials and are evaluated as they
 * stand outside the oceanographic range; a negative salinity uses the square
 * root of its absolute value, so it gives a number and not an error. No
 * function traps, loops or writes anything for any input; NaN input gives NaN.
 */
#ifndef KESTREL_SEAWATER_H
#define KESTREL_SEAWATER_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* Specific volume in cm3/g (1000 / density in kg/m3) from the international
 * equation of state of seawater 1980 with its secant bulk modulus.
 * pressure in dbar, temperature in deg C, salinity. At zero pressure the
 * result is 1000 / rho(S, t, 0) exactly. */
KESTREL_API double KESTREL_CALL EOS80(float pressure, float temperature, float salinity);

/* Density anomaly in kg/m3: 1000 / EOS80 - 1000 (with potential temperature
 * and pressure 0 this is sigma-theta). */
KESTREL_API double KESTREL_CALL sigma(float pressure, float temperature, float salinity);

/* Specific volume of the standard ocean (salinity 35, 0 deg C) at the given
 * pressure (dbar), in cm3/g. */
KESTREL_API double KESTREL_CALL v350p(float pressure);

/* Adiabatic temperature gradient (Bryden 1973) in deg C per 1000 dbar. */
KESTREL_API double KESTREL_CALL adtg(float pressure, float temperature, float salinity);

/* Potential temperature in deg C at referencePressure (dbar) of water at
 * pressure, temperature, salinity: fourth-order Runge-Kutta integration of
 * the adiabatic gradient (Fofonoff 1977). Equal reference and in-situ
 * pressures return the temperature unchanged. */
KESTREL_API double KESTREL_CALL theta(float pressure, float temperature, float salinity,
                                      float referencePressure);

/* Speed of sound in m/s (Chen and Millero 1977, UNESCO 1983 form). */
KESTREL_API double KESTREL_CALL SoundVel(float pressure, float temperature, float salinity);

/* Specific heat in J/(kg deg C) (Millero et al. 1973, UNESCO 1983 form). */
KESTREL_API double KESTREL_CALL cpsw(float pressure, float temperature, float salinity);

/* Freezing point in deg C (Millero 1978) at pressure (dbar) and salinity. */
KESTREL_API double KESTREL_CALL tfreeze(float pressure, float salinity);

/* Depth in m at pressure (dbar) and latitude (Saunders and Fofonoff 1976). */
KESTREL_API double KESTREL_CALL calDepth(float pressure, float latitude);

/* Pressure in dbar at depth (m) and latitude (Saunders 1981). NaN for depths
 * beyond about 110 km, where the formula has no solution. */
KESTREL_API double KESTREL_CALL calPress(float depth, float latitude);

/* Gravity at the sea surface in m/s2. */
KESTREL_API double KESTREL_CALL gravity(float latitude);

/* Coriolis parameter in 1/s. */
KESTREL_API double KESTREL_CALL coriolis(float latitude);

/* Plane distance in km between two positions (one degree = 111.19493 km,
 * longitude shortened by the cosine of the mean latitude). When direction is
 * not null it receives the direction of the step in degrees, counter-clockwise
 * from east, 0 to 360 (due north 90, due south 270; identical positions 0).
 * The direction's angle is taken from the raw degree differences, not from the
 * shortened ones: the host relies on this. */
KESTREL_API double KESTREL_CALL distance(float longitude1, float latitude1, float longitude2, float latitude2,
                                         float *direction);

/* Distance in km along the straight line in longitude-latitude space,
 * integrated in one-degree (or shorter) latitude steps. For equal longitudes
 * the result keeps the sign of the latitude difference (southward is
 * negative): the host relies on this. Positions more than 180 degrees of
 * latitude apart (not real positions) are integrated in 181 steps. */
KESTREL_API double KESTREL_CALL calDistance(float longitude1, float latitude1, float longitude2, float latitude2);

/* Direction in degrees, 0 to 360 counter-clockwise from the x axis, of the
 * step from (x1, y1) to (x2, y2) with both differences multiplied by their
 * scales; 0 when both scaled differences are at most 0.001. */
KESTREL_API double KESTREL_CALL angle(float x1, float y1, float x2, float y2, float xScale, float yScale);

/* Echo-sounding correction area (1 to 85) of a position, from Carter's tables
 * (corrections for a nominal sound speed of 1500 m/s). -999 when |latitude|
 * is above 90, |longitude| above 540, or either is NaN. A longitude beyond
 * +-180 has 360 subtracted. Integer degrees are truncated, and a negative
 * coordinate is lowered by one only when the first two decimals of its
 * fraction exceed 50 (so -0.5 lies in the band and column of 0, -0.51 in those
 * of -1); the decimals are taken in single precision, so -2.51 counts as 51.
 * Integer latitude 90 is area 1. */
KESTREL_API double KESTREL_CALL crtarea(float latitude, float longitude);

/* Corrected depth in m for an uncorrected echo-sounding depth (m, nominal
 * 1500 m/s) in correction area `area` (as returned by crtarea; a fraction is
 * truncated). -999 when the area is below 0, above 85 or NaN, or the depth is
 * NaN or above 1e9 m. Depths below 200 m are returned truncated to whole metres
 * and uncorrected. Otherwise the table is interpolated linearly in integer
 * metres (rounded half up); past the end of an area's table the last two
 * entries are extrapolated. Area 0 has no table: -999 for depths from 200 m. */
KESTREL_API double KESTREL_CALL crtdcorr(float depth, float area);

KESTREL_EXTERN_C_END

#endif /* KESTREL_SEAWATER_H */
