// Kernels of a real matrix with complex vectors (scgemv, dzgemv). The real
// and imaginary parts of the vectors meet the same matrix element, so the
// product needs two real multiplies per element and no complex arithmetic.
// Columns go in groups of 4, 2, 1; the row loops are plain and left to the
// compiler's vectoriser.
#pragma once
#include "blas/level2/gemv_kernels.h"

QOR_ISA_BEGIN
namespace l2 {

template <int NC, class R, class T, class Cols>
inline void mixed_n_group(i64 m, const R* a, Cols cols, i64 j0, T alpha, const T* x, i64 incx, R* yr) {
  const R* col[NC];
  R tr[NC], ti[NC];
  for (int c = 0; c < NC; ++c) {
    col[c] = a + cols(j0 + c);
    T t = l2c::mul(alpha, x[(j0 + c) * incx]);
    tr[c] = t.real();
    ti[c] = t.imag();
  }
  for (i64 i = 0; i < m; ++i) {
    R sr = col[0][i] * tr[0], si = col[0][i] * ti[0];
    for (int c = 1; c < NC; ++c) {
      sr += col[c][i] * tr[c];
      si += col[c][i] * ti[c];
    }
    yr[2 * i] += sr;
    yr[2 * i + 1] += si;
  }
}

template <class R, class T, class Cols>
void mixed_n(i64 m, i64 n, T alpha, const R* a, Cols cols, const T* x, i64 incx, T* y, i64 incy, T* buf) {
  if (m < 1 || n < 1) return;
  T* yc = y;
  if (incy != 1) {
    l2c::gather(m, y, incy, buf);
    yc = buf;
  }
  R* yr = reinterpret_cast<R*>(yc);
  i64 j = 0;
  for (; j + 4 <= n; j += 4) mixed_n_group<4>(m, a, cols, j, alpha, x, incx, yr);
  if (n - j >= 2) {
    mixed_n_group<2>(m, a, cols, j, alpha, x, incx, yr);
    j += 2;
  }
  if (n - j >= 1) mixed_n_group<1>(m, a, cols, j, alpha, x, incx, yr);
  if (incy != 1) l2c::scatter(m, buf, y, incy);
}

template <int NC, class R, class T, class Cols>
inline void mixed_t_group(i64 m, const R* a, Cols cols, i64 j0, T alpha, const R* xr, T* y, i64 incy) {
  const R* col[NC];
  R sr[NC], si[NC];
  for (int c = 0; c < NC; ++c) {
    col[c] = a + cols(j0 + c);
    sr[c] = si[c] = R(0);
  }
  for (i64 i = 0; i < m; ++i) {
    for (int c = 0; c < NC; ++c) {
      sr[c] += col[c][i] * xr[2 * i];
      si[c] += col[c][i] * xr[2 * i + 1];
    }
  }
  for (int c = 0; c < NC; ++c) y[(j0 + c) * incy] += l2c::mul(alpha, T(sr[c], si[c]));
}

template <class R, class T, class Cols>
void mixed_t(i64 m, i64 n, T alpha, const R* a, Cols cols, const T* x, i64 incx, T* y, i64 incy, T* buf) {
  if (m < 1 || n < 1) return;
  if (incx != 1) {
    l2c::gather(m, x, incx, buf);
    x = buf;
  }
  const R* xr = reinterpret_cast<const R*>(x);
  i64 j = 0;
  for (; j + 4 <= n; j += 4) mixed_t_group<4>(m, a, cols, j, alpha, xr, y, incy);
  if (n - j >= 2) {
    mixed_t_group<2>(m, a, cols, j, alpha, xr, y, incy);
    j += 2;
  }
  if (n - j >= 1) mixed_t_group<1>(m, a, cols, j, alpha, xr, y, incy);
}

}  // namespace l2
QOR_ISA_END
