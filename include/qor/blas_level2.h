/*
 * Fortran BLAS Level 2 of qor: matrix-vector products, rank-one and
 * rank-two updates, band, packed and triangular forms, and the extensions
 * ?gem2v (two products in one pass over A: y1 = alpha A x1 + beta y1 and
 * y2 = alpha A^T x2 + beta y2, A^H in the complex members) and scgemv,
 * dzgemv (a real matrix with complex vectors).
 *
 * Two sets of names: the usual ones with 32-bit integers (dgemv_) and twins
 * with 64-bit integers (dgemv_64_). gfortran calling convention: every
 * argument by address, then one hidden length per character argument.
 * Complex arrays and scalars are interleaved (re, im) pairs passed as void
 * pointers. Bad arguments are reported through xerbla_ (xerbla_64_ for the
 * twins) with the number of the first bad argument, and the call returns
 * without touching anything.
 */
#ifndef QOR_BLAS_LEVEL2_H
#define QOR_BLAS_LEVEL2_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The routines of every element type: t the letter, S the element type
 * (void for complex). */
#define QOR_BLAS_LEVEL2_COMMON(INT, SFX, t, S)                                                                   \
  void t##gemv##SFX(const char* trans, const INT* m, const INT* n, const S* alpha, const S* a, const INT* lda,   \
                    const S* x, const INT* incx, const S* beta, S* y, const INT* incy, size_t);                  \
  void t##gbmv##SFX(const char* trans, const INT* m, const INT* n, const INT* kl, const INT* ku, const S* alpha, \
                    const S* a, const INT* lda, const S* x, const INT* incx, const S* beta, S* y,                \
                    const INT* incy, size_t);                                                                    \
  void t##trmv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* a,             \
                    const INT* lda, S* x, const INT* incx, size_t, size_t, size_t);                              \
  void t##trsv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* a,             \
                    const INT* lda, S* x, const INT* incx, size_t, size_t, size_t);                              \
  void t##tbmv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const INT* k,           \
                    const S* a, const INT* lda, S* x, const INT* incx, size_t, size_t, size_t);                  \
  void t##tbsv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const INT* k,           \
                    const S* a, const INT* lda, S* x, const INT* incx, size_t, size_t, size_t);                  \
  void t##tpmv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* ap, S* x,      \
                    const INT* incx, size_t, size_t, size_t);                                                    \
  void t##tpsv##SFX(const char* uplo, const char* trans, const char* diag, const INT* n, const S* ap, S* x,      \
                    const INT* incx, size_t, size_t, size_t);

/* Symmetric (real) or Hermitian (complex) routines; RA is the type of
 * alpha of the rank-one updates (real for her and hpr). */
#define QOR_BLAS_LEVEL2_SYM(INT, SFX, t, S, RA, sy, sb, sp, r1, p1, r2, p2)                                      \
  void t##sy##SFX(const char* uplo, const INT* n, const S* alpha, const S* a, const INT* lda, const S* x,        \
                  const INT* incx, const S* beta, S* y, const INT* incy, size_t);                                \
  void t##sb##SFX(const char* uplo, const INT* n, const INT* k, const S* alpha, const S* a, const INT* lda,      \
                  const S* x, const INT* incx, const S* beta, S* y, const INT* incy, size_t);                    \
  void t##sp##SFX(const char* uplo, const INT* n, const S* alpha, const S* ap, const S* x, const INT* incx,      \
                  const S* beta, S* y, const INT* incy, size_t);                                                 \
  void t##r1##SFX(const char* uplo, const INT* n, const RA* alpha, const S* x, const INT* incx, S* a,            \
                  const INT* lda, size_t);                                                                       \
  void t##p1##SFX(const char* uplo, const INT* n, const RA* alpha, const S* x, const INT* incx, S* ap, size_t);  \
  void t##r2##SFX(const char* uplo, const INT* n, const S* alpha, const S* x, const INT* incx, const S* y,       \
                  const INT* incy, S* a, const INT* lda, size_t);                                                \
  void t##p2##SFX(const char* uplo, const INT* n, const S* alpha, const S* x, const INT* incx, const S* y,       \
                  const INT* incy, S* ap, size_t);

