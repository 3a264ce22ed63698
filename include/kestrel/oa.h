/*
 * Kestrel: two-dimensional objective analysis.
 *
 * An analysis set (OASet) holds scattered data points, the analysis grid
 * (grid lines, scale lengths, value grids) and the plot layout. The caller
 * owns the record; the library allocates and frees only the arrays it points
 * to (OAFreeSet). All reals are 32-bit floats.
 *
 * Typical use: OAAllocSet (or OALoadSet), fill the points and the axes
 * (OASetupAxisGrid), OAPackData, OAScaleTransformation, set up the cells
 * (as OALoadSet does), OASortDataPoints, then OAEstimateValueT per node (or
 * OAObjectASetup and OAObjectAEstimateT), OARemoveOutliers and estimate again.
 *
 * Grid layout: node (ix, iy) of a value grid is at index iy*nx + ix (x
 * fastest), at (xg[ix], yg[iy]); the axes are monotonic, ascending or
 * descending. A value equal to xmiss (-1.0e10) is missing.
 *
 * Result conventions differ by design: OAAllocSet and OALoadSet return 1 for
 * success and 0 for failure, the single-file loaders and all writers 0 for
 * success and 1 for failure, OALoadData the number of lines of its file.
 *
 * Everything runs on the host's user-interface thread. OAObjectASetup and
 * OAObjectAEstimateT share a library-wide scratch array (1500 points) and are
 * not re-entrant.
 */
#ifndef KESTREL_OA_H
#define KESTREL_OA_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

#define OA_NCELL 40
#define OA_MAX_OBJECTIVE_POINTS 1500

typedef struct OASet {
    int32_t nPoints;        /* points held */
    int32_t nInCells;       /* points inside the sort cells after the last sort */
    int32_t capacity;       /* length of the per-point arrays */
    float *x;               /* x as read */
    float *xt;              /* x in transformed coordinates */
    float *y;
    float *yt;
    float *val;             /* data value */
    float *err;             /* per-point error */
    float *errInv;          /* 1/err */
    uint8_t *use;           /* 1: takes part in the analysis */
    float *gridEst;         /* estimated field, nx*ny */
    float *gridErr;         /* reference error field (outlier removal divides by it) */
    float *gridErrOut;      /* error field written to the .oao file */
    int32_t nx;             /* grid columns */
    float *xg;              /* x of each column */
    float *xgt;             /* the same, transformed */
    float *xlen;            /* scale length at each column */
    float xlenMax, xlenMaxInv;
    int32_t ny;             /* grid rows */
    float *yg, *ygt, *ylen;
    float ylenMax, ylenMaxInv;
    float xmin, xmax, xslen, xof, ymin, ymax, yslen, yof, sxmin, sxmax, symin, symax;
    int32_t nCellX, nCellY; /* 40 after OALoadSet */
    int32_t cellFirst[OA_NCELL][OA_NCELL]; /* [x cell][y cell]: first sorted index */
    int32_t cellLast[OA_NCELL][OA_NCELL];  /* last index; empty: cellFirst - 1 */
    float cellX0, cellDx, cellDxInv, cellY0, cellDy, cellDyInv;
    char title[121];
    char xtitle[121];
    char ytitle[121];
} OASet;

/* ---- The set and its files ------------------------------------------------ */

/* Fills the record with zero bytes (forgets pointers without freeing them).
 * Returns 0. */
KESTREL_API int32_t KESTREL_CALL OAInitializeSet(OASet *set);

/* Zeroes the set and allocates its arrays: nx = min(trunc(R width / 2),
 * maxColumns) with R = min(VX.pixPerLength, 35), ny = trunc(nx height /
 * width), both at least 1; capacity points. Contents are not initialised.
 * Returns 1; on failure shows "Could not Allocate Workspace!" ("OA
 * Allocation..."), frees everything and returns 0. */
KESTREL_API int32_t KESTREL_CALL OAAllocSet(OASet *set, float width, float height, int32_t maxColumns,
                                            int32_t capacity);

