// Helpers of the sparse kernel tests: the kernel library's product kernels
// bound by name for each element type and index width, random matrices in
// element-list form with their CSR, CSC and COO arrays, and a dense
// long-double reference of op(A) x under a descriptor.
#pragma once
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "common/testing.h"
#include "sparse/kernels/api.h"

namespace qor::test::sparse_kernels {

using namespace ::qor::sparse;
using i32 = std::int32_t;

// The kernels of one element type and index width, looked up once. The
// pointer types are those api.h declares the exported names with.
template <class T, class I> struct kernels {
#define QOR_KT_FIELD(name, unused) name##_fn<T, I>* name;
  QOR_SPARSE_KERNELS(QOR_KT_FIELD, 0)
#undef QOR_KT_FIELD
};
static_assert(std::is_same_v<decltype(&qor_sparse_z_csr_mv_def_ker_i8_def), csr_mv_def_ker_fn<c64, std::int64_t>*>);

template <class T, class I> const kernels<T, I>& bind() {
  static const kernels<T, I> k = [] {
    kernels<T, I> r{};
    void* h = qor_member_load() == 0 ? dlopen(qor_member_path(), RTLD_NOW | RTLD_LOCAL) : nullptr;
    const std::string pre = std::string("qor_sparse_") + letter_of<T> + "_";
    const std::string suf = sizeof(I) == 4 ? "_i4_def" : "_i8_def";
#define QOR_KT_BIND(name, unused)                                                                       \
  r.name = h ? reinterpret_cast<decltype(r.name)>(dlsym(h, (pre + #name + suf).c_str())) : nullptr; \
  EXPECT_NE(r.name, nullptr) << pre + #name + suf;
    QOR_SPARSE_KERNELS(QOR_KT_BIND, 0)
#undef QOR_KT_BIND
    return r;
  }();
  return k;
}

// --- Reference arithmetic ---------------------------------------------------
template <class T> struct wide {
  using type = long double;
};
template <class R> struct wide<std::complex<R>> {
  using type = std::complex<long double>;
};
template <class T> using wide_t = typename wide<T>::type;

template <class T> wide_t<T> widen(T v) {
  if constexpr (is_complex_v<T>)
    return {v.real(), v.imag()};
  else
    return v;
}
template <class W> W conj_of(W v) {
  if constexpr (is_complex_v<W>)
    return std::conj(v);
  else
    return v;
}
template <class T> T make(double re, double im) {
  if constexpr (is_complex_v<T>)
    return T(real_t<T>(re), real_t<T>(im));
  else
    return T(re);
}
template <class T> T nan_value() { return make<T>(std::nan(""), std::nan("")); }
template <class T> bool is_nan(T v) {
  if constexpr (is_complex_v<T>)
    return std::isnan(v.real()) || std::isnan(v.imag());
  else
    return std::isnan(v);
}
template <class T> double eps() { return std::numeric_limits<real_t<T>>::epsilon(); }

// |got - want| within tol * bound, elementwise.
template <class T, class W> ::testing::AssertionResult close(const std::vector<T>& got, const std::vector<W>& want,
                                                            const std::vector<long double>& bound, double tol) {
  for (std::size_t i = 0; i < got.size(); ++i) {
    const long double err = std::abs(widen(got[i]) - want[i]);
    if (!(err <= tol * bound[i] + 1e-30L))
      return ::testing::AssertionFailure() << "element " << i << ": got " << got[i] << ", want "
                                           << static_cast<std::complex<double>>(std::complex<long double>(want[i]))
                                           << " (bound " << static_cast<double>(bound[i]) << ")";
  }
  return ::testing::AssertionSuccess();
}

// --- Descriptors -------------------------------------------------------------
struct descr {
  i32 type, mode, diag;
};
// Every descriptor the validity rule accepts, with one representative for
// the fields it does not examine.
inline std::vector<descr> valid_descriptors() {
  std::vector<descr> d{{20, 40, 50}};
  for (i32 t : {21, 22, 23, 25})
    for (i32 m : {40, 41, 42})
      for (i32 g : {50, 51}) d.push_back({t, m, g});
  for (i32 t : {24, 26})
    for (i32 g : {50, 51}) d.push_back({t, 40, g});
  return d;
}
inline bool unit_of(descr d) { return d.type != 20 && d.diag == 51; }

// Whether a stored element (r, c) enters the product under d; the others
// are given NaN values, so reading one shows.
inline bool used(descr d, long r, long c) {
  const bool unit = unit_of(d);
  if (r == c && unit) return false;
  switch (d.type) {
    case 20:
      return true;
    case 24:
    case 26:
      return r == c;
    default:
      if (d.mode == 42 || r == c) return true;
      if (d.type == 21 || d.type == 22) return d.mode == 40 ? c < r : c > r;
      return d.mode == 40 ? c < r : c > r;
  }
}

// --- Matrices ------------------------------------------------------------------
// A matrix as a list of distinct elements, some rows empty.
template <class T> struct matrix {
  long rows = 0, cols = 0;
  std::vector<long> r, c;
  std::vector<T> v;
};

template <class T> matrix<T> random_matrix(long rows, long cols, double density, descr d, Rng& rng) {
  matrix<T> m;
  m.rows = rows;
  m.cols = cols;
  for (long i = 0; i < rows; ++i) {
    if (i % 5 == 3) continue;  // empty rows
    for (long j = 0; j < cols; ++j) {
      const bool diag_here = i == j && i % 3 != 1;  // some diagonals absent
      if (!diag_here && (i == j || 0.5 * (rng.next() + 1.0) > density)) continue;
      m.r.push_back(i);
      m.c.push_back(j);
      m.v.push_back(used(d, i, j) ? make<T>(rng.next(), rng.next()) : nan_value<T>());
    }
  }
  if ((d.type == 21 || d.type == 22) && d.mode == 42) {
    // Full storage of a symmetric or Hermitian matrix holds both triangles.
    matrix<T> s;
    s.rows = rows;
    s.cols = cols;
    for (std::size_t k = 0; k < m.v.size(); ++k) {
      if (m.c[k] > m.r[k]) continue;
      T v = m.v[k];
      if (d.type == 22 && m.r[k] == m.c[k]) v = make<T>(std::real(v), 0);
      s.r.push_back(m.r[k]), s.c.push_back(m.c[k]), s.v.push_back(v);
      if (m.r[k] != m.c[k]) s.r.push_back(m.c[k]), s.c.push_back(m.r[k]), s.v.push_back(d.type == 22 ? conj_of(v) : v);
    }
    return s;
  }
  return m;
}

// Dense op(A) of the descriptor's matrix, in long double.
template <class T> std::vector<std::vector<wide_t<T>>> dense(const matrix<T>& m, descr d, i32 op) {
  using W = wide_t<T>;
  std::vector<std::vector<W>> a(m.rows, std::vector<W>(m.cols, W(0)));
  for (std::size_t k = 0; k < m.v.size(); ++k) {
    if (!used(d, m.r[k], m.c[k])) continue;
    const W v = widen(m.v[k]);
    a[m.r[k]][m.c[k]] += v;
    const bool mirrored = (d.type == 21 || d.type == 22) && d.mode != 42 && m.r[k] != m.c[k];
    if (mirrored) a[m.c[k]][m.r[k]] += d.type == 22 ? conj_of(v) : v;
  }
  if (unit_of(d))
    for (long i = 0; i < m.rows && i < m.cols; ++i) a[i][i] = W(1);
  if (op == 10) return a;
  std::vector<std::vector<W>> t(m.cols, std::vector<W>(m.rows));
  for (long i = 0; i < m.rows; ++i)
    for (long j = 0; j < m.cols; ++j) t[j][i] = op == 12 ? conj_of(a[i][j]) : a[i][j];
  return t;
}

// y = alpha op(A) x + beta y0 (beta 0: y0 not read), and the bound
// |alpha| |op(A)| |x| + |beta| |y0| on each element's rounding.
template <class T> struct reference {
  std::vector<wide_t<T>> y;
  std::vector<long double> bound;
};
template <class T>
reference<T> ref_product(const std::vector<std::vector<wide_t<T>>>& a, const std::vector<T>& x,
                         const std::vector<T>& y0, T alpha, T beta) {
  using W = wide_t<T>;
  reference<T> out;
  for (std::size_t i = 0; i < a.size(); ++i) {
    W s = 0;
    long double b = 0;
    for (std::size_t j = 0; j < x.size(); ++j) {
      s += a[i][j] * widen(x[j]);
      b += std::abs(a[i][j]) * std::abs(widen(x[j]));
    }
    W y = widen(alpha) * s;
    b = std::abs(widen(alpha)) * (b + 1);
    if (beta != T(0)) {
      y += widen(beta) * widen(y0[i]);
      b += std::abs(widen(beta)) * std::abs(widen(y0[i]));
    }
    out.y.push_back(y);
    out.bound.push_back(b);
  }
  return out;
}

// Compressed arrays of a matrix in base `base`, rows (or columns, for CSC)
// in shuffled order; with `gaps`, four arrays with unused slots between
// rows, filled with NaN values and in-range columns.
template <class T, class I> struct compressed {
  std::vector<I> start, end, idx;
  std::vector<T> val;
};
template <class T, class I>
compressed<T, I> compress(const matrix<T>& m, bool by_columns, int base, bool gaps, Rng& rng) {
  const long n = by_columns ? m.cols : m.rows, other = by_columns ? m.rows : m.cols;
  std::vector<std::vector<std::size_t>> lines(n);
  for (std::size_t k = 0; k < m.v.size(); ++k) lines[by_columns ? m.c[k] : m.r[k]].push_back(k);
  compressed<T, I> out;
  for (long i = 0; i < n; ++i) {
    auto& l = lines[i];
    for (std::size_t a = l.size(); a > 1; --a) std::swap(l[a - 1], l[std::size_t(0.5 * (rng.next() + 1.0) * a) % a]);
    out.start.push_back(I(out.idx.size() + base));
    for (std::size_t k : l) {
      out.idx.push_back(I((by_columns ? m.r[k] : m.c[k]) + base));
      out.val.push_back(m.v[k]);
    }
    out.end.push_back(I(out.idx.size() + base));
    if (gaps && i % 2 == 0) {
      out.idx.push_back(I(other - 1 + base));
      out.val.push_back(nan_value<T>());
    }
  }
  if (!gaps) out.start.push_back(I(out.idx.size() + base));  // three arrays: end = start + 1
  return out;
}

}  // namespace qor::test::sparse_kernels
