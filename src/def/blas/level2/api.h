// Exported names of the Level 2 kernels.
//
// Every routine has two layers: the entry (qor_blas_def_x<t><name>) takes
// the reference BLAS arguments, all by pointer, handles quick returns, beta,
// negative strides and work vectors; the kernels below it do the arithmetic
// on vectors the entry has prepared, and a dispatcher (..._kernel) folds the
// option letters and calls the right kernel. Integers are signed 64-bit.
// The entries check nothing: their callers pass valid arguments.
#pragma once
#include <cstdint>

#include "frame/export.h"
#include "frame/types.h"

#define QOR_L2_I const std::int64_t*

// ---- gemv: y = alpha op(A) x + beta y --------------------------------------
#define QOR_L2_GEMV(t, T)                                                                                   \
  QOR_DEF_API void qor_blas_def_x##t##gemv(const char* trans, QOR_L2_I m, QOR_L2_I n, const T* alpha,      \
                                           const T* a, QOR_L2_I lda, const T* x, QOR_L2_I incx,            \
                                           const T* beta, T* y, QOR_L2_I incy);                            \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel_n(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,    \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,         \
                                                    QOR_L2_I incy, T* buffer);                             \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel_t(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,    \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,         \
                                                    QOR_L2_I incy, T* buffer);                             \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel(const char* trans, QOR_L2_I m, QOR_L2_I n, const T* alpha, \
                                                  const T* a, QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y, \
                                                  QOR_L2_I incy, T* buffer);                               \
  QOR_DEF_API void qor_blas_def_x##t##gemv_mscale(QOR_L2_I n, const T* beta, T* y, QOR_L2_I incy);
QOR_FOR_EACH_TYPE(QOR_L2_GEMV)

#define QOR_L2_GEMV_C(t, T)                                                                                 \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel_c(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,    \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,         \
                                                    QOR_L2_I incy, T* buffer);
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L2_GEMV_C)

// ---- gpmv: gemv on a rectangle inside packed storage ------------------------
// ld takes the place of lda: column j of the rectangle starts at
// j*ld - j(j+1)/2 elements from a in the lower form, j*ld + j(j+1)/2 in the
// upper form.
#define QOR_L2_GPMV_K(t, T, k)                                                                              \
  QOR_DEF_API void qor_blas_def_x##t##gpmv_kernel_##k(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,  \
                                                      QOR_L2_I ld, const T* x, QOR_L2_I incx, T* y,        \
                                                      QOR_L2_I incy, T* buffer);
#define QOR_L2_GPMV(t, T)                                                                                   \
  QOR_DEF_API void qor_blas_def_x##t##gpmv(const char* uplo, const char* trans, QOR_L2_I m, QOR_L2_I n,    \
                                           const T* alpha, const T* a, QOR_L2_I ld, const T* x,            \
                                           QOR_L2_I incx, const T* beta, T* y, QOR_L2_I incy);             \
  QOR_DEF_API void qor_blas_def_x##t##gpmv_kernel(const char* uplo, const char* trans, QOR_L2_I m,         \
                                                  QOR_L2_I n, const T* alpha, const T* a, QOR_L2_I ld,     \
                                                  const T* x, QOR_L2_I incx, T* y, QOR_L2_I incy, T* buffer); \
  QOR_L2_GPMV_K(t, T, ln) QOR_L2_GPMV_K(t, T, lt) QOR_L2_GPMV_K(t, T, un) QOR_L2_GPMV_K(t, T, ut)
QOR_FOR_EACH_TYPE(QOR_L2_GPMV)
#define QOR_L2_GPMV_C(t, T) QOR_L2_GPMV_K(t, T, lc) QOR_L2_GPMV_K(t, T, uc)
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L2_GPMV_C)

// ---- real matrix, complex vectors: scgemv, dzgemv ---------------------------
#define QOR_L2_MIXED_K(t, C, R, k)                                                                          \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel_##k(QOR_L2_I m, QOR_L2_I n, const C* alpha, const R* a,  \
                                                      QOR_L2_I lda, const C* x, QOR_L2_I incx, C* y,       \
                                                      QOR_L2_I incy, C* buffer);
