/*
 * Kestrel: the headless canvas and user-interface callbacks (non-Windows hosts).
 *
 * On POSIX a device context (KDC) is a canvas: an RGB picture in memory that
 * the drawing routines paint with the same pixel conventions as a Windows
 * device context. A host creates one, stores it in hdcMem (and sets
 * Vbmp_size_cx, Vbmp_size_cy and the device fields of VX and VY), draws, and
 * saves it as PNG.
 *
 * The user-interface services of the library (status text, progress bar,
 * message boxes, cursor, message pump) call the host back through
 * KestrelSetUICallbacks. With no callbacks registered everything still works
 * silently; a message box is written to the error log and takes its default
 * answer (the first button: OK, or Yes for a yes/no box).
 *
 * The shared library starts itself up when it is loaded; a host that links
 * the library statically calls initKestrel() once before anything else.
 *
 * None of this exists in the Windows build, where the host hands in real
 * window handles and device contexts.
 */
#ifndef KESTREL_CANVAS_H
#define KESTREL_CANVAS_H

#include "types.h"

#if !defined(_WIN32)

KESTREL_EXTERN_C_BEGIN

/* Creates a canvas of width x height pixels, filled white. Returns null for a
 * size that is not positive or too large (more than 2^28 pixels). The caller
 * owns it and frees it with KCanvasDestroy. */
KESTREL_API KDC KESTREL_CALL KCanvasCreate(int32_t width, int32_t height);

/* Creates a vector canvas of width x height pixels, filled white: it keeps
 * what is drawn on it as shapes and text, antialiased, with one-pixel pens
 * drawn as lines through the pixel centres, and rectangles that meet edge to
 * edge overlapping a little so that no background shows between them. It
 * has no pixels (KCanvasPixels gives null, KCanvasGetPixel 0xFFFFFFFF);
 * KCanvasExport writes it at any size. Null for a size KCanvasCreate
 * refuses. */
KESTREL_API KDC KESTREL_CALL KCanvasCreateVector(int32_t width, int32_t height);

/* From now on every drawing call on canvas (lines, shapes, fills, text,
 * clipping, selections, modes) is repeated on mirror, so that one drawing
 * fills both: for instance a pixel canvas for the screen and a vector canvas
 * for print. The mirror takes the canvas's current selections. Null mirror
 * stops it. Returns 0 when either is not a canvas, when they are the same,
 * or when mirror already mirrors or is mirrored (one level only). */
KESTREL_API int32_t KESTREL_CALL KCanvasMirror(KDC canvas, KDC mirror);

/* Writes the canvas's picture to fileName in format "png", "pdf" or "svg",
 * scale output units per canvas pixel (PNG: pixels, so 2 doubles the
 * resolution; PDF and SVG: points). A vector canvas is drawn afresh at that
 * scale; a pixel canvas is scaled as an image. Returns 1 on success, 0 for
 * an unknown format, a scale outside (0, 64], a PNG of more than 2^28
 * pixels or a file that cannot be written. */
KESTREL_API int32_t KESTREL_CALL KCanvasExport(KDC canvas, const char *fileName, const char *format, double scale);

/* Frees a canvas and everything selected into it; null is ignored. */
KESTREL_API void KESTREL_CALL KCanvasDestroy(KDC canvas);

/* Writes the canvas as a PNG file. Returns 1 on success, 0 on failure. */
KESTREL_API int32_t KESTREL_CALL KCanvasSavePNG(KDC canvas, const char *fileName);

/* The colour of pixel (x, y) as a device colour value (red in the low byte),
 * or 0xFFFFFFFF outside the canvas. */
KESTREL_API uint32_t KESTREL_CALL KCanvasGetPixel(KDC canvas, int32_t x, int32_t y);

/* The canvas's pixels, for a host that shows it in a window: rows of 4-byte
 * pixels (a 32-bit native-endian value 0x00RRGGBB each, Cairo's RGB24
 * layout), *stride bytes from one row to the next. Valid until the next
 * drawing call or KCanvasDestroy; null (stride 0) for null. */
KESTREL_API const uint8_t *KESTREL_CALL KCanvasPixels(KDC canvas, int32_t *stride);

/* Width and height of the canvas in pixels (0 for null). */
KESTREL_API int32_t KESTREL_CALL KCanvasWidth(KDC canvas);
KESTREL_API int32_t KESTREL_CALL KCanvasHeight(KDC canvas);

/* Selects a new solid brush of a device colour (red in the low byte, or the
 * palette-index form 0x01000000 | i) into the canvas, or a new pen of a
 * style (0 solid, 1 dash, 2 dot, ...), a width in pixels and a colour: what
 * a Windows host does with CreateSolidBrush / CreatePen and SelectObject
 * before calling routines that draw with the caller's brush or pen
 * (DrawPoly). The previous brush or pen is deleted unless it is a stock
 * object; RestoreBrush and RestorePen put the stock ones back. */
