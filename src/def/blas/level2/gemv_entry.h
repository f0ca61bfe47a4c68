// The gemv entry, shared by gemv (general columns) and gpmv (rectangles in
// packed storage): quick returns, beta, negative strides, the work vector,
// and the slices of 128 rows when no work vector can be had.
#pragma once
#include "blas/level2/gemv_kernels.h"
#include "blas/level2/mixed_kernels.h"

QOR_ISA_BEGIN
namespace l2 {

// The kernel call for the letter: 'N' no transposition, 'C' conjugate
// transposition (complex only), every other letter transposition.
template <class TA, class T, class Cols>
inline void gemv_kernel_for(char op, i64 m, i64 n, T alpha, const TA* a, Cols cols, const T* x, i64 incx, T* y,
                            i64 incy, T* buf) {
  if constexpr (!std::is_same_v<TA, T>) {
    // A real matrix with complex vectors: 'C' is 'T'.
    if (op == 'N') {
      mixed_n(m, n, alpha, a, cols, x, incx, y, incy, buf);
    } else {
      mixed_t(m, n, alpha, a, cols, x, incx, y, incy, buf);
    }
  } else if (op == 'N') {
    gemv_n(m, n, alpha, a, cols, x, incx, y, incy, buf);
  } else if (is_complex_v<T> && op == 'C') {
    gemv_t<T, true>(m, n, alpha, a, cols, x, incx, y, incy, buf);
  } else {
    gemv_t<T, false>(m, n, alpha, a, cols, x, incx, y, incy, buf);
  }
}

// y += alpha * op(A) * x with x and y at their first logical elements: the
// work-vector rule, and slices of 128 rows when no block can be had.
template <class TA, class T, class Cols>
void gemv_acc(char op, i64 m, i64 n, T alpha, const TA* a, Cols cols, const T* x, i64 incx, T* y, i64 incy) {
  if (m < 1 || n < 1) return;
  const bool trans = op != 'N';
  // The vector that runs along the rows must be contiguous for the kernel.
  const bool need = trans ? incx != 1 : incy != 1;
  if (!need) {
    gemv_kernel_for(op, m, n, alpha, a, cols, x, incx, y, incy, static_cast<T*>(nullptr));
    return;
  }
  l2c::Stack<T> stack;
  {
    l2c::Work<T> work(m, stack.get());
    if (work.ok()) {
      gemv_kernel_for(op, m, n, alpha, a, cols, x, incx, y, incy, work.get());
      return;
    }
  }
  // No block: slices of 128 rows through the stack buffer. Without
  // transposition each slice updates its own rows of y; with it each slice
  // adds its share to all of y.
  for (i64 i = 0; i < m; i += l2c::kSlice) {
    const i64 ms = m - i < l2c::kSlice ? m - i : l2c::kSlice;
    if (trans) {
      gemv_kernel_for(op, ms, n, alpha, a + i, cols, x + i * incx, incx, y, incy, stack.get());
    } else {
      gemv_kernel_for(op, ms, n, alpha, a + i, cols, x, incx, y + i * incy, incy, stack.get());
    }
  }
}

// The entry: quick return on an empty matrix (beta not looked at), beta
// applied to y first, then nothing more when alpha is 0.
template <class TA, class T, class Cols>
void gemv_entry(char op, i64 m, i64 n, T alpha, const TA* a, Cols cols, const T* x, i64 incx, T beta, T* y,
                i64 incy) {
  if (m < 1 || n < 1) return;
  const bool trans = op != 'N';
  const i64 leny = trans ? n : m;
  const i64 lenx = trans ? m : n;
  y = l2c::first(y, leny, incy);
  if (!l2c::is_one(beta)) l2c::scale(leny, beta, y, incy);
  if (l2c::is_zero(alpha)) return;
  x = l2c::first(x, lenx, incx);
  gemv_acc(op, m, n, alpha, a, cols, x, incx, y, incy);
}

}  // namespace l2
QOR_ISA_END
