/*
 * Kestrel: root search by reverse communication.
 *
 * The caller evaluates the function itself: each call hands back the next
 * abscissa, the caller evaluates the function there and calls again.
 *
 *     int32_t status = 0;
 *     double x = 0, f = 0;
 *     IterateTowardsZero(&status, lower, upper, tolerance, &x, &f, limit);
 *     while (status == 1) {
 *         f = F(x);
 *         IterateTowardsZero(&status, lower, upper, tolerance, &x, &f, limit);
 *     }
 *     // status 2: x is a zero (|f| <= tolerance, or no further progress)
 *
 * The search looks for a sign change inside [lower, upper] by successively
 * finer subdivision (odd multiples of (upper - lower)/2, /4, /8, ... from the
 * lower end), then closes in on the zero with secant steps safeguarded by
 * bisection. Its state is process-wide: one search at a time, and a caller
 * must finish or abandon one search before starting another.
 */
#ifndef KESTREL_ROOTSEARCH_H
#define KESTREL_ROOTSEARCH_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* One step of the search.
 * status: in/out. Set it below 1 to start a search (lower, upper are read
 *   only then; x becomes lower). 1: evaluate the function at x, store it in f
 *   and call again. 2: the search ended at a zero (|f| <= tolerance, or no
 *   further progress possible). 3: the iteration limit was reached while
 *   still subdividing (no sign change found); 4: reached after bracketing.
 * tolerance: the bound on |f| that counts as zero.
 * x, f: in/out abscissa and function value; once a sign change is bracketed
 *   the routine may replace both by the better end point.
 * iterationLimit: its absolute value is used; the two end-point evaluations
 *   are not counted.
 * Returns the new status (also stored in *status); 0 and nothing done when a
 * pointer is null. */
KESTREL_API int32_t KESTREL_CALL IterateTowardsZero(int32_t *status, double lower, double upper, double tolerance,
                                                    double *x, double *f, int32_t iterationLimit);

KESTREL_EXTERN_C_END

#endif /* KESTREL_ROOTSEARCH_H */
