// Map domain normalisation and longitude shifting.
#include <utility>

#include "base/guard.h"
#include "kestrel/projection.h"
#include "projection/projections.h"

namespace kestrel {

bool checkMapDomain(float &lonMin, float &lonMax, float &latMin, float &latMax) {
    bool changed = false;
    if (lonMin > lonMax) {
        std::swap(lonMin, lonMax);
        changed = true;
    }
    // Latitudes are deliberately not swapped: a reversed latitude range is
    // the caller's to notice.
    if (static_cast<double>(lonMax) - lonMin > 360.0) {
        lonMax = static_cast<float>(static_cast<double>(lonMin) + 360.0);
        changed = true;
    }
    if (lonMin < 0.0f && lonMax < 0.0f) {
        lonMin = static_cast<float>(static_cast<double>(lonMin) + 360.0);
        lonMax = static_cast<float>(static_cast<double>(lonMax) + 360.0);
        changed = true;
    }
    if (lonMax > 360.0f) {
        lonMin = static_cast<float>(static_cast<double>(lonMin) - 360.0);
        lonMax = static_cast<float>(static_cast<double>(lonMax) - 360.0);
        changed = true;
    }
    if (latMin < -90.0f) {
        latMin = -90.0f;
        changed = true;
    }
    if (latMax > 90.0f) {
        latMax = 90.0f;
        changed = true;
    }
    return changed;
}

}  // namespace kestrel

using namespace kestrel;

extern "C" {

KESTREL_API int32_t KESTREL_CALL CheckMapDomain(float *lonMin, float *lonMax, float *latMin, float *latMax) {
    return kestrel::guarded<int32_t>("CheckMapDomain", [&]() -> int32_t {
        if (!lonMin || !lonMax || !latMin || !latMax) return 0;
        return checkMapDomain(*lonMin, *lonMax, *latMin, *latMax) ? 1 : 0;
    });
}

KESTREL_API void KESTREL_CALL AdjustLongitude(float *lon, int32_t n, float lonWest, float lonEast, int32_t mode) {
    return kestrel::guarded<void>("AdjustLongitude", [&]() -> void {
        if (!lon || n <= 0) return;
        if (mode == 2 && lonWest < 0.0f) {
            // A domain that straddles the date line westward: bring the far
            // eastern values round to the west.
            for (int32_t i = 0; i < n; ++i)
                if (lon[i] > lonEast) lon[i] = static_cast<float>(static_cast<double>(lon[i]) - 360.0);
            return;
        }
        if (mode == 1 || mode == 3 || lonWest >= 0.0f) {
            for (int32_t i = 0; i < n; ++i)
                if (lon[i] < 0.0f) lon[i] = static_cast<float>(static_cast<double>(lon[i]) + 360.0);
        }
        if (mode == 3) {
            for (int32_t i = 0; i < n; ++i) lon[i] = static_cast<float>(static_cast<double>(lon[i]) - 360.0);
        }
    });
}

KESTREL_API double KESTREL_CALL DfltPoleLat(int32_t code, float latMin, float latMax, float current) {
    return kestrel::guarded<double>("DfltPoleLat", [&]() -> double {
        switch (code) {
        case 0: return (static_cast<double>(latMin) + latMax) * 0.5;
        case 1: return 90.0;
        case 2:
        case 4: return 0.0;
        case 3: return -90.0;
        default: return current;
        }
    });
}

}  // extern "C"
