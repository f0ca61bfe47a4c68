/*
 * Level 3 of the Fortran BLAS interface beside GEMM: the triangular solve
 * and product, the symmetric and Hermitian products and rank-k updates, and
 * the extensions gemmt (one triangle of a general product), gemm3m (complex
 * product with three real products), scgemm/dzgemm (real A, complex B and
 * C), and the batched products gemm_batch (groups of equal arguments) and
 * gemm_batch_strided (one argument set, matrices at fixed strides).
 *
 * Names with a trailing underscore take 32-bit integers, the _64_ twins
 * 64-bit ones. Every argument is by address; complex scalars and arrays are
 * interleaved (re, im) pairs passed as void pointers; each character
 * argument has a hidden length after the last argument (gfortran
 * convention), which is not read. A bad argument is reported through
 * xerbla_ (xerbla_64_) and the call returns without touching its outputs.
 */
#ifndef QOR_BLAS_LEVEL3_EXT_H
#define QOR_BLAS_LEVEL3_EXT_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Declares the routines of one element type: t the letter, S the scalar and
 * array type (void for complex), INT the integer, SFX the name suffix. */
#define QOR_BLAS_L3X_TYPE(t, S, INT, SFX)                                                                        \
  /* op(A) X = alpha B (side 'L') or X op(A) = alpha B ('R'), X overwriting B */                                \
  void t##trsm##SFX(const char* side, const char* uplo, const char* transa, const char* diag, const INT* m,     \
                    const INT* n, const S* alpha, const S* a, const INT* lda, S* b, const INT* ldb,              \
                    size_t side_len, size_t uplo_len, size_t transa_len, size_t diag_len);                       \
  /* B = alpha op(A) B or alpha B op(A) */                                                                       \
  void t##trmm##SFX(const char* side, const char* uplo, const char* transa, const char* diag, const INT* m,     \
                    const INT* n, const S* alpha, const S* a, const INT* lda, S* b, const INT* ldb,              \
                    size_t side_len, size_t uplo_len, size_t transa_len, size_t diag_len);                       \
  /* C = alpha A B + beta C (side 'L') or alpha B A + beta C, A symmetric */                                    \
  void t##symm##SFX(const char* side, const char* uplo, const INT* m, const INT* n, const S* alpha, const S* a, \
                    const INT* lda, const S* b, const INT* ldb, const S* beta, S* c, const INT* ldc,             \
                    size_t side_len, size_t uplo_len);                                                           \
  /* C = alpha op(A) op(A)^T + beta C, one triangle */                                                          \
  void t##syrk##SFX(const char* uplo, const char* trans, const INT* n, const INT* k, const S* alpha, const S* a, \
                    const INT* lda, const S* beta, S* c, const INT* ldc, size_t uplo_len, size_t trans_len);     \
  /* C = alpha op(A) op(B)^T + alpha op(B) op(A)^T + beta C, one triangle */                                    \
  void t##syr2k##SFX(const char* uplo, const char* trans, const INT* n, const INT* k, const S* alpha,          \
                     const S* a, const INT* lda, const S* b, const INT* ldb, const S* beta, S* c,                \
                     const INT* ldc, size_t uplo_len, size_t trans_len);                                         \
  /* The uplo triangle of C = alpha op(A) op(B) + beta C, C n x n */                                            \
  void t##gemmt##SFX(const char* uplo, const char* transa, const char* transb, const INT* n, const INT* k,      \
                     const S* alpha, const S* a, const INT* lda, const S* b, const INT* ldb, const S* beta,      \
                     S* c, const INT* ldc, size_t uplo_len, size_t transa_len, size_t transb_len);               \
  /* For each group g of group_size[g] products sharing the arguments of    \
   * index g: C_i = alpha op(A_i) op(B_i) + beta C_i */                                                          \
  void t##gemm_batch##SFX(const char* transa_array, const char* transb_array, const INT* m_array,               \
                          const INT* n_array, const INT* k_array, const S* alpha_array, const S** a_array,       \
                          const INT* lda_array, const S** b_array, const INT* ldb_array, const S* beta_array,    \
                          S** c_array, const INT* ldc_array, const INT* group_count, const INT* group_size,      \
                          size_t transa_len, size_t transb_len);                                                 \
  /* batch_size products; matrix i at a + i * stridea, and so on */                                             \
  void t##gemm_batch_strided##SFX(const char* transa, const char* transb, const INT* m, const INT* n,           \
                                  const INT* k, const S* alpha, const S* a, const INT* lda, const INT* stridea,  \
                                  const S* b, const INT* ldb, const INT* strideb, const S* beta, S* c,           \
                                  const INT* ldc, const INT* stridec, const INT* batch_size, size_t transa_len,   \
                                  size_t transb_len);

