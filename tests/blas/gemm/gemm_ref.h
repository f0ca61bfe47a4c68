// Reference GEMM for the tests and the checks against it, over the element
// type, in long double. Small products are checked element by element with
// a bound proportional to the sum of the magnitudes of the products; large
// ones by the product of C with a random vector, C t against
// alpha A (B t) + beta C0 t, and by a sample of elements including the last
// rows and columns, where the tails are.
#pragma once
#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "common/testing.h"

namespace gemm_test {

using i64 = std::int64_t;

template <class T> struct Real { using type = T; };
template <class R> struct Real<std::complex<R>> { using type = R; };
template <class T> using real_t = typename Real<T>::type;
template <class T> using wide_t = std::conditional_t<std::is_same_v<T, real_t<T>>, long double, std::complex<long double>>;

template <class T>
wide_t<T> widen(T v) {
  if constexpr (std::is_same_v<T, real_t<T>>) return static_cast<long double>(v);
  else return wide_t<T>(v.real(), v.imag());
}

// op(X)(i, l) for letter t: 'N' plain, 'C' conjugate transpose for complex.
template <class T>
wide_t<T> op(char t, const T* x, i64 ld, i64 i, i64 l) {
  t = static_cast<char>(t & 0xDF);
  wide_t<T> v = widen(t == 'N' ? x[i + l * ld] : x[l + i * ld]);
  if constexpr (!std::is_same_v<T, real_t<T>>)
    if (t == 'C') v = std::conj(v);
  return v;
}

// A column-major matrix with a leading dimension and an offset of the
// first element inside its storage (to misalign it on purpose).
template <class T>
struct Mat {
  i64 rows = 0, cols = 0, ld = 1, offset = 0;
  std::vector<T> store;
  Mat() = default;
  Mat(i64 r, i64 c, i64 ld_, i64 off = 0) : rows(r), cols(c), ld(ld_), offset(off) {
    store.assign(static_cast<std::size_t>(off + ld_ * (c > 0 ? c : 1) + 8), T(0));
  }
  T* p() { return store.data() + offset; }
  const T* p() const { return store.data() + offset; }
  T& at(i64 i, i64 j) { return p()[i + j * ld]; }
  void fill(qor::test::Rng& rng) {
    for (auto& v : store) {
      if constexpr (std::is_same_v<T, real_t<T>>) v = static_cast<T>(rng.next());
      else v = T(static_cast<real_t<T>>(rng.next()), static_cast<real_t<T>>(rng.next()));
    }
  }
};

// Checks C (after the call) against alpha op(A) op(B) + beta C0. Returns an
// empty string when every checked element is within the bound.
template <class T>
std::string check_gemm(char ta, char tb, i64 m, i64 n, i64 k, T alpha, const Mat<T>& A, const Mat<T>& B, T beta,
                       const Mat<T>& C0, const Mat<T>& C, int seed = 7) {
  using W = wide_t<T>;
  const long double eps = std::numeric_limits<real_t<T>>::epsilon();
  auto element = [&](i64 i, i64 j, long double& bound) {
    W s = 0;
    long double mag = 0;
    for (i64 l = 0; l < k; ++l) {
      W p = op(ta, A.p(), A.ld, i, l) * op(tb, B.p(), B.ld, l, j);
      s += p;
      mag += std::abs(p);
    }
    W c0 = widen(C0.p()[i + j * C0.ld]);
    W bc = beta == T(0) ? W(0) : widen(beta) * c0;  // beta 0: C is not read
    W ref = widen(alpha) * s + bc;
    bound = (mag * std::abs(widen(alpha)) + std::abs(bc)) * eps * (2 * k + 8) + 1e-300L;
    return ref;
  };
  auto bad = [&](i64 i, i64 j) -> std::string {
    long double bound;
    W ref = element(i, j, bound);
    W got = widen(C.p()[i + j * C.ld]);
    long double err = std::abs(got - ref);
    if (!(err <= bound))
      return "C(" + std::to_string(i) + "," + std::to_string(j) + ") off by " + std::to_string(static_cast<double>(err)) +
             " (bound " + std::to_string(static_cast<double>(bound)) + ")";
    return {};
  };
  // Storage outside the m x n window must be untouched.
  for (std::size_t q = 0; q < C.store.size(); ++q) {
    i64 pos = static_cast<i64>(q) - C.offset;
    i64 i = pos >= 0 ? pos % C.ld : -1, j = pos >= 0 ? pos / C.ld : -1;
    bool inside = pos >= 0 && i < m && j < n;
    if (!inside && !(C.store[q] == C0.store[q]) && !(C.store[q] != C.store[q] && C0.store[q] != C0.store[q]))
      return "storage outside C changed at " + std::to_string(pos);
  }
  if (m * n * k <= 4000000) {
    for (i64 j = 0; j < n; ++j)
      for (i64 i = 0; i < m; ++i)
        if (auto e = bad(i, j); !e.empty()) return e;
    return {};
  }
  // Large: the last rows and columns, a sample, and the projection.
  for (i64 j = 0; j < n; ++j)
    for (i64 i = (m > 13 ? m - 13 : 0); i < m; ++i)
      if (auto e = bad(i, j); !e.empty()) return e;
  for (i64 j = (n > 5 ? n - 5 : 0); j < n; ++j)
    for (i64 i = 0; i < m; ++i)
      if (auto e = bad(i, j); !e.empty()) return e;
  qor::test::Rng rng(static_cast<std::uint64_t>(seed));
  for (int s = 0; s < 400; ++s) {
    i64 i = static_cast<i64>((rng.next() + 1) * 0.5 * static_cast<double>(m)) % m;
    i64 j = static_cast<i64>((rng.next() + 1) * 0.5 * static_cast<double>(n)) % n;
    if (auto e = bad(i, j); !e.empty()) return e;
  }
  std::vector<W> t(static_cast<std::size_t>(n)), bt(static_cast<std::size_t>(k), W(0));
  std::vector<long double> tmag(static_cast<std::size_t>(k), 0);
  for (auto& v : t) v = rng.next();
  for (i64 l = 0; l < k; ++l)
    for (i64 j = 0; j < n; ++j) {
      W p = op(tb, B.p(), B.ld, l, j) * t[j];
      bt[l] += p;
      tmag[l] += std::abs(p);
    }
  for (i64 i = 0; i < m; ++i) {
    W lhs = 0, rhs = 0;
    long double mag = 0;
    for (i64 j = 0; j < n; ++j) {
      lhs += widen(C.p()[i + j * C.ld]) * t[j];
      W bc = beta == T(0) ? W(0) : widen(beta) * widen(C0.p()[i + j * C0.ld]);
      rhs += bc * t[j];
      mag += std::abs(bc * t[j]) + std::abs(widen(C.p()[i + j * C.ld]) * t[j]);
    }
    for (i64 l = 0; l < k; ++l) {
      W a = op(ta, A.p(), A.ld, i, l);
      rhs += widen(alpha) * a * bt[l];
      mag += std::abs(widen(alpha) * a) * tmag[l];
    }
    long double bound = mag * eps * (2 * k + 2 * n + 8);
    if (!(std::abs(lhs - rhs) <= bound)) return "row " + std::to_string(i) + " of C t differs from the reference";
  }
  return {};
}

// One call of a GEMM on fresh random operands, checked: the letters, the
// shape, alpha and beta, extra rows in every leading dimension, and an
// offset of C in its storage (to misalign it).
struct Case {
  char ta = 'N', tb = 'N';
  i64 m = 0, n = 0, k = 0;
  double alpha = 1.0, beta = 0.5;
  i64 pad = 0;       // extra rows in every leading dimension
  i64 c_offset = 0;  // C starts this many elements into its storage
};

inline std::string describe(const Case& c) {
  return std::string(1, c.ta) + c.tb + " m=" + std::to_string(c.m) + " n=" + std::to_string(c.n) +
         " k=" + std::to_string(c.k) + " alpha=" + std::to_string(c.alpha) + " beta=" + std::to_string(c.beta) +
         " pad=" + std::to_string(c.pad) + " off=" + std::to_string(c.c_offset);
}

// Runs the case through `gemm` (the reference arguments, 64-bit integers)
// with the given alpha and beta; returns the failure text or "".
template <class T, class Gemm>
std::string run_case(const Case& c, T alpha, T beta, Gemm gemm, std::uint64_t seed) {
  const bool na = (c.ta & 0xDF) == 'N', nb = (c.tb & 0xDF) == 'N';
  const i64 ar = na ? c.m : c.k, ac = na ? c.k : c.m, br = nb ? c.k : c.n, bc = nb ? c.n : c.k;
  qor::test::Rng rng(seed);
  Mat<T> A(ar, ac, std::max<i64>(1, ar) + c.pad), B(br, bc, std::max<i64>(1, br) + c.pad);
  Mat<T> C(c.m, c.n, std::max<i64>(1, c.m) + c.pad, c.c_offset);
  A.fill(rng);
  B.fill(rng);
  C.fill(rng);
  const Mat<T> C0 = C;
  gemm(&c.ta, &c.tb, &c.m, &c.n, &c.k, &alpha, A.p(), &A.ld, B.p(), &B.ld, &beta, C.p(), &C.ld);
  std::string e = check_gemm<T>(c.ta, c.tb, c.m, c.n, c.k, alpha, A, B, beta, C0, C);
  return e.empty() ? e : describe(c) + ": " + e;
}

}  // namespace gemm_test
