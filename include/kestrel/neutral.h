/*
 * Kestrel: the neutral density variable gamma^n.
 *
 * Labels the bottles of a hydrographic cast with neutral density (kg/m3 -
 * 1000, like sigma) and its lower and upper error bars by the algorithm of
 * Jackett and McDougall (1997, A neutral density variable for the world's
 * oceans, J. Phys. Oceanogr. 27, 237-263): each bottle is followed along its
 * neutral surface to the four nearest casts of the labelled global reference
 * data set (4 degree grid), their labels are interpolated there, and the four
 * results are averaged with bilinear weights. The routines are the steps of
 * the published algorithm under their published names with the prefix ND;
 * arguments and results are double precision as in its double-precision
 * version. Units: salinity PSS-78, in-situ temperature deg C (IPTS-68),
 * pressure dbar, positions in degrees east and north.
 *
 * The reference data set is not part of Kestrel (its terms do not allow
 * redistribution): obtain the published data set, convert it to the two
 * files described below and pass their directory to NDopen.
 *
 * Calling convention: __cdecl with plain (undecorated) names on 32-bit
 * Windows, unlike the rest of the library.
 *
 * Results: NDopen, NDread and NDgamma_n return 0 on success and 1 on
 * failure; no routine shows a message. A data block must not be used by two
 * threads at once; separate blocks are independent.
 */
#ifndef KESTREL_NEUTRAL_H
#define KESTREL_NEUTRAL_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

#define ND_NLON 90      /* longitudes 0, 4, ..., 356 */
#define ND_NLAT 45      /* latitudes -88, -84, ..., 88 */
#define ND_NLEV 33      /* standard pressure levels */
#define ND_NCAST 4050   /* reference casts, longitude varying fastest */
#define ND_CAST_FLOATS 132  /* per cast: 33 salinities, temperatures, labels, coefficients */

/* The reference data set and the working set of one NDgamma_n call. The
 * caller owns the record (NDinitialize before first use, NDclose after
 * last); the cast data block is allocated by NDopen. Corner arrays are
 * ordered (west, south), (west, north), (east, south), (east, north). */
typedef struct NDData {
    int32_t loaded;                 /* 1 when both files have been read */
    int32_t nLevels[ND_NCAST];      /* valid levels of each cast, 0 = no cast */
    int32_t ocean[ND_NCAST];        /* ocean basin code of each cast */
    float longitude[ND_NLON];
    float latitude[ND_NLAT];
    float pressure[ND_NLEV];
    float *casts;                   /* ND_NCAST * ND_CAST_FLOATS floats */
    const float *cornerS[4];        /* the four casts around the position (NDread) */
    const float *cornerT[4];
    const float *cornerGamma[4];
    const float *cornerA[4];
    int32_t cornerLevels[4];
    int32_t cornerOcean[4];
    float boxLongitude[2];          /* west, east (0 for the column 356..360) */
    float boxLatitude[2];           /* south, north */
} NDData;

/* Clears the loaded flag and the cast-data pointer (frees nothing). */
KESTREL_API void KESTREL_CDECL NDinitialize(NDData *data);

/* Reads prefix + "llp.fdt" (coordinates, level counts and ocean codes,
 * 33072 bytes, little-endian) and prefix + "stga.fdt" (4050 casts of 132
 * float32, 2138400 bytes); the prefix is a directory ending in a path
 * separator. Returns 0 when loaded (at once when already loaded), 1 when a
 * file is missing, short or not of this layout (a level count outside
 * 0..33) or memory runs out; the block is then not loaded and holds no cast
 * data. */
KESTREL_API int32_t KESTREL_CDECL NDopen(NDData *data, const char *prefix);

/* Frees the cast data if loaded, then NDinitialize. */
KESTREL_API void KESTREL_CDECL NDclose(NDData *data);

/* Fills the working set with the four casts around (longitude 0..360,
 * latitude). Returns 1 when the block is not loaded, the position is off
 * the grid or all four casts are empty, else 0. */
KESTREL_API int32_t KESTREL_CDECL NDread(double longitude, double latitude, NDData *data);

/* Labels n bottles (s, t, p) of a cast at (longitude, latitude): gamma,
 * lowerError and upperError receive n values each. A bottle outside
 * 0 <= s <= 42, -2.5 <= t <= 40, 0 <= p <= 10000, or one no reference cast
 * can label, gets missingValue in all three. Longitude may be -360..360
 * (negative ones get 360 added, 360 is 0); latitude -80..64. Returns 0, or
 * 1 (outputs untouched) for a position outside that range or where no
 * reference cast surrounds it, for n < 0 or a null array with n > 0. */
KESTREL_API int32_t KESTREL_CDECL NDgamma_n(const double *s, const double *t, const double *p, int32_t n,
                                            double longitude, double latitude, double *gamma, double *lowerError,
                                            double *upperError, double missingValue, NDData *data);

/* The p-theta error and the lower and upper scv errors of a label found at
 * (sns, tns, pns) between levels kns and kns + 1 (0-based) of a reference
 * cast (s, t, p, gamma, a of n levels at longitude, latitude) for the
 * bottle (s0, t0, p0). */
KESTREL_API void KESTREL_CDECL NDgamma_errors(const double *s, const double *t, const double *p, const double *gamma,
                                              const double *a, int32_t n, double longitude, double latitude,
                                              double s0, double t0, double p0, double sns, double tns, double pns,
                                              int32_t kns, double gammaNs, double *pthError, double *scvLowError,
                                              double *scvHighError);

/* Label at pressure p between levels (pl, gl) and (pu, gu) with quadratic
 * coefficient a: gl + (gu - gl + a (p - pu)/(pu - pl)) (p - pl)/(pu - pl). */