/* The complex-only routines: alpha and beta of herk, and beta of her2k, are
 * real (R). */
#define QOR_BLAS_L3X_COMPLEX(t, R, INT, SFX)                                                                     \
  void t##hemm##SFX(const char* side, const char* uplo, const INT* m, const INT* n, const void* alpha,          \
                    const void* a, const INT* lda, const void* b, const INT* ldb, const void* beta, void* c,     \
                    const INT* ldc, size_t side_len, size_t uplo_len);                                           \
  void t##herk##SFX(const char* uplo, const char* trans, const INT* n, const INT* k, const R* alpha,            \
                    const void* a, const INT* lda, const R* beta, void* c, const INT* ldc, size_t uplo_len,      \
                    size_t trans_len);                                                                           \
  void t##her2k##SFX(const char* uplo, const char* trans, const INT* n, const INT* k, const void* alpha,       \
                     const void* a, const INT* lda, const void* b, const INT* ldb, const R* beta, void* c,       \
                     const INT* ldc, size_t uplo_len, size_t trans_len);                                         \
  /* C = alpha op(A) op(B) + beta C with three real products per block */                                       \
  void t##gemm3m##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,         \
                      const void* alpha, const void* a, const INT* lda, const void* b, const INT* ldb,           \
                      const void* beta, void* c, const INT* ldc, size_t transa_len, size_t transb_len);

/* C = alpha op(A) op(B) + beta C with A real, B and C complex. */
#define QOR_BLAS_L3X_MIXED(name, R, INT, SFX)                                                                    \
  void name##SFX(const char* transa, const char* transb, const INT* m, const INT* n, const INT* k,              \
                 const void* alpha, const R* a, const INT* lda, const void* b, const INT* ldb, const void* beta, \
                 void* c, const INT* ldc, size_t transa_len, size_t transb_len);

#define QOR_BLAS_L3X_ALL(INT, SFX)                    \
  QOR_BLAS_L3X_TYPE(s, float, INT, SFX)               \
  QOR_BLAS_L3X_TYPE(d, double, INT, SFX)              \
  QOR_BLAS_L3X_TYPE(c, void, INT, SFX)                \
  QOR_BLAS_L3X_TYPE(z, void, INT, SFX)                \
  QOR_BLAS_L3X_COMPLEX(c, float, INT, SFX)            \
  QOR_BLAS_L3X_COMPLEX(z, double, INT, SFX)           \
  QOR_BLAS_L3X_MIXED(scgemm, float, INT, SFX)         \
  QOR_BLAS_L3X_MIXED(dzgemm, double, INT, SFX)

QOR_BLAS_L3X_ALL(int, _)
QOR_BLAS_L3X_ALL(int64_t, _64_)

#undef QOR_BLAS_L3X_ALL
#undef QOR_BLAS_L3X_MIXED
#undef QOR_BLAS_L3X_COMPLEX
#undef QOR_BLAS_L3X_TYPE

#ifdef __cplusplus
}
#endif
#endif
