// The exported data globals, each defined once with its documented default.
// Everything not listed with a value starts zeroed.
#include "kestrel/globals.h"

extern "C" {

KWND hWnd = nullptr;
KINSTANCE hInst = nullptr;
KWND hWndClient = nullptr;
KWND hWndClientText = nullptr;
KWND hWndStatusBar = nullptr;
KWND hWndProgrBar = nullptr;
KWND hDlgModeless = nullptr;
int32_t *lpSBParts = nullptr;
int32_t cyStatus = 0;
int32_t cxClient = 0;
int32_t cyClient = 0;
int32_t cyText = 0;
char VStatusLine[400] = "";
char VClientLine1[400] = "";
char VClientLine2[400] = "";
char VClientLine3[400] = "";
int32_t iHscrollPos = 0, iHscrollMax = 0, iHscrollPage = 0, iHscrollLim = 0, iHscrPos = 0;
int32_t iVscrollPos = 0, iVscrollMax = 0, iVscrollPage = 0, iVscrollLim = 0, iVscrPos = 0;
KDlgVar DlgVar = {};
int32_t text_xofff = 0, text_yofff = 0;
KDC hdcMem = nullptr;
KBITMAP hBitmap = nullptr;
int32_t Vbmp_size_cx = 0, Vbmp_size_cy = 0;
KDC hdcMap = nullptr;
KBITMAP hBitmapMap = nullptr;
int32_t Vbmpmap_size_cx = 0, Vbmpmap_size_cy = 0;

KPEN hBP = nullptr;
KBRUSH hBB = nullptr;
KPEN hCP = nullptr;
KBRUSH hCB = nullptr;
KPEN hOP = nullptr;
KBRUSH hOB = nullptr;
KFONT hOF = nullptr;
KPALETTE hMYpal = nullptr;

KGraphicsState mCGS = {};
KFontSpec mFS = {};
KAxis VX = {}, VY = {};
uint8_t Vcolor[256][3] = {};
KCOLORREF VCR[256] = {};
KColorMap Vcmap = {};
float xmiss = K_MISSING;
float Vfp[1500][2] = {};
int32_t Vip[1500][2] = {};
int32_t nVp = 0;
uint8_t UTwrk[400000] = {};
uint8_t UTiwrk[400000] = {};
float ExpValue[101] = {
    1.00000f, 0.90484f, 0.81873f, 0.74082f, 0.67032f, 0.60653f, 0.54881f, 0.49659f,
    0.44933f, 0.40657f, 0.36788f, 0.33287f, 0.30119f, 0.27253f, 0.24660f, 0.22313f,
    0.20190f, 0.18268f, 0.16530f, 0.14957f, 0.13534f, 0.12246f, 0.11080f, 0.10026f,
    0.09072f, 0.08208f, 0.07427f, 0.06721f, 0.06081f, 0.05502f, 0.04979f, 0.04505f,
    0.04076f, 0.03688f, 0.03337f, 0.03020f, 0.02732f, 0.02472f, 0.02237f, 0.02024f,
    0.01832f, 0.01657f, 0.01500f, 0.01357f, 0.01228f, 0.01111f, 0.01005f, 0.00910f,
    0.00823f, 0.00745f, 0.00674f, 0.00610f, 0.00552f, 0.00499f, 0.00452f, 0.00409f,
    0.00370f, 0.00335f, 0.00303f, 0.00274f, 0.00248f, 0.00224f, 0.00203f, 0.00184f,
    0.00166f, 0.00150f, 0.00136f, 0.00123f, 0.00111f, 0.00101f, 0.00091f, 0.00083f,
    0.00075f, 0.00068f, 0.00061f, 0.00055f, 0.00050f, 0.00045f, 0.00041f, 0.00037f,
    0.00034f, 0.00030f, 0.00027f, 0.00025f, 0.00022f, 0.00020f, 0.00018f, 0.00017f,
    0.00015f, 0.00014f, 0.00012f, 0.00011f, 0.00010f, 0.00009f, 0.00008f, 0.00007f,
    0.00007f, 0.00006f, 0.00006f, 0.00005f, 0.00005f,
};
char szMonth[13][4] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul",
                       "Aug", "Sep", "Oct", "Nov", "Dec", "inv"};
char szProjLabel[7][31] = {"Default Projection",        "Orthographic (North Polar)",
                           "Orthographic (Equatorial)", "Orthographic (South Polar)",
                           "Mollweide",                 "Orthographic (General)",
                           "Oblique Mollweide"};
int32_t lStyle[5] = {0, 1, 2, 3, 4};
// "DashDotDot" fills all ten characters of its slot, with no terminator.
char szlStyle[5][10] = {"Solid", "Dashed", "Dotted", "DashDot",
                        {'D', 'a', 's', 'h', 'D', 'o', 't', 'D', 'o', 't'}};
char szPSlStyle[5][20] = {"solid_line", "dashed_line", "dotted_line", "", ""};
char szlWidth[6][30] = {"very Thin", "Thin", "Medium", "Thick", "very Thick", "extra Thick"};
char szPSlWidth[6][30] = {"very_thin_line",  "thin_line",       "medium_line",
                          "thick_line",      "very_thick_line", "extra_thick_line"};
char szsymbName[8][13] = {"Dots", "Squares", "Diamonds", "Triangles",
                          "InvTriangles", "Stars", "Xs", "Crosses"};
char szPSsymbName[8][11] = {"dotr", "square", "diam", "trianr", "utrianr", "starr", "xr", "plusr"};
int32_t proj = 0;
int32_t Vdraw_ticmark = 0;
KTextLayout dli = {};
KDC VCFontHDC = nullptr;
int32_t VCFontSelects = 0;
int32_t CToutpthFormat = 0;

KFILE hGIF = nullptr;
uint32_t *lpPrefixTable = nullptr;
uint32_t uPrefix[4096] = {};
uint8_t cSuffix[4096] = {};
uint32_t uAvail = 0, uClear = 0, uEOI = 0, uOldCode = 0, uCodeSize = 0, uDataSize = 0;

int32_t CM_Bstatus = 0, CM_Xpos = 0, CM_Ypos = 0;
KSysInfo sysInfo = {};
char szErrorLogFile[256] = "";
int32_t KBfirst = 0, KBlast = 0, KBEmpty = 0;
int32_t KBEntry_typ[10] = {}, KBEntry_one[10] = {}, KBEntry_two[10] = {};

}  // extern "C"
