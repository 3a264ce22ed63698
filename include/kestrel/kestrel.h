/* Kestrel: every public header at once. */
#ifndef KESTREL_KESTREL_H
#define KESTREL_KESTREL_H
#include "export.h"
#include "types.h"
#include "globals.h"
#include "frame.h"
#include "usrsys.h"
#include "colour.h"
#include "postscript.h"
#include "draw.h"
#include "util.h"
#include "canvas.h"
#include "projection.h"
#include "maps.h"
#include "la.h"
#include "fit.h"
#include "oa.h"
#include "contour.h"
#include "axes.h"
#endif