/* Frees every array that is not null, then zeroes the record. Returns 0. */
KESTREL_API int32_t KESTREL_CALL OAFreeSet(OASet *set);

/* Reads base + ".oai" (lines "x y value error"). The number of points and
 * the capacity are the number of newline-terminated lines; the point arrays
 * are allocated afresh (earlier ones are not released) and records are read
 * until one does not parse as four numbers or the capacity is reached. A
 * value equal to xmiss gives use = 0. Returns the line count (0: nothing
 * read; also the count when the file cannot be opened). Points not parsed are
 * zero with use = 0. */
KESTREL_API int32_t KESTREL_CALL OALoadData(const char *baseName, OASet *set);

/* Reads base + ".oag" into nx, ny, xg (= xgt), xlen, yg (= ygt), ylen. A file
 * without its trailer line is rejected. Returns 0, or 1 on failure (missing
 * or malformed line, dimensions below 1 or larger than the file can hold). */
KESTREL_API int32_t KESTREL_CALL OALoadGrid(const char *baseName, OASet *set);

/* Reads base + ".oao": nx, ny (absolute values), xg, yg, then gridEst and
 * gridErr (the file's second block is the reference error field). xg, yg are
 * reallocated when the dimensions change, gridEst and gridErr always; the
 * transformed axes and scale lengths are left alone. Returns 0, or 1 when the
 * file cannot be opened, the header does not parse, or the dimensions are 0
 * or larger than the file can hold. */
KESTREL_API int32_t KESTREL_CALL OALoadField(const char *baseName, OASet *set);

/* Reads base + ".oal": titles and the x and y ranges, axis lengths and
 * offsets. Returns 0, or 1 when a line is missing. */
KESTREL_API int32_t KESTREL_CALL OALoadLayout(const char *baseName, OASet *set);

/* Zeroes the set, loads layout, grid and data, scale-transforms, sets up the
 * 40 x 40 sort cells and sorts. Returns 1, or 0 on failure. */
KESTREL_API int32_t KESTREL_CALL OALoadSet(const char *baseName, OASet *set);

/* Writes base + ".oai" with the untransformed x, y, value, error ("%g") of
 * every point whose use flag is set, or of every point when all is nonzero.
 * Returns 0, or 1 when the file cannot be created. */
KESTREL_API int32_t KESTREL_CALL OAWriteData(const char *baseName, const OASet *set, int32_t all);

/* Writes base + ".oag". Returns 0, or 1 when the file cannot be created or
 * the set has no axes. */
KESTREL_API int32_t KESTREL_CALL OAWriteGrid(const char *baseName, const OASet *set);

/* Writes base + ".oao" with gridEst and gridErrOut. Returns 0, or 1 when the
 * file cannot be created or the set has no grids. */
KESTREL_API int32_t KESTREL_CALL OAWriteField(const char *baseName, const OASet *set);

/* Writes base + ".oal"; start and tick values come from AutoScale, and the
 * offsets are written as xof + 1 and yof + 1. Returns 0, or 1 when the file
 * cannot be created. */
KESTREL_API int32_t KESTREL_CALL OAWriteLayout(const char *baseName, const OASet *set);

/* ---- Scale transformation and sorting ------------------------------------- */

/* m grid lines between axisMin and axisMax placed by the data density (a
 * cubic fitted to a 10-bin histogram of the n coordinates, limited to a
 * dynamic range of 6), into grid, with scale lengths into len: q percent of
 * the axis range at the densest node, longer in proportion where data are
 * sparse. Returns the largest scale length (0 for m < 1). */
KESTREL_API double KESTREL_CALL OASetupAxisGrid(const float *coord, int32_t n, float axisMin, float axisMax,
                                                float percent, float *grid, float *len, int32_t m);

/* Transformed coordinate of c on an axis of m lines (grid, transformed grid,
 * scale lengths) with reference length ref: piecewise linear inside the grid,
 * extrapolated with the end scale length outside. */
