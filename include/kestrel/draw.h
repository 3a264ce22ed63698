/*
 * Kestrel: drawing primitives, symbols, pens and fonts.
 *
 * Coordinates are user units of the current user system (UsrSys), mapped to
 * device pixels by truncation. Routines that take both a device context and
 * a PostScript file draw on the one and write the same object to the other;
 * either may be null. Each routine selects its own pen and brush in the
 * current colour (SetColor) and puts back the stock black pen and brush and
 * the previous palette at its end. Bad sizes, types and counts draw nothing.
 */
#ifndef KESTREL_DRAW_H
#define KESTREL_DRAW_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* ---- Symbols ------------------------------------------------------------- */

/* Marker symbols at the n points (x[i], y[i]); a point whose x or y equals
 * xmiss is skipped. size is in page length units (times the magnification);
 * a size not above 0 or above 1000 draws nothing. Shapes are filled when the
 * fill flag of mCGS is set, else outlined. Dots smaller than 2 pixels in
 * radius become a one-pixel stroke, or a 3 x 3 plus at radius 1. Stars are
 * an upright cross with a diagonal one of 0.85 times the size. */
KESTREL_API void KESTREL_CALL DrawDots(KDC dc, const float *x, const float *y, int32_t n, float size);
KESTREL_API void KESTREL_CALL DrawSquares(KDC dc, const float *x, const float *y, int32_t n, float size);
KESTREL_API void KESTREL_CALL DrawDiamonds(KDC dc, const float *x, const float *y, int32_t n, float size);
KESTREL_API void KESTREL_CALL DrawTriangles(KDC dc, const float *x, const float *y, int32_t n, float size);
KESTREL_API void KESTREL_CALL DrawInvTriangles(KDC dc, const float *x, const float *y, int32_t n, float size);
KESTREL_API void KESTREL_CALL DrawStars(KDC dc, const float *x, const float *y, int32_t n, float size);
KESTREL_API void KESTREL_CALL DrawCrosses(KDC dc, const float *x, const float *y, int32_t n, float size);
KESTREL_API void KESTREL_CALL DrawPluses(KDC dc, const float *x, const float *y, int32_t n, float size);

/* Symbols of type 1..8 (szsymbName: dots, squares, diamonds, triangles,
 * inverted triangles, stars, Xs, upright crosses). On dc only types 1..8
 * draw; in PostScript the type is clamped to 1..8 and the file gets
 * "very_thin_line" and one "x y size*10 name" line per point. */
KESTREL_API void KESTREL_CALL DrawSymbols(KDC dc, KFILE psFile, const float *x, const float *y, int32_t n,
                                          int32_t type, float size);

/* ---- Lines and polygons ---------------------------------------------------- */

/* A polyline through the points that are not missing (x or y equal to
 * missing is skipped without breaking the line), with the named line width
 * widthIndex (no line for a negative index or fewer than 2 points), then,
 * when symbolSize > 0, symbols of symbolType at symbolSize / 10 length units
 * (also without a line). The PostScript width name is the one of the pixel
 * width (the weight seen on the screen). */
KESTREL_API void KESTREL_CALL DrawCurve(KDC dc, KFILE psFile, const float *x, const float *y, int32_t n,
                                        float missing, int32_t symbolType, float symbolSize, int32_t widthIndex);

/* A polygon (mode bit 2: filled with the selected brush) and/or polyline
 * (bit 1: with the selected pen) of at most 1500 points (more are cut).
 * With project nonzero every point is first replaced, in the caller's
 * arrays, by its map projection (Project). No missing-value test. In
 * PostScript: the first point with M, the steps with R (zero steps left
 * out), then "Fill" and/or "stroke". */
KESTREL_API void KESTREL_CALL DrawPoly(KDC dc, KFILE psFile, float *x, float *y, int32_t n, int32_t project,
                                       int32_t mode);

/* A polyline cut to the viewport's user rectangle, with the named line width
 * widthIndex; a missing point (x or y equal to missing) or a non-finite one
 * breaks the line. PostScript: each piece as "x y M" and "x y L" lines. */
KESTREL_API void KESTREL_CALL DrawClippedPolyline(KDC dc, KFILE psFile, const float *x, const float *y, int32_t n,
                                                  float missing, int32_t widthIndex);

