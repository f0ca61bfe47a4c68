// Exported names of the Level 3 kernels other than GEMM: the triangular
// solve with its layers and leaves, and the symmetric, Hermitian,
// triangular, rank-k, triangle-of-product, 3M and mixed real-complex
// products.
//
// All arguments follow the reference BLAS form: scalars by pointer, options
// as pointers to one letter, 64-bit integers, column-major matrices. Nothing
// here checks its arguments; the core library does that.
#pragma once
#include <cstdint>

#include "frame/export.h"
#include "frame/types.h"

#define QOR_L3_I const std::int64_t*

// ---- Triangular solve ---------------------------------------------------------------
// side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb, then the lengths of
// the four letters (each 1). Entries, layers and the dividing solver share
// this form.
#define QOR_TRSM_ARGS(T)                                                                                      \
  const char *side, const char *uplo, const char *transa, const char *diag, QOR_L3_I m, QOR_L3_I n,         \
      const T *alpha, const T *a, QOR_L3_I lda, T *b, QOR_L3_I ldb, int side_len, int uplo_len,              \
      int transa_len, int diag_len
// Leaves of one fixed case: diag, m, n, a, lda, b, ldb (B is overwritten).
#define QOR_TRSM_LEAF_ARGS(T) const char *diag, QOR_L3_I m, QOR_L3_I n, const T *a, QOR_L3_I lda, T *b, QOR_L3_I ldb
// Leaves covering several cases take the letters they need first.
#define QOR_TRSM_LEAF_UT_ARGS(T) const char *uplo, const char *transa, QOR_TRSM_LEAF_ARGS(T)
#define QOR_TRSM_LEAF_U_ARGS(T) const char *uplo, QOR_TRSM_LEAF_ARGS(T)

#define QOR_TRSM_DECLARE(t, T)                                                                                 \
  QOR_DEF_API void qor_blas_def_x##t##trsm(QOR_TRSM_ARGS(T));                                                  \
  QOR_DEF_API void qor_blas_def_##t##trsm_pst(QOR_TRSM_ARGS(T));                                               \
  QOR_DEF_API int qor_blas_def_##t##trsm_has_denormal(QOR_L3_I count, const T* base, QOR_L3_I stride);
QOR_FOR_EACH_TYPE(QOR_TRSM_DECLARE)
#undef QOR_TRSM_DECLARE

// Layers 1 and 2: solve op(A) X = alpha B like the entry, without the check
// of the diagonal.
#define QOR_TRSM_LAYERS(t, T)                                  \
  QOR_DEF_API void qor_blas_def_##t##trsm_l1(QOR_TRSM_ARGS(T)); \
  QOR_DEF_API void qor_blas_def_##t##trsm_l2(QOR_TRSM_ARGS(T));
QOR_TRSM_LAYERS(s, float)
QOR_TRSM_LAYERS(d, double)
QOR_TRSM_LAYERS(c, ::qor::c32)
#undef QOR_TRSM_LAYERS

// Leaves of the double type: l, then lower or upper, then n or t. The 2x2
// forms block two rows by two columns and want m and n even (they fall back
// to the plain form otherwise).
QOR_DEF_API void qor_blas_def_dtrsml_lln(QOR_TRSM_LEAF_ARGS(double));
QOR_DEF_API void qor_blas_def_dtrsml_llt(QOR_TRSM_LEAF_ARGS(double));
QOR_DEF_API void qor_blas_def_dtrsml_lun(QOR_TRSM_LEAF_ARGS(double));
QOR_DEF_API void qor_blas_def_dtrsml_lut(QOR_TRSM_LEAF_ARGS(double));
QOR_DEF_API void qor_blas_def_dtrsml2x2_lln(QOR_TRSM_LEAF_ARGS(double));
QOR_DEF_API void qor_blas_def_dtrsml2x2_llt(QOR_TRSM_LEAF_ARGS(double));
QOR_DEF_API void qor_blas_def_dtrsml2x2_lun(QOR_TRSM_LEAF_ARGS(double));
QOR_DEF_API void qor_blas_def_dtrsml2x2_lut(QOR_TRSM_LEAF_ARGS(double));
// Right-side leaves of the real types: every uplo and transa.
QOR_DEF_API void qor_blas_def_dtrsm_i(QOR_TRSM_LEAF_UT_ARGS(double));
QOR_DEF_API void qor_blas_def_strsm_i(QOR_TRSM_LEAF_UT_ARGS(float));
// Leaves of s, c, z: left lower and upper without transposition, left
// transposed (either triangle; for c and z transa tells T from C), right
// without transposition (either triangle) and right transposed.
QOR_DEF_API void qor_blas_def_strsmlln(QOR_TRSM_LEAF_ARGS(float));
QOR_DEF_API void qor_blas_def_strsmlun(QOR_TRSM_LEAF_ARGS(float));
QOR_DEF_API void qor_blas_def_strsmlt(QOR_TRSM_LEAF_UT_ARGS(float));
#define QOR_TRSM_CLEAVES(t, T)                                            \
  QOR_DEF_API void qor_blas_def_##t##trsmlln(QOR_TRSM_LEAF_ARGS(T));      \
  QOR_DEF_API void qor_blas_def_##t##trsmlun(QOR_TRSM_LEAF_ARGS(T));      \
  QOR_DEF_API void qor_blas_def_##t##trsmlt(QOR_TRSM_LEAF_UT_ARGS(T));    \
  QOR_DEF_API void qor_blas_def_##t##trsmrn(QOR_TRSM_LEAF_U_ARGS(T));     \
  QOR_DEF_API void qor_blas_def_##t##trsmrt(QOR_TRSM_LEAF_UT_ARGS(T));
