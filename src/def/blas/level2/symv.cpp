// Symmetric and Hermitian products, full (symv, hemv) and packed (spmv,
// hpmv): entries, the lower and upper kernels, and their dispatchers.
#include "blas/level2/api.h"
#include "blas/level2/sym_entry.h"

namespace l2 = qor::QOR_ISA_NAME::l2;
namespace l2c = qor::QOR_ISA_NAME::l2c;
using l2::i64;

namespace {

// Only 'U' after folding is the upper triangle; every other letter lower.
inline bool lower_of(const char* uplo) { return qor::fold(uplo) != 'U'; }

template <class T>
l2::LayGe<const T*> full(const T* a, const i64* lda) {
  return {a, *lda};
}

template <class T, bool Herm, bool Lower>
void packed_kernel(i64 n, i64 k, T alpha, const T* ap, const T* x, T* y) {
  if (Lower) {
    l2::symv_kernel<T, Herm, true>(n, k, alpha, l2::LayPl<const T*>{ap, n}, x, y);
  } else {
    l2::symv_kernel<T, Herm, false>(n, k, alpha, l2::LayPu<const T*>{ap, 0}, x, y);
  }
}

}  // namespace

#define QOR_L2_SYMV_DEF(t, T, sy, sp, H)                                                                      \
  QOR_L2_DEF(qor_blas_def_x##t##sy, (const char* uplo, QOR_L2_I n, const T* alpha, const T* a,           \
                                         QOR_L2_I lda, const T* x, QOR_L2_I incx, const T* beta, T* y,       \
                                         QOR_L2_I incy), (uplo, n, alpha, a, lda, x, incx, beta, y, incy)) {                                                    \
    l2::sym_entry<T, H>(lower_of(uplo), *n, *alpha, full(a, lda), x, *incx, *beta, y, *incy);                 \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##sy##_kernel_l, (QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* a,      \
                                                    QOR_L2_I lda, const T* x, T* y), (n, k, alpha, a, lda, x, y)) {                        \
    l2::symv_kernel<T, H, true>(*n, *k, *alpha, full(a, lda), x, y);                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##sy##_kernel_u, (QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* a,      \
                                                    QOR_L2_I lda, const T* x, T* y), (n, k, alpha, a, lda, x, y)) {                        \
    l2::symv_kernel<T, H, false>(*n, *k, *alpha, full(a, lda), x, y);                                        \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##sy##_kernel, (const char* uplo, QOR_L2_I n, QOR_L2_I k, const T* alpha,  \
                                                  const T* a, QOR_L2_I lda, const T* x, T* y), (uplo, n, k, alpha, a, lda, x, y)) {              \
    l2::symv_kernel_for<T, H>(lower_of(uplo), *n, *k, *alpha, full(a, lda), x, y);                           \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##sp, (const char* uplo, QOR_L2_I n, const T* alpha, const T* ap,          \
                                         const T* x, QOR_L2_I incx, const T* beta, T* y, QOR_L2_I incy), (uplo, n, alpha, ap, x, incx, beta, y, incy)) {    \
    if (lower_of(uplo)) {                                                                                     \
      l2::sym_entry<T, H>(true, *n, *alpha, l2::LayPl<const T*>{ap, *n}, x, *incx, *beta, y, *incy);          \
    } else {                                                                                                  \
      l2::sym_entry<T, H>(false, *n, *alpha, l2::LayPu<const T*>{ap, 0}, x, *incx, *beta, y, *incy);         \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##sp##_kernel_l, (QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* ap,     \
                                                    const T* x, T* y), (n, k, alpha, ap, x, y)) {                                      \
    packed_kernel<T, H, true>(*n, *k, *alpha, ap, x, y);                                                      \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##sp##_kernel_u, (QOR_L2_I n, QOR_L2_I k, const T* alpha, const T* ap,     \
                                                    const T* x, T* y), (n, k, alpha, ap, x, y)) {                                      \
    packed_kernel<T, H, false>(*n, *k, *alpha, ap, x, y);                                                     \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##sp##_kernel, (const char* uplo, QOR_L2_I n, QOR_L2_I k, const T* alpha,  \
                                                  const T* ap, const T* x, T* y), (uplo, n, k, alpha, ap, x, y)) {                           \
    if (lower_of(uplo)) {                                                                                     \
      packed_kernel<T, H, true>(*n, *k, *alpha, ap, x, y);                                                    \
    } else {                                                                                                  \
      packed_kernel<T, H, false>(*n, *k, *alpha, ap, x, y);                                                   \
    }                                                                                                         \
  }

QOR_L2_SYMV_DEF(s, float, symv, spmv, false)
QOR_L2_SYMV_DEF(d, double, symv, spmv, false)
QOR_L2_SYMV_DEF(c, qor::c32, hemv, hpmv, true)
QOR_L2_SYMV_DEF(z, qor::c64, hemv, hpmv, true)
