/*
 * CBLAS Level 2 of qor, with the extensions cblas_?gem2vu / cblas_?gem2vc
 * and cblas_scgemv, cblas_dzgemv (see qor/blas_level2.h). Included by
 * qor/cblas.h.
 *
 * Names without suffix take int sizes and strides; the twins with the suffix
 * _64 take int64_t. Real scalars are passed by value, complex ones as
 * pointers to (re, im) pairs; the real alpha of cblas_?her and cblas_?hpr
 * by value. Both layouts are served: a row-major matrix is handled as the
 * transposed column-major one. Bad arguments are reported through
 * cblas_xerbla with their position in the C argument list.
 */
#ifndef QOR_CBLAS_LEVEL2_H
#define QOR_CBLAS_LEVEL2_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* S is the element type (void for complex), V the type of a scalar passed
 * in (a real value, or a pointer to a complex one), RA the alpha of the
 * rank-one updates of Hermitian matrices. */
#define QOR_CBLAS_LEVEL2_COMMON(INT, SFX, t, S, V)                                                                \
  void cblas_##t##gemv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, V alpha, const S* a,       \
                            INT lda, const S* x, INT incx, V beta, S* y, INT incy);                              \
  void cblas_##t##gbmv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, INT kl, INT ku, V alpha,   \
                            const S* a, INT lda, const S* x, INT incx, V beta, S* y, INT incy);                  \
  void cblas_##t##trmv##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, INT n,  \
                            const S* a, INT lda, S* x, INT incx);                                                \
  void cblas_##t##trsv##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, INT n,  \
                            const S* a, INT lda, S* x, INT incx);                                                \
  void cblas_##t##tbmv##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, INT n,  \
                            INT k, const S* a, INT lda, S* x, INT incx);                                         \
  void cblas_##t##tbsv##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, INT n,  \
                            INT k, const S* a, INT lda, S* x, INT incx);                                         \
  void cblas_##t##tpmv##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, INT n,  \
                            const S* ap, S* x, INT incx);                                                        \
  void cblas_##t##tpsv##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, CBLAS_TRANSPOSE trans, CBLAS_DIAG diag, INT n,  \
                            const S* ap, S* x, INT incx);

#define QOR_CBLAS_LEVEL2_SYM(INT, SFX, t, S, V, RA, sy, sb, sp, r1, p1, r2, p2)                                   \
  void cblas_##t##sy##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* a, INT lda, const S* x,  \
                          INT incx, V beta, S* y, INT incy);                                                     \
  void cblas_##t##sb##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, INT k, V alpha, const S* a, INT lda,       \
                          const S* x, INT incx, V beta, S* y, INT incy);                                         \
  void cblas_##t##sp##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* ap, const S* x,          \
                          INT incx, V beta, S* y, INT incy);                                                     \
  void cblas_##t##r1##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, RA alpha, const S* x, INT incx, S* a,      \
                          INT lda);                                                                              \
  void cblas_##t##p1##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, RA alpha, const S* x, INT incx, S* ap);    \
  void cblas_##t##r2##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* x, INT incx, const S* y, \
                          INT incy, S* a, INT lda);                                                              \
  void cblas_##t##p2##SFX(CBLAS_LAYOUT layout, CBLAS_UPLO uplo, INT n, V alpha, const S* x, INT incx, const S* y, \
                          INT incy, S* ap);

#define QOR_CBLAS_LEVEL2_GER(INT, SFX, name, S, V)                                                                \
  void cblas_##name##SFX(CBLAS_LAYOUT layout, INT m, INT n, V alpha, const S* x, INT incx, const S* y, INT incy,  \
                         S* a, INT lda);

#define QOR_CBLAS_LEVEL2_GEM2V(INT, SFX, name, S, V)                                                              \
  void cblas_##name##SFX(CBLAS_LAYOUT layout, INT m, INT n, V alpha, const S* a, INT lda, const S* x1, INT incx1, \
                         const S* x2, INT incx2, V beta, S* y1, INT incy1, S* y2, INT incy2);

#define QOR_CBLAS_LEVEL2_DECLARE(INT, SFX)                                                                        \
  QOR_CBLAS_LEVEL2_COMMON(INT, SFX, s, float, float)                                                              \
  QOR_CBLAS_LEVEL2_COMMON(INT, SFX, d, double, double)                                                            \
  QOR_CBLAS_LEVEL2_COMMON(INT, SFX, c, void, const void*)                                                         \
  QOR_CBLAS_LEVEL2_COMMON(INT, SFX, z, void, const void*)                                                         \
  QOR_CBLAS_LEVEL2_SYM(INT, SFX, s, float, float, float, symv, sbmv, spmv, syr, spr, syr2, spr2)                  \
  QOR_CBLAS_LEVEL2_SYM(INT, SFX, d, double, double, double, symv, sbmv, spmv, syr, spr, syr2, spr2)               \
  QOR_CBLAS_LEVEL2_SYM(INT, SFX, c, void, const void*, float, hemv, hbmv, hpmv, her, hpr, her2, hpr2)             \
  QOR_CBLAS_LEVEL2_SYM(INT, SFX, z, void, const void*, double, hemv, hbmv, hpmv, her, hpr, her2, hpr2)            \
  QOR_CBLAS_LEVEL2_GER(INT, SFX, sger, float, float)                                                              \
  QOR_CBLAS_LEVEL2_GER(INT, SFX, dger, double, double)                                                            \
  QOR_CBLAS_LEVEL2_GER(INT, SFX, cgerc, void, const void*)                                                        \
  QOR_CBLAS_LEVEL2_GER(INT, SFX, cgeru, void, const void*)                                                        \
  QOR_CBLAS_LEVEL2_GER(INT, SFX, zgerc, void, const void*)                                                        \
  QOR_CBLAS_LEVEL2_GER(INT, SFX, zgeru, void, const void*)                                                        \
  QOR_CBLAS_LEVEL2_GEM2V(INT, SFX, sgem2vu, float, float)                                                         \
  QOR_CBLAS_LEVEL2_GEM2V(INT, SFX, dgem2vu, double, double)                                                       \
  QOR_CBLAS_LEVEL2_GEM2V(INT, SFX, cgem2vc, void, const void*)                                                    \
  QOR_CBLAS_LEVEL2_GEM2V(INT, SFX, zgem2vc, void, const void*)                                                    \
  void cblas_scgemv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, const void* alpha,             \
                         const float* a, INT lda, const void* x, INT incx, const void* beta, void* y, INT incy); \
  void cblas_dzgemv##SFX(CBLAS_LAYOUT layout, CBLAS_TRANSPOSE trans, INT m, INT n, const void* alpha,             \
                         const double* a, INT lda, const void* x, INT incx, const void* beta, void* y, INT incy);

QOR_CBLAS_LEVEL2_DECLARE(int, )
QOR_CBLAS_LEVEL2_DECLARE(int64_t, _64)

#ifdef __cplusplus
}
#endif

#endif
