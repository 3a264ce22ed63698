// Pen and brush restoration shared by every drawing routine.
#include <cstdio>

#include "base/guard.h"
#include "kestrel/draw.h"
#include "kestrel/frame.h"
#include "platform/platform.h"

using namespace kestrel;

extern "C" {

KESTREL_API void KESTREL_CALL RestorePen(KDC dc, const char *caller) {
    return kestrel::guarded<void>("RestorePen", [&]() -> void {
        if (!dc) return;
        plat::GdiObj used = plat::selectObject(dc, hBP);
        if (!used || !plat::deleteObject(used)) {
            char text[300];
            std::snprintf(text, sizeof text, "ERROR:  Pen deletion in %s failed!", caller ? caller : "");
            LogLastError(text, 0);
        }
    });
}

KESTREL_API void KESTREL_CALL RestoreBrush(KDC dc, const char *caller) {
    return kestrel::guarded<void>("RestoreBrush", [&]() -> void {
        if (!dc) return;
        plat::GdiObj used = plat::selectObject(dc, hBB);
        if (!used || !plat::deleteObject(used)) {
            char text[300];
            std::snprintf(text, sizeof text, "ERROR:  Brush deletion in %s failed!", caller ? caller : "");
            LogLastError(text, 0);
        }
    });
}

}  // extern "C"
