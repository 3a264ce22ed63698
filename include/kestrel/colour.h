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

/* Makes colour index current: stores it in the colour-state words of mCGS and
 * sets the current device colour (palette-index form in colour mode 0, the
 * RGB of Vcolor[index] in mode 1). */
KESTREL_API void KESTREL_CALL SetColor(int32_t index);

/* 0 = palette indices, 1 = direct red-green-blue values. */
KESTREL_API void KESTREL_CALL SetColorMode(int32_t mode);

/* Selects and realises the library palette in dc; returns the previous
 * palette, or null when the library has none. */
KESTREL_API KPALETTE KESTREL_CALL ActivateMyPalette(KDC dc);

/* Selects previous back into dc (nothing for null); caller names the routine
 * in the error log. */
KESTREL_API void KESTREL_CALL RestorePalette(KDC dc, KPALETTE previous, const char *caller);

KESTREL_EXTERN_C_END

#endif /* KESTREL_COLOUR_H */
