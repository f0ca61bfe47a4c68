// 512-bit bodies of the symmetric and Hermitian products, lower and upper,
// full and packed storage, written once over the element type (see wide.h).
//
// A group of NC columns is read once. Its NC x NC diagonal tile is done one
// element at a time; every other row i of the group gives two things at
// once: y[i] += sum_c A(i, c) t_c with t_c = alpha x_c (the columns as in
// the general product without transposition), and acc_c += op(A(i, c)) x[i]
// (the rows as in the transposed product, op conjugating for Hermitian
// matrices), which lands in y at the group's own rows when the group is
// done. Row tails are masked loads and stores.
#include "blas/level2/wide.h"

#include "blas/level2/wide_common.h"

QOR_ISA_BEGIN
namespace l2w {
namespace {

using l2c::conj_if;
using l2c::mul;
using l2c::real_only;

inline i64 col_offset(Stored s, i64 ld, i64 c) {
  switch (s) {
    case Stored::packed_lower:
      return c * ld - c * (c + 1) / 2;
    case Stored::packed_upper:
      return c * ld + c * (c + 1) / 2;
    default:
      return c * ld;
  }
}

// The registers of one group: the factors t_c (real parts, and imaginary
// parts for complex elements) and the row sums per column (for complex
// elements a * x and a times x with its parts exchanged, as in the
// transposed general product).
template <class T, int NC>
struct Group {
  using Z = zmm<real_t<T>>;
  typename Z::reg fr[NC];
  typename Z::reg fi[kComplex<T> ? NC : 1];
  typename Z::reg p[NC];
  typename Z::reg q[kComplex<T> ? NC : 1];
};

// Rows at reals [o, o + L) under mask k: both uses of each element.
template <class T, int NC>
inline void both_step(typename zmm<real_t<T>>::mask k, i64 o, const real_t<T>* const* col, const real_t<T>* x,
                      real_t<T>* y, Group<T, NC>& g) {
  using R = real_t<T>;
  using Z = zmm<R>;
  using reg = typename Z::reg;
  const reg xv = Z::load(k, x + o);
  reg s = Z::load(k, y + o), t = Z::zero();
  if constexpr (kComplex<T>) {
    const reg xs = Z::swap_pairs(xv);
    for (int c = 0; c < NC; ++c) {
      const reg av = Z::load(k, col[c] + o);
      s = Z::fma(av, g.fr[c], s);
      t = Z::fma(av, g.fi[c], t);
      g.p[c] = Z::fma(av, xv, g.p[c]);
      g.q[c] = Z::fma(av, xs, g.q[c]);
    }
    // s + (-t_im, t_re) pairwise: a * t for each column summed.
    s = Z::fma(Z::swap_pairs(t), Z::pair(R(-1), R(1)), s);
  } else {
    // Even columns into s, odd into t: two chains for y.
    for (int c = 0; c < NC; ++c) {
      const reg av = Z::load(k, col[c] + o);
      if (c % 2 == 0) {
        s = Z::fma(av, g.fr[c], s);
      } else {
        t = Z::fma(av, g.fr[c], t);
      }
      g.p[c] = Z::fma(av, xv, g.p[c]);
    }
    if constexpr (NC > 1) s = Z::add(s, t);
  }
  Z::store(k, y + o, s);
}

// Reals [o0, o1) of the group's columns (o0 and o1 whole elements).
template <class T, int NC, bool Ahead>
inline void both_range(i64 o0, i64 o1, const real_t<T>* const* col, const real_t<T>* x, real_t<T>* y,
                       Group<T, NC>& g) {
  using R = real_t<T>;
  using Z = zmm<R>;
  constexpr i64 L = Z::L;
  const auto all = all_lanes<R>();
  i64 o = o0;
  for (; o + 2 * L <= o1; o += 2 * L) {
    if constexpr (Ahead)
      for (int c = 0; c < NC; ++c) ahead(col[c] + o, 2 * L * i64(sizeof(R)));
    both_step<T, NC>(all, o, col, x, y, g);
    both_step<T, NC>(all, o + L, col, x, y, g);
  }
  for (; o + L <= o1; o += L) both_step<T, NC>(all, o, col, x, y, g);
  if (o < o1) both_step<T, NC>(Z::first(o1 - o), o, col, x, y, g);
}

// The group's row sum for column c: sum_i op(A(i, c)) x[i], conjugating
// complex elements.
template <class T, int NC>
inline T row_sum(const Group<T, NC>& g, int c) {
  using R = real_t<T>;
  using Z = zmm<R>;
  if constexpr (kComplex<T>) {
    // Even lanes of p hold ar xr, odd ai xi; of q, ar xi and ai xr:
    // conj(a) x = (ar xr + ai xi) + i (ar xi - ai xr).
    return T(Z::sum(g.p[c]), Z::sum(Z::mul(g.q[c], Z::pair(R(1), R(-1)))));
  } else {
    return Z::sum(g.p[c]);
  }
}

// Columns j..j+NC-1. Lower: the columns hold rows j..n-1; upper: rows
// 0..j+NC-1.
template <class T, int NC, bool Lower, bool Ahead>
void sym_group(i64 n, i64 j, T alpha, Stored st, const T* a, i64 ld, const T* x, T* y) {
  using R = real_t<T>;
  using Z = zmm<R>;
  constexpr bool Herm = kComplex<T>;
  const T* col[NC];
  const R* colr[NC];
  T t[NC], s[NC];
  Group<T, NC> g;
  for (int c = 0; c < NC; ++c) {
    col[c] = a + col_offset(st, ld, j + c);
    colr[c] = reinterpret_cast<const R*>(col[c]);
    t[c] = mul(alpha, x[j + c]);
    s[c] = T(0);
    if constexpr (kComplex<T>) {
      g.fr[c] = Z::set1(t[c].real());
      g.fi[c] = Z::set1(t[c].imag());
      g.q[c] = Z::zero();
    } else {
      g.fr[c] = Z::set1(t[c]);
    }
    g.p[c] = Z::zero();
  }
  // The diagonal tile, one element at a time; a Hermitian diagonal counts
  // its real part only.
  for (int c = 0; c < NC; ++c) {
    const T d = col[c][j + c];
    y[j + c] += mul(Herm ? real_only(d) : d, t[c]);
    for (int r = Lower ? c + 1 : 0; r < (Lower ? NC : c); ++r) {
      const T arc = col[c][j + r];
      y[j + r] += mul(arc, t[c]);
      s[c] += mul(conj_if<Herm>(arc), x[j + r]);
    }
  }
  const R* xr = reinterpret_cast<const R*>(x);
  R* yr = reinterpret_cast<R*>(y);
  if constexpr (Lower) {
    both_range<T, NC, Ahead>((j + NC) * kE<T>, n * kE<T>, colr, xr, yr, g);
  } else {
    both_range<T, NC, Ahead>(0, j * kE<T>, colr, xr, yr, g);
  }
  for (int c = 0; c < NC; ++c) y[j + c] += mul(alpha, row_sum<T, NC>(g, c) + s[c]);
}

// Groups of 8 columns (4 complex: the same registers), then 4, 2, 1.
template <class T, bool Lower, bool Ahead>
void sym_walk(i64 n, i64 k, T alpha, Stored st, const T* a, i64 ld, const T* x, T* y) {
  constexpr int G = kComplex<T> ? 4 : 8;
  i64 j = k < 0 ? 0 : k;
  for (; j + G <= n; j += G) sym_group<T, G, Lower, Ahead>(n, j, alpha, st, a, ld, x, y);
  if constexpr (G == 8) {
    if (n - j >= 4) {
      sym_group<T, 4, Lower, Ahead>(n, j, alpha, st, a, ld, x, y);
      j += 4;
    }
  }
  if (n - j >= 2) {
    sym_group<T, 2, Lower, Ahead>(n, j, alpha, st, a, ld, x, y);
    j += 2;
  }
  if (n - j >= 1) sym_group<T, 1, Lower, Ahead>(n, j, alpha, st, a, ld, x, y);
}

}  // namespace

template <class T, bool Lower>
void symv(i64 n, i64 k, T alpha, Stored s, const T* a, i64 ld, const T* x, T* y) {
  if (n < 1 || k >= n) return;
  // The stored triangle is about half the square.
  if (n * n * i64(sizeof(T)) / 2 > kStreamBytes) {
    sym_walk<T, Lower, true>(n, k, alpha, s, a, ld, x, y);
  } else {
    sym_walk<T, Lower, false>(n, k, alpha, s, a, ld, x, y);
  }
}

#define QOR_L2W_SYM_INSTANCES(T)                                                    \
  template void symv<T, true>(i64, i64, T, Stored, const T*, i64, const T*, T*);     \
  template void symv<T, false>(i64, i64, T, Stored, const T*, i64, const T*, T*);
QOR_L2W_SYM_INSTANCES(float)
QOR_L2W_SYM_INSTANCES(double)
QOR_L2W_SYM_INSTANCES(::qor::c32)
QOR_L2W_SYM_INSTANCES(::qor::c64)
#undef QOR_L2W_SYM_INSTANCES

}  // namespace l2w
QOR_ISA_END
