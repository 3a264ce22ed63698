/*
 * Kestrel: the exported data globals shared with the host.
 *
 * The host writes its window handles, device contexts and sizes here before
 * it draws; the library reads them. Globals described as "host" are kept for
 * the host only and are never touched by the library itself.
 *
 * Every global is defined exactly once, in frame/globals.cpp.
 */
#ifndef KESTREL_GLOBALS_H
#define KESTREL_GLOBALS_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* ---- Records ----------------------------------------------------------- */

/* World-to-device transform of one axis. Pixel = trunc((u - umin) *
 * pixPerUser + lowPix). Host fields: devPixels, devLength, pixPerLength. */
typedef struct KAxis {
    int32_t devPixels;     /* device extent in pixels (host) */
    int32_t lowPix;        /* x: left edge; y: bottom edge (larger row) */
    int32_t highPix;       /* x: right edge; y: top edge (smaller row) */
    float devLength;       /* device extent in page length units (host) */
    float userAtStart;     /* user coordinate at page position 0 */
    float userAtEnd;       /* user coordinate at page position devLength */
    float vpLength;        /* viewport length times the magnification */
    float umin;            /* user coordinate at lowPix */
    float umax;            /* user coordinate at highPix */
    float vpOffset;        /* viewport offset times the magnification */
    float pixPerLength;    /* device pixels per page length unit (host) */
    float pixPerUser;      /* scale of the transform, negative for y */
    float userPerLength;   /* user units per magnified length unit */
} KAxis;

/* Current graphics state. */
typedef struct KGraphicsState {
    int32_t clip;           /* nonzero: drawing clipped to the viewport */
    int32_t contour;        /* read by contour drawing */
    int32_t reserved1;
    int32_t frame;          /* read by map frames and axes */
    int32_t boxFrame;       /* strings outlined with their box */
    int32_t fill;           /* symbols and text boxes filled, opaque text */
    int32_t interactive;    /* interactive tools enabled */
    int32_t keep;           /* survives InitCGS */
    int32_t devWidthMM;     /* device width in millimetres */
    int32_t devHeightMM;    /* device height in millimetres */
    int32_t screenCx;       /* full-screen width */
    int32_t screenCy;       /* full-screen height */
    int32_t captionCy;
    int32_t menuCy;
    int32_t frameCx;
    int32_t frameCy;
    int32_t vscrollCx;
    int32_t hscrollCy;
    int32_t colorState[4];  /* the current colour index, four times */
    int32_t colorMode;      /* 0 palette indices, 1 direct RGB */
    int32_t paletteSize;    /* entries of Vcolor in use */
    int32_t numColors;      /* number of device colours */
    int32_t penWidth;       /* pen width in pixels */
    int32_t reserved2;
    int32_t textAngle;      /* tenths of a degree */
    int32_t fontFamily;     /* 1 text, 2 symbol, 3 PostScript face */
    int32_t lorg;           /* label origin code */
    float mag;              /* magnification */
    float mag2;             /* second magnification */
    float defaultFontSize;
    float fontSize;
    double cosAngle;
    double sinAngle;
    KTextMetric tm;         /* metrics of the current font */
    KCOLORREF color;        /* current device colour */
    char faceName[81];      /* current font face */
    char paletteFile[260];  /* current palette file name; "DUMMY" = built-in */
} KGraphicsState;

/* Font specification. */
typedef struct KFontSpec {
    float sizeFactor;       /* 1.0 */
    int32_t weight;         /* 0..3: 300, 400, 500, 700; default 3 */
    int32_t italic;
    int32_t underline;
    int32_t strikeOut;
    char face[3][81];       /* text face, symbol face, PostScript font name */
} KFontSpec;

/* Colour scale: tanh stretch of a data range onto the colour indices. */
typedef struct KColorMap {
    float s0, s1, span;
    float tanhS0, tanhS1, invTanhSpan;
    float a0, a1, invDataSpan;
} KColorMap;


/* State of the last laid-out string. */
typedef struct KTextLayout {
    KPoint32 box[5];        /* closed text box in device pixels */
    double boxX[5];         /* the same corners, unrounded */
    double boxY[5];
    double curX, curY;      /* current character position */
    double width;           /* accumulated string width */
    double lineHeight;
    double fontHeight;
    double fx, fy;          /* label-origin anchor factors */
} KTextLayout;

/* System information, filled by initKestrel. */
typedef struct KSysInfo {
    KOSVersionInfo osVersion;
    char userName[81];
    char computerName[81];
} KSysInfo;

/* Host dialog variables: opaque to the library. */
typedef struct KDlgVar {
    uint8_t data[4096];
} KDlgVar;

/* ---- Windows, device contexts and sizes -------------------------------- */

