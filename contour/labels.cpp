// Drawing of the collected contour labels, after all lines of a field, so
// that no line is drawn over a label.
#include <cstdio>
#include <string>

#include "base/guard.h"
#include "contour/internal.h"
#include "contour/labels.h"
#include "kestrel/colour.h"
#include "kestrel/contour.h"
#include "kestrel/draw.h"
#include "kestrel/postscript.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"
#include "plot/psstream.h"

using namespace kestrel;

extern "C" KESTREL_API void KESTREL_CALL CToutlbl(KDC hdc, KFILE psfile, const KContourLabel *labels,
                                                  int32_t labelCount) {
    return kestrel::guarded<void>("CToutlbl", [&]() -> void {
        if (!labels || labelCount < 0) labelCount = 0;
        if (labelCount > KESTREL_MAX_CONTOUR_LABELS) labelCount = KESTREL_MAX_CONTOUR_LABELS;
        char text[64];
        if (hdc) {
            SetLorgVal(hdc, 0);
            for (int32_t k = 0; k < labelCount; ++k) {
                const KContourLabel &l = labels[k];
                SetColor(l.colour);
                SetDoFill(hdc, l.fill);
                formatG(text, l.level);
                DrawString(hdc, text, l.x, l.y, l.angle, static_cast<float>(l.size));
                if (gLabelBoxTrace) {
                    PlacedLabelBox b;
                    b.level = l.level;
                    b.x = l.x;
                    b.y = l.y;
                    b.angle = l.angle;
                    for (int c = 0; c < 4; ++c) {
                        b.px[c] = dli.boxX[c];
                        b.py[c] = dli.boxY[c];
                    }
                    gLabelBoxTrace->push_back(b);
                }
            }
            SetColor(0);
        }
        if (psfile) {
            kestrel::psWrite(psfile, "gsave dousrclip\n\n");
            std::string line;
            for (int32_t k = 0; k < labelCount; ++k) {
                const KContourLabel &l = labels[k];
                PSSetColor(psfile, l.colour);
                char buf[200];
                std::snprintf(buf, sizeof buf, "%d SetMyFont %s", static_cast<int>(l.size),
                              l.fill ? "/fill? true def\n" : "/fill? false def\n");
                kestrel::psWrite(psfile, buf);
                std::snprintf(buf, sizeof buf, "(%g) %g %g %g rotatedText\n\n", static_cast<double>(l.level),
                              static_cast<double>(l.angle), static_cast<double>(l.x), static_cast<double>(l.y));
                kestrel::psWrite(psfile, buf);
            }
            kestrel::psWrite(psfile, "grestore 0 setgray\n");
        }
    });
}
