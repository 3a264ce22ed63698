/*
 * Kestrel: three-dimensional objective analysis.
 *
 * Estimates a field on a longitude x latitude x depth grid from scattered
 * points by the averaging estimator of the two-dimensional analysis
 * (oa.h): grid lines and scale lengths placed by the data density on each
 * axis, stretched coordinates, a sort into 12 x 12 x 12 cells for the
 * neighbour search and Gaussian weights from a double-precision table. The
 * estimated field can be written as a tab-separated spreadsheet file.
 *
 * Coordinates: x longitude (deg E), y latitude (deg N), z up (depths are
 * negative; the export writes -z as depth). Node (ix, iy, iz) of a grid is
 * at index (iz * ny + iy) * nx + ix.
 *
 * Calling order: D3AllocSet; fill the points (x, y, z, val, err, errInv,
 * use), nPoints, the axis ranges and the titles; D3GenerateGrid (which also
 * transforms and sorts); D3EstimateField; D3WriteFieldZep; D3FreeSet.
 * Everything runs on the host's user-interface thread.
 */
#ifndef KESTREL_D3_H
#define KESTREL_D3_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

#define D3_NCELL 12

/* The record the host fills directly; the library allocates and frees only
 * the arrays (D3AllocSet, D3FreeSet). */
typedef struct D3Set {
    int32_t nPoints, nInCells, capacity;
    float *x, *xt, *y, *yt, *z, *zt; /* coordinates as given and transformed */
    float *val, *err, *errInv;
    uint8_t *use;                     /* 1: the point takes part */
    float *gridEst;                   /* estimates */
    float *gridSpread;                /* spread of the values used */
    float *gridDist;                  /* mean squared distance of the points used, in reference scale lengths */
    int32_t nx;
    float *xg, *xgt, *xlen;
    float xlenMax, xlenMaxInv, xmin, xmax, xlenLargest;
    int32_t ny;
    float *yg, *ygt, *ylen;
    float ylenMax, ylenMaxInv, ymin, ymax, ylenLargest;
    int32_t nz;
    float *zg, *zgt, *zlen;
    float zlenMax, zlenMaxInv, zmin, zmax, zlenLargest;
    /* Sort cells per axis: count (12), first grid coordinate, cell width in
     * grid coordinates, first transformed coordinate, cell width in
     * transformed coordinates and its reciprocal. */
    int32_t nCellX;
    float cellX0g, cellDxg, cellX0, cellDx, cellDxInv;
    int32_t nCellY;
    float cellY0g, cellDyg, cellY0, cellDy, cellDyInv;
    int32_t nCellZ;
    float cellZ0g, cellDzg, cellZ0, cellDz, cellDzInv;
    int32_t cellFirst[D3_NCELL][D3_NCELL][D3_NCELL]; /* [x cell][y cell][z cell] */
    int32_t cellLast[D3_NCELL][D3_NCELL][D3_NCELL];  /* empty cell: cellFirst - 1 */
    char title[121];  /* the value, e.g. "Oxygen [umol/kg]" */
    char xtitle[121];
    char ytitle[121];
    char ztitle[121];
} D3Set;

/* Allocates the arrays for nx x ny x nz nodes (each raised to at least 1;
 * at most 2^31 - 1 nodes of at most 16 GiB a grid)
 * and capacity points; nPoints and nInCells become 0. Returns 1; on failure
 * shows "Could not Allocate Workspace!" ("D3SET Allocation..."), frees
 * everything and returns 0. */
KESTREL_API int32_t KESTREL_CALL D3AllocSet(D3Set *set, int32_t nx, int32_t ny, int32_t nz, int32_t capacity);

/* Frees every array that is not null and nulls its pointer. */
KESTREL_API void KESTREL_CALL D3FreeSet(D3Set *set);

/* Grid lines and scale lengths on each axis from the points (scale length
 * percentages px, py, pz of the axis range at the densest node), then
 * D3ScaleTransformation, the sort cells and D3SortDataPoints. Returns 1. */
KESTREL_API int32_t KESTREL_CALL D3GenerateGrid(D3Set *set, float px, float py, float pz);

/* Stretches the three axes and transforms every point. */
KESTREL_API void KESTREL_CALL D3ScaleTransformation(D3Set *set);

/* Sorts the points into the cells (z outermost, then y, then x); points
 * outside the cells are dropped and both counts set to those kept. */
KESTREL_API void KESTREL_CALL D3SortDataPoints(D3Set *set);

/* Weighted average at transformed (x, y, z) with scale factors fx, fy, fz:
 * spread, mean squared distance and count as OAEstimateValueT; 0.0 with
 * count 0 when no point is in reach. */
KESTREL_API double KESTREL_CALL D3EstimateValueT(float x, float y, float z, float fx, float fy, float fz,
                                                 float *spread, float *meanSqDist, int32_t *nUsed, D3Set *set);

/* The same at untransformed (x, y, z). */
KESTREL_API double KESTREL_CALL D3EstimateValue(float x, float y, float z, float fx, float fy, float fz,
                                                float *spread, float *meanSqDist, int32_t *nUsed, D3Set *set);

/* The estimate, spread and distance at every node. */
KESTREL_API void KESTREL_CALL D3EstimateField(D3Set *set);

/* Writes the field as a spreadsheet file: a header line, then one station
 * of type B per grid column (longitudes below 0 written plus 360, depth
 * -z, the estimate and the relative distance measure). Silent when the file
 * cannot be created. */
KESTREL_API void KESTREL_CALL D3WriteFieldZep(const char *path, const char *cruise, const char *date, D3Set *set);

KESTREL_EXTERN_C_END

#endif /* KESTREL_D3_H */
