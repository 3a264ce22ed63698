/*
 * Kestrel: drawing primitives, symbols, pens and fonts.
 */
#ifndef KESTREL_DRAW_H
#define KESTREL_DRAW_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

/* Put back the stock black pen (brush) and delete the one that was selected;
 * caller names the routine in the error log. */
KESTREL_API void KESTREL_CALL RestorePen(KDC dc, const char *caller);
KESTREL_API void KESTREL_CALL RestoreBrush(KDC dc, const char *caller);

KESTREL_EXTERN_C_END

#endif /* KESTREL_DRAW_H */
