/*
 * Kestrel: contour tracing, labelling, shading and erasing of gridded fields.
 *
 * A gridded field is ny rows of nx 32-bit floats, row-major: node (column i,
 * row j) is element j*nx + i, row 0 the lowest y, column 0 the lowest x.
 * xcoords (nx floats) and ycoords (ny floats) are the ascending user
 * coordinates of the columns and rows. Contouring treats every node as a
 * number (no missing values) and modifies the field in place: a node equal to
 * the level being traced becomes value * 0.99999f, which the caller sees.
 *
 * Tracing works on a list of crossed grid edges (GRIDSEGMENT records) in scan
 * order: rows ascending, columns ascending within a row, and for one node the
 * edge along the row (kind 1) before the edge along the column (kind 2). The
 * CT* steps are exported one by one; ContourLine runs them for one level.
 *
 * Vertices are collected in the shared buffers Vfp (user units), Vip (device
 * pixels) and nVp (globals.h): contouring must not run at the same time as any
 * other user of those buffers. Nothing here is thread-safe.
 */
#ifndef KESTREL_CONTOUR_H
#define KESTREL_CONTOUR_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* One crossed grid edge. */
typedef struct GRIDSEGMENT {
    int16_t column; /* i of the edge's first node */
    int16_t row;    /* j of the edge's first node */
    uint8_t kind;   /* 1: (i,j)-(i+1,j); 2: (i,j)-(i,j+1); 0: used by a traced path */
} GRIDSEGMENT;

/* One collected contour label (seven 32-bit fields). */
typedef struct KContourLabel {
    float level;    /* contour value, the label text */
    float x, y;     /* user coordinates of the label centre */
    float angle;    /* text direction, degrees counter-clockwise from +x */
    int32_t colour; /* colour index of the text */
    int32_t size;   /* font size of the text */
    int32_t fill;   /* nonzero: fill the label's box, hiding the line below */
} KContourLabel;

/* One contour level of ContourField (eight 32-bit fields). */
typedef struct KContourLevel {
    float level;
    int32_t colour;      /* colour index of the line */
    int32_t style;       /* line-style index (lStyle, szPSlStyle) */
    int32_t width;       /* line-width index (PixelLineWidth, szPSlWidth) */
    int32_t labelFactor; /* 0: no labels; else labels per started 250 vertices */
    int32_t labelColour;
    int32_t labelSize;
    int32_t labelFill;
} KContourLevel;

/* Room of a label list: further labels are dropped silently. */
#define KESTREL_MAX_CONTOUR_LABELS 500

/* ---- Tracing steps ---------------------------------------------------------- */

/* Moves nodes equal to level to value * 0.99999f (a zero node at level 0 stays
 * 0 and counts as crossed on neither side), then lists every edge whose end
 * values lie strictly on opposite sides of level, in scan order.
 * Returns the block, allocated with the C library's malloc of the library
 * (room for a multiple of 10000 records), and stores the number of records in
 * *count; null on bad arguments (a null pointer, nx or ny below 1 or above
 * 32767; count 0) or when memory runs out (after a message box "Could not
 * allocate GRIDSEGMENT memory!", caption "CTsetgs ..."). */
KESTREL_API GRIDSEGMENT *KESTREL_CALL CTsetgs(float *field, float level, int32_t nx, int32_t ny, int32_t *count);

/* Index of the record at which the next path starts: the first unused record
 * on the grid boundary from which the contour runs into the grid, else the
 * first unused record (a closed ring), else notfound. */
KESTREL_API int32_t KESTREL_CALL CTstapth(const float *field, int32_t nx, int32_t ny, const GRIDSEGMENT *segments,
                                          int32_t count, int32_t notfound);

/* Index of the unused record that continues the path from record current,
 * whose cell (column in the low 16 bits, row in the high 16 bits) and kind are
 * passed too; the path keeps higher values on its left and tries left turn,
 * straight on, right turn in the cell it enters. notfound when none. */
KESTREL_API int32_t KESTREL_CALL CTconpth(const float *field, int32_t nx, int32_t ny, const GRIDSEGMENT *segments,
                                          int32_t count, int32_t cell, int32_t kind, int32_t current,
                                          int32_t notfound);

/* Index of the unused record with this column, row and kind among indexes
 * low..high (clamped to 0..count-1), or notfound; notfound at once when column
 * or row equals notfound or kind is 0. */
KESTREL_API int32_t KESTREL_CALL CTfindi(int32_t column, int32_t row, int32_t kind, const GRIDSEGMENT *segments,
                                         int32_t count, int32_t low, int32_t high, int32_t notfound);

/* Appends the linearly interpolated crossing of the edge (cell, kind) to Vfp
 * (user units) and Vip (device pixels through VX, VY) and increments nVp;
 * nothing while nVp is 1400 or more, or for an edge outside the grid. */
