// Echo-sounding depth correction with Carter's tables (Carter 1980, NP 139):
// the correction area of a position, and the corrected depth of a sounding
// made with a nominal sound speed of 1500 m/s. Table layout: ocean/carter.h.
#include <algorithm>
#include <cmath>
#include <cstdint>

#include "base/guard.h"
#include "kestrel/seawater.h"
#include "ocean/carter.h"

namespace {

constexpr double kInvalid = -999.0;

// Element at a one-based table position.
inline int32_t at(const int16_t *table, int32_t position) { return table[position - 1]; }

// Integer degree of a coordinate: truncated, and lowered by one for a negative
// coordinate whose first two decimals exceed 50. The decimals are taken in
// single precision, so that a float holding -2.51 (really -2.50999999) counts
// as 51, as the user typed it. The volatile float forces that rounding where
// the compiler would keep a wider intermediate (x87 on 32-bit Windows).
int32_t integerDegree(float x) {
    const float whole = std::trunc(x);
    int32_t degree = static_cast<int32_t>(whole);
    if (x < 0.0f) {
        const volatile float decimals = std::fabs(x - whole) * 100.0f;
        if (static_cast<int32_t>(decimals) > 50) --degree;
    }
    return degree;
}

}  // namespace

extern "C" {

KESTREL_API double KESTREL_CALL crtarea(float latitude, float longitude) {
    return kestrel::guarded<double>("crtarea", [&]() -> double {
        // The negated comparisons also reject NaN.
        if (!(std::fabs(latitude) <= 90.0f) || !(std::fabs(longitude) <= 540.0f)) return kInvalid;
        if (std::fabs(longitude) > 180.0f) longitude -= 360.0f;
        const int32_t lat = integerDegree(latitude);
        const int32_t lon = integerDegree(longitude);
        if (lat == 90) return 1.0;
        const int32_t band = 90 - lat;  // 0..180
        const int32_t first = at(kestrel::kCarterArea, band + 1);
        const int32_t end = at(kestrel::kCarterArea, band + 2);
        const int32_t pairs = (end - first - 1) / 2;
        const int16_t *bounds = kestrel::kCarterArea + first;  // pair k at bounds[2k], area at bounds[2k + 1]
        // Binary search for the last pair whose western boundary is at most lon;
        // the boundaries increase within a band.
        int32_t lo = 0, hi = pairs;  // first pair with boundary > lon lies in [lo, hi]
        while (lo < hi) {
            const int32_t mid = lo + (hi - lo) / 2;
            if (bounds[2 * mid] <= lon)
                lo = mid + 1;
            else
                hi = mid;
        }
        // West of every boundary: the band wraps round the date line to its last pair.
        const int32_t pair = lo > 0 ? lo - 1 : pairs - 1;
        return bounds[2 * pair + 1];
    });
}

KESTREL_API double KESTREL_CALL crtdcorr(float depth, float area) {
    return kestrel::guarded<double>("crtdcorr", [&]() -> double {
        if (!(area >= 0.0f && area <= 85.0f)) return kInvalid;
        if (!(depth <= 1e9f)) return kInvalid;  // NaN or beyond any ocean
        if (depth < 200.0f) return std::trunc(static_cast<double>(depth));
        const int32_t a = static_cast<int32_t>(area);
        if (a < 1) return kInvalid;  // area 0 has no table
        const int16_t *table = kestrel::kCarterCorrection;
        const int32_t first = at(table, a) + 1;  // position of the 200 m entry
        const int32_t count = at(table, a + 1) - first;
        const int64_t d = static_cast<int64_t>(depth);
        // The lower entry is the 100 m step at or below d; past the table's end the
        // last two entries are extrapolated.
        const int64_t k = std::min<int64_t>((d - 200) / 100, count - 2);
        const int64_t base = 200 + 100 * k;
        const int64_t lower = at(table, first + static_cast<int32_t>(k));
        const int64_t upper = at(table, first + static_cast<int32_t>(k) + 1);
        return static_cast<double>(lower + ((upper - lower) * (d - base) + 50) / 100);
    });
}

}  // extern "C"
