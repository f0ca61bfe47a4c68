// gemv entries, kernels, dispatchers and the beta scaling, all types; the
// same on rectangles in packed storage (gpmv), with a real matrix and
// complex vectors (scgemv, dzgemv), and two products in one pass (gem2v).
#include "blas/level2/api.h"
#include "blas/level2/gemv_entry.h"
#include "blas/level2/sym_kernels.h"

namespace l2 = qor::QOR_ISA_NAME::l2;
namespace l2c = qor::QOR_ISA_NAME::l2c;
using l2::i64;

#define QOR_L2_GEMV_DEF(t, T)                                                                                \
  QOR_L2_DEF(qor_blas_def_x##t##gemv, (const char* trans, QOR_L2_I m, QOR_L2_I n, const T* alpha,       \
                                           const T* a, QOR_L2_I lda, const T* x, QOR_L2_I incx,             \
                                           const T* beta, T* y, QOR_L2_I incy), (trans, m, n, alpha, a, lda, x, incx, beta, y, incy)) {                            \
    l2::gemv_entry<T, T>(qor::fold(trans), *m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, *beta, y, *incy);     \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##gemv_kernel_n, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,     \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,          \
                                                    QOR_L2_I incy, T* buffer), (m, n, alpha, a, lda, x, incx, y, incy, buffer)) {                             \
    l2::gemv_n<T>(*m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer);                         \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##gemv_kernel_t, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,     \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,          \
                                                    QOR_L2_I incy, T* buffer), (m, n, alpha, a, lda, x, incx, y, incy, buffer)) {                             \
    l2::gemv_t<T, false>(*m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer);                  \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##gemv_kernel, (const char* trans, QOR_L2_I m, QOR_L2_I n, const T* alpha, \
                                                  const T* a, QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y, \
                                                  QOR_L2_I incy, T* buffer), (trans, m, n, alpha, a, lda, x, incx, y, incy, buffer)) {                               \
    l2::gemv_kernel_for<T, T>(qor::fold(trans), *m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer); \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##gemv_mscale, (QOR_L2_I n, const T* beta, T* y, QOR_L2_I incy), (n, beta, y, incy)) {         \
    l2c::scale<T>(*n, *beta, y, *incy);                                                                 \
  }
QOR_FOR_EACH_TYPE(QOR_L2_GEMV_DEF)

#define QOR_L2_GEMV_C_DEF(t, T)                                                                              \
  QOR_L2_DEF(qor_blas_def_x##t##gemv_kernel_c, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,     \
                                                    QOR_L2_I lda, const T* x, QOR_L2_I incx, T* y,          \
                                                    QOR_L2_I incy, T* buffer), (m, n, alpha, a, lda, x, incx, y, incy, buffer)) {                             \
    l2::gemv_t<T, true>(*m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer);                   \
  }
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L2_GEMV_C_DEF)

// ---- gpmv ------------------------------------------------------------------------

namespace {

template <class T>
void gpmv(bool lower, char op, i64 m, i64 n, T alpha, const T* a, i64 ld, const T* x, i64 incx, T beta, T* y,
          i64 incy) {
  if (lower) {
    l2::gemv_entry<T, T>(op, m, n, alpha, a, l2::ColsPl{ld}, x, incx, beta, y, incy);
  } else {
    l2::gemv_entry<T, T>(op, m, n, alpha, a, l2::ColsPu{ld}, x, incx, beta, y, incy);
  }
}

template <class T>
void gpmv_kernel(bool lower, char op, i64 m, i64 n, T alpha, const T* a, i64 ld, const T* x, i64 incx, T* y,
                 i64 incy, T* buf) {
  if (lower) {
    l2::gemv_kernel_for<T, T>(op, m, n, alpha, a, l2::ColsPl{ld}, x, incx, y, incy, buf);
  } else {
    l2::gemv_kernel_for<T, T>(op, m, n, alpha, a, l2::ColsPu{ld}, x, incx, y, incy, buf);
  }
}

}  // namespace

#define QOR_L2_GPMV_K_DEF(t, T, sfx, lo, op)                                                                 \
  QOR_L2_DEF(qor_blas_def_x##t##gpmv_kernel_##sfx, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a, \
                                                        QOR_L2_I ld, const T* x, QOR_L2_I incx, T* y,       \
                                                        QOR_L2_I incy, T* buffer), (m, n, alpha, a, ld, x, incx, y, incy, buffer)) {                         \
    gpmv_kernel<T>(lo, op, *m, *n, *alpha, a, *ld, x, *incx, y, *incy, buffer);                              \
  }
