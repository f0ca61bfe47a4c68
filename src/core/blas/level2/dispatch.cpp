// Dispatching names of the Level 2 BLAS: each binds the member's kernel
// entry and calls it.
#include "blas/level2/dispatch.h"

#include "blas/level2/api.h"
#include "frame/member.h"

#define QOR_L2D_GEMV_DEF(t, T)                                                                               \
  QOR_L2_DISPATCH void qor_blas_##t##gemv(const char* trans, QOR_L2D_I m, QOR_L2D_I n, const T* alpha,      \
                                          const T* a, QOR_L2D_I lda, const T* x, QOR_L2D_I incx,            \
                                          const T* beta, T* y, QOR_L2D_I incy) {                            \
    QOR_KERNEL(qor_blas_def_x##t##gemv)(trans, m, n, alpha, a, lda, x, incx, beta, y, incy);                \
  }
QOR_FOR_EACH_TYPE(QOR_L2D_GEMV_DEF)
