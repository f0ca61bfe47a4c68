// 512-bit bodies of the general matrix-vector product, without and with
// transposition, written once over the element type: a complex element is
// two adjacent reals, and its product with a scalar t is
// a * (tr, tr) + swap(a * (ti, ti)) * (-1, 1). See wide.h for what they
// serve.
#include "blas/level2/wide.h"

#include "blas/level2/wide_common.h"

QOR_ISA_BEGIN
namespace l2w {
namespace {

// Complex product by the plain formula, as the other bodies form it.
using l2c::mul;

// ---- no transposition -----------------------------------------------------------

// Column factors of a group: t = alpha * x_j as (tr, tr, ...) and, for
// complex elements, (ti, ti, ...).
template <class T, int NC>
struct NFactors {
  using Z = zmm<real_t<T>>;
  typename Z::reg re[NC];
  typename Z::reg im[kComplex<T> ? NC : 1];
};

// Adds column c's register av times its factor to the sums s and t. Real
// columns go to s when even, to t when odd, so that eight sums are in
// flight; complex columns put a * tr in s and a * ti in t, whose parts are
// exchanged once per register of y (fold), not once per column.
template <class T, int NC>
inline void n_term(typename zmm<real_t<T>>::reg av, const NFactors<T, NC>& f, int c, typename zmm<real_t<T>>::reg& s,
                   typename zmm<real_t<T>>::reg& t) {
  using Z = zmm<real_t<T>>;
  if constexpr (kComplex<T>) {
    s = Z::fma(av, f.re[c], s);
    t = Z::fma(av, f.im[c], t);
  } else if (c % 2 == 0) {
    s = Z::fma(av, f.re[c], s);
  } else {
    t = Z::fma(av, f.re[c], t);
  }
}

// The new register of y from the two sums: s + t for real elements,
// s + (-t_im, t_re) pairwise for complex ones.
template <class T, int NC>
inline typename zmm<real_t<T>>::reg n_fold(typename zmm<real_t<T>>::reg s, typename zmm<real_t<T>>::reg t) {
  using R = real_t<T>;
  using Z = zmm<R>;
  if constexpr (kComplex<T>) {
    return Z::fma(Z::swap_pairs(t), Z::pair(R(-1), R(1)), s);
  } else if constexpr (NC > 1) {
    return Z::add(s, t);
  } else {
    return s;
  }
}

// y[0..mr) (reals) += the NC columns times their factors, in blocks of U
// registers.
template <class T, int NC, bool Ahead>
void n_group(i64 mr, const real_t<T>* const* col, const NFactors<T, NC>& f, real_t<T>* y) {
  using R = real_t<T>;
  using Z = zmm<R>;
  using reg = typename Z::reg;
  constexpr i64 L = Z::L;
  constexpr int U = 4;
  i64 i = 0;
  for (; i + U * L <= mr; i += U * L) {
    if constexpr (Ahead)
      for (int c = 0; c < NC; ++c) ahead(col[c] + i, U * L * i64(sizeof(R)));
    reg s[U], t[U];
    for (int u = 0; u < U; ++u) {
      s[u] = Z::load(y + i + u * L);
      t[u] = Z::zero();
    }
    for (int c = 0; c < NC; ++c)
      for (int u = 0; u < U; ++u) n_term<T, NC>(Z::load(col[c] + i + u * L), f, c, s[u], t[u]);
    for (int u = 0; u < U; ++u) Z::store(y + i + u * L, n_fold<T, NC>(s[u], t[u]));
  }
  for (; i < mr; i += L) {
    const bool whole = i + L <= mr;
    const typename Z::mask k = whole ? static_cast<typename Z::mask>(~0u) : Z::first(mr - i);
    reg s = Z::load(k, y + i), t = Z::zero();
    for (int c = 0; c < NC; ++c) n_term<T, NC>(Z::load(k, col[c] + i), f, c, s, t);
    Z::store(k, y + i, n_fold<T, NC>(s, t));
  }
}

template <class T, int NC, bool Ahead>
inline void n_cols(i64 m, i64 j, T alpha, const T* a, i64 lda, const T* x, i64 incx, T* y) {
  using R = real_t<T>;
  using Z = zmm<R>;
  const R* col[NC];
  NFactors<T, NC> f;
  for (int c = 0; c < NC; ++c) {
    col[c] = reinterpret_cast<const R*>(a + (j + c) * lda);
    const T t = mul(alpha, x[(j + c) * incx]);
    if constexpr (kComplex<T>) {
      f.re[c] = Z::set1(t.real());
      f.im[c] = Z::set1(t.imag());
    } else {
      f.re[c] = Z::set1(t);
    }
  }
  n_group<T, NC, Ahead>(m * kE<T>, col, f, reinterpret_cast<R*>(y));
}

// Groups of 8 columns (4 complex: the same number of factor registers),
// then 4, 2, 1.
template <class T, bool Ahead>
void n_walk(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x, i64 incx, T* y) {
  constexpr int G = kComplex<T> ? 4 : 8;
  i64 j = 0;
  for (; j + G <= n; j += G) n_cols<T, G, Ahead>(m, j, alpha, a, lda, x, incx, y);
  if constexpr (G == 8) {
    if (n - j >= 4) {
      n_cols<T, 4, Ahead>(m, j, alpha, a, lda, x, incx, y);
      j += 4;
    }
  }
  if (n - j >= 2) {
    n_cols<T, 2, Ahead>(m, j, alpha, a, lda, x, incx, y);
    j += 2;
  }
  if (n - j >= 1) n_cols<T, 1, Ahead>(m, j, alpha, a, lda, x, incx, y);
}

// ---- transposition ----------------------------------------------------------------

// The NC columns' sums against x over mr reals. Real columns keep one
// register of lane products each; complex ones two: a * x and a times x
// with its parts exchanged. Even lanes then hold (ar xr, ar xi), odd lanes
// (ai xi, ai xr).
template <class T, int NC, bool Conj, bool Ahead>
void t_group(i64 mr, const real_t<T>* const* col, const real_t<T>* x, T* sums) {
  using R = real_t<T>;
  using Z = zmm<R>;
  using reg = typename Z::reg;
  constexpr i64 L = Z::L;
  constexpr int U = 2;
  reg p[NC], q[kComplex<T> ? NC : 1];
  for (auto& r : p) r = Z::zero();
  for (auto& r : q) r = Z::zero();
  auto step = [&](typename Z::mask k, i64 o) {
    const reg xv = Z::load(k, x + o);
    if constexpr (kComplex<T>) {
      const reg xs = Z::swap_pairs(xv);
      for (int c = 0; c < NC; ++c) {
        const reg av = Z::load(k, col[c] + o);
        p[c] = Z::fma(av, xv, p[c]);
        q[c] = Z::fma(av, xs, q[c]);
      }
    } else {
      for (int c = 0; c < NC; ++c) p[c] = Z::fma(Z::load(k, col[c] + o), xv, p[c]);
    }
  };
  const auto all = all_lanes<R>();
  i64 i = 0;
  for (; i + U * L <= mr; i += U * L) {
    if constexpr (Ahead)
      for (int c = 0; c < NC; ++c) ahead(col[c] + i, U * L * i64(sizeof(R)));
    for (int u = 0; u < U; ++u) step(all, i + u * L);
  }
  for (; i + L <= mr; i += L) step(all, i);
  if (i < mr) step(Z::first(mr - i), i);
  if constexpr (kComplex<T>) {
    // Real part: even minus odd lanes of p (plus for the conjugate);
    // imaginary part: even plus odd lanes of q (minus for the conjugate).
    const reg alt = Z::pair(R(1), R(-1));
    for (int c = 0; c < NC; ++c) {
      const R re = Conj ? Z::sum(p[c]) : Z::sum(Z::mul(p[c], alt));
      const R im = Conj ? Z::sum(Z::mul(q[c], alt)) : Z::sum(q[c]);
      sums[c] = T(re, im);
    }
  } else {
    for (int c = 0; c < NC; ++c) sums[c] = Z::sum(p[c]);
  }
}

template <class T, int NC, bool Conj, bool Ahead>
inline void t_cols(i64 m, i64 j, T alpha, const T* a, i64 lda, const T* x, T* y, i64 incy) {
  using R = real_t<T>;
  const R* col[NC];
  for (int c = 0; c < NC; ++c) col[c] = reinterpret_cast<const R*>(a + (j + c) * lda);
  T sums[NC];
  t_group<T, NC, Conj, Ahead>(m * kE<T>, col, reinterpret_cast<const R*>(x), sums);
  for (int c = 0; c < NC; ++c) y[(j + c) * incy] += mul(alpha, sums[c]);
}

// Groups of 8 columns (4 complex: eight accumulators either way), then 4,
// 2, 1.
template <class T, bool Conj, bool Ahead>
void t_walk(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x, T* y, i64 incy) {
  constexpr int G = kComplex<T> ? 4 : 8;
  i64 j = 0;
  for (; j + G <= n; j += G) t_cols<T, G, Conj, Ahead>(m, j, alpha, a, lda, x, y, incy);
  if constexpr (G == 8) {
    if (n - j >= 4) {
      t_cols<T, 4, Conj, Ahead>(m, j, alpha, a, lda, x, y, incy);
      j += 4;
    }
  }
  if (n - j >= 2) {
    t_cols<T, 2, Conj, Ahead>(m, j, alpha, a, lda, x, y, incy);
    j += 2;
  }
  if (n - j >= 1) t_cols<T, 1, Conj, Ahead>(m, j, alpha, a, lda, x, y, incy);
}

template <class T>
bool streams(i64 m, i64 n) {
  return m * n * i64(sizeof(T)) > kStreamBytes;
}

}  // namespace

template <class T>
void gemv_n(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x, i64 incx, T* y) {
  if (m < 1 || n < 1) return;
  if (streams<T>(m, n)) {
    n_walk<T, true>(m, n, alpha, a, lda, x, incx, y);
  } else {
    n_walk<T, false>(m, n, alpha, a, lda, x, incx, y);
  }
}

template <class T, bool Conj>
void gemv_t(i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x, T* y, i64 incy) {
  if (m < 1 || n < 1) return;
  if (streams<T>(m, n)) {
    t_walk<T, Conj, true>(m, n, alpha, a, lda, x, y, incy);
  } else {
    t_walk<T, Conj, false>(m, n, alpha, a, lda, x, y, incy);
  }
}

#define QOR_L2W_INSTANCES(T)                                                       \
  template void gemv_n<T>(i64, i64, T, const T*, i64, const T*, i64, T*);          \
  template void gemv_t<T, false>(i64, i64, T, const T*, i64, const T*, T*, i64);   \
  template void gemv_t<T, true>(i64, i64, T, const T*, i64, const T*, T*, i64);
QOR_L2W_INSTANCES(float)
QOR_L2W_INSTANCES(double)
QOR_L2W_INSTANCES(::qor::c32)
QOR_L2W_INSTANCES(::qor::c64)
#undef QOR_L2W_INSTANCES

}  // namespace l2w
QOR_ISA_END
