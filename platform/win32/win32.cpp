// The Windows platform layer: thin forwards to GDI, USER and kernel.
#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <algorithm>
#include <windows.h>
#include <commctrl.h>

#include <cstring>

#include "platform/platform.h"

namespace kestrel::plat {

void localTime(LocalTime *t) {
    SYSTEMTIME st;
    GetLocalTime(&st);
    t->year = st.wYear;
    t->month = st.wMonth;
    t->day = st.wDay;
    t->hour = st.wHour;
    t->minute = st.wMinute;
    t->second = st.wSecond;
}

void osVersion(KOSVersionInfo *v) {
    static_assert(sizeof(KOSVersionInfo) == sizeof(OSVERSIONINFOA), "version record layout");
    GetVersionExA(reinterpret_cast<OSVERSIONINFOA *>(v));
}

bool userName(char *buf, uint32_t len) {
    DWORD n = len;
    return GetUserNameA(buf, &n) != 0;
}

bool computerName(char *buf, uint32_t len) {
    DWORD n = len;
    return GetComputerNameA(buf, &n) != 0;
}

std::string lastErrorMessage() {
    DWORD code = GetLastError();
    char *msg = nullptr;
    FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                   nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<LPSTR>(&msg), 0,
                   nullptr);
    std::string s = msg ? msg : "";
    if (msg) LocalFree(msg);
    return s;
}

void beep() { MessageBeep(0xFFFFFFFF); }

// GDI resolves palette-index colours through the palette selected into the
// device context.
void setIndexColours(const uint8_t (*)[3]) {}

static KFILE wrap(HANDLE h) { return h == INVALID_HANDLE_VALUE ? nullptr : static_cast<KFILE>(h); }

