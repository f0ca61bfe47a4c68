// gemv entries, kernels, dispatchers and the beta scaling, all types.
#include "blas/level2/api.h"
#include "blas/level2/gemv_entry.h"

namespace l2 = qor::QOR_ISA_NAME::l2;
using l2::i64;

#define QOR_L2_GEMV_DEF(t, T)                                                                                \
  QOR_DEF_API void qor_blas_def_x##t##gemv(const char* trans, QOR_L2_I m, QOR_L2_I n, const T* alpha,       \
                                           const T* a, QOR_L2_I lda, const T* x, QOR_L2_I incx,             \
                                           const T* beta, T* y, QOR_L2_I incy) {                            \
    l2::gemv_entry<T>(qor::fold(trans), *m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, *beta, y, *incy);     \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel_n(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,     \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,          \
                                                    QOR_L2_I incy, T* buffer) {                             \
    l2::gemv_n<T>(*m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer);                         \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel_t(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,     \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,          \
                                                    QOR_L2_I incy, T* buffer) {                             \
    l2::gemv_t<T, false>(*m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer);                  \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel(const char* trans, QOR_L2_I m, QOR_L2_I n, const T* alpha, \
                                                  const T* a, QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y, \
                                                  QOR_L2_I incy, T* buffer) {                               \
    l2::gemv_kernel_for<T>(qor::fold(trans), *m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer); \
  }                                                                                                          \
  QOR_DEF_API void qor_blas_def_x##t##gemv_mscale(QOR_L2_I n, const T* beta, T* y, QOR_L2_I incy) {         \
    qor::l2c::scale<T>(*n, *beta, y, *incy);                                                                 \
  }
QOR_FOR_EACH_TYPE(QOR_L2_GEMV_DEF)

#define QOR_L2_GEMV_C_DEF(t, T)                                                                              \
  QOR_DEF_API void qor_blas_def_x##t##gemv_kernel_c(QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,     \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,          \
                                                    QOR_L2_I incy, T* buffer) {                             \
    l2::gemv_t<T, true>(*m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer);                   \
  }
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L2_GEMV_C_DEF)
