// Colour indexes of many values at once, exactly as CMapCalColor gives them.
//
// CMapCalColor evaluates three hyperbolic tangents per value. The index it
// returns is a monotone step function of the value (rising for a0 < a1,
// falling for a0 > a1): 32, then 33..143, then 144. So once per colour map
// the smallest value of each step is found by bisection over the ordered
// float values, with CMapCalColor itself, and a value's index is then the
// number of steps at or below it. Values within two floats of a step edge,
// where rounding inside the tangents could make the function wobble, and NaN
// are passed to CMapCalColor directly, so every result equals its result.
#ifndef KESTREL_CONTOUR_COLOUR_LOOKUP_H
#define KESTREL_CONTOUR_COLOUR_LOOKUP_H

#include <cstdint>

namespace kestrel {

class ColourIndexLookup {
public:
    // Reads the current colour map (call after CMapInitialize).
    ColourIndexLookup();
    int32_t operator()(float value) const;

private:
    static constexpr int kSteps = 112;  // edges of the indexes 33..144
    bool rising_ = true;
    uint64_t edge_[kSteps];             // ordered keys; a key beyond +inf: never reached
};

}  // namespace kestrel

#endif