#define QOR_L2_MIXED(t, C, R)                                                                               \
  QOR_DEF_API void qor_blas_def_x##t##gemv(const char* trans, QOR_L2_I m, QOR_L2_I n, const C* alpha,      \
                                           const R* a, QOR_L2_I lda, const C* x, QOR_L2_I incx,            \
                                           const C* beta, C* y, QOR_L2_I incy);                            \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel(const char* trans, QOR_L2_I m, QOR_L2_I n, const C* alpha, \
                                                  const R* a, QOR_L2_I lda, const C* x, QOR_L2_I incx, C* y, \
                                                  QOR_L2_I incy, C* buffer);                               \
  QOR_L2_MIXED_K(t, C, R, n) QOR_L2_MIXED_K(t, C, R, t) QOR_L2_MIXED_K(t, C, R, c)
QOR_L2_MIXED(sc, qor::c32, float)
QOR_L2_MIXED(dz, qor::c64, double)

// ---- gem2v: y1 = alpha A x1 + beta y1, y2 = alpha op(A)^T x2 + beta y2 ------
// (op conjugates in the complex members, named gem2vc).
#define QOR_L2_GEM2V(t, T, name)                                                                            \
  QOR_DEF_API void qor_blas_def_x##t##name(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a, QOR_L2_I lda, \
                                           const T* x1, QOR_L2_I incx1, const T* x2, QOR_L2_I incx2,       \
                                           const T* beta, T* y1, QOR_L2_I incy1, T* y2, QOR_L2_I incy2);   \
  QOR_DEF_API void qor_blas_def_x##t##name##_kernel(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,    \
                                                    QOR_L2_I lda, const T* x1, const T* x2, T* y1, T* y2);
QOR_L2_GEM2V(s, float, gem2vu)
QOR_L2_GEM2V(d, double, gem2vu)
QOR_L2_GEM2V(c, qor::c32, gem2vc)
QOR_L2_GEM2V(z, qor::c64, gem2vc)

// ---- rank one: ger, gerc, geru -----------------------------------------------
// The kernels take x contiguous.
#define QOR_L2_GER(t, T, name)                                                                              \
  QOR_DEF_API void qor_blas_def_x##t##name(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* x, QOR_L2_I incx, \
                                           const T* y, QOR_L2_I incy, T* a, QOR_L2_I lda);                 \
  QOR_DEF_API void qor_blas_def_x##t##name##_kernel(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* x,    \
                                                    const T* y, QOR_L2_I incy, T* a, QOR_L2_I lda);
QOR_L2_GER(s, float, ger)
QOR_L2_GER(d, double, ger)
QOR_L2_GER(c, qor::c32, gerc)
QOR_L2_GER(c, qor::c32, geru)
QOR_L2_GER(z, qor::c64, gerc)
QOR_L2_GER(z, qor::c64, geru)

// ---- symmetric and Hermitian products ----------------------------------------
// The kernels add alpha A x to y for the columns k..n-1 of the stored
// triangle (k = 0: the whole product), x and y contiguous.
#define QOR_L2_SYMV(t, T, sy, sp)                                                                           \
  QOR_DEF_API void qor_blas_def_x##t##sy(const char* uplo, QOR_L2_I n, const T* alpha, const T* a,         \
                                         QOR_L2_I lda, const T* x, QOR_L2_I incx, const T* beta, T* y,     \
                                         QOR_L2_I incy);                                                   \
  QOR_DEF_API void qor_blas_def_x##t##sy##_kernel_l(QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* a,    \
                                                    QOR_L2_I lda, const T* x, T* y);                       \
  QOR_DEF_API void qor_blas_def_x##t##sy##_kernel_u(QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* a,    \
                                                    QOR_L2_I lda, const T* x, T* y);                       \
  QOR_DEF_API void qor_blas_def_x##t##sy##_kernel(const char* uplo, QOR_L2_I n, QOR_L2_I k, const T* alpha, \
                                                  const T* a, QOR_L2_I lda, const T* x, T* y);             \
  QOR_DEF_API void qor_blas_def_x##t##sp(const char* uplo, QOR_L2_I n, const T* alpha, const T* ap,        \
                                         const T* x, QOR_L2_I incx, const T* beta, T* y, QOR_L2_I incy);   \
  QOR_DEF_API void qor_blas_def_x##t##sp##_kernel_l(QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* ap,   \
                                                    const T* x, T* y);                                     \
  QOR_DEF_API void qor_blas_def_x##t##sp##_kernel_u(QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* ap,   \
                                                    const T* x, T* y);                                     \
  QOR_DEF_API void qor_blas_def_x##t##sp##_kernel(const char* uplo, QOR_L2_I n, QOR_L2_I k, const T* alpha, \
                                                  const T* ap, const T* x, T* y);
