/*
 * Kestrel: PostScript output.
 *
 * Every drawing routine that takes a KFILE writes the same object as
 * PostScript text when the handle is not null. The text calls procedures of
 * a preamble that the host supplies (Kestrel's own is data/preamble/kestrel.ps)
 * and that PSOpenFile copies into the file. Objects are framed by the lines
 * "%%PS-OBJECT: <Name> begin" and "%%PS-OBJECT: <Name> end" so that a host
 * can find and replace them. Writes are not checked.
 */
#ifndef KESTREL_POSTSCRIPT_H
#define KESTREL_POSTSCRIPT_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* Creates psFileName anew and writes the header line ("%!PS-Adobe-3.0",
 * with " EPSF-3.0" when eps is nonzero), textBefore, the whole preamble file
 * and textAfter (either text may be null). Returns the open handle, which the
 * caller closes, or null: a preamble that does not exist gives the message
 * "PS-Preamble <name> not Found!\n\nNo PostScript File will be Written."
 * and no file is created; a file that cannot be created gives "Could not
 * Open <name>". Both boxes are captioned "Opening PostScript File". */
KESTREL_API KFILE KESTREL_CALL PSOpenFile(const char *psFileName, const char *preambleFileName,
                                          const char *textBefore, const char *textAfter, int32_t eps);

/* Writes the picture of dc, pixels (0, 0) to (Vbmp_size_cx, Vbmp_size_cy)
 * inclusive, as an encapsulated PostScript image of colour runs, landscape,
 * scaled to fit 28 x 19 length units. Shows a status text and the wait
 * cursor meanwhile. Returns the result of the final cursor change (the
 * previous cursor kind), or 0 when dc is null or the file can't be opened. */
KESTREL_API int32_t KESTREL_CALL PSDumpScreen(KDC dc, const char *preambleFileName, const char *psFileName);

/* One run of count pixels of a device colour (red in the low byte):
 * "r g b c" for one pixel, "count r g b C" for more, nothing below 1. */
KESTREL_API void KESTREL_CALL PSOutPix(KFILE file, int32_t count, KCOLORREF colour);

/* Makes Vcolor[index] current: "g setgray" for a grey, else "r g b S", each
 * component divided by 256. */
KESTREL_API void KESTREL_CALL PSSetColor(KFILE file, int32_t index);

/* Writes the "ColorTable" object: the arrays /red, /gre and /blu of the
 * palette-size entries of Vcolor, as fractions "%6.3f", 13 to a line. */
KESTREL_API void KESTREL_CALL PSPalette(KFILE file);

/* Fills face 3 of fontSpec with the PostScript name of face 1: Times and
 * Courier faces get their bold, italic or bold-italic names, anything else
 * the Helvetica ones; a plain face of any family gives "Helvetica". */
KESTREL_API void KESTREL_CALL SetPSFontName(KFontSpec *fontSpec);

/* Fills a font specification with the defaults: size factor 1.0, weight
 * index 3 (700), no italic, underline or strike-out, faces "Arial", "Symbol"
 * and "Helvetica". */
KESTREL_API void KESTREL_CALL SetDfltFont(KFontSpec *fontSpec);

/* Rewrites text (Western single-byte code page) in place for a PostScript
 * string: the umlauts a, A, o, O, u, U with dieresis become ~"a ... ~"U
 * (the preamble shows the dieresis), the degree sign becomes \312 and the
 * sharp s \373. The text never grows beyond maxLength bytes with its
 * terminator; replacements that do not fit are dropped. Parentheses and
 * backslashes are not escaped. Returns the new length. */
KESTREL_API int32_t KESTREL_CALL MkePSString(char *text, int32_t maxLength);

KESTREL_EXTERN_C_END

#endif /* KESTREL_POSTSCRIPT_H */
