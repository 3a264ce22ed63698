// POSIX user-interface services: everything goes to the host's callbacks;
// with none registered the services are silent and message boxes are written
// to the error log and take their default answer.
#include <cstring>
#include <string>

#include "base/guard.h"
#include "kestrel/canvas.h"
#include "platform/platform.h"

namespace kestrel::plat {
KUICallbacks g_cb{};  // also read by the housekeeping services (host.cpp)
}  // namespace kestrel::plat
using kestrel::plat::g_cb;

namespace {
int g_cursor = kestrel::plat::CursorArrow;
// What the library last wrote into each status-bar part, for a host that
// cannot read its status bar back.
std::string g_statusParts[4];
}  // namespace

extern "C" KESTREL_API void KESTREL_CALL KestrelSetUICallbacks(const KUICallbacks *callbacks) {
    return kestrel::guarded<void>("KestrelSetUICallbacks", [&]() -> void {
        if (callbacks)
            g_cb = *callbacks;
        else
            g_cb = KUICallbacks{};
    });
}

namespace kestrel::plat {

void setWindowText(KWND w, const char *text) {
    if (!w) return;
    g_statusParts[0] = text ? text : "";
    if (g_cb.statusText) g_cb.statusText(g_cb.user, text ? text : "");
}

void updateWindow(KWND w) {
    if (w && g_cb.updateView) g_cb.updateView(g_cb.user, w);
}

void invalidateWindow(KWND, bool) {}

bool clientRect(KWND w, Rect *r) {
    *r = Rect{0, 0, 0, 0};
    if (!w) return false;
    int32_t rc[4] = {0, 0, 0, 0};
    if (!g_cb.windowRect || !g_cb.windowRect(g_cb.user, w, rc)) return false;
    *r = Rect{0, 0, rc[2] - rc[0], rc[3] - rc[1]};
    return true;
}

bool windowRect(KWND w, Rect *r) {
    *r = Rect{0, 0, 0, 0};
    if (!w) return false;
    int32_t rc[4] = {0, 0, 0, 0};
    if (!g_cb.windowRect || !g_cb.windowRect(g_cb.user, w, rc)) return false;
    *r = Rect{rc[0], rc[1], rc[2], rc[3]};
    return true;
}

bool cursorPos(int32_t *x, int32_t *y) {
    *x = *y = 0;
    return g_cb.cursorPos && g_cb.cursorPos(g_cb.user, x, y);
}

KWND createProgressBar(KWND, KINSTANCE, int x, int y, int w, int h, int range, int step) {
    return g_cb.progressBar ? g_cb.progressBar(g_cb.user, x, y, w, h, range, step) : nullptr;
}

int messageBox(KWND, const char *text, const char *caption, unsigned type) {
    return g_cb.messageBox ? g_cb.messageBox(g_cb.user, text ? text : "", caption ? caption : "", type) : 0;
}

void pumpMessages(KWND) {
    if (g_cb.pumpMessages) g_cb.pumpMessages(g_cb.user);
}

void waitMessage() {
    if (g_cb.waitMessage) g_cb.waitMessage(g_cb.user);
}

int setCursor(int cursor) {
    int old = g_cursor;
    g_cursor = cursor;
    if (g_cb.setCursor) g_cb.setCursor(g_cb.user, cursor);
    return old;
}

// The host's progress bars are its own widgets: it learns of their creation
// only, so moving and destroying them are left to it.
void setProgressPos(KWND, int) {}

void destroyWindow(KWND) {}

KDC getClientDC(KWND w) { return w && g_cb.clientDC ? g_cb.clientDC(g_cb.user, w) : nullptr; }

void showClientDC(KWND w, KDC dc) {
    if (w && dc && g_cb.showClientDC) g_cb.showClientDC(g_cb.user, w, dc);
}

void releaseClientDC(KWND w, KDC dc) { showClientDC(w, dc); }

void captureMouse(KWND w) {
    if (g_cb.captureMouse) g_cb.captureMouse(g_cb.user, w);
}

void releaseMouse() {
    if (g_cb.captureMouse) g_cb.captureMouse(g_cb.user, nullptr);
}

void setStatusPart(KWND bar, int part, const char *text) {
    if (!bar || part < 0) return;
    if (!text) text = "";
    if (part < 4) g_statusParts[part] = text;
    if (g_cb.statusPart)
        g_cb.statusPart(g_cb.user, part, text);
    else if (part == 0 && g_cb.statusText)
        g_cb.statusText(g_cb.user, text);
}

std::string statusPart(KWND bar, int part) {
    if (!bar || part < 0) return {};
    if (g_cb.getStatusPart) {
        char buf[512] = {0};
        if (g_cb.getStatusPart(g_cb.user, part, buf, static_cast<int32_t>(sizeof buf))) {
            buf[sizeof buf - 1] = '\0';
            return buf;
        }
    }
    return part < 4 ? g_statusParts[part] : std::string();
}

unsigned waitOneMessage() {
    if (!g_cb.waitOneMessage) return MsgNcLButtonDown;
    const int32_t m = g_cb.waitOneMessage(g_cb.user);
    return m == static_cast<int32_t>(MsgQuit) ? MsgNcLButtonDown : static_cast<unsigned>(m);
}

void sendScrollMessage(KWND w, unsigned message, uint32_t wParam) {
    if (w && g_cb.sendMessage) g_cb.sendMessage(g_cb.user, w, message, wParam, nullptr);
}

}  // namespace kestrel::plat
