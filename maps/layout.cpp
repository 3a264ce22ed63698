// Map layout, domain tests and the clip outline.
//
// The layout makes the host's choice of projection, domain and centre
// consistent, sets the projection state and places the map in the plot area
// with equal x and y scale. The clip outline is the domain's border walked in
// geographic coordinates and projected, so that it follows curved parallels
// and meridians; for the polar and hemispheric cases whose border would
// degenerate it is the bounding circle or the horizon instead.
//
// PostScript side: the map routines switch to a temporary user system of
// 0..5000 over the map's page area (SetupUsrSys of the preamble) and write
// integer coordinates in it, then restore the map's own user system.
#include <cmath>
#include <cstdio>

#include "base/guard.h"
#include "kestrel/colour.h"
#include "kestrel/draw.h"
#include "kestrel/maps.h"
#include "kestrel/projection.h"
#include "kestrel/usrsys.h"
#include "maps/map_internal.h"
#include "projection/projections.h"
#include "platform/platform.h"
#include "plot/psstream.h"
#include "plot/transform.h"

namespace kestrel {

long writeTempUsrSys(KFILE f, const MapUserSys &u) {
    char line[200];
    std::snprintf(line, sizeof line, "0 %d %g %g 0 %d %g %g SetupUsrSys\n", kMapPSUnits, u.pxMin, u.pxMax,
                  kMapPSUnits, u.pyMin, u.pyMax);
    return kestrel::psWrite(f, line);
}

long writeMapUsrSys(KFILE f, const MapUserSys &u, const char *before) {
    char line[300];
    std::snprintf(line, sizeof line, "%s%g %g %g %g %g %g %g %g SetupUsrSys\n", before, u.uxMin, u.uxMax, u.pxMin,
                  u.pxMax, u.uyMin, u.uyMax, u.pyMin, u.pyMax);
    return kestrel::psWrite(f, line);
}

void toMapPSUnits(const MapUserSys &u, float *x, float *y, int32_t n) {
    const float sx = static_cast<float>(kMapPSUnits) / (u.uxMax - u.uxMin);
    const float sy = static_cast<float>(kMapPSUnits) / (u.uyMax - u.uyMin);
    for (int32_t i = 0; i < n; ++i) {
        x[i] = static_cast<float>(truncPixel((x[i] - u.uxMin) * sx));
        y[i] = static_cast<float>(truncPixel((y[i] - u.uyMin) * sy));
    }
}

int32_t clipOutline(float *x, float *y, int32_t maxPoints, int32_t code, float lonMin, float lonMax, float latMin,
                    float latMax) {
    if (!x || !y || maxPoints < 5) return 0;
    auto put = [&](int32_t i, double lon, double lat) {
        x[i] = static_cast<float>(lon);
        y[i] = static_cast<float>(lat);
        if (code != 0) Project(&x[i], &y[i]);
    };
    const float lonRange = lonMax - lonMin;
    if (code == 0) {
        put(0, lonMin, latMin);
        put(1, lonMax, latMin);
        put(2, lonMax, latMax);
        put(3, lonMin, latMax);
        put(4, lonMin, latMin);
        return 5;
    }
    if ((code == 1 || code == 3) && lonRange == 360.0f) {
        // The whole cap: the outline is the bounding parallel, a circle.
        const double lat = code == 1 ? latMin : latMax;
        const double step = 360.0 / (maxPoints - 1);
        for (int32_t i = 0; i < maxPoints; ++i) put(i, lonMin + i * step, lat);
        return maxPoints;
    }
    if (code == 5 && (lonRange > 330.0f || latMax - latMin > 150.0f)) {
        // A near-hemisphere: the domain's border would fold behind the
        // horizon, so walk the horizon and keep it within the domain.
        for (int32_t i = 0; i < maxPoints; ++i) {
            const double t = i * 6.283185307179586 / (maxPoints - 1);
            float u = static_cast<float>(std::cos(t)), v = static_cast<float>(std::sin(t));
            UnProject(&u, &v);
            const double lon = u < lonMin ? lonMin : u > lonMax ? lonMax : u;
            const double lat = v < latMin ? latMin : v > latMax ? latMax : v;
            put(i, lon, lat);
        }
        return maxPoints;
    }
    const int32_t m = maxPoints / 4;
    put(0, lonMin, latMin);
    if (m < 2) return 1;
    const double dLon = (static_cast<double>(lonMax) - lonMin) / (m - 1);
    const double dLat = (static_cast<double>(latMax) - latMin) / (m - 1);
    int32_t k = 1;
    for (int32_t i = 1; i < m; ++i) put(k++, lonMin + i * dLon, latMin);
    for (int32_t i = 1; i < m; ++i) put(k++, lonMax, latMin + i * dLat);
    for (int32_t i = 1; i < m; ++i) put(k++, lonMax - i * dLon, latMax);
    for (int32_t i = 1; i < m; ++i) put(k++, lonMin, latMax - i * dLat);
    return k;
}

void strokeOutlineOnScreen(KDC dc, float *x, float *y, int32_t n, int32_t widthIndex, const char *caller) {
    KPALETTE previous = ActivateMyPalette(dc);
    ClipVWP(dc, 0);
    float length = 0;
    plat::selectObject(dc, plat::createPen(plat::PenSolid, PixelLineWidth(widthIndex, &length), mCGS.color));
    DrawPoly(dc, nullptr, x, y, n, 0, 1);
    RestorePen(dc, caller);
    RestorePalette(dc, previous, caller);
}

}  // namespace kestrel