KESTREL_API double KESTREL_CALL OATransformCoord(float c, int32_t m, const float *grid, const float *gridT,
                                                 const float *len, float ref);

/* Transforms both axes (xgt, ygt, xlenMax, ...) and every point (xt, yt). */
KESTREL_API void KESTREL_CALL OAScaleTransformation(OASet *set);

/* Removes points whose use flag is 0 or whose value is xmiss, keeping the
 * order. Returns the number removed. */
KESTREL_API int32_t KESTREL_CALL OAPackData(OASet *set);

/* Counting sort of the points into the 40 x 40 cells (stable, by y cell then
 * x cell); points outside the cells are dropped from the set. */
KESTREL_API void KESTREL_CALL OASortDataPoints(OASet *set);

/* Marks the points whose use flag is set at their untransformed x, y: on dc
 * (may be null) as filled dots of dotSize/10 length units in colour, and in
 * psFile (may be null) as a "DataPointMarks" object with a procedure "d" of
 * the dot size and one "x y d" line per point (the frame and procedure are
 * written even with no point). Returns 0. */
KESTREL_API int32_t KESTREL_CALL OAMarkDataPos(KDC dc, KFILE psFile, OASet *set, float dotSize, int32_t colour);

/* ---- Estimation ----------------------------------------------------------- */

/* c0 exp(-((x1-x2)/Lx)^2 - ((y1-y2)/Ly)^2). */
KESTREL_API double KESTREL_CALL OACovariance(float x1, float x2, float y1, float y2, float c0, float Lx, float Ly);

/* Weighted average at transformed (x, y): Gaussian weights (from ExpValue)
 * divided by each point's error, within about 1.5 fx reference scale lengths,
 * widened twice if needed. Outputs: spread (standard deviation of the values
 * used, or the error of a single point), mean squared distance in reference
 * scale lengths, number of points used. With no point in reach returns 0.0
 * with count 0 and spread 1.0e10: test the count, not the value. */
KESTREL_API double KESTREL_CALL OAEstimateValueT(float x, float y, float fx, float fy, float *spread,
                                                 float *meanSqDist, int32_t *nUsed, OASet *set);

/* The same at untransformed (x, y). */
KESTREL_API double KESTREL_CALL OAEstimateValue(float x, float y, float fx, float fy, float *spread,
                                                float *meanSqDist, int32_t *nUsed, OASet *set);

/* Objective-analysis coefficients for the nPoints points of the set (at most
 * 1500): matrix (nPoints^2 floats) receives the inverse covariance matrix,
 * alpha (nPoints floats) the weights, *sigma the background error. reserved
 * is ignored. Returns 1, or 0 for more than 1500 or fewer than 2 points, a
 * zero or non-finite background error, a matrix that is not positive
 * definite, or an allocation failure. */
KESTREL_API int32_t KESTREL_CALL OAObjectASetup(OASet *set, int32_t reserved, float *matrix, float *alpha,
                                                float *sigma);

/* Objective-analysis estimate at transformed (x, y) with scale factors fx,
 * fy: the averaging estimate as background plus the covariance correction.
 * With wantError nonzero *error receives the analysis error, else the spread
 * of the averaging estimator; *meanSqDist as OAEstimateValueT. The set must
 * be the one given to OAObjectASetup, unchanged. */
KESTREL_API float KESTREL_CALL OAObjectAEstimateT(float x, float y, float fx, float fy, float *error,
                                                  float *meanSqDist, OASet *set, const float *matrix,
                                                  const float *alpha, float sigma, int32_t wantError);

/* Clears the use flag of every point inside [x0, x1] x [y0, y1] whose value
 * differs from the bilinear interpolation of gridEst by at least threshold
 * times the interpolated gridErr. Points outside the grid are kept. Returns
 * the number removed. */
KESTREL_API int32_t KESTREL_CALL OARemoveOutliers(OASet *set, float threshold, float x0, float x1, float y0,
                                                  float y1);

KESTREL_EXTERN_C_END

#endif /* KESTREL_OA_H */
