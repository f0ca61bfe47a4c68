// Pieces shared by the general loops and the straight-line bodies of the
// small LU family.
//
// A body must give exactly the bits of the general loop, so every rule that
// decides an operation or its order lives here once and both sides call it:
// the pivot measure, the zero test, which multipliers are formed by the
// reciprocal and which by division, and the two-way summation of the
// solves. Complex products come from the Level 3 element helpers; divisions
// and reciprocals use the library operator, which scales against overflow.
#pragma once
#include <cmath>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "blas/level3/elem.h"
#include "frame/isa.h"
#include "frame/types.h"
#include "lapack/imports.h"

QOR_ISA_BEGIN
namespace lu {

using l3::conj;
using l3::mul;

inline i64 min_i(i64 x, i64 y) { return x < y ? x : y; }
inline i64 max_i(i64 x, i64 y) { return x > y ? x : y; }

// Size of a pivot: |x|, or |Re| + |Im| for complex elements.
template <class T>
inline real_t<T> mag(T x) {
  if constexpr (is_complex_v<T>) {
    return std::fabs(x.real()) + std::fabs(x.imag());
  } else {
    return std::fabs(x);
  }
}

// Exactly zero (both parts, for complex); a NaN is not zero.
template <class T>
inline bool is_zero(T x) {
  return x == T(0);
}

// The safe minimum of the element's precision, from the core.
template <class T>
inline real_t<T> safe_minimum() {
  if constexpr (std::is_same_v<real_t<T>, float>) {
    return qor_lapack_slamch("S");
  } else {
    return qor_lapack_dlamch("S");
  }
}

// Of `count` multipliers below a pivot, how many are formed by the
// reciprocal when the rest are divided: whole groups of 4, so none when
// fewer than 4 rows are left. The pivoted factorisation uses this split
// only for pivots at or below the safe minimum; the unpivoted one always.
constexpr i64 reciprocal_rows(i64 count) { return count & ~i64(3); }

// One multiplier: x times the reciprocal r of the pivot d, or x / d.
template <class T>
inline T multiplier(T x, T r, T d, bool by_reciprocal) {
  return by_reciprocal ? mul(x, r) : x / d;
}

// x - l * u, the element update of every elimination step.
template <class T>
inline T minus_product(T x, T l, T u) {
  return x - mul(l, u);
}

// ---- Compile-time loops of the bodies --------------------------------------
// The bodies are built from these and marked flatten, so that every step is
// inlined: what remains is straight-line code over locals, with constant
// indices and no loop over the matrix.

template <int I> using index_c = std::integral_constant<int, I>;

// f(index_c<i>) for i = B, ..., E - 1.
template <int B, int E, class F>
[[gnu::always_inline]] inline void up(F&& f) {
  if constexpr (B < E) {
    f(index_c<B>{});
    up<B + 1, E>(f);
  }
}

// f(index_c<i>) for i = E - 1, ..., B.
template <int B, int E, class F>
[[gnu::always_inline]] inline void down(F&& f) {
  if constexpr (B < E) {
    f(index_c<E - 1>{});
    down<B, E - 1>(f);
  }
}

// Calls f(index_c<n>) when LO <= n <= HI and says whether it did.
template <int LO, int HI, class F>
inline bool with_size(i64 n, F&& f) {
  return [&]<int... K>(std::integer_sequence<int, K...>) {
    return ((n == LO + K ? (f(index_c<LO + K>{}), true) : false) || ...);
  }(std::make_integer_sequence<int, HI - LO + 1>{});
}

// An R x C block held in locals; every index a body uses is a constant.
template <class T, int R, int C>
struct Tile {
  T e[C][R];
  T& operator()(int i, int j) { return e[j][i]; }
  void load(const T* a, i64 lda) {
    up<0, C>([&](auto J) { up<0, R>([&](auto I) { e[J][I] = a[I + J * lda]; }); });
  }
  void store(T* a, i64 lda) const {
    up<0, C>([&](auto J) { up<0, R>([&](auto I) { a[I + J * lda] = e[J][I]; }); });
  }
};

// ---- Two-way sums of the solves --------------------------------------------
// The sum of p(k) for lo <= k < hi (hi > lo) in two partial sums, one over
// lo, lo + 2, ... and one over lo + 1, lo + 3, ..., added at the end.

template <class T, class P>
inline T pair_sum(i64 lo, i64 hi, P&& p) {
  T s0 = p(lo);
  if (hi - lo == 1) return s0;
  T s1 = p(lo + 1);
  i64 k = lo + 2;
  for (; k + 1 < hi; k += 2) {
    s0 += p(k);
    s1 += p(k + 1);
  }
  if (k < hi) s0 += p(k);
  return s0 + s1;
}

// The same sum over constant indices, for the bodies.
template <int LO, int HI, class T, class P>
[[gnu::always_inline]] inline T pair_sum_fixed(P&& p) {
  static_assert(HI > LO);
  T s0 = p(index_c<LO>{});
  if constexpr (HI - LO == 1) {
    return s0;
  } else {
    T s1 = p(index_c<LO + 1>{});
    constexpr int pairs_end = LO + 2 + ((HI - LO - 2) / 2) * 2;
    up<0, (pairs_end - LO - 2) / 2>([&](auto K) {
      s0 += p(index_c<LO + 2 + 2 * K>{});
      s1 += p(index_c<LO + 3 + 2 * K>{});
    });
    if constexpr (pairs_end < HI) s0 += p(index_c<pairs_end>{});
    return s0 + s1;
  }
}

}  // namespace lu
QOR_ISA_END
