// 512-bit body of the rank-one update A += alpha x op(y)^T, written once
// over the element type (see wide.h). Columns go in groups of four, row
// block by row block, so that each register of x serves four columns; a
// column whose y element is zero is skipped, as in the other bodies, which
// leaves NaN and infinity in x out of it.
#include "blas/level2/wide.h"

#include "blas/level2/wide_common.h"

QOR_ISA_BEGIN
namespace l2w {
namespace {

using l2c::conj_if;
using l2c::is_zero;
using l2c::mul;

// The factor t of one column as registers: (tr, tr, ...) and, for complex
// elements, (-ti, ti, ...), so that x t = x * tr + swap(x) * (-ti, ti).
template <class T>
struct Factor {
  using R = real_t<T>;
  using Z = zmm<R>;
  typename Z::reg r, i;
  Factor() = default;
  explicit Factor(T t) {
    if constexpr (kComplex<T>) {
      r = Z::set1(t.real());
      i = Z::pair(-t.imag(), t.imag());
    } else {
      r = Z::set1(t);
      i = r;
    }
  }
  // a + x t.
  typename Z::reg add_to(typename Z::reg a, typename Z::reg xv, typename Z::reg xs) const {
    if constexpr (kComplex<T>) {
      return Z::fma(xs, i, Z::fma(xv, r, a));
    } else {
      (void)xs;
      return Z::fma(xv, r, a);
    }
  }
};

// The NC columns col[c] += x * t_c over reals [0, mr), in blocks of two
// registers.
template <class T, int NC, bool Ahead>
void cols_update(i64 mr, const real_t<T>* x, real_t<T>* const* col, const Factor<T>* f) {
  using R = real_t<T>;
  using Z = zmm<R>;
  using reg = typename Z::reg;
  constexpr i64 L = Z::L;
  auto step = [&](typename Z::mask k, i64 o) {
    const reg xv = Z::load(k, x + o);
    const reg xs = kComplex<T> ? Z::swap_pairs(xv) : xv;
    for (int c = 0; c < NC; ++c) Z::store(k, col[c] + o, f[c].add_to(Z::load(k, col[c] + o), xv, xs));
  };
  const auto all = all_lanes<R>();
  i64 o = 0;
  for (; o + 2 * L <= mr; o += 2 * L) {
    if constexpr (Ahead)
      for (int c = 0; c < NC; ++c) ahead_write(col[c] + o, 2 * L * i64(sizeof(R)));
    step(all, o);
    step(all, o + L);
  }
  for (; o + L <= mr; o += L) step(all, o);
  if (o < mr) step(Z::first(mr - o), o);
}

template <class T, bool Conj, bool Ahead>
void ger_walk(i64 m, i64 n, T alpha, const T* x, const T* y, i64 incy, T* a, i64 lda) {
  using R = real_t<T>;
  constexpr int G = 4;
  const R* xr = reinterpret_cast<const R*>(x);
  // Columns with a nonzero factor, gathered G at a time.
  R* col[G];
  Factor<T> f[G];
  int have = 0;
  for (i64 j = 0; j < n; ++j) {
    const T yj = y[j * incy];
    if (is_zero(yj)) continue;
    col[have] = reinterpret_cast<R*>(a + j * lda);
    f[have] = Factor<T>(mul(alpha, conj_if<Conj>(yj)));
    if (++have == G) {
      cols_update<T, G, Ahead>(m * kE<T>, xr, col, f);
      have = 0;
    }
  }
  switch (have) {
    case 3:
      cols_update<T, 3, Ahead>(m * kE<T>, xr, col, f);
      break;
    case 2:
      cols_update<T, 2, Ahead>(m * kE<T>, xr, col, f);
      break;
    case 1:
      cols_update<T, 1, Ahead>(m * kE<T>, xr, col, f);
      break;
    default:
      break;
  }
}

}  // namespace

template <class T, bool Conj>
void ger(i64 m, i64 n, T alpha, const T* x, const T* y, i64 incy, T* a, i64 lda) {
  if (m < 1 || n < 1) return;
  if (m * n * i64(sizeof(T)) > kStreamBytes) {
    ger_walk<T, Conj, true>(m, n, alpha, x, y, incy, a, lda);
  } else {
    ger_walk<T, Conj, false>(m, n, alpha, x, y, incy, a, lda);
  }
}

#define QOR_L2W_GER_INSTANCES(T)                                                       \
  template void ger<T, false>(i64, i64, T, const T*, const T*, i64, T*, i64);          \
  template void ger<T, true>(i64, i64, T, const T*, const T*, i64, T*, i64);
QOR_L2W_GER_INSTANCES(float)
QOR_L2W_GER_INSTANCES(double)
QOR_L2W_GER_INSTANCES(::qor::c32)
QOR_L2W_GER_INSTANCES(::qor::c64)
#undef QOR_L2W_GER_INSTANCES

}  // namespace l2w
QOR_ISA_END
