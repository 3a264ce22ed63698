// Three-dimensional averaging analysis: the two-dimensional estimator's
// grid lines, stretching and Gaussian weights with a third axis, 12 sort
// cells per axis, and the spreadsheet export of the field.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/guard.h"
#include "frame/message.h"
#include "grid/oa_internal.h"
#include "kestrel/d3.h"
#include "platform/platform.h"

namespace kestrel {
namespace {

// exp(-k/10) to five decimals, in double precision (the two-dimensional
// estimator's table is single precision).
struct ExpTable {
    double v[101];
    ExpTable() {
        for (int k = 0; k <= 100; ++k) v[k] = std::round(std::exp(-k / 10.0) * 1e5) / 1e5;
    }
};
const ExpTable kExp3;

constexpr float kCellFraction = 0.09090909f;  // 1/11: twelve cells span the grid

int32_t pointCount(const D3Set &s) { return s.nPoints < 0 || s.nPoints > s.capacity ? -1 : s.nPoints; }

bool pointsReady(const D3Set &s) {
    return s.x && s.xt && s.y && s.yt && s.z && s.zt && s.val && s.err && s.errInv && s.use;
}

struct Axis {
    int32_t n;
    float *g, *gt, *len;
};

struct CellRange {
    int32_t first, last;
};

CellRange cellRange(float c, float h, float origin, float width, float widthInv) {
    const float hs = std::copysign(h, width);
    int32_t lo = truncIndex((static_cast<double>(c) - hs - origin) * widthInv);
    int32_t hi = truncIndex((static_cast<double>(c) + hs - origin) * widthInv);
    if (lo > hi) std::swap(lo, hi);
    return {std::max(lo, 0), std::min(hi, D3_NCELL - 1)};
}


double estimate3(float x, float y, float z, float fx, float fy, float fz, float *spread, float *meanSqDist,
                 int32_t *nUsed, const D3Set &s) {
    *nUsed = 0;
    *spread = K_NO_DATA;
    *meanSqDist = K_NO_DATA;
    const int32_t n = pointCount(s);
    if (n < 1 || !pointsReady(s)) return 0.0;
    float ax = 2.0f * s.xlenMaxInv / fx, ay = 2.0f * s.ylenMaxInv / fy, az = 2.0f * s.zlenMaxInv / fz;
    const float rx = s.xlenMaxInv, ry = s.ylenMaxInv, rz = s.zlenMaxInv;
    Sums sum{};
    for (int pass = 0; pass < 3; ++pass) {
        sum = Sums{};
        const CellRange cx = cellRange(x, 3.0f / ax, s.cellX0, s.cellDx, s.cellDxInv);
        const CellRange cy = cellRange(y, 3.0f / ay, s.cellY0, s.cellDy, s.cellDyInv);
        const CellRange cz = cellRange(z, 3.0f / az, s.cellZ0, s.cellDz, s.cellDzInv);
        for (int32_t iz = cz.first; iz <= cz.last; ++iz)
            for (int32_t iy = cy.first; iy <= cy.last; ++iy)
                for (int32_t ix = cx.first; ix <= cx.last; ++ix) {
                    const int32_t lo = std::max(s.cellFirst[ix][iy][iz], 0);
                    const int32_t hi = std::min(s.cellLast[ix][iy][iz], n - 1);
                    for (int32_t i = lo; i <= hi; ++i) {
                        if (!s.use[i]) continue;
                        const float dx = std::fabs(x - s.xt[i]), dy = std::fabs(y - s.yt[i]), dz = std::fabs(z - s.zt[i]);
                        const float qx = ax * dx, qy = ay * dy, qz = az * dz;
                        const float q = qx * qx + qy * qy + qz * qz;
                        if (!(q < 10.0f)) continue;
                        const float t = 10.0f * q;
                        const int k = static_cast<int>(t);
                        const double f = t - static_cast<float>(k);
                        const double g = kExp3.v[k] * (1.0 - f) + kExp3.v[k + 1] * f;
                        const double gw = s.errInv[i] * g;
                        const double v = s.val[i];
                        const float ex = rx * dx, ey = ry * dy, ez = rz * dz;
                        sum.g += g;
                        sum.gw += gw;
                        sum.vgw += v * gw;
                        sum.d2 += ex * ex + ey * ey + ez * ez;
                        sum.v += v;
                        sum.v2 += v * v;
                        sum.e += s.err[i];
                        ++sum.count;
                    }
                }
        ax *= 0.5f;
        ay *= 0.5f;
        az *= 0.5f;
        if (sum.g >= 0.1 && sum.count >= 2) break;
    }
    if (sum.count == 0) return 0.0;
    averageStatistics(sum, spread, meanSqDist, nUsed);
    return sum.gw != 0.0 ? sum.vgw / sum.gw : 0.0;
}

void setCells(int32_t m, const float *g, const float *gt, int32_t *count, float *g0, float *dg, float *t0, float *dt,
              float *dtInv) {
    *count = D3_NCELL;
    if (m < 1 || !g || !gt) {
        *g0 = *dg = *t0 = *dt = *dtInv = 0.0f;
        return;
    }
    *g0 = g[0];
    *dg = (g[m - 1] - g[0]) * kCellFraction;
    *t0 = gt[0];
    *dt = static_cast<float>(gt[m - 1] - gt[0]) * kCellFraction;
    *dtInv = 1.0f / *dt;
}

size_t titleLength(const char *t) {
    size_t n = 0;
    while (n < 120 && t[n]) ++n;  // the host may fill all 121 bytes
    return n;
}

}  // namespace
}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API void KESTREL_CALL D3FreeSet(D3Set *set) {
    return kestrel::guarded<void>("D3FreeSet", [&]() -> void {
        if (!set) return;
        float **arrays[] = {&set->x,       &set->xt,         &set->y,        &set->yt,  &set->z,   &set->zt,
                            &set->val,     &set->err,        &set->errInv,   &set->gridEst, &set->gridSpread,
                            &set->gridDist, &set->xg,        &set->xgt,      &set->xlen, &set->yg, &set->ygt,
                            &set->ylen,    &set->zg,         &set->zgt,      &set->zlen};
        for (float **a : arrays) {
            std::free(*a);
            *a = nullptr;
        }
        std::free(set->use);
        set->use = nullptr;
    });
}