KESTREL_API double KESTREL_CDECL NDgamma_qdr(double pl, double gl, double a, double pu, double gu, double p);

/* 1 when the bottle's position (with the ocean code of its nearest
 * reference cast) and a reference cast's position are connected through the
 * ocean at pressure p, else 0. */
KESTREL_API int32_t KESTREL_CDECL NDocean_test(double lon1, double lat1, int32_t ocean1, double lon2, double lat2,
                                               int32_t ocean2, double p);

/* Where the neutral surface through the bottle (s0, t0, p0) meets the cast
 * (s, t, p of n levels): *sns, *tns, *pns; -99 when it lies beyond the
 * cast's ends, -99.2 when it meets the cast more than once, -99.3 when the
 * root search fails. */
KESTREL_API void KESTREL_CDECL NDdepth_ns(const double *s, const double *t, const double *p, int32_t n, double s0,
                                          double t0, double p0, double *sns, double *tns, double *pns);

/* Where the surface of constant potential density through the bottle meets
 * the cast: up to 50 crossings in sscv, tscv, pscv (room for 50 each), their
 * number in *nscv; with none, -99 in the first entries and *nscv 0. */
KESTREL_API void KESTREL_CDECL NDdepth_scv(const double *s, const double *t, const double *p, int32_t n, double s0,
                                           double t0, double p0, double *sscv, double *tscv, double *pscv,
                                           int32_t *nscv);

/* Bisection for the neutral (NDe_solve) or constant potential density
 * (NDscv_solve) crossing between levels k - 1 and k (0-based k >= 1) of the
 * cast, whose crossing function values are e (n values). -99 in the outputs
 * after 20 steps without convergence; *iterations receives the steps. */
KESTREL_API void KESTREL_CDECL NDe_solve(const double *s, const double *t, const double *p, const double *e, int32_t n,
                                         int32_t k, double s0, double t0, double p0, double *sns, double *tns,
                                         double *pns, int32_t *iterations);
KESTREL_API void KESTREL_CDECL NDscv_solve(const double *s, const double *t, const double *p, const double *e,
                                           int32_t n, int32_t k, double s0, double t0, double p0, double *sscv,
                                           double *tscv, double *pscv, int32_t *iterations);

/* Bisection along the straight line from (sl, tl) to (su, tu) at pressure p
 * for the potential density sigb of the bottle (s0, t0, p0). */
KESTREL_API void KESTREL_CDECL NDgoor_solve(double sl, double tl, double el, double su, double tu, double eu, double p,
                                            double s0, double t0, double p0, double sigb, double *sns, double *tns);

/* Label of a bottle denser than the cast's deepest or lighter than its
 * shallowest level, by extending the cast, with its errors. The label is
 * -99 when the cast has fewer than two levels or the bottle lies within the
 * cast's range, and 0 when no extension reaches it. */
KESTREL_API void KESTREL_CDECL NDgoor(const double *s, const double *t, const double *p, const double *gamma, int32_t n,
                                      double sb, double tb, double pb, double *gammab, double *g1Error,
                                      double *g2LowError, double *g2HighError);

/* 0-based k with x[k] <= z < x[k + 1] in the ascending array x of n values;
 * 0 for z equal to x[0], n - 2 for z equal to x[n - 1], -1 outside. */
KESTREL_API int32_t KESTREL_CDECL NDindx(const double *x, int32_t n, double z);

/* Potential densities (sigma) of two bottles referred to their mean
 * pressure. */
KESTREL_API void KESTREL_CDECL NDsig_vals(double s1, double t1, double p1, double s2, double t2, double p2,
                                          double *sig1, double *sig2);

/* Salinity (linear) and temperature (linear in potential temperature at 0
 * dbar) of the cast at pressure p0. */
KESTREL_API void KESTREL_CDECL NDstp_interp(const double *s, const double *t, const double *p, int32_t n, double *s0,
                                            double *t0, double p0);

/* Specific volume anomaly (1e-8 m3/kg) with its derivatives in drv (24
 * values, the 3 x 8 matrix column by column: V, VT, VTT; V0, V0T, V0TT;
 * RHO, RHOT, RHOTT; K0, K0T, K0TT; A, AT, ATT; B, BT, BTT; DRDP, K, DVDP;
 * RHOS, -, VS). drv may be null. */
KESTREL_API double KESTREL_CDECL NDeos8d(double s, double t, double p, double *drv);

/* Potential temperature at 0 dbar, sigma-theta, the expansion and
 * contraction coefficients of potential temperature and salinity, the
 * compressibility and the speed of sound (outputs may be null). */
KESTREL_API void KESTREL_CDECL NDeosall(double s, double t, double p, double *theta, double *sigmaTheta,
                                        double *alpha, double *beta, double *gamma, double *soundSpeed);

/* Partial derivatives of potential temperature (Bryden 1973 polynomial). */
KESTREL_API void KESTREL_CDECL NDderthe(double s, double t, double p, double *dThetaDt, double *dThetaDs,
                                        double *dThetaDp);

/* Potential temperature at reference pressure pr (Runge-Kutta). */
KESTREL_API double KESTREL_CDECL NDtheta(double s, double t, double p, double pr);

/* Specific volume anomaly in 1e-8 m3/kg; *sigma (may be null) receives the
 * density anomaly. */
KESTREL_API double KESTREL_CDECL NDsvan(double s, double t, double p, double *sigma);

/* Adiabatic lapse rate in deg C per dbar (Bryden 1973). */
KESTREL_API double KESTREL_CDECL NDatg(double s, double t, double p);

KESTREL_EXTERN_C_END

#endif /* KESTREL_NEUTRAL_H */
