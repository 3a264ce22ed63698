/*
 * Kestrel: axes, axis annotation and the colour bar.
 *
 * The axis routines draw on the screen only (the host writes PostScript
 * axes itself), in the current user coordinate system (VX, VY) and font size
 * of mCGS. They save the label origin, fill flag and text-box frame flag of
 * mCGS, draw with the text-box frame off, restore all three and clip to the
 * viewport again when the clip flag is set. A zero label step or an empty
 * user range is not guarded against.
 */
#ifndef KESTREL_AXES_H
#define KESTREL_AXES_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* The x axis at user y: minor ticks every tick from origin, the axis line,
 * labels every step ("%g", thinned to about one per length unit by
 * SetAxisAnnotationPos) with major ticks, grid lines when the frame flag of
 * mCGS is set, the text below the axis and the title above the plot (either
 * may be null). mode bit 0: map style (geographic labels and frame band). */
KESTREL_API void KESTREL_CALL XAxisLabels(KDC dc, float y, float origin, float tick, float step, const char *below,
                                          const char *above, int32_t mode);
KESTREL_API void KESTREL_CALL XAxLabels(KDC dc, float y, float origin, float tick, float step, const char *below,
                                        const char *above);

/* The y axis at user x, labels vertical (mode bit 1 clear) or horizontal
 * (bit 1 set); mode bit 0: map style. The title (may be null) runs vertically
 * left of the labels. Returns the distance of the title from the axis in page
 * length units. */
KESTREL_API float KESTREL_CALL YAxisLabels(KDC dc, float x, float origin, float tick, float step, const char *title,
                                           int32_t mode);
KESTREL_API void KESTREL_CALL YAxLabels(KDC dc, float x, float origin, float tick, float step, const char *title);
KESTREL_API float KESTREL_CALL YAxLabelsH(KDC dc, float x, float origin, float tick, float step, const char *title);

/* The label index range *first..*last and the label step for an axis from
 * umin to umax of the given viewport length: the step is enlarged (at most
 * twice) until there is about one label per length unit. */
KESTREL_API void KESTREL_CALL SetAxisAnnotationPos(int32_t *first, int32_t *last, float *step, float origin, float umin,
                                                   float umax, float length);

/* Decimals for a value by thresholds t1 < t2 < t3 < t4: 4 below t1, 3 below
 * t2, 2 below t3, 1 below t4, else 0. */
KESTREL_API int32_t KESTREL_CALL dfltNDecimals(float value, float t1, float t2, float t3, float t4);

/* The colour scale of a shaded field as a bar right of the plot (x left xl,
 * x right xr, width the viewport width in length units, y from yb to yt):
 * 199 slices from zmin to zmax, triangles for values below and above, labels
 * and an optional title; on dc (may be null) and as the PostScript object
 * "ColorBar" (psfile may be null). Initialises the colour map with
 * CMapInitialize(zmin, zmax, s0, s1). */
KESTREL_API void KESTREL_CALL DrawColorBar(KDC dc, KFILE psfile, const char *title, float fontSize, float xl, float xr,
                                           float width, float yb, float yt, float zmin, float zmax, float s0,
                                           float s1);

KESTREL_EXTERN_C_END

#endif /* KESTREL_AXES_H */