using namespace kestrel;

namespace {

// The width name of a line-width index, held to the table.
const char *widthName(int32_t index) { return szPSlWidth[index < 0 ? 0 : index > 5 ? 5 : index]; }

bool trimBelow(float &v, float limit) {
    if (v < limit) {
        v = limit;
        return true;
    }
    return false;
}

bool trimAbove(float &v, float limit) {
    if (v > limit) {
        v = limit;
        return true;
    }
    return false;
}

}  // namespace

extern "C" {

KESTREL_API int32_t KESTREL_CALL AdjustMapLayout(float *xMin, float *xMax, float *width, float *xOffset, float *yMin,
                                                 float *yMax, float *height, float *yOffset, float *lonMin,
                                                 float *lonMax, float *centreLon, float *latMin, float *latMax,
                                                 float *centreLat, int32_t projCode, float areaWidth, float areaX,
                                                 float areaHeight, float areaY) {
    return kestrel::guarded<int32_t>("AdjustMapLayout", [&]() -> int32_t {
        if (!xMin || !xMax || !width || !xOffset || !yMin || !yMax || !height || !yOffset || !lonMin || !lonMax ||
            !centreLon || !latMin || !latMax || !centreLat)
            return 0;
        proj = projCode;
        gProj.centreLon = *centreLon;
        gProj.centreLat = *centreLat;
        bool changed = false;
        const double c = *centreLon;
        switch (projCode) {
        case 1:
            changed |= trimBelow(*latMin, 0.1f);
            changed |= trimBelow(*latMax, 0.1f);
            if (*latMax == *latMin) {  // nothing left of the range: take the whole cap
                *lonMin = static_cast<float>(c - 180.0);
                *lonMax = static_cast<float>(c + 180.0);
                *latMin = 0.1f;
                *latMax = 90.0f;
                changed = true;
            }
            break;
        case 3:
            changed |= trimAbove(*latMin, -0.1f);
            changed |= trimAbove(*latMax, -0.1f);
            if (*latMax == *latMin) {
                *lonMin = static_cast<float>(c - 180.0);
                *lonMax = static_cast<float>(c + 180.0);
                *latMin = -90.0f;
                *latMax = -0.1f;
                changed = true;
            }
            break;
        case 2:
            changed |= trimBelow(*lonMin, static_cast<float>(c - 89.99));
            changed |= trimAbove(*lonMax, static_cast<float>(c + 89.99));
            break;
        case 4:
        case 6:
            changed |= trimBelow(*lonMin, static_cast<float>(c - 179.99));
            changed |= trimAbove(*lonMax, static_cast<float>(c + 179.99));
            break;
        default: break;
        }
        if (projCode == 5) {
            changed = SetupGenOrthoProj(lonMin, lonMax, centreLon, latMin, latMax, centreLat) != 0;
        } else {
            changed |= CheckMapDomain(lonMin, lonMax, latMin, latMax) != 0;
            *centreLon = static_cast<float>((static_cast<double>(*lonMin) + *lonMax) * 0.5);
            gProj.centreLon = *centreLon;
            gProj.mapDomain[0] = *lonMin;
            gProj.mapDomain[1] = *lonMax;
            gProj.mapDomain[2] = *latMin;
            gProj.mapDomain[3] = *latMax;
        }

        double w = 0, h = 0;
        if (proj >= 1 && proj < kProjectionCount) {
            GetMapProjBB(*lonMin, *lonMax, *latMin, *latMax, xMin, xMax, yMin, yMax);
            w = std::fabs(static_cast<double>(*xMax) - *xMin);
            h = std::fabs(static_cast<double>(*yMax) - *yMin);
        } else {
            *xMin = *lonMin;
            *xMax = *lonMax;
            *yMin = *latMin;
            *yMax = *latMax;
            // Degrees of longitude are shorter than degrees of latitude by the
            // cosine of the latitude: the unprojected map keeps its middle true.
            w = std::cos((static_cast<double>(*latMax) + *latMin) * 0.00872665) * std::fabs(static_cast<double>(*xMax) - *xMin);
            h = std::fabs(static_cast<double>(*yMax) - *yMin);
        }
        // An empty extent gives no scale of its own; a map with no extent at all
        // gets no area.
        double s = 0;
        if (w > 0 && h > 0) s = std::fmin(areaWidth / w, areaHeight / h);
        else if (w > 0) s = areaWidth / w;
        else if (h > 0) s = areaHeight / h;
        if (!std::isfinite(s) || s < 0) s = 0;
        *width = static_cast<float>(s * w);
        *height = static_cast<float>(s * h);
        *xOffset = static_cast<float>((static_cast<double>(areaWidth) - *width) * 0.5 + areaX);
        *yOffset = static_cast<float>((static_cast<double>(areaHeight) - *height) * 0.5 + areaY);
        return changed ? 1 : 0;
    });
}

KESTREL_API int32_t KESTREL_CALL IsInsideGlobalMapDomain(float lon, float lat) {
    return kestrel::guarded<int32_t>("IsInsideGlobalMapDomain", [&]() -> int32_t {
        if (proj != 5) return 1;
        const double t = static_cast<double>(lat) + 90.0;
        if (!(t >= 0.0) || !(t < 181.0)) return 0;  // off the sphere (or NaN)
        const int i = static_cast<int>(t);
        return std::fabs(static_cast<double>(lon) - gProj.centreLon) <= gProj.lonVisTable[i] ? 1 : 0;
    });
}

KESTREL_API int32_t KESTREL_CALL IsInsideMapDomain(float lon, float lat) {
    return kestrel::guarded<int32_t>("IsInsideMapDomain", [&]() -> int32_t {
        const float *d = gProj.mapDomain;
        if (!(lon >= d[0] && lon <= d[1] && lat >= d[2] && lat <= d[3])) return 0;
        return IsInsideGlobalMapDomain(lon, lat);
    });
}

KESTREL_API int32_t KESTREL_CALL ConstructMapClipPath(float *x, float *y, int32_t maxPoints, int32_t projCode,
                                                      float lonMin, float lonMax, float latMin, float latMax) {
    return kestrel::guarded<int32_t>("ConstructMapClipPath", [&]() -> int32_t {
        return clipOutline(x, y, maxPoints, projCode, lonMin, lonMax, latMin, latMax);
    });
}

KESTREL_API int32_t KESTREL_CALL ClipMapWindow(KDC dc, KFILE psFile, float lonMin, float lonMax, float latMin,
                                               float latMax, float uxMin, float uxMax, float pxMin, float pxMax,
                                               float uyMin, float uyMax, float pyMin, float pyMax,
                                               int32_t drawOutline) {
    return kestrel::guarded<int32_t>("ClipMapWindow", [&]() -> int32_t {
        const MapUserSys u{uxMin, uxMax, pxMin, pxMax, uyMin, uyMax, pyMin, pyMax};
        // A coarse screen needs fewer outline points than paper.
        const int32_t budget = (dc && VX.pixPerLength < 90.0f) ? 181 : kMapOutlinePoints;
        float x[kMapOutlinePoints], y[kMapOutlinePoints];
        const int32_t n = clipOutline(x, y, budget, proj, lonMin, lonMax, latMin, latMax);
        const bool stroke = proj >= 1 && drawOutline != 0;
        long result = 0;
        if (dc) {
            if (stroke) {
                SetColor(0);
                strokeOutlineOnScreen(dc, x, y, n, 2, "ClipMapWindow");
            }
            KPoint32 pts[kMapOutlinePoints];
            for (int32_t i = 0; i < n; ++i) {
                pts[i].x = xPixel(x[i]);
                pts[i].y = yPixel(y[i]);
            }
            result = plat::clipPolygon(dc, pts, n, plat::FillAlternate) ? 1 : 0;
        }
        if (psFile) {
            kestrel::psWrite(psFile, "\n%%PS-OBJECT: MapClipPath begin\n");
            writeTempUsrSys(psFile, u);
            toMapPSUnits(u, x, y, n);
            DrawPoly(nullptr, psFile, x, y, n, 0, 0);
            if (stroke) {
                char line[64];
                std::snprintf(line, sizeof line, "gsave %s stroke grestore\n", szPSlWidth[2]);
                kestrel::psWrite(psFile, line);
            }
            writeMapUsrSys(psFile, u, "clip\n");
            result = kestrel::psWrite(psFile, "%%PS-OBJECT: MapClipPath end\n\n");
        }
        return static_cast<int32_t>(result);
    });
}

KESTREL_API void KESTREL_CALL StrokeMapClippingPath(KDC dc, KFILE psFile, int32_t widthIndex, float lonMin,
                                                    float lonMax, float latMin, float latMax, float uxMin,
                                                    float uxMax, float pxMin, float pxMax, float uyMin, float uyMax,
                                                    float pyMin, float pyMax) {
    return kestrel::guarded<void>("StrokeMapClippingPath", [&]() -> void {
        const MapUserSys u{uxMin, uxMax, pxMin, pxMax, uyMin, uyMax, pyMin, pyMax};
        float x[kMapOutlinePoints], y[kMapOutlinePoints];
        const int32_t n = clipOutline(x, y, kMapOutlinePoints, proj, lonMin, lonMax, latMin, latMax);
        if (dc) strokeOutlineOnScreen(dc, x, y, n, widthIndex, "StrokeMapClippingPath");
        if (psFile) {
            writeTempUsrSys(psFile, u);
            toMapPSUnits(u, x, y, n);
            DrawPoly(nullptr, psFile, x, y, n, 0, 0);
            char line[64];
            std::snprintf(line, sizeof line, "gsave %s stroke grestore\n", widthName(widthIndex));
            kestrel::psWrite(psFile, line);
            writeMapUsrSys(psFile, u, "");
        }
    });
}

}  // extern "C"
