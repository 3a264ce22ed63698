#ifndef _WIN32
#include "scripted_host.h"

#include <cstring>

#include "common/canvas.h"
#include "platform/platform.h"

namespace kt {

ScriptedHost::ScriptedHost(int width, int height, float ppl, int windowW, int windowH)
    : windowW_(windowW > 0 ? windowW : width), windowH_(windowH > 0 ? windowH : height) {
    picture_ = KCanvasCreate(width, height);
    window_ = KCanvasCreate(windowW_, windowH_);
    startPicture(picture_, width, height, ppl);
    hWndClient = reinterpret_cast<KWND>(&clientTag_);
    hWndStatusBar = reinterpret_cast<KWND>(&statusTag_);
    iHscrollPos = iVscrollPos = iHscrPos = iVscrPos = 0;
    CM_Xpos = CM_Ypos = CM_Bstatus = 0;
    KUICallbacks cb{};
    cb.user = this;
    cb.clientDC = clientDC;
    cb.showClientDC = showDC;
    cb.captureMouse = capture;
    cb.statusPart = statusPart;
    cb.getStatusPart = getStatusPart;
    cb.waitOneMessage = wait;
    cb.setCursor = setCursor;
    cb.windowRect = windowRect;
    cb.updateView = updateView;
    cb.sendMessage = sendMessage;
    KestrelSetUICallbacks(&cb);
    KBInitialize();
}

ScriptedHost::~ScriptedHost() {
    KestrelSetUICallbacks(nullptr);
    hWndClient = hWndStatusBar = nullptr;
    hdcMem = nullptr;
    KCanvasDestroy(window_);
    KCanvasDestroy(picture_);
    CM_Xpos = CM_Ypos = CM_Bstatus = 0;
    iHscrollPos = iVscrollPos = iHscrPos = iVscrPos = 0;
    KBInitialize();
}

void ScriptedHost::paint() {
    kestrel::plat::bitBlt(window_, 0, 0, windowW_, windowH_, picture_, iHscrollPos, iVscrollPos);
}

std::vector<uint32_t> ScriptedHost::windowPixels() const {
    std::vector<uint32_t> px;
    px.reserve(static_cast<size_t>(windowW_) * windowH_);
    for (int y = 0; y < windowH_; ++y)
        for (int x = 0; x < windowW_; ++x) px.push_back(KCanvasGetPixel(window_, x, y));
    return px;
}

void ScriptedHost::move(int x, int y) {
    steps_.push_back([x, y] {
        CM_Xpos = x;
        CM_Ypos = y;
        return 512u;
    });
}
void ScriptedHost::press(int button) {
    steps_.push_back([button] {
        if (button == KB_LEFT) CM_Bstatus = 1;
        KBAddKey(KB_PRESS, button, 0);
        return button == KB_LEFT ? 513u : 516u;
    });
}
void ScriptedHost::release(int button) {
    steps_.push_back([button] {
        if (button == KB_LEFT) CM_Bstatus = 0;
        KBAddKey(KB_RELEASE, button, 0);
        return button == KB_LEFT ? 514u : 517u;
    });
}
void ScriptedHost::key(int code) {
    steps_.push_back([code] {
        KBAddKey(KB_KEY, code, 0);
        return 256u;
    });
}
void ScriptedHost::outsideClick() {
    steps_.push_back([] { return 161u; });
}
void ScriptedHost::idle() {
    steps_.push_back([] { return 0u; });
}
void ScriptedHost::then(std::function<void()> check) {
    steps_.push_back([check] {
        check();
        return 0u;
    });
}

KDC ScriptedHost::clientDC(void *user, KWND) { return static_cast<ScriptedHost *>(user)->window_; }

void ScriptedHost::capture(void *user, KWND w) {
    auto *h = static_cast<ScriptedHost *>(user);
    (w ? h->captures : h->releases) += 1;
}

void ScriptedHost::statusPart(void *user, int32_t part, const char *text) {
    auto *h = static_cast<ScriptedHost *>(user);
    if (part >= 0 && part < 4) h->part[part] = text;
    if (part == 1) h->part1History.push_back(text);
}

int32_t ScriptedHost::getStatusPart(void *user, int32_t part, char *buf, int32_t size) {
    auto *h = static_cast<ScriptedHost *>(user);
    if (part < 0 || part >= 4 || size <= 0) return 0;
    std::strncpy(buf, h->part[part].c_str(), static_cast<size_t>(size) - 1);
    buf[size - 1] = '\0';
    return 1;
}

int32_t ScriptedHost::wait(void *user) {
    auto *h = static_cast<ScriptedHost *>(user);
    ++h->waits;
    if (h->steps_.empty()) {
        // A tool still waiting after the script: end it as a click outside
        // the window would, and let the test see that it happened.
        h->ranOut = true;
        return 161;
    }
    auto step = std::move(h->steps_.front());
    h->steps_.pop_front();
    return static_cast<int32_t>(step());
}

void ScriptedHost::setCursor(void *user, int32_t kind) {
    auto *h = static_cast<ScriptedHost *>(user);
    h->cursor = kind;
    h->cursors.push_back(kind);
}

int32_t ScriptedHost::windowRect(void *user, KWND, int32_t rect[4]) {
    auto *h = static_cast<ScriptedHost *>(user);
    rect[0] = rect[1] = 0;
    rect[2] = h->windowW_;
    rect[3] = h->windowH_;
    return 1;
}

void ScriptedHost::updateView(void *user, KWND) { ++static_cast<ScriptedHost *>(user)->repaints; }

long ScriptedHost::sendMessage(void *user, KWND, uint32_t message, uintptr_t wParam, const char *) {
    auto *h = static_cast<ScriptedHost *>(user);
    h->scrolls.push_back({message, static_cast<uint32_t>(wParam)});
    // Scroll as the host does on thumb tracking.
    const int32_t pos = static_cast<int32_t>((wParam >> 16) & 0xFFFF);
    if (message == 276) iHscrPos = iHscrollPos = pos;
    if (message == 277) iVscrPos = iVscrollPos = pos;
    return 0;
}

}  // namespace kt
#endif