QOR_L2_SYMV(s, float, symv, spmv)
QOR_L2_SYMV(d, double, symv, spmv)
QOR_L2_SYMV(c, qor::c32, hemv, hpmv)
QOR_L2_SYMV(z, qor::c64, hemv, hpmv)

// ---- symmetric and Hermitian rank one and rank two updates -----------------
// TA is the type of alpha: real for her and hpr. The kernels take x and y
// contiguous.
#define QOR_L2_SYR(t, T, TA, r1, p1, r2, p2)                                                                \
  QOR_DEF_API void qor_blas_def_x##t##r1(const char* uplo, QOR_L2_I n, const TA* alpha, const T* x,        \
                                         QOR_L2_I incx, T* a, QOR_L2_I lda);                               \
  QOR_DEF_API void qor_blas_def_x##t##r1##_kernel_l(QOR_L2_I n, const TA* alpha, const T* x, T* a,         \
                                                    QOR_L2_I lda);                                         \
  QOR_DEF_API void qor_blas_def_x##t##r1##_kernel_u(QOR_L2_I n, const TA* alpha, const T* x, T* a,         \
                                                    QOR_L2_I lda);                                         \
  QOR_DEF_API void qor_blas_def_x##t##r1##_kernel(const char* uplo, QOR_L2_I n, const TA* alpha, const T* x, \
                                                  T* a, QOR_L2_I lda);                                     \
  QOR_DEF_API void qor_blas_def_x##t##p1(const char* uplo, QOR_L2_I n, const TA* alpha, const T* x,        \
                                         QOR_L2_I incx, T* ap);                                            \
  QOR_DEF_API void qor_blas_def_x##t##p1##_kernel_l(QOR_L2_I n, const TA* alpha, const T* x, T* ap);       \
  QOR_DEF_API void qor_blas_def_x##t##p1##_kernel_u(QOR_L2_I n, const TA* alpha, const T* x, T* ap);       \
  QOR_DEF_API void qor_blas_def_x##t##p1##_kernel(const char* uplo, QOR_L2_I n, const TA* alpha, const T* x, \
                                                  T* ap);                                                  \
  QOR_DEF_API void qor_blas_def_x##t##r2(const char* uplo, QOR_L2_I n, const T* alpha, const T* x,         \
                                         QOR_L2_I incx, const T* y, QOR_L2_I incy, T* a, QOR_L2_I lda);    \
  QOR_DEF_API void qor_blas_def_x##t##r2##_kernel_l(QOR_L2_I n, const T* alpha, const T* x, const T* y,    \
                                                    T* a, QOR_L2_I lda);                                   \
  QOR_DEF_API void qor_blas_def_x##t##r2##_kernel_u(QOR_L2_I n, const T* alpha, const T* x, const T* y,    \
                                                    T* a, QOR_L2_I lda);                                   \
  QOR_DEF_API void qor_blas_def_x##t##r2##_kernel(const char* uplo, QOR_L2_I n, const T* alpha, const T* x, \
                                                  const T* y, T* a, QOR_L2_I lda);                         \
  QOR_DEF_API void qor_blas_def_x##t##p2(const char* uplo, QOR_L2_I n, const T* alpha, const T* x,         \
                                         QOR_L2_I incx, const T* y, QOR_L2_I incy, T* ap);                 \
  QOR_DEF_API void qor_blas_def_x##t##p2##_kernel_l(QOR_L2_I n, const T* alpha, const T* x, const T* y,    \
                                                    T* ap);                                                \
  QOR_DEF_API void qor_blas_def_x##t##p2##_kernel_u(QOR_L2_I n, const T* alpha, const T* x, const T* y,    \
                                                    T* ap);                                                \
  QOR_DEF_API void qor_blas_def_x##t##p2##_kernel(const char* uplo, QOR_L2_I n, const T* alpha, const T* x, \
                                                  const T* y, T* ap);
QOR_L2_SYR(s, float, float, syr, spr, syr2, spr2)
QOR_L2_SYR(d, double, double, syr, spr, syr2, spr2)
QOR_L2_SYR(c, qor::c32, float, her, hpr, her2, hpr2)
QOR_L2_SYR(z, qor::c64, double, her, hpr, her2, hpr2)

