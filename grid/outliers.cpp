// Outlier removal: every examined point is compared with the bilinear
// interpolation of the estimated field and of the reference error field at
// its position; a point at threshold error units or more from the field is
// taken out of the analysis (its use flag cleared, the point kept).
//
// The status text offers an abort by Escape, but the loop never stops early:
// it only keeps the interface alive through the message pump, as the host
// has always had it.
#include <cmath>

#include "base/guard.h"
#include "grid/oa_internal.h"
#include "kestrel/fit.h"
#include "kestrel/frame.h"
#include "kestrel/oa.h"
#include "platform/platform.h"

using namespace kestrel;

namespace {

// Bilinear interpolation of grid (x fastest, nx columns) in the cell whose
// lower-left node is (ix, iy), at fractions fx, fy.
double bilinear(const float *grid, int32_t nx, int32_t ix, int32_t iy, double fx, double fy) {
    const std::size_t i00 = static_cast<std::size_t>(iy) * static_cast<std::size_t>(nx) + static_cast<std::size_t>(ix);
    const std::size_t i01 = i00 + static_cast<std::size_t>(nx);
    return fy * (fx * grid[i01 + 1] + (1.0 - fx) * grid[i01]) + (1.0 - fy) * (fx * grid[i00 + 1] + (1.0 - fx) * grid[i00]);
}

}  // namespace

extern "C" {

KESTREL_API int32_t KESTREL_CALL OARemoveOutliers(OASet *set, float threshold, float x0, float x1, float y0,
                                                  float y1) {
    return kestrel::guarded<int32_t>("OARemoveOutliers", [&]() -> int32_t {
        if (!set || oaPointCount(*set) < 0) return 0;
        const int32_t n = set->nPoints;
        int32_t step = n / 100;
        if (step < 20) step = 20;
        KWND bar = MyProgressBar(100, step);
        StatusText status("Removing outliers...      ESC aborts");
        plat::setCursor(plat::CursorWait);
        int32_t removed = 0;
        const bool ready = n > 0 && set->x && set->y && set->val && set->use && set->xg && set->yg && set->gridEst &&
                           set->gridErr && set->nx >= 2 && set->ny >= 2;
        for (int32_t i = 0; ready && i < n; ++i) {
            const double ux = (static_cast<double>(set->x[i]) - x0) / (static_cast<double>(x1) - x0);
            const double uy = (static_cast<double>(set->y[i]) - y0) / (static_cast<double>(y1) - y0);
            if (!set->use[i] || !(ux >= 0.0 && ux <= 1.0) || !(uy >= 0.0 && uy <= 1.0)) continue;
            PeekMessagePump();
            const int32_t ix = FindBin(set->xg, set->nx, set->x[i]);
            const int32_t iy = FindBin(set->yg, set->ny, set->y[i]);
            if (ix >= 0 && iy >= 0) {
                const double fx = (static_cast<double>(set->x[i]) - set->xg[ix]) /
                                  (static_cast<double>(set->xg[ix + 1]) - set->xg[ix]);
                const double fy = (static_cast<double>(set->y[i]) - set->yg[iy]) /
                                  (static_cast<double>(set->yg[iy + 1]) - set->yg[iy]);
                const double E = bilinear(set->gridEst, set->nx, ix, iy, fx, fy);
                const double R = bilinear(set->gridErr, set->nx, ix, iy, fx, fy);
                // A zero error makes the ratio infinite: the point goes.
                if (std::fabs((E - set->val[i]) / R) >= threshold) {
                    set->use[i] = 0;
                    ++removed;
                }
            }
            if (i % step == 0) plat::setProgressPos(bar, static_cast<int>(100.0 * i / n));
        }
        plat::setCursor(plat::CursorArrow);
        plat::destroyWindow(bar);
        return removed;
    });
}

}  // extern "C"
