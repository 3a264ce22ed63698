// What every modal mouse tool does alike: read the mouse as the host
// reports it, convert between picture pixels and user units, erase by
// copying the picture back, and take over and hand back the status bar.
#ifndef KESTREL_INTERACTIVE_SESSION_H
#define KESTREL_INTERACTIVE_SESSION_H

#include <string>

#include "kestrel/globals.h"
#include "platform/platform.h"
#include "plot/transform.h"

namespace kestrel::interactive {

// The host stores the mouse position from the low and high words of a
// message parameter; a position left or above the window arrives as an
// unsigned 16-bit number (65530 for -5).
inline int32_t unwrapCoordinate(int32_t v) { return v > 10000 ? v - 65535 : v; }

struct Point {
    int32_t x, y;
};

// Pixel arithmetic on what the host hands in, kept within the range the
// drawing code can take (no int32 overflow, whatever the host wrote).
inline int32_t addPixels(int64_t a, int64_t b) { return clampPixel(a + b); }

// The mouse in client-window pixels.
inline Point mouseInWindow() {
    return {clampPixel(unwrapCoordinate(CM_Xpos)), clampPixel(unwrapCoordinate(CM_Ypos))};
}
// The mouse in picture pixels (the window scrolled over hdcMem).
inline Point mouseInPicture() {
    const Point m = mouseInWindow();
    return {clampPixel(int64_t{m.x} + iHscrollPos), clampPixel(int64_t{m.y} + iVscrollPos)};
}

// User coordinates of a picture pixel: the inverse of the drawing transform.
float userX(int32_t px);
float userY(int32_t py);

// Copies the picture rectangle [left, right) x [top, bottom) (picture
// pixels) from hdcMem back onto the client window.
void restoreFromPicture(KDC client, const plat::Rect &picture);

bool insideClient(Point window);

// The mouse captured while the cursor is inside the client window, released
// while it is outside; captured (with the tool's cursor) when it comes back.
// Starts captured, as the tools capture the mouse when they begin.
class CaptureWhileInside {
public:
    explicit CaptureWhileInside(int cursor) : cursor_(cursor) {}
    void follow(Point window) {
        const bool inside = insideClient(window);
        if (!inside && captured_) {
            plat::releaseMouse();
            captured_ = false;
        } else if (inside && !captured_) {
            plat::captureMouse(hWndClient);
            plat::setCursor(cursor_);
            captured_ = true;
        }
    }

private:
    int cursor_;
    bool captured_ = true;
};

// Takes the status bar's first pane for a prompt and gives it back on
// finish(), with the second pane emptied (for the tools that show
// coordinates there), the key queue
// cleared and the view repainted.
class StatusPrompt {
public:
    StatusPrompt(const char *prompt, bool coordinates);
    void coordinates(const char *text) const;  // the second pane
    void finish();
    ~StatusPrompt() { finish(); }
    StatusPrompt(const StatusPrompt &) = delete;
    StatusPrompt &operator=(const StatusPrompt &) = delete;

private:
    std::string saved_;
    bool coordinates_;
    bool finished_ = false;
};

// Waits for one message; true when it ends the tool (a click outside the
// client area, or the application closing).
inline bool outsideClick(unsigned message) { return message == plat::MsgNcLButtonDown; }

}  // namespace kestrel::interactive

#endif
