// PostScript output: opening a file with the host's preamble, the screen
// dump, colours, the colour table and string escaping.
//
// The library writes no PostScript prolog of its own: the procedures its
// objects call (UsrSys, M, L, S, C, T, G, showstring, ...) come from the
// preamble file the host names, which PSOpenFile copies into the output.
// Every text goes through the PostScript stream (plot/psstream.h); write
// results are not checked.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <string>

#include "base/guard.h"
#include "frame/message.h"
#include "plot/psstream.h"
#include "plot/pstext.h"

#include "kestrel/frame.h"
#include "kestrel/postscript.h"
#include "kestrel/usrsys.h"
#include "kestrel/util.h"
#include "platform/platform.h"

using namespace kestrel;

namespace {

// The text of one PSOutPix run into buf (empty for count < 1); its length.
int formatRun(char *buf, size_t size, int32_t count, KCOLORREF colour) {
    buf[0] = '\0';
    if (count < 1) return 0;
    const float k = 0.003921569f;
    const double r = static_cast<float>(colour & 0xFF) * k;
    const double g = static_cast<float>((colour >> 8) & 0xFF) * k;
    const double b = static_cast<float>((colour >> 16) & 0xFF) * k;
    const int n = count == 1 ? std::snprintf(buf, size, "%5.3f %5.3f %5.3f c\n", r, g, b)
                             : std::snprintf(buf, size, "%d %5.3f %5.3f %5.3f C\n", count, r, g, b);
    return n < 0 ? 0 : n;
}

// One PSOutPix run into the stream.
void putRun(PsStream &out, int32_t count, KCOLORREF colour) {
    char line[96];
    if (formatRun(line, sizeof line, count, colour) > 0) out.put(line);
}

}  // namespace

namespace kestrel {

std::string psStringLiteral(const char *text, std::size_t maxIn) {
    std::string out;
    if (!text) return out;
    std::size_t n = 0;
    while (n < maxIn && text[n]) ++n;
    out.reserve(n + 8);
    auto control = [](unsigned char ch) { return ch < 0x20 || ch == 0x7F; };
    for (std::size_t i = 0; i < n; ++i) {
        const unsigned char ch = static_cast<unsigned char>(text[i]);
        if (ch == '\\') {
            if (i + 1 < n && !control(static_cast<unsigned char>(text[i + 1]))) {
                out += text[i];
                out += text[++i];
            } else {
                out += "\\\\";
            }
        } else if (ch == '(' || ch == ')') {
            out += '\\';
            out += static_cast<char>(ch);
        } else {
            out += control(ch) ? ' ' : static_cast<char>(ch);
        }
    }
    return out;
}

std::string psCommentText(const char *text, std::size_t maxIn) {
    std::string out;
    for (std::size_t i = 0; text && i < maxIn && text[i]; ++i) {
        const unsigned char ch = static_cast<unsigned char>(text[i]);
        out += ch < 0x20 || ch == 0x7F ? ' ' : static_cast<char>(ch);
    }
    return out;
}

}  // namespace kestrel

