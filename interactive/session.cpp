#include "interactive/session.h"

#include "kestrel/frame.h"
#include "plot/transform.h"

namespace kestrel::interactive {

// The user value of a pixel's middle (half a pixel away from zero, as the
// transform truncates toward zero): the exact inverse of the pixel's edge
// lands on the edge, and a rounding error there would map the picked point
// back onto the neighbouring pixel.
static float userOf(const KAxis &a, int32_t p) {
    if (a.pixPerUser == 0.0f) return a.umin;
    const double middle = p + (p < 0 ? -0.5 : 0.5);
    return static_cast<float>((middle - a.lowPix) / static_cast<double>(a.pixPerUser) + a.umin);
}

float userX(int32_t px) { return userOf(VX, px); }
float userY(int32_t py) { return userOf(VY, py); }

void restoreFromPicture(KDC client, const plat::Rect &r) {
    if (!client || !hdcMem || r.right <= r.left || r.bottom <= r.top) return;
    const int64_t w = int64_t{r.right} - r.left, h = int64_t{r.bottom} - r.top;
    plat::bitBlt(client, clampPixel(int64_t{r.left} - iHscrollPos), clampPixel(int64_t{r.top} - iVscrollPos),
                 clampPixel(w), clampPixel(h), hdcMem, r.left, r.top);
}

bool insideClient(Point p) {
    plat::Rect rc{};
    if (!plat::clientRect(hWndClient, &rc)) return true;  // nothing to leave
    return p.x >= rc.left && p.x < rc.right && p.y >= rc.top && p.y < rc.bottom;
}

StatusPrompt::StatusPrompt(const char *prompt, bool coordinates)
    : saved_(plat::statusPart(hWndStatusBar, 0)), coordinates_(coordinates) {
    plat::setStatusPart(hWndStatusBar, 0, prompt);
}

void StatusPrompt::coordinates(const char *text) const { plat::setStatusPart(hWndStatusBar, 1, text); }

void StatusPrompt::finish() {
    if (finished_) return;
    finished_ = true;
    plat::setStatusPart(hWndStatusBar, 0, saved_.c_str());
    if (coordinates_) plat::setStatusPart(hWndStatusBar, 1, "");
    KBInitialize();
    UpdateView();
}

}  // namespace kestrel::interactive