KESTREL_API void KESTREL_CALL CTaddpoi(const float *field, float level, const float *xcoords, int32_t nx,
                                       const float *ycoords, int32_t ny, int32_t cell, int32_t kind);

/* Removes used (kind 0) records in place, keeping the order; returns the new
 * count. */
KESTREL_API int32_t KESTREL_CALL CTpackgs(GRIDSEGMENT *segments, int32_t count);

/* Outputs the polyline held in Vfp/Vip/nVp (nothing when nVp < 2): on hdc with
 * the selected pen; to psfile as PostScript path commands (CToutpthFormat 0)
 * or as a plain list "n n" then "y x" per vertex (format 1; y comes first on
 * purpose); then adds labels to labels[*labelCount] (at most 500; see
 * ContourLine). colour, style and width are not used here. */
KESTREL_API void KESTREL_CALL CToutpth(KDC hdc, KFILE psfile, KContourLabel *labels, int32_t *labelCount, float level,
                                       int32_t colour, int32_t style, int32_t width, int32_t labelFactor,
                                       int32_t labelColour, int32_t labelSize, int32_t labelFill);

/* Draws collected labels on hdc and as PostScript to psfile (either may be
 * null). */
KESTREL_API void KESTREL_CALL CToutlbl(KDC hdc, KFILE psfile, const KContourLabel *labels, int32_t labelCount);

/* Traces one level completely: every crossed edge lands in exactly one
 * polyline; open contours run from boundary to boundary, closed rings repeat
 * their first vertex at the end; polylines longer than 1000 vertices are
 * output in pieces, each starting at the previous piece's last vertex.
 * labelFactor > 0 places (nVp/250 + 1) * labelFactor labels on each piece of
 * at least 21 vertices, at positions drawn from the label random generator.
 * hdc or psfile null: no screen or no file output. The return value carries
 * no meaning (0). */
KESTREL_API int32_t KESTREL_CALL ContourLine(KDC hdc, KFILE psfile, float *field, KContourLabel *labels,
                                             int32_t *labelCount, const float *xcoords, int32_t nx,
                                             const float *ycoords, int32_t ny, float level, int32_t colour,
                                             int32_t style, int32_t width, int32_t labelFactor, int32_t labelColour,
                                             int32_t labelSize, int32_t labelFill);

/* ---- Whole fields ----------------------------------------------------------- */

/* Draws the levels in array order on hdc and as the PostScript objects
 * "ContourLines" and "ContourLabels" in psfile (either may be null), then
 * all labels, so that no line crosses a label. Label positions repeat from
 * one drawing of a field to the next (the label generator is reseeded).
 * Shows a progress bar. The field is modified as ContourLine says. */
KESTREL_API void KESTREL_CALL ContourField(float *field, const float *xcoords, int32_t nx, const float *ycoords,
                                           int32_t ny, const KContourLevel *levels, int32_t levelCount, KDC hdc,
                                           KFILE psfile);

/* Paints every grid cell in the colour CMapCalColor gives its node, on hdc
 * and as the PostScript object "ShadedField"; cells end half-way to the
 * neighbouring nodes and at the outermost nodes. The colour map is first
 * initialised with CMapInitialize(cm1, cm2, vmin, vmax), in that order, and
 * stays so. unused1 and unused2 are ignored. At most 1499 columns and 1499
 * rows (nothing is drawn for a larger field). */
KESTREL_API void KESTREL_CALL ShadeField(const float *field, int32_t unused1, int32_t unused2, const float *xcoords,
                                         int32_t nx, const float *ycoords, int32_t ny, float vmin, float vmax,
                                         float cm1, float cm2, KDC hdc, KFILE psfile);

/* Paints the cells whose value is greater than threshold (equal is kept) in
 * colour index colour, on hdc and as the PostScript object "ErasedField".
 * Nothing for a null field; the size limits of ShadeField apply. */
KESTREL_API void KESTREL_CALL EraseField(const float *field, float threshold, const float *xcoords, int32_t nx,
                                         const float *ycoords, int32_t ny, int32_t colour, KDC hdc, KFILE psfile);

/* A round contour interval for the colour-map fractions v1 and v2 (mapped to
 * values by CMapCalZval) with about wanted lines: *step is 0.5, 1, 2 or 5
 * times a power of ten, signed like v2 - v1; *start and *end are multiples of
 * it outside the range. A reference value moves the start to the first
 * multiple of the step beyond it: returns m = trunc((reference - start) /
 * step) + 1, the steps moved when at least 1. Equal values give start 1,
 * step 1, end 0 and return 0. */
KESTREL_API int32_t KESTREL_CALL CTSelectLines(float v1, float v2, int32_t wanted, float reference, float *start,
                                               float *step, float *end);

KESTREL_EXTERN_C_END

#endif /* KESTREL_CONTOUR_H */
