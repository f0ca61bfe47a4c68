// Symmetric and Hermitian rank-one and rank-two updates, full and packed:
// syr, spr, syr2, spr2 and her, hpr, her2, hpr2.
#include "blas/level2/api.h"
#include "blas/level2/layout.h"
#include "blas/level2/update_kernels.h"

namespace l2 = qor::QOR_ISA_NAME::l2;
namespace l2c = qor::QOR_ISA_NAME::l2c;
using l2::i64;

namespace {

inline bool lower_of(const char* uplo) { return qor::fold(uplo) != 'U'; }

// The part of column j of the triangle that lies in rows [i0, i1):
// [r0, r1), empty when r0 >= r1.
template <bool Lower>
inline void col_rows(i64 j, i64 i0, i64 i1, i64& r0, i64& r1) {
  if (Lower) {
    r0 = j > i0 ? j : i0;
    r1 = i1;
  } else {
    r0 = i0;
    r1 = j + 1 < i1 ? j + 1 : i1;
  }
}

// Rank one (Two false: A += alpha x op(x)^T) or rank two (A += alpha x
// op(y)^T + op(alpha) y op(x)^T) on rows [i0, i1) of the triangle: xs, ys
// hold x[i0..i1), y[i0..i1) contiguous, x and y (strides incx, incy) give
// the factors of each column. A column whose factors are all zero is passed
// over, so what is in it stays exactly as it was; the Hermitian form still
// drops the imaginary part of the diagonal there, and its diagonal gets
// only the real part of the update.
template <class T, class TA, bool Herm, bool Lower, bool Two, class Lay>
void rank_rows(i64 n, i64 i0, i64 i1, TA alpha, const T* xs, const T* ys, const T* x, i64 incx, const T* y,
               i64 incy, Lay lay) {
  const i64 j0 = Lower ? 0 : i0;
  const i64 j1 = Lower ? (i1 < n ? i1 : n) : n;
  for (i64 j = j0; j < j1; ++j) {
    i64 r0, r1;
    col_rows<Lower>(j, i0, i1, r0, r1);
    if (r0 >= r1) continue;
    T* col = lay.at(0, j);
    const bool diag = j >= i0 && j < i1;
    const T xj = x[j * incx];
    const T yj = Two ? y[j * incy] : T(0);
    if (l2c::is_zero(xj) && l2c::is_zero(yj)) {
      if (Herm && diag) col[j] = l2c::real_only(col[j]);
      continue;
    }
    // col += xs * t1 (+ ys * t2) over rows [lo, hi).
    const T t1 = l2c::mul(T(alpha), l2c::conj_if<Herm>(Two ? yj : xj));
    const T t2 = Two ? l2c::conj_if<Herm>(l2c::mul(T(alpha), xj)) : T(0);
    auto update = [&](i64 lo, i64 hi) {
      if constexpr (Two) {
        l2::axpy2_col(hi - lo, t1, t2, xs + (lo - i0), ys + (lo - i0), col + lo);
      } else {
        l2::axpy_col(hi - lo, t1, xs + (lo - i0), col + lo);
      }
    };
    if (Herm && diag) {
      const T d = Two ? l2c::mul(xj, t1) + l2c::mul(yj, t2) : l2c::mul(xj, t1);
      col[j] = T(l2c::re(col[j]) + l2c::re(d));
      if (Lower) {
        update(j + 1, r1);
      } else {
        update(r0, j);
      }
    } else {
      update(r0, r1);
    }
  }
}

// The kernels: the whole triangle, vectors contiguous.
template <class T, class TA, bool Herm, bool Lower, class Lay>
void syr_kernel(i64 n, TA alpha, const T* x, Lay lay) {
  rank_rows<T, TA, Herm, Lower, false>(n, 0, n, alpha, x, x, x, 1, x, 1, lay);
}
template <class T, bool Herm, bool Lower, class Lay>
void syr2_kernel(i64 n, T alpha, const T* x, const T* y, Lay lay) {
  rank_rows<T, T, Herm, Lower, true>(n, 0, n, alpha, x, y, x, 1, y, 1, lay);
}

template <class T, class TA, bool Herm, bool Lower, class Lay>
void syr_entry(i64 n, TA alpha, const T* x, i64 incx, Lay lay) {
  if (n < 1 || l2c::is_zero(alpha)) return;
  x = l2c::first(x, n, incx);
  if (incx == 1) {
    syr_kernel<T, TA, Herm, Lower>(n, alpha, x, lay);
    return;
  }
  l2c::Stack<T> stack;
  {
    l2c::Work<T> work(n, stack.get());
    if (work.ok()) {
      l2c::gather(n, x, incx, work.get());
      syr_kernel<T, TA, Herm, Lower>(n, alpha, work.get(), lay);
      return;
    }
  }
  // No block: slices of 128 rows, each with its part of x on the stack.
  for (i64 i = 0; i < n; i += l2c::kSlice) {
    const i64 i1 = n - i < l2c::kSlice ? n : i + l2c::kSlice;
    l2c::gather(i1 - i, x + i * incx, incx, stack.get());
    rank_rows<T, TA, Herm, Lower, false>(n, i, i1, alpha, stack.get(), stack.get(), x, incx, x, incx, lay);
  }
}

template <class T, bool Herm, bool Lower, class Lay>
void syr2_entry(i64 n, T alpha, const T* x, i64 incx, const T* y, i64 incy, Lay lay) {
  if (n < 1 || l2c::is_zero(alpha)) return;
  x = l2c::first(x, n, incx);
  y = l2c::first(y, n, incy);
  if (incx == 1 && incy == 1) {
    syr2_kernel<T, Herm, Lower>(n, alpha, x, y, lay);
    return;
  }
  l2c::Stack<T> sx, sy;
  {
    l2c::Work<T> wx(incx != 1 ? n : 0, sx.get());
    l2c::Work<T> wy(incy != 1 ? n : 0, sy.get());
    if (wx.ok() && wy.ok()) {
      const T* xc = x;
      const T* yc = y;
      if (incx != 1) {
        l2c::gather(n, x, incx, wx.get());
        xc = wx.get();
      }
      if (incy != 1) {
        l2c::gather(n, y, incy, wy.get());
        yc = wy.get();
      }
      syr2_kernel<T, Herm, Lower>(n, alpha, xc, yc, lay);
      return;
    }
  }
  for (i64 i = 0; i < n; i += l2c::kSlice) {
    const i64 i1 = n - i < l2c::kSlice ? n : i + l2c::kSlice;
    l2c::gather(i1 - i, x + i * incx, incx, sx.get());
    l2c::gather(i1 - i, y + i * incy, incy, sy.get());
    rank_rows<T, T, Herm, Lower, true>(n, i, i1, alpha, sx.get(), sy.get(), x, incx, y, incy, lay);
  }
}

template <class T>
l2::LayGe<T*> full(T* a, const i64* lda) {
  return {a, *lda};
}
template <class T>
l2::LayPl<T*> packed_l(T* ap, i64 n) {
  return {ap, n};
}
template <class T>
l2::LayPu<T*> packed_u(T* ap) {
  return {ap, 0};
}

}  // namespace

