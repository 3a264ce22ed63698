// POSIX user-interface services: everything goes to the host's callbacks;
// with none registered the services are silent and message boxes are written
// to the error log and take their default answer.
#include <cstring>
#include <string>

#include "base/guard.h"
#include "kestrel/canvas.h"
#include "platform/platform.h"

namespace kestrel::plat {
KUICallbacks gCallbacks{};  // also read by the housekeeping services (host.cpp)
}  // namespace kestrel::plat
using kestrel::plat::gCallbacks;

namespace {
int gCursor = kestrel::plat::CursorArrow;
// What the library last wrote into each status-bar pane, for a host that
// cannot read its status bar back.
std::string gStatusParts[4];
}  // namespace

extern "C" KESTREL_API void KESTREL_CALL KestrelSetUICallbacks(const KUICallbacks *callbacks) {
    return kestrel::guarded<void>("KestrelSetUICallbacks", [&]() -> void {
        if (callbacks)
            gCallbacks = *callbacks;
        else
            gCallbacks = KUICallbacks{};
    });
}

namespace kestrel::plat {

void setWindowText(KWND w, const char *text) {
    if (!w) return;
    gStatusParts[0] = text ? text : "";
    if (gCallbacks.statusText) gCallbacks.statusText(gCallbacks.user, text ? text : "");
}

void updateWindow(KWND w) {
    if (w && gCallbacks.updateView) gCallbacks.updateView(gCallbacks.user, w);
}

void invalidateWindow(KWND, bool) {}

bool clientRect(KWND w, Rect *r) {
    *r = Rect{0, 0, 0, 0};
    if (!w) return false;
    int32_t rc[4] = {0, 0, 0, 0};
    if (!gCallbacks.windowRect || !gCallbacks.windowRect(gCallbacks.user, w, rc)) return false;
    *r = Rect{0, 0, rc[2] - rc[0], rc[3] - rc[1]};
    return true;
}

bool windowRect(KWND w, Rect *r) {
    *r = Rect{0, 0, 0, 0};
    if (!w) return false;
    int32_t rc[4] = {0, 0, 0, 0};
    if (!gCallbacks.windowRect || !gCallbacks.windowRect(gCallbacks.user, w, rc)) return false;
    *r = Rect{rc[0], rc[1], rc[2], rc[3]};
    return true;
}

bool cursorPos(int32_t *x, int32_t *y) {
    *x = *y = 0;
    return gCallbacks.cursorPos && gCallbacks.cursorPos(gCallbacks.user, x, y);
}

KWND createProgressBar(KWND, KINSTANCE, int x, int y, int w, int h, int range, int step) {
    return gCallbacks.progressBar ? gCallbacks.progressBar(gCallbacks.user, x, y, w, h, range, step) : nullptr;
}

int messageBox(KWND, const char *text, const char *caption, unsigned type) {
    return gCallbacks.messageBox ? gCallbacks.messageBox(gCallbacks.user, text ? text : "", caption ? caption : "", type) : 0;
}

void pumpMessages(KWND) {
    if (gCallbacks.pumpMessages) gCallbacks.pumpMessages(gCallbacks.user);
}

void waitMessage() {
    if (gCallbacks.waitMessage) gCallbacks.waitMessage(gCallbacks.user);
}

int setCursor(int cursor) {
    int old = gCursor;
    gCursor = cursor;
    if (gCallbacks.setCursor) gCallbacks.setCursor(gCallbacks.user, cursor);
    return old;
}

// The host's progress bars are its own widgets: it learns of their creation
// only, so moving and destroying them are left to it.
void setProgressPos(KWND, int) {}

void destroyWindow(KWND) {}

KDC getClientDC(KWND w) { return w && gCallbacks.clientDC ? gCallbacks.clientDC(gCallbacks.user, w) : nullptr; }

void showClientDC(KWND w, KDC dc) {
    if (w && dc && gCallbacks.showClientDC) gCallbacks.showClientDC(gCallbacks.user, w, dc);
}

void releaseClientDC(KWND w, KDC dc) { showClientDC(w, dc); }

void captureMouse(KWND w) {
    if (gCallbacks.captureMouse) gCallbacks.captureMouse(gCallbacks.user, w);
}

void releaseMouse() {
    if (gCallbacks.captureMouse) gCallbacks.captureMouse(gCallbacks.user, nullptr);
}

void setStatusPart(KWND bar, int part, const char *text) {
    if (!bar || part < 0) return;
    if (!text) text = "";
    if (part < 4) gStatusParts[part] = text;
    if (gCallbacks.statusPart)
        gCallbacks.statusPart(gCallbacks.user, part, text);
    else if (part == 0 && gCallbacks.statusText)
        gCallbacks.statusText(gCallbacks.user, text);
}

std::string statusPart(KWND bar, int part) {
    if (!bar || part < 0) return {};
    if (gCallbacks.getStatusPart) {
        char buf[512] = {0};
        if (gCallbacks.getStatusPart(gCallbacks.user, part, buf, static_cast<int32_t>(sizeof buf))) {
            buf[sizeof buf - 1] = '\0';
            return buf;
        }
    }
    return part < 4 ? gStatusParts[part] : std::string();
}

unsigned waitOneMessage() {
    if (!gCallbacks.waitOneMessage) return MsgNcLButtonDown;
    const int32_t m = gCallbacks.waitOneMessage(gCallbacks.user);
    return m == static_cast<int32_t>(MsgQuit) ? MsgNcLButtonDown : static_cast<unsigned>(m);
}

void sendScrollMessage(KWND w, unsigned message, uint32_t wParam) {
    if (w && gCallbacks.sendMessage) gCallbacks.sendMessage(gCallbacks.user, w, message, wParam, nullptr);
}

}  // namespace kestrel::plat
