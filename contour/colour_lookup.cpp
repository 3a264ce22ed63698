#include "contour/colour_lookup.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "kestrel/colour.h"

namespace kestrel {

namespace {

// Orders all non-NaN floats as unsigned integers (-inf lowest).
inline uint32_t keyOf(float v) {
    uint32_t b;
    std::memcpy(&b, &v, sizeof b);
    return (b & 0x80000000u) ? ~b : (b | 0x80000000u);
}

inline float valueOf(uint32_t k) {
    const uint32_t b = (k & 0x80000000u) ? (k & 0x7fffffffu) : ~k;
    float v;
    std::memcpy(&v, &b, sizeof v);
    return v;
}

}  // namespace

ColourIndexLookup::ColourIndexLookup() {
    rising_ = !(Vcmap.a1 < Vcmap.a0);
    auto colour = [&](uint32_t k) {
        const float v = valueOf(k);
        return CMapCalColor(rising_ ? v : -v);
    };
    const uint32_t lowest = keyOf(-std::numeric_limits<float>::infinity());
    const uint32_t highest = keyOf(std::numeric_limits<float>::infinity());
    for (int s = 0; s < kSteps; ++s) {
        const int32_t c = 33 + s;
        if (colour(highest) < c) {
            edge_[s] = uint64_t{highest} + 1;
            continue;
        }
        uint32_t lo = lowest, hi = highest;  // colour(hi) >= c; find the first such key
        if (colour(lo) >= c) {
            edge_[s] = lo;
            continue;
        }
        while (hi - lo > 1) {
            const uint32_t mid = lo + (hi - lo) / 2;
            if (colour(mid) >= c)
                hi = mid;
            else
                lo = mid;
        }
        edge_[s] = hi;
    }
    // A function that is not monotone after all keeps its edges unordered:
    // then every value goes to CMapCalColor.
    for (int s = 1; s < kSteps; ++s)
        if (edge_[s] < edge_[s - 1]) edge_[0] = std::numeric_limits<uint64_t>::max();
}

int32_t ColourIndexLookup::operator()(float value) const {
    if (!(value == value) || edge_[0] == std::numeric_limits<uint64_t>::max()) return CMapCalColor(value);
    const uint64_t k = keyOf(rising_ ? value : -value);
    const int idx = static_cast<int>(std::upper_bound(edge_, edge_ + kSteps, k) - edge_);
    if ((idx < kSteps && edge_[idx] - k <= 2) || (idx > 0 && k - edge_[idx - 1] <= 2)) return CMapCalColor(value);
    return 32 + idx;
}

}  // namespace kestrel
