// Point picking: a rubber band through the points picked so far and the
// cursor, drawn on the window only.
#include <algorithm>
#include <cstdio>
#include <vector>

#include "base/guard.h"
#include "interactive/session.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/frame.h"
#include "kestrel/interactive.h"
#include "plot/transform.h"

using namespace kestrel;
using namespace kestrel::interactive;

namespace {

constexpr int kRadius = 4;  // of the circle around each picked point

// The rubber band on the window: drawn from the picked points (picture
// pixels) and the cursor, erased by copying back what it covered.
class RubberBand {
public:
    explicit RubberBand(KDC client) : client_(client) {}

    void erase() {
        if (drawn_) restoreFromPicture(client_, covered_);
        drawn_ = false;
    }

    void draw(const std::vector<Point> &points, Point cursor) {
        erase();
        if (!client_ || points.empty()) return;
        line_.clear();
        plat::Rect box{cursor.x, cursor.y, cursor.x + 1, cursor.y + 1};
        for (const Point &p : points) {
            const int32_t wx = p.x - iHscrollPos, wy = p.y - iVscrollPos;
            plat::ellipse(client_, wx - kRadius, wy - kRadius, wx + kRadius, wy + kRadius);
            line_.push_back({wx, wy});
            box.left = std::min(box.left, p.x - kRadius);
            box.top = std::min(box.top, p.y - kRadius);
            box.right = std::max(box.right, p.x + kRadius + 1);
            box.bottom = std::max(box.bottom, p.y + kRadius + 1);
        }
        line_.push_back({cursor.x - iHscrollPos, cursor.y - iVscrollPos});
        plat::polyline(client_, line_.data(), static_cast<int>(line_.size()));
        covered_ = box;
        drawn_ = true;
    }

private:
    KDC client_;
    bool drawn_ = false;
    plat::Rect covered_{};
    std::vector<KPoint32> line_;  // reused from redraw to redraw
};

size_t nearest(const std::vector<Point> &points, Point to) {
    size_t best = 0;
    int64_t bestD = -1;
    for (size_t i = 0; i < points.size(); ++i) {
        const int64_t dx = points[i].x - to.x, dy = points[i].y - to.y;
        const int64_t d = dx * dx + dy * dy;
        if (bestD < 0 || d < bestD) {  // the first of equally near points wins
            bestD = d;
            best = i;
        }
    }
    return best;
}

}  // namespace

extern "C" KESTREL_API int32_t KESTREL_CALL GetPoints(float *x, float *y, int32_t maxCount, int32_t initial,
                                                      KCOLORREF pen) {
    return kestrel::guarded<int32_t>("GetPoints", [&]() -> int32_t {
        if (!x || !y || maxCount < 0 || initial < 0) return 0;
        try {
            StatusPrompt status(
                "GetPoints:   L-MSE-CLICK add point,  R-MSE-CLICK delete point,  ENTER accept,  ESC abort ...", true);
            KDC client = plat::getClientDC(hWndClient);
            KPALETTE previousPalette = ActivateMyPalette(client);
            plat::GdiObj previousBrush = nullptr;
            if (client) {
                plat::selectObject(client, plat::createPen(plat::PenSolid, 1, pen));
                previousBrush = plat::selectObject(client, plat::getStockObject(plat::StockNullBrush));
            }
            plat::captureMouse(hWndClient);
            plat::setCursor(plat::CursorCross);

            // The points in picture pixels beside the caller's user values.
            std::vector<Point> picked;
            // Grown as the user clicks: the host's maximum may be far beyond what
            // anyone picks by hand.
            picked.reserve(static_cast<size_t>(initial) + 16);
            for (int32_t i = 0; i < initial; ++i) picked.push_back({xPixel(x[i]), yPixel(y[i])});
            KBInitialize();

            RubberBand band(client);
            int32_t count = initial;
            bool redraw = true, done = false;
            CaptureWhileInside capture(plat::CursorCross);
            Point last = mouseInWindow();
            while (!done) {
                const Point cursor = mouseInPicture();
                if (redraw) {
                    band.draw(picked, cursor);
                    plat::showClientDC(hWndClient, client);
                    char text[128];
                    std::snprintf(text, sizeof text, "%d/%d   [%10.3f/%10.3f]", count, maxCount, userX(cursor.x),
                                  userY(cursor.y));
                    status.coordinates(text);
                    redraw = false;
                }
                if (outsideClick(plat::waitOneMessage())) {
                    count = 0;
                    KBInitialize();
                    UpdateView();
                    break;
                }
                if (!KBEmpty) {
                    int32_t type = 0, one = 0, two = 0;
                    KBGetKey(&type, &one, &two);
                    const Point at = mouseInPicture();
                    if (type == KB_KEY && one == 27) {
                        count = 0;
                        done = true;
                    } else if (type == KB_KEY && one == 13) {
                        done = true;
                    } else if (type == KB_PRESS && one == KB_LEFT) {
                        x[count] = userX(at.x);
                        y[count] = userY(at.y);
                        picked.push_back(at);
                        ++count;
                        if (count >= maxCount) done = true;
                        redraw = true;
                    } else if (type == KB_PRESS && one == KB_RIGHT && count > initial) {
                        const size_t k = nearest(picked, at);
                        picked.erase(picked.begin() + static_cast<std::ptrdiff_t>(k));
                        for (int32_t i = static_cast<int32_t>(k); i + 1 < count; ++i) {
                            x[i] = x[i + 1];
                            y[i] = y[i + 1];
                        }
                        --count;
                        if (count == 0) {
                            band.erase();
                            plat::showClientDC(hWndClient, client);
                        }
                        redraw = true;
                    }
                }
                const Point now = mouseInWindow();
                capture.follow(now);
                if (now.x != last.x || now.y != last.y) redraw = true;
                last = now;
            }

            band.erase();
            if (client) {
                plat::selectObject(client, previousBrush);
                RestorePen(client, "GetPoints");
                RestorePalette(client, previousPalette, "GetPoints");
                plat::releaseClientDC(hWndClient, client);
            }
            plat::releaseMouse();
            plat::setCursor(plat::CursorArrow);
            status.finish();
            return count;
        } catch (...) {
            // Out of memory for the point list: the picking ends as an abort.
            plat::releaseMouse();
            KBInitialize();
            return 0;
        }
    });
}