#define QOR_L2_GPMV_DEF(t, T)                                                                                \
  QOR_L2_DEF(qor_blas_def_x##t##gpmv, (const char* uplo, const char* trans, QOR_L2_I m, QOR_L2_I n,     \
                                           const T* alpha, const T* a, QOR_L2_I ld, const T* x,             \
                                           QOR_L2_I incx, const T* beta, T* y, QOR_L2_I incy), (uplo, trans, m, n, alpha, a, ld, x, incx, beta, y, incy)) {             \
    gpmv<T>(qor::fold(uplo) != 'U', qor::fold(trans), *m, *n, *alpha, a, *ld, x, *incx, *beta, y, *incy);    \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##gpmv_kernel, (const char* uplo, const char* trans, QOR_L2_I m,          \
                                                  QOR_L2_I n, const T* alpha, const T* a, QOR_L2_I ld,      \
                                                  const T* x, QOR_L2_I incx, T* y, QOR_L2_I incy, T* buffer), (uplo, trans, m, n, alpha, a, ld, x, incx, y, incy, buffer)) { \
    gpmv_kernel<T>(qor::fold(uplo) != 'U', qor::fold(trans), *m, *n, *alpha, a, *ld, x, *incx, y, *incy,     \
                   buffer);                                                                                  \
  }                                                                                                          \
  QOR_L2_GPMV_K_DEF(t, T, ln, true, 'N')                                                                     \
  QOR_L2_GPMV_K_DEF(t, T, lt, true, 'T')                                                                     \
  QOR_L2_GPMV_K_DEF(t, T, un, false, 'N')                                                                    \
  QOR_L2_GPMV_K_DEF(t, T, ut, false, 'T')
QOR_FOR_EACH_TYPE(QOR_L2_GPMV_DEF)
#define QOR_L2_GPMV_C_DEF(t, T) QOR_L2_GPMV_K_DEF(t, T, lc, true, 'C') QOR_L2_GPMV_K_DEF(t, T, uc, false, 'C')
QOR_FOR_EACH_COMPLEX_TYPE(QOR_L2_GPMV_C_DEF)

// ---- real matrix, complex vectors ------------------------------------------------

#define QOR_L2_MIXED_K_DEF(t, C, R, sfx, op)                                                                 \
  QOR_L2_DEF(qor_blas_def_x##t##gemv_kernel_##sfx, (QOR_L2_I m, QOR_L2_I n, const C* alpha, const R* a, \
                                                        QOR_L2_I lda, const C* x, QOR_L2_I incx, C* y,      \
                                                        QOR_L2_I incy, C* buffer), (m, n, alpha, a, lda, x, incx, y, incy, buffer)) {                         \
    l2::gemv_kernel_for<R, C>(op, *m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy, buffer);          \
  }
#define QOR_L2_MIXED_DEF(t, C, R)                                                                            \
  QOR_L2_DEF(qor_blas_def_x##t##gemv, (const char* trans, QOR_L2_I m, QOR_L2_I n, const C* alpha,       \
                                           const R* a, QOR_L2_I lda, const C* x, QOR_L2_I incx,             \
                                           const C* beta, C* y, QOR_L2_I incy), (trans, m, n, alpha, a, lda, x, incx, beta, y, incy)) {                            \
    l2::gemv_entry<R, C>(qor::fold(trans), *m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, *beta, y, *incy);  \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##gemv_kernel, (const char* trans, QOR_L2_I m, QOR_L2_I n, const C* alpha, \
                                                  const R* a, QOR_L2_I lda, const C* x, QOR_L2_I incx, C* y, \
                                                  QOR_L2_I incy, C* buffer), (trans, m, n, alpha, a, lda, x, incx, y, incy, buffer)) {                               \
    l2::gemv_kernel_for<R, C>(qor::fold(trans), *m, *n, *alpha, a, l2::ColsGe{*lda}, x, *incx, y, *incy,     \
                              buffer);                                                                       \
  }                                                                                                          \
  QOR_L2_MIXED_K_DEF(t, C, R, n, 'N') QOR_L2_MIXED_K_DEF(t, C, R, t, 'T') QOR_L2_MIXED_K_DEF(t, C, R, c, 'C')