KFILE fileCreate(const char *path) {
    return wrap(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

KFILE fileOpenRead(const char *path) {
    return wrap(CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL,
                            nullptr));
}

KFILE fileOpenReadExclusive(const char *path) {
    return wrap(CreateFileA(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

KFILE fileOpenReadWrite(const char *path) {
    return wrap(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}

long fileWrite(KFILE f, const void *data, size_t n) {
    if (!f) return -1;
    DWORD written = 0;
    if (!WriteFile(static_cast<HANDLE>(f), data, static_cast<DWORD>(n), &written, nullptr)) return -1;
    return static_cast<long>(written);
}

long fileRead(KFILE f, void *data, size_t n) {
    if (!f) return -1;
    DWORD got = 0;
    if (!ReadFile(static_cast<HANDLE>(f), data, static_cast<DWORD>(n), &got, nullptr)) return -1;
    return static_cast<long>(got);
}

int64_t fileSeek(KFILE f, int64_t offset, int origin) {
    if (!f) return -1;
    LARGE_INTEGER in, out;
    in.QuadPart = offset;
    DWORD how = origin == 1 ? FILE_CURRENT : origin == 2 ? FILE_END : FILE_BEGIN;
    if (!SetFilePointerEx(static_cast<HANDLE>(f), in, &out, how)) return -1;
    return out.QuadPart;
}

void fileClose(KFILE f) {
    if (f) CloseHandle(static_cast<HANDLE>(f));
}

KFILE fileOpenAlways(const char *path) {
    return wrap(CreateFileA(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

// ---- User interface ----------------------------------------------------------------

static HWND W(KWND w) { return reinterpret_cast<HWND>(w); }
static HDC D(KDC d) { return reinterpret_cast<HDC>(d); }

void setWindowText(KWND w, const char *text) { SetWindowTextA(W(w), text); }
void updateWindow(KWND w) { UpdateWindow(W(w)); }
void invalidateWindow(KWND w, bool erase) { InvalidateRect(W(w), nullptr, erase ? TRUE : FALSE); }

bool clientRect(KWND w, Rect *r) {
    RECT rc{};
    BOOL ok = GetClientRect(W(w), &rc);
    *r = Rect{rc.left, rc.top, rc.right, rc.bottom};
    return ok != 0;
}

bool windowRect(KWND w, Rect *r) {
    RECT rc{};
    BOOL ok = GetWindowRect(W(w), &rc);
    *r = Rect{rc.left, rc.top, rc.right, rc.bottom};
    return ok != 0;
}

bool cursorPos(int32_t *x, int32_t *y) {
    POINT p{};
    BOOL ok = GetCursorPos(&p);
    *x = p.x;
    *y = p.y;
    return ok != 0;
}

KWND createProgressBar(KWND parent, KINSTANCE inst, int x, int y, int w, int h, int range, int step) {
    HWND bar = CreateWindowExA(0, "msctls_progress32", nullptr, WS_CHILD | WS_VISIBLE, x, y, w, h, W(parent),
                               nullptr, reinterpret_cast<HINSTANCE>(inst), nullptr);
    if (bar) {
        SendMessageA(bar, PBM_SETRANGE, 0, MAKELPARAM(0, range));
        SendMessageA(bar, PBM_SETSTEP, static_cast<WPARAM>(step), 0);
    }
    return reinterpret_cast<KWND>(bar);
}

int messageBox(KWND owner, const char *text, const char *caption, unsigned type) {
    return MessageBoxA(W(owner), text, caption, type);
}

void pumpMessages(KWND w) {
    MSG msg;
    while (PeekMessageA(&msg, W(w), 0, 0, PM_REMOVE)) {
        TranslateMessage(&msg);
        DispatchMessageA(&msg);
    }
}

void waitMessage() { WaitMessage(); }

int setCursor(int cursor) {
    static int current = CursorArrow;
    LPCSTR id = IDC_ARROW;
    switch (cursor) {
    case CursorWait: id = IDC_WAIT; break;
    case CursorCross: id = IDC_CROSS; break;
    case CursorSizeAll: id = IDC_SIZEALL; break;
    case CursorSizeNESW: id = IDC_SIZENESW; break;
    case CursorSizeNWSE: id = IDC_SIZENWSE; break;
    case CursorSizeNS: id = IDC_SIZENS; break;
    case CursorSizeWE: id = IDC_SIZEWE; break;
    default: break;
    }
    SetCursor(LoadCursorA(nullptr, id));
    int old = current;
    current = cursor;
    return old;
}

void setProgressPos(KWND bar, int pos) {
    if (bar) SendMessageA(W(bar), PBM_SETPOS, static_cast<WPARAM>(pos), 0);
}

void destroyWindow(KWND w) {
    if (w) DestroyWindow(W(w));
}

KDC getClientDC(KWND w) { return reinterpret_cast<KDC>(GetDC(W(w))); }
void showClientDC(KWND, KDC) { GdiFlush(); }
void releaseClientDC(KWND w, KDC dc) {
    if (dc) ReleaseDC(W(w), D(dc));
}
void captureMouse(KWND w) { SetCapture(W(w)); }
void releaseMouse() { ReleaseCapture(); }

void setStatusPart(KWND bar, int part, const char *text) {
    if (bar) SendMessageA(W(bar), SB_SETTEXTA, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(text ? text : ""));
}

std::string statusPart(KWND bar, int part) {
    if (!bar) return {};
    const LRESULT len = LOWORD(SendMessageA(W(bar), SB_GETTEXTLENGTHA, static_cast<WPARAM>(part), 0));
    std::string text(static_cast<size_t>(len) + 1, '\0');
    SendMessageA(W(bar), SB_GETTEXTA, static_cast<WPARAM>(part), reinterpret_cast<LPARAM>(&text[0]));
    text.resize(std::strlen(text.c_str()));
    return text;
}

unsigned waitOneMessage() {
    MSG msg;
    const BOOL got = GetMessageA(&msg, nullptr, 0, 0);
    if (got == 0 || got == -1) {
        // The application is closing: hand the quit back to the host's own
        // loop and end the tool.
        if (got == 0) PostQuitMessage(static_cast<int>(msg.wParam));
        return MsgNcLButtonDown;
    }
    TranslateMessage(&msg);
    DispatchMessageA(&msg);
    return msg.message;
}

void sendScrollMessage(KWND w, unsigned message, uint32_t wParam) {
    if (w) SendMessageA(W(w), message, static_cast<WPARAM>(wParam), 0);
}

// ---- Device contexts -------------------------------------------------------------------

GdiObj getStockObject(int which) { return GetStockObject(which); }
GdiObj selectObject(KDC dc, GdiObj obj) { return SelectObject(D(dc), static_cast<HGDIOBJ>(obj)); }
bool deleteObject(GdiObj obj) { return DeleteObject(static_cast<HGDIOBJ>(obj)) != 0; }
KPEN createPen(int style, int width, KCOLORREF colour) {
    return reinterpret_cast<KPEN>(CreatePen(style, width, colour));
}
KBRUSH createSolidBrush(KCOLORREF colour) { return reinterpret_cast<KBRUSH>(CreateSolidBrush(colour)); }
KFONT createFont(int height, int width, int escapement, int orientation, int weight, bool italic, bool underline,
                 bool strikeOut, const char *face) {
    return reinterpret_cast<KFONT>(CreateFontA(height, width, escapement, orientation, weight, italic, underline,
                                               strikeOut, DEFAULT_CHARSET, OUT_TT_PRECIS, CLIP_DEFAULT_PRECIS,
                                               PROOF_QUALITY, VARIABLE_PITCH | FF_SWISS, face));
}
int getDeviceCaps(KDC dc, int index) { return GetDeviceCaps(D(dc), index); }
int getSystemMetrics(int index) { return GetSystemMetrics(index); }

KPALETTE createPalette(const PaletteEntry *entries, int count) {
    if (count < 1 || count > 65536 || !entries) return nullptr;
    size_t bytes = sizeof(LOGPALETTE) + sizeof(PALETTEENTRY) * static_cast<size_t>(count);
    auto *lp = static_cast<LOGPALETTE *>(HeapAlloc(GetProcessHeap(), 0, bytes));
    if (!lp) return nullptr;
    lp->palVersion = 0x300;
    lp->palNumEntries = static_cast<WORD>(count);
    for (int i = 0; i < count; ++i) {
        lp->palPalEntry[i].peRed = entries[i].red;
        lp->palPalEntry[i].peGreen = entries[i].green;
        lp->palPalEntry[i].peBlue = entries[i].blue;
        lp->palPalEntry[i].peFlags = entries[i].flags;
    }
    HPALETTE pal = CreatePalette(lp);
    HeapFree(GetProcessHeap(), 0, lp);
    return reinterpret_cast<KPALETTE>(pal);
}
KPALETTE selectPalette(KDC dc, KPALETTE pal, bool background) {
    return reinterpret_cast<KPALETTE>(SelectPalette(D(dc), reinterpret_cast<HPALETTE>(pal), background));
}
unsigned realizePalette(KDC dc) { return RealizePalette(D(dc)); }

bool moveTo(KDC dc, int x, int y) { return MoveToEx(D(dc), x, y, nullptr) != 0; }
bool lineTo(KDC dc, int x, int y) { return LineTo(D(dc), x, y) != 0; }
bool polyline(KDC dc, const KPoint32 *pts, int n) {
    static_assert(sizeof(KPoint32) == sizeof(POINT), "point layout");
    return Polyline(D(dc), reinterpret_cast<const POINT *>(pts), n) != 0;
}
bool polygon(KDC dc, const KPoint32 *pts, int n) {
    return Polygon(D(dc), reinterpret_cast<const POINT *>(pts), n) != 0;
}
bool rectangle(KDC dc, int l, int t, int r, int b) { return Rectangle(D(dc), l, t, r, b) != 0; }
bool ellipse(KDC dc, int l, int t, int r, int b) { return Ellipse(D(dc), l, t, r, b) != 0; }
bool fillRect(KDC dc, const Rect *r, KBRUSH brush) {
    RECT rc{r->left, r->top, r->right, r->bottom};
    return FillRect(D(dc), &rc, reinterpret_cast<HBRUSH>(brush)) != 0;
}
KCOLORREF setPixel(KDC dc, int x, int y, KCOLORREF c) { return SetPixel(D(dc), x, y, c); }
KCOLORREF getPixel(KDC dc, int x, int y) { return GetPixel(D(dc), x, y); }
int setPolyFillMode(KDC dc, int mode) { return SetPolyFillMode(D(dc), mode); }
bool fillRects(KDC dc, const Rect *rects, int n, KBRUSH brush) {
    bool ok = true;
    for (int i = 0; i < n; ++i) ok = fillRect(dc, &rects[i], brush) && ok;
    return ok;
}

bool bitmapSize(KDC dc, KBITMAP bitmap, int *width, int *height) {
    if (!width || !height) return false;
    HBITMAP bmp = bitmap ? reinterpret_cast<HBITMAP>(bitmap)
                         : (dc ? static_cast<HBITMAP>(GetCurrentObject(D(dc), OBJ_BITMAP)) : nullptr);
    BITMAP info{};
    if (!bmp || GetObject(bmp, sizeof info, &info) == 0) return false;
    *width = info.bmWidth;
    *height = info.bmHeight < 0 ? -info.bmHeight : info.bmHeight;
    return true;
}

bool bitmapPaletteIndices(KDC dc, KBITMAP bitmap, int width, int height, const Rect &part, uint8_t *out,
                          const uint8_t (*)[3], int) {
    if (!out || width <= 0 || height <= 0 || part.left < 0 || part.top < 0 || part.right <= part.left ||
        part.bottom <= part.top)
        return false;
    const size_t pw = static_cast<size_t>(part.right - part.left), ph = static_cast<size_t>(part.bottom - part.top);
    std::memset(out, 0, pw * ph);
    HBITMAP bmp = bitmap ? reinterpret_cast<HBITMAP>(bitmap)
                         : (dc ? static_cast<HBITMAP>(GetCurrentObject(D(dc), OBJ_BITMAP)) : nullptr);
    int realW = 0, realH = 0;
    if (!dc || !bmp || !bitmapSize(dc, bitmap, &realW, &realH)) return false;
    // Rows 0 .. bottom of the bitmap, no wider or taller than it really is:
    // the host's size may claim more than exists.
    const int readW = width < realW ? width : realW;
    const int readH = std::min({height, realH, static_cast<int>(part.bottom)});
    if (readW <= 0 || readH <= 0) return false;
    const size_t w = static_cast<size_t>(readW), h = static_cast<size_t>(readH);
    // An 8-bit top-down DIB whose colour table GetDIBits fills with 16-bit
    // indices into the logical palette selected into dc (DIB_PAL_COLORS).
    struct {
        BITMAPINFOHEADER header;
        WORD colours[256];
    } info{};
    const size_t stride = ((w * 8 + 31) / 32) * 4;
    info.header.biSize = sizeof(BITMAPINFOHEADER);
    info.header.biWidth = readW;
    info.header.biHeight = -readH;
    info.header.biPlanes = 1;
    info.header.biBitCount = 8;
    info.header.biCompression = BI_RGB;
    info.header.biSizeImage = static_cast<DWORD>(stride * h);
    HGLOBAL mem = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, stride * h);
    if (!mem) return false;
    auto *bits = static_cast<uint8_t *>(GlobalLock(mem));
    int lines = bits ? GetDIBits(D(dc), bmp, 0, static_cast<UINT>(readH), bits,
                                 reinterpret_cast<BITMAPINFO *>(&info), DIB_PAL_COLORS)
                     : 0;
    if (lines > 0) {
        uint8_t map[256];
        for (int i = 0; i < 256; ++i) map[i] = info.colours[i] < 256 ? static_cast<uint8_t>(info.colours[i]) : 0;
        const size_t rows = std::min(static_cast<size_t>(lines), h);
        const size_t x0 = static_cast<size_t>(part.left);
        for (size_t y = static_cast<size_t>(part.top); y < rows; ++y) {
            const uint8_t *src = bits + y * stride;
            uint8_t *dst = out + (y - static_cast<size_t>(part.top)) * pw;
            for (size_t x = x0; x < w && x - x0 < pw; ++x) dst[x - x0] = map[src[x]];
        }
    }
    if (bits) GlobalUnlock(mem);
    GlobalFree(mem);
    return lines > 0;
}

bool beginPath(KDC dc) { return BeginPath(D(dc)) != 0; }
bool endPath(KDC dc) { return EndPath(D(dc)) != 0; }
bool closeFigure(KDC dc) { return CloseFigure(D(dc)) != 0; }
bool strokePath(KDC dc) { return StrokePath(D(dc)) != 0; }
bool fillPath(KDC dc) { return FillPath(D(dc)) != 0; }
bool strokeAndFillPath(KDC dc) { return StrokeAndFillPath(D(dc)) != 0; }
bool selectClipPath(KDC dc, int mode) { return SelectClipPath(D(dc), mode) != 0; }

bool clipRect(KDC dc, const Rect *r) {
    if (!r) return SelectClipRgn(D(dc), nullptr) != ERROR;
    HRGN rgn = CreateRectRgn(r->left, r->top, r->right, r->bottom);
    if (!rgn) return false;
    int res = SelectClipRgn(D(dc), rgn);
    DeleteObject(rgn);
    return res != ERROR;
}

bool clipPolygon(KDC dc, const KPoint32 *pts, int n, int fillMode) {
    HRGN rgn = CreatePolygonRgn(reinterpret_cast<const POINT *>(pts), n, fillMode);
    if (!rgn) return false;
    int res = SelectClipRgn(D(dc), rgn);
    DeleteObject(rgn);
    return res != ERROR;
}

unsigned setTextAlign(KDC dc, unsigned align) { return SetTextAlign(D(dc), align); }
KCOLORREF setTextColor(KDC dc, KCOLORREF c) { return SetTextColor(D(dc), c); }
KCOLORREF setBkColor(KDC dc, KCOLORREF c) { return SetBkColor(D(dc), c); }
int setBkMode(KDC dc, int mode) { return SetBkMode(D(dc), mode); }
bool textOut(KDC dc, int x, int y, const char *text, int n) { return TextOutA(D(dc), x, y, text, n) != 0; }
bool textExtent(KDC dc, const char *text, int n, Size *size) {
    SIZE s{};
    BOOL ok = GetTextExtentPoint32A(D(dc), text, n, &s);
    size->cx = s.cx;
    size->cy = s.cy;
    return ok != 0;
}
bool textMetrics(KDC dc, KTextMetric *tm) {
    static_assert(sizeof(KTextMetric) == sizeof(TEXTMETRICA), "text metric layout");
    return GetTextMetricsA(D(dc), reinterpret_cast<TEXTMETRICA *>(tm)) != 0;
}
bool bitBlt(KDC dst, int x, int y, int w, int h, KDC src, int sx, int sy) {
    return BitBlt(D(dst), x, y, w, h, D(src), sx, sy, SRCCOPY) != 0;
}

}  // namespace kestrel::plat