#define QOR_BLAS_LEVEL2_GER(INT, SFX, name, S)                                                                   \
  void name##SFX(const INT* m, const INT* n, const S* alpha, const S* x, const INT* incx, const S* y,            \
                 const INT* incy, S* a, const INT* lda);

#define QOR_BLAS_LEVEL2_GEM2V(INT, SFX, name, S)                                                                 \
  void name##SFX(const INT* m, const INT* n, const S* alpha, const S* a, const INT* lda, const S* x1,           \
                 const INT* incx1, const S* x2, const INT* incx2, const S* beta, S* y1, const INT* incy1, S* y2, \
                 const INT* incy2);

#define QOR_BLAS_LEVEL2_DECLARE(INT, SFX)                                                                        \
  QOR_BLAS_LEVEL2_COMMON(INT, SFX, s, float)                                                                     \
  QOR_BLAS_LEVEL2_COMMON(INT, SFX, d, double)                                                                    \
  QOR_BLAS_LEVEL2_COMMON(INT, SFX, c, void)                                                                      \
  QOR_BLAS_LEVEL2_COMMON(INT, SFX, z, void)                                                                      \
  QOR_BLAS_LEVEL2_SYM(INT, SFX, s, float, float, symv, sbmv, spmv, syr, spr, syr2, spr2)                         \
  QOR_BLAS_LEVEL2_SYM(INT, SFX, d, double, double, symv, sbmv, spmv, syr, spr, syr2, spr2)                       \
  QOR_BLAS_LEVEL2_SYM(INT, SFX, c, void, float, hemv, hbmv, hpmv, her, hpr, her2, hpr2)                          \
  QOR_BLAS_LEVEL2_SYM(INT, SFX, z, void, double, hemv, hbmv, hpmv, her, hpr, her2, hpr2)                         \
  QOR_BLAS_LEVEL2_GER(INT, SFX, sger, float)                                                                     \
  QOR_BLAS_LEVEL2_GER(INT, SFX, dger, double)                                                                    \
  QOR_BLAS_LEVEL2_GER(INT, SFX, cgerc, void)                                                                     \
  QOR_BLAS_LEVEL2_GER(INT, SFX, cgeru, void)                                                                     \
  QOR_BLAS_LEVEL2_GER(INT, SFX, zgerc, void)                                                                     \
  QOR_BLAS_LEVEL2_GER(INT, SFX, zgeru, void)                                                                     \
  QOR_BLAS_LEVEL2_GEM2V(INT, SFX, sgem2vu, float)                                                                \
  QOR_BLAS_LEVEL2_GEM2V(INT, SFX, dgem2vu, double)                                                               \
  QOR_BLAS_LEVEL2_GEM2V(INT, SFX, cgem2vc, void)                                                                 \
  QOR_BLAS_LEVEL2_GEM2V(INT, SFX, zgem2vc, void)                                                                 \
  void scgemv##SFX(const char* trans, const INT* m, const INT* n, const void* alpha, const float* a,             \
                   const INT* lda, const void* x, const INT* incx, const void* beta, void* y, const INT* incy,   \
                   size_t);                                                                                      \
  void dzgemv##SFX(const char* trans, const INT* m, const INT* n, const void* alpha, const double* a,            \
                   const INT* lda, const void* x, const INT* incx, const void* beta, void* y, const INT* incy,   \
                   size_t);

QOR_BLAS_LEVEL2_DECLARE(int, _)
QOR_BLAS_LEVEL2_DECLARE(int64_t, _64_)

#ifdef __cplusplus
}
#endif

#endif
