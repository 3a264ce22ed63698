// Colour selection and the library palette.
#include <cstdio>

#include "kestrel/colour.h"
#include "kestrel/frame.h"
#include "platform/platform.h"

using namespace kestrel;

extern "C" {

KESTREL_API void KESTREL_CALL SetColor(int32_t index) {
    for (int32_t &w : mCGS.colorState) w = index;
    const uint32_t i = static_cast<uint32_t>(index) & 0xFFu;  // never index outside the tables
    if (mCGS.colorMode == 0)
        mCGS.color = VCR[i];
    else if (mCGS.colorMode == 1)
        mCGS.color = plat::rgb(Vcolor[i][0], Vcolor[i][1], Vcolor[i][2]);
}

KESTREL_API void KESTREL_CALL SetColorMode(int32_t mode) { mCGS.colorMode = mode; }

KESTREL_API KPALETTE KESTREL_CALL ActivateMyPalette(KDC dc) {
    if (!hMYpal || !dc) return nullptr;
    KPALETTE previous = plat::selectPalette(dc, hMYpal, false);
    plat::realizePalette(dc);
    if (!previous) LogLastError("ERROR:  No previous palette in ActivateMyPalette!", 0);
    return previous;
}

KESTREL_API void KESTREL_CALL RestorePalette(KDC dc, KPALETTE previous, const char *caller) {
    if (!previous || !dc) return;
    if (!plat::selectPalette(dc, previous, false)) {
        char text[300];
        std::snprintf(text, sizeof text, "ERROR:  Restoring palette in %s failed!", caller ? caller : "");
        LogLastError(text, 0);
    }
}

}  // extern "C"