QOR_L2_MIXED_DEF(sc, qor::c32, float)
QOR_L2_MIXED_DEF(dz, qor::c64, double)

// ---- gem2v -----------------------------------------------------------------------

namespace {

template <class T, bool Conj>
void gem2v(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x1, i64 incx1, const T* x2, i64 incx2, T beta,
           T* y1, i64 incy1, T* y2, i64 incy2) {
  if (m < 1 || n < 1) return;
  y1 = l2c::first(y1, m, incy1);
  y2 = l2c::first(y2, n, incy2);
  if (!l2c::is_one(beta)) {
    l2c::scale(m, beta, y1, incy1);
    l2c::scale(n, beta, y2, incy2);
  }
  if (l2c::is_zero(alpha)) return;
  x1 = l2c::first(x1, n, incx1);
  x2 = l2c::first(x2, m, incx2);
  {
    // Each vector off unit stride gets a buffer by the usual rule.
    l2c::Stack<T> s1, s2, s3, s4;
    l2c::Work<T> wx1(incx1 != 1 ? n : 0, s1.get());
    l2c::Work<T> wx2(incx2 != 1 ? m : 0, s2.get());
    l2c::Work<T> wy1(incy1 != 1 ? m : 0, s3.get());
    l2c::Work<T> wy2(incy2 != 1 ? n : 0, s4.get());
    if (wx1.ok() && wx2.ok() && wy1.ok() && wy2.ok()) {
      const T* cx1 = x1;
      const T* cx2 = x2;
      T* cy1 = y1;
      T* cy2 = y2;
      if (incx1 != 1) {
        l2c::gather(n, x1, incx1, wx1.get());
        cx1 = wx1.get();
      }
      if (incx2 != 1) {
        l2c::gather(m, x2, incx2, wx2.get());
        cx2 = wx2.get();
      }
      if (incy1 != 1) l2c::gather(m, y1, incy1, cy1 = wy1.get());
      if (incy2 != 1) l2c::gather(n, y2, incy2, cy2 = wy2.get());
      l2::gem2v_kernel<T, Conj>(m, n, alpha, a, lda, cx1, cx2, cy1, cy2);
      if (incy1 != 1) l2c::scatter(m, cy1, y1, incy1);
      if (incy2 != 1) l2c::scatter(n, cy2, y2, incy2);
      return;
    }
  }
  // No blocks: the two products one after the other, each with its own
  // fallback.
  l2::gemv_acc<T, T>('N', m, n, alpha, a, l2::ColsGe{lda}, x1, incx1, y1, incy1);
  l2::gemv_acc<T, T>(Conj ? 'C' : 'T', m, n, alpha, a, l2::ColsGe{lda}, x2, incx2, y2, incy2);
}

}  // namespace

#define QOR_L2_GEM2V_DEF(t, T, name, cj)                                                                     \
  QOR_L2_DEF(qor_blas_def_x##t##name, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a, QOR_L2_I lda, \
                                           const T* x1, QOR_L2_I incx1, const T* x2, QOR_L2_I incx2,        \
                                           const T* beta, T* y1, QOR_L2_I incy1, T* y2, QOR_L2_I incy2), (m, n, alpha, a, lda, x1, incx1, x2, incx2, beta, y1, incy1, y2, incy2)) {   \
    gem2v<T, cj>(*m, *n, *alpha, a, *lda, x1, *incx1, x2, *incx2, *beta, y1, *incy1, y2, *incy2);           \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##name##_kernel, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* a,     \
                                                    QOR_L2_I lda, const T* x1, const T* x2, T* y1, T* y2), (m, n, alpha, a, lda, x1, x2, y1, y2)) { \
    l2::gem2v_kernel<T, cj>(*m, *n, *alpha, a, *lda, x1, x2, y1, y2);                                        \
  }
QOR_L2_GEM2V_DEF(s, float, gem2vu, false)
QOR_L2_GEM2V_DEF(d, double, gem2vu, false)
QOR_L2_GEM2V_DEF(c, qor::c32, gem2vc, true)
QOR_L2_GEM2V_DEF(z, qor::c64, gem2vc, true)
