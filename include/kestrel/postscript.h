/*
 * Kestrel: PostScript output.
 */
#ifndef KESTREL_POSTSCRIPT_H
#define KESTREL_POSTSCRIPT_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* Fills a font specification with the defaults: size factor 1.0, weight
 * index 3 (700), no italic, underline or strike-out, faces "Arial", "Symbol"
 * and "Helvetica". */
KESTREL_API void KESTREL_CALL SetDfltFont(KFontSpec *fontSpec);

KESTREL_EXTERN_C_END

#endif /* KESTREL_POSTSCRIPT_H */