#define QOR_L2_SYR_DEF(t, T, TA, H, r1, p1, r2, p2)                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r1, (const char* uplo, QOR_L2_I n, const TA* alpha, const T* x,          \
                                         QOR_L2_I incx, T* a, QOR_L2_I lda), (uplo, n, alpha, x, incx, a, lda)) {                                \
    if (lower_of(uplo)) {                                                                                     \
      syr_entry<T, TA, H, true>(*n, *alpha, x, *incx, full(a, lda));                                          \
    } else {                                                                                                  \
      syr_entry<T, TA, H, false>(*n, *alpha, x, *incx, full(a, lda));                                         \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r1##_kernel_l, (QOR_L2_I n, const TA* alpha, const T* x, T* a,           \
                                                    QOR_L2_I lda), (n, alpha, x, a, lda)) {                                          \
    syr_kernel<T, TA, H, true>(*n, *alpha, x, full(a, lda));                                                  \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r1##_kernel_u, (QOR_L2_I n, const TA* alpha, const T* x, T* a,           \
                                                    QOR_L2_I lda), (n, alpha, x, a, lda)) {                                          \
    syr_kernel<T, TA, H, false>(*n, *alpha, x, full(a, lda));                                                 \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r1##_kernel, (const char* uplo, QOR_L2_I n, const TA* alpha, const T* x, \
                                                  T* a, QOR_L2_I lda), (uplo, n, alpha, x, a, lda)) {                                      \
    if (lower_of(uplo)) {                                                                                     \
      syr_kernel<T, TA, H, true>(*n, *alpha, x, full(a, lda));                                                \
    } else {                                                                                                  \
      syr_kernel<T, TA, H, false>(*n, *alpha, x, full(a, lda));                                               \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p1, (const char* uplo, QOR_L2_I n, const TA* alpha, const T* x,          \
                                         QOR_L2_I incx, T* ap), (uplo, n, alpha, x, incx, ap)) {                                             \
    if (lower_of(uplo)) {                                                                                     \
      syr_entry<T, TA, H, true>(*n, *alpha, x, *incx, packed_l(ap, *n));                                      \
    } else {                                                                                                  \
      syr_entry<T, TA, H, false>(*n, *alpha, x, *incx, packed_u(ap));                                         \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p1##_kernel_l, (QOR_L2_I n, const TA* alpha, const T* x, T* ap), (n, alpha, x, ap)) {        \
    syr_kernel<T, TA, H, true>(*n, *alpha, x, packed_l(ap, *n));                                              \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p1##_kernel_u, (QOR_L2_I n, const TA* alpha, const T* x, T* ap), (n, alpha, x, ap)) {        \
    syr_kernel<T, TA, H, false>(*n, *alpha, x, packed_u(ap));                                                 \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p1##_kernel, (const char* uplo, QOR_L2_I n, const TA* alpha, const T* x, \
                                                  T* ap), (uplo, n, alpha, x, ap)) {                                                   \
    if (lower_of(uplo)) {                                                                                     \
      syr_kernel<T, TA, H, true>(*n, *alpha, x, packed_l(ap, *n));                                            \
    } else {                                                                                                  \
      syr_kernel<T, TA, H, false>(*n, *alpha, x, packed_u(ap));                                               \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r2, (const char* uplo, QOR_L2_I n, const T* alpha, const T* x,           \
                                         QOR_L2_I incx, const T* y, QOR_L2_I incy, T* a, QOR_L2_I lda), (uplo, n, alpha, x, incx, y, incy, a, lda)) {     \
    if (lower_of(uplo)) {                                                                                     \
      syr2_entry<T, H, true>(*n, *alpha, x, *incx, y, *incy, full(a, lda));                                   \
    } else {                                                                                                  \
      syr2_entry<T, H, false>(*n, *alpha, x, *incx, y, *incy, full(a, lda));                                  \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r2##_kernel_l, (QOR_L2_I n, const T* alpha, const T* x, const T* y,      \
                                                    T* a, QOR_L2_I lda), (n, alpha, x, y, a, lda)) {                                    \
    syr2_kernel<T, H, true>(*n, *alpha, x, y, full(a, lda));                                                  \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r2##_kernel_u, (QOR_L2_I n, const T* alpha, const T* x, const T* y,      \
                                                    T* a, QOR_L2_I lda), (n, alpha, x, y, a, lda)) {                                    \
    syr2_kernel<T, H, false>(*n, *alpha, x, y, full(a, lda));                                                 \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##r2##_kernel, (const char* uplo, QOR_L2_I n, const T* alpha, const T* x,  \
                                                  const T* y, T* a, QOR_L2_I lda), (uplo, n, alpha, x, y, a, lda)) {                          \
    if (lower_of(uplo)) {                                                                                     \
      syr2_kernel<T, H, true>(*n, *alpha, x, y, full(a, lda));                                                \
    } else {                                                                                                  \
      syr2_kernel<T, H, false>(*n, *alpha, x, y, full(a, lda));                                               \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p2, (const char* uplo, QOR_L2_I n, const T* alpha, const T* x,           \
                                         QOR_L2_I incx, const T* y, QOR_L2_I incy, T* ap), (uplo, n, alpha, x, incx, y, incy, ap)) {                  \
    if (lower_of(uplo)) {                                                                                     \
      syr2_entry<T, H, true>(*n, *alpha, x, *incx, y, *incy, packed_l(ap, *n));                               \
    } else {                                                                                                  \
      syr2_entry<T, H, false>(*n, *alpha, x, *incx, y, *incy, packed_u(ap));                                  \
    }                                                                                                         \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p2##_kernel_l, (QOR_L2_I n, const T* alpha, const T* x, const T* y,      \
                                                    T* ap), (n, alpha, x, y, ap)) {                                                 \
    syr2_kernel<T, H, true>(*n, *alpha, x, y, packed_l(ap, *n));                                              \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p2##_kernel_u, (QOR_L2_I n, const T* alpha, const T* x, const T* y,      \
                                                    T* ap), (n, alpha, x, y, ap)) {                                                 \
    syr2_kernel<T, H, false>(*n, *alpha, x, y, packed_u(ap));                                                 \
  }                                                                                                           \
  QOR_L2_DEF(qor_blas_def_x##t##p2##_kernel, (const char* uplo, QOR_L2_I n, const T* alpha, const T* x,  \
                                                  const T* y, T* ap), (uplo, n, alpha, x, y, ap)) {                                       \
    if (lower_of(uplo)) {                                                                                     \
      syr2_kernel<T, H, true>(*n, *alpha, x, y, packed_l(ap, *n));                                            \
    } else {                                                                                                  \
      syr2_kernel<T, H, false>(*n, *alpha, x, y, packed_u(ap));                                               \
    }                                                                                                         \
  }

QOR_L2_SYR_DEF(s, float, float, false, syr, spr, syr2, spr2)
QOR_L2_SYR_DEF(d, double, double, false, syr, spr, syr2, spr2)
QOR_L2_SYR_DEF(c, qor::c32, float, true, her, hpr, her2, hpr2)
QOR_L2_SYR_DEF(z, qor::c64, double, true, her, hpr, her2, hpr2)
