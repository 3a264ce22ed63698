/*
 * Kestrel: GIF export of the off-screen picture.
 *
 * BMPtoGIF writes a rectangle of the picture as a GIF89a file: one image,
 * the library palette (Vcolor, mCGS.paletteSize entries, padded to 256 with
 * the first colour) as global colour table, and LZW-compressed pixels with a
 * minimum code size of 8. The encoder keeps its state in the exported
 * globals hGIF, lpPrefixTable, uPrefix, cSuffix, uAvail, uClear, uEOI,
 * uCodeSize and uDataSize, so only one export runs at a time; BMPtoGIF sets
 * all of them up, and a host that drives EncodeLZW itself sets hGIF and the
 * tables the same way first (uClear 256, uEOI 257, uDataSize 8, uAvail 258,
 * uPrefix of codes 0..257 = 4096, cSuffix[k] = k).
 */
#ifndef KESTREL_GIF_H
#define KESTREL_GIF_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* Saves rect = {left, top, right, bottom} (bitmap pixels, inclusive) of the
 * off-screen bitmap, which is Vbmp_size_cx x Vbmp_size_cy pixels and selected
 * into hdc, as the GIF file fileName. On POSIX hdc is the canvas and bitmap
 * may be null. The rectangle is clamped in place to the bitmap (the caller
 * sees the clamped values). An existing file is overwritten from its start
 * but not truncated: a longer old file keeps its tail after the GIF trailer.
 * Returns 1 when the file was written; 0 after a message box captioned
 * "Error writing GIF file ..." when the file cannot be created, memory runs
 * out, the picture cannot be read, or the clamped rectangle is empty or more
 * than 65535 pixels wide or high. hGIF and lpPrefixTable are null again
 * when the call returns. */
KESTREL_API int32_t KESTREL_CALL BMPtoGIF(KDC hdc, KBITMAP bitmap, int32_t *rect, const char *fileName);

/* Feeds one value to the encoder: uClear starts a stream (current string
 * emptied, code width uDataSize + 1, sub-block buffer reset, clear code
 * written), uEOI ends it (current string and end code written, last
 * sub-block and the block terminator flushed to hGIF), any other value below
 * uClear is a pixel. Other values, and pixels while uAvail lies outside
 * uClear + 2 .. 4096, are ignored. */
KESTREL_API void KESTREL_CALL EncodeLZW(uint32_t value);

/* Appends the low width bits of code to the sub-block stream, least
 * significant bit first, writing each full 255-byte sub-block to hGIF.
 * code 4096 with width 0 resets the buffer; code uEOI writes the partial
 * sub-block and the zero block terminator. Widths above 16 count as 16. */
KESTREL_API void KESTREL_CALL WriteCode(uint32_t code, uint32_t width);

/* Bits needed for the code n: 12 when bit 11 of n is set, 11 for bit 10,
 * ... 5 for bit 4, 4 for bit 3, otherwise 3 (higher bits are not looked at). */
KESTREL_API uint32_t KESTREL_CALL GetCodeLength(uint32_t n);

KESTREL_EXTERN_C_END

#endif /* KESTREL_GIF_H */