KESTREL_API int32_t KESTREL_CALL D3AllocSet(D3Set *set, int32_t nx, int32_t ny, int32_t nz, int32_t capacity) {
    return kestrel::guarded<int32_t>("D3AllocSet", [&]() -> int32_t {
        if (!set) return 0;
        std::memset(set, 0, sizeof *set);
        set->nx = std::max(nx, 1);
        set->ny = std::max(ny, 1);
        set->nz = std::max(nz, 1);
        const double nodes = static_cast<double>(set->nx) * set->ny * set->nz;
        // Node indexes stay within int32, and no grid claims more than 16 GiB:
        // a size beyond that is a mistake, not a survey.
        bool ok = capacity >= 0 && nodes <= 2147483647.0 && nodes * sizeof(float) <= 17179869184.0 &&
                  nodes * sizeof(float) <= static_cast<double>(SIZE_MAX) / 4;
        if (ok) {
            auto f = [](size_t n) { return static_cast<float *>(std::malloc((n ? n : 1) * sizeof(float))); };
            const size_t cx = static_cast<size_t>(set->nx), cy = static_cast<size_t>(set->ny),
                         cz = static_cast<size_t>(set->nz), cp = static_cast<size_t>(capacity),
                         cn = cx * cy * cz;
            set->xg = f(cx), set->xgt = f(cx), set->xlen = f(cx);
            set->yg = f(cy), set->ygt = f(cy), set->ylen = f(cy);
            set->zg = f(cz), set->zgt = f(cz), set->zlen = f(cz);
            set->nPoints = set->nInCells = 0;
            set->capacity = capacity;
            set->x = f(cp), set->xt = f(cp), set->y = f(cp), set->yt = f(cp), set->z = f(cp), set->zt = f(cp);
            set->val = f(cp), set->err = f(cp), set->errInv = f(cp);
            set->use = static_cast<uint8_t *>(std::malloc(cp ? cp : 1));
            set->gridEst = f(cn), set->gridSpread = f(cn), set->gridDist = f(cn);
            ok = set->xg && set->xgt && set->xlen && set->yg && set->ygt && set->ylen && set->zg && set->zgt &&
                 set->zlen && pointsReady(*set) && set->gridEst && set->gridSpread && set->gridDist;
        }
        if (!ok) {
            kestrel::showMessage("Could not Allocate Workspace!", "D3SET Allocation...",
                             plat::MbOk | plat::MbIconExclamation | plat::MbTaskModal);
            D3FreeSet(set);
            return 0;
        }
        return 1;
    });
}

