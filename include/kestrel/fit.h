/*
 * Kestrel: fitting, roots, tables and curves.
 *
 * Polynomials of degree m are arrays of m + 1 doubles, lowest power first:
 * P(u) = c[0] + c[1] u + ... + c[m] u^m. Data series are float arrays owned by
 * the caller. The missing-value marker is xmiss (-1.0e10).
 */
#ifndef KESTREL_FIT_H
#define KESTREL_FIT_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* Weighted least-squares polynomial of degree m through (x[i], y[i]) with
 * standard deviations sig[i] (weight 1/sig^2), solved from the normal
 * equations. Writes m + 1 coefficients to coef. Returns 1, or 0 (coef
 * untouched) for a singular system, m < 0 or an allocation failure. */
KESTREL_API int32_t KESTREL_CALL PolyFit(int32_t n, const float *x, const float *y, const float *sig, int32_t m,
                                         double *coef);

/* Least-squares plane z = a x + b y + c. When all x (or all y) are practically
 * equal (variance below 1.0e-8) that coordinate's slope is 0 and z is fitted
 * against the other one. Returns 1; 0 when the system is singular (then
 * a = b = 0 and c = the mean of z, as for data with both coordinates
 * constant). */
KESTREL_API int32_t KESTREL_CALL PlaneFit(int32_t n, const float *x, const float *y, const float *z, float *a,
                                          float *b, float *c);

/* P(u) by Horner's scheme; c[0] for m < 1. */
KESTREL_API double KESTREL_CALL PolyVal(double u, int32_t m, const double *coef);

/* A root of P by Newton's method from u0, iterated while |P(u)| > 1.0e-8
 * (a NaN ends the iteration), at most 100 steps; returns the last iterate. */
KESTREL_API double KESTREL_CALL PolyZero(double u0, int32_t m, const double *coef);

/* Histogram of n data over [low, high] in k equal bins: centres[i] =
 * low + (i + 0.5) (high - low)/k; counts[i] (floats) the number of data in
 * bin i. A datum equal to high falls into the last bin; data outside the
 * range are ignored. Returns 0. */
KESTREL_API int32_t KESTREL_CALL BinCount(const float *data, int32_t n, float low, float high, int32_t k,
                                          float *centres, float *counts);

/* Index i of the interval [table[i], table[i+1]] of a monotonic table
 * (ascending, or descending when table[1] <= table[0]) that holds value; for
 * a descending table the index of the larger entry. -1 when the value lies
 * outside the table (or is NaN) or the table has fewer than two entries. */
KESTREL_API int32_t KESTREL_CALL FindBin(const float *table, int32_t n, float value);

/* Minimum and maximum of the entries that differ from missing; 1.0e10 and
 * -1.0e10 when there are none. */
KESTREL_API void KESTREL_CALL mimaex(int32_t n, const float *data, float missing, float *minimum, float *maximum);

/* Fills indx (n int32, zero-based) so that data[indx[0]] <= data[indx[1]] <=
 * ... (heapsort: equal values in no particular order). For n < 2 it sets
 * indx[0] = 0, even for n = 0: indx must hold at least one entry. */
KESTREL_API void KESTREL_CALL indexx(int32_t n, const float *data, int32_t *indx);

/* Axis scaling for the range minimum..maximum (either order): the axis start
 * and end on tick marks, the first labelled value, the tick step and the
 * labelled-tick step (steps negative for a descending range). For
 * minimum = maximum: start min-1, end min+1, first start, steps 0.1 and 0.5. */
KESTREL_API void KESTREL_CALL AutoScale(float minimum, float maximum, float *start, float *end, float *first,
                                        float *tic, float *ltic);

/* NURBS curves (Piegl and Tiller, The NURBS Book, algorithms A2.1, A2.2,
 * A4.1) in float. n is the index of the last control point, p the degree
 * (0 <= p <= 9); the knot vector has n + p + 2 entries. */

/* Knot span index of u: n when u equals knot n+1, else the span p..n with
 * knot[span] <= u < knot[span+1] (u outside the knots gives the end span). */
KESTREL_API int32_t KESTREL_CALL NURBSFindSpan(float u, const float *knots, int32_t n, int32_t p);

/* The p + 1 non-zero B-spline basis functions at u in the given span. */
KESTREL_API void KESTREL_CALL NURBSBasisFuns(float u, const float *knots, float *basis, int32_t span, int32_t p);

/* Point of the rational curve at u: control points as (x, y) float pairs,
 * weights w (n + 1 floats); the result goes to point[0], point[1]. */
KESTREL_API void KESTREL_CALL NURBSCurveEvalPoint(float u, float *point, const float *knots, const float *ctrl,
                                                  const float *w, int32_t n, int32_t p);

/* M points of the clamped uniform B-spline of degree p through the N control
 * points (cx, cy), at u = k/(M-1), into x and y. The degree is limited to
 * N - 1 and 9; nothing is done for N < 1 or M < 1. */
KESTREL_API void KESTREL_CALL NURBSCurveEvalXYPoints(const float *cx, const float *cy, int32_t N, int32_t p,
                                                     float *x, float *y, int32_t M);

/* Draws the clamped uniform B-spline of degree p through the N control
 * points as one polyline of min(10 N, 1500) points with DrawPoly (style is
 * its mode: 1 outline, 2 fill), on dc and/or in psFile (either may be null).
 * Uses the library-wide curve scratch, shared with the objective analysis:
 * not re-entrant. Returns 0. */
KESTREL_API int32_t KESTREL_CALL NURBSCurveDraw(KDC dc, KFILE psFile, const float *cx, const float *cy, int32_t N,
                                                int32_t p, int32_t style);

KESTREL_EXTERN_C_END

#endif /* KESTREL_FIT_H */
