// Dragging: a dotted polygon outline that follows the mouse, and the
// picture itself scrolled under the mouse.
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "base/guard.h"
#include "interactive/session.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/frame.h"
#include "kestrel/interactive.h"

using namespace kestrel;
using namespace kestrel::interactive;

extern "C" {

KESTREL_API void KESTREL_CALL TrackPolygon(const int32_t *x, const int32_t *y, int32_t count, int32_t *dx,
                                           int32_t *dy) {
    return kestrel::guarded<void>("TrackPolygon", [&]() -> void {
        int32_t ignoredX = 0, ignoredY = 0;
        if (!dx) dx = &ignoredX;
        if (!dy) dy = &ignoredY;
        if (!x || !y || count < 0) count = 0;
        try {
            const Point start = mouseInWindow();
            StatusPrompt status("Move Polygon ...", false);
            KDC client = plat::getClientDC(hWndClient);
            KPALETTE previousPalette = nullptr;
            if (!client) {
                LogLastError("ERROR: No hdc in TrackPolygon!", 0);
            } else {
                previousPalette = ActivateMyPalette(client);
                SetColor(0);
                plat::selectObject(client, plat::createPen(plat::PenDot, 1, mCGS.color));
            }
            plat::captureMouse(hWndClient);
            plat::setCursor(plat::CursorSizeAll);
            mCGS.interactive = 0;
            KBInitialize();

            KPoint32 chunk[512];  // the outline is drawn in pieces: no allocation per redraw
            bool drawn = false;
            CaptureWhileInside capture(plat::CursorSizeAll);
            plat::Rect covered{};
            while (!mCGS.interactive) {
                if (drawn) restoreFromPicture(client, covered);
                const Point m = mouseInWindow();
                *dx = addPixels(m.x, -int64_t{start.x});
                *dy = addPixels(m.y, -int64_t{start.y});
                if (client && count > 0) {
                    plat::Rect box{INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN};
                    int n = 0;
                    for (int32_t i = 0; i < count; ++i) {
                        const int32_t px = addPixels(x[i], *dx), py = addPixels(y[i], *dy);
                        chunk[n++] = {addPixels(px, -int64_t{iHscrollPos}), addPixels(py, -int64_t{iVscrollPos})};
                        box.left = std::min(box.left, px - 1);
                        box.top = std::min(box.top, py - 1);
                        box.right = std::max(box.right, px + 2);
                        box.bottom = std::max(box.bottom, py + 2);
                        if (n == 512 || i == count - 1) {
                            plat::polyline(client, chunk, n);
                            chunk[0] = chunk[n - 1];  // the next piece starts where this one ends
                            n = 1;
                        }
                    }
                    covered = box;
                    drawn = true;
                }
                plat::showClientDC(hWndClient, client);
                if (outsideClick(plat::waitOneMessage())) {
                    mCGS.interactive = 1;  // the status bar and the view are put back below
                    break;
                }
                if (!KBEmpty && CM_Bstatus == 0) {
                    int32_t type = 0, one = 0, two = 0;
                    KBGetKey(&type, &one, &two);
                    if ((type == KB_KEY && (one == 27 || one == 13)) || type == KB_RELEASE) mCGS.interactive = 1;
                }
                capture.follow(mouseInWindow());
            }
            if (drawn) restoreFromPicture(client, covered);
            if (client) {
                RestorePen(client, "TrackPolygon");
                RestorePalette(client, previousPalette, "TrackPolygon");
                plat::releaseClientDC(hWndClient, client);
            }
            plat::setCursor(plat::CursorArrow);
            plat::releaseMouse();
            status.finish();
        } catch (...) {
            plat::releaseMouse();
            KBInitialize();
        }
    });
}

KESTREL_API int32_t KESTREL_CALL MoveBitMap(void) {
    return kestrel::guarded<int32_t>("MoveBitMap", [&]() -> int32_t {
        // A step this long is the cursor being reset or wrapping, not a drag.
        constexpr int32_t kJump = 1000;
        Point last = mouseInWindow();
        StatusPrompt status("Move Canvas ...", false);
        KDC client = plat::getClientDC(hWndClient);
        if (!client) LogLastError("ERROR: No hdc in MoveBitMap!", 0);
        plat::captureMouse(hWndClient);
        plat::setCursor(plat::CursorSizeAll);
        int32_t total = 0;
        for (;;) {
            const Point m = mouseInWindow();
            const int32_t dx = addPixels(m.x, -int64_t{last.x}), dy = addPixels(m.y, -int64_t{last.y});
            last = m;
            if ((dx != 0 || dy != 0) && std::abs(dx) < kJump && std::abs(dy) < kJump) {
                const int32_t h = std::clamp(addPixels(iHscrPos, -int64_t{dx}), 0, std::max(iHscrollLim, 0));
                const int32_t v = std::clamp(addPixels(iVscrPos, -int64_t{dy}), 0, std::max(iVscrollLim, 0));
                plat::sendScrollMessage(hWndClient, plat::MsgHScroll,
                                        static_cast<uint32_t>(plat::ScrollThumbTrack) | (static_cast<uint32_t>(h) << 16));
                plat::sendScrollMessage(hWndClient, plat::MsgVScroll,
                                        static_cast<uint32_t>(plat::ScrollThumbTrack) | (static_cast<uint32_t>(v) << 16));
                total = static_cast<int32_t>(std::min<int64_t>(INT32_MAX, int64_t{total} + std::abs(dx) + std::abs(dy)));
            }
            // A click outside the window (or a host that cannot wait) ends the
            // drag as surely as the button coming up.
            if (outsideClick(plat::waitOneMessage()) || CM_Bstatus == 0) break;
        }
        status.finish();
        plat::releaseMouse();
        plat::setCursor(plat::CursorArrow);
        plat::releaseClientDC(hWndClient, client);
        return total;
    });
}

}  // extern "C"
