/*
 * Kestrel: user coordinate systems, viewports and the graphics state.
 *
 * User coordinates map to device pixels through VX and VY:
 *   pixel = trunc((u - umin) * pixPerUser + lowPix)
 * truncating toward zero. The host fills the device fields of VX and VY
 * (devPixels, devLength, pixPerLength) before calling SetupUsrSys.
 */
#ifndef KESTREL_USRSYS_H
#define KESTREL_USRSYS_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* x0..x1 spans a viewport of the given width placed left length units from the
 * page's left edge; y0..y1 spans height, bottom units above the bottom edge. */
KESTREL_API void KESTREL_CALL SetupUsrSys(float x0, float x1, float width, float left,
                                          float y0, float y1, float height, float bottom);

/* SetupUsrSys, then the viewport's default font size, then clipping as the
 * clip flag of mCGS says. */
KESTREL_API void KESTREL_CALL UsrSys(KDC dc, float x0, float x1, float width, float left,
                                     float y0, float y1, float height, float bottom);

/* Writes prefix and "x0 x1 width left y0 y1 height bottom UsrSys" (%g). */
KESTREL_API void KESTREL_CALL PSUsrSys(KFILE file, const char *prefix, float x0, float x1, float width,
                                       float left, float y0, float y1, float height, float bottom);

/* on = 0 clips to the whole device; otherwise to the viewport, with the right
 * edge widened by one pixel (the bottom is not). */
KESTREL_API void KESTREL_CALL ClipVWP(KDC dc, int32_t on);

/* Frames the viewport with 2w+1 nested one-pixel rectangles in colour index
 * colour, w = trunc(VX.pixPerLength * 0.015). */
KESTREL_API void KESTREL_CALL FrameVWP(KDC dc, int32_t colour);

/* Clears hdcMem to white and starts a picture whose user units are pixels. */
KESTREL_API void KESTREL_CALL InitmemDC(void);

/* Resets a graphics-state record (its eighth field survives); dc may be null. */
KESTREL_API void KESTREL_CALL InitCGS(KDC dc, KGraphicsState *cgs);

/* Label origin 1..8 (anything else behaves as 0, centred). */
KESTREL_API void KESTREL_CALL SetLorgVal(KDC dc, int32_t lorg);

/* Fill mode: nonzero fills symbols and text boxes and makes text opaque. */
KESTREL_API void KESTREL_CALL SetDoFill(KDC dc, int32_t fill);

/* Pixel width of named line width 0..5; *length receives its length in page
 * units (0.05 for an unknown index, which gives 1 pixel). */
KESTREL_API int32_t KESTREL_CALL PixelLineWidth(int32_t index, float *length);

/* Default font size of a viewport of width x height length units. */
KESTREL_API float KESTREL_CALL DfltFontSize(float width, float height);

KESTREL_EXTERN_C_END

#endif /* KESTREL_USRSYS_H */
