// Planar point-in-polygon and line-intersection tests.
#include <algorithm>
#include <new>

#include "base/guard.h"
#include "kestrel/util.h"

extern "C" {

KESTREL_API int32_t KESTREL_CALL MyPtInRect(const int32_t *r, int32_t x, int32_t y) {
    return kestrel::guarded<int32_t>("MyPtInRect", [&]() -> int32_t {
        if (!r) return 0;
        return (r[0] <= x && x <= r[2] && r[1] <= y && y <= r[3]) ? 1 : 0;
    });
}

KESTREL_API int32_t KESTREL_CALL MyPtInPolygon(const float *x, float *y, int32_t n, float px, float py) {
    return kestrel::guarded<int32_t>("MyPtInPolygon", [&]() -> int32_t {
        if (!x || !y || n < 2) return 0;
        // Move vertices level with the point off the ray, in the caller's array.
        for (int32_t i = 0; i < n; ++i)
            if (y[i] == py) y[i] = py + py * 1e-6f;
        int32_t crossings = 0;
        for (int32_t i = 0; i + 1 < n; ++i) {
            if (y[i] == y[i + 1]) continue;
            const float t = static_cast<float>((static_cast<double>(py) - y[i]) / (static_cast<double>(y[i + 1]) - y[i]));
            if (t < 0.0f || t > 1.0f) continue;
            const double cx = (static_cast<double>(x[i + 1]) - x[i]) * t + x[i];
            if (cx >= px) ++crossings;
        }
        return crossings % 2;
    });
}

KESTREL_API int32_t KESTREL_CALL MyPtInPolygonI(const int32_t *x, const int32_t *y, int32_t n, int32_t px,
                                                int32_t py) {
    return kestrel::guarded<int32_t>("MyPtInPolygonI", [&]() -> int32_t {
        if (!x || !y || n < 1) return 0;
        float *fx = new (std::nothrow) float[static_cast<size_t>(n)];
        float *fy = new (std::nothrow) float[static_cast<size_t>(n)];
        int32_t inside = 0;
        if (fx && fy) {
            for (int32_t i = 0; i < n; ++i) {
                fx[i] = static_cast<float>(x[i]);
                fy[i] = static_cast<float>(y[i]);
            }
            inside = MyPtInPolygon(fx, fy, n, static_cast<float>(px), static_cast<float>(py));
        }
        delete[] fx;
        delete[] fy;
        return inside;
    });
}

KESTREL_API int32_t KESTREL_CALL FindLineIntersect(float x1, float y1, float x2, float y2, float x3, float y3,
                                                   float x4, float y4, float *rx, float *ry) {
    return kestrel::guarded<int32_t>("FindLineIntersect", [&]() -> int32_t {
        const float dxA = x2 - x1, dyA = y2 - y1, dxB = x4 - x3, dyB = y4 - y3;
        float x, y;
        if (dxA == 0.0f && dyA != 0.0f && dxB != 0.0f) {
            x = x1;
            y = static_cast<float>(y3 + static_cast<double>(dyB) / dxB * (static_cast<double>(x1) - x3));
        } else if (dxB == 0.0f && dyB != 0.0f) {
            if (dxA == 0.0f) return 0;
            x = x3;
            y = static_cast<float>(y1 + static_cast<double>(dyA) / dxA * (static_cast<double>(x3) - x1));
        } else if (dxA == 0.0f || dxB == 0.0f) {
            return 0;
        } else {
            const float mA = dyA / dxA, mB = dyB / dxB;
            if (mA == mB) return 0;
            const double bA = y1 - static_cast<double>(mA) * x1;
            const double bB = y3 - static_cast<double>(mB) * x3;
            const double xd = (bB - bA) / (static_cast<double>(mA) - mB);
            x = static_cast<float>(xd);
            y = static_cast<float>(mA * xd + bA);
        }
        if (rx) *rx = x;
        if (ry) *ry = y;
        return 1;
    });
}

KESTREL_API int32_t KESTREL_CALL FindRectIntersect(float x1, float y1, float x2, float y2, float left, float bottom,
                                                   float right, float top, float *rx, float *ry) {
    return kestrel::guarded<int32_t>("FindRectIntersect", [&]() -> int32_t {
        const float edges[4][4] = {
            {left, bottom, right, bottom},  // bottom
            {left, top, right, top},        // top
            {left, bottom, left, top},      // left
            {right, bottom, right, top},    // right
        };
        const float xmin = std::min(x1, x2), xmax = std::max(x1, x2);
        const float ymin = std::min(y1, y2), ymax = std::max(y1, y2);
        for (const auto &e : edges) {
            float x = 0, y = 0;
            if (!FindLineIntersect(x1, y1, x2, y2, e[0], e[1], e[2], e[3], &x, &y)) continue;
            // Only the segment's own range is checked, not the edge's extent.
            if (x >= xmin && x <= xmax && y >= ymin && y <= ymax) {
                if (rx) *rx = x;
                if (ry) *ry = y;
                return 1;
            }
        }
        return 0;
    });
}

}  // extern "C"
