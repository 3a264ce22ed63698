// Simple geodesy for sections: gravity, the Coriolis parameter, distances and
// directions between stations, and the direction of a step on the plot.
//
// One degree of arc is 111.19493 km throughout (a sphere of radius 6371 km).
// The degrees-to-radians factors differ between functions (single-precision
// 0.017453292 or 0.017453293, double pi/180) and are kept as they are: the
// host's stored station distances were computed with them.
#include <cmath>

#include "base/guard.h"
#include "kestrel/seawater.h"

namespace {

constexpr double kDegreesPerRadian = 57.29577951308232;
constexpr double kPi = 3.14159265358979323846;

// Direction in degrees, 0 to 360, from a step whose x component decides the
// half plane and whose angle is atan(ratio).
double wrapDirection(double degrees, bool westward) {
    if (westward) degrees += 180.0;
    if (degrees < 0.0) degrees += 360.0;
    return degrees;
}

}  // namespace

extern "C" {

// International gravity formula 1967 at the sea surface.
KESTREL_API double KESTREL_CALL gravity(float latitude) {
    return kestrel::guarded<double>("gravity", [&]() -> double {
        const double phi = std::fabs(static_cast<double>(latitude)) * kPi / 180.0;
        const double s1 = std::sin(phi), s2 = std::sin(2.0 * phi);
        return 9.780318 * (1.0 + 5.3024e-3 * s1 * s1 - 5.9e-6 * s2 * s2);
    });
}

// f = 2 Omega sin(lat), 2 Omega = 1.45842e-4 1/s.
KESTREL_API double KESTREL_CALL coriolis(float latitude) {
    return kestrel::guarded<double>("coriolis", [&]() -> double {
        return 1.45842e-4 * std::sin(latitude * kPi / 180.0);
    });
}

KESTREL_API double KESTREL_CALL distance(float longitude1, float latitude1, float longitude2, float latitude2,
                                         float *direction) {
    return kestrel::guarded<double>("distance", [&]() -> double {
        const float dlat = latitude2 - latitude1;
        const float dlon = longitude2 - longitude1;
        const double meanLat = (static_cast<double>(latitude1) + latitude2) * 0.5;
        const double dx = std::cos(meanLat * 0.017453292) * dlon * 111.19493f;
        const double dy = static_cast<double>(dlat) * 111.19493f;
        if (direction) {
            double dir = 0.0;
            if (dx == 0.0) {
                dir = dlat > 0.0f ? 90.0 : (dlat < 0.0f ? -90.0 : 0.0);
            } else if (dlon != 0.0f) {
                // The angle of the raw degree differences, not of dx and dy.
                dir = std::atan(static_cast<double>(dlat) / dlon) * kDegreesPerRadian;
            }
            *direction = static_cast<float>(wrapDirection(dir, dx < 0.0));
        }
        return std::sqrt(dx * dx + dy * dy);
    });
}

KESTREL_API double KESTREL_CALL calDistance(float longitude1, float latitude1, float longitude2, float latitude2) {
    return kestrel::guarded<double>("calDistance", [&]() -> double {
        const double km = 111.194929;
        const double dlat = static_cast<double>(latitude2) - latitude1;
        const double dlon = static_cast<double>(longitude2) - longitude1;
        if (longitude1 == longitude2) return dlat * km;  // signed on purpose
        if (!std::isfinite(dlat) || !std::isfinite(dlon)) return std::nan("");
        // One step per started degree of latitude; real positions need at most 181.
        const double steps = std::fmin(std::trunc(std::fabs(dlat)) + 1.0, 181.0);
        const int n = static_cast<int>(steps);
        const double stepLon = dlon / n;
        const double stepLat = (dlat / dlon) * stepLon;
        const double dy = stepLat * km;
        double sum = 0.0;
        for (int k = 1; k <= n; ++k) {
            const double lat = latitude1 + (k - 0.5) * stepLat;
            const double dx = std::cos(lat * 0.017453293) * stepLon * km;
            sum += std::sqrt(dx * dx + dy * dy);
        }
        return sum;
    });
}

KESTREL_API double KESTREL_CALL angle(float x1, float y1, float x2, float y2, float xScale, float yScale) {
    return kestrel::guarded<double>("angle", [&]() -> double {
        const double dx = (static_cast<double>(x2) - x1) * xScale;
        const double dy = (static_cast<double>(y2) - y1) * yScale;
        if (std::fabs(dx) <= 0.001 && std::fabs(dy) <= 0.001) return 0.0;
        double dir;
        bool westward = dx < 0.0;
        if (std::fabs(dx) < 0.001 * std::fabs(dy)) {
            dir = dy > 0.0 ? 90.0 : -90.0;
            westward = false;  // dx counts as 0
        } else {
            dir = std::atan(dy / dx) * kDegreesPerRadian;
        }
        return wrapDirection(dir, westward);
    });
}

}  // extern "C"