/* Vector arrows from (x[i], y[i]) along (u[i], v[i]): scale gives page length
 * units per vector unit, the direction is taken on the page, and the head has
 * two barbs of headSize length units (at most the arrow's length) at 22
 * degrees. Points with a missing (xmiss) or non-finite value and zero-length
 * vectors are skipped. */
KESTREL_API void KESTREL_CALL DrawArrows(KDC dc, KFILE psFile, const float *x, const float *y, const float *u,
                                         const float *v, int32_t n, float scale, float headSize,
                                         int32_t widthIndex);

/* The closed outline of a device-pixel box with the pen width of mCGS in the
 * current colour. Screen only. */
KESTREL_API void KESTREL_CALL DrawBox(KDC dc, int32_t left, int32_t top, int32_t right, int32_t bottom);

/* The current viewport: rect = left, top, right, bottom pixels; the scales
 * are the pixels per user unit of x and y (y negative). Null outputs are
 * skipped. */
KESTREL_API void KESTREL_CALL CopyRectPix(int32_t *rect, float *xScale, float *yScale);

/* An item of an owner-drawn colour list: a swatch of colour index `index`
 * outlined in black, 2 pixels inside rect (left, top, right, bottom), and a
 * one-pixel frame on the item's edge, black when selected and white
 * otherwise. Nothing for an index outside the palette or a rectangle
 * smaller than 5 pixels. Screen only. */
KESTREL_API void KESTREL_CALL ODADrawColorRect(KDC dc, const int32_t *rect, int32_t index, int32_t selected);

/* ---- Fonts and text -------------------------------------------------------- */

/* Makes the library font current in dc: family 1 the text face, 2 the
 * symbol face (1.15 times higher), 3 the PostScript face of mFS; size a
 * font size (height = trunc(size factor * VY.pixPerLength * magnification *
 * size * 0.04) pixels); angle in tenths of a degree. The previous library
 * font is deleted. Sets the font fields of mCGS and VCFontHDC. */
KESTREL_API void KESTREL_CALL SetMYFont(KDC dc, int32_t family, float size, int32_t angle);

/* The text layout engine behind DrawString: draw = 0 measures the string
 * (character extents into Vfp, the text box into dli), draw = 1 writes the
 * characters from the measured start. Escapes: "~#" text face, "~$" symbol
 * face, "~_c" subscript c, "~^c" superscript c. angle in degrees. */
KESTREL_API void KESTREL_CALL ScanString(KDC dc, const char *text, float x, float y, float angle, float size,
                                         int32_t draw);

/* One character of ScanString: measured into Vfp[index] (draw = 0) or
 * written at the current position raised by raise line heights and, with
 * advance nonzero, the position moved on by its width (draw = 1). Spaces
 * are not written but advance. */
KESTREL_API void KESTREL_CALL CharOut(KDC dc, int32_t character, float raise, int32_t draw, int32_t advance,
                                      int32_t index);

/* A string at user position (x, y), anchored by the label origin (SetLorgVal),
 * angle in degrees, in the current colour; its box is painted white first
 * when the fill flag of mCGS is set and outlined when the text-box frame flag
 * is set. */
KESTREL_API void KESTREL_CALL DrawString(KDC dc, const char *text, float x, float y, float angle, float size);

/* As DrawString with its own label origin (the previous one is restored),
 * the text in colour index textColour, the box filled in fillColour when
 * that is a palette index and outlined in frameColour with the named line
 * width frameWidthIndex when that is above 0 and frameColour is a palette
 * index. The current colour is left as it was. */
KESTREL_API void KESTREL_CALL DrawStringEx(KDC dc, const char *text, float x, float y, float angle, float size,
                                           int32_t lorg, int32_t textColour, int32_t fillColour,
                                           int32_t frameColour, int32_t frameWidthIndex);

/* ---- Pens and brushes ------------------------------------------------------ */

/* Put back the stock black pen (brush) and delete the one that was selected;
 * caller names the routine in the error log. */
KESTREL_API void KESTREL_CALL RestorePen(KDC dc, const char *caller);
KESTREL_API void KESTREL_CALL RestoreBrush(KDC dc, const char *caller);

KESTREL_EXTERN_C_END

#endif /* KESTREL_DRAW_H */