extern "C" {

KESTREL_API KFILE KESTREL_CALL PSOpenFile(const char *psFileName, const char *preambleFileName,
                                          const char *textBefore, const char *textAfter, int32_t eps) {
    return kestrel::guarded<KFILE>("PSOpenFile", [&]() -> KFILE {
        const unsigned box = plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal;
        if (preambleFileName && !IsFileExisting(preambleFileName)) {
            const std::string text = std::string("PS-Preamble ") + preambleFileName +
                                     " not Found!\n\nNo PostScript File will be Written.";
            kestrel::showMessage(text.c_str(), "Opening PostScript File", box);
            return nullptr;
        }
        KFILE file = psFileName ? plat::fileCreate(psFileName) : nullptr;
        if (!file) {
            const std::string text = std::string("Could not Open ") + (psFileName ? psFileName : "");
            kestrel::showMessage(text.c_str(), "Opening PostScript File", box);
            return nullptr;
        }
        PsStream(file).put(eps ? "%!PS-Adobe-3.0 EPSF-3.0\n" : "%!PS-Adobe-3.0\n").put(textBefore);
        InsertFile(file, preambleFileName);
        PsStream(file).put(textAfter);
        return file;
    });
}

KESTREL_API void KESTREL_CALL PSOutPix(KFILE file, int32_t count, KCOLORREF colour) {
    return kestrel::guarded<void>("PSOutPix", [&]() -> void {
        if (!file) return;
        PsStream out(file);
        putRun(out, count, colour);
    });
}

KESTREL_API int32_t KESTREL_CALL PSDumpScreen(KDC dc, const char *preambleFileName, const char *psFileName) {
    return kestrel::guarded<int32_t>("PSDumpScreen", [&]() -> int32_t {
        if (!dc || Vbmp_size_cx < 0 || Vbmp_size_cy < 0) return 0;
        const float w = static_cast<float>(Vbmp_size_cx) + 1.0f, h = static_cast<float>(Vbmp_size_cy) + 1.0f;
        const float s = (28.0f / w < 19.0f / h) ? 28.0f / w : 19.0f / h;
        char before[300];
        // The bounding box is fixed whatever the picture's size.
        std::snprintf(before, sizeof before,
                      "%%%%Pages: 1\n%%%%DocumentFonts: Helvetica-Bold Helvetica\n%%%%BoundingBox: %d %d %d %d\n"
                      "%%%%EndComments\n\n",
                      50, 50, 500, 700);
        static const char after[] =
            "\n%%Page: 1 1\n%%PageOrientation: Landscape\nBeginPlot\n\n/usrrot? true def /frame? false def\n\n"
            "/N { 1 add exch pop 0 exch } def\n/f { 2 copy np M 1 0 RL 0 1 RL -1 0\n"
            "     RL 0 -1 RL fill exch 1 add exch } def\n/F { 3 copy 3 1 roll np M 0 RL 0 1 RL dup -1 mul\n"
            "     0 RL 0 -1 RL fill 3 -1 roll add exch } def\n/c { S f } def /C { S F } def\n\n0 0\n\n";
        KFILE file = PSOpenFile(psFileName, preambleFileName, before, after, 1);
        if (!file) return 0;

        char status[201];  // the status text is kept up to 200 characters
        std::memcpy(status, VStatusLine, 200);
        status[200] = '\0';
        UpdateStatusBar("Dumping screen to PostScript file ...");
        plat::setCursor(plat::CursorWait);

        PSUsrSys(file, "", 0.0f, w, w * s, 1.0f, h, 0.0f, h * s, 1.0f);
        {
            PsStream out(file);
            // Rows and columns up to the host's size, inclusive, but not past
            // the one beyond the real bitmap: a size that claims more than
            // exists must not turn into billions of empty pixels.
            int64_t lastX = Vbmp_size_cx, lastY = Vbmp_size_cy;
            int realW = 0, realH = 0;
            if (plat::bitmapSize(dc, nullptr, &realW, &realH)) {
                lastX = std::min<int64_t>(lastX, realW);
                lastY = std::min<int64_t>(lastY, realH);
            }
            for (int64_t y = 0; y <= lastY; ++y) {
                int32_t count = 0;
                KCOLORREF colour = 0;
                for (int64_t x = 0; x <= lastX; ++x) {
                    const KCOLORREF c = plat::getPixel(dc, static_cast<int>(x), static_cast<int>(y));
                    if (c == colour) {
                        ++count;
                    } else {
                        putRun(out, count, colour);
                        colour = c;
                        count = 1;
                    }
                }
                putRun(out, count, colour);
                out.put("N\n");
            }
        }
        PsStream(file).put("\nshowpage\nEndPlot\n\n%%Trailer\n");
        plat::fileClose(file);
        UpdateStatusBar(status);
        return plat::setCursor(plat::CursorArrow);
    });
}

KESTREL_API void KESTREL_CALL PSSetColor(KFILE file, int32_t index) {
    return kestrel::guarded<void>("PSSetColor", [&]() -> void {
        if (!file) return;
        const uint8_t *c = Vcolor[static_cast<uint32_t>(index) & 0xFFu];
        // Divided by 256 here but by 255 in PSOutPix and PSPalette: kept, since
        // files already written carry exactly these numbers.
        PsStream out(file);
        if (c[0] == c[1] && c[1] == c[2])
            out.printf("%g setgray\n", c[0] / 256.0);
        else
            out.printf("%g %g %g S\n", c[0] / 256.0, c[1] / 256.0, c[2] / 256.0);
    });
}

KESTREL_API void KESTREL_CALL PSPalette(KFILE file) {
    return kestrel::guarded<void>("PSPalette", [&]() -> void {
        if (!file) return;
        const int32_t n = mCGS.paletteSize < 0 ? 0 : mCGS.paletteSize > 256 ? 256 : mCGS.paletteSize;
        static const char *const heads[3] = {"\n%%PS-OBJECT: ColorTable begin\n/red [\n", " ] def\n/gre [\n",
                                             " ] def\n/blu [\n"};
        PsStream out(file);
        for (int k = 0; k < 3; ++k) {
            out.put(heads[k]);
            for (int32_t i = 0; i < n; ++i) {
                out.printf("%6.3f", Vcolor[i][k] / 255.0);
                if ((i + 1) % 13 == 0) out.ch('\n');
            }
        }
        out.put(" ] def\n%%PS-OBJECT: ColorTable end\n\n");
    });
}

KESTREL_API int32_t KESTREL_CALL MkePSString(char *text, int32_t maxLength) {
    return kestrel::guarded<int32_t>("MkePSString", [&]() -> int32_t {
        if (!text) return 0;
        // Western single-byte code page in, PostScript string text out: the
        // umlauts become the preamble's dieresis escape, the degree sign and the
        // sharp s octal escapes of the standard encoding. Parentheses and
        // backslashes pass unchanged.
        static const char *const table[8][2] = {
            {"\xE4", "~\"a"}, {"\xC4", "~\"A"}, {"\xF6", "~\"o"},  {"\xD6", "~\"O"},
            {"\xFC", "~\"u"}, {"\xDC", "~\"U"}, {"\xB0", "\\312"}, {"\xDF", "\\373"},
        };
        for (const auto &r : table) ReplaceInString(text, r[0], r[1], maxLength);
        return static_cast<int32_t>(std::strlen(text));
    });
}

}  // extern "C"
