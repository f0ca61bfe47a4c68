/*
 * cblas_sgemm, cblas_cgemm and cblas_zgemm, with 64-bit integer twins
 * carrying the suffix _64. Complex scalars are passed by address, as
 * interleaved pairs. Include qor/cblas.h for the enumerations.
 */
#ifndef QOR_CBLAS_GEMM_SCZ_H
#define QOR_CBLAS_GEMM_SCZ_H

#include <stdint.h>

#include "qor/cblas.h"

#ifdef __cplusplus
extern "C" {
#endif

#define QOR_CBLAS_GEMM_SCZ_DECL(SFX, INT)                                                                     \
  void cblas_sgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,   \
                        INT k, float alpha, const float* a, INT lda, const float* b, INT ldb, float beta,     \
                        float* c, INT ldc);                                                                  \
  void cblas_cgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,   \
                        INT k, const void* alpha, const void* a, INT lda, const void* b, INT ldb,            \
                        const void* beta, void* c, INT ldc);                                                 \
  void cblas_zgemm##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,   \
                        INT k, const void* alpha, const void* a, INT lda, const void* b, INT ldb,            \
                        const void* beta, void* c, INT ldc);
QOR_CBLAS_GEMM_SCZ_DECL(, int)
QOR_CBLAS_GEMM_SCZ_DECL(_64, int64_t)
#undef QOR_CBLAS_GEMM_SCZ_DECL

#ifdef __cplusplus
}
#endif
#endif