KESTREL_API void KESTREL_CALL D3ScaleTransformation(D3Set *set) {
    return kestrel::guarded<void>("D3ScaleTransformation", [&]() -> void {
        if (!set || pointCount(*set) < 0) return;
        StatusText status("3D Scale-Transforming ...");
        const Axis axes[3] = {{set->nx, set->xg, set->xgt, set->xlen},
                              {set->ny, set->yg, set->ygt, set->ylen},
                              {set->nz, set->zg, set->zgt, set->zlen}};
        float *refs[3][2] = {{&set->xlenMax, &set->xlenMaxInv}, {&set->ylenMax, &set->ylenMaxInv},
                             {&set->zlenMax, &set->zlenMaxInv}};
        for (int a = 0; a < 3; ++a)
            if (axes[a].n >= 1 && axes[a].g && axes[a].gt && axes[a].len)
                transformAxis(axes[a].n, axes[a].g, axes[a].gt, axes[a].len, refs[a][0], refs[a][1]);
        if (!pointsReady(*set)) return;
        for (int32_t i = 0; i < set->nPoints; ++i) {
            set->xt[i] = static_cast<float>(OATransformCoord(set->x[i], set->nx, set->xg, set->xgt, set->xlen, set->xlenMax));
            set->yt[i] = static_cast<float>(OATransformCoord(set->y[i], set->ny, set->yg, set->ygt, set->ylen, set->ylenMax));
            set->zt[i] = static_cast<float>(OATransformCoord(set->z[i], set->nz, set->zg, set->zgt, set->zlen, set->zlenMax));
        }
    });
}

KESTREL_API void KESTREL_CALL D3SortDataPoints(D3Set *set) {
    return kestrel::guarded<void>("D3SortDataPoints", [&]() -> void {
        if (!set || pointCount(*set) < 0) return;
        StatusText status("Sorting 3D data ...");
        const int32_t n = set->nPoints;
        if (n > 0 && !pointsReady(*set)) return;
        const size_t cn = static_cast<size_t>(n) + 1;
        int32_t *cell = static_cast<int32_t *>(std::malloc(cn * sizeof(int32_t)));
        float *tmp = static_cast<float *>(std::malloc(9 * cn * sizeof(float)));
        uint8_t *tmpUse = static_cast<uint8_t *>(std::malloc(cn));
        if (!cell || !tmp || !tmpUse) {
            std::free(cell), std::free(tmp), std::free(tmpUse);
            return;
        }
        int32_t count[D3_NCELL][D3_NCELL][D3_NCELL] = {};
        int32_t inCells = 0;
        for (int32_t i = 0; i < n; ++i) {
            const int32_t ix = floorIndex((static_cast<double>(set->xt[i]) - set->cellX0) * set->cellDxInv);
            const int32_t iy = floorIndex((static_cast<double>(set->yt[i]) - set->cellY0) * set->cellDyInv);
            const int32_t iz = floorIndex((static_cast<double>(set->zt[i]) - set->cellZ0) * set->cellDzInv);
            const bool inside = ix >= 0 && ix < D3_NCELL && iy >= 0 && iy < D3_NCELL && iz >= 0 && iz < D3_NCELL;
            cell[i] = inside ? (iz * D3_NCELL + iy) * D3_NCELL + ix : -1;
            if (inside) {
                ++count[ix][iy][iz];
                ++inCells;
            }
        }
        set->nInCells = set->nPoints = inCells;
        int32_t start = 0;
        for (int32_t iz = 0; iz < D3_NCELL; ++iz)
            for (int32_t iy = 0; iy < D3_NCELL; ++iy)
                for (int32_t ix = 0; ix < D3_NCELL; ++ix) {
                    set->cellFirst[ix][iy][iz] = start;
                    set->cellLast[ix][iy][iz] = start - 1;
                    start += count[ix][iy][iz];
                }
        float *const arrays[9] = {set->x, set->xt, set->y, set->yt, set->z, set->zt, set->val, set->err, set->errInv};
        for (int32_t i = 0; i < n; ++i) {
            if (cell[i] < 0) continue;
            const int32_t ix = cell[i] % D3_NCELL, iy = cell[i] / D3_NCELL % D3_NCELL, iz = cell[i] / (D3_NCELL * D3_NCELL);
            const size_t slot = static_cast<size_t>(++set->cellLast[ix][iy][iz]);
            for (int a = 0; a < 9; ++a) tmp[static_cast<size_t>(a) * cn + slot] = arrays[a][i];
            tmpUse[slot] = set->use[i];
        }
        for (int a = 0; a < 9; ++a)
            std::memcpy(arrays[a], &tmp[static_cast<size_t>(a) * cn], static_cast<size_t>(inCells) * sizeof(float));
        if (inCells > 0) std::memcpy(set->use, tmpUse, static_cast<size_t>(inCells));
        std::free(cell), std::free(tmp), std::free(tmpUse);
    });
}

