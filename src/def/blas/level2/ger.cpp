// Rank-one updates of a general matrix: ger, and the complex gerc
// (conjugating y) and geru.
#include "blas/level2/api.h"
#include "blas/level2/update_kernels.h"

namespace l2 = qor::QOR_ISA_NAME::l2;
namespace l2c = qor::QOR_ISA_NAME::l2c;
using l2::i64;

namespace {

// A += alpha x op(y)^T with x contiguous, column by column (the 512-bit
// body where it serves, wide.h). A column whose y element is zero is left
// alone.
template <class T, bool Conj>
void ger_kernel(i64 m, i64 n, T alpha, const T* x, const T* y, i64 incy, T* a, i64 lda) {
  if (m < 1 || n < 1) return;
  if (l2::wide_body()) return qor::avx512::l2w::ger<T, Conj>(m, n, alpha, x, y, incy, a, lda);
  for (i64 j = 0; j < n; ++j) {
    const T yj = y[j * incy];
    if (l2c::is_zero(yj)) continue;
    l2::axpy_col(m, l2c::mul(alpha, l2c::conj_if<Conj>(yj)), x, a + j * lda);
  }
}

template <class T, bool Conj>
void ger_entry(i64 m, i64 n, T alpha, const T* x, i64 incx, const T* y, i64 incy, T* a, i64 lda) {
  if (m < 1 || n < 1 || l2c::is_zero(alpha)) return;
  y = l2c::first(y, n, incy);
  x = l2c::first(x, m, incx);
  if (incx == 1) {
    ger_kernel<T, Conj>(m, n, alpha, x, y, incy, a, lda);
    return;
  }
  l2c::Stack<T> stack;
  {
    l2c::Work<T> work(m, stack.get());
    if (work.ok()) {
      l2c::gather(m, x, incx, work.get());
      ger_kernel<T, Conj>(m, n, alpha, work.get(), y, incy, a, lda);
      return;
    }
  }
  // No block: slices of 128 rows, each with its part of x on the stack. x
  // is at its first logical element, so with a negative stride the slices
  // are taken from the far end of the caller's array, matching their rows.
  for (i64 i = 0; i < m; i += l2c::kSlice) {
    const i64 ms = m - i < l2c::kSlice ? m - i : l2c::kSlice;
    l2c::gather(ms, x + i * incx, incx, stack.get());
    ger_kernel<T, Conj>(ms, n, alpha, stack.get(), y, incy, a + i, lda);
  }
}

}  // namespace

#define QOR_L2_GER_DEF(t, T, name, cj)                                                                       \
  QOR_L2_DEF(qor_blas_def_x##t##name, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* x, QOR_L2_I incx, \
                                           const T* y, QOR_L2_I incy, T* a, QOR_L2_I lda), (m, n, alpha, x, incx, y, incy, a, lda)) {                 \
    ger_entry<T, cj>(*m, *n, *alpha, x, *incx, y, *incy, a, *lda);                                           \
  }                                                                                                          \
  QOR_L2_DEF(qor_blas_def_x##t##name##_kernel, (QOR_L2_I m, QOR_L2_I n, const T* alpha, const T* x,     \
                                                    const T* y, QOR_L2_I incy, T* a, QOR_L2_I lda), (m, n, alpha, x, y, incy, a, lda)) {        \
    ger_kernel<T, cj>(*m, *n, *alpha, x, y, *incy, a, *lda);                                                 \
  }
QOR_L2_GER_DEF(s, float, ger, false)
QOR_L2_GER_DEF(d, double, ger, false)
QOR_L2_GER_DEF(c, qor::c32, gerc, true)
QOR_L2_GER_DEF(c, qor::c32, geru, false)
QOR_L2_GER_DEF(z, qor::c64, gerc, true)
QOR_L2_GER_DEF(z, qor::c64, geru, false)
