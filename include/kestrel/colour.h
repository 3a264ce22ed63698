/*
 * Kestrel: colour tables, the colour scale and the logical palette.
 *
 * All colours are indices into Vcolor: 32 marks values below the colour
 * range, 33..143 the colour scale, 144 values above it; indices below 32 are
 * fixed colours of the palette.
 */
#ifndef KESTREL_COLOUR_H
#define KESTREL_COLOUR_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* ---- The colour scale (Vcmap) ------------------------------------------ */

/* Sets the colour scale: data range a0..a1 (stored as given, not ordered)
 * stretched through tanh over the interval z0..z1 (ordered here, so (2, -2)
 * behaves as (-2, 2)). A short interval around 0 is nearly linear; a long
 * one concentrates the contrast where tanh is steep. */
KESTREL_API void KESTREL_CALL CMapInitialize(float a0, float a1, float z0, float z1);

/* Fraction of the colour scale for a data value: 0 at a0, 1 at a1. Values
 * within 0.001 outside 0..1 are pulled onto it; others are returned as they
 * are, also outside 0..1. */
KESTREL_API float KESTREL_CALL CMapCalGray(float value);

/* Colour index of a data value: 32 below the range, 33 + trunc(110 g) within
 * it (33..143), 144 above it. */
KESTREL_API int32_t KESTREL_CALL CMapCalColor(float value);

/* Inverse of CMapCalGray: the data value at a fraction of the scale. */
KESTREL_API float KESTREL_CALL CMapCalZval(float fraction);

/* ---- Current colour ----------------------------------------------------- */

/* Makes colour index current: stores it in the colour-state words of mCGS and
 * sets the current device colour (palette-index form in colour mode 0, the
 * RGB of Vcolor[index] in mode 1). */
KESTREL_API void KESTREL_CALL SetColor(int32_t index);

/* SetColor(CMapCalColor(value)). */
KESTREL_API void KESTREL_CALL SetZColor(float value);

/* 0 = palette indices, 1 = direct red-green-blue values. */
KESTREL_API void KESTREL_CALL SetColorMode(int32_t mode);

/* Index of the Vcolor entry nearest to r, g, b (fractions 0..1) by squared
 * distance; the first of equally near entries wins. 0 for an empty palette
 * or when nothing is nearer than 100000. */
KESTREL_API int32_t KESTREL_CALL FindClosestColor(float r, float g, float b);

/* As FindClosestColor for a device colour value (red in the low byte), except
 * that the reference colour is reduced by every visited entry and never
 * reset: entry i is compared against the colour minus the sum of entries
 * 0..i. Hosts rely on the indices this gives; it is kept as it is. */
KESTREL_API int32_t KESTREL_CALL FindClosestColorCR(KCOLORREF colour);

/* ---- The palette ------------------------------------------------------- */

/* Fills Vcolor from a palette file and builds the library palette. The file
 * holds records "index red green blue" (the index is read and ignored; the
 * components are fractions 0..1, each stored as trunc(f * 255) limited to
 * 0..255), in file order, up to 256. A missing, unreadable or empty file
 * installs Kestrel's built-in 177-entry palette and sets the palette name to
 * "DUMMY". Returns 0 at once, reading nothing, when fileName is the palette
 * already loaded; else 1. A failed palette creation is logged. */
KESTREL_API int32_t KESTREL_CALL LoadPaletteFile(KDC dc, const char *fileName);

/* Builds hMYpal from the palette-size entries of Vcolor (the old one is
 * deleted), realises it once in dc (may be null) and sets VCR[i] to the
 * palette-index form of i. Returns 1, or 0 on failure. */
KESTREL_API int32_t KESTREL_CALL CreateMYPalette(KDC dc);

/* Deletes hMYpal (if any) and sets it to null. */
KESTREL_API void KESTREL_CALL DeleteMYPalette(void);

/* Selects and realises the library palette in dc; returns the previous
 * palette, or null when the library has none. */
KESTREL_API KPALETTE KESTREL_CALL ActivateMyPalette(KDC dc);

/* Selects previous back into dc (nothing for null); caller names the routine
 * in the error log. */
KESTREL_API void KESTREL_CALL RestorePalette(KDC dc, KPALETTE previous, const char *caller);

KESTREL_EXTERN_C_END

#endif /* KESTREL_COLOUR_H */
