// Entries of the symmetric and Hermitian products, full and packed.
#pragma once
#include "blas/level2/gemv_entry.h"
#include "blas/level2/sym_kernels.h"

QOR_ISA_BEGIN
namespace l2 {

template <class T, bool Herm, class Lay>
inline void symv_kernel_for(bool lower, i64 n, i64 k, T alpha, Lay lay, const T* x, T* y) {
  if (lower) {
    symv_kernel<T, Herm, true>(n, k, alpha, lay, x, y);
  } else {
    symv_kernel<T, Herm, false>(n, k, alpha, lay, x, y);
  }
}

// y = alpha A x + beta y. lay gives the stored triangle (lower or upper as
// `lower` says). A NaN alpha is not zero and goes on.
template <class T, bool Herm, class Lay>
void sym_entry(bool lower, i64 n, T alpha, Lay lay, const T* x, i64 incx, T beta, T* y, i64 incy) {
  if (n < 1) return;
  y = l2c::first(y, n, incy);
  if (!l2c::is_one(beta)) l2c::scale(n, beta, y, incy);
  if (l2c::is_zero(alpha)) return;
  x = l2c::first(x, n, incx);
  if (incx == 1 && incy == 1) {
    symv_kernel_for<T, Herm>(lower, n, 0, alpha, lay, x, y);
    return;
  }
  l2c::Stack<T> sx, sy;
  {
    // Each vector that is not contiguous gets its own buffer.
    l2c::Work<T> wx(incx != 1 ? n : 0, sx.get());
    l2c::Work<T> wy(incy != 1 ? n : 0, sy.get());
    if (wx.ok() && wy.ok()) {
      const T* xc = x;
      T* yc = y;
      if (incx != 1) {
        l2c::gather(n, x, incx, wx.get());
        xc = wx.get();
      }
      if (incy != 1) {
        l2c::gather(n, y, incy, wy.get());
        yc = wy.get();
      }
      symv_kernel_for<T, Herm>(lower, n, 0, alpha, lay, xc, yc);
      if (incy != 1) l2c::scatter(n, yc, y, incy);
      return;
    }
  }
  // No block: diagonal blocks of 128 from the top. Each block runs the
  // kernel on its slices of x and y, and the rectangle beside it (below for
  // the lower triangle, above for the upper) gives both of its
  // contributions through two gemv calls.
  const char opt = Herm ? 'C' : 'T';
  for (i64 r0 = 0; r0 < n; r0 += l2c::kSlice) {
    const i64 nb = n - r0 < l2c::kSlice ? n - r0 : l2c::kSlice;
    T* xs = sx.get();
    T* ys = sy.get();
    l2c::gather(nb, x + r0 * incx, incx, xs);
    l2c::gather(nb, y + r0 * incy, incy, ys);
    symv_kernel_for<T, Herm>(lower, nb, 0, alpha, lay.sub(r0), xs, ys);
    if (lower) {
      const i64 r1 = r0 + nb;
      if (r1 < n) {
        gemv_acc('N', n - r1, nb, alpha, lay.at(r1, r0), lay.cols(r0), xs, 1, y + r1 * incy, incy);
        gemv_acc(opt, n - r1, nb, alpha, lay.at(r1, r0), lay.cols(r0), x + r1 * incx, incx, ys, 1);
      }
    } else if (r0 > 0) {
      gemv_acc('N', r0, nb, alpha, lay.at(0, r0), lay.cols(r0), xs, 1, y, incy);
      gemv_acc(opt, r0, nb, alpha, lay.at(0, r0), lay.cols(r0), x, incx, ys, 1);
    }
    l2c::scatter(nb, ys, y + r0 * incy, incy);
  }
}

}  // namespace l2
QOR_ISA_END
