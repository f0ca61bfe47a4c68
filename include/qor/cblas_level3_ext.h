/*
 * Level 3 of the CBLAS interface beside GEMM: triangular solve and product,
 * symmetric and Hermitian products and rank-k updates, and the extensions
 * gemmt, gemm3m, scgemm/dzgemm, gemm_batch and gemm_batch_strided (see
 * qor/blas_level3_ext.h for what each computes). 64-bit integer twins carry
 * the suffix _64. Real scalars are passed by value, complex ones by address
 * as interleaved pairs. Include qor/cblas.h for the enumerations. A bad
 * argument is reported through cblas_xerbla and the call returns without
 * touching its outputs.
 */
#ifndef QOR_CBLAS_LEVEL3_EXT_H
#define QOR_CBLAS_LEVEL3_EXT_H

#include <stdint.h>

#include "qor/cblas.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The routines of every type: t the letter, S the array type (void for
 * complex), A the type of a scalar argument (T by value, or const void*). */
#define QOR_CBLAS_L3X_TYPE(t, S, A, INT, SFX)                                                                  \
  void cblas_##t##trsm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,     \
                            CBLAS_DIAG diag, INT m, INT n, A alpha, const S* a, INT lda, S* b, INT ldb);         \
  void cblas_##t##trmm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,     \
                            CBLAS_DIAG diag, INT m, INT n, A alpha, const S* a, INT lda, S* b, INT ldb);         \
  void cblas_##t##symm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, INT m, INT n, A alpha,      \
                            const S* a, INT lda, const S* b, INT ldb, A beta, S* c, INT ldc);                   \
  void cblas_##t##syrk##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n, INT k, A alpha, \
                            const S* a, INT lda, A beta, S* c, INT ldc);                                        \
  void cblas_##t##syr2k##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n, INT k,        \
                             A alpha, const S* a, INT lda, const S* b, INT ldb, A beta, S* c, INT ldc);         \
  void cblas_##t##gemmt##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE transa,                     \
                             CBLAS_TRANSPOSE transb, INT n, INT k, A alpha, const S* a, INT lda, const S* b,    \
                             INT ldb, A beta, S* c, INT ldc);                                                   \
  void cblas_##t##gemm_batch##SFX(CBLAS_LAYOUT layout, const CBLAS_TRANSPOSE* transa_array,                    \
                                  const CBLAS_TRANSPOSE* transb_array, const INT* m_array, const INT* n_array,  \
                                  const INT* k_array, const S* alpha_array, const S** a_array,                  \
                                  const INT* lda_array, const S** b_array, const INT* ldb_array,                \
                                  const S* beta_array, S** c_array, const INT* ldc_array, INT group_count,      \
                                  const INT* group_size);                                                       \
  void cblas_##t##gemm_batch_strided##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, \
                                          INT m, INT n, INT k, A alpha, const S* a, INT lda, INT stridea,       \
                                          const S* b, INT ldb, INT strideb, A beta, S* c, INT ldc, INT stridec, \
                                          INT batch_size);

#define QOR_CBLAS_L3X_COMPLEX(t, R, INT, SFX)                                                                  \
  void cblas_##t##hemm##SFX(CBLAS_LAYOUT layout, CBLAS_SIDE side, CBLAS_UPLO uplo, INT m, INT n,               \
                            const void* alpha, const void* a, INT lda, const void* b, INT ldb, const void* beta, \
                            void* c, INT ldc);                                                                  \
  void cblas_##t##herk##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n, INT k, R alpha, \
                            const void* a, INT lda, R beta, void* c, INT ldc);                                  \
  void cblas_##t##her2k##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, INT n, INT k,        \
                             const void* alpha, const void* a, INT lda, const void* b, INT ldb, R beta,         \
                             void* c, INT ldc);                                                                 \
  void cblas_##t##gemm3m##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m,      \
                              INT n, INT k, const void* alpha, const void* a, INT lda, const void* b, INT ldb,  \
                              const void* beta, void* c, INT ldc);

#define QOR_CBLAS_L3X_MIXED(name, R, INT, SFX)                                                                 \
  void cblas_##name##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE transa, CBLAS_TRANSPOSE transb, INT m, INT n,    \
                         INT k, const void* alpha, const R* a, INT lda, const void* b, INT ldb, const void* beta, \
                         void* c, INT ldc);

#define QOR_CBLAS_L3X_ALL(INT, SFX)                      \
  QOR_CBLAS_L3X_TYPE(s, float, float, INT, SFX)          \
  QOR_CBLAS_L3X_TYPE(d, double, double, INT, SFX)        \
  QOR_CBLAS_L3X_TYPE(c, void, const void*, INT, SFX)     \
  QOR_CBLAS_L3X_TYPE(z, void, const void*, INT, SFX)     \
  QOR_CBLAS_L3X_COMPLEX(c, float, INT, SFX)              \
  QOR_CBLAS_L3X_COMPLEX(z, double, INT, SFX)             \
  QOR_CBLAS_L3X_MIXED(scgemm, float, INT, SFX)           \
  QOR_CBLAS_L3X_MIXED(dzgemm, double, INT, SFX)

QOR_CBLAS_L3X_ALL(int, )
QOR_CBLAS_L3X_ALL(int64_t, _64)

#undef QOR_CBLAS_L3X_ALL
#undef QOR_CBLAS_L3X_MIXED
#undef QOR_CBLAS_L3X_COMPLEX
#undef QOR_CBLAS_L3X_TYPE

#ifdef __cplusplus
}
#endif
#endif