KESTREL_API int32_t KESTREL_CALL D3GenerateGrid(D3Set *set, float px, float py, float pz) {
    return kestrel::guarded<int32_t>("D3GenerateGrid", [&]() -> int32_t {
        if (!set || pointCount(*set) < 0 || !pointsReady(*set)) return 1;
        const int32_t n = set->nPoints;
        if (set->xg && set->xlen) set->xlenLargest = static_cast<float>(OASetupAxisGrid(set->x, n, set->xmin, set->xmax, px, set->xg, set->xlen, set->nx));
        if (set->yg && set->ylen) set->ylenLargest = static_cast<float>(OASetupAxisGrid(set->y, n, set->ymin, set->ymax, py, set->yg, set->ylen, set->ny));
        if (set->zg && set->zlen) set->zlenLargest = static_cast<float>(OASetupAxisGrid(set->z, n, set->zmin, set->zmax, pz, set->zg, set->zlen, set->nz));
        D3ScaleTransformation(set);
        setCells(set->nx, set->xg, set->xgt, &set->nCellX, &set->cellX0g, &set->cellDxg, &set->cellX0, &set->cellDx,
                 &set->cellDxInv);
        setCells(set->ny, set->yg, set->ygt, &set->nCellY, &set->cellY0g, &set->cellDyg, &set->cellY0, &set->cellDy,
                 &set->cellDyInv);
        setCells(set->nz, set->zg, set->zgt, &set->nCellZ, &set->cellZ0g, &set->cellDzg, &set->cellZ0, &set->cellDz,
                 &set->cellDzInv);
        D3SortDataPoints(set);
        return 1;
    });
}

KESTREL_API double KESTREL_CALL D3EstimateValueT(float x, float y, float z, float fx, float fy, float fz,
                                                 float *spread, float *meanSqDist, int32_t *nUsed, D3Set *set) {
    return kestrel::guarded<double>("D3EstimateValueT", [&]() -> double {
        float sp = K_NO_DATA, md = K_NO_DATA;
        int32_t nu = 0;
        const double v = set ? estimate3(x, y, z, fx, fy, fz, &sp, &md, &nu, *set) : 0.0;
        if (spread) *spread = sp;
        if (meanSqDist) *meanSqDist = md;
        if (nUsed) *nUsed = nu;
        return v;
    });
}

KESTREL_API double KESTREL_CALL D3EstimateValue(float x, float y, float z, float fx, float fy, float fz,
                                                float *spread, float *meanSqDist, int32_t *nUsed, D3Set *set) {
    return kestrel::guarded<double>("D3EstimateValue", [&]() -> double {
        if (set) {
            x = static_cast<float>(OATransformCoord(x, set->nx, set->xg, set->xgt, set->xlen, set->xlenMax));
            y = static_cast<float>(OATransformCoord(y, set->ny, set->yg, set->ygt, set->ylen, set->ylenMax));
            z = static_cast<float>(OATransformCoord(z, set->nz, set->zg, set->zgt, set->zlen, set->zlenMax));
        }
        return D3EstimateValueT(x, y, z, fx, fy, fz, spread, meanSqDist, nUsed, set);
    });
}

