// Dispatching names of the Level 3 BLAS beside GEMM, defined by the core
// library.
//
// The core's public names reach the members through these, and the core may
// split the work over its team of threads. A kernel of the kernel library
// that needs one of these routines calls the member's entry instead, on its
// own thread, as with GEMM (blas/gemm/dispatch.h): only the core starts
// threads. They take the arguments of the reference routine, all by
// pointer, with 64-bit integers, and check nothing: the caller passes valid
// arguments. The core includes this header for its definitions, so a
// signature is written once.
#pragma once
#include <cstdint>

#include "frame/types.h"

#if defined(QOR_BUILDING_CORE)
#define QOR_L3_DISPATCH extern "C" __attribute__((visibility("default")))
#else
#define QOR_L3_DISPATCH extern "C"
#endif

#define QOR_L3D_I const std::int64_t*

// side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb
#define QOR_L3D_TRI_ARGS(T)                                                                                  \
  const char *side, const char *uplo, const char *transa, const char *diag, QOR_L3D_I m, QOR_L3D_I n,      \
      const T *alpha, const T *a, QOR_L3D_I lda, T *b, QOR_L3D_I ldb
// side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc
#define QOR_L3D_SYMM_ARGS(T)                                                                                 \
  const char *side, const char *uplo, QOR_L3D_I m, QOR_L3D_I n, const T *alpha, const T *a, QOR_L3D_I lda, \
      const T *b, QOR_L3D_I ldb, const T *beta, T *c, QOR_L3D_I ldc
// uplo, trans, n, k, alpha, a, lda, beta, c, ldc (S: the type of alpha and beta)
#define QOR_L3D_SYRK_ARGS(T, S)                                                                              \
  const char *uplo, const char *trans, QOR_L3D_I n, QOR_L3D_I k, const S *alpha, const T *a, QOR_L3D_I lda, \
      const S *beta, T *c, QOR_L3D_I ldc
// uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc (S: the type of beta)
#define QOR_L3D_SYR2K_ARGS(T, S)                                                                             \
  const char *uplo, const char *trans, QOR_L3D_I n, QOR_L3D_I k, const T *alpha, const T *a, QOR_L3D_I lda, \
      const T *b, QOR_L3D_I ldb, const S *beta, T *c, QOR_L3D_I ldc
// uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc
#define QOR_L3D_GEMMT_ARGS(T)                                                                                \
  const char *uplo, const char *transa, const char *transb, QOR_L3D_I n, QOR_L3D_I k, const T *alpha,      \
      const T *a, QOR_L3D_I lda, const T *b, QOR_L3D_I ldb, const T *beta, T *c, QOR_L3D_I ldc
// transa, transb, m, n, k, alpha, a, lda, b, ldb, beta, c, ldc (A of type TA)
#define QOR_L3D_GEMM_ARGS(T, TA)                                                                             \
  const char *transa, const char *transb, QOR_L3D_I m, QOR_L3D_I n, QOR_L3D_I k, const T *alpha,           \
      const TA *a, QOR_L3D_I lda, const T *b, QOR_L3D_I ldb, const T *beta, T *c, QOR_L3D_I ldc

#define QOR_L3D_DECLARE(t, T)                                                 \
  QOR_L3_DISPATCH void qor_blas_##t##trsm(QOR_L3D_TRI_ARGS(T));               \
  QOR_L3_DISPATCH void qor_blas_##t##trmm(QOR_L3D_TRI_ARGS(T));               \
  QOR_L3_DISPATCH void qor_blas_##t##symm(QOR_L3D_SYMM_ARGS(T));              \
  QOR_L3_DISPATCH void qor_blas_##t##syrk(QOR_L3D_SYRK_ARGS(T, T));           \
  QOR_L3_DISPATCH void qor_blas_##t##syr2k(QOR_L3D_SYR2K_ARGS(T, T));         \
  QOR_L3_DISPATCH void qor_blas_##t##gemmt(QOR_L3D_GEMMT_ARGS(T));
QOR_FOR_EACH_TYPE(QOR_L3D_DECLARE)
#undef QOR_L3D_DECLARE

#define QOR_L3D_DECLARE_COMPLEX(t, T)                                                  \
  QOR_L3_DISPATCH void qor_blas_##t##hemm(QOR_L3D_SYMM_ARGS(T));                       \
  QOR_L3_DISPATCH void qor_blas_##t##herk(QOR_L3D_SYRK_ARGS(T, ::qor::real_t<T>));     \
  QOR_L3_DISPATCH void qor_blas_##t##her2k(QOR_L3D_SYR2K_ARGS(T, ::qor::real_t<T>));   \
  QOR_L3_DISPATCH void qor_blas_##t##gemm3m(QOR_L3D_GEMM_ARGS(T, T));
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L3D_DECLARE_COMPLEX)
#undef QOR_L3D_DECLARE_COMPLEX

// Real A, complex B and C.
QOR_L3_DISPATCH void qor_blas_scgemm(QOR_L3D_GEMM_ARGS(::qor::c32, float));
QOR_L3_DISPATCH void qor_blas_dzgemm(QOR_L3D_GEMM_ARGS(::qor::c64, double));
// Complex A, real B (the row-major forms of the two above).
#define QOR_L3D_GEMM_RB_ARGS(T, TB)                                                                          \
  const char *transa, const char *transb, QOR_L3D_I m, QOR_L3D_I n, QOR_L3D_I k, const T *alpha,           \
      const T *a, QOR_L3D_I lda, const TB *b, QOR_L3D_I ldb, const T *beta, T *c, QOR_L3D_I ldc
QOR_L3_DISPATCH void qor_blas_csgemm(QOR_L3D_GEMM_RB_ARGS(::qor::c32, float));
QOR_L3_DISPATCH void qor_blas_zdgemm(QOR_L3D_GEMM_RB_ARGS(::qor::c64, double));
