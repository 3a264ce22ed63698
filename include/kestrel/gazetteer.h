/*
 * Kestrel: the gazetteer, named geographic features on maps.
 *
 * A gazetteer file is text: the header line "% GZT01" (anything after a
 * ":" is ignored), eight further lines, the column header containing
 * "Feature;", then one feature a line: name;type;pieces, each piece a point
 * count followed by that many longitude;latitude pairs (degrees). The host
 * keeps one record, loads a file into it through a name and a type filter,
 * draws the selected features on the current map (screen only) and then
 * finds the feature under the mouse from the recorded screen points.
 *
 * Drawing goes through the current projection (projection.h) and user
 * system: call it after the map's layout, as the coastlines are drawn.
 */
#ifndef KESTREL_GAZETTEER_H
#define KESTREL_GAZETTEER_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* The host's record, in the order the host lays it out. Arrays are
 * allocated by GazetteerLoad and released by GazetteerFree; the filters,
 * colour and mark size are the host's to set before loading and drawing. */
typedef struct Gazetteer {
    char fileName[256];     /* the file loaded */
    char nameFilter[81];    /* empty: every name; else a lower-case part of the names wanted */
    char typeFilter[83];    /* "<any>" or empty: every type; else a lower-case part of the types wanted */
    char *namePool;         /* names, zero-terminated, back to back */
    char *typePool;         /* types, the same way */
    int32_t markWidth, markHeight; /* side of a point's square, pixels (set by GazetteerMarkFeatures) */
    int32_t colour;         /* colour index of the features */
    int32_t nFeatures;
    int32_t nMarked;        /* screen points recorded by the last GazetteerMarkFeatures */
    int32_t *markedFeature; /* per recorded point: its feature */
    uint8_t *selected;      /* per feature: 1 when it passed both filters */
    uint16_t *markedX, *markedY; /* per recorded point: its device position */
    int16_t *pieces;        /* per feature: piece count, then each piece's point count */
    int32_t *nameOffset, *typeOffset; /* per feature: offsets into the pools */
    int32_t *firstPoint;    /* per feature: index of its first point */
    int32_t *pieceEntry;    /* per feature: index of its entry in pieces */
    float *lon, *lat;       /* all points, feature after feature, piece after piece */
    float markSize;         /* point mark size before scaling (tenths of a length unit) */
} Gazetteer;

/* Loads a file through the record's filters; returns the number of
 * features (0, with the record empty, for a file of 10 lines or fewer, a
 * wrong header or no memory). Earlier contents are freed first. */
KESTREL_API int32_t KESTREL_CALL GazetteerLoad(const char *path, Gazetteer *gz);

/* Frees every array and nulls its pointer; the counts become 0. */
KESTREL_API void KESTREL_CALL GazetteerFree(Gazetteer *gz);

/* Draws every selected feature inside the domain in the record's colour and
 * records the device position of each point drawn (markedX, markedY,
 * markedFeature, nMarked); returns the number recorded. */
KESTREL_API int32_t KESTREL_CALL GazetteerMarkFeatures(KDC dc, Gazetteer *gz, float lonMin, float lonMax, float latMin,
                                                       float latMax);

/* Draws the pieces of one feature (a second time shifted by 360 degrees
 * when lonMin < 0); returns the number of points drawn. With offsetFlag
 * nonzero the drawing is moved by the host's scroll position (iHscrollPos,
 * iVscrollPos) while the recorded positions stay unmoved. */
KESTREL_API int32_t KESTREL_CALL GazetteerDrawFeature(KDC dc, int32_t feature, Gazetteer *gz, float lonMin,
                                                      float lonMax, float latMin, float latMax, int32_t offsetFlag);

/* Draws one piece of n points, longitudes shifted by -shift: the runs inside
 * the domain as polylines (cut at the domain's border) and a filled square
 * of markSize pixels at each inside point, whose device position goes to the
 * shared point list at firstSlot + its number (the list holds
 * GAZETTEER_MAX_POINTS; later slots are not recorded). Returns the number of
 * inside points. */
#define GAZETTEER_MAX_POINTS 262144
KESTREL_API int32_t KESTREL_CALL GazetteerDrawFeaturePiece(KDC dc, const float *lon, const float *lat, int32_t n,
                                                           int32_t firstSlot, float shift, float lonMin, float lonMax,
                                                           float latMin, float latMax, int32_t offsetFlag,
                                                           int32_t markSize);

KESTREL_EXTERN_C_END

#endif /* KESTREL_GAZETTEER_H */