KESTREL_API void KESTREL_CALL D3EstimateField(D3Set *set) {
    return kestrel::guarded<void>("D3EstimateField", [&]() -> void {
        if (!set || set->nz < 1 || set->nx < 1 || set->ny < 1) return;
        if (!set->gridEst || !set->gridSpread || !set->gridDist || !set->xgt || !set->ygt || !set->zgt) return;
        StatusText status("3D Field Estimation ...");
        const size_t nx = static_cast<size_t>(set->nx), ny = static_cast<size_t>(set->ny);
        for (int32_t iz = 0; iz < set->nz; ++iz)
            for (int32_t iy = 0; iy < set->ny; ++iy)
                for (int32_t ix = 0; ix < set->nx; ++ix) {
                    float sp, md;
                    int32_t nu;
                    const double v = estimate3(set->xgt[ix], set->ygt[iy], set->zgt[iz], 1.0f, 1.0f, 1.0f, &sp, &md, &nu, *set);
                    const size_t k = (static_cast<size_t>(iz) * ny + static_cast<size_t>(iy)) * nx + static_cast<size_t>(ix);
                    set->gridEst[k] = static_cast<float>(v);
                    set->gridSpread[k] = sp;
                    set->gridDist[k] = md;
                }
    });
}

KESTREL_API void KESTREL_CALL D3WriteFieldZep(const char *path, const char *cruise, const char *date, D3Set *set) {
    return kestrel::guarded<void>("D3WriteFieldZep", [&]() -> void {
        if (!path || !set) return;
        std::FILE *f = std::fopen(path, "w");
        if (!f) return;
        StatusText status("Write Zep spreadsheet file ...");
        if (!cruise) cruise = "";
        if (!date) date = "";
        // "Error <title>" up to the unit's bracket, then " [rel. units]": a
        // title "Oxygen [umol/kg]" gives "Error Oxygen  [rel. units]", with the
        // doubled blank the host's readers expect.
        char title[121], ztitle[121], err[140];
        std::memcpy(title, set->title, titleLength(set->title));
        title[titleLength(set->title)] = '\0';
        std::memcpy(ztitle, set->ztitle, titleLength(set->ztitle));
        ztitle[titleLength(set->ztitle)] = '\0';
        std::snprintf(err, sizeof err, "Error %s", title);
        if (char *bracket = std::strchr(err, '[')) *bracket = '\0';
        std::strncat(err, " [rel. units]", sizeof err - std::strlen(err) - 1);
        std::fprintf(f, "Cruise\tStation\tType\tmon/day/yr\tLon (\xB0" "E)\tLat (\xB0N)\tBot. Depth [m]\t%s\t%s\t%s\n", ztitle,
                     title, err);
        const bool ready = set->xg && set->yg && set->zg && set->gridEst && set->gridDist;
        if (set->ny >= 1 && ready) {
            const size_t nx = static_cast<size_t>(std::max(set->nx, 0)), ny = static_cast<size_t>(set->ny);
            int station = 0;
            for (int32_t iy = 0; iy < set->ny; ++iy)
                for (int32_t ix = 0; ix < set->nx; ++ix) {
                    char number[16];
                    std::snprintf(number, sizeof number, "%d", ++station);
                    double lon = set->xg[ix];
                    if (lon < 0) lon += 360.0;
                    for (int32_t iz = 0; iz < set->nz; ++iz) {
                        const size_t k = (static_cast<size_t>(iz) * ny + static_cast<size_t>(iy)) * nx + static_cast<size_t>(ix);
                        std::fprintf(f, "%s\t%s\tB\t%s\t%g\t%g\t0\t%g\t%g\t%g\n", cruise, number, date, lon,
                                     static_cast<double>(set->yg[iy]), -static_cast<double>(set->zg[iz]),
                                     static_cast<double>(set->gridEst[k]), static_cast<double>(set->gridDist[k]));
                    }
                }
        }
        std::fclose(f);
    });
}

}  // extern "C"
