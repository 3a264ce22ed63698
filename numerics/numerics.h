// Internal numerical helpers shared with the gridding code.
#ifndef KESTREL_NUMERICS_NUMERICS_H
#define KESTREL_NUMERICS_NUMERICS_H

#include <cstdint>

namespace kestrel {

// Largest Newton step count of PolyZero before it gives up.
constexpr int kPolyZeroMaxIter = 100;

// Root of P(u) - target on [lo, hi], where P - target changes sign (P is
// monotonic there): Newton from u0 as PolyZero does, and when that does not
// converge to a point inside [lo, hi], bisection on the bracket.
double polyRootBracketed(double u0, int32_t m, const double *coef, double target, double lo, double hi);

// The same double-precision normal-equation fit as PolyFit, on double data.
bool polyFitD(int32_t n, const double *x, const double *y, int32_t m, double *coef);

}  // namespace kestrel

#endif
