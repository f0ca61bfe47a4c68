// Plain reference forms of the Level 2 operations, element by element, and
// the data helpers of the Level 2 tests.
#pragma once
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <vector>

#include "common/testing.h"

namespace l2t {

using i64 = std::int64_t;
using c32 = std::complex<float>;
using c64 = std::complex<double>;

template <class T> struct Real { using type = T; };
template <class R> struct Real<std::complex<R>> { using type = R; };
template <class T> using real_t = typename Real<T>::type;
template <class T> inline constexpr bool cplx = !std::is_same_v<T, real_t<T>>;

template <class T>
T conj(T v) {
  if constexpr (cplx<T>) return std::conj(v); else return v;
}

template <class T>
T value(qor::test::Rng& r) {
  if constexpr (cplx<T>) {
    using R = real_t<T>;
    R re = static_cast<R>(r.next());
    return T(re, static_cast<R>(r.next()));
  } else {
    return static_cast<T>(r.next());
  }
}

template <class T>
std::vector<T> random(i64 n, qor::test::Rng& r) {
  std::vector<T> v(static_cast<std::size_t>(n > 0 ? n : 0));
  for (auto& e : v) e = value<T>(r);
  return v;
}

// Index of logical element i of a vector of n elements with stride inc.
inline i64 at(i64 i, i64 n, i64 inc) { return inc > 0 ? i * inc : (n - 1 - i) * -inc; }
// Storage needed for such a vector.
inline i64 span(i64 n, i64 inc) { return n < 1 ? 1 : 1 + (n - 1) * (inc < 0 ? -inc : inc); }

// Tolerance for results built from k products of values in [-1, 1).
template <class T>
double tol(i64 k) {
  return 32.0 * static_cast<double>(std::numeric_limits<real_t<T>>::epsilon()) * static_cast<double>(k + 4);
}

template <class T>
double diff(T a, T b) { return std::abs(static_cast<c64>(a) - static_cast<c64>(b)); }

// Largest difference over the whole storage of two arrays (so elements
// outside the vector must be unchanged too).
template <class T>
double maxdiff(const std::vector<T>& a, const std::vector<T>& b) {
  double d = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    double e = diff(a[i], b[i]);
    if (!(e <= d)) d = e;
  }
  return d;
}

// y = alpha op(A) x + beta y, with the reference quick return and beta rule
// (beta 0 stores zero).
template <class T>
void gemv(char op, i64 m, i64 n, T alpha, const T* a, i64 lda, const T* x, i64 incx, T beta, T* y, i64 incy) {
  if (m < 1 || n < 1) return;
  bool tr = op != 'N' && op != 'n';
  bool cj = cplx<T> && (op == 'C' || op == 'c');
  i64 leny = tr ? n : m, lenx = tr ? m : n;
  for (i64 i = 0; i < leny; ++i) {
    T s = T(0);
    for (i64 k = 0; k < lenx; ++k) {
      T aik = tr ? a[k + i * lda] : a[i + k * lda];
      if (cj) aik = conj(aik);
      s += aik * x[at(k, lenx, incx)];
    }
    T& yi = y[at(i, leny, incy)];
    yi = (beta == T(0) ? T(0) : beta * yi) + alpha * s;
  }
}

}  // namespace l2t

namespace l2t {

// Dense column-major n x n (or m x n) matrices built from the other
// storage forms, so that every product can be checked with gemv above.
template <class T>
using Dense = std::vector<T>;

// The full matrix of a symmetric (Hermitian when herm) matrix whose
// `lower` triangle is given by get(i, j) for i >= j (lower) or i <= j.
template <class T, class Get>
Dense<T> sym_full(i64 n, bool lower, bool herm, Get get) {
  Dense<T> f(static_cast<std::size_t>(n * n));
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < n; ++i) {
      bool stored = lower ? i >= j : i <= j;
      T v = stored ? get(i, j) : get(j, i);
      if (!stored && herm) v = conj(v);
      if (i == j && herm) v = T(std::real(v));
      f[i + j * n] = v;
    }
  return f;
}

// Packed offsets of element (i, j) of the stored triangle.
inline i64 packed_at(bool lower, i64 n, i64 i, i64 j) {
  return lower ? j * n - j * (j - 1) / 2 + (i - j) : j * (j + 1) / 2 + i;
}

// The full triangular matrix: the other triangle zero, a unit diagonal as
// ones when unit.
template <class T, class Get>
Dense<T> tri_full(i64 n, bool lower, bool unit, Get get) {
  Dense<T> f(static_cast<std::size_t>(n * n), T(0));
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < n; ++i) {
      if (lower ? i < j : i > j) continue;
      f[i + j * n] = (i == j && unit) ? T(1) : get(i, j);
    }
  return f;
}

}  // namespace l2t
