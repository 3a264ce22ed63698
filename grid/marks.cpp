// Marking the data positions of a set: dots on the screen, and in PostScript
// a "DataPointMarks" object of one "x y d" line per point. Only points that
// take part in the analysis are marked, at their untransformed positions.
#include <cstdio>
#include <memory>
#include <new>

#include "base/guard.h"
#include "grid/oa_internal.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/fit.h"
#include "kestrel/oa.h"
#include "kestrel/postscript.h"
#include "kestrel/usrsys.h"
#include "platform/platform.h"
#include "plot/psstream.h"

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL OAMarkDataPos(KDC dc, KFILE psFile, OASet *set, float dotSize, int32_t colour) {
    return kestrel::guarded<int32_t>("OAMarkDataPos", [&]() -> int32_t {
        if (!set || oaPointCount(*set) < 0) return 0;
        const int32_t n = set->nPoints > 0 && set->x && set->y && set->use ? set->nPoints : 0;
        if (dc) {
            const std::size_t cn = static_cast<std::size_t>(n) + 1;
            std::unique_ptr<float[]> x(new (std::nothrow) float[cn]), y(new (std::nothrow) float[cn]);
            if (x && y) {
                int32_t m = 0;
                for (int32_t i = 0; i < n; ++i)
                    if (set->use[i]) {
                        x[static_cast<std::size_t>(m)] = set->x[i];
                        y[static_cast<std::size_t>(m)] = set->y[i];
                        ++m;
                    }
                SetColor(colour);
                SetDoFill(dc, 1);
                DrawDots(dc, x.get(), y.get(), m, dotSize * 0.1f);
                SetColor(0);
            }
        }
        if (psFile) {
            char line[160];
            kestrel::psWrite(psFile, "\n%%PS-OBJECT: DataPointMarks begin\n");
            PSSetColor(psFile, colour);
            std::snprintf(line, sizeof line, "/d { %5.3f dotr } bind def /fill? true def %s\n",
                          static_cast<double>(dotSize), "very_thin_line");
            kestrel::psWrite(psFile, line);
            for (int32_t i = 0; i < n; ++i)
                if (set->use[i]) {
                    std::snprintf(line, sizeof line, "%g %g d\n", static_cast<double>(set->x[i]),
                                  static_cast<double>(set->y[i]));
                    kestrel::psWrite(psFile, line);
                }
            std::snprintf(line, sizeof line, "0 setgray /fill? false def\n%%%%PS-OBJECT: DataPointMarks end\n\n");
            kestrel::psWrite(psFile, line);
        }
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL NURBSCurveDraw(KDC dc, KFILE psFile, const float *cx, const float *cy, int32_t N,
                                                int32_t p, int32_t style) {
    return kestrel::guarded<int32_t>("NURBSCurveDraw", [&]() -> int32_t {
        if (N < 1 || !cx || !cy) return 0;
        int32_t m = 10 * (N < 150 ? N : 150);
        if (m > OA_MAX_OBJECTIVE_POINTS) m = OA_MAX_OBJECTIVE_POINTS;
        NURBSCurveEvalXYPoints(cx, cy, N, p, gOAScratch, gOAScratch2, m);
        DrawPoly(dc, psFile, gOAScratch, gOAScratch2, m, 0, style);
        return 0;
    });
}

}  // extern "C"
