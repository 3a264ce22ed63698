/*
 * Kestrel: topography and bathymetry at a position.
 *
 * Point lookups in gridded topography read straight from the file, one seek
 * and one two-byte read per query, so the grid may be far larger than
 * memory. Values are signed 16-bit, little-endian, rows from south to north,
 * each row from longitude 0 eastward; the value of the cell containing the
 * point is returned unchanged (metres, positive up, in the usual grids).
 *
 * Two forms: a headerless global 5-minute grid (4320 values a row, row 0 at
 * 89 deg 55' S) for GetEtopoHeight, and a grid with a 32-byte header
 * describing its geometry for GetEtopoHeightEx. The caller owns the handle
 * (OpenEtopoFileEx, or KFileOpenRead for the headerless grid) and closes it
 * with KFileClose; both lookups move the file position.
 *
 * Longitudes at or below 0 get 360 added, so longitude 0 reads column 4320:
 * the first value of the next row. Hosts rely on this; it is kept.
 */
#ifndef KESTREL_TOPOGRAPHY_H
#define KESTREL_TOPOGRAPHY_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* The 32-byte header of a headered grid, in file order. */
typedef struct EtopoHeader {
    char magic[8];          /* "ETOPO01" and a zero byte */
    uint32_t reserved1;
    float columnsPerDegree;
    int32_t rowLength;      /* values per row */
    float south90;          /* latitude of row 0 plus 90 */
    float rowsPerDegree;
    uint32_t reserved2;
} EtopoHeader;

/* Opens a headered grid exclusively, reads its header into *header and
 * returns the handle; null (nothing left open) for a missing file, one
 * shorter than 32 bytes, or one whose first 8 bytes are not "ETOPO01\0". */
KESTREL_API KFILE KESTREL_CALL OpenEtopoFileEx(const char *fileName, EtopoHeader *header);

/* The value of the headerless 5-minute grid at (lon, lat) in degrees:
 * latitudes clamp to -89.916664 .. 90, row trunc(12 (lat + 89.916664)),
 * column trunc(12 lon). A failed read gives a meaningless value (0 here). */
KESTREL_API int16_t KESTREL_CALL GetEtopoHeight(KFILE file, float lon, float lat);

/* The value of a headered grid: row trunc((lat - south) rowsPerDegree),
 * column trunc(columnsPerDegree lon), at byte 32 + 2 (rowLength row + column). */
KESTREL_API int16_t KESTREL_CALL GetEtopoHeightEx(KFILE file, EtopoHeader header, float lon, float lat);

KESTREL_EXTERN_C_END

#endif /* KESTREL_TOPOGRAPHY_H */
