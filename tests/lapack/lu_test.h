// Shared pieces of the small LU tests: the kernels looked up in the member
// the core loaded, column-major matrices with padding, random and
// structured fills, and the residual ratios LAPACK's own tests use
// (a ratio below 30 passes).
#pragma once
#include <cmath>
#include <complex>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

#include "blas/level1/member.h"
#include "common/testing.h"
#include "lapack/signatures.h"

namespace lut {

using i64 = std::int64_t;
using qor::lapack::option_t;
using qor::test::Rng;

using qor::real_t;
template <class T> inline constexpr bool is_complex = qor::is_complex_v<T>;

// Unit roundoff of the precision: half the gap above 1.
template <class T> inline double unit_roundoff() { return std::numeric_limits<real_t<T>>::epsilon() / 2; }

template <class T> std::string letter() { return std::string(1, qor::letter_of<T>); }

inline const qor::test::Member& member() {
  static qor::test::Member m;
  return m;
}

// The five kernels of one element type.
template <class T>
struct Kernels {
  qor::lapack::getrf_fn<T>* getrf;
  qor::lapack::getrfnp_fn<T>* getrfnp;
  qor::lapack::getrs_fn<T>* getrs;
  qor::lapack::getri_fn<T>* getri;
  qor::lapack::getrinp_fn<T>* getrinp;
  static const Kernels& get() {
    static const Kernels k = [] {
      auto f = [](const char* op) { return std::string("qor_lapack_ps_def_") + letter<T>() + op + "_small"; };
      const auto& m = member();
      return Kernels{m.get<qor::lapack::getrf_fn<T>>(f("getrf")), m.get<qor::lapack::getrfnp_fn<T>>(f("getrfnp")),
                     m.get<qor::lapack::getrs_fn<T>>(f("getrs")), m.get<qor::lapack::getri_fn<T>>(f("getri")),
                     m.get<qor::lapack::getrinp_fn<T>>(f("getrinp"))};
    }();
    EXPECT_TRUE(k.getrf && k.getrfnp && k.getrs && k.getri && k.getrinp) << "kernels missing for " << letter<T>();
    return k;
  }
};

// Column-major rows x cols with leading dimension ld >= rows; the padding
// holds a marker that no kernel may change.
template <class T>
struct Mat {
  i64 rows = 0, cols = 0, ld = 1;
  std::vector<T> v;
  Mat() = default;
  Mat(i64 r, i64 c, i64 pad = 0) : rows(r), cols(c), ld(std::max<i64>(r + pad, 1)), v(static_cast<std::size_t>(ld * std::max<i64>(c, 1)), marker()) {
    for (i64 j = 0; j < c; ++j)
      for (i64 i = 0; i < r; ++i) (*this)(i, j) = T(0);
  }
  static T marker() { return T(-777.25f); }
  T& operator()(i64 i, i64 j) { return v[static_cast<std::size_t>(i + j * ld)]; }
  const T& operator()(i64 i, i64 j) const { return v[static_cast<std::size_t>(i + j * ld)]; }
  T* data() { return v.data(); }
  bool padding_intact() const {
    for (i64 j = 0; j < cols; ++j)
      for (i64 i = rows; i < ld; ++i)
        if (!(v[static_cast<std::size_t>(i + j * ld)] == marker())) return false;
    return true;
  }
};

template <class T> T random_value(Rng& g) {
  if constexpr (is_complex<T>) {
    const double re = g.next();
    return T(real_t<T>(re), real_t<T>(g.next()));
  } else {
    return T(g.next());
  }
}

template <class T> Mat<T> random_matrix(i64 r, i64 c, std::uint64_t seed, i64 pad = 0) {
  Rng g(seed);
  Mat<T> a(r, c, pad);
  for (i64 j = 0; j < c; ++j)
    for (i64 i = 0; i < r; ++i) a(i, j) = random_value<T>(g);
  return a;
}

// Random with n added to the diagonal: safe to factor without pivoting.
template <class T> Mat<T> dominant_matrix(i64 r, i64 c, std::uint64_t seed, i64 pad = 0) {
  Mat<T> a = random_matrix<T>(r, c, seed, pad);
  for (i64 i = 0; i < std::min(r, c); ++i) a(i, i) += T(real_t<T>(std::max(r, c)));
  return a;
}

template <class T> long double abs_ld(T x) {
  if constexpr (is_complex<T>) return std::hypot(static_cast<long double>(x.real()), static_cast<long double>(x.imag()));
  else return std::fabs(static_cast<long double>(x));
}

using cld = std::complex<long double>;
template <class T> cld to_ld(T x) {
  if constexpr (is_complex<T>) return cld(x.real(), x.imag());
  else return cld(static_cast<long double>(x), 0);
}

// One-norm (largest column sum) of a long-double matrix held as rows x cols.
inline long double norm1(const std::vector<cld>& x, i64 rows, i64 cols) {
  long double best = 0;
  for (i64 j = 0; j < cols; ++j) {
    long double s = 0;
    for (i64 i = 0; i < rows; ++i) s += std::abs(x[static_cast<std::size_t>(i + j * rows)]);
    best = std::max(best, s);
  }
  return best;
}
template <class T> long double norm1(const Mat<T>& a) {
  long double best = 0;
  for (i64 j = 0; j < a.cols; ++j) {
    long double s = 0;
    for (i64 i = 0; i < a.rows; ++i) s += abs_ld(a(i, j));
    best = std::max(best, s);
  }
  return best;
}

// Applies the interchanges ipiv[0..k) in order to the rows of a copy of A.
template <class T> std::vector<cld> permuted(const Mat<T>& a, const std::vector<i64>& ipiv, i64 k) {
  std::vector<cld> p(static_cast<std::size_t>(a.rows * a.cols));
  for (i64 j = 0; j < a.cols; ++j)
    for (i64 i = 0; i < a.rows; ++i) p[static_cast<std::size_t>(i + j * a.rows)] = to_ld(a(i, j));
  for (i64 r = 0; r < k; ++r) {
    const i64 q = ipiv[static_cast<std::size_t>(r)] - 1;
    if (q != r)
      for (i64 j = 0; j < a.cols; ++j) std::swap(p[static_cast<std::size_t>(r + j * a.rows)], p[static_cast<std::size_t>(q + j * a.rows)]);
  }
  return p;
}

// |PA - LU|_1 / (n eps |A|_1), with n = max(m, n); LU holds the factors
// (unit L below the diagonal). ipiv empty means no interchanges.
template <class T> double lu_ratio(const Mat<T>& a, const Mat<T>& lu, const std::vector<i64>& ipiv) {
  const i64 m = a.rows, n = a.cols, k = std::min(m, n);
  if (m == 0 || n == 0) return 0;
  std::vector<cld> d = ipiv.empty() ? permuted(a, std::vector<i64>(), 0) : permuted(a, ipiv, k);
  for (i64 j = 0; j < n; ++j)
    for (i64 i = 0; i < m; ++i) {
      cld s = 0;
      for (i64 t = 0; t <= std::min({i, j, k - 1}); ++t) {
        const cld l = t == i ? cld(1) : to_ld(lu(i, t));
        s += l * to_ld(lu(t, j));
      }
      d[static_cast<std::size_t>(i + j * m)] -= s;
    }
  const long double an = norm1(a);
  const long double r = norm1(d, m, n);
  if (an == 0) return r == 0 ? 0 : 1e30;
  return static_cast<double>(r / (static_cast<long double>(std::max(m, n)) * unit_roundoff<T>() * an));
}

// Bits of column j, rows 0..rows-1.
template <class T> bool same_bits(const Mat<T>& x, const Mat<T>& y, i64 cols) {
  for (i64 j = 0; j < cols; ++j)
    if (std::memcmp(&x(0, j), &y(0, j), sizeof(T) * static_cast<std::size_t>(x.rows)) != 0) return false;
  return true;
}

// Runs one element-type test body for s, d, c, z.
template <class F> void for_each_type(F&& f) {
  {
    SCOPED_TRACE("s");
    f(float{});
  }
  {
    SCOPED_TRACE("d");
    f(double{});
  }
  {
    SCOPED_TRACE("c");
    f(std::complex<float>{});
  }
  {
    SCOPED_TRACE("z");
    f(std::complex<double>{});
  }
}

// The sizes of the residual tests: every straight-line body and both sides
// of every body limit, then the general loop at larger sizes.
inline const std::vector<i64>& sizes() {
  static const std::vector<i64> s = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 16, 33, 64, 130};
  return s;
}

}  // namespace lut