QOR_FOR_EACH_COMPLEX_TYPE(QOR_TRSM_CLEAVES)
#undef QOR_TRSM_CLEAVES

// ---- Products beside the solve ------------------------------------------------------
// symm, hemm: side, uplo, m, n, alpha, a, lda, b, ldb, beta, c, ldc.
#define QOR_SYMM_ARGS(T)                                                                                      \
  const char *side, const char *uplo, QOR_L3_I m, QOR_L3_I n, const T *alpha, const T *a, QOR_L3_I lda,     \
      const T *b, QOR_L3_I ldb, const T *beta, T *c, QOR_L3_I ldc
// syrk, herk: uplo, trans, n, k, alpha, a, lda, beta, c, ldc (S: type of alpha and beta).
#define QOR_SYRK_ARGS(T, S)                                                                                   \
  const char *uplo, const char *trans, QOR_L3_I n, QOR_L3_I k, const S *alpha, const T *a, QOR_L3_I lda,    \
      const S *beta, T *c, QOR_L3_I ldc
// syr2k, her2k: uplo, trans, n, k, alpha, a, lda, b, ldb, beta, c, ldc (S: type of beta).
#define QOR_SYR2K_ARGS(T, S)                                                                                  \
  const char *uplo, const char *trans, QOR_L3_I n, QOR_L3_I k, const T *alpha, const T *a, QOR_L3_I lda,    \
      const T *b, QOR_L3_I ldb, const S *beta, T *c, QOR_L3_I ldc
// trmm: side, uplo, transa, diag, m, n, alpha, a, lda, b, ldb.
#define QOR_TRMM_ARGS(T)                                                                                      \
  const char *side, const char *uplo, const char *transa, const char *diag, QOR_L3_I m, QOR_L3_I n,         \
      const T *alpha, const T *a, QOR_L3_I lda, T *b, QOR_L3_I ldb
// gemmt: uplo, transa, transb, n, k, alpha, a, lda, b, ldb, beta, c, ldc.
#define QOR_GEMMT_ARGS(T)                                                                                     \
  const char *uplo, const char *transa, const char *transb, QOR_L3_I n, QOR_L3_I k, const T *alpha,         \
      const T *a, QOR_L3_I lda, const T *b, QOR_L3_I ldb, const T *beta, T *c, QOR_L3_I ldc
// gemm3m and the real-A products: the GEMM arguments, A of type TA.
#define QOR_GEMM_MIXED_ARGS(T, TA)                                                                            \
  const char *transa, const char *transb, QOR_L3_I m, QOR_L3_I n, QOR_L3_I k, const T *alpha, const TA *a,  \
      QOR_L3_I lda, const T *b, QOR_L3_I ldb, const T *beta, T *c, QOR_L3_I ldc

#define QOR_L3_PRODUCTS_DECLARE(t, T)                                   \
  QOR_DEF_API void qor_blas_def_x##t##symm(QOR_SYMM_ARGS(T));           \
  QOR_DEF_API void qor_blas_def_x##t##syrk(QOR_SYRK_ARGS(T, T));        \
  QOR_DEF_API void qor_blas_def_x##t##syr2k(QOR_SYR2K_ARGS(T, T));      \
  QOR_DEF_API void qor_blas_def_x##t##trmm(QOR_TRMM_ARGS(T));           \
  QOR_DEF_API void qor_blas_def_x##t##gemmt(QOR_GEMMT_ARGS(T));
QOR_FOR_EACH_TYPE(QOR_L3_PRODUCTS_DECLARE)
#undef QOR_L3_PRODUCTS_DECLARE

#define QOR_L3_COMPLEX_DECLARE(t, T)                                                 \
  QOR_DEF_API void qor_blas_def_x##t##hemm(QOR_SYMM_ARGS(T));                        \
  QOR_DEF_API void qor_blas_def_x##t##herk(QOR_SYRK_ARGS(T, ::qor::real_t<T>));      \
  QOR_DEF_API void qor_blas_def_x##t##her2k(QOR_SYR2K_ARGS(T, ::qor::real_t<T>));    \
  QOR_DEF_API void qor_blas_def_x##t##gemm3m(QOR_GEMM_MIXED_ARGS(T, T));
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L3_COMPLEX_DECLARE)
#undef QOR_L3_COMPLEX_DECLARE

// One real operand, the other and C complex: C = alpha op(A) op(B) + beta C.
// scgemm, dzgemm: A real; csgemm, zdgemm: B real (the row-major forms of
// the first two).
#define QOR_GEMM_MIXED2_ARGS(T, TA, TB)                                                                       \
  const char *transa, const char *transb, QOR_L3_I m, QOR_L3_I n, QOR_L3_I k, const T *alpha, const TA *a,  \
      QOR_L3_I lda, const TB *b, QOR_L3_I ldb, const T *beta, T *c, QOR_L3_I ldc
QOR_DEF_API void qor_blas_def_xscgemm(QOR_GEMM_MIXED2_ARGS(::qor::c32, float, ::qor::c32));
QOR_DEF_API void qor_blas_def_xdzgemm(QOR_GEMM_MIXED2_ARGS(::qor::c64, double, ::qor::c64));
QOR_DEF_API void qor_blas_def_xcsgemm(QOR_GEMM_MIXED2_ARGS(::qor::c32, ::qor::c32, float));
QOR_DEF_API void qor_blas_def_xzdgemm(QOR_GEMM_MIXED2_ARGS(::qor::c64, ::qor::c64, double));
