/*
 * Kestrel: dense linear algebra.
 *
 * Matrices are contiguous row-major arrays owned by the caller: element
 * (i, j) of an n x m matrix is at index i*m + j. Pivot records are arrays of
 * n zero-based int32 row indices. Every routine works in place and allocates
 * at most one scratch vector.
 *
 * Each operation comes in double precision and as an F twin whose arrays are
 * 32-bit floats; the F twins form every dot product, quotient and square root
 * in double precision and round only when a result is stored.
 *
 * Symmetric positive-definite systems: LACholeskyDcmp, LAInvertCholDcmp, then
 * LAMVMultiply with the inverse. General systems: LALUDcmp, then LALUSolve
 * once per right-hand side.
 */
#ifndef KESTREL_LA_H
#define KESTREL_LA_H

#include "types.h"

KESTREL_EXTERN_C_BEGIN

/* Cholesky factor of the symmetric n x n matrix a, read from its upper
 * triangle (diagonal included). The strictly lower triangle receives the
 * factor below its diagonal, p (n reals) the factor's diagonal; the upper
 * triangle keeps the input. Returns 1 when factorised (also for n < 1), 0 when
 * a pivot is not positive (the matrix is then left partly factorised). */
KESTREL_API int32_t KESTREL_CALL LACholeskyDcmp(int32_t n, double *a, double *p);
KESTREL_API int32_t KESTREL_CALL LACholeskyDcmpF(int32_t n, float *a, float *p);

/* Replaces a, holding a successful Cholesky factorisation with diagonal p,
 * by the full symmetric inverse of the original matrix; p receives the
 * reciprocals of the factor's diagonal. No check is made. */
KESTREL_API void KESTREL_CALL LAInvertCholDcmp(int32_t n, double *a, double *p);
KESTREL_API void KESTREL_CALL LAInvertCholDcmpF(int32_t n, float *a, float *p);

/* LU factorisation (Crout, partial pivoting with implicit row scaling) of the
 * n x n matrix a in place: U on and above the diagonal, L (unit diagonal)
 * below it, for the row-permuted matrix; indx (n int32) records the pivot row
 * of each column, *d the parity (+1 or -1). On equal figures of merit the
 * later row is the pivot. A zero pivot is replaced by 1.0e-20, so a singular
 * matrix is factorised. Returns 1, or 0 (matrix unchanged) when a row is all
 * zero or the scratch vector cannot be allocated. */
KESTREL_API int32_t KESTREL_CALL LALUDcmp(int32_t n, double *a, int32_t *indx, double *d);
KESTREL_API int32_t KESTREL_CALL LALUDcmpF(int32_t n, float *a, int32_t *indx, float *d);

/* Solves a x = b with a and indx from LALUDcmp; b (n reals) is replaced by
 * x. Returns 0 (no meaning). */
KESTREL_API int32_t KESTREL_CALL LALUSolve(int32_t n, const double *a, const int32_t *indx, double *b);
KESTREL_API int32_t KESTREL_CALL LALUSolveF(int32_t n, const float *a, const int32_t *indx, float *b);

/* C (n x p) = A (n x m) . B (m x p). C must not overlap A or B. Nothing is
 * done for n < 1. */
KESTREL_API void KESTREL_CALL LAMMMultiply(int32_t n, int32_t m, const double *A, int32_t p, const double *B,
                                           double *C);
KESTREL_API void KESTREL_CALL LAMMMultiplyF(int32_t n, int32_t m, const float *A, int32_t p, const float *B,
                                            float *C);

/* y (n) = A (n x m) . x (m). y must not overlap A or x. Nothing is done for
 * n < 1. */
KESTREL_API void KESTREL_CALL LAMVMultiply(int32_t n, int32_t m, const double *A, const double *x, double *y);
KESTREL_API void KESTREL_CALL LAMVMultiplyF(int32_t n, int32_t m, const float *A, const float *x, float *y);

KESTREL_EXTERN_C_END

#endif /* KESTREL_LA_H */
