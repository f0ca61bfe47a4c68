/*
 * cblas_sgemm, cblas_dgemm, cblas_cgemm and cblas_zgemm, with 64-bit
 * integer twins carrying the suffix _64. Real scalars are passed by value,
 * complex ones by address, as interleaved pairs. Include qor/cblas.h for
 * the enumerations.
 */
#ifndef QOR_CBLAS_GEMM_H
#define QOR_CBLAS_GEMM_H

#include <stdint.h>

#include "qor/cblas.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QOR_CBLAS_GEMM_DECL(SFX, INT)                                                                         \
  void cblas_sgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,   \
                        INT k, float alpha, const float* a, INT lda, const float* b, INT ldb, float beta,     \
                        float* c, INT ldc);                                                                  \
  void cblas_dgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,   \
                        INT k, double alpha, const double* a, INT lda, const double* b, INT ldb,             \
                        double beta, double* c, INT ldc);                                                    \
  void cblas_cgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,   \
                        INT k, const void* alpha, const void* a, INT lda, const void* b, INT ldb,            \
                        const void* beta, void* c, INT ldc);                                                 \
  void cblas_zgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,   \
                        INT k, const void* alpha, const void* a, INT lda, const void* b, INT ldb,            \
                        const void* beta, void* c, INT ldc);
QOR_CBLAS_GEMM_DECL(, int)
QOR_CBLAS_GEMM_DECL(_64, int64_t)
#undef QOR_CBLAS_GEMM_DECL

#ifdef __cplusplus
}
#endif
#endif
