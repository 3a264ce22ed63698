/*
 * Kestrel: handle and record types shared with the host.
 *
 * On Windows the handles are the GDI/USER/kernel handles themselves, declared
 * the way <windows.h> declares them with STRICT, so that this header does not
 * need <windows.h> and still interoperates with it. On POSIX they are opaque
 * pointers into the Cairo-based canvas layer. A null handle always means
 * "no target": drawing routines skip the screen side for a null KDC and the
 * PostScript side for a null KFILE.
 */
#ifndef KESTREL_TYPES_H
#define KESTREL_TYPES_H

#include <stdint.h>
#include "export.h"

#if defined(_WIN32)
struct HDC__;
struct HWND__;
struct HPEN__;
struct HBRUSH__;
struct HFONT__;
struct HPALETTE__;
struct HBITMAP__;
struct HINSTANCE__;
typedef struct HDC__ *KDC;
typedef struct HWND__ *KWND;
typedef struct HPEN__ *KPEN;
typedef struct HBRUSH__ *KBRUSH;
typedef struct HFONT__ *KFONT;
typedef struct HPALETTE__ *KPALETTE;
typedef struct HBITMAP__ *KBITMAP;
typedef struct HINSTANCE__ *KINSTANCE;
typedef void *KFILE; /* HANDLE; INVALID_HANDLE_VALUE is never handed out */
#else
typedef struct KCanvas KCanvas;
typedef KCanvas *KDC;
typedef struct KWindow_ *KWND;
typedef struct KPen_ *KPEN;
typedef struct KBrush_ *KBRUSH;
typedef struct KFont_ *KFONT;
typedef struct KPalette_ *KPALETTE;
typedef struct KBitmap_ *KBITMAP;
typedef struct KInstance_ *KINSTANCE;
typedef struct KFile_ *KFILE;
#endif

/* A device colour value: red in the low byte, then green, then blue.
 * 0x01000000 | i is the palette-index form of colour table entry i. */
typedef uint32_t KCOLORREF;

/* Operating-system version record, laid out as the platform's OSVERSIONINFOA
 * (148 bytes, its own size in the first field). */
/* The library's out-of-range numbers. Both are finite in a 32-bit float, so
 * that they survive arithmetic, comparisons and file formats that have no
 * NaN, and both lie far beyond any measured ocean quantity.
 *   K_MISSING   marks a missing value (the default of xmiss) and, as x0 of
 *               DrawZoomBox, "erase only";
 *   K_NO_DATA   the spread and mean squared distance of an estimate with no
 *               data in reach: as far as a distance can be. */
#define K_MISSING (-1.0e10f)
#define K_NO_DATA 1.0e10f

/* The find-data record of a directory search, laid out as the Windows one
 * (WIN32_FIND_DATAA) so that a Windows host passes its own. */
typedef struct KFindData {
    uint32_t attributes;      /* 0x10: a directory */
    uint32_t creationTime[2], lastAccessTime[2], lastWriteTime[2];
    uint32_t sizeHigh, sizeLow, reserved0, reserved1;
    char name[260];
    char alternateName[14];
} KFindData;

#define K_FILE_ATTRIBUTE_DIRECTORY 0x10

/* A point in device pixels. */
typedef struct KPoint32 {
    int32_t x, y;
} KPoint32;

typedef struct KOSVersionInfo {
    uint32_t dwOSVersionInfoSize;
    uint32_t dwMajorVersion;
    uint32_t dwMinorVersion;
    uint32_t dwBuildNumber;
    uint32_t dwPlatformId;
    char szCSDVersion[128];
} KOSVersionInfo;

/* Text metrics, laid out as the platform's TEXTMETRICA (56 bytes). */
typedef struct KTextMetric {
    int32_t tmHeight;
    int32_t tmAscent;
    int32_t tmDescent;
    int32_t tmInternalLeading;
    int32_t tmExternalLeading;
    int32_t tmAveCharWidth;
    int32_t tmMaxCharWidth;
    int32_t tmWeight;
    int32_t tmOverhang;
    int32_t tmDigitizedAspectX;
    int32_t tmDigitizedAspectY;
    uint8_t tmFirstChar;
    uint8_t tmLastChar;
    uint8_t tmDefaultChar;
    uint8_t tmBreakChar;
    uint8_t tmItalic;
    uint8_t tmUnderlined;
    uint8_t tmStruckOut;
    uint8_t tmPitchAndFamily;
    uint8_t tmCharSet;
} KTextMetric;

#endif /* KESTREL_TYPES_H */
