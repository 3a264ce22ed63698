// Root search by reverse communication: subdivision until a sign change, then
// secant steps with a bisection safeguard.
//
// Phases: 1 waiting for f(lower); 2 waiting for f(upper); 3 subdividing
// without a sign change; 4 bracketed, [a, b] with fa * fb < 0.
// In phase 3 a pass evaluates the points p + h/2, p + 3h/2, ... (m points,
// p the lower end); a complete pass without a sign change halves h and
// doubles m. In phase 4 the secant runs from the better end point (or, while
// the iterates keep shrinking |f| below half the smaller end value e, from the
// last two iterates); a step that leaves (a, b), or an iterate whose |f| did
// not fall below e, falls back to bisection.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "base/guard.h"
#include "kestrel/rootsearch.h"

namespace {

struct Search {
    int32_t phase = 0;
    double a = 0, fa = 0;  // lower point
    double b = 0, fb = 0;  // upper point
    double p = 0, fp = 0;  // previous point
    double h = 0;          // subdivision step
    int32_t m = 0, k = 0;  // points per pass, point counter
    double next = 0;
    int32_t iteration = 0, limit = 0;
    double d = 0;  // secant correction
    double e = 0;  // acceleration bound
};

// Process-wide on purpose: the interface carries no handle.
Search gSearch;

bool strictlyInside(double v, double a, double b) { return (v - b) * (v - a) < 0.0; }  // false for NaN

}  // namespace

extern "C" KESTREL_API int32_t KESTREL_CALL IterateTowardsZero(int32_t *status, double lower, double upper,
                                                               double tolerance, double *x, double *f,
                                                               int32_t iterationLimit) {
    return kestrel::guarded<int32_t>("IterateTowardsZero", [&]() -> int32_t {
        if (!status || !x || !f) return 0;
        Search &s = gSearch;
        if (*status < 1) {
            s = Search{};
            s.a = lower;
            s.b = upper;
            *x = lower;
            s.phase = 1;
            s.iteration = 1;
            // |INT_MIN| does not exist; its nearest is as good a limit.
            s.limit = iterationLimit == INT32_MIN ? INT32_MAX : std::abs(iterationLimit);
            return *status = 1;
        }
        if (std::fabs(*f) <= tolerance) return *status = 2;

        enum { kBisect, kSecantFromEnds, kSecantAsTheyStand, kCount } step = kCount;
        // A sign change between a and x: the root is bracketed.
        auto bracketed = [&] {
            s.b = *x;
            s.fb = *f;
            s.phase = 4;
            step = kSecantFromEnds;
        };
        // A scan pass over [a, a + m h] from its first midpoint.
        auto startPass = [&] {
            s.next = s.a + s.h / 2;
            s.k = 1;
        };
        switch (s.phase) {
            case 2:
                if (s.fa * *f >= 0.0) {  // no sign change over the whole interval
                    s.p = s.a;
                    s.fp = s.fa;
                    s.h = s.b - s.a;
                    s.m = 1;
                    s.phase = 3;
                    startPass();
                } else {
                    bracketed();
                }
                break;
            case 3:
                if (s.fa * *f >= 0.0) {
                    if (s.k < s.m) {
                        s.a = *x;
                        s.fa = *f;
                        s.next = *x + s.h;
                        ++s.k;
                    } else {  // pass complete: halve the step, start again at the lower end
                        s.h /= 2;
                        s.a = s.p;
                        s.fa = s.fp;
                        s.m *= 2;
                        startPass();
                    }
                } else {
                    bracketed();
                }
                break;
            case 4:
                if (s.fa * *f >= 0.0) {
                    s.a = *x;
                    s.fa = *f;
                } else {
                    s.b = *x;
                    s.fb = *f;
                }
                if (s.e > 0.0)
                    step = std::fabs(*f) > s.e ? kBisect : kSecantAsTheyStand;
                else
                    step = kSecantFromEnds;
                break;
            default:  // phase 1, or a state that lost its way: take the upper end next
                s.fa = *f;
                *x = s.b;
                s.phase = 2;
                return *status = 1;  // this evaluation is not counted
        }

        if (step == kSecantFromEnds) {
            // Start from the end with the smaller |f|, against the other end.
            if (std::fabs(s.fb) >= std::fabs(s.fa)) {
                s.p = s.b;
                s.fp = s.fb;
                *x = s.a;
                *f = s.fa;
            } else {
                s.p = s.a;
                s.fp = s.fa;
                *x = s.b;
                *f = s.fb;
            }
            step = kSecantAsTheyStand;
        }
        if (step == kSecantAsTheyStand) {
            s.d = (*x - s.p) * *f / (*f - s.fp);
            s.next = *x - s.d;
            // A correction too small to move x is doubled until it does; the loop
            // ends because doubling reaches x's spacing (or infinity).
            while (s.next == *x) {
                if (s.d == 0.0) return *status = 2;
                s.d *= 2;
                s.next = *x - s.d;
            }
            s.p = *x;
            s.fp = *f;
            s.e = 0.5 * std::min(std::fabs(s.fa), std::fabs(s.fb));
            if (!strictlyInside(s.next, s.a, s.b)) step = kBisect;
        }
        if (step == kBisect) {
            s.next = (s.a + s.b) / 2;
            s.e = 0.0;
            if (!strictlyInside(s.next, s.a, s.b)) return *status = 2;  // a and b are adjacent
        }

        if (++s.iteration >= s.limit) return *status = s.phase;
        *x = s.next;
        return *status = 1;
    });
}
