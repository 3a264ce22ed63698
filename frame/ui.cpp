// User-interface services used while long computations run.
#include <cstring>

#include "base/guard.h"
#include "frame/message.h"
#include "kestrel/frame.h"
#include "kestrel/util.h"
#include "platform/platform.h"

using namespace kestrel;

extern "C" {

KESTREL_API void KESTREL_CALL UpdateStatusBar(const char *text) {
    return kestrel::guarded<void>("UpdateStatusBar", [&]() -> void {
        if (!text) text = "";
        plat::setWindowText(hWndStatusBar, text);
        plat::updateWindow(hWndStatusBar);
        // Callers keep status texts below 400 characters; a longer one is cut
        // rather than written past the end of VStatusLine.
        std::strncpy(VStatusLine, text, sizeof VStatusLine - 1);
        VStatusLine[sizeof VStatusLine - 1] = '\0';
    });
}

KESTREL_API KWND KESTREL_CALL MyProgressBar(int32_t range, int32_t step) {
    return kestrel::guarded<KWND>("MyProgressBar", [&]() -> KWND {
        plat::Rect rc{};
        plat::clientRect(hWndStatusBar, &rc);
        const int32_t left = lpSBParts ? lpSBParts[0] : 0;
        const int32_t right = lpSBParts ? lpSBParts[1] : 0;
        return plat::createProgressBar(hWndStatusBar, hInst, left + 3, rc.top + 3, right - left - 3, cyStatus - 3, range,
                                       step);
    });
}

KESTREL_API int32_t KESTREL_CALL PeekMessagePump(void) {
    return kestrel::guarded<int32_t>("PeekMessagePump", [&]() -> int32_t {
        plat::pumpMessages(hWnd);
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL YesNoQuery(const char *text, const char *caption, int32_t *ask) {
    return kestrel::guarded<int32_t>("YesNoQuery", [&]() -> int32_t {
        if (!ask || *ask == 0) return 0;
        if (kestrel::showMessage(text, caption, plat::MbYesNo | plat::MbIconExclamation) == plat::IdYes) return 1;
        *ask = 0;
        return 0;
    });
}

KESTREL_API void KESTREL_CALL UpdateView(void) {
    return kestrel::guarded<void>("UpdateView", [&]() -> void {
        plat::invalidateWindow(hWndClient, false);
        plat::updateWindow(hWndClient);
    });
}

KESTREL_API int32_t KESTREL_CALL MouseOverWindow(KWND window) {
    return kestrel::guarded<int32_t>("MouseOverWindow", [&]() -> int32_t {
        plat::Rect rc{};
        int32_t x = 0, y = 0;
        if (!plat::windowRect(window, &rc) || !plat::cursorPos(&x, &y)) return 0;
        const int32_t r[4] = {rc.left, rc.top, rc.right, rc.bottom};
        return MyPtInRect(r, x, y);
    });
}

// ---- Key queue -------------------------------------------------------------------------
// A ring of ten events. The read position KBfirst is advanced without
// wrapping, which the host relies on; reads therefore index slot
// KBfirst mod 10 so that a position past 9 never reads outside the arrays.

KESTREL_API void KESTREL_CALL KBInitialize(void) {
    return kestrel::guarded<void>("KBInitialize", [&]() -> void {
        KBEmpty = 1;
        KBfirst = 0;
        KBlast = -1;
    });
}

KESTREL_API void KESTREL_CALL KBAddKey(int32_t typ, int32_t one, int32_t two) {
    return kestrel::guarded<void>("KBAddKey", [&]() -> void {
        const int32_t next = static_cast<int32_t>((static_cast<int64_t>(KBlast) + 1) % 10 + 10) % 10;
        if (!KBEmpty && next == KBfirst) {
            plat::beep();
            return;
        }
        KBEntry_typ[next] = typ;
        KBEntry_one[next] = one;
        KBEntry_two[next] = two;
        KBEmpty = 0;
        KBlast = next;
    });
}

KESTREL_API void KESTREL_CALL KBGetKey(int32_t *typ, int32_t *one, int32_t *two) {
    return kestrel::guarded<void>("KBGetKey", [&]() -> void {
        // Callers test KBEmpty first; on an empty queue the call waits for ever,
        // as the host expects. The volatile read keeps the wait a real one.
        while (*static_cast<volatile int32_t *>(&KBEmpty)) {
        }
        const uint32_t slot = static_cast<uint32_t>(KBfirst) % 10u;
        *typ = KBEntry_typ[slot];
        *one = KBEntry_one[slot];
        *two = KBEntry_two[slot];
        if (KBfirst == KBlast)
            KBInitialize();
        else
            KBfirst = static_cast<int32_t>(static_cast<uint32_t>(KBfirst) + 1u);
    });
}

}  // extern "C"
