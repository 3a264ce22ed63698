// The analysis set: allocation, release, whole-set loading, cell layout.
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "base/guard.h"
#include "frame/message.h"
#include "grid/oa_internal.h"
#include "kestrel/oa.h"
#include "platform/platform.h"

namespace kestrel {

float gOAScratch[OA_MAX_OBJECTIVE_POINTS];
float gOAScratch2[OA_MAX_OBJECTIVE_POINTS];

void oaSetupCells(OASet *set) {
    set->nCellX = OA_NCELL;
    set->nCellY = OA_NCELL;
    if (set->nx < 1 || set->ny < 1 || !set->xgt || !set->ygt) return;
    const float x0 = set->xgt[0], x1 = set->xgt[set->nx - 1];
    const float y0 = set->ygt[0], y1 = set->ygt[set->ny - 1];
    set->cellX0 = x0 - std::copysign(1.0e-6f, x1 - x0);
    set->cellY0 = y0 - std::copysign(1.0e-6f, y1 - y0);
    set->cellDx = (x1 - x0) / static_cast<float>(set->nCellX - 1);
    set->cellDy = (y1 - y0) / static_cast<float>(set->nCellY - 1);
    set->cellDxInv = 1.0f / set->cellDx;
    set->cellDyInv = 1.0f / set->cellDy;
}

}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL OAInitializeSet(OASet *set) {
    return kestrel::guarded<int32_t>("OAInitializeSet", [&]() -> int32_t {
        if (set) std::memset(set, 0, sizeof *set);
        return 0;
    });
}

KESTREL_API int32_t KESTREL_CALL OAFreeSet(OASet *set) {
    return kestrel::guarded<int32_t>("OAFreeSet", [&]() -> int32_t {
        if (!set) return 0;
        float **floats[] = {&set->x,       &set->xt,      &set->y,          &set->yt,   &set->val,
                            &set->err,     &set->errInv,  &set->gridEst,    &set->gridErr,
                            &set->gridErrOut, &set->xg,   &set->xgt,        &set->xlen, &set->yg,
                            &set->ygt,     &set->ylen};
        for (float **p : floats) oaFree(*p);
        oaFree(set->use);
        return OAInitializeSet(set);
    });
}

KESTREL_API int32_t KESTREL_CALL OAAllocSet(OASet *set, float width, float height, int32_t maxColumns,
                                            int32_t capacity) {
    return kestrel::guarded<int32_t>("OAAllocSet", [&]() -> int32_t {
        if (!set) return 0;
        const double R = VX.pixPerLength < 35.0f ? VX.pixPerLength : 35.0;
        OAInitializeSet(set);
        // In double with explicit limits: a NaN or huge width must not reach an
        // integer conversion.
        double nx = std::trunc(R * width * 0.5);
        if (!(nx == nx)) nx = 0;
        if (nx > maxColumns) nx = maxColumns;
        double ny = std::trunc(nx * static_cast<double>(height) / width);
        if (!(ny == ny) || ny < 1) ny = 1;
        if (nx < 1) nx = 1;
        bool ok = capacity >= 0 && ny <= 2147483647.0 &&
                  nx * ny * sizeof(float) <= static_cast<double>(SIZE_MAX) / 2;
        if (ok) {
            set->nx = static_cast<int32_t>(nx);
            set->ny = static_cast<int32_t>(ny);
            const std::size_t cx = static_cast<std::size_t>(set->nx), cy = static_cast<std::size_t>(set->ny);
            const std::size_t cp = static_cast<std::size_t>(capacity) + (capacity == 0);  // malloc(0) may be null
            auto f = [](std::size_t n) { return static_cast<float *>(std::malloc(n * sizeof(float))); };
            set->xg = f(cx);
            set->xgt = f(cx);
            set->xlen = f(cx);
            set->yg = f(cy);
            set->ygt = f(cy);
            set->ylen = f(cy);
            set->nPoints = 0;
            set->nInCells = 0;
            set->capacity = capacity;
            set->x = f(cp);
            set->xt = f(cp);
            set->y = f(cp);
            set->yt = f(cp);
            set->val = f(cp);
            set->err = f(cp);
            set->errInv = f(cp);
            set->use = static_cast<uint8_t *>(std::malloc(cp));
            set->gridEst = f(cx * cy);
            set->gridErr = f(cx * cy);
            set->gridErrOut = f(cx * cy);
            ok = set->xg && set->xgt && set->xlen && set->yg && set->ygt && set->ylen && set->x && set->xt &&
                 set->y && set->yt && set->val && set->err && set->errInv && set->use && set->gridEst &&
                 set->gridErr && set->gridErrOut;
        }
        if (!ok) {
            kestrel::showMessage("Could not Allocate Workspace!", "OA Allocation...",
                             plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal);
            OAFreeSet(set);
            return 0;
        }
        return 1;
    });
}

KESTREL_API int32_t KESTREL_CALL OALoadSet(const char *baseName, OASet *set) {
    return kestrel::guarded<int32_t>("OALoadSet", [&]() -> int32_t {
        if (!set) return 0;
        OAInitializeSet(set);
        if (OALoadLayout(baseName, set) != 0) return 0;
        if (OALoadGrid(baseName, set) != 0) return 0;
        if (OALoadData(baseName, set) == 0) return 0;
        OAScaleTransformation(set);
        oaSetupCells(set);
        OASortDataPoints(set);
        return 1;
    });
}

}  // extern "C"
