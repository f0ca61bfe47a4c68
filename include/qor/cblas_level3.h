/*
 * Level 3 of the CBLAS interface: matrix-matrix products, with 64-bit
 * integer twins carrying the suffix _64. Include qor/cblas.h for the
 * enumerations.
 */
#ifndef QOR_CBLAS_LEVEL3_H
#define QOR_CBLAS_LEVEL3_H

#include <stdint.h>

#include "qor/cblas.h"

#ifdef __cplusplus
extern "C" {
#endif

void cblas_dgemm(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int m, int n, int k,
                 double alpha, const double* a, int lda, const double* b, int ldb, double beta, double* c, int ldc);
void cblas_dgemm_64(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, int64_t m, int64_t n,
                    int64_t k, double alpha, const double* a, int64_t lda, const double* b, int64_t ldb, double beta,
                    double* c, int64_t ldc);

#ifdef __cplusplus
}
#endif
#endif