KESTREL_API void KESTREL_CALL KCanvasSelectBrush(KDC canvas, KCOLORREF colour);
KESTREL_API void KESTREL_CALL KCanvasSelectPen(KDC canvas, int32_t style, int32_t width, KCOLORREF colour);

/* Writes text to a file handle the library handed out (PSOpenFile), the way
 * a Windows host uses WriteFile on it; returns the bytes written, or -1. */
KESTREL_API int32_t KESTREL_CALL KFileWriteText(KFILE file, const char *text);

/* Closes such a file handle (null is ignored). */
KESTREL_API void KESTREL_CALL KFileClose(KFILE file);

/* Opens an existing file for reading, as a Windows host opens a
 * topography grid with CreateFile for GetEtopoHeight: exclusively (an
 * advisory lock held until KFileClose), null when the file is missing or
 * held by someone else. */
KESTREL_API KFILE KESTREL_CALL KFileOpenRead(const char *path);

/* Host callbacks; any member may be null. */
typedef struct KUICallbacks {
    void *user; /* passed back to every callback */
    /* The status bar shows text. */
    void (*statusText)(void *user, const char *text);
    /* A progress bar is created at x, y (pixels in the status bar), w x h,
     * with the range 0..range and the given step; return a non-null handle
     * the host recognises, or null. */
    KWND (*progressBar)(void *user, int32_t x, int32_t y, int32_t w, int32_t h, int32_t range, int32_t step);
    /* A message box: type holds the platform's MB_* bits (0x4 = Yes/No).
     * Return 1 for OK, 6 for Yes, 7 for No. */
    int32_t (*messageBox)(void *user, const char *text, const char *caption, uint32_t type);
    /* Dispatch waiting events; never wait. */
    void (*pumpMessages)(void *user);
    /* Wait for the next event (the interactive tools' message wait). */
    void (*waitMessage)(void *user);
    /* The cursor position in screen pixels; return 0 when unknown. */
    int32_t (*cursorPos)(void *user, int32_t *x, int32_t *y);
    /* Show cursor kind 0 arrow, 1 wait, 2 cross, 3 move, 4 north-east/
     * south-west sizing, 5 north-west/south-east, 6 vertical, 7 horizontal. */
    void (*setCursor)(void *user, int32_t kind);
    /* The screen rectangle of a window (left, top, right, bottom); 0 = unknown. */
    int32_t (*windowRect)(void *user, KWND window, int32_t rect[4]);
    /* Repaint a window now. */
    void (*updateView)(void *user, KWND window);
    /* A message to one of the host's windows, as SendMessage delivers it:
     * the file lists send each name as text (wParam 0); MoveBitMap sends the
     * scroll messages 276 (horizontal) and 277 (vertical) to hWndClient with
     * 5 (thumb tracking) in the low and the new position in the high 16 bits
     * of wParam and a null text. Returns the host's answer. */
    long (*sendMessage)(void *user, KWND window, uint32_t message, uintptr_t wParam, const char *text);

    /* ---- The interactive tools (GetPoints, ZoomViewPort, ...) ----
     * They draw their rubber bands on the window itself, never into hdcMem,
     * and erase them by copying back from hdcMem. */
    /* The canvas that is shown as the client window's contents (what GetDC
     * gives on Windows), client-window pixels; null when there is none. */
    KDC (*clientDC)(void *user, KWND window);
    /* What the tool drew on it is ready: show it. Called after every
     * redraw of a rubber band or box, and when the tool ends. */
    void (*showClientDC)(void *user, KWND window, KDC dc);
    /* Mouse capture for window; null releases it. */
    void (*captureMouse)(void *user, KWND window);
    /* Text of the status bar's panes (the first is index 0, the second
     * index 1, ...): set, and read back into buf (size
     * bytes, zero-terminated; return 0 when unknown). Without the setter,
     * the first pane's text goes to statusText. */
    void (*statusPart)(void *user, int32_t part, const char *text);
    int32_t (*getStatusPart)(void *user, int32_t part, char *buf, int32_t size);
    /* Wait for one event, handle it (update CM_Xpos, CM_Ypos, CM_Bstatus,
     * add it to the key queue, scroll, repaint) and return its Windows
     * message number: 512 mouse move, 513 left press, 514 left release, 516
     * right press, 256 key, 161 a click outside the client area, 18 quit;
     * 0 for anything else. Without this callback a tool ends at once, as if
     * the user had clicked outside the window. */
    int32_t (*waitOneMessage)(void *user);
} KUICallbacks;

/* Registers the host callbacks (copied); null removes them. */
KESTREL_API void KESTREL_CALL KestrelSetUICallbacks(const KUICallbacks *callbacks);

KESTREL_EXTERN_C_END

#endif /* !_WIN32 */

#endif /* KESTREL_CANVAS_H */
