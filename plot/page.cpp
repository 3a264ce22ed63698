#include "plot/page.h"

#include "kestrel/colour.h"
#include "kestrel/postscript.h"
#include "kestrel/globals.h"
#include "kestrel/usrsys.h"

void kestrel::startPage(KDC dc, const PageSpec &spec) {
    hdcMem = dc;
    Vbmp_size_cx = spec.width;
    Vbmp_size_cy = spec.height;
    VX.devPixels = spec.width;
    VY.devPixels = spec.height;
    VX.pixPerLength = VY.pixPerLength = spec.pixPerLength;
    VX.devLength = static_cast<float>(spec.width) / spec.pixPerLength;
    VY.devLength = static_cast<float>(spec.height) / spec.pixPerLength;
    InitCGS(dc, &mCGS);
    LoadPaletteFile(dc, spec.palette);
    InitmemDC();
    SetDfltFont(&mFS);
    SetColorMode(spec.colourMode);
}
