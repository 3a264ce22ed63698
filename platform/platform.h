// The platform layer: the only interface through which the subsystems reach an
// operating system or a window system.
//
// The drawing half mirrors the GDI calls the drawing code is written against,
// with the same arguments and the same pixel conventions, so that a routine
// reads the same on both platforms and draws the same pixels:
//   - a one-pixel line from a to b sets the pixels of a Bresenham walk and
//     leaves out b itself;
//   - FillRect covers [left, right) x [top, bottom);
//   - Rectangle and Polygon outline with the current pen and fill with the
//     current brush; polygon fill is even-odd (ALTERNATE) unless WINDING is set;
//   - clipping is to rectangles or polygons, pixel centres decide.
// On Windows every call forwards to GDI/USER/kernel; on POSIX the device
// context is a Cairo image canvas and the user-interface calls go to host
// callbacks (see include/kestrel/canvas.h).
#ifndef KESTREL_PLATFORM_H
#define KESTREL_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "kestrel/types.h"

namespace kestrel::plat {

using GdiObj = void *;

struct Rect {
    int32_t left, top, right, bottom;
};
struct Size {
    int32_t cx, cy;
};
struct PaletteEntry {
    uint8_t red, green, blue, flags;
};
struct LocalTime {
    int year, month, day, hour, minute, second;
};

constexpr KCOLORREF rgb(int r, int g, int b) {
    return static_cast<KCOLORREF>((r & 0xff) | ((g & 0xff) << 8) | ((b & 0xff) << 16));
}
constexpr KCOLORREF paletteIndex(int i) { return 0x01000000u | static_cast<KCOLORREF>(i & 0xffff); }
constexpr KCOLORREF kInvalidColor = 0xFFFFFFFFu;

// Pen styles, stock objects, modes: the GDI values.
enum : int { PenSolid = 0, PenDash = 1, PenDot = 2, PenDashDot = 3, PenDashDotDot = 4, PenNull = 5 };
enum : int {
    StockWhiteBrush = 0, StockLtGrayBrush = 1, StockGrayBrush = 2, StockDkGrayBrush = 3,
    StockBlackBrush = 4, StockNullBrush = 5, StockWhitePen = 6, StockBlackPen = 7, StockNullPen = 8,
    StockSystemFont = 13
};
enum : int { BkTransparent = 1, BkOpaque = 2 };
enum : int { FillAlternate = 1, FillWinding = 2 };
enum : unsigned {
    TaLeft = 0, TaRight = 2, TaCenter = 6, TaTop = 0, TaBottom = 8, TaBaseline = 24,
    TaHorizontalMask = 6, TaVerticalMask = 24
};
enum : int { RgnAnd = 1, RgnOr = 2, RgnCopy = 5 };
// GetDeviceCaps indices.
enum : int { CapHorzSize = 4, CapVertSize = 6, CapHorzRes = 8, CapVertRes = 10, CapBitsPixel = 12, CapPlanes = 14 };
// GetSystemMetrics indices (the eight screen metrics the graphics state keeps).
enum : int {
    SmCxScreen = 0, SmCyScreen = 1, SmCxVScroll = 2, SmCyHScroll = 3, SmCyCaption = 4,
    SmCxFrame = 32, SmCyFrame = 33, SmCyMenu = 15
};
// Message boxes.
enum : unsigned { MbOk = 0x0, MbYesNo = 0x4, MbIconExclamation = 0x30, MbTaskModal = 0x2000 };
enum : int { IdOk = 1, IdCancel = 2, IdYes = 6, IdNo = 7 };
// Cursors.
enum : int {
    CursorArrow = 0, CursorWait = 1, CursorCross = 2, CursorSizeAll = 3,
    CursorSizeNESW = 4, CursorSizeNWSE = 5, CursorSizeNS = 6, CursorSizeWE = 7
};
// Window messages the interactive tools look for or send (the Windows numbers).
enum : unsigned {
    MsgNcLButtonDown = 161, MsgHScroll = 276, MsgVScroll = 277, MsgRButtonDown = 516, MsgQuit = 18
};
enum : int { ScrollThumbTrack = 5 };

// ---- Start-up ------------------------------------------------------------------
// What the loader's notification runs (every notification on Windows, once
// on load elsewhere). Defined by the library's start-up, which knows every
// layer; the platform only calls it.
void onLibraryLoad();
// The colours that palette-index colour values (0x01000000 | i) stand for on
// a canvas: 256 red, green, blue triples owned by the caller, read at each
// use. Until set they are black.
void setIndexColours(const uint8_t (*table)[3]);

// ---- System ----------------------------------------------------------------
void localTime(LocalTime *t);
void osVersion(KOSVersionInfo *v);        // v->dwOSVersionInfoSize set by the caller
bool userName(char *buf, uint32_t len);
bool computerName(char *buf, uint32_t len);
std::string lastErrorMessage();           // the platform's text for the last error
void beep();

// ---- Files (KFILE) ---------------------------------------------------------
KFILE fileCreate(const char *path);       // read/write, shared, always created anew
KFILE fileOpenRead(const char *path);     // existing file, read only
KFILE fileOpenReadExclusive(const char *path); // existing file, read only, nobody else may open it meanwhile
                                               // (an advisory lock where the system has no sharing modes)
KFILE fileOpenReadWrite(const char *path);// existing file, read and write
long fileWrite(KFILE f, const void *data, size_t n);  // bytes written, -1 on error
long fileRead(KFILE f, void *data, size_t n);         // bytes read, -1 on error
int64_t fileSeek(KFILE f, int64_t offset, int origin); // origin 0 begin, 1 current, 2 end
void fileClose(KFILE f);
KFILE fileOpenAlways(const char *path);   // read/write, shared; created when absent, never truncated
inline long fileWriteText(KFILE f, const char *s) {
    size_t n = 0;
    while (s[n]) ++n;
    return fileWrite(f, s, n);
}

// ---- User interface --------------------------------------------------------
void setWindowText(KWND w, const char *text);
void updateWindow(KWND w);
void invalidateWindow(KWND w, bool erase);
bool clientRect(KWND w, Rect *r);
bool windowRect(KWND w, Rect *r);          // screen coordinates
bool cursorPos(int32_t *x, int32_t *y);    // screen coordinates
KWND createProgressBar(KWND parent, KINSTANCE inst, int x, int y, int w, int h, int range, int step);
// The answer (IdOk, IdYes, ...); 0 when there is nobody to ask (a POSIX
// host without the callback).
int messageBox(KWND owner, const char *text, const char *caption, unsigned type);
void pumpMessages(KWND w);                 // dispatch what is waiting; never waits
void waitMessage();                        // block until an event arrives
int setCursor(int cursor);                 // returns the previous cursor kind
void setProgressPos(KWND bar, int pos);    // moves a progress bar; null is ignored

// ---- The interactive tools' window services -----------------------------------
// The client window's own drawing surface (GetDC); null when there is none.
// showClientDC makes what was drawn on it visible (a host that paints the
// window from a canvas repaints it); the tools call it after every redraw.
KDC getClientDC(KWND w);
void showClientDC(KWND w, KDC dc);
void releaseClientDC(KWND w, KDC dc);
void captureMouse(KWND w);                 // all mouse input goes to w
void releaseMouse();
// Text of one pane of the status bar (0 the first); the getter returns what
// the pane shows.
void setStatusPart(KWND bar, int part, const char *text);
std::string statusPart(KWND bar, int part);
// Waits for one message, dispatches it and returns its number. A message
// that ends the application, or a POSIX host that cannot wait (no
// callback), reads as a click outside the client area so that a modal tool
// ends instead of waiting for ever.
unsigned waitOneMessage();
// A scroll message (MsgHScroll, MsgVScroll) with its parameter, sent now.
void sendScrollMessage(KWND w, unsigned message, uint32_t wParam);
void destroyWindow(KWND w);                // null is ignored

// ---- Device contexts and objects --------------------------------------------
GdiObj getStockObject(int which);
GdiObj selectObject(KDC dc, GdiObj obj);   // returns the previous object of that kind
bool deleteObject(GdiObj obj);
// ---- The host's housekeeping --------------------------------------------------
struct DirEntry {
    std::string name;
    bool directory = false;
    int64_t writeTime = 0;  // seconds since 1970-01-01, UTC
};
// Entries of directory dir ("" for the current one) whose names match the
// wildcard pattern (* and ?; "*.*" matches every name), "." and ".."
// included when the system lists them. False when dir cannot be read.
bool listDirectory(const std::string &dir, const std::string &pattern, std::vector<DirEntry> *out);
std::string currentDirectory();  // with the system's separators, no trailing one
bool setCurrentDirectory(const std::string &dir);
bool removeFile(const std::string &path);
int64_t timeNow();                // seconds since 1970-01-01, UTC
void utcDate(int64_t t, int *year, int *month, int *day);
// Sends message with text as its second parameter (0 as the first) to a
// host window: SendMessage on Windows, the host's callback elsewhere.
long sendTextMessage(KWND window, unsigned message, const char *text);
// A text setting: the registry on Windows, the text store elsewhere.
bool readSetting(void *root, const std::string &key, const std::string &name, std::string *value);
// Starts a program from its command line (words: the same line split as
// Windows splits it); waits for it when wait is set. The exit code, 0 when
// not waiting, -1 when it cannot be started.
int spawnProcess(const char *commandLine, const std::vector<std::string> &words, const char *directory, bool wait);
// A directory search that fills the host's find-data record (the Windows
// layout, include/kestrel/host.h); null when nothing matches.
void *findFirstEntry(const char *pattern, void *findData);
bool findNextEntry(void *search, void *findData);
void findClose(void *search);

KPEN createPen(int style, int width, KCOLORREF colour);
KBRUSH createSolidBrush(KCOLORREF colour);
KFONT createFont(int height, int width, int escapement, int orientation, int weight,
                 bool italic, bool underline, bool strikeOut, const char *face);
int getDeviceCaps(KDC dc, int index);
int getSystemMetrics(int index);

// Palettes.
KPALETTE createPalette(const PaletteEntry *entries, int count);
KPALETTE selectPalette(KDC dc, KPALETTE pal, bool background);
unsigned realizePalette(KDC dc);

// Lines, shapes, pixels.
bool moveTo(KDC dc, int x, int y);
bool lineTo(KDC dc, int x, int y);
bool polyline(KDC dc, const KPoint32 *pts, int n);
bool polygon(KDC dc, const KPoint32 *pts, int n);
bool rectangle(KDC dc, int left, int top, int right, int bottom);
bool ellipse(KDC dc, int left, int top, int right, int bottom);
bool fillRect(KDC dc, const Rect *r, KBRUSH brush);
KCOLORREF setPixel(KDC dc, int x, int y, KCOLORREF colour);
KCOLORREF getPixel(KDC dc, int x, int y);  // kInvalidColor outside the picture or clip
int setPolyFillMode(KDC dc, int mode);
// FillRect of each of n rectangles with one brush, in one call (the same
// picture as n calls of fillRect; one path on the canvas).
bool fillRects(KDC dc, const Rect *rects, int n, KBRUSH brush);
// Reads the part [left, right) x [top, bottom) of the picture of bitmap (the
// one selected into dc; on POSIX the canvas itself, bitmap may be null),
// which the host says is width x height pixels, as palette indices,
// top-down, row after row, into out (part width x part height bytes). On
// Windows the pixels come through GetDIBits in palette-index mode against
// the palette selected into dc; on POSIX each pixel becomes the first of the
// count entries of colours nearest to its colour. Pixels outside
// the picture read as 0. No more than the part and the real bitmap is ever
// allocated, whatever the host's width and height say. False when the
// picture cannot be read (out is then all 0).
bool bitmapPaletteIndices(KDC dc, KBITMAP bitmap, int width, int height, const Rect &part, uint8_t *out,
                          const uint8_t (*colours)[3], int count);
// The real size of the bitmap (selected into dc when bitmap is null); false
// when there is none.
bool bitmapSize(KDC dc, KBITMAP bitmap, int *width, int *height);

// Paths.
bool beginPath(KDC dc);
bool endPath(KDC dc);
bool closeFigure(KDC dc);
bool strokePath(KDC dc);
bool fillPath(KDC dc);
bool strokeAndFillPath(KDC dc);
bool selectClipPath(KDC dc, int mode);

// Clipping: a null rectangle removes the clip region.
bool clipRect(KDC dc, const Rect *r);
bool clipPolygon(KDC dc, const KPoint32 *pts, int n, int fillMode);

// Text.
unsigned setTextAlign(KDC dc, unsigned align);
KCOLORREF setTextColor(KDC dc, KCOLORREF c);
KCOLORREF setBkColor(KDC dc, KCOLORREF c);
int setBkMode(KDC dc, int mode);
bool textOut(KDC dc, int x, int y, const char *text, int n);
bool textExtent(KDC dc, const char *text, int n, Size *size);
bool textMetrics(KDC dc, KTextMetric *tm);

// Block transfer (source copy).
bool bitBlt(KDC dst, int x, int y, int w, int h, KDC src, int sx, int sy);

}  // namespace kestrel::plat

#endif  // KESTREL_PLATFORM_H
