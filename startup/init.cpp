// The library's start-up: the one place that knows every layer. The loader's
// notification (the DLL entry point, the shared object's constructor) comes
// here through the platform's onLibraryLoad; a host that links the library
// statically calls initKestrel itself.
#include "kestrel/frame.h"
#include "kestrel/postscript.h"
#include "kestrel/usrsys.h"
#include "base/guard.h"
#include "frame/message.h"
#include "maps/startup.h"
#include "platform/platform.h"
#include "plot/textstate.h"

namespace {
bool gStarted = false;  // the once-per-process part has run
}

extern "C" KESTREL_API void KESTREL_CALL initKestrel(void) {
    return kestrel::guarded<void>("initKestrel", [&]() -> void {
        using namespace kestrel;
        sysInfo.osVersion.dwOSVersionInfoSize = sizeof(KOSVersionInfo);  // 148
        plat::osVersion(&sysInfo.osVersion);
        plat::userName(sysInfo.userName, sizeof sysInfo.userName);
        plat::computerName(sysInfo.computerName, sizeof sysInfo.computerName);
        InitCGS(nullptr, &mCGS);
        hBP = static_cast<KPEN>(plat::getStockObject(plat::StockBlackPen));
        hBB = static_cast<KBRUSH>(plat::getStockObject(plat::StockBlackBrush));
        if (!gStarted) {
            gStarted = true;
            // Palette-index colours on a canvas are the library's colour table.
            plat::setIndexColours(Vcolor);
            gFailureReporter = reportOutOfMemory;
            SetDfltFont(&mFS);
            gTextLayout = TextLayoutSettings{};
            useMapAxisStyle();
            szErrorLogFile[0] = '\0';
        }
    });
}

void kestrel::plat::onLibraryLoad() { initKestrel(); }