// ---- band products: one routine each, no kernel layer ------------------------
#define QOR_L2_BAND(t, T, sb)                                                                               \
  QOR_DEF_API void qor_blas_def_##t##gbmv(const char* trans, QOR_L2_I m, QOR_L2_I n, QOR_L2_I kl,          \
                                          QOR_L2_I ku, const T* alpha, const T* a, QOR_L2_I lda,           \
                                          const T* x, QOR_L2_I incx, const T* beta, T* y, QOR_L2_I incy);  \
  QOR_DEF_API void qor_blas_def_##t##sb(const char* uplo, QOR_L2_I n, QOR_L2_I k, const T* alpha,          \
                                        const T* a, QOR_L2_I lda, const T* x, QOR_L2_I incx, const T* beta, \
                                        T* y, QOR_L2_I incy);
QOR_L2_BAND(s, float, sbmv)
QOR_L2_BAND(d, double, sbmv)
QOR_L2_BAND(c, qor::c32, hbmv)
QOR_L2_BAND(z, qor::c64, hbmv)

// ---- triangular products and solves ----------------------------------------
// Kernels by triangle and operation (_ln, _lt, _un, _ut; complex also _lc,
// _uc); diag is the letter 'U' for a unit diagonal. The trmv, trsv, tpmv
// and tpsv kernels take x contiguous; the band kernels take any stride.
#define QOR_L2_TR_K(t, T, sfx)                                                                                \
  QOR_DEF_API void qor_blas_def_x##t##trmv_kernel_##sfx(const char* diag, QOR_L2_I n, const T* a,            \
                                                      QOR_L2_I lda, T* x);                                 \
  QOR_DEF_API void qor_blas_def_x##t##trsv_kernel_##sfx(const char* diag, QOR_L2_I n, const T* a,            \
                                                      QOR_L2_I lda, T* x);                                 \
  QOR_DEF_API void qor_blas_def_x##t##tpmv_kernel_##sfx(const char* diag, QOR_L2_I n, const T* ap, T* x);    \
  QOR_DEF_API void qor_blas_def_x##t##tpsv_kernel_##sfx(const char* diag, QOR_L2_I n, const T* ap, T* x);    \
  QOR_DEF_API void qor_blas_def_x##t##tbmv_kernel_##sfx(const char* diag, QOR_L2_I n, QOR_L2_I k,            \
                                                      const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx);      \
  QOR_DEF_API void qor_blas_def_x##t##tbsv_kernel_##sfx(const char* diag, QOR_L2_I n, QOR_L2_I k,            \
                                                      const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx);
#define QOR_L2_ARGS(...) __VA_ARGS__
#define QOR_L2_TR_OPS(t, name, EA, KA)                                                                      \
  QOR_DEF_API void qor_blas_def_x##t##name(const char* uplo, const char* trans, const char* diag,          \
                                           QOR_L2_ARGS EA);                                                \
  QOR_DEF_API void qor_blas_def_x##t##name##_kernel(const char* uplo, const char* trans, const char* diag, \
                                                    QOR_L2_ARGS KA);
#define QOR_L2_TR(t, T)                                                                                     \
  QOR_L2_TR_OPS(t, trmv, (QOR_L2_I n, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx),                      \
                (QOR_L2_I n, const T* a, QOR_L2_I lda, T* x))                                              \
  QOR_L2_TR_OPS(t, trsv, (QOR_L2_I n, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx),                      \
                (QOR_L2_I n, const T* a, QOR_L2_I lda, T* x))                                              \
  QOR_L2_TR_OPS(t, tpmv, (QOR_L2_I n, const T* ap, T* x, QOR_L2_I incx), (QOR_L2_I n, const T* ap, T* x))   \
  QOR_L2_TR_OPS(t, tpsv, (QOR_L2_I n, const T* ap, T* x, QOR_L2_I incx), (QOR_L2_I n, const T* ap, T* x))   \
  QOR_L2_TR_OPS(t, tbmv, (QOR_L2_I n, QOR_L2_I k, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx),          \
                (QOR_L2_I n, QOR_L2_I k, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx))                   \
  QOR_L2_TR_OPS(t, tbsv, (QOR_L2_I n, QOR_L2_I k, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx),          \
                (QOR_L2_I n, QOR_L2_I k, const T* a, QOR_L2_I lda, T* x, QOR_L2_I incx))                   \
  QOR_L2_TR_K(t, T, ln) QOR_L2_TR_K(t, T, lt) QOR_L2_TR_K(t, T, un) QOR_L2_TR_K(t, T, ut)
QOR_FOR_EACH_TYPE(QOR_L2_TR)
#define QOR_L2_TR_C(t, T) QOR_L2_TR_K(t, T, lc) QOR_L2_TR_K(t, T, uc)
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L2_TR_C)
