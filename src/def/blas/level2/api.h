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