KESTREL_API extern KWND hWnd;
KESTREL_API extern KINSTANCE hInst;
KESTREL_API extern KWND hWndClient;
KESTREL_API extern KWND hWndClientText;
KESTREL_API extern KWND hWndStatusBar;
KESTREL_API extern KWND hWndProgrBar;
KESTREL_API extern KWND hDlgModeless;
KESTREL_API extern int32_t *lpSBParts;
KESTREL_API extern int32_t cyStatus;
KESTREL_API extern int32_t cxClient;
KESTREL_API extern int32_t cyClient;
KESTREL_API extern int32_t cyText;
KESTREL_API extern char VStatusLine[400];
KESTREL_API extern char VClientLine1[400];
KESTREL_API extern char VClientLine2[400];
KESTREL_API extern char VClientLine3[400];
KESTREL_API extern int32_t iHscrollPos, iHscrollMax, iHscrollPage, iHscrollLim, iHscrPos;
KESTREL_API extern int32_t iVscrollPos, iVscrollMax, iVscrollPage, iVscrollLim, iVscrPos;
KESTREL_API extern KDlgVar DlgVar;
KESTREL_API extern int32_t text_xofff, text_yofff;
KESTREL_API extern KDC hdcMem;
KESTREL_API extern KBITMAP hBitmap;
KESTREL_API extern int32_t Vbmp_size_cx, Vbmp_size_cy;
KESTREL_API extern KDC hdcMap;
KESTREL_API extern KBITMAP hBitmapMap;
KESTREL_API extern int32_t Vbmpmap_size_cx, Vbmpmap_size_cy;

/* ---- Pens, brushes, fonts, palette ------------------------------------- */

KESTREL_API extern KPEN hBP;        /* stock black pen */
KESTREL_API extern KBRUSH hBB;      /* stock black brush */
KESTREL_API extern KPEN hCP;
KESTREL_API extern KBRUSH hCB;
KESTREL_API extern KPEN hOP;        /* pen selected before a drawing replaced it */
KESTREL_API extern KBRUSH hOB;
KESTREL_API extern KFONT hOF;
KESTREL_API extern KPALETTE hMYpal; /* the library's logical palette */

/* ---- Drawing state ------------------------------------------------------ */

KESTREL_API extern KGraphicsState mCGS;
KESTREL_API extern KFontSpec mFS;
KESTREL_API extern KAxis VX, VY;
KESTREL_API extern uint8_t Vcolor[256][3];
KESTREL_API extern KCOLORREF VCR[256];
KESTREL_API extern KColorMap Vcmap;
KESTREL_API extern float xmiss;                 /* -1.0e10 */
KESTREL_API extern float Vfp[1500][2];
KESTREL_API extern int32_t Vip[1500][2];
KESTREL_API extern int32_t nVp;
KESTREL_API extern uint8_t UTwrk[400000];
KESTREL_API extern uint8_t UTiwrk[400000];
KESTREL_API extern float ExpValue[101];         /* exp(-i/10) to 5 decimals */
KESTREL_API extern char szMonth[13][4];
KESTREL_API extern char szProjLabel[7][31];
KESTREL_API extern int32_t lStyle[5];
KESTREL_API extern char szlStyle[5][10];
KESTREL_API extern char szPSlStyle[5][20];
KESTREL_API extern char szlWidth[6][30];
KESTREL_API extern char szPSlWidth[6][30];
KESTREL_API extern char szsymbName[8][13];
KESTREL_API extern char szPSsymbName[8][11];
KESTREL_API extern int32_t proj;
KESTREL_API extern int32_t Vdraw_ticmark;
KESTREL_API extern KTextLayout dli;
KESTREL_API extern KDC VCFontHDC;
KESTREL_API extern int32_t VCFontSelects;
KESTREL_API extern int32_t CToutpthFormat;

/* ---- GIF encoder state -------------------------------------------------- */

KESTREL_API extern KFILE hGIF;
KESTREL_API extern uint32_t *lpPrefixTable;     /* 4096 codes x 12 child slots */
KESTREL_API extern uint32_t uPrefix[4096];
KESTREL_API extern uint8_t cSuffix[4096];
KESTREL_API extern uint32_t uAvail, uClear, uEOI, uOldCode, uCodeSize, uDataSize;

/* ---- Mouse, system, error log, key queue -------------------------------- */

KESTREL_API extern int32_t CM_Bstatus, CM_Xpos, CM_Ypos;
KESTREL_API extern KSysInfo sysInfo;
KESTREL_API extern char szErrorLogFile[256];    /* empty: no log, no boxes */
KESTREL_API extern int32_t KBfirst, KBlast, KBEmpty;
KESTREL_API extern int32_t KBEntry_typ[10], KBEntry_one[10], KBEntry_two[10];

KESTREL_EXTERN_C_END

#endif /* KESTREL_GLOBALS_H */
