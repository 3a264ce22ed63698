/*
 * Kestrel: the interactive mouse tools.
 *
 * Each tool is modal: it runs its own message loop on the window's thread
 * until the user accepts, aborts or lets go. It reads the mouse from
 * CM_Xpos, CM_Ypos (client-window pixels) and CM_Bstatus (0 no button, 1 the
 * left button down), and mouse and keyboard events from the key queue,
 * which the host's window procedure fills with KBAddKey in these codes:
 *
 *   KBAddKey(KB_PRESS,   KB_LEFT or KB_RIGHT, 0)   a mouse button goes down
 *   KBAddKey(KB_RELEASE, KB_LEFT or KB_RIGHT, 0)   a mouse button comes up
 *   KBAddKey(KB_KEY,     key code,            0)   a key (13 Enter, 27 Escape)
 *
 * A mouse coordinate above 10000 is read as a negative position that came
 * as an unsigned 16-bit value (65530 is -5).
 *
 * The tools draw only on the client window (hWndClient's own device
 * context; on POSIX the canvas the host's clientDC callback gives) and erase
 * what they drew by copying it back from the off-screen picture hdcMem,
 * offset by the scroll positions iHscrollPos and iVscrollPos. They show a
 * prompt in the status bar's first pane and put its previous text back at
 * the end, use the second pane for coordinates (left empty at the end),
 * clear the key queue and repaint the view with UpdateView when they end.
 */
#ifndef KESTREL_INTERACTIVE_H
#define KESTREL_INTERACTIVE_H

#include "globals.h"

KESTREL_EXTERN_C_BEGIN

enum { KB_KEY = 0, KB_PRESS = 1, KB_RELEASE = -1 };
enum { KB_LEFT = 1, KB_RIGHT = 2 };

/* Picks points with the mouse: a left click appends the cursor position (in
 * user units) to x and y, a right click removes the point nearest to the
 * cursor (only while there are more than `initial`), Enter accepts, Escape
 * or a click outside the client area aborts. The first `initial` entries
 * are earlier points, shown and kept. The arrays need room for maxCount
 * points, and maxCount + 1 when initial equals maxCount (the click is
 * stored before the count is compared). The rubber band and the point
 * circles are drawn with a one-pixel pen of colour `pen`. Returns the
 * number of points, 0 on abort. */
KESTREL_API int32_t KESTREL_CALL GetPoints(float *x, float *y, int32_t maxCount, int32_t initial, KCOLORREF pen);

/* Drags a red zoom box over the plot: corner handles move a corner, edge
 * handles an edge, the inside the whole box; Enter accepts (13), Escape, a
 * right click or a click outside the client area abort (27). x0, y0 is the
 * lower-left, x1, y1 the upper-right corner, in user units, updated while
 * the user drags (and kept on abort); the decimals are those shown in the
 * status bar. A range that is one pixel or less wide comes back one pixel
 * wide; reversed corners come back ordered. */
KESTREL_API int32_t KESTREL_CALL ZoomViewPort(float *x0, float *x1, int32_t xDecimals, float *y0, float *y1,
                                              int32_t yDecimals);

/* Erases the zoom box that is shown, if any, and draws the box x0, y0 - x1,
 * y1 (user units) with eight handles (allHandles = 1) or only the middle
 * ones of the top and bottom edges; x0 = -1.0e10 only erases. */
KESTREL_API void KESTREL_CALL DrawZoomBox(float x0, float y0, float x1, float y1, int32_t allHandles);

/* Drags the dotted outline of a polygon (vertices in picture pixels) until
 * the left button is released or Enter or Escape is pressed; dx and dy
 * receive the offset from where the mouse started, in pixels. */
KESTREL_API void KESTREL_CALL TrackPolygon(const int32_t *x, const int32_t *y, int32_t count, int32_t *dx,
                                           int32_t *dy);

/* Scrolls the client window by dragging the picture while the mouse button
 * is down: sends it scroll messages (276, 277) with the new positions.
 * Returns the total distance the mouse moved, in pixels, so the host can
 * tell a click from a drag; single steps of 1000 pixels or more are
 * ignored. */
KESTREL_API int32_t KESTREL_CALL MoveBitMap(void);

/* Stretches or moves the colour range z0..z1 (data units) with a zoom box
 * on a strip right of the plot; returns 13 (Enter) or 27 (abort). z0 and z1
 * are updated while the user drags and come back ordered. */
KESTREL_API int32_t KESTREL_CALL ZoomColorBar(float *z0, float *z1, int32_t decimals);

/* Rounds value to `decimals` decimals, halves away from zero; values whose
 * scaled magnitude is 0 or at least 1e8 come back unchanged. The Windows
 * DLLs export this routine under the host's name roundf as well (a DLL's
 * export table is its own namespace); a shared object that exported roundf
 * would take the C library's roundf from every program that loads it, so
 * elsewhere it goes by this name only. */
KESTREL_API float KESTREL_CALL KroundDecimals(float value, int32_t decimals);

KESTREL_EXTERN_C_END

#endif /* KESTREL_INTERACTIVE_H */
