// Output of one traced polyline: the screen, the file, and its labels.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "base/guard.h"
#include "contour/internal.h"
#include "kestrel/contour.h"
#include "platform/platform.h"
#include "plot/psstream.h"

using namespace kestrel;

namespace {

uint32_t gLabelState = 1;

}  // namespace

void kestrel::labelRandomSeed(uint32_t seed) { gLabelState = seed; }

int32_t kestrel::labelRandom() {
    gLabelState = gLabelState * 214013u + 2531011u;
    return static_cast<int32_t>((gLabelState >> 16) & 32767u);
}

double kestrel::stepDirection(double x1, double y1, double x2, double y2, double xs, double ys) {
    double dx = (x2 - x1) * xs;
    const double dy = (y2 - y1) * ys;
    if (std::fabs(dx) <= 0.001 && std::fabs(dy) <= 0.001) return 0.0;
    double a;
    if (std::fabs(dx) < 0.001 * std::fabs(dy)) {
        dx = 0.0;
        a = dy > 0 ? 90.0 : -90.0;
    } else {
        a = std::atan(dy / dx) * 57.29577951308232;
    }
    if (dx < 0) a += 180.0;
    if (a < 0) a += 360.0;
    return a;
}

void kestrel::placeLabels(KContourLabel *labels, int32_t *labelCount, float level, int32_t labelFactor,
                          int32_t labelColour, int32_t labelSize, int32_t labelFill) {
    const int32_t n = nVp;
    if (!labels || !labelCount || n < 21 || labelFactor < 1 || n > 1500) return;
    // In 64 bits: a huge factor must neither wrap m to zero nor negative.
    const int64_t m = static_cast<int64_t>(n / 250 + 1) * labelFactor;
    const int64_t s = n / m;
    const double minLength = labelSize * static_cast<double>(VY.pixPerLength) * 0.03;
    const double min2 = minLength * minLength;
    const double px = VX.pixPerUser, py = VY.pixPerUser;
    auto dist2 = [&](int32_t a, int32_t b) {
        const double dx = (static_cast<double>(Vfp[b][0]) - Vfp[a][0]) * px;
        const double dy = (static_cast<double>(Vfp[b][1]) - Vfp[a][1]) * py;
        return dx * dx + dy * dy;
    };
    const double xs = 1.0 / VX.userPerLength, ys = 1.0 / VY.userPerLength;
    for (int64_t t = 0; t < m; ++t) {
        // A full table takes no more labels; drawing on would only spin
        // (a factor near INT_MAX asks for billions).
        if (*labelCount >= KESTREL_MAX_CONTOUR_LABELS) break;
        const int32_t r = labelRandom();
        const double where = static_cast<double>(s) * (r * static_cast<double>(3.0518509e-5f) + static_cast<double>(t));
        int32_t p = where >= 1.0 ? static_cast<int32_t>(std::fmin(where, 2.0e9)) : 0;
        if (p > n - 2) p = n - 2;
        int32_t low = p, high = p;
        int widenings = 0;
        do {
            low = low > 0 ? low - 1 : 0;
            high = high < n - 1 ? high + 1 : n - 1;
            ++widenings;
        } while (widenings < 10 && dist2(low, high) < min2);
        if (*labelCount < 0 || *labelCount >= KESTREL_MAX_CONTOUR_LABELS) continue;
        KContourLabel &lab = labels[*labelCount];
        const int32_t mid = (low + high) / 2;
        double a = stepDirection(Vfp[low][0], Vfp[low][1], Vfp[high][0], Vfp[high][1], xs, ys);
        if (a > 90.0 && a < 270.0) a += 180.0;
        if (a > 360.0) a -= 360.0;
        lab.level = level;
        lab.x = Vfp[mid][0];
        lab.y = Vfp[mid][1];
        lab.angle = static_cast<float>(a);
        lab.colour = labelColour;
        lab.size = labelSize;
        lab.fill = labelFill;
        ++*labelCount;
    }
}

extern "C" KESTREL_API void KESTREL_CALL CToutpth(KDC hdc, KFILE psfile, KContourLabel *labels, int32_t *labelCount,
                                                  float level, int32_t /*colour*/, int32_t /*style*/,
                                                  int32_t /*width*/, int32_t labelFactor, int32_t labelColour,
                                                  int32_t labelSize, int32_t labelFill) {
    return kestrel::guarded<void>("CToutpth", [&]() -> void {
        if (nVp < 2) return;
        const int32_t n = nVp > 1500 ? 1500 : nVp;
        if (hdc) plat::polyline(hdc, reinterpret_cast<const KPoint32 *>(Vip), n);
        if (psfile && (CToutpthFormat == 0 || CToutpthFormat == 1)) {
            // The lines of one piece reach the file together, with one write
            // call per piece instead of per vertex.
            PsStream out(psfile);
            if (CToutpthFormat == 0) {
                out.put("\n\n%labl: (");
                out.putG(level);
                out.put(")\nnp\n");
                out.putG(Vfp[0][0]);
                out.ch(' ');
                out.putG(Vfp[0][1]);
                out.put(" M\n");
                for (int32_t k = 1; k < n; ++k) {
                    out.putG(Vfp[k][0]);
                    out.ch(' ');
                    out.putG(Vfp[k][1]);
                    out.put(" L\n");
                }
                out.put("stroke\n\n");
            } else {
                out.putInt(n);
                out.ch(' ');
                out.putInt(n);
                out.ch('\n');
                for (int32_t k = 0; k < n; ++k) {  // y before x, as the readers of this list expect
                    out.putG(Vfp[k][1]);
                    out.ch(' ');
                    out.putG(Vfp[k][0]);
                    out.ch('\n');
                }
            }
        }
        placeLabels(labels, labelCount, level, labelFactor, labelColour, labelSize, labelFill);
    });
}
