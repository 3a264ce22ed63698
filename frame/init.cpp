// Library start-up.
#include "frame/state.h"
#include "kestrel/frame.h"
#include "kestrel/postscript.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"

namespace kestrel {
double gTextLineSpacing = 0.2;
double gTextSpaceFactor = 1.0;
}  // namespace kestrel

namespace {
bool g_started = false;  // the once-per-process part has run
}

extern "C" KESTREL_API void KESTREL_CALL initKestrel(void) {
    using namespace kestrel;
    sysInfo.osVersion.dwOSVersionInfoSize = sizeof(KOSVersionInfo);  // 148
    plat::osVersion(&sysInfo.osVersion);
    plat::userName(sysInfo.userName, sizeof sysInfo.userName);
    plat::computerName(sysInfo.computerName, sizeof sysInfo.computerName);
    InitCGS(nullptr, &mCGS);
    hBP = static_cast<KPEN>(plat::getStockObject(plat::StockBlackPen));
    hBB = static_cast<KBRUSH>(plat::getStockObject(plat::StockBlackBrush));
    if (!g_started) {
        g_started = true;
        SetDfltFont(&mFS);
        gTextLineSpacing = 0.2;
        gTextSpaceFactor = 1.0;
        szErrorLogFile[0] = '\0';
    }
}
