/*
 * Level 3 of the Fortran BLAS interface: matrix-matrix products. Names with
 * a trailing underscore take 32-bit integers, the _64_ twins 64-bit ones.
 * Every argument is by address; each character argument has a hidden
 * length after the last argument (gfortran convention), which is not read.
 */
#ifndef QOR_BLAS_LEVEL3_H
#define QOR_BLAS_LEVEL3_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* C = alpha * op(A) * op(B) + beta * C; op is selected by 'N', 'T' or 'C'. */
void dgemm_(const char* transa, const char* transb, const int* m, const int* n, const int* k, const double* alpha,
            const double* a, const int* lda, const double* b, const int* ldb, const double* beta, double* c,
            const int* ldc, size_t transa_len, size_t transb_len);
void dgemm_64_(const char* transa, const char* transb, const int64_t* m, const int64_t* n, const int64_t* k,
               const double* alpha, const double* a, const int64_t* lda, const double* b, const int64_t* ldb,
               const double* beta, double* c, const int64_t* ldc, size_t transa_len, size_t transb_len);

#ifdef __cplusplus
}
#endif
#endif
